// Leaks of the libraries under Qt's X11 platform that a program on it cannot
// avoid: D-Bus keeps what it allocated for a session bus that the X server
// of the tests runs without. Read by LeakSanitizer where it is linked in.

extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libdbus-1.so\n";
}

extern "C" const char *__lsan_default_options()
{
    return "print_suppressions=0";
}

// A library in the plug-in directory without the entry point a plug-in has.
extern "C" __attribute__((visibility("default"))) int noentryVersion()
{
    return 1;
}

#pragma once

// The thin operating-system layer under FProcess and FEnvironmentVariables.
// FProcess keeps the portable logic (argument and environment rules, the
// post-mortem, the depth-first tree kill, the pump loops); these functions only
// make the calls. fprocess_posix.cpp and fprocess_win.cpp implement them. The
// layer is free of Qt so that the Win32 form builds without a Qt for Windows.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace FProcessPlatform {

#ifdef _WIN32
// UTF-16, as the wide Win32 calls take it.
using NativeString = std::wstring;
#else
// UTF-8 bytes, as execve and the file system take them.
using NativeString = std::string;
#endif

// A file descriptor or a Win32 HANDLE; the parent's end of a pipe.
using Handle = std::intptr_t;
constexpr Handle InvalidHandle = -1;

// The code a still running process reports (STILL_ACTIVE on Windows); POSIX
// exit codes never reach it.
constexpr int StillActive = 259;

using ProcessId = std::int64_t;

struct Pipe
{
    Handle read = InvalidHandle;
    Handle write = InvalidHandle;
};

// The three pipes of the child's standard handles.
struct StdPipes
{
    Pipe in;
    Pipe out;
    Pipe err;
};

struct ProcessInfo
{
    Handle process = InvalidHandle;
    Handle thread = InvalidHandle;
    ProcessId pid = 0;
    ProcessId tid = 0;
    // POSIX can collect a child's status only once; it is kept here so that
    // later queries answer as a Windows process handle would.
    bool reaped = false;
    int exitCode = 0;
    bool exitedNormally = false;
};

struct SpawnRequest
{
    // Non-empty arguments; the first names the program, looked up in PATH.
    std::vector<NativeString> arguments;
    // The same arguments as one command line, for CreateProcessW.
    NativeString commandLine;
    // Null: the child inherits this process's environment.
    const std::vector<NativeString> *environment = nullptr;
    // Empty: the child starts in this process's current directory.
    NativeString workingDirectory;
    unsigned creationFlags = 0;
    // Set: the child's standard handles are the child's ends of `pipes`.
    bool inheritHandles = false;
    const StdPipes *pipes = nullptr;
};

// The calling thread's last platform error number (errno, GetLastError).
int lastError();

// Creates the three pipes; the parent's ends are not inheritable. On failure
// nothing stays open.
bool createPipes(StdPipes *pipes);
void closeHandle(Handle *handle);
void closePipes(StdPipes *pipes);

// Starts the process. Returns 0 or the platform error number.
int spawn(const SpawnRequest &request, ProcessInfo *info);

// Reads the exit code; StillActive while the process runs. False when the
// query itself fails, with lastError() set.
bool queryExitCode(ProcessInfo *info, int *code);

// Blocks until the process has ended. False when the wait fails.
bool waitForExit(ProcessInfo *info);

// Ends the process this object started, with the given exit code where the
// platform has one.
bool terminate(ProcessInfo *info, unsigned exitCode);

// Gives up the handles. A POSIX child that has not been collected yet is
// collected in the background, so that it leaves no zombie.
void release(ProcessInfo *info);

struct ProcessEntry
{
    ProcessId pid = 0;
    ProcessId parentPid = 0;
};

enum class SnapshotResult { Ok, ResolveFailed, SnapshotFailed };

// All processes of the machine with their parents.
SnapshotResult listProcesses(std::vector<ProcessEntry> *processes);

enum class TerminateResult { Ok, NoHandle, Failed };

// Ends any process by id.
TerminateResult terminateProcessId(ProcessId pid, unsigned exitCode);

// Stops a process so that it can start no further children while its tree is
// being ended. False where the platform has no such means.
bool suspendProcessId(ProcessId pid);

// Reads from the parent's end of a pipe: the count read, 0 once the pipe is
// broken, -1 on another error.
long readPipe(Handle handle, char *data, std::size_t size);

// Writes all bytes to this process's standard output or standard error.
void writeStandardHandle(bool error, const char *data, std::size_t size);

// Called first on each pump thread.
void preparePumpThread();

// The lines "name=value" of this process's environment, in its own order.
std::vector<NativeString> processEnvironment();

} // namespace FProcessPlatform

#include "fprocessplatform_p.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

extern char **environ;

namespace FProcessPlatform {

namespace {

// The one Win32 creation flag with a POSIX counterpart.
constexpr unsigned CreateNewProcessGroup = 0x00000200;

int fdOf(Handle h)
{
    return int(h);
}

void storeStatus(ProcessInfo *info, int status)
{
    info->reaped = true;
    if (WIFEXITED(status)) {
        info->exitCode = WEXITSTATUS(status);
        info->exitedNormally = true;
    } else {
        // The shell's convention, so that a signal death is never mistaken
        // for a plain exit code.
        info->exitCode = 128 + (WIFSIGNALED(status) ? WTERMSIG(status) : 0);
        info->exitedNormally = false;
    }
}

bool makePipe(Pipe *pipe)
{
    int fds[2];
    // Both ends close on exec; the child's end reaches the child only through
    // the dup2 onto its standard handle.
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return false;
    pipe->read = fds[0];
    pipe->write = fds[1];
    return true;
}

// Sets up the attributes of a child: a clean signal state whatever this
// process blocks or ignores, and its own process group if asked.
int prepareAttributes(posix_spawnattr_t *attr, unsigned creationFlags)
{
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    short flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (creationFlags & CreateNewProcessGroup) {
        flags |= POSIX_SPAWN_SETPGROUP;
        if (int e = posix_spawnattr_setpgroup(attr, 0))
            return e;
    }
    if (int e = posix_spawnattr_setsigmask(attr, &none))
        return e;
    if (int e = posix_spawnattr_setsigdefault(attr, &all))
        return e;
    return posix_spawnattr_setflags(attr, flags);
}

int prepareFileActions(posix_spawn_file_actions_t *actions, const SpawnRequest &request)
{
    if (request.inheritHandles && request.pipes) {
        const StdPipes &p = *request.pipes;
        if (int e = posix_spawn_file_actions_adddup2(actions, fdOf(p.in.read), 0))
            return e;
        if (int e = posix_spawn_file_actions_adddup2(actions, fdOf(p.out.write), 1))
            return e;
        if (int e = posix_spawn_file_actions_adddup2(actions, fdOf(p.err.write), 2))
            return e;
    } else if (!request.inheritHandles) {
        // Without inheritance the child gets nothing beyond its standard handles.
        if (int e = posix_spawn_file_actions_addclosefrom_np(actions, 3))
            return e;
    }
    if (!request.workingDirectory.empty()) {
        if (int e = posix_spawn_file_actions_addchdir_np(actions, request.workingDirectory.c_str()))
            return e;
    }
    return 0;
}

std::vector<char *> pointerArray(const std::vector<NativeString> &strings)
{
    std::vector<char *> pointers;
    pointers.reserve(strings.size() + 1);
    for (const NativeString &s : strings)
        pointers.push_back(const_cast<char *>(s.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

bool readParent(const char *pid, ProcessId *parent)
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%s/stat", pid);
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    char buffer[1024];
    const ssize_t n = ::read(fd, buffer, sizeof buffer - 1);
    ::close(fd);
    if (n <= 0)
        return false;
    buffer[n] = '\0';
    // "pid (comm) state ppid ...": the name may hold blanks and parentheses,
    // so the fields start after the last ')'.
    const char *close = std::strrchr(buffer, ')');
    if (!close)
        return false;
    char state = 0;
    long long ppid = 0;
    if (std::sscanf(close + 1, " %c %lld", &state, &ppid) != 2)
        return false;
    *parent = ppid;
    return true;
}

} // namespace

int lastError()
{
    return errno;
}

bool createPipes(StdPipes *pipes)
{
    if (makePipe(&pipes->in) && makePipe(&pipes->out) && makePipe(&pipes->err))
        return true;
    const int e = errno;
    closePipes(pipes);
    errno = e;
    return false;
}

void closeHandle(Handle *handle)
{
    if (*handle != InvalidHandle) {
        ::close(fdOf(*handle));
        *handle = InvalidHandle;
    }
}

void closePipes(StdPipes *pipes)
{
    for (Pipe *p : {&pipes->in, &pipes->out, &pipes->err}) {
        closeHandle(&p->read);
        closeHandle(&p->write);
    }
}

int spawn(const SpawnRequest &request, ProcessInfo *info)
{
    if (request.arguments.empty())
        return EINVAL;

    posix_spawnattr_t attr;
    posix_spawn_file_actions_t actions;
    if (int e = posix_spawnattr_init(&attr))
        return e;
    if (int e = posix_spawn_file_actions_init(&actions)) {
        posix_spawnattr_destroy(&attr);
        return e;
    }

    int error = prepareAttributes(&attr, request.creationFlags);
    if (error == 0)
        error = prepareFileActions(&actions, request);
    if (error == 0) {
        std::vector<char *> argv = pointerArray(request.arguments);
        std::vector<char *> envp;
        if (request.environment)
            envp = pointerArray(*request.environment);
        pid_t pid = 0;
        error = ::posix_spawnp(&pid, argv[0], &actions, &attr, argv.data(),
                               request.environment ? envp.data() : environ);
        if (error == 0) {
            *info = ProcessInfo{};
            info->pid = pid;
        }
    }
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    return error;
}

bool queryExitCode(ProcessInfo *info, int *code)
{
    if (!info->reaped) {
        int status = 0;
        pid_t r;
        do {
            r = ::waitpid(pid_t(info->pid), &status, WNOHANG);
        } while (r < 0 && errno == EINTR);
        if (r < 0)
            return false;
        if (r == 0) {
            *code = StillActive;
            return true;
        }
        storeStatus(info, status);
    }
    *code = info->exitCode;
    return true;
}

bool waitForExit(ProcessInfo *info)
{
    if (info->reaped)
        return true;
    int status = 0;
    pid_t r;
    do {
        r = ::waitpid(pid_t(info->pid), &status, 0);
    } while (r < 0 && errno == EINTR);
    if (r < 0)
        return false;
    storeStatus(info, status);
    return true;
}

bool terminate(ProcessInfo *info, unsigned exitCode)
{
    // POSIX has no way to choose the code of a killed process.
    (void)exitCode;
    if (info->reaped)
        return true;
    return ::kill(pid_t(info->pid), SIGKILL) == 0;
}

void release(ProcessInfo *info)
{
    if (info->pid != 0 && !info->reaped) {
        int code = 0;
        if (queryExitCode(info, &code) && code == StillActive) {
            const pid_t pid = pid_t(info->pid);
            try {
                std::thread([pid] {
                    int status = 0;
                    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
                    }
                }).detach();
            } catch (const std::system_error &) {
                // Without a thread the child stays a zombie once it ends; that
                // costs a slot in the process table, nothing more.
            }
        }
    }
    *info = ProcessInfo{};
}

SnapshotResult listProcesses(std::vector<ProcessEntry> *processes)
{
    DIR *proc = ::opendir("/proc");
    if (!proc)
        return SnapshotResult::SnapshotFailed;
    while (const dirent *entry = ::readdir(proc)) {
        char *end = nullptr;
        const long long pid = std::strtoll(entry->d_name, &end, 10);
        if (pid <= 0 || *end != '\0')
            continue;
        ProcessId parent = 0;
        // A process that ended since the directory was read is simply left out.
        if (readParent(entry->d_name, &parent))
            processes->push_back(ProcessEntry{pid, parent});
    }
    ::closedir(proc);
    return SnapshotResult::Ok;
}

TerminateResult terminateProcessId(ProcessId pid, unsigned exitCode)
{
    (void)exitCode;
    if (::kill(pid_t(pid), SIGKILL) == 0)
        return TerminateResult::Ok;
    return errno == ESRCH || errno == EPERM ? TerminateResult::NoHandle : TerminateResult::Failed;
}

bool suspendProcessId(ProcessId pid)
{
    return ::kill(pid_t(pid), SIGSTOP) == 0;
}

long readPipe(Handle handle, char *data, std::size_t size)
{
    for (;;) {
        const ssize_t n = ::read(fdOf(handle), data, size);
        if (n >= 0)
            return long(n);
        if (errno != EINTR)
            return -1;
    }
}

void writeStandardHandle(bool error, const char *data, std::size_t size)
{
    const int fd = error ? STDERR_FILENO : STDOUT_FILENO;
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        data += n;
        size -= std::size_t(n);
    }
}

void preparePumpThread()
{
    // A closed standard output must give EPIPE on this thread, not end the
    // whole process by SIGPIPE.
    sigset_t pipeSignal;
    sigemptyset(&pipeSignal);
    sigaddset(&pipeSignal, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipeSignal, nullptr);
}

std::vector<NativeString> processEnvironment()
{
    std::vector<NativeString> lines;
    for (char **e = environ; e && *e; ++e)
        lines.emplace_back(*e);
    return lines;
}

} // namespace FProcessPlatform

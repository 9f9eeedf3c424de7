#include "fprocessplatform_p.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <tlhelp32.h>

namespace FProcessPlatform {

namespace {

HANDLE toHandle(Handle h)
{
    return reinterpret_cast<HANDLE>(h);
}

Handle fromHandle(HANDLE h)
{
    return h ? reinterpret_cast<Handle>(h) : InvalidHandle;
}

bool makePipe(Pipe *pipe, bool parentWrites)
{
    SECURITY_ATTRIBUTES inheritable{};
    inheritable.nLength = sizeof inheritable;
    inheritable.bInheritHandle = TRUE;
    HANDLE readEnd = nullptr;
    HANDLE writeEnd = nullptr;
    if (!CreatePipe(&readEnd, &writeEnd, &inheritable, 0))
        return false;
    pipe->read = fromHandle(readEnd);
    pipe->write = fromHandle(writeEnd);
    // Only the child's end may be inherited; a child holding our end too
    // would keep the pipe from ever breaking.
    return SetHandleInformation(parentWrites ? writeEnd : readEnd, HANDLE_FLAG_INHERIT, 0) != 0;
}

using CreateSnapshotFunction = HANDLE(WINAPI *)(DWORD, DWORD);
using ProcessWalkFunction = BOOL(WINAPI *)(HANDLE, LPPROCESSENTRY32W);

struct ToolhelpFunctions
{
    CreateSnapshotFunction createSnapshot = nullptr;
    ProcessWalkFunction first = nullptr;
    ProcessWalkFunction next = nullptr;
};

template <typename Function> Function resolve(HMODULE module, const char *name)
{
    // Through the generic function pointer type, which the compiler accepts
    // as a cast between unrelated function types.
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
}

// Looked up at run time from "kernel32", so that the agent loads on systems
// whose kernel32 lacks them and reports the fact instead.
const ToolhelpFunctions *toolhelp()
{
    static const ToolhelpFunctions functions = [] {
        ToolhelpFunctions f;
        if (HMODULE kernel = GetModuleHandleA("kernel32")) {
            f.createSnapshot = resolve<CreateSnapshotFunction>(kernel, "CreateToolhelp32Snapshot");
            f.first = resolve<ProcessWalkFunction>(kernel, "Process32FirstW");
            f.next = resolve<ProcessWalkFunction>(kernel, "Process32NextW");
        }
        return f;
    }();
    if (!functions.createSnapshot || !functions.first || !functions.next)
        return nullptr;
    return &functions;
}

} // namespace

int lastError()
{
    return int(GetLastError());
}

bool createPipes(StdPipes *pipes)
{
    if (makePipe(&pipes->in, true) && makePipe(&pipes->out, false) && makePipe(&pipes->err, false))
        return true;
    const DWORD e = GetLastError();
    closePipes(pipes);
    SetLastError(e);
    return false;
}

void closeHandle(Handle *handle)
{
    if (*handle != InvalidHandle) {
        CloseHandle(toHandle(*handle));
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
    if (request.commandLine.empty())
        return ERROR_INVALID_PARAMETER;

    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    if (request.inheritHandles && request.pipes) {
        startup.dwFlags |= STARTF_USESTDHANDLES;
        startup.hStdInput = toHandle(request.pipes->in.read);
        startup.hStdOutput = toHandle(request.pipes->out.write);
        startup.hStdError = toHandle(request.pipes->err.write);
    }

    // Each entry ends in a null, and one more null ends the block; an empty
    // block still needs both.
    std::wstring block;
    DWORD flags = request.creationFlags;
    if (request.environment) {
        for (const NativeString &entry : *request.environment) {
            block += entry;
            block.push_back(L'\0');
        }
        if (block.empty())
            block.push_back(L'\0');
        block.push_back(L'\0');
        flags |= CREATE_UNICODE_ENVIRONMENT;
    }

    // CreateProcessW may write into the command line.
    std::wstring commandLine = request.commandLine;
    PROCESS_INFORMATION created{};
    const BOOL ok = CreateProcessW(
        nullptr, commandLine.data(), nullptr, nullptr, request.inheritHandles ? TRUE : FALSE, flags,
        request.environment ? static_cast<LPVOID>(block.data()) : nullptr,
        request.workingDirectory.empty() ? nullptr : request.workingDirectory.c_str(), &startup,
        &created);
    if (!ok)
        return int(GetLastError());
    *info = ProcessInfo{};
    info->process = fromHandle(created.hProcess);
    info->thread = fromHandle(created.hThread);
    info->pid = created.dwProcessId;
    info->tid = created.dwThreadId;
    return 0;
}

bool queryExitCode(ProcessInfo *info, int *code)
{
    DWORD exitCode = 0;
    if (!GetExitCodeProcess(toHandle(info->process), &exitCode))
        return false;
    *code = int(exitCode);
    info->exitedNormally = exitCode != STILL_ACTIVE;
    return true;
}

bool waitForExit(ProcessInfo *info)
{
    return WaitForSingleObject(toHandle(info->process), INFINITE) == WAIT_OBJECT_0;
}

bool terminate(ProcessInfo *info, unsigned exitCode)
{
    return TerminateProcess(toHandle(info->process), exitCode) != 0;
}

void release(ProcessInfo *info)
{
    closeHandle(&info->process);
    closeHandle(&info->thread);
    *info = ProcessInfo{};
}

SnapshotResult listProcesses(std::vector<ProcessEntry> *processes)
{
    const ToolhelpFunctions *f = toolhelp();
    if (!f)
        return SnapshotResult::ResolveFailed;
    const HANDLE snapshot = f->createSnapshot(TH32CS_SNAPPROCESS, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
        return SnapshotResult::SnapshotFailed;
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    for (BOOL more = f->first(snapshot, &entry); more; more = f->next(snapshot, &entry))
        processes->push_back(ProcessEntry{entry.th32ProcessID, entry.th32ParentProcessID});
    CloseHandle(snapshot);
    return SnapshotResult::Ok;
}

TerminateResult terminateProcessId(ProcessId pid, unsigned exitCode)
{
    const HANDLE process = OpenProcess(PROCESS_TERMINATE, FALSE, DWORD(pid));
    if (!process)
        return TerminateResult::NoHandle;
    const BOOL ok = TerminateProcess(process, exitCode);
    const DWORD e = GetLastError();
    CloseHandle(process);
    SetLastError(e);
    return ok ? TerminateResult::Ok : TerminateResult::Failed;
}

bool suspendProcessId(ProcessId pid)
{
    // Win32 has no documented call that stops a whole process.
    (void)pid;
    return false;
}

long readPipe(Handle handle, char *data, std::size_t size)
{
    const DWORD wanted = size > 0x7fffffffu ? 0x7fffffffu : DWORD(size);
    for (;;) {
        DWORD read = 0;
        if (!ReadFile(toHandle(handle), data, wanted, &read, nullptr))
            return GetLastError() == ERROR_BROKEN_PIPE ? 0 : -1;
        // A zero-byte write of the child arrives as an empty read; only a
        // broken pipe ends the stream.
        if (read > 0 || wanted == 0)
            return long(read);
    }
}

void writeStandardHandle(bool error, const char *data, std::size_t size)
{
    const HANDLE out = GetStdHandle(error ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    if (!out || out == INVALID_HANDLE_VALUE)
        return;
    while (size > 0) {
        const DWORD chunk = size > 0x7fffffffu ? 0x7fffffffu : DWORD(size);
        DWORD written = 0;
        if (!WriteFile(out, data, chunk, &written, nullptr) || written == 0)
            return;
        data += written;
        size -= written;
    }
}

void preparePumpThread() {}

std::vector<NativeString> processEnvironment()
{
    std::vector<NativeString> lines;
    wchar_t *block = GetEnvironmentStringsW();
    if (!block)
        return lines;
    for (const wchar_t *p = block; *p; p += lines.back().size() + 1)
        lines.emplace_back(p);
    FreeEnvironmentStringsW(block);
    return lines;
}

} // namespace FProcessPlatform

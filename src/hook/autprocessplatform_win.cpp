#include "autprocessplatform_p.h"

#include <windows.h>

#include <shellapi.h>

namespace AUTProcessPlatform {

namespace {

std::string toUtf8(const wchar_t *text)
{
    const int n = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (n <= 1)
        return std::string();
    std::string out(size_t(n - 1), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, out.data(), n, nullptr, nullptr);
    return out;
}

std::uint64_t fileTime(const FILETIME &t)
{
    return (std::uint64_t(t.dwHighDateTime) << 32) | t.dwLowDateTime;
}

// The memory counters as PSAPI lays them out; the library is looked up at
// run time, since it may be missing.
struct MemoryCounters
{
    DWORD cb;
    DWORD PageFaultCount;
    SIZE_T PeakWorkingSetSize;
    SIZE_T WorkingSetSize;
    SIZE_T QuotaPeakPagedPoolUsage;
    SIZE_T QuotaPagedPoolUsage;
    SIZE_T QuotaPeakNonPagedPoolUsage;
    SIZE_T QuotaNonPagedPoolUsage;
    SIZE_T PagefileUsage;
    SIZE_T PeakPagefileUsage;
};
using GetProcessMemoryInfoFn = BOOL(WINAPI *)(HANDLE, MemoryCounters *, DWORD);

} // namespace

std::vector<std::string> commandLine()
{
    std::vector<std::string> args;
    int count = 0;
    LPWSTR *argv = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!argv)
        return args;
    for (int i = 0; i < count; ++i)
        args.push_back(toUtf8(argv[i]));
    LocalFree(argv);
    return args;
}

std::uint64_t startTimeMs()
{
    FILETIME creation, exit, kernel, user;
    if (!GetProcessTimes(GetCurrentProcess(), &creation, &exit, &kernel, &user))
        return 0;
    return fileTime(creation) / 10000 - 11644473600000ULL;
}

std::int64_t cpuTimeMs()
{
    FILETIME creation, exit, kernel, user;
    if (!GetProcessTimes(GetCurrentProcess(), &creation, &exit, &kernel, &user))
        return 0;
    return std::int64_t(fileTime(user) / 10000 + fileTime(kernel) / 10000);
}

int processId()
{
    return int(GetCurrentProcessId());
}

std::int64_t usedMemory()
{
    HMODULE psapi = LoadLibraryA("PSAPI.DLL");
    if (!psapi)
        return 0;
    auto fn = reinterpret_cast<GetProcessMemoryInfoFn>(
        reinterpret_cast<void *>(GetProcAddress(psapi, "GetProcessMemoryInfo")));
    std::int64_t used = 0;
    MemoryCounters counters{};
    counters.cb = sizeof counters;
    if (fn && fn(GetCurrentProcess(), &counters, sizeof counters))
        used = std::int64_t(counters.WorkingSetSize);
    FreeLibrary(psapi);
    return used;
}

} // namespace AUTProcessPlatform

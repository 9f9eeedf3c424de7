#include "autprocessplatform_p.h"

#include <fstream>
#include <sstream>

#include <unistd.h>

namespace AUTProcessPlatform {

namespace {

std::string readAll(const char *path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

// The fields of /proc/self/stat behind the command name, which is in
// parentheses and may itself hold blanks and parentheses. Field 3 comes first.
std::vector<std::string> statFields()
{
    const std::string stat = readAll("/proc/self/stat");
    const auto close = stat.rfind(')');
    std::vector<std::string> fields;
    if (close == std::string::npos)
        return fields;
    std::istringstream rest(stat.substr(close + 1));
    std::string f;
    while (rest >> f)
        fields.push_back(f);
    return fields;
}

std::int64_t ticksToMs(const std::string &ticks)
{
    const long hz = sysconf(_SC_CLK_TCK);
    if (hz <= 0)
        return 0;
    return std::int64_t(std::stoull(ticks) * 1000 / std::uint64_t(hz));
}

} // namespace

std::vector<std::string> commandLine()
{
    const std::string raw = readAll("/proc/self/cmdline");
    std::vector<std::string> args;
    std::string::size_type start = 0;
    while (start < raw.size()) {
        const auto end = raw.find('\0', start);
        args.push_back(raw.substr(start, end - start));
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
    return args;
}

std::uint64_t startTimeMs()
{
    // Field 22: start time in ticks after boot; boot time from /proc/stat.
    const std::vector<std::string> fields = statFields();
    if (fields.size() < 20)
        return 0;
    std::istringstream stat(readAll("/proc/stat"));
    std::string key;
    std::uint64_t bootSeconds = 0;
    while (stat >> key) {
        if (key == "btime") {
            stat >> bootSeconds;
            break;
        }
    }
    if (bootSeconds == 0)
        return 0;
    try {
        return bootSeconds * 1000 + std::uint64_t(ticksToMs(fields[19]));
    } catch (...) {
        return 0;
    }
}

std::int64_t cpuTimeMs()
{
    // Fields 14 and 15: user and system time in ticks, each converted alone.
    const std::vector<std::string> fields = statFields();
    if (fields.size() < 13)
        return 0;
    try {
        return ticksToMs(fields[11]) + ticksToMs(fields[12]);
    } catch (...) {
        return 0;
    }
}

int processId()
{
    return int(getpid());
}

std::int64_t usedMemory()
{
    std::istringstream status(readAll("/proc/self/status"));
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) {
            std::istringstream value(line.substr(6));
            std::int64_t kb = 0;
            value >> kb;
            return kb * 1024;
        }
    }
    return 0;
}

} // namespace AUTProcessPlatform

#pragma once

// The operating-system facts behind AUTProcess, Qt-free so that the Win32
// form builds and runs without Qt. Strings are UTF-8.

#include <cstdint>
#include <string>
#include <vector>

namespace AUTProcessPlatform {

std::vector<std::string> commandLine();
// Milliseconds since 1970; 0 when it cannot be read.
std::uint64_t startTimeMs();
// User plus kernel time in milliseconds; 0 when it cannot be read.
std::int64_t cpuTimeMs();
int processId();
// Resident memory in bytes; 0 when it cannot be read.
std::int64_t usedMemory();

} // namespace AUTProcessPlatform

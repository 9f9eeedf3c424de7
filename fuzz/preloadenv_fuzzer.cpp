// What the start-up shim reads from the environment of any process: the
// runner id, read as the agent reads it, and the preload list it hands on
// to the processes it starts.
#include "preloadenv.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace {

bool isSeparator(char c)
{
    return c == ':' || c == ' ' || c == '\t';
}

bool isAscii(const std::string &text)
{
    for (const char c : text)
        if (static_cast<unsigned char>(c) > 0x7f)
            return false;
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const bool keepOwn = data[0] & 1;
    // Up to the first zero byte, as the environment holds it.
    const std::string text(reinterpret_cast<const char *>(data + 1),
                           strnlen(reinterpret_cast<const char *>(data + 1), size - 1));

    // The shim and the agent agree on what is a runner id (on ASCII text;
    // Qt also trims Unicode spaces, which an environment does not hold).
    if (isAscii(text)) {
        bool ok = false;
        const int id = QString::fromLatin1(text.c_str()).toInt(&ok);
        if ((tolvexIsPositiveNumber(text.c_str()) != 0) != (ok && id > 0))
            __builtin_trap();
    }

    const char own[] = "libtolvexpreload.so";
    std::string out(text.size() + 1, '\0');
    const int length = tolvexChildPreload(text.c_str(), own, keepOwn, out.data(), out.size());
    // The list never grows, so a buffer of its size always holds it.
    if (length < 0 || std::size_t(length) > text.size() ||
        std::strlen(out.c_str()) != size_t(length))
        __builtin_trap();
    out.resize(std::size_t(length));
    // Whole entries, joined by single colons; the shim's own only if kept.
    std::size_t start = 0;
    while (start < out.size()) {
        std::size_t end = out.find(':', start);
        if (end == std::string::npos)
            end = out.size();
        const std::string entry = out.substr(start, end - start);
        if (entry.empty() || isSeparator(entry.front()) || entry.find(' ') != std::string::npos ||
            entry.find('\t') != std::string::npos || text.find(entry) == std::string::npos)
            __builtin_trap();
        const std::size_t slash = entry.rfind('/');
        const std::string base = slash == std::string::npos ? entry : entry.substr(slash + 1);
        if (!keepOwn && base == own)
            __builtin_trap();
        start = end + 1;
    }
    // Too small a buffer is refused, and leaves an empty text.
    if (length > 0) {
        std::string small(std::size_t(length), 'x');
        if (tolvexChildPreload(text.c_str(), own, keepOwn, small.data(), small.size()) != -1 ||
            small[0] != '\0')
            __builtin_trap();
    }
    return 0;
}

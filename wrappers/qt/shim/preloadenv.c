#include "preloadenv.h"

#include <ctype.h>
#include <errno.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>

int tolvexIsPositiveNumber(const char *text)
{
    if (!text)
        return 0;
    char *end = NULL;
    errno = 0;
    const long value = strtol(text, &end, 10);
    if (end == text || errno != 0)
        return 0;
    while (*end && isspace((unsigned char)*end))
        ++end;
    return *end == '\0' && value > 0 && value <= INT_MAX;
}

int tolvexIsEnabled(const char *value)
{
    return value && value[0] && strcmp(value, "0") != 0;
}

static size_t baseNameAt(const char *entry, size_t length)
{
    size_t at = length;
    while (at > 0 && entry[at - 1] != '/')
        --at;
    return at;
}

/* The sanitizers whose runtime checks that it is the first library of the
 * process, and their companions. */
static int isSanitizerRuntime(const char *entry, size_t length)
{
    static const char *const prefixes[] = {"libasan",  "libhwasan", "libtsan",
                                           "libubsan", "liblsan",   "libclang_rt."};
    const size_t at = baseNameAt(entry, length);
    for (size_t i = 0; i < sizeof prefixes / sizeof prefixes[0]; ++i) {
        const size_t n = strlen(prefixes[i]);
        if (length - at >= n && strncmp(entry + at, prefixes[i], n) == 0)
            return 1;
    }
    return 0;
}

static int isNamed(const char *entry, size_t length, const char *name)
{
    const size_t at = baseNameAt(entry, length);
    const size_t n = strlen(name);
    return length - at == n && strncmp(entry + at, name, n) == 0;
}

int tolvexChildPreload(const char *preload, const char *ownName, int keepOwn, char *out,
                       size_t outSize)
{
    static const char separators[] = ": \t";
    size_t used = 0;
    if (outSize == 0)
        return -1;
    out[0] = '\0';
    for (int sanitizers = 1; sanitizers >= 0; --sanitizers) {
        const char *p = preload;
        while (p && *p) {
            p += strspn(p, separators);
            const size_t length = strcspn(p, separators);
            if (length == 0)
                break;
            const int take = isSanitizerRuntime(p, length) == sanitizers &&
                             (keepOwn || !isNamed(p, length, ownName));
            if (take) {
                const size_t needed = length + (used > 0 ? 1 : 0);
                if (used + needed >= outSize) {
                    out[0] = '\0';
                    return -1;
                }
                if (used > 0)
                    out[used++] = ':';
                memcpy(out + used, p, length);
                used += length;
                out[used] = '\0';
            }
            p += length;
        }
    }
    return used > INT_MAX ? -1 : (int)used;
}

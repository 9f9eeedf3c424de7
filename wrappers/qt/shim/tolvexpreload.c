/*
 * The start-up shim. It goes into LD_PRELOAD and so into every process of a
 * test run: the application, and whatever the application starts (shells,
 * helpers, other programs). It therefore links nothing but libc and libdl.
 *
 * In a process that has QtCore 6 and a runner id in its environment it
 * installs Qt's start-up hook, which Qt calls while the application object
 * is being constructed; from there it loads the Qt wrapper, whose entry
 * point starts the agent. In any other process (no Qt, Qt 5, no runner id)
 * it does nothing at all: the program runs as if the shim were not there.
 *
 * Environment:
 *   TOLVEX_RUNNERID      must be a positive number, as the agent reads it
 *   TOLVEX_HOOK_CHILDREN any value but empty or "0" keeps the shim in
 *                        LD_PRELOAD for the processes this one starts;
 *                        otherwise they start without it
 *   TOLVEX_PREFIX        where the wrapper is looked for when it is not
 *                        next to the shim; set to the shim's own prefix
 *                        (the directory above its lib directory) when
 *                        unset, so that the agent finds its plug-ins
 */
#define _GNU_SOURCE
#include "preloadenv.h"

#include <dlfcn.h>
#include <limits.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

/* The slots of QtCore's qtHookData array that are read or written here. The
 * layout has not changed since hook data version 1, and is the same in Qt 5
 * and Qt 6. */
enum { HookDataVersion = 0, HookDataSize = 1, QtVersion = 2, StartupSlot = 5 };

typedef void (*StartupCallback)(void);

static const char WrapperName[] = "libtolvexqt.so";
static const char WrapperEntry[] = "tolvexQtStartup";

static StartupCallback previousStartup;
/* The directory and the file name of this library. */
static char ownDirectory[PATH_MAX] = ".";
static char ownName[NAME_MAX + 1] = "libtolvexpreload.so";

/* The hook data of a Qt 6 QtCore in this process, or null. Qt 5 exports
 * qtHookData under the same name and with the same layout, so the name
 * alone does not tell them apart. Debian's Qt versions its symbols:
 * "qtHookData@Qt_6" is Qt 6's and only Qt 6's; where Qt is built without
 * symbol versions the plain name is taken. Either way the array's QtVersion
 * slot holds QT_VERSION of the QtCore that defines it (0x060402 for 6.4.2),
 * and its major version must be 6. */
static uintptr_t *qt6HookData(void)
{
    uintptr_t *data = (uintptr_t *)dlvsym(RTLD_DEFAULT, "qtHookData", "Qt_6");
    if (!data)
        data = (uintptr_t *)dlsym(RTLD_DEFAULT, "qtHookData");
    if (!data || data[HookDataVersion] < 1 || data[HookDataSize] <= StartupSlot)
        return NULL;
    return (data[QtVersion] >> 16) == 6 ? data : NULL;
}

static void sayNoAgent(const char *what, const char *detail)
{
    fprintf(stderr, "tolvex: %s%s; the application runs without the agent\n", what,
            detail ? detail : "");
}

static int wrapperPath(const char *directory, const char *below, char *path, size_t size)
{
    const int n = snprintf(path, size, "%s%s/%s", directory, below, WrapperName);
    return n > 0 && (size_t)n < size && access(path, F_OK) == 0;
}

static void *loadWrapper(void)
{
    char path[PATH_MAX];
    const char *prefix = getenv("TOLVEX_PREFIX");
    if (!wrapperPath(ownDirectory, "", path, sizeof path) &&
        !(prefix && prefix[0] && wrapperPath(prefix, "/lib", path, sizeof path))) {
        fprintf(stderr,
                "tolvex: %s is neither in %s nor in $TOLVEX_PREFIX/lib; the application runs "
                "without the agent\n",
                WrapperName, ownDirectory);
        return NULL;
    }
    void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        sayNoAgent("the Qt wrapper could not be loaded: ", dlerror());
    return library;
}

/* Called by QtCore inside the construction of each application object,
 * after the hook that was there before. The wrapper's entry only schedules
 * the agent's start. The wrapper is loaded once, and a failure told once. */
static void startupHook(void)
{
    static int tried;
    static StartupCallback entry;
    if (previousStartup)
        previousStartup();
    if (!tried) {
        tried = 1;
        void *library = loadWrapper();
        if (library) {
            /* POSIX's way from dlsym's object pointer to a function. */
            *(void **)&entry = dlsym(library, WrapperEntry);
            if (!entry)
                sayNoAgent("the Qt wrapper has no entry point: ", dlerror());
        }
    }
    if (entry)
        entry();
}

static void locateSelf(void)
{
    Dl_info info;
    if (!dladdr(ownDirectory, &info) || !info.dli_fname)
        return;
    const char *fileName = info.dli_fname;
    const char *slash = strrchr(fileName, '/');
    const char *base = slash ? slash + 1 : fileName;
    if (strlen(base) < sizeof ownName)
        strcpy(ownName, base);
    if (!slash)
        return;
    const size_t length = (size_t)(slash - fileName);
    if (length == 0) {
        strcpy(ownDirectory, "/");
    } else if (length < sizeof ownDirectory) {
        memcpy(ownDirectory, fileName, length);
        ownDirectory[length] = '\0';
    }
    /* A relative preload path means the working directory of now; the
     * application may change it before its application object exists. */
    char resolved[PATH_MAX];
    if (realpath(ownDirectory, resolved))
        strcpy(ownDirectory, resolved);
}

static void setPrefixFromOwnPlace(void)
{
    const char *prefix = getenv("TOLVEX_PREFIX");
    if (prefix && prefix[0])
        return;
    char above[PATH_MAX];
    strcpy(above, ownDirectory);
    char *slash = strrchr(above, '/');
    if (slash && strcmp(slash, "/lib") == 0) {
        *slash = '\0';
        setenv("TOLVEX_PREFIX", above[0] ? above : "/", 1);
    }
}

static void adjustChildPreload(void)
{
    const char *preload = getenv("LD_PRELOAD");
    if (!preload)
        return;
    const size_t size = strlen(preload) + 1;
    char *adjusted = malloc(size);
    if (!adjusted)
        return;
    const int length = tolvexChildPreload(
        preload, ownName, tolvexIsEnabled(getenv("TOLVEX_HOOK_CHILDREN")), adjusted, size);
    if (length == 0)
        unsetenv("LD_PRELOAD");
    else if (length > 0 && strcmp(adjusted, preload) != 0)
        setenv("LD_PRELOAD", adjusted, 1);
    free(adjusted);
}

/* Runs before main(), once the program's libraries are loaded but possibly
 * before their own initialisers: QtCore's hook data is constant data, valid
 * from the start, and setenv is safe while the process has one thread. */
__attribute__((constructor)) static void installStartupHook(void)
{
    if (!tolvexIsPositiveNumber(getenv("TOLVEX_RUNNERID")))
        return;
    uintptr_t *hookData = qt6HookData();
    if (!hookData)
        return;
    locateSelf();
    adjustChildPreload();
    setPrefixFromOwnPlace();
    previousStartup = (StartupCallback)hookData[StartupSlot];
    hookData[StartupSlot] = (uintptr_t)&startupHook;
}

/*
 * startupchain: a library preloaded next to the start-up shim that installs
 * Qt's start-up and object hooks of its own, as a probe or a profiler does,
 * chaining whatever was there before it. It tells on standard error when
 * its start-up hook runs and, as the process ends, how many QObjects its
 * object hooks saw, so a test sees that the shim left all three working.
 * Qt-free C, like the shim.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>

enum { AddQObjectSlot = 3, RemoveQObjectSlot = 4, StartupSlot = 5 };

typedef void (*StartupCallback)(void);
typedef void (*ObjectCallback)(void *);

static StartupCallback nextStartup;
static ObjectCallback nextAdd;
static ObjectCallback nextRemove;
static unsigned long added;
static unsigned long removed;
static int installed;

static void startup(void)
{
    fprintf(stderr, "startupchain: start-up hook ran\n");
    if (nextStartup)
        nextStartup();
}

static void objectAdded(void *object)
{
    __atomic_add_fetch(&added, 1, __ATOMIC_RELAXED);
    if (nextAdd)
        nextAdd(object);
}

static void objectRemoved(void *object)
{
    __atomic_add_fetch(&removed, 1, __ATOMIC_RELAXED);
    if (nextRemove)
        nextRemove(object);
}

__attribute__((constructor)) static void install(void)
{
    uintptr_t *data = (uintptr_t *)dlvsym(RTLD_DEFAULT, "qtHookData", "Qt_6");
    if (!data)
        return;
    nextStartup = (StartupCallback)data[StartupSlot];
    nextAdd = (ObjectCallback)data[AddQObjectSlot];
    nextRemove = (ObjectCallback)data[RemoveQObjectSlot];
    data[StartupSlot] = (uintptr_t)&startup;
    data[AddQObjectSlot] = (uintptr_t)&objectAdded;
    data[RemoveQObjectSlot] = (uintptr_t)&objectRemoved;
    installed = 1;
}

__attribute__((destructor)) static void report(void)
{
    if (installed)
        fprintf(stderr, "startupchain: %lu objects added, %lu removed\n",
                __atomic_load_n(&added, __ATOMIC_RELAXED),
                __atomic_load_n(&removed, __ATOMIC_RELAXED));
}

#pragma once

// TOLVEX_EXPORT marks what the agent library offers the toolkit wrappers
// that load it: everything else stays inside. The library's own sources are
// compiled with TOLVEX_BUILDING_LIBRARY; a program that links the static copy
// of the agent defines TOLVEX_STATIC.

#if defined(TOLVEX_STATIC)
#define TOLVEX_EXPORT
#elif defined(_WIN32)
#if defined(TOLVEX_BUILDING_LIBRARY)
#define TOLVEX_EXPORT __declspec(dllexport)
#else
#define TOLVEX_EXPORT __declspec(dllimport)
#endif
#else
#define TOLVEX_EXPORT __attribute__((visibility("default")))
#endif

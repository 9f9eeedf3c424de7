#ifndef TOLVEX_PRELOADENV_H
#define TOLVEX_PRELOADENV_H

/* What the start-up shim reads from its environment, as plain C functions
 * of the text, so that they can be tested and fuzzed apart from the shim. */

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Text that the agent reads as a number above 0 (and at most INT_MAX):
 * decimal digits with an optional sign and white space around them. Null is
 * no number. */
int tolvexIsPositiveNumber(const char *text);

/* Any value but none, an empty one or "0" switches a setting on. */
int tolvexIsEnabled(const char *value);

/* Writes into out, of outSize bytes, the preload list that the processes
 * started from here are to inherit: the runtimes of sanitizers first, in
 * their order, then the other entries, leaving out those whose file name
 * is ownName unless keepOwn is set. Entries are separated by colons, spaces
 * or tabs, as the dynamic loader reads them, and joined by colons. Returns
 * the length written, or -1 when out is too small. */
int tolvexChildPreload(const char *preload, const char *ownName, int keepOwn, char *out,
                       size_t outSize);

#ifdef __cplusplus
}
#endif

#endif

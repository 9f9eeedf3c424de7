#pragma once

#include "tolvexexport.h"

// Coverage entry points that an AUT built with coverage measurement hands to
// the agent, so that its data is saved before the process or the connection
// goes.

extern "C" {
// One entry of the registration list: a name and its function.
struct MirtRegistration
{
    const char *name;
    void (*function)();
};

// Registers entry points from a list ended by an entry with a null name.
TOLVEX_EXPORT void registermirt(const MirtRegistration *entries);
}

namespace Tolvex {

struct MirtInterface
{
    using TextFn = void (*)(const char *);
    using VoidFn = void (*)();
    using GetTextFn = const char *(*)();

    bool registered = false;
    TextFn testname = nullptr;
    TextFn teststate = nullptr;
    TextFn add_html_comment = nullptr;
    VoidFn clear_html_comment = nullptr;
    VoidFn save = nullptr;
    VoidFn clear = nullptr;
    TextFn filename = nullptr;
    GetTextFn get_filename = nullptr;

    // Each calls its entry point, or says on stderr that the AUT left it unset.
    void callTestname(const char *text) const;
    void callTeststate(const char *text) const;
    void callAddHtmlComment(const char *text) const;
    void callClearHtmlComment() const;
    void callSave() const;
    void callClear() const;
    void callFilename(const char *text) const;
    const char *callGetFilename() const;

    // The one record of the process, as registered so far.
    static MirtInterface &instance();
    // Saves coverage data if the AUT registered its entry points.
    static void saveAll();
};

} // namespace Tolvex

#include "mirtinterface.h"

#include "logging.h"

#include <cstdio>
#include <cstring>

namespace Tolvex {

namespace {

void notSet(const char *shortName)
{
    logLine("MirtInterface: __probemeter_", shortName, "() is not set by AUT");
}

template <typename Fn, typename... Args>
void callOrComplain(Fn fn, const char *shortName, Args... args)
{
    if (fn)
        fn(args...);
    else
        notSet(shortName);
}

} // namespace

MirtInterface &MirtInterface::instance()
{
    static MirtInterface mirt;
    return mirt;
}

void MirtInterface::callTestname(const char *text) const
{
    callOrComplain(testname, "testname", text);
}

void MirtInterface::callTeststate(const char *text) const
{
    callOrComplain(teststate, "teststate", text);
}

void MirtInterface::callAddHtmlComment(const char *text) const
{
    callOrComplain(add_html_comment, "add_html_comment", text);
}

void MirtInterface::callClearHtmlComment() const
{
    callOrComplain(clear_html_comment, "clear_html_comment");
}

void MirtInterface::callSave() const
{
    callOrComplain(save, "save");
}

void MirtInterface::callClear() const
{
    callOrComplain(clear, "clear");
}

void MirtInterface::callFilename(const char *text) const
{
    callOrComplain(filename, "filename", text);
}

const char *MirtInterface::callGetFilename() const
{
    if (!get_filename) {
        notSet("get_filename");
        return nullptr;
    }
    return get_filename();
}

void MirtInterface::saveAll()
{
    const MirtInterface mirt = instance();
    if (!mirt.registered)
        return;
    std::printf("Hook: Saving coverage measurements\n");
    std::fflush(stdout);
    mirt.callSave();
    mirt.callFilename(nullptr);
}

} // namespace Tolvex

extern "C" void registermirt(const MirtRegistration *entries)
{
    using Tolvex::MirtInterface;
    MirtInterface &mirt = MirtInterface::instance();
    for (const MirtRegistration *e = entries; e && e->name; ++e) {
        const char *n = e->name;
        void (*f)() = e->function;
        if (std::strcmp(n, "__probemeter_testname") == 0)
            mirt.testname = reinterpret_cast<MirtInterface::TextFn>(f);
        else if (std::strcmp(n, "__probemeter_teststate") == 0)
            mirt.teststate = reinterpret_cast<MirtInterface::TextFn>(f);
        else if (std::strcmp(n, "__probemeter_add_html_comment") == 0)
            mirt.add_html_comment = reinterpret_cast<MirtInterface::TextFn>(f);
        else if (std::strcmp(n, "__probemeter_clear_html_comment") == 0)
            mirt.clear_html_comment = f;
        else if (std::strcmp(n, "__probemeter_save") == 0)
            mirt.save = f;
        else if (std::strcmp(n, "__probemeter_clear") == 0)
            mirt.clear = f;
        else if (std::strcmp(n, "__probemeter_filename") == 0)
            mirt.filename = reinterpret_cast<MirtInterface::TextFn>(f);
        else if (std::strcmp(n, "__probemeter_get_filename") == 0)
            mirt.get_filename = reinterpret_cast<MirtInterface::GetTextFn>(f);
        else
            Tolvex::logLine("MirtInterface: Trying to register nonexisting function '", n, "'");
    }
    mirt.registered = true;
}

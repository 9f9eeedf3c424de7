#pragma once

// A small runner for the tests of the Win32 layer. They are cross-built
// with mingw-w64 and run under Wine, where no GoogleTest build is at hand;
// the runner prints each failed check and closes with "N passed, N failed".

#include <sstream>
#include <string>
#include <vector>

namespace WinTest {

struct Case
{
    const char *name;
    void (*run)();
};

std::vector<Case> &cases();

struct Registrar
{
    Registrar(const char *name, void (*run)()) { cases().push_back({name, run}); }
};

void fail(const char *file, int line, const std::string &message);

} // namespace WinTest

#define WIN_TEST(name)                                                                             \
    static void name();                                                                            \
    static const WinTest::Registrar name##Registrar(#name, name);                                  \
    static void name()

#define CHECK(condition)                                                                           \
    do {                                                                                           \
        if (!(condition))                                                                          \
            WinTest::fail(__FILE__, __LINE__, #condition);                                         \
    } while (0)

#define CHECK_EQ(actual, expected)                                                                 \
    do {                                                                                           \
        const auto &actualValue = (actual);                                                        \
        const auto &expectedValue = (expected);                                                    \
        if (!(actualValue == expectedValue)) {                                                     \
            std::ostringstream text;                                                               \
            text << #actual " == " #expected ": got " << actualValue << ", expected "              \
                 << expectedValue;                                                                 \
            WinTest::fail(__FILE__, __LINE__, text.str());                                         \
        }                                                                                          \
    } while (0)

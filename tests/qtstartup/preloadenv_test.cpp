// What the start-up shim makes of its environment: the runner id, switches,
// and the preload list that the processes it starts inherit.
#include "preloadenv.h"

#include <QString>

#include <gtest/gtest.h>

#include <string>

namespace {

std::string childPreload(const char *preload, bool keepOwn = false)
{
    char out[512];
    const int length = tolvexChildPreload(preload, "libtolvexpreload.so", keepOwn, out, sizeof out);
    EXPECT_GE(length, 0) << preload;
    EXPECT_EQ(std::string(out).size(), std::size_t(length));
    return out;
}

TEST(PreloadEnvironment, RunnerIdIsANumberAboveZeroAsTheAgentReadsIt)
{
    const char *const texts[] = {
        "1",    "42",  " 7 ", "+3",         "\t2\n",      "0001",
        "",     "0",   "-1",  "-0",         "x",          "1x",
        "0x10", "1 2", "+",   "2147483647", "2147483648", "99999999999999999999",
        " ",    "1.0", "--1", "\v5\f"};
    for (const char *text : texts) {
        bool ok = false;
        const int agent = QString::fromLatin1(text).toInt(&ok);
        EXPECT_EQ(tolvexIsPositiveNumber(text) != 0, ok && agent > 0) << '"' << text << '"';
    }
    EXPECT_FALSE(tolvexIsPositiveNumber(nullptr));
}

TEST(PreloadEnvironment, SwitchesAreOnForAnyValueButEmptyOrZero)
{
    EXPECT_FALSE(tolvexIsEnabled(nullptr));
    EXPECT_FALSE(tolvexIsEnabled(""));
    EXPECT_FALSE(tolvexIsEnabled("0"));
    EXPECT_TRUE(tolvexIsEnabled("1"));
    EXPECT_TRUE(tolvexIsEnabled("00"));
    EXPECT_TRUE(tolvexIsEnabled("yes"));
}

TEST(PreloadEnvironment, ChildrenLoseTheShimAndKeepTheRestWithSanitizersFirst)
{
    // The shim goes, by its file name wherever it lies; nothing else does.
    EXPECT_EQ(childPreload("/opt/t/lib/libtolvexpreload.so"), "");
    EXPECT_EQ(childPreload("a.so:/opt/t/lib/libtolvexpreload.so:b.so"), "a.so:b.so");
    EXPECT_EQ(childPreload("libtolvexpreload.so.1:mylibtolvexpreload.so:/x/libtolvexpreload.so/"),
              "libtolvexpreload.so.1:mylibtolvexpreload.so:/x/libtolvexpreload.so/");
    // Colons, spaces and tabs separate, as for the dynamic loader; empty
    // entries vanish.
    EXPECT_EQ(childPreload("::a.so  b.so\t:libtolvexpreload.so: c.so::"), "a.so:b.so:c.so");
    EXPECT_EQ(childPreload(""), "");
    EXPECT_EQ(childPreload(nullptr), "");
    // A sanitizer runtime must stay the first library of the process.
    EXPECT_EQ(childPreload("/l/libtolvexpreload.so:/usr/lib/libasan.so.8:x.so:libubsan.so.1"),
              "/usr/lib/libasan.so.8:libubsan.so.1:x.so");
    EXPECT_EQ(childPreload("x.so:/llvm/lib/libclang_rt.asan-x86_64.so"),
              "/llvm/lib/libclang_rt.asan-x86_64.so:x.so");
    EXPECT_EQ(childPreload("/x/libasanother.so"), "/x/libasanother.so");
    // Unless the children are to be hooked too.
    EXPECT_EQ(childPreload("/l/libtolvexpreload.so:libasan.so.8", true),
              "libasan.so.8:/l/libtolvexpreload.so");
}

TEST(PreloadEnvironment, AListThatDoesNotFitIsRefusedWhole)
{
    char out[8] = "garbage";
    EXPECT_EQ(tolvexChildPreload("a.so:b.so", "own.so", 0, out, sizeof out), -1);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(tolvexChildPreload("a.so", "own.so", 0, out, 0), -1);
    // Exactly enough: the text and its terminating zero.
    char exact[10];
    EXPECT_EQ(tolvexChildPreload("a.so:b.so", "own.so", 0, exact, sizeof exact), 9);
    EXPECT_STREQ(exact, "a.so:b.so");
}

} // namespace

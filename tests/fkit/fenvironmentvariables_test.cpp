#include "fenvironmentvariables.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

extern char **environ;

namespace {

// Which of two names stands first in this process's environment.
bool appearsBefore(const char *first, const char *second)
{
    const size_t firstLength = std::strlen(first);
    const size_t secondLength = std::strlen(second);
    for (char **e = environ; *e; ++e) {
        if (std::strncmp(*e, first, firstLength) == 0 && (*e)[firstLength] == '=')
            return true;
        if (std::strncmp(*e, second, secondLength) == 0 && (*e)[secondLength] == '=')
            return false;
    }
    ADD_FAILURE() << "neither " << first << " nor " << second << " is set";
    return false;
}

} // namespace

TEST(FEnvironmentVariables, InheritedNamesAreUpperCasedAndTheFirstCaseVariantWins)
{
    ::setenv("tolvex_case_probe", "lower", 1);
    ::setenv("TOLVEX_CASE_PROBE", "upper", 1);
    ::setenv("Tolvex_Mixed_Probe", "mixed", 1);
    ::setenv("TOLVEX_EQ_PROBE", "a=b=c", 1);
    const QString expected =
        appearsBefore("tolvex_case_probe", "TOLVEX_CASE_PROBE") ? "lower" : "upper";

    FEnvironmentVariables env(true);
    ::unsetenv("tolvex_case_probe");
    ::unsetenv("TOLVEX_CASE_PROBE");
    ::unsetenv("Tolvex_Mixed_Probe");
    ::unsetenv("TOLVEX_EQ_PROBE");

    EXPECT_EQ(env.getValue("TOLVEX_CASE_PROBE"), expected);
    EXPECT_FALSE(env.hasValue("tolvex_case_probe"));
    // Stored upper-cased, and lookups do not fold case.
    EXPECT_TRUE(env.hasValue("TOLVEX_MIXED_PROBE"));
    EXPECT_EQ(env.getValue("TOLVEX_MIXED_PROBE"), "mixed");
    EXPECT_FALSE(env.hasValue("Tolvex_Mixed_Probe"));
    // Split at the first "=" only.
    EXPECT_EQ(env.getValue("TOLVEX_EQ_PROBE"), "a=b=c");
    EXPECT_TRUE(env.environment().contains("TOLVEX_EQ_PROBE=a=b=c"));

    FEnvironmentVariables empty(false);
    EXPECT_TRUE(empty.environment().isEmpty());
    EXPECT_FALSE(empty.hasValue("TOLVEX_MIXED_PROBE"));
}

TEST(FEnvironmentVariables, SetValueKeepsCaseAndEnvironmentListsByName)
{
    FEnvironmentVariables env(false);
    env.setValue("zeta", "last");
    env.setValue("Alpha", "first");
    env.setValue("COUNT", 42);
    env.setValue("NEGATIVE", -7);
    env.setValue("EMPTY", QString());

    EXPECT_TRUE(env.hasValue("Alpha"));
    EXPECT_FALSE(env.hasValue("ALPHA"));
    EXPECT_EQ(env.getValue("COUNT"), "42");
    EXPECT_EQ(env.getValue("NEGATIVE"), "-7");
    EXPECT_TRUE(env.hasValue("EMPTY"));
    EXPECT_TRUE(env.getValue("missing").isEmpty());

    EXPECT_EQ(env.environment(),
              (QList<QString>{"Alpha=first", "COUNT=42", "EMPTY=", "NEGATIVE=-7", "zeta=last"}));

    env.setValue("COUNT", "replaced");
    env.unsetKey("zeta");
    env.unsetKey("never-set");
    EXPECT_EQ(env.environment(),
              (QList<QString>{"Alpha=first", "COUNT=replaced", "EMPTY=", "NEGATIVE=-7"}));
}

TEST(FEnvironmentVariables, PathValuesSplitAppendAndPrependAtSemicolons)
{
    FEnvironmentVariables env(false);
    EXPECT_TRUE(env.getPathValue("P").isEmpty());

    env.appendPathValue("P", "a");
    EXPECT_EQ(env.getValue("P"), "a");
    env.appendPathValue("P", "b");
    EXPECT_EQ(env.getValue("P"), "a;b");
    env.setValue("P", "a;");
    env.appendPathValue("P", "b");
    EXPECT_EQ(env.getValue("P"), "a;b");
    EXPECT_EQ(env.getPathValue("P"), (QList<QString>{"a", "b"}));

    env.prependPathValue("Q", "x");
    EXPECT_EQ(env.getValue("Q"), "x");
    env.prependPathValue("Q", "y");
    EXPECT_EQ(env.getValue("Q"), "y;x");
    env.setValue("Q", ";x");
    env.prependPathValue("Q", "y");
    EXPECT_EQ(env.getValue("Q"), "y;x");

    // Empty elements are kept where they stand; the separator is ";" alone,
    // a ":" is part of an element.
    env.setValue("R", "C:\\bin;;/usr/bin:/bin");
    EXPECT_EQ(env.getPathValue("R"), (QList<QString>{"C:\\bin", "", "/usr/bin:/bin"}));
    env.setValue("R", QString());
    EXPECT_TRUE(env.getPathValue("R").isEmpty());
}

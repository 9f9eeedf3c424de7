#include "propertyvalue.h"
#include "qstringprinter.h"

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

PropertyValue wildcard(const QString &text)
{
    return PropertyValue(text, PropertyValue::Wildcard, PropertyValue::String);
}

PropertyValue regExp(const QString &text)
{
    return PropertyValue(text, PropertyValue::RegularExpression, PropertyValue::String);
}

} // namespace

TEST(PropertyValue, WildcardConversion)
{
    const auto pattern = [](const char *w) {
        return PropertyValue::wildcardToPattern(QString::fromLatin1(w));
    };
    EXPECT_EQ(pattern("a*b?c"), QStringLiteral("a.*b.c"));
    EXPECT_EQ(pattern("$()+.^{|}"), QStringLiteral(R"(\$\(\)\+\.\^\{\|\})"));
    EXPECT_EQ(pattern("x]"), QStringLiteral("x]"));
    // Sets are copied as they stand, with a leading '^' and ']' and escaped characters.
    EXPECT_EQ(pattern("[^]a-z]*"), QStringLiteral("[^]a-z].*"));
    EXPECT_EQ(pattern(R"([\]x]y)"), QStringLiteral(R"([\]x]y)"));
    EXPECT_EQ(pattern("a[bc"), QStringLiteral("a[bc"));
    EXPECT_EQ(pattern(R"(a[b\)"), QStringLiteral("a[b"));
    // A backslash escapes the wildcard characters...
    EXPECT_EQ(pattern(R"(\*\?\[\])"), QStringLiteral(R"(\*\?\[\])"));
    // ...and before anything else stands for itself.
    EXPECT_EQ(pattern(R"(\a)"), QStringLiteral(R"(\\a)"));
    EXPECT_EQ(pattern(R"(\.)"), QStringLiteral(R"(\\\.)"));
    // A run of backslashes keeps the escape pending.
    EXPECT_EQ(pattern(R"(\\*)"), QStringLiteral(R"(\\\*)"));
    EXPECT_EQ(pattern(R"(ab\)"), QStringLiteral("ab"));
}

TEST(PropertyValue, PatternsMatchAnywhereInTheText)
{
    const PropertyValue aStarB = wildcard(QStringLiteral("a*b"));
    EXPECT_TRUE(aStarB.matches(QStringLiteral("ab")));
    EXPECT_TRUE(aStarB.matches(QStringLiteral("xaYYbz")));
    EXPECT_FALSE(aStarB.matches(QStringLiteral("ba")));
    EXPECT_TRUE(wildcard(QStringLiteral("a?c")).matches(QStringLiteral("_abc_")));
    EXPECT_FALSE(wildcard(QStringLiteral("a?c")).matches(QStringLiteral("ac")));
    EXPECT_TRUE(wildcard(QStringLiteral("File (1).txt")).matches(QStringLiteral("File (1).txt")));
    EXPECT_FALSE(wildcard(QStringLiteral("a.c")).matches(QStringLiteral("abc")));
    EXPECT_TRUE(wildcard(QStringLiteral("[0-9]x")).matches(QStringLiteral("a5x")));
    EXPECT_TRUE(wildcard(QStringLiteral("\\*")).matches(QStringLiteral("a*b")));
    EXPECT_FALSE(wildcard(QStringLiteral("\\*")).matches(QStringLiteral("ab")));

    EXPECT_TRUE(regExp(QStringLiteral("O.")).matches(QStringLiteral("[OK]")));
    EXPECT_TRUE(regExp(QStringLiteral("^OK$")).matches(QStringLiteral("OK")));
    EXPECT_FALSE(regExp(QStringLiteral("^OK$")).matches(QStringLiteral("OK ")));
    EXPECT_FALSE(regExp(QStringLiteral("ok")).matches(QStringLiteral("OK")));
    // A pattern that does not compile never matches.
    EXPECT_FALSE(regExp(QStringLiteral("(")).matches(QStringLiteral("(")));
    EXPECT_FALSE(wildcard(QStringLiteral("[abc")).matches(QStringLiteral("[abc")));

    const PropertyValue exact(QStringLiteral("OK"), PropertyValue::Exact, PropertyValue::String);
    EXPECT_TRUE(exact.regularExpression().pattern().isEmpty());
    EXPECT_TRUE(exact.matches(QStringLiteral("OK")));
    EXPECT_FALSE(exact.matches(QStringLiteral("OK ")));
    EXPECT_FALSE(exact.matches(QStringLiteral("ok")));
    // Modes beyond the three never match.
    EXPECT_FALSE(
        PropertyValue(QStringLiteral("OK"), PropertyValue::Modifiers(7), PropertyValue::String)
            .matches(QStringLiteral("OK")));
}

TEST(PropertyValue, EqualityLeavesTheTypeOut)
{
    const PropertyValue text(QStringLiteral("{a='1'}"), PropertyValue::Exact,
                             PropertyValue::String);
    const PropertyValue object(QStringLiteral("{a='1'}"), PropertyValue::Exact,
                               PropertyValue::Object);
    EXPECT_EQ(text, object);
    EXPECT_NE(text, PropertyValue(QStringLiteral("{a='1'}"), PropertyValue::Wildcard,
                                  PropertyValue::String));
    EXPECT_NE(text, PropertyValue(QStringLiteral("{A='1'}"), PropertyValue::Exact,
                                  PropertyValue::String));
    EXPECT_EQ(PropertyValue::operatorText(3), QString());
}

#include "objectname.h"
#include "objectname_p.h"
#include "qstringprinter.h"

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

QString parseError(const QString &name)
{
    QString error;
    const auto properties = parseNameByProperties(name, &error);
    EXPECT_TRUE(properties.isEmpty()) << name.toStdString();
    return error;
}

QMap<QString, PropertyValue> parseOk(const QString &name)
{
    QString error = QStringLiteral("not touched");
    const auto properties = parseNameByProperties(name, &error);
    EXPECT_EQ(error, QString()) << name.toStdString();
    return properties;
}

QString canonical(const QString &name)
{
    return qualifiedNameFromProperties(parseOk(name));
}

} // namespace

TEST(ObjectNameSyntax, BlanksSeparatorsAndRepeatedKeys)
{
    EXPECT_EQ(canonical(QStringLiteral("{a = 'x'}")), QStringLiteral("{a='x'}"));
    EXPECT_EQ(canonical(QStringLiteral("{\ta\t=\t'x'\t}")), QStringLiteral("{a='x'}"));
    EXPECT_EQ(canonical(QStringLiteral("  {a='1'} ")), QStringLiteral("{a='1'}"));
    // No separator is needed between properties, and a blank inside a key is dropped.
    EXPECT_EQ(canonical(QStringLiteral("{a='1'b='2'}")), QStringLiteral("{a='1' b='2'}"));
    EXPECT_EQ(parseOk(QStringLiteral("{a b='x'}")).firstKey(), QStringLiteral("ab"));
    EXPECT_EQ(canonical(QStringLiteral("{a='1' a='2'}")), QStringLiteral("{a='2'}"));
    // The first key character may be an operator character.
    EXPECT_EQ(parseOk(QStringLiteral("{=='x'}")).firstKey(), QStringLiteral("="));

    EXPECT_TRUE(parseOk(QStringLiteral("{}")).isEmpty());
    EXPECT_TRUE(parseOk(QStringLiteral("{ }")).isEmpty());
    const ObjectName empty(QStringLiteral("{}"));
    EXPECT_TRUE(empty.isValid());
    EXPECT_TRUE(empty.isMultiProperty());
    EXPECT_TRUE(empty.isEmpty());
}

TEST(ObjectNameSyntax, OperatorsAndNestedNames)
{
    const auto p =
        parseOk(QStringLiteral("{a~='^x$' b?='x*' container={type='A' inner={n='1'}} text='b'}"));
    ASSERT_EQ(p.size(), 4);
    EXPECT_EQ(p[QStringLiteral("a")].matchingMode(), PropertyValue::RegularExpression);
    EXPECT_EQ(p[QStringLiteral("b")].matchingMode(), PropertyValue::Wildcard);
    const PropertyValue container = p[QStringLiteral("container")];
    EXPECT_TRUE(container.isObject());
    EXPECT_EQ(container.matchingMode(), PropertyValue::Exact);
    EXPECT_EQ(container.stringValue(), QStringLiteral("{type='A' inner={n='1'}}"));
    EXPECT_FALSE(p[QStringLiteral("text")].isObject());

    // A nested name takes the operator before it, so it can be matched as a pattern.
    const auto nestedPattern = parseOk(QStringLiteral("{c ~= {x='1'}}"));
    EXPECT_EQ(nestedPattern[QStringLiteral("c")].matchingMode(), PropertyValue::RegularExpression);
    EXPECT_TRUE(nestedPattern[QStringLiteral("c")].isObject());

    EXPECT_EQ(canonical(QStringLiteral("{b?='x*'  a~='^x$'}")),
              QStringLiteral("{a~='^x$' b?='x*'}"));
    EXPECT_EQ(canonical(QStringLiteral("{z={b='2' a='1'} y='q'}")),
              QStringLiteral("{y='q' z={b='2' a='1'}}"));
}

TEST(ObjectNameSyntax, EscapesInQuotedValues)
{
    const auto p = parseOk(QStringLiteral(R"({a='it\'s' b='back\\slash' c='\n' d='{}' e='\}'})"));
    EXPECT_EQ(p[QStringLiteral("a")].stringValue(), QStringLiteral("it's"));
    EXPECT_EQ(p[QStringLiteral("b")].stringValue(), QStringLiteral("back\\slash"));
    EXPECT_EQ(p[QStringLiteral("c")].stringValue(), QStringLiteral("n"));
    EXPECT_EQ(p[QStringLiteral("d")].stringValue(), QStringLiteral("{}"));
    EXPECT_EQ(p[QStringLiteral("e")].stringValue(), QStringLiteral("}"));

    const QString printed = qualifiedNameFromProperties(p);
    EXPECT_EQ(printed, QStringLiteral(R"({a='it\'s' b='back\\slash' c='n' d='{}' e='}'})"));
    EXPECT_EQ(parseOk(printed), p);

    // A line break is an ordinary character, in values and as an unexpected one alike.
    EXPECT_EQ(parseOk(QStringLiteral("{a='x\ny'}"))[QStringLiteral("a")].stringValue(),
              QStringLiteral("x\ny"));
    EXPECT_EQ(parseError(QStringLiteral("{a=\n'x'}")),
              QStringLiteral("Parse error while parsing '{a=\n'x'}': at column 4: expected "
                             "either ' or { or whitespace, got \n\n"));
}

TEST(ObjectNameSyntax, ErrorTexts)
{
    EXPECT_EQ(parseError(QStringLiteral("abc")),
              QStringLiteral("Not a multi-property string: abc"));
    EXPECT_EQ(parseError(QStringLiteral(" {a='1'}{b='2'}")),
              QStringLiteral("Error parsing object name  {a='1'}{b='2'} (trimmed: "
                             "{a='1'}{b='2'}). Parsed 6 characters, but name still has 7 "
                             "more to parse"));
    EXPECT_EQ(parseError(QStringLiteral("{a=1}")),
              QStringLiteral("Parse error while parsing '{a=1}': at column 4: expected either "
                             "' or { or whitespace, got 1\n"));
    EXPECT_EQ(
        parseError(QStringLiteral("{a?'x'}")),
        QStringLiteral("Parse error while parsing '{a?'x'}': at column 3: expected =, got ?\n"));
    // No white space between the two characters of an operator.
    EXPECT_EQ(
        parseError(QStringLiteral("{a~ ='x'}")),
        QStringLiteral("Parse error while parsing '{a~ ='x'}': at column 3: expected =, got ~\n"));
    // Characters outside Latin-1 are named as '?'.
    EXPECT_EQ(parseError(QStringLiteral("{a=\u20ac}")),
              QStringLiteral("Parse error while parsing '{a=\u20ac}': at column 4: expected either "
                             "' or { or whitespace, got ?\n"));
    EXPECT_EQ(parseError(QStringLiteral("{a='}")),
              QStringLiteral("Object name '{a='}' ended unexpectedly at column 5"));
    EXPECT_EQ(parseError(QStringLiteral("{a={b='1'}")),
              QStringLiteral("Object name '{a={b='1'}' ended unexpectedly at column 10"));
    EXPECT_EQ(parseError(QStringLiteral("{a={b='}")),
              QStringLiteral("Unexpected end of object name: {a={b='}. Parsing a nested object "
                             "name starting at column 3 ended at column 8 which is unexpected."));
    // An error inside a nested name is reported as it is.
    EXPECT_EQ(parseError(QStringLiteral("{a={b=2}}")),
              QStringLiteral("Parse error while parsing '{a={b=2}}': at column 7: expected either "
                             "' or { or whitespace, got 2\n"));
    // '%' in a name is not taken for a placeholder of the message.
    EXPECT_EQ(parseError(QStringLiteral("{%2%1=x}")),
              QStringLiteral("Parse error while parsing '{%2%1=x}': at column 7: expected either "
                             "' or { or whitespace, got x\n"));

    QString error = QStringLiteral("stale");
    EXPECT_TRUE(parseNameByProperties(QStringLiteral("{a='1'}"), &error).size() == 1);
    EXPECT_TRUE(error.isEmpty());
    EXPECT_TRUE(parseNameByProperties(QStringLiteral("x"), nullptr).isEmpty());
}

TEST(ObjectNameSyntax, ErrorsOnlyTheBareParserCanMeet)
{
    // A name in braces always ends in '}', so a trailing backslash or a missing '{' can
    // only reach the parser directly.
    qsizetype pos = 0;
    QString error;
    parseObjectNameAt(QStringLiteral("{a='x\\"), pos, error);
    EXPECT_EQ(error,
              QStringLiteral("Object name {a='x\\ unexpectedly ends in backslash at column 5"));
    pos = 0;
    error.clear();
    parseObjectNameAt(QStringLiteral("ab"), pos, error);
    EXPECT_EQ(error,
              QStringLiteral("Parse error while parsing 'ab': at column 1: expected {, got a\n"));
    EXPECT_EQ(parseError(QStringLiteral("{a='x\\")),
              QStringLiteral("Not a multi-property string: {a='x\\"));
}

TEST(ObjectNameSyntax, DeepNestingIsRefusedNotRecursedInto)
{
    QString ok = QStringLiteral("{a='1'}");
    for (int i = 1; i < MaxObjectNameNesting; ++i)
        ok = QStringLiteral("{n=%1}").arg(ok);
    EXPECT_EQ(parseOk(ok).size(), 1);

    const QString tooDeep = QStringLiteral("{n=%1}").arg(ok);
    EXPECT_EQ(
        parseError(tooDeep),
        QStringLiteral("Object name %1 nests deeper than 64 levels at column 193").arg(tooDeep));
    // Far beyond the limit: refused, not a stack overflow.
    const QString hostile = QString(QStringLiteral("{a=")).repeated(200000) + QStringLiteral("}");
    EXPECT_FALSE(parseError(hostile).isEmpty());
}

TEST(ObjectName, EqualityIgnoresKeyOrderAndBlanksButNotModeOrValue)
{
    const ObjectName a(QStringLiteral("{b='1' a='2'}"));
    EXPECT_EQ(a.qualifiedName(), QStringLiteral("{b='1' a='2'}"));
    EXPECT_EQ(a, ObjectName(QStringLiteral("{a = '2'  b='1'}")));
    EXPECT_EQ(qualifiedNameFromProperties(a.properties()), QStringLiteral("{a='2' b='1'}"));
    EXPECT_NE(a, ObjectName(QStringLiteral("{a?='2' b='1'}")));
    EXPECT_NE(a, ObjectName(QStringLiteral("{a='2' b='1 '}")));
    EXPECT_NE(a, ObjectName(QStringLiteral("{a='2' b='1' c='3'}")));
    EXPECT_NE(a, ObjectName(QStringLiteral("{a='2'}")));
    // A nested name and the same text in quotes are equal values.
    EXPECT_EQ(ObjectName(QStringLiteral("{c={t='A'}}")),
              ObjectName(QStringLiteral(R"({c='{t=\'A\'}'})")));
    // Hierarchical names compare as text, case included.
    EXPECT_EQ(ObjectName(QStringLiteral("Main.OK")), ObjectName(QStringLiteral("Main.OK")));
    EXPECT_NE(ObjectName(QStringLiteral("Main.OK")), ObjectName(QStringLiteral("main.OK")));
    // A name that does not parse is only equal to the same text.
    EXPECT_NE(ObjectName(QStringLiteral("{a=1}")), ObjectName(QStringLiteral("{}")));

    EXPECT_TRUE(
        qualifiedNamesEqual(QStringLiteral("{b='1' a='2'}"), QStringLiteral("{a='2' b='1'}")));
    EXPECT_FALSE(qualifiedNamesEqual(QStringLiteral("{a='1'}"), QStringLiteral("{a~='1'}")));
    EXPECT_FALSE(qualifiedNamesEqual(QStringLiteral("Main"), QStringLiteral("main")));
    EXPECT_TRUE(qualifiedNamesEqual(QStringLiteral("{a=1}"), QStringLiteral("{b=2}")));
    EXPECT_TRUE(qualifiedNamesEqual(QStringLiteral(" {a='1'}"), QStringLiteral("{a='1'}\t")));
    EXPECT_EQ(ObjectName(QStringLiteral(" {a='1'}")), ObjectName(QStringLiteral("{a='1'}\t")));

    // The order is consistent with equality, so a map holds one entry per name.
    QMap<ObjectName, int> byName;
    byName.insert(a, 1);
    byName.insert(ObjectName(QStringLiteral("{a='2' b='1'}")), 2);
    byName.insert(ObjectName(QStringLiteral("{a='2'}")), 3);
    byName.insert(ObjectName(QStringLiteral("Main")), 4);
    byName.insert(ObjectName(QStringLiteral("{a='2' b='1' c='0'}")), 5);
    ASSERT_EQ(byName.size(), 4);
    EXPECT_EQ(byName.value(ObjectName(QStringLiteral("{ b='1' a='2' }"))), 2);
    EXPECT_EQ(byName.firstKey().qualifiedName(), QStringLiteral("Main"));
}

TEST(ObjectName, TwoRepresentationsFollowEachOther)
{
    ObjectName fromText(QStringLiteral("{type='Button' text='OK'}"));
    EXPECT_EQ(fromText.property(QStringLiteral("text")).stringValue(), QStringLiteral("OK"));
    EXPECT_EQ(fromText.property(QStringLiteral("absent")), PropertyValue());
    fromText.setProperty(
        QStringLiteral("text"),
        PropertyValue(QStringLiteral("C*"), PropertyValue::Wildcard, PropertyValue::String));
    fromText.removeProperty(QStringLiteral("type"));
    EXPECT_EQ(fromText.qualifiedName(), QStringLiteral("{text?='C*'}"));

    QMap<QString, PropertyValue> properties;
    properties.insert(
        QStringLiteral("label"),
        PropertyValue(QStringLiteral("a'b\\c"), PropertyValue::Exact, PropertyValue::String));
    const ObjectName fromProperties(properties);
    EXPECT_EQ(fromProperties.qualifiedName(), QStringLiteral(R"({label='a\'b\\c'})"));
    EXPECT_TRUE(fromProperties.isMultiProperty());
    EXPECT_EQ(ObjectName(fromProperties.qualifiedName()), fromProperties);
    EXPECT_TRUE(ObjectName(QMap<QString, PropertyValue>()).isEmpty());

    // Changing a name that did not parse makes its properties the name.
    ObjectName broken(QStringLiteral("{a=1}"));
    EXPECT_FALSE(broken.isValid());
    broken.setProperty(QStringLiteral("a"), PropertyValue());
    EXPECT_TRUE(broken.isValid());
    EXPECT_EQ(broken.qualifiedName(), QStringLiteral("{a=''}"));
}

TEST(ObjectName, ValidityEmptinessAndKinds)
{
    const ObjectName emptyText{QString()};
    EXPECT_FALSE(emptyText.isValid());
    EXPECT_EQ(emptyText.errorMessage(), QStringLiteral("Empty string is not a valid object name."));
    EXPECT_TRUE(emptyText.isEmpty());
    EXPECT_TRUE(ObjectName().isValid());
    EXPECT_TRUE(ObjectName().isEmpty());

    const ObjectName hierarchical(QStringLiteral("Main.OK"));
    EXPECT_TRUE(hierarchical.isValid());
    EXPECT_FALSE(hierarchical.isMultiProperty());
    EXPECT_FALSE(hierarchical.isEmpty());
    EXPECT_TRUE(hierarchical.properties().isEmpty());

    for (const QString &stray : {QStringLiteral("{Main.OK"), QStringLiteral("Main.OK}")}) {
        const ObjectName name(stray);
        EXPECT_EQ(name.errorMessage(),
                  QStringLiteral("Hierarchical names must not start with '{' or end in '}': ") +
                      stray);
        EXPECT_FALSE(name.isMultiProperty());
        EXPECT_FALSE(name.isEmpty());
    }

    const ObjectName bad(QStringLiteral("{a?'x'}"));
    EXPECT_FALSE(bad.isValid());
    EXPECT_EQ(
        bad.errorMessage(),
        QStringLiteral("Parse error while parsing '{a?'x'}': at column 3: expected =, got ?\n"));
    EXPECT_FALSE(bad.isMultiProperty());
    EXPECT_FALSE(bad.isEmpty());
    EXPECT_EQ(bad.qualifiedName(), QStringLiteral("{a?'x'}"));
    EXPECT_TRUE(ObjectName(QStringLiteral("{a='1'} ")).isMultiProperty());
}

TEST(ObjectName, OccurrenceValue)
{
    const auto occurrence = [](const char *name) {
        return ObjectName(QString::fromLatin1(name)).occurrenceValue();
    };
    EXPECT_EQ(occurrence("{type='A'}"), 1);
    EXPECT_EQ(occurrence("{occurrence=''}"), 1);
    EXPECT_EQ(occurrence("{occurrence='2'}"), 2);
    EXPECT_EQ(occurrence("{occurrence='0'}"), -1);
    EXPECT_EQ(occurrence("{occurrence='two'}"), -1);
    EXPECT_EQ(occurrence("{occurrence='0x2'}"), -1);
}

#include "objectmap.h"
#include "qstringprinter.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

using namespace Tolvex;

namespace {

QString readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("<unreadable>");
    return QString::fromUtf8(file.readAll());
}

bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace

TEST(ObjectMapText, EscapingRoundTripsEveryControlCharacter)
{
    const QString nasty = QStringLiteral("a\\b\tc\nd\re\\n\\\\");
    const QString escaped = ObjectMap::escapeForSerialize(nasty);
    EXPECT_EQ(escaped, QStringLiteral(R"(a\\b\tc\nd\re\\n\\\\)"));
    EXPECT_EQ(ObjectMap::unescapeFromSerialize(escaped), nasty);
    // Unknown escapes keep their backslash; a backslash at the end is dropped.
    EXPECT_EQ(ObjectMap::unescapeFromSerialize(QStringLiteral(R"(a\xb\)")),
              QStringLiteral(R"(a\xb)"));
}

TEST(ObjectMapText, RoundTripAndSkippedLines)
{
    ObjectMap map;
    map.add(ObjectName(QStringLiteral("{type='Button' text='OK\tgo'}")), QStringLiteral(":OK\tgo"));
    map.add(ObjectName(QStringLiteral("{type='Label' text='two\nlines'}")),
            QStringLiteral(":two\nlines"));
    map.add(ObjectName(QStringLiteral("Main.Tab\\\\x")), QStringLiteral(":tab"));
    const QString text = map.toString();
    EXPECT_EQ(text.count(u'\n'), 3);
    // Real names are written as they were given, not in canonical form.
    EXPECT_TRUE(text.startsWith(QStringLiteral(":OK\\tgo\t{type='Button' text='OK\\tgo'}\n")))
        << text.toStdString();

    const auto entries = ObjectMap::parseSerializedMap(text);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].first, QStringLiteral(":OK\tgo"));
    EXPECT_EQ(entries[0].second, ObjectName(QStringLiteral("{type='Button' text='OK\tgo'}")));
    EXPECT_EQ(entries[1].first, QStringLiteral(":tab"));
    EXPECT_EQ(entries[1].second.qualifiedName(), QStringLiteral("Main.Tab\\\\x"));
    EXPECT_EQ(entries[2].first, QStringLiteral(":two\nlines"));

    ObjectMap reloaded;
    reloaded.loadFromString(text);
    EXPECT_FALSE(reloaded.isModified());
    EXPECT_EQ(reloaded.toString(), text);

    const auto skipped = ObjectMap::parseSerializedMap(
        QStringLiteral("# comment\t{a='1'}\nno tab here\n\n:x\t{a='1'}\r\n:y\tA\\B.c\\.d\\[e\n"));
    ASSERT_EQ(skipped.size(), 2u);
    EXPECT_EQ(skipped[0].first, QStringLiteral(":x"));
    // The '\r' of a CRLF line sticks to the name and is no multi-property name then.
    EXPECT_EQ(skipped[0].second.qualifiedName(), QStringLiteral("{a='1'}\r"));
    // Lone backslashes of hierarchical names from older files are doubled, except
    // before '.' and '['.
    EXPECT_EQ(skipped[1].second.qualifiedName(), QStringLiteral("A\\\\B.c\\.d\\[e"));
}

TEST(ObjectMapFile, SaveOnlyWhenModifiedLoadReplaces)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString path = dir.filePath(QStringLiteral("names.map"));
    ASSERT_TRUE(writeFile(path, "untouched"));

    ObjectMap map;
    EXPECT_TRUE(map.saveToFile(path));
    EXPECT_EQ(readFile(path), QStringLiteral("untouched"));

    map.add(ObjectName(QStringLiteral("{text='Grüße €'}")), QStringLiteral(":greeting"));
    EXPECT_TRUE(map.isModified());
    EXPECT_TRUE(map.saveToFile(path));
    EXPECT_FALSE(map.isModified());
    EXPECT_EQ(readFile(path), QStringLiteral(":greeting\t{text='Grüße €'}\n"));

    ObjectMap other;
    other.add(ObjectName(QStringLiteral("Stale")), QStringLiteral(":stale"));
    ASSERT_TRUE(other.loadFromFile(path));
    EXPECT_EQ(other.symbolicNames(), QStringList{QStringLiteral(":greeting")});
    EXPECT_EQ(other.realName(QStringLiteral(":greeting")), QStringLiteral("{text='Grüße €'}"));
    EXPECT_TRUE(other.isModified()) << "loading keeps the modified flag as it was";

    // Maps edited on Windows have CRLF line ends; text mode takes the CR off.
    ASSERT_TRUE(writeFile(path, ":a\t{b='1'}\r\n:c\tC\r\n"));
    ASSERT_TRUE(other.loadFromFile(path));
    EXPECT_EQ(other.realNames(), (QStringList{QStringLiteral("{b='1'}"), QStringLiteral("C")}));

    EXPECT_FALSE(other.loadFromFile(dir.filePath(QStringLiteral("missing.map"))));
    EXPECT_EQ(other.symbolicNames(), (QStringList{QStringLiteral(":a"), QStringLiteral(":c")}));

    testing::internal::CaptureStderr();
    EXPECT_FALSE(other.saveToFile(dir.path()));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ObjectMap::save() failed when opening '" + dir.path().toStdString() + "'\n");
    EXPECT_TRUE(other.isModified());
}

TEST(ObjectMap, ResolvesSymbolicNames)
{
    ObjectMap map;
    map.add(ObjectName(QStringLiteral("{type='Dlg' name='main'}")), QStringLiteral(":Main"));
    EXPECT_EQ(map.objectName(QStringLiteral(":Main")),
              ObjectName(QStringLiteral("{name='main' type='Dlg'}")));
    // A symbol the map lacks gives the text behind the colon, which then fails at lookup.
    EXPECT_EQ(map.realName(QStringLiteral(":Other")), QStringLiteral("Other"));
    EXPECT_EQ(map.realName(QStringLiteral("Main.OK")), QStringLiteral("Main.OK"));
    EXPECT_EQ(map.objectName(QString()).errorMessage(),
              QStringLiteral("Empty string is not a valid object name."));

    map.setSymbolicNames({{QStringLiteral(":b"), ObjectName(QStringLiteral("B"))},
                          {QStringLiteral(":a"), ObjectName(QStringLiteral("{x='1'}"))}});
    EXPECT_FALSE(map.contains(QStringLiteral(":Main")));
    EXPECT_EQ(map.symbolicNames(), (QStringList{QStringLiteral(":a"), QStringLiteral(":b")}));
    EXPECT_EQ(map.realNames(), (QStringList{QStringLiteral("{x='1'}"), QStringLiteral("B")}));
    EXPECT_EQ(map.symbolicName(QStringLiteral("{ x = '1' }"), false), QStringLiteral(":a"));
    map.clear();
    EXPECT_TRUE(map.symbolicNames().isEmpty());
}

TEST(ObjectMap, MintsSymbolsFromProperties)
{
    ObjectMap map;
    const QString okButton =
        QStringLiteral("{type='QPushButton' text='OK' window={type='Dlg' name='main'}}");
    EXPECT_EQ(map.symbolicName(okButton, false), QStringLiteral("{text='OK' type='QPushButton' "
                                                                "window='{name=\\'main\\' "
                                                                "type=\\'Dlg\\'}'}"));
    EXPECT_FALSE(map.isModified());

    // The nested window is minted first, and the button then refers to it by symbol.
    EXPECT_EQ(map.symbolicName(okButton, true), QStringLiteral(":main.OK_QPushButton"));
    EXPECT_EQ(map.symbolicNames(),
              (QStringList{QStringLiteral(":main.OK_QPushButton"), QStringLiteral(":main_Dlg")}));
    EXPECT_EQ(map.realName(QStringLiteral(":main.OK_QPushButton")),
              QStringLiteral("{text='OK' type='QPushButton' window=':main_Dlg'}"));
    EXPECT_TRUE(map.isModified());
    // The same name again, in another order, finds the symbol and adds nothing.
    EXPECT_EQ(map.symbolicName(QStringLiteral("{window={name='main' type='Dlg'} text='OK' "
                                              "type='QPushButton'}"),
                               true),
              QStringLiteral(":main.OK_QPushButton"));
    EXPECT_EQ(map.symbolicNames().size(), 2);
    EXPECT_EQ(map.printableName(okButton), QStringLiteral(":main.OK_QPushButton"));

    EXPECT_EQ(map.symbolicName(QStringLiteral("{type='Qt.QPushButton' text='Cancel'}"), true),
              QStringLiteral(":Cancel_QPushButton"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("{type='QFrame'}"), true),
              QStringLiteral(":_QFrame"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("{type='QFrame' occurrence='2'}"), true),
              QStringLiteral(":_QFrame_2"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("{type='QFrame' occurrence='3'}"), true),
              QStringLiteral(":_QFrame_3"));
    // Invisible format characters do not make it into a symbol.
    EXPECT_EQ(map.symbolicName(QStringLiteral("{text='O\u200bK' type='T'}"), true),
              QStringLiteral(":OK_T"));
    EXPECT_EQ(map.symbolicName(QStringLiteral("Main.Quit"), true), QStringLiteral(":Main.Quit"));
    EXPECT_EQ(map.symbolicName(QStringLiteral(":Main.Quit"), true), QStringLiteral(":Main.Quit"));
    EXPECT_EQ(map.fixedName(QStringLiteral("Main.{x}"), true), QStringLiteral("Main.{x}"));
}

TEST(ObjectMap, DeeplyNestedNamesStayLinearInSize)
{
    // Each level of quoting doubles the backslashes of the levels inside it; a name
    // nested as deep as the parser allows must not grow with 2^depth.
    QString name = QStringLiteral("{text='it\\'s' type='T'}");
    for (int i = 1; i < MaxObjectNameNesting; ++i)
        name = QStringLiteral("{type='L%1' window=%2}").arg(QString::number(i), name);
    ObjectMap map;
    const QString printable = map.printableName(name);
    EXPECT_LT(printable.size(), name.size() * 64);
    // The levels that are quoted are found again when the name is looked up.
    const QString symbol = map.symbolicName(name, true);
    EXPECT_EQ(map.symbolicName(name, false), symbol);
    EXPECT_EQ(map.printableName(name), symbol);
}

TEST(ObjectMap, SymbolPartsFollowTheTables)
{
    const auto symbol = [](const char *name) {
        return ObjectMap::symbolFromMultiPropName(QString::fromUtf8(name));
    };
    EXPECT_EQ(
        symbol("{type='A' text='t' title='ti' container={name='c' type='F'} window={caption='W'}}"),
        QStringLiteral("W.c.t_A"));
    EXPECT_EQ(symbol("{form='f' tagName='DIV' basetype='x'}"), QStringLiteral("f_DIV"));
    EXPECT_EQ(symbol("{name='unnamed' objectName='qt_viewport' toolTip='tip' type='W'}"),
              QStringLiteral("tip_W"));
    EXPECT_EQ(symbol("{text='' label='L'}"), QStringLiteral("L_"));
    EXPECT_EQ(symbol("{row='3' column='4' type='Cell'}"), QStringLiteral("3_4_Cell"));
    EXPECT_EQ(symbol("{row='3' type='Cell'}"), QStringLiteral("3_Cell"));
    // A reference stands for the text of the object it names.
    EXPECT_EQ(symbol("{buddy={text='Name:'} type='Edit'}"), QStringLiteral("Name:_Edit"));
    EXPECT_EQ(symbol("not a name"), QStringLiteral("_"));

    // References through the map, including a cycle, end.
    ObjectMap map;
    map.add(ObjectName(QStringLiteral("{text='Form' type='F'}")), QStringLiteral(":form"));
    map.add(ObjectName(QStringLiteral("{buddy=':loop' type='L'}")), QStringLiteral(":loop"));
    EXPECT_EQ(symbol("{container=':form' text='OK' type='B'}"), QStringLiteral("Form.OK_B"));
    EXPECT_EQ(symbol("{buddy=':loop' type='B'}"), QStringLiteral("_B"));
}

TEST(ObjectMap, OldFlatNamesStillMatch)
{
    ObjectMap map;
    map.add(ObjectName(QStringLiteral("{type='B' windowName='main' windowType='Dlg' "
                                      "containerLabel='Box' buddyText='Name:'}")),
            QStringLiteral(":old"));
    const QString nested =
        QStringLiteral("{type='B' name='unnamed' window={name='main' type='Dlg'} "
                       "container={text~='Box' name='unnamed'} "
                       "buddy={text='Name:' type='L'}}");
    EXPECT_EQ(map.symbolicName(nested, false), QStringLiteral(":old"));
    // Also once the window has a symbol of its own and the name refers to it.
    map.add(ObjectName(QStringLiteral("{name='main' type='Dlg'}")), QStringLiteral(":Main"));
    EXPECT_EQ(map.symbolicName(nested, true), QStringLiteral(":old"));
    EXPECT_EQ(map.symbolicNames().size(), 4) << "only the container and the buddy were minted";
}

TEST(ObjectMap, ExactValuesResolveThroughTheMap)
{
    ObjectMap map;
    map.add(ObjectName(QStringLiteral("{type='Dlg' name='main'}")), QStringLiteral(":Main"));
    map.add(ObjectName(QStringLiteral("{name='main' type='Dlg'}")), QStringLiteral(":Main2"));
    const auto value = [](const QString &text, PropertyValue::Type type) {
        return PropertyValue(text, PropertyValue::Exact, type);
    };
    const PropertyValue symbolic = value(QStringLiteral(":Main"), PropertyValue::String);
    EXPECT_TRUE(symbolic.matches(QStringLiteral("{name='main'  type='Dlg'}")));
    EXPECT_TRUE(symbolic.matches(QStringLiteral(":Main2")));
    EXPECT_FALSE(symbolic.matches(QStringLiteral("{name='other' type='Dlg'}")));
    EXPECT_FALSE(symbolic.matches(QStringLiteral("Main")));
    EXPECT_FALSE(value(QStringLiteral(":Unknown"), PropertyValue::String)
                     .matches(QStringLiteral(":Unknown") + QStringLiteral("2")));
    EXPECT_FALSE(value(QStringLiteral("{name='main' type='Dlg'}"), PropertyValue::String)
                     .matches(QStringLiteral(":Main")));

    const PropertyValue nested =
        value(QStringLiteral("{type='Dlg' name='main'}"), PropertyValue::Object);
    EXPECT_TRUE(nested.matches(QStringLiteral(":Main")));
    EXPECT_TRUE(nested.matches(QStringLiteral("{ name='main' type='Dlg' }")));
    EXPECT_FALSE(nested.matches(QStringLiteral(":Missing")));
}

TEST(ObjectMap, LastConstructedIsSelfUntilDestroyed)
{
    auto first = std::make_unique<ObjectMap>(true);
    EXPECT_EQ(ObjectMap::self(), first.get());
    EXPECT_TRUE(first->ownerFlag());
    {
        ObjectMap second;
        EXPECT_EQ(ObjectMap::self(), &second);
    }
    EXPECT_EQ(ObjectMap::self(), nullptr);
    first.reset();
    EXPECT_EQ(ObjectMap::self(), nullptr);

    // Without a map, a nested name still compares by its properties.
    const PropertyValue nested(QStringLiteral("{a='1' b='2'}"), PropertyValue::Exact,
                               PropertyValue::Object);
    EXPECT_TRUE(nested.matches(QStringLiteral("{b='2' a='1'}")));
    EXPECT_FALSE(PropertyValue(QStringLiteral(":a"), PropertyValue::Exact, PropertyValue::String)
                     .matches(QStringLiteral(":b")));
}

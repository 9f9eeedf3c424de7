// The key notation and the commands it becomes.
#include "command.h"
#include "keysequences.h"
#include "recordingnative.h"

#include <gtest/gtest.h>

using namespace Tolvex;
using TestPlatform::RecordingNative;

namespace {

using Events = QList<QList<QString>>;

Events parsed(const char *text)
{
    const FunctionCallResult<Events> r = parseKeyEvents(QString::fromUtf8(text));
    EXPECT_TRUE(r.isSuccess()) << text << ": " << qPrintable(r.error);
    return r.value;
}

QString parseError(const char *text)
{
    return parseKeyEvents(QString::fromUtf8(text)).error;
}

QStringList typed(const QString &text, bool parse)
{
    RecordingNative native;
    TypeText command(text, parse);
    EXPECT_TRUE(command.executeWith(&native).isSuccess());
    return native.calls;
}

} // namespace

TEST(KeyNotation, CombinationsBracketsAndPlusesParseAsTheyAreMeant)
{
    EXPECT_EQ(parsed("a<Ctrl+b>c"), (Events{{"a"}, {"Ctrl", "b"}, {"c"}}));
    EXPECT_EQ(parsed("<>>"), (Events{{">"}}));
    EXPECT_EQ(parsed("<+>"), (Events{{"+"}}));
    EXPECT_EQ(parsed("<Ctrl+>>"), (Events{{"Ctrl", ">"}}));
    EXPECT_EQ(parsed("<Ctrl++>"), (Events{{"Ctrl", "+"}}));
    EXPECT_EQ(parsed("<Ctrl+Shift+Tab>x"), (Events{{"Ctrl", "Shift", "Tab"}, {"x"}}));
    // Names are not checked here.
    EXPECT_EQ(parsed("<Nonsense>"), (Events{{"Nonsense"}}));
    EXPECT_TRUE(parsed("").isEmpty());

    EXPECT_EQ(parseError("<"), QStringLiteral("Unterminated key combination: <"));
    EXPECT_EQ(parseError("ab<a"), QStringLiteral("Unterminated key combination: <a"));
    // A ">" that was a key leaves the combination open, quoted from its start.
    EXPECT_EQ(parseError("x<Ctrl+>"), QStringLiteral("Unterminated key combination: <Ctrl+>"));
}

TEST(KeyNotation, ModifierWordsBecomeNativeModifiers)
{
    EXPECT_EQ(tolvexModifiersToNative(0x180).value, 3);
    EXPECT_EQ(tolvexModifiersToNative(0x100 | 0x80 | 0x200 | 0x800).value, 1 | 2 | 4 | 16);
    EXPECT_EQ(tolvexModifiersToNative(0).value, 0);
    const FunctionCallResult<int> stray = tolvexModifiersToNative(0x101);
    EXPECT_EQ(stray.value, 0);
    EXPECT_EQ(stray.error, QStringLiteral("Invalid keyboard modifier(s) 1"));
    // "Win" has no native modifier.
    EXPECT_EQ(tolvexModifiersToNative(0x400).error,
              QStringLiteral("Invalid keyboard modifier(s) 1024"));
}

TEST(TypeText, OneCombinationPressedInOrderAndReleasedInReverse)
{
    EXPECT_EQ(typed(QStringLiteral("<Ctrl+Shift+A>"), true),
              (QStringList{"+<Ctrl>", "+<Shift>", "+a", "-a", "-<Shift>", "-<Ctrl>"}));
    // A long last key keeps its brackets; so does a lone bracketed name.
    EXPECT_EQ(typed(QStringLiteral("<Ctrl+Return>"), true),
              (QStringList{"+<Ctrl>", "+<Return>", "-<Return>", "-<Ctrl>"}));
    EXPECT_EQ(typed(QStringLiteral("<a>"), true), (QStringList{"+<a>", "-<a>"}));
    EXPECT_EQ(typed(QStringLiteral("<Ctrl++>"), true),
              (QStringList{"+<Ctrl>", "++", "-+", "-<Ctrl>"}));
    // Too short for a combination, empty inside, or not parsed at all.
    EXPECT_EQ(typed(QStringLiteral("<"), true), (QStringList{"+<", "-<"}));
    EXPECT_TRUE(typed(QStringLiteral("<>"), true).isEmpty());
    EXPECT_TRUE(typed(QStringLiteral("<+>"), true).isEmpty());
    EXPECT_TRUE(typed(QString(), true).isEmpty());
    EXPECT_EQ(typed(QStringLiteral("abc"), false),
              (QStringList{"+a", "-a", "+b", "-b", "+c", "-c"}));
    EXPECT_EQ(typed(QStringLiteral("<Ctrl+b>"), false).size(), 16);
}

TEST(Commands, EveryCommandRunsAndTheFirstErrorStays)
{
    RecordingNative native;
    native.failing = {QStringLiteral("-b"), QStringLiteral("+c")};
    TypeText text(QStringLiteral("abc"), false);
    EXPECT_EQ(text.executeWith(&native).error, QStringLiteral("failed: -b"));
    EXPECT_EQ(native.calls.size(), 6);

    RecordingNative clicker;
    MouseClick click(10, 20, MouseButton::Right);
    EXPECT_TRUE(click.executeWith(&clicker).isSuccess());
    EXPECT_EQ(clicker.calls, (QStringList{"move 10,20", "button 4 down 1", "button 4 up 1"}));

    // A batch wraps each command in a suppressed flush and restores it.
    RecordingNative batch;
    std::list<SharedPtr<Command>> commands{SharedPtr<Command>(new KeyboardType(QChar('x'), 2)),
                                           SharedPtr<Command>(new MouseMoveTo(QPoint(1, 2)))};
    EXPECT_TRUE(executeCommands(commands, &batch).isSuccess());
    EXPECT_EQ(batch.calls, (QStringList{"flush off", "type x 2", "flush on", "flush off",
                                        "move 1,2", "flush on"}));
    // Without a plug-in there is nothing to run them on.
    EXPECT_EQ(executeCommands(commands).error, QStringLiteral("Platform plugin not set"));
}

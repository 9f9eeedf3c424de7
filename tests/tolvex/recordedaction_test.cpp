// Recorded events as the tool reads them off the wire, and the commands it
// offers to replay them: each must run as the same action again.
#include "eventdata.h"
#include "inspector.h"
#include "recordedaction.h"
#include "serializable.h"

#include <QDataStream>
#include <QIODevice>
#include <QJsonArray>

#include <gtest/gtest.h>

using namespace Tolvex;

namespace {

const QString Field = QStringLiteral("{objectName='name' type='QLineEdit'}");

SharedPtr<Object> number(int value)
{
    return Inspector::self()->createPrimitive(value);
}

SharedPtr<Object> text(const QString &value)
{
    return Inspector::self()->createPrimitive(value);
}

QByteArray wire(const QString &method, const ObjectList &args)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setVersion(MetadataStreamVersion);
    EventData(method, Field, args).writeObject(out);
    return bytes;
}

RecordedAction read(const QString &method, const ObjectList &args)
{
    const FunctionCallResult<RecordedAction> action = RecordedAction::fromWire(wire(method, args));
    EXPECT_FALSE(action.isError()) << qPrintable(action.error);
    return action.value;
}

} // namespace

TEST(RecordedAction, EachRecordedEventBecomesTheCommandThatDoesItAgain)
{
    struct Case
    {
        QString method;
        ObjectList args;
        QStringList replay;
    };
    const QList<Case> cases{
        {QStringLiteral("clickButton"), {}, {QStringLiteral("click"), Field}},
        // A plain left click at a point keeps the point and nothing else.
        {QStringLiteral("mouseClick"),
         {number(12), number(7), number(0), number(1)},
         {QStringLiteral("click"), Field, QStringLiteral("12"), QStringLiteral("7")}},
        // Another button and held modifiers are spelt as the options take them.
        {QStringLiteral("mouseClick"),
         {number(3), number(4), number(0x180), number(4)},
         {QStringLiteral("click"), Field, QStringLiteral("3"), QStringLiteral("4"),
          QStringLiteral("--button"), QStringLiteral("right"), QStringLiteral("--modifiers"),
          QStringLiteral("Control+Shift")}},
        {QStringLiteral("doubleClick"),
         {number(5), number(6), number(0), number(1)},
         {QStringLiteral("doubleclick"), Field, QStringLiteral("5"), QStringLiteral("6")}},
        {QStringLiteral("clickItem"),
         {text(QStringLiteral("Pear")), number(3), number(4), number(0), number(1)},
         {QStringLiteral("clickitem"), Field, QStringLiteral("Pear")}},
        {QStringLiteral("doubleClickItem"),
         {text(QStringLiteral("Pear")), number(3), number(4), number(0x200), number(1)},
         {QStringLiteral("clickitem"), Field, QStringLiteral("Pear"), QStringLiteral("--double"),
          QStringLiteral("--modifiers"), QStringLiteral("Alt")}},
        // Plain text types; text with keys in brackets goes key by key.
        {QStringLiteral("type"),
         {text(QStringLiteral("Ada L"))},
         {QStringLiteral("type"), Field, QStringLiteral("Ada L")}},
        {QStringLiteral("type"),
         {text(QStringLiteral("<Ctrl+a>Ada<Return>"))},
         {QStringLiteral("key"), Field, QStringLiteral("<Ctrl+a>Ada<Return>")}},
        {QStringLiteral("selectOption"),
         {text(QStringLiteral("Blue"))},
         {QStringLiteral("set"), Field, QStringLiteral("currentText"), QStringLiteral("Blue")}},
    };
    for (const Case &c : cases) {
        const RecordedAction action = read(c.method, c.args);
        EXPECT_EQ(action.event, c.method);
        EXPECT_EQ(action.object, Field);
        EXPECT_EQ(action.replay, c.replay) << qPrintable(c.method);
        EXPECT_TRUE(action.note.isEmpty());
        // What a session answers reads back as the same two lines.
        const RecordedAction back = RecordedAction::fromJson(action.toJson());
        EXPECT_EQ(back.eventText(), action.eventText());
        EXPECT_EQ(back.commandLine(), action.commandLine());
    }

    // What no command replays says so, and is still shown as the event.
    const RecordedAction tab = read(QStringLiteral("clickTab"), {text(QStringLiteral("Orders"))});
    EXPECT_TRUE(tab.replay.isEmpty());
    EXPECT_TRUE(tab.commandLine().startsWith(QStringLiteral("# no command")));
    EXPECT_EQ(tab.eventText(), QStringLiteral("clickTab %1 \"Orders\"").arg(Field));
    EXPECT_TRUE(tab.toJson().value(QStringLiteral("command")).isNull());
    EXPECT_EQ(RecordedAction::fromJson(tab.toJson()).commandLine(), tab.commandLine());

    // The arguments keep their kinds in JSON: strings stay strings.
    const QJsonObject item =
        read(QStringLiteral("clickItem"),
             {text(QStringLiteral("12")), number(3), number(4), number(0), number(1)})
            .toJson();
    const QJsonArray arguments = item.value(QStringLiteral("arguments")).toArray();
    ASSERT_EQ(arguments.size(), 5);
    EXPECT_TRUE(arguments.at(0).isString());
    EXPECT_EQ(arguments.at(1).toInt(), 3);
    EXPECT_EQ(item.value(QStringLiteral("command")).toObject().value(QStringLiteral("args")),
              QJsonArray({Field, QStringLiteral("12")}));
}

TEST(RecordedAction, BytesThatAreNotAWholeEventAreAnErrorNotAnAction)
{
    const QByteArray bytes = wire(QStringLiteral("type"), {text(QStringLiteral("Ada"))});
    for (qsizetype cut : {qsizetype(0), qsizetype(3), bytes.size() / 2, bytes.size() - 1})
        EXPECT_TRUE(RecordedAction::fromWire(bytes.left(cut)).isError()) << cut;
}

TEST(RecordedAction, CommandLinesReadBackByTheShellAsTheSameWords)
{
    EXPECT_EQ(shellQuoted(QStringLiteral("currentText")), QStringLiteral("currentText"));
    EXPECT_EQ(shellQuoted(QStringLiteral("Ada Lovelace")), QStringLiteral("'Ada Lovelace'"));
    // Names hold single quotes: double quotes, with what the shell would
    // expand escaped.
    EXPECT_EQ(shellQuoted(QStringLiteral("{text='$5 \"off\"' type='QLabel'}")),
              QStringLiteral("\"{text='\\$5 \\\"off\\\"' type='QLabel'}\""));
    EXPECT_EQ(shellQuoted(QString()), QStringLiteral("''"));

    EXPECT_EQ(modifierWord(QStringLiteral("Ctrl+shift")), 0x180);
    EXPECT_EQ(modifierNames(0x180), QStringLiteral("Control+Shift"));
    EXPECT_EQ(modifierWord(QStringLiteral("Control+Hyper")), -1);
    EXPECT_EQ(modifierWord(QString()), -1);
    EXPECT_TRUE(modifierNames(0x1).isEmpty());
    EXPECT_EQ(mouseButtonValue(QStringLiteral("Right")), 4);
    EXPECT_EQ(mouseButtonValue(QStringLiteral("fourth")), -1);
}

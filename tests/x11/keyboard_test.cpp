#include "keysequences.h"
#include "mixedtext.h"
#include "x11testsupport.h"
#include "xtestdisplay.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QLineEdit>
#include <QPlainTextEdit>

#include <atomic>
#include <memory>
#include <thread>

using namespace Tolvex;
using X11Test::EventRecorder;
using X11Test::native;
using X11Test::settle;
using X11Test::showActive;

namespace {

// Chunks of text that sendKeyEventToFocusWindow takes literally: one in
// angle brackets would be read as a key combination.
QList<QString> literalChunks(const QString &text, int size)
{
    QList<QString> chunks;
    for (qsizetype at = 0; at < text.size();) {
        qsizetype length = qMin<qsizetype>(size, text.size() - at);
        if (at + length < text.size() && text[at + length - 1].isHighSurrogate())
            ++length;
        QString chunk = text.mid(at, length);
        if (chunk.startsWith(QLatin1Char('<')) && chunk.endsWith(QLatin1Char('>'))) {
            chunks.append(chunk.left(1));
            chunk = chunk.mid(1);
        }
        chunks.append(chunk);
        at += length;
    }
    return chunks;
}

QString firstDifference(const QString &got, const QString &wanted)
{
    qsizetype i = 0;
    while (i < got.size() && i < wanted.size() && got[i] == wanted[i])
        ++i;
    return QStringLiteral("%1 of %2 units match; got \"%3\", wanted \"%4\"")
        .arg(i)
        .arg(wanted.size())
        .arg(got.mid(i, 12), wanted.mid(i, 12));
}

} // namespace

class X11Keyboard : public X11Test::PluginTest
{
};

TEST_F(X11Keyboard, TypesAThousandMixedCharactersAndKeysExactly)
{
    QPlainTextEdit edit;
    edit.resize(600, 400);
    EventRecorder recorder(&edit, true);
    ASSERT_TRUE(showActive(&edit));
    edit.setFocus();
    const std::vector<unsigned long> keymapBefore = XTestDisplay::keyboardMapping();

    // Ctrl+A selects what was typed first; what follows replaces it.
    ASSERT_TRUE(native()->sendKeyEventToFocusWindow(QStringLiteral("replaced")).isSuccess());
    ASSERT_TRUE(native()->sendKeyEventToFocusWindow(QStringLiteral("<Ctrl+A>")).isSuccess());

    const QString text = MixedText::make(1000, 7);
    QString expected;
    int backtabs = 0;
    const QList<QString> chunks = literalChunks(text, 60);
    for (qsizetype i = 0; i < chunks.size(); ++i) {
        const FunctionCallResult<void> typed = native()->sendKeyEventToFocusWindow(chunks[i]);
        ASSERT_TRUE(typed.isSuccess()) << qPrintable(typed.error);
        expected += chunks[i];
        if (i % 3 == 0) {
            ASSERT_TRUE(
                native()->sendKeyEventToFocusWindow(QStringLiteral("<Return>")).isSuccess());
            expected += QLatin1Char('\n');
        }
        if (i % 4 == 1) {
            ASSERT_TRUE(
                native()->sendKeyEventToFocusWindow(QStringLiteral("<Shift+Tab>")).isSuccess());
            ++backtabs;
        }
    }
    ASSERT_TRUE(TestSupport::waitUntil([&] { return edit.toPlainText() == expected; }, 30000))
        << qPrintable(firstDifference(edit.toPlainText(), expected));

    int backtabPresses = 0;
    for (const EventRecorder::Event &e : recorder.ofType(QEvent::KeyPress))
        if (e.key == Qt::Key_Backtab && e.modifiers == Qt::ShiftModifier)
            ++backtabPresses;
    EXPECT_EQ(backtabPresses, backtabs);
    EXPECT_FALSE(native()->isModifierPressed(NativeInterface::Shift));
    EXPECT_FALSE(native()->isModifierPressed(NativeInterface::Ctrl));

    // The spare keycodes go back to empty once typing has paused.
    EXPECT_TRUE(TestSupport::waitUntil(
        [&] { return XTestDisplay::keyboardMapping() == keymapBefore; }, 5000));
}

TEST_F(X11Keyboard, TypesFromAnotherThreadWithoutLosingACharacter)
{
    QLineEdit edit;
    edit.resize(400, 30);
    ASSERT_TRUE(showActive(&edit));
    const std::vector<unsigned long> keymapBefore = XTestDisplay::keyboardMapping();
    // More distinct characters than spare keycodes, over and over: bindings
    // change while the GUI thread reads the keys.
    QString text;
    for (int round = 0; round < 4; ++round)
        for (char16_t c = 0x4E00; c < 0x4E00 + 40; ++c)
            text += QChar(c);

    std::atomic<bool> done = false;
    FunctionCallResult<void> typed;
    std::thread worker([&] {
        std::unique_ptr<NativeInterface> copy(native()->threadSafeCopy());
        typed = copy->sendKeyEventToFocusWindow(text);
        // Going away gives the keymap back, once the keys are read.
        copy.reset();
        done = true;
    });
    const bool finished = TestSupport::waitUntil([&] { return done.load(); }, 60000);
    worker.join();
    ASSERT_TRUE(finished);
    EXPECT_TRUE(typed.isSuccess()) << qPrintable(typed.error);
    ASSERT_TRUE(TestSupport::waitUntil([&] { return edit.text() == text; }, 10000))
        << qPrintable(firstDifference(edit.text(), text));
    EXPECT_EQ(XTestDisplay::keyboardMapping(), keymapBefore);
}

TEST_F(X11Keyboard, KeysCodesAndModifiersArriveAsTheRightQtKeys)
{
    QLineEdit edit;
    edit.resize(400, 30);
    EventRecorder recorder(&edit);
    ASSERT_TRUE(showActive(&edit));
    const auto pressed = [&](int key) {
        for (const EventRecorder::Event &e : recorder.ofType(QEvent::KeyPress))
            if (e.key == key)
                return e;
        return EventRecorder::Event{};
    };
    const auto tap = [&](auto operation) {
        EXPECT_TRUE(operation(true).isSuccess());
        EXPECT_TRUE(operation(false).isSuccess());
    };

    // Scan codes of set 1: 0x1E is A, 0x60 the keypad's Enter.
    tap([](bool press) {
        return native()->keyCode(0x1E, 0, NativeInterface::ScanCodeSet1, press);
    });
    tap([](bool press) {
        return native()->keyCode(0x60, 0, NativeInterface::ScanCodeSet1, press);
    });
    // The packed form: the virtual key in bits 16 to 23.
    tap([](bool press) {
        return native()->keyCode(0, 0x42u << 16, NativeInterface::NativeCodeSet, press);
    });
    tap([](bool press) {
        return native()->keyCode(0, (0x74u << 16), NativeInterface::NativeCodeSet, press);
    });
    // A named key and a single character, which goes as its key alone.
    tap([](bool press) { return native()->keyboardPressRelease(QStringLiteral("Home"), press); });
    tap([](bool press) { return native()->keyboardPressRelease(QStringLiteral("C"), press); });
    // sendKeys of a name the table has, and of a lone character.
    tap([](bool press) { return native()->sendKeys(QStringLiteral("<F13>"), press); });
    tap([](bool press) { return native()->sendKeys(QStringLiteral("D"), press); });

    ASSERT_TRUE(TestSupport::waitUntil([&] { return pressed(Qt::Key_D).key == Qt::Key_D; }));
    EXPECT_EQ(pressed(Qt::Key_A).text, QStringLiteral("a"));
    EXPECT_EQ(pressed(Qt::Key_Enter).modifiers, Qt::KeypadModifier);
    EXPECT_EQ(pressed(Qt::Key_B).text, QStringLiteral("b"));
    EXPECT_EQ(pressed(Qt::Key_F5).key, Qt::Key_F5);
    EXPECT_EQ(pressed(Qt::Key_Home).key, Qt::Key_Home);
    EXPECT_EQ(pressed(Qt::Key_C).text, QStringLiteral("c")) << "the key, without Shift";
    EXPECT_EQ(pressed(Qt::Key_F13).key, Qt::Key_F13) << "bound to a spare keycode";
    EXPECT_EQ(pressed(Qt::Key_D).text, QStringLiteral("D")) << "the character, with Shift";

    // Modifiers go down and up; the toolkit sees them.
    ASSERT_TRUE(native()
                    ->pressReleaseModifiers(NativeInterface::Shift | NativeInterface::Ctrl, true)
                    .isSuccess());
    EXPECT_TRUE(native()->isModifierPressed(NativeInterface::Shift));
    EXPECT_TRUE(native()->isModifierPressed(NativeInterface::Ctrl));
    EXPECT_FALSE(native()->isModifierPressed(NativeInterface::Alt));
    EXPECT_EQ(QGuiApplication::queryKeyboardModifiers(), Qt::ShiftModifier | Qt::ControlModifier);
    ASSERT_TRUE(native()
                    ->pressReleaseModifiers(NativeInterface::Shift | NativeInterface::Ctrl, false)
                    .isSuccess());
    EXPECT_FALSE(native()->isModifierPressed(NativeInterface::Shift));
    EXPECT_FALSE(native()->isModifierPressed(NativeInterface::Ctrl));
    EXPECT_EQ(QGuiApplication::queryKeyboardModifiers(), Qt::NoModifier);

    // typeCharacter: line feed is Return, 127 Delete; with Ctrl held the
    // key goes alone; a pair of surrogates types one character.
    recorder.clear();
    edit.clear();
    ASSERT_TRUE(native()->typeCharacter(QLatin1Char('\n'), 0).isSuccess());
    ASSERT_TRUE(native()->typeCharacter(QChar(127), 0).isSuccess());
    ASSERT_TRUE(native()->typeCharacter(QLatin1Char('x'), NativeInterface::Ctrl).isSuccess());
    const QString emoji = QStringLiteral("\U0001F600");
    ASSERT_TRUE(native()->typeCharacter(emoji[0], 0).isSuccess());
    ASSERT_TRUE(native()->typeCharacter(emoji[1], 0).isSuccess());
    ASSERT_TRUE(native()->typeCharacter(QChar(0x00E9), NativeInterface::Shift).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return edit.text().endsWith(QChar(0x00E9)); }));
    EXPECT_EQ(pressed(Qt::Key_Return).key, Qt::Key_Return);
    EXPECT_EQ(pressed(Qt::Key_Delete).key, Qt::Key_Delete);
    EXPECT_EQ(pressed(Qt::Key_X).modifiers, Qt::ControlModifier);
    EXPECT_EQ(edit.text(), emoji + QChar(0x00E9));
}

TEST_F(X11Keyboard, BadKeysGiveTheirErrors)
{
    const auto unsupported = QStringLiteral("Code not supported on current platform");
    EXPECT_EQ(native()->keyCode(0x59, 0, NativeInterface::ScanCodeSet1, true).error, unsupported);
    EXPECT_EQ(native()->keyCode(249, 0, NativeInterface::ScanCodeSet1, true).error, unsupported);
    EXPECT_EQ(native()->keyCode(0, 0xFFu << 16, NativeInterface::NativeCodeSet, true).error,
              unsupported);
    EXPECT_EQ(native()->keyboardPressRelease(QString(), true).error,
              QStringLiteral("The specified text is empty"));
    EXPECT_EQ(native()->keyboardPressRelease(QStringLiteral("NoSuchKey"), true).error,
              QStringLiteral("Failed sending simulated key event"));
    // A name the table lacks sends nothing and is no error, nor is a text
    // that is neither a character nor a bracketed name.
    EXPECT_TRUE(native()->sendKeys(QStringLiteral("<NoSuchKey>"), true).isSuccess());
    EXPECT_TRUE(native()->sendKeys(QStringLiteral("ab"), true).isSuccess());
    EXPECT_EQ(native()->sendKeys(QString(QChar(0xDC00)), true).error,
              QStringLiteral("Could not send native event SendKeys(%1): Cannot type the unpaired "
                             "surrogate U+dc00")
                  .arg(QChar(0xDC00)));

    EXPECT_TRUE(native()->isValidSpecialKey(QStringLiteral("Shift")));
    EXPECT_TRUE(native()->isValidSpecialKey(QStringLiteral("F24")));
    EXPECT_FALSE(native()->isValidSpecialKey(QStringLiteral("shift")));
    EXPECT_FALSE(native()->isValidSpecialKey(QStringLiteral("VolumeUp")));

    EXPECT_EQ(
        native()
            ->sendTextToWindow(QStringLiteral("No window has this title"), QStringLiteral("x"))
            .error,
        QStringLiteral("Could not find a window with the name 'No window has this title'"));

    const QString noTouch = QStringLiteral(
        "Cannot execute touch action, touch injection is not available on this X server");
    EXPECT_EQ(native()->touch(NativeInterface::TouchPress, Point<1>(5, 5), 0, 0).error, noTouch);
    EXPECT_EQ(native()->tap(Point<1>(5, 5), 0).error, noTouch);
    EXPECT_EQ(native()->touch(NativeInterface::TouchType(1), Point<1>(5, 5), 0, 0).error,
              QStringLiteral("Touch type not supported"));
}

TEST_F(X11Keyboard, CharactersMapToKeyStrokesOfTheKeymap)
{
    const auto stroke = [](QChar c, bool keep) { return native()->charToKeyStroke(c, keep); };
    EXPECT_EQ(stroke(QLatin1Char('A'), true).value.keyCode, 0x41);
    EXPECT_EQ(stroke(QLatin1Char('A'), true).value.modifiers, NativeInterface::Shift);
    EXPECT_EQ(stroke(QLatin1Char('a'), false).value.keyCode, int('A'));
    EXPECT_EQ(stroke(QLatin1Char('a'), false).value.modifiers, 0);
    // "!" is Shift and the key of "1".
    EXPECT_EQ(stroke(QLatin1Char('!'), false).value.keyCode, int('1'));
    EXPECT_EQ(stroke(QLatin1Char('!'), true).value.keyCode, 0x31);
    EXPECT_EQ(stroke(QLatin1Char('!'), true).value.modifiers, NativeInterface::Shift);
    const FunctionCallResult<NativeInterface::KeyStroke> missing = stroke(QChar(0x4E2D), true);
    EXPECT_EQ(missing.error,
              QStringLiteral("The character code 20013 not found in the current key map"));
    EXPECT_EQ(missing.value.keyCode, 0);
}

TEST_F(X11Keyboard, ExtraKeysAreKeysOfTheKeymap)
{
    struct Catcher : ResponseListener<NativeInterface::ExtraKeys>
    {
        FunctionCallResult<NativeInterface::ExtraKeys> result{{}, QStringLiteral("no answer")};
        void response(FunctionCallResult<NativeInterface::ExtraKeys> r) override { result = r; }
    } catcher;
    native()->extraKeys(&catcher);
    ASSERT_TRUE(catcher.result.isSuccess());
    const NativeInterface::ExtraKeys &keys = catcher.result.value;
    ASSERT_FALSE(keys.empty());
    EXPECT_NE(std::find(keys.begin(), keys.end(), std::pair(QStringLiteral("VolumeMute"), 0x71)),
              keys.end());

    QLineEdit edit;
    EventRecorder recorder(&edit);
    ASSERT_TRUE(showActive(&edit));
    for (const auto &[name, code] : keys) {
        EXPECT_TRUE(
            native()->keyCode(uint(code), 0, NativeInterface::ScanCodeSet1, true).isSuccess())
            << qPrintable(name);
        EXPECT_TRUE(
            native()->keyCode(uint(code), 0, NativeInterface::ScanCodeSet1, false).isSuccess());
    }
    ASSERT_TRUE(TestSupport::waitUntil(
        [&] { return recorder.ofType(QEvent::KeyRelease).size() >= keys.size(); }));
    const auto presses = recorder.ofType(QEvent::KeyPress);
    ASSERT_FALSE(presses.empty());
    EXPECT_EQ(presses[0].key, Qt::Key_VolumeMute);
}

TEST_F(X11Keyboard, TextGoesToAWindowFoundByItsTitle)
{
    // Qt hands key events to the window that has its focus, so the target
    // is the active window here; the other one has another title.
    QLineEdit other;
    other.setWindowTitle(QStringLiteral("Tolvex other window"));
    other.resize(300, 30);
    QLineEdit target;
    target.setWindowTitle(QStringLiteral("Tolvex text target \u00E9"));
    target.resize(300, 30);
    ASSERT_TRUE(showActive(&other, QPoint(50, 500)));
    ASSERT_TRUE(showActive(&target, QPoint(50, 400)));

    const QString text = QStringLiteral("Hi! \u00E4\u20AC\u4E2D\U0001F680");
    ASSERT_TRUE(native()->sendTextToWindow(target.windowTitle(), text).isSuccess());
    ASSERT_TRUE(TestSupport::waitUntil([&] { return target.text() == text; }))
        << qPrintable(target.text());
    EXPECT_TRUE(other.text().isEmpty());
    EXPECT_EQ(native()->sendTextToWindow(QStringLiteral("Tolvex text target"), text).error,
              QStringLiteral("Could not find a window with the name 'Tolvex text target'"))
        << "the whole title, not a part of it";
}

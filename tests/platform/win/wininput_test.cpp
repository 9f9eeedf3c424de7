#include "dragwiggle.h"
#include "recordingchannel.h"
#include "specialkeys.h"
#include "user32module_win.h"
#include "winerror_win.h"
#include "wininput_win.h"
#include "wintest.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <string>

using namespace Tolvex::Win;

namespace {

// The keyboard state of this thread, which GetKeyState reads, with the given
// keys held and no others; the previous state comes back at the end.
class HeldKeys
{
public:
    explicit HeldKeys(std::initializer_list<int> keys)
    {
        GetKeyboardState(m_saved);
        BYTE state[256] = {};
        for (int key : keys)
            state[key] = 0x80;
        SetKeyboardState(state);
    }
    ~HeldKeys() { SetKeyboardState(m_saved); }

private:
    BYTE m_saved[256];
};

// Nothing held.
HeldKeys noKeysHeld()
{
    return HeldKeys({});
}

WORD scanCode(int virtualKey)
{
    return WORD(MapVirtualKeyA(UINT(virtualKey), MAPVK_VK_TO_VSC));
}

void checkKey(const INPUT &record, int virtualKey, DWORD flags)
{
    CHECK_EQ(record.type, DWORD(INPUT_KEYBOARD));
    CHECK_EQ(record.ki.wVk, WORD(virtualKey));
    CHECK_EQ(record.ki.dwFlags, flags);
}

void checkScannedKey(const INPUT &record, int virtualKey, DWORD flags)
{
    checkKey(record, virtualKey, flags);
    CHECK_EQ(record.ki.wScan, scanCode(virtualKey));
}

void checkMove(const INPUT &record, int x, int y)
{
    const INPUT expected = absoluteMouseInput(x, y);
    CHECK_EQ(record.type, DWORD(INPUT_MOUSE));
    CHECK_EQ(record.mi.dwFlags, DWORD(0x8001));
    CHECK_EQ(record.mi.dx, expected.mi.dx);
    CHECK_EQ(record.mi.dy, expected.mi.dy);
}

void checkButton(const INPUT &record, DWORD flags, DWORD mouseData = 0)
{
    CHECK_EQ(record.type, DWORD(INPUT_MOUSE));
    CHECK_EQ(record.mi.dwFlags, flags);
    CHECK_EQ(record.mi.mouseData, mouseData);
    CHECK_EQ(record.mi.dx, 0L);
    CHECK_EQ(record.mi.dy, 0L);
}

void checkPause(const ChannelEvent &event, unsigned milliseconds)
{
    CHECK(event.isPause());
    CHECK_EQ(event.pause, milliseconds);
}

// The one record of a send.
const INPUT &only(const ChannelEvent &event)
{
    CHECK_EQ(event.records.size(), size_t(1));
    return event.records.front();
}

const std::string accessDenied = errorStringFromCode(ERROR_ACCESS_DENIED);

} // namespace

// ---- Records ----

WIN_TEST(absoluteCoordinatesSpanTheScreenIn65535Steps)
{
    CHECK_EQ(absoluteCoordinate(0, 1919), 0L);
    CHECK_EQ(absoluteCoordinate(1919, 1919), 65535L);
    CHECK_EQ(absoluteCoordinate(960, 1919), 32784L);
    CHECK_EQ(absoluteCoordinate(-1, 1919), -34L);
    // Beyond the primary screen the steps go beyond 65535.
    CHECK_EQ(absoluteCoordinate(3838, 1919), 131070L);

    const INPUT move = absoluteMouseInput(GetSystemMetrics(SM_CXSCREEN) - 1, 0);
    CHECK_EQ(move.type, DWORD(INPUT_MOUSE));
    CHECK_EQ(move.mi.dwFlags, DWORD(MOUSEEVENTF_MOVE | MOUSEEVENTF_ABSOLUTE));
    CHECK_EQ(move.mi.dx, 65535L);
    CHECK_EQ(move.mi.dy, 0L);
    CHECK_EQ(absoluteMouseInput(0, GetSystemMetrics(SM_CYSCREEN) - 1).mi.dy, 65535L);
}

WIN_TEST(mouseButtonTableGivesFlagsAndExtraButtonData)
{
    struct Row
    {
        int button;
        DWORD down;
        DWORD up;
        DWORD data;
    };
    const Row rows[] = {
        {1, 2, 4, 0}, {2, 32, 64, 0}, {4, 8, 16, 0}, {64, 128, 256, 1}, {128, 128, 256, 2}};
    for (const Row &row : rows) {
        for (bool swapped : {false, true}) {
            const Result<ButtonFlags> down = mapMouseButton(row.button, true, swapped);
            const Result<ButtonFlags> up = mapMouseButton(row.button, false, swapped);
            CHECK(down.ok());
            CHECK_EQ(down.value.flags, row.down);
            CHECK_EQ(up.value.flags, row.up);
            CHECK_EQ(down.value.mouseData, row.data);
            CHECK_EQ(up.value.mouseData, row.data);
        }
    }
    CHECK_EQ(mapMouseButton(16, true, false).value.flags, DWORD(MOUSEEVENTF_LEFTDOWN));
    CHECK_EQ(mapMouseButton(16, false, true).value.flags, DWORD(MOUSEEVENTF_RIGHTUP));
    CHECK_EQ(mapMouseButton(32, true, false).value.flags, DWORD(MOUSEEVENTF_RIGHTDOWN));
    CHECK_EQ(mapMouseButton(32, true, true).value.flags, DWORD(MOUSEEVENTF_LEFTDOWN));
}

WIN_TEST(unsupportedMouseButtonsAreRefusedByValue)
{
    CHECK_EQ(mapMouseButton(3, true, false).error,
             std::string("Unsupported mouse button value: 3"));
    CHECK_EQ(mapMouseButton(0, false, false).error,
             std::string("Unsupported mouse button value: 0"));
    CHECK_EQ(mapMouseButton(256, true).error, std::string("Unsupported mouse button value: 256"));
}

WIN_TEST(capitalLetterPressesShiftFirstAndReleasesItLast)
{
    const auto held = noKeysHeld();
    const std::vector<INPUT> press = buildKeyInputs(L"A", false);
    CHECK_EQ(press.size(), size_t(2));
    if (press.size() == 2) {
        checkScannedKey(press[0], VK_SHIFT, 0);
        checkScannedKey(press[1], 'A', 0);
    }
    const std::vector<INPUT> release = buildKeyInputs(L"A", true);
    CHECK_EQ(release.size(), size_t(2));
    if (release.size() == 2) {
        checkScannedKey(release[0], 'A', KEYEVENTF_KEYUP);
        checkScannedKey(release[1], VK_SHIFT, KEYEVENTF_KEYUP);
    }
}

WIN_TEST(plainCharactersAndLineFeedsAreOneKey)
{
    const auto held = noKeysHeld();
    const std::vector<INPUT> letter = buildKeyInputs(L"a", false);
    CHECK_EQ(letter.size(), size_t(1));
    if (!letter.empty())
        checkScannedKey(letter[0], 'A', 0);
    const std::vector<INPUT> lineFeed = buildKeyInputs(L"\n", true);
    CHECK_EQ(lineFeed.size(), size_t(1));
    if (!lineFeed.empty())
        checkScannedKey(lineFeed[0], VK_RETURN, KEYEVENTF_KEYUP);
}

WIN_TEST(characterWithoutKeyGoesAsUnicode)
{
    const wchar_t han = 0x4E2D;
    CHECK_EQ(VkKeyScanW(han), SHORT(-1));
    const std::vector<INPUT> press = buildKeyInputs(std::wstring(1, han), false);
    CHECK_EQ(press.size(), size_t(1));
    if (!press.empty()) {
        checkKey(press[0], 0, KEYEVENTF_UNICODE);
        CHECK_EQ(press[0].ki.wScan, WORD(han));
    }
    const std::vector<INPUT> release = buildKeyInputs(std::wstring(1, han), true);
    if (!release.empty())
        CHECK_EQ(release[0].ki.dwFlags, DWORD(KEYEVENTF_UNICODE | KEYEVENTF_KEYUP));
}

WIN_TEST(plusUnderHeldCtrlGoesWithoutShift)
{
    const SHORT plus = VkKeyScanW(L'+');
    CHECK(plus & 0x100);
    {
        const auto held = noKeysHeld();
        CHECK_EQ(buildKeyInputs(L"+", false).size(), size_t(2));
    }
    HeldKeys ctrl({VK_CONTROL});
    const std::vector<INPUT> records = buildKeyInputs(L"+", false);
    CHECK_EQ(records.size(), size_t(1));
    if (!records.empty())
        checkScannedKey(records[0], LOBYTE(plus), 0);
}

WIN_TEST(bracketedNamesAreSpecialKeysWithTheExtendedFlagForNavigation)
{
    const std::vector<INPUT> home = buildKeyInputs(L"<Home>", true);
    CHECK_EQ(home.size(), size_t(1));
    if (!home.empty())
        checkScannedKey(home[0], VK_HOME, KEYEVENTF_EXTENDEDKEY | KEYEVENTF_KEYUP);
    const std::vector<INPUT> f5 = buildKeyInputs(L"<F5>", false);
    CHECK_EQ(f5.size(), size_t(1));
    if (!f5.empty())
        checkScannedKey(f5[0], VK_F5, 0);
    const std::vector<INPUT> shift = buildKeyInputs(L"<Shift>", false);
    if (!shift.empty())
        checkScannedKey(shift[0], VK_SHIFT, 0);
}

WIN_TEST(textsThatAreNoKeyGiveNoRecords)
{
    CHECK(buildKeyInputs(L"", false).empty());
    CHECK(buildKeyInputs(L"ab", false).empty());
    CHECK(buildKeyInputs(L"<>", false).empty());
    CHECK(buildKeyInputs(L"abc", false).empty());
    CHECK(buildKeyInputs(L"<Home", false).empty());
    CHECK(buildKeyInputs(L"<Bogus>", false).empty());
    CHECK(buildKeyInputs(L"<home>", false).empty());
}

WIN_TEST(extendedKeysAreTheNavigationBlock)
{
    std::set<int> extended;
    for (int key = 0; key < 256; ++key)
        if (isExtendedVirtualKey(key))
            extended.insert(key);
    const std::set<int> expected{33, 34, 35, 36, 37, 38, 39, 40, 45, 46};
    CHECK(extended == expected);
}

WIN_TEST(wideNamesFindTheSameSpecialKeys)
{
    for (const Tolvex::SpecialKeyTable::Row &row : Tolvex::SpecialKeyTable::Rows) {
        const std::string name(row.name);
        const std::wstring wide(name.begin(), name.end());
        // The first row of a name wins, so compare with the table's lookup.
        CHECK_EQ(specialKeyVirtualKey(wide), Tolvex::SpecialKeyTable::virtualKey(name));
        CHECK(isValidSpecialKey(wide));
    }
    CHECK_EQ(specialKeyVirtualKey(L"WinLeft"), 0x5B);
    CHECK_EQ(specialKeyVirtualKey(L"MenuLeft"), 0xA4);
    CHECK(!isValidSpecialKey(L"shift"));
    CHECK(!isValidSpecialKey(L""));
    // Outside Latin-1 nothing can match.
    CHECK(!isValidSpecialKey(L"Shift\u0100"));
}

WIN_TEST(scanCodeTableHas125DistinctRows)
{
    std::set<unsigned> codes;
    int extended = 0;
    for (const ScanCodeRow &row : ScanCodeTable) {
        CHECK(row.code > 0 && row.code < 249);
        CHECK(row.virtualKey > 0 && row.virtualKey < 256);
        codes.insert(row.code);
        if (row.extended)
            ++extended;
    }
    CHECK_EQ(codes.size(), size_t(125));
    // NumLock and the seventeen keys behind the 0xE0 prefix.
    CHECK_EQ(extended, 18);
}

WIN_TEST(scanCodesMapToVirtualKeys)
{
    const auto check = [](unsigned code, int virtualKey, bool extended) {
        const ScanCodeRow row = scanCodeToVirtualKey(code);
        CHECK_EQ(row.virtualKey, virtualKey);
        CHECK_EQ(row.extended, extended);
    };
    check(0x01, 0x1B, false);
    for (unsigned code = 0x02; code <= 0x0A; ++code)
        check(code, int('1' + code - 0x02), false);
    check(0x0B, '0', false);
    check(0x1C, 0x0D, false);
    check(0x39, 0x20, false);
    for (unsigned code = 0x3B; code <= 0x44; ++code)
        check(code, int(VK_F1 + code - 0x3B), false);
    check(0x57, VK_F11, false);
    check(0x58, VK_F12, false);
    check(0x45, VK_NUMLOCK, true);
    check(0x60, 0x0D, true);
    check(0x61, 0x11, true);
    check(0x62, 0x6F, true);
    check(0x64, 0x12, true);
    const int navigation[] = {VK_HOME, VK_UP,   VK_PRIOR, VK_LEFT,   VK_RIGHT,
                              VK_END,  VK_DOWN, VK_NEXT,  VK_INSERT, VK_DELETE};
    for (unsigned code = 0x66; code <= 0x6F; ++code)
        check(code, navigation[code - 0x66], true);
    check(0x7D, 0x5B, true);
    check(0x7E, 0x5C, true);
    check(0x7F, 0x5D, true);
    for (unsigned code = 0xB7; code <= 0xC2; ++code)
        check(code, int(0x7C + code - 0xB7), false);
    check(0x71, VK_VOLUME_MUTE, false);
}

WIN_TEST(codesWithoutRowHaveNoVirtualKey)
{
    for (unsigned code : {0u, 0x54u, 0x55u, 0x59u, 0x63u, 0xC3u, 248u, 249u, 0x1E0u})
        CHECK_EQ(scanCodeToVirtualKey(code).virtualKey, 0);
}

WIN_TEST(touchRecordIsOneContactWithFixedGeometry)
{
    const POINTER_TOUCH_INFO down = touchRecord(0, 100, 200);
    CHECK_EQ(down.pointerInfo.pointerType, POINTER_INPUT_TYPE(2));
    CHECK_EQ(down.pointerInfo.pointerId, 0u);
    CHECK_EQ(down.pointerInfo.ptPixelLocation.x, 100L);
    CHECK_EQ(down.pointerInfo.ptPixelLocation.y, 200L);
    CHECK_EQ(down.pointerInfo.pointerFlags, POINTER_FLAGS(0x10006));
    CHECK_EQ(down.touchMask, 7u);
    CHECK_EQ(down.rcContact.left, 98L);
    CHECK_EQ(down.rcContact.top, 198L);
    CHECK_EQ(down.rcContact.right, 102L);
    CHECK_EQ(down.rcContact.bottom, 202L);
    CHECK_EQ(down.orientation, 90u);
    CHECK_EQ(down.pressure, 768u);
    CHECK_EQ(touchRecord(2, 1, 1).pointerInfo.pointerFlags, POINTER_FLAGS(0x40000));
}

WIN_TEST(charToKeyStrokeGivesKeyAndModifiers)
{
    const Result<KeyStroke> capital = charToKeyStroke(L'A', true);
    CHECK(capital.ok());
    CHECK_EQ(capital.value.keyCode, 0x41);
    CHECK_EQ(capital.value.modifiers, 1);
    // Without keepVirtualKey the key's character value replaces it.
    CHECK_EQ(charToKeyStroke(L';', true).value.keyCode, VK_OEM_1);
    CHECK_EQ(charToKeyStroke(L';', false).value.keyCode, int(';'));
    CHECK_EQ(charToKeyStroke(L';', false).value.modifiers, 0);
}

WIN_TEST(charToKeyStrokeRefusesCharactersWithoutKey)
{
    const Result<KeyStroke> han = charToKeyStroke(wchar_t(0x4E2D), true);
    CHECK_EQ(han.error, std::string("The character code 20013 not found in the current key map"));
    CHECK_EQ(han.value.keyCode, 0);
}

WIN_TEST(modifierStateComesFromTheKeyboard)
{
    {
        const auto held = noKeysHeld();
        for (int modifier : {1, 2, 4, 16})
            CHECK(!isModifierPressed(modifier));
    }
    HeldKeys keys({VK_SHIFT, VK_MENU, VK_RWIN});
    CHECK(isModifierPressed(1));
    CHECK(!isModifierPressed(2));
    CHECK(isModifierPressed(4));
    CHECK(isModifierPressed(16));
    CHECK(!isModifierPressed(8));
    CHECK(!isModifierPressed(3));
}

// ---- Single operations ----

WIN_TEST(pointerMoveSendsOneAbsoluteMove)
{
    RecordingChannel channel;
    CHECK_EQ(Input(channel).pointerMove(30, 40), std::string());
    CHECK_EQ(channel.events.size(), size_t(1));
    checkMove(only(channel.events[0]), 30, 40);
    channel.failingSend = channel.sends;
    CHECK_EQ(Input(channel).pointerMove(1, 1), std::string("Failed sending fake pointer move"));
}

WIN_TEST(pointerButtonSendsTheTableFlags)
{
    RecordingChannel channel;
    Input input(channel);
    CHECK_EQ(input.pointerButton(1, true), std::string());
    CHECK_EQ(input.pointerButton(64, false), std::string());
    CHECK_EQ(input.pointerButton(3, true), std::string("Unsupported mouse button value: 3"));
    CHECK_EQ(channel.events.size(), size_t(2));
    checkButton(only(channel.events[0]), MOUSEEVENTF_LEFTDOWN);
    checkButton(only(channel.events[1]), MOUSEEVENTF_XUP, XBUTTON1);
    channel.failingSend = channel.sends;
    CHECK_EQ(input.pointerButton(4, false), std::string("Failed sending fake pointer press"));
}

WIN_TEST(wheelRollSendsOneStepPerClickWithPauses)
{
    RecordingChannel channel;
    Input input(channel);
    CHECK_EQ(input.wheelRoll(0), std::string());
    CHECK(channel.events.empty());
    CHECK_EQ(input.wheelRoll(-3), std::string());
    CHECK_EQ(channel.events.size(), size_t(6));
    for (size_t i = 0; i + 1 < channel.events.size(); i += 2) {
        const INPUT &step = only(channel.events[i]);
        CHECK_EQ(step.mi.dwFlags, DWORD(MOUSEEVENTF_WHEEL));
        CHECK_EQ(step.mi.mouseData, DWORD(-120));
        checkPause(channel.events[i + 1], 10);
    }
    channel.events.clear();
    CHECK_EQ(input.wheelRoll(2), std::string());
    CHECK_EQ(only(channel.events[0]).mi.mouseData, DWORD(120));
}

WIN_TEST(wheelRollStopsAtTheFirstFailure)
{
    RecordingChannel channel;
    channel.failingSend = 1;
    CHECK_EQ(Input(channel).wheelRoll(5), std::string("Failed sending fake wheel motion"));
    // Send, pause, failed send.
    CHECK_EQ(channel.events.size(), size_t(3));
}

WIN_TEST(modifiersGoShiftCtrlAltBothWays)
{
    RecordingChannel channel;
    Input input(channel);
    CHECK_EQ(input.pressReleaseModifiers(1 | 2 | 4 | 16, true), std::string());
    CHECK_EQ(input.pressReleaseModifiers(1 | 2 | 4, false), std::string());
    CHECK_EQ(channel.events.size(), size_t(6));
    if (channel.events.size() == 6) {
        checkKey(only(channel.events[0]), VK_SHIFT, 0);
        checkKey(only(channel.events[1]), VK_CONTROL, 0);
        checkKey(only(channel.events[2]), VK_LMENU, 0);
        checkKey(only(channel.events[3]), VK_SHIFT, KEYEVENTF_KEYUP);
        checkKey(only(channel.events[4]), VK_CONTROL, KEYEVENTF_KEYUP);
        checkKey(only(channel.events[5]), VK_LMENU, KEYEVENTF_KEYUP);
    }
    channel.events.clear();
    CHECK_EQ(input.pressReleaseModifiers(16, true), std::string());
    CHECK(channel.events.empty());
}

WIN_TEST(modifierFailureNamesTheKeyAndStops)
{
    RecordingChannel channel;
    channel.failingSend = 1;
    CHECK_EQ(Input(channel).pressReleaseModifiers(7, true),
             std::string("Failed sending a native Ctrl key press event"));
    CHECK_EQ(channel.events.size(), size_t(2));
    RecordingChannel release;
    release.failingSend = 0;
    CHECK_EQ(Input(release).pressReleaseModifiers(4, false),
             std::string("Failed sending a native Alt key press event"));
}

WIN_TEST(pointerWarpAndPositionUseTheSystemCursor)
{
    Input input;
    CHECK_EQ(input.pointerWarp(123, 45), std::string());
    const Result<POINT> position = input.pointerPosition();
    CHECK(position.ok());
    CHECK_EQ(position.value.x, 123L);
    CHECK_EQ(position.value.y, 45L);
}

// ---- Drags ----

WIN_TEST(oldDragPressesMovesReleasesThenWaitsHalfASecond)
{
    RecordingChannel channel;
    int pumped = 0;
    const Result<int> dragged =
        Input(channel).pointerDrag(10, 20, 30, -5, 2 | 1, [&pumped] { ++pumped; });
    CHECK(dragged.ok());
    CHECK_EQ(dragged.value, 1);
    const std::vector<std::vector<INPUT>> sent = channel.sent();
    CHECK_EQ(sent.size(), size_t(5));
    if (sent.size() == 5) {
        CHECK_EQ(sent[0].size(), size_t(2));
        checkMove(sent[0][0], 10, 20);
        checkButton(sent[0][1], MOUSEEVENTF_LEFTDOWN);
        checkKey(sent[1][0], VK_CONTROL, 0);
        checkMove(sent[2][0], 40, 15);
        checkKey(sent[3][0], VK_CONTROL, KEYEVENTF_KEYUP);
        checkButton(sent[4][0], MOUSEEVENTF_LEFTUP);
    }
    CHECK_EQ(pumped, 50);
    CHECK_EQ(channel.totalPause(), 500u);
}

WIN_TEST(oldDragWithoutCtrlSendsNoKeys)
{
    RecordingChannel channel;
    const Result<int> dragged = Input(channel).pointerDrag(0, 0, 1, 1, 4, {});
    CHECK_EQ(dragged.value, 1);
    CHECK_EQ(channel.sent().size(), size_t(3));
}

WIN_TEST(oldDragReportsEachStepsFailureWithValueZero)
{
    const struct
    {
        int failingSend;
        const char *error;
    } cases[] = {{0, "Failed sending fake mouse down event"},
                 {1, "Failed sending fake CTRL down event"},
                 {2, "Failed sending fake mouse move event"},
                 {3, "Failed sending fake CTRL up event"},
                 {4, "Failed sending fake mouse up event"}};
    for (const auto &c : cases) {
        RecordingChannel channel;
        channel.failingSend = c.failingSend;
        int pumped = 0;
        const Result<int> dragged =
            Input(channel).pointerDrag(5, 5, 1, 1, 2, [&pumped] { ++pumped; });
        CHECK_EQ(dragged.error, std::string(c.error));
        CHECK_EQ(dragged.value, 0);
        CHECK_EQ(pumped, 0);
        CHECK_EQ(channel.sent().size(), size_t(c.failingSend + 1));
    }
}

WIN_TEST(dragBeginPressesThenWigglesTwice)
{
    const int dragX = std::max(GetSystemMetrics(SM_CXDRAG), 6);
    const int dragY = std::max(GetSystemMetrics(SM_CYDRAG), 6);
    RecordingChannel channel;
    CHECK_EQ(Input(channel).pointerDragAndDropBegin(200, 300, 4), std::string());
    const std::vector<ChannelEvent> &events = channel.events;
    CHECK_EQ(events.size(), size_t(1 + 20 * 2 + 1));
    if (events.size() != 42)
        return;
    CHECK_EQ(events[0].records.size(), size_t(2));
    checkMove(events[0].records[0], 200, 300);
    checkButton(events[0].records[1], MOUSEEVENTF_RIGHTDOWN);
    int x = 200;
    int y = 300;
    for (int i = 0; i < 20; ++i) {
        const Tolvex::DragWiggle::Step &step = Tolvex::DragWiggle::Steps[size_t(i % 10)];
        const int scaleX = i < 10 ? 1 : dragX;
        const int scaleY = i < 10 ? 1 : dragY;
        x += step.dx * scaleX;
        y += step.dy * scaleY;
        checkPause(events[size_t(1 + 2 * i)], 10);
        checkMove(only(events[size_t(2 + 2 * i)]), x, y);
    }
    // Both circles close.
    CHECK_EQ(x, 200);
    CHECK_EQ(y, 300);
    checkPause(events[41], 10);
}

WIN_TEST(dragBeginFailsOnlyOnTheButton)
{
    RecordingChannel refused;
    CHECK_EQ(Input(refused).pointerDragAndDropBegin(0, 0, 8),
             std::string("Unsupported mouse button value: 8"));
    CHECK(refused.events.empty());
    RecordingChannel failing;
    failing.failingSend = 0;
    CHECK_EQ(Input(failing).pointerDragAndDropBegin(0, 0, 1),
             std::string("Failed sending fake mouse button event"));
    CHECK_EQ(failing.events.size(), size_t(1));
    // The wiggle's moves are not checked.
    RecordingChannel wiggle;
    wiggle.failingSend = 5;
    CHECK_EQ(Input(wiggle).pointerDragAndDropBegin(0, 0, 1), std::string());
}

WIN_TEST(dropWithoutAnimationOnlyReleases)
{
    RecordingChannel channel;
    channel.failingSend = 0;
    CHECK_EQ(Input(channel).pointerDragAndDropEnd(500, 500, 2, 7, false), std::string());
    CHECK_EQ(channel.events.size(), size_t(1));
    checkButton(only(channel.events[0]), MOUSEEVENTF_MIDDLEUP);
    CHECK_EQ(Input(channel).pointerDragAndDropEnd(0, 0, 5, 0, false),
             std::string("Unsupported mouse button value: 5"));
}

WIN_TEST(animatedDropGlidesMovesWigglesAndHoldsModifiers)
{
    SetCursorPos(100, 100);
    RecordingChannel channel;
    CHECK_EQ(Input(channel).pointerDragAndDropEnd(400, 300, 1, 1 | 2 | 4, true), std::string());
    const std::vector<ChannelEvent> &events = channel.events;
    // Glide, pause and move, wiggle, three keys, pause, release, pause,
    // three keys.
    CHECK_EQ(events.size(), size_t(62 + 2 + 20 + 3 + 3 + 3));
    if (events.size() != 93)
        return;
    for (size_t i = 0; i < 62; i += 2)
        checkPause(events[i], 20);
    checkMove(only(events[1]), 100, 100);
    checkMove(only(events[31]), 250, 200);
    checkMove(only(events[61]), 399, 299);
    checkPause(events[62], 100);
    checkMove(only(events[63]), 400, 300);
    int x = 400;
    int y = 300;
    for (int i = 0; i < 10; ++i) {
        const Tolvex::DragWiggle::Step &step = Tolvex::DragWiggle::Steps[size_t(9 - i)];
        x += step.dx;
        y += step.dy;
        checkPause(events[size_t(64 + 2 * i)], 10);
        checkMove(only(events[size_t(65 + 2 * i)]), x, y);
    }
    checkKey(only(events[84]), VK_CONTROL, 0);
    checkKey(only(events[85]), VK_SHIFT, 0);
    checkKey(only(events[86]), VK_MENU, 0);
    checkPause(events[87], 100);
    checkButton(only(events[88]), MOUSEEVENTF_LEFTUP);
    checkPause(events[89], 100);
    checkKey(only(events[90]), VK_CONTROL, KEYEVENTF_KEYUP);
    checkKey(only(events[91]), VK_SHIFT, KEYEVENTF_KEYUP);
    checkKey(only(events[92]), VK_MENU, KEYEVENTF_KEYUP);
}

WIN_TEST(shortDropSkipsTheGlideButNotTheWiggle)
{
    SetCursorPos(100, 100);
    // A squared distance of 64 stays, 65 glides.
    RecordingChannel close;
    CHECK_EQ(Input(close).pointerDragAndDropEnd(108, 100, 1, 0, true), std::string());
    CHECK_EQ(close.events.size(), size_t(2 + 20 + 3));
    checkPause(close.events[0], 100);
    checkMove(only(close.events[1]), 108, 100);
    RecordingChannel gliding;
    CHECK_EQ(Input(gliding).pointerDragAndDropEnd(108, 101, 1, 0, true), std::string());
    CHECK_EQ(gliding.events.size(), size_t(62 + 2 + 20 + 3));
}

WIN_TEST(dropDoesNotReleaseAModifierThatFailedToGoDown)
{
    SetCursorPos(100, 100);
    RecordingChannel channel;
    // The move, ten wiggles, Ctrl down; then Shift down fails.
    channel.failingSend = 12;
    CHECK_EQ(Input(channel).pointerDragAndDropEnd(100, 100, 1, 1 | 2 | 4, true), std::string());
    const std::vector<std::vector<INPUT>> sent = channel.sent();
    CHECK_EQ(sent.size(), size_t(11 + 3 + 1 + 2));
    if (sent.size() == 17) {
        checkKey(sent[15][0], VK_CONTROL, KEYEVENTF_KEYUP);
        checkKey(sent[16][0], VK_MENU, KEYEVENTF_KEYUP);
    }
}

WIN_TEST(dropFailuresAreReportedAndKeysStayDown)
{
    SetCursorPos(100, 100);
    RecordingChannel move;
    move.failingSend = 0;
    CHECK_EQ(Input(move).pointerDragAndDropEnd(100, 100, 1, 0, true),
             std::string("Failed sending fake mouse move event"));
    RecordingChannel wiggle;
    wiggle.failingSend = 4;
    CHECK_EQ(Input(wiggle).pointerDragAndDropEnd(100, 100, 1, 0, true),
             std::string("Failed sending fake mouse move event"));
    CHECK_EQ(wiggle.sent().size(), size_t(5));
    RecordingChannel button;
    button.failingSend = 12;
    CHECK_EQ(Input(button).pointerDragAndDropEnd(100, 100, 1, 2, true),
             std::string("Failed sending fake mouse button event"));
    // Ctrl went down and is not released.
    CHECK_EQ(button.sent().size(), size_t(13));
}

// ---- Keys ----

WIN_TEST(sendKeysSendsTheRecordsInOneCall)
{
    const auto held = noKeysHeld();
    RecordingChannel channel;
    Input input(channel);
    CHECK_EQ(input.sendKeys(L"A", false), std::string());
    CHECK_EQ(channel.events.size(), size_t(1));
    CHECK_EQ(channel.events[0].records.size(), size_t(2));
    if (channel.events[0].records.size() == 2) {
        checkScannedKey(channel.events[0].records[0], 'A', KEYEVENTF_KEYUP);
        checkScannedKey(channel.events[0].records[1], VK_SHIFT, KEYEVENTF_KEYUP);
    }
    CHECK_EQ(input.sendKeys(L"<Nope>", true), std::string());
    CHECK_EQ(channel.events.size(), size_t(1));
}

WIN_TEST(sendKeysFailureNamesTheKeyAndTheSystemError)
{
    RecordingChannel channel;
    channel.failingSend = 0;
    CHECK_EQ(Input(channel).sendKeys(L"<Return>", true),
             "Could not send native event SendKeys(<Return>): " + accessDenied);
}

WIN_TEST(typeCharacterSendsControlCharactersAsKeys)
{
    RecordingChannel channel;
    Input input(channel);
    CHECK_EQ(input.typeCharacter(L'\n', 0), std::string());
    CHECK_EQ(input.typeCharacter(wchar_t(127), 0), std::string());
    CHECK_EQ(input.typeCharacter(L'\b', 0), std::string());
    CHECK_EQ(input.typeCharacter(L'\t', 0), std::string());
    const int keys[] = {VK_RETURN, VK_DELETE, VK_BACK, VK_TAB};
    CHECK_EQ(channel.events.size(), size_t(8));
    for (size_t i = 0; i < 4 && channel.events.size() == 8; ++i) {
        checkKey(only(channel.events[2 * i]), keys[i], 0);
        checkKey(only(channel.events[2 * i + 1]), keys[i], KEYEVENTF_KEYUP);
    }
}

WIN_TEST(typeCharacterUnderCtrlOrAltSendsTheCodeAsKey)
{
    RecordingChannel channel;
    CHECK_EQ(Input(channel).typeCharacter(L'x', 2), std::string());
    CHECK_EQ(channel.events.size(), size_t(4));
    if (channel.events.size() == 4) {
        checkKey(only(channel.events[0]), VK_CONTROL, 0);
        checkKey(only(channel.events[1]), 'x', 0);
        checkKey(only(channel.events[2]), 'x', KEYEVENTF_KEYUP);
        checkKey(only(channel.events[3]), VK_CONTROL, KEYEVENTF_KEYUP);
    }
}

WIN_TEST(typeCharacterOtherwiseSendsUnicode)
{
    RecordingChannel channel;
    CHECK_EQ(Input(channel).typeCharacter(L'x', 1), std::string());
    CHECK_EQ(channel.events.size(), size_t(4));
    if (channel.events.size() == 4) {
        checkKey(only(channel.events[1]), 0, KEYEVENTF_UNICODE);
        CHECK_EQ(only(channel.events[1]).ki.wScan, WORD('x'));
        checkKey(only(channel.events[2]), 0, KEYEVENTF_UNICODE | KEYEVENTF_KEYUP);
    }
}

WIN_TEST(typeCharacterReportsOnlyTheModifierRelease)
{
    RecordingChannel pressFails;
    pressFails.failingSend = 0;
    CHECK_EQ(Input(pressFails).typeCharacter(L'x', 1), std::string());
    RecordingChannel keyFails;
    keyFails.failingSend = 1;
    CHECK_EQ(Input(keyFails).typeCharacter(L'x', 1), std::string());
    RecordingChannel releaseFails;
    releaseFails.failingSend = 3;
    CHECK_EQ(Input(releaseFails).typeCharacter(L'x', 1),
             std::string("Failed sending a native Shift key press event"));
}

WIN_TEST(keyboardPressReleaseTakesCharactersAndNames)
{
    RecordingChannel channel;
    Input input(channel);
    CHECK_EQ(input.keyboardPressRelease(L"", true), std::string("The specified text is empty"));
    CHECK_EQ(input.keyboardPressRelease(L"A", true), std::string());
    CHECK_EQ(input.keyboardPressRelease(L"\u00e9", false), std::string());
    CHECK_EQ(input.keyboardPressRelease(L"Home", true), std::string());
    CHECK_EQ(input.keyboardPressRelease(L"Bogus", true), std::string());
    CHECK_EQ(channel.events.size(), size_t(4));
    if (channel.events.size() != 4)
        return;
    // VkKeyScanA's key alone: no Shift for a capital.
    checkScannedKey(only(channel.events[0]), 'A', 0);
    checkKey(only(channel.events[1]), 0, KEYEVENTF_UNICODE | KEYEVENTF_KEYUP);
    CHECK_EQ(only(channel.events[1]).ki.wScan, WORD(0xE9));
    checkScannedKey(only(channel.events[2]), VK_HOME, KEYEVENTF_EXTENDEDKEY);
    CHECK_EQ(only(channel.events[3]).ki.wVk, WORD(0xFFFF));
    channel.failingSend = channel.sends;
    CHECK_EQ(input.keyboardPressRelease(L"a", false),
             std::string("Failed sending simulated key event"));
}

WIN_TEST(keyCodeReadsPackedNativeCodes)
{
    RecordingChannel channel;
    Input input(channel);
    CHECK_EQ(input.keyCode(0, 0x00240001, 2, true), std::string());
    CHECK_EQ(input.keyCode(0, 0x00410000, 2, false), std::string());
    checkScannedKey(only(channel.events[0]), VK_HOME, KEYEVENTF_EXTENDEDKEY);
    checkScannedKey(only(channel.events[1]), 'A', KEYEVENTF_KEYUP);
}

WIN_TEST(keyCodeLooksUpScanCodes)
{
    RecordingChannel channel;
    Input input(channel);
    CHECK_EQ(input.keyCode(0x67, 0, 1, true), std::string());
    CHECK_EQ(input.keyCode(0x1E, 0, 0, false), std::string());
    checkScannedKey(only(channel.events[0]), VK_UP, KEYEVENTF_EXTENDEDKEY);
    checkScannedKey(only(channel.events[1]), 'A', KEYEVENTF_KEYUP);
    CHECK_EQ(input.keyCode(0x54, 0, 1, true),
             std::string("Code not supported on current platform"));
    CHECK_EQ(input.keyCode(300, 0, 1, true), std::string("Code not supported on current platform"));
    CHECK_EQ(channel.events.size(), size_t(2));
    channel.failingSend = channel.sends;
    CHECK_EQ(input.keyCode(0x01, 0, 1, true), std::string("Failed sending fake key event"));
}

WIN_TEST(touchRefusesOtherTypesAndNeedsTheInjectionApi)
{
    Input input;
    CHECK_EQ(input.touch(1, 0, 0), std::string("Touch type not supported"));
    CHECK_EQ(input.touch(3, 0, 0), std::string("Touch type not supported"));
    if (!Tolvex::Library::User32.initializeTouchInjection ||
        !Tolvex::Library::User32.injectTouchInput)
        CHECK_EQ(input.touch(0, 10, 10),
                 std::string("Cannot execute touch action, touch injection API not available"));
}

// ---- System ----

WIN_TEST(errorTextsComeFromTheSystem)
{
    CHECK(!accessDenied.empty());
    CHECK(accessDenied != "<Failed formatting error message>");
    CHECK_EQ(errorStringFromCode(0x2000FFFF), std::string("<Failed formatting error message>"));
    SetLastError(ERROR_ACCESS_DENIED);
    CHECK_EQ(lastErrorCode(), DWORD(ERROR_ACCESS_DENIED));
    SetLastError(ERROR_ACCESS_DENIED);
    CHECK_EQ(lastErrorString(), accessDenied);
}

WIN_TEST(textConversions)
{
    CHECK_EQ(toUtf8(L"a\u00e9\u2713"), std::string("a\xc3\xa9\xe2\x9c\x93"));
    CHECK_EQ(toLatin1(L"a\u00e9\u2713"), std::string("a\xe9?"));
}

WIN_TEST(clipboardTextMakesTheRoundTrip)
{
    const std::wstring text = L"Tolvex \u00e9\u2713 clipboard";
    CHECK_EQ(setClipboardText(text), std::string());
    const Result<std::wstring> read = getClipboardText();
    CHECK(read.ok());
    CHECK(read.value == text);
    CHECK_EQ(setClipboardText(L""), std::string());
    const Result<std::wstring> empty = getClipboardText();
    CHECK(empty.ok());
    CHECK(empty.value.empty());
}

WIN_TEST(clipboardWithoutTextIsEmptyWithoutError)
{
    if (OpenClipboard(nullptr)) {
        EmptyClipboard();
        CloseClipboard();
    }
    const Result<std::wstring> read = getClipboardText();
    CHECK_EQ(read.error, std::string());
    CHECK(read.value.empty());
}

WIN_TEST(dpiGuardSwitchesTheThreadAndRestoresIt)
{
    using GetContextFn = DPI_AWARENESS_CONTEXT(WINAPI *)();
    using EqualFn = BOOL(WINAPI *)(DPI_AWARENESS_CONTEXT, DPI_AWARENESS_CONTEXT);
    HMODULE user32 = GetModuleHandleW(L"user32.dll");
    const auto current = reinterpret_cast<GetContextFn>(
        reinterpret_cast<void (*)()>(GetProcAddress(user32, "GetThreadDpiAwarenessContext")));
    const auto equal = reinterpret_cast<EqualFn>(
        reinterpret_cast<void (*)()>(GetProcAddress(user32, "AreDpiAwarenessContextsEqual")));
    if (!Tolvex::Library::User32.setThreadDpiAwarenessContext || !current || !equal) {
        std::printf("note: no DPI awareness entries; guard not checked\n");
        return;
    }
    // Unaware to start with, so that the switch shows.
    const DPI_AWARENESS_CONTEXT original =
        Tolvex::Library::User32.setThreadDpiAwarenessContext(DPI_AWARENESS_CONTEXT_UNAWARE);
    CHECK(equal(current(), DPI_AWARENESS_CONTEXT_UNAWARE));
    {
        DPIAwarenessOverride guard;
        CHECK(guard.previous() != nullptr);
        CHECK(equal(current(), guardAwarenessContext()));
        CHECK(equal(current(), DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE));
    }
    CHECK(equal(current(), DPI_AWARENESS_CONTEXT_UNAWARE));
    Tolvex::Library::User32.setThreadDpiAwarenessContext(original);
}

#include "xnativeinterface.h"

#include "command.h"
#include "dragwiggle.h"
#include "keysequences.h"
#include "toolkiteventwatch.h"
#include "x11logging.h"
#include "xcapture.h"
#include "xconnection.h"
#include "xkeyboard.h"
#include "xkeytables.h"
#include "xpointer.h"
#include "xupdatestream.h"
#include "xwindows.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QScreen>
#include <QStyleHints>
#include <QThread>
#include <QTimer>
#include <QWindow>
#include <QtMath>

// Only the keysym names: no Xlib macros come with them.
#include <X11/keysym.h>

#include <unistd.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <thread>

namespace Tolvex {

using Result = FunctionCallResult<void>;
using namespace std::chrono_literals;

namespace {

// How long a binding may wait for an application of this process to read
// the keys sent on it before it changes anyway.
constexpr auto LocalReadLimit = 2000ms;
// Another process's reading cannot be watched; it gets this long.
constexpr auto ForeignReadTime = 100ms;
// The keymap is given back this long after the last key on a binding.
constexpr int RestoreDelayMs = 1000;

struct ModifierKeyRow
{
    int bit;
    XId keysym;
    const char *name;
};

// The order in which modifiers go down and come up again.
constexpr ModifierKeyRow ModifierKeys[] = {
    {NativeInterface::Shift, XK_Shift_L, "Shift"},
    {NativeInterface::Ctrl, XK_Control_L, "Ctrl"},
    {NativeInterface::Alt, XK_Alt_L, "Alt"},
};

// The keys of the table that the extended flag marks: the main block's
// twins of the numeric pad keys.
bool isExtendedVirtualKey(int virtualKey)
{
    return (virtualKey >= 33 && virtualKey <= 40) || virtualKey == 45 || virtualKey == 46;
}

bool isOneCharacter(const QString &key)
{
    return key.size() == 1 ||
           (key.size() == 2 && key[0].isHighSurrogate() && key[1].isLowSurrogate());
}

bool onGuiThread()
{
    return QCoreApplication::instance() &&
           QThread::currentThread() == QCoreApplication::instance()->thread();
}

// Runs the function on the GUI thread, where the clipboard lives, and
// returns when it is done.
template <typename Function> void runOnGuiThread(Function function)
{
    if (onGuiThread())
        function();
    else
        QMetaObject::invokeMethod(qGuiApp, function, Qt::BlockingQueuedConnection);
}

QImage imageOf(const CapturedPixels &pixels)
{
    QImage image(pixels.data, pixels.width, pixels.height, pixels.bytesPerLine,
                 QImage::Format_RGB32, pixels.release, pixels.context);
    if (image.isNull() && pixels.release)
        pixels.release(pixels.context);
    return image;
}

} // namespace

// A keystroke: the key and the levels it needs held.
struct Stroke
{
    int keycode = 0;
    bool shift = false;
    bool level3 = false;
};

// Knows when the keys sent on a bound keycode have been read: by watching
// this process's Qt take them, or, for another process, by waiting.
class Delivery : public KeyDelivery
{
public:
    explicit Delivery(XConnection &connection) : m_connection(connection) {}

    // Where the keys about to be sent are going.
    void setLocal(bool local) { m_local = local; }

    void sent(int keycode) override
    {
        if (keycode < 0 || keycode >= int(m_foreignSent.size()))
            return;
        ToolkitEventWatch *watch = m_local ? ToolkitEventWatch::instance() : nullptr;
        if (watch)
            watch->expectKey(keycode);
        else
            m_foreignSent[std::size_t(keycode)] = std::chrono::steady_clock::now();
    }

    void waitUntilTaken(int keycode) override
    {
        if (keycode < 0 || keycode >= int(m_foreignSent.size()))
            return;
        // Once the server has answered, it has handed the keys on.
        m_connection.sync();
        if (ToolkitEventWatch *watch = ToolkitEventWatch::instance()) {
            QElapsedTimer waited;
            waited.start();
            while (watch->pendingKeys(keycode) > 0 && waited.elapsed() < LocalReadLimit.count()) {
                // On the GUI thread the keys are read only if events are
                // processed here; the agent's own socket waits meanwhile.
                if (onGuiThread())
                    QCoreApplication::processEvents(QEventLoop::ExcludeSocketNotifiers);
                std::this_thread::sleep_for(1ms);
            }
            if (watch->pendingKeys(keycode) > 0)
                qCWarning(lcX11) << "Keys on keycode" << keycode << "still unread after"
                                 << LocalReadLimit.count() << "ms";
        }
        const auto readBy = m_foreignSent[std::size_t(keycode)] + ForeignReadTime;
        const auto now = std::chrono::steady_clock::now();
        if (readBy > now)
            std::this_thread::sleep_for(readBy - now);
    }

private:
    XConnection &m_connection;
    bool m_local = true;
    std::array<std::chrono::steady_clock::time_point, 256> m_foreignSent{};
};

struct XNativeInterfacePrivate
{
    explicit XNativeInterfacePrivate(std::shared_ptr<XConnection> c)
        : connection(std::move(c)), delivery(*connection), keyboard(*connection, &delivery),
          capture(*connection)
    {}

    XConnection &x() { return *connection; }

    FunctionCallResult<int> xButton(MouseButton::Value button);
    FunctionCallResult<char32_t> joinCharacter(const QString &key, bool press);
    FunctionCallResult<int> keycodeForKeysym(XId keysym);
    FunctionCallResult<Stroke> strokeFor(char32_t character);
    FunctionCallResult<Stroke> plainKeyFor(char32_t character);
    void aimAtFocus(const Stroke &stroke);
    bool sendStroke(const Stroke &stroke, bool press);
    bool sendModifier(XId keysym, bool press);
    void pause(int milliseconds);
    void scheduleRestore();
    void freshenToolkitTime();
    QImage grabArea(const QRect &area, std::string *error);
    QRect desktopBox();

    std::shared_ptr<XConnection> connection;
    Delivery delivery;
    XKeyboard keyboard; // restores the keymap through delivery, so it goes first
    XCapture capture;
    std::unique_ptr<QTimer> restoreTimer;
    // The first half of a character beyond the BMP, waiting for its second.
    char16_t highSurrogate = 0;
};

FunctionCallResult<int> XNativeInterfacePrivate::xButton(MouseButton::Value button)
{
    switch (button) {
    case MouseButton::Left:
        return 1;
    case MouseButton::Middle:
        return 2;
    case MouseButton::Right:
        return 3;
    case MouseButton::Primary:
        return physicalPointerButton(x(), 1);
    case MouseButton::Secondary:
        return physicalPointerButton(x(), 3);
    case MouseButton::FirstExtra:
        return 8;
    case MouseButton::SecondExtra:
        return 9;
    default:
        return FunctionCallResult<int>(
            0, QStringLiteral("Unsupported mouse button value: %1").arg(int(button)));
    }
}

// Keys come one UTF-16 unit at a time from the typing commands; a character
// beyond the BMP is typed once its second half arrives. 0 while waiting.
FunctionCallResult<char32_t> XNativeInterfacePrivate::joinCharacter(const QString &key, bool press)
{
    if (key.size() == 2)
        return QChar::surrogateToUcs4(key[0], key[1]);
    const QChar unit = key[0];
    if (unit.isHighSurrogate()) {
        if (press)
            highSurrogate = unit.unicode();
        return char32_t(0);
    }
    if (unit.isLowSurrogate()) {
        if (!highSurrogate)
            return FunctionCallResult<char32_t>(
                0, QStringLiteral("Cannot type the unpaired surrogate U+%1")
                       .arg(unit.unicode(), 4, 16, QLatin1Char('0')));
        const char32_t joined = QChar::surrogateToUcs4(QChar(highSurrogate), unit);
        if (!press)
            highSurrogate = 0;
        return joined;
    }
    highSurrogate = 0;
    return char32_t(unit.unicode());
}

FunctionCallResult<int> XNativeInterfacePrivate::keycodeForKeysym(XId keysym)
{
    const KeyLocation location = keyboard.locateKeysym(keysym);
    if (location.isValid() && location.column == 0)
        return location.keycode;
    if (const int keycode = keyboard.bindSpare(keysym))
        return keycode;
    return FunctionCallResult<int>(
        0, QStringLiteral("The key map has no free keycode for keysym 0x%1").arg(keysym, 0, 16));
}

FunctionCallResult<Stroke> XNativeInterfacePrivate::strokeFor(char32_t character)
{
    const XId keysym = keysymForCharacter(character);
    KeyLocation location = keyboard.locateKeysym(keysym);
    if (!location.isValid())
        location = keyboard.locateCharacter(character);
    if (location.isValid())
        return Stroke{location.keycode, location.needsShift(), location.needsLevel3()};
    const int keycode = keyboard.bindSpare(keysym);
    if (!keycode)
        return FunctionCallResult<Stroke>(
            Stroke(), QStringLiteral("The key map has no free keycode for the character U+%1")
                          .arg(uint(character), 4, 16, QLatin1Char('0')));
    return Stroke{keycode, false, false};
}

// The key that carries the character, pressed without the levels it may
// need: what a virtual key press is.
FunctionCallResult<Stroke> XNativeInterfacePrivate::plainKeyFor(char32_t character)
{
    FunctionCallResult<Stroke> stroke = strokeFor(character);
    stroke.value.shift = false;
    stroke.value.level3 = false;
    return stroke;
}

// Keys on a bound keycode are watched until read: whether that can be
// seen depends on who has the focus.
void XNativeInterfacePrivate::aimAtFocus(const Stroke &stroke)
{
    if (keyboard.isBound(stroke.keycode))
        delivery.setLocal(focusBelongsToProcess(x(), long(getpid())));
}

bool XNativeInterfacePrivate::sendModifier(XId keysym, bool press)
{
    const int keycode = keyboard.keycodeOf(keysym);
    return keycode && keyboard.sendKey(keycode, press);
}

// Levels first on the way down; the key first on the way up, then the
// levels in the same order.
bool XNativeInterfacePrivate::sendStroke(const Stroke &stroke, bool press)
{
    bool sent = true;
    if (!press)
        sent = keyboard.sendKey(stroke.keycode, false);
    if (stroke.shift)
        sent = sendModifier(XK_Shift_L, press) && sent;
    if (stroke.level3)
        sent = sendModifier(XK_ISO_Level3_Shift, press) && sent;
    if (press)
        sent = keyboard.sendKey(stroke.keycode, true) && sent;
    x().flush();
    if (keyboard.isBound(stroke.keycode))
        scheduleRestore();
    return sent;
}

void XNativeInterfacePrivate::pause(int milliseconds)
{
    x().flush();
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

// The bound keycodes go back to empty once typing has paused; a thread
// without an event loop keeps them until the pool runs out or the
// interface goes.
void XNativeInterfacePrivate::scheduleRestore()
{
    if (!QCoreApplication::instance() || !QThread::currentThread()->eventDispatcher())
        return;
    if (!restoreTimer) {
        restoreTimer = std::make_unique<QTimer>();
        restoreTimer->setSingleShot(true);
        QObject::connect(restoreTimer.get(), &QTimer::timeout,
                         [this] { keyboard.restoreSpares(); });
    }
    restoreTimer->start(RestoreDelayMs);
}

// Qt stamps its clipboard requests with the time of the last event it
// read; another client may have taken the clipboard since, and then Qt's
// claim would be older than theirs and fail. A property change on one of
// its windows, once read, brings Qt's time up to the present. Runs on the
// GUI thread.
void XNativeInterfacePrivate::freshenToolkitTime()
{
    ToolkitEventWatch *watch = ToolkitEventWatch::instance();
    QWindow *window = nullptr;
    for (QWindow *candidate : QGuiApplication::topLevelWindows())
        if (candidate->handle())
            window = candidate;
    if (!watch || !window)
        return;
    const XId atom = internAtom(x(), "_TOLVEX_TIME");
    watch->setTimeAtom(unsigned(atom));
    const int before = watch->timeEventsRead();
    touchProperty(x(), window->winId(), atom);
    x().sync();
    QElapsedTimer waited;
    waited.start();
    while (watch->timeEventsRead() == before && waited.elapsed() < 1000) {
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents |
                                        QEventLoop::ExcludeSocketNotifiers);
        std::this_thread::sleep_for(1ms);
    }
}

QRect XNativeInterfacePrivate::desktopBox()
{
    QRect box;
    for (const XRectangleArea &m : capture.monitors())
        box |= QRect(m.x, m.y, m.width, m.height);
    return box;
}

// Parts of the area beyond the root window are black.
QImage XNativeInterfacePrivate::grabArea(const QRect &area, std::string *error)
{
    const XRectangleArea rootArea = capture.rootArea();
    const QRect root(rootArea.x, rootArea.y, rootArea.width, rootArea.height);
    const QRect inside = area & root;
    CapturedPixels pixels;
    if (inside == area) {
        if (!capture.grab({area.x(), area.y(), area.width(), area.height()}, &pixels, error))
            return QImage();
        return imageOf(pixels);
    }
    QImage image(area.size(), QImage::Format_RGB32);
    if (image.isNull()) {
        *error = "Out of memory for a picture of " + std::to_string(area.width()) + "x" +
                 std::to_string(area.height());
        return image;
    }
    image.fill(Qt::black);
    if (inside.isEmpty())
        return image;
    if (!capture.grab({inside.x(), inside.y(), inside.width(), inside.height()}, &pixels, error))
        return QImage();
    const QImage part = imageOf(pixels);
    const QPoint at = inside.topLeft() - area.topLeft();
    for (int row = 0; row < part.height(); ++row)
        std::memcpy(image.scanLine(at.y() + row) + at.x() * 4, part.constScanLine(row),
                    std::size_t(part.width()) * 4);
    return image;
}

XNativeInterface::XNativeInterface(std::shared_ptr<XConnection> connection)
    : d(std::make_unique<XNativeInterfacePrivate>(std::move(connection)))
{}

XNativeInterface::~XNativeInterface() = default;

QList<QString> XNativeInterface::getCapabilities()
{
    // No X server takes touch input from a client, so no TouchSupport.
    return {capKeycodeSupport};
}

void XNativeInterface::recordScreen(uint allowedFormats, const QMap<QString, QVariant> &,
                                    ResponseListener<BinaryStream *> *listener)
{
    // Options come later, by configure.
    std::string error;
    if (XUpdateStream *stream =
            createXUpdateStream(d->connection->displayName(), allowedFormats, &error))
        listener->success(stream);
    else
        listener->error(QString::fromStdString(error));
}

FunctionCallResult<Screenshot> XNativeInterface::desktopScreenshot(Rect<1> rect, int)
{
    using ShotResult = FunctionCallResult<Screenshot>;
    // The words name the Windows class on every platform; scripts know them.
    const auto failure = [](const QString &why) {
        return ShotResult::failure(
            QStringLiteral("WinNativeInterface::desktopScreenshot: Failed to take screenshot: %1")
                .arg(why));
    };
    qCDebug(lcX11) << "Fetching desktop image via native API";
    std::string error;
    Screenshot shot;
    QPoint origin;
    if (rect.width > -1 && rect.height > -1) {
        QSize size(rect.width, rect.height);
        // No size at all is the desktop's size from the rectangle's corner.
        if (size.isNull())
            size = d->desktopBox().size();
        if (size.isEmpty())
            return failure(
                QStringLiteral("The area %1x%2 is empty").arg(rect.width).arg(rect.height));
        shot.image = d->grabArea(QRect(QPoint(rect.x, rect.y), size), &error);
        // The corner negated, as the Windows interface hands it over.
        origin = QPoint(-rect.x, -rect.y);
    } else {
        CapturedPixels pixels;
        XRectangleArea box;
        if (d->capture.grabDesktop(&pixels, &box, &error))
            shot.image = imageOf(pixels);
        origin = QPoint(box.x, box.y);
    }
    if (shot.image.isNull())
        return failure(QString::fromStdString(error));
    shot.transform = QTransform::fromTranslate(origin.x(), origin.y());
    const QScreen *screen = qGuiApp ? QGuiApplication::primaryScreen() : nullptr;
    shot.density = screen ? screen->devicePixelRatio() : 1.0;
    return shot;
}

FunctionCallResult<QString> XNativeInterface::getClipboardText()
{
    if (!qGuiApp)
        return FunctionCallResult<QString>::failure(
            QStringLiteral("Cannot read the clipboard without a QGuiApplication"));
    QString text;
    runOnGuiThread([this, &text] {
        d->freshenToolkitTime();
        text = QGuiApplication::clipboard()->text(QClipboard::Clipboard);
    });
    return text;
}

Result XNativeInterface::setClipboardText(const QString &text)
{
    if (!qGuiApp)
        return Result::failure(
            QStringLiteral("Cannot write to the clipboard without a QGuiApplication"));
    bool taken = true;
    runOnGuiThread([this, &text, &taken] {
        QClipboard *clipboard = QGuiApplication::clipboard();
        const bool ownedBefore = clipboard->ownsClipboard();
        const XId ownerBefore = selectionOwner(d->x(), "CLIPBOARD");
        d->freshenToolkitTime();
        clipboard->setText(text, QClipboard::Clipboard);
        // Qt does not say when another client's claim stood against its own.
        taken = ownedBefore || !ownerBefore || selectionOwner(d->x(), "CLIPBOARD") != ownerBefore;
    });
    if (!taken)
        return Result::failure(
            QStringLiteral("Writing to clipboard failed: another application holds it"));
    return {};
}

FunctionCallResult<Point<1>> XNativeInterface::pointerPosition()
{
    int px = 0;
    int py = 0;
    if (!queryPointer(d->x(), &px, &py))
        return FunctionCallResult<Point<1>>(
            Point<1>(), QStringLiteral("Failed retrieving pointer position: %1")
                            .arg(QStringLiteral("the pointer is on another screen")));
    return Point<1>(px, py);
}

Result XNativeInterface::pointerButton(MouseButton::Value button, bool press, Point<1>, int count)
{
    return pointerButton(button, press, count);
}

// The count plays no part: the application tells a double click by time.
Result XNativeInterface::pointerButton(MouseButton::Value button, bool press, int)
{
    const FunctionCallResult<int> xButton = d->xButton(button);
    if (xButton.isError())
        return Result::failure(xButton.error);
    const bool sent = fakePointerButton(d->x(), xButton.value, press);
    d->x().flush();
    if (!sent)
        return Result::failure(QStringLiteral("Failed sending fake pointer press"));
    return {};
}

Result XNativeInterface::pointerMove(Point<1> point)
{
    const bool sent = fakePointerMotion(d->x(), point.x, point.y);
    d->x().flush();
    if (!sent)
        return Result::failure(QStringLiteral("Failed sending fake pointer move"));
    return {};
}

Result XNativeInterface::pointerWarp(Point<1> point)
{
    std::string error;
    if (!warpPointer(d->x(), point.x, point.y, &error))
        return Result::failure(
            QStringLiteral("Could not warp mouse pointer: %1").arg(QString::fromStdString(error)));
    return {};
}

Result XNativeInterface::wheelRoll(int clicks)
{
    // Button 4 rolls away from the user, as a positive Windows delta does.
    const int button = clicks > 0 ? 4 : 5;
    for (int i = 0; i < std::abs(clicks); ++i) {
        if (!fakePointerButton(d->x(), button, true) || !fakePointerButton(d->x(), button, false))
            return Result::failure(QStringLiteral("Failed sending fake wheel motion"));
        d->pause(10);
    }
    return {};
}

namespace {

// The application's drag threshold is in its logical pixels; the pointer
// moves in device pixels, so the threshold is taken in those.
int dragThreshold()
{
    int distance = 10; // Qt's own default, where no application says otherwise
    if (qGuiApp) {
        distance = QGuiApplication::styleHints()->startDragDistance();
        if (const QScreen *screen = QGuiApplication::primaryScreen())
            distance = qCeil(distance * screen->devicePixelRatio());
    }
    return std::max(distance, 6);
}

} // namespace

Result XNativeInterface::pointerDragAndDropBegin(Point<1> point, MouseButton::Value button, int)
{
    const int threshold = dragThreshold();
    const FunctionCallResult<int> xButton = d->xButton(button);
    if (xButton.isError())
        return Result::failure(xButton.error);
    if (!fakePointerMotion(d->x(), point.x, point.y) ||
        !fakePointerButton(d->x(), xButton.value, true))
        return Result::failure(QStringLiteral("Failed sending fake mouse button event"));
    int px = point.x;
    int py = point.y;
    // Once in unit steps, then again with the threshold, so that the
    // application sees a drag begin near where the button went down.
    for (int scale : {1, threshold}) {
        for (const auto &[dx, dy] : DragWiggle::Steps) {
            px += dx * scale;
            py += dy * scale;
            d->pause(10);
            fakePointerMotion(d->x(), px, py);
        }
    }
    d->pause(10);
    return {};
}

Result XNativeInterface::pointerDragAndDropEnd(Point<1> point, MouseButton::Value button,
                                               int modifiers, bool animate)
{
    const FunctionCallResult<int> xButton = d->xButton(button);
    if (xButton.isError())
        return Result::failure(xButton.error);
    if (!animate) {
        // The pointer is where the caller left it.
        fakePointerButton(d->x(), xButton.value, false);
        d->x().flush();
        return {};
    }
    const QString moveFailed = QStringLiteral("Failed sending fake mouse move event");
    int cx = 0;
    int cy = 0;
    if (queryPointer(d->x(), &cx, &cy)) {
        const long long dx = point.x - cx;
        const long long dy = point.y - cy;
        if (dx * dx + dy * dy >= 65) {
            for (int i = -15; i <= 15; ++i) {
                const double f = (std::sin(i * 3.14159 * 0.03125) + 1) * 0.5;
                d->pause(20);
                fakePointerMotion(d->x(), cx + int(double(dx) * f), cy + int(double(dy) * f));
            }
        }
    }
    d->pause(100);
    if (!fakePointerMotion(d->x(), point.x, point.y))
        return Result::failure(moveFailed);
    int px = point.x;
    int py = point.y;
    for (auto step = DragWiggle::Steps.rbegin(); step != DragWiggle::Steps.rend(); ++step) {
        px += step->dx;
        py += step->dy;
        d->pause(10);
        if (!fakePointerMotion(d->x(), px, py))
            return Result::failure(moveFailed);
    }
    // Ctrl, Shift, Alt; a key that did not go down is not released.
    const std::pair<int, XId> keys[] = {{Ctrl, XK_Control_L}, {Shift, XK_Shift_L}, {Alt, XK_Alt_L}};
    bool down[3] = {};
    for (int i = 0; i < 3; ++i)
        if (modifiers & keys[i].first)
            down[i] = d->sendModifier(keys[i].second, true);
    d->pause(100);
    const bool released = fakePointerButton(d->x(), xButton.value, false);
    d->pause(100);
    for (int i = 0; i < 3; ++i)
        if (down[i])
            d->sendModifier(keys[i].second, false);
    d->x().flush();
    if (!released)
        return Result::failure(QStringLiteral("Failed sending fake mouse button event"));
    return {};
}

FunctionCallResult<int> XNativeInterface::pointerDrag(Point<1> point, int dx, int dy, int modifiers)
{
    const auto failure = [](const char *text) {
        return FunctionCallResult<int>(0, QString::fromLatin1(text));
    };
    const bool ctrl = modifiers & Ctrl;
    if (!fakePointerMotion(d->x(), point.x, point.y) || !fakePointerButton(d->x(), 1, true))
        return failure("Failed sending fake mouse down event");
    if (ctrl && !d->sendModifier(XK_Control_L, true))
        return failure("Failed sending fake CTRL down event");
    if (!fakePointerMotion(d->x(), point.x + dx, point.y + dy))
        return failure("Failed sending fake mouse move event");
    if (ctrl && !d->sendModifier(XK_Control_L, false))
        return failure("Failed sending fake CTRL up event");
    if (!fakePointerButton(d->x(), 1, false))
        return failure("Failed sending fake mouse up event");
    d->x().flush();
    QElapsedTimer settle;
    settle.start();
    while (settle.elapsed() < 500) {
        if (QCoreApplication::instance())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        std::this_thread::sleep_for(10ms);
    }
    return 1;
}

Result XNativeInterface::keyCode(uint code, uint nativeCode, NativeKeyCodeSet set, bool press)
{
    const Result unsupported =
        Result::failure(QStringLiteral("Code not supported on current platform"));
    int keycode = 0;
    if (set == NativeCodeSet) {
        // The virtual key in bits 16 to 23, the extended flag in the low byte.
        const int virtualKey = int((nativeCode >> 16) & 0xFF);
        const XId keysym = keysymForVirtualKey(virtualKey, (nativeCode & 0xFF) != 0);
        if (!keysym)
            return unsupported;
        const FunctionCallResult<int> found = d->keycodeForKeysym(keysym);
        if (found.isError())
            return Result::failure(found.error);
        keycode = found.value;
    } else {
        keycode = code < 249 ? keycodeForScanCode(code) : 0;
        if (!keycode)
            return unsupported;
    }
    d->aimAtFocus(Stroke{keycode, false, false});
    const bool sent = d->sendStroke(Stroke{keycode, false, false}, press);
    if (!sent)
        return Result::failure(QStringLiteral("Failed sending fake key event"));
    return {};
}

Result XNativeInterface::typeCharacter(QChar character, int modifiers)
{
    const FunctionCallResult<char32_t> joined = d->joinCharacter(QString(character), true);
    if (joined.isError())
        return Result::failure(joined.error);
    if (!joined.value)
        return {}; // the first half of a pair: the second one types it
    const char32_t c = joined.value;
    d->highSurrogate = 0;
    pressReleaseModifiers(modifiers, true);
    // Backspace, tab, line feed and delete go as their keys; with Ctrl or
    // Alt held a character goes as its key alone, as a virtual key does.
    const bool asKey = c == 8 || c == 9 || c == 10 || c == 127 || (modifiers & (Ctrl | Alt));
    const FunctionCallResult<Stroke> stroke = asKey ? d->plainKeyFor(c) : d->strokeFor(c);
    if (stroke.isSuccess()) {
        d->aimAtFocus(stroke.value);
        d->sendStroke(stroke.value, true);
        d->sendStroke(stroke.value, false);
    }
    const Result released = pressReleaseModifiers(modifiers, false);
    return stroke.isError() ? Result::failure(stroke.error) : released;
}

Result XNativeInterface::keyboardPressRelease(const QString &key, bool press)
{
    if (key.isEmpty())
        return Result::failure(QStringLiteral("The specified text is empty"));
    const Result failed = Result::failure(QStringLiteral("Failed sending simulated key event"));
    FunctionCallResult<Stroke> stroke;
    if (isOneCharacter(key) && !key[0].isLowSurrogate() &&
        (key.size() == 2 || !key[0].isHighSurrogate())) {
        const char32_t c =
            key.size() == 2 ? QChar::surrogateToUcs4(key[0], key[1]) : char32_t(key[0].unicode());
        // A printable ASCII character is its key; any other character is
        // typed exactly, without levels held, as a Unicode key event is.
        if (c >= 32 && c <= 126) {
            stroke = d->plainKeyFor(c);
        } else {
            const XId keysym = keysymForCharacter(c);
            const KeyLocation location = d->keyboard.locateKeysym(keysym);
            if (location.isValid() && location.column == 0) {
                stroke.value.keycode = location.keycode;
            } else {
                const FunctionCallResult<int> keycode = d->keycodeForKeysym(keysym);
                stroke =
                    FunctionCallResult<Stroke>(Stroke{keycode.value, false, false}, keycode.error);
            }
        }
    } else {
        const int virtualKey = specialKeyVirtualKey(key);
        const XId keysym =
            virtualKey < 0 ? 0 : keysymForVirtualKey(virtualKey, isExtendedVirtualKey(virtualKey));
        if (!keysym)
            return failed;
        const FunctionCallResult<int> keycode = d->keycodeForKeysym(keysym);
        stroke = FunctionCallResult<Stroke>(Stroke{keycode.value, false, false}, keycode.error);
    }
    if (stroke.isError())
        return Result::failure(stroke.error);
    d->aimAtFocus(stroke.value);
    if (!d->sendStroke(stroke.value, press))
        return failed;
    return {};
}

bool XNativeInterface::isValidSpecialKey(const QString &name)
{
    return specialKeyVirtualKey(name) >= 0;
}

Result XNativeInterface::pressReleaseModifiers(int modifiers, bool press)
{
    // Released in the same order as pressed, not the reverse.
    for (const ModifierKeyRow &row : ModifierKeys) {
        if (!(modifiers & row.bit))
            continue;
        if (!d->sendModifier(row.keysym, press)) {
            d->x().flush();
            return Result::failure(
                QStringLiteral("Failed sending a native %1 key %2 event")
                    .arg(QLatin1String(row.name),
                         press ? QLatin1String("press") : QLatin1String("release")));
        }
    }
    d->x().flush();
    return {};
}

bool XNativeInterface::isModifierPressed(ModifierKey key)
{
    switch (key) {
    case Shift:
        return d->keyboard.isAnyDown({XK_Shift_L, XK_Shift_R});
    case Ctrl:
        return d->keyboard.isAnyDown({XK_Control_L, XK_Control_R});
    case Alt:
        return d->keyboard.isAnyDown({XK_Alt_L, XK_Alt_R});
    case Meta:
        return d->keyboard.isAnyDown({XK_Super_L, XK_Super_R});
    default:
        return false;
    }
}

FunctionCallResult<NativeInterface::KeyStroke>
XNativeInterface::charToKeyStroke(QChar character, bool keepVirtualKey)
{
    const char32_t c = character.unicode();
    KeyLocation location = d->keyboard.locateKeysym(keysymForCharacter(c));
    if (!location.isValid())
        location = d->keyboard.locateCharacter(c);
    if (!location.isValid())
        return FunctionCallResult<KeyStroke>(
            KeyStroke(),
            QStringLiteral("The character code %1 not found in the current key map").arg(uint(c)));
    KeyStroke stroke;
    if (location.needsShift())
        stroke.modifiers |= Shift;
    // The third level is what Windows reaches with Ctrl and Alt (AltGr).
    if (location.needsLevel3())
        stroke.modifiers |= Ctrl | Alt;
    // The key as a virtual key where it has one, else as its X keycode.
    const XId base = d->keyboard.keysymAt(location.keycode, 0);
    const int virtualKey = virtualKeyForKeysym(base);
    stroke.keyCode = virtualKey ? virtualKey : location.keycode;
    if (!keepVirtualKey) {
        // The character of the key's first level, letters in capitals.
        if (const char32_t value = characterForKeysym(base))
            stroke.keyCode = int(QChar::toUpper(value));
    }
    return stroke;
}

void XNativeInterface::extraKeys(ResponseListener<ExtraKeys> *listener)
{
    ExtraKeys keys;
    for (const ExtraKey &key : extraKeyTable())
        if (d->keyboard.keysymAt(keycodeForScanCode(key.scanCode), 0))
            keys.emplace_back(QString::fromLatin1(key.name), int(key.scanCode));
    listener->success(keys);
}

Result XNativeInterface::touch(TouchType type, Point<1>, uint, uint)
{
    if (type != TouchPress && type != TouchRelease)
        return Result::failure(QStringLiteral("Touch type not supported"));
    // XTest fakes keys, buttons and motion only, and XInput 2 takes no
    // events from clients: an X server has no way in for touch.
    return Result::failure(QStringLiteral(
        "Cannot execute touch action, touch injection is not available on this X server"));
}

Result XNativeInterface::sendTextToWindow(const QString &windowTitle, const QString &text)
{
    const XId window = findWindowByTitle(d->x(), windowTitle.toStdString());
    if (!window)
        return Result::failure(
            QStringLiteral("Could not find a window with the name '%1'").arg(windowTitle));
    d->delivery.setLocal(windowBelongsToProcess(d->x(), window, long(getpid())));
    const unsigned level3Mask =
        modifierMaskOfKeycode(d->x(), d->keyboard.keycodeOf(XK_ISO_Level3_Shift));
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text[i].unicode();
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            c = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        const FunctionCallResult<Stroke> stroke = d->strokeFor(c);
        if (stroke.isError())
            return Result::failure(stroke.error);
        const unsigned state =
            (stroke.value.shift ? shiftModifierMask() : 0) | (stroke.value.level3 ? level3Mask : 0);
        for (bool press : {true, false}) {
            if (!sendSyntheticKey(d->x(), window, stroke.value.keycode, state, press))
                return Result::failure(
                    QStringLiteral("Could not send the text to the window '%1'").arg(windowTitle));
            d->keyboard.noteSent(stroke.value.keycode);
        }
        if (d->keyboard.isBound(stroke.value.keycode))
            d->scheduleRestore();
    }
    d->x().flush();
    return {};
}

Result XNativeInterface::sendKeyEventToFocusWindow(const QString &text)
{
    const bool special =
        text.size() > 2 && text.startsWith(QLatin1Char('<')) && text.endsWith(QLatin1Char('>'));
    TypeText typing(text, special);
    return typing.executeWith(this);
}

Result XNativeInterface::sendKeys(const QString &key, bool press)
{
    const auto failed = [&key](const QString &why) {
        return Result::failure(QStringLiteral("Could not send native event %1: %2")
                                   .arg(QStringLiteral("SendKeys(%1)").arg(key), why));
    };
    FunctionCallResult<Stroke> stroke;
    if (isOneCharacter(key)) {
        const FunctionCallResult<char32_t> joined = d->joinCharacter(key, press);
        if (joined.isError())
            return failed(joined.error);
        if (!joined.value)
            return {}; // the first half of a pair: the second one types it
        // "+" under a held Ctrl is the plus key alone, without its Shift.
        if (joined.value == U'+' && d->keyboard.isAnyDown({XK_Control_L, XK_Control_R}))
            stroke = d->plainKeyFor(joined.value);
        else
            stroke = d->strokeFor(joined.value);
    } else if (key.size() >= 3 && key.startsWith(QLatin1Char('<')) &&
               key.endsWith(QLatin1Char('>'))) {
        const int virtualKey = specialKeyVirtualKey(key.mid(1, key.size() - 2));
        // A name the table lacks sends nothing, and that is no error.
        if (virtualKey < 0)
            return {};
        const FunctionCallResult<int> keycode =
            d->keycodeForKeysym(keysymForVirtualKey(virtualKey, isExtendedVirtualKey(virtualKey)));
        stroke = FunctionCallResult<Stroke>(Stroke{keycode.value, false, false}, keycode.error);
    } else {
        return {};
    }
    if (stroke.isError())
        return failed(stroke.error);
    d->aimAtFocus(stroke.value);
    if (!d->sendStroke(stroke.value, press))
        return failed(QStringLiteral("the X server refused the key event"));
    return {};
}

NativeInterface *XNativeInterface::threadSafeCopy()
{
    std::string error;
    std::unique_ptr<XConnection> connection =
        XConnection::open(d->x().displayName().c_str(), &error);
    if (!connection)
        return new NullNativeInterface(QString::fromStdString(error));
    return new XNativeInterface(std::shared_ptr<XConnection>(std::move(connection)));
}

} // namespace Tolvex

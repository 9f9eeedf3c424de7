// Mouse, keyboard and touch through the platform's own input. The raw events
// answer true or the platform's error text, and a wrong count with its words.

#include "hook.h"
#include "hookdata_p.h"
#include "inspector.h"
#include "keysequences.h"
#include "nativeinterface.h"
#include "objecthandles.h"
#include "remotefunction.h"
#include "screenpoint.h"
#include "screenrectangle.h"
#include "wrapper.h"

#include <QElapsedTimer>
#include <QThread>

#include <cstdlib>

namespace Tolvex::Remote {

namespace {

using Result = FunctionCallResult<void>;

// True, or the platform's words.
QVariant rawAnswer(const Result &result)
{
    return result.isSuccess() ? QVariant(true) : QVariant(result.error);
}

template <typename F> QVariant raw(Context &c, F operation)
{
    NativeInterface *native = c.native();
    return native ? rawAnswer(operation(native)) : QVariant(Context::NoPlugin);
}

QVariant rawMouseEvent(Context &c, int type, int x, int y, int buttonNumber)
{
    return raw(c, [&](NativeInterface *native) -> Result {
        const Point<1> point(x, y);
        if (type == 1)
            return native->pointerMove(point);
        const MouseButton::Value button = mouseButtonByIndex(buttonNumber);
        if (button == MouseButton::NoButton)
            return Result::failure(QStringLiteral("Invalid button value %1").arg(buttonNumber));
        if (type != 2 && type != 3)
            return Result::failure(QStringLiteral("Unsupported raw mouse event type"));
        return native->pointerButton(button, type == 2, point, 1);
    });
}

// The pointer glides one pixel a millisecond along the longer axis, the
// other following in proportion; it stops as soon as the offset reaches the
// distance, so the last move may fall short of the target by a step.
Result steppedMove(NativeInterface *native, Point<1> target)
{
    const FunctionCallResult<Point<1>> from = native->pointerPosition();
    if (from.isError())
        return Result::failure(from.error);
    const int dx = target.x - from.value.x;
    const int dy = target.y - from.value.y;
    const bool vertical = std::abs(dy) >= std::abs(dx);
    const int distance = vertical ? std::abs(dy) : std::abs(dx);
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        const qint64 stepStart = clock.elapsed();
        const int offset = int(qMin<qint64>(stepStart, distance));
        if (offset >= distance)
            return {};
        Point<1> at = from.value;
        if (vertical) {
            at.y += dy < 0 ? -offset : offset;
            at.x += distance ? dx * offset / distance : 0;
        } else {
            at.x += dx < 0 ? -offset : offset;
            at.y += distance ? dy * offset / distance : 0;
        }
        const Result moved = native->pointerMove(at);
        if (moved.isError())
            return moved;
        if (clock.elapsed() - stepStart < 1)
            QThread::msleep(1);
    }
}

// The position an object names on the screen: a rectangle's centre or a
// point itself, or an offset from their corner when a position is given.
bool screenValuePosition(const SharedPtr<Object> &object, const Point<1> *offset, Point<1> *out,
                         bool *isScreenValue)
{
    ScreenRectangle rect;
    ScreenPoint point;
    *isScreenValue = true;
    if (unwrapScreenRectangle(object, &rect)) {
        if (rect.width < 0 || rect.height < 0) {
            Inspector::self()->setError(QStringLiteral("Invalid screen rectangle"));
            return false;
        }
        // The vertical centre is built from x on purpose; scripts rely on it.
        *out = offset ? Point<1>(rect.x + offset->x, rect.y + offset->y)
                      : Point<1>(rect.x + rect.width / 2, rect.x + rect.height / 2);
        return true;
    }
    if (unwrapScreenPoint(object, &point)) {
        *out = offset ? Point<1>(point.x + offset->x, point.y + offset->y)
                      : Point<1>(point.x, point.y);
        return true;
    }
    *isScreenValue = false;
    return true;
}

bool failWith(const QString &error)
{
    if (!error.isEmpty())
        Inspector::self()->setError(error);
    return error.isEmpty();
}

bool mousePress(Context &c, int objectId, int flags, int x, int y, int buttonValue,
                int modifiersWord, bool action, bool press)
{
    constexpr int ObjectGiven = 1;
    constexpr int ModifiersGiven = 2;
    constexpr int ButtonGiven = 4;
    constexpr int PositionGiven = 8;
    const auto button =
        MouseButton::Value((flags & ButtonGiven) ? buttonValue : int(MouseButton::Primary));
    const int modifiers = (flags & ModifiersGiven) ? modifiersWord : 0;
    const Point<1> offset(x, y);
    const Point<1> *given = (flags & PositionGiven) ? &offset : nullptr;

    SharedPtr<Object> object =
        (flags & ObjectGiven) && objectId ? c.objects().objectById(objectId) : nullptr;
    Point<1> position;
    bool isScreenValue = false;
    if (object) {
        if (!screenValuePosition(object, given, &position, &isScreenValue))
            return false;
        if (!isScreenValue) {
            Wrapper *wrapper = c.hook.wrapperForObject(object);
            if (!wrapper)
                return failWith(QStringLiteral("No wrapper claimed the object ownership"));
            const Point<1> relative = given ? offset : Point<1>();
            if (!action)
                return failWith(wrapper->pointerMove(object, relative).error);
            return failWith(
                wrapper->pointerPress(object, relative, button, modifiers, press, 1).error);
        }
    } else if (given) {
        position = offset;
    } else if (!action) {
        return failWith(QStringLiteral("Overload not found"));
    }

    NativeInterface *native = c.native();
    if (!native)
        return failWith(Context::NoPlugin);
    const FunctionCallResult<int> nativeModifiers = tolvexModifiersToNative(modifiers);
    if (nativeModifiers.isError())
        return failWith(nativeModifiers.error);
    if (action)
        return failWith(
            native->pointerPress(button, press, position, nativeModifiers.value, 1).error);
    if (!c.d.animateMouseMove)
        return failWith(native->pointerMove(position).error);
    return failWith(steppedMove(native, position).error);
}

// Hands the platform's extra keys to the caller as a map of name to code.
class ExtraKeysListener : public ResponseListener<NativeInterface::ExtraKeys>
{
public:
    explicit ExtraKeysListener(ResponseListener<ArgumentList> *caller) : m_caller(caller) {}
    void response(FunctionCallResult<NativeInterface::ExtraKeys> result) override
    {
        if (result.isError()) {
            m_caller->error(result.error);
        } else {
            QVariantMap keys;
            for (const auto &[name, code] : result.value)
                keys.insert(name, code);
            m_caller->success(ArgumentList{keys});
        }
        delete this;
    }

private:
    ResponseListener<ArgumentList> *m_caller;
};

constexpr WrongCount NumberIsWrong{.tail = ": number of arguments is wrong"};

constexpr RemoteFunction Functions[] = {
    call("keyPress", exactly(2), served<[](Context &c, const QString &key, bool press) {
             return c.hook.keyPress(key, press);
         }>,
         NumberIsWrong),
    call("mousePress", exactly(8), served<&mousePress>, NumberIsWrong),
    call("rawMouseEvent", exactly(5), served<&rawMouseEvent>, {.answer = &answerWithWords}),
    call("rawScrollEvent", exactly(1), served<[](Context &c, int clicks) {
             return raw(c, [&](NativeInterface *n) { return n->wheelRoll(clicks); });
         }>,
         {.wordedAs = "rawMouseEvent", .answer = &answerWithWords}),
    call("rawKeycodeEvent", exactly(4),
         served<[](Context &c, unsigned code, unsigned nativeCode, int set, bool press) {
             return raw(c, [&](NativeInterface *n) {
                 return n->keyCode(code, nativeCode, NativeInterface::NativeKeyCodeSet(set), press);
             });
         }>,
         {.wordedAs = "rawKeyEvent", .answer = &answerWithWords}),
    call("rawKeyEvent", exactly(2), served<[](Context &c, const QString &key, bool press) {
             return raw(c, [&](NativeInterface *n) { return n->keyboardPressRelease(key, press); });
         }>,
         {.answer = &answerWithWords}),
    call("rawTouchEvent", exactly(6),
         served<[](Context &c, int type, int x, int y, unsigned width, unsigned height) {
             return raw(c, [&](NativeInterface *n) {
                 return n->touch(NativeInterface::TouchType(type), Point<1>(x, y), width, height);
             });
         }>,
         {.answer = &answerWithWords}),
    // Any arguments, but at least one.
    asyncCall("getExtraKeys", atLeast(1),
              served<[](Context &c, ResponseListener<ArgumentList> *listener) {
                  NativeInterface *native = c.native();
                  if (!native) {
                      listener->error(QStringLiteral("Hook::handleCall: ") + Context::NoPlugin);
                      return;
                  }
                  native->extraKeys(new ExtraKeysListener(listener));
              }>),
    call("nativeCapabilities", unchecked, served<[](Context &c) {
             NativeInterface *native = c.native();
             return native ? QStringList(native->getCapabilities()) : QStringList();
         }>),
};

} // namespace

std::span<const RemoteFunction> nativeInputFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote

// Mouse, keyboard and touch through the platform's own input; served with
// the native layer. The raw events answer a wrong count with its words.

#include "remotefunction.h"

namespace Tolvex::Remote {

namespace {

constexpr WrongCount NumberIsWrong{.tail = ": number of arguments is wrong"};

constexpr RemoteFunction Functions[] = {
    call("keyPress", exactly(2), {}, NumberIsWrong),
    call("mousePress", exactly(8), {}, NumberIsWrong),
    call("rawMouseEvent", exactly(5), {}, {.answer = &answerWithWords}),
    call("rawScrollEvent", exactly(1), {},
         {.wordedAs = "rawMouseEvent", .answer = &answerWithWords}),
    call("rawKeycodeEvent", exactly(4), {},
         {.wordedAs = "rawKeyEvent", .answer = &answerWithWords}),
    call("rawKeyEvent", exactly(2), {}, {.answer = &answerWithWords}),
    call("rawTouchEvent", exactly(6), {}, {.answer = &answerWithWords}),
    // Any arguments, but at least one.
    asyncCall("getExtraKeys", atLeast(1)),
    call("nativeCapabilities", unchecked),
};

} // namespace

std::span<const RemoteFunction> nativeInputFunctions()
{
    return Functions;
}

} // namespace Tolvex::Remote

#pragma once

// How a remote function is declared: one entry carries the wire name, the
// kind, the argument counts, how a wrong count is answered and the handler.
// The entries stand in one file per area (functions/objects.cpp and so on);
// RemoteFunctions finds them by name.
//
//     call("getProperty", exactly(2),
//          served<[](Context &c, int target, int property) {
//              return c.wire(c.objects().getProperty(target, property));
//          }>),
//
// A handler names its arguments by type and position; they are read off the
// wire with the QVariant conversion of that type (toInt, toString, toBool...).
// A parameter of type IdsFrom reads every argument from its position on as
// an object id, one of type const ArgumentList & gets the whole list.

#include "argumentlist.h"
#include "flist.h"
#include "functioncallresult.h"
#include "object.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <span>
#include <tuple>
#include <type_traits>
#include <utility>

namespace Tolvex {

class Hook;
class NativeInterface;
class ObjectHandles;
struct HookData;

namespace Remote {

// What a handler works on.
struct Context
{
    Hook &hook;
    HookData &d;
    unsigned sender;

    ObjectHandles &objects() const;
    // The wire form of an object, which enters it in the dictionary.
    QVariant wire(const SharedPtr<Object> &object) const;
    // The platform plug-in's interface; null without a plug-in.
    NativeInterface *native() const;
    // What the native calls answer without a plug-in.
    static const QString NoPlugin;
};

enum class Kind {
    Call,      // answered by the synchronous handleCall
    AsyncCall, // answered later through a ResponseListener
    Send,      // no answer
    Neither,   // named, but served as neither: dropped as a send, unknown as a call
};

// How many arguments a function takes; min -1 leaves the count unchecked,
// max -1 sets no upper bound.
struct Count
{
    int min = -1;
    int max = -1;

    constexpr bool accepts(int n) const { return min < 0 || (n >= min && (max < 0 || n <= max)); }
};

constexpr Count exactly(int n)
{
    return {n, n};
}
constexpr Count atLeast(int n)
{
    return {n, -1};
}
constexpr Count between(int min, int max)
{
    return {min, max};
}
inline constexpr Count unchecked{};

// A wrong count prints "Hook::<handler>: F_<Name>: wrong number of arguments"
// and answers nothing, unless a function words or answers it its own way.
struct WrongCount
{
    // The function whose symbol the words use instead of this one's.
    const char *wordedAs = nullptr;
    // The handler the words name instead of the one that serves the call.
    const char *handler = nullptr;
    // What follows the symbol instead of ": wrong number of arguments".
    const char *tail = nullptr;
    // When set, nothing is printed and the call answers this instead.
    QVariant (*answer)(const QString &words) = nullptr;
};

// The words themselves are the answer.
inline QVariant answerWithWords(const QString &words)
{
    return words;
}

using CallThunk = QVariant (*)(Context &, const ArgumentList &);
using AsyncThunk = void (*)(Context &, const ArgumentList &, ResponseListener<ArgumentList> *);
using SendThunk = void (*)(Context &, const ArgumentList &);

struct Handler
{
    CallThunk call = nullptr;
    AsyncThunk async = nullptr;
    SendThunk send = nullptr;
};

struct RemoteFunction
{
    const char *name;
    Kind kind;
    Count count;
    WrongCount wrongCount;
    // Null while the function is declared but its area does not serve it yet:
    // a call then answers as an unknown one, a send is dropped.
    Handler handler;

    // "F_" and the name in upper camel case, as messages name the function.
    QString symbol() const;
    // What a wrong count says, as the given handler ("handleCall") words it.
    QString wrongCountWords(const char *servingHandler) const;
};

// ---- reading arguments ----

// Object ids from a position to the end of the list.
struct IdsFrom
{
    FList<int> ids;
};

template <typename T> struct Argument;
template <> struct Argument<int>
{
    static int read(const ArgumentList &a, qsizetype i) { return a.value(i).toInt(); }
};
template <> struct Argument<unsigned>
{
    static unsigned read(const ArgumentList &a, qsizetype i) { return a.value(i).toUInt(); }
};
template <> struct Argument<qlonglong>
{
    static qlonglong read(const ArgumentList &a, qsizetype i) { return a.value(i).toLongLong(); }
};
template <> struct Argument<double>
{
    static double read(const ArgumentList &a, qsizetype i) { return a.value(i).toDouble(); }
};
template <> struct Argument<bool>
{
    static bool read(const ArgumentList &a, qsizetype i) { return a.value(i).toBool(); }
};
template <> struct Argument<QString>
{
    static QString read(const ArgumentList &a, qsizetype i) { return a.value(i).toString(); }
};
template <> struct Argument<QStringList>
{
    static QStringList read(const ArgumentList &a, qsizetype i)
    {
        return a.value(i).toStringList();
    }
};
template <> struct Argument<QVariantMap>
{
    static QVariantMap read(const ArgumentList &a, qsizetype i) { return a.value(i).toMap(); }
};
template <> struct Argument<QByteArray>
{
    static QByteArray read(const ArgumentList &a, qsizetype i) { return a.value(i).toByteArray(); }
};
template <> struct Argument<QVariant>
{
    static QVariant read(const ArgumentList &a, qsizetype i) { return a.value(i); }
};
template <> struct Argument<IdsFrom>
{
    static IdsFrom read(const ArgumentList &a, qsizetype i)
    {
        IdsFrom rest;
        for (; i < a.count(); ++i)
            rest.ids.append(a.at(i).toInt());
        return rest;
    }
};
template <> struct Argument<ArgumentList>
{
    static const ArgumentList &read(const ArgumentList &a, qsizetype) { return a; }
};

// ---- handler thunks ----

namespace detail {

template <typename T> struct Signature;
template <typename R, typename... P> struct Signature<R (*)(Context &, P...)>
{
    using Result = R;
    using Parameters = std::tuple<std::decay_t<P>...>;
    static constexpr bool async = false;
};
template <typename R, typename... P>
struct Signature<R (*)(Context &, ResponseListener<ArgumentList> *, P...)>
{
    using Result = R;
    using Parameters = std::tuple<std::decay_t<P>...>;
    static constexpr bool async = true;
};

template <typename R> QVariant answerOf(R &&value)
{
    if constexpr (std::is_same_v<std::decay_t<R>, QVariant>)
        return std::forward<R>(value);
    else
        return QVariant::fromValue(std::forward<R>(value));
}

template <auto F, typename... P, std::size_t... I>
decltype(auto) invoke(Context &c, const ArgumentList &a, std::tuple<P...> *,
                      std::index_sequence<I...>)
{
    return F(c, Argument<P>::read(a, qsizetype(I))...);
}

template <auto F> decltype(auto) invoke(Context &c, const ArgumentList &a)
{
    using S = Signature<decltype(+F)>;
    using Parameters = typename S::Parameters;
    return invoke<+F>(c, a, static_cast<Parameters *>(nullptr),
                      std::make_index_sequence<std::tuple_size_v<Parameters>>{});
}

template <auto F> QVariant callThunk(Context &c, const ArgumentList &a)
{
    if constexpr (std::is_void_v<typename Signature<decltype(+F)>::Result>) {
        invoke<F>(c, a);
        return QVariant();
    } else {
        return answerOf(invoke<F>(c, a));
    }
}

template <auto F> void sendThunk(Context &c, const ArgumentList &a)
{
    invoke<F>(c, a);
}

template <auto F, typename... P, std::size_t... I>
void asyncThunk(Context &c, const ArgumentList &a, ResponseListener<ArgumentList> *listener,
                std::tuple<P...> *, std::index_sequence<I...>)
{
    (+F)(c, listener, Argument<P>::read(a, qsizetype(I))...);
}

template <auto F>
void asyncThunk(Context &c, const ArgumentList &a, ResponseListener<ArgumentList> *listener)
{
    using Parameters = typename Signature<decltype(+F)>::Parameters;
    asyncThunk<F>(c, a, listener, static_cast<Parameters *>(nullptr),
                  std::make_index_sequence<std::tuple_size_v<Parameters>>{});
}

template <auto F> constexpr Handler handlerOf()
{
    if constexpr (Signature<decltype(+F)>::async)
        return Handler{nullptr, &asyncThunk<F>, nullptr};
    else
        return Handler{&callThunk<F>, nullptr, &sendThunk<F>};
}

} // namespace detail

// The handler of a function, from a lambda without captures.
template <auto F> inline constexpr Handler served = detail::handlerOf<F>();

// ---- declaring ----

// A handler of the wrong shape for its kind stops the compilation: the
// tables are constant-initialised, and a throw cannot be evaluated there.
constexpr RemoteFunction call(const char *name, Count count, Handler handler = {},
                              WrongCount wrongCount = {})
{
    if (handler.async || (handler.send && !handler.call))
        throw "a call needs a handler that answers";
    return {name, Kind::Call, count, wrongCount, {handler.call, nullptr, nullptr}};
}

constexpr RemoteFunction asyncCall(const char *name, Count count, Handler handler = {},
                                   WrongCount wrongCount = {})
{
    if (handler.call || handler.send)
        throw "an asynchronous call needs a handler that takes a listener";
    return {name, Kind::AsyncCall, count, wrongCount, handler};
}

constexpr RemoteFunction send(const char *name, Count count, Handler handler = {},
                              WrongCount wrongCount = {})
{
    if (handler.async)
        throw "a send has no listener";
    return {name, Kind::Send, count, wrongCount, {nullptr, nullptr, handler.send}};
}

constexpr RemoteFunction neither(const char *name)
{
    return {name, Kind::Neither, unchecked, {}, {}};
}

// Every remote function of the agent, by name.
class RemoteFunctions
{
public:
    // The function of this name, matched exactly, case included; null if none.
    static const RemoteFunction *find(const QString &name);
    // All of them, area by area.
    static QList<const RemoteFunction *> all();
};

// The areas, each in a file of its own under functions/.
std::span<const RemoteFunction> objectFunctions();
std::span<const RemoteFunction> lookupFunctions();
std::span<const RemoteFunction> recordingFunctions();
std::span<const RemoteFunction> testDataFunctions();
std::span<const RemoteFunction> processFunctions();
std::span<const RemoteFunction> spyFunctions();
std::span<const RemoteFunction> screenshotFunctions();
std::span<const RemoteFunction> nativeInputFunctions();
std::span<const RemoteFunction> streamFunctions();
std::span<const RemoteFunction> snapshotFunctions();

} // namespace Remote
} // namespace Tolvex

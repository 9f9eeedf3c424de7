// The three doors of the server's remote functions: the synchronous and the
// asynchronous call, and the send. Each looks the name up among the declared
// functions, checks the count as the function wants it checked, and runs its
// handler.

#include "hook.h"

#include "hookdata_p.h"
#include "logging.h"
#include "remotefunction.h"

#include <QPointer>

namespace Tolvex {

using Remote::Kind;
using Remote::RemoteFunction;
using Remote::RemoteFunctions;

namespace {

QVariant unhandled(const QString &function)
{
    logLine(QStringLiteral("Hook::handleCall: unhandled function ") + function);
    return QVariant();
}

// The answer to a wrong count: the words as the function wants them said.
QVariant wrongCount(const RemoteFunction &f, const char *handler)
{
    const QString words = f.wrongCountWords(handler);
    if (f.wrongCount.answer)
        return f.wrongCount.answer(words);
    logLine(words);
    return QVariant();
}

} // namespace

QVariant Hook::handleCall(unsigned sender, const QString &function, const ArgumentList &args)
{
    TOLVEX_TRACE_HOOK() << "Processing IPC call"
                        << "caller" << sender << "func" << function << "args.size()"
                        << args.count();
    const RemoteFunction *f = RemoteFunctions::find(function);
    if (f && f->kind == Kind::AsyncCall)
        return QStringLiteral("Internal error: synchronous call to ") + f->symbol();
    if (!f || f->kind != Kind::Call)
        return unhandled(function);
    if (!f->count.accepts(int(args.count())))
        return wrongCount(*f, "handleCall");
    // Declared, but its area does not serve it yet.
    if (!f->handler.call)
        return unhandled(function);
    Remote::Context context{*this, *d, sender};
    return f->handler.call(context, args);
}

void Hook::handleCall(unsigned sender, const QString &function, const ArgumentList &args,
                      ResponseListener<ArgumentList> *listener)
{
    const RemoteFunction *f = RemoteFunctions::find(function);
    // The listener answers, and the answer may end the connection: while it
    // goes out this Hook stays, whatever a handler of the end does.
    SendScope sending(*d);
    if (!f || f->kind != Kind::AsyncCall) {
        IPCResponseHandlerIface::handleCall(sender, function, args, listener);
        return;
    }
    TOLVEX_TRACE_HOOK() << "Processing asynchronous IPC call"
                        << "caller" << sender << "func" << function << "args.size()"
                        << args.count();
    if (!f->count.accepts(int(args.count()))) {
        listener->error(f->wrongCountWords("handleCall"));
        return;
    }
    if (!f->handler.async) {
        listener->error(QStringLiteral("Hook::handleCall: unhandled function ") + function);
        return;
    }
    Remote::Context context{*this, *d, sender};
    f->handler.async(context, args, listener);
}

void Hook::handleSend(unsigned sender, const QString &function, const ArgumentList &args)
{
    TOLVEX_TRACE_HOOK() << "Processing IPC send"
                        << "sender" << sender << "func" << function << "args.size()"
                        << args.count();
    const RemoteFunction *f = RemoteFunctions::find(function);
    // Names that are not sends are dropped without a word.
    if (!f || f->kind != Kind::Send)
        return;
    if (!f->count.accepts(int(args.count()))) {
        logLine(f->wrongCountWords("handleSend"));
        return;
    }
    // Declared, but its area does not serve it yet.
    if (!f->handler.send)
        return;
    Remote::Context context{*this, *d, sender};
    f->handler.send(context, args);
}

} // namespace Tolvex

#pragma once

#include "argumentlist.h"
#include "functioncallresult.h"

#include <QString>
#include <QVariant>

namespace Tolvex {

// The receiving side of an endpoint: what arrives from peers goes here.
class IPCResponseHandlerIface
{
public:
    virtual ~IPCResponseHandlerIface();
    virtual void handleSend(unsigned sender, const QString &function, const ArgumentList &args);
    virtual void handleBroadcast(unsigned sender, const QString &function,
                                 const ArgumentList &args);
    // The asynchronous form; by default it answers with the synchronous one.
    virtual void handleCall(unsigned sender, const QString &function, const ArgumentList &args,
                            ResponseListener<ArgumentList> *listener);
    virtual QVariant handleCall(unsigned sender, const QString &function, const ArgumentList &args);
    virtual void handleError(const QString &text);
    // True takes the call over: the handler answers later with callReply.
    virtual bool callRequest(unsigned sender, int callId, const QString &function,
                             const ArgumentList &args);
    virtual void connectionClosed();
};

} // namespace Tolvex

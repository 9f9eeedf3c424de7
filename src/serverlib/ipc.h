#pragma once

#include "asyncipc.h"
#include "messagechannel.h"

namespace Tolvex {

// An endpoint whose calls can wait for their answer. A waiting call runs no
// event loop: it blocks in the channel's socket wait and delivers every
// message through the usual path, so incoming calls are served, and may make
// blocking calls of their own, while the outer call waits.
class IPC : public AsyncIPC
{
    Q_OBJECT
public:
    IPC(MessageChannel *channel, const ClientData &data, IPCResponseHandlerIface *handler,
        QObject *parent = nullptr);

    // Blocking connect with a handshake of 10 s.
    static FunctionCallResult<IPC *> connectTo(const QString &host, quint16 port,
                                               const ClientData &data);
    static FunctionCallResult<IPC *> connectTo(const SocketAddress &address,
                                               const ClientData &data);
    static FunctionCallResult<IPC *> connectTo(MessageChannel *channel, const ClientData &data);

    // The first value of the reply, or an invalid QVariant on any failure.
    QVariant call(const QString &function, const ArgumentList &args, bool *timedOut = nullptr,
                  bool keepQueued = false);
    QVariant call(unsigned destination, const QString &function, const ArgumentList &args,
                  bool *timedOut = nullptr);
    FunctionCallResult<ArgumentList> callFunc(const QString &function, const ArgumentList &args,
                                              bool keepQueued = false);
    FunctionCallResult<ArgumentList> callFunc(unsigned destination, const QString &function,
                                              const ArgumentList &args);
    // Waits for a call made with asyncCall. Unless keepQueued, what arrived
    // behind the reply is delivered before it returns.
    FunctionCallResult<void> awaitAsyncCall(int id, bool *timedOut = nullptr,
                                            bool keepQueued = false);

    bool dispatchMessages();
    FunctionCallResult<QByteArray> waitForSingleMessage(int timeoutMs);

    bool inCall() const { return m_inCall; }
    int depth() const { return m_depth; }

private:
    QVariant callImpl(unsigned destination, const QString &function, const ArgumentList &args,
                      bool *timedOut, bool keepQueued);
    FunctionCallResult<ArgumentList> callFuncImpl(unsigned destination, const QString &function,
                                                  const ArgumentList &args, bool keepQueued);

    MessageChannel *m_messageChannel;
    bool m_inCall = false;
    int m_depth = 0;
};

} // namespace Tolvex

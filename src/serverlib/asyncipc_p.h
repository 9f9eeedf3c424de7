#pragma once

// The three kinds of incoming message an endpoint keeps in its table.

#include "asyncipc.h"
#include "chunkedmessage.h"

namespace Tolvex {

// A call from a peer. Once parsed it is also the listener of its own answer:
// it lives until response() or, when the endpoint goes, until abandoned.
class IncomingCall : public ChunkedMessageReceiver, public ResponseListener<ArgumentList>
{
    Q_OBJECT
public:
    IncomingCall(AsyncIPC *ipc, unsigned caller, int callId);
    void process(QDataStream &stream) override;
    void response(FunctionCallResult<ArgumentList> result) override;
    void abandon() override;

private:
    unsigned m_caller;
    int m_callId;
    bool m_handedOut = false;
};

// A one-way message or a broadcast from a peer.
class IncomingSend : public ChunkedMessageReceiver
{
    Q_OBJECT
public:
    IncomingSend(AsyncIPC *ipc, unsigned sender, unsigned destination);
    void process(QDataStream &stream) override;

private:
    unsigned m_sender;
    unsigned m_destination;
};

// The record of a call made here, waiting for the peer's reply.
class IncomingReply : public ChunkedMessageReceiver
{
    Q_OBJECT
public:
    IncomingReply(AsyncIPC *ipc, int transId, unsigned destination,
                  ResponseListener<ArgumentList> *listener);
    void process(QDataStream &stream) override;
    void startTimeout(int ms);
    void stopTimeout();
    unsigned destination() const { return m_destination; }
    ResponseListener<ArgumentList> *listener() const { return m_listener; }

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    int m_transId;
    unsigned m_destination;
    ResponseListener<ArgumentList> *m_listener;
    int m_timerId = -1;
};

// "Message too short", "Message corrupt" or the status number.
QString streamStatusText(const QDataStream &stream);
// Why a body could not be read: the device's error first, then the stream's
// status; empty when all went well.
QString parseFailure(const ChunkedMessageReceiver &receiver, const QDataStream &stream);

} // namespace Tolvex

#pragma once

// Messages as raw frames, for peers that misbehave on purpose: cut a message
// short, stop between its frames, or send its frames by hand.

#include "asyncipc.h"
#include "directmessagechannel.h"

#include <QList>
#include <QtEndian>

namespace TestSupport {

// The frames of a call as an endpoint at `source` writes it, size prefixes
// filled in, ready to go onto a socket as they are.
inline QList<QByteArray> callFrames(unsigned source, unsigned destination, const QString &function,
                                    const Tolvex::ArgumentList &args, int transId)
{
    using namespace Tolvex;
    struct Sender : AsyncIPC
    {
        using AsyncIPC::AsyncIPC;
        using AsyncIPC::setLastTransId;
    };
    struct Ignore : ResponseListener<ArgumentList>
    {
        void response(FunctionCallResult<ArgumentList>) override {}
    } ignore;

    auto [near, far] = DirectMessageChannel::channelPair();
    QList<QByteArray> frames;
    QObject::connect(far, &AsyncMessageChannel::messageArrived, [&frames](QByteArray f) {
        qToBigEndian<quint32>(quint32(f.size()), f.data());
        frames << f;
    });
    Sender sender(near, ClientData{int(source), 0, 1, {}}, nullptr);
    sender.setLastTransId(transId - 1);
    sender.cancelAsyncCall(sender.asyncCall(destination, function, args, &ignore));
    delete far;
    return frames;
}

} // namespace TestSupport

// Incoming traffic from an untrusted peer, as an endpoint sees it: frames of
// every type with arbitrary headers, and arbitrary bodies carried as real
// plain or compressed multi-frame messages so that the body parsers are
// reached behind the framing.
//
// Input: a sequence of records. Each record starts with a mode byte and a
// 16-bit length; the mode's low bit picks a raw frame (the bytes as they
// are, header included) or a body (sent through the chunking sender with a
// header made from the next bytes).

#include "asyncipc.h"
#include "chunkedmessage.h"
#include "directmessagechannel.h"

#include <QCoreApplication>
#include <QtEndian>

#include <cstddef>
#include <cstdint>

using namespace Tolvex;

namespace {

class Handler : public IPCResponseHandlerIface
{
public:
    QVariant handleCall(unsigned, const QString &f, const ArgumentList &a) override
    {
        return f.size() + int(a.size());
    }
    void handleError(const QString &) override {}
};

// The sender's side of the pair, so that bodies go out as the peer would
// send them, with the given header fields.
class PeerIPC : public AsyncIPC
{
public:
    using AsyncIPC::AsyncIPC;
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // Qt's warnings about the garbage it is fed would drown the fuzzer.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    auto [near, far] = DirectMessageChannel::channelPair();
    Handler handler;
    auto *endpoint = new AsyncIPC(near, ClientData{5, 0, 4, {}}, &handler);
    auto *peer = new PeerIPC(far, ClientData{1, 0, 0, {}}, nullptr);

    // A few calls of our own, so that replies find records to complete.
    struct Sink : ResponseListener<ArgumentList>
    {
        void response(FunctionCallResult<ArgumentList>) override {}
    } sink;
    for (int i = 0; i < 3; ++i)
        endpoint->asyncCall(1, QStringLiteral("f"), {}, &sink, 0);

    size_t pos = 0;
    while (pos + 3 <= size) {
        const uint8_t mode = data[pos];
        const size_t len = qFromBigEndian<quint16>(data + pos + 1);
        pos += 3;
        const size_t n = len <= size - pos ? len : size - pos;
        const QByteArray bytes(reinterpret_cast<const char *>(data + pos), qsizetype(n));
        pos += n;
        if ((mode & 1) == 0) {
            far->enqueueMessage(bytes);
            continue;
        }
        // Body mode: type, transaction and flags from the mode byte, the
        // body repeated to reach the compressed form when asked.
        static const MessageType types[] = {CallMessage, ReplyMessage, SendMessage};
        const MessageType type = types[(mode >> 1) % 3];
        const int transId = (mode >> 3) & 3;
        const unsigned destination = (mode & 0x20) ? AsyncIPC::BroadcastAddress : 5;
        ChunkedMessageSender sender(peer, destination, transId, type, (mode & 0x40) ? 1 : 0);
        sender.open(QIODevice::WriteOnly);
        const int repeat = (mode & 0x80) ? 1 + int(ChunkBufferSize * 3 / (n + 1)) : 1;
        for (int r = 0; r < repeat; ++r)
            sender.write(bytes);
        sender.close();
    }
    delete endpoint;
    delete peer;
    return 0;
}

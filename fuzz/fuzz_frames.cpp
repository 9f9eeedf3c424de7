// Bytes from an untrusted peer arriving on a TCPMessageChannel, in pieces of
// varying size, so that frames split over reads and several frames per read
// both occur.

#include "fsocket.h"
#include "tcpmessagechannel.h"

#include <QCoreApplication>

#include <sys/socket.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    // Qt's warnings about the garbage it is fed would drown the fuzzer.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {});
    static QCoreApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 1)
        return 0;
    int fds[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0)
        return 0;
    FSocket writer(fds[1]);
    auto *channel = new Tolvex::TCPMessageChannel(new FSocket(fds[0]));
    qsizetype delivered = 0;
    QObject::connect(channel, &Tolvex::AsyncMessageChannel::messageArrived,
                     [&](const QByteArray &m) { delivered += m.size(); });

    // The first byte picks the piece size.
    const size_t piece = 1 + data[0] % 97;
    for (size_t pos = 1; pos < size && channel->isOpen(); pos += piece) {
        const size_t n = pos + piece <= size ? piece : size - pos;
        writer.writeBlock(reinterpret_cast<const char *>(data + pos), int(n));
        channel->dispatchMessages();
    }
    writer.close();
    channel->dispatchMessages();
    delete channel;
    return delivered >= 0 ? 0 : 1;
}

#include "fsocket.h"

#include "fsocketplatform_p.h"

#include <QElapsedTimer>
#include <QLoggingCategory>

#include <algorithm>
#include <cstring>

using FSocketPlatform::Err;

// Waits that time out are routine (every poll for more data does); their
// trace is off unless asked for.
Q_LOGGING_CATEGORY(lcSocket, "tolvex.socket", QtInfoMsg)

namespace {

bool ensureStartup()
{
    // Socket library start-up runs once per process; a plain flag is enough
    // since sockets are made on one thread.
    static bool started = false;
    if (!started)
        started = FSocketPlatform::startup();
    return started;
}

} // namespace

FSocket::FSocket()
{
    if (!ensureStartup()) {
        setError(Impossible, FSocketPlatform::lastError());
        return;
    }
    m_fd = FSocketPlatform::createTcpSocket();
    if (m_fd == -1) {
        const int e = FSocketPlatform::lastError();
        switch (FSocketPlatform::classify(e)) {
        case Err::FamilyNotSupported:
            setError(BadCall, e);
            break;
        case Err::TooManyFiles:
        case Err::NoBuffers:
            setError(NoResources, e);
            break;
        case Err::NetworkDown:
            setError(NetworkFailure, e);
            break;
        case Err::Access:
            setError(Inaccessible, e);
            break;
        default:
            setError(UnknownError, e);
        }
        return;
    }
    FSocketPlatform::setNotInheritable(m_fd);
}

FSocket::FSocket(int descriptor) : m_fd(descriptor)
{
    if (m_fd != -1) {
        FSocketPlatform::setNotInheritable(m_fd);
        refreshAddresses();
    }
}

FSocket::~FSocket()
{
    if (m_fd != -1)
        FSocketPlatform::closeSocket(m_fd);
}

void FSocket::setError(ErrorCondition condition, int platformError)
{
    m_error = condition;
    m_platformError = platformError;
}

void FSocket::refreshAddresses()
{
    unsigned address = 0;
    unsigned short port = 0;
    if (m_fd != -1 && FSocketPlatform::localName(m_fd, &address, &port)) {
        m_localAddress.setAddress(address);
        m_localPort = port;
    } else {
        m_localAddress.setAddress(0);
        m_localPort = 0;
    }
    address = 0;
    port = 0;
    if (m_fd != -1 && FSocketPlatform::peerName(m_fd, &address, &port)) {
        m_peerAddress.setAddress(address);
        m_peerPort = port;
    } else {
        m_peerAddress.setAddress(0);
        m_peerPort = 0;
    }
}

bool FSocket::connectToHost(const QString &host, unsigned short port)
{
    if (m_fd == -1)
        return false;
    FHostAddress address;
    if (!FHostAddress::getHostByName(host, &address)) {
        setError(HostNotFound, 0);
        return false;
    }
    return connectToHost(address, port, true);
}

bool FSocket::connectToHost(const FHostAddress &address, unsigned short port, bool blocking)
{
    if (m_fd == -1)
        return false;
    const bool wasBlocking = m_blocking;
    if (blocking && !wasBlocking)
        FSocketPlatform::setNonBlocking(m_fd, false);

    const int r = FSocketPlatform::connectIPv4(m_fd, address.ip4Addr(), port);
    const int e = r == 0 ? 0 : FSocketPlatform::lastError();

    if (blocking && !wasBlocking)
        FSocketPlatform::setNonBlocking(m_fd, true);

    if (r == 0) {
        refreshAddresses();
        return true;
    }
    switch (FSocketPlatform::classify(e)) {
    case Err::IsConnected:
        refreshAddresses();
        return true;
    case Err::InProgress:
    case Err::Already:
        return true;
    case Err::WouldBlock:
        if (!blocking)
            return true;
        return false;
    case Err::Invalid:
        if (!blocking)
            handleConnectSockError(e);
        return false;
    default:
        handleConnectSockError(e);
        return false;
    }
}

bool FSocket::finishNonBlockingConnect()
{
    if (m_fd == -1)
        return false;
    const int e = FSocketPlatform::pendingError(m_fd);
    if (e != 0) {
        handleConnectSockError(e);
        return false;
    }
    refreshAddresses();
    return m_peerPort != 0;
}

void FSocket::handleConnectSockError(int e)
{
    switch (FSocketPlatform::classify(e)) {
    case Err::ConnectionRefused:
    case Err::AddressNotAvailable:
        setError(ConnectionRefused, e);
        break;
    case Err::NetworkDown:
    case Err::NetworkUnreachable:
    case Err::HostUnreachable:
    case Err::TimedOut:
    case Err::Shutdown:
        setError(NetworkFailure, e);
        break;
    case Err::NotSocket:
    case Err::NotInitialised:
    case Err::Invalid:
        setError(Impossible, e);
        break;
    case Err::BadAddress:
    case Err::FamilyNotSupported:
    case Err::NotSupported:
        setError(BadCall, e);
        break;
    case Err::AddressInUse:
        setError(AlreadyBound, e);
        break;
    case Err::NoBuffers:
    case Err::TooManyFiles:
        setError(NoResources, e);
        break;
    case Err::Access:
        setError(Inaccessible, e);
        break;
    default:
        setError(UnknownError, e);
    }
}

bool FSocket::bind(const FHostAddress &address, unsigned short port)
{
    if (m_fd == -1)
        return false;
    if (FSocketPlatform::bindIPv4(m_fd, address.ip4Addr(), port) == 0) {
        refreshAddresses();
        return true;
    }
    const int e = FSocketPlatform::lastError();
    switch (FSocketPlatform::classify(e)) {
    case Err::AddressInUse:
        setError(AlreadyBound, e);
        break;
    case Err::NoBuffers:
    case Err::TooManyFiles:
        setError(NoResources, e);
        break;
    case Err::Access:
    case Err::AddressNotAvailable:
        setError(Inaccessible, e);
        break;
    case Err::NotSocket:
    case Err::Invalid:
    case Err::NotInitialised:
        setError(Impossible, e);
        break;
    case Err::BadAddress:
    case Err::FamilyNotSupported:
        setError(BadCall, e);
        break;
    default:
        setError(UnknownError, e);
    }
    return false;
}

bool FSocket::listen(int backlog)
{
    if (m_fd == -1)
        return false;
    if (FSocketPlatform::listenOn(m_fd, backlog) == 0)
        return true;
    const int e = FSocketPlatform::lastError();
    switch (FSocketPlatform::classify(e)) {
    case Err::AddressInUse:
        setError(AlreadyBound, e);
        break;
    case Err::NotSocket:
    case Err::Invalid:
        setError(Impossible, e);
        break;
    case Err::NotSupported:
        setError(BadCall, e);
        break;
    default:
        setError(UnknownError, e);
    }
    return false;
}

int FSocket::accept()
{
    if (m_fd == -1)
        return -1;
    for (;;) {
        const int fd = FSocketPlatform::acceptOn(m_fd);
        if (fd != -1)
            return fd;
        const int e = FSocketPlatform::lastError();
        if (FSocketPlatform::classify(e) == Err::Interrupted)
            continue;
        if (FSocketPlatform::classify(e) != Err::WouldBlock)
            setError(UnknownError, e);
        return -1;
    }
}

int FSocket::readBlock(char *data, int size)
{
    if ((!data && size > 0) || m_fd == -1)
        return -1;
    const long r = FSocketPlatform::recvSome(m_fd, data, size > 0 ? size_t(size) : 0);
    if (r > 0)
        return int(r);
    if (r == 0) {
        // Orderly shutdown by the peer. (An empty read request cannot be told
        // apart, so callers never ask for 0 bytes.)
        close();
        return 0;
    }
    const int e = FSocketPlatform::lastError();
    switch (FSocketPlatform::classify(e)) {
    case Err::Interrupted:
    case Err::IsConnected:
        return 0;
    case Err::WouldBlock:
        return -1;
    case Err::BadAddress:
    case Err::Invalid:
    case Err::InProgress:
    case Err::NotSocket:
    case Err::NotConnected:
    case Err::Shutdown:
    case Err::NotInitialised:
        setError(Impossible, e);
        return -1;
    case Err::MessageSize:
    case Err::NetworkDown:
    case Err::NetworkReset:
        setError(NetworkFailure, e);
        return -1;
    case Err::NotSupported:
        setError(BadCall, e);
        return -1;
    case Err::ConnectionAborted:
    case Err::ConnectionReset:
    case Err::TimedOut:
        close();
        return 0;
    default:
        setError(UnknownError, e);
        return -1;
    }
}

int FSocket::writeLimit() const
{
    if (m_sendBufferSize < 0)
        m_sendBufferSize = sendBufferSize();
    return std::clamp(m_sendBufferSize * 2, 4096, 0x200000);
}

int FSocket::writeBlock(const char *data, int size)
{
    if ((!data && size > 0) || m_fd == -1)
        return -1;
    int limit = writeLimit();
    for (;;) {
        const long r = FSocketPlatform::sendSome(m_fd, data, size_t(std::min(size, limit)));
        if (r >= 0)
            return int(r);
        const int e = FSocketPlatform::lastError();
        switch (FSocketPlatform::classify(e)) {
        case Err::Interrupted:
            continue;
        case Err::WouldBlock:
            return 0;
        case Err::NoBuffers:
            limit /= 2;
            if (limit < 128)
                return -1;
            continue;
        case Err::ConnectionAborted:
        case Err::ConnectionReset:
            close();
            return 0;
        case Err::Access:
        case Err::NetworkDown:
        case Err::NetworkReset:
        case Err::Shutdown:
        case Err::NetworkUnreachable:
        case Err::HostUnreachable:
            setError(NetworkFailure, e);
            return -1;
        case Err::BadAddress:
        case Err::InProgress:
        case Err::NotSupported:
            setError(BadCall, e);
            return -1;
        case Err::Invalid:
        case Err::NotSocket:
        case Err::MessageSize:
        case Err::NotConnected:
        case Err::NotInitialised:
            setError(Impossible, e);
            return -1;
        default:
            setError(UnknownError, e);
            return -1;
        }
    }
}

int FSocket::bytesAvailable() const
{
    if (m_fd == -1)
        return -1;
    const long n = FSocketPlatform::bytesReadable(m_fd);
    return n < 0 ? -1 : int(std::min<long>(n, 0x7fffffff));
}

int FSocket::waitForMore(int ms, bool *timedOut)
{
    if (m_fd == -1)
        return -1;
    if (timedOut)
        *timedOut = false;
    for (;;) {
        const int r = FSocketPlatform::waitReadable(m_fd, ms);
        if (r > 0)
            return bytesAvailable();
        if (r == 0) {
            qCDebug(lcSocket, "waiting timed out after %d ms", ms);
            if (timedOut)
                *timedOut = true;
            return 0;
        }
        const int e = FSocketPlatform::lastError();
        if (FSocketPlatform::classify(e) == Err::Interrupted)
            continue;
        qCDebug(lcSocket, "waiting failed with result %d", e);
        return -1;
    }
}

bool FSocket::waitForDisconnected(int ms)
{
    QElapsedTimer timer;
    timer.start();
    char discard[512];
    while (m_fd != -1) {
        const qint64 left = ms - timer.elapsed();
        if (left < 1)
            break;
        bool timedOut = false;
        const int ready = waitForMore(int(left), &timedOut);
        if (timedOut)
            break;
        if (ready < 1) {
            // Readable with nothing to read is the peer's end of stream; a
            // read now sees it and closes.
            if (ready == 0)
                readBlock(discard, sizeof discard);
            break;
        }
        if (readBlock(discard, sizeof discard) == 0)
            break;
    }
    return m_fd == -1;
}

void FSocket::shutdown()
{
    if (m_fd != -1)
        FSocketPlatform::shutdownSend(m_fd);
}

void FSocket::close()
{
    if (m_fd == -1)
        return;
    FSocketPlatform::shutdownSend(m_fd);
    FSocketPlatform::closeSocket(m_fd);
    m_fd = -1;
    m_error = NoError;
    m_platformError = 0;
    refreshAddresses();
}

void FSocket::setBlocking(bool blocking)
{
    if (m_fd != -1 && FSocketPlatform::setNonBlocking(m_fd, !blocking))
        m_blocking = blocking;
}

const char *FSocket::errorString() const
{
    static char buffer[256];
    if (m_platformError == 0)
        return "Unknown Error";
    std::strncpy(buffer, FSocketPlatform::errorText(m_platformError), sizeof buffer - 1);
    buffer[sizeof buffer - 1] = '\0';
    return buffer;
}

int FSocket::sendBufferSize() const
{
    int value = 0;
    if (m_fd == -1 || !FSocketPlatform::getIntOption(m_fd, FSocketPlatform::solSocket(),
                                                     FSocketPlatform::soSendBuffer(), &value))
        return -1;
    return value;
}

bool FSocket::setSendBufferSize(int size)
{
    m_sendBufferSize = -1;
    return m_fd != -1 && FSocketPlatform::setIntOption(m_fd, FSocketPlatform::solSocket(),
                                                       FSocketPlatform::soSendBuffer(), size);
}

int FSocket::receiveBufferSize() const
{
    int value = 0;
    if (m_fd == -1 || !FSocketPlatform::getIntOption(m_fd, FSocketPlatform::solSocket(),
                                                     FSocketPlatform::soReceiveBuffer(), &value))
        return -1;
    return value;
}

bool FSocket::setReceiveBufferSize(int size)
{
    return m_fd != -1 && FSocketPlatform::setIntOption(m_fd, FSocketPlatform::solSocket(),
                                                       FSocketPlatform::soReceiveBuffer(), size);
}

bool FSocket::setReceiveTimeout(int ms)
{
    return m_fd != -1 && FSocketPlatform::setTimeoutOption(m_fd, false, ms);
}

bool FSocket::setSendTimeout(int ms)
{
    return m_fd != -1 && FSocketPlatform::setTimeoutOption(m_fd, true, ms);
}

bool FSocket::setTcpNoDelay(bool on)
{
    return m_fd != -1 && FSocketPlatform::setIntOption(m_fd, FSocketPlatform::ipprotoTcp(),
                                                       FSocketPlatform::tcpNoDelay(), on ? 1 : 0);
}

bool FSocket::setAddressReusable(bool on)
{
    return m_fd != -1 &&
           FSocketPlatform::setIntOption(m_fd, FSocketPlatform::solSocket(),
                                         FSocketPlatform::soReuseAddress(), on ? 1 : 0);
}

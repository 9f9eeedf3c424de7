#include "fsocket.h"

#include "fsocketerrors_p.h"
#include "fsocketplatform_p.h"
#include "logging.h"

#include <QElapsedTimer>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <span>

using FSocketErrors::Operation;
using FSocketErrors::Outcome;
using FSocketPlatform::Err;

using Tolvex::lcSocket;

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

// --- Error tables ----------------------------------------------------------------

namespace FSocketErrors {

namespace {

using enum Outcome;

struct Table
{
    std::span<const Rule> rules;
    // An error the rules don't name is looked up in next, if there is one;
    // at the end of the chain it gets the last table's otherwise.
    const Table *next = nullptr;
    Rule otherwise{Err::Other, Fail, FSocket::UnknownError};
};

constexpr Rule createRules[] = {
    {Err::FamilyNotSupported, Fail, FSocket::BadCall},
    {Err::TooManyFiles, Fail, FSocket::NoResources},
    {Err::NoBuffers, Fail, FSocket::NoResources},
    {Err::NetworkDown, Fail, FSocket::NetworkFailure},
    {Err::Access, Fail, FSocket::Inaccessible},
};

// Why a connect failed, whether at once or later, from the pending error.
constexpr Rule connectFailureRules[] = {
    {Err::ConnectionRefused, Fail, FSocket::ConnectionRefused},
    {Err::AddressNotAvailable, Fail, FSocket::ConnectionRefused},
    {Err::NetworkDown, Fail, FSocket::NetworkFailure},
    {Err::NetworkUnreachable, Fail, FSocket::NetworkFailure},
    {Err::HostUnreachable, Fail, FSocket::NetworkFailure},
    {Err::TimedOut, Fail, FSocket::NetworkFailure},
    {Err::Shutdown, Fail, FSocket::NetworkFailure},
    {Err::NotSocket, Fail, FSocket::Impossible},
    {Err::NotInitialised, Fail, FSocket::Impossible},
    {Err::Invalid, Fail, FSocket::Impossible},
    {Err::BadAddress, Fail, FSocket::BadCall},
    {Err::FamilyNotSupported, Fail, FSocket::BadCall},
    {Err::NotSupported, Fail, FSocket::BadCall},
    {Err::AddressInUse, Fail, FSocket::AlreadyBound},
    {Err::NoBuffers, Fail, FSocket::NoResources},
    {Err::TooManyFiles, Fail, FSocket::NoResources},
    {Err::Access, Fail, FSocket::Inaccessible},
};
constexpr Table connectFailures{connectFailureRules};

// Would-block and invalid argument on a blocking connect set nothing.
constexpr Rule blockingConnectRules[] = {
    {Err::IsConnected, Connected, FSocket::NoError},
    {Err::InProgress, Succeed, FSocket::NoError},
    {Err::Already, Succeed, FSocket::NoError},
    {Err::WouldBlock, FailQuietly, FSocket::NoError},
    {Err::Invalid, FailQuietly, FSocket::NoError},
};

// A non-blocking connect that would block has begun; finishNonBlockingConnect
// completes it.
constexpr Rule nonBlockingConnectRules[] = {
    {Err::IsConnected, Connected, FSocket::NoError},
    {Err::InProgress, Succeed, FSocket::NoError},
    {Err::Already, Succeed, FSocket::NoError},
    {Err::WouldBlock, Succeed, FSocket::NoError},
};

constexpr Rule bindRules[] = {
    {Err::AddressInUse, Fail, FSocket::AlreadyBound},
    {Err::NoBuffers, Fail, FSocket::NoResources},
    {Err::TooManyFiles, Fail, FSocket::NoResources},
    {Err::Access, Fail, FSocket::Inaccessible},
    {Err::AddressNotAvailable, Fail, FSocket::Inaccessible},
    {Err::NotSocket, Fail, FSocket::Impossible},
    {Err::Invalid, Fail, FSocket::Impossible},
    {Err::NotInitialised, Fail, FSocket::Impossible},
    {Err::BadAddress, Fail, FSocket::BadCall},
    {Err::FamilyNotSupported, Fail, FSocket::BadCall},
};

constexpr Rule listenRules[] = {
    {Err::AddressInUse, Fail, FSocket::AlreadyBound},
    {Err::NotSocket, Fail, FSocket::Impossible},
    {Err::Invalid, Fail, FSocket::Impossible},
    {Err::NotSupported, Fail, FSocket::BadCall},
};

constexpr Rule acceptRules[] = {
    {Err::Interrupted, Retry, FSocket::NoError},
    {Err::WouldBlock, FailQuietly, FSocket::NoError},
};

constexpr Rule readRules[] = {
    {Err::Interrupted, NothingMoved, FSocket::NoError},
    {Err::IsConnected, NothingMoved, FSocket::NoError},
    {Err::WouldBlock, FailQuietly, FSocket::NoError},
    {Err::BadAddress, Fail, FSocket::Impossible},
    {Err::Invalid, Fail, FSocket::Impossible},
    {Err::InProgress, Fail, FSocket::Impossible},
    {Err::NotSocket, Fail, FSocket::Impossible},
    {Err::NotConnected, Fail, FSocket::Impossible},
    {Err::Shutdown, Fail, FSocket::Impossible},
    {Err::NotInitialised, Fail, FSocket::Impossible},
    {Err::MessageSize, Fail, FSocket::NetworkFailure},
    {Err::NetworkDown, Fail, FSocket::NetworkFailure},
    {Err::NetworkReset, Fail, FSocket::NetworkFailure},
    {Err::NotSupported, Fail, FSocket::BadCall},
    {Err::ConnectionAborted, Closed, FSocket::NoError},
    {Err::ConnectionReset, Closed, FSocket::NoError},
    {Err::TimedOut, Closed, FSocket::NoError},
};

// Out of buffer space with the smallest chunk fails with no condition, so
// that the channel's time limit for a stuck write applies.
constexpr Rule writeRules[] = {
    {Err::Interrupted, Retry, FSocket::NoError},
    {Err::WouldBlock, NothingMoved, FSocket::NoError},
    {Err::NoBuffers, ShrinkAndRetry, FSocket::NoError},
    {Err::ConnectionAborted, Closed, FSocket::NoError},
    {Err::ConnectionReset, Closed, FSocket::NoError},
    {Err::Access, Fail, FSocket::NetworkFailure},
    {Err::NetworkDown, Fail, FSocket::NetworkFailure},
    {Err::NetworkReset, Fail, FSocket::NetworkFailure},
    {Err::Shutdown, Fail, FSocket::NetworkFailure},
    {Err::NetworkUnreachable, Fail, FSocket::NetworkFailure},
    {Err::HostUnreachable, Fail, FSocket::NetworkFailure},
    {Err::BadAddress, Fail, FSocket::BadCall},
    {Err::InProgress, Fail, FSocket::BadCall},
    {Err::NotSupported, Fail, FSocket::BadCall},
    {Err::Invalid, Fail, FSocket::Impossible},
    {Err::NotSocket, Fail, FSocket::Impossible},
    {Err::MessageSize, Fail, FSocket::Impossible},
    {Err::NotConnected, Fail, FSocket::Impossible},
    {Err::NotInitialised, Fail, FSocket::Impossible},
};

constexpr Rule waitRules[] = {
    {Err::Interrupted, Retry, FSocket::NoError},
};

// In the order of Operation.
constexpr Table tables[] = {
    {createRules},
    {blockingConnectRules, &connectFailures},
    {nonBlockingConnectRules, &connectFailures},
    connectFailures,
    {bindRules},
    {listenRules},
    {acceptRules},
    {readRules},
    {writeRules},
    // A failed wait sets no condition.
    {waitRules, nullptr, {Err::Other, FailQuietly, FSocket::NoError}},
};
static_assert(std::size(tables) == size_t(Operation::Wait) + 1);

} // namespace

const Rule &ruleFor(Operation operation, Err error)
{
    const Table *table = &tables[size_t(operation)];
    for (;;) {
        for (const Rule &rule : table->rules)
            if (rule.error == error)
                return rule;
        if (!table->next)
            return table->otherwise;
        table = table->next;
    }
}

} // namespace FSocketErrors

Outcome FSocket::failed(Operation operation, int platformError)
{
    const FSocketErrors::Rule &rule =
        FSocketErrors::ruleFor(operation, FSocketPlatform::classify(platformError));
    if (rule.outcome == Outcome::Fail)
        setError(rule.condition, platformError);
    return rule.outcome;
}

FSocket::FSocket()
{
    if (!ensureStartup()) {
        setError(Impossible, FSocketPlatform::lastError());
        return;
    }
    m_fd = FSocketPlatform::createTcpSocket();
    if (m_fd == -1) {
        failed(Operation::Create, FSocketPlatform::lastError());
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
    switch (failed(blocking ? Operation::BlockingConnect : Operation::NonBlockingConnect, e)) {
    case Outcome::Connected:
        refreshAddresses();
        return true;
    case Outcome::Succeed:
        return true;
    default:
        return false;
    }
}

bool FSocket::finishNonBlockingConnect()
{
    if (m_fd == -1)
        return false;
    const int e = FSocketPlatform::pendingError(m_fd);
    if (e != 0) {
        failed(Operation::PendingConnect, e);
        return false;
    }
    refreshAddresses();
    return m_peerPort != 0;
}

bool FSocket::bind(const FHostAddress &address, unsigned short port)
{
    if (m_fd == -1)
        return false;
    if (FSocketPlatform::bindIPv4(m_fd, address.ip4Addr(), port) == 0) {
        refreshAddresses();
        return true;
    }
    failed(Operation::Bind, FSocketPlatform::lastError());
    return false;
}

bool FSocket::listen(int backlog)
{
    if (m_fd == -1)
        return false;
    if (FSocketPlatform::listenOn(m_fd, backlog) == 0)
        return true;
    failed(Operation::Listen, FSocketPlatform::lastError());
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
        if (failed(Operation::Accept, FSocketPlatform::lastError()) != Outcome::Retry)
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
    switch (failed(Operation::Read, FSocketPlatform::lastError())) {
    case Outcome::NothingMoved:
        return 0;
    case Outcome::Closed:
        close();
        return 0;
    default:
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
        switch (failed(Operation::Write, FSocketPlatform::lastError())) {
        case Outcome::Retry:
            continue;
        case Outcome::NothingMoved:
            return 0;
        case Outcome::ShrinkAndRetry:
            limit /= 2;
            if (limit < 128)
                return -1;
            continue;
        case Outcome::Closed:
            close();
            return 0;
        default:
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
        if (failed(Operation::Wait, e) == Outcome::Retry)
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

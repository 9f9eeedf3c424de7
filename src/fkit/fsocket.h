#pragma once

#include "fhostaddress.h"
#include "tolvexexport.h"

#include <QString>

namespace FSocketErrors {
enum class Operation;
enum class Outcome;
} // namespace FSocketErrors

// An IPv4 TCP socket with a coarse error condition and blocking waits.
// Used on one thread; errorString() shares a buffer between calls.
class FSocket
{
public:
    // What callers distinguish of a failure; the values are fixed.
    enum ErrorCondition {
        NoError = 0,
        NetworkFailure = 1,
        Impossible = 2,
        BadCall = 3,
        HostNotFound = 4,
        ConnectionRefused = 5,
        AlreadyBound = 6,
        NoResources = 7,
        Inaccessible = 8,
        UnknownError = 9,
    };

    FSocket();
    // Takes over a socket that is already connected: the one operation, with
    // the destructor, that a program hands the agent a connection by.
    TOLVEX_EXPORT explicit FSocket(int descriptor);
    TOLVEX_EXPORT ~FSocket();
    FSocket(const FSocket &) = delete;
    FSocket &operator=(const FSocket &) = delete;

    bool connectToHost(const QString &host, unsigned short port);
    bool connectToHost(const FHostAddress &address, unsigned short port, bool blocking);
    // Completes a connect that returned at once on a non-blocking socket.
    bool finishNonBlockingConnect();

    bool bind(const FHostAddress &address, unsigned short port);
    bool listen(int backlog);
    int accept();

    int readBlock(char *data, int size);
    int writeBlock(const char *data, int size);
    int bytesAvailable() const;

    int waitForMore(int ms, bool *timedOut = nullptr);
    bool waitForDisconnected(int ms);

    void shutdown();
    void close();

    bool isOpen() const { return m_fd != -1; }
    bool isValid() const { return m_fd != -1; }
    bool isWriteable() const { return true; }
    bool isBlocking() const { return m_blocking; }
    void setBlocking(bool blocking);

    int descriptor() const { return m_fd; }
    ErrorCondition error() const { return m_error; }
    int platformError() const { return m_platformError; }
    const char *errorString() const;

    FHostAddress localAddress() const { return m_localAddress; }
    unsigned short localPort() const { return m_localPort; }
    FHostAddress peerAddress() const { return m_peerAddress; }
    unsigned short peerPort() const { return m_peerPort; }

    int sendBufferSize() const;
    bool setSendBufferSize(int size);
    int receiveBufferSize() const;
    bool setReceiveBufferSize(int size);
    bool setReceiveTimeout(int ms);
    bool setSendTimeout(int ms);
    bool setTcpNoDelay(bool on);
    bool setAddressReusable(bool on);

private:
    // Looks up what the operation makes of the platform error, sets the
    // condition if that is a failure with one, and says what to do.
    FSocketErrors::Outcome failed(FSocketErrors::Operation operation, int platformError);
    void setError(ErrorCondition condition, int platformError);
    void refreshAddresses();
    int writeLimit() const;

    int m_fd = -1;
    ErrorCondition m_error = NoError;
    int m_platformError = 0;
    unsigned short m_localPort = 0;
    FHostAddress m_localAddress;
    unsigned short m_peerPort = 0;
    FHostAddress m_peerAddress;
    bool m_blocking = true;
    // The send buffer size as last read or set; -1 until then. Each write
    // needs it, and asking the kernel every time costs a system call.
    mutable int m_sendBufferSize = -1;
};

#pragma once

// The thin operating-system layer under FSocket. Everything that differs
// between POSIX sockets and Winsock lives behind these functions, so that
// FSocket itself holds only the portable logic (error tables, retries, waits).
// fsocketplatform_posix.cpp and fsocketplatform_win.cpp implement it.

#include <cstddef>
#include <span>

namespace FSocketPlatform {

// Platform error numbers, sorted into the groups FSocket's tables care about.
enum class Err {
    None,
    Interrupted,
    WouldBlock,
    InProgress,
    Already,
    IsConnected,
    BadAddress,
    Invalid,
    NotSocket,
    NotConnected,
    Shutdown,
    NotInitialised,
    MessageSize,
    NetworkDown,
    NetworkReset,
    NetworkUnreachable,
    HostUnreachable,
    NotSupported,
    FamilyNotSupported,
    ConnectionAborted,
    ConnectionReset,
    TimedOut,
    ConnectionRefused,
    AddressNotAvailable,
    AddressInUse,
    NoBuffers,
    TooManyFiles,
    Access,
    Other,
};

// One platform error number and its group. Each platform file lists its
// numbers in a table; classify looks them up there.
struct ErrorCode
{
    int code;
    Err group;
};

inline Err groupIn(std::span<const ErrorCode> table, int platformError)
{
    for (const ErrorCode &e : table)
        if (e.code == platformError)
            return e.group;
    return Err::Other;
}

Err classify(int platformError);
int lastError();
// The platform's message for an error number.
const char *errorText(int platformError);

// Called before the first socket of the process is made (WSAStartup on Windows).
bool startup();

// All functions return -1 (or false) on failure, with lastError() set.
int createTcpSocket();
void setNotInheritable(int fd);
int closeSocket(int fd);
int shutdownSend(int fd);
bool setNonBlocking(int fd, bool nonBlocking);

int connectIPv4(int fd, unsigned address, unsigned short port);
int bindIPv4(int fd, unsigned address, unsigned short port);
int listenOn(int fd, int backlog);
int acceptOn(int fd);
bool localName(int fd, unsigned *address, unsigned short *port);
bool peerName(int fd, unsigned *address, unsigned short *port);
// Pending error of a socket (SO_ERROR); used after a non-blocking connect.
int pendingError(int fd);

long recvSome(int fd, char *data, size_t size);
long sendSome(int fd, const char *data, size_t size);
// Bytes ready to read (FIONREAD), or -1.
long bytesReadable(int fd);

// Waits until fd is readable. Returns 1 when ready, 0 on timeout, -1 on error.
// timeoutMs < 0 waits without limit.
int waitReadable(int fd, int timeoutMs);

bool getIntOption(int fd, int level, int option, int *value);
bool setIntOption(int fd, int level, int option, int value);
int solSocket();
int soSendBuffer();
int soReceiveBuffer();
int soReuseAddress();
int ipprotoTcp();
int tcpNoDelay();
bool setTimeoutOption(int fd, bool send, int ms);

bool resolveIPv4(const char *name, unsigned *address);

} // namespace FSocketPlatform

#include "fsocketplatform_p.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace FSocketPlatform {

namespace {

constexpr ErrorCode errorCodes[] = {
    {0, Err::None},
    {EINTR, Err::Interrupted},
    {EWOULDBLOCK, Err::WouldBlock},
    {EINPROGRESS, Err::InProgress},
    {EALREADY, Err::Already},
    {EISCONN, Err::IsConnected},
    {EFAULT, Err::BadAddress},
    {EINVAL, Err::Invalid},
    {ENOTSOCK, Err::NotSocket},
    {EBADF, Err::NotSocket},
    {ENOTCONN, Err::NotConnected},
    {EPIPE, Err::Shutdown},
    {ESHUTDOWN, Err::Shutdown},
    {EMSGSIZE, Err::MessageSize},
    {ENETDOWN, Err::NetworkDown},
    {ENETRESET, Err::NetworkReset},
    {ENETUNREACH, Err::NetworkUnreachable},
    {EHOSTUNREACH, Err::HostUnreachable},
    {EOPNOTSUPP, Err::NotSupported},
    {EAFNOSUPPORT, Err::FamilyNotSupported},
    {EPROTONOSUPPORT, Err::FamilyNotSupported},
    {ECONNABORTED, Err::ConnectionAborted},
    {ECONNRESET, Err::ConnectionReset},
    {ETIMEDOUT, Err::TimedOut},
    {ECONNREFUSED, Err::ConnectionRefused},
    {EADDRNOTAVAIL, Err::AddressNotAvailable},
    {EADDRINUSE, Err::AddressInUse},
    {ENOBUFS, Err::NoBuffers},
    {ENOMEM, Err::NoBuffers},
    {EMFILE, Err::TooManyFiles},
    {ENFILE, Err::TooManyFiles},
    {EACCES, Err::Access},
    {EPERM, Err::Access},
};

} // namespace

Err classify(int e)
{
    return groupIn(errorCodes, e);
}

int lastError()
{
    return errno;
}

const char *errorText(int e)
{
    return std::strerror(e);
}

bool startup()
{
    return true;
}

int createTcpSocket()
{
    return ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
}

void setNotInheritable(int fd)
{
    const int flags = ::fcntl(fd, F_GETFD);
    if (flags >= 0)
        ::fcntl(fd, F_SETFD, flags | FD_CLOEXEC);
}

int closeSocket(int fd)
{
    return ::close(fd);
}

int shutdownSend(int fd)
{
    return ::shutdown(fd, SHUT_WR);
}

bool setNonBlocking(int fd, bool nonBlocking)
{
    const int flags = ::fcntl(fd, F_GETFL);
    if (flags < 0)
        return false;
    const int wanted = nonBlocking ? (flags | O_NONBLOCK) : (flags & ~O_NONBLOCK);
    return wanted == flags || ::fcntl(fd, F_SETFL, wanted) == 0;
}

static sockaddr_in makeAddress(unsigned address, unsigned short port)
{
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(address);
    return a;
}

int connectIPv4(int fd, unsigned address, unsigned short port)
{
    const sockaddr_in a = makeAddress(address, port);
    return ::connect(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a);
}

int bindIPv4(int fd, unsigned address, unsigned short port)
{
    const sockaddr_in a = makeAddress(address, port);
    return ::bind(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a);
}

int listenOn(int fd, int backlog)
{
    return ::listen(fd, backlog);
}

int acceptOn(int fd)
{
    return ::accept4(fd, nullptr, nullptr, SOCK_CLOEXEC);
}

static bool nameOf(int fd, bool peer, unsigned *address, unsigned short *port)
{
    sockaddr_in a{};
    socklen_t len = sizeof a;
    const int r = peer ? ::getpeername(fd, reinterpret_cast<sockaddr *>(&a), &len)
                       : ::getsockname(fd, reinterpret_cast<sockaddr *>(&a), &len);
    if (r != 0 || a.sin_family != AF_INET)
        return false;
    *address = ntohl(a.sin_addr.s_addr);
    *port = ntohs(a.sin_port);
    return true;
}

bool localName(int fd, unsigned *address, unsigned short *port)
{
    return nameOf(fd, false, address, port);
}

bool peerName(int fd, unsigned *address, unsigned short *port)
{
    return nameOf(fd, true, address, port);
}

int pendingError(int fd)
{
    int value = 0;
    socklen_t len = sizeof value;
    if (::getsockopt(fd, SOL_SOCKET, SO_ERROR, &value, &len) != 0)
        return errno;
    return value;
}

long recvSome(int fd, char *data, size_t size)
{
    return ::recv(fd, data, size, 0);
}

long sendSome(int fd, const char *data, size_t size)
{
    // A vanished peer must give EPIPE, never kill the process with SIGPIPE.
    return ::send(fd, data, size, MSG_NOSIGNAL);
}

long bytesReadable(int fd)
{
    int count = 0;
    if (::ioctl(fd, FIONREAD, &count) != 0)
        return -1;
    return count;
}

int waitReadable(int fd, int timeoutMs)
{
    // poll rather than select: descriptors above FD_SETSIZE are legal here.
    pollfd p{fd, POLLIN, 0};
    const int r = ::poll(&p, 1, timeoutMs < 0 ? -1 : timeoutMs);
    if (r < 0)
        return -1;
    if (r == 0)
        return 0;
    if (p.revents & POLLNVAL) {
        errno = EBADF;
        return -1;
    }
    return 1;
}

bool getIntOption(int fd, int level, int option, int *value)
{
    socklen_t len = sizeof *value;
    return ::getsockopt(fd, level, option, value, &len) == 0;
}

bool setIntOption(int fd, int level, int option, int value)
{
    return ::setsockopt(fd, level, option, &value, sizeof value) == 0;
}

int solSocket()
{
    return SOL_SOCKET;
}
int soSendBuffer()
{
    return SO_SNDBUF;
}
int soReceiveBuffer()
{
    return SO_RCVBUF;
}
int soReuseAddress()
{
    return SO_REUSEADDR;
}
int ipprotoTcp()
{
    return IPPROTO_TCP;
}
int tcpNoDelay()
{
    return TCP_NODELAY;
}

bool setTimeoutOption(int fd, bool send, int ms)
{
    timeval tv{};
    tv.tv_sec = ms / 1000;
    tv.tv_usec = (ms % 1000) * 1000;
    return ::setsockopt(fd, SOL_SOCKET, send ? SO_SNDTIMEO : SO_RCVTIMEO, &tv, sizeof tv) == 0;
}

bool resolveIPv4(const char *name, unsigned *address)
{
    addrinfo hints{};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo *result = nullptr;
    if (::getaddrinfo(name, nullptr, &hints, &result) != 0 || !result)
        return false;
    bool found = false;
    for (addrinfo *ai = result; ai; ai = ai->ai_next) {
        if (ai->ai_family == AF_INET) {
            *address = ntohl(reinterpret_cast<sockaddr_in *>(ai->ai_addr)->sin_addr.s_addr);
            found = true;
            break;
        }
    }
    ::freeaddrinfo(result);
    return found;
}

} // namespace FSocketPlatform

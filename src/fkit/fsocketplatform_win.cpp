#include "fsocketplatform_p.h"

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>

#include <climits>
#include <cstring>

// Winsock hands out SOCKET values (UINT_PTR); FSocket keeps descriptors as int.
// Socket handles are kernel handles, which stay below 2^24, so the value fits.

namespace FSocketPlatform {

namespace {

SOCKET toSocket(int fd)
{
    return fd == -1 ? INVALID_SOCKET : SOCKET(unsigned(fd));
}

int fromSocket(SOCKET s)
{
    return s == INVALID_SOCKET ? -1 : int(s);
}

int result(int r)
{
    return r == SOCKET_ERROR ? -1 : r;
}

int clampedSize(size_t size)
{
    return size > size_t(INT_MAX) ? INT_MAX : int(size);
}

sockaddr_in makeAddress(unsigned address, unsigned short port)
{
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(address);
    return a;
}

bool nameOf(int fd, bool peer, unsigned *address, unsigned short *port)
{
    sockaddr_in a{};
    int len = sizeof a;
    const int r = peer ? ::getpeername(toSocket(fd), reinterpret_cast<sockaddr *>(&a), &len)
                       : ::getsockname(toSocket(fd), reinterpret_cast<sockaddr *>(&a), &len);
    if (r != 0 || a.sin_family != AF_INET)
        return false;
    *address = ntohl(a.sin_addr.s_addr);
    *port = ntohs(a.sin_port);
    return true;
}

constexpr ErrorCode errorCodes[] = {
    {0, Err::None},
    {WSAEINTR, Err::Interrupted},
    {WSAEWOULDBLOCK, Err::WouldBlock},
    {WSAEINPROGRESS, Err::InProgress},
    {WSAEALREADY, Err::Already},
    {WSAEISCONN, Err::IsConnected},
    {WSAEFAULT, Err::BadAddress},
    {WSAEDESTADDRREQ, Err::BadAddress},
    {WSAEINVAL, Err::Invalid},
    {WSAENOTSOCK, Err::NotSocket},
    {WSAEBADF, Err::NotSocket},
    {WSAENOTCONN, Err::NotConnected},
    {WSAESHUTDOWN, Err::Shutdown},
    {WSANOTINITIALISED, Err::NotInitialised},
    {WSAEMSGSIZE, Err::MessageSize},
    {WSAENETDOWN, Err::NetworkDown},
    {WSAENETRESET, Err::NetworkReset},
    {WSAENETUNREACH, Err::NetworkUnreachable},
    {WSAEHOSTUNREACH, Err::HostUnreachable},
    {WSAEOPNOTSUPP, Err::NotSupported},
    {WSAEAFNOSUPPORT, Err::FamilyNotSupported},
    {WSAEPFNOSUPPORT, Err::FamilyNotSupported},
    {WSAEPROTONOSUPPORT, Err::FamilyNotSupported},
    {WSAESOCKTNOSUPPORT, Err::FamilyNotSupported},
    {WSAEPROTOTYPE, Err::FamilyNotSupported},
    {WSAECONNABORTED, Err::ConnectionAborted},
    {WSAECONNRESET, Err::ConnectionReset},
    {WSAETIMEDOUT, Err::TimedOut},
    {WSAECONNREFUSED, Err::ConnectionRefused},
    {WSAEADDRNOTAVAIL, Err::AddressNotAvailable},
    {WSAEADDRINUSE, Err::AddressInUse},
    {WSAENOBUFS, Err::NoBuffers},
    {WSAEMFILE, Err::TooManyFiles},
    {WSAEACCES, Err::Access},
};

} // namespace

Err classify(int e)
{
    return groupIn(errorCodes, e);
}

int lastError()
{
    return WSAGetLastError();
}

const char *errorText(int e)
{
    // FSocket copies the text out at once, so one buffer per thread is enough.
    static thread_local char buffer[256];
    const DWORD n = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                   nullptr, DWORD(e), 0, buffer, sizeof buffer, nullptr);
    if (n == 0)
        return "Unknown Error";
    // The system's texts end in a line break.
    for (DWORD i = n; i > 0 && (buffer[i - 1] == '\r' || buffer[i - 1] == '\n'); --i)
        buffer[i - 1] = '\0';
    return buffer;
}

bool startup()
{
    WSADATA data;
    const int e = WSAStartup(0x0101, &data);
    if (e != 0) {
        // WSAStartup reports by its result; lastError() must see it too.
        WSASetLastError(e);
        return false;
    }
    return true;
}

int createTcpSocket()
{
    return fromSocket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
}

void setNotInheritable(int fd)
{
    SetHandleInformation(reinterpret_cast<HANDLE>(toSocket(fd)), HANDLE_FLAG_INHERIT, 0);
}

int closeSocket(int fd)
{
    return result(::closesocket(toSocket(fd)));
}

int shutdownSend(int fd)
{
    return result(::shutdown(toSocket(fd), SD_SEND));
}

bool setNonBlocking(int fd, bool nonBlocking)
{
    u_long mode = nonBlocking ? 1 : 0;
    return ::ioctlsocket(toSocket(fd), FIONBIO, &mode) == 0;
}

int connectIPv4(int fd, unsigned address, unsigned short port)
{
    const sockaddr_in a = makeAddress(address, port);
    return result(::connect(toSocket(fd), reinterpret_cast<const sockaddr *>(&a), sizeof a));
}

int bindIPv4(int fd, unsigned address, unsigned short port)
{
    const sockaddr_in a = makeAddress(address, port);
    return result(::bind(toSocket(fd), reinterpret_cast<const sockaddr *>(&a), sizeof a));
}

int listenOn(int fd, int backlog)
{
    return result(::listen(toSocket(fd), backlog));
}

int acceptOn(int fd)
{
    return fromSocket(::accept(toSocket(fd), nullptr, nullptr));
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
    int len = sizeof value;
    if (::getsockopt(toSocket(fd), SOL_SOCKET, SO_ERROR, reinterpret_cast<char *>(&value), &len) !=
        0)
        return WSAGetLastError();
    return value;
}

long recvSome(int fd, char *data, size_t size)
{
    return result(::recv(toSocket(fd), data, clampedSize(size), 0));
}

long sendSome(int fd, const char *data, size_t size)
{
    return result(::send(toSocket(fd), data, clampedSize(size), 0));
}

long bytesReadable(int fd)
{
    u_long count = 0;
    if (::ioctlsocket(toSocket(fd), FIONREAD, &count) != 0)
        return -1;
    return long(count > u_long(LONG_MAX) ? LONG_MAX : count);
}

int waitReadable(int fd, int timeoutMs)
{
    // Winsock's fd_set is a list of handles, not a bit mask, so any socket
    // value fits.
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(toSocket(fd), &readable);
    timeval tv{};
    tv.tv_sec = timeoutMs / 1000;
    tv.tv_usec = (timeoutMs % 1000) * 1000;
    const int r = ::select(0, &readable, nullptr, nullptr, timeoutMs < 0 ? nullptr : &tv);
    if (r == SOCKET_ERROR)
        return -1;
    return r > 0 ? 1 : 0;
}

bool getIntOption(int fd, int level, int option, int *value)
{
    int len = sizeof *value;
    return ::getsockopt(toSocket(fd), level, option, reinterpret_cast<char *>(value), &len) == 0;
}

bool setIntOption(int fd, int level, int option, int value)
{
    return ::setsockopt(toSocket(fd), level, option, reinterpret_cast<const char *>(&value),
                        sizeof value) == 0;
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
    // Winsock takes the time as a DWORD of milliseconds, not a timeval.
    const DWORD value = ms < 0 ? 0 : DWORD(ms);
    return ::setsockopt(toSocket(fd), SOL_SOCKET, send ? SO_SNDTIMEO : SO_RCVTIMEO,
                        reinterpret_cast<const char *>(&value), sizeof value) == 0;
}

bool resolveIPv4(const char *name, unsigned *address)
{
    // gethostbyname keeps its answer per thread under Winsock.
    const hostent *host = ::gethostbyname(name);
    if (!host || host->h_addrtype != AF_INET || host->h_length != 4 || !host->h_addr_list ||
        !host->h_addr_list[0])
        return false;
    in_addr a;
    std::memcpy(&a, host->h_addr_list[0], sizeof a);
    *address = ntohl(a.s_addr);
    return true;
}

} // namespace FSocketPlatform

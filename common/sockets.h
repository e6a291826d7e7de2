// The few socket calls the loopback servers make. Most are the same on BSD
// sockets and Winsock (sockets.cpp); creating, closing, waiting on, reading
// and writing a socket are the platform's (sockets_posix.cpp and
// sockets_windows.cpp, chosen by CMake).
#pragma once

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#endif

#include <cstddef>
#include <cstdint>

namespace selvora_common {

#ifdef _WIN32
using Socket = SOCKET;
#else
using Socket = int;
#endif
// What the calls below return for no socket (Winsock's INVALID_SOCKET).
inline constexpr Socket kNoSocket = static_cast<Socket>(-1);

// A TCP socket, not inherited by the processes the tests start, or kNoSocket.
Socket NewSocket();
void CloseSocket(Socket s);

sockaddr_in Loopback(std::uint16_t port);
// A TCP socket bound to a free port on 127.0.0.1, or kNoSocket.
Socket BoundSocket(std::uint16_t* port);
bool Listen(Socket listener, int backlog);
// The next connection waiting on the listener, or kNoSocket.
Socket Accept(Socket listener);
// A socket connected to 127.0.0.1:port, or kNoSocket.
Socket ConnectedSocket(std::uint16_t port);

// True when s has a byte to read, or its peer has closed, within ms.
bool Readable(Socket s, int ms);
// The bytes received: 0 once the peer has closed, -1 on an error.
long Receive(Socket s, char* buffer, std::size_t size);
// The bytes sent, 0 or -1 once the peer has gone; never raises SIGPIPE.
long Send(Socket s, const char* bytes, std::size_t size);

void NoDelay(Socket s);
// Closing s then resets the connection (RST) instead of ending it in order.
void ResetOnClose(Socket s);

}  // namespace selvora_common

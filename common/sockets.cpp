#include "common/sockets.h"

namespace selvora_common {

sockaddr_in Loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

Socket BoundSocket(std::uint16_t* port) {
    const Socket s = NewSocket();
    if (s == kNoSocket) return kNoSocket;
    sockaddr_in address = Loopback(0);
    socklen_t size = sizeof address;
    if (::bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(s, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        CloseSocket(s);
        return kNoSocket;
    }
    *port = ntohs(address.sin_port);
    return s;
}

bool Listen(Socket listener, int backlog) { return ::listen(listener, backlog) == 0; }

Socket ConnectedSocket(std::uint16_t port) {
    const Socket s = NewSocket();
    if (s == kNoSocket) return kNoSocket;
    sockaddr_in address = Loopback(port);
    if (::connect(s, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        CloseSocket(s);
        return kNoSocket;
    }
    return s;
}

// Winsock takes the option's value as char bytes, BSD sockets as any bytes.
void NoDelay(Socket s) {
    const int one = 1;
    ::setsockopt(s, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&one), sizeof one);
}

void ResetOnClose(Socket s) {
    const linger abort{1, 0};
    ::setsockopt(s, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&abort), sizeof abort);
}

}  // namespace selvora_common

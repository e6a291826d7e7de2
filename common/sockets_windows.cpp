#include <climits>

#include "common/sockets.h"

namespace selvora_common {

namespace {

// Winsock, started once for the whole program before its first socket.
bool WinsockStarted() {
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

int Clamp(std::size_t size) { return size > INT_MAX ? INT_MAX : static_cast<int>(size); }

}  // namespace

Socket NewSocket() {
    if (!WinsockStarted()) return kNoSocket;
    return WSASocketW(AF_INET, SOCK_STREAM, IPPROTO_TCP, nullptr, 0, WSA_FLAG_NO_HANDLE_INHERIT);
}

void CloseSocket(Socket s) {
    if (s != kNoSocket) ::closesocket(s);
}

Socket Accept(Socket listener) { return ::accept(listener, nullptr, nullptr); }

bool Readable(Socket s, int ms) {
    WSAPOLLFD p{s, POLLRDNORM, 0};
    return WSAPoll(&p, 1, ms) > 0;
}

long Receive(Socket s, char* buffer, std::size_t size) { return ::recv(s, buffer, Clamp(size), 0); }

long Send(Socket s, const char* bytes, std::size_t size) {
    return ::send(s, bytes, Clamp(size), 0);
}

}  // namespace selvora_common

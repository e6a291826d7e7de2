#include <poll.h>
#include <unistd.h>

#include <cerrno>

#include "common/sockets.h"

namespace selvora_common {

Socket NewSocket() {
    const Socket s = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    return s < 0 ? kNoSocket : s;
}

void CloseSocket(Socket s) {
    if (s != kNoSocket) ::close(s);
}

Socket Accept(Socket listener) {
    const Socket s = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    return s < 0 ? kNoSocket : s;
}

bool Readable(Socket s, int ms) {
    pollfd p{s, POLLIN, 0};
    return ::poll(&p, 1, ms) > 0;
}

long Receive(Socket s, char* buffer, std::size_t size) {
    ssize_t n;
    do n = ::recv(s, buffer, size, 0);
    while (n < 0 && errno == EINTR);
    return static_cast<long>(n);
}

long Send(Socket s, const char* bytes, std::size_t size) {
    ssize_t n;
    do n = ::send(s, bytes, size, MSG_NOSIGNAL);
    while (n < 0 && errno == EINTR);
    return static_cast<long>(n);
}

}  // namespace selvora_common

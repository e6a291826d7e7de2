#include "common/loopback_http.h"

#include <cctype>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <utility>

namespace selvora_common {

using namespace std::chrono_literals;

bool CanConnect(std::uint16_t port) {
    const Socket s = ConnectedSocket(port);
    CloseSocket(s);
    return s != kNoSocket;
}

void SendAll(Socket fd, const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const long n = Send(fd, bytes.data() + done, bytes.size() - done);
        if (n <= 0) return;  // the client has gone
        done += static_cast<std::size_t>(n);
    }
}

// Waits until the client closes its end, the server stops or 30 s pass.
void WaitForClientClose(Socket fd, const std::atomic<bool>& stop) {
    const auto end = std::chrono::steady_clock::now() + 30s;
    char buffer[4096];
    while (!stop && std::chrono::steady_clock::now() < end)
        if (Readable(fd, 50) && Receive(fd, buffer, sizeof buffer) <= 0) return;
}

std::size_t ContentLength(const std::string& head) {
    std::string lower(head);
    for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const std::size_t at = lower.find("\r\ncontent-length:");
    if (at == std::string::npos) return 0;
    return static_cast<std::size_t>(std::strtoull(lower.c_str() + at + 17, nullptr, 10));
}

std::string Head(int status, const std::string& headers) {
    static const std::map<int, const char*> kReasons = {{200, "OK"},
                                                        {204, "No Content"},
                                                        {301, "Moved Permanently"},
                                                        {302, "Found"},
                                                        {303, "See Other"},
                                                        {307, "Temporary Redirect"},
                                                        {308, "Permanent Redirect"},
                                                        {404, "Not Found"},
                                                        {500, "Internal Server Error"}};
    const auto reason = kReasons.find(status);
    return "HTTP/1.1 " + std::to_string(status) + " " +
           (reason == kReasons.end() ? "Status" : reason->second) + "\r\n" + headers +
           "Connection: close\r\n\r\n";
}

std::string Length(std::size_t n) { return "Content-Length: " + std::to_string(n) + "\r\n"; }

Responder Reply(int status, std::string body, std::string headers) {
    return [=](Socket fd, const std::atomic<bool>&) {
        SendAll(fd, Head(status, headers + (status == 204 ? "" : Length(body.size()))) + body);
    };
}

Responder Redirect(int status, const std::string& location) {
    return Reply(status, "moved", "Location: " + location + "\r\n");
}

// Exactly these bytes, then the connection closes.
Responder Raw(std::string bytes) {
    // Shared, so that copying the responder (once per request) copies no body.
    auto shared = std::make_shared<const std::string>(std::move(bytes));
    return [shared](Socket fd, const std::atomic<bool>&) { SendAll(fd, *shared); };
}

// The head at once, then each piece in a TCP segment of its own after a pause.
Responder Pieces(std::string head, std::vector<std::string> pieces) {
    return [=](Socket fd, const std::atomic<bool>&) {
        NoDelay(fd);
        SendAll(fd, head);
        for (const std::string& piece : pieces) {
            std::this_thread::sleep_for(30ms);
            SendAll(fd, piece);
        }
    };
}

// A 2xx body in chunked transfer encoding, one chunk per TCP segment.
Responder Chunked(const std::vector<std::string>& chunks) {
    std::vector<std::string> pieces;
    for (const std::string& chunk : chunks) {
        char size[32];
        std::snprintf(size, sizeof size, "%zx\r\n", chunk.size());
        pieces.push_back(size + chunk + "\r\n");
    }
    pieces.push_back("0\r\n\r\n");
    return Pieces(Head(200, "Transfer-Encoding: chunked\r\n"), pieces);
}

// A 200 head declaring `declared` body bytes, then only `part` of them; once
// the client has had time to take them, the connection is reset (RST).
Responder ResetAfter(std::size_t declared, std::string part) {
    return [=](Socket fd, const std::atomic<bool>&) {
        NoDelay(fd);
        SendAll(fd, Head(200, Length(declared)) + part);
        std::this_thread::sleep_for(200ms);
        ResetOnClose(fd);
    };
}

// As above, but the connection is closed in order (FIN) short of the body.
Responder CloseAfter(std::size_t declared, std::string part) {
    return [=](Socket fd, const std::atomic<bool>&) {
        SendAll(fd, Head(200, Length(declared)) + part);
    };
}

// As above, but then nothing more is sent until the client gives up.
Responder StallAfter(std::size_t declared, std::string part) {
    return [=](Socket fd, const std::atomic<bool>& stop) {
        NoDelay(fd);
        SendAll(fd, Head(200, Length(declared)) + part);
        WaitForClientClose(fd, stop);
    };
}

Server::Server() {
    listen_ = BoundSocket(&port_);
    if (listen_ != kNoSocket && Listen(listen_, 16)) thread_ = std::thread([this] { Run(); });
}

Server::~Server() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    CloseSocket(listen_);
}

std::string Server::Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
}

void Server::On(const std::string& path, Responder responder) {
    std::lock_guard<std::mutex> lock(mutex_);
    routes_[path] = std::move(responder);
}

void Server::OnRequest(std::function<void(const std::string& raw)> observer) {
    std::lock_guard<std::mutex> lock(mutex_);
    observer_ = std::move(observer);
}

std::vector<std::string> Server::Requests() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
}

void Server::Run() {
    while (!stop_) {
        if (!Readable(listen_, 50)) continue;
        const Socket fd = Accept(listen_);
        if (fd == kNoSocket) continue;
        ++connections_;
        Serve(fd);
        CloseSocket(fd);
    }
}

void Server::Serve(Socket fd) {
    std::string raw;
    std::string path;
    const bool complete = ReadRequest(fd, &raw, &path);
    Responder responder;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!raw.empty()) {
            requests_.push_back(raw);
            if (observer_) observer_(raw);
        }
        if (!complete) return;
        const auto route = routes_.find(path);
        if (route != routes_.end()) responder = route->second;
    }
    if (!responder) responder = Reply(404, "not here");
    responder(fd, stop_);
}

// The head up to its blank line, then Content-Length bytes of body. Gives up
// after 5 s without a byte.
bool Server::ReadRequest(Socket fd, std::string* raw, std::string* path) {
    std::size_t total = std::string::npos;
    char buffer[65536];
    auto last = std::chrono::steady_clock::now();
    while (total == std::string::npos || raw->size() < total) {
        if (stop_ || std::chrono::steady_clock::now() - last > 5s) return false;
        if (!Readable(fd, 50)) continue;
        const long n = Receive(fd, buffer, sizeof buffer);
        if (n <= 0) return false;
        last = std::chrono::steady_clock::now();
        raw->append(buffer, static_cast<std::size_t>(n));
        const std::size_t end = raw->find("\r\n\r\n");
        if (total == std::string::npos && end != std::string::npos)
            total = end + 4 + ContentLength(raw->substr(0, end + 2));
    }
    const std::size_t from = raw->find(' ');
    const std::size_t to = raw->find(' ', from + 1);
    if (from == std::string::npos || to == std::string::npos) return false;
    *path = raw->substr(from + 1, to - from - 1);
    return true;
}

}  // namespace selvora_common

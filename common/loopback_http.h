// The HTTP server on 127.0.0.1 that the network tests, the tool's tests and
// the benchmarks talk to: a route table of scripted responders, one
// connection at a time, every request's bytes recorded.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "common/sockets.h"

namespace selvora_common {

// ---- sockets

bool CanConnect(std::uint16_t port);
// Sends every byte unless the client has gone.
void SendAll(Socket fd, const std::string& bytes);
// Waits until the client closes its end, the server stops or 30 s pass.
void WaitForClientClose(Socket fd, const std::atomic<bool>& stop);
// The Content-Length a request head declares, 0 without one.
std::size_t ContentLength(const std::string& head);

// ---- responses

// Answers one request on fd; stop turns true when the server shuts down.
using Responder = std::function<void(Socket fd, const std::atomic<bool>& stop)>;

// A status line with its reason, the headers, "Connection: close" and the blank line.
std::string Head(int status, const std::string& headers);
std::string Length(std::size_t n);
Responder Reply(int status, std::string body, std::string headers = "");
Responder Redirect(int status, const std::string& location);
// Exactly these bytes, then the connection closes.
Responder Raw(std::string bytes);
// The head at once, then each piece in a TCP segment of its own after a pause.
Responder Pieces(std::string head, std::vector<std::string> pieces);
// A 2xx body in chunked transfer encoding, one chunk per TCP segment.
Responder Chunked(const std::vector<std::string>& chunks);
// A 200 head declaring `declared` body bytes, then only `part` of them; once
// the client has had time to take them, the connection is reset (RST).
Responder ResetAfter(std::size_t declared, std::string part);
// As above, but the connection is closed in order (FIN) short of the body.
Responder CloseAfter(std::size_t declared, std::string part);
// As above, but then nothing more is sent until the client gives up.
Responder StallAfter(std::size_t declared, std::string part);

// ---- the server

// Serves one connection at a time on 127.0.0.1; records each request's bytes
// before answering it from the route table (404 for unknown paths).
class Server {
  public:
    Server();
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    bool Running() const { return thread_.joinable(); }
    std::uint16_t Port() const { return port_; }
    std::string Url(const std::string& path) const;
    void On(const std::string& path, Responder responder);
    // Called with each request's bytes as it is recorded, before the answer.
    void OnRequest(std::function<void(const std::string& raw)> observer);
    std::vector<std::string> Requests() const;
    int Connections() const { return connections_; }

  private:
    void Run();
    void Serve(Socket fd);
    bool ReadRequest(Socket fd, std::string* raw, std::string* path);

    Socket listen_ = kNoSocket;
    std::uint16_t port_ = 0;
    std::atomic<bool> stop_{false};
    std::atomic<int> connections_{0};
    mutable std::mutex mutex_;
    std::map<std::string, Responder> routes_;
    std::function<void(const std::string&)> observer_;
    std::vector<std::string> requests_;
    std::thread thread_;
};

}  // namespace selvora_common

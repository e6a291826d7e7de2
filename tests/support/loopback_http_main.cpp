// selvora_loopback_http: the tests' HTTP server as a program, for the tests
// written in Python.
//
//   selvora_loopback_http [--log DIR] [PATH=RESPONSE_FILE]...
//
// Prints its port on a line of its own, then serves until its standard input
// closes. PATH answers with the bytes of RESPONSE_FILE as they stand (status
// line, headers and body); any other path gets a 404. With --log, each
// request's bytes go to DIR/request-N (N = 1, 2, ...) before the answer.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

#include "common/loopback_http.h"
#include "common/whole_file.h"

namespace {

// Written under another name first, so a reader never sees half a request.
void WriteRequest(const std::string& dir, int number, const std::string& raw) {
    const std::string path = dir + "/request-" + std::to_string(number);
    {
        std::ofstream out(path + ".part", std::ios::binary);
        out.write(raw.data(), static_cast<std::streamsize>(raw.size()));
    }
    std::rename((path + ".part").c_str(), path.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    selvora_common::Server server;
    if (!server.Running()) {
        std::cerr << "selvora_loopback_http: cannot listen on 127.0.0.1\n";
        return 1;
    }
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--log" && i + 1 < argc) {
            const std::string dir = argv[++i];
            int count = 0;
            server.OnRequest(
                [dir, count](const std::string& raw) mutable { WriteRequest(dir, ++count, raw); });
            continue;
        }
        const std::size_t equals = arg.find('=');
        std::optional<std::string> response;
        if (equals != std::string::npos)
            response = selvora_common::ReadWholeFile(arg.substr(equals + 1));
        if (!response) {
            std::cerr << "selvora_loopback_http: expected PATH=RESPONSE_FILE, got " << arg << "\n";
            return 2;
        }
        server.On(arg.substr(0, equals), selvora_common::Raw(*response));
    }
    std::cout << server.Port() << std::endl;
    std::string line;
    while (std::getline(std::cin, line)) {
    }
    return 0;
}

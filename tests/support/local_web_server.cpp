#include "tests/support/local_web_server.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>

namespace kvillo::testing {

LocalWebServer::LocalWebServer(bool tls) : tls_(tls) {
    writeRoutes();
    std::string cert = "-";
    std::string key = "-";
    if (tls_) {
        cert = folder_.file("cert.pem");
        key = folder_.file("key.pem");
        auto made = runProcess({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                                "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", key, "-out",
                                cert, "-days", "2", "-subj", "/CN=localhost", "-addext",
                                "subjectAltName=IP:127.0.0.1,DNS:localhost"});
        if (made.status != 0) {
            error_ = "openssl could not make a certificate: " + made.error;
            return;
        }
    }
    server_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/python3", KVILLO_TEST_SUPPORT_DIR "/release_server.py",
                                 folder_.path(), cert, key});
    bool listening =
        eventually([&] { return server_->standardOutput().find('\n') != std::string::npos; },
                   std::chrono::seconds(10));
    if (!listening) {
        error_ = "the web server did not start: " + server_->standardError();
        return;
    }
    std::string output = server_->standardOutput();
    port_ = output.substr(0, output.find('\n'));
}

LocalWebServer::~LocalWebServer() = default;

std::string LocalWebServer::url(const std::string& path) const {
    return std::string(tls_ ? "https" : "http") + "://127.0.0.1:" + port_ + path;
}

std::string LocalWebServer::caFile() const {
    return tls_ ? folder_.file("cert.pem") : std::string();
}

void LocalWebServer::route(const std::string& path, Route route) {
    routes_[path] = std::move(route);
    writeRoutes();
}

void LocalWebServer::writeRoutes() const {
    nlohmann::json table = nlohmann::json::object();
    for (const auto& [path, route] : routes_) {
        table[path] = {{"status", route.status},
                       {"body", route.body},
                       {"length", route.sendLength},
                       {"headers", route.headers},
                       {"stall", route.stallSeconds}};
    }
    // Renamed into place: the server never reads half a table.
    writeFile(folder_.file("routes.json.new"), table.dump());
    std::rename(folder_.file("routes.json.new").c_str(), folder_.file("routes.json").c_str());
}

std::vector<std::string> LocalWebServer::requests() const {
    std::istringstream log(readFile(folder_.file("requests.log")));
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) {
        lines.push_back(line);
    }
    return lines;
}

ClosedPort::ClosedPort() {
    socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    // Bound but never listening: the kernel refuses connections to it.
    if (::bind(socket_, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
        ::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
        port_ = ntohs(address.sin_port);
    }
}

ClosedPort::~ClosedPort() {
    if (socket_ >= 0) {
        ::close(socket_);
    }
}

}  // namespace kvillo::testing

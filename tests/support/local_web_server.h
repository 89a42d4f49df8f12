#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace kvillo::testing {

// A web server on 127.0.0.1 for the test's lifetime (Python's http.server,
// run by /usr/bin/python3), over TLS with a certificate made for it, or
// plain HTTP. What it answers is set path by path, also while it runs.
class LocalWebServer {
public:
    struct Route {
        int status = 200;
        std::string body{};
        bool sendLength = true;  // else the body ends when the connection does
        std::map<std::string, std::string> headers{};
        int stallSeconds = 0;  // a wait between the headers and the body
    };

    explicit LocalWebServer(bool tls = true);
    ~LocalWebServer();

    // Empty when the server runs; else what failed.
    const std::string& error() const { return error_; }
    // "https://127.0.0.1:PORT" + path.
    std::string url(const std::string& path = "") const;
    // The certificate to trust (its own CA); empty for plain HTTP.
    std::string caFile() const;

    // Answers GET `path` with `route` from now on; other paths get 404.
    void route(const std::string& path, Route route);
    // Every request so far: "GET /path USER-AGENT".
    std::vector<std::string> requests() const;

private:
    void writeRoutes() const;

    TempFolder folder_;
    bool tls_;
    std::map<std::string, Route> routes_;
    std::unique_ptr<ChildProcess> server_;
    std::string port_;
    std::string error_;
};

// A loopback port with nothing listening: connecting is refused at once.
// Held for the object's lifetime so no one else takes it.
class ClosedPort {
public:
    ClosedPort();
    ~ClosedPort();
    ClosedPort(const ClosedPort&) = delete;
    ClosedPort& operator=(const ClosedPort&) = delete;
    int port() const { return port_; }

private:
    int socket_ = -1;
    int port_ = 0;
};

}  // namespace kvillo::testing

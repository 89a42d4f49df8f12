"""A web server for tests, on 127.0.0.1 at a free port, answering from a
table the test rewrites while it runs.

    release_server.py FOLDER CERT KEY    (CERT "-": plain HTTP)

FOLDER/routes.json maps each path to {"status", "body", "length" (send
Content-Length, default true), "headers", "stall" (seconds to wait after
the headers)}; it is read afresh for every request, and a path not in it
gets 404. Each request is appended to FOLDER/requests.log as
"METHOD PATH USER-AGENT". The port is printed once the server listens.
"""
import http.server
import json
import os
import ssl
import sys
import time

folder, cert, key = sys.argv[1:4]


class Handler(http.server.BaseHTTPRequestHandler):
    # HTTP/1.0: the connection closes after each answer, so a body may go
    # without a length.
    protocol_version = "HTTP/1.0"

    def do_GET(self):
        with open(os.path.join(folder, "requests.log"), "a") as log:
            log.write(f"GET {self.path} {self.headers.get('User-Agent', '')}\n")
        with open(os.path.join(folder, "routes.json")) as routes:
            route = json.load(routes).get(self.path, {"status": 404, "body": "not found"})
        body = route.get("body", "").encode()
        self.send_response(route.get("status", 200))
        for name, value in route.get("headers", {}).items():
            self.send_header(name, value)
        if route.get("length", True):
            self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.flush()
        time.sleep(route.get("stall", 0))
        self.wfile.write(body)

    def log_message(self, *arguments):
        pass


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, request, address):
        pass  # a client that gave up (the stall test) is no news


server = Server(("127.0.0.1", 0), Handler)
if cert != "-":
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(cert, key)
    server.socket = context.wrap_socket(server.socket, server_side=True)
print(server.server_address[1], flush=True)
server.serve_forever()

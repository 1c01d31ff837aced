# SPDX-License-Identifier: MIT
"""Moves bodies of many sizes over HTTP, both ways, and compares each with what was sent.

Usage: http_bodies.py serve MEGABYTES, at the camera end of a lab; http_bodies.py move MEGABYTES, at its host end
"""
import functools
import hashlib
import http.client
import http.server
import os
import random
import sys
import time

PORT = 8080
LARGEST = int(float(sys.argv[2]) * 1e6)
SIZES = [1, 2, 59, 1447, 1448, 1449, 1461, 65535, 65536, 1000003]


@functools.cache
def body(size):
    return random.Random(size).randbytes(size)


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def answer(self, content):
        self.send_response(200)
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content)

    def do_GET(self):
        self.answer(body(int(self.path[1:])))

    def do_PUT(self):
        received = self.rfile.read(int(self.headers["Content-Length"]))
        self.answer(hashlib.sha1(received).digest())

    def log_message(self, *_):
        pass


def exchange(connection, method, size, sent=None):
    """What came back, and how many bytes a second moved."""
    begin = time.monotonic()
    connection.request(method, f"/{size}", body=sent)
    answer = connection.getresponse().read()
    return answer, size / (time.monotonic() - begin)


def connect():
    address = os.environ["ORVO_LAB_CAMERA_ADDRESS"]
    for _ in range(200):
        connection = http.client.HTTPConnection(address, PORT, timeout=60)
        try:
            connection.connect()
            return connection
        except OSError:
            time.sleep(0.05)
    sys.exit("the camera end does not answer")


def move(largest):
    connection = connect()
    for size in [*SIZES, largest]:
        content = body(size)
        received, down = exchange(connection, "GET", size)
        digest, up = exchange(connection, "PUT", size, content)
        if received != content or digest != hashlib.sha1(content).digest():
            sys.exit(f"a body of {size} bytes did not arrive as it was sent")
    print(f"identical; {size} bytes: from the camera {down / 1e6:.1f} MB/s, to the camera {up / 1e6:.1f} MB/s")


if sys.argv[1] == "serve":
    body(LARGEST)  # so that its making is not measured
    http.server.ThreadingHTTPServer(("", PORT), Handler).serve_forever()
else:
    move(LARGEST)

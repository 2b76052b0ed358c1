#!/usr/bin/python3
"""Writes the seeds of the target of connections: what a client sends from its first byte to its last."""


def request(line="GET /api/x-mxs/v1.0/MXS/ HTTP/1.1", *headers, host="localhost", body=""):
    lines = [line] + (["Host: " + host] if host is not None else []) + list(headers)
    return ("\r\n".join(lines) + "\r\n\r\n" + body).encode("latin-1")


def seed(name, *parts):
    with open("sessions/" + name, "wb") as file:
        file.write(b"".join(part if isinstance(part, bytes) else part.encode("latin-1") for part in parts))


def put(body, *headers):
    return request("PUT /api/x-mxs/v1.0/MXS/ HTTP/1.1", *headers, body=body)


GET = request()
CHUNKED = "Transfer-Encoding: chunked"

seed("one_after_another", GET, request("POST / HTTP/1.1", "Authorization: 0123", "Content-Length: 2", body="{}"), GET)
seed("closed", request("GET / HTTP/1.1", "Connection: close"), GET)
seed("old", request("GET / HTTP/1.0"), request("GET / HTTP/1.0", "Connection: keep-alive"))
seed("head", request("HEAD / HTTP/1.1"), GET)
seed("hosts", *[request(host=host) for host in ("127.0.0.1:7420", "[::1]:7420", "LOCALHOST", "example.com",
                                                "localhost:x", "127.0.0.2", "[::1", "")])
seed("no_host", request(host=None), request("GET / HTTP/1.1", "Host: localhost"), GET)
seed("absolute", request("GET http://localhost:7420/api HTTP/1.1"), request("GET http://example.com/ HTTP/1.1"),
     request("GET http:// HTTP/1.1"), request("GET * HTTP/1.1"))
seed("web_page", request("GET / HTTP/1.1", "Origin: http://localhost"), request("GET / HTTP/1.1", "Origin:"),
     request("OPTIONS / HTTP/1.1", "Origin: null", "Access-Control-Request-Method: PUT", host="example.com"), GET)
seed("expects", put("{}", "Expect: 100-continue", "Content-Length: 2"),
     put("", "Expect: 100-Continue", "Content-Length: 2"))
seed("expects_chunks", put("2\r\n{}\r\n0\r\n\r\n", "Expect: 100-continue", CHUNKED), put("", "Expect: 100-continue"),
     put("{}", "Expect: 200-ok", "Content-Length: 2"), GET)
seed("chunks", put("2;x=y\r\n{}\r\n0\r\nX: y\r\n\r\n", CHUNKED), put("0\r\n\r\n", CHUNKED), put("2\r\n{}x", CHUNKED))
seed("chunks_that_lie", put("fffffffffffffffff\r\n", CHUNKED))
seed("body_too_long", put("x" * 20, "Content-Length: 257"))
seed("body_longest", put("x" * 256, "Content-Length: 256"), GET)
seed("chunks_too_long", put("80\r\n" + "x" * 128 + "\r\n81\r\n" + "x" * 129 + "\r\n0\r\n\r\n", CHUNKED))
seed("body_cut", put("{", "Content-Length: 2"))
seed("two_lengths", put("{}", "Content-Length: 2", "Content-Length: 3"))
seed("length_and_chunks", put("0\r\n\r\n", "Content-Length: 5", CHUNKED), GET)
seed("length_of_nonsense", put("{}", "Content-Length: -1"))
seed("header_too_long", request("GET / HTTP/1.1", "X: " + "x" * 600))
seed("line_too_long", request("GET /" + "x" * 600 + " HTTP/1.1"))
seed("header_cut", "GET / HTTP/1.1\r\nHost: local")
seed("header_folded", request("GET / HTTP/1.1", "X: a\r\n b"), GET)
seed("garbage", bytes(range(256)))
seed("lines", "\r\n\r\n", GET, "GET /\r\n\r\n")
seed("newlines_alone", "GET / HTTP/1.1\nHost: localhost\n\n")
seed("other_version", request("GET / HTTP/2.0"))
seed("upgrade", request("GET / HTTP/1.1", "Upgrade: websocket", "Connection: Upgrade"), GET)
seed("method", request("X-Y / HTTP/1.1"), request("CONNECT localhost:1 HTTP/1.1"), request("TRACE / HTTP/1.1"))
seed("nothing", "\r")

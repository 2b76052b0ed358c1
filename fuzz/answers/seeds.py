#!/usr/bin/python3
"""Writes the seeds of this folder: answers that end with the byte 30 each."""
import json

URL = "http://127.0.0.1:7420/api/x-mxs/"
JSON = {"Content-Type": "application/json"}
# What is asked, by its letter.
(AUTHENTICATE, CONDUCTOR, STREAM, TICK, END, CONTEXT, CONTEXTS, CORES, STATE, START, DROPS, DROP, PTP,
 SERVICE) = "ABCDEFGHIJKLMN"


def answer(asked, status, body="", headers=JSON, end=""):
    if not isinstance(body, (str, bytes)):
        body = json.dumps(body, separators=(",", ":"))
    if isinstance(body, str):
        body = body.encode()
    head = "%s%s%s\n" % (asked, status, end) + "".join("%s: %s\n" % header for header in headers.items())
    return head.encode() + b"\n" + body + b"\x1e"


def at(location, **more):
    return {"Location": location, **more, **JSON}


def seed(name, *answers):
    with open("corpus/" + name, "wb") as file:
        file.write(b"".join(answers))


def error(code, text="A reason."):
    return {"ErrMsg": text, "ErrCode": code}


def created(asked, location):
    return answer(asked, 201, "{}", at(location))


OWN = "v1.0/MXS/ContextManager/Context/1100000000000001"
SESSION = answer(AUTHENTICATE, 201, "{}", at(OWN, Authorization="0123abcd"))

seed("session", SESSION, answer(TICK, 200, "{}"), answer(CONTEXT, 200, {"LastAccess": 5}), created(CONDUCTOR,
     "v1.0/MXS/Conductor/Mines/1200000000000001"), created(STREAM, "v1.0/MXS/Stream/Mines/1300000000000001"),
     answer(STATE, 200, {"Started": True, "Opened": True}), answer(START, 200, "{}"), answer(END, 200, "{}"))
seed("session_taken_over", answer(AUTHENTICATE, 200, "{}", {"Authorization": "ab", **JSON}), answer(CONTEXT, 200, {}),
     answer(AUTHENTICATE, 200, "{}"), answer(TICK, 200, "{}"))
seed("session_without_names", answer(AUTHENTICATE, 201, "{}"), answer(END, 200), answer(AUTHENTICATE, 201, "{}",
     at("v1.0/MXS/ContextManager/Context/")), answer(CONTEXT, 404, error(5004)))
seed("context_that_is_no_path", *[part for name in ("..", "a b", "%2F%zz", "?x=1", "#", "\u00e4", ":", "//") for part in
     (answer(AUTHENTICATE, 201, "{}", at("v1.0/MXS/ContextManager/Context/" + name)), answer(END, 200, "{}"))])
seed("created", *[created(CONDUCTOR, location) for location in (
    "v1.0/MXS/Conductor/Mines/1200000000000001/", "v1.0/MXS/Conductor/Mines/", "v1.0/MXS/Conductor/Mines",
    "////\"12\"", "////\"", "////-1", "////0x12", "////ffffffffffffffff", "////10000000000000000", "//// 7", "", "/",
    "a/b/c/d/1/2/3", URL + "v1.0/MXS/Conductor/Mines/1200000000000001")])
seed("created_without_name", answer(STREAM, 201, "{}"), answer(STREAM, 201, error(5010)), answer(CONDUCTOR, 200, "{}"),
     answer(CONDUCTOR, 200, "{}", at("v1.0/MXS/Conductor/Mines/1200000000000001")), answer(CONDUCTOR, 404, error(5004)))
seed("redirected", answer(TICK, 303, "", at(URL + "v1.0/MXS/Error/0001")), answer(TICK, 200, error(5010)),
     answer(STATE, 303, "", at(URL + "v1.0/MXS/Error/0002")), answer(TICK, 200, error(5000)),
     answer(DROPS, 303, "", at(URL + "v1.0/MXS/Error/0003")), answer(TICK, 404, error(5004)))
seed("redirected_elsewhere", *[part for place in ("http://192.0.2.1:80/api/x-mxs/v1.0/MXS/Error/1", "x" * len(URL),
     URL, URL + "http://192.0.2.1/", URL + "//192.0.2.1/", URL + "%", URL + "a b", URL + "?#", URL + ":")
     for part in (answer(TICK, 303, "", at(place)), answer(TICK, 200, error(5005)))])
seed("redirected_too_short", answer(TICK, 303, "", at("v1.0/MXS/Error/0001")), answer(STATE, 303, "", at("/")),
     answer(CONDUCTOR, 303, "", at(URL[:-1])), answer(STREAM, 303, "", at("")), answer(TICK, 303))
seed("redirected_without_end", *[answer(TICK, 303, "", at(URL + "v1.0/MXS/Error/1"))] * 3)
seed("lists", answer(CONTEXTS, 200, {"Items": ["1100000000000001"]}), answer(CONTEXTS, 200, {}), answer(CORES, 200, {}),
     answer(CORES, 200, "["), answer(CORES, 200, {"IDs": ["0000000000000001"]}), answer(CORES, 200, '"x"', {}))
seed("bodies", answer(SERVICE, 200, "{}", {"Content-Type": "text/plain"}), answer(SERVICE, 200, "{}", {}),
     answer(SERVICE, 200, "", JSON), answer(SERVICE, 200, "null"), answer(PTP, 200, "{", JSON),
     answer(PTP, 200, "{}", JSON, end="!"), answer(TICK, 404, error(5004), JSON, end="!"), answer(TICK, 404, "{}"),
     answer(TICK, 404, error(0)), answer(TICK, 404, {"ErrCode": "5004", "ErrMsg": 1}))
seed("charsets", *[answer(SERVICE, 200, body, {"Content-Type": "application/json; charset=" + name}) for name, body in (
    ("utf-8", "{}"), ("UTF-8", b"\xef\xbb\xbf{}"), ("utf-16", "{}".encode("utf-16")), ("utf-16le", b"{\0}\0x"),
    ("utf-16be", b"\0{\0}"), ("utf-16", b"\xd8\x00"), ("latin1", b"{\"\xe4\":1}"), ("ascii", b"\xff"), ("x", "{}"),
    ("\"utf-8\"", "{}"), ("", "{}"))])
seed("statuses", *[answer(DROP, status, "{}") for status in (0, 100, 200, 201, 204, 301, 302, 304, 500, 65535, "x")],
     answer(DROPS, 200, "{}"), answer(DROPS, 404, error(5003)))

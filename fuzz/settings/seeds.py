#!/usr/bin/python3
"""Writes the seeds of this folder: files of log settings."""

ALL = "Emergency Alert Critical Error Warning Notice Info Debug"


def seed(name, text):
    with open("corpus/" + name, "wb") as file:
        file.write(text if isinstance(text, bytes) else text.encode())


seed("all", "DebugFilter = %s\nEventOutput = StdOutputLog DebugApiLog\nDebugOutput = StdOutputLog\n" % ALL)
seed("debugger", "DebugFilter = %s\nDebugOutput = StdOutputLog DebugApiLog\n" % ALL)
seed("refused", "DebugFilter = %s\nEventOutput = StdOutputLog SysLog DebugApiLog\nDebugOutput = DebugApiLog\n" % ALL)
seed("no_filter", "DebugOutput = StdOutputLog")
seed("too_short", "DebugFilter = Error\nDebugOutput = StdOutputLog\n")
seed("twice", "DebugFilter = Error\nDebugFilter =\t%s \r\nDebugOutput=DebugApiLog\r\n" % ALL)
seed("comments", "# DebugFilter = Error\n  # = \nnonsense\n= value\n\nDebugFilter = a = b # c\n")
seed("long", "DebugFilter = Info%s\nDebugOutput = StdOutputLog%s\n" % ("," * 1018, " DebugApiLog" * 84))
seed("too_long", "DebugFilter = %s\nDebugOutput = %s" % ("x" * 1024, "StdOutputLog " * 100))
seed("bytes", b"DebugFilter = \0Error\xff\x80\0\nDebugOutput = StdOutputLog\0DebugApiLog\n\0=\0\n")
seed("empty", "")

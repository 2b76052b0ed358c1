#!/usr/bin/env python3
"""confine.py UNIT PROGRAM [ARGUMENT...]: runs a program under what a systemd unit permits of system calls
(SystemCallFilter), sockets (RestrictAddressFamilies) and memory (MemoryDenyWriteExecute), by the filters of the kernel
that systemd would load. Where systemd lets a call fail, it ends the process (SIGSYS): nothing is refused unseen."""

import ctypes
import os
import socket
import subprocess
import sys

ALLOW, KILL_PROCESS = 0x7FFF0000, 0x80000000
EQUAL, GREATER, MASKED_EQUAL = 4, 6, 7
PROT_WRITE, PROT_EXEC, SHM_EXEC = 2, 4, 0x8000

library = ctypes.CDLL("libseccomp.so.2")
library.seccomp_init.restype = ctypes.c_void_p
library.seccomp_init.argtypes = [ctypes.c_uint32]
library.seccomp_load.argtypes = [ctypes.c_void_p]


class Comparison(ctypes.Structure):
    _fields_ = [("argument", ctypes.c_uint), ("how", ctypes.c_int), ("a", ctypes.c_uint64), ("b", ctypes.c_uint64)]


library.seccomp_rule_add_array.argtypes = [
    ctypes.c_void_p, ctypes.c_uint32, ctypes.c_int, ctypes.c_uint, ctypes.POINTER(Comparison)]


def add(rules, action, call, *comparison):
    number = library.seccomp_syscall_resolve_name(call.encode())
    if number < 0:  # not on this processor
        return
    what = Comparison(*comparison) if comparison else None
    result = library.seccomp_rule_add_array(rules, action, number, 1 if what else 0, what)
    if result != 0:
        sys.exit(f"confine: no rule for {call}: {os.strerror(-result)}")


def load(rules):
    result = library.seccomp_load(rules)
    if result != 0:
        sys.exit(f"confine: the filter cannot be loaded: {os.strerror(-result)}")


def settings_of(unit):
    settings = {}
    for line in open(unit):
        key, equals, value = line.strip().partition("=")
        if equals and not key.startswith("#"):
            settings.setdefault(key, []).append(value)
    return settings


def groups_of_calls():
    groups = {}
    text = subprocess.check_output(
        ["systemd-analyze", "--no-pager", "syscall-filter"], text=True, stderr=subprocess.DEVNULL)
    for line in text.splitlines():
        if line.startswith("@"):
            entries = groups.setdefault(line.strip(), [])
        elif line.startswith(" ") and not line.lstrip().startswith("#"):
            entries.append(line.strip())
    return groups


def calls_of(words, groups):
    calls = set()
    for word in words:
        calls |= calls_of(groups[word], groups) if word.startswith("@") else {word}
    return calls


def permitted_calls(lines, groups):
    permitted = calls_of(["@default"], groups)  # of every list of permitted calls
    for line in lines:
        if line.startswith("~"):
            permitted -= calls_of(line[1:].split(), groups)
        else:
            permitted |= calls_of(line.split(), groups)
    return permitted


def confine(unit):
    settings = settings_of(unit)
    calls = permitted_calls(settings["SystemCallFilter"], groups_of_calls())
    families = {getattr(socket, name) for line in settings["RestrictAddressFamilies"] for name in line.split()}

    refused = library.seccomp_init(ALLOW)
    for family in set(range(max(families))) - families:
        add(refused, KILL_PROCESS, "socket", 0, EQUAL, family, 0)
    add(refused, KILL_PROCESS, "socket", 0, GREATER, max(families), 0)
    if settings["MemoryDenyWriteExecute"] == ["yes"]:
        both = PROT_WRITE | PROT_EXEC
        add(refused, KILL_PROCESS, "mmap", 2, MASKED_EQUAL, both, both)
        for call in ("mprotect", "pkey_mprotect"):
            add(refused, KILL_PROCESS, call, 2, MASKED_EQUAL, PROT_EXEC, PROT_EXEC)
        add(refused, KILL_PROCESS, "shmat", 2, MASKED_EQUAL, SHM_EXEC, SHM_EXEC)

    permitted = library.seccomp_init(KILL_PROCESS)
    for call in calls:
        add(permitted, ALLOW, call)
    load(refused)
    load(permitted)  # last, for it may refuse the loading of another


confine(sys.argv[1])
os.execv(sys.argv[2], sys.argv[2:])

"""UDP ports that a test gives to programs which open them later."""
import itertools
import os
import socket

FIRST, EACH, PROCESSES = 10240, 64, 352  # up to 32767

_next = itertools.count(os.getpid() % PROCESSES * EACH, 2)


def free_port():
    """One that nobody has on this machine, and that hardly anybody else is given before it is opened: it lies below
    those that the system hands out by itself, processes whose ids are near to each other take theirs from other parts
    of the range (FreePort.h has the same), and this one gives none twice until the range is at its end. An even one:
    receivers of RTP may open the next, too."""
    for number in itertools.islice(_next, EACH * PROCESSES // 2):
        port = FIRST + number % (EACH * PROCESSES)
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
            try:
                probe.bind(("", port))
                return port
            except OSError:
                pass
    raise OSError("no free UDP port")

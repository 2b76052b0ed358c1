"""RTP packets with ancillary data, decoded bit by bit: shared by the tests that are written in Python and by nothing
that they test."""
import re
import struct
import subprocess
import sys
import time


def captured_datagrams(path):
    """UDP over IPv4 over Ethernet of a pcap file: (seconds, destination, payload); those of the first destination."""
    data = path.read_bytes()
    magic = struct.unpack("<I", data[:4])[0]
    fraction = {0xA1B2C3D4: 1e6, 0xA1B23C4D: 1e9}[magic]
    at, first, datagrams = 24, None, []
    while at + 16 <= len(data):
        seconds, part, kept, _ = struct.unpack("<IIII", data[at:at + 16])
        frame, at = data[at + 16:at + 16 + kept], at + 16 + kept
        if frame[12:14] != b"\x08\x00" or frame[23] != 17:
            continue
        udp = 14 + 4 * (frame[14] & 15)
        destination = frame[30:34] + frame[udp + 2:udp + 4]
        first = first or destination
        if destination == first:
            length = struct.unpack(">H", frame[udp + 4:udp + 6])[0]
            datagrams.append((seconds + part / fraction, frame[udp + 8:udp + length]))
    return datagrams


class Malformed(Exception):
    pass


def bits(data, at, count):
    if at + count > 8 * len(data):
        raise Malformed("behind the end")
    return int.from_bytes(data, "big") >> (8 * len(data) - at - count) & (1 << count) - 1


def decode(datagram):
    """Header fields and ancillary packets of one RTP packet."""
    end = len(datagram) - (datagram[-1] if datagram[0] & 0x20 else 0)
    payload = datagram[12 + 4 * (datagram[0] & 15):end]
    sequence, timestamp = struct.unpack(">HI", datagram[2:8])
    packet = {"type": datagram[1] & 127, "marker": datagram[1] >> 7, "sequence": sequence, "timestamp": timestamp}
    if len(payload) < 8:
        raise Malformed("no header")
    packet["extended"], length, count, flags, reserved = struct.unpack(">HHBBH", payload[:8])
    packet["field"] = flags >> 6
    packet["reserved"] = (flags & 63) << 16 | reserved
    if length > len(payload) - 8:
        raise Malformed("shorter than it says")
    packet["trailing"] = len(payload) - 8 - length
    data, at, packet["data"] = payload[8:8 + length], 0, []
    for _ in range(count):
        colour, line, offset, given, stream = (bits(data, at + begin, size) for begin, size in
                                               ((0, 1), (1, 11), (12, 12), (24, 1), (25, 7)))
        words = 4 + (bits(data, at + 52, 10) & 255)
        values = [bits(data, at + 32 + 10 * i, 10) for i in range(words)]
        stop = -(-(at + 32 + 10 * words) // 32) * 32
        if bits(data, at + 32 + 10 * words, stop - at - 32 - 10 * words):
            raise Malformed("bits between packets")
        at = stop
        packet["data"].append({"colour": colour, "line": line, "offset": offset, "stream": stream if given else None,
                               "words": values})
    packet["left"] = length - at // 8
    return packet


def parity_holds(word):
    odd = bin(word & 0xFF).count("1") & 1
    return word >> 8 == (1 if odd else 2)


def checksum_holds(words):
    total = sum(word & 0x1FF for word in words[:-1]) & 0x1FF
    return words[-1] == total | (~total << 1 & 0x200)


class Service:
    """mxsd on a free port, which gives up no packet because the machine has other work; its log is a file."""

    def __init__(self, binaries, folder):
        self.log = folder / "mxsd.log"
        with self.log.open("wb") as out:
            self.process = subprocess.Popen([binaries / "mxsd", "--port", "0", "--longest-hold", "60000"], stdout=out,
                                            stderr=out)
        for _ in range(400):
            found = re.search(r"http://localhost:\d+/", self.log.read_text())
            if found:
                self.url = found[0]
                return
            if self.process.poll() is not None:
                break
            time.sleep(0.05)
        sys.exit("the service did not start: " + self.log.read_text())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(10)

#!/usr/bin/python3
"""What the service sends of ancillary data, before programs that nobody here wrote.

    send.py --bin FOLDER CASE        FOLDER holds mxsd, anc_program and vbi_check
    send.py --list

    VbiLibrary: a media library's writer of blanking lines makes the very words, with parity and checksum
    Tshark: captured on a loopback of its own and seen through a dissector of its own, no RTP packet is malformed, and
            each says what was sent"""
import argparse
import pathlib
import shutil
import socket
import struct
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path[:0] = [str(HERE.parent), str(HERE.parents[1] / "support")]
import rtpanc
from peers import SKIPPED, Namespace, Programs, capture, dissect, free_port

PAYLOAD_TYPE = 112  # tshark knows others by itself
INTERLACED_1080 = 7
FRAMES = 32
PACKETS = FRAMES * 7 // 8 * 12  # twelve a frame, every eighth frame empty

# The first frame of anc_program, as it is to be seen: F, lines, DIDs and SDIDs with their parity, data counts. On a
# line the horizontal area comes first, then buffer by buffer. From frame to frame DIDs and data counts grow by 12,
# SDIDs by 7; every eighth frame is empty.
FIRST_FRAME = (
    ("2", (9, 9, 10, 10, 11, 11, 12, 12, 13),
     (0x241, 0x146, 0x247, 0x242, 0x143, 0x248, 0x149, 0x244, 0x145),
     (0x200, 0x19B, 0x1BA, 0x11F, 0x13E, 0x1D9, 0x1F8, 0x15D, 0x17C),
     (0, 5, 6, 1, 2, 7, 8, 3, 4)),
    ("3", (609, 610, 613), (0x24B, 0x14C, 0x14A), (0x236, 0x255, 0x217), (10, 11, 9)))


def sending(binaries, url, port):
    return [binaries / "anc_program", "send", url, str(INTERLACED_1080), str(PAYLOAD_TYPE), str(port), str(FRAMES)]


def received_datagrams(binaries, folder):
    """All that the service sends for the frames of anc_program."""
    datagrams = []
    with rtpanc.Service(binaries, folder) as service, socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as receiver:
        receiver.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 4 << 20)
        receiver.bind(("127.0.0.1", 0))
        receiver.settimeout(0.1)
        sender = subprocess.Popen(sending(binaries, service.url, receiver.getsockname()[1]))
        ended = False
        while True:
            try:
                datagrams.append(receiver.recv(65536))
            except TimeoutError:
                if ended:
                    break
                ended = sender.poll() is not None
    if sender.returncode:
        sys.exit("the sender failed")
    return datagrams


def check_order(packets):
    """Numbers, markers, fields and lines; what the peers do not look at."""
    number = packets[0]["extended"] << 16 | packets[0]["sequence"]
    last_line, begins = 0, True
    for i, packet in enumerate(packets):
        if (packet["extended"] << 16 | packet["sequence"]) != number + i & 0xFFFFFFFF:
            sys.exit(f"packet {i} has the number {packet['extended']}/{packet['sequence']}")
        if packet["type"] != PAYLOAD_TYPE or packet["reserved"] or packet["trailing"] or packet["left"]:
            sys.exit(f"packet {i}: {packet}")
        if begins and packet["field"] not in (2, 3):
            sys.exit(f"packet {i} has F {packet['field']}")
        for data in packet["data"]:
            if data["line"] < last_line or (data["line"] >= 564) != (packet["field"] == 3):
                sys.exit(f"packet {i}: line {data['line']} behind {last_line} in F {packet['field']}")
            last_line = data["line"]
        begins = packet["marker"]
        last_line = 0 if begins else last_line
    fields = [packet["field"] for packet in packets if packet["marker"]]
    if fields != [2, 3] * FRAMES:
        sys.exit(f"fields {fields}")


def words_of(datagrams):
    """The ancillary packets of all that was sent, word by word."""
    packets = [rtpanc.decode(datagram) for datagram in datagrams]
    check_order(packets)
    words = [data["words"] for packet in packets for data in packet["data"]]
    print(f"{len(datagrams)} datagrams, {len(words)} ancillary packets")
    if len(words) != PACKETS or max(map(len, datagrams)) > 1452:
        sys.exit(f"{PACKETS} ancillary packets were to be sent")
    return words


def vbi_counts(binaries, words):
    text = "".join(" ".join(f"{word:x}" for word in packet) + "\n" for packet in words)
    result = subprocess.run([binaries / "vbi_check"], input=text, capture_output=True, text=True, check=True)
    print(result.stdout, end="")
    return [int(number) for number in result.stdout.split() if number.isdigit()]


def vbi_library(binaries, folder):
    words = words_of(received_datagrams(binaries, folder))
    if vbi_counts(binaries, words) != [len(words), 0, 0]:
        sys.exit("the library has other words")
    counts = {len(packet) - 4 for packet in words}
    if not {0, 1, 2, 100, 255} <= counts:
        sys.exit(f"not all data counts were sent: {sorted(counts)}")
    # The check sees what it must: a bit of a checksum, a parity bit.
    broken = [words[1][:-1] + [words[1][-1] ^ 1], [words[2][0] ^ 0x300] + words[2][1:]]
    if vbi_counts(binaries, broken)[1] != 2:
        sys.exit("broken words were not noticed")


def write_pcap(path, port, datagrams):
    """UDP over IPv4 without a link layer."""
    with path.open("wb") as out:
        out.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
        for i, datagram in enumerate(datagrams):
            udp = struct.pack(">HHHH", port, port, 8 + len(datagram), 0) + datagram
            address = bytes([127, 0, 0, 1])
            ip = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(udp), i & 0xFFFF, 0, 64, 17, 0) + address + address + udp
            out.write(struct.pack("<IIII", i // 1000, i % 1000 * 1000, len(ip), len(ip)) + ip)


LISTS = ("rfc8331.line", "rfc8331.did", "rfc8331.sdid", "rfc8331.data_count")


def seen(file, port):
    """What tshark sees in each packet of a capture: lists of numbers, and texts of what is wrong."""
    texts = ("udp.payload", "rtp.marker", "rfc8331.f", "rfc8331.count", "rfc8331.error", "_ws.malformed",
             "_ws.expert.message")
    rows = dissect(file, port, texts + LISTS, "-X", f"lua_script:{HERE / 'rfc8331.lua'}")
    return [row | {name: [int(number, 0) for number in row[name].split(",") if number] for name in LISTS}
            for row in rows]


def shifted(field, frame):
    """A field of the first frame as a later one has it."""
    signal, lines, *columns = field
    if frame == 0:
        return field
    if frame % 8 == 7:
        return (signal, (), (), (), ())
    return (signal, lines, *(tuple(value + frame * step & 0xFF for value in values)
                             for values, step in zip(columns, (12, 7, 12))))


def check_seen(rows):
    """A field takes one packet or more; the last has the marker."""
    fields, field = [], []
    for number, row in enumerate(rows):
        if row["rfc8331.error"] or row["_ws.malformed"] or row["_ws.expert.message"]:
            sys.exit(f"packet {number} is wrong: {row}")
        if row["rfc8331.count"] != str(len(row["rfc8331.line"])):
            sys.exit(f"packet {number} has another number of ancillary packets than it says: {row}")
        field.append(row)
        if row["rtp.marker"] == "1":
            fields.append(field)
            field = []
    expected = [shifted(field, frame) for frame in range(FRAMES) for field in FIRST_FRAME]
    if field or len(fields) != len(expected):
        sys.exit(f"{len(fields)} fields instead of {len(expected)}, and {len(field)} packets behind them")
    for number, (field, wanted) in enumerate(zip(fields, expected)):
        signals = {row["rfc8331.f"] for row in field}
        got = [[value for row in field for value in row[name]] for name in LISTS]
        if number > 1:  # of later frames the parity is not written down here; the dissector looks at it
            got[1:3] = [[value & 0xFF for value in values] for values in got[1:3]]
        if signals != {wanted[0]} or got != [list(values) for values in wanted[1:]]:
            sys.exit(f"field {number} is {signals} {got} and should be {wanted}")


def tshark(binaries, folder):
    if not shutil.which("tshark"):
        print("skipped: tshark is not installed")
        return SKIPPED
    namespace = Namespace()
    try:
        if not namespace.private:
            print(f"skipped: this needs a network namespace, and none could be made: {namespace.reason}")
            return SKIPPED
        programs, file, port = Programs(namespace, folder), folder / "sent.pcap", free_port()
        try:
            capture(programs, file, port, sending(binaries, programs.service(binaries), port))
        finally:
            programs.close()
    finally:
        namespace.close()
    rows = seen(file, port)
    datagrams = [bytes.fromhex(row["udp.payload"]) for row in rows]
    words_of(datagrams)
    check_seen(rows)
    # The dissector sees what it must.
    longest = max(datagrams, key=len)
    broken = [longest[:-8], longest[:24] + bytes([longest[24] ^ 0x80]) + longest[25:], longest + bytes(4),
              longest[:40] + bytes([longest[40] ^ 1]) + longest[41:]]
    write_pcap(file, port, broken)
    rows = seen(file, port)
    if len(rows) != len(broken) or not all(row["rfc8331.error"] for row in rows):
        sys.exit(f"broken packets were not noticed: {rows}")
    return 0


CASES = {"VbiLibrary": vbi_library, "Tshark": tshark}


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", type=pathlib.Path)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("case", nargs="?")
    arguments = parser.parse_args()
    if arguments.list:
        print("\n".join(CASES))
        return 0
    with tempfile.TemporaryDirectory() as name:
        return CASES[arguments.case](arguments.bin.resolve(), pathlib.Path(name)) or 0


if __name__ == "__main__":
    sys.exit(main())

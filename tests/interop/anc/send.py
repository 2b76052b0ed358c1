#!/usr/bin/python3
"""What the service sends of ancillary data, before programs that nobody here wrote.

    send.py --bin FOLDER CASE        FOLDER holds mxsd, anc_program and vbi_check
    send.py --list

    VbiLibrary: a media library's writer of blanking lines makes the very words, with parity and checksum
    Tshark: no RTP packet is malformed, seen through a dissector of its own"""
import argparse
import pathlib
import shutil
import socket
import struct
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "support"))
import rtpanc

SKIPPED = 77
PAYLOAD_TYPE = 112  # tshark knows others by itself
INTERLACED_1080 = 7
FRAMES = 32
PACKETS = FRAMES * 7 // 8 * 12  # twelve a frame, every eighth frame empty
CASES = ("VbiLibrary", "Tshark")


def sent_datagrams(binaries, folder):
    """All that the service sends for the frames of anc_program."""
    datagrams = []
    with rtpanc.Service(binaries, folder) as service, socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as receiver:
        receiver.bind(("127.0.0.1", 0))
        receiver.settimeout(0.1)
        sender = subprocess.Popen([binaries / "anc_program", "send", service.url, str(INTERLACED_1080),
                                   str(PAYLOAD_TYPE), str(receiver.getsockname()[1]), str(FRAMES)])
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


def words_of(packets):
    return [data["words"] for packet in packets for data in packet["data"]]


def vbi_counts(binaries, words):
    text = "".join(" ".join(f"{word:x}" for word in packet) + "\n" for packet in words)
    result = subprocess.run([binaries / "vbi_check"], input=text, capture_output=True, text=True, check=True)
    print(result.stdout, end="")
    return [int(number) for number in result.stdout.split() if number.isdigit()]


def check_vbi(binaries, _, datagrams, words):
    if vbi_counts(binaries, words) != [len(words), 0, 0]:
        sys.exit("the library has other words")
    counts = {len(packet) - 4 for packet in words}
    if not {0, 1, 2, 100, 255} <= counts:
        sys.exit(f"not all data counts were sent: {sorted(counts)}")
    # The check sees what it must: a bit of a checksum, a parity bit.
    broken = [words[1][:-1] + [words[1][-1] ^ 1], [words[2][0] ^ 0x300] + words[2][1:]]
    if vbi_counts(binaries, broken)[1] != 2:
        sys.exit("broken words were not noticed")


def write_pcap(path, datagrams):
    """UDP over IPv4 without a link layer."""
    with path.open("wb") as out:
        out.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 101))
        for i, datagram in enumerate(datagrams):
            udp = struct.pack(">HHHH", 5000, 5008, 8 + len(datagram), 0) + datagram
            address = bytes([127, 0, 0, 1])
            ip = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(udp), i & 0xFFFF, 0, 64, 17, 0) + address + address + udp
            out.write(struct.pack("<IIII", i // 1000, i % 1000 * 1000, len(ip), len(ip)) + ip)


def tshark_fields(folder, datagrams):
    """For each frame that tshark sees as one of ours: the count, the lines, and what it finds wrong."""
    path = folder / "sent.pcap"
    write_pcap(path, datagrams)
    result = subprocess.run(
        ["tshark", "-X", f"lua_script:{HERE / 'rfc8331.lua'}", "-r", path, "-d", "udp.port==5008,rtp", "-T", "fields",
         "-E", "separator=|", "-e", "rfc8331.count", "-e", "rfc8331.line", "-e", "rfc8331.error", "-e",
         "_ws.malformed"], capture_output=True, text=True, timeout=120, check=True)
    return [line.split("|") for line in result.stdout.splitlines()]


def check_tshark(_, folder, datagrams, words):
    if not shutil.which("tshark"):
        print("tshark is not installed")
        sys.exit(SKIPPED)
    rows = tshark_fields(folder, datagrams)
    seen = sum(len(row[1].split(",")) for row in rows if row[1])
    print(f"tshark sees {len(rows)} packets with {seen} ancillary packets")
    wrong = [row for row in rows if row[2] or row[3] or not row[0]]
    if wrong or len(rows) != len(datagrams) or seen != len(words):
        sys.exit(f"{len(datagrams)} and {len(words)} were sent; wrong: {wrong[:5]}")
    # The dissector sees what it must.
    longest = max(datagrams, key=len)
    broken = [longest[:-8], longest[:24] + bytes([longest[24] ^ 0x80]) + longest[25:], longest + bytes(4),
              longest[:40] + bytes([longest[40] ^ 1]) + longest[41:]]
    rows = tshark_fields(folder, broken)
    if len(rows) != len(broken) or not all(row[2] for row in rows):
        sys.exit(f"broken packets were not noticed: {rows}")


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
        folder = pathlib.Path(name)
        datagrams = sent_datagrams(arguments.bin, folder)
        packets = [rtpanc.decode(datagram) for datagram in datagrams]
        check_order(packets)
        words = words_of(packets)
        print(f"{len(datagrams)} datagrams, {len(words)} ancillary packets")
        if len(words) != PACKETS or max(map(len, datagrams)) > 1452:
            sys.exit(f"{PACKETS} ancillary packets were to be sent")
        {"VbiLibrary": check_vbi, "Tshark": check_tshark}[arguments.case](arguments.bin, folder, datagrams, words)
    return 0


if __name__ == "__main__":
    sys.exit(main())

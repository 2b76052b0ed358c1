#!/usr/bin/python3
"""Captures of senders from the field, where there are any: every ancillary packet that they hold comes out of the library
with its line, area, DID, SDID and words.

    captures.py --bin FOLDER --captures FOLDER CASE        FOLDER holds mxsd and anc_program
    captures.py --list"""
import argparse
import pathlib
import re
import socket
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "support"))
import rtpanc
from ports import free_port

SKIPPED = 77
P720, I1080, P1080_50, P1080 = 4, 7, 14, 15  # video standards: 59.94, but for the third
ACTIVE = {P720: 1280, I1080: 1920, P1080_50: 1920, P1080: 1920}

# file, video standard, ancillary packets that it holds at least
CASES = {
    "Interlaced1080": ("2110-40_5994i.pcap", I1080, 50),
    "RtpPadding": ("anc_with_some_rtp_padding.pcap", P1080, 30),
    "WrongDidAndPayload": ("anc_with_wrong_DID_and_payload.pcap", I1080, 70),
    "Progressive720": ("zoo_ST2110-40_ancillary_data.pcap", P720, 700),
    "KeepAlive": ("empty_data_but_valid.pcap", P1080_50, 0),
    "Truncated": ("anc_truncated.pcap", P1080_50, 0),
}


def expected_slots(packets, standard):
    """What an application finds: frames in order, their packets by buffer, line, area and arrival; and how many RTP
    packets stand before the first frame."""
    frames, first_seen, before = {}, None, 0
    for packet in packets:
        second = standard == I1080 and packet["field"] == 3
        if second:
            if first_seen is None:
                before += 1
                continue
            frame = first_seen
        else:
            frame = first_seen = packet["timestamp"]
        slot = frames.setdefault(frame, [])
        for data in packet["data"]:
            words, offset = data["words"], data["offset"]
            horizontal = ACTIVE[standard] <= offset < 0xFFC or offset in (0xFFE, 0xFFC)
            buffer = 2 * (data["stream"] or 0) + data["colour"]
            text = " ".join([f"{words[0] & 255:02x}", f"{words[1] & 255:02x}"] + [f"{word:03x}" for word in words[3:-1]])
            slot.append(((buffer, data["line"], not horizontal), f"packet {buffer} {data['line']} "
                         f"{'H' if horizontal else 'V'} {text}"))
    in_order = {frame: sorted(slot, key=lambda entry: entry[0]) for frame, slot in frames.items()}
    return {frame: [text for _, text in slot] for frame, slot in in_order.items()}, before


def lead_in(datagram):
    """The end of the frame before the first one, so that the first one is kept: a packet without data."""
    sequence = int.from_bytes(datagram[2:4], "big") - 1 & 0xFFFF
    timestamp = int.from_bytes(datagram[4:8], "big") - 90000 & 0xFFFFFFFF
    return (bytes([0x80, 0x80 | datagram[1] & 127]) + sequence.to_bytes(2, "big") + timestamp.to_bytes(4, "big")
            + datagram[8:14] + bytes([0, 0, 0, 0xC0, 0, 0]))


def replay(datagrams, port):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as out:
        target = ("127.0.0.1", port)
        out.sendto(lead_in(datagrams[0][1]), target)
        begin, captured = time.monotonic(), datagrams[0][0]
        for at, datagram in datagrams:
            time.sleep(max(0.0, at - captured - (time.monotonic() - begin)))
            out.sendto(datagram, target)


def run(name, binaries, captures):
    file, standard, least = CASES[name]
    path = captures / file
    if not path.exists():
        print("no capture", path)
        return SKIPPED
    datagrams = rtpanc.captured_datagrams(path)
    packets, malformed = [], 0
    for _, datagram in datagrams:
        try:
            packets.append(rtpanc.decode(datagram))
        except rtpanc.Malformed:
            malformed += 1
    expected, before = expected_slots(packets, standard)
    data = [words for packet in packets for words in (entry["words"] for entry in packet["data"])]
    parity = sum(not all(map(rtpanc.parity_holds, words[:3])) for words in data)
    checksum = sum(not rtpanc.checksum_holds(words) for words in data)
    print(f"{len(datagrams)} datagrams, {malformed} malformed, {len(data)} ancillary packets in {len(expected)} frames, "
          f"{parity} with wrong parity, {checksum} with a wrong checksum")
    if len(data) < least or len(datagrams) < 50:
        sys.exit("the capture was not understood")

    with tempfile.TemporaryDirectory() as folder, rtpanc.Service(binaries, pathlib.Path(folder)) as service:
        port = free_port()
        text = pathlib.Path(folder) / "received"
        with text.open("wb") as out:  # a pipe that nobody empties meanwhile would hold the receiver up
            receiver = subprocess.Popen([binaries / "anc_program", "receive", service.url, str(standard),
                                         str(datagrams[0][1][1] & 127), str(port)], stdout=out)
        while receiver.poll() is None and text.read_bytes() != b"started\n":
            time.sleep(0.05)
        replay(datagrams, port)
        receiver.wait(60)
        output = text.read_text().splitlines()[1:]
        log = service.log.read_text()
    if receiver.returncode:
        sys.exit("the receiver failed:\n" + "\n".join(output) + log)

    got, frame = {}, None
    for line in output[:-1]:
        if line.startswith("slot "):
            frame = int(line.split()[1])
            got[frame] = []
        else:
            got[frame].append(line)
    if list(got) != list(expected):
        sys.exit(f"{len(got)} frames came, {len(expected)} were sent: {list(got)[:5]} {list(expected)[:5]}; "
                 f"{output[-1].split()[4]} were dropped")
    for frame, lines in expected.items():
        if got[frame] != lines:
            sys.exit(f"frame {frame}: came\n" + "\n".join(got[frame]) + "\nwas sent\n" + "\n".join(lines))
    transferred, processed, lost, dropped = map(int, output[-1].split()[1:])
    if transferred != len(datagrams) + 1 or lost != 0 or processed != len(packets) - before or dropped != 0:
        sys.exit(f"{output[-1]}: {len(packets)} of {len(datagrams)} datagrams were good")
    counted = re.search(r"Of the ancillary packets (\d+) had a wrong parity, (\d+) a wrong checksum", log)
    if (tuple(map(int, counted.groups())) if counted else (0, 0)) != (parity, checksum):
        sys.exit("parity and checksums are counted otherwise: " + log)
    print("every packet came as it was sent")
    return 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", type=pathlib.Path)
    parser.add_argument("--captures", type=pathlib.Path)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("case", nargs="?")
    arguments = parser.parse_args()
    if arguments.list:
        print("\n".join(CASES))
        return 0
    return run(arguments.case, arguments.bin, arguments.captures)


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/python3
"""Audio between the service and programs that nobody here wrote, both ways: every sample as it was sent.

    audio.py --bin FOLDER CASE        FOLDER holds mxsd, zefa, record_wav, send_samples and
                                      gstreamer_description
    audio.py --list

Everything runs in a network namespace of its own, so nothing reaches a network card; where the machine does not give
the rights for one, unicast cases run on the loopback and multicast cases say so and end with 77."""
import argparse
import dataclasses
import pathlib
import re
import subprocess
import sys

import numpy

from peers import (SKIPPED, Namespace, await_size, capture, dissect, free_port, gstreamer_by_description, judge,
                   write_description)

RATE = 48000
PERIOD = 4 * RATE  # frames of noise that are sent over and over
WANTED = RATE      # frames that must arrive, one behind another


@dataclasses.dataclass
class Case:
    peer: str
    direction: str  # of the service
    bits: int = 24
    channels: int = 2
    packet_us: int = 1000
    group: str = ""
    written: bool = False  # the description is the library's own text

    @property
    def frame_bytes(self):
        return self.bits // 8 * self.channels

    @property
    def packet_frames(self):
        return RATE * self.packet_us // 1_000_000

    @property
    def packet_bytes(self):
        return self.packet_frames * self.frame_bytes


def formats(peer, direction):
    prefix = ("From" if direction == "receive" else "To") + peer.capitalize()
    # Every pair of two of the three comes up once.
    for bits, channels, packet_us in ((16, 2, 1000), (16, 8, 125), (24, 2, 125), (24, 8, 1000)):
        duration = "1ms" if packet_us == 1000 else "125us"
        yield f"{prefix}L{bits}x{channels}at{duration}", Case(peer, direction, bits, channels, packet_us)
    yield f"{prefix}Multicast", Case(peer, direction, group="239.100.1.30")


CASES = dict([case for peer in ("ffmpeg", "gstreamer") for direction in ("receive", "send")
              for case in formats(peer, direction)] +
             [(f"To{peer.capitalize()}ByOurDescription", Case(peer, "send", written=True))
              for peer in ("ffmpeg", "gstreamer")] + [("ToTshark", Case("tshark", "inspect", packet_us=125))])


def description(case, address, port):
    return "\r\n".join([
        "v=0", "o=- 1 1 IN IP4 127.0.0.1", "s=interop", "t=0 0", f"m=audio {port} RTP/AVP 97",
        f"c=IN IP4 {address}" + ("/1" if case.group else ""), f"a=rtpmap:97 L{case.bits}/{RATE}/{case.channels}",
        f"a=ptime:{case.packet_us / 1000:g}", "a=mediaclk:direct=0", ""])


def describe(case, sdp, address, port, binaries):
    if case.written:
        write_description(binaries, sdp, address, [port], "--essence", "audio", "--codec", f"L{case.bits}",
                          "--channels", str(case.channels))
    else:
        sdp.write_text(description(case, address, port), newline="")


def ffmpeg_sends(case, source, address, port):
    target = f"rtp://{address}:{port}?pkt_size={12 + case.packet_bytes}" \
        + ("&localaddr=127.0.0.1&ttl=1" if case.group else "")
    return ["ffmpeg", "-nostdin", "-v", "error", "-re", "-stream_loop", "-1", "-f", f"s{case.bits}be", "-ar", str(RATE),
            "-ac", str(case.channels), "-i", str(source), "-af", f"asetnsamples=n={case.packet_frames}:p=0",
            "-c:a", f"pcm_s{case.bits}be", "-payload_type", "97", "-rtpflags", "skip_rtcp", "-f", "rtp", target]


def ffmpeg_receives(case, sdp, target, _address, _port, _binaries):
    return ["ffmpeg", "-nostdin", "-v", "error", "-protocol_whitelist", "file,udp,rtp", "-buffer_size", "4000000",
            "-i", str(sdp), "-c:a", f"pcm_s{case.bits}be", "-f", f"s{case.bits}be", "-flush_packets", "1", "-y", str(target)]


# A mask of 0: channels without a place in the room, which keeps their order.
PLACES = "capssetter caps=audio/x-raw,channel-mask=(bitmask)0 ! "


def gstreamer_sends(case, source, address, port):
    places = PLACES if case.channels > 2 else ""
    duration = case.packet_us * 1000
    return (f"gst-launch-1.0 -q multifilesrc location={source} loop=true blocksize={case.packet_bytes} ! rawaudioparse "
            f"format=pcm pcm-format=s{case.bits}be sample-rate={RATE} num-channels={case.channels} ! {places}"
            f"rtpL{case.bits}pay pt=97 min-ptime={duration} max-ptime={duration} ! udpsink host={address} port={port} "
            + ("multicast-iface=lo ttl-mc=1" if case.group else "")).split()


def gstreamer_receives(case, sdp, target, address, port, binaries):
    if case.written:
        return gstreamer_by_description(binaries, sdp, target, address, port, f"rtpL{case.bits}depay")
    return (f"gst-launch-1.0 -e -q udpsrc address={address} port={port} multicast-iface=lo buffer-size=4000000 "
            f"caps=application/x-rtp,media=audio,clock-rate={RATE},encoding-name=L{case.bits},channels={case.channels},"
            f"payload=97 ! rtpL{case.bits}depay ! filesink location={target} buffer-mode=unbuffered").split()


SENDERS = {"ffmpeg": ffmpeg_sends, "gstreamer": gstreamer_sends}
RECEIVERS = {"ffmpeg": ffmpeg_receives, "gstreamer": gstreamer_receives}

# Where this peer's receiver puts the channels of eight that have no named places.
RECEIVED_ORDER = {("gstreamer", 8): [0, 1, 2, 3, 6, 7, 4, 5]}


def noise(case):
    return numpy.random.default_rng(11).integers(0, 256, (PERIOD, case.channels, case.bits // 8), dtype=numpy.uint8)


def compare(got, sent):
    """Frames that arrived against those that were sent, from wherever the first one is on."""
    got, sent = got.reshape(len(got), -1), sent.reshape(len(sent), -1)
    starts = numpy.flatnonzero((sent == got[0]).all(axis=1))
    if not starts.size:
        return "the first frame that arrived was never sent"
    expected = sent[(starts[0] + numpy.arange(len(got))) % len(sent)]
    wrong = numpy.flatnonzero((expected != got).any(axis=1))
    return f"{wrong.size} of {len(got)} frames differ, the first is {wrong[0]}" if wrong.size else ""


def read_wav(path, case):
    """The samples of a WAV file with a plain header, big-endian."""
    return numpy.frombuffer(path.read_bytes()[44:], dtype=numpy.uint8).reshape(-1, case.channels, case.bits // 8)[:, :, ::-1]


def receive(case, sent, files, binaries, programs, url):
    address, port = case.group or "127.0.0.1", free_port()
    files["sdp"].write_text(description(case, address, port), newline="")
    programs.start("sender", SENDERS[case.peer](case, files["source"], address, port))
    result = subprocess.run(
        programs.namespace.command([binaries / "record_wav", files["sdp"], "--output", files["wav"], "--service", url,
                                    "--interface", "lo", "--slots", str(WANTED // 480)]),
        capture_output=True, text=True, timeout=60, check=False)
    print(result.stdout, result.stderr, sep="")
    if result.returncode or not re.search(r" 0 lost packets, 0 dropped slots\n0 missing samples", result.stdout):
        programs.fail("not everything arrived")
    return compare(read_wav(files["wav"], case), sent)


def send(case, sent, files, binaries, programs, url):
    address, port = case.group or "127.0.0.1", free_port()
    describe(case, files["sdp"], address, port, binaries)
    programs.start("receiver", RECEIVERS[case.peer](case, files["sdp"], files["raw"], address, port, binaries))
    programs.start("send_samples", [binaries / "send_samples", files["sdp"], "--samples", files["source"], "--service",
                                    url, "--interface", "lo", "--seconds", "30"])
    wanted = WANTED * case.frame_bytes
    if not await_size(files["raw"], wanted, 30):
        programs.fail("the peer did not receive enough")
    programs.end("receiver")
    got = numpy.frombuffer(files["raw"].read_bytes()[:wanted], dtype=numpy.uint8)
    order = RECEIVED_ORDER.get((case.peer, case.channels), range(case.channels))
    return compare(got.reshape(WANTED, case.channels, -1), sent[:, list(order)])


def inspect(case, _sent, files, binaries, programs, url):
    """What a dissector makes of our packets."""
    port = free_port()
    files["sdp"].write_text(description(case, "127.0.0.1", port), newline="")
    said = capture(programs, files["raw"], port,
                   [binaries / "send_samples", files["sdp"], "--samples", files["source"], "--service", url,
                    "--interface", "lo", "--slots", "50"])
    fields = ("rtp.version", "rtp.padding", "rtp.ext", "rtp.cc", "rtp.marker", "rtp.p_type", "rtp.ssrc", "rtp.seq",
              "rtp.timestamp", "udp.length", "_ws.malformed", "_ws.expert.message")
    packets = dissect(files["raw"], port, fields)
    if len(packets) != 50 * 80:
        return f"{len(packets)} packets instead of 4000"
    same = {"rtp.version": "2", "rtp.padding": "0", "rtp.ext": "0", "rtp.cc": "0", "rtp.marker": "0",
            "rtp.p_type": "97", "rtp.ssrc": packets[0]["rtp.ssrc"], "udp.length": str(8 + 12 + case.packet_bytes),
            "_ws.malformed": "", "_ws.expert.message": ""}
    jumps, timestamp = 0, int(packets[0]["rtp.timestamp"])
    for number, packet in enumerate(packets):
        if number % 80 == 0 and int(packet["rtp.timestamp"]) != timestamp:  # a slot that the program was late with
            jumps, timestamp = jumps + 1, int(packet["rtp.timestamp"])
        expected = same | {"rtp.seq": str((int(packets[0]["rtp.seq"]) + number) % (1 << 16)),
                           "rtp.timestamp": str(timestamp)}
        if packet != expected:
            return f"packet {number} is {packet} and should be {expected}"
        timestamp = (timestamp + case.packet_frames) % (1 << 32)
    underruns = int(re.search(r"(\d+) underruns", said)[1])
    return f"{jumps} jumps of the timestamps, {underruns} underruns" if jumps > underruns else ""


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", type=pathlib.Path)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("case", nargs="?")
    arguments = parser.parse_args()
    if arguments.list:
        print("\n".join(CASES))
        return 0
    case = CASES[arguments.case]
    binaries = arguments.bin.resolve()
    namespace = Namespace()
    try:
        if case.group and not namespace.private:
            print(f"skipped: multicast needs a network namespace, and none could be made: {namespace.reason}")
            return SKIPPED
        sent, work = noise(case), {"receive": receive, "send": send, "inspect": inspect}[case.direction]

        def attempt(programs, folder):
            names = {"source": "source.raw", "sdp": "stream.sdp", "wav": "received.wav", "raw": "received.raw"}
            files = {name: folder / file for name, file in names.items()}
            files["source"].write_bytes(sent.tobytes())
            return work(case, sent, files, binaries, programs, programs.service(binaries))

        judge(namespace, attempt)
        print("all samples are those that were sent")
        return 0
    finally:
        namespace.close()


if __name__ == "__main__":
    sys.exit(main())

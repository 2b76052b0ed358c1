#!/usr/bin/python3
"""Video that the service sends, before programs that nobody here wrote: every pixel as it was sent.

    send.py --bin FOLDER CASE        FOLDER holds mxsd, zefa, send_samples and
                                     gstreamer_description
    send.py --list

Everything runs in a network namespace of its own, so nothing reaches a network card; where the machine does not give
the rights for one, unicast cases run on the loopback and multicast cases say so and end with 77."""
import argparse
import dataclasses
import hashlib
import pathlib
import signal
import sys

import numpy

from peers import (SKIPPED, Namespace, await_size, capture, dissect, free_port, gstreamer_by_description, judge,
                   write_description)

FRAMES = 3  # of noise, that are sent over and over
WANTED = 9  # frames that must arrive
PAUSE = 250  # milliseconds from frame to frame: these receivers are slow, and the machine has other work


@dataclasses.dataclass
class Case:
    peer: str
    bits: int = 10
    sampling: str = "YCbCr-4:2:2"
    interlaced: bool = False
    group: str = ""
    paths: int = 1
    written: bool = False  # the description is the library's own text

    @property
    def raster(self):
        return (1920, 1080) if self.interlaced else (1280, 720)

    @property
    def samples_per_line(self):
        return self.raster[0] * (2 if "4:2:2" in self.sampling else 3)

    @property
    def group_bytes_and_pixels(self):
        return {"YCbCr-4:2:2": (self.bits // 2, 2)}.get(self.sampling, (3, 1))


CASES = {
    "FfmpegTenBits": Case("ffmpeg"),
    "FfmpegEightBits": Case("ffmpeg", bits=8),
    "FfmpegMulticast": Case("ffmpeg", group="239.100.1.40"),
    "FfmpegInterlaced": Case("ffmpeg", interlaced=True),
    "GstreamerTenBits": Case("gstreamer"),
    "GstreamerEightBits": Case("gstreamer", bits=8),
    "GstreamerMulticast": Case("gstreamer", group="239.100.1.41"),
    "GstreamerRgb": Case("gstreamer", bits=8, sampling="RGB"),
    "Gstreamer444": Case("gstreamer", bits=8, sampling="YCbCr-4:4:4"),
    "GstreamerTwoPaths": Case("gstreamer", paths=2),
    "FfmpegByOurDescription": Case("ffmpeg", written=True),
    "GstreamerByOurDescription": Case("gstreamer", written=True),
    "Tshark": Case("tshark"),
    "TsharkInterlaced": Case("tshark", interlaced=True),
}


def noise(case):
    """Samples in the order of the wire: frame, line of the frame, sample."""
    shape = (FRAMES, case.raster[1], case.samples_per_line)
    return numpy.random.default_rng(13).integers(0, 1 << case.bits, shape, dtype=numpy.uint16)


def as_slots(case, frames):
    """As the slots have them: field behind field, words of 16 bits."""
    if case.interlaced:
        frames = numpy.concatenate([frames[:, 0::2], frames[:, 1::2]], axis=1)
    return frames.astype("<u2").tobytes()


def packed(samples, bits):
    flat = samples.reshape(-1)
    if bits == 8:
        return flat.astype(numpy.uint8).tobytes()
    expanded = (flat[:, None] >> numpy.arange(bits - 1, -1, -1, dtype=numpy.uint16)) & 1
    return numpy.packbits(expanded.astype(numpy.uint8).reshape(-1)).tobytes()


def planar(frame):
    """4:2:2 of Cb Y Cr Y as three planes."""
    groups = frame.reshape(frame.shape[0], -1, 4)
    luma = groups[:, :, 1::2].reshape(frame.shape[0], -1)
    return b"".join(plane.astype("<u2").tobytes() for plane in (luma, groups[:, :, 0], groups[:, :, 2]))


def with_alpha(frame):
    """4:4:4 of Cb Y Cr as A Y Cb Cr; nobody writes the alpha."""
    pixels = frame.reshape(-1, 3)
    return numpy.stack([numpy.zeros(len(pixels)), pixels[:, 1], pixels[:, 0], pixels[:, 2]],
                       axis=1).astype(numpy.uint8).tobytes()


def as_received(case, frame):
    """What the peer writes for a frame."""
    if case.peer == "ffmpeg" and case.bits == 10:
        return planar(frame)
    if case.sampling == "YCbCr-4:4:4":
        return with_alpha(frame)
    return packed(frame, case.bits)


def description(case, address, ports):
    width, height = case.raster
    scan = "interlace; exactframerate=25" if case.interlaced else "exactframerate=50"
    head = ["v=0", "o=- 1 1 IN IP4 127.0.0.1", "s=interop", "t=0 0"]
    if case.paths > 1:
        head.append("a=group:DUP " + " ".join(f"path{i}" for i in range(case.paths)))
    media = []
    for i, port in enumerate(ports):
        media += [f"m=video {port} RTP/AVP 96", f"c=IN IP4 {address}" + ("/1" if case.group else ""),
                  "a=rtpmap:96 raw/90000",
                  f"a=fmtp:96 sampling={case.sampling}; width={width}; height={height}; {scan}; depth={case.bits}; "
                  "TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017;", "a=mediaclk:direct=0"]
        if case.paths > 1:
            media.append(f"a=mid:path{i}")
    return "\r\n".join([*head, *media, ""])


def describe(case, sdp, address, ports, binaries):
    if case.written:
        write_description(binaries, sdp, address, ports, "--standard", "1280x720p50", "--depth", str(case.bits))
    else:
        sdp.write_text(description(case, address, ports), newline="")


def ffmpeg(case, sdp, target, _address, _ports, _binaries):
    output = ["-c:v", "rawvideo", "-pix_fmt", "yuv422p10le" if case.bits == 10 else "uyvy422"]
    return ["ffmpeg", "-nostdin", "-v", "error", "-protocol_whitelist", "file,udp,rtp", "-buffer_size", "8000000",
            "-reorder_queue_size", "0", "-i", str(sdp), "-fps_mode", "passthrough", *output, "-f", "rawvideo",
            "-flush_packets", "1", "-y", str(target)]


def gstreamer(case, sdp, target, address, ports, binaries):
    if case.written:
        return gstreamer_by_description(binaries, sdp, target, address, ports[0], "rtpvrawdepay")
    width, height = case.raster
    caps = (f"application/x-rtp,media=video,clock-rate=90000,encoding-name=RAW,payload=96,sampling={case.sampling},"
            f"depth=(string){case.bits},width=(string){width},height=(string){height}")
    source = " ".join(f"udpsrc address={address} multicast-iface=lo port={port} buffer-size=8000000 caps={caps} ! f."
                      for port in ports)
    merge = "rtpjitterbuffer latency=1000 ! " if case.paths > 1 else ""
    return (f"gst-launch-1.0 -e -q {source} funnel name=f ! {caps} ! {merge}rtpvrawdepay "
            f"! filesink location={target} buffer-mode=unbuffered").split()


class Relay:
    """A path to the receiver that can be opened and cut: what has passed is also in a file."""

    def __init__(self, programs, number, target):
        self.programs, self.name, self.port, self.target = programs, f"path{number}", free_port(), target
        self.file = programs.folder / f"{self.name}.rtp"

    def open(self):
        self.programs.start(self.name, (
            f"gst-launch-1.0 -q udpsrc address=127.0.0.1 port={self.port} buffer-size=8000000 ! tee name=t "
            f"t. ! udpsink host=127.0.0.1 port={self.target} sync=false async=false buffer-size=8000000 "
            f"t. ! filesink location={self.file} buffer-mode=unbuffered async=false").split())

    def cut(self):
        self.programs.end(self.name, signal.SIGKILL)


def change_paths(relays, raw, frame_bytes, programs):
    """Opens the second path and then cuts the first; returns how many frames shall arrive. The second is opened late
    since GStreamer knows the rate of packets from its second frame on: before, a path that is 100 packets behind is to
    it a sender that began anew."""
    if not await_size(raw, 2 * frame_bytes, 30):
        programs.fail("nothing arrives on the first path")
    relays[1].open()
    if not await_size(relays[1].file, 2 * frame_bytes, 30):
        programs.fail("nothing arrives on the second path")
    relays[0].cut()
    # Four frames are in the receiver still, which holds back what it has for a second.
    return raw.stat().st_size // frame_bytes + 4 + WANTED


def sending(case, files, binaries, url, *options):
    if case.interlaced:
        options += ("--standard", "6")  # 1080i, 50 fields a second
    return [binaries / "send_samples", files["sdp"], "--samples", files["source"], "--service", url, "--interface", "lo",
            "--pause-ms", str(PAUSE), *options]


def receive(case, frames, files, binaries, programs, url):
    address, ports = case.group or "127.0.0.1", [free_port() for _ in range(case.paths)]
    describe(case, files["sdp"], address, ports, binaries)
    peer = {"ffmpeg": ffmpeg, "gstreamer": gstreamer}[case.peer]
    programs.start("receiver", peer(case, files["sdp"], files["raw"], address, ports, binaries))
    relays = [Relay(programs, path, port) for path, port in enumerate(ports)] if case.paths > 1 else []
    if relays:
        relays[0].open()
        describe(case, files["sdp"], address, [relay.port for relay in relays], binaries)
    for port in [*ports, *(relay.port for relay in relays[:1])]:
        programs.await_port(port)
    programs.start("send_samples", sending(case, files, binaries, url, "--seconds", "50"))
    expected = [as_received(case, frame) for frame in frames]
    size = len(expected[0])
    wanted = change_paths(relays, files["raw"], size, programs) if relays else WANTED
    if not await_size(files["raw"], wanted * size, 50):
        programs.fail("the peer did not receive enough")
    programs.end("receiver")
    got = files["raw"].read_bytes()[:wanted * size]
    known = {hashlib.sha256(frame).digest(): number for number, frame in enumerate(expected)}
    numbers = [known.get(hashlib.sha256(got[at:at + size]).digest()) for at in range(0, len(got), size)]
    print("frames that arrived:", numbers)
    first = numbers[0]
    if first is None or numbers != [(first + i) % FRAMES for i in range(len(numbers))]:
        return f"frames that were never sent, or not in this order: {numbers}"
    return ""


def inspect(case, frames, files, binaries, programs, url):
    """What a dissector makes of our packets, and whether their payloads are the frames."""
    port = free_port()
    files["sdp"].write_text(description(case, "127.0.0.1", [port]), newline="")
    capture(programs, files["raw"], port, sending(case, files, binaries, url, "--slots", str(FRAMES)))
    fields = ("rtp.version", "rtp.padding", "rtp.ext", "rtp.cc", "rtp.p_type", "rtp.ssrc", "_ws.malformed",
              "_ws.expert.message", "rtp.seq", "rtp.marker", "rtp.timestamp", "rtp.payload")
    packets = dissect(files["raw"], port, fields)
    width, height = case.raster
    group_bytes, group_pixels = case.group_bytes_and_pixels
    line_bytes = width // group_pixels * group_bytes
    per_field = height // 2 if case.interlaced else height
    picture, lengths, sequence, stamps = bytearray(), set(), None, []
    for number, packet in enumerate(packets):
        plain = (packet["rtp.version"], packet["rtp.padding"], packet["rtp.ext"], packet["rtp.cc"], packet["rtp.p_type"],
                 packet["rtp.ssrc"] == packets[0]["rtp.ssrc"], packet["_ws.malformed"], packet["_ws.expert.message"])
        if plain != ("2", "0", "0", "0", "96", True, "", ""):
            return f"packet {number} is {packet}"
        payload = bytes.fromhex(packet["rtp.payload"])
        upper, length, line, offset = (int.from_bytes(payload[at:at + 2], "big") for at in (0, 2, 4, 6))
        now = upper << 16 | int(packet["rtp.seq"])
        if sequence is not None and now != sequence + 1:
            return f"packet {number} has the number {now} behind {sequence}"
        sequence = now
        place = len(picture) % (line_bytes * height)
        field, in_field = divmod(place, line_bytes * per_field)
        expected = (in_field // line_bytes | field << 15, in_field % line_bytes // group_bytes * group_pixels)
        if (line, offset) != expected or length != len(payload) - 8:
            return f"packet {number} is at {line}, {offset} and should be at {expected}"
        picture += payload[8:]
        ends = (in_field + length) == line_bytes * per_field
        if packet["rtp.marker"] != ("1" if ends else "0"):
            return f"packet {number} has the marker {packet['rtp.marker']}"
        if in_field == 0:
            stamps.append(int(packet["rtp.timestamp"]))
        if int(packet["rtp.timestamp"]) != stamps[-1]:
            return f"packet {number} has another timestamp than its field began with"
        lengths.add(length)
    sent = [numpy.concatenate([frame[0::2], frame[1::2]]) if case.interlaced else frame for frame in frames]
    if bytes(picture) != b"".join(packed(frame, case.bits) for frame in sent):
        return f"{len(packets)} packets with {len(picture)} bytes, which are not those of the frames"
    steps = [(after - before) % (1 << 32) for before, after in zip(stamps, stamps[1:])]
    print("timestamps step by", steps, "lengths are", sorted(lengths))
    wrong = [step for step in steps if step == 0 or step % 1800]
    return f"timestamps are no multiple of the field's or frame's time apart: {wrong}" if wrong else ""


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
    namespace = Namespace()
    try:
        if (case.group or case.peer == "tshark") and not namespace.private:
            print(f"skipped: this needs a network namespace, and none could be made: {namespace.reason}")
            return SKIPPED
        frames, work = noise(case), inspect if case.peer == "tshark" else receive
        binaries = arguments.bin.resolve()

        def attempt(programs, folder):
            names = {"source": "source.raw", "sdp": "stream.sdp", "raw": "received.raw"}
            files = {name: folder / file for name, file in names.items()}
            files["source"].write_bytes(as_slots(case, frames))
            return work(case, frames, files, binaries, programs, programs.service(binaries))

        # A path that falls behind while it is opened is to GStreamer's buffer a sender that began anew.
        judge(namespace, attempt, untold=case.paths > 1)
        print("all pixels are those that were sent")
        return 0
    finally:
        namespace.close()


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/python3
"""The service receives what programs that nobody here wrote send: every sample as it was sent.

    receive.py --bin FOLDER CASE        FOLDER holds mxsd and first_picture
    receive.py --list

Everything runs in a network namespace of its own, so nothing reaches a network card; where the machine does not give
the rights for one, unicast cases run on the loopback and multicast cases say so and end with 77."""
import argparse
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

import numpy

from peers import SKIPPED, Namespace, free_port

WIDTH, HEIGHT = 1280, 720


def planar_422(bits):
    """A frame of noise: planar file contents, and the samples in the order of the wire."""
    noise = numpy.random.default_rng(7)
    luma = noise.integers(0, 1 << bits, (HEIGHT, WIDTH), dtype=numpy.uint16)
    chroma = noise.integers(0, 1 << bits, (2, HEIGHT, WIDTH // 2), dtype=numpy.uint16)
    wire = numpy.empty((HEIGHT, WIDTH // 2, 4), dtype=numpy.uint16)
    wire[:, :, 0], wire[:, :, 2] = chroma[0], chroma[1]
    wire[:, :, 1], wire[:, :, 3] = luma[:, 0::2], luma[:, 1::2]
    return luma.astype("<u2").tobytes() + chroma.astype("<u2").tobytes(), wire.reshape(HEIGHT, -1)


def packed(wire, bits):
    """Samples of `bits` bits, the first in the high bits."""
    flat = wire.reshape(-1).astype(numpy.uint16)
    if bits == 8:
        return flat.astype(numpy.uint8).tobytes()
    expanded = (flat[:, None] >> numpy.arange(bits - 1, -1, -1, dtype=numpy.uint16)) & 1
    return numpy.packbits(expanded.astype(numpy.uint8).reshape(-1)).tobytes()


def three_components():
    noise = numpy.random.default_rng(9)
    return noise.integers(0, 256, (HEIGHT, WIDTH, 3), dtype=numpy.uint16)


def ffmpeg(pixel_format, codec, extra=()):
    def command(source, address, port, multicast):
        target = f"rtp://{address}:{port}?pkt_size=1452" + ("&localaddr=127.0.0.1&ttl=1" if multicast else "")
        return ["ffmpeg", "-nostdin", "-v", "error", "-re", "-stream_loop", "-1", "-f", "rawvideo", "-pix_fmt",
                pixel_format, "-s", f"{WIDTH}x{HEIGHT}", "-r", "10", "-i", source, *extra, "-c:v", codec,
                "-payload_type", "96", "-rtpflags", "skip_rtcp", "-f", "rtp", target]
    return command


def gstreamer(parse_format, frame_bytes, payloader="rtpvrawpay mtu=1452 pt=96", convert=""):
    def command(source, address, port, multicast):
        return (f"gst-launch-1.0 -q multifilesrc location={source} loop=true blocksize={frame_bytes} "
                f"! rawvideoparse format={parse_format} width={WIDTH} height={HEIGHT} framerate=10/1 {convert}"
                f"! {payloader} ! udpsink host={address} port={port} buffer-size=8000000 "
                + ("multicast-iface=lo ttl-mc=1" if multicast else "")).split()
    return command


def fields_of(wire):
    return numpy.concatenate([wire[0::2], wire[1::2]])


def case_422(bits):
    planar, wire = planar_422(bits)
    return planar, packed(wire, bits), wire


def make_cases():
    pixels = WIDTH * HEIGHT
    cases = {}

    def add(name, source, wire, sender, sampling="YCbCr-4:2:2", depth=10, group=None, fmtp="", options=()):
        cases[name] = dict(source=source, wire=wire, sender=sender, sampling=sampling, depth=depth, group=group,
                           fmtp=fmtp, options=options)

    planar10, packed10, wire10 = case_422(10)
    _, packed8, wire8 = case_422(8)
    bitpacked = ffmpeg("yuv422p10le", "bitpacked")
    add("FfmpegTenBits", planar10, wire10, bitpacked)
    add("FfmpegTenBitsMulticast", planar10, wire10, bitpacked, group="239.100.1.20")
    add("FfmpegEightBits", packed8, wire8, ffmpeg("uyvy422", "rawvideo"), depth=8)
    add("FfmpegInterlacedWithOneTimestamp", planar10, fields_of(wire10),
        ffmpeg("yuv422p10le", "bitpacked", ("-vf", "setfield=tff", "-field_order", "tt", "-flags", "+ilme")),
        fmtp="interlace; ", options=("--standard", "6"))  # 1080i, 50 fields a second
    add("GstreamerTenBits", packed10, wire10, gstreamer("uyvp", pixels * 5 // 2))
    add("GstreamerTenBitsMulticast", packed10, wire10, gstreamer("uyvp", pixels * 5 // 2), group="239.100.1.21")
    add("GstreamerEightBits", packed8, wire8, gstreamer("uyvy", pixels * 2), depth=8)
    # The extended half of the sequence number stays at 0 over the wrap of the lower half: no packet is lost by it.
    add("GstreamerSequenceNumberWraps", packed10, wire10,
        gstreamer("uyvp", pixels * 5 // 2, "rtpvrawpay mtu=1452 pt=96 seqnum-offset=64000"))
    rgb = three_components()
    add("GstreamerRgb", rgb.astype(numpy.uint8).tobytes(), rgb.reshape(HEIGHT, -1), gstreamer("rgb", pixels * 3),
        sampling="RGB", depth=8)
    ycbcr = three_components()  # stored as A Y Cb Cr, on the wire Cb Y Cr
    ayuv = numpy.full((HEIGHT, WIDTH, 4), 255, dtype=numpy.uint8)
    ayuv[:, :, 1], ayuv[:, :, 2], ayuv[:, :, 3] = ycbcr[:, :, 1], ycbcr[:, :, 0], ycbcr[:, :, 2]
    add("Gstreamer444", ayuv.tobytes(), ycbcr.reshape(HEIGHT, -1), gstreamer("ayuv", pixels * 4),
        sampling="YCbCr-4:4:4", depth=8)
    return cases


NAMES = ("FfmpegTenBits", "FfmpegTenBitsMulticast", "FfmpegEightBits", "FfmpegInterlacedWithOneTimestamp",
         "GstreamerTenBits", "GstreamerTenBitsMulticast", "GstreamerEightBits", "GstreamerSequenceNumberWraps",
         "GstreamerRgb", "Gstreamer444")


def description(case, address, port):
    return "\r\n".join([
        "v=0", "o=- 1 1 IN IP4 127.0.0.1", "s=interop", "t=0 0", f"m=video {port} RTP/AVP 96",
        f"c=IN IP4 {address}" + ("/1" if case["group"] else ""), "a=rtpmap:96 raw/90000",
        f"a=fmtp:96 sampling={case['sampling']}; width={WIDTH}; height={HEIGHT}; {case['fmtp']}exactframerate=50; "
        f"depth={case['depth']}; TCS=SDR; colorimetry=BT709; PM=2110GPM; SSN=ST2110-20:2017;",
        "a=mediaclk:direct=0", ""])


def service_url(log, process):
    for _ in range(200):
        match = re.search(r"http://localhost:\d+/", log.read_text())
        if match:
            return match[0]
        if process.poll() is not None:
            break
        time.sleep(0.05)
    sys.exit("the service did not start: " + log.read_text())


def run(case, folder, binaries, namespace, processes):
    address, port = case["group"] or "127.0.0.1", free_port()
    source, sdp, raw, log = (folder / name for name in ("source", "stream.sdp", "picture.raw", "mxsd.log"))
    source.write_bytes(case["source"])
    sdp.write_text(description(case, address, port), newline="")
    with log.open("wb") as out:
        processes.append(subprocess.Popen(namespace.command([binaries / "mxsd", "--port", "0"]), stdout=out, stderr=out))
    url = service_url(log, processes[0])
    sender_log = (folder / "sender.log").open("wb")
    processes.append(subprocess.Popen(namespace.command(case["sender"](str(source), address, port, bool(case["group"]))),
                                      stdout=sender_log, stderr=sender_log))
    options = list(case["options"])
    result = subprocess.run(
        namespace.command([binaries / "first_picture", sdp, "--service", url, "--interface", "lo", "--slots", "20",
                           "--picture", folder / "picture.png", "--raw", raw, *options]),
        capture_output=True, text=True, timeout=60, check=False)
    print(result.stdout, result.stderr, sep="")
    if result.returncode:
        print(log.read_text(), (folder / "sender.log").read_text())
        sys.exit("first_picture failed")
    got = numpy.fromfile(raw, dtype="<u2")
    expected = case["wire"].reshape(-1)
    if got.size != expected.size or numpy.count_nonzero(got != expected):
        sys.exit(f"{got.size} samples came, {expected.size} were sent, "
                 f"{numpy.count_nonzero(got[:expected.size] != expected[:got.size])} differ")
    lost = int(re.search(r"(\d+) lost packets", result.stdout)[1])
    if lost:
        sys.exit(f"{lost} packets count as lost")
    print(f"all {got.size} samples are those that were sent")


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", type=pathlib.Path)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("case", nargs="?")
    arguments = parser.parse_args()
    if arguments.list:
        print("\n".join(NAMES))
        return 0
    global WIDTH, HEIGHT
    if "Interlaced" in arguments.case:
        WIDTH, HEIGHT = 1920, 1080
    case = make_cases()[arguments.case]
    namespace = Namespace()
    processes = []
    try:
        if case["group"] and not namespace.private:
            print(f"skipped: multicast needs a network namespace, and none could be made: {namespace.reason}")
            return SKIPPED
        with tempfile.TemporaryDirectory() as folder:
            run(case, pathlib.Path(folder), arguments.bin.resolve(), namespace, processes)
        return 0
    finally:
        for process in reversed(processes):
            process.send_signal(signal.SIGTERM)
        for process in processes:
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
        namespace.close()


sys.exit(main())

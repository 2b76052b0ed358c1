#!/usr/bin/python3
"""What programs that nobody here wrote make of the descriptions that the library writes: each kind, one path and two.

    descriptions.py --bin FOLDER --sdpoker FOLDER CASE   FOLDER holds write_descriptions and gstreamer_description
    descriptions.py --sdpoker FOLDER SetUp               installs sdpoker there, from the registry of npm
    descriptions.py --list

They object to some of what is written on purpose; these objections stand here word for word, so that a new one shows.
Nothing is sent and no port is opened. Where sdpoker cannot be installed its cases say so and end with 77; without
npm, which scripts/setup installs, its set-up fails."""
import argparse
import pathlib
import re
import subprocess
import sys
import tempfile

SKIPPED = 77
SDPOKER = "sdpoker@0.1.0"
CASES = ("SdpokerAccepts", "SdpokerObjectsToWhiteSpace", "FfmpegOpens", "GstreamerMakesCaps",
         "GstreamerWritesTheSame")

LINE_FORM = ("Every line of an SDP file must be of the form '<type>=<value>' with <type> being one character and no "
             "whitespace either side of the equals, as per RFC 4566 Section 5.")
SENDER_CLOCK = ("The 'direct' reference for the mediaclk paramter should be used, as per SMPTE ST 2110-10 Section "
                "8.1. Found 'a=mediaclk:sender'.")
BLANK_AT_THE_END = ("found an 'fmtp' attribute that is not an acceptable pattern. Note: In strict whitespace "
                    "adherence, line must have a space after the last semicolon.")


def not_a_video(lines):
    """Ancillary data is written as raw/90000, and so is taken for video. `lines` of the formats, a stream each."""
    streams = list(enumerate(lines, 1))
    return [f"Line {line}: For stream {stream}, required parameter '{name}' is missing, as per SMPTE ST 2110-20 "
            "Section 7.2." for stream, line in streams
            for name in ("sampling", "depth", "width", "height", "colorimetry", "PM")] + \
           [f"Line {line}: For stream {stream}, format parameter 'SSN' is not set to the required value "
            "'ST2110-20:2017', as per SMPTE ST 2110-20 Section 7.2." for stream, line in streams] + \
           [f"Line {line}: For stream {stream}, parameter 'TP' is not provided, as required by SMPTE ST 2110-21 "
            "Section 8.1." for stream, line in streams]


OBJECTIONS = {
    "anc_1": not_a_video([9]),
    "anc_2": not_a_video([10, 17]),
    "video_no_words_1": ["Line 4: " + LINE_FORM],  # "i=" with nothing behind it
    "video_no_words_2": ["Line 4: " + LINE_FORM],
    "audio_sender_clock_1": [SENDER_CLOCK],
    "audio_sender_clock_2": [SENDER_CLOCK, SENDER_CLOCK],
}

# The last parameter of a format is followed by a semicolon and no blank.
WHITE_SPACE = {
    "video_1": [f"Line 9: For stream 1, {BLANK_AT_THE_END}", "Line 11: Stream 1 does not have an 'fmtp' attribute."],
    "video_2": [f"Line 10: For stream 1, {BLANK_AT_THE_END}", "Line 14: Stream 1 does not have an 'fmtp' attribute.",
                f"Line 17: For stream 2, {BLANK_AT_THE_END}", "Line 20: Stream 2 does not have an 'fmtp' attribute."],
    "audio_1": [],
    "audio_2": [],
}

VIDEO = "codec_name=bitpacked|codec_type=video|width=1920|height=1080|pix_fmt=yuv422p10le"
STREAMS = {
    "video": VIDEO,
    "video_interlaced": VIDEO,
    "video_rgb_8_offset": "codec_name=rawvideo|codec_type=video|width=1920|height=1080|pix_fmt=rgb24",
    "video_timestamps": VIDEO,
    "video_unicast": VIDEO,
    "video_no_words": VIDEO,
    "audio": "codec_name=pcm_s24be|codec_type=audio|sample_rate=48000|channels=2",
    "audio_16_125us": "codec_name=pcm_s24be|codec_type=audio|sample_rate=48000|channels=16",
    "audio_timestamps": "codec_name=pcm_s24be|codec_type=audio|sample_rate=48000|channels=2",
    "audio_sender_clock": "codec_name=pcm_s24be|codec_type=audio|sample_rate=48000|channels=2",
    "anc": "codec_name=unknown|codec_type=video|width=0|height=0|pix_fmt=unknown",
}

RAW = "media=(string)video, payload=(int)96, clock-rate=(int)90000, encoding-name=(string)RAW"
L24 = "media=(string)audio, payload=(int)96, clock-rate=(int)48000, encoding-name=(string)L24"
YCBCR = "sampling=(string)YCbCr-4:2:2, width=(string)1920, height=(string)1080"
REST = "tcs=(string)SDR, colorimetry=(string)BT709, pm=(string)2110GPM, tp=(string)2110TPW"
SSN = "ssn=(string)ST2110-20:2017"
PTP = r'a-ts-refclk=(string)"ptp\=IEEE1588-2008:58-59-5A-5B-5C-5D-5E-5F:127"'
DIRECT = r'a-mediaclk=(string)"direct\=0"'
P5994 = "exactframerate=(string)60000/1001"
PLAIN = f"{RAW}, {YCBCR}, {P5994}, depth=(string)10, {REST}, {SSN}"
# The format of each kind, then what follows the "a-mid" of redundant paths.
CAPS = {
    "video": (PLAIN, f"{PTP}, {DIRECT}"),
    "video_interlaced": (f"{RAW}, {YCBCR}, interlace=(string)1, exactframerate=(string)50, depth=(string)10, "
                         f"{REST}, {SSN}", f"{PTP}, {DIRECT}"),
    "video_rgb_8_offset": (f"{RAW}, sampling=(string)RGB, width=(string)1920, height=(string)1080, {P5994}, "
                           f"depth=(string)8, {REST}, troff=(string)37, {SSN}", f"{PTP}, {DIRECT}"),
    "video_timestamps": (f"{PLAIN}, tsmode=(string)SAMP, tsdelay=(string)12", f"{PTP}, {DIRECT}"),
    "video_unicast": (PLAIN, f"{PTP}, {DIRECT}"),
    "video_no_words": (PLAIN, f"{PTP}, {DIRECT}"),
    "audio": (f"{L24}, encoding-params=(string)2", f"a-ptime=(string)1, {PTP}, {DIRECT}"),
    "audio_16_125us": (f"{L24}, encoding-params=(string)16, "
                       r'channel-order=(string)"SMPTE2110.\(SGRP\,SGRP\,SGRP\,SGRP\)"',
                       r'a-ptime=(string)0.125, a-ts-refclk=(string)"localmac\=5A-5B-5C-5D-5E-5F", ' + DIRECT),
    "audio_timestamps": (f"{L24}, encoding-params=(string)2, tsmode=(string)NEW", f"a-ptime=(string)1, {PTP}, {DIRECT}"),
    "audio_sender_clock": (f"{L24}, encoding-params=(string)2",
                           r'a-ptime=(string)1, a-ts-refclk=(string)"ptp\=IEEE1588-2008:traceable", '
                           "a-mediaclk=(string)sender"),
    "anc": (f"{RAW}, {P5994}, ssn=(string)ST2110-40:2018", f"{PTP}, {DIRECT}"),
}


def run(*command):
    return subprocess.run(command, capture_output=True, text=True, timeout=60, check=False)


def kind_of(name):
    return name.rsplit("_", 1)[0]


def paths_of(name):
    return int(name.rsplit("_", 1)[1])


def expect(name, got, expected):
    if got == expected:
        return 0
    print(f"{name}\n  expected: {expected}\n  got:      {got}")
    return 1


def sdpoker(program, path, *flags):
    """The numbered objections, without their numbers."""
    result = run("node", program, *flags, path)
    lines = (result.stdout + result.stderr).splitlines()
    objections = [match[1] for match in (re.match(r"\d+: (.*)", line) for line in lines) if match]
    if bool(result.returncode) != bool(objections):
        return [f"ended with {result.returncode}: {result.stdout}{result.stderr}"]
    return objections


def check_sdpoker(files, program):
    failures = 0
    for name, path in files.items():
        flags = ["--should", "--checkEndings", "--shaping", "--useIP4"]
        flags.append("--unicast" if "unicast" in name else "--multicast")
        flags.append("--audioOnly" if name.startswith("audio") else "--videoOnly")
        if paths_of(name) > 1:
            flags.append("--duplicate")
        failures += expect(name, sdpoker(program, path, *flags), OBJECTIONS.get(name, []))
    return failures


def check_white_space(files, program):
    return sum(expect(name, sdpoker(program, files[name], "--whitespace"), objections)
               for name, objections in WHITE_SPACE.items())


def check_ffmpeg(files):
    failures = 0
    for name, path in files.items():
        result = run("ffprobe", "-v", "error", "-sdp_flags", "custom_io", "-show_entries",
                     "stream=index,codec_name,codec_type,width,height,pix_fmt,sample_rate,channels", "-of", "compact",
                     path)
        expected = [f"stream|index={i}|{STREAMS[kind_of(name)]}" for i in range(paths_of(name))]
        failures += expect(name, (result.stdout + result.stderr).splitlines(), expected)
    return failures


def gstreamer(program, path):
    output = subprocess.run([program, path], capture_output=True, timeout=60, check=False).stdout.decode()
    caps, _, text = output.partition("\n\n")
    return caps.splitlines(), text


def check_gstreamer_caps(files, program):
    failures = 0
    for name, path in files.items():
        head, tail = CAPS[kind_of(name)]
        mids = [f"a-mid=(string){i}, " if paths_of(name) > 1 else "" for i in range(paths_of(name))]
        failures += expect(name, gstreamer(program, path)[0],
                           [f"application/x-unknown, {head}, {mid}{tail}" for mid in mids])
    return failures


def check_gstreamer_text(files, program):
    """The same bytes, but that it gives multicast addresses a time to live, of 0."""
    return sum(expect(name, gstreamer(program, path)[1],
                      re.sub(r"(?m)^(c=IN IP4 239[0-9.]*)", r"\1/0", path.read_bytes().decode()))
               for name, path in files.items())


def set_up(folder):
    if (folder / "node_modules/sdpoker/sdpoker.js").exists():
        return 0
    folder.mkdir(parents=True, exist_ok=True)
    try:
        result = subprocess.run(
            ["npm", "install", "--prefix", folder, "--no-save", "--no-audit", "--no-fund", SDPOKER],
            capture_output=True, text=True, timeout=240, check=False)
        reason = result.stderr.strip() if result.returncode else ""
    except subprocess.TimeoutExpired as error:
        reason = str(error)
    except OSError as error:
        print(f"npm, which scripts/setup installs, could not be run: {error}")
        return 1
    if reason:
        print(f"skipped: {SDPOKER} could not be installed: {reason}")
    return SKIPPED if reason else 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bin", type=pathlib.Path)
    parser.add_argument("--sdpoker", type=pathlib.Path)
    parser.add_argument("--list", action="store_true")
    parser.add_argument("case", nargs="?")
    arguments = parser.parse_args()
    if arguments.list:
        print("\n".join(CASES))
        return 0
    if arguments.case == "SetUp":
        return set_up(arguments.sdpoker)

    program = arguments.sdpoker / "node_modules/sdpoker/sdpoker.js"
    if arguments.case.startswith("Sdpoker") and not program.exists():
        print(f"skipped: {SDPOKER} is not installed; its set-up says why")
        return SKIPPED
    gst = arguments.bin / "gstreamer_description"
    if arguments.case.startswith("Gstreamer") and not gst.exists():
        print("skipped: built without libgstreamer-plugins-base1.0-dev")
        return SKIPPED

    with tempfile.TemporaryDirectory() as folder:
        names = subprocess.run([arguments.bin / "write_descriptions", folder], capture_output=True, text=True,
                               timeout=60, check=True).stdout.split()
        files = {name: pathlib.Path(folder) / f"{name}.sdp" for name in names}
        if set(STREAMS) != {kind_of(name) for name in names}:
            sys.exit(f"descriptions without an expectation, or the reverse: {names}")
        failures = {"SdpokerAccepts": lambda: check_sdpoker(files, program),
                    "SdpokerObjectsToWhiteSpace": lambda: check_white_space(files, program),
                    "FfmpegOpens": lambda: check_ffmpeg(files),
                    "GstreamerMakesCaps": lambda: check_gstreamer_caps(files, gst),
                    "GstreamerWritesTheSame": lambda: check_gstreamer_text(files, gst)}[arguments.case]()
    print(f"{failures} of {len(names)} descriptions were taken in another way" if failures else "as expected")
    return 1 if failures else 0


sys.exit(main())

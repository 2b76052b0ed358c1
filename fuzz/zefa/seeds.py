#!/usr/bin/python3
"""Writes the seeds of this folder: a description, then what the reader may say of it."""

SESSION = "v=0\r\no=- 1 1 IN IP4 host.example\r\ns=seed\r\nc=IN IP4 239.9.9.9\r\na=ts-refclk:ptp=traceable\r\n" \
          "a=source-filter: incl IN IP4 * 192.0.2.1\r\na=group:DUP a b\r\nt=0 0\r\n"
PLAIN = "v=0\no=- 1 1 IN IP4 192.0.2.1\ns=-\nt=0 0\n"
FORMAT = "sampling=%s; width=%s; height=%s; exactframerate=%s; depth=%s; TCS=%s; colorimetry=BT709; PM=%s; %s" \
         "SSN=ST2110-20:2017"


def video(mid, *values):
    return ("m=video 5000 RTP/AVP 96 97\nc=IN IP6 ff05::1\na=rtpmap:96 raw/90000\na=fmtp:96 " + FORMAT % values +
            "\na=fmtp:97 TSMODE=ODD\na=mediaclk:direct=1\na=ts-refclk:localmac=00-11\na=mid:%s\n" % mid)


GOOD = ("YCbCr-4:2:2", "1920", "1080", "60000/1001", "10", "SDR", "2110GPM", "")
ODD = ("KEY", "wide", "", "25", "16", "LINEAR", "2110BPM", "interlace; ")
SECOND = ("YCbCr-4:2:2", "1920", "1080", "25", "10", "SDR", "2110GPM", "interlace; ")
RASTER = ("YCbCr-4:2:2", "17", "11", "25", "10", "SDR", "2110GPM", "")
AUDIO = "m=audio 5004 RTP/AVP 97\na=rtpmap:97 L24/48000\na=ptime:0.12\n"
OTHER_AUDIO = "m=audio 5004 RTP/AVP 97 x\na=rtpmap:97 AM824/44100\na=mid:b\n"
ANC = "m=video 5006 RTP/AVP 100\na=rtpmap:100 smpte291/90000\na=fmtp:100 VPID_Code=133\n"
BARE = "m=video 5006 RTP/AVP 100\n"
COMPRESSED = "m=video 5006 RTP/AVP 100\na=rtpmap:100 jxsv/90000\na=fmtp:100 rate=90000\n"


def seed(name, text, *sentences):
    with open("corpus/" + name, "wb") as file:
        file.write(text.encode("latin-1") + b"\x1e" + "\n".join(sentences).encode())


seed("paths", SESSION + video("a", *GOOD) + video("b", *GOOD) + video("c", *ODD), '!Unsupported depth value "10".',
     '!Unsupported depth value "10".', 'Unsupported PM value "2110BPM".', "No connection is associated with the media with index 2",
     "Unsupported IP version (6) in connection.", "The destination address for the media n\xb01 is not an IPv4 address.",
     "The origin address for the session is not an IPv4 address.")
seed("parameters", PLAIN + video("a", *ODD), "The bit depth value is missing in the following config string : 96 sampling",
     "TCS property was not found in the following config string :width. Default value SDR was set.",
     'The configuration video media "depth=16" could not be parsed. 1', 'Multiple "fmtp" (2) attributes',
     'No "ptime" attribute was found for video media : {}')
seed("clocks", PLAIN + video("a", *SECOND), 'Incorrectly formated reference clock "localmac" : localmac=00-11',
     'Unsupported refclock type : localmac. Only "ptp"', "Incorrectly formated grandmaster id. It should be 8 bytes long : 00-11",
     "IP address (ff05::1) could not be properly converted : 0")
seed("audio", PLAIN + AUDIO + OTHER_AUDIO, 'The channel count value is not present in the "rtpmap" field : {}',
     "The media with index 1 as an unsupported type : 7", "No UDP port is associated with the media with index 18446744073709551616",
     "Multiple payloads are associated with the media with index 0. Only 97")
seed("others", SESSION + ANC + BARE + COMPRESSED + AUDIO)
seed("rasters", PLAIN + video("a", *RASTER) + video("a", *GOOD[:3], "25/1002", *GOOD[4:]))
seed("no_lines", "\n\r\n x=1\nA=2\nm=\n\nm=\x00\na=\na=fmtp\na=fmtp:\na=rtpmap: \nm=audio\na=rtpmap:x\na=group:\n", "", "!")

#!/usr/bin/python3
"""Writes the seeds of this folder: one byte of bits, then requests that end with a NUL each."""
import json

BASE = "/api/x-mxs/v1.0/MXS/"
CONTEXT, CONDUCTOR, STREAM, CORE, LO = ["%02x%014x" % (kind, 1) for kind in range(0x11, 0x16)]
SHARED = "%02x%014x" % (0x12, 2)
AUDIO, ANC, NEW = ["%02x%014x" % (0x13, number) for number in (2, 3, 4)]
NONE = "0" * 16


def request(method, path, body="", who="A", host=""):
    if not path.startswith(("/", "!", "http:")):
        path = BASE + path
    if not isinstance(body, str):
        body = json.dumps(body, separators=(",", ":"))
    return (" ".join([method, path, who] + ([host] if host else [])) + "\n" + body).encode() + b"\0"


def seed(name, *requests, bits="0"):
    with open("corpus/" + name, "wb") as file:
        file.write(bits.encode() + b"".join(requests))


def get(path, **rest):
    return request("GET", path, **rest)


def put(path, body="", **rest):
    return request("PUT", path, body, **rest)


def post(path, body="", **rest):
    return request("POST", path, body, **rest)


def delete(path, **rest):
    return request("DELETE", path, **rest)


def state(stream, started, opened):
    return put("Stream/Mines/%s/State" % stream, {"Started": started, "Opened": opened})


COMMON = {"ApplicativeBufferQueueDepth": 4, "CpuCores": [CORE], "ConductorID": CONDUCTOR, "NumaNode": 0}
CONNECTION = {"SourceIp": 0, "DestinationIp": 4009754625, "DestinationPort": 5004, "NetworkInterfaceID": LO,
              "MulticastMode": "Inclusion", "MulticastSources": ["000000007f000002"], "Dscp": 46, "MulticastTtl": 0}
NETWORK = {"PayloadType": 96, "SSRC": 7, "SocketBufferSize": 0, "ConnectionConfigurations": [CONNECTION]}
BITS = {"BitSampling": "YCbCr_422", "BitDepth": "_10Bits", "BitPadding": "NoPadding", "Endianness": "BigEndian"}
VIDEO = {"Type": "ST2110_20", "Data": {
    "FrameWidth": 64, "FrameHeight": 48, "Framerate": 50, "Interlaced": True, "ClockType": "US",
    "NetworkBitProp": BITS, "PackingMode_E": "General", "Colorimetry": "BT709", "AppBitProp": BITS,
    "UseDefaultTrOffset": True, "TrOffset": 0}}
SOUND = {"Type": "ST2110_30", "Data": {"Encoding": "L24", "SamplingRate": "_48kHz", "PacketTime": "_1ms",
                                       "ChannelNumber": 8, "NbPacketsPerBuffer": 10}}
ANCILLARY = {"Type": "ST2110_40", "Data": {
    "ActiveFrameWidth": 1920, "RawFrameWidth": 2200, "ActiveFrameHeight": 1080, "RawFrameHeight": 1125,
    "Framerate": 50, "Interlaced": True, "ClockType": "EU"}}
PTP = {"InterfaceName": "lo", "hybridMode": False, "TimeStamping": "SW",
       "DefaultDS": {"clockClass": 255, "clockAccuracy": 254, "offsetScaledLogVariance": 65535, "twoStepFlag": True,
                     "domainNumber": 127, "slaveOnly": True, "priority1": 128, "priority2": 128},
       "PortDS": {"logMinDelayReqInterval": -3, "logAnnounceInterval": 0, "announceReceiptTimeout": 3,
                  "logSyncInterval": -3, "delayMechanism": "E2E", "logMinPdelayReqInterval": 0, "versionNumber": 2}}


def configure(stream, essence, network=NETWORK, common=COMMON):
    config = "Stream/Mines/%s/Config/" % stream
    return (put(config + "Common", common) + put(config + "Network", network) + put(config + "Essence", essence) +
            get(config + "Common") + get(config + "Network") + get(config + "Essence"))


def statuses(stream):
    return b"".join(get("Stream/Mines/%s/%s" % (stream, what))
                    for what in ("Status/Common", "Status/Essence", "Status/Network", "State"))


AUTHENTICATE = {"AppID": NONE, "ContextID": NONE}

seed("service", get(""), get("Stream/Shared/"), get("Stream/Mines/"), get("Conductor/Shared/"),
     get("Conductor/Mines/"), get("CpuCore/"), get("CpuCore/%s/Status" % CORE), get("NetIf/"))
seed("context", post("ContextManager/Auth/", AUTHENTICATE, who=""), post("ContextManager/Tick/", who="C"),
     get("ContextManager/Watchdog/"), get("ContextManager/Context/", who="C"),
     get("ContextManager/Context/" + CONTEXT),
     post("ContextManager/Auth/", {"AppID": NONE, "ContextID": CONTEXT}),
     delete("ContextManager/Context/" + CONTEXT, who="B"), delete("ContextManager/Context/" + CONTEXT), get(""))
seed("contexts_without_end", *[post("ContextManager/Auth/", AUTHENTICATE, who="")] * 4)
seed("conductor", post("Conductor/Mines/", {"Shared": True, "ID": NONE}),
     post("Conductor/Mines/", {"Shared": False, "ID": SHARED}), post("Conductor/Mines/", {"Shared": False, "ID": SHARED}),
     put("Conductor/Mines/%s/Config" % SHARED, {"CpuCoreID": CORE}),
     put("Conductor/Mines/%s/State" % SHARED, {"Started": True}), get("Conductor/Mines/%s/Status" % SHARED),
     get("Conductor/Mines/%s/Config" % SHARED), get("Conductor/Mines/%s/State" % SHARED),
     put("Conductor/Mines/%s/State" % SHARED, {"Started": False}, who="B"), delete("Conductor/Mines/" + SHARED),
     get("Conductor/Mines/%s/State" % CONDUCTOR, who="B"))
seed("conductors_without_end", *[post("Conductor/Mines/", {"Shared": False, "ID": NONE})] * 3)
seed("interface", get("NetIf/%s/Config" % LO), put("NetIf/%s/Config" % LO, {"IP": 1, "SubnetMask": 2}),
     get("NetIf/%s/Status" % LO), put("NetIf/%s/UdpPortDrop/%016x" % (LO, 5004)), get("NetIf/%s/UdpPortDrop/" % LO),
     get("NetIf/%s/UdpPortDrop/%016x" % (LO, 5004)), delete("NetIf/%s/UdpPortDrop/%016x" % (LO, 5004)),
     delete("NetIf/%s/UdpPortDrop/%016x" % (LO, 5004)), put("NetIf/%s/UdpPortDrop/%016x" % (LO, 65536)))
seed("stream", post("Stream/Mines/", {"Type": "TX", "Essence": 2, "Shared": True, "ID": NONE}), get("Stream/Mines/"),
     statuses(NEW), delete("Stream/Mines/" + NEW), delete("Stream/Mines/" + STREAM, who="B"))
seed("streams_without_end", *[post("Stream/Mines/", {"Type": "RX", "Essence": 3, "Shared": False, "ID": NONE})] * 3)
RUN = [state(STREAM, False, True), state(STREAM, True, True), statuses(STREAM), state(STREAM, False, True),
       state(STREAM, False, False)]
seed("video", configure(STREAM, VIDEO), *RUN)
seed("audio", configure(AUDIO, SOUND, dict(NETWORK, ConnectionConfigurations=[dict(CONNECTION, MulticastSources=[])] * 2)),
     state(AUDIO, False, True), state(AUDIO, True, True), statuses(AUDIO))
seed("ancillary", configure(ANC, ANCILLARY), state(ANC, False, True), state(ANC, True, True), statuses(ANC))
seed("wrong_order", configure(STREAM, SOUND), state(STREAM, True, True), state(STREAM, True, False),
     state(STREAM, False, True), configure(STREAM, VIDEO), state(STREAM, True, True),
     put("Conductor/Mines/%s/State" % CONDUCTOR, {"Started": False}), state(STREAM, False, True),
     state(STREAM, True, True), delete("Conductor/Mines/" + CONDUCTOR))
seed("conductor_gone", configure(STREAM, VIDEO), delete("Conductor/Mines/" + CONDUCTOR), state(STREAM, False, True))
seed("too_large", configure(STREAM, VIDEO, common=dict(COMMON, ApplicativeBufferQueueDepth=65536)), *RUN)
seed("no_socket", configure(STREAM, VIDEO), *RUN, bits="2")
seed("no_memory", configure(STREAM, VIDEO), *RUN, bits="4")
seed("cut", configure(STREAM, VIDEO), *RUN[:2], statuses(STREAM), *RUN[1:], bits="8")
seed("left_running", configure(STREAM, VIDEO), *RUN[:2], delete("ContextManager/Context/" + CONTEXT))
seed("ptp", put("PtpApi/Config", PTP), get("PtpApi/Config"), get("PtpApi/Status"),
     put("PtpApi/Config", dict(PTP, InterfaceName="nowhere")))
seed("redirected", get("", who=""), get("!", who=""), get("Nothing", who="A", host="LOCALHOST:7420"), get("!"),
     get("Error/x"), request("PATCH", "", who=""), get("!"), bits="1")
seed("hosts", get("http://127.0.0.1:7420/api/x-mxs/v1.0/MXS/", host="[::1]:7420"), get("http://elsewhere/", host="localhost"),
     get("http://localhost", host="127.0.0.1:65536"), get("", host="[::1"))
seed("refused", get("", who=""), get("", who="0123"), get("", who="ab" * 32), get("../x"), get("/"),
     get("Stream/Mines/1/State"), get("Stream/Mines/%s/State" % NONE), request("DELETE", ""),
     put("Stream/Mines/%s/State" % STREAM, "[" * 20), put("Stream/Mines/%s/State" % STREAM, '{"Started":1}'),
     put("Stream/Mines/%s/State" % STREAM, "[]"), put("Stream/Mines/%s/State" % STREAM),
     put("Conductor/Mines/%s/Config" % CONDUCTOR, {"CpuCoreID": "Cores/" + CORE}))
seed("numbers", put("Stream/Mines/%s/Config/Network" % STREAM,
                    '{"PayloadType":96.0,"SSRC":4294967296,"SocketBufferSize":-1,"ConnectionConfigurations":[]}'),
     put("Stream/Mines/%s/Config/Network" % STREAM, '{"PayloadType":1e400,"SSRC":0.5,"SocketBufferSize":-0.0}'),
     put("PtpApi/Config", json.dumps(PTP).replace("-3", "-3.0")))

"""What the benchmarks are to reach: a row for each figure that scripts/bench tells.

A figure is the name of a benchmark as its program lists it, without what Google Benchmark adds behind it
("/manual_time", "/iterations:150"), and ":counter" where a counter and not the time is meant; ":ns_a_byte" comes from
the bytes a second. `beside` is a figure of the same run, or a number of nanoseconds that is the same everywhere: one
that was measured on the reference machine (427.0), or the period of a frame. `most` is the limit of the ratio. `per`
divides a time. Limits that were set in nanoseconds on the reference machine are told in what stood beside them there.
"""
from dataclasses import dataclass
from typing import Optional, Union


@dataclass(frozen=True)
class Levels:
    """A limit that goes with the level of what stands beside it: `near` up to `edge`, `far` above."""
    edge: float
    near: float
    far: float


@dataclass(frozen=True)
class Row:
    what: str
    figure: str
    beside: Union[str, float]
    most: Union[float, Levels, None] = None
    per: int = 1

    def limit(self, beside):
        """`beside`: what was measured there, or None."""
        if not isinstance(self.most, Levels):
            return self.most
        return None if beside is None else self.most.near if beside <= self.most.edge else self.most.far


@dataclass(frozen=True)
class Program:
    name: str
    title: str
    rows: tuple
    arguments: tuple = ()
    quick: tuple = ()
    script: Optional[str] = None  # where it lies when it is none that is built: it drives the service itself
    minute: Optional[str] = None  # a filter for what takes a minute, left out by --quick


# Figures of peers that need not be installed begin so.
PEERS = ("GStreamer", "libavformat")

FRAME = 4320  # packets of a frame of 1080 lines
ANC = 200  # ancillary packets of a frame
LINEAR = 2  # a byte of a thousand times the text may cost this much more: memory gets slower; a square is a thousand

# A quarter of iceoryx's round trip, 1100 ns near and 3150 far, in two bare words that took 130 and 510 there; the edge
# lies between the levels, as many times above the one as below the other.
POLLING = Levels(edge=(130 * 510) ** 0.5, near=1100 / 4 / 130, far=3150 / 4 / 510)
# 28 and 31 ns are 0.06 and 0.35 of libklvanc's time for a packet; the least code took 5.3 and 12.8 beside it.
ANC_PARSE, ANC_GENERATE = 28 / 5.3, 31 / 12.8
# 150 ns a full cycle and 250 above the rail, where the least ring under six locks took 106.
CYCLE, ABOVE_RAIL = 150 / 106, 250 / 106
# CPU of a packet received, in a bare recvmsg loop that copies each payload once.
RECEIVED = 1.3

INTERLEAVED = ("--benchmark_enable_random_interleaving=true",)
OF_THE_KIND = {4096: "4 KiB", 4194304: "4 MiB", 41943040: "40 MiB"}
FORMATS = ("10In16Little", "10In16Big", "10In32Little", "10InPackedLittle", "10In8", "12In16Little", "8In16Little")


def rail():
    for size, words in OF_THE_KIND.items():
        cycle = f"FullCycle/0:rail_{size}_ns"
        yield Row(f"full cycle, {words} : the least ring under six locks", cycle, "FullCycle/0:six_locks_ns", CYCLE)
        yield Row(f"full cycle, {words} : iceoryx on the reference machine", cycle, 427.0, 0.35)
        yield Row(f"full cycle, {words} : the least ring, bare", cycle, "FullCycle/0:least_ns")
        yield Row(f"there and back, polling, {words} : two bare words, turn by turn", f"RailSpin/{size}:rail_ns",
                  f"RailSpin/{size}:raw_ns", POLLING)
        yield Row(f"there and back, asleep, one vCPU, {words} : iceoryx on the reference machine",
                  f"RailBlockedOneCpu/{size}", 7900.0, 0.65)
        yield Row(f"there and back, asleep, one vCPU, {words} : a bare futex", f"RailBlockedOneCpu/{size}",
                  "RawFutexOneCpu/0", 1.15)
        yield Row(f"the same, {words} : a bare futex that has a time limit, too", f"RailBlockedOneCpu/{size}",
                  "RawFutexLimitOneCpu/0")
        yield Row(f"there and back, asleep, across, {words} : a bare futex", f"RailBlockedAcross/{size}",
                  "RawFutexAcross/0")
        for place in ("OneCpu", "Across"):
            yield Row(f"one way, {place}, {words} : GStreamer's shared memory", f"RailOneWay{place}/{size}",
                      f"GStreamerOneWay{place}/{size}", 0.7)
            yield Row(f"one way, {place}, {words} : a bare futex", f"RailOneWay{place}/{size}", f"RawOneWay{place}/0")
            yield Row(f"one way, {place}, a bare futex : GStreamer's shared memory, {words}", f"RawOneWay{place}/0",
                      f"GStreamerOneWay{place}/{size}")
    small, large = "FullCycle/0:rail_4096_ns", "FullCycle/0:rail_41943040_ns"
    yield Row("full cycle, 40 MiB : 4 KiB", large, small, 1.1)
    yield Row("full cycle, 4 KiB : 40 MiB", small, large, 1.1)


def slots():
    above = "lock, buffer and unlock above the rail, no sink"
    locked = "the least ring under six locks of a std::mutex"
    yield Row(f"{above} : {locked}", above, locked, ABOVE_RAIL)
    bare = "rail alone: LockConsumer, GetSlotAddress, UnlockConsumer"
    for figure in ("ZEFA_ slot functions, no sink", "the same with ZEFA_GetSlotTimestamps, no sink",
                   "ZEFA_ slot functions, sink that prints errors only",
                   "ZEFA_ slot functions, sink that prints all to /dev/null"):
        yield Row(f"{figure} : rail alone", figure, bare)


def rest():
    for figure, words in (("GetRecord", "GET and read the record, us"), ("PutRecord", "write the record and PUT, us")):
        yield Row(f"{words} : the bare HTTP library", f"{figure}:library_us", f"{figure}:bare_us", 1.05)
        yield Row(f"{words} : its default pool", f"{figure}:library_us", f"{figure}:default_pool_us", 0.4)


def anc():
    for figure, words, most in (("Parse", "a packet of 32 words read, nobody listens", ANC_PARSE),
                                ("Generate", "a packet of 32 words written, nobody listens", ANC_GENERATE)):
        yield Row(f"{words} : the least code", f"{figure}/listening:0", f"Least{figure}", most, ANC)
        yield Row("the same : a copy of the bytes", f"{figure}/listening:0", "Copy", None, ANC)
        yield Row("the same, somebody listens : nobody", f"{figure}/listening:1", f"{figure}/listening:0", None, ANC)


def media():
    for way, words in (("ToSlot", "network to slot"), ("FromSlot", "slot to network")):
        yield Row(f"{words}, plain copy, a byte : memcpy", f"{way}10InPacked10:ns_a_byte", "Copy:ns_a_byte")
        for form in FORMATS:
            yield Row(f"{words}, {form}, a byte : memcpy", f"{way}{form}:ns_a_byte", "Copy:ns_a_byte")
            yield Row("the same by the loops of every processor : of this one", f"{way}{form}/scalar:ns_a_byte",
                      f"{way}{form}:ns_a_byte")
    yield Row("a packet received by the engine, CPU : a bare recvmsg loop that copies it, on the same core",
              "ReceivingConductor:packet_ns", "BareReceive:packet_ns", RECEIVED)
    yield Row("packets lost meanwhile : packets received", "ReceivingConductor:lost", "ReceivingConductor:packets", 0)
    yield Row("a packet sent and received by the engine, CPU : a bare loop that sleeps between bursts", "OneConductor",
              "BareLoopPaced", None, FRAME)
    yield Row("the same : a bare loop that never sleeps", "OneConductor", "BareLoop", None, FRAME)
    for figure, words in (("OneConductor", "packets lost of 1080p59.94, 10 bits"),
                          ("OneConductorMinute", "the same in a minute")):
        yield Row(f"{words} : packets sent", f"{figure}:lost", f"{figure}:packets", 0)
    yield Row("unlock to lock without waiting and pacing, us : a timer, a bare datagram and a wake",
              "UnlockToLock:road_us", "BareRoad:road_us")


RECORDS = (("network configuration, 2 connections", True),
           ("network configuration, 128 connections of 128 sources", True), ("video configuration", True),
           ("common status, 256 texts", False), ("ancillary status, 16 buffers", False), ("PTP status", False))


def serializer():
    for record, is_sent in RECORDS:
        yield Row(f"{record}: text to record : parse alone", f"{record}: text to record", f"{record}: parse alone")
        if is_sent:
            yield Row(f"{record}: record to text : print alone", f"{record}: record to text", f"{record}: print alone")


def sdp():
    for paths in ("One path", "Two paths"):
        for above, below, most in (("text to tree", "text to tree, every row tried by std::regex", 0.07),
                                   ("text to tree", "GStreamer, parse", 6),
                                   ("ZEFA_ReadSDP", "GStreamer, parse and caps of each media", 2),
                                   ("ZEFA_ReadSDP", "libavformat, open and close", 1),
                                   ("tree to text", "tree to text, tokens found by std::regex", 0.25),
                                   ("tree to text", "GStreamer, as text", 1.25),
                                   ("ZEFA_WriteSDP", "GStreamer, as text", None)):
            yield Row(f"{paths}: {above} : {below}", f"{paths}: {above}", f"{paths}: {below}", most)
    tree = ("text to tree", "tree to text")
    for text, works in (("Descriptions behind each other", tree), ("One format line", tree),
                        ("One line that almost matches", tree), ("One line of repeated groups", tree),
                        ("Media behind each other", ("ZEFA_ReadSDP",))):
        for work in works:
            yield growth(text, work, LINEAR)
    # What memory and the peers do by themselves.
    for text, works in (("Descriptions behind each other",
                         ("copy of the tree", "GStreamer, parse", "GStreamer, as text")),
                        ("Media behind each other", ("GStreamer, parse and caps of each media",))):
        for work in works:
            yield growth(text, work, None)


def growth(text, work, most):
    return Row(f"{text}: {work}, a byte of 1 MB : of 1 kB", f"{text}, 1 MB: {work}, a byte",
               f"{text}, 1 kB: {work}, a byte", most)


def service():
    yield Row("memory of an idle service, KiB : of a program that waits for input and does nothing else",
              "IdleService:kib", "IdleProgram:kib")
    yield Row("the same for each idle context, KiB : of the idle service", "Context:kib", "IdleService:kib")
    yield Row("the same for each stream that is not open, KiB : of the idle service", "Stream:kib", "IdleService:kib")


SECONDS = 3  # of each run but the minutes; 1 of --quick
RASTERS = ("1080p59.94", "2160p25", "2160p29.97", "2160p50", "2160p59.94", "4096x2160p60")
STREAMS = (("1080p25", "streams of 1080p25"), ("16ChannelsOf125us", "streams of 16 channels in packets of 125 us"),
           ("8ChannelsOf1ms", "streams of 8 channels in packets of 1 ms"),
           ("Ancillary", "streams of ancillary data, 50 frames a second, with --memory-limit 22G"))
# Frames that did not come are the most that one of the first three tells; what stands behind them tells whose they are.
MISSED = (("gaps", "due", "frames missing between those that came : frames due"),
          ("underruns", "due", "periods in which none was sent : frames due"),
          ("stalled", "due", "frames behind what was due, more than rings hold back : frames due"),
          ("dropped", "due", "frames for which the receiving application left no room : frames due"),
          ("pause_ms", "period_ms", "longest pause of a thread due every 2 ms on a conductor's core, ms : a frame"),
          ("stolen_ms", "processor_ms",
           "processor time that a machine below this one took meanwhile, ms : all of its processors"))


def roads():
    for figure, words in (("OneStream", f"1080p59.94 sent and received by one conductor, {SECONDS} s"),
                          ("OneStreamMinute", "the same in a minute"),
                          ("TwoServicesHd", f"1080p59.94 from one service to another, {SECONDS} s"),
                          ("TwoServices", f"2160p29.97 from one service to another, {SECONDS} s"),
                          ("TwoServicesMinute", "the same in a minute")):
        yield Row(f"{words}: packets lost : packets due", f"{figure}:lost", f"{figure}:due_packets", 0)
        yield Row(f"{words}: frames that did not come : frames due", f"{figure}:missing", f"{figure}:due", 0)
        for counter, beside, cause in MISSED:
            yield Row(f"{words}: {cause}", f"{figure}:{counter}", f"{figure}:{beside}")
        yield Row(f"{words}: longest time of the application from a lock to the next, ms : what its ring holds",
                  f"{figure}:fill_ms", f"{figure}:ring_ms")
        yield Row(f"{words}: CPU a packet, services alone, ns : bare loops that copy it and sleep between bursts",
                  f"{figure}:packet_ns", f"{figure}:bare_packet_ns")
        yield Row(f"{words}: CPU a packet, services alone, ns : a bare datagram, never copied, nobody sleeps",
                  f"{figure}:packet_ns", f"{figure}:datagram_ns")
        if figure.startswith("TwoServices"):
            yield Row(f"{words}: CPU a packet, receiving service alone, ns : a bare recvmsg loop that copies it",
                      f"{figure}:received_ns", f"{figure}:bare_received_ns", RECEIVED)
        yield Row(f"{words}: % of a core, services alone : the machine", f"{figure}:cpu_percent",
                  f"{figure}:machine_percent")
    for figure, words in (("gbit_s", "largest raster before the first that lost something"),
                          ("whole_gbit_s", "largest raster of those that lost nothing")):
        yield Row(f"{words}, a core for each end, Gbit/s of samples : bare datagrams on both",
                  f"LargestRaster:{figure}", "LargestRaster:bare_gbit_s")
    for raster in RASTERS:
        for lost, due, what in (("lost", "due_packets", "packets lost : packets due"),
                                ("missing", "due", "frames that did not come : frames due")):
            yield Row(f"{raster}, {SECONDS} s: {what}", f"LargestRaster:{lost}_{raster}",
                      f"LargestRaster:{due}_{raster}", 0)
        yield Row(f"{raster}: % of a core, service alone : the machine", f"LargestRaster:cpu_{raster}",
                  "LargestRaster:machine_percent")
    for figure, words in STREAMS:
        yield Row(f"{words}, each sent and received, without loss : by bare datagrams", f"Streams/{figure}:streams",
                  f"Streams/{figure}:bare")
        yield Row("the same : what a service permits", f"Streams/{figure}:streams", f"Streams/{figure}:permitted")
        yield Row("the same: % of a core, service alone : the machine", f"Streams/{figure}:cpu_percent",
                  f"Streams/{figure}:machine_percent")
    yield Row("start of a receiver of 1080p50 to its first slot, ms : the first touch of as many shared bytes",
              "StartToFirstSlot", "StartToFirstSlot:touch_ns", None, 10 ** 6)
    yield Row("the same, ms : a frame", "StartToFirstSlot", 20e6, None, 10 ** 6)
    yield Row("of it in ZEFA_StartStream, which makes the ring, ms : the whole", "StartToFirstSlot:start_ns",
              "StartToFirstSlot", None, 10 ** 6)
    yield Row("memory of a started stream, of the service alone, KiB : its ring", "StartedStream:kib",
              "StartedStream:ring_kib")
    yield Row("ring of four slots of 1080 lines, KiB : its slots", "StartedStream:ring_kib", "StartedStream:slots_kib")


PROGRAMS = (
    Program("bench_rail", "Flow rail", tuple(rail()), (),
            ("--benchmark_repetitions=3", "--benchmark_min_time=0.02")),
    Program("bench_slots", "Slot functions", tuple(slots())),
    Program("bench_rest", "REST exchange", tuple(rest()), (), ("--benchmark_filter=GetRecord",)),
    Program("bench_serializer", "Records", tuple(serializer())),
    Program("bench_sdp", "Descriptions", tuple(sdp())),
    Program("bench_anc", "Ancillary data", tuple(anc()),
            INTERLEAVED + ("--benchmark_repetitions=9", "--benchmark_min_time=0.1"),
            ("--benchmark_repetitions=3", "--benchmark_min_time=0.02")),
    Program("bench_media", "Media engine", tuple(media()), ("--benchmark_min_time=0.1",),
            ("--benchmark_min_time=0.02",), minute="Minute"),
    Program("bench_roads", "Streams through the service", tuple(roads()), (f"--seconds={SECONDS}",),
            ("--seconds=1",), minute="Minute"),
    Program("bench_service", "Service", tuple(service()), script="bench/service/bench_service"),
)

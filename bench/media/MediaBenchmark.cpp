// What the media engine costs: conversion of samples beside a copy of the same bytes and beside the loops of processors
// without wide registers, a packet received, or sent and received, by one conductor beside bare loops with the same
// offloads, and the time from the unlock of a slot at a sender to its lock at a receiver.
#include "../support/BareStream.h"
#include "../support/Pinned.h"
#include "../support/Turns.h"
#include "mxs/media/ConductorLoop.h"
#include "mxs/media/MediaStream.h"
#include "mxs/media/PixelGroups.h"
#include "mxs/media/SampleConversion.h"
#include "mxs/media/SystemMediaClock.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <flowrail1.h>
#include <memory>
#include <semaphore>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <time.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{
using namespace mxs::media;
using bench::NsOf;

constexpr uint32_t kLoopback = 0x7F000001;
constexpr uint32_t kSlots = 8;
constexpr size_t kFramePackets = 4320; // of 1080 lines: four of 1200 bytes of samples each
constexpr bench::Frames kFrames{.datagrams = kFramePackets, .inMemory = kSlots};
constexpr uint64_t kFrameNs = 16'683'333; // of 59.94 a second

[[noreturn]] void Fail(const char* what)
{
    std::fprintf(stderr, "bench_media: %s failed\n", what);
    std::exit(1);
}

// Of conductors and of what stands beside them: one of its own where there are two, for senders of other processes are
// on the first.
uint32_t ReceiverCore()
{
    return std::thread::hardware_concurrency() > 1 ? 1 : 0;
}

// ---- samples ----

struct Format
{
    const char* name;
    uint32_t networkDepth;
    BitProperties application;
};

const Format kFormats[] = {
    {"10InPacked10", 10, {1, 1, 0, 0}}, {"10In16Little", 10, {1, 1, 1, 1}},     {"10In16Big", 10, {1, 1, 1, 0}},
    {"10In32Little", 10, {1, 1, 2, 1}}, {"10InPackedLittle", 10, {1, 1, 0, 1}}, {"10In8", 10, {1, 0, 0, 0}},
    {"12In16Little", 12, {1, 2, 1, 1}}, {"8In16Little", 8, {1, 0, 1, 1}},
};

constexpr uint64_t kGroups = 960 * 540; // half a frame of 1080 lines, in packets of 240 groups

void Convert(benchmark::State& state, const Format& format, bool toSlot, SampleKernel kernel)
{
    const PixelGroup& group = *FindPixelGroup(1, format.networkDepth);
    const SampleConverter converter(group, format.application, kernel);
    std::vector<uint8_t> payload(kGroups * group.bytes, 0x35);
    std::vector<uint8_t> slot(kGroups * group.components * StoredBits(format.application) / 8);
    converter.Write(slot.data(), 0, payload.data(), kGroups);
    for (auto _ : state)
    {
        for (uint64_t first = 0; first < kGroups; first += 240)
            if (toSlot)
                converter.Write(slot.data(), first, payload.data() + first * group.bytes, 240);
            else
                converter.Read(slot.data(), first, payload.data() + first * group.bytes, 240);
        benchmark::DoNotOptimize(slot.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * payload.size())); // as they travel
}

void Copy(benchmark::State& state)
{
    std::vector<uint8_t> from(kGroups * 5, 0x35), to(from.size());
    for (auto _ : state)
    {
        for (size_t at = 0; at < from.size(); at += 1200)
            std::memcpy(to.data() + at, from.data() + at, 1200);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * from.size()));
}

// ---- packets ----

class NoDrops : public PortDropRules
{
public:
    bool IsDropped(uint64_t, uint16_t) const noexcept override { return false; }
};

// The least that a sender and a receiver on one thread do: a burst is written from a frame, sent, read and copied to
// its place, packet by packet. `paced`: the thread sleeps between bursts, as long as a frame of 59.94 a second leaves
// it.
void BareLoop(benchmark::State& state, bool paced)
{
    const bench::Pinned pinned(ReceiverCore());
    bench::BareReceiver receiver(kFrames);
    bench::BareSender sender(kFrames, receiver.Port());
    bench::Pace pace(kFrames, kFrameNs);
    uint64_t sent = 0, received = 0;
    for (auto _ : state)
    {
        const uint64_t before = NsOf(CLOCK_PROCESS_CPUTIME_ID);
        pace.BeginFrame(NsOf(CLOCK_MONOTONIC));
        for (size_t frame = 0; frame < kFramePackets;)
        {
            if (paced) pace.AwaitBurst();
            frame += sender.SendBurst();
            while (const size_t count = receiver.Receive(false))
                received += count;
        }
        sent += kFramePackets;
        state.SetIterationTime(static_cast<double>(NsOf(CLOCK_PROCESS_CPUTIME_ID) - before) / 1e9);
    }
    state.counters["lost"] = static_cast<double>(sent - received);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kFramePackets)); // packets a second of one core
}

VideoConfig Packed10(uint32_t width, uint32_t height, uint32_t rate)
{
    VideoConfig video;
    video.width = width;
    video.height = height;
    video.framerate = rate;
    video.network = video.application = {1, 1, 0, 0};
    return video;
}

// A stream on a conductor and the application's end of its ring.
class End
{
public:
    End(ConductorLoop& loop, Direction direction, const VideoConfig& video, uint16_t port)
        : SlotBytes(LayoutOf(video).lockSize)
    {
        NetworkConfig network;
        network.payloadType = 96;
        network.connections.resize(1);
        network.connections[0].destinationIp = network.connections[0].interfaceAddress = kLoopback;
        network.connections[0].destinationPort = port;
        network.connections[0].networkInterfaceId = 1;
        network.connections[0].interfaceName = "lo";
        CommonConfig common;
        common.queueDepth = kSlots;
        MediaSettings settings;
        settings.log = [](const std::string&) {};
        Stream = MakeMediaStream(direction, common, network, video, settings, Drops);
        if (Stream->Start(loop).Failed()) Fail("a stream");
        const FLOW_RAIL_DESCRIPTOR descriptor{FLOW_RAIL_TYPE_FILE_MAP, Stream->RailDescription()};
        Rail.reset(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
        if (Rail->Open(&descriptor) != FLOW_RAIL_OK) Fail("a rail");
        if (direction == Direction::Receive && Rail->AddConsumer(&Token) != FLOW_RAIL_OK) Fail("a consumer");
    }
    ~End()
    {
        Rail.reset();
        Stream->Stop();
    }

    void Put()
    {
        void* slot = nullptr;
        if (Rail->LockProducer(SlotBytes, 10000, &slot) != FLOW_RAIL_OK) Fail("a lock");
        Rail->UnlockProducer(slot);
    }
    // The RTP timestamp of the slot that comes next.
    uint32_t Take()
    {
        void* slot = nullptr;
        if (Rail->LockConsumer(&Token, SlotBytes, 10000, &slot) != FLOW_RAIL_OK) Fail("a slot");
        TakenNs = NsOf(CLOCK_MONOTONIC);
        FLOW_RAIL_METADATA record{};
        uint32_t count = 0;
        Rail->GetMetadata(slot, FLOW_RAIL_METADATA_TIMESTAMP, &record, 1, &count);
        Rail->UnlockConsumer(&Token, slot);
        return record.Value;
    }
    NetworkCounters Counters() const { return Stream->Counters(); }

    uint64_t TakenNs = 0;

private:
    const uint32_t SlotBytes;
    NoDrops Drops;
    std::unique_ptr<MediaStream> Stream;
    std::unique_ptr<CFlowRail> Rail;
    uint64_t Token = 0;
};

// A sender and a receiver of one format on one conductor.
struct Road
{
    explicit Road(const VideoConfig& video)
        : Port(bench::LoopbackSocket().Bind()), Receiver(Started(Loop), Direction::Receive, video, Port),
          Sender(Loop, Direction::Send, video, Port)
    {
    }

    static ConductorLoop& Started(ConductorLoop& loop)
    {
        if (!loop.Start(ReceiverCore())) Fail("a conductor");
        return loop;
    }

    const uint16_t Port;
    ConductorLoop Loop;
    End Receiver, Sender;
};

VideoConfig FullHd5994()
{
    VideoConfig video = Packed10(1920, 1080, 60);
    video.fractional = true;
    return video;
}

// Processor time of the whole process, whose other threads only hand slots on.
void OneConductor(benchmark::State& state)
{
    Road road(FullHd5994());
    for (int frame = 0; frame < 4; ++frame)
        road.Sender.Put();
    for (auto _ : state)
    {
        const uint64_t before = NsOf(CLOCK_PROCESS_CPUTIME_ID);
        road.Sender.Put();
        road.Receiver.Take();
        state.SetIterationTime(static_cast<double>(NsOf(CLOCK_PROCESS_CPUTIME_ID) - before) / 1e9);
    }
    state.counters["lost"] = static_cast<double>(road.Receiver.Counters().lostPackets);
    state.counters["packets"] = static_cast<double>(road.Sender.Counters().transferredPackets);
    state.counters["underruns"] = static_cast<double>(road.Sender.Counters().underruns);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kFramePackets)); // packets a second of one core
}

// A process that sends frames of 59.94 a second to a port until the object dies.
class SenderProcess
{
public:
    explicit SenderProcess(uint16_t port) : Pid(fork())
    {
        if (Pid < 0) Fail("fork");
        if (Pid != 0) return;
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        std::signal(SIGTERM, [](int) { Ends = 1; });
        {
            ConductorLoop loop;
            if (!loop.Start(0)) Fail("a conductor");
            End sender(loop, Direction::Send, FullHd5994(), port);
            while (!Ends)
                sender.Put();
        }
        _exit(0);
    }
    SenderProcess(const SenderProcess&) = delete;
    SenderProcess& operator=(const SenderProcess&) = delete;
    ~SenderProcess()
    {
        kill(Pid, SIGTERM);
        waitpid(Pid, nullptr, 0);
    }

private:
    static inline volatile std::sig_atomic_t Ends = 0;
    const pid_t Pid;
};

// The least that a receiver does: waits, reads what has been coalesced, copies each payload once to its place.
void BareReceive(benchmark::State& state)
{
    bench::BareReceiver receiver(kFrames);
    const SenderProcess sender(receiver.Port());
    const bench::Pinned pinned(ReceiverCore()); // behind the start of the sender, whose place it is not
    const auto receiveFrames = [&](size_t frames)
    {
        size_t read = 0;
        while (read < frames * kFramePackets)
        {
            const size_t count = receiver.Receive(true);
            if (count == 0) Fail("a datagram");
            read += count;
        }
        return read;
    };
    receiveFrames(kSlots); // every place is the other process's as well until this one has written it
    uint64_t packets = 0, spentNs = 0;
    for (auto _ : state)
    {
        const uint64_t before = NsOf(CLOCK_PROCESS_CPUTIME_ID);
        packets += receiveFrames(1);
        const uint64_t takenNs = NsOf(CLOCK_PROCESS_CPUTIME_ID) - before;
        state.SetIterationTime(static_cast<double>(takenNs) / 1e9);
        spentNs += takenNs;
    }
    state.counters["packet_ns"] = static_cast<double>(spentNs) / static_cast<double>(packets);
}

// The same for a conductor, from the packets that it says to have received.
void ReceivingConductor(benchmark::State& state)
{
    const uint16_t port = bench::LoopbackSocket().Bind();
    const SenderProcess sender(port); // before this process has threads
    ConductorLoop loop;
    End receiver(Road::Started(loop), Direction::Receive, FullHd5994(), port);
    for (int frame = 0; frame < 4; ++frame)
        receiver.Take();
    const NetworkCounters atFirst = receiver.Counters();
    const uint64_t atFirstNs = NsOf(CLOCK_PROCESS_CPUTIME_ID);
    for (auto _ : state)
    {
        const uint64_t before = NsOf(CLOCK_PROCESS_CPUTIME_ID);
        receiver.Take();
        state.SetIterationTime(static_cast<double>(NsOf(CLOCK_PROCESS_CPUTIME_ID) - before) / 1e9);
    }
    const uint64_t spentNs = NsOf(CLOCK_PROCESS_CPUTIME_ID) - atFirstNs;
    const NetworkCounters atLast = receiver.Counters();
    state.counters["lost"] = static_cast<double>(atLast.lostPackets - atFirst.lostPackets);
    const auto packets = static_cast<double>(atLast.transferredPackets - atFirst.transferredPackets);
    state.counters["packets"] = packets;
    state.counters["packet_ns"] = static_cast<double>(spentNs) / packets;
}

// ---- latency ----

// A small picture a thousand times a second, so that little of it is the frame's own time. "road_us" is what is left of
// the way when the wait for the frame's moment and the pacing up to the last packet are taken off.
void UnlockToLock(benchmark::State& state)
{
    constexpr double kOffsetUs = 1000.0 * 43 / 1125 + 1000.0 * 1080 / 1125 * 3 / 4; // of the last of four packets
    Road road(Packed10(8, 4, 1000));
    const SystemMediaClock clock;
    std::vector<double> roads;
    for (auto _ : state)
    {
        std::this_thread::sleep_for(std::chrono::microseconds(1700)); // anywhere in a frame
        const uint64_t unlockedNs = NsOf(CLOCK_MONOTONIC);
        road.Sender.Put();
        const uint32_t timestamp = road.Receiver.Take();
        const uint64_t taiNs = clock.TaiNs(), nowNs = NsOf(CLOCK_MONOTONIC);
        const double sinceMomentUs =
            static_cast<double>(static_cast<uint32_t>(taiNs / 1000 * 9 / 100) - timestamp) / 0.09 -
            static_cast<double>(nowNs - road.Receiver.TakenNs) / 1e3;
        roads.push_back(sinceMomentUs - kOffsetUs);
        state.SetIterationTime(static_cast<double>(road.Receiver.TakenNs - unlockedNs) / 1e9);
    }
    state.counters["road_us"] = bench::Median(std::move(roads));
}

// The least of that way: a thread that its timer has woken sends a datagram, reads it and wakes another thread.
void BareRoad(benchmark::State& state)
{
    constexpr bench::Frames kOne{.datagrams = 1, .burst = 1, .inMemory = 1};
    bench::BareReceiver receiver(kOne);
    bench::BareSender sender(kOne, receiver.Port());
    std::binary_semaphore asked(0), arrived(0);
    uint64_t momentNs = 0; // 0 at the end; the semaphores guard it
    std::jthread engine(
        [&]
        {
            const bench::Pinned pinned(ReceiverCore());
            for (asked.acquire(); momentNs != 0; asked.acquire())
            {
                bench::SleepUntil(momentNs);
                sender.SendBurst();
                receiver.Receive(true);
                arrived.release();
            }
        });
    std::vector<double> roads;
    for (auto _ : state)
    {
        momentNs = NsOf(CLOCK_MONOTONIC) + 1'000'000; // both threads are asleep by then
        asked.release();
        arrived.acquire();
        const uint64_t roadNs = NsOf(CLOCK_MONOTONIC) - momentNs;
        roads.push_back(static_cast<double>(roadNs) / 1e3);
        state.SetIterationTime(static_cast<double>(roadNs) / 1e9);
    }
    momentNs = 0;
    asked.release();
    state.counters["road_us"] = bench::Median(std::move(roads));
}

} // namespace

int main(int count, char** arguments)
{
    prctl(PR_SET_TIMERSLACK, 1000UL); // as conductors have it
    benchmark::RegisterBenchmark("Copy", Copy);
    const SampleKernel fastest = KernelsOfThisProcessor().back(); // which is what streams take
    for (const Format& format : kFormats)
        for (const bool toSlot : {true, false})
        {
            const std::string name = std::string(toSlot ? "ToSlot" : "FromSlot") + format.name;
            benchmark::RegisterBenchmark(name.c_str(), Convert, format, toSlot, fastest);
            benchmark::RegisterBenchmark((name + "/scalar").c_str(), Convert, format, toSlot, SampleKernel::Scalar);
        }
    for (int run = 0; run < 3; ++run) // by turns
    {
        benchmark::RegisterBenchmark("BareReceive", BareReceive)->UseManualTime()->Iterations(150);
        benchmark::RegisterBenchmark("ReceivingConductor", ReceivingConductor)->UseManualTime()->Iterations(150);
        benchmark::RegisterBenchmark("BareLoop", BareLoop, false)->UseManualTime()->Iterations(150);
        benchmark::RegisterBenchmark("BareLoopPaced", BareLoop, true)->UseManualTime()->Iterations(150);
        benchmark::RegisterBenchmark("OneConductor", OneConductor)->UseManualTime()->Iterations(150);
        benchmark::RegisterBenchmark("UnlockToLock", UnlockToLock)->UseManualTime()->Iterations(1000);
        benchmark::RegisterBenchmark("BareRoad", BareRoad)->UseManualTime()->Iterations(1000);
    }
    benchmark::RegisterBenchmark("OneConductorMinute", OneConductor)->UseManualTime()->Iterations(3600);
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

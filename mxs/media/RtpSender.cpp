// Sending: the life of the stream on the control side, its run on the conductor's thread.
#include "RtpSender.h"

#include "ReceiveSocket.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>
#include <utility>

#include <time.h>

namespace mxs::media
{

namespace
{

constexpr uint32_t kNoSocketOrMemory = 10;
constexpr uint32_t kWrongState = 9;
constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint64_t kDefaultBuffer = 4 << 20; // some bursts; what the socket cannot hold is lost

// Bursts before other streams of the conductor run.
constexpr int kBurstsEachRun = 16;

uint64_t MonotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * kNsPerSecond + static_cast<uint64_t>(now.tv_nsec);
}

struct Moment // on both clocks
{
    uint64_t taiNs = 0;
    uint64_t monotonicNs = 0;
};

// The readings must follow one another closely: to a thread that was put aside between them the clock would seem to
// have stepped. On a busy machine that happens often, for a thread is put aside in system calls above all.
Moment ReadClocks(const MediaClock& clock)
{
    constexpr uint64_t kCloseNs = 100'000;
    constexpr int kMostTries = 10;
    Moment closest;
    uint64_t closestNs = UINT64_MAX;
    for (int tries = 0; tries < kMostTries && closestNs > kCloseNs; ++tries)
    {
        const uint64_t beforeNs = MonotonicNs();
        const uint64_t taiNs = clock.TaiNs();
        const uint64_t afterNs = MonotonicNs();
        if (afterNs - beforeNs >= closestNs) continue;
        closestNs = afterNs - beforeNs;
        closest = {taiNs, afterNs};
    }
    return closest;
}

// The conductor's thread alone writes.
void Add(std::atomic<uint64_t>& number, uint64_t more)
{
    number.store(number.load(std::memory_order_relaxed) + more, std::memory_order_relaxed);
}

} // namespace

RtpSender::RtpSender(const CommonConfig& common, const NetworkConfig& network, const EssenceConfig& essence,
                     const MediaSettings& settings)
    : Common(common), Network(network), Essence(essence), Settings(settings), Layout(LayoutOf(essence)),
      Clock(settings.clock ? *settings.clock : SystemClock), Room(SendSocket::kMostBytes),
      ShownPaths(network.connections.size())
{
}

RtpSender::~RtpSender()
{
    RtpSender::Stop();
    Release();
}

Outcome RtpSender::Check() const
{
    if (Outcome wrong = CheckEssence(Direction::Send, Essence); wrong.Failed()) return wrong;
    if (Outcome wrong = CheckNetwork(Direction::Send, Network); wrong.Failed()) return wrong;
    return StreamRail::Check(Layout, Common, Settings);
}

Outcome RtpSender::Start(ConductorLoop& conductor)
{
    if (Conductor) return {kWrongState, "The stream is started already."};
    if (Outcome wrong = Check(); wrong.Failed()) return wrong;

    try
    {
        Outcome outcome = OpenSockets();
        if (!outcome.Failed()) outcome = MakeRail();
        if (outcome.Failed())
        {
            Release();
            return outcome;
        }
        ResetCounters();
        MakePackets();
        if (!conductor.Add(*this))
        {
            Release();
            return {kNoSocketOrMemory, "The system lets the conductor watch no more sockets."};
        }
    }
    catch (...) // nobody runs it, so nothing of it may stay
    {
        Release();
        throw;
    }
    Conductor = &conductor;
    return {};
}

void RtpSender::Stop()
{
    if (!Conductor) return;
    Conductor->Remove(*this);
    Conductor = nullptr;
    TellLost();
    if (const uint64_t refused = Shown.refused.load(std::memory_order_relaxed); refused > 0)
        Say(std::to_string(refused) +
            " playlists, sections and packets of the application were no good and have not been sent.");
    Release();
}

void RtpSender::Release()
{
    Slot = nullptr;
    Packets.reset();
    Schedule.reset();
    Sockets.clear();
    Rail.Close();
    Consumer = 0;
}

Outcome RtpSender::OpenSockets()
{
    const uint64_t wanted = Network.socketBufferSize ? Network.socketBufferSize : kDefaultBuffer;
    for (const ConnectionConfig& connection : Network.connections)
    {
        std::string error;
        auto made = SendSocket::Open(connection, Settings.defaultMulticastTtl, wanted, error);
        if (!made) return {kNoSocketOrMemory, error};
        if (Network.socketBufferSize && made->GrantedBufferBytes() < wanted)
            Say("The socket buffer of " + AddressText(connection.destinationIp) + ", port " +
                std::to_string(connection.destinationPort) + " has " + std::to_string(made->GrantedBufferBytes()) +
                " of the " + std::to_string(wanted) + " bytes that it should have. The limit is net.core.wmem_max.");
        Sockets.push_back(std::move(made));
    }
    return {};
}

Outcome RtpSender::MakeRail()
{
    if (Outcome outcome = Rail.Make("consumer", Layout, Common, Settings); outcome.Failed()) return outcome;
    const uint32_t result = Rail->AddConsumer(&Consumer);
    if (result == FLOW_RAIL_OK) return {};
    return {kNoSocketOrMemory,
            "The stream's ring could not be read from: flow rail result " + std::to_string(result) + "."};
}

void RtpSender::MakePackets()
{
    std::random_device random;
    Ssrc = Network.ssrc;
    while (Ssrc == 0)
        Ssrc = random();
    const uint32_t firstSequence = random() & 0xFFFF;
    Packets =
        MakePacketizer(Essence, {.payloadType = Network.payloadType, .ssrc = Ssrc, .firstSequence = firstSequence});
    Schedule.emplace(Packets->Raster(), Packets->Period(), Packets->CatchUpNs(), Packets->OffsetNs(0));
}

uint64_t RtpSender::Run(uint64_t nowNs)
{
    WorkFromNs = nowNs;
    for (int bursts = 0; bursts < kBurstsEachRun; ++bursts)
    {
        if (!Slot)
            if (const uint64_t againNs = BeginSlot(); againNs > 0) return againNs;
        if (Next < Count)
        {
            const uint64_t dueNs = SlotStartNs + Packets->OffsetNs(Next);
            if (dueNs > nowNs)
            {
                PauseWork(nowNs);
                return dueNs;
            }
            // Being late by one's own work is no reason: a slow machine sends late, and all of it.
            if (nowNs > std::max(dueNs, ActiveNs) + std::max(Schedule->PeriodNs(), Settings.longestHoldNs))
                GiveUpSlot();
            else
                SendBurst();
        }
        nowNs = MonotonicNs();
        ActiveNs = nowNs;
        if (Next >= Count) EndSlot(nowNs);
    }
    PauseWork(nowNs);
    return nowNs;
}

uint64_t RtpSender::BeginSlot()
{
    const auto [taiNs, nowNs] = ReadClocks(Clock);
    Add(Shown.underruns, Schedule->HeldOff(taiNs, nowNs));
    if (const uint64_t waitNs = Schedule->WaitNs(taiNs); waitNs > 0) return nowNs + waitNs;
    uint8_t* address = nullptr;
    if (Rail->LockConsumer(&Consumer, Layout.lockSize, 0, &Slot) != FLOW_RAIL_OK ||
        Rail->GetSlotAddress(Slot, &address) != FLOW_RAIL_OK)
    {
        Slot = nullptr;
        NoteMissing(taiNs, nowNs);
        return nowNs + Schedule->WaitNs(taiNs);
    }
    const uint64_t startTaiNs = Schedule->MomentNs();
    Add(Shown.underruns, Schedule->Began(taiNs, nowNs));
    Shown.waiting.store(false, std::memory_order_relaxed);
    SlotStartNs = nowNs - (taiNs - startTaiNs);
    ActiveNs = nowNs;
    const std::span timestamps(Timestamps.data(), ReadTimestamps());
    Next = 0;
    Count = Packets->Begin({address, Layout.lockSize}, {.startTaiNs = startTaiNs, .timestamps = timestamps});
    Shown.refused.store(Packets->Refused(), std::memory_order_relaxed);
    return 0;
}

void RtpSender::NoteMissing(uint64_t taiNs, uint64_t nowNs)
{
    const uint64_t underruns = Schedule->Missed(taiNs, nowNs);
    if (underruns == 0) return;
    Add(Shown.underruns, underruns);
    Shown.waiting.store(true, std::memory_order_relaxed);
}

size_t RtpSender::ReadTimestamps()
{
    std::array<FLOW_RAIL_METADATA, kMostTimestamps> records;
    uint32_t count = 0;
    if (Rail->GetMetadata(Slot, FLOW_RAIL_METADATA_TIMESTAMP, records.data(), kMostTimestamps, &count) != FLOW_RAIL_OK)
        return 0;
    std::transform(records.begin(), records.begin() + count, Timestamps.begin(),
                   [](const FLOW_RAIL_METADATA& record) {
                       return TimestampRecord{record.Position, record.Value};
                   });
    return count;
}

void RtpSender::SendBurst()
{
    const Burst burst = Packets->Write(Next, std::min(Next + Packets->BurstCount(), Count), Room);
    const std::span<const uint8_t> bytes(Room.data(), burst.totalBytes);
    size_t most = 0; // of the paths
    for (size_t path = 0; path < Sockets.size(); ++path)
    {
        const size_t taken = Sockets[path]->Send(bytes, burst.datagramBytes);
        Add(ShownPaths[path].transferred, taken);
        Add(ShownPaths[path].lost, burst.count - taken);
        Add(Shown.transferred, taken);
        PacketsMoved += taken;
        BytesMoved += std::min(taken * burst.datagramBytes, burst.totalBytes);
        most = std::max(most, taken);
    }
    Add(Shown.processed, most);
    Add(Shown.lost, burst.count - most);
    Next += burst.count;
}

// The conductor was stopped, or the machine stood still: what is so old is of no use to anybody.
void RtpSender::GiveUpSlot()
{
    for (PublishedPath& path : ShownPaths)
        Add(path.lost, Count - Next);
    Add(Shown.lost, Count - Next);
    while (Next < Count) // written all the same: receivers find a gap in the numbers
        Next += Packets->Write(Next, std::min(Next + Packets->BurstCount(), Count), Room).count;
}

void RtpSender::EndSlot(uint64_t nowNs)
{
    Rail->UnlockConsumer(&Consumer, Slot);
    Slot = nullptr;
    PauseWork(nowNs);
    Work.Count(std::exchange(WorkNs, 0));
}

void RtpSender::PauseWork(uint64_t nowNs)
{
    WorkNs += nowNs - WorkFromNs;
    WorkFromNs = nowNs;
}

uint64_t RtpSender::TakeBytesMoved()
{
    return std::exchange(BytesMoved, 0);
}

uint64_t RtpSender::TakePacketsMoved()
{
    return std::exchange(PacketsMoved, 0);
}

void RtpSender::ResetCounters()
{
    BytesMoved = 0;
    PacketsMoved = 0;
    WorkNs = 0;
    Work.Reset();
    for (auto* number : {&Shown.transferred, &Shown.processed, &Shown.underruns, &Shown.lost, &Shown.refused})
        number->store(0);
    Shown.waiting.store(false);
    for (PublishedPath& path : ShownPaths)
    {
        path.transferred.store(0);
        path.lost.store(0);
    }
    LossTold = 0;
}

NetworkCounters RtpSender::Counters() const
{
    NetworkCounters counters;
    counters.transferredPackets = Shown.transferred.load(std::memory_order_relaxed);
    counters.processedPackets = Shown.processed.load(std::memory_order_relaxed);
    counters.underruns = Shown.underruns.load(std::memory_order_relaxed);
    counters.lostPackets = Shown.lost.load(std::memory_order_relaxed);
    counters.receivedSsrc = Ssrc;
    counters.payloadType = Network.payloadType;
    for (const PublishedPath& path : ShownPaths)
        counters.paths.push_back(
            {path.transferred.load(std::memory_order_relaxed), path.lost.load(std::memory_order_relaxed)});
    // A path on which nothing goes out is found by this line, and not only after the stop.
    if (IsRunning() && LossTold == 0) TellLost();
    return counters;
}

void RtpSender::TellLost() const
{
    uint64_t lost = 0;
    for (const PublishedPath& path : ShownPaths)
        lost += path.lost.load(std::memory_order_relaxed);
    if (lost == LossTold) return;
    LossTold = lost;
    for (size_t path = 0; path < ShownPaths.size(); ++path)
    {
        const uint64_t here = ShownPaths[path].lost.load(std::memory_order_relaxed);
        if (here == 0) continue;
        const ConnectionConfig& connection = Network.connections[path];
        const int error = Sockets[path]->LastError();
        Say(std::to_string(here) + " packets to " + AddressText(connection.destinationIp) + ", port " +
            std::to_string(connection.destinationPort) +
            " could not be sent: " + (error ? std::strerror(error) : "the conductor has not run in time") + ".");
    }
}

bool RtpSender::BufferDelayed() const
{
    return Shown.waiting.load(std::memory_order_relaxed);
}

void RtpSender::Say(const std::string& line) const
{
    if (Settings.log)
        Settings.log(line);
    else
        std::fprintf(stderr, "%s\n", line.c_str());
}

} // namespace mxs::media

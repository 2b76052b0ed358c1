// Receiving: the life of the stream on the control side, its run on the conductor's thread.
#include "RtpReceiver.h"

#include "EssenceFormat.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <sys/epoll.h>
#include <time.h>
#include <unistd.h>

namespace mxs::media
{

namespace
{

constexpr uint32_t kNoSocketOrMemory = 10;
constexpr uint32_t kWrongState = 9;
constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint64_t kLeastBuffer = 1 << 20;

// Batches taken from one socket before the next one's turn, and turns before other streams of the conductor run.
constexpr int kBatchesEachTurn = 16;
constexpr int kTurnsEachRun = 4;

uint64_t MonotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * kNsPerSecond + static_cast<uint64_t>(now.tv_nsec);
}

} // namespace

RtpReceiver::RtpReceiver(const CommonConfig& common, const NetworkConfig& network, const EssenceConfig& essence,
                         const MediaSettings& settings, const PortDropRules& drops)
    : Common(common), Network(network), Essence(essence), Settings(settings), Drops(drops), Layout(LayoutOf(essence)),
      Room(ReceiveSocket::kBatchRoom), ShownPaths(network.connections.size())
{
}

RtpReceiver::~RtpReceiver()
{
    RtpReceiver::Stop();
    Release();
}

Outcome RtpReceiver::Check() const
{
    if (Outcome wrong = CheckEssence(Direction::Receive, Essence); wrong.Failed()) return wrong;
    if (Outcome wrong = CheckNetwork(Direction::Receive, Network); wrong.Failed()) return wrong;
    return StreamRail::Check(Layout, Common, Settings);
}

Outcome RtpReceiver::Start(ConductorLoop& conductor)
{
    if (Conductor) return {kWrongState, "The stream is started already."};
    if (Outcome wrong = Check(); wrong.Failed()) return wrong;

    try
    {
        Outcome outcome = OpenSockets();
        if (!outcome.Failed()) outcome = Rail.Make("producer", Layout, Common, Settings);
        if (outcome.Failed())
        {
            Release();
            return outcome;
        }
        ResetCounters();
        // Timestamps and the end record come before lost data.
        const auto others = static_cast<uint32_t>(Layout.buffers.size()) + 1;
        const uint32_t records = Rail.RecordsPerSlot();
        Slots = MakeAssembler(Essence,
                              {.payloadType = Network.payloadType,
                               .ssrc = Network.ssrc,
                               .mostLossRecords = records > others ? records - others : 0,
                               .paths = Network.connections.size(),
                               .queueDepth = Common.queueDepth},
                              *this);
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

void RtpReceiver::Stop()
{
    if (!Conductor) return;
    Conductor->Remove(*this);
    Conductor = nullptr;
    Publish();
    Release();
    TellRefused();
    TellAncillary();
}

void RtpReceiver::Release()
{
    Slots.reset();
    if (WakeSet >= 0) close(WakeSet);
    WakeSet = -1;
    Sockets.clear();
    Rail.Close();
}

Outcome RtpReceiver::OpenSockets()
{
    // Two slots as they travel, and never so little that a few small packets fill it.
    const uint64_t bySlots = std::max(2 * SlotBytesOnNetwork(Essence), kLeastBuffer);
    const uint64_t wanted = Network.socketBufferSize ? Network.socketBufferSize : bySlots;
    for (const ConnectionConfig& connection : Network.connections)
    {
        std::string error;
        auto made = ReceiveSocket::Open(connection, wanted, error);
        if (!made) return {kNoSocketOrMemory, error};
        if (made->GrantedBufferBytes() < wanted)
            Say("The socket buffer of " + AddressText(connection.destinationIp) + ", port " +
                std::to_string(connection.destinationPort) + " has " + std::to_string(made->GrantedBufferBytes()) +
                " of the " + std::to_string(wanted) +
                " bytes that it should have: bursts of packets may be lost. The limit is net.core.rmem_max.");
        Sockets.push_back(std::move(made));
    }
    if (Sockets.size() > 1 && !MakeWakeSet())
        return {kNoSocketOrMemory, "The stream's sockets could not be put together."};
    return {};
}

bool RtpReceiver::MakeWakeSet()
{
    WakeSet = epoll_create1(EPOLL_CLOEXEC);
    if (WakeSet < 0) return false;
    for (const auto& socket : Sockets)
    {
        epoll_event event{};
        event.events = EPOLLIN;
        if (epoll_ctl(WakeSet, EPOLL_CTL_ADD, socket->Descriptor(), &event) != 0) return false;
    }
    return true;
}

int RtpReceiver::WakeDescriptor() const
{
    return WakeSet >= 0 ? WakeSet : Sockets.front()->Descriptor();
}

uint64_t RtpReceiver::Run(uint64_t nowNs)
{
    bool more = true;
    WorkFromNs = nowNs;
    for (int turn = 0; turn < kTurnsEachRun && more; ++turn)
    {
        more = false;
        for (size_t i = 0; i < Sockets.size(); ++i)
        {
            const ConnectionConfig& connection = Network.connections[i];
            int batches = 0;
            DatagramBatch batch;
            while (batches < kBatchesEachTurn && Sockets[i]->Receive(Room, batch))
            {
                ++batches;
                if (Drops.IsDropped(connection.networkInterfaceId, connection.destinationPort))
                {
                    // What is read here and thrown away is no loss of the network's.
                    if (IsEveryPortDropped()) Slots->ForgetSequence();
                    continue;
                }
                TakeBatch(batch, i, nowNs);
                nowNs = MonotonicNs();
                WorkNs += nowNs - WorkFromNs;
                WorkFromNs = nowNs;
            }
            more = more || batches == kBatchesEachTurn;
        }
    }
    const uint64_t next = Slots->Tick(nowNs);
    Publish();
    return more ? nowNs : next;
}

void RtpReceiver::TakeBatch(const DatagramBatch& batch, size_t path, uint64_t nowNs)
{
    if (!batch.wanted) return;
    size_t at = 0;
    do
    {
        const size_t bytes = std::min(batch.datagramBytes, batch.bytes.size() - at);
        ++Transferred;
        ++PacketsMoved;
        Slots->Push(batch.bytes.subspan(at, bytes), path, nowNs);
        at += batch.datagramBytes;
    } while (at < batch.bytes.size());
    BytesMoved += batch.bytes.size();
}

bool RtpReceiver::IsEveryPortDropped() const
{
    return std::all_of(Network.connections.begin(), Network.connections.end(),
                       [this](const ConnectionConfig& connection)
                       { return Drops.IsDropped(connection.networkInterfaceId, connection.destinationPort); });
}

uint64_t RtpReceiver::TakeBytesMoved()
{
    return std::exchange(BytesMoved, 0);
}

uint64_t RtpReceiver::TakePacketsMoved()
{
    return std::exchange(PacketsMoved, 0);
}

uint8_t* RtpReceiver::OpenSlot(void*& slot)
{
    if (Rail->LockProducer(Layout.lockSize, 0, &slot) != FLOW_RAIL_OK) return nullptr;
    uint8_t* address = nullptr;
    if (Rail->GetSlotAddress(slot, &address) != FLOW_RAIL_OK) return nullptr;
    return address;
}

void RtpReceiver::AddRecord(void* slot, uint32_t type, uint32_t position, uint32_t value)
{
    // The numbers of records are kept within the rail's room, so a refusal means a damaged rail, and nothing can be
    // told through it.
    Rail->AddMetadata(slot, type, position, value);
}

void RtpReceiver::CommitSlot(void* slot)
{
    Rail->UnlockProducer(slot);

    const uint64_t nowNs = MonotonicNs();
    const uint64_t workNs = WorkNs + (nowNs - WorkFromNs);
    WorkNs = 0;
    WorkFromNs = nowNs;
    Work.Count(workNs);
}

void RtpReceiver::Publish()
{
    const AssemblerCounters& count = Slots->Counters();
    Shown.transferred.store(Transferred, std::memory_order_relaxed);
    Shown.processed.store(count.processed, std::memory_order_relaxed);
    Shown.drops.store(count.drops, std::memory_order_relaxed);
    Shown.lost.store(count.intake.lost, std::memory_order_relaxed);
    Shown.malformed.store(count.malformed + count.intake.malformed, std::memory_order_relaxed);
    Shown.otherPayloadType.store(count.intake.otherPayloadType, std::memory_order_relaxed);
    Shown.otherSource.store(count.intake.otherSource, std::memory_order_relaxed);
    Shown.parityErrors.store(count.parityErrors, std::memory_order_relaxed);
    Shown.checksumErrors.store(count.checksumErrors, std::memory_order_relaxed);
    Shown.ancillaryNotPlaced.store(count.ancillaryNotPlaced, std::memory_order_relaxed);
    Shown.delayed.store(count.delayed, std::memory_order_relaxed);
    Shown.biggestDelayNs.store(count.biggestDelayNs, std::memory_order_relaxed);
    Shown.biggestDelayAtNs.store(count.biggestDelayAtNs, std::memory_order_relaxed);
    Shown.ssrc.store(count.intake.ssrc, std::memory_order_relaxed);
    Shown.lastSlotDropped.store(count.lastSlotDropped, std::memory_order_relaxed);
    for (size_t path = 0; path < ShownPaths.size(); ++path)
    {
        ShownPaths[path].received.store(count.intake.paths[path].received, std::memory_order_relaxed);
        ShownPaths[path].lost.store(count.intake.paths[path].lost, std::memory_order_relaxed);
    }
}

void RtpReceiver::ResetCounters()
{
    Transferred = 0;
    BytesMoved = 0;
    PacketsMoved = 0;
    WorkNs = 0;
    Work.Reset();
    for (auto* number : {&Shown.transferred, &Shown.processed, &Shown.drops, &Shown.lost, &Shown.delayed,
                         &Shown.biggestDelayNs, &Shown.biggestDelayAtNs, &Shown.malformed, &Shown.otherPayloadType,
                         &Shown.otherSource, &Shown.parityErrors, &Shown.checksumErrors, &Shown.ancillaryNotPlaced})
        number->store(0);
    for (PublishedPath& path : ShownPaths)
    {
        path.received.store(0);
        path.lost.store(0);
    }
    Shown.ssrc.store(0);
    Shown.lastSlotDropped.store(false);
    RefusedTold = 0;
}

NetworkCounters RtpReceiver::Counters() const
{
    NetworkCounters counters;
    counters.transferredPackets = Shown.transferred.load(std::memory_order_relaxed);
    counters.processedPackets = Shown.processed.load(std::memory_order_relaxed);
    counters.drops = Shown.drops.load(std::memory_order_relaxed);
    counters.lostPackets = Shown.lost.load(std::memory_order_relaxed);
    counters.delayedPackets = Shown.delayed.load(std::memory_order_relaxed);
    if (MonotonicNs() < Shown.biggestDelayAtNs.load(std::memory_order_relaxed) + kNsPerSecond)
        counters.biggestDelayNs = Shown.biggestDelayNs.load(std::memory_order_relaxed);
    counters.receivedSsrc = Shown.ssrc.load(std::memory_order_relaxed);
    counters.payloadType = Network.payloadType;
    for (const PublishedPath& path : ShownPaths)
        counters.paths.push_back(
            {path.received.load(std::memory_order_relaxed), path.lost.load(std::memory_order_relaxed)});
    // A configuration that fits no packet at all is found by this line, and not only after the stop.
    if (IsRunning() && counters.processedPackets == 0 && RefusedTold == 0) TellRefused();
    return counters;
}

void RtpReceiver::TellRefused() const
{
    const uint64_t malformed = Shown.malformed.load(std::memory_order_relaxed);
    const uint64_t otherPayloadType = Shown.otherPayloadType.load(std::memory_order_relaxed);
    const uint64_t otherSource = Shown.otherSource.load(std::memory_order_relaxed);
    const uint64_t refused = malformed + otherPayloadType + otherSource;
    if (refused == RefusedTold) return;
    RefusedTold = refused;
    Say(std::to_string(refused) + " packets were of no use: " + std::to_string(malformed) + " malformed, " +
        std::to_string(otherPayloadType) + " of another payload type, " + std::to_string(otherSource) +
        " of another source.");
}

void RtpReceiver::TellAncillary() const
{
    const uint64_t parity = Shown.parityErrors.load(std::memory_order_relaxed);
    const uint64_t checksum = Shown.checksumErrors.load(std::memory_order_relaxed);
    const uint64_t notPlaced = Shown.ancillaryNotPlaced.load(std::memory_order_relaxed);
    if (parity + checksum + notPlaced == 0) return;
    Say("Of the ancillary packets " + std::to_string(parity) + " had a wrong parity, " + std::to_string(checksum) +
        " a wrong checksum, and " + std::to_string(notPlaced) + " no place in a slot.");
}

uint32_t RtpReceiver::SlotsDropped() const
{
    return static_cast<uint32_t>(Shown.drops.load(std::memory_order_relaxed));
}

bool RtpReceiver::BufferDelayed() const
{
    return Shown.lastSlotDropped.load(std::memory_order_relaxed);
}

void RtpReceiver::Say(const std::string& line) const
{
    if (Settings.log)
        Settings.log(line);
    else
        std::fprintf(stderr, "%s\n", line.c_str());
}

} // namespace mxs::media

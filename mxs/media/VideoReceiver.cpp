// Receiving of video: the life of the stream on the control side, its run on the conductor's thread.
#include "VideoReceiver.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <utility>

#include <sys/epoll.h>
#include <time.h>
#include <unistd.h>

namespace mxs::media
{

namespace
{

constexpr uint32_t kBadValue = 4;
constexpr uint32_t kNoSocketOrMemory = 10;
constexpr uint32_t kWrongState = 9;
constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint64_t kRailLimitBytes = 1ULL << 32;
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

std::string RailName()
{
    std::random_device random;
    const uint64_t number = uint64_t{random()} << 32 | random();
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(number));
    return kRailNamePrefix + std::to_string(getpid()) + "-" + digits.data();
}

} // namespace

VideoReceiver::VideoReceiver(const CommonConfig& common, const NetworkConfig& network, const VideoConfig& video,
                             const MediaSettings& settings, const PortDropRules& drops)
    : Common(common), Network(network), Video(video), Settings(settings), Drops(drops), Layout(LayoutOf(video)),
      Room(ReceiveSocket::kBatchRoom)
{
}

VideoReceiver::~VideoReceiver()
{
    VideoReceiver::Stop();
    Release();
}

Outcome VideoReceiver::Check() const
{
    if (Outcome wrong = CheckEssence(Direction::Receive, Video); wrong.Failed()) return wrong;
    if (Outcome wrong = CheckNetwork(Direction::Receive, Network); wrong.Failed()) return wrong;
    if (Common.queueDepth == 0) return {kBadValue, "The application's queue depth is 0."};
    if (Common.queueDepth > kMostQueueDepth)
        return {kBadValue, "The key \"ApplicativeBufferQueueDepth\" is above " + std::to_string(kMostQueueDepth) + "."};
    const uint64_t ringBytes = RingBytes(Layout.lockSize, Common.queueDepth);
    if (uint64_t{Layout.lockSize} * Common.queueDepth >= kRailLimitBytes || ringBytes > Settings.memoryLimitBytes)
        return {kNoSocketOrMemory, "A ring of " + std::to_string(ringBytes) + " bytes is more than is permitted."};
    return {};
}

Outcome VideoReceiver::Start(ConductorLoop& conductor)
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
        const VideoAssembler::Settings settings{
            .payloadType = Network.payloadType, .ssrc = Network.ssrc, .mostLossRecords = RecordRoom};
        Assembler.emplace(Video, settings, static_cast<SlotSink&>(*this));
        conductor.Add(*this);
    }
    catch (...) // nobody runs it, so nothing of it may stay
    {
        Release();
        throw;
    }
    Conductor = &conductor;
    return {};
}

void VideoReceiver::Stop()
{
    if (!Conductor) return;
    Conductor->Remove(*this);
    Conductor = nullptr;
    Publish();
    Release();
    TellRefused();
}

void VideoReceiver::Release()
{
    Assembler.reset();
    if (WakeSet >= 0) close(WakeSet);
    WakeSet = -1;
    Sockets.clear();
    if (Rail) Rail->Close();
    Rail.reset();
    Description.clear();
}

Outcome VideoReceiver::MakeRail()
{
    FLOW_RAIL_DESCRIPTOR descriptor{};
    descriptor.Type = FLOW_RAIL_TYPE_FILE_MAP;
    descriptor.Description = {{"Name", RailName()},
                              {"SlotBytes", std::to_string(Layout.lockSize)},
                              {"SlotCount", std::to_string(Common.queueDepth)},
                              {"Role", "producer"}};
    if (!Settings.railGroup.empty()) descriptor.Description.emplace("Group", Settings.railGroup);
    Rail.reset(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
    const uint32_t result = Rail ? Rail->Create(&descriptor) : FLOW_RAIL_NO_MEMORY;
    if (result != FLOW_RAIL_OK)
        return {kNoSocketOrMemory, "The stream's ring of shared memory could not be made: flow rail result " +
                                       std::to_string(result) + "."};
    FLOW_RAIL_STATUS status{};
    Rail->GetStatus(&status);
    // Timestamps and the end record come before lost data.
    const auto others = static_cast<uint32_t>(Layout.buffers.size()) + 1;
    RecordRoom = status.RecordsPerSlot > others ? status.RecordsPerSlot - others : 0;
    Description = descriptor.Description;
    return {};
}

uint64_t VideoReceiver::DefaultBufferBytes() const
{
    // Two frames as they travel, and never so little that a few small packets fill it.
    const PixelGroup& group = *FindPixelGroup(Video.network.sampling, DepthBits(Video.network.depth));
    const uint64_t frameBytes = uint64_t{Video.height} * (Video.width / group.pixels) * group.bytes;
    return std::max(2 * frameBytes, kLeastBuffer);
}

Outcome VideoReceiver::OpenSockets()
{
    const uint64_t wanted = Network.socketBufferSize ? Network.socketBufferSize : DefaultBufferBytes();
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

bool VideoReceiver::MakeWakeSet()
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

int VideoReceiver::WakeDescriptor() const
{
    return WakeSet >= 0 ? WakeSet : Sockets.front()->Descriptor();
}

uint64_t VideoReceiver::Run(uint64_t nowNs)
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
                    if (IsEveryPortDropped()) Assembler->ForgetSequence();
                    continue;
                }
                TakeBatch(batch, nowNs);
                nowNs = MonotonicNs();
                WorkNs += nowNs - WorkFromNs;
                WorkFromNs = nowNs;
            }
            more = more || batches == kBatchesEachTurn;
        }
    }
    const uint64_t next = Assembler->Tick(nowNs);
    Publish();
    return more ? nowNs : next;
}

void VideoReceiver::TakeBatch(const DatagramBatch& batch, uint64_t nowNs)
{
    for (size_t at = 0; at < batch.bytes.size(); at += batch.datagramBytes)
    {
        const size_t bytes = std::min(batch.datagramBytes, batch.bytes.size() - at);
        ++Transferred;
        ++PacketsMoved;
        Assembler->Push(batch.bytes.subspan(at, bytes), nowNs);
    }
    BytesMoved += batch.bytes.size();
}

bool VideoReceiver::IsEveryPortDropped() const
{
    return std::all_of(Network.connections.begin(), Network.connections.end(),
                       [this](const ConnectionConfig& connection)
                       { return Drops.IsDropped(connection.networkInterfaceId, connection.destinationPort); });
}

uint64_t VideoReceiver::TakeBytesMoved()
{
    return std::exchange(BytesMoved, 0);
}

uint64_t VideoReceiver::TakePacketsMoved()
{
    return std::exchange(PacketsMoved, 0);
}

uint8_t* VideoReceiver::OpenSlot(void*& slot)
{
    if (Rail->LockProducer(Layout.lockSize, 0, &slot) != FLOW_RAIL_OK) return nullptr;
    uint8_t* address = nullptr;
    if (Rail->GetSlotAddress(slot, &address) != FLOW_RAIL_OK) return nullptr;
    return address;
}

void VideoReceiver::AddRecord(void* slot, uint32_t type, uint32_t position, uint32_t value)
{
    // The numbers of records are kept within the rail's room, so a refusal means a damaged rail, and nothing can be
    // told through it.
    Rail->AddMetadata(slot, type, position, value);
}

void VideoReceiver::CommitSlot(void* slot)
{
    Rail->UnlockProducer(slot);

    const uint64_t nowNs = MonotonicNs();
    const uint64_t workNs = WorkNs + (nowNs - WorkFromNs);
    WorkNs = 0;
    WorkFromNs = nowNs;
    const uint64_t before = Shown.slots.load(std::memory_order_relaxed);
    const uint64_t least = Shown.workLeastNs.load(std::memory_order_relaxed);
    const uint64_t most = Shown.workMostNs.load(std::memory_order_relaxed);
    Shown.workLeastNs.store(before == 0 ? workNs : std::min(least, workNs), std::memory_order_relaxed);
    Shown.workMostNs.store(std::max(most, workNs), std::memory_order_relaxed);
    Shown.workTotalNs.fetch_add(workNs, std::memory_order_relaxed);
    Shown.slots.store(before + 1, std::memory_order_relaxed);
}

void VideoReceiver::Publish()
{
    const AssemblerCounters& count = Assembler->Counters();
    Shown.transferred.store(Transferred, std::memory_order_relaxed);
    Shown.processed.store(count.processed, std::memory_order_relaxed);
    Shown.drops.store(count.drops, std::memory_order_relaxed);
    Shown.lost.store(count.lost, std::memory_order_relaxed);
    Shown.malformed.store(count.malformed, std::memory_order_relaxed);
    Shown.otherPayloadType.store(count.otherPayloadType, std::memory_order_relaxed);
    Shown.otherSource.store(count.otherSource, std::memory_order_relaxed);
    Shown.delayed.store(count.delayed, std::memory_order_relaxed);
    Shown.biggestDelayNs.store(count.biggestDelayNs, std::memory_order_relaxed);
    Shown.biggestDelayAtNs.store(count.biggestDelayAtNs, std::memory_order_relaxed);
    Shown.ssrc.store(count.ssrc, std::memory_order_relaxed);
    Shown.lastSlotDropped.store(count.lastSlotDropped, std::memory_order_relaxed);
}

void VideoReceiver::ResetCounters()
{
    Transferred = 0;
    BytesMoved = 0;
    PacketsMoved = 0;
    WorkNs = 0;
    for (auto* number : {&Shown.transferred, &Shown.processed, &Shown.drops, &Shown.lost, &Shown.delayed,
                         &Shown.biggestDelayNs, &Shown.biggestDelayAtNs, &Shown.malformed, &Shown.otherPayloadType,
                         &Shown.otherSource, &Shown.slots, &Shown.workTotalNs, &Shown.workLeastNs, &Shown.workMostNs})
        number->store(0);
    Shown.ssrc.store(0);
    Shown.lastSlotDropped.store(false);
    RefusedTold = 0;
}

NetworkCounters VideoReceiver::Counters() const
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
    // A configuration that fits no packet at all is found by this line, and not only after the stop.
    if (IsRunning() && counters.processedPackets == 0 && RefusedTold == 0) TellRefused();
    return counters;
}

void VideoReceiver::TellRefused() const
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

ProcessingTimes VideoReceiver::Times() const
{
    ProcessingTimes times;
    const uint64_t slots = Shown.slots.load(std::memory_order_relaxed);
    if (slots == 0) return times;
    times.minimum = Shown.workLeastNs.load(std::memory_order_relaxed);
    times.maximum = Shown.workMostNs.load(std::memory_order_relaxed);
    times.mean = Shown.workTotalNs.load(std::memory_order_relaxed) / slots;
    return times;
}

uint32_t VideoReceiver::SlotsDropped() const
{
    return static_cast<uint32_t>(Shown.drops.load(std::memory_order_relaxed));
}

bool VideoReceiver::BufferDelayed() const
{
    return Shown.lastSlotDropped.load(std::memory_order_relaxed);
}

void VideoReceiver::Say(const std::string& line) const
{
    if (Settings.log)
        Settings.log(line);
    else
        std::fprintf(stderr, "%s\n", line.c_str());
}

} // namespace mxs::media

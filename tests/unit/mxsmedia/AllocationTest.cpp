// The way of a packet into a slot takes no memory from the heap: this program counts what each thread asks for.
#include "mxs/media/AncillaryAssembler.h"
#include "mxs/media/AncillaryPacketizer.h"
#include "mxs/media/AudioAssembler.h"
#include "mxs/media/ConductorLoop.h"
#include "mxs/media/VideoAssembler.h"

#include "AncillaryPackets.h"
#include "AudioPackets.h"
#include "Network.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <flowrail1.h>
#include <memory>
#include <new>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace
{

thread_local uint64_t allocations = 0;

void* Allocate(size_t bytes) noexcept
{
    ++allocations;
    return std::malloc(bytes == 0 ? 1 : bytes);
}

void* AllocateAligned(size_t bytes, std::align_val_t alignment) noexcept
{
    ++allocations;
    const auto unit = static_cast<size_t>(alignment);
    return std::aligned_alloc(unit, (bytes + unit - 1) / unit * unit);
}

void* OrThrow(void* memory)
{
    if (!memory) throw std::bad_alloc();
    return memory;
}

} // namespace

// All forms together, or memory of one kind would be freed as another. Never inlined: the compiler would see free()
// meet operator new.
[[gnu::noinline]] void* operator new(size_t bytes)
{
    return OrThrow(Allocate(bytes));
}
[[gnu::noinline]] void* operator new[](size_t bytes)
{
    return OrThrow(Allocate(bytes));
}
[[gnu::noinline]] void* operator new(size_t bytes, const std::nothrow_t&) noexcept
{
    return Allocate(bytes);
}
[[gnu::noinline]] void* operator new[](size_t bytes, const std::nothrow_t&) noexcept
{
    return Allocate(bytes);
}
[[gnu::noinline]] void* operator new(size_t bytes, std::align_val_t alignment)
{
    return OrThrow(AllocateAligned(bytes, alignment));
}
[[gnu::noinline]] void* operator new[](size_t bytes, std::align_val_t alignment)
{
    return OrThrow(AllocateAligned(bytes, alignment));
}
[[gnu::noinline]] void* operator new(size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return AllocateAligned(bytes, alignment);
}
[[gnu::noinline]] void* operator new[](size_t bytes, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return AllocateAligned(bytes, alignment);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, size_t) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::align_val_t) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t, std::align_val_t) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, size_t, std::align_val_t) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

namespace
{

using namespace mxs::media;
using namespace mxs::media::test;

// Two slots by turns, made before anything is counted.
class FixedSink : public SlotSink
{
public:
    explicit FixedSink(size_t slotBytes) : Slots{Bytes(slotBytes), Bytes(slotBytes)} {}

    uint8_t* OpenSlot(void*& slot) override
    {
        Bytes& next = Slots[Opened++ % Slots.size()];
        slot = &next;
        return next.data();
    }
    void AddRecord(void*, uint32_t type, uint32_t, uint32_t) override { Losses += type == kRecordLost; }
    void CommitSlot(void*) override { ++Committed; }

    uint64_t Committed = 0;
    uint64_t Losses = 0;

private:
    std::array<Bytes, 2> Slots;
    uint64_t Opened = 0;
};

TEST(Allocation, TheCountSeesWhatIsTaken)
{
    const uint64_t before = allocations;
    ::operator delete(::operator new(16));
    ::operator delete[](::operator new[](16, std::nothrow));

    EXPECT_EQ(allocations, before + 2);
}

TEST(Allocation, PacketsOfAHundredFramesWithLossesTakeNone)
{
    constexpr uint32_t kFrames = 100, kLines = 32;
    constexpr uint64_t kFrameNs = 40'000'000;
    for (const bool converted : {false, true})
    {
        VideoConfig video = SmallVideo(64, kLines);
        if (converted) video.application = {.sampling = 1, .depth = 1, .padding = 1, .endianness = 1};
        FixedSink sink(LayoutOf(video).lockSize);
        VideoAssembler assembler(video, {.payloadType = 96}, sink);
        std::vector<std::vector<Bytes>> frames;
        for (uint32_t frame = 0; frame < kFrames; ++frame)
            frames.push_back(CutField(Pattern(kLines * 160, frame), 160,
                                      {.firstSequence = kLines * frame, .timestamp = 3600 * frame}));
        const Bytes malformed(11, 0x80);
        uint64_t nowNs = kFrameNs;

        const uint64_t before = allocations;
        for (uint32_t frame = 0; frame < kFrames; ++frame)
        {
            for (uint32_t line = 0; line < kLines; ++line)
            {
                // Lost here and there, now and then at the end; the first and the last frame are whole.
                const bool lost =
                    frame > 0 && frame + 1 < kFrames && (line % 7 == frame % 7 || (frame % 5 == 0 && line > 28));
                if (!lost) assembler.Push(frames[frame][line], 0, nowNs);
                if (line == 3) assembler.Push(malformed, 0, nowNs);
                assembler.Tick(nowNs);
            }
            nowNs += kFrameNs;
            assembler.Tick(nowNs);
        }
        const uint64_t taken = allocations - before;

        EXPECT_EQ(taken, 0u) << (converted ? "converted" : "as it travels");
        EXPECT_EQ(sink.Committed, kFrames);
        EXPECT_GT(sink.Losses, kFrames);
        EXPECT_GT(assembler.Counters().intake.lost, 0u);
    }
}

TEST(Allocation, AudioWithLossesAndJumpsOnTwoPathsTakesNone)
{
    constexpr uint64_t kPacketNs = 125'000;
    const AudioConfig audio = SmallAudio();
    FixedSink sink(LayoutOf(audio).lockSize);
    AudioAssembler assembler(audio, {.payloadType = 96, .paths = 2, .queueDepth = 8}, sink);
    const std::vector<Bytes> packets = CutAudio(Pattern(1000 * 24, 1), {});
    const std::vector<Bytes> farPackets =
        CutAudio(Pattern(100 * 24, 2), {.firstSequence = 1000, .firstTimestamp = 9999});
    uint64_t nowNs = 1'000'000'000;
    uint64_t checksum = 0;

    const uint64_t before = allocations;
    for (const auto* each : {&packets, &farPackets})
        for (size_t i = 0; i < each->size(); ++i)
        {
            nowNs += kPacketNs;
            assembler.Tick(nowNs);
            if (i % 5 != 3) assembler.Push((*each)[i], 0, nowNs);
            if (i % 7 != 3) assembler.Push((*each)[i], 1, nowNs);
            checksum += assembler.Counters().intake.lost;
        }
    const uint64_t taken = allocations - before;

    EXPECT_EQ(taken, 0u);
    EXPECT_GT(checksum, 0u);
    EXPECT_EQ(sink.Committed, 275u);
    EXPECT_GT(sink.Losses, 0u);
}

TEST(Allocation, AncillaryDataInAndOutTakesNone)
{
    constexpr uint32_t kFrames = 50;
    Words full(4 + 255, 0x200);
    full[2] = 0x2FF;
    std::vector<Bytes> packets;
    for (uint32_t i = 0; i < kFrames * 4; ++i)
        packets.push_back(AncDatagram({.sequence = i, .timestamp = i / 4 * 1800, .marker = i % 4 == 3},
                                      std::vector<Anc>(4, {.line = static_cast<uint16_t>(9 + i % 4), .words = full})));
    FixedSink sink(LayoutOf(Progressive1080()).lockSize);
    AncillaryAssembler assembler(Progressive1080(), {.payloadType = 100}, sink);
    AncillaryPacketizer packetizer(Progressive1080(), {.payloadType = 100});
    const Bytes slot = [&]
    {
        Bytes bytes(LayoutOf(Progressive1080()).lockSize);
        const Bytes playlist = PlaylistOf({{9, false, std::vector<Words>(100, full)}});
        std::copy(playlist.begin(), playlist.end(), bytes.begin());
        return bytes;
    }();
    Bytes room(65536);
    uint64_t nowNs = 1'000'000'000;
    size_t sent = 0;

    const uint64_t before = allocations;
    for (uint32_t i = 0; i < packets.size(); ++i)
    {
        if (i % 13 != 6) assembler.Push(packets[i], 0, nowNs);
        nowNs += 5'000'000;
        assembler.Tick(nowNs);
    }
    for (uint32_t i = 0; i < 10; ++i)
    {
        const size_t count = packetizer.Begin(slot, {});
        for (size_t first = 0; first < count;)
            first += packetizer.Write(first, count, room).count;
        sent += count;
    }
    const uint64_t taken = allocations - before;

    EXPECT_EQ(taken, 0u);
    EXPECT_GT(assembler.Counters().committed, kFrames / 2);
    EXPECT_EQ(sent, 10u * 25);
}

// Shows what the conductor's thread has asked for.
class AllocationMeter : public ConductorTask
{
public:
    int WakeDescriptor() const override { return -1; }
    uint64_t Run(uint64_t nowNs) override
    {
        if (!First) First = std::make_unique<std::string>(100, 'x'); // so that the count is seen to count
        Seen.store(allocations);
        ++Runs;
        return nowNs + 1'000'000;
    }
    uint64_t TakeBytesMoved() override { return 0; }
    uint64_t TakePacketsMoved() override { return 0; }

    // Of all that the thread has done so far.
    uint64_t Read()
    {
        const uint64_t before = Runs;
        while (Runs < before + 2)
            std::this_thread::yield();
        return Seen;
    }

private:
    std::unique_ptr<std::string> First;
    std::atomic<uint64_t> Seen{0}, Runs{0};
};

class NoDrops : public PortDropRules
{
public:
    bool IsDropped(uint64_t, uint16_t) const noexcept override { return false; }
};

std::unique_ptr<CFlowRail> OpenRail(const MediaStream& stream)
{
    FLOW_RAIL_DESCRIPTOR descriptor{FLOW_RAIL_TYPE_FILE_MAP, stream.RailDescription()};
    std::unique_ptr<CFlowRail> rail(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
    EXPECT_EQ(rail->Open(&descriptor), 0u);
    return rail;
}

TEST(Allocation, AConductorThatSendsAndReceivesTakesNone)
{
    VideoConfig video = SmallVideo(64, 32);
    video.framerate = 200;
    video.application = {.sampling = 1, .depth = 1, .padding = 1, .endianness = 1};
    const uint32_t slotBytes = LayoutOf(video).lockSize;
    CommonConfig common;
    common.queueDepth = 4;
    NetworkConfig network;
    network.payloadType = 96;
    network.connections = {LoopbackConnection(kLoopback, DeafPort()), LoopbackConnection(kLoopback, DeafPort())};
    const NoDrops drops;
    ConductorLoop loop;
    AllocationMeter meter;
    ASSERT_TRUE(loop.Start(static_cast<uint32_t>(AnyCore())));
    const auto receiver = MakeMediaStream(Direction::Receive, common, network, video, {}, drops);
    const auto sender = MakeMediaStream(Direction::Send, common, network, video, {}, drops);
    ASSERT_EQ(receiver->Start(loop).code, 0u);
    ASSERT_EQ(sender->Start(loop).code, 0u);
    loop.Add(meter);
    const auto in = OpenRail(*sender), out = OpenRail(*receiver);
    uint64_t token = 0;
    ASSERT_EQ(out->AddConsumer(&token), 0u);
    const auto passOne = [&]
    {
        void* slot = nullptr;
        ASSERT_EQ(in->LockProducer(slotBytes, kPatienceMs, &slot), 0u);
        in->AddMetadata(slot, FLOW_RAIL_METADATA_END, slotBytes - 1, 0);
        in->UnlockProducer(slot);
        ASSERT_EQ(out->LockConsumer(&token, slotBytes, kPatienceMs, &slot), 0u);
        out->UnlockConsumer(&token, slot);
    };
    passOne();

    const uint64_t before = meter.Read();
    for (int frame = 0; frame < 20; ++frame)
        passOne();
    const uint64_t taken = meter.Read() - before;

    EXPECT_EQ(before, 2u); // of the meter itself: not even the streams' coming took any on this thread
    EXPECT_EQ(taken, 0u);
    loop.Remove(meter);
    sender->Stop();
    receiver->Stop();
}

} // namespace

// Ancillary data from a transmit stream to a receive stream through the service: every place, all ten bits, both paths,
// losses.
#include "AncRoad.h"

using namespace test;

namespace
{

struct RasterCase
{
    const char* name;
    int32_t standard;
    uint32_t second;     // first line of the second field, 0 when progressive
    uint32_t frameTicks; // of the media clock
    std::vector<uint32_t> buffers;
};

const std::vector<uint32_t> kAllBuffers{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
const std::vector<uint32_t> kOddBuffers{1, 3, 5, 7, 9, 11, 13, 15};

const RasterCase kRasters[] = {
    {"Progressive1080", ZEFA_VIDEO_STANDARD_1920X1080_P_50, 0, 1800, kAllBuffers},
    {"Interlaced1080", ZEFA_VIDEO_STANDARD_1920X1080_I_59_94, 564, 3003, kAllBuffers},
    {"Progressive720", ZEFA_VIDEO_STANDARD_1280X720_P_60, 0, 1500, kAllBuffers},
    {"Interlaced576", ZEFA_VIDEO_STANDARD_720X576_I_50, 313, 3600, kOddBuffers},
    {"Interlaced487", ZEFA_VIDEO_STANDARD_720X487_I_59_94, 266, 3003, kOddBuffers},
    {"Progressive2160", ZEFA_VIDEO_STANDARD_3840X2160_P_25, 0, 3600, kAllBuffers},
};

std::vector<uint16_t> Words(size_t count, uint32_t seed)
{
    std::vector<uint16_t> words(count);
    uint32_t state = seed * 2654435761u + 1;
    for (uint16_t& word : words)
    {
        state = state * 1664525u + 1013904223u;
        word = uint16_t(state >> 22); // ten bits of anything
    }
    return words;
}

// Packets in every buffer, in both areas and both fields, of no word to 255; none like those of another frame.
std::vector<AncItem> FrameOf(const RasterCase& raster, uint32_t frame)
{
    std::vector<uint32_t> lines{1, 9, 20};
    if (raster.second) lines.insert(lines.end(), {raster.second - 1, raster.second, raster.second + 10});
    std::vector<AncItem> items;
    for (const uint32_t buffer : raster.buffers)
        for (const uint32_t line : lines)
            for (const bool horizontal : {true, false})
                for (uint32_t packet = 0; packet < 2; ++packet)
                {
                    const uint32_t seed = ((frame * 16 + buffer) * 2048 + line) * 4 + horizontal * 2 + packet;
                    const size_t count = buffer == 3 && packet == 0 ? 255 - frame % 2 * 255 : seed % 7;
                    if (horizontal && count == 255) continue; // two would not fit there
                    items.push_back(
                        {buffer, line, horizontal, uint8_t(0x41 + frame), uint8_t(seed), Words(count, seed)});
                }
    return items;
}

class AncLoop : public testing::Test
{
protected:
    MxsProcess Service{kSendsLate};
    Session With{Service.ServiceUrl()};
};

class AncRaster : public AncLoop, public testing::WithParamInterface<RasterCase>
{
};

TEST_P(AncRaster, EveryWordArrivesOnItsLineInItsAreaAndBuffer)
{
    const RasterCase& raster = GetParam();
    const AncSettings settings{.standard = raster.standard, .paths = {FreeEndpoint()}};
    AncStream receive(With, ZEFA_STREAM_TYPE_RX, settings), send(With, ZEFA_STREAM_TYPE_TX, settings);
    receive.Start();
    send.Start();
    constexpr uint32_t kFrames = 4, kFirst = 0xFFFFF000; // wraps under way

    const auto at = [&](uint32_t frame) { return kFirst + frame * raster.frameTicks; };
    const auto second = [&](uint32_t frame)
    { return raster.second ? std::optional(at(frame) + raster.frameTicks / 2 + 1) : std::nullopt; };
    send.Put({}, at(0), second(0)); // the receiver keeps what follows the end of a frame
    for (uint32_t frame = 1; frame <= kFrames; ++frame)
        send.Put(FrameOf(raster, frame), at(frame), second(frame));

    for (uint32_t frame = 1; frame <= kFrames; ++frame)
    {
        const std::optional<AncSlot> slot = receive.Take();
        ASSERT_TRUE(slot) << "frame " << frame;
        EXPECT_EQ(FrameOf(raster, frame), slot->items);
        EXPECT_TRUE(slot->losses.empty());
        ASSERT_EQ(raster.second ? 2u : 1u, slot->timestamps.size());
        EXPECT_EQ(0u, slot->timestamps[0].Position_UL);
        EXPECT_EQ(at(frame), slot->timestamps[0].Value_UL);
        if (raster.second)
        {
            EXPECT_EQ(*second(frame), slot->timestamps[1].Value_UL);
        }
    }
    EXPECT_EQ(0u, receive.NetworkStatus().LostPacketsCount_ULL);
}

INSTANTIATE_TEST_SUITE_P(Rasters, AncRaster, testing::ValuesIn(kRasters),
                         [](const auto& instance) { return instance.param.name; });

TEST_F(AncLoop, ASlotWithoutPacketsArrivesAsOne)
{
    const AncSettings settings{.paths = {FreeEndpoint()}};
    AncStream receive(With, ZEFA_STREAM_TYPE_RX, settings), send(With, ZEFA_STREAM_TYPE_TX, settings);
    receive.Start();
    send.Start();
    for (uint32_t frame = 0; frame < 3; ++frame)
        send.Put({}, 1800 * frame);

    for (uint32_t frame = 1; frame < 3; ++frame)
    {
        const std::optional<AncSlot> slot = receive.Take();
        ASSERT_TRUE(slot);
        EXPECT_TRUE(slot->items.empty());
        EXPECT_EQ(1800 * frame, slot->timestamps.at(0).Value_UL);
    }
    EXPECT_EQ(3u, send.NetworkStatus().TotalTransferredPacketCount_ULL);
}

TEST_F(AncLoop, WithoutTimestampsOfTheApplicationFramesAreOnePeriodApart)
{
    const AncSettings settings{.paths = {FreeEndpoint()}};
    AncStream receive(With, ZEFA_STREAM_TYPE_RX, settings), send(With, ZEFA_STREAM_TYPE_TX, settings);
    receive.Start();
    send.Start();

    // A sender that is late leaves frames out and counts them, and never all: neighbours come, sooner or later.
    constexpr uint32_t kFrameTicks = 1800, kBursts = 40, kFrames = 5, kNeighbours = 12;
    std::optional<uint32_t> before;
    uint64_t neighbours = 0, leftOut = 0;
    send.Put({}); // the receiver keeps what follows the end of a frame
    for (uint32_t burst = 0; burst < kBursts && neighbours < kNeighbours; ++burst)
    {
        for (uint32_t frame = 0; frame < kFrames; ++frame)
            send.Put({{.words = {0x101}}});
        for (uint32_t frame = 0; frame < kFrames; ++frame)
        {
            const std::optional<AncSlot> slot = receive.Take();
            ASSERT_TRUE(slot);
            const uint32_t timestamp = slot->timestamps.at(0).Value_UL;
            const uint32_t step = before ? timestamp - *before : kFrameTicks;
            ASSERT_EQ(0u, step % kFrameTicks) << step;
            ASSERT_LE(kFrameTicks, step); // none stands still
            neighbours += before && step == kFrameTicks;
            leftOut += step / kFrameTicks - 1;
            before = timestamp;
        }
    }
    EXPECT_LE(uint64_t{kNeighbours}, neighbours);
    EXPECT_LE(leftOut, send.NetworkStatus().UnderrunCount_ULL);
}

// A packet that no other frame has.
std::vector<AncItem> Numbered(uint32_t frame)
{
    return {{.did = uint8_t(0x41 + frame), .words = Words(1 + frame, frame)}};
}

class AncPause : public AncLoop, public testing::WithParamInterface<uint32_t> // milliseconds
{
};

TEST_P(AncPause, SendingGoesOnByItselfAtTheTimeOfTheClock)
{
    constexpr uint32_t kFrames = 8, kFrameMs = 20, kFrameTicks = 1800;
    const uint32_t pauseMs = GetParam();
    const AncSettings settings{.paths = {FreeEndpoint()}, .slots = 2 * kFrames};
    AncStream receive(With, ZEFA_STREAM_TYPE_RX, settings), send(With, ZEFA_STREAM_TYPE_TX, settings);
    receive.Start();
    send.Start();

    for (uint32_t frame = 0; frame < kFrames; ++frame)
        send.Put(Numbered(frame));
    ASSERT_TRUE(Await([&] { return send.NetworkStatus().TotalProcessedPacketCount_ULL == kFrames; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
    for (uint32_t frame = kFrames; frame < 2 * kFrames; ++frame)
        send.Put(Numbered(frame));

    uint32_t before = 0;
    for (uint32_t frame = 1; frame < 2 * kFrames; ++frame) // the receiver keeps what follows the end of a frame
    {
        const std::optional<AncSlot> slot = receive.Take();
        ASSERT_TRUE(slot) << "frame " << frame;
        const uint32_t timestamp = slot->timestamps.at(0).Value_UL;
        if (frame == kFrames)
        {
            EXPECT_GE(timestamp - before, pauseMs * 90 - kFrameTicks);
        }
        EXPECT_EQ(Numbered(frame), slot->items) << "frame " << frame;
        EXPECT_TRUE(slot->losses.empty());
        before = timestamp;
    }
    EXPECT_EQ(0u, receive.NetworkStatus().LostPacketsCount_ULL);
    EXPECT_GE(send.NetworkStatus().UnderrunCount_ULL, pauseMs / kFrameMs - 2);
}

INSTANTIATE_TEST_SUITE_P(OfMilliseconds, AncPause, testing::Values(100, 10000),
                         [](const auto& instance) { return std::to_string(instance.param); });

TEST_F(AncLoop, AReceiverThatStopsForASecondMissesSlotsAndTheRestIsRight)
{
    constexpr uint32_t kSlots = 4, kSecond = 50; // frames
    const AncSettings settings{.paths = {FreeEndpoint()}, .slots = kSlots};
    AncStream receive(With, ZEFA_STREAM_TYPE_RX, settings), send(With, ZEFA_STREAM_TYPE_TX, settings);
    receive.Start();
    send.Start();
    const auto dropped = [&]
    {
        ZEFA_STREAM_COMMON_STATUS status{};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamCommonStatus(receive.Handle, &status));
        return status.SlotDropped_UL;
    };
    const auto expectFrame = [&](uint32_t frame)
    {
        const std::optional<AncSlot> slot = receive.Take();
        ASSERT_TRUE(slot) << "frame " << frame;
        EXPECT_EQ(Numbered(frame), slot->items) << "frame " << frame;
        EXPECT_EQ(1800 * frame, slot->timestamps.at(0).Value_UL);
        EXPECT_TRUE(slot->losses.empty());
    };

    for (uint32_t frame = 0; frame <= kSecond; ++frame)
        send.Put(Numbered(frame), 1800 * frame);
    // The ring takes four; the first frame shows the receiver where frames end.
    EXPECT_TRUE(Await([&] { return dropped() == kSecond - kSlots; })) << dropped();
    for (uint32_t frame = 1; frame <= kSlots; ++frame)
        expectFrame(frame);
    for (uint32_t frame = kSecond + 1; frame <= kSecond + 3; ++frame)
    {
        send.Put(Numbered(frame), 1800 * frame);
        expectFrame(frame);
    }
    EXPECT_EQ(kSecond - kSlots, dropped());
    EXPECT_EQ(0u, receive.NetworkStatus().LostPacketsCount_ULL);
}

// A relay between the two streams, with rules of its own for each path.
class AncPaths : public AncLoop
{
protected:
    // A receiver takes 16 packets of one path before it looks at the next. Where it has to catch up, and a quarter of
    // them was lost, they are of 22 numbers: never so many that a third frame begins before the other path has
    // completed the first.
    static constexpr uint32_t kFrames = 20, kPacketsAFrame = 24, kItemsAPacket = 4;

    // So many packets count as lost in the end.
    void Run(size_t paths, uint64_t lost, Relay::Rule rule)
    {
        AncSettings sending, receiving;
        std::vector<Relay::Path> ways;
        for (size_t i = 0; i < paths; ++i)
        {
            ways.push_back({FreeEndpoint(), FreeEndpoint()});
            sending.paths.push_back(ways.back().from);
            receiving.paths.push_back(ways.back().to);
        }
        sending.slots = receiving.slots = kFrames + 2;
        Relay relay(ways, std::move(rule));
        AncStream receive(With, ZEFA_STREAM_TYPE_RX, receiving), send(With, ZEFA_STREAM_TYPE_TX, sending);
        receive.Start();
        send.Start();
        for (uint32_t frame = 0; frame < kFrames; ++frame)
            send.Put(Frame(frame), 1800 * frame);
        std::optional<AncSlot> slot;
        do
        {
            slot = receive.Take();
            if (slot) Slots.push_back(std::move(*slot));
        } while (slot && Slots.back().timestamps.at(0).Value_UL != 1800 * (kFrames - 1));
        EXPECT_TRUE(Await([&] { return receive.NetworkStatus().LostPacketsCount_ULL == lost; }))
            << receive.NetworkStatus().LostPacketsCount_ULL << " packets, not " << lost;
    }

    // As many RTP packets, each with four ancillary packets of 328 bytes.
    static std::vector<AncItem> Frame(uint32_t frame)
    {
        std::vector<AncItem> items;
        for (uint32_t line = 1; line <= kPacketsAFrame * kItemsAPacket; ++line)
            items.push_back({.line = line, .did = uint8_t(frame), .words = Words(255, frame * 64 + line)});
        return items;
    }

    std::vector<AncSlot> Slots;
};

TEST_F(AncPaths, LossesOfEitherPathLoseNothing)
{
    Run(2, 0,
        [](size_t path, uint32_t index)
        { return index % 4 == (path == 0 ? 1 : 2) ? Relay::Fate::Lose : Relay::Fate::Pass; });

    ASSERT_EQ(kFrames - 1, Slots.size());
    for (uint32_t frame = 1; frame < kFrames; ++frame)
    {
        EXPECT_EQ(Frame(frame), Slots[frame - 1].items);
        EXPECT_TRUE(Slots[frame - 1].losses.empty());
    }
}

TEST_F(AncPaths, APathThatDiesLosesNothing)
{
    constexpr uint32_t kDeath = 9 * kPacketsAFrame / 2; // in the middle of a frame
    Run(2, 0,
        [](size_t path, uint32_t index)
        { return path == 0 && index >= kDeath ? Relay::Fate::Lose : Relay::Fate::Pass; });

    ASSERT_EQ(kFrames - 1, Slots.size());
    for (uint32_t frame = 1; frame < kFrames; ++frame)
        EXPECT_EQ(Frame(frame), Slots[frame - 1].items);
}

TEST_F(AncPaths, WhatBothPathsLoseIsMissingAndReported)
{
    // The last packet of frame 5 and all of frame 9.
    constexpr uint32_t kLast = 6 * kPacketsAFrame - 1, kBegin = 9 * kPacketsAFrame, kEnd = 10 * kPacketsAFrame;
    Run(2, 1 + kPacketsAFrame,
        [](size_t, uint32_t index)
        { return index == kLast || (index >= kBegin && index < kEnd) ? Relay::Fate::Lose : Relay::Fate::Pass; });

    size_t right = 0;
    for (const AncSlot& slot : Slots)
    {
        const uint32_t frame = slot.timestamps.at(0).Value_UL / 1800;
        std::vector<AncItem> expected = Frame(frame);
        if (frame == 5) expected.resize(expected.size() - kItemsAPacket);
        EXPECT_EQ(expected, slot.items) << "frame " << frame;
        // The missing ones may have been the first of the frame behind them too.
        const bool lossy = frame == 5 || frame == 6 || frame == 10;
        EXPECT_EQ(lossy ? 1u : 0u, slot.losses.size()) << "frame " << frame;
        right += slot.items == expected;
    }
    EXPECT_EQ(kFrames - 2, right); // all but the first and the ninth
}

TEST_F(AncPaths, PacketsOutOfOrderMakeTheSameSlots)
{
    Run(1, 0,
        [](size_t, uint32_t index)
        { return index % kPacketsAFrame == 2 || index % kPacketsAFrame == 5 ? Relay::Fate::Hold : Relay::Fate::Pass; });

    ASSERT_EQ(kFrames - 1, Slots.size());
    for (uint32_t frame = 1; frame < kFrames; ++frame)
    {
        EXPECT_EQ(Frame(frame), Slots[frame - 1].items);
        EXPECT_TRUE(Slots[frame - 1].losses.empty());
    }
}

} // namespace

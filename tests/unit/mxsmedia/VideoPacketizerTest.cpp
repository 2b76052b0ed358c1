// Slots go in, datagrams come out: their bytes by hand, how lines are cut, when they are due, which times they carry.
#include "mxs/media/VideoPacketizer.h"

#include "mxs/media/VideoAssembler.h"

#include "Packets.h"

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr uint64_t kMs = 1'000'000;
constexpr PacketizerSettings kSettings{.payloadType = 96, .ssrc = 0x11223344, .firstSequence = 0xFFFE};

// All datagrams of the slot that was begun.
std::vector<Bytes> WriteAll(VideoPacketizer& packets, size_t count)
{
    std::vector<Bytes> all;
    Bytes room(65000, 0xEE);
    while (all.size() < count)
    {
        const Burst burst = packets.Write(all.size(), std::min(count, all.size() + packets.BurstCount()), room);
        EXPECT_GT(burst.count, 0u);
        if (burst.count == 0) break;
        for (size_t at = 0; at < burst.totalBytes; at += burst.datagramBytes)
        {
            const size_t end = std::min(at + burst.datagramBytes, burst.totalBytes);
            all.emplace_back(room.begin() + static_cast<std::ptrdiff_t>(at),
                             room.begin() + static_cast<std::ptrdiff_t>(end));
        }
    }
    return all;
}

uint32_t Get32(const Bytes& from, size_t at)
{
    return uint32_t{from[at]} << 24 | uint32_t{from[at + 1]} << 16 | uint32_t{from[at + 2]} << 8 | from[at + 3];
}

VideoConfig Video(uint32_t width, uint32_t height, uint32_t rate, bool interlaced = false)
{
    VideoConfig video = SmallVideo(width, height, interlaced);
    video.framerate = rate;
    return video;
}

// The RTP timestamps of the fields, 0 and 1, of a slot of 4 lines.
std::vector<uint32_t> TimestampsOf(const VideoConfig& video, const SlotTimes& times)
{
    VideoPacketizer packets(video, kSettings);
    const Bytes slot(LayoutOf(video).lockSize);
    const size_t count = packets.Begin(slot, times);
    std::vector<uint32_t> timestamps;
    for (const Bytes& packet : WriteAll(packets, count))
        if (const uint32_t timestamp = Get32(packet, 4); timestamps.empty() || timestamps.back() != timestamp)
            timestamps.push_back(timestamp);
    return timestamps;
}

} // namespace

TEST(VideoPacketizer, TheBytesOfASmallFrame)
{
    VideoPacketizer packets(SmallVideo(4, 3), kSettings);
    Bytes slot;
    for (uint8_t i = 0; i < 30; ++i)
        slot.push_back(i);

    ASSERT_EQ(packets.Begin(slot, {.startTaiNs = 1'000'000'000}), 3u);
    const std::vector<Bytes> all = WriteAll(packets, 3);

    // 1 s of 90 kHz is 00 01 5F 90; the sequence number runs over into its upper half, which stands behind the SSRC.
    ASSERT_EQ(all.size(), 3u);
    EXPECT_EQ(all[0], (Bytes{0x80, 0x60, 0xFF, 0xFE, 0x00, 0x01, 0x5F, 0x90, 0x11, 0x22, 0x33, 0x44, 0x00, 0x00, 0x00,
                             0x0A, 0x00, 0x00, 0x00, 0x00, 0,    1,    2,    3,    4,    5,    6,    7,    8,    9}));
    EXPECT_EQ(all[1], (Bytes{0x80, 0x60, 0xFF, 0xFF, 0x00, 0x01, 0x5F, 0x90, 0x11, 0x22, 0x33, 0x44, 0x00, 0x00, 0x00,
                             0x0A, 0x00, 0x01, 0x00, 0x00, 10,   11,   12,   13,   14,   15,   16,   17,   18,   19}));
    EXPECT_EQ(all[2], (Bytes{0x80, 0xE0, 0x00, 0x00, 0x00, 0x01, 0x5F, 0x90, 0x11, 0x22, 0x33, 0x44, 0x00, 0x01, 0x00,
                             0x0A, 0x00, 0x02, 0x00, 0x00, 20,   21,   22,   23,   24,   25,   26,   27,   28,   29}));
}

TEST(VideoPacketizer, FieldsHaveTheirBitTheirMarkerAndTheirLines)
{
    VideoPacketizer packets(SmallVideo(2, 5, true), kSettings);
    const Bytes slot = Pattern(25, 1);

    ASSERT_EQ(packets.Begin(slot, {}), 5u);
    const std::vector<Bytes> all = WriteAll(packets, 5);

    const struct
    {
        uint8_t marker, lineHigh, lineLow;
    } expected[] = {{0x60, 0, 0}, {0x60, 0, 1}, {0xE0, 0, 2}, {0x60, 0x80, 0}, {0xE0, 0x80, 1}};
    for (size_t i = 0; i < 5; ++i)
    {
        EXPECT_EQ(all[i][1], expected[i].marker) << i;
        EXPECT_EQ(all[i][16], expected[i].lineHigh) << i;
        EXPECT_EQ(all[i][17], expected[i].lineLow) << i;
        const auto line = slot.begin() + static_cast<std::ptrdiff_t>(5 * i);
        EXPECT_EQ(Bytes(all[i].begin() + 20, all[i].end()), Bytes(line, line + 5)) << i;
    }
}

TEST(VideoPacketizer, LinesAreCutIntoEqualDatagramsWherePossible)
{
    const struct
    {
        const char* name;
        uint32_t width;
        BitProperties bits;
        std::vector<size_t> sampleBytes; // of the datagrams of a line
    } cases[] = {
        {"1080 of 10 bits", 1920, {1, 1, 0, 0}, {1200, 1200, 1200, 1200}},
        {"720 of 10 bits", 1280, {1, 1, 0, 0}, {800, 800, 800, 800}},
        {"1080 of 8 bits", 1920, {1, 0, 0, 0}, {1280, 1280, 1280}},
        {"1080 of 12 bits", 1920, {1, 2, 0, 0}, {1152, 1152, 1152, 1152, 1152}},
        {"576 of 10 bits", 720, {1, 1, 0, 0}, {900, 900}},
        {"RGB of 8 bits", 1920, {10, 0, 0, 0}, {1152, 1152, 1152, 1152, 1152}},
        {"4:4:4 of 10 bits", 1920, {2, 1, 0, 0}, {1200, 1200, 1200, 1200, 1200, 1200}},
        {"2048 of 10 bits", 2048, {1, 1, 0, 0}, {1280, 1280, 1280, 1280}},
        {"a prime number of groups", 1466, {1, 0, 0, 0}, {980, 980, 972}},
        {"one datagram", 4, {1, 1, 0, 0}, {10}},
    };
    for (const auto& test : cases)
    {
        VideoConfig video = Video(test.width, 2, 25);
        video.network = video.application = test.bits;
        VideoPacketizer packets(video, kSettings);
        const Bytes slot = Pattern(LayoutOf(video).lockSize, 3);
        const size_t count = packets.Begin(slot, {});
        ASSERT_EQ(count, 2 * test.sampleBytes.size()) << test.name;

        const std::vector<Bytes> all = WriteAll(packets, count);

        size_t pixel = 0;
        for (size_t i = 0; i < test.sampleBytes.size(); ++i)
        {
            EXPECT_EQ(all[i].size(), 20 + test.sampleBytes[i]) << test.name;
            EXPECT_EQ(size_t{all[i][18]} << 8 | all[i][19], pixel) << test.name;
            pixel += test.sampleBytes[i] * test.width * 2 / slot.size();
        }
        EXPECT_EQ(pixel, test.width) << test.name;
    }
}

TEST(VideoPacketizer, ABurstHoldsDatagramsOfOneLengthAndAShorterLastOne)
{
    VideoConfig video = Video(1466, 2, 25);
    video.network = video.application = {1, 0, 0, 0};
    VideoPacketizer packets(video, kSettings);
    const Bytes slot(LayoutOf(video).lockSize);
    packets.Begin(slot, {});
    Bytes room(65000);

    const Burst line = packets.Write(0, 6, room);
    EXPECT_EQ(line.count, 3u);
    EXPECT_EQ(line.datagramBytes, 1000u);
    EXPECT_EQ(line.totalBytes, 2992u);
    const Burst tight = packets.Write(3, 6, std::span(room).first(1999)); // no room for two
    EXPECT_EQ(tight.count, 1u);
    EXPECT_EQ(tight.totalBytes, 1000u);
}

TEST(VideoPacketizer, ABurstEndsWithItsField)
{
    VideoPacketizer packets(Video(1920, 1080, 25, true), kSettings);
    const Bytes slot(LayoutOf(Video(1920, 1080, 25, true)).lockSize);
    ASSERT_EQ(packets.Begin(slot, {}), 4320u);
    Bytes room(65000);

    EXPECT_EQ(packets.Write(2156, 2184, room).count, 4u); // the last of the first field, 2160 in all
    EXPECT_EQ(packets.Write(2160, 2188, room).count, 28u);
}

TEST(VideoPacketizer, PacketsAreDueOverTheActiveLinesOfTheRaster)
{
    // 1080 lines of 1125 in 20 ms, 4 datagrams each: 19.2 ms, from line 43 on.
    const VideoPacketizer p1080(Video(1920, 1080, 50), kSettings);
    EXPECT_EQ(p1080.OffsetNs(0), 764'444u);
    EXPECT_EQ(p1080.OffsetNs(4), 764'444u + 17'777);
    EXPECT_EQ(p1080.OffsetNs(4319), 764'444u + 19'195'555);

    // 720 lines of 750, from line 28 on.
    const VideoPacketizer p720(Video(1280, 720, 50), kSettings);
    EXPECT_EQ(p720.OffsetNs(0), 746'666u);
    EXPECT_EQ(p720.OffsetNs(1440), 746'666u + 9'600'000);

    // 25 frames of two fields: 540 lines of 562.5 in 20 ms, the second field 20 ms later.
    const VideoPacketizer i1080(Video(1920, 1080, 50, true), kSettings);
    EXPECT_EQ(i1080.OffsetNs(0), 782'222u);
    EXPECT_EQ(i1080.OffsetNs(2159), 782'222u + 19'191'111);
    EXPECT_EQ(i1080.OffsetNs(2160), 20'782'222u);
    EXPECT_EQ(i1080.OffsetNs(4319), 20'782'222u + 19'191'111);
}

TEST(VideoPacketizer, TheSecondFieldIsHalfAFrameBehindTheFirstRoundedUp)
{
    const struct
    {
        uint32_t fields;
        bool fractional;
        uint64_t halfNs;
        uint32_t ticks; // from a frame's moment of 0
    } cases[] = {
        {60, false, 16'666'667, 1500},
        {50, false, 20'000'000, 1800},
        {30, false, 33'333'334, 3000},
        {60, true, 16'683'334, 1501}, // of 1501.5
    };
    for (const auto& each : cases)
    {
        VideoConfig video = Video(1920, 4, each.fields, true);
        video.fractional = each.fractional;
        VideoPacketizer packets(video, kSettings);
        const size_t count = packets.Begin(Bytes(LayoutOf(video).lockSize), {});
        EXPECT_EQ(packets.OffsetNs(count / 2) - packets.OffsetNs(0), each.halfNs) << each.fields;
        EXPECT_EQ(TimestampsOf(video, {}), (std::vector<uint32_t>{0, each.ticks})) << each.fields;
    }
}

TEST(VideoPacketizer, TheFirstPacketLeavesAtTheConfiguredOffset)
{
    VideoConfig video = Video(1920, 1080, 50);
    video.useDefaultTrOffset = false;
    video.trOffset = 1000; // microseconds
    EXPECT_EQ(VideoPacketizer(video, kSettings).OffsetNs(0), 1 * kMs);
    video.trOffset = 41'000; // two frames on
    EXPECT_EQ(VideoPacketizer(video, kSettings).OffsetNs(0), 1 * kMs);
}

TEST(VideoPacketizer, BurstsLastAQuarterOfAMillisecondAtMost)
{
    EXPECT_EQ(VideoPacketizer(Video(1920, 1080, 50), kSettings).BurstCount(), 44u); // what one call takes
    EXPECT_EQ(VideoPacketizer(Video(1920, 1080, 25), kSettings).BurstCount(), 28u); // 8.9 us each
    EXPECT_EQ(VideoPacketizer(Video(8, 4, 25), kSettings).BurstCount(), 1u);
}

TEST(VideoPacketizer, TimestampsComeFromTheMomentOfTheSlot)
{
    constexpr uint64_t kHour = 3'600'000'000'000;
    // 500,000 hours of 90 kHz: 162,000,000,000,000 ticks, of which 4,294,967,296 are one turn: 37718 turns and
    // 2,423,529,472 ticks.
    EXPECT_EQ(TimestampsOf(SmallVideo(), {.startTaiNs = 500'000 * kHour}), std::vector<uint32_t>{2'423'529'472});
    const std::vector<uint32_t> fields{2'423'529'472, 2'423'529'472 + 1800};
    EXPECT_EQ(TimestampsOf(Video(8, 4, 50, true), {.startTaiNs = 500'000 * kHour}), fields);
}

TEST(VideoPacketizer, TimestampsOfTheApplicationGoBeforeTheClocks)
{
    const TimestampRecord first{0, 5000}, elsewhere{39, 7000}, second{40, 9000}; // the second field begins at 40
    EXPECT_EQ(TimestampsOf(SmallVideo(), {.startTaiNs = kMs, .timestamps = {&first, 1}}), std::vector<uint32_t>{5000});
    const VideoConfig interlaced = Video(8, 4, 50, true);
    const TimestampRecord both[] = {second, first, elsewhere};
    EXPECT_EQ(TimestampsOf(interlaced, {.timestamps = both}), (std::vector<uint32_t>{5000, 9000}));
    EXPECT_EQ(TimestampsOf(interlaced, {.timestamps = {&first, 1}}), (std::vector<uint32_t>{5000, 6800}));
    EXPECT_EQ(TimestampsOf(interlaced, {.timestamps = {&second, 1}}), (std::vector<uint32_t>{7200, 9000}));
    const TimestampRecord outside{80, 1};
    EXPECT_EQ(TimestampsOf(interlaced, {.timestamps = {&outside, 1}}), (std::vector<uint32_t>{0, 1800}));
}

TEST(VideoPacketizer, EveryFormatGoesIntoPacketsAndComesOutAsItWas)
{
    size_t checked = 0;
    for (const PixelGroup& group : AllPixelGroups())
        for (const bool interlaced : {false, true})
            for (uint32_t padding = 0; padding < 3; ++padding)
                for (uint32_t endianness = 0; endianness < 2; ++endianness)
                {
                    VideoConfig video = SmallVideo(1440, 3, interlaced);
                    video.network = {group.sampling, (group.depth - 8) / 2, 0, 0};
                    video.application = {group.sampling, (group.depth - 8) / 2, padding, endianness};
                    MemorySink sink(LayoutOf(video).lockSize);
                    VideoAssembler assembler(video, {.payloadType = 96}, sink);
                    // A picture of the application, made of packets: random bytes would not be within the range.
                    const size_t lineBytes = size_t{1440} / group.pixels * group.bytes;
                    uint32_t sequence = 1;
                    for (const bool second : {false, true})
                        for (uint16_t line = 0; line < (interlaced ? 2 - second : 3 - 3 * second); ++line, ++sequence)
                            assembler.Push(MakePacket({.sequence = sequence, .timestamp = 7},
                                                      {{second, line, 0, Pattern(lineBytes, sequence)}}),
                                           0, sequence);
                    ASSERT_EQ(sink.Committed.size(), 1u);
                    const Bytes slot = sink.Committed[0].bytes;

                    VideoPacketizer packets(video, kSettings);
                    const size_t count = packets.Begin(slot, {.startTaiNs = 1'000'000'000});
                    MemorySink back(LayoutOf(video).lockSize);
                    VideoAssembler receiver(video, {.payloadType = 96}, back);
                    for (const Bytes& packet : WriteAll(packets, count))
                        receiver.Push(packet, 0, 1);

                    ASSERT_EQ(back.Committed.size(), 1u);
                    ASSERT_EQ(back.Committed[0].bytes, slot)
                        << group.sampling << " " << group.depth << " " << padding << " " << endianness;
                    EXPECT_EQ(back.Committed[0].records[0].value, 90000u);
                    ++checked;
                }
    EXPECT_EQ(checked, 27u * 2 * 3 * 2);
}

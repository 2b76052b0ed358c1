// Slots of playlists go in, RTP packets come out: bytes, order, fields, timestamps, pacing, and what applications get
// wrong.
#include "mxs/media/AncillaryPacketizer.h"

#include "AncillaryPackets.h"

#include <map>

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr size_t kBufferBytes = 262144;
constexpr uint64_t kSecond = 1'000'000'000;
const PacketizerSettings kSettings{.payloadType = 100, .ssrc = 0x11223344, .firstSequence = 0x0001FFFF};

// A slot with these playlists; the other buffers have an empty one.
Bytes SlotOf(const std::map<size_t, Bytes>& playlists)
{
    Bytes slot(16 * kBufferBytes, 0xEE);
    for (size_t buffer = 0; buffer < 16; ++buffer)
    {
        const auto found = playlists.find(buffer);
        const Bytes playlist = found == playlists.end() ? PlaylistOf({}) : found->second;
        std::copy(playlist.begin(), playlist.end(), slot.begin() + static_cast<std::ptrdiff_t>(buffer * kBufferBytes));
    }
    return slot;
}

std::vector<Bytes> DatagramsOf(AncillaryPacketizer& packetizer, const Bytes& slot, const SlotTimes& times)
{
    const size_t count = packetizer.Begin(slot, times);
    std::vector<Bytes> datagrams;
    Bytes room(65536);
    while (datagrams.size() < count)
    {
        const Burst burst = packetizer.Write(datagrams.size(), count, room);
        EXPECT_GE(burst.count, 1u);
        for (size_t at = 0; at < burst.totalBytes; at += burst.datagramBytes)
        {
            const auto begin = room.begin() + static_cast<std::ptrdiff_t>(at);
            const size_t bytes = std::min(burst.datagramBytes, burst.totalBytes - at);
            datagrams.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(bytes));
        }
    }
    EXPECT_EQ(datagrams.size(), count);
    return datagrams;
}

const TimestampRecord kAt90000[]{{0, 90000}};

} // namespace

TEST(AncillaryPacketizer, APacketAsItTravels)
{
    AncillaryPacketizer packetizer(Progressive1080(), kSettings);
    const auto datagrams =
        DatagramsOf(packetizer, SlotOf({{0, PlaylistOf({{9, true, {{0x241, 0x205, 0x102, 0x155, 0x2AA, 0x147}}}})}}),
                    {.timestamps = kAt90000});

    ASSERT_EQ(datagrams.size(), 1u);
    EXPECT_EQ(datagrams[0], (Bytes{0x80, 0xE4, 0xFF, 0xFF, 0x00, 0x01, 0x5F, 0x90, 0x11, 0x22, 0x33, 0x44, // RTP
                                   0x00, 0x01, 0x00, 0x0C, 0x01, 0x00, 0x00, 0x00,                         //
                                   0x00, 0x9F, 0xFE, 0x00, 0x90, 0x60, 0x54, 0x09, 0x55, 0xAA, 0x94, 0x70}));
    EXPECT_EQ(packetizer.Refused(), 0u);
}

TEST(AncillaryPacketizer, ASlotWithoutPacketsKeepsTheStreamAlive)
{
    AncillaryPacketizer packetizer(Progressive1080(), kSettings);
    const Bytes slot = SlotOf({});
    EXPECT_EQ(DatagramsOf(packetizer, slot, {.timestamps = kAt90000}),
              (std::vector<Bytes>{AncDatagram({.sequence = 0x1FFFF, .timestamp = 90000, .marker = true})}));
    // Numbers go on, through both halves.
    EXPECT_EQ(DatagramsOf(packetizer, slot, {.timestamps = kAt90000}),
              (std::vector<Bytes>{AncDatagram({.sequence = 0x20000, .timestamp = 90000, .marker = true})}));
}

TEST(AncillaryPacketizer, LinesOfAllBuffersRiseAndHeadersSayWhereTheyBelong)
{
    AncillaryPacketizer packetizer(Progressive1080(), kSettings);
    const Bytes slot =
        SlotOf({{0, PlaylistOf({{9, true, {kTimecode}}, {9, false, {kCaptions}}, {12, false, {kNoData}}})},
                {1, PlaylistOf({{11, false, {kCaptions}}})},
                {14, PlaylistOf({{9, false, {kTimecode, kNoData}}})}});

    EXPECT_EQ(DatagramsOf(packetizer, slot, {.timestamps = kAt90000}),
              (std::vector<Bytes>{AncDatagram({.sequence = 0x1FFFF, .timestamp = 90000, .marker = true},
                                              {{.line = 9, .offset = 0xFFE, .words = kTimecode},
                                               {.line = 9, .offset = 0xFFD, .words = kCaptions},
                                               {.line = 9, .offset = 0xFFD, .words = kTimecode, .stream = 7},
                                               {.line = 9, .offset = 0xFFD, .words = kNoData, .stream = 7},
                                               {.line = 11, .offset = 0xFFD, .words = kCaptions, .colour = true},
                                               {.line = 12, .offset = 0xFFD, .words = kNoData}})}));
}

TEST(AncillaryPacketizer, FieldsHaveTheirOwnPacketsMarkersAndTimestamps)
{
    AncillaryPacketizer packetizer(Interlaced1080(), kSettings);
    const Bytes slot = SlotOf({{0, PlaylistOf({{563, false, {kTimecode}}, {564, false, {kCaptions}}})}});
    const TimestampRecord both[]{{3 * kBufferBytes, 90000}, {3 * kBufferBytes + 40, 91502}};

    const std::vector<Bytes> datagrams = DatagramsOf(packetizer, slot, {.timestamps = both});
    EXPECT_EQ(datagrams, (std::vector<Bytes>{
                             AncDatagram({.sequence = 0x1FFFF, .timestamp = 90000, .marker = true, .field = 2},
                                         {{.line = 563, .offset = 0xFFD, .words = kTimecode}}),
                             AncDatagram({.sequence = 0x20000, .timestamp = 91502, .marker = true, .field = 3},
                                         {{.line = 564, .offset = 0xFFD, .words = kCaptions}}),
                         }));
}

TEST(AncillaryPacketizer, AFieldWithoutPacketsKeepsTheStreamAlive)
{
    AncillaryPacketizer packetizer(Interlaced1080(), kSettings);
    const Bytes slot = SlotOf({{0, PlaylistOf({{571, false, {kTimecode}}})}});

    EXPECT_EQ(DatagramsOf(packetizer, slot, {.timestamps = kAt90000}),
              (std::vector<Bytes>{AncDatagram({.sequence = 0x1FFFF, .timestamp = 90000, .marker = true, .field = 2}),
                                  AncDatagram({.sequence = 0x20000, .timestamp = 91501, .marker = true, .field = 3},
                                              {{.line = 571, .offset = 0xFFD, .words = kTimecode}})}));
}

TEST(AncillaryPacketizer, BelowAWidthOf1280OddBuffersAloneAreSentAndColourIsNoChannel)
{
    AncillaryPacketizer packetizer(Interlaced576(), kSettings);
    const Bytes slot = SlotOf({{0, PlaylistOf({{8, false, {kNoData}}})},
                               {1, PlaylistOf({{8, false, {kTimecode}}})},
                               {3, PlaylistOf({{313, true, {kCaptions}}})}});

    EXPECT_EQ(DatagramsOf(packetizer, slot, {.timestamps = kAt90000}),
              (std::vector<Bytes>{AncDatagram({.sequence = 0x1FFFF, .timestamp = 90000, .marker = true, .field = 2},
                                              {{.line = 8, .offset = 0xFFD, .words = kTimecode}}),
                                  AncDatagram({.sequence = 0x20000, .timestamp = 91800, .marker = true, .field = 3},
                                              {{.line = 313, .offset = 0xFFE, .words = kCaptions, .stream = 1}})}));
    EXPECT_EQ(packetizer.Refused(), 0u);
}

TEST(AncillaryPacketizer, ADatagramTakesWhat1452BytesHoldAndTheLastOneHasTheMarker)
{
    Words full(4 + 255, 0x2AA); // 328 bytes
    full[2] = 0x2FF;
    AncillaryPacketizer packetizer(Progressive1080(), kSettings);
    const Bytes slot = SlotOf({{0, PlaylistOf({{9, false, std::vector<Words>(5, full)}, {10, false, {kNoData}}})}});
    const Anc packet{.line = 9, .offset = 0xFFD, .words = full};

    EXPECT_EQ(
        DatagramsOf(packetizer, slot, {.timestamps = kAt90000}),
        (std::vector<Bytes>{AncDatagram({.sequence = 0x1FFFF, .timestamp = 90000}, {packet, packet, packet, packet}),
                            AncDatagram({.sequence = 0x20000, .timestamp = 90000, .marker = true},
                                        {packet, {.line = 10, .offset = 0xFFD, .words = kNoData}})}));
    EXPECT_EQ(packetizer.OffsetNs(0), 0u);
    EXPECT_EQ(packetizer.OffsetNs(1), 100'000u);
}

TEST(AncillaryPacketizer, ADatagramIsFilledToTheLastByteAndNoFurther)
{
    Words full(4 + 255, 0x2AA);
    full[2] = 0x2FF;
    const auto sizes = [&](size_t small, const Words& last)
    {
        std::vector<Section> sections{{9, false, std::vector<Words>(4, full)},
                                      {10, false, std::vector<Words>(small, kNoData)}};
        sections.push_back({11, false, {last}});
        AncillaryPacketizer packetizer(Progressive1080(), kSettings);
        std::vector<size_t> bytes;
        for (const Bytes& datagram : DatagramsOf(packetizer, SlotOf({{0, PlaylistOf(sections)}}), {}))
            bytes.push_back(datagram.size());
        return bytes;
    };
    // 20 + 4 * 328 + 9 * 12 are 1440 bytes.
    EXPECT_EQ(sizes(9, kNoData), (std::vector<size_t>{1452}));
    EXPECT_EQ(sizes(9, kCaptions), (std::vector<size_t>{1440, 36})); // 16 bytes do not fit
    EXPECT_EQ(sizes(10, kNoData), (std::vector<size_t>{1452, 32}));
}

TEST(AncillaryPacketizer, AShorterDatagramEndsABurst)
{
    Words full(4 + 255, 0x2AA);
    full[2] = 0x2FF;
    AncillaryPacketizer packetizer(Interlaced1080(), kSettings);
    const size_t count = packetizer.Begin(
        SlotOf({{0, PlaylistOf({{9, false, std::vector<Words>(5, full)}, {571, false, {kNoData}}})}}), {});
    ASSERT_EQ(count, 3u);

    Bytes room(65536);
    EXPECT_EQ(packetizer.Write(0, count, room).count, 2u); // 1332 and 348 bytes
    const Burst last = packetizer.Write(2, count, room);
    EXPECT_EQ(last.count, 1u);
    EXPECT_EQ(last.totalBytes, 32u);
}

TEST(AncillaryPacketizer, DatagramsOfOneSizeAndAShorterOneMakeABurst)
{
    Words full(4 + 255, 0x2AA);
    full[2] = 0x2FF;
    AncillaryPacketizer packetizer(Progressive1080(), kSettings);
    const size_t count = packetizer.Begin(SlotOf({{0, PlaylistOf({{9, false, std::vector<Words>(10, full)}})}}), {});
    ASSERT_EQ(count, 3u);

    Bytes room(65536);
    const Burst burst = packetizer.Write(0, count, room); // 4, 4 and 2 packets of 328 bytes
    EXPECT_EQ(burst.count, 3u);
    EXPECT_EQ(burst.datagramBytes, 20u + 4 * 328);
    EXPECT_EQ(burst.totalBytes, 3 * 20u + 10 * 328);
}

TEST(AncillaryPacketizer, TheSecondFieldBeginsHalfAFrameLaterAndManyPacketsStayInTheirHalf)
{
    Words full(4 + 255, 0x2AA);
    full[2] = 0x2FF;
    std::vector<Section> sections;
    for (uint16_t line = 1; line <= 60; ++line) // 420 packets of 328 bytes: 105 datagrams
        sections.push_back({line, false, std::vector<Words>(7, full)});
    sections.push_back({600, false, {kNoData}});
    AncillaryPacketizer packetizer(Interlaced1080(), kSettings);
    const size_t count = packetizer.Begin(SlotOf({{0, PlaylistOf(sections)}}), {});

    ASSERT_EQ(count, 106u);
    EXPECT_EQ(packetizer.OffsetNs(1), 79'444u); // half of 16 683 334 ns by 105
    EXPECT_LT(packetizer.OffsetNs(104), 16'683'334u / 2);
    EXPECT_EQ(packetizer.OffsetNs(105), 16'683'334u); // 16,683,333.3 rounded up
    for (size_t i = 1; i < count; ++i)
        EXPECT_LE(packetizer.OffsetNs(i - 1), packetizer.OffsetNs(i));
}

TEST(AncillaryPacketizer, WithoutATimestampOfTheApplicationTheClockGivesIt)
{
    AncillaryPacketizer packetizer(Interlaced1080(), kSettings);
    const auto datagrams = DatagramsOf(packetizer, SlotOf({}), {.startTaiNs = 2 * kSecond});

    ASSERT_EQ(datagrams.size(), 2u);
    EXPECT_EQ(datagrams[0], AncDatagram({.sequence = 0x1FFFF, .timestamp = 180000, .marker = true, .field = 2}));
    EXPECT_EQ(datagrams[1], AncDatagram({.sequence = 0x20000, .timestamp = 181501, .marker = true, .field = 3}));
}

TEST(AncillaryPacketizer, TheTimeOfTheSecondFieldIsThatOfVideo)
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
        AncillaryConfig config = Interlaced1080();
        config.framerate = each.fields;
        config.fractional = each.fractional;
        AncillaryPacketizer packetizer(config, kSettings);
        const auto datagrams = DatagramsOf(packetizer, SlotOf({}), {});
        ASSERT_EQ(datagrams.size(), 2u);
        EXPECT_EQ(packetizer.OffsetNs(1), each.halfNs) << each.fields;
        EXPECT_EQ(datagrams[1],
                  AncDatagram({.sequence = 0x20000, .timestamp = each.ticks, .marker = true, .field = 3}));
    }
}

TEST(AncillaryPacketizer, ThePeriodIsThatOfAFrame)
{
    const SlotPeriod interlaced = AncillaryPacketizer(Interlaced1080(), kSettings).Period();
    EXPECT_EQ(interlaced.numerator * 30000, 1001 * interlaced.denominator);
    const SlotPeriod progressive = AncillaryPacketizer(Progressive1080(), kSettings).Raster();
    EXPECT_EQ(progressive.numerator * 50, progressive.denominator);
}

TEST(AncillaryPacketizer, WhatIsWrongIsCountedAndTheRestIsSent)
{
    Bytes raw(8);
    for (const uint16_t word : Words{0xA009, 4, 0x1234, 0x5678}) // a raw line
        PutLe16(raw, word);
    raw.insert(raw.end(), 4, 0xFF);
    raw[0] = 20;
    const Words wide{0x260, 0x260, 0x101, 0x504, 0x2C5};
    AncillaryPacketizer packetizer(Progressive1080(), kSettings);
    const Bytes slot =
        SlotOf({{0, PlaylistOf({{1126, false, {kNoData}}, {9, false, {wide, kTimecode}}, {0, false, {kNoData}}})},
                {1, raw},
                {2, Bytes(12, 0)},                     // no playlist at all
                {3, Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0}}, // longer than its buffer
                {4, PlaylistOf({{10, false, {kCaptions}}})}});

    EXPECT_EQ(DatagramsOf(packetizer, slot, {.timestamps = kAt90000}),
              (std::vector<Bytes>{AncDatagram({.sequence = 0x1FFFF, .timestamp = 90000, .marker = true},
                                              {{.line = 9, .offset = 0xFFD, .words = kTimecode},
                                               {.line = 10, .offset = 0xFFD, .words = kCaptions, .stream = 2}})}));
    EXPECT_EQ(packetizer.Refused(), 6u); // two lines, wide, raw, and two buffers
}

TEST(AncillaryPacketizer, PlaylistsOfAnyContentFillDatagramsThatHoldThem)
{
    const Words most(4 + 255, 0x3FF); // the data count is 255 by its low bits
    std::vector<Section> sections;
    for (uint16_t line = 1; line <= 62; ++line)
        sections.push_back({line, false, std::vector<Words>(8, most)});
    std::map<size_t, Bytes> playlists;
    for (size_t buffer = 0; buffer < 16; ++buffer)
        playlists[buffer] = PlaylistOf(sections); // nearly every byte of the slot
    ASSERT_LE(playlists[0].size(), kBufferBytes);
    AncillaryPacketizer packetizer(Progressive1080(), kSettings);

    const auto datagrams = DatagramsOf(packetizer, SlotOf(playlists), {});
    size_t packets = 0;
    for (const Bytes& datagram : datagrams)
    {
        EXPECT_LE(datagram.size(), 1452u);
        packets += datagram[16];
    }
    EXPECT_EQ(packets, 16u * 62 * 8);
    EXPECT_EQ(packetizer.Refused(), 0u);
}

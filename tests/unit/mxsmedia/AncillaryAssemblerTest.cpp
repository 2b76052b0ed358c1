// RTP packets with ancillary data go in, slots of playlists come out: places, fields, losses, order, hostile input.
#include "mxs/media/AncillaryAssembler.h"

#include "AncillaryPackets.h"

#include <map>
#include <optional>

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr uint64_t kMs = 1'000'000;
constexpr uint32_t kBufferBytes = 262144;
constexpr uint32_t kFrame = 1800; // ticks, 50 frames a second
const Bytes kEmpty = PlaylistOf({});

class AncillaryAssemblerTest : public testing::Test
{
protected:
    void Make(const AncillaryConfig& config, AssemblerSettings settings = {.payloadType = 100})
    {
        Sink.emplace(LayoutOf(config).lockSize);
        Slots.emplace(config, settings, *Sink);
    }
    void SetUp() override { Make(Progressive1080()); }

    void Push(const Bytes& datagram, size_t path = 0) { Slots->Push(datagram, path, NowNs); }
    // The end of a frame that nobody asks for: from here on frames are kept. Its number is 99.
    void LeadIn(uint8_t field = 0)
    {
        Push(AncDatagram({.sequence = 99, .timestamp = 5, .marker = true, .field = field}));
    }
    void Wait(uint64_t ns)
    {
        NowNs += ns;
        Slots->Tick(NowNs);
    }
    const std::vector<KeptSlot>& Committed() const { return Sink->Committed; }
    const AssemblerCounters& Count() const { return Slots->Counters(); }
    bool IsMarkedAsLost(size_t slot) const { return Committed()[slot].OfType(3).size() == 16; }

    static Bytes BufferOf(const KeptSlot& slot, size_t number, size_t bytes)
    {
        const auto begin = slot.bytes.begin() + static_cast<std::ptrdiff_t>(number * kBufferBytes);
        return {begin, begin + static_cast<std::ptrdiff_t>(bytes)};
    }
    // Every buffer holds the playlist that stands here, the others an empty one.
    void ExpectPlaylists(size_t slot, const std::map<size_t, Bytes>& playlists) const
    {
        ASSERT_LT(slot, Committed().size());
        for (size_t buffer = 0; buffer < 16; ++buffer)
        {
            const auto found = playlists.find(buffer);
            const Bytes& expected = found == playlists.end() ? kEmpty : found->second;
            EXPECT_EQ(BufferOf(Committed()[slot], buffer, expected.size()), expected) << "buffer " << buffer;
        }
    }

    uint64_t NowNs = 5000 * kMs;
    std::optional<MemorySink> Sink;
    std::optional<AncillaryAssembler> Slots;
};

} // namespace

TEST_F(AncillaryAssemblerTest, AFrameIsCommittedWithItsLastPacket)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000}, {{.line = 9, .words = kCaptions}}));
    EXPECT_EQ(Committed().size(), 0u);
    Push(AncDatagram({.sequence = 101, .timestamp = 90000, .marker = true}, {{.line = 10, .words = kTimecode}}));

    ASSERT_EQ(Committed().size(), 1u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kCaptions}}, {10, false, {kTimecode}}})}});
    std::vector<Record> records;
    for (uint32_t buffer = 0; buffer < 16; ++buffer)
        records.push_back({1, buffer * kBufferBytes, 90000});
    records.push_back({2, 16 * kBufferBytes - 1, 0});
    EXPECT_EQ(Committed()[0].records, records);
    EXPECT_EQ(Count().processed, 2u);
    EXPECT_EQ(Count().parityErrors + Count().checksumErrors + Count().ancillaryNotPlaced, 0u);
    EXPECT_EQ(Count().intake.lost + Count().incomplete, 0u);
}

TEST_F(AncillaryAssemblerTest, EachPacketGoesToTheBufferLineAndAreaOfItsHeader)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true},
                     {{.line = 12, .offset = 0, .words = kCaptions},
                      {.line = 9, .offset = 30, .words = kNoData},
                      {.line = 9, .offset = 1964, .words = kTimecode},
                      {.line = 9, .offset = 100, .words = kCaptions, .colour = true},
                      {.line = 9, .offset = 0xFFE, .words = kTimecode, .colour = true, .stream = 7},
                      {.line = 9, .offset = 60, .words = kCaptions, .stream = 0},
                      {.line = 0x7FF, .offset = 0xFFF, .words = kTimecode}}));

    ASSERT_EQ(Committed().size(), 1u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, true, {kTimecode}},
                                        {9, false, {kNoData, kCaptions, kTimecode}}, // in the order of their arrival
                                        {12, false, {kCaptions}}})},
                        {1, PlaylistOf({{9, false, {kCaptions}}})},
                        {15, PlaylistOf({{9, true, {kTimecode}}})}});
}

TEST_F(AncillaryAssemblerTest, BelowAWidthOf1280EverythingIsInOddBuffers)
{
    Make(Interlaced576());
    LeadIn(3);
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true, .field = 2},
                     {{.line = 8, .offset = 1440}, {.line = 8, .words = kCaptions, .colour = true}}));
    Push(AncDatagram({.sequence = 101, .timestamp = 91800, .marker = true, .field = 3},
                     {{.line = 321, .words = kNoData, .stream = 1}}));

    ASSERT_EQ(Committed().size(), 1u);
    ExpectPlaylists(0, {{1, PlaylistOf({{8, true, {kTimecode}}, {8, false, {kCaptions}}})},
                        {3, PlaylistOf({{321, false, {kNoData}}})}});
}

TEST_F(AncillaryAssemblerTest, WrongParityAndChecksumAreCountedAndAllTenBitsKept)
{
    const Words badParity{0x061, 0x101, 0x203, 0x1A7, 0x266, 0x11F, 0x191};
    const Words badSum{0x161, 0x101, 0x203, 0x1A7, 0x266, 0x11F, 0x391}; // bit 9 is not the inverse of bit 8
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{.words = badParity}, {.words = badSum}}));

    ASSERT_EQ(Committed().size(), 1u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {badParity, badSum}}})}});
    EXPECT_EQ(Count().parityErrors, 1u);
    EXPECT_EQ(Count().checksumErrors, 2u); // the first one's sum has another bit 8 of the DID
    EXPECT_EQ(Count().ancillaryNotPlaced, 0u);
}

TEST_F(AncillaryAssemblerTest, WhatHasNoLineOrBufferIsCountedAndTheRestKept)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true},
                     {{.line = 1126}, {.line = 0}, {.line = 0x7FD}, {.stream = 8}, {.line = 1125, .words = kNoData}}));

    ExpectPlaylists(0, {{0, PlaylistOf({{1125, false, {kNoData}}})}});
    EXPECT_EQ(Count().ancillaryNotPlaced, 4u);
    EXPECT_EQ(Count().incomplete, 0u);
}

TEST_F(AncillaryAssemblerTest, ALineTakesWhatFitsIntoAnInterfaceAndNoMore)
{
    Words full(4 + 254, 0x200); // with its flag 261 words; 268 have room in the blanking
    full[2] = 0x1FE;
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true},
                     {{.offset = 0xFFE, .words = full},
                      {.offset = 0xFFE, .words = kTimecode}, // 8 words more: one too many
                      {.offset = 0xFFE, .words = kNoData},   // 7: exactly
                      {.offset = 0xFFE, .words = kNoData},
                      {.line = 10, .offset = 0xFFE, .words = kTimecode}})); // another line has its own room

    ExpectPlaylists(0, {{0, PlaylistOf({{9, true, {full, kNoData}}, {10, true, {kTimecode}}})}});
    EXPECT_EQ(Count().ancillaryNotPlaced, 2u);
}

TEST_F(AncillaryAssemblerTest, ABufferThatIsFullTakesNoMoreAndStaysAPlaylist)
{
    const Words full = []
    {
        Words words(4 + 255, 0x200);
        words[2] = 0x2FF;
        return words;
    }();
    LeadIn();
    uint32_t sequence = 100;
    // Seven packets of 262 words fill a line; 72 lines of 3672 bytes a buffer of 262144.
    for (uint16_t line = 1; line <= 75; ++line)
    {
        Push(AncDatagram({.sequence = sequence++, .timestamp = 90000},
                         std::vector<Anc>(4, {.line = line, .words = full})));
        Push(AncDatagram({.sequence = sequence++, .timestamp = 90000},
                         std::vector<Anc>(3, {.line = line, .words = full})));
    }
    Push(AncDatagram({.sequence = sequence, .timestamp = 90000, .marker = true}));

    ASSERT_EQ(Committed().size(), 1u);
    std::vector<Section> sections;
    for (uint16_t line = 1; line <= 71; ++line)
        sections.push_back({line, false, std::vector<Words>(7, full)});
    // 8 + 71 * 3672 + 4 + n * 524 + 4 <= 262144: two more
    sections.push_back({72, false, std::vector<Words>(2, full)});
    const Bytes expected = PlaylistOf(sections);
    EXPECT_EQ(expected.size(), 8u + 71 * 3672 + 4 + 2 * 524 + 4);
    EXPECT_TRUE(BufferOf(Committed()[0], 0, expected.size()) == expected);
    EXPECT_EQ(Count().ancillaryNotPlaced, 5u + 3 * 7);
    EXPECT_FALSE(Sink->GuardsBroken);
}

TEST_F(AncillaryAssemblerTest, APacketThatKeepsTheStreamAliveMakesASlotOfEmptyPlaylists)
{
    LeadIn();
    for (uint32_t frame = 0; frame < 3; ++frame)
        Push(AncDatagram({.sequence = 100 + frame, .timestamp = 90000 + frame * kFrame, .marker = true}));

    ASSERT_EQ(Committed().size(), 3u);
    for (size_t slot = 0; slot < 3; ++slot)
        ExpectPlaylists(slot, {});
    EXPECT_EQ(Committed()[2].records[0], (Record{1, 0, 93600}));
}

TEST_F(AncillaryAssemblerTest, PacketsInAnyOrderMakeTheSameSlots)
{
    const std::vector<Bytes> packets{AncDatagram({.sequence = 100, .timestamp = 90000}, {{.words = kCaptions}}),
                                     AncDatagram({.sequence = 101, .timestamp = 90000}, {{.words = kTimecode}}),
                                     AncDatagram({.sequence = 102, .timestamp = 90000, .marker = true}),
                                     AncDatagram({.sequence = 103, .timestamp = 91800}, {{.words = kNoData}}),
                                     AncDatagram({.sequence = 104, .timestamp = 91800, .marker = true}, {{}})};
    LeadIn();
    for (const size_t i : {1u, 3u, 2u, 4u, 0u})
        Push(packets[i]);

    ASSERT_EQ(Committed().size(), 2u);
    std::vector<KeptSlot> slots = Committed();
    if (slots[0].records[0].value != 90000) std::swap(slots[0], slots[1]);
    const Bytes first = PlaylistOf({{9, false, {kCaptions, kTimecode}}});
    const Bytes second = PlaylistOf({{9, false, {kNoData, kTimecode}}});
    EXPECT_EQ(BufferOf(slots[0], 0, first.size()), first);
    EXPECT_EQ(BufferOf(slots[1], 0, second.size()), second);
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().incomplete, 0u);
}

TEST_F(AncillaryAssemblerTest, AMissingPacketIsWaitedForAndThenEveryBufferIsMarked)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000}, {{.words = kCaptions}}));
    Push(AncDatagram({.sequence = 102, .timestamp = 90000, .marker = true}, {{.line = 10}}));
    Wait(9 * kMs);
    EXPECT_EQ(Committed().size(), 0u); // it may still come
    Wait(1 * kMs);

    ASSERT_EQ(Committed().size(), 1u);
    const Bytes playlist = PlaylistOf({{9, false, {kCaptions}}, {10, false, {kTimecode}}});
    ExpectPlaylists(0, {{0, playlist}});
    const std::vector<Record> lost = Committed()[0].OfType(3);
    ASSERT_EQ(lost.size(), 16u);
    EXPECT_EQ(lost[0], (Record{3, 0, static_cast<uint32_t>(playlist.size())}));
    EXPECT_EQ(lost[15], (Record{3, 15 * kBufferBytes, 12}));
    EXPECT_EQ(Count().intake.lost, 1u);
    EXPECT_EQ(Count().incomplete, 1u);
}

TEST_F(AncillaryAssemblerTest, AMissingLastPacketMarksBothFramesBetweenWhichItWas)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000}, {{}}));
    Push(AncDatagram({.sequence = 102, .timestamp = 91800}, {{}})); // 101 ended one frame or began the other
    Push(AncDatagram({.sequence = 103, .timestamp = 91800, .marker = true}));
    Push(AncDatagram({.sequence = 104, .timestamp = 93600, .marker = true}));
    Wait(10 * kMs);

    ASSERT_EQ(Committed().size(), 3u);
    for (const KeptSlot& slot : Committed())
        EXPECT_EQ(slot.OfType(3).size(), slot.records[0].value == 93600 ? 0u : 16u);
    EXPECT_EQ(Count().intake.lost, 1u);
}

TEST_F(AncillaryAssemblerTest, ALastPacketThatComesLateMakesBothFramesWhole)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000}, {{}}));
    Push(AncDatagram({.sequence = 102, .timestamp = 91800, .marker = true}, {{}}));
    EXPECT_EQ(Committed().size(), 0u);
    Push(AncDatagram({.sequence = 101, .timestamp = 90000, .marker = true}, {{.line = 10}}));

    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kTimecode}}, {10, false, {kTimecode}}})}});
    EXPECT_FALSE(IsMarkedAsLost(0) || IsMarkedAsLost(1));
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AncillaryAssemblerTest, WithoutMarkersAFrameEndsWithTheNextOne)
{
    LeadIn();
    for (uint32_t frame = 0; frame < 3; ++frame)
        for (uint32_t packet = 0; packet < 2; ++packet)
            Push(AncDatagram({.sequence = 100 + 2 * frame + packet, .timestamp = 90000 + frame * kFrame}, {{}}));

    EXPECT_EQ(Committed().size(), 2u);
    EXPECT_EQ(Count().incomplete, 0u);
}

TEST_F(AncillaryAssemblerTest, APacketOfACommittedSlotIsDelayed)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000}, {{}}));
    Push(AncDatagram({.sequence = 102, .timestamp = 90000, .marker = true}, {{}}));
    Wait(10 * kMs);
    NowNs += 3 * kMs;
    Push(AncDatagram({.sequence = 101, .timestamp = 90000}, {{}}));

    EXPECT_EQ(Committed().size(), 1u);
    EXPECT_EQ(Count().delayed, 1u);
    EXPECT_EQ(Count().biggestDelayNs, 3 * kMs);
    EXPECT_EQ(Count().intake.lost, 1u);
}

TEST_F(AncillaryAssemblerTest, TheFrameThatIsRunningAtTheStartIsNotKept)
{
    Push(AncDatagram({.sequence = 98, .timestamp = 5}, {{}}));
    Push(AncDatagram({.sequence = 99, .timestamp = 5}, {{}}));
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{.words = kCaptions}}));

    ASSERT_EQ(Committed().size(), 1u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
    EXPECT_FALSE(IsMarkedAsLost(0));
    EXPECT_EQ(Count().beforeFirstFrame, 2u);
}

TEST_F(AncillaryAssemblerTest, APacketThatIsOvertakenBeforeTheFirstFrameIsNotLost)
{
    Push(AncDatagram({.sequence = 96, .timestamp = 5}, {{}}));
    Push(AncDatagram({.sequence = 98, .timestamp = 5, .marker = true}, {{}}));
    Push(AncDatagram({.sequence = 97, .timestamp = 5}, {{}}));

    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().beforeFirstFrame, 3u);
}

TEST_F(AncillaryAssemblerTest, TwoPathsWithLossesOfTheirOwnMakeWholeSlots)
{
    Make(Progressive1080(), {.payloadType = 100, .paths = 2});
    std::vector<Bytes> packets{AncDatagram({.sequence = 99, .timestamp = 5, .marker = true})};
    for (uint32_t frame = 0; frame < 4; ++frame)
    {
        packets.push_back(AncDatagram({.sequence = 100 + 2 * frame, .timestamp = 90000 + frame * kFrame}, {{}}));
        packets.push_back(
            AncDatagram({.sequence = 101 + 2 * frame, .timestamp = 90000 + frame * kFrame, .marker = true}));
    }
    for (size_t i = 0; i < packets.size(); ++i)
    {
        if (i != 2 && i != 3) Push(packets[i], 0);
        if (i != 4) Push(packets[i], 1);
    }

    EXPECT_EQ(Committed().size(), 4u);
    for (size_t slot = 0; slot < Committed().size(); ++slot)
        ExpectPlaylists(slot, {{0, PlaylistOf({{9, false, {kTimecode}}})}});
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().incomplete, 0u);
    ASSERT_EQ(Count().intake.paths.size(), 2u);
    EXPECT_EQ(Count().intake.paths[0].lost, 2u);
    EXPECT_EQ(Count().intake.paths[1].lost, 1u);
}

TEST_F(AncillaryAssemblerTest, TwoFieldsMakeOneSlotWithBothTimestamps)
{
    Make(Interlaced1080());
    LeadIn(3);
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .field = 2}, {{.line = 9}}));
    Push(AncDatagram({.sequence = 101, .timestamp = 90000, .marker = true, .field = 2}));
    EXPECT_EQ(Committed().size(), 0u);
    Push(AncDatagram({.sequence = 102, .timestamp = 91502, .field = 3}, {{.line = 571, .words = kCaptions}}));
    Push(AncDatagram({.sequence = 103, .timestamp = 91502, .marker = true, .field = 3}, {{.line = 0x7FF}}));

    ASSERT_EQ(Committed().size(), 1u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kTimecode}}, {571, false, {kCaptions, kTimecode}}})}});
    const std::vector<Record> times = Committed()[0].OfType(1);
    ASSERT_EQ(times.size(), 32u);
    EXPECT_EQ(times[0], (Record{1, 0, 90000}));
    EXPECT_EQ(times[1], (Record{1, 8 + 4 + 16, 91502})); // behind the section of line 9
    EXPECT_EQ(times[2], (Record{1, kBufferBytes, 90000}));
    EXPECT_EQ(times[3], (Record{1, kBufferBytes + 8, 91502})); // the end of an empty playlist
}

TEST_F(AncillaryAssemblerTest, BothFieldsMayHaveOneTimestamp)
{
    Make(Interlaced1080());
    LeadIn(3);
    for (uint32_t frame = 0; frame < 2; ++frame)
        for (uint32_t field = 0; field < 2; ++field)
            Push(AncDatagram({.sequence = 100 + 2 * frame + field,
                              .timestamp = 90000 + frame * 3003,
                              .marker = true,
                              .field = static_cast<uint8_t>(2 + field)},
                             {{.line = static_cast<uint16_t>(field == 0 ? 9 : 571)}}));

    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(1, {{0, PlaylistOf({{9, false, {kTimecode}}, {571, false, {kTimecode}}})}});
    EXPECT_EQ(Committed()[1].records[0].value, 93003u);
    EXPECT_EQ(Committed()[1].records[1].value, 93003u);
}

TEST_F(AncillaryAssemblerTest, ASenderThatDoesNotSignalFieldsIsUnderstoodByItsLinesAndTimestamps)
{
    Make(Interlaced1080());
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{.line = 9}}));
    Push(AncDatagram({.sequence = 101, .timestamp = 91502, .marker = true}, {{.line = 571}}));
    Push(AncDatagram({.sequence = 102, .timestamp = 93003, .marker = true}));
    Push(AncDatagram({.sequence = 103, .timestamp = 94505, .marker = true}));
    Push(AncDatagram({.sequence = 104, .timestamp = 96006, .marker = true}));

    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kTimecode}}, {571, false, {kTimecode}}})}});
    EXPECT_EQ(Committed()[1].records[0].value, 93003u);
    EXPECT_EQ(Committed()[1].records[1].value, 94505u);
    EXPECT_EQ(Count().incomplete, 0u);
}

TEST_F(AncillaryAssemblerTest, AFieldThatIsMissingWholeLeavesASlotWithTheOther)
{
    Make(Interlaced1080());
    LeadIn(3);
    const auto field = [&](uint32_t sequence, uint32_t timestamp, uint8_t signal)
    {
        Push(AncDatagram({.sequence = sequence, .timestamp = timestamp, .marker = true, .field = signal},
                         {{.line = static_cast<uint16_t>(signal == 2 ? 9 : 571)}}));
    };
    field(100, 90000, 2); // its second field is lost
    field(102, 93003, 2);
    field(103, 94505, 3);
    field(105, 97508, 3); // its first field is lost
    field(106, 99009, 2);
    field(107, 100511, 3);
    Wait(10 * kMs);

    ASSERT_EQ(Committed().size(), 4u);
    std::map<uint32_t, const KeptSlot*> byTime;
    for (const KeptSlot& slot : Committed())
        byTime[slot.records[0].value] = &slot;
    ASSERT_EQ(byTime.size(), 4u);
    ASSERT_TRUE(byTime.contains(90000) && byTime.contains(93003) && byTime.contains(96006) && byTime.contains(99009));
    const Bytes first = PlaylistOf({{9, false, {kTimecode}}});
    const Bytes second = PlaylistOf({{571, false, {kTimecode}}});
    EXPECT_EQ(BufferOf(*byTime[90000], 0, first.size()), first);
    EXPECT_EQ(byTime[90000]->records[1].value, 91502u); // a nominal field later
    EXPECT_EQ(BufferOf(*byTime[96006], 0, second.size()), second);
    EXPECT_EQ(byTime[96006]->OfType(3).size(), 16u);
    EXPECT_EQ(Count().intake.lost, 2u);
}

TEST_F(AncillaryAssemblerTest, FieldsThatAreFurtherApartBelongToTwoFrames)
{
    Make(Interlaced1080());
    LeadIn(3);
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true, .field = 2}, {{.line = 9}}));
    Push(AncDatagram({.sequence = 103, .timestamp = 94505, .marker = true, .field = 3}, {{.line = 571}}));
    Wait(10 * kMs);

    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kTimecode}}})}});
    ExpectPlaylists(1, {{0, PlaylistOf({{571, false, {kTimecode}}})}});
    EXPECT_EQ(Committed()[1].records[0].value, 93003u); // 94505 less a nominal field
}

TEST_F(AncillaryAssemblerTest, AMissingFieldHasTheDistanceThatTheFieldsBeforeItHad)
{
    Make(Interlaced1080());
    LeadIn(3);
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true, .field = 2}));
    Push(AncDatagram({.sequence = 101, .timestamp = 90000, .marker = true, .field = 3}));
    Push(AncDatagram({.sequence = 102, .timestamp = 93003, .marker = true, .field = 2}));
    Wait(1000 * kMs);

    ASSERT_EQ(Committed().size(), 2u);
    EXPECT_EQ(Committed()[1].records[0].value, 93003u);
    EXPECT_EQ(Committed()[1].records[1].value, 93003u);
}

TEST_F(AncillaryAssemblerTest, TheFirstSlotOfAnInterlacedStreamBeginsWithAFirstField)
{
    Make(Interlaced1080());
    Push(AncDatagram({.sequence = 98, .timestamp = 90000, .marker = true, .field = 2}));
    Push(AncDatagram({.sequence = 99, .timestamp = 91502, .marker = true, .field = 3}));
    Push(AncDatagram({.sequence = 100, .timestamp = 93003, .marker = true, .field = 2}));
    Push(AncDatagram({.sequence = 101, .timestamp = 94505, .marker = true, .field = 3}));

    ASSERT_EQ(Committed().size(), 1u);
    EXPECT_EQ(Committed()[0].records[0].value, 93003u);
    EXPECT_EQ(Committed()[0].records[1].value, 94505u);
    EXPECT_EQ(Count().incomplete, 0u);
}

TEST_F(AncillaryAssemblerTest, AProgressiveStreamDoesNotLookAtFields)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true, .field = 2}, {{.line = 571}}));
    Push(AncDatagram({.sequence = 101, .timestamp = 91800, .marker = true, .field = 3}, {{.line = 0x7FF}}));

    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(1, {{0, PlaylistOf({{9, false, {kTimecode}}})}});
}

TEST_F(AncillaryAssemblerTest, MalformedPacketsAreRefusedAndLeaveAMark)
{
    LeadIn();
    Bytes cut = AncDatagram({.sequence = 100, .timestamp = 90000}, {{.words = kCaptions}});
    cut.resize(cut.size() - 6);
    Push(cut);
    Push(AncDatagram({.sequence = 101, .timestamp = 90000, .field = 1}, {{}})); // no such field
    Push(AncDatagram({.sequence = 102, .timestamp = 90000, .marker = true}, {{}}));
    Wait(10 * kMs);

    ASSERT_EQ(Committed().size(), 1u);
    EXPECT_TRUE(IsMarkedAsLost(0));
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kTimecode}}})}});
    EXPECT_EQ(Count().malformed, 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AncillaryAssemblerTest, ASlotWithoutRoomInTheRingIsCountedAndTheNextOneIsRight)
{
    LeadIn();
    Sink->Room = 0;
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{}}));
    Sink->Room = 2;
    Push(AncDatagram({.sequence = 101, .timestamp = 91800, .marker = true}, {{.words = kCaptions}}));

    ASSERT_EQ(Committed().size(), 1u);
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
    EXPECT_EQ(Count().drops, 1u);
    EXPECT_EQ(Count().processed, 1u);
}

TEST_F(AncillaryAssemblerTest, AfterASecondOfSilenceWhatIsOpenIsCommittedAndTheNextFrameBeginsAnew)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000}, {{}}));
    Wait(1000 * kMs);
    ASSERT_EQ(Committed().size(), 1u);
    EXPECT_TRUE(IsMarkedAsLost(0));

    Push(AncDatagram({.sequence = 7000, .timestamp = 500, .marker = true, .ssrc = 9}, {{}}));
    Push(AncDatagram({.sequence = 7001, .timestamp = 2300, .marker = true, .ssrc = 9}, {{.words = kCaptions}}));
    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(1, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().intake.ssrc, 9u);
}

TEST_F(AncillaryAssemblerTest, SilenceThatOnlyThePacketBehindItTellsOfIsSilenceToo)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000}, {{.words = kCaptions}}));
    NowNs += 1000 * kMs;
    Push(AncDatagram({.sequence = 101, .timestamp = 90000, .marker = true}, {{}})); // the same numbers go on

    ASSERT_EQ(Committed().size(), 1u);
    EXPECT_TRUE(IsMarkedAsLost(0));
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
}

// A pause of the sender, with and without a look at the clock meanwhile.
class AncillaryAssemblerPause : public AncillaryAssemblerTest, public testing::WithParamInterface<bool>
{
protected:
    void Pause()
    {
        NowNs += 10000 * kMs;
        if (GetParam()) Slots->Tick(NowNs);
    }
};

INSTANTIATE_TEST_SUITE_P(Looked, AncillaryAssemblerPause, testing::Bool());

TEST_P(AncillaryAssemblerPause, TheFirstFrameAfterItIsKeptAndKnownToBeWhole)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{}}));
    Pause();
    Push(AncDatagram({.sequence = 101, .timestamp = 990000, .marker = true}, {{.words = kCaptions}}));
    ASSERT_EQ(Committed().size(), 2u); // at once
    ExpectPlaylists(1, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
    EXPECT_FALSE(IsMarkedAsLost(1));

    Pause();
    Push(AncDatagram({.sequence = 103, .timestamp = 1890000, .marker = true}, {{}})); // one before it is missing
    Wait(10 * kMs);
    ASSERT_EQ(Committed().size(), 3u);
    EXPECT_TRUE(IsMarkedAsLost(2));
    EXPECT_EQ(Count().intake.lost, 1u);
    EXPECT_EQ(Count().beforeFirstFrame, 1u); // the one at the start
}

TEST_P(AncillaryAssemblerPause, TheFirstFrameAfterItIsKeptEvenIfItIsTheFirstOfAll)
{
    LeadIn();
    Pause();
    Push(AncDatagram({.sequence = 100, .timestamp = 990000, .marker = true}, {{.words = kCaptions}}));

    ASSERT_EQ(Committed().size(), 1u);
    EXPECT_FALSE(IsMarkedAsLost(0));
}

TEST_P(AncillaryAssemblerPause, TheFirstFrameAfterItIsWholeWhenThePathsHaveItTogether)
{
    Make(Progressive1080(), {.payloadType = 100, .paths = 2});
    LeadIn();
    const Bytes before = AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{}});
    Push(before, 0);
    Push(before, 1);
    Pause();
    Push(AncDatagram({.sequence = 102, .timestamp = 990000, .marker = true}, {{.line = 10}}), 0);
    Push(AncDatagram({.sequence = 101, .timestamp = 990000}, {{}}), 1);
    Wait(10 * kMs);

    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(1, {{0, PlaylistOf({{9, false, {kTimecode}}, {10, false, {kTimecode}}})}});
    EXPECT_FALSE(IsMarkedAsLost(1));
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().intake.paths[0].lost, 1u);
    EXPECT_EQ(Count().intake.paths[1].lost, 1u);
}

TEST_P(AncillaryAssemblerPause, TheRestOfAFrameThatItInterruptedIsDelayed)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000}, {{}}));
    Pause();
    Push(AncDatagram({.sequence = 101, .timestamp = 90000, .marker = true}, {{}}));
    Push(AncDatagram({.sequence = 102, .timestamp = 990000, .marker = true}, {{.words = kCaptions}}));

    ASSERT_EQ(Committed().size(), 2u);
    EXPECT_TRUE(IsMarkedAsLost(0));
    EXPECT_FALSE(IsMarkedAsLost(1));
    ExpectPlaylists(1, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
    EXPECT_EQ(Count().delayed, 1u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_P(AncillaryAssemblerPause, ATimestampThatComesAgainBehindItIsANewFrameAndKnownToBeWhole)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{}}));
    Pause();
    Push(AncDatagram({.sequence = 101, .timestamp = 90000, .marker = true}, {{.words = kCaptions}}));

    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(1, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
    EXPECT_FALSE(IsMarkedAsLost(1));
    EXPECT_EQ(Count().delayed, 0u);
}

TEST_P(AncillaryAssemblerPause, ASecondFieldBehindItIsDelayedAsItsFrameIsCommitted)
{
    for (const uint32_t second : {91502u, 90000u})            // a time of its own, and one for both fields
        for (const uint8_t signal : {uint8_t{3}, uint8_t{0}}) // told by the sender, and by the line
        {
            Make(Interlaced1080());
            LeadIn(3);
            Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true, .field = 2}, {{}}));
            Pause();
            Push(AncDatagram({.sequence = 101, .timestamp = second, .marker = true, .field = signal}, {{.line = 571}}));
            Push(AncDatagram({.sequence = 102, .timestamp = 990000, .marker = true, .field = 2},
                             {{.words = kCaptions}}));
            Push(AncDatagram({.sequence = 103, .timestamp = 991502, .marker = true, .field = 3}));

            ASSERT_EQ(Committed().size(), 2u);
            EXPECT_TRUE(IsMarkedAsLost(0));
            ExpectPlaylists(1, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
            EXPECT_FALSE(IsMarkedAsLost(1));
            EXPECT_EQ(Count().delayed, 1u);
        }
}

TEST_P(AncillaryAssemblerPause, ASecondFieldFurtherBehindItIsThatOfAnotherFrame)
{
    Make(Interlaced1080());
    LeadIn(3);
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true, .field = 2}, {{}}));
    Pause();
    Push(AncDatagram({.sequence = 103, .timestamp = 991502, .marker = true, .field = 3}, {{.line = 571}}));
    Wait(10 * kMs);

    ASSERT_EQ(Committed().size(), 2u);
    ExpectPlaylists(1, {{0, PlaylistOf({{571, false, {kTimecode}}})}});
    EXPECT_TRUE(IsMarkedAsLost(1));
    EXPECT_EQ(Count().delayed, 0u);
    EXPECT_EQ(Count().intake.lost, 2u);
}

TEST_P(AncillaryAssemblerPause, NumbersOrASourceThatDoNotGoOnBeginAnew)
{
    LeadIn();
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{}}));
    Pause();
    Push(AncDatagram({.sequence = 165, .timestamp = 990000, .marker = true}, {{}}));
    Push(AncDatagram({.sequence = 166, .timestamp = 991800, .marker = true}, {{.words = kCaptions}}));
    Pause();
    Push(AncDatagram({.sequence = 167, .timestamp = 1890000, .marker = true, .ssrc = 9}, {{}}));
    Push(AncDatagram({.sequence = 168, .timestamp = 1891800, .marker = true, .ssrc = 9}, {{}}));

    ASSERT_EQ(Committed().size(), 3u);
    EXPECT_EQ(Committed()[1].records[0].value, 991800u);
    EXPECT_EQ(Committed()[2].records[0].value, 1891800u);
    EXPECT_EQ(Count().incomplete, 0u);
    EXPECT_EQ(Count().beforeFirstFrame, 3u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_P(AncillaryAssemblerPause, TheFirstFrameAfterItIsKeptWhenTheRingHadNoRoomBefore)
{
    LeadIn();
    Sink->Room = 0;
    Push(AncDatagram({.sequence = 100, .timestamp = 90000, .marker = true}, {{}}));
    Push(AncDatagram({.sequence = 101, .timestamp = 91800}, {{}}));
    Pause();
    Sink->Room = 2;
    Push(AncDatagram({.sequence = 102, .timestamp = 91800, .marker = true}, {{}}));
    Push(AncDatagram({.sequence = 103, .timestamp = 990000, .marker = true}, {{.words = kCaptions}}));

    ASSERT_EQ(Committed().size(), 1u);
    EXPECT_FALSE(IsMarkedAsLost(0));
    ExpectPlaylists(0, {{0, PlaylistOf({{9, false, {kCaptions}}})}});
    EXPECT_EQ(Count().drops, 2u);
    EXPECT_EQ(Count().delayed, 1u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AncillaryAssemblerTest, TheUpperHalfOfTheSequenceNumberMovesOrStandsStill)
{
    for (const uint32_t upper : {0u, 1u})
    {
        Make(Progressive1080());
        Push(AncDatagram({.sequence = 0x0000FFFE, .timestamp = 5, .marker = true}));
        Push(AncDatagram({.sequence = 0x0000FFFF, .timestamp = 90000}, {{}}));
        Push(AncDatagram({.sequence = upper << 16, .timestamp = 90000, .marker = true}, {{}}));
        EXPECT_EQ(Committed().size(), 1u) << upper;
        EXPECT_EQ(Count().intake.lost, 0u) << upper;
    }
}

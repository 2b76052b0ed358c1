// Playlists of ancillary data, byte for byte, and the places of packets in them.
#include "mxs/media/AncillaryPlaylist.h"
#include "mxs/media/AncillaryRaster.h"

#include <vector>

#include <gtest/gtest.h>

using namespace mxs::media;

namespace
{

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

const Words kPacket{0x241, 0x205, 0x102, 0x155, 0x2AA, 0x147};
const Bytes kPacketBytes{0x00, 0x00, 0xFF, 0x03, 0xFF, 0x03, 0x41, 0x02, 0x05,
                         0x02, 0x02, 0x01, 0x55, 0x01, 0xAA, 0x02, 0x47, 0x01};
const Words kShort{0x260, 0x260, 0x200, 0x2C0}; // no user words
const Bytes kShortBytes{0x00, 0x00, 0xFF, 0x03, 0xFF, 0x03, 0x60, 0x02, 0x60, 0x02, 0x00, 0x02, 0xC0, 0x02};
const Bytes kEnd{0xFF, 0xFF, 0xFF, 0xFF};

Bytes Joined(std::initializer_list<Bytes> parts)
{
    Bytes joined;
    for (const Bytes& part : parts)
        joined.insert(joined.end(), part.begin(), part.end());
    return joined;
}

// A playlist of these sections; its size comes from their bytes.
Bytes Playlist(std::initializer_list<Bytes> parts)
{
    Bytes bytes = Joined({{0, 0, 0, 0, 0, 0, 0, 0}, Joined(parts)});
    bytes[0] = static_cast<uint8_t>(bytes.size());
    bytes[1] = static_cast<uint8_t>(bytes.size() >> 8);
    return bytes;
}

struct ReadPacket
{
    uint16_t line;
    bool horizontal;
    Words words;

    bool operator==(const ReadPacket&) const = default;
};

struct ReadAll
{
    std::vector<ReadPacket> packets;
    size_t refused = 0;

    bool operator==(const ReadAll&) const = default;
};

ReadAll Read(const Bytes& playlist)
{
    const Bytes own(playlist); // a block exactly as long: the sanitizer sees what leaves it
    ReadAll all;
    AncillaryPlaylistReader reader(own);
    for (AncillaryPlaylistReader::Packet packet; reader.Next(packet);)
    {
        const auto words = packet.content.Words();
        all.packets.push_back({packet.line, packet.horizontal, {words.begin(), words.end()}});
    }
    EXPECT_FALSE(
        [&]
        {
            AncillaryPlaylistReader::Packet more;
            return reader.Next(more);
        }())
        << "the end stays the end";
    all.refused = reader.Refused();
    return all;
}

AncillaryConfig Hd1080i()
{
    return {.activeWidth = 1920,
            .rawWidth = 2200,
            .activeHeight = 1080,
            .rawHeight = 1125,
            .framerate = 60,
            .interlaced = true,
            .fractional = true};
}

AncillaryConfig Sd625()
{
    return {.activeWidth = 720,
            .rawWidth = 864,
            .activeHeight = 576,
            .rawHeight = 625,
            .framerate = 50,
            .interlaced = true};
}

} // namespace

TEST(AncillaryPlaylistWriter, AnEmptyPlaylistHasTwelveBytes)
{
    Bytes buffer(16, 0xEE);
    AncillaryPlaylistWriter writer(buffer);

    EXPECT_EQ(writer.Finish(), 12u);
    EXPECT_EQ(buffer, (Bytes{12, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xEE, 0xEE, 0xEE, 0xEE}));
}

TEST(AncillaryPlaylistWriter, OnePacketInHorizontalBlanking)
{
    Bytes buffer(64, 0xEE);
    AncillaryPlaylistWriter writer(buffer);
    ASSERT_TRUE(writer.Add(9, true, kPacket));
    const size_t bytes = writer.Finish();

    ASSERT_EQ(bytes, 34u);
    buffer.resize(bytes);
    EXPECT_EQ(buffer, Joined({{0x22, 0, 0, 0, 0, 0, 0, 0}, {0x09, 0xC0, 0x12, 0x00}, kPacketBytes, kEnd}));
}

TEST(AncillaryPlaylistWriter, PacketsOfOnePlaceShareASectionAndAFillerAlignsTheNext)
{
    Bytes buffer(256, 0xEE);
    AncillaryPlaylistWriter writer(buffer);
    ASSERT_TRUE(writer.Add(9, true, kPacket));    // 8: header, 12: 18 bytes, to 30
    ASSERT_TRUE(writer.Add(9, false, kShort));    // 30: filler, 32: header, 36: 14 bytes
    ASSERT_TRUE(writer.Add(9, false, kShort));    // to 64
    ASSERT_TRUE(writer.Add(571, false, kPacket)); // 64: header, to 86
    const size_t bytes = writer.Finish();

    ASSERT_EQ(bytes, 90u);
    buffer.resize(bytes);
    EXPECT_EQ(buffer, Playlist({{0x09, 0xC0, 0x12, 0x00},
                                kPacketBytes,
                                {0xFF, 0xFF}, //
                                {0x09, 0x80, 0x1C, 0x00},
                                kShortBytes,
                                kShortBytes, //
                                {0x3B, 0x82, 0x12, 0x00},
                                kPacketBytes,
                                kEnd}));
}

TEST(AncillaryPlaylistWriter, WhatDoesNotFitBeforeTheEndIsLeftOut)
{
    Bytes buffer(34 + 2 + 4 + 14 - 1, 0xEE); // one byte too few for a second section
    AncillaryPlaylistWriter writer(buffer);
    ASSERT_TRUE(writer.Add(9, true, kPacket));
    EXPECT_FALSE(writer.Add(9, false, kShort));

    EXPECT_EQ(writer.Finish(), 34u);
    EXPECT_EQ(buffer[34], 0xEE);

    Bytes enough(34 + 2 + 4 + 14);
    AncillaryPlaylistWriter fits(enough);
    ASSERT_TRUE(fits.Add(9, true, kPacket));
    EXPECT_TRUE(fits.Add(9, false, kShort));
    EXPECT_EQ(fits.Finish(), enough.size());
}

TEST(AncillaryPlaylistReader, ThePacketsOfEverySection)
{
    const ReadAll all = Read(Playlist({{0x09, 0xC0, 0x12, 0x00},
                                       kPacketBytes,
                                       {0xFF, 0xFF}, //
                                       {0x09, 0x80, 0x1C, 0x00},
                                       kShortBytes,
                                       kShortBytes, //
                                       {0x3B, 0x82, 0x12, 0x00},
                                       kPacketBytes,
                                       kEnd}));

    EXPECT_EQ(all, (ReadAll{{{9, true, kPacket}, {9, false, kShort}, {9, false, kShort}, {571, false, kPacket}}, 0}));
}

TEST(AncillaryPlaylistReader, AllTenBitsOfEveryWord)
{
    const ReadAll all = Read(Playlist({{0x09, 0x80, 0x10, 0x00},
                                       {0x00, 0x00, 0xFC, 0x03, 0xFF, 0x03}, // a flag of eight bits
                                       {0x00, 0x00, 0xFF, 0x03, 0x01, 0x00, 0x03, 0x00, 0xFF, 0x03},
                                       kEnd}));

    EXPECT_EQ(all, (ReadAll{{{9, false, {0x000, 0x3FF, 0x001, 0x003, 0x3FF}}}, 0}));
}

TEST(AncillaryPlaylistReader, PadsAndFillersAndEmptyLinesAreNoPackets)
{
    Bytes bytes = Playlist({{0xFF, 0xFF}, {0x00, 0x10}});
    bytes.resize(64, 0xEE); // up to the next multiple of 64 nothing is looked at
    const Bytes rest = Joined({{0x00, 0x10},
                               Bytes(62, 0xEE), // a pad that begins on a multiple takes all 64
                               {0x09, 0x80, 0x0E, 0x00},
                               kShortBytes,
                               {0xFF, 0xFF},
                               {0x65, 0xC4, 0x04, 0x00, 0x00, 0x02, 0x40, 0x00}, // nothing on line 1125
                               kEnd});
    bytes.insert(bytes.end(), rest.begin(), rest.end());

    EXPECT_EQ(Read(bytes), (ReadAll{{{9, false, kShort}}, 0}));
}

TEST(AncillaryPlaylistReader, RawLinesAreRefusedAndWhatFollowsIsRead)
{
    const ReadAll all = Read(Playlist({{0x0A, 0xA0, 0x04, 0x00, 1, 2, 3, 4}, //
                                       {0x0B, 0xB0, 0x04, 0x00, 1, 2, 3, 4}, // ten bits
                                       {0x0C, 0x80, 0x0E, 0x00},
                                       kShortBytes,
                                       kEnd}));

    EXPECT_EQ(all, (ReadAll{{{12, false, kShort}}, 2}));
}

TEST(AncillaryPlaylistReader, APacketWithAWordOfMoreThanTenBitsIsRefusedAlone)
{
    Bytes wide = kPacketBytes;
    wide[13] = 0x05; // 0x555
    const ReadAll all = Read(Playlist({{0x09, 0x80, 0x20, 0x00}, wide, kShortBytes, kEnd}));

    EXPECT_EQ(all, (ReadAll{{{9, false, kShort}}, 1}));
}

TEST(AncillaryPlaylistReader, WhatIsNoPacketEndsItsSectionAndTheNextIsRead)
{
    Bytes noFlag = kPacketBytes;
    noFlag[0] = 1;
    Bytes longer = kPacketBytes;
    longer[10] = 0x03; // three user words announced, two there
    for (const Bytes& bad : {noFlag, longer})
        EXPECT_EQ(Read(Playlist({{0x09, 0x80, 0x12, 0x00},
                                 bad,
                                 {0xFF, 0xFF}, //
                                 {0x0A, 0x80, 0x0E, 0x00},
                                 kShortBytes,
                                 kEnd})),
                  (ReadAll{{{10, false, kShort}}, 1}));
}

TEST(AncillaryPlaylistReader, APacketDoesNotReachIntoTheNextSection)
{
    const Bytes longer{0x00, 0x00, 0xFF, 0x03, 0xFF, 0x03, 0x60, 0x02,
                       0x60, 0x02, 0x02, 0x01, 0x04, 0x01, 0xC5, 0x02}; // two user words announced, one there
    EXPECT_EQ(Read(Playlist({{0x09, 0x80, 0x10, 0x00}, longer, {0x0A, 0x80, 0x0E, 0x00}, kShortBytes, kEnd})),
              (ReadAll{{{10, false, kShort}}, 1}));
}

TEST(AncillaryPlaylistReader, WhereNoSectionCanBeToldTheRestIsRefused)
{
    const Bytes good = Joined({{0x0A, 0x80, 0x0E, 0x00}, kShortBytes});
    for (const Bytes& bad : {Bytes{0x12, 0x34, 0x0E, 0x00},  // no header
                             Bytes{0x09, 0x80, 0xFF, 0x7F},  // beyond the end
                             Bytes{0x09, 0x80, 0x0F, 0x00}}) // half a word
        EXPECT_EQ(Read(Playlist({good, {0xFF, 0xFF}, bad, good, kEnd})), (ReadAll{{{10, false, kShort}}, 1}));
}

TEST(AncillaryPlaylistReader, CutShortAtAnyByteItGivesWhatIsWholeAndReadsNoFurther)
{
    const Bytes whole = Playlist({{0x09, 0xC0, 0x12, 0x00},
                                  kPacketBytes,
                                  {0xFF, 0xFF}, //
                                  {0x09, 0x80, 0x1C, 0x00},
                                  kShortBytes,
                                  kShortBytes,
                                  kEnd});
    for (size_t size = 0; size <= whole.size(); ++size)
    {
        const ReadAll all = Read(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        // Each section is taken when all of it is there.
        EXPECT_EQ(all.packets.size(), size >= 64 ? 3u : size >= 30 ? 1u : 0u) << size;
    }
}

TEST(AncillaryPlaylistReader, TheStatedSizeLiesInTheBuffer)
{
    const auto stated = [](Bytes head, size_t buffer)
    {
        head.resize(buffer);
        return AncillaryPlaylistReader::StatedBytes(head);
    };
    EXPECT_EQ(stated({12, 0, 0, 0}, 64), 12u);
    EXPECT_EQ(stated({64, 0, 0, 0}, 64), 64u);
    EXPECT_EQ(stated({65, 0, 0, 0}, 64), 0u);
    EXPECT_EQ(stated({11, 0, 0, 0}, 64), 0u);
    EXPECT_EQ(stated({0, 0, 0, 0}, 64), 0u);
    EXPECT_EQ(stated({12, 0, 0, 0x80}, 64), 0u);
    EXPECT_EQ(stated({0x10, 0x01, 0, 0}, 0x110), 0x110u);
    EXPECT_EQ(stated({12}, 8), 0u);
}

struct PlaceCase
{
    const char* name;
    AncillaryHeader header;
    size_t field;
    std::optional<AncillaryPlace> place;
};

class PlaceInHd : public testing::TestWithParam<PlaceCase>
{
};

TEST_P(PlaceInHd, IsThatOfTheHeader)
{
    EXPECT_EQ(AncillaryRaster(Hd1080i()).PlaceOf(GetParam().header, GetParam().field), GetParam().place);
}

INSTANTIATE_TEST_SUITE_P(
    Places, PlaceInHd,
    testing::Values(PlaceCase{"Luma", {.line = 9, .horizontalOffset = 0}, 0, {{0, 9, false}}},
                    PlaceCase{"Colour", {.colour = true, .line = 9}, 0, {{1, 9, false}}},
                    PlaceCase{"StreamThree", {.line = 9, .streamGiven = true, .streamNumber = 3}, 0, {{6, 9, false}}},
                    PlaceCase{"ColourOfStreamSeven",
                              {.colour = true, .line = 9, .streamGiven = true, .streamNumber = 7},
                              0,
                              {{15, 9, false}}},
                    PlaceCase{"StreamEight", {.line = 9, .streamGiven = true, .streamNumber = 8}, 0, {}},
                    PlaceCase{"AStreamThatDoesNotCount", {.line = 9, .streamNumber = 3}, 0, {{0, 9, false}}},
                    PlaceCase{"LastOfActiveVideo", {.line = 9, .horizontalOffset = 1919}, 0, {{0, 9, false}}},
                    PlaceCase{"FirstOfBlanking", {.line = 9, .horizontalOffset = 1920}, 0, {{0, 9, true}}},
                    PlaceCase{"NoOffset", {.line = 9, .horizontalOffset = 0xFFF}, 0, {{0, 9, false}}},
                    PlaceCase{"Horizontal", {.line = 9, .horizontalOffset = 0xFFE}, 0, {{0, 9, true}}},
                    PlaceCase{"Vertical", {.line = 9, .horizontalOffset = 0xFFD}, 0, {{0, 9, false}}},
                    PlaceCase{"TooFar", {.line = 9, .horizontalOffset = 0xFFC}, 0, {{0, 9, true}}},
                    PlaceCase{"NoLineInTheFirstField", {.line = 0x7FF}, 0, {{0, 9, false}}},
                    PlaceCase{"NoLineInTheSecondField", {.line = 0x7FF}, 1, {{0, 571, false}}},
                    PlaceCase{"BeforeThePicture", {.line = 0x7FE}, 1, {{0, 571, false}}},
                    PlaceCase{"ALineBeyondElevenBits", {.line = 0x7FD}, 0, {}},
                    PlaceCase{"LineNought", {.line = 0}, 0, {}},
                    PlaceCase{"FirstLine", {.line = 1}, 0, {{0, 1, false}}},
                    PlaceCase{"LastLine", {.line = 1125}, 1, {{0, 1125, false}}},
                    PlaceCase{"ALineTooMany", {.line = 1126}, 1, {}}),
    [](const auto& instance) { return instance.param.name; });

TEST(AncillaryRaster, BelowAWidthOf1280ThereAreOddBuffersAlone)
{
    const AncillaryRaster sd(Sd625());

    EXPECT_EQ(sd.PlaceOf({.line = 8}, 0), (AncillaryPlace{1, 8, false}));
    EXPECT_EQ(sd.PlaceOf({.colour = true, .line = 8}, 0), (AncillaryPlace{1, 8, false}));
    EXPECT_EQ(sd.PlaceOf({.line = 8, .streamGiven = true, .streamNumber = 7}, 0), (AncillaryPlace{15, 8, false}));
    EXPECT_EQ(sd.PlaceOf({.line = 8, .horizontalOffset = 1439}, 0)->horizontal, false);
    EXPECT_EQ(sd.PlaceOf({.line = 8, .horizontalOffset = 1440}, 0)->horizontal, true);
    EXPECT_EQ(sd.PlaceOf({.line = 0x7FF}, 0)->line, 8);
    EXPECT_EQ(sd.PlaceOf({.line = 0x7FF}, 1)->line, 321);
    EXPECT_FALSE(sd.HasBuffer(0));
    EXPECT_TRUE(sd.HasBuffer(15));
    EXPECT_FALSE(sd.HasBuffer(17));
    EXPECT_EQ(sd.HeaderOf({3, 8, true}),
              (AncillaryHeader{.line = 8, .horizontalOffset = 0xFFE, .streamGiven = true, .streamNumber = 1}));
}

TEST(AncillaryRaster, TheHeaderOfAPlace)
{
    const AncillaryRaster hd(Hd1080i());

    EXPECT_EQ(hd.HeaderOf({0, 9, false}), (AncillaryHeader{.line = 9, .horizontalOffset = 0xFFD}));
    EXPECT_EQ(hd.HeaderOf({1, 571, true}), (AncillaryHeader{.colour = true, .line = 571, .horizontalOffset = 0xFFE}));
    EXPECT_EQ(hd.HeaderOf({15, 9, false}),
              (AncillaryHeader{
                  .colour = true, .line = 9, .horizontalOffset = 0xFFD, .streamGiven = true, .streamNumber = 7}));
}

TEST(AncillaryRaster, FieldsOfLines)
{
    AncillaryConfig config = Hd1080i();
    EXPECT_EQ(AncillaryRaster(config).FieldOf(563), 0u);
    EXPECT_EQ(AncillaryRaster(config).FieldOf(564), 1u);
    config.interlaced = false;
    EXPECT_EQ(AncillaryRaster(config).FieldOf(1125), 0u);
    EXPECT_EQ(AncillaryRaster(Sd625()).FieldOf(312), 0u);
    EXPECT_EQ(AncillaryRaster(Sd625()).FieldOf(313), 1u);
    const AncillaryRaster sd525(AncillaryConfig{.activeWidth = 720,
                                                .rawWidth = 858,
                                                .activeHeight = 487,
                                                .rawHeight = 525,
                                                .framerate = 60,
                                                .interlaced = true});
    EXPECT_EQ(sd525.FieldOf(265), 0u);
    EXPECT_EQ(sd525.FieldOf(266), 1u);
    EXPECT_EQ(sd525.PlaceOf({.line = 0x7FF}, 1)->line, 275);
}

TEST(AncillaryRaster, WordsThatALineHasRoomFor)
{
    EXPECT_EQ(AncillaryRaster(Hd1080i()).Capacity(true), 268u); // 280 - 12
    EXPECT_EQ(AncillaryRaster(Hd1080i()).Capacity(false), 1920u);
    EXPECT_EQ(AncillaryRaster(Sd625()).Capacity(true), 280u); // 144 * 2 - 8
    EXPECT_EQ(AncillaryRaster(Sd625()).Capacity(false), 1440u);
}

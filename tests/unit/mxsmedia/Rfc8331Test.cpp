// Payloads of ancillary data, byte for byte.
#include "mxs/media/Rfc8331.h"
#include "mxs/media/RtpPacket.h"

#include <vector>

#include <gtest/gtest.h>

using namespace mxs::media;

namespace
{

using Bytes = std::vector<uint8_t>;
using Words = std::vector<uint16_t>;

// DID 0x41, SDID 0x05, two user words, in the horizontal blanking of line 9.
const Words kPacketWords{0x241, 0x205, 0x102, 0x155, 0x2AA, 0x147};
const Bytes kPacketBytes{0x00, 0x9F, 0xFE, 0x00, 0x90, 0x60, 0x54, 0x09, 0x55, 0xAA, 0x94, 0x70};
const AncillaryHeader kPacketHeader{.line = 9, .horizontalOffset = 0xFFE};

Bytes Joined(std::initializer_list<Bytes> parts)
{
    Bytes joined;
    for (const Bytes& part : parts)
        joined.insert(joined.end(), part.begin(), part.end());
    return joined;
}

Words WordsOf(const AncillaryPacket& packet)
{
    return {packet.words.begin(), packet.words.begin() + static_cast<std::ptrdiff_t>(packet.wordCount)};
}

std::vector<AncillaryPacket> PacketsOf(const Bytes& payload)
{
    AncillaryPayload read;
    EXPECT_TRUE(ReadAncillaryPayload(payload, read));
    std::vector<AncillaryPacket> packets;
    AncillaryPayloadReader reader(read);
    for (AncillaryPacket packet; reader.Next(packet);)
        packets.push_back(packet);
    return packets;
}

bool Accepts(const Bytes& payload)
{
    // A block of its own and exactly as long: the sanitizer sees what leaves it.
    const Bytes own(payload);
    AncillaryPayload read;
    return ReadAncillaryPayload(own, read);
}

} // namespace

TEST(ReadAncillaryPayload, EveryFieldOfTheHeader)
{
    AncillaryPayload read;
    ASSERT_TRUE(ReadAncillaryPayload(Joined({{0x12, 0x34, 0x00, 0x0C, 0x01, 0x80, 0x00, 0x00}, kPacketBytes}), read));

    EXPECT_EQ(read.extendedSequence, 0x1234);
    EXPECT_EQ(read.field, FieldSignal::First);
    EXPECT_EQ(read.count, 1u);
}

TEST(ReadAncillaryPayload, FieldSignalsAndReservedBits)
{
    AncillaryPayload read;
    ASSERT_TRUE(ReadAncillaryPayload(Bytes{0, 0, 0, 0, 0, 0x00, 0, 0}, read));
    EXPECT_EQ(read.field, FieldSignal::None);
    ASSERT_TRUE(ReadAncillaryPayload(Bytes{0, 0, 0, 0, 0, 0xC0, 0, 0}, read));
    EXPECT_EQ(read.field, FieldSignal::Second);
    ASSERT_TRUE(ReadAncillaryPayload(Bytes{0, 0, 0, 0, 0, 0xBF, 0xFF, 0xFF}, read)); // reserved bits say nothing
    EXPECT_EQ(read.field, FieldSignal::First);
    EXPECT_FALSE(ReadAncillaryPayload(Bytes{0, 0, 0, 0, 0, 0x40, 0, 0}, read)); // F 01 is invalid
}

TEST(ReadAncillaryPayload, WordsWithAllTenBits)
{
    const auto packets = PacketsOf(Joined({{0x12, 0x34, 0x00, 0x0C, 0x01, 0x80, 0x00, 0x00}, kPacketBytes}));

    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(packets[0].header, kPacketHeader);
    EXPECT_EQ(WordsOf(packets[0]), kPacketWords);
}

TEST(ReadAncillaryPayload, ColourLineOffsetAndStream)
{
    // C 1, line 0x7FF, offset 0x123, S 1, stream 0x55; four words of all ones but the data count
    const Bytes packet{0xFF, 0xF1, 0x23, 0xD5, 0xFF, 0xFF, 0xF4, 0x03, 0xFF, 0x00, 0x00, 0x00};
    const auto packets = PacketsOf(Joined({{0, 0, 0x00, 0x0C, 0x01, 0x00, 0x00, 0x00}, packet}));

    ASSERT_EQ(packets.size(), 1u);
    const AncillaryHeader expected{
        .colour = true, .line = 0x7FF, .horizontalOffset = 0x123, .streamGiven = true, .streamNumber = 0x55};
    EXPECT_EQ(packets[0].header, expected);
    EXPECT_EQ(WordsOf(packets[0]), (Words{0x3FF, 0x3FF, 0x100, 0x3FF}));
}

TEST(ReadAncillaryPayload, APacketEndsOnABorderOf32BitsAndTheNextBeginsThere)
{
    const Bytes second{0x00, 0xAF, 0xFD, 0x00, 0x98, 0x26, 0x08, 0x02, 0xC0, 0x00, 0x00, 0x00};
    const auto packets = PacketsOf(Joined({{0, 0, 0x00, 0x18, 0x02, 0x00, 0x00, 0x00}, kPacketBytes, second}));

    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(WordsOf(packets[0]), kPacketWords);
    EXPECT_EQ(packets[1].header, (AncillaryHeader{.line = 10, .horizontalOffset = 0xFFD}));
    EXPECT_EQ(WordsOf(packets[1]), (Words{0x260, 0x260, 0x200, 0x2C0}));
}

TEST(ReadAncillaryPayload, ADataCountOf255)
{
    Bytes payload{0, 0, 0x01, 0x48, 0x01, 0x00, 0x00, 0x00, 0x00, 0x9F, 0xFE, 0x00, 0x90, 0x60, 0x5B, 0xFC};
    payload.resize(8 + 328); // 32 + 2590 bits, aligned
    payload[8 + 326] = 0x02; // the checksum begins with the lower half of this byte
    payload[8 + 327] = 0xA8;
    const auto packets = PacketsOf(payload);

    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(packets[0].wordCount, 259u);
    EXPECT_EQ(packets[0].words[2], 0x2FF);
    EXPECT_EQ(packets[0].words[258], 0x0AA);
}

TEST(ReadAncillaryPayload, WithoutPacketsItKeepsTheStreamAlive)
{
    const Bytes payload{0x51, 0xF9, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};

    EXPECT_TRUE(PacketsOf(payload).empty());
}

TEST(ReadAncillaryPayload, CutShortAtAnyByteItIsRefused)
{
    const Bytes whole = Joined({{0, 0, 0x00, 0x0C, 0x01, 0x80, 0x00, 0x00}, kPacketBytes});
    for (size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(Accepts(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)))) << size;
    EXPECT_TRUE(Accepts(whole));
}

TEST(ReadAncillaryPayload, PacketsThatLeaveTheStatedLengthAreRefused)
{
    for (const uint8_t length : Bytes{0, 4, 8, 9, 11})
        EXPECT_EQ(Accepts(Joined({{0, 0, 0x00, length, 0x01, 0x80, 0x00, 0x00}, kPacketBytes})), false) << +length;
    EXPECT_FALSE(Accepts(Joined({{0, 0, 0x00, 0x0C, 0x02, 0x80, 0x00, 0x00}, kPacketBytes}))); // one of two
    EXPECT_FALSE(Accepts(Joined({{0, 0, 0xFF, 0xFF, 0x01, 0x80, 0x00, 0x00}, kPacketBytes})));
}

TEST(ReadAncillaryPayload, TheBitsThatAlignTheLastPacketMayBeMissing)
{
    const Bytes empty{0x00, 0xAF, 0xFD, 0x00, 0x98, 0x26, 0x08, 0x02, 0xC0}; // 72 bits: all words are there
    const auto packets = PacketsOf(Joined({{0, 0, 0x00, 0x09, 0x01, 0x00, 0x00, 0x00}, empty}));

    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(WordsOf(packets[0]), (Words{0x260, 0x260, 0x200, 0x2C0}));
}

TEST(ReadAncillaryPayload, BytesBehindTheStatedLengthSayNothing)
{
    EXPECT_EQ(PacketsOf(Joined({{0, 0, 0x00, 0x0C, 0x01, 0x80, 0x00, 0x00}, kPacketBytes, {1, 2, 3, 4, 5}})).size(),
              1u);
}

TEST(ReadAncillaryPayload, PaddingOfTheRtpPacketIsNoPartOfIt)
{
    // A packet that keeps the stream alive, with four bytes of padding.
    const Bytes datagram{0xA0, 0xE4, 0x54, 0x06, 0x59, 0xE1, 0xDF, 0xD7, 0x00, 0x00, 0x00, 0x01,
                         0x51, 0xF9, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x04};
    const auto rtp = ReadRtpPacket(datagram);

    ASSERT_TRUE(rtp);
    AncillaryPayload read;
    ASSERT_TRUE(ReadAncillaryPayload(rtp->payload, read));
    EXPECT_EQ(rtp->payload.size(), 8u);
    EXPECT_EQ(read.extendedSequence, 0x51F9);
    EXPECT_EQ(read.count, 0u);
}

TEST(AncillaryPayloadWriter, TheBytesOfAPacket)
{
    Bytes room(64, 0xEE);
    AncillaryPayloadWriter writer(room);
    ASSERT_TRUE(writer.Add(kPacketHeader, kPacketWords));
    const size_t bytes = writer.Finish(0x1234, FieldSignal::First);

    ASSERT_EQ(bytes, 20u);
    room.resize(bytes);
    EXPECT_EQ(room, Joined({{0x12, 0x34, 0x00, 0x0C, 0x01, 0x80, 0x00, 0x00}, kPacketBytes}));
}

TEST(AncillaryPayloadWriter, EveryFieldOfAPacketsHeader)
{
    Bytes room(20);
    AncillaryPayloadWriter writer(room);
    const AncillaryHeader header{
        .colour = true, .line = 0x7FF, .horizontalOffset = 0x123, .streamGiven = true, .streamNumber = 0x55};
    ASSERT_TRUE(writer.Add(header, Words{0x3FF, 0x3FF, 0x100, 0x3FF}));
    ASSERT_EQ(writer.Finish(0, FieldSignal::Second), 20u);

    EXPECT_EQ(room, (Bytes{0x00, 0x00, 0x00, 0x0C, 0x01, 0xC0, 0x00, 0x00, //
                           0xFF, 0xF1, 0x23, 0xD5, 0xFF, 0xFF, 0xF4, 0x03, 0xFF, 0x00, 0x00, 0x00}));
}

TEST(AncillaryPayloadWriter, WithoutPacketsThereAreEightBytes)
{
    Bytes room(8, 0xEE);
    AncillaryPayloadWriter writer(room);
    EXPECT_EQ(writer.Finish(0xABCD, FieldSignal::None), 8u);

    EXPECT_EQ(room, (Bytes{0xAB, 0xCD, 0, 0, 0, 0, 0, 0}));
}

TEST(AncillaryPayloadWriter, WhatDoesNotFitIsNotWritten)
{
    Bytes room(8 + 12 + 11, 0xEE);
    AncillaryPayloadWriter writer(room);
    ASSERT_TRUE(writer.Add(kPacketHeader, kPacketWords));
    EXPECT_FALSE(writer.Add(kPacketHeader, kPacketWords));

    EXPECT_EQ(writer.Finish(0, FieldSignal::None), 20u);
    EXPECT_EQ(room[4], 1);
    EXPECT_EQ(room[20], 0xEE);
}

TEST(AncillaryPayloadWriter, APayloadHas255PacketsAtMost)
{
    Bytes room(8 + 256 * 12);
    AncillaryPayloadWriter writer(room);
    for (int i = 0; i < 255; ++i)
        ASSERT_TRUE(writer.Add(kPacketHeader, kPacketWords));
    EXPECT_FALSE(writer.Add(kPacketHeader, kPacketWords));

    EXPECT_EQ(writer.Finish(0, FieldSignal::None), 8u + 255 * 12);
    EXPECT_EQ(room[4], 255);
}

TEST(AncillaryParity, BitEightIsEvenParityAndBitNineItsInverse)
{
    for (const uint16_t good : Words{0x241, 0x205, 0x102, 0x200, 0x101, 0x2FF, 0x1FE, 0x260})
        EXPECT_TRUE(AncillaryParityHolds(good)) << std::hex << good;
    for (const uint16_t bad : Words{0x041, 0x341, 0x141, 0x202, 0x002, 0x302, 0x000, 0x3FF, 0x001})
        EXPECT_FALSE(AncillaryParityHolds(bad)) << std::hex << bad;
}

TEST(AncillaryChecksum, NineBitsOfTheSumAndTheInverseOfTheTopOne)
{
    EXPECT_EQ(AncillaryChecksum(Words{0x241, 0x205, 0x102, 0x155, 0x2AA}), 0x147);
    EXPECT_EQ(AncillaryChecksum(Words{0x260, 0x260, 0x200}), 0x2C0); // 0x60 + 0x60 = 0xC0
    EXPECT_EQ(AncillaryChecksum(Words{0x1FF, 0x1FF, 0x102}), 0x100); // 0x500: bit 8 set
    EXPECT_EQ(AncillaryChecksum(Words{}), 0x200);
}

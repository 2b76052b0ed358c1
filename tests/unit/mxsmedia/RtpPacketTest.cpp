// Headers of RTP packets and of raw video payloads: what is read, and what is refused.
#include "mxs/media/RtpPacket.h"

#include "Packets.h"

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

TEST(ReadRtpPacket, ReadsTheFieldsOfAPlainPacket)
{
    const Bytes bytes{0x80, 0xE0, 0x12, 0x34, 1, 2, 3, 4, 5, 6, 7, 8, 0xAA, 0xBB};

    const auto packet = ReadRtpPacket(bytes);

    ASSERT_TRUE(packet);
    EXPECT_TRUE(packet->marker);
    EXPECT_EQ(packet->payloadType, 96);
    EXPECT_EQ(packet->sequence, 0x1234);
    EXPECT_EQ(packet->timestamp, 0x01020304u);
    EXPECT_EQ(packet->ssrc, 0x05060708u);
    EXPECT_EQ(Bytes(packet->payload.begin(), packet->payload.end()), (Bytes{0xAA, 0xBB}));
}

TEST(ReadRtpPacket, SkipsCsrcEntriesExtensionAndPadding)
{
    Bytes bytes{0x80 | 0x20 | 0x10 | 2, 0x60, 0, 1, 0, 0, 0, 0, 0, 0, 0, 9};
    bytes.insert(bytes.end(), 8, 0xCC);                           // two CSRC entries
    bytes.insert(bytes.end(), {0xBE, 0xDE, 0, 1, 0xEE, 1, 2, 3}); // one extension word
    bytes.insert(bytes.end(), {0xAA, 0xBB, 0xDD, 0, 0, 3});       // three of payload, three of padding

    const auto packet = ReadRtpPacket(bytes);

    ASSERT_TRUE(packet);
    EXPECT_EQ(Bytes(packet->payload.begin(), packet->payload.end()), (Bytes{0xAA, 0xBB, 0xDD}));
}

TEST(ReadRtpPacket, RefusesWhatIsCutShortOrNoRtp)
{
    const Bytes good{0x80, 0x60, 0, 1, 0, 0, 0, 0, 0, 0, 0, 9};
    ASSERT_TRUE(ReadRtpPacket(good));
    for (size_t bytes = 0; bytes < good.size(); ++bytes)
        EXPECT_FALSE(ReadRtpPacket(std::span(good).first(bytes))) << bytes;

    const struct
    {
        const char* name;
        uint8_t first;
        Bytes rest;
    } cases[] = {
        {"version 1", 0x40, {}},
        {"version 3", 0xC0, {}},
        {"CSRC entries missing", 0x8F, Bytes(59, 0)},
        {"extension header missing", 0x90, {0, 0, 0}},
        {"extension words missing", 0x90, {0, 0, 0, 2, 1, 2, 3, 4, 5, 6, 7}},
        {"extension longer than any packet", 0x90, {0, 0, 0xFF, 0xFF, 1, 2, 3, 4}},
        {"padding of 0", 0xA0, {1, 0}},
        {"padding longer than the payload", 0xA0, {1, 3}},
        {"padding of an empty payload", 0xA0, {}},
    };
    for (const auto& test : cases)
    {
        Bytes bytes = good;
        bytes[0] = test.first;
        bytes.insert(bytes.end(), test.rest.begin(), test.rest.end());
        EXPECT_FALSE(ReadRtpPacket(bytes)) << test.name;
    }
}

TEST(ReadVideoPayload, ReadsSegmentsWithTheirSamples)
{
    const Bytes bytes = MakePacket({.sequence = 0x00050001}, {{false, 1079, 960, {1, 2, 3, 4, 5}}, {true, 3, 0, {6}}});
    const auto packet = ReadRtpPacket(bytes);
    VideoPayload payload;

    ASSERT_TRUE(ReadVideoPayload(packet->payload, payload));

    EXPECT_EQ(payload.extendedSequence, 5);
    ASSERT_EQ(payload.count, 2u);
    EXPECT_FALSE(payload.segments[0].secondField);
    EXPECT_EQ(payload.segments[0].line, 1079);
    EXPECT_EQ(payload.segments[0].offset, 960);
    EXPECT_EQ(payload.segments[0].samples.size(), 5u);
    EXPECT_EQ(payload.segments[0].samples[4], 5);
    EXPECT_TRUE(payload.segments[1].secondField);
    EXPECT_EQ(payload.segments[1].line, 3);
    EXPECT_EQ(payload.segments[1].samples[0], 6);
}

TEST(ReadVideoPayload, RefusesEveryTruncation)
{
    const Bytes bytes = MakePacket({}, {{false, 1, 0, {1, 2, 3, 4, 5}}, {false, 2, 0, {6, 7}}});
    const auto whole = ReadRtpPacket(bytes)->payload;
    VideoPayload payload;
    ASSERT_TRUE(ReadVideoPayload(whole, payload));

    for (size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(ReadVideoPayload(whole.first(size), payload)) << size;
}

TEST(ReadVideoPayload, RefusesAChainOfHeadersThatDoesNotEnd)
{
    Bytes endless(2 + 6 * 200, 0xFF); // each says that another follows
    for (size_t at = 2; at < endless.size(); at += 6)
        endless[at] = endless[at + 1] = 0;
    VideoPayload payload;

    EXPECT_FALSE(ReadVideoPayload(endless, payload));
}

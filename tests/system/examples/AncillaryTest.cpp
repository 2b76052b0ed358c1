// The bytes of time code and captions in the examples, against bytes written out by hand.
#include "Ancillary.h"

#include <gtest/gtest.h>

namespace
{

TEST(WithParity, BitEightMakesTheOnesEvenAndBitNineIsItsInverse)
{
    EXPECT_EQ(0x200, WithParity(0x00));
    EXPECT_EQ(0x101, WithParity(0x01));
    EXPECT_EQ(0x260, WithParity(0x60));
    EXPECT_EQ(0x161, WithParity(0x61));
    EXPECT_EQ(0x2FF, WithParity(0xFF));
}

TEST(Checksum, IsNineBitsOfTheSumAndTheInverseOfTheHighest)
{
    // 0x241 + 0x205 + 0x102 + 0x104 + 0x200 = 0x84C; nine bits of it are 0x04C, and bit 8 is clear.
    const uint16_t words[] = {0x104, 0x200};
    EXPECT_EQ(0x24C, Checksum({0x41, 0x05}, 2, words));
    // 0x161 + 0x101 + 0x200 = 0x462; nine bits are 0x062.
    EXPECT_EQ(0x262, Checksum({0x61, 0x01}, 0, nullptr));
    // 0x260 + 0x260 + 0x101 + 0x1FE = 0x7BF; nine bits are 0x1BF, and bit 8 is set.
    const uint16_t one[] = {0x1FE};
    EXPECT_EQ(0x1BF, Checksum({0x60, 0x60}, 1, one));
}

struct TimeCodeCase
{
    const char* name;
    uint64_t frame;
    FrameRate rate;
    const char* text;
};

class CountedTimeCode : public testing::TestWithParam<TimeCodeCase>
{
};

TEST_P(CountedTimeCode, SaysTheFrameInItsSecond)
{
    EXPECT_EQ(GetParam().text, ToText(TimeCodeOf(GetParam().frame, GetParam().rate)));
}

INSTANTIATE_TEST_SUITE_P(Frames, CountedTimeCode,
                         testing::Values(TimeCodeCase{"First", 0, {25, false}, "00:00:00:00"},
                                         TimeCodeCase{"LastOfASecond", 24, {25, false}, "00:00:00:24"},
                                         TimeCodeCase{"NextSecond", 25, {25, false}, "00:00:01:00"},
                                         TimeCodeCase{"NextHour", 108000, {30, true}, "01:00:00:00"},
                                         TimeCodeCase{"FirstOfAPair", 98, {50, false}, "00:00:01:24"},
                                         TimeCodeCase{"SecondOfAPair", 99, {50, false}, "00:00:01.24"},
                                         TimeCodeCase{"NextDay", 2160000, {25, false}, "00:00:00:00"}),
                         [](const auto& instance) { return instance.param.name; });

struct CodedTimeCode
{
    const char* name;
    TimeCode timeCode;
    FrameRate rate;
    Bytes bytes;
};

class TimeCodeBytes : public testing::TestWithParam<CodedTimeCode>
{
};

TEST_P(TimeCodeBytes, HaveADigitInTheUpperHalfOfEverySecondOne)
{
    EXPECT_EQ(GetParam().bytes, EncodeTimeCode(GetParam().timeCode, GetParam().rate));
    EXPECT_EQ(GetParam().timeCode, DecodeTimeCode(GetParam().bytes, GetParam().rate).value());
}

// The flag of a pair's second frame is beside the tens of seconds, at 50 frames a second beside the tens of hours.
INSTANTIATE_TEST_SUITE_P(
    Codes, TimeCodeBytes,
    testing::Values(CodedTimeCode{"At25",
                                  {10, 21, 34, 12, false},
                                  {25, false},
                                  {0x28, 0, 0x10, 0, 0x40, 0, 0x30, 0, 0x10, 0, 0x20, 0, 0x00, 0, 0x10, 0}},
                    CodedTimeCode{"SecondOfAPairAt60",
                                  {23, 59, 59, 29, true},
                                  {60, true},
                                  {0x98, 0, 0x20, 0, 0x90, 0, 0xD0, 0, 0x90, 0, 0x50, 0, 0x30, 0, 0x20, 0}},
                    CodedTimeCode{"SecondOfAPairAt50",
                                  {23, 59, 59, 24, true},
                                  {50, false},
                                  {0x48, 0, 0x20, 0, 0x90, 0, 0x50, 0, 0x90, 0, 0x50, 0, 0x30, 0, 0xA0, 0}}),
    [](const auto& instance) { return instance.param.name; });

TEST(DecodeTimeCode, FlagsAndUserBitsOfOthersAreNoDigits)
{
    // Drop frame and colour frame beside the tens of frames, flags beside those of minutes and hours, user bits
    // between.
    const Bytes bytes{0x50, 0xF0, 0xE8, 0xF0, 0x70, 0xF0, 0x50, 0xF8, 0x30, 0xF0, 0xA0, 0xF0, 0x40, 0xF0, 0xD0, 0xF0};
    EXPECT_EQ("14:23:57:25", ToText(DecodeTimeCode(bytes, {30, true}).value()));
}

TEST(DecodeTimeCode, AnotherNumberOfBytesIsNoTimeCode)
{
    EXPECT_FALSE(DecodeTimeCode(Bytes(15), {25, false}));
    EXPECT_FALSE(DecodeTimeCode({}, {25, false}));
}

// Sixty frames a second: ten triplets. The text "A" with its window is 11 bytes, with two headers 13, padded to 14.
const Bytes kCaptionA{0x96, 0x69, 0x2B, 0x8F, 0x43, 0x00, 0x00, 0x72, 0xEA, // head, ten triplets follow
                      0xF8, 0x80, 0x80, 0xF9, 0x80, 0x80,                   // line 21
                      0xFF, 0x07, 0x2B,                                     // start: 14 bytes; service 1, 11 bytes
                      0xFE, 0x8C, 0xFF, 0xFE, 0x98, 0x38, 0xFE, 0xDA, 0x32, // no windows; a window
                      0xFE, 0x70, 0x1F, 0xFE, 0x09, 0x41, 0xFE, 0x03, 0x00, // "A", end of text, padding
                      0xFA, 0x00, 0x00, 0x74, 0x00, 0x00, 0x00};            // filler, foot

Bytes WithSum(Bytes packet)
{
    uint8_t sum = 0;
    for (size_t i = 0; i + 1 < packet.size(); ++i)
        sum = uint8_t(sum + packet[i]);
    packet.back() = uint8_t(256 - sum);
    return packet;
}

TEST(CaptionEncoder, TheTextTravelsInTripletsOfTheNextPacket)
{
    CaptionEncoder encoder({60, false});
    encoder.Show("A");
    Bytes expected = kCaptionA;
    expected.back() = 0xE1;
    EXPECT_EQ(expected, encoder.NextPacket());
}

TEST(CaptionEncoder, APacketWithNothingToSayIsAllFillersAndCountsOn)
{
    CaptionEncoder encoder({60, true});
    encoder.NextPacket();
    const Bytes packet = encoder.NextPacket();
    ASSERT_EQ(43u, packet.size());
    EXPECT_EQ((Bytes{0x96, 0x69, 0x2B, 0x7F, 0x43, 0x00, 0x01, 0x72, 0xEA}), Bytes(packet.begin(), packet.begin() + 9));
    for (size_t triplet = 2; triplet < 10; ++triplet)
        EXPECT_EQ(0xFA, packet[9 + triplet * 3]);
    EXPECT_EQ((Bytes{0x74, 0x00, 0x01}), Bytes(packet.end() - 4, packet.end() - 1));
}

TEST(CaptionEncoder, SlowerRatesHaveMoreTripletsInEachPacket)
{
    EXPECT_EQ(88u, CaptionEncoder({24, true}).NextPacket().size());
    EXPECT_EQ(85u, CaptionEncoder({25, false}).NextPacket().size());
    EXPECT_EQ(73u, CaptionEncoder({30, true}).NextPacket().size());
    EXPECT_EQ(49u, CaptionEncoder({50, false}).NextPacket().size());
}

TEST(CaptionEncoder, ARateThatThePacketsDoNotKnowIsRefused)
{
    EXPECT_THROW(CaptionEncoder({48, false}), std::runtime_error);
}

TEST(CaptionDecoder, ReadsThePacketWrittenByHand)
{
    CaptionDecoder decoder;
    EXPECT_EQ("A", decoder.Read(WithSum(kCaptionA)).value());
}

TEST(CaptionDecoder, ATextOverSeveralPacketsIsCompleteInTheLast)
{
    CaptionEncoder encoder({60, false});
    encoder.Show("thirty-two characters of caption");
    CaptionDecoder decoder;
    // 42 bytes in two blocks, 44 with the headers, 46 with that of the packet and its padding: 23 triplets of 8 a
    // packet.
    EXPECT_FALSE(decoder.Read(encoder.NextPacket()));
    EXPECT_FALSE(decoder.Read(encoder.NextPacket()));
    EXPECT_EQ("thirty-two characters of caption", decoder.Read(encoder.NextPacket()).value());
    EXPECT_FALSE(decoder.Read(encoder.NextPacket()));
}

TEST(CaptionDecoder, TheNextTextTakesThePlaceOfTheOneBefore)
{
    CaptionEncoder encoder({25, false});
    CaptionDecoder decoder;
    encoder.Show("one");
    EXPECT_EQ("one", decoder.Read(encoder.NextPacket()).value());
    encoder.Show("two");
    EXPECT_EQ("two", decoder.Read(encoder.NextPacket()).value());
}

// The packet above with other codes in the place of its window, and other codes around its letter.
Bytes InTheSameWindow(uint8_t code, char letter, uint8_t last)
{
    Bytes packet = kCaptionA;
    for (const size_t at : {22u, 23u, 25u, 26u, 28u, 29u})
        packet[at] = 0x00;
    packet[31] = code;
    packet[32] = uint8_t(letter);
    packet[34] = last;
    return WithSum(packet);
}

TEST(CaptionDecoder, ALineThatRollsUpInItsWindowIsATextOfItsOwn)
{
    CaptionDecoder decoder;
    EXPECT_EQ("A", decoder.Read(WithSum(kCaptionA)).value());
    EXPECT_EQ("B", decoder.Read(InTheSameWindow(0x00, 'B', 0x03)).value());
    EXPECT_EQ("C", decoder.Read(InTheSameWindow(0x00, 'C', 0x03)).value());
}

TEST(CaptionDecoder, AWindowThatIsEmptiedLosesItsText)
{
    CaptionDecoder decoder;
    EXPECT_FALSE(decoder.Read(InTheSameWindow(0x00, 'A', 0x00)));
    EXPECT_FALSE(decoder.Read(InTheSameWindow(0x00, 'B', 0x00)));
    EXPECT_EQ("C", decoder.Read(InTheSameWindow(0x0C, 'C', 0x03)).value());
}

TEST(CaptionDecoder, ATextWithoutAnEndIsNoLongerThanAWindow)
{
    CaptionDecoder decoder;
    for (int i = 0; i < 1000; ++i)
        EXPECT_FALSE(decoder.Read(InTheSameWindow(0x00, 'A', 0x00)));
    EXPECT_EQ(std::string(15 * 42, 'A'), decoder.Read(InTheSameWindow(0x00, 'A', 0x03)).value());
}

TEST(CaptionDecoder, ATextWhoseStartWasMissedIsLeftOut)
{
    CaptionEncoder encoder({60, false});
    encoder.Show("thirty-two characters of caption");
    encoder.NextPacket();
    CaptionDecoder decoder;
    EXPECT_FALSE(decoder.Read(encoder.NextPacket()));
    EXPECT_FALSE(decoder.Read(encoder.NextPacket()));
}

TEST(CaptionDecoder, EveryDamageIsTold)
{
    CaptionDecoder decoder;
    Bytes packet = WithSum(kCaptionA);
    packet[12] ^= 1;
    EXPECT_THROW(decoder.Read(packet), std::runtime_error);
    EXPECT_THROW(decoder.Read({}), std::runtime_error);
    for (size_t size = 0; size < kCaptionA.size(); ++size)
        EXPECT_THROW(decoder.Read(Bytes(kCaptionA.begin(), kCaptionA.begin() + std::ptrdiff_t(size))),
                     std::runtime_error)
            << size;
}

TEST(CaptionDecoder, ACountOfTripletsBeyondThePacketReadsWhatIsThere)
{
    Bytes packet = kCaptionA;
    packet[8] = 0xFF; // 31 triplets, and ten are there; the foot is no triplet that anybody takes
    CaptionDecoder decoder;
    EXPECT_EQ("A", decoder.Read(WithSum(packet)).value());
}

} // namespace

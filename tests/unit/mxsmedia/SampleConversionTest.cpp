// The bytes of each network and application format, written by hand, and the rounding between depths.
#include "mxs/media/SampleConversion.h"

#include "Packets.h"

#include <ostream>

#include <gtest/gtest.h>

using namespace mxs::media;
using mxs::media::test::Bytes;

namespace
{

// One pixel group on the network, the components that it holds, and the same components in the application's format.
struct FormatCase
{
    const char* name;
    BitProperties network;
    Bytes group;
    BitProperties application;
    Bytes stored;
};

std::ostream& operator<<(std::ostream& out, const FormatCase& test)
{
    return out << test.name;
}

constexpr uint32_t k8 = 0, k10 = 1, k12 = 2;

// 10 bits: Cb 201, Y0 040, Cr 1FF, Y1 3AC.
const Bytes kGroup422x10{0x80, 0x44, 0x07, 0xFF, 0xAC};
// 8 bits: Cb 80, Y0 10, Cr 7F, Y1 EB.
const Bytes kGroup422x8{0x80, 0x10, 0x7F, 0xEB};
// 12 bits: Cb 801, Y0 100, Cr FFF, Y1 EB8.
const Bytes kGroup422x12{0x80, 0x11, 0x00, 0xFF, 0xFE, 0xB8};
// 12 bits, 4:4:4, two pixels: 123 456 789, ABC DEF 012.
const Bytes kGroup444x12{0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0, 0x12};
// 10 bits, 4:4:4, four pixels: 001 002 004, 008 010 020, 040 080 100, 200 3FF 155.
//   0000000001 0000000010 0000000100 0000001000 | 0000010000 0000100000 0001000000 0010000000 |
//   0100000000 1000000000 1111111111 0101010101
const Bytes kGroup444x10{0x00, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01, 0x00, 0x80, 0x40, 0x20, 0x0F, 0xFD, 0x55};
// The same stored otherwise; where they are packed, the first of each four has the lowest bits of the first byte.
const Bytes k444x10PackedLittle{0x01, 0x08, 0x40, 0x00, 0x02, 0x10, 0x80, 0x00,
                                0x04, 0x20, 0x00, 0x01, 0xF8, 0x7F, 0x55};
const Bytes k444x10In16Little{1, 0, 2, 0, 4, 0, 8, 0, 0x10, 0, 0x20, 0, 0x40, 0, 0x80, 0, 0, 1, 0, 2, 0xFF, 3, 0x55, 1};
const Bytes k444x10In32Big{0, 0, 0, 1,    0, 0, 0, 2,    0, 0, 0, 4, 0, 0, 0, 8, 0, 0, 0, 0x10, 0, 0, 0, 0x20,
                           0, 0, 0, 0x40, 0, 0, 0, 0x80, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3, 0xFF, 0, 0, 1, 0x55};
const Bytes k444x10In32Little{1,    0, 0, 0, 2,    0, 0, 0, 4, 0, 0, 0, 8, 0, 0, 0, 0x10, 0, 0, 0, 0x20, 0, 0, 0,
                              0x40, 0, 0, 0, 0x80, 0, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0xFF, 3, 0, 0, 0x55, 1, 0, 0};

const FormatCase kFormatCases[] = {
    {"YCbCr422x10Packed", {1, k10}, kGroup422x10, {1, k10, 0, 0}, {0x80, 0x44, 0x07, 0xFF, 0xAC}},
    {"YCbCr422x10PackedLittle", {1, k10}, kGroup422x10, {1, k10, 0, 1}, {0x01, 0x02, 0xF1, 0x1F, 0xEB}},
    {"YCbCr422x10In16Big", {1, k10}, kGroup422x10, {1, k10, 1, 0}, {2, 1, 0, 0x40, 1, 0xFF, 3, 0xAC}},
    {"YCbCr422x10In16Little", {1, k10}, kGroup422x10, {1, k10, 1, 1}, {1, 2, 0x40, 0, 0xFF, 1, 0xAC, 3}},
    {"YCbCr422x10In32Big",
     {1, k10},
     kGroup422x10,
     {1, k10, 2, 0},
     {0, 0, 2, 1, 0, 0, 0, 0x40, 0, 0, 1, 0xFF, 0, 0, 3, 0xAC}},
    {"YCbCr422x10In32Little",
     {1, k10},
     kGroup422x10,
     {1, k10, 2, 1},
     {1, 2, 0, 0, 0x40, 0, 0, 0, 0xFF, 1, 0, 0, 0xAC, 3, 0, 0}},
    {"YCbCr422x10To8", {1, k10}, kGroup422x10, {1, k8, 0, 0}, {0x80, 0x10, 0x80, 0xEB}},
    {"YCbCr422x10To8Little", {1, k10}, kGroup422x10, {1, k8, 0, 1}, {0x80, 0x10, 0x80, 0xEB}},
    {"YCbCr422x10To12", {1, k10}, kGroup422x10, {1, k12, 0, 0}, {0x80, 0x41, 0x00, 0x7F, 0xCE, 0xB0}},
    {"YCbCr422x10To12Little", {1, k10}, kGroup422x10, {1, k12, 0, 1}, {0x04, 0x08, 0x10, 0xFC, 0x07, 0xEB}},
    {"YCbCr422x10To12In16Little", {1, k10}, kGroup422x10, {1, k12, 1, 1}, {4, 8, 0, 1, 0xFC, 7, 0xB0, 0xE}},
    {"YCbCr422x8Packed", {1, k8}, kGroup422x8, {1, k8, 0, 0}, {0x80, 0x10, 0x7F, 0xEB}},
    {"YCbCr422x8In32Big",
     {1, k8},
     kGroup422x8,
     {1, k8, 2, 0},
     {0, 0, 0, 0x80, 0, 0, 0, 0x10, 0, 0, 0, 0x7F, 0, 0, 0, 0xEB}},
    {"YCbCr422x8In16Little", {1, k8}, kGroup422x8, {1, k8, 1, 1}, {0x80, 0, 0x10, 0, 0x7F, 0, 0xEB, 0}},
    // 200 040 1FC 3AC: 1000000000 0001000000 0111111100 1110101100
    {"YCbCr422x8To10", {1, k8}, kGroup422x8, {1, k10, 0, 0}, {0x80, 0x04, 0x07, 0xF3, 0xAC}},
    {"YCbCr422x8To12In16Big", {1, k8}, kGroup422x8, {1, k12, 1, 0}, {8, 0, 1, 0, 7, 0xF0, 0xE, 0xB0}},
    {"YCbCr422x12Packed", {1, k12}, kGroup422x12, {1, k12, 0, 0}, {0x80, 0x11, 0x00, 0xFF, 0xFE, 0xB8}},
    {"YCbCr422x12PackedLittle", {1, k12}, kGroup422x12, {1, k12, 0, 1}, {0x01, 0x08, 0x10, 0xFF, 0x8F, 0xEB}},
    {"YCbCr422x12In32Big",
     {1, k12},
     kGroup422x12,
     {1, k12, 2, 0},
     {0, 0, 8, 1, 0, 0, 1, 0, 0, 0, 0xF, 0xFF, 0, 0, 0xE, 0xB8}},
    {"YCbCr422x12In32Little",
     {1, k12},
     kGroup422x12,
     {1, k12, 2, 1},
     {1, 8, 0, 0, 0, 1, 0, 0, 0xFF, 0xF, 0, 0, 0xB8, 0xE, 0, 0}},
    // 801 -> 200, 100 -> 040, FFF -> 3FF (400 does not fit), EB8 -> 3AE
    {"YCbCr422x12To10In16Big", {1, k12}, kGroup422x12, {1, k10, 1, 0}, {2, 0, 0, 0x40, 3, 0xFF, 3, 0xAE}},
    // 801 -> 80, 100 -> 10, FFF -> FF, EB8 -> EC (halves go up)
    {"YCbCr422x12To8", {1, k12}, kGroup422x12, {1, k8, 0, 0}, {0x80, 0x10, 0xFF, 0xEC}},
    {"ICtCp422x10", {7, k10}, kGroup422x10, {7, k10, 1, 1}, {1, 2, 0x40, 0, 0xFF, 1, 0xAC, 3}},
    {"ConstantLuminance422x10", {4, k10}, kGroup422x10, {4, k10, 1, 1}, {1, 2, 0x40, 0, 0xFF, 1, 0xAC, 3}},
    {"YCbCr444x8", {2, k8}, {0x11, 0x22, 0x33}, {2, k8, 0, 0}, {0x11, 0x22, 0x33}},
    {"YCbCr444x8PackedLittle", {2, k8}, {0x11, 0x22, 0x33}, {2, k8, 0, 1}, {0x11, 0x22, 0x33}},
    {"YCbCr444x8In16Big", {2, k8}, {0x11, 0x22, 0x33}, {2, k8, 1, 0}, {0, 0x11, 0, 0x22, 0, 0x33}},
    {"YCbCr444x8In16Little", {2, k8}, {0x11, 0x22, 0x33}, {2, k8, 1, 1}, {0x11, 0, 0x22, 0, 0x33, 0}},
    {"YCbCr444x8In32Little", {2, k8}, {0x11, 0x22, 0x33}, {2, k8, 2, 1}, {0x11, 0, 0, 0, 0x22, 0, 0, 0, 0x33, 0, 0, 0}},
    {"YCbCr444x10", {2, k10}, kGroup444x10, {2, k10, 1, 0}, {0, 1,    0, 2,    0, 4, 0, 8, 0, 0x10, 0, 0x20,
                                                             0, 0x40, 0, 0x80, 1, 0, 2, 0, 3, 0xFF, 1, 0x55}},
    {"YCbCr444x10Packed", {2, k10}, kGroup444x10, {2, k10, 0, 0}, kGroup444x10},
    {"YCbCr444x10PackedLittle", {2, k10}, kGroup444x10, {2, k10, 0, 1}, k444x10PackedLittle},
    {"RgbNonLinear10In16Little", {10, k10}, kGroup444x10, {10, k10, 1, 1}, k444x10In16Little},
    {"YCbCr444x10In32Big", {2, k10}, kGroup444x10, {2, k10, 2, 0}, k444x10In32Big},
    {"YCbCr444x10In32Little", {2, k10}, kGroup444x10, {2, k10, 2, 1}, k444x10In32Little},
    {"RgbLinear10To8", {9, k10}, kGroup444x10, {9, k8, 0, 0}, {0, 1, 1, 2, 4, 8, 0x10, 0x20, 0x40, 0x80, 0xFF, 0x55}},
    {"RgbNonLinear12",
     {10, k12},
     kGroup444x12,
     {10, k12, 1, 1},
     {0x23, 1, 0x56, 4, 0x89, 7, 0xBC, 0xA, 0xEF, 0xD, 0x12, 0}},
    {"YCbCr444x12In16Big",
     {2, k12},
     kGroup444x12,
     {2, k12, 1, 0},
     {1, 0x23, 4, 0x56, 7, 0x89, 0xA, 0xBC, 0xD, 0xEF, 0, 0x12}},
    {"YCbCr444x12In32Big", {2, k12}, kGroup444x12, {2, k12, 2, 0}, {0, 0, 1,   0x23, 0, 0, 4,   0x56, 0, 0, 7, 0x89,
                                                                    0, 0, 0xA, 0xBC, 0, 0, 0xD, 0xEF, 0, 0, 0, 0x12}},
    {"YCbCr444x12In32Little", {2, k12}, kGroup444x12, {2, k12, 2, 1}, {0x23, 1,   0, 0, 0x56, 4,   0, 0,
                                                                       0x89, 7,   0, 0, 0xBC, 0xA, 0, 0,
                                                                       0xEF, 0xD, 0, 0, 0x12, 0,   0, 0}},
    {"YCbCr444x12PackedLittle",
     {2, k12},
     kGroup444x12,
     {2, k12, 0, 1},
     {0x23, 0x61, 0x45, 0x89, 0xC7, 0xAB, 0xEF, 0x2D, 0x01}},
    {"Xyz12", {11, k12}, kGroup444x12, {11, k12, 0, 0}, kGroup444x12},
    {"ICtCp444x8To10", {8, k8}, {0x01, 0x02, 0x04}, {8, k10, 1, 0}, {0, 4, 0, 8, 0, 0x10}},
    {"ConstantLuminance444x12To8", {5, k12}, kGroup444x12, {5, k8, 0, 0}, {0x12, 0x45, 0x79, 0xAC, 0xDF, 0x01}},
};

class SampleFormats : public testing::TestWithParam<FormatCase>
{
};

} // namespace

TEST_P(SampleFormats, AGroupIsStoredAsWrittenDownByHand)
{
    const FormatCase& test = GetParam();
    const PixelGroup* network = FindPixelGroup(test.network.sampling, DepthBits(test.network.depth));
    ASSERT_NE(network, nullptr);
    ASSERT_EQ(network->bytes, test.group.size());
    const SampleConverter converter(*network, test.application);
    Bytes slot(test.stored.size() * 4, 0xEE);

    // Four groups, one by one and out of order: each at a place of its own.
    for (const uint64_t group : {2u, 0u, 3u, 1u})
        converter.Write(slot.data(), group, test.group.data(), 1);

    Bytes expected;
    for (int copy = 0; copy < 4; ++copy)
        expected.insert(expected.end(), test.stored.begin(), test.stored.end());
    EXPECT_EQ(slot, expected);
}

TEST_P(SampleFormats, ManyGroupsAtOnceAreTheSameAsOneByOne)
{
    const FormatCase& test = GetParam();
    const PixelGroup* network = FindPixelGroup(test.network.sampling, DepthBits(test.network.depth));
    const SampleConverter converter(*network, test.application);
    const uint64_t groups = 24;
    const Bytes payload = mxs::media::test::Pattern(network->bytes * groups, 7);
    Bytes atOnce(test.stored.size() * groups);
    Bytes oneByOne(test.stored.size() * groups, 0xFF);

    converter.Write(atOnce.data(), 0, payload.data(), groups);
    for (uint64_t group = 0; group < groups; ++group)
        converter.Write(oneByOne.data(), group, payload.data() + group * network->bytes, 1);

    EXPECT_EQ(atOnce, oneByOne);
}

TEST_P(SampleFormats, WhatIsStoredWithoutLossComesOutAsTheGroup)
{
    const FormatCase& test = GetParam();
    if (test.application.depth < test.network.depth) return; // kBackCases have them
    const PixelGroup* network = FindPixelGroup(test.network.sampling, DepthBits(test.network.depth));
    const SampleConverter converter(*network, test.application);
    Bytes slot, expected;
    for (int copy = 0; copy < 4; ++copy)
    {
        slot.insert(slot.end(), test.stored.begin(), test.stored.end());
        expected.insert(expected.end(), test.group.begin(), test.group.end());
    }
    Bytes payload(expected.size(), 0xEE);

    for (const uint64_t group : {2u, 0u, 3u, 1u})
        converter.Read(slot.data(), group, payload.data() + group * network->bytes, 1);

    EXPECT_EQ(payload, expected);
}

INSTANTIATE_TEST_SUITE_P(Formats, SampleFormats, testing::ValuesIn(kFormatCases),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(ReadSamples, DepthsAreRoundedAndNumbersBeyondTheRangeAreCut)
{
    const FormatCase cases[] = {
        // 201 -> 80, 040 -> 10, 1FF -> 80, 3AC -> EB
        {"10 in 16 little to 8", {1, k8}, {0x80, 0x10, 0x80, 0xEB}, {1, k10, 1, 1}, {1, 2, 0x40, 0, 0xFF, 1, 0xAC, 3}},
        {"10 packed to 8", {1, k8}, {0x80, 0x10, 0x80, 0xEB}, {1, k10, 0, 0}, {0x80, 0x44, 0x07, 0xFF, 0xAC}},
        {"10 packed little to 8", {1, k8}, {0x80, 0x10, 0x80, 0xEB}, {1, k10, 0, 1}, {1, 2, 0xF1, 0x1F, 0xEB}},
        // 3FF -> FF (100 does not fit), 3FD -> FF, 3FE -> FF, 001 -> 00
        {"10 in 32 big to 8",
         {1, k8},
         {0xFF, 0xFF, 0xFF, 0x00},
         {1, k10, 2, 0},
         {0, 0, 3, 0xFF, 0, 0, 3, 0xFD, 0, 0, 3, 0xFE, 0, 0, 0, 1}},
        // 801 -> 200, 100 -> 040, FFF -> 3FF, EB8 -> 3AE
        {"12 packed to 10", {1, k10}, {0x80, 0x04, 0x0F, 0xFF, 0xAE}, {1, k12, 0, 0}, kGroup422x12},
        {"12 packed little to 8", {1, k8}, {0x80, 0x10, 0xFF, 0xEC}, {1, k12, 0, 1}, {1, 8, 0x10, 0xFF, 0x8F, 0xEB}},
        // 80 -> 200, 10 -> 040, 7F -> 1FC, EB -> 3AC
        {"8 to 10", {1, k10}, {0x80, 0x04, 0x07, 0xF3, 0xAC}, {1, k8, 0, 0}, kGroup422x8},
        {"8 in 32 little to 12",
         {1, k12},
         {0x80, 0x01, 0x00, 0x7F, 0x0E, 0xB0},
         {1, k8, 2, 1},
         {0x80, 0, 0, 0, 0x10, 0, 0, 0, 0x7F, 0, 0, 0, 0xEB, 0, 0, 0}},
        // 400 -> 3FF, FFFF -> 3FF, 3FF, 000
        {"10 in 16 big, too high",
         {1, k10},
         {0xFF, 0xFF, 0xFF, 0xFC, 0x00},
         {1, k10, 1, 0},
         {4, 0, 0xFF, 0xFF, 3, 0xFF, 0, 0}},
        // 10000 -> 3FF, 400 -> 3FF, FFFFFFFF -> 3FF, 001
        {"10 in 32 little, too high",
         {1, k10},
         {0xFF, 0xFF, 0xFF, 0xFC, 0x01},
         {1, k10, 2, 1},
         {0, 0, 1, 0, 0, 4, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 1, 0, 0, 0}},
        // 100 -> FF -> 3FC, FF -> 3FC, 01 -> 004, 8000 -> 3FC
        {"8 in 16 big, too high, to 10",
         {1, k10},
         {0xFF, 0x3F, 0xC0, 0x13, 0xFC},
         {1, k8, 1, 0},
         {1, 0, 0, 0xFF, 0, 1, 0x80, 0}},
        // three components: 1FF -> FF, 02, FFFFFFFF -> FF
        {"444 of 8 in 32 big, too high",
         {2, k8},
         {0xFF, 0x02, 0xFF},
         {2, k8, 2, 0},
         {0, 0, 1, 0xFF, 0, 0, 0, 2, 0xFF, 0xFF, 0xFF, 0xFF}},
    };
    for (const FormatCase& test : cases)
    {
        const PixelGroup* network = FindPixelGroup(test.network.sampling, DepthBits(test.network.depth));
        const SampleConverter converter(*network, test.application);
        Bytes payload(test.group.size(), 0xEE);
        converter.Read(test.stored.data(), 0, payload.data(), 1);
        EXPECT_EQ(payload, test.group) << test.name;
    }
}

TEST(ReadSamples, AnyRunOfGroupsComesOutAsItWentIn)
{
    for (const PixelGroup& network : AllPixelGroups())
        for (uint32_t depth = (network.depth - 8) / 2; depth <= k12; ++depth)
            for (const uint32_t padding : {0u, 1u, 2u})
                for (const uint32_t endianness : {0u, 1u})
                {
                    const BitProperties application{network.sampling, depth, padding, endianness};
                    const SampleConverter converter(network, application);
                    const uint64_t groups = 40;
                    const Bytes payload = mxs::media::test::Pattern(network.bytes * groups, 11 + depth);
                    Bytes slot(groups * network.components * StoredBits(application) / 8 + 1, 0xEE);
                    converter.Write(slot.data(), 0, payload.data(), groups);

                    for (const uint64_t first : {0u, 1u, 2u, 3u, 39u})
                    {
                        Bytes read(network.bytes * (groups - first), 0xEE);
                        converter.Read(slot.data(), first, read.data(), groups - first);
                        const Bytes expected(payload.begin() + static_cast<std::ptrdiff_t>(first * network.bytes),
                                             payload.end());
                        ASSERT_EQ(read, expected) << network.sampling << " " << network.depth << " in " << depth << " "
                                                  << padding << " " << endianness << " from " << first;
                    }
                }
}

TEST(SampleConverter, CopiesPayloadOnlyWhenBothSidesHaveTheSameBytes)
{
    const PixelGroup& ten = *FindPixelGroup(kYCbCr422, 10);
    const PixelGroup& eight = *FindPixelGroup(kYCbCr422, 8);

    EXPECT_TRUE(SampleConverter(ten, {1, k10, 0, 0}).IsPlainCopy());
    EXPECT_FALSE(SampleConverter(ten, {1, k10, 0, 1}).IsPlainCopy());
    EXPECT_FALSE(SampleConverter(ten, {1, k10, 1, 0}).IsPlainCopy());
    EXPECT_FALSE(SampleConverter(ten, {1, k8, 0, 0}).IsPlainCopy());
    EXPECT_TRUE(SampleConverter(eight, {1, k8, 0, 0}).IsPlainCopy());
    EXPECT_TRUE(SampleConverter(eight, {1, k8, 0, 1}).IsPlainCopy());
}

TEST(SampleConverter, RoundsHalvesUpAndStaysWithinTheRange)
{
    const PixelGroup& ten = *FindPixelGroup(kYCbCr422, 10);
    const SampleConverter converter(ten, {1, k8, 0, 0});
    const struct
    {
        uint32_t in;
        uint8_t out;
    } values[] = {{0, 0},      {1, 0},      {2, 1},      {5, 1},      {6, 2},
                  {1017, 254}, {1018, 255}, {1021, 255}, {1022, 255}, {1023, 255}};

    for (const auto& value : values)
    {
        const uint64_t group = uint64_t{value.in} << 30; // the first component, the others 0
        Bytes payload;
        for (int shift = 32; shift >= 0; shift -= 8)
            payload.push_back(static_cast<uint8_t>(group >> shift));
        Bytes slot(4, 0xEE);
        converter.Write(slot.data(), 0, payload.data(), 1);
        EXPECT_EQ(slot, (Bytes{value.out, 0, 0, 0})) << value.in;
    }
}

TEST(SampleConverter, MissingGroupsBetweenPackedOnesThatShareBytesWithThemKeepTheirNeighbours)
{
    // One pixel of 8 bits on the network is 30 bits in the slot: borders fall inside of bytes.
    const PixelGroup& network = *FindPixelGroup(kRgbLinear, 8);
    for (const uint32_t endianness : {0u, 1u})
    {
        const SampleConverter converter(network, {kRgbLinear, k10, 0, endianness});
        const Bytes white(3, 0xFF);
        Bytes stale(15, 0xEE); // an old picture shines through the holes
        Bytes expected(15, 0x00);
        for (const uint64_t pixel : {0u, 2u})
        {
            converter.Write(stale.data(), pixel, white.data(), 1);
            converter.Write(expected.data(), pixel, white.data(), 1);
        }

        for (const uint64_t pixel : {1u, 3u})
            converter.FillBlack(stale.data(), pixel, 1);

        EXPECT_EQ(stale, expected) << "endianness " << endianness;
    }
}

TEST(FillBlack, IsVideoBlackInEachLayout)
{
    const struct
    {
        const char* name;
        uint32_t networkDepth;
        BitProperties application;
        uint64_t groups;
        Bytes expected;
    } cases[] = {
        {"422 8 bits", 8, {1, k8, 0, 0}, 1, {0x80, 0x10, 0x80, 0x10}},
        {"422 10 bits packed", 10, {1, k10, 0, 0}, 1, {0x80, 0x04, 0x08, 0x00, 0x40}},
        {"422 10 bits packed little", 10, {1, k10, 0, 1}, 1, {0x00, 0x02, 0x01, 0x20, 0x10}},
        {"422 10 bits in 16 little", 10, {1, k10, 1, 1}, 1, {0, 2, 0x40, 0, 0, 2, 0x40, 0}},
        {"422 8 to 12 bits in 32 big", 8, {1, k12, 2, 0}, 1, {0, 0, 8, 0, 0, 0, 1, 0, 0, 0, 8, 0, 0, 0, 1, 0}},
        {"444 8 bits", 8, {2, k8, 0, 0}, 2, {0x80, 0x10, 0x80, 0x80, 0x10, 0x80}},
        {"444 12 bits packed", 12, {2, k12, 0, 0}, 1, {0x80, 0x01, 0x00, 0x80, 0x08, 0x00, 0x10, 0x08, 0x00}},
        {"RGB 8 bits", 8, {9, k8, 0, 0}, 2, {0, 0, 0, 0, 0, 0}},
        {"XYZ 12 to 8 bits in 16", 12, {11, k8, 1, 0}, 1, Bytes(12, 0)},
        {"ICtCp 422 12 bits", 12, {7, k12, 0, 0}, 1, {0x80, 0x01, 0x00, 0x80, 0x01, 0x00}},
    };
    for (const auto& test : cases)
    {
        const PixelGroup& network = *FindPixelGroup(test.application.sampling, test.networkDepth);
        Bytes slot(test.expected.size(), 0xEE);
        SampleConverter(network, test.application).FillBlack(slot.data(), 0, test.groups);
        EXPECT_EQ(slot, test.expected) << test.name;
    }
}

TEST(FillBlack, AnyRunOfGroupsInTheMiddleIsTheSameAsWritingBlackSamples)
{
    for (const PixelGroup& network : AllPixelGroups())
        for (const uint32_t depth : {k8, k10, k12})
            for (const uint32_t padding : {0u, 1u, 2u})
                for (const uint32_t endianness : {0u, 1u})
                {
                    const BitProperties application{network.sampling, depth, padding, endianness};
                    const SampleConverter converter(network, application);
                    const uint64_t groups = 4000;
                    Bytes black(network.bytes);
                    const SampleConverter identity(network, {network.sampling, (network.depth - 8) / 2, 0, 0});
                    identity.FillBlack(black.data(), 0, 1);
                    Bytes filled(groups * network.components * StoredBits(application) / 8 + 1, 0xEE);
                    Bytes written = filled;

                    converter.FillBlack(filled.data(), 3, 3993);
                    for (uint64_t group = 3; group < 3996; ++group)
                        converter.Write(written.data(), group, black.data(), 1);

                    ASSERT_EQ(filled, written) << network.sampling << " " << network.depth << " to " << depth << " "
                                               << padding << " " << endianness;
                }
}

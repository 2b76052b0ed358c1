// Every spelling in both directions, and what happens outside the tables.
#include "RecordCheck.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
struct Spelling
{
    uint32_t number;
    const char* text;
};

std::string Quoted(const std::string& text)
{
    return '"' + text + '"';
}

template <class Enumeration>
void CheckWriting(const std::vector<Spelling>& spellings)
{
    for (const Spelling& row : spellings)
    {
        utility::string_t text = "before";
        EXPECT_EQ(CSerializer::EnumToString(static_cast<Enumeration>(row.number), &text), RESULT_NO_ERROR);
        EXPECT_EQ(text, row.text);
    }
}

template <class Enumeration>
void CheckReading(const std::vector<Spelling>& spellings)
{
    for (const Spelling& row : spellings)
    {
        auto quoted = static_cast<Enumeration>(99), bare = static_cast<Enumeration>(99);
        EXPECT_EQ(CSerializer::EnumFromString(Quoted(row.text), &quoted), RESULT_NO_ERROR);
        EXPECT_EQ(CSerializer::EnumFromString(row.text, &bare), RESULT_NO_ERROR);
        EXPECT_EQ(quoted, row.number) << row.text;
        EXPECT_EQ(bare, row.number) << row.text;
    }
    auto unknown = static_cast<Enumeration>(99);
    EXPECT_EQ(CSerializer::EnumFromString("\"no such spelling\"", &unknown), RESULT_NO_ERROR);
    EXPECT_EQ(unknown, 0u);
    EXPECT_EQ(CSerializer::EnumFromString("\"x\"", static_cast<Enumeration*>(nullptr)), RESULT_INVALID_ARGUMENT);
}

// A value outside the table is written as a signed number.
template <class Enumeration>
void CheckBothWays(const std::vector<Spelling>& spellings)
{
    CheckWriting<Enumeration>(spellings);
    CheckWriting<Enumeration>({{77, "77"}, {0xFFFFFFFF, "-1"}});
    CheckReading<Enumeration>(spellings);
}

TEST(Enumerations, ClockType)
{
    CheckBothWays<CLOCK_TYPE>({{0, "EU"}, {1, "US"}});
}

TEST(Enumerations, EssenceTypeHasATextForEveryOtherValue)
{
    const std::vector<Spelling> spellings{{0, "Reserved"}, {1, "ST2110_20"}, {2, "ST2110_30"}, {3, "ST2110_40"}};
    CheckWriting<ESSENCE_TYPE>(spellings);
    CheckReading<ESSENCE_TYPE>(spellings);
    CheckWriting<ESSENCE_TYPE>({{4, "Unknown Essence"}, {0xFFFFFFFF, "Unknown Essence"}});
}

TEST(Enumerations, StreamTypeHasATextForEveryOtherValue)
{
    CheckWriting<STREAM_TYPE>({{0, "TX"}, {1, "RX"}, {2, "Unkown Type"}, {0xFFFFFFFF, "Unkown Type"}});
}

TEST(Enumerations, ConductorAvailability)
{
    CheckBothWays<CONDUCTOR_AVAILABILITY>({{0, "AVAILABLE"}, {1, "NOT_AVAILABLE"}, {2, "ALREADY_USED"}});
}

TEST(Enumerations, FlowRailDescriptorType)
{
    CheckBothWays<FLOW_RAIL_DESCRIPTOR_TYPE>({{0, "Unknown"}, {1, "FileMap"}});
}

TEST(Enumerations, DuplexType)
{
    CheckBothWays<DUPLEX_TYPE>({{0, "Half"}, {1, "Full"}, {2, "Unknown"}});
}

TEST(Enumerations, MulticastMode)
{
    CheckBothWays<MULTICAST_MODE>({{0, "Exclusion"}, {1, "Inclusion"}});
}

TEST(Enumerations, DelayMechanism)
{
    CheckBothWays<DELAY_MECHANISM>({{1, "E2E"}, {2, "P2P"}});
}

TEST(Enumerations, PortStateIsReadOnly)
{
    CheckReading<PORT_STATE>({{0, "UNKNOWN"},
                              {1, "INITIALIZING"},
                              {2, "FAULTY"},
                              {3, "DISABLED"},
                              {4, "LISTENING"},
                              {5, "PRE_MASTER"},
                              {6, "MASTER"},
                              {7, "PASSIVE"},
                              {8, "UNCALIBRATED"},
                              {9, "SLAVE"}});
}

TEST(Enumerations, TimeStamping)
{
    CheckBothWays<TIME_STAMPING>({{1, "SW"}, {2, "HW"}});
}

TEST(Enumerations, BitDepth)
{
    CheckBothWays<BIT_DEPTH>({{0, "_8Bits"}, {1, "_10Bits"}, {2, "_12Bits"}, {3, "_16Bits"}});
}

TEST(Enumerations, BitPadding)
{
    CheckBothWays<BIT_PADDING>({{0, "NoPadding"}, {1, "_16BitsPadding"}, {2, "_32BitsPadding"}});
}

TEST(Enumerations, BitSampling)
{
    CheckBothWays<BIT_SAMPLING>({{0, "YCbCr_420"},
                                 {1, "YCbCr_422"},
                                 {2, "YCbCr_444"},
                                 {3, "CLYCbCr_420"},
                                 {4, "CLYCbCr_422"},
                                 {5, "CLYCbCr_444"},
                                 {6, "ICtCp_420"},
                                 {7, "ICtCp_422"},
                                 {8, "ICtCp_444"},
                                 {9, "RGBLinear"},
                                 {10, "RGBNonLinear"},
                                 {11, "XYZ"},
                                 {12, "Key"}});
}

TEST(Enumerations, Colorimetry)
{
    CheckBothWays<COLORIMETRY>({{0, "BT601"},
                                {1, "BT709"},
                                {2, "BT2020"},
                                {3, "BT2100"},
                                {4, "ST2065_1"},
                                {5, "ST2065_3"},
                                {6, "Unspecified"},
                                {7, "XYZ"}});
}

TEST(Enumerations, Endianness)
{
    CheckBothWays<ENDIANNESS>({{0, "BigEndian"}, {1, "LittleEndian"}});
}

TEST(Enumerations, PackingModeIsWrittenAsItIsAndReadAsGeneral)
{
    CheckWriting<PACKING_MODE>({{0, "General"}, {1, "Block"}, {2, "2"}, {0xFFFFFFFE, "-2"}});
    CheckReading<PACKING_MODE>({{0, "General"}, {0, "Block"}});
}

TEST(Enumerations, Encoding)
{
    CheckBothWays<ENCODING>({{2, "L16"}, {3, "L24"}});
}

TEST(Enumerations, PacketTime)
{
    CheckBothWays<PACKET_TIME>({{125, "_125us"}, {250, "_250us"}, {333, "_333us"}, {1000, "_1ms"}, {4000, "_4ms"}});
}

TEST(Enumerations, SamplingRate)
{
    CheckBothWays<SAMPLING_RATE>({{44100, "_44_1kHz"}, {48000, "_48kHz"}, {96000, "_96kHz"}});
}

TEST(Enumerations, TextWithoutQuotesIsReadAsANumberIfItIsNoSpelling)
{
    const std::pair<const char*, uint32_t> cases[] = {
        {"7", 7}, {"12 and more", 12}, {"4294967298", 2}, {"18446744073709551616", 0}, {"-1", 0xFFFFFFFF},
        {"", 0},  {"none", 0},         {"\"7\"", 0},
    };
    for (const auto& [text, expected] : cases)
    {
        CLOCK_TYPE read = CLOCK_TYPE_US;
        EXPECT_EQ(CSerializer::EnumFromString(text, &read), RESULT_NO_ERROR);
        EXPECT_EQ(read, expected) << text;
    }
}

TEST(Enumerations, SpellingsAreComparedCaseByCaseWithoutAnyQuotes)
{
    CLOCK_TYPE read = CLOCK_TYPE_EU;
    EXPECT_EQ(CSerializer::EnumFromString("\"us\"", &read), RESULT_NO_ERROR);
    EXPECT_EQ(read, CLOCK_TYPE_EU);
    EXPECT_EQ(CSerializer::EnumFromString("U\"S\"", &read), RESULT_NO_ERROR);
    EXPECT_EQ(read, CLOCK_TYPE_US);
}

TEST(Enumerations, NullOutputIsRefusedForEssenceTypeAndMulticastModeAlone)
{
    EXPECT_EQ(CSerializer::EnumToString(ESSENCE_TYPE_ST2110_20, nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::EnumToString(MULTICAST_MODE_INCLUSION, nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(CSerializer::EnumToString(CLOCK_TYPE_EU, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(STREAM_TYPE_TX, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(CONDUCTOR_AVAILABILITY_AVAILABLE, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(FLOW_RAIL_DESCRIPTOR_TYPE_FILE_MAP, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(DUPLEX_TYPE_FULL, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(DELAY_MECHANISM_E2E, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(TIME_STAMPING_HW, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(BIT_DEPTH_8BITS, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(BIT_PADDING_NONE, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(BIT_SAMPLING_KEY, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(COLORIMETRY_BT709, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(ENDIANNESS_BIG, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(PACKING_MODE_BLOCK, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(ENCODING_L16, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(PACKET_TIME_1MS, nullptr), RESULT_NO_ERROR);
    EXPECT_EQ(CSerializer::EnumToString(SAMPLING_RATE_48KHZ, nullptr), RESULT_NO_ERROR);
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer

// The spellings of the enumerations, and the two ways between value and text.
#include "commandpipe/restserver/CSerializer.h"

#include "commandpipe/restserver/SerializerEngine.h"

#include <cerrno>
#include <cstdlib>
#include <span>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
struct EnumText
{
    uint32_t Number;
    const char* Spelling;
};

constexpr EnumText kClockType[] = {{0, "EU"}, {1, "US"}};
constexpr EnumText kEssenceType[] = {{0, "Reserved"}, {1, "ST2110_20"}, {2, "ST2110_30"}, {3, "ST2110_40"}};
constexpr EnumText kStreamType[] = {{0, "TX"}, {1, "RX"}};
constexpr EnumText kConductorAvailability[] = {{0, "AVAILABLE"}, {1, "NOT_AVAILABLE"}, {2, "ALREADY_USED"}};
constexpr EnumText kFlowRailDescriptorType[] = {{0, "Unknown"}, {1, "FileMap"}};
constexpr EnumText kDuplexType[] = {{0, "Half"}, {1, "Full"}, {2, "Unknown"}};
constexpr EnumText kMulticastMode[] = {{0, "Exclusion"}, {1, "Inclusion"}};
constexpr EnumText kDelayMechanism[] = {{1, "E2E"}, {2, "P2P"}};
constexpr EnumText kPortState[] = {{0, "UNKNOWN"},      {1, "INITIALIZING"}, {2, "FAULTY"}, {3, "DISABLED"},
                                   {4, "LISTENING"},    {5, "PRE_MASTER"},   {6, "MASTER"}, {7, "PASSIVE"},
                                   {8, "UNCALIBRATED"}, {9, "SLAVE"}};
constexpr EnumText kTimeStamping[] = {{1, "SW"}, {2, "HW"}};
constexpr EnumText kBitDepth[] = {{0, "_8Bits"}, {1, "_10Bits"}, {2, "_12Bits"}, {3, "_16Bits"}};
constexpr EnumText kBitPadding[] = {{0, "NoPadding"}, {1, "_16BitsPadding"}, {2, "_32BitsPadding"}};
constexpr EnumText kBitSampling[] = {{0, "YCbCr_420"},   {1, "YCbCr_422"},   {2, "YCbCr_444"},     {3, "CLYCbCr_420"},
                                     {4, "CLYCbCr_422"}, {5, "CLYCbCr_444"}, {6, "ICtCp_420"},     {7, "ICtCp_422"},
                                     {8, "ICtCp_444"},   {9, "RGBLinear"},   {10, "RGBNonLinear"}, {11, "XYZ"},
                                     {12, "Key"}};
constexpr EnumText kColorimetry[] = {{0, "BT601"},    {1, "BT709"},    {2, "BT2020"},      {3, "BT2100"},
                                     {4, "ST2065_1"}, {5, "ST2065_3"}, {6, "Unspecified"}, {7, "XYZ"}};
constexpr EnumText kEndianness[] = {{0, "BigEndian"}, {1, "LittleEndian"}};
constexpr EnumText kPackingMode[] = {{0, "General"}, {1, "Block"}};
constexpr EnumText kEncoding[] = {{2, "L16"}, {3, "L24"}}; // the value is the bytes of one sample
constexpr EnumText kPacketTime[] = {
    {125, "_125us"}, {250, "_250us"}, {333, "_333us"}, {1000, "_1ms"}, {4000, "_4ms"}};           // microseconds
constexpr EnumText kSamplingRate[] = {{44100, "_44_1kHz"}, {48000, "_48kHz"}, {96000, "_96kHz"}}; // hertz
// A packing mode is read as general whatever it is: what was written as block comes back as 0.
constexpr EnumText kPackingModeRead[] = {{0, "General"}, {0, "Block"}};

enum class NullOutput : RESULT_CODE
{
    Ignored = RESULT_NO_ERROR,
    Refused = RESULT_INVALID_ARGUMENT,
};

// `fallback` is the text of a value outside the table; without one it is the signed decimal number.
RESULT_CODE Write(std::span<const EnumText> table, uint32_t value, utility::string_t* out,
                  NullOutput nullOutput = NullOutput::Ignored, const char* fallback = nullptr)
{
    return Traced(kEnumToString,
                  [&]
                  {
                      if (!out) return static_cast<RESULT_CODE>(nullOutput);
                      std::string text = fallback ? fallback : std::to_string(static_cast<int32_t>(value));
                      for (const EnumText& row : table)
                          if (row.Number == value) text = row.Spelling;
                      *out = utility::conversions::to_string_t(text);
                      return RESULT_NO_ERROR;
                  });
}

uint32_t ValueOf(std::span<const EnumText> table, const std::string& text)
{
    const std::string spelling = WithoutQuotes(text);
    for (const EnumText& row : table)
        if (spelling == row.Spelling) return row.Number;
    // Text of a document starts with its double quote here and reads as 0; a bare number comes from elsewhere.
    char* end = nullptr;
    errno = 0;
    const uint64_t number = std::strtoull(text.c_str(), &end, 10);
    return end == text.c_str() || errno == ERANGE ? 0 : static_cast<uint32_t>(number);
}

template <class Enumeration>
RESULT_CODE Read(std::span<const EnumText> table, const utility::string_t& text, Enumeration* out)
{
    return Traced(kEnumFromString,
                  [&]
                  {
                      if (!out) return RESULT_INVALID_ARGUMENT;
                      *out = static_cast<Enumeration>(ValueOf(table, utility::conversions::to_utf8string(text)));
                      return RESULT_NO_ERROR;
                  });
}
} // namespace

RESULT_CODE CSerializer::EnumToString(CLOCK_TYPE value, utility::string_t* out)
{
    return Write(kClockType, value, out);
}

RESULT_CODE CSerializer::EnumToString(ESSENCE_TYPE value, utility::string_t* out)
{
    return Write(kEssenceType, value, out, NullOutput::Refused, "Unknown Essence");
}

RESULT_CODE CSerializer::EnumToString(STREAM_TYPE value, utility::string_t* out)
{
    return Write(kStreamType, value, out, NullOutput::Ignored, "Unkown Type");
}

RESULT_CODE CSerializer::EnumToString(CONDUCTOR_AVAILABILITY value, utility::string_t* out)
{
    return Write(kConductorAvailability, value, out);
}

RESULT_CODE CSerializer::EnumToString(FLOW_RAIL_DESCRIPTOR_TYPE value, utility::string_t* out)
{
    return Write(kFlowRailDescriptorType, value, out);
}

RESULT_CODE CSerializer::EnumToString(DUPLEX_TYPE value, utility::string_t* out)
{
    return Write(kDuplexType, value, out);
}

RESULT_CODE CSerializer::EnumToString(MULTICAST_MODE value, utility::string_t* out)
{
    return Write(kMulticastMode, value, out, NullOutput::Refused);
}

RESULT_CODE CSerializer::EnumToString(DELAY_MECHANISM value, utility::string_t* out)
{
    return Write(kDelayMechanism, value, out);
}

RESULT_CODE CSerializer::EnumToString(TIME_STAMPING value, utility::string_t* out)
{
    return Write(kTimeStamping, value, out);
}

RESULT_CODE CSerializer::EnumToString(BIT_DEPTH value, utility::string_t* out)
{
    return Write(kBitDepth, value, out);
}

RESULT_CODE CSerializer::EnumToString(BIT_PADDING value, utility::string_t* out)
{
    return Write(kBitPadding, value, out);
}

RESULT_CODE CSerializer::EnumToString(BIT_SAMPLING value, utility::string_t* out)
{
    return Write(kBitSampling, value, out);
}

RESULT_CODE CSerializer::EnumToString(COLORIMETRY value, utility::string_t* out)
{
    return Write(kColorimetry, value, out);
}

RESULT_CODE CSerializer::EnumToString(ENDIANNESS value, utility::string_t* out)
{
    return Write(kEndianness, value, out);
}

RESULT_CODE CSerializer::EnumToString(PACKING_MODE value, utility::string_t* out)
{
    return Write(kPackingMode, value, out);
}

RESULT_CODE CSerializer::EnumToString(ENCODING value, utility::string_t* out)
{
    return Write(kEncoding, value, out);
}

RESULT_CODE CSerializer::EnumToString(PACKET_TIME value, utility::string_t* out)
{
    return Write(kPacketTime, value, out);
}

RESULT_CODE CSerializer::EnumToString(SAMPLING_RATE value, utility::string_t* out)
{
    return Write(kSamplingRate, value, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, CLOCK_TYPE* out)
{
    return Read(kClockType, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, ESSENCE_TYPE* out)
{
    return Read(kEssenceType, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, CONDUCTOR_AVAILABILITY* out)
{
    return Read(kConductorAvailability, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, FLOW_RAIL_DESCRIPTOR_TYPE* out)
{
    return Read(kFlowRailDescriptorType, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, DUPLEX_TYPE* out)
{
    return Read(kDuplexType, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, MULTICAST_MODE* out)
{
    return Read(kMulticastMode, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, DELAY_MECHANISM* out)
{
    return Read(kDelayMechanism, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, PORT_STATE* out)
{
    return Read(kPortState, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, TIME_STAMPING* out)
{
    return Read(kTimeStamping, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, BIT_DEPTH* out)
{
    return Read(kBitDepth, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, BIT_PADDING* out)
{
    return Read(kBitPadding, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, BIT_SAMPLING* out)
{
    return Read(kBitSampling, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, COLORIMETRY* out)
{
    return Read(kColorimetry, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, ENDIANNESS* out)
{
    return Read(kEndianness, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, PACKING_MODE* out)
{
    return Read(kPackingModeRead, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, ENCODING* out)
{
    return Read(kEncoding, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, PACKET_TIME* out)
{
    return Read(kPacketTime, text, out);
}

RESULT_CODE CSerializer::EnumFromString(const utility::string_t& text, SAMPLING_RATE* out)
{
    return Read(kSamplingRate, text, out);
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer

// Spellings of the enumerations that travel as JSON strings.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace mxs
{

struct EnumText
{
    uint32_t value;
    std::string_view text;
};

using EnumTable = std::span<const EnumText>;

inline constexpr EnumText kClockTypes[] = {{0, "EU"}, {1, "US"}};
inline constexpr EnumText kEssenceTypes[] = {{1, "ST2110_20"}, {2, "ST2110_30"}, {3, "ST2110_40"}};
inline constexpr EnumText kStreamTypes[] = {{0, "RX"}, {1, "TX"}}; // values of media::Direction
inline constexpr EnumText kAvailabilities[] = {{0, "AVAILABLE"}, {1, "NOT_AVAILABLE"}, {2, "ALREADY_USED"}};
inline constexpr EnumText kRailTypes[] = {{0, "Unknown"}, {1, "FileMap"}};
inline constexpr EnumText kDuplexTypes[] = {{0, "Half"}, {1, "Full"}, {2, "Unknown"}};
inline constexpr EnumText kMulticastModes[] = {{0, "Exclusion"}, {1, "Inclusion"}};
inline constexpr EnumText kDelayMechanisms[] = {{1, "E2E"}, {2, "P2P"}};
inline constexpr EnumText kTimeStampings[] = {{1, "SW"}, {2, "HW"}};
inline constexpr EnumText kPortStates[] = {
    {0, "UNKNOWN"},    {1, "INITIALIZING"}, {2, "FAULTY"},  {3, "DISABLED"},     {4, "LISTENING"},
    {5, "PRE_MASTER"}, {6, "MASTER"},       {7, "PASSIVE"}, {8, "UNCALIBRATED"}, {9, "SLAVE"},
};
inline constexpr EnumText kBitDepths[] = {{0, "_8Bits"}, {1, "_10Bits"}, {2, "_12Bits"}, {3, "_16Bits"}};
inline constexpr EnumText kBitPaddings[] = {{0, "NoPadding"}, {1, "_16BitsPadding"}, {2, "_32BitsPadding"}};
inline constexpr EnumText kBitSamplings[] = {
    {0, "YCbCr_420"},     {1, "YCbCr_422"}, {2, "YCbCr_444"}, {3, "CLYCbCr_420"}, {4, "CLYCbCr_422"},
    {5, "CLYCbCr_444"},   {6, "ICtCp_420"}, {7, "ICtCp_422"}, {8, "ICtCp_444"},   {9, "RGBLinear"},
    {10, "RGBNonLinear"}, {11, "XYZ"},      {12, "Key"},
};
inline constexpr EnumText kColorimetries[] = {
    {0, "BT601"},    {1, "BT709"},    {2, "BT2020"},      {3, "BT2100"},
    {4, "ST2065_1"}, {5, "ST2065_3"}, {6, "Unspecified"}, {7, "XYZ"},
};
inline constexpr EnumText kEndiannesses[] = {{0, "BigEndian"}, {1, "LittleEndian"}};
inline constexpr EnumText kPackingModes[] = {{0, "General"}, {1, "Block"}};
inline constexpr EnumText kEncodings[] = {{2, "L16"}, {3, "L24"}}; // the value is the bytes of one sample
inline constexpr EnumText kPacketTimes[] = {
    {125, "_125us"}, {250, "_250us"}, {333, "_333us"}, {1000, "_1ms"}, {4000, "_4ms"}}; // microseconds
inline constexpr EnumText kSamplingRates[] = {{44100, "_44_1kHz"}, {48000, "_48kHz"}, {96000, "_96kHz"}};

} // namespace mxs

// The enumerations of the protocol. Records hold them as plain 32-bit numbers, for any value may come through the
// interface; the types here choose the table of spellings in EnumToString and EnumFromString of CSerializer.
#pragma once

#include <cstdint>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
enum CLOCK_TYPE : uint32_t
{
    CLOCK_TYPE_EU = 0,
    CLOCK_TYPE_US = 1, // rates times 1000/1001
};

enum ESSENCE_TYPE : uint32_t
{
    ESSENCE_TYPE_RESERVED = 0,
    ESSENCE_TYPE_ST2110_20 = 1,
    ESSENCE_TYPE_ST2110_30 = 2,
    ESSENCE_TYPE_ST2110_40 = 3,
};

enum STREAM_TYPE : uint32_t // written only
{
    STREAM_TYPE_TX = 0,
    STREAM_TYPE_RX = 1,
};

enum CONDUCTOR_AVAILABILITY : uint32_t
{
    CONDUCTOR_AVAILABILITY_AVAILABLE = 0,
    CONDUCTOR_AVAILABILITY_NOT_AVAILABLE = 1,
    CONDUCTOR_AVAILABILITY_ALREADY_USED = 2,
};

enum FLOW_RAIL_DESCRIPTOR_TYPE : uint32_t
{
    FLOW_RAIL_DESCRIPTOR_TYPE_UNKNOWN = 0,
    FLOW_RAIL_DESCRIPTOR_TYPE_FILE_MAP = 1,
};

enum DUPLEX_TYPE : uint32_t
{
    DUPLEX_TYPE_HALF = 0,
    DUPLEX_TYPE_FULL = 1,
    DUPLEX_TYPE_UNKNOWN = 2,
};

enum MULTICAST_MODE : uint32_t
{
    MULTICAST_MODE_EXCLUSION = 0,
    MULTICAST_MODE_INCLUSION = 1,
};

enum DELAY_MECHANISM : uint32_t
{
    DELAY_MECHANISM_E2E = 1,
    DELAY_MECHANISM_P2P = 2,
};

enum PORT_STATE : uint32_t // read only
{
    PORT_STATE_UNKNOWN = 0,
    PORT_STATE_INITIALIZING = 1,
    PORT_STATE_FAULTY = 2,
    PORT_STATE_DISABLED = 3,
    PORT_STATE_LISTENING = 4,
    PORT_STATE_PRE_MASTER = 5,
    PORT_STATE_MASTER = 6,
    PORT_STATE_PASSIVE = 7,
    PORT_STATE_UNCALIBRATED = 8,
    PORT_STATE_SLAVE = 9,
};

enum TIME_STAMPING : uint32_t
{
    TIME_STAMPING_SW = 1,
    TIME_STAMPING_HW = 2,
};

enum BIT_DEPTH : uint32_t
{
    BIT_DEPTH_8BITS = 0,
    BIT_DEPTH_10BITS = 1,
    BIT_DEPTH_12BITS = 2,
    BIT_DEPTH_16BITS = 3,
};

enum BIT_PADDING : uint32_t
{
    BIT_PADDING_NONE = 0,
    BIT_PADDING_16BITS = 1,
    BIT_PADDING_32BITS = 2,
};

enum BIT_SAMPLING : uint32_t
{
    BIT_SAMPLING_YCBCR_420 = 0,
    BIT_SAMPLING_YCBCR_422 = 1,
    BIT_SAMPLING_YCBCR_444 = 2,
    BIT_SAMPLING_CLYCBCR_420 = 3,
    BIT_SAMPLING_CLYCBCR_422 = 4,
    BIT_SAMPLING_CLYCBCR_444 = 5,
    BIT_SAMPLING_ICTCP_420 = 6,
    BIT_SAMPLING_ICTCP_422 = 7,
    BIT_SAMPLING_ICTCP_444 = 8,
    BIT_SAMPLING_RGB_LINEAR = 9,
    BIT_SAMPLING_RGB_NON_LINEAR = 10,
    BIT_SAMPLING_XYZ = 11,
    BIT_SAMPLING_KEY = 12,
};

enum COLORIMETRY : uint32_t
{
    COLORIMETRY_BT601 = 0,
    COLORIMETRY_BT709 = 1,
    COLORIMETRY_BT2020 = 2,
    COLORIMETRY_BT2100 = 3,
    COLORIMETRY_ST2065_1 = 4,
    COLORIMETRY_ST2065_3 = 5,
    COLORIMETRY_UNSPECIFIED = 6,
    COLORIMETRY_XYZ = 7,
};

enum ENDIANNESS : uint32_t
{
    ENDIANNESS_BIG = 0,
    ENDIANNESS_LITTLE = 1,
};

enum PACKING_MODE : uint32_t
{
    PACKING_MODE_GENERAL = 0,
    PACKING_MODE_BLOCK = 1, // written as itself, never read: both spellings read as 0
};

enum ENCODING : uint32_t // the value is the bytes of one sample
{
    ENCODING_L16 = 2,
    ENCODING_L24 = 3,
};

enum PACKET_TIME : uint32_t // microseconds
{
    PACKET_TIME_125US = 125,
    PACKET_TIME_250US = 250,
    PACKET_TIME_333US = 333,
    PACKET_TIME_1MS = 1000,
    PACKET_TIME_4MS = 4000,
};

enum SAMPLING_RATE : uint32_t // hertz
{
    SAMPLING_RATE_44_1KHZ = 44100,
    SAMPLING_RATE_48KHZ = 48000,
    SAMPLING_RATE_96KHZ = 96000,
};
} // namespace Quillmont::Trellis::CommandPipe::RestServer

// Enumeration tables and essence records, both directions.
#include "stream/EssenceMapping.h"

#include "core/VideoStandards.h"

namespace Quillmont::Trellis::Zefa
{
using namespace CommandPipe::RestServer;
using namespace Mxs::RtpEssence;

namespace
{
using Pair = EnumMapping::Pair;

constexpr Pair kBitSamplingPairs[] = {
    {0, BIT_SAMPLING_YCBCR_422},   {1, BIT_SAMPLING_YCBCR_444},   {2, BIT_SAMPLING_ICTCP_422},
    {3, BIT_SAMPLING_ICTCP_444},   {4, BIT_SAMPLING_RGB_LINEAR},  {5, BIT_SAMPLING_XYZ},
    {0, BIT_SAMPLING_CLYCBCR_422}, {1, BIT_SAMPLING_CLYCBCR_444}, // read only: the first pairs go out
};
constexpr Pair kUpToTwo[] = {{0, 0}, {1, 1}, {2, 2}};
constexpr Pair kUpToOne[] = {{0, 0}, {1, 1}};
constexpr Pair kColorimetryPairs[] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}, {4, 4}, {5, 5}, {6, 6}, {7, 7}};
constexpr Pair kZeroAlone[] = {{0, 0}};
constexpr Pair kMulticastPairs[] = {{0, MULTICAST_MODE_INCLUSION}, {1, MULTICAST_MODE_EXCLUSION}};
constexpr Pair kEncodingPairs[] = {{0, ENCODING_L16}, {1, ENCODING_L24}};
constexpr Pair kSamplingRatePairs[] = {{0, SAMPLING_RATE_48KHZ}, {1, SAMPLING_RATE_96KHZ}};
constexpr Pair kPacketTimePairs[] = {{0, PACKET_TIME_1MS}, {1, PACKET_TIME_125US}};

constexpr EnumMapping kBitSamplings{kBitSamplingPairs, BIT_SAMPLING_YCBCR_422, 6};
constexpr EnumMapping kBitDepths{kUpToTwo, BIT_DEPTH_8BITS, 3};
constexpr EnumMapping kBitPaddings{kUpToTwo, BIT_PADDING_NONE, 3};
constexpr EnumMapping kEndiannesses{kUpToOne, ENDIANNESS_BIG, 2};
constexpr EnumMapping kColorimetries{kColorimetryPairs, COLORIMETRY_BT709, 8};
constexpr EnumMapping kPackingModes{kZeroAlone, PACKING_MODE_GENERAL, 1}; // so nothing but 0 ever goes out
constexpr EnumMapping kEncodings{kEncodingPairs, ENCODING_L16, 2};
constexpr EnumMapping kSamplingRates{kSamplingRatePairs, SAMPLING_RATE_48KHZ, 2};
constexpr EnumMapping kPacketTimes{kPacketTimePairs, PACKET_TIME_1MS, 2};

uint32_t ClockTypeOf(bool fractional)
{
    return fractional ? CLOCK_TYPE_US : CLOCK_TYPE_EU;
}

// Does the picture of the row have the raster and rate of the record?
bool IsPictureOf(const VideoStandardRow& row, const CONFIG_ST2110_20& record)
{
    return row.Width == record.FrameWidth && row.Height == record.FrameHeight && row.Rate == record.Framerate &&
           row.Interlaced == record.Interlaced && row.Fractional == (record.ClockType == CLOCK_TYPE_US);
}

// The same for the signal. The record counts fields when it is interlaced, the row frames.
bool IsSignalOf(const VideoStandardRow& row, const CONFIG_ST2110_40& record)
{
    const uint32_t frameRate = record.Interlaced ? record.Framerate / 2 : record.Framerate;
    return row.FrameRate == frameRate && row.ActiveSamples == record.ActiveFrameWidth &&
           row.TotalSamples == record.RawFrameWidth && row.ActiveLines == record.ActiveFrameHeight &&
           row.TotalLines == record.RawFrameHeight && (row.Progressive != 0) != record.Interlaced &&
           (row.SdiFractional != 0) == (record.ClockType == CLOCK_TYPE_US);
}

// The number of the first row, in the order of the numbers, that the predicate accepts.
template <class TPredicate>
uint32_t FindStandardNumber(TPredicate accepts)
{
    for (const VideoStandardRow& row : AllVideoStandards())
        if (accepts(row)) return row.number;
    return kUnknownVideoStandard;
}
} // namespace

constinit const EnumMapping kMulticastModes{kMulticastPairs, MULTICAST_MODE_EXCLUSION, 2};

uint32_t EnumMapping::ToWire(uint32_t exported) const
{
    for (const Pair& pair : Pairs)
        if (pair.Exported == exported) return pair.Wire;
    return OtherToWire;
}

uint32_t EnumMapping::ToExported(uint32_t wire) const
{
    for (const Pair& pair : Pairs)
        if (pair.Wire == wire) return pair.Exported;
    return OtherToExported;
}

CONFIG_ST2110_20 ToWire(const ZEFA_ST2110_20_CONFIG& config)
{
    CONFIG_ST2110_20 record;
    // Without a row the record keeps its own raster, rate and clock.
    if (const VideoStandardRow* row = FindVideoStandard(static_cast<int32_t>(config.VideoStandard_E)))
    {
        record.FrameWidth = row->Width;
        record.FrameHeight = row->Height;
        record.Framerate = row->Rate;
        record.Interlaced = row->Interlaced;
        record.ClockType = ClockTypeOf(row->Fractional);
    }
    record.NetworkBitProp.BitDepth = kBitDepths.ToWire(config.NetworkBitDepth_E);
    record.NetworkBitProp.BitSampling = kBitSamplings.ToWire(config.NetworkBitSampling_E);
    record.PackingMode_E = kPackingModes.ToWire(config.PackingMode_E);
    record.Colorimetry = kColorimetries.ToWire(config.Colorimetry_E);
    record.AppBitProp.BitDepth = kBitDepths.ToWire(config.AppBitDepth_E);
    record.AppBitProp.BitSampling = kBitSamplings.ToWire(config.AppBitSampling_E);
    record.AppBitProp.BitPadding = kBitPaddings.ToWire(config.AppBitPadding_E);
    record.AppBitProp.Endianness = kEndiannesses.ToWire(config.AppEndianness_E);
    record.UseDefaultTrOffset = config.UseDefaultTrOffset_B != 0;
    record.TrOffset = config.TrOffset_UL;
    return record;
}

CONFIG_ST2110_30 ToWire(const ZEFA_ST2110_30_CONFIG& config)
{
    CONFIG_ST2110_30 record;
    record.Encoding = kEncodings.ToWire(config.Encoding_E);
    record.SamplingRate = kSamplingRates.ToWire(config.SamplingRate_E);
    record.PacketTime = kPacketTimes.ToWire(config.PacketTime_E);
    record.ChannelNumber = config.ChannelNumber_UL;
    record.NbPacketsPerBuffer = config.NbPacketsPerBuffer_UL;
    return record;
}

CONFIG_ST2110_40 ToWire(const ZEFA_ST2110_40_CONFIG& config)
{
    const VideoStandardRow& row = SdiStandardMaking(config.VideoStandard_E);
    CONFIG_ST2110_40 record;
    record.ActiveFrameWidth = row.ActiveSamples;
    record.RawFrameWidth = row.TotalSamples;
    record.ActiveFrameHeight = row.ActiveLines;
    record.RawFrameHeight = row.TotalLines;
    record.Interlaced = row.Progressive == 0;
    record.Framerate = record.Interlaced ? row.FrameRate * 2u : row.FrameRate;
    record.ClockType = ClockTypeOf(row.SdiFractional != 0);
    return record;
}

void ToExported(const CONFIG_ST2110_20& record, ZEFA_ST2110_20_CONFIG* config)
{
    config->VideoStandard_E = FindStandardNumber([&](const VideoStandardRow& row) { return IsPictureOf(row, record); });
    config->NetworkBitDepth_E = kBitDepths.ToExported(record.NetworkBitProp.BitDepth);
    config->NetworkBitSampling_E = kBitSamplings.ToExported(record.NetworkBitProp.BitSampling);
    config->PackingMode_E = kPackingModes.ToExported(record.PackingMode_E);
    config->Colorimetry_E = kColorimetries.ToExported(record.Colorimetry);
    config->AppBitDepth_E = kBitDepths.ToExported(record.AppBitProp.BitDepth);
    config->AppBitSampling_E = kBitSamplings.ToExported(record.AppBitProp.BitSampling);
    config->AppBitPadding_E = kBitPaddings.ToExported(record.AppBitProp.BitPadding);
    config->AppEndianness_E = kEndiannesses.ToExported(record.AppBitProp.Endianness);
    config->UseDefaultTrOffset_B = record.UseDefaultTrOffset ? 1 : 0;
    config->TrOffset_UL = record.TrOffset;
}

void ToExported(const CONFIG_ST2110_30& record, ZEFA_ST2110_30_CONFIG* config)
{
    config->Encoding_E = kEncodings.ToExported(record.Encoding);
    config->SamplingRate_E = kSamplingRates.ToExported(record.SamplingRate);
    config->ChannelNumber_UL = record.ChannelNumber;
    config->PacketTime_E = kPacketTimes.ToExported(record.PacketTime);
    config->NbPacketsPerBuffer_UL = record.NbPacketsPerBuffer;
}

void ToExported(const CONFIG_ST2110_40& record, ZEFA_ST2110_40_CONFIG* config)
{
    config->VideoStandard_E = FindStandardNumber([&](const VideoStandardRow& row) { return IsSignalOf(row, record); });
}
} // namespace Quillmont::Trellis::Zefa

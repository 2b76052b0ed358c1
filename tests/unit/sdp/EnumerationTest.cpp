// Every spelling of every enumeration, and the exported value of every module value.
#include "sdp/SdpEnumerations.h"
#include "sdp/SdpRecords.h"
#include "sdp/SdpTranslations.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

using namespace quill::sdp_module;

namespace
{
using Spellings = std::vector<std::pair<uint32_t, std::string>>;
using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;

template <class Table>
Spellings RowsOf(const Table& table)
{
    Spellings rows;
    for (const auto& row : table)
        rows.emplace_back(static_cast<uint32_t>(row.value), row.literal);
    return rows;
}

template <class Table>
Pairs PairsOf(const Table& table)
{
    Pairs pairs;
    for (const auto& row : table)
        pairs.emplace_back(row.exported, static_cast<uint32_t>(row.module));
    return pairs;
}

Pairs Identity(uint32_t last)
{
    Pairs pairs;
    for (uint32_t i = 0; i <= last; ++i)
        pairs.emplace_back(i, i);
    return pairs;
}
} // namespace

TEST(SdpLiterals, StandAsSdpSpellsThem)
{
    EXPECT_EQ(RowsOf(kSdpSamplings), (Spellings{{0, "YCbCr-4:2:0"},
                                                {1, "YCbCr-4:2:2"},
                                                {2, "YCbCr-4:4:4"},
                                                {3, "CLYCbCr-4:2:0"},
                                                {4, "CLYCbCr-4:2:2"},
                                                {5, "CLYCbCr-4:4:4"},
                                                {6, "ICtCp-4:2:0"},
                                                {7, "ICtCp-4:2:2"},
                                                {8, "ICtCp-4:4:4"},
                                                {9, "RGB"},
                                                {10, "XYZ"},
                                                {11, "KEY"}}));
    EXPECT_EQ(RowsOf(kSdpDepths), (Spellings{{0, "8"}, {1, "10"}, {2, "12"}, {3, "16"}, {4, "16"}}));
    EXPECT_EQ(RowsOf(kSdpColorimetries), (Spellings{{0, "BT601"},
                                                    {1, "BT709"},
                                                    {2, "BT2020"},
                                                    {3, "BT2100"},
                                                    {4, "ST2065-1"},
                                                    {5, "ST2065-3"},
                                                    {6, "UNSPECIFIED"},
                                                    {7, "XYZ"}}));
    EXPECT_EQ(RowsOf(kSdpTransfers), (Spellings{{0, "SDR"},
                                                {1, "PQ"},
                                                {2, "HLG"},
                                                {3, "LINAR"},
                                                {4, "BT2100LINPQ"},
                                                {5, "BT2100LINHLG"},
                                                {6, "ST2065-1"},
                                                {7, "ST428-1"},
                                                {8, "DENSITY"},
                                                {9, "UNSPECIFIED"}}));
    EXPECT_EQ(RowsOf(kSdpPackingModes), (Spellings{{0, "2110GPM"}, {1, "2110BPM"}}));
    EXPECT_EQ(RowsOf(kSdpSenderTypes), (Spellings{{0, "2110TPN"}, {1, "2110TPNL"}, {2, "2110TPW"}}));
    EXPECT_EQ(RowsOf(kSdpAudioCodecs), (Spellings{{0, "L16"}, {1, "L24"}}));
    EXPECT_EQ(RowsOf(kSdpAudioRates), (Spellings{{0, "44100"}, {1, "48000"}, {2, "96000"}}));
    EXPECT_EQ(RowsOf(kSdpPacketTimes), (Spellings{{0, "0.125"}, {1, "0.250"}, {2, "0.333"}, {3, "1"}, {4, "4"}}));
    EXPECT_EQ(RowsOf(kSdpMediaClocks), (Spellings{{0, "direct=0"}, {1, "sender"}}));
    EXPECT_EQ(RowsOf(kSdpTsModes), (Spellings{{0, "SAMP"}, {1, "NEW"}, {2, "PRES"}}));
}

TEST(SdpLiterals, TheValueBehindTheLastRowIsNotSetAndHasNoLiteral)
{
    EXPECT_EQ(static_cast<uint32_t>(SDP_MEDIA_TYPE::NotSet), 3u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_SAMPLING::NotSet), 12u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_DEPTH::NotSet), 5u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_COLORIMETRY::NotSet), 8u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_TCS::NotSet), 10u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_PACKING_MODE::NotSet), 2u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_SENDER_TYPE::NotSet), 3u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_AUDIO_CODEC::NotSet), 2u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_AUDIO_RATE::NotSet), 3u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_PACKET_TIME::NotSet), 5u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_MEDIA_CLOCK::NotSet), 2u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_TS_MODE::NotSet), 3u);
    EXPECT_EQ(static_cast<uint32_t>(SDP_REFCLOCK_TYPE::NotSet), 3u);
    EXPECT_FALSE(FindSdpLiteral(kSdpSamplings, SDP_SAMPLING::NotSet));
    EXPECT_FALSE(FindSdpLiteral(kSdpMediaClocks, SDP_MEDIA_CLOCK::NotSet));
    EXPECT_FALSE(FindSdpValue(kSdpMediaClocks, ""));
}

TEST(SdpLiterals, TheFirstRowWinsInBothDirections)
{
    EXPECT_EQ(FindSdpValue(kSdpDepths, "16"), SDP_DEPTH::Bits16);
    EXPECT_EQ(FindSdpLiteral(kSdpDepths, SDP_DEPTH::Bits16Float), "16");
    EXPECT_FALSE(FindSdpValue(kSdpDepths, "16f"));
}

TEST(SdpTranslations, HaveTheseRows)
{
    EXPECT_EQ(PairsOf(kVideoDepths), (Pairs{{0, 0}, {1, 1}, {2, 2}}));
    EXPECT_EQ(PairsOf(kVideoSamplings), (Pairs{{0, 1}, {1, 2}, {2, 7}, {3, 8}, {4, 9}, {5, 10}}));
    EXPECT_EQ(PairsOf(kPackingModes), (Pairs{{0, 0}}));
    EXPECT_EQ(PairsOf(kColorimetries), Identity(7));
    EXPECT_EQ(PairsOf(kTransfers), Identity(9));
    EXPECT_EQ(PairsOf(kAudioCodecs), Identity(1));
    EXPECT_EQ(PairsOf(kAudioRates), (Pairs{{0, 1}, {1, 2}}));
    EXPECT_EQ(PairsOf(kPacketTimes), (Pairs{{1, 0}, {0, 3}}));
    EXPECT_EQ(PairsOf(kMediaClocks), Identity(2));
    EXPECT_EQ(PairsOf(kTsModes), Identity(3));
    EXPECT_EQ(PairsOf(kRefClocks), Identity(2));
}

TEST(SdpTranslations, AValueWithoutARowIsNotFound)
{
    EXPECT_EQ(FindExported(kVideoSamplings, SDP_SAMPLING::XYZ), ZEFA_SDP_VIDEO_SAMPLING_XYZ);
    EXPECT_FALSE(FindExported(kVideoSamplings, SDP_SAMPLING::YCbCr420));
    EXPECT_FALSE(FindExported(kPackingModes, SDP_PACKING_MODE::Block));
    EXPECT_EQ(FindModuleValue(kVideoDepths, ZEFA_SDP_VIDEO_DEPTH_12), SDP_DEPTH::Bits12);
    EXPECT_FALSE(FindModuleValue(kVideoDepths, ZEFA_SDP_VIDEO_DEPTH_UNKNOWN));
    EXPECT_FALSE(FindExported(kRefClocks, SDP_REFCLOCK_TYPE::NotSet));
}

TEST(SdpRecords, ANewRecordHoldsNotSetEverywhere)
{
    const SdpMediaVideo video{};
    EXPECT_EQ(video.Type, SDP_MEDIA_TYPE::NotSet);
    EXPECT_EQ(video.Port, 0);
    EXPECT_EQ(video.PayloadType, 0);
    EXPECT_EQ(video.Destination.Version, 7u);
    EXPECT_EQ(video.RefClock.Type, SDP_REFCLOCK_TYPE::NotSet);
    EXPECT_EQ(video.RefClock.Domain, 0);
    EXPECT_EQ(video.Mid, "");
    EXPECT_EQ(video.MediaClock, SDP_MEDIA_CLOCK::NotSet);
    EXPECT_EQ(video.TsMode, SDP_TS_MODE::NotSet);
    EXPECT_FALSE(video.TsDelayPresent);
    EXPECT_EQ(video.Sampling, SDP_SAMPLING::NotSet);
    EXPECT_EQ(video.Depth, SDP_DEPTH::NotSet);
    EXPECT_EQ(video.Colorimetry, SDP_COLORIMETRY::NotSet);
    EXPECT_EQ(video.PackingMode, SDP_PACKING_MODE::NotSet);
    EXPECT_EQ(video.Tcs, SDP_TCS::NotSet);
    EXPECT_EQ(video.SenderType, SDP_SENDER_TYPE::NotSet);
    EXPECT_EQ(video.Width + video.Height + video.Rate + video.TrOffset, 0u);
    EXPECT_FALSE(video.Is1001 || video.Interlaced || video.Segmented || video.SenderTypePresent ||
                 video.TrOffsetPresent);
    const SdpMediaAudio audio{};
    EXPECT_EQ(audio.Codec, SDP_AUDIO_CODEC::NotSet);
    EXPECT_EQ(audio.SamplingRate, SDP_AUDIO_RATE::NotSet);
    EXPECT_EQ(audio.PacketTime, SDP_PACKET_TIME::NotSet);
    EXPECT_EQ(audio.ChannelCount, 0u);
    EXPECT_EQ(SdpMediaAnc().Rate, 0u);
    static_assert(std::has_virtual_destructor_v<SdpMedia>, "records are released through their base");
}

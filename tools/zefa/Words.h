// The words of values: how each exported enumeration, address and identity is spelled on the command line, in tables
// and in JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>
#include <zefaline.h>

namespace zefa
{

struct Word
{
    uint32_t value;
    const char* text;
};
using Words = std::span<const Word>;

inline constexpr Word kEssences[] = {{0, "video"}, {1, "audio"}, {2, "anc"}};
inline constexpr Word kDepths[] = {
    {ZEFA_SDP_VIDEO_DEPTH_8, "8"}, {ZEFA_SDP_VIDEO_DEPTH_10, "10"}, {ZEFA_SDP_VIDEO_DEPTH_12, "12"}};
inline constexpr Word kSamplings[] = {{ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422, "YCbCr-4:2:2"},
                                      {ZEFA_SDP_VIDEO_SAMPLING_YCBCR_444, "YCbCr-4:4:4"},
                                      {ZEFA_SDP_VIDEO_SAMPLING_ICTCP_422, "ICtCp-4:2:2"},
                                      {ZEFA_SDP_VIDEO_SAMPLING_ICTCP_444, "ICtCp-4:4:4"},
                                      {ZEFA_SDP_VIDEO_SAMPLING_RGB, "RGB"},
                                      {ZEFA_SDP_VIDEO_SAMPLING_XYZ, "XYZ"}};
inline constexpr Word kPackings[] = {{ZEFA_SDP_PACKING_GENERAL, "2110GPM"}};
inline constexpr Word kColorimetries[] = {{ZEFA_SDP_COLORIMETRY_BT601, "BT601"},
                                          {ZEFA_SDP_COLORIMETRY_BT709, "BT709"},
                                          {ZEFA_SDP_COLORIMETRY_BT2020, "BT2020"},
                                          {ZEFA_SDP_COLORIMETRY_BT2100, "BT2100"},
                                          {ZEFA_SDP_COLORIMETRY_ST2065_1, "ST2065-1"},
                                          {ZEFA_SDP_COLORIMETRY_ST2065_3, "ST2065-3"},
                                          {ZEFA_SDP_COLORIMETRY_UNSPECIFIED, "UNSPECIFIED"},
                                          {ZEFA_SDP_COLORIMETRY_XYZ, "XYZ"}};
inline constexpr Word kTransfers[] = {{ZEFA_SDP_TCS_SDR, "SDR"},
                                      {ZEFA_SDP_TCS_PQ, "PQ"},
                                      {ZEFA_SDP_TCS_HLG, "HLG"},
                                      {ZEFA_SDP_TCS_LINEAR, "LINAR"}, // as the library's reader and writer spell it
                                      {ZEFA_SDP_TCS_BT2100LINPQ, "BT2100LINPQ"},
                                      {ZEFA_SDP_TCS_BT2100LINHLG, "BT2100LINHLG"},
                                      {ZEFA_SDP_TCS_ST2065_1, "ST2065-1"},
                                      {ZEFA_SDP_TCS_ST428_1, "ST428-1"},
                                      {ZEFA_SDP_TCS_DENSITY, "DENSITY"},
                                      {ZEFA_SDP_TCS_UNSPECIFIED, "UNSPECIFIED"}};
inline constexpr Word kAudioCodecs[] = {{ZEFA_SDP_AUDIO_CODEC_L16, "L16"}, {ZEFA_SDP_AUDIO_CODEC_L24, "L24"}};
inline constexpr Word kAudioRates[] = {{ZEFA_SDP_AUDIO_RATE_48000, "48000"}, {ZEFA_SDP_AUDIO_RATE_96000, "96000"}};
inline constexpr Word kPacketTimes[] = {{ZEFA_SDP_PACKET_TIME_1MS, "1"}, {ZEFA_SDP_PACKET_TIME_125US, "0.125"}};
inline constexpr Word kMediaClocks[] = {{ZEFA_SDP_MEDIA_CLOCK_DIRECT, "direct"},
                                        {ZEFA_SDP_MEDIA_CLOCK_SENDER, "sender"}};
inline constexpr Word kTsModes[] = {
    {ZEFA_SDP_TS_MODE_SAMP, "SAMP"}, {ZEFA_SDP_TS_MODE_NEW, "NEW"}, {ZEFA_SDP_TS_MODE_PRES, "PRES"}};
inline constexpr Word kPaddings[] = {
    {ZEFA_BIT_PADDING_NONE, "none"}, {ZEFA_BIT_PADDING_16, "16"}, {ZEFA_BIT_PADDING_32, "32"}};
inline constexpr Word kByteOrders[] = {{ZEFA_ENDIANNESS_BIG, "big"}, {ZEFA_ENDIANNESS_LITTLE, "little"}};
inline constexpr Word kDelayMechanisms[] = {{ZEFA_PTP_DELAY_MECHANISM_E2E, "e2e"},
                                            {ZEFA_PTP_DELAY_MECHANISM_P2P, "p2p"}};
inline constexpr Word kTimeStampings[] = {{ZEFA_PTP_TIME_STAMPING_SOFTWARE, "software"},
                                          {ZEFA_PTP_TIME_STAMPING_HARDWARE, "hardware"}};
inline constexpr Word kPortStates[] = {{ZEFA_PTP_PORT_STATE_INITIALIZING, "initializing"},
                                       {ZEFA_PTP_PORT_STATE_FAULTY, "faulty"},
                                       {ZEFA_PTP_PORT_STATE_DISABLED, "disabled"},
                                       {ZEFA_PTP_PORT_STATE_LISTENING, "listening"},
                                       {ZEFA_PTP_PORT_STATE_PRE_MASTER, "pre-master"},
                                       {ZEFA_PTP_PORT_STATE_MASTER, "master"},
                                       {ZEFA_PTP_PORT_STATE_PASSIVE, "passive"},
                                       {ZEFA_PTP_PORT_STATE_UNCALIBRATED, "uncalibrated"},
                                       {ZEFA_PTP_PORT_STATE_SLAVE, "slave"}};
inline constexpr Word kAvailabilities[] = {{ZEFA_CONDUCTOR_AVAILABILITY_AVAILABLE, "available"},
                                           {ZEFA_CONDUCTOR_AVAILABILITY_NOT_AVAILABLE, "not available"},
                                           {ZEFA_CONDUCTOR_AVAILABILITY_ALREADY_USED, "in use"}};
inline constexpr Word kDuplexes[] = {{ZEFA_DUPLEX_TYPE_HALF, "half"}, {ZEFA_DUPLEX_TYPE_FULL, "full"}};

// Null for a value without a word.
const char* WordOf(Words words, uint32_t value);
// A Failure of kUsage tells what words there are.
uint32_t ValueOf(Words words, const std::string& text, const std::string& option);

std::string AddressText(uint32_t address);
std::optional<uint32_t> AddressOf(const std::string& text);
std::string MacText(uint64_t mac);
std::string IdText(uint64_t id); // 16 hexadecimal digits, as the service writes them
std::string VersionText(uint64_t version);
// `count` bytes with the last one first, in hexadecimal pairs with hyphens; and back: nothing for another form.
std::string IdentityText(const uint8_t* bytes, size_t count);
std::optional<std::vector<uint8_t>> IdentityOf(const std::string& text, size_t count);

struct Raster
{
    uint32_t Width = 0, Height = 0, Rate = 0;
    uint8_t Interlaced = 0, Fractional = 0;
};
std::optional<Raster> RasterOf(ZEFA_VIDEO_STANDARD standard);
// "1920x1080p59.94"; fields a second for interlaced ones. Empty for no standard.
std::string StandardName(ZEFA_VIDEO_STANDARD standard);
// By its name or number. A Failure of kUsage lists them all.
ZEFA_VIDEO_STANDARD StandardOf(const std::string& text, const std::string& option);
std::optional<ZEFA_VIDEO_STANDARD> FindStandard(const Raster& raster);

} // namespace zefa

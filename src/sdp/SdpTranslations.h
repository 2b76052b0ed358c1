// The exported values beside the module's: a value without a row exists on one side only.
#pragma once

#include "sdp/SdpEnumerations.h"

#include "zefaline/sdp.h"
#include "zefaline/stream.h"

#include <array>
#include <cstdint>
#include <optional>

namespace quill::sdp_module
{

template <class Enumeration>
struct SdpTranslation
{
    uint32_t exported;
    Enumeration module;
};

// Readers search by the second column, writers by the first; the first row that matches wins.

inline constexpr std::array kVideoDepths{
    SdpTranslation<SDP_DEPTH>{ZEFA_SDP_VIDEO_DEPTH_8, SDP_DEPTH::Bits8},
    SdpTranslation<SDP_DEPTH>{ZEFA_SDP_VIDEO_DEPTH_10, SDP_DEPTH::Bits10},
    SdpTranslation<SDP_DEPTH>{ZEFA_SDP_VIDEO_DEPTH_12, SDP_DEPTH::Bits12},
};

inline constexpr std::array kVideoSamplings{
    SdpTranslation<SDP_SAMPLING>{ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422, SDP_SAMPLING::YCbCr422},
    SdpTranslation<SDP_SAMPLING>{ZEFA_SDP_VIDEO_SAMPLING_YCBCR_444, SDP_SAMPLING::YCbCr444},
    SdpTranslation<SDP_SAMPLING>{ZEFA_SDP_VIDEO_SAMPLING_ICTCP_422, SDP_SAMPLING::ICtCp422},
    SdpTranslation<SDP_SAMPLING>{ZEFA_SDP_VIDEO_SAMPLING_ICTCP_444, SDP_SAMPLING::ICtCp444},
    SdpTranslation<SDP_SAMPLING>{ZEFA_SDP_VIDEO_SAMPLING_RGB, SDP_SAMPLING::RGB},
    SdpTranslation<SDP_SAMPLING>{ZEFA_SDP_VIDEO_SAMPLING_XYZ, SDP_SAMPLING::XYZ},
};

inline constexpr std::array kPackingModes{
    SdpTranslation<SDP_PACKING_MODE>{ZEFA_SDP_PACKING_GENERAL, SDP_PACKING_MODE::General},
};

inline constexpr std::array kColorimetries{
    SdpTranslation<SDP_COLORIMETRY>{ZEFA_SDP_COLORIMETRY_BT601, SDP_COLORIMETRY::BT601},
    SdpTranslation<SDP_COLORIMETRY>{ZEFA_SDP_COLORIMETRY_BT709, SDP_COLORIMETRY::BT709},
    SdpTranslation<SDP_COLORIMETRY>{ZEFA_SDP_COLORIMETRY_BT2020, SDP_COLORIMETRY::BT2020},
    SdpTranslation<SDP_COLORIMETRY>{ZEFA_SDP_COLORIMETRY_BT2100, SDP_COLORIMETRY::BT2100},
    SdpTranslation<SDP_COLORIMETRY>{ZEFA_SDP_COLORIMETRY_ST2065_1, SDP_COLORIMETRY::ST2065_1},
    SdpTranslation<SDP_COLORIMETRY>{ZEFA_SDP_COLORIMETRY_ST2065_3, SDP_COLORIMETRY::ST2065_3},
    SdpTranslation<SDP_COLORIMETRY>{ZEFA_SDP_COLORIMETRY_UNSPECIFIED, SDP_COLORIMETRY::Unspecified},
    SdpTranslation<SDP_COLORIMETRY>{ZEFA_SDP_COLORIMETRY_XYZ, SDP_COLORIMETRY::XYZ},
};

inline constexpr std::array kTransfers{
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_SDR, SDP_TCS::SDR},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_PQ, SDP_TCS::PQ},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_HLG, SDP_TCS::HLG},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_LINEAR, SDP_TCS::Linear},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_BT2100LINPQ, SDP_TCS::BT2100LinPQ},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_BT2100LINHLG, SDP_TCS::BT2100LinHLG},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_ST2065_1, SDP_TCS::ST2065_1},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_ST428_1, SDP_TCS::ST428_1},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_DENSITY, SDP_TCS::Density},
    SdpTranslation<SDP_TCS>{ZEFA_SDP_TCS_UNSPECIFIED, SDP_TCS::Unspecified},
};

inline constexpr std::array kAudioCodecs{
    SdpTranslation<SDP_AUDIO_CODEC>{ZEFA_SDP_AUDIO_CODEC_L16, SDP_AUDIO_CODEC::L16},
    SdpTranslation<SDP_AUDIO_CODEC>{ZEFA_SDP_AUDIO_CODEC_L24, SDP_AUDIO_CODEC::L24},
};

inline constexpr std::array kAudioRates{
    SdpTranslation<SDP_AUDIO_RATE>{ZEFA_SDP_AUDIO_RATE_48000, SDP_AUDIO_RATE::Hz48000},
    SdpTranslation<SDP_AUDIO_RATE>{ZEFA_SDP_AUDIO_RATE_96000, SDP_AUDIO_RATE::Hz96000},
};

inline constexpr std::array kPacketTimes{
    SdpTranslation<SDP_PACKET_TIME>{ZEFA_SDP_PACKET_TIME_125US, SDP_PACKET_TIME::Us125},
    SdpTranslation<SDP_PACKET_TIME>{ZEFA_SDP_PACKET_TIME_1MS, SDP_PACKET_TIME::Us1000},
};

// Here "not set" has a row: a description without the item is told as such.

inline constexpr std::array kMediaClocks{
    SdpTranslation<SDP_MEDIA_CLOCK>{ZEFA_SDP_MEDIA_CLOCK_DIRECT, SDP_MEDIA_CLOCK::Direct},
    SdpTranslation<SDP_MEDIA_CLOCK>{ZEFA_SDP_MEDIA_CLOCK_SENDER, SDP_MEDIA_CLOCK::Sender},
    SdpTranslation<SDP_MEDIA_CLOCK>{ZEFA_SDP_MEDIA_CLOCK_NOT_SET, SDP_MEDIA_CLOCK::NotSet},
};

inline constexpr std::array kTsModes{
    SdpTranslation<SDP_TS_MODE>{ZEFA_SDP_TS_MODE_SAMP, SDP_TS_MODE::Samp},
    SdpTranslation<SDP_TS_MODE>{ZEFA_SDP_TS_MODE_NEW, SDP_TS_MODE::New},
    SdpTranslation<SDP_TS_MODE>{ZEFA_SDP_TS_MODE_PRES, SDP_TS_MODE::Pres},
    SdpTranslation<SDP_TS_MODE>{ZEFA_SDP_TS_MODE_NOT_SET, SDP_TS_MODE::NotSet},
};

inline constexpr std::array kRefClocks{
    SdpTranslation<SDP_REFCLOCK_TYPE>{ZEFA_SDP_REFCLOCK_PTP, SDP_REFCLOCK_TYPE::Ptp},
    SdpTranslation<SDP_REFCLOCK_TYPE>{ZEFA_SDP_REFCLOCK_PTP_TRACEABLE, SDP_REFCLOCK_TYPE::PtpTraceable},
    SdpTranslation<SDP_REFCLOCK_TYPE>{ZEFA_SDP_REFCLOCK_LOCALMAC, SDP_REFCLOCK_TYPE::LocalMac},
};

/// The exported value of a module value, or nothing.
template <class Enumeration, size_t N>
constexpr std::optional<uint32_t> FindExported(const std::array<SdpTranslation<Enumeration>, N>& table,
                                               Enumeration value)
{
    for (const auto& row : table)
        if (row.module == value) return row.exported;
    return std::nullopt;
}

/// The module value of an exported value, or nothing.
template <class Enumeration, size_t N>
constexpr std::optional<Enumeration> FindModuleValue(const std::array<SdpTranslation<Enumeration>, N>& table,
                                                     uint32_t exported)
{
    for (const auto& row : table)
        if (row.exported == exported) return row.module;
    return std::nullopt;
}

} // namespace quill::sdp_module

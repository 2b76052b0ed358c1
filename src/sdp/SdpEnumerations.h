// What the parameters of a description can say, and how SDP spells it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace quill::sdp_module
{

// In each enumeration `NotSet` stands for a description that does not say; it has no literal.

enum class SDP_MEDIA_TYPE : uint32_t // told by the media's "type" and "fmtp", not by a table
{
    Video,
    Audio,
    Anc,
    NotSet
};

enum class SDP_SAMPLING : uint32_t
{
    YCbCr420,
    YCbCr422,
    YCbCr444,
    CLYCbCr420,
    CLYCbCr422,
    CLYCbCr444,
    ICtCp420,
    ICtCp422,
    ICtCp444,
    RGB,
    XYZ,
    Key,
    NotSet
};

enum class SDP_DEPTH : uint32_t
{
    Bits8,
    Bits10,
    Bits12,
    Bits16,
    Bits16Float,
    NotSet
};

enum class SDP_COLORIMETRY : uint32_t
{
    BT601,
    BT709,
    BT2020,
    BT2100,
    ST2065_1,
    ST2065_3,
    Unspecified,
    XYZ,
    NotSet
};

enum class SDP_TCS : uint32_t
{
    SDR,
    PQ,
    HLG,
    Linear,
    BT2100LinPQ,
    BT2100LinHLG,
    ST2065_1,
    ST428_1,
    Density,
    Unspecified,
    NotSet
};

enum class SDP_PACKING_MODE : uint32_t
{
    General,
    Block,
    NotSet
};

enum class SDP_SENDER_TYPE : uint32_t
{
    Narrow,
    NarrowLinear,
    Wide,
    NotSet
};

enum class SDP_AUDIO_CODEC : uint32_t
{
    L16,
    L24,
    NotSet
};

enum class SDP_AUDIO_RATE : uint32_t
{
    Hz44100,
    Hz48000,
    Hz96000,
    NotSet
};

enum class SDP_PACKET_TIME : uint32_t // named in microseconds
{
    Us125,
    Us250,
    Us333,
    Us1000,
    Us4000,
    NotSet
};

enum class SDP_MEDIA_CLOCK : uint32_t
{
    Direct,
    Sender,
    NotSet
};

enum class SDP_TS_MODE : uint32_t
{
    Samp,
    New,
    Pres,
    NotSet
};

enum class SDP_REFCLOCK_TYPE : uint32_t // told by the form of "ts-refclk", not by a table
{
    Ptp,
    PtpTraceable,
    LocalMac,
    NotSet
};

/// One row of a table of spellings.
template <class Enumeration>
struct SdpLiteral
{
    Enumeration value;
    std::string_view literal;
};

// Searched from the first row in both directions; the first row that matches wins.

inline constexpr std::array kSdpSamplings{
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::YCbCr420, "YCbCr-4:2:0"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::YCbCr422, "YCbCr-4:2:2"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::YCbCr444, "YCbCr-4:4:4"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::CLYCbCr420, "CLYCbCr-4:2:0"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::CLYCbCr422, "CLYCbCr-4:2:2"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::CLYCbCr444, "CLYCbCr-4:4:4"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::ICtCp420, "ICtCp-4:2:0"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::ICtCp422, "ICtCp-4:2:2"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::ICtCp444, "ICtCp-4:4:4"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::RGB, "RGB"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::XYZ, "XYZ"},
    SdpLiteral<SDP_SAMPLING>{SDP_SAMPLING::Key, "KEY"},
};

inline constexpr std::array kSdpDepths{
    SdpLiteral<SDP_DEPTH>{SDP_DEPTH::Bits8, "8"},        SdpLiteral<SDP_DEPTH>{SDP_DEPTH::Bits10, "10"},
    SdpLiteral<SDP_DEPTH>{SDP_DEPTH::Bits12, "12"},      SdpLiteral<SDP_DEPTH>{SDP_DEPTH::Bits16, "16"},
    SdpLiteral<SDP_DEPTH>{SDP_DEPTH::Bits16Float, "16"}, // spelled like its neighbour on purpose; never read
};

inline constexpr std::array kSdpColorimetries{
    SdpLiteral<SDP_COLORIMETRY>{SDP_COLORIMETRY::BT601, "BT601"},
    SdpLiteral<SDP_COLORIMETRY>{SDP_COLORIMETRY::BT709, "BT709"},
    SdpLiteral<SDP_COLORIMETRY>{SDP_COLORIMETRY::BT2020, "BT2020"},
    SdpLiteral<SDP_COLORIMETRY>{SDP_COLORIMETRY::BT2100, "BT2100"},
    SdpLiteral<SDP_COLORIMETRY>{SDP_COLORIMETRY::ST2065_1, "ST2065-1"},
    SdpLiteral<SDP_COLORIMETRY>{SDP_COLORIMETRY::ST2065_3, "ST2065-3"},
    SdpLiteral<SDP_COLORIMETRY>{SDP_COLORIMETRY::Unspecified, "UNSPECIFIED"},
    SdpLiteral<SDP_COLORIMETRY>{SDP_COLORIMETRY::XYZ, "XYZ"},
};

inline constexpr std::array kSdpTransfers{
    SdpLiteral<SDP_TCS>{SDP_TCS::SDR, "SDR"},
    SdpLiteral<SDP_TCS>{SDP_TCS::PQ, "PQ"},
    SdpLiteral<SDP_TCS>{SDP_TCS::HLG, "HLG"},
    SdpLiteral<SDP_TCS>{SDP_TCS::Linear, "LINAR"}, // this spelling is read and written
    SdpLiteral<SDP_TCS>{SDP_TCS::BT2100LinPQ, "BT2100LINPQ"},
    SdpLiteral<SDP_TCS>{SDP_TCS::BT2100LinHLG, "BT2100LINHLG"},
    SdpLiteral<SDP_TCS>{SDP_TCS::ST2065_1, "ST2065-1"},
    SdpLiteral<SDP_TCS>{SDP_TCS::ST428_1, "ST428-1"},
    SdpLiteral<SDP_TCS>{SDP_TCS::Density, "DENSITY"},
    SdpLiteral<SDP_TCS>{SDP_TCS::Unspecified, "UNSPECIFIED"},
};

inline constexpr std::array kSdpPackingModes{
    SdpLiteral<SDP_PACKING_MODE>{SDP_PACKING_MODE::General, "2110GPM"},
    SdpLiteral<SDP_PACKING_MODE>{SDP_PACKING_MODE::Block, "2110BPM"},
};

inline constexpr std::array kSdpSenderTypes{
    SdpLiteral<SDP_SENDER_TYPE>{SDP_SENDER_TYPE::Narrow, "2110TPN"},
    SdpLiteral<SDP_SENDER_TYPE>{SDP_SENDER_TYPE::NarrowLinear, "2110TPNL"},
    SdpLiteral<SDP_SENDER_TYPE>{SDP_SENDER_TYPE::Wide, "2110TPW"},
};

inline constexpr std::array kSdpAudioCodecs{
    SdpLiteral<SDP_AUDIO_CODEC>{SDP_AUDIO_CODEC::L16, "L16"},
    SdpLiteral<SDP_AUDIO_CODEC>{SDP_AUDIO_CODEC::L24, "L24"},
};

inline constexpr std::array kSdpAudioRates{
    SdpLiteral<SDP_AUDIO_RATE>{SDP_AUDIO_RATE::Hz44100, "44100"},
    SdpLiteral<SDP_AUDIO_RATE>{SDP_AUDIO_RATE::Hz48000, "48000"},
    SdpLiteral<SDP_AUDIO_RATE>{SDP_AUDIO_RATE::Hz96000, "96000"},
};

inline constexpr std::array kSdpPacketTimes{
    SdpLiteral<SDP_PACKET_TIME>{SDP_PACKET_TIME::Us125, "0.125"},
    SdpLiteral<SDP_PACKET_TIME>{SDP_PACKET_TIME::Us250, "0.250"}, // written; a number that was read prints as 0.25
    SdpLiteral<SDP_PACKET_TIME>{SDP_PACKET_TIME::Us333, "0.333"},
    SdpLiteral<SDP_PACKET_TIME>{SDP_PACKET_TIME::Us1000, "1"},
    SdpLiteral<SDP_PACKET_TIME>{SDP_PACKET_TIME::Us4000, "4"},
};

inline constexpr std::array kSdpMediaClocks{
    SdpLiteral<SDP_MEDIA_CLOCK>{SDP_MEDIA_CLOCK::Direct, "direct=0"},
    SdpLiteral<SDP_MEDIA_CLOCK>{SDP_MEDIA_CLOCK::Sender, "sender"},
};

inline constexpr std::array kSdpTsModes{
    SdpLiteral<SDP_TS_MODE>{SDP_TS_MODE::Samp, "SAMP"},
    SdpLiteral<SDP_TS_MODE>{SDP_TS_MODE::New, "NEW"},
    SdpLiteral<SDP_TS_MODE>{SDP_TS_MODE::Pres, "PRES"},
};

/// The value that a text spells, or nothing.
template <class Enumeration, size_t N>
constexpr std::optional<Enumeration> FindSdpValue(const std::array<SdpLiteral<Enumeration>, N>& table,
                                                  std::string_view literal)
{
    for (const auto& row : table)
        if (row.literal == literal) return row.value;
    return std::nullopt;
}

/// The spelling of a value, or nothing.
template <class Enumeration, size_t N>
constexpr std::optional<std::string_view> FindSdpLiteral(const std::array<SdpLiteral<Enumeration>, N>& table,
                                                         Enumeration value)
{
    for (const auto& row : table)
        if (row.value == value) return row.literal;
    return std::nullopt;
}

} // namespace quill::sdp_module

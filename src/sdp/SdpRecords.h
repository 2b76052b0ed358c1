// The records between a tree of SDP lines and the exported structures. A new record holds "not set" everywhere.
#pragma once

#include "sdp/SdpEnumerations.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quill::sdp_module
{

inline constexpr uint32_t kIpVersion4 = 4;
inline constexpr uint32_t kIpVersion6 = 6;
inline constexpr uint32_t kIpVersionNotSet = 7;

struct SdpIpAddress
{
    uint32_t Version = kIpVersionNotSet; // tells which member of the union counts
    union
    {
        uint8_t V6[16] = {}; // network byte order
        uint32_t V4;         // host byte order
    } Address;
};

/// The "o=" line.
struct SdpOrigin
{
    std::string Username = "-";
    uint64_t SessionId = 0;
    uint64_t SessionVersion = 0;
    SdpIpAddress Address;
};

/// The lines above the first media.
struct SdpSession
{
    uint32_t Version = 0;
    std::string Name;
    std::string Description;
    uint32_t Start = 0;
    uint32_t Stop = 0;
    SdpOrigin Origin;
};

/// The clock that the timestamps of a media follow.
struct SdpRefClock
{
    SDP_REFCLOCK_TYPE Type = SDP_REFCLOCK_TYPE::NotSet;
    std::array<uint8_t, 8> Id{}; // grandmaster, or MAC in the first 6 bytes; the first group of the text stands last
    uint8_t Domain = 0;
};

/// What all kinds of media share.
struct SdpMedia
{
    SdpMedia() = default;
    virtual ~SdpMedia() = default; // records are owned through this base, and audio holds a string
    SdpMedia(const SdpMedia&) = default;
    SdpMedia& operator=(const SdpMedia&) = default;

    SDP_MEDIA_TYPE Type = SDP_MEDIA_TYPE::NotSet; // tells the derived record
    uint16_t Port = 0;
    uint8_t PayloadType = 0;
    SdpIpAddress Destination{};
    SdpRefClock RefClock;
    std::string Mid;
    SDP_MEDIA_CLOCK MediaClock = SDP_MEDIA_CLOCK::NotSet;
    SDP_TS_MODE TsMode = SDP_TS_MODE::NotSet;
    bool TsDelayPresent = false;
    uint32_t TsDelay = 0;
};

struct SdpMediaVideo : SdpMedia
{
    SDP_SAMPLING Sampling = SDP_SAMPLING::NotSet;
    SDP_DEPTH Depth = SDP_DEPTH::NotSet;
    uint32_t Width = 0;
    uint32_t Height = 0;
    uint32_t Rate = 0; // frames per second, without the fraction: 30 for 30 and for 30000/1001
    bool Is1001 = false;
    SDP_COLORIMETRY Colorimetry = SDP_COLORIMETRY::NotSet;
    bool Interlaced = false;
    bool Segmented = false;
    SDP_PACKING_MODE PackingMode = SDP_PACKING_MODE::NotSet;
    SDP_TCS Tcs = SDP_TCS::NotSet;
    bool SenderTypePresent = false;
    SDP_SENDER_TYPE SenderType = SDP_SENDER_TYPE::NotSet;
    bool TrOffsetPresent = false;
    uint32_t TrOffset = 0;
};

struct SdpMediaAudio : SdpMedia
{
    SDP_AUDIO_CODEC Codec = SDP_AUDIO_CODEC::NotSet;
    SDP_AUDIO_RATE SamplingRate = SDP_AUDIO_RATE::NotSet;
    SDP_PACKET_TIME PacketTime = SDP_PACKET_TIME::NotSet;
    uint32_t ChannelCount = 0;
    std::string ChannelOrder;
};

struct SdpMediaAnc : SdpMedia
{
    uint32_t Rate = 0; // as for video
    bool Is1001 = false;
};

using SdpMediaList = std::vector<std::unique_ptr<SdpMedia>>;

} // namespace quill::sdp_module

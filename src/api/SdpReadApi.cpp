// ZEFA_ReadSDP: a session description becomes the configuration of one stream.
#include "zefaline/sdp.h"

#include "api/CallFrame.h"
#include "core/VideoStandards.h"
#include "logger/Log.h"
#include "sdp/ISdpModule.h"
#include "sdp/SdpTranslations.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string>

using namespace quill::sdp_module;
using Quillmont::Logger::kPriorityError;
using Quillmont::Logger::kPriorityWarning;
using Quillmont::Logger::Log;
using Quillmont::Trellis::Zefa::CopyText;
using Quillmont::Trellis::Zefa::Fail;

// A module value without an exported one is no failure: false, and the field stays as the caller left it.
template <class Enumeration, size_t N>
static bool Translate(const std::array<SdpTranslation<Enumeration>, N>& table, Enumeration value, uint32_t& field)
{
    const auto exported = FindExported(table, value);
    if (exported) field = *exported;
    return exported.has_value();
}

static const Quillmont::Trellis::Zefa::VideoStandardRow* FindStandardOf(const SdpMediaVideo& video)
{
    for (const auto& row : Quillmont::Trellis::Zefa::AllVideoStandards())
        if (row.Width == video.Width && row.Height == video.Height && row.Rate == video.Rate &&
            row.Interlaced == video.Interlaced && row.Fractional == video.Is1001)
            return &row;
    return nullptr;
}

static void FillNetwork(const SdpSession& session, const SdpMediaList& medias, ZEFA_STREAM_NETWORK_CONFIG& network)
{
    const size_t paths = std::min<size_t>(medias.size(), ZEFA_MAX_CONNECTIONS); // the array ends there
    network.PayloadType_UB = medias.front()->PayloadType;
    network.NbConnections_UL = static_cast<uint32_t>(paths);
    for (size_t i = 0; i < paths; ++i)
    {
        ZEFA_CONNECTION_CONFIG& path = network.Connections_X[i];
        const SdpMedia& media = *medias[i];
        if (media.Destination.Version == kIpVersion4)
            path.DestinationIp_UL = media.Destination.Address.V4;
        else
            Log(kPriorityWarning,
                "The destination address for the media n" + std::to_string(i) + "is not an IPv4 address.");
        path.DestinationPort_US = media.Port;
        if (session.Origin.Address.Version == kIpVersion4)
            path.SourceIp_UL = session.Origin.Address.Address.V4;
        else
            Log(kPriorityWarning, "The origin address for the session is not an IPv4 address.");
    }
}

// The fields are translated in this order, and the first value without an exported one ends the copying.
static void FillVideo(const SdpMediaVideo& video, ZEFA_ESSENCE_CONFIG& essence)
{
    ZEFA_ST2110_20_CONFIG& config = essence.Essence_X.ST2110_20_X;
    essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_20;
    if (!Translate(kVideoDepths, video.Depth, config.NetworkBitDepth_E)) return;
    if (!Translate(kVideoSamplings, video.Sampling, config.NetworkBitSampling_E)) return;
    if (!Translate(kPackingModes, video.PackingMode, config.PackingMode_E)) return;
    if (!Translate(kColorimetries, video.Colorimetry, config.Colorimetry_E)) return;
    if (!Translate(kTransfers, video.Tcs, config.Tcs_E)) return;

    const auto* const standard = FindStandardOf(video);
    if (!standard) return;
    config.VideoStandard_E = static_cast<ZEFA_VIDEO_STANDARD>(standard->number);
    config.UseDefaultTrOffset_B = !video.TrOffsetPresent;
    if (video.TrOffsetPresent) config.TrOffset_UL = video.TrOffset;
}

static void FillAudio(const SdpMediaAudio& audio, ZEFA_ESSENCE_CONFIG& essence, ZEFA_SDP_INFO& info)
{
    ZEFA_ST2110_30_CONFIG& config = essence.Essence_X.ST2110_30_X;
    essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_30;
    if (!Translate(kAudioCodecs, audio.Codec, config.Encoding_E)) return;
    if (!Translate(kPacketTimes, audio.PacketTime, config.PacketTime_E)) return;
    if (!Translate(kAudioRates, audio.SamplingRate, config.SamplingRate_E)) return;
    config.ChannelNumber_UL = audio.ChannelCount;
    CopyText(audio.ChannelOrder, info.ChannelOrder);
}

static void FillEssence(const SdpMedia& media, ZEFA_ESSENCE_CONFIG& essence, ZEFA_SDP_INFO& info)
{
    switch (media.Type)
    {
    case SDP_MEDIA_TYPE::Video: return FillVideo(static_cast<const SdpMediaVideo&>(media), essence);
    case SDP_MEDIA_TYPE::Audio: return FillAudio(static_cast<const SdpMediaAudio&>(media), essence, info);
    case SDP_MEDIA_TYPE::Anc: essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40; return; // its rate has no field
    case SDP_MEDIA_TYPE::NotSet: return;
    }
}

static void FillInfo(const SdpSession& session, const SdpMedia& media, ZEFA_SDP_INFO& info)
{
    CopyText(session.Name, info.SessionName);
    CopyText(session.Description, info.SessionDescription);
    if (!Translate(kMediaClocks, media.MediaClock, info.MediaClock_E)) return;
    if (!Translate(kTsModes, media.TsMode, info.TsMode_E)) return;
    Translate(kRefClocks, media.RefClock.Type, info.RefClock_E);
    constexpr size_t kMacBytes = 6;
    if (media.RefClock.Type == SDP_REFCLOCK_TYPE::LocalMac)
        std::copy_n(media.RefClock.Id.begin(), kMacBytes, info.RefClockId_UB);
    if (media.RefClock.Type == SDP_REFCLOCK_TYPE::Ptp)
    {
        std::copy(media.RefClock.Id.begin(), media.RefClock.Id.end(), info.RefClockId_UB);
        info.RefClockDomain_UB = media.RefClock.Domain;
    }
    info.TsDelayPresent_B = media.TsDelayPresent;
    if (media.TsDelayPresent) info.TsDelay_UL = media.TsDelay;
}

// No trace of entry and exit. What the reader throws leaves the function, and the module goes with it.
ZEFA_ERRORCODE ZEFA_ReadSDP(const char* pSdp_C, const void*, ZEFA_STREAM_NETWORK_CONFIG* pNetworkConfig_X,
                            ZEFA_ESSENCE_CONFIG* pEssenceConfig_X, ZEFA_SDP_INFO* pInfo_X)
{
    if (!pNetworkConfig_X || !pEssenceConfig_X || !pInfo_X)
        return Fail(ZEFA_ERR_INVALID_POINTER, "Error in ZEFA_ReadSDP : one of the pointer is null.");

    const std::unique_ptr<ISdpModule> module =
        CreateSdpModule([](const std::string& text) { Log(kPriorityError, text); },
                        [](const std::string& text) { Log(kPriorityWarning, text); });
    if (!module) return Fail(ZEFA_ERR_OPERATION_FAILED, "Error in ZEFA_ReadSDP when creating the SDP module object.");

    const SdpCode code = module->Read(pSdp_C);
    if (code != kSdpSuccess)
        return Fail(ZEFA_ERR_OPERATION_FAILED, "Error in ZEFA_ReadSDP when parsing the SDP : " + std::to_string(code));
    const SdpSession session = module->GetSession();
    const SdpMediaList& medias = module->GetMedias();
    if (medias.empty())
        return Fail(ZEFA_ERR_OPERATION_FAILED, "Error in ZEFA_ReadSDP : no media is present in the SDP.");

    // Success means that the text was read; a value without a place in the structures is left out in silence.
    FillNetwork(session, medias, *pNetworkConfig_X);
    FillEssence(*medias.front(), *pEssenceConfig_X, *pInfo_X);
    FillInfo(session, *medias.front(), *pInfo_X);
    return ZEFA_NO_ERROR;
}

// ZEFA_WriteSDP: the configuration of one stream becomes a session description.
#include "zefaline/sdp.h"

#include "api/CallFrame.h"
#include "logger/Log.h"
#include "sdp/ISdpModule.h"
#include "sdp/SdpTranslations.h"
#include "zefaline/video_standards.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <ratio>
#include <string>
#include <utility>

using namespace quill::sdp_module;
using Quillmont::Logger::kPriorityError;
using Quillmont::Logger::kPriorityWarning;
using Quillmont::Logger::Log;
using Quillmont::Trellis::Zefa::Fail;

// Up to the NUL, or whole where the application has left none.
static std::string TextOf(const char (&field)[ZEFA_NAME_CHARS])
{
    return {field, strnlen(field, sizeof field)};
}

static uint64_t TicksOf100Nanoseconds()
{
    using Ticks = std::chrono::duration<uint64_t, std::ratio<1, 10'000'000>>;
    return std::chrono::duration_cast<Ticks>(std::chrono::system_clock::now().time_since_epoch()).count();
}

// False, and the field left at "not set", for an exported value without a module value.
template <class Enumeration, size_t N>
static bool Translate(const std::array<SdpTranslation<Enumeration>, N>& table, uint32_t exported, Enumeration& field)
{
    const auto value = FindModuleValue(table, exported);
    if (value) field = *value;
    return value.has_value();
}

static SdpSession MakeSession(const ZEFA_STREAM_NETWORK_CONFIG& network, const ZEFA_SDP_INFO& info)
{
    constexpr uint64_t kTicksOfASecond = 10'000'000;
    constexpr uint64_t kNanosecondsOfATick = 100;
    SdpSession session;
    session.Name = TextOf(info.SessionName);
    session.Description = TextOf(info.SessionDescription);
    session.Origin.SessionId = TicksOf100Nanoseconds() / kTicksOfASecond;
    // Another one with each call, most of all within one second. It starts anew every 4.3 s, so it tells texts apart,
    // and not which is the newer one.
    session.Origin.SessionVersion =
        TicksOf100Nanoseconds() * kNanosecondsOfATick % std::numeric_limits<uint32_t>::max();
    session.Origin.Address.Version = kIpVersion4;
    session.Origin.Address.Address.V4 = network.Connections_X[0].SourceIp_UL;
    return session;
}

// A value that cannot be translated leaves "not set" behind, which has no spelling: the writer then fails on it.
static std::unique_ptr<SdpMedia> MakeVideo(const ZEFA_ST2110_20_CONFIG& config)
{
    auto video = std::make_unique<SdpMediaVideo>();
    video->Type = SDP_MEDIA_TYPE::Video;
    uint8_t interlaced = 0;
    uint8_t is1001 = 0;
    if (ZEFA_ST2110_20_GetVideoStandardInfo(config.VideoStandard_E, &video->Width, &video->Height, &video->Rate,
                                            &interlaced, &is1001) != ZEFA_NO_ERROR)
        return video;
    video->Interlaced = interlaced != 0;
    video->Is1001 = is1001 != 0;
    static_cast<void>(Translate(kVideoDepths, config.NetworkBitDepth_E, video->Depth) &&
                      Translate(kVideoSamplings, config.NetworkBitSampling_E, video->Sampling) &&
                      Translate(kPackingModes, config.PackingMode_E, video->PackingMode) &&
                      Translate(kColorimetries, config.Colorimetry_E, video->Colorimetry));
    video->Tcs = SDP_TCS::SDR; // what a value outside the constants counts as
    Translate(kTransfers, config.Tcs_E, video->Tcs);
    video->TrOffsetPresent = config.UseDefaultTrOffset_B == 0;
    if (video->TrOffsetPresent) video->TrOffset = config.TrOffset_UL;
    video->SenderTypePresent = true;
    video->SenderType = SDP_SENDER_TYPE::Wide;
    return video;
}

static std::unique_ptr<SdpMedia> MakeAudio(const ZEFA_ST2110_30_CONFIG& config, const ZEFA_SDP_INFO& info)
{
    auto audio = std::make_unique<SdpMediaAudio>();
    audio->Type = SDP_MEDIA_TYPE::Audio;
    static_cast<void>(Translate(kAudioCodecs, config.Encoding_E, audio->Codec) &&
                      Translate(kPacketTimes, config.PacketTime_E, audio->PacketTime) &&
                      Translate(kAudioRates, config.SamplingRate_E, audio->SamplingRate));
    audio->ChannelCount = config.ChannelNumber_UL;
    audio->ChannelOrder = TextOf(info.ChannelOrder);
    return audio;
}

static std::unique_ptr<SdpMedia> MakeAnc(const ZEFA_ST2110_40_CONFIG& config)
{
    auto anc = std::make_unique<SdpMediaAnc>();
    anc->Type = SDP_MEDIA_TYPE::Anc;
    uint32_t samples = 0;
    uint32_t lines = 0;
    uint8_t interlaced = 0;
    uint8_t is1001 = 0;
    // A number outside the standards is no failure: it gives a rate of 0.
    ZEFA_GetAncSdiVideoStandardInfo(config.VideoStandard_E, &samples, &samples, &lines, &lines, &anc->Rate, &interlaced,
                                    &is1001);
    anc->Is1001 = is1001 != 0;
    return anc;
}

static std::unique_ptr<SdpMedia> MakeMedia(const ZEFA_ESSENCE_CONFIG& essence, const ZEFA_SDP_INFO& info)
{
    switch (essence.EssenceType_E)
    {
    case ZEFA_ESSENCE_TYPE_ST2110_20: return MakeVideo(essence.Essence_X.ST2110_20_X);
    case ZEFA_ESSENCE_TYPE_ST2110_30: return MakeAudio(essence.Essence_X.ST2110_30_X, info);
    case ZEFA_ESSENCE_TYPE_ST2110_40: return MakeAnc(essence.Essence_X.ST2110_40_X);
    default: return nullptr;
    }
}

static ZEFA_ERRORCODE FillShared(const ZEFA_SDP_INFO& info, SdpMedia& media)
{
    constexpr size_t kMacBytes = 6;
    if (!Translate(kMediaClocks, info.MediaClock_E, media.MediaClock)) return ZEFA_ERR_NOT_FOUND;
    if (!Translate(kTsModes, info.TsMode_E, media.TsMode)) return ZEFA_ERR_NOT_FOUND;
    const bool clockKnown = Translate(kRefClocks, info.RefClock_E, media.RefClock.Type);
    if (media.RefClock.Type == SDP_REFCLOCK_TYPE::LocalMac)
        std::copy_n(info.RefClockId_UB, kMacBytes, media.RefClock.Id.begin());
    if (media.RefClock.Type == SDP_REFCLOCK_TYPE::Ptp)
    {
        std::copy_n(info.RefClockId_UB, media.RefClock.Id.size(), media.RefClock.Id.begin());
        media.RefClock.Domain = info.RefClockDomain_UB;
    }
    media.TsDelayPresent = info.TsDelayPresent_B != 0;
    if (media.TsDelayPresent) media.TsDelay = info.TsDelay_UL;
    return clockKnown ? ZEFA_NO_ERROR : ZEFA_ERR_NOT_FOUND;
}

// One record a path, all of the same essence; none for an essence outside the constants.
static ZEFA_ERRORCODE MakeMedias(const ZEFA_STREAM_NETWORK_CONFIG& network, const ZEFA_ESSENCE_CONFIG& essence,
                                 const ZEFA_SDP_INFO& info, SdpMediaList& medias)
{
    const uint32_t paths = std::min<uint32_t>(network.NbConnections_UL, ZEFA_MAX_CONNECTIONS); // the array ends there
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    for (uint32_t i = 0; i < paths; ++i)
    {
        std::unique_ptr<SdpMedia> media = MakeMedia(essence, info);
        if (!media) continue;
        media->PayloadType = static_cast<uint8_t>(network.PayloadType_UB);
        media->Port = network.Connections_X[i].DestinationPort_US;
        media->Destination.Version = kIpVersion4;
        media->Destination.Address.V4 = network.Connections_X[i].DestinationIp_UL;
        if (paths > 1) media->Mid = std::to_string(i);
        result = FillShared(info, *media); // the same for every path
        medias.push_back(std::move(media));
    }
    return result;
}

// No trace of entry and exit.
ZEFA_ERRORCODE ZEFA_WriteSDP(const ZEFA_STREAM_NETWORK_CONFIG* pNetworkConfig_X,
                             const ZEFA_ESSENCE_CONFIG* pEssenceConfig_X, const ZEFA_SDP_INFO* pInfo_X, char* pSdp_C,
                             uint32_t* pSize_UL)
{
    if (!pSdp_C || !pSize_UL)
        return Fail(ZEFA_ERR_INVALID_POINTER, "Error in ZEFA_WriteSDP : one of the pointer is null.");

    const std::unique_ptr<ISdpModule> module =
        CreateSdpModule([](const std::string& text) { Log(kPriorityError, text); },
                        [](const std::string& text) { Log(kPriorityWarning, text); });
    if (!module) return Fail(ZEFA_ERR_OPERATION_FAILED, "Error in ZEFA_WriteSDP when creating the SDP module object.");

    const SdpSession session = MakeSession(*pNetworkConfig_X, *pInfo_X);
    SdpMediaList medias;
    const ZEFA_ERRORCODE result = MakeMedias(*pNetworkConfig_X, *pEssenceConfig_X, *pInfo_X, medias);
    if (result != ZEFA_NO_ERROR) return result;
    module->SetSession(session);
    module->SetMedias(medias);

    std::string text;
    const SdpCode code = module->Write(&text);
    if (code != kSdpSuccess)
        return Fail(ZEFA_ERR_OPERATION_FAILED, "Error in ZEFA_WriteSDP when writing the SDP : " + std::to_string(code));

    // A buffer of just the length of the text passes, and its NUL takes the place of the last character.
    // WriteSdp.ABufferOfTheTextsOwnLengthLosesTheLastCharacter pins it.
    if (*pSize_UL < text.size()) return ZEFA_ERR_BUFFER_TOO_SMALL;
    std::snprintf(pSdp_C, *pSize_UL, "%s", text.c_str());
    *pSize_UL = static_cast<uint32_t>(text.size());
    return ZEFA_NO_ERROR;
}

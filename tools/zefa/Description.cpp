// Fields of descriptions.
#include "Description.h"

#include "Words.h"

#include <algorithm>
#include <cstring>

namespace zefa
{
namespace
{
void AddWord(Json& document, const char* key, Words words, uint32_t value)
{
    if (const char* const word = WordOf(words, value)) document[key] = word;
}

void AddText(Json& document, const char* key, const char* text)
{
    if (text[0] != '\0') document[key] = text;
}

Json VideoDocument(const ZEFA_ST2110_20_CONFIG& video)
{
    Json document = Json::object();
    if (const std::string standard = StandardName(video.VideoStandard_E); !standard.empty())
        document["standard"] = standard;
    AddWord(document, "sampling", kSamplings, video.NetworkBitSampling_E);
    AddWord(document, "depth", kDepths, video.NetworkBitDepth_E);
    AddWord(document, "colorimetry", kColorimetries, video.Colorimetry_E);
    AddWord(document, "tcs", kTransfers, video.Tcs_E);
    AddWord(document, "packing", kPackings, video.PackingMode_E);
    if (video.UseDefaultTrOffset_B == 0) document["trOffsetUs"] = video.TrOffset_UL;
    return document;
}

Json AudioDocument(const ZEFA_ST2110_30_CONFIG& audio)
{
    Json document = Json::object();
    AddWord(document, "codec", kAudioCodecs, audio.Encoding_E);
    AddWord(document, "rate", kAudioRates, audio.SamplingRate_E);
    if (audio.ChannelNumber_UL != kUnsaid) document["channels"] = audio.ChannelNumber_UL;
    AddWord(document, "packetTimeMs", kPacketTimes, audio.PacketTime_E);
    return document;
}

std::string RefClockText(const ZEFA_SDP_INFO& info)
{
    switch (info.RefClock_E)
    {
    case ZEFA_SDP_REFCLOCK_PTP:
        return "ptp=" + IdentityText(info.RefClockId_UB, 8) + ":" + std::to_string(info.RefClockDomain_UB);
    case ZEFA_SDP_REFCLOCK_PTP_TRACEABLE: return "traceable";
    case ZEFA_SDP_REFCLOCK_LOCALMAC: return "localmac=" + IdentityText(info.RefClockId_UB, 6);
    default: return "";
    }
}

void Flatten(const Json& value, const std::string& name, Json& rows)
{
    if (!value.is_structured())
    {
        rows.push_back({{"name", name}, {"value", value}});
        return;
    }
    size_t index = 0;
    for (const auto& [key, inner] : value.items())
        Flatten(inner, (name.empty() ? "" : name + ".") + (value.is_array() ? std::to_string(index++) : key), rows);
}
} // namespace

Description Unsaid()
{
    Description description{};
    std::memset(&description.Essence, 0xFF, sizeof description.Essence);
    description.Info.MediaClock_E = kUnsaid;
    description.Info.TsMode_E = kUnsaid;
    description.Info.RefClock_E = kUnsaid;
    return description;
}

Json DocumentOf(const Description& description)
{
    Json document = Json::object();
    const ZEFA_SDP_INFO& info = description.Info;
    AddText(document, "sessionName", info.SessionName);
    AddText(document, "sessionDescription", info.SessionDescription);
    const auto essence = static_cast<uint32_t>(description.Essence.EssenceType_E);
    AddWord(document, "essence", kEssences, essence);
    document["payloadType"] = description.Network.PayloadType_UB & 0xFF;
    Json& paths = document["paths"] = Json::array();
    for (uint32_t i = 0; i < std::min<uint32_t>(description.Network.NbConnections_UL, ZEFA_MAX_CONNECTIONS); ++i)
    {
        const ZEFA_CONNECTION_CONFIG& path = description.Network.Connections_X[i];
        paths.push_back({{"destination", AddressText(path.DestinationIp_UL)},
                         {"port", path.DestinationPort_US},
                         {"source", AddressText(path.SourceIp_UL)}});
    }
    if (description.Essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_20)
        document["video"] = VideoDocument(description.Video());
    if (description.Essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_30)
    {
        document["audio"] = AudioDocument(description.Audio());
        AddText(document["audio"], "channelOrder", info.ChannelOrder);
    }
    AddWord(document, "mediaClock", kMediaClocks, info.MediaClock_E);
    AddText(document, "refClock", RefClockText(info).c_str());
    AddWord(document, "tsMode", kTsModes, info.TsMode_E);
    if (info.TsDelayPresent_B) document["tsDelayUs"] = info.TsDelay_UL;
    return document;
}

Json FieldRows(const Json& document)
{
    Json rows = Json::array();
    Flatten(document, "", rows);
    return rows;
}

} // namespace zefa

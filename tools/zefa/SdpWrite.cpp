// zefa sdp write: a description from options.
#include "Commands.h"
#include "Description.h"
#include "Failure.h"
#include "Files.h"
#include "LoggedCall.h"
#include "Reading.h"
#include "Words.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace zefa
{
namespace
{
// What no option says.
Description Usual(uint32_t essence)
{
    Description usual{};
    usual.Network.PayloadType_UB = 96;
    usual.Network.NbConnections_UL = 1;
    usual.Network.Connections_X[0].DestinationIp_UL = 0xEF000001; // 239.0.0.1
    usual.Network.Connections_X[0].DestinationPort_US = 5004;
    usual.Essence.EssenceType_E = static_cast<ZEFA_ESSENCE_TYPE>(essence);
    if (essence == static_cast<uint32_t>(ZEFA_ESSENCE_TYPE_ST2110_30))
    {
        usual.Audio().Encoding_E = ZEFA_SDP_AUDIO_CODEC_L24;
        usual.Audio().ChannelNumber_UL = 2;
    }
    else if (essence == static_cast<uint32_t>(ZEFA_ESSENCE_TYPE_ST2110_40))
    {
        usual.Anc().VideoStandard_E = static_cast<uint32_t>(ZEFA_VIDEO_STANDARD_1920X1080_P_50);
    }
    else
    {
        usual.Video().VideoStandard_E = ZEFA_VIDEO_STANDARD_1920X1080_P_50;
        usual.Video().NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_10;
        usual.Video().Colorimetry_E = ZEFA_SDP_COLORIMETRY_BT709;
        usual.Video().UseDefaultTrOffset_B = 1;
    }
    std::strcpy(usual.Info.SessionName, "zefa");
    usual.Info.TsMode_E = ZEFA_SDP_TS_MODE_NOT_SET;
    usual.Info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP_TRACEABLE;
    return usual;
}

// A description that was read, as one to write: what the exported constants say for "not said" stands for it.
Description Begun(const std::string& file)
{
    Description fields = ReadOrFail(ReadFile(file), file).Result.Fields;
    if (fields.Info.MediaClock_E == kUnsaid) fields.Info.MediaClock_E = ZEFA_SDP_MEDIA_CLOCK_NOT_SET;
    if (fields.Info.TsMode_E == kUnsaid) fields.Info.TsMode_E = ZEFA_SDP_TS_MODE_NOT_SET;
    return fields;
}

template <size_t N>
void SetText(char (&field)[N], const Arguments& arguments, const char* option)
{
    const auto text = arguments.Find(option);
    if (!text) return;
    if (text->size() >= N)
        throw Failure(kUsage, std::string(option) + " has room for " + std::to_string(N - 1) + " bytes.");
    std::memset(field, 0, N);
    std::memcpy(field, text->data(), text->size());
}

void SetWord(uint32_t& field, const Arguments& arguments, const char* option, Words words)
{
    if (const auto text = arguments.Find(option)) field = ValueOf(words, *text, option);
}

uint32_t AddressIn(const std::string& text, const std::string& option)
{
    const auto address = AddressOf(text);
    if (!address) throw Failure(kUsage, option + " wants an IPv4 address, not \"" + text + "\".");
    return *address;
}

void SetNetwork(ZEFA_STREAM_NETWORK_CONFIG& network, const Arguments& arguments)
{
    if (const auto payload = arguments.FindNumber("--payload", 0, 127))
        network.PayloadType_UB = static_cast<uint32_t>(*payload);
    const std::vector<std::string> paths = arguments.All("--path");
    if (paths.size() > ZEFA_MAX_CONNECTIONS) throw Failure(kUsage, "--path is given too often.");
    if (!paths.empty()) network.NbConnections_UL = static_cast<uint32_t>(paths.size());
    for (size_t i = 0; i < paths.size(); ++i)
    {
        const size_t colon = paths[i].rfind(':');
        const auto port = colon == std::string::npos ? std::nullopt : DecimalNumber(paths[i].substr(colon + 1));
        if (!port || *port > 65535)
            throw Failure(kUsage, "--path wants ADDRESS:PORT, as 239.0.0.1:5004, not \"" + paths[i] + "\".");
        network.Connections_X[i].DestinationIp_UL = AddressIn(paths[i].substr(0, colon), "--path");
        network.Connections_X[i].DestinationPort_US = static_cast<uint16_t>(*port);
    }
    if (const auto source = arguments.Find("--source"))
        for (uint32_t i = 0; i < network.NbConnections_UL; ++i)
            network.Connections_X[i].SourceIp_UL = AddressIn(*source, "--source");
}

void SetVideo(ZEFA_ST2110_20_CONFIG& video, const Arguments& arguments)
{
    if (const auto standard = arguments.Find("--standard")) video.VideoStandard_E = StandardOf(*standard, "--standard");
    SetWord(video.NetworkBitSampling_E, arguments, "--sampling", kSamplings);
    SetWord(video.NetworkBitDepth_E, arguments, "--depth", kDepths);
    SetWord(video.Colorimetry_E, arguments, "--colorimetry", kColorimetries);
    SetWord(video.Tcs_E, arguments, "--tcs", kTransfers);
    if (const auto offset = arguments.FindNumber("--troff", 0, UINT32_MAX))
    {
        video.UseDefaultTrOffset_B = 0;
        video.TrOffset_UL = static_cast<uint32_t>(*offset);
    }
}

void SetAudio(ZEFA_ST2110_30_CONFIG& audio, const Arguments& arguments)
{
    SetWord(audio.Encoding_E, arguments, "--codec", kAudioCodecs);
    SetWord(audio.SamplingRate_E, arguments, "--rate", kAudioRates);
    SetWord(audio.PacketTime_E, arguments, "--ptime", kPacketTimes);
    if (const auto channels = arguments.FindNumber("--channels", 1, 65535))
        audio.ChannelNumber_UL = static_cast<uint32_t>(*channels);
}

void SetRefClock(ZEFA_SDP_INFO& info, const std::string& text)
{
    const auto wrong = [&]
    {
        return Failure(kUsage,
                       "--refclk wants traceable, ptp=00-11-22-33-44-55-66-77:127 or localmac=00-11-22-33-44-55, "
                       "not \"" +
                           text + "\".");
    };
    if (text == "traceable")
    {
        info.RefClock_E = ZEFA_SDP_REFCLOCK_PTP_TRACEABLE;
        return;
    }
    const bool ptp = text.starts_with("ptp=");
    if (!ptp && !text.starts_with("localmac=")) throw wrong();
    std::string identity = text.substr(text.find('=') + 1);
    if (ptp)
    {
        const size_t colon = identity.find(':');
        const auto domain = colon == std::string::npos ? std::nullopt : DecimalNumber(identity.substr(colon + 1));
        if (!domain || *domain > 255) throw wrong();
        info.RefClockDomain_UB = static_cast<uint8_t>(*domain);
        identity.resize(colon);
    }
    const auto bytes = IdentityOf(identity, ptp ? 8 : 6);
    if (!bytes) throw wrong();
    info.RefClock_E = ptp ? ZEFA_SDP_REFCLOCK_PTP : ZEFA_SDP_REFCLOCK_LOCALMAC;
    std::copy(bytes->begin(), bytes->end(), info.RefClockId_UB);
}

void SetInfo(ZEFA_SDP_INFO& info, const Arguments& arguments)
{
    SetText(info.SessionName, arguments, "--name");
    SetText(info.SessionDescription, arguments, "--info");
    SetText(info.ChannelOrder, arguments, "--channel-order");
    SetWord(info.MediaClock_E, arguments, "--mediaclk", kMediaClocks);
    SetWord(info.TsMode_E, arguments, "--tsmode", kTsModes);
    if (const auto delay = arguments.FindNumber("--tsdelay", 0, UINT32_MAX))
    {
        info.TsDelayPresent_B = 1;
        info.TsDelay_UL = static_cast<uint32_t>(*delay);
    }
    if (const auto clock = arguments.Find("--refclk")) SetRefClock(info, *clock);
}

// Options that speak of one essence alone.
struct EssenceOption
{
    const char* option;
    bool video, audio, anc;
};
constexpr EssenceOption kEssenceOptions[] = {
    {"--standard", true, false, true},     {"--sampling", true, false, false},     {"--depth", true, false, false},
    {"--colorimetry", true, false, false}, {"--tcs", true, false, false},          {"--troff", true, false, false},
    {"--codec", false, true, false},       {"--rate", false, true, false},         {"--channels", false, true, false},
    {"--ptime", false, true, false},       {"--channel-order", false, true, false}};

void RefuseForeign(const Arguments& arguments, ZEFA_ESSENCE_TYPE essence)
{
    for (const EssenceOption& each : kEssenceOptions)
    {
        const bool fits = essence == ZEFA_ESSENCE_TYPE_ST2110_20   ? each.video
                          : essence == ZEFA_ESSENCE_TYPE_ST2110_30 ? each.audio
                                                                   : each.anc;
        if (!fits && arguments.Has(each.option))
            throw Failure(kUsage, std::string(each.option) + " says nothing about " +
                                      WordOf(kEssences, static_cast<uint32_t>(essence)) + ".");
    }
}

Description FieldsOf(const Arguments& arguments)
{
    const auto from = arguments.Find("--from");
    if (from && arguments.Has("--essence")) throw Failure(kUsage, "--essence and --from exclude each other.");
    Description fields =
        from ? Begun(*from) : Usual(ValueOf(kEssences, arguments.Text("--essence", "video"), "--essence"));
    const ZEFA_ESSENCE_TYPE essence = fields.Essence.EssenceType_E;
    RefuseForeign(arguments, essence);
    SetNetwork(fields.Network, arguments);
    if (essence == ZEFA_ESSENCE_TYPE_ST2110_20) SetVideo(fields.Video(), arguments);
    if (essence == ZEFA_ESSENCE_TYPE_ST2110_30) SetAudio(fields.Audio(), arguments);
    if (essence == ZEFA_ESSENCE_TYPE_ST2110_40)
        if (const auto standard = arguments.Find("--standard"))
            fields.Anc().VideoStandard_E = static_cast<uint32_t>(StandardOf(*standard, "--standard"));
    SetInfo(fields.Info, arguments);
    return fields;
}
} // namespace

int RunSdpWrite(const Arguments& arguments)
{
    const CallResult result = WriteDescription(FieldsOf(arguments));
    const SdpScan scan(result.Text);
    std::vector<Complaint> complaints = ComplaintsOf(result.Log, "writer", scan);
    if (!result.Exception.empty())
        complaints.push_back(
            {Kind::Error, "writer", "", {}, "the writing ended with an exception: " + result.Exception});
    else if (!result.Succeeded() && complaints.empty())
        complaints.push_back({Kind::Error, "writer", "", {}, "refused: " + ErrorText(result.Code)});

    if (const auto output = arguments.Find("--output"); output && result.Succeeded()) WriteFile(*output, result.Text);
    if (arguments.Has("--json"))
    {
        Json document{{"sdp", result.Succeeded() ? Json(result.Text) : Json()}, {"complaints", Json::array()}};
        for (const Complaint& complaint : complaints)
            document["complaints"].push_back(DocumentOf(complaint));
        Print(JsonText(document, true) + "\n");
    }
    else
    {
        for (const Complaint& complaint : complaints)
            std::fputs(TextOf(complaint, "description").c_str(), stderr);
        if (result.Succeeded() && !arguments.Has("--output")) Print(result.Text);
    }
    return result.Succeeded() && complaints.empty() ? kGood : kComplaints;
}

} // namespace zefa

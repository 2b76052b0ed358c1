// Reading of what one kind of media has of its own: video, audio, ancillary data.
#include "platform/NumberText.h"
#include "sdp/SdpModule.h"
#include "sdp/SdpText.h"

#include <algorithm>
#include <bitset>
#include <iterator>
#include <locale>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

namespace quill::sdp_module
{
namespace
{
using nlohmann::json;
using Quillmont::Platform::ToInt32;

uint32_t ToNumber(std::string_view text)
{
    return static_cast<uint32_t>(ToInt32(std::string(text)));
}

// False, and nothing stored, for a text that the table does not have.
template <class Enumeration, size_t N>
bool Store(const std::array<SdpLiteral<Enumeration>, N>& table, std::string_view text, Enumeration& field)
{
    const auto value = FindSdpValue(table, text);
    if (value) field = *value;
    return value.has_value();
}

// A parameter with a value of a video's format.
struct VideoParameter
{
    std::string_view key;
    const char* whenMissing;                                     // null: the parameter may be absent
    bool (*store)(SdpMediaVideo& video, std::string_view value); // false: the value is not supported
};

// The mandatory ones stand first, in the order in which missing ones are told.
constexpr VideoParameter kVideoParameters[] = {
    {"sampling", "The sampling value is missing in the following config string : ",
     [](SdpMediaVideo& video, std::string_view value) { return Store(kSdpSamplings, value, video.Sampling); }},
    {"colorimetry", "The colorimetry value is missing in the following config string : ",
     [](SdpMediaVideo& video, std::string_view value) { return Store(kSdpColorimetries, value, video.Colorimetry); }},
    {"depth", "The bit depth value is missing in the following config string : ",
     [](SdpMediaVideo& video, std::string_view value) { return Store(kSdpDepths, value, video.Depth); }},
    {"exactframerate", "The framerate value is missing in the following config string : ",
     [](SdpMediaVideo& video, std::string_view value)
     { return ParseFrameRate(value, video.Rate, video.Is1001) == kSdpSuccess; }},
    {"height", "The height value is missing in the following config string : ",
     [](SdpMediaVideo& video, std::string_view value)
     {
         video.Height = ToNumber(value);
         return true;
     }},
    {"width", "The width value is missing in the following config string : ",
     [](SdpMediaVideo& video, std::string_view value)
     {
         video.Width = ToNumber(value);
         return true;
     }},
    {"PM", "The packing mode value is missing in the following config string : ",
     [](SdpMediaVideo& video, std::string_view value) { return Store(kSdpPackingModes, value, video.PackingMode); }},
    {"TCS", nullptr,
     [](SdpMediaVideo& video, std::string_view value) { return Store(kSdpTransfers, value, video.Tcs); }},
    {"TP", nullptr,
     [](SdpMediaVideo& video, std::string_view value)
     {
         video.SenderTypePresent = true;
         return Store(kSdpSenderTypes, value, video.SenderType);
     }},
    {"TROFF", nullptr,
     [](SdpMediaVideo& video, std::string_view value)
     {
         if (!AllDigits(value)) return true; // not used, and not told
         video.TrOffsetPresent = true;
         video.TrOffset = ToNumber(value);
         return true;
     }},
};

void ResetEssence(SdpMediaVideo& video)
{
    SdpMediaVideo fresh;
    static_cast<SdpMedia&>(fresh) = video;
    video = fresh;
}
} // namespace

SdpCode ParseFrameRate(std::string_view text, uint32_t& rate, bool& is1001)
{
    const std::vector<std::string_view> pieces = SplitText(text, '/');
    if (pieces.size() == 1)
    {
        rate = ToNumber(pieces[0]);
        is1001 = false;
        return kSdpSuccess;
    }
    if (pieces.size() == 2 && pieces[1] == "1001")
    {
        rate = static_cast<uint32_t>(ToInt32(std::string(pieces[0])) / 1000);
        is1001 = true;
        return kSdpSuccess;
    }
    return kSdpValueUnsupported;
}

SdpCode SdpModule::ParseVideoMedia(const json& media, std::unique_ptr<SdpMedia>& record)
{
    const auto formats = media.find("fmtp");
    if (formats == media.end())
        return Fail(kSdpLineWrong, "No \"fmtp\" attribute was found for video media : " + media.dump());
    if (formats->size() > 1)
        WarningSink("Multiple \"fmtp\" (" + std::to_string(formats->size()) +
                    ") attributes found a video media with : " + formats->dump() +
                    ". Only the first is taken into account.");
    const auto& config = StringOf(formats->at(0).at("config"));

    if (config.find("ST2110-20") != std::string::npos)
    {
        auto video = std::make_unique<SdpMediaVideo>();
        const SdpCode code = ParseVideoConfig(config, *video);
        if (code != kSdpSuccess) return code;
        video->Type = SDP_MEDIA_TYPE::Video;
        record = std::move(video);
    }
    else if (config.find("ST2110-40") != std::string::npos)
    {
        auto anc = std::make_unique<SdpMediaAnc>();
        const SdpCode code = ParseAncConfig(config, *anc);
        if (code != kSdpSuccess) return code;
        anc->Type = SDP_MEDIA_TYPE::Anc;
        record = std::move(anc);
    }
    else
    {
        WarningSink("The configuration video media \"" + config +
                    "\" could not be parsed. Only ST2110-20 and ST2110-40 video media are supported.");
    }
    return kSdpSuccess;
}

SdpCode SdpModule::ParseVideoConfig(const std::string& config, SdpMediaVideo& video)
{
    ResetEssence(video);
    std::bitset<std::size(kVideoParameters)> seen;
    const auto find = [](std::string_view key)
    {
        return std::find_if(std::begin(kVideoParameters), std::end(kVideoParameters),
                            [key](const VideoParameter& parameter) { return parameter.key == key; });
    };

    for (const std::string_view piece : SplitText(config, ';'))
    {
        const std::vector<std::string_view> tokens = SplitText(piece, '=');
        const std::string_view key = Trimmed(tokens.front());
        if (tokens.size() == 1)
        {
            if (key == "interlace")
                video.Interlaced = true;
            else if (key == "segmented")
                video.Segmented = true;
        }
        else if (tokens.size() == 2)
        {
            const auto parameter = find(key);
            if (parameter == std::end(kVideoParameters)) continue;
            seen.set(static_cast<size_t>(parameter - kVideoParameters));
            const std::string_view value = Trimmed(tokens[1]);
            if (!parameter->store(video, value))
                return Fail(kSdpValueUnsupported,
                            "Unsupported " + std::string(key) + " value \"" + std::string(value) + "\".");
        }
    }

    SdpCode code = kSdpSuccess;
    for (size_t i = 0; i < std::size(kVideoParameters); ++i)
        if (kVideoParameters[i].whenMissing && !seen[i])
            code = Fail(kSdpValueMissing, kVideoParameters[i].whenMissing + config);
    if (!seen[static_cast<size_t>(find("TCS") - kVideoParameters)])
    {
        video.Tcs = SDP_TCS::SDR;
        WarningSink("TCS property was not found in the following config string :" + config +
                    ". Default value SDR was set.");
    }
    return code;
}

SdpCode SdpModule::ParseAncConfig(const std::string& config, SdpMediaAnc& anc)
{
    anc.Rate = 0;
    anc.Is1001 = false;
    bool rateSeen = false;
    SdpCode code = kSdpSuccess;
    for (const std::string_view piece : SplitText(config, ';'))
    {
        const std::vector<std::string_view> tokens = SplitText(piece, '=');
        if (tokens.size() != 2 || Trimmed(tokens[0]) != "exactframerate") continue;
        rateSeen = true;
        const SdpCode rateCode = ParseFrameRate(Trimmed(tokens[1]), anc.Rate, anc.Is1001);
        if (rateCode != kSdpSuccess) code = rateCode;
    }
    if (code != kSdpSuccess || rateSeen) return code;
    return Fail(kSdpValueMissing, "The framerate value is missing in the following config string : " + config);
}

SdpCode SdpModule::ParseAudioMedia(const json& media, std::unique_ptr<SdpMedia>& record)
{
    auto audio = std::make_unique<SdpMediaAudio>();
    const SdpCode code = ReadAudioFields(media, *audio);
    if (code != kSdpSuccess) return code;
    audio->Type = SDP_MEDIA_TYPE::Audio;
    record = std::move(audio);
    return kSdpSuccess;
}

// A word or a rate that no table has leaves the field at "not set", in silence.
SdpCode SdpModule::ReadAudioFields(const json& media, SdpMediaAudio& audio)
{
    const auto maps = media.find("rtp");
    if (maps == media.end())
        return Fail(kSdpLineWrong, "No \"rtpmap\" attribute was found for audio media : " + media.dump());
    if (maps->size() > 1)
        WarningSink("Multiple \"rtpmap\" (" + std::to_string(maps->size()) +
                    ") attributes found a audio media with : " + maps->dump() +
                    ". Only the first is taken into account.");
    const json& map = maps->at(0);

    const auto codec = map.find("codec");
    if (codec == map.end())
        return Fail(kSdpValueMissing, "The audio format value is not present in the \"rtpmap\" field : " + map.dump());
    Store(kSdpAudioCodecs, StringOf(*codec), audio.Codec);

    const auto rate = map.find("rate");
    if (rate == map.end())
        return Fail(kSdpValueMissing, "The sampling rate value is not present in the \"rtpmap\" field : " + map.dump());
    Store(kSdpAudioRates, std::to_string(rate->get<int64_t>()), audio.SamplingRate);

    const auto channels = map.find("encoding"); // the encoding parameter of audio is its number of channels
    if (channels == map.end())
        return Fail(kSdpValueMissing, "The channel count value is not present in the \"rtpmap\" field : " + map.dump());
    audio.ChannelCount = ToNumber(StringOf(*channels));

    const auto packetTime = media.find("ptime");
    if (packetTime == media.end())
        return Fail(kSdpValueMissing, "No \"ptime\" attribute was found for audio media : " + media.dump());
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << packetTime->get<double>(); // six digits, no trailing zeros: 0.25 never meets the spelling 0.250
    Store(kSdpPacketTimes, text.str(), audio.PacketTime);

    const auto formats = media.find("fmtp");
    if (formats == media.end() || formats->empty()) return kSdpSuccess;
    return ParseAudioConfig(StringOf(formats->at(0).at("config")), audio);
}

SdpCode SdpModule::ParseAudioConfig(const std::string& config, SdpMediaAudio& audio)
{
    for (const std::string_view piece : SplitText(config, ';'))
    {
        const std::vector<std::string_view> tokens = SplitText(piece, '=');
        if (tokens.size() == 2 && Trimmed(tokens[0]) == "channel-order") audio.ChannelOrder = Trimmed(tokens[1]);
    }
    return kSdpSuccess;
}

} // namespace quill::sdp_module

// Writing: from the records to a tree, whose numbers are mostly texts, since the writer of lines prints both alike.
#include "sdp/SdpModule.h"
#include "sdp/SdpTree.h"
#include "sdp/SdpWriter.h"

#include <arpa/inet.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace quill::sdp_module
{
namespace
{
using nlohmann::json;

// An address as the texts that a description has for its version and for itself; both empty when it is not set.
SdpCode WriteIpAddress(const SdpIpAddress& address, std::string& version, std::string& text)
{
    std::array<char, INET6_ADDRSTRLEN> buffer{};
    const auto room = static_cast<socklen_t>(buffer.size());
    if (address.Version == kIpVersion4)
    {
        const in_addr network{.s_addr = htonl(address.Address.V4)};
        version = "4";
        text = inet_ntop(AF_INET, &network, buffer.data(), room);
    }
    else if (address.Version == kIpVersion6)
    {
        version = "6";
        text = inet_ntop(AF_INET6, address.Address.V6, buffer.data(), room);
    }
    return kSdpSuccess;
}

// The first `count` bytes as hexadecimal groups, the last byte first.
std::string ReversedGroups(const std::array<uint8_t, 8>& bytes, size_t count)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (size_t i = count; i-- > 0;)
    {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 0xF];
        if (i > 0) text += '-';
    }
    return text;
}

std::string WriteRefClock(const SdpRefClock& clock)
{
    constexpr size_t kMacBytes = 6;
    switch (clock.Type)
    {
    case SDP_REFCLOCK_TYPE::Ptp:
        return "ptp=IEEE1588-2008:" + ReversedGroups(clock.Id, clock.Id.size()) + ":" + std::to_string(clock.Domain);
    case SDP_REFCLOCK_TYPE::PtpTraceable: return "ptp=IEEE1588-2008:traceable";
    case SDP_REFCLOCK_TYPE::LocalMac: return "localmac=" + ReversedGroups(clock.Id, kMacBytes);
    case SDP_REFCLOCK_TYPE::NotSet: break;
    }
    return {}; // the attribute is written all the same
}

std::string WriteFrameRate(uint32_t rate, bool is1001)
{
    return is1001 ? std::to_string(uint64_t{rate} * 1000) + "/1001" : std::to_string(rate);
}

// Appends the spelling of a value; false, and nothing appended, for a value without one.
template <class Enumeration, size_t N>
bool AppendLiteral(std::string& text, const std::array<SdpLiteral<Enumeration>, N>& table, Enumeration value)
{
    const auto literal = FindSdpLiteral(table, value);
    if (literal) text += *literal;
    return literal.has_value();
}

// Stores the spelling of a value; false, and an empty text stored, for a value without one.
template <class Enumeration, size_t N>
bool StoreLiteral(json& target, const std::array<SdpLiteral<Enumeration>, N>& table, Enumeration value)
{
    const auto literal = FindSdpLiteral(table, value);
    target = std::string(literal.value_or(std::string_view()));
    return literal.has_value();
}

// Objects get their keys one after another: a list of them in braces is a tree of its own, which needs memory to go.
// And none grows from a null, which the JSON library leaves as an object of nothing when there is no memory for it.
json& NewObject(json& target)
{
    TakeApart(target);
    target = json::object();
    return target;
}

json& NewFirstOf(json& list)
{
    if (list.is_null()) list = json::array();
    if (list.empty()) list.emplace_back();
    return NewObject(list.front());
}

// A parameter of a video's format, with all that stands before its value.
struct VideoItem
{
    std::string_view words;
    bool (*present)(const SdpMediaVideo& video);                   // null: always
    bool (*append)(const SdpMediaVideo& video, std::string& text); // null: a flag; false: the value has no spelling
};

constexpr VideoItem kVideoItems[] = {
    {"sampling=", nullptr,
     [](const SdpMediaVideo& video, std::string& text) { return AppendLiteral(text, kSdpSamplings, video.Sampling); }},
    {"width=", nullptr,
     [](const SdpMediaVideo& video, std::string& text)
     {
         text += std::to_string(video.Width);
         return true;
     }},
    {"height=", nullptr,
     [](const SdpMediaVideo& video, std::string& text)
     {
         text += std::to_string(video.Height);
         return true;
     }},
    {"interlace", [](const SdpMediaVideo& video) { return video.Interlaced; }, nullptr},
    {"segmented", [](const SdpMediaVideo& video) { return video.Segmented; }, nullptr},
    {"exactframerate=", nullptr,
     [](const SdpMediaVideo& video, std::string& text)
     {
         text += WriteFrameRate(video.Rate, video.Is1001);
         return true;
     }},
    {"depth=", nullptr,
     [](const SdpMediaVideo& video, std::string& text) { return AppendLiteral(text, kSdpDepths, video.Depth); }},
    {"TCS=", nullptr,
     [](const SdpMediaVideo& video, std::string& text) { return AppendLiteral(text, kSdpTransfers, video.Tcs); }},
    {"colorimetry=", nullptr,
     [](const SdpMediaVideo& video, std::string& text)
     { return AppendLiteral(text, kSdpColorimetries, video.Colorimetry); }},
    {"PM=", nullptr,
     [](const SdpMediaVideo& video, std::string& text)
     { return AppendLiteral(text, kSdpPackingModes, video.PackingMode); }},
    {"TP=", [](const SdpMediaVideo& video) { return video.SenderTypePresent; },
     [](const SdpMediaVideo& video, std::string& text)
     { return AppendLiteral(text, kSdpSenderTypes, video.SenderType); }},
    {"TROFF=", [](const SdpMediaVideo& video) { return video.TrOffsetPresent; },
     [](const SdpMediaVideo& video, std::string& text)
     {
         text += std::to_string(video.TrOffset);
         return true;
     }},
};
} // namespace

SdpCode SdpModule::Write(std::string* text)
{
    if (!text) return kSdpNoTarget;
    if (Tree.is_null()) Tree = json::object();
    SdpCode code = SessionSet ? WriteSdpSession() : kSdpSuccess;
    if (code != kSdpSuccess) return code;
    code = WriteSdpMedias();
    if (code != kSdpSuccess) return code;
    WriteSdpGroups();
    *text = WriteSdpText(Tree);
    return kSdpSuccess;
}

SdpCode SdpModule::WriteSdpSession()
{
    Tree["version"] = Session.Version;
    Tree["name"] = Session.Name;
    Tree["description"] = Session.Description; // an empty one is written too
    json& timing = NewObject(Tree["timing"]);
    timing["start"] = Session.Start;
    timing["stop"] = Session.Stop;
    return WriteSdpOrigin(Tree["origin"]);
}

SdpCode SdpModule::WriteSdpOrigin(json& origin)
{
    std::string version;
    std::string address;
    const SdpCode code = WriteIpAddress(Session.Origin.Address, version, address);
    NewObject(origin);
    origin["sessionId"] = Session.Origin.SessionId;
    origin["sessionVersion"] = Session.Origin.SessionVersion;
    origin["username"] = Session.Origin.Username;
    origin["ipVer"] = version;
    origin["address"] = address;
    origin["netType"] = "IN";
    return code;
}

SdpCode SdpModule::WriteSdpMedias()
{
    json& medias = Tree["media"];
    TakeApart(medias);
    medias = json::array();
    for (const auto& record : Medias)
    {
        json& media = medias.emplace_back(json::object());
        const SdpCode code = WriteSdpMedia(*record, media);
        if (code != kSdpSuccess) return code;
    }
    return kSdpSuccess;
}

SdpCode SdpModule::WriteSdpMedia(const SdpMedia& record, json& media)
{
    media["port"] = std::to_string(record.Port);
    media["payloads"] = std::to_string(record.PayloadType);
    if (!record.Mid.empty()) media["mid"] = record.Mid;
    media["protocol"] = "RTP/AVP";
    SdpCode code = WriteSdpConnection(record.Destination, media["connection"]);
    if (code != kSdpSuccess) return code;
    if (!StoreLiteral(media["mediaclk"], kSdpMediaClocks, record.MediaClock)) return kSdpValueUnsupported;
    media["tsRefclk"] = WriteRefClock(record.RefClock);

    switch (record.Type)
    {
    case SDP_MEDIA_TYPE::Audio:
        media["type"] = "audio";
        code = WriteAudioMedia(static_cast<const SdpMediaAudio&>(record), media);
        break;
    case SDP_MEDIA_TYPE::Video:
    case SDP_MEDIA_TYPE::Anc:
        media["type"] = "video";
        code = WriteAncMedia(record, media);
        break;
    default:
        return Fail(kSdpValueUnsupported, "error when writing media : invalid media type" +
                                              std::to_string(static_cast<uint32_t>(record.Type)));
    }
    return code == kSdpSuccess ? WriteTimestamps(record, media) : code;
}

// No time to live: a description that was read with one is written without it.
SdpCode SdpModule::WriteSdpConnection(const SdpIpAddress& address, json& connection)
{
    std::string version;
    std::string text;
    const SdpCode code = WriteIpAddress(address, version, text);
    NewObject(connection);
    connection["version"] = version;
    connection["ip"] = text;
    return code;
}

SdpCode SdpModule::WriteAudioMedia(const SdpMediaAudio& record, json& media)
{
    json& map = NewFirstOf(media["rtp"]);
    if (!StoreLiteral(map["codec"], kSdpAudioCodecs, record.Codec)) return kSdpValueUnsupported;
    map["payload"] = record.PayloadType;
    map["encoding"] = std::to_string(record.ChannelCount); // the encoding parameter of audio is its number of channels
    if (!StoreLiteral(map["rate"], kSdpAudioRates, record.SamplingRate)) return kSdpValueUnsupported;
    if (!StoreLiteral(media["ptime"], kSdpPacketTimes, record.PacketTime)) return kSdpValueUnsupported;
    if (record.ChannelOrder.empty()) return kSdpSuccess;
    json& format = NewFirstOf(media["fmtp"]);
    format["payload"] = std::to_string(record.PayloadType);
    format["config"] = "channel-order=" + record.ChannelOrder + ";";
    return kSdpSuccess;
}

SdpCode SdpModule::WriteAncMedia(const SdpMedia& record, json& media)
{
    const std::string payload = std::to_string(record.PayloadType);
    json& map = NewFirstOf(media["rtp"]);
    map["codec"] = "raw";
    map["payload"] = payload;
    map["rate"] = "90000";
    json& format = NewFirstOf(media["fmtp"]);
    format["payload"] = payload;
    std::string config;
    const SdpCode code = record.Type == SDP_MEDIA_TYPE::Video
                             ? WriteVideoConfig(static_cast<const SdpMediaVideo&>(record), config)
                             : WriteAncConfig(static_cast<const SdpMediaAnc&>(record), config);
    if (code == kSdpSuccess) format["config"] = config;
    return code;
}

SdpCode SdpModule::WriteVideoConfig(const SdpMediaVideo& record, std::string& config)
{
    for (const VideoItem& item : kVideoItems)
    {
        if (item.present && !item.present(record)) continue;
        config += item.words;
        if (item.append && !item.append(record, config)) return kSdpValueUnsupported;
        config += "; ";
    }
    config += "SSN=ST2110-20:2017;"; // no blank behind it
    return kSdpSuccess;
}

SdpCode SdpModule::WriteAncConfig(const SdpMediaAnc& record, std::string& config)
{
    config = "exactframerate=" + WriteFrameRate(record.Rate, record.Is1001) + "; SSN=ST2110-40:2018;";
    return kSdpSuccess;
}

// Behind the semicolon that ends the last format. Audio without a channel order has none, and gets one that begins
// empty: two blanks stand in its line. TimestampModeWithoutAChannelOrderStartsFromAnEmptyConfig pins it.
SdpCode SdpModule::WriteTimestamps(const SdpMedia& record, json& media)
{
    if (record.TsMode == SDP_TS_MODE::NotSet && !record.TsDelayPresent) return kSdpSuccess;
    json& formats = media["fmtp"];
    if (formats.empty())
    {
        json& first = NewFirstOf(formats);
        first["payload"] = std::to_string(record.PayloadType);
        first["config"] = "";
    }
    auto& config = formats.back()["config"].get_ref<std::string&>();
    if (record.TsMode != SDP_TS_MODE::NotSet)
    {
        config += " TSMODE=";
        const bool known = AppendLiteral(config, kSdpTsModes, record.TsMode);
        config += ';';
        if (!known) return kSdpValueUnsupported;
    }
    if (record.TsDelayPresent) config += " TSDELAY=" + std::to_string(record.TsDelay) + ";";
    return kSdpSuccess;
}

// Redundant paths of one stream; all or none.
void SdpModule::WriteSdpGroups()
{
    if (Medias.size() < 2) return;
    std::string mids;
    for (const auto& record : Medias)
    {
        if (record->Mid.empty() || record->Type != Medias.front()->Type) return;
        if (!mids.empty()) mids += ' ';
        mids += record->Mid;
    }
    json& group = NewFirstOf(Tree["groups"]);
    group["type"] = "DUP";
    group["mids"] = mids;
}

} // namespace quill::sdp_module

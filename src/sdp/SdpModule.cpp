// Reading of the session and of what all media share.
#include "sdp/SdpModule.h"

#include "platform/NumberText.h"
#include "sdp/SdpParser.h"
#include "sdp/SdpText.h"
#include "sdp/SdpTree.h"

#include <arpa/inet.h>

#include <cstring>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

namespace quill::sdp_module
{
namespace
{
using nlohmann::json;
using Quillmont::Platform::ToInt32;

constexpr int kHexadecimal = 16;

// The tree's number cut to the field's width, or its string; any other kind is the tree's type error. A key that is not
// there leaves the field as it is.
template <class Field>
void TakeIfPresent(const json& object, const char* key, Field& field)
{
    const auto found = object.find(key);
    if (found != object.end()) field = found->get<Field>();
}

// Stores `count` hexadecimal groups with the last one first; false, and nothing stored, for another count of them.
bool StoreReversed(const std::vector<std::string_view>& groups, size_t count, std::array<uint8_t, 8>& bytes)
{
    if (groups.size() != count) return false;
    for (size_t i = 0; i < count; ++i)
        bytes[count - 1 - i] = static_cast<uint8_t>(ToInt32(std::string(groups[i]), kHexadecimal));
    return true;
}
} // namespace

const std::string& StringOf(const json& value)
{
    if (!value.is_string()) static_cast<void>(value.get<std::string>()); // raises the error of a copying read
    return value.get_ref<const std::string&>();
}

SdpModule::SdpModule(SdpSink errorSink, SdpSink warningSink)
    : ErrorSink(std::move(errorSink)), WarningSink(std::move(warningSink))
{
}

SdpModule::~SdpModule()
{
    TakeApart(Tree);
}

std::unique_ptr<ISdpModule> CreateSdpModule(SdpSink errorSink, SdpSink warningSink)
{
    return std::unique_ptr<ISdpModule>(new (std::nothrow) SdpModule(std::move(errorSink), std::move(warningSink)));
}

void SdpModule::SetSession(const SdpSession& session)
{
    Session = session;
    SessionSet = true;
}

void SdpModule::SetMedias(SdpMediaList& medias)
{
    Medias.clear();
    Medias.reserve(medias.size());
    for (auto& media : medias)
        Medias.push_back(std::move(media));
}

SdpSession SdpModule::GetSession() const
{
    return Session;
}

SdpMediaList& SdpModule::GetMedias()
{
    return Medias;
}

SdpCode SdpModule::Fail(SdpCode code, const std::string& message) const
{
    ErrorSink(message);
    return code;
}

SdpCode SdpModule::Read(const std::string& text)
{
    TakeApart(Tree);
    Tree = ParseSdpText(text);
    if (Tree.empty()) return Fail(kSdpLineWrong, "The SDP could not be parsed"); // null counts as empty
    const SdpCode code = ParseSdpSession(Tree);
    if (code != kSdpSuccess) return code;
    return ParseSdpMedias(Tree);
}

SdpCode SdpModule::ParseSdpSession(const json& tree)
{
    TakeIfPresent(tree, "version", Session.Version);
    TakeIfPresent(tree, "name", Session.Name);
    TakeIfPresent(tree, "description", Session.Description);
    if (const auto timing = tree.find("timing"); timing != tree.end())
    {
        TakeIfPresent(*timing, "start", Session.Start);
        TakeIfPresent(*timing, "stop", Session.Stop);
    }
    const auto origin = tree.find("origin");
    return origin == tree.end() ? kSdpSuccess : ParseSdpOrigin(*origin);
}

SdpCode SdpModule::ParseSdpOrigin(const json& origin)
{
    if (origin.contains("address") && origin.contains("ipVer"))
    {
        const SdpCode code =
            ConvertIpAddress(StringOf(origin["address"]), origin["ipVer"].get<uint32_t>(), Session.Origin.Address);
        if (code != kSdpSuccess) return code;
    }
    TakeIfPresent(origin, "username", Session.Origin.Username);
    // Only the low 32 bits of the two numbers are kept.
    uint32_t low = 0;
    if (origin.contains("sessionId"))
    {
        TakeIfPresent(origin, "sessionId", low);
        Session.Origin.SessionId = low;
    }
    if (origin.contains("sessionVersion"))
    {
        TakeIfPresent(origin, "sessionVersion", low);
        Session.Origin.SessionVersion = low;
    }
    return kSdpSuccess;
}

SdpCode SdpModule::ConvertIpAddress(const std::string& text, uint32_t version, SdpIpAddress& address)
{
    if (version != kIpVersion4 && version != kIpVersion6)
        return Fail(kSdpLineWrong, "Unsupported IP version (" + std::to_string(version) + ") in connection.");
    address.Version = version;
    int converted = 0;
    if (version == kIpVersion4)
    {
        in_addr network{};
        converted = inet_pton(AF_INET, text.c_str(), &network);
        address.Address.V4 = ntohl(network.s_addr);
    }
    else
    {
        converted = inet_pton(AF_INET6, text.c_str(), address.Address.V6);
    }
    if (converted == 1) return kSdpSuccess;
    return Fail(kSdpLineWrong, "IP address (" + text +
                                   ") could not be properly converted to binary using inet_pton. Error : " +
                                   std::to_string(converted));
}

SdpCode SdpModule::ParseSdpMedias(const json& tree)
{
    const auto medias = tree.find("media");
    if (medias == tree.end()) return Fail(kSdpNoMedia, "Fatal error : no media tag found");
    if (medias->empty()) WarningSink("No media was found"); // whether that is enough is the caller's decision
    for (size_t i = 0; i < medias->size(); ++i)
    {
        const SdpCode code = ParseSdpMedia((*medias)[i], i);
        if (code != kSdpSuccess) return code;
    }
    return kSdpSuccess;
}

SdpCode SdpModule::ParseSdpMedia(const json& media, size_t index)
{
    const std::string number = std::to_string(index);
    const auto& type = StringOf(media.at("type"));
    std::unique_ptr<SdpMedia> made;
    SdpCode code = kSdpSuccess;
    if (type == "video")
        code = ParseVideoMedia(media, made);
    else if (type == "audio")
        code = ParseAudioMedia(media, made);
    else
        WarningSink("The media with index " + number + " as an unsupported type : " + type);
    // Without a record nothing is left to fill; the warning has told why, and the list gets no empty place.
    if (code != kSdpSuccess || !made) return code;

    SdpMedia& record = *Medias.emplace_back(std::move(made));
    if (!media.contains("port"))
        return Fail(kSdpLineWrong, "No UDP port is associated with the media with index " + number);
    TakeIfPresent(media, "port", record.Port);

    code = ParsePayloads(media, index, record.PayloadType);
    if (code != kSdpSuccess) return code;

    if (!media.contains("connection")) // that of the session counts for no media
        return Fail(kSdpLineWrong, "No connection is associated with the media with index " + number);
    code = ParseConnection(media["connection"], record.Destination);
    if (code != kSdpSuccess) return code;

    if (const auto clock = media.find("mediaclk"); clock != media.end())
    {
        const auto value = FindSdpValue(kSdpMediaClocks, Trimmed(SplitText(StringOf(*clock), ' ').front()));
        if (!value) return kSdpValueUnsupported;
        record.MediaClock = *value;
    }
    if (const auto clock = media.find("tsRefclk"); clock != media.end())
    {
        code = ParseRefClock(StringOf(*clock), record.RefClock);
        if (code != kSdpSuccess) return code;
    }
    if (const auto formats = media.find("fmtp"); formats != media.end())
    {
        code = ParseTimestamps(*formats, record);
        if (code != kSdpSuccess) return code;
    }
    TakeIfPresent(media, "mid", record.Mid);
    return kSdpSuccess;
}

SdpCode SdpModule::ParsePayloads(const json& media, size_t index, uint8_t& payloadType)
{
    const std::string number = std::to_string(index);
    std::vector<int32_t> payloads;
    if (const auto found = media.find("payloads"); found != media.end()) payloads = ParsePayloadList(StringOf(*found));
    if (payloads.empty()) return Fail(kSdpLineWrong, "No payload is associated with the media with index " + number);
    if (payloads.size() == 1)
        payloadType = static_cast<uint8_t>(payloads.front());
    else // the type stays 0, whatever the words say
        WarningSink("Multiple payloads are associated with the media with index " + number + ". Only the first one (" +
                    std::to_string(payloads.front()) + ") is accounted for.");
    return kSdpSuccess;
}

SdpCode SdpModule::ParseConnection(const json& connection, SdpIpAddress& address)
{
    // The value is an object, so that taking it as a string raises the tree's type error: neither sentence arrives.
    if (!connection.contains("version"))
        return Fail(kSdpLineWrong, "IP version not found in connection : " + StringOf(connection));
    if (!connection.contains("ip"))
        return Fail(kSdpLineWrong, "IP address not found in connection : " + StringOf(connection));
    return ConvertIpAddress(StringOf(connection["ip"]), connection["version"].get<uint32_t>(), address);
}

SdpCode SdpModule::ParseRefClock(const std::string& value, SdpRefClock& clock)
{
    constexpr const char* kPtp = "ptp=IEEE1588-2008";
    const std::vector<std::string_view> pieces = SplitText(value, ':');
    if (pieces.front() == kPtp)
    {
        if (pieces.size() == 3)
        {
            clock.Type = SDP_REFCLOCK_TYPE::Ptp;
            clock.Domain = static_cast<uint8_t>(ToInt32(std::string(pieces[2])));
            if (!StoreReversed(SplitText(pieces[1], '-'), 8, clock.Id))
                WarningSink("Incorrectly formated grandmaster id. It should be 8 bytes long : " +
                            std::string(pieces[1]));
        }
        else if (pieces.size() == 2 && pieces[1] == "traceable")
        {
            clock.Type = SDP_REFCLOCK_TYPE::PtpTraceable;
        }
        else
        {
            WarningSink(std::string("Incorrectly formated reference clock \"") + kPtp + "\" : " + value);
        }
    }
    else if (pieces.front().starts_with("localmac"))
    {
        if (StoreReversed(SplitText(SplitText(pieces.front(), '=').at(1), '-'), 6, clock.Id))
            clock.Type = SDP_REFCLOCK_TYPE::LocalMac;
        else // a MAC address has no colon, so that most often there is no second piece and this raises out-of-range
            WarningSink("Incorrectly formated grandmaster id. It should be 8 bytes long : " +
                        std::string(pieces.at(1)));
    }
    else
    {
        WarningSink("Unsupported refclock type : " + std::string(pieces.front()) + ". Only \"" + kPtp +
                    "\" and \"localmac\" are supported.");
    }
    return kSdpSuccess;
}

SdpCode SdpModule::ParseTimestamps(const json& formats, SdpMedia& record)
{
    for (const json& format : formats)
        for (const std::string_view parameter : SplitText(StringOf(format.at("config")), ';'))
        {
            const std::vector<std::string_view> tokens = SplitText(parameter, '=');
            if (tokens.size() != 2) continue;
            const std::string_view key = Trimmed(tokens[0]);
            const std::string_view value = Trimmed(tokens[1]);
            if (key == "TSMODE")
            {
                const auto mode = FindSdpValue(kSdpTsModes, value);
                if (!mode) return kSdpValueUnsupported;
                record.TsMode = *mode;
            }
            else if (key == "TSDELAY" && AllDigits(value)) // an empty value is all digits, and no number
            {
                record.TsDelayPresent = true;
                record.TsDelay = static_cast<uint32_t>(ToInt32(std::string(value)));
            }
        }
    return kSdpSuccess;
}

} // namespace quill::sdp_module

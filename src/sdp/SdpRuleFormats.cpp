// Formats of the rows whose text depends on which of their optional fields are there.
#include "sdp/SdpRuleFormats.h"

#include <nlohmann/json.hpp>

namespace quill::sdp_module
{
namespace
{
// The text to take if `key` has a value, else the other one.
const char* Either(const nlohmann::json& value, const char* key, const char* present, const char* absent)
{
    return HasRuleValue(value, key) ? present : absent;
}
} // namespace

bool HasRuleValue(const nlohmann::json& value, const std::string& key)
{
    if (!value.is_object()) return false;
    const auto found = value.find(key);
    if (found == value.end()) return false;
    if (found->is_string()) return !found->get_ref<const std::string&>().empty();
    return found->is_number();
}

std::string FormatConnection(const nlohmann::json& value)
{
    return Either(value, "ttl", "IN IP%d %s/%d", "IN IP%d %s");
}

std::string FormatMedia(const nlohmann::json& value)
{
    return Either(value, "numPorts", "%s %d/%d %s %s", "%s %d%v %s %s");
}

std::string FormatRtp(const nlohmann::json& value)
{
    if (HasRuleValue(value, "encoding")) return "rtpmap:%d %s/%s/%s";
    return Either(value, "rate", "rtpmap:%d %s/%s", "rtpmap:%d %s");
}

std::string FormatRtcp(const nlohmann::json& value)
{
    return Either(value, "address", "rtcp:%d %s IP%d %s", "rtcp:%d");
}

std::string FormatRtcpFb(const nlohmann::json& value)
{
    return Either(value, "subtype", "rtcp-fb:%s %s %s", "rtcp-fb:%s %s");
}

std::string FormatExt(const nlohmann::json& value)
{
    return std::string("extmap:%d") + Either(value, "direction", "/%s", "%v") +
           Either(value, "encrypt-uri", " %s", "%v") + " %s" + Either(value, "config", " %s", "");
}

std::string FormatCrypto(const nlohmann::json& value)
{
    return Either(value, "sessionConfig", "crypto:%d %s %s %s", "crypto:%d %s %s");
}

std::string FormatCandidates(const nlohmann::json& value)
{
    // A missing generation leaves its place open on purpose, and the two network fields then move up by one.
    return std::string("candidate:%s %d %s %d %s %d typ %s") + Either(value, "raddr", " raddr %s rport %d", "%v%v") +
           Either(value, "tcptype", " tcptype %s", "%v") + Either(value, "generation", " generation %d", "") +
           Either(value, "network-id", " network-id %d", "%v") +
           Either(value, "network-cost", " network-cost %d", "%v");
}

std::string FormatSsrcs(const nlohmann::json& value)
{
    std::string format = "ssrc:%d";
    if (HasRuleValue(value, "attribute")) format += std::string(" %s") + Either(value, "value", ":%s", "");
    return format;
}

std::string FormatSctpmap(const nlohmann::json& value)
{
    return Either(value, "maxMessageSize", "sctpmap:%s %s %s", "sctpmap:%s %s");
}

std::string FormatRids(const nlohmann::json& value)
{
    return Either(value, "params", "rid:%s %s %s", "rid:%s %s");
}

std::string FormatImageattrs(const nlohmann::json& value)
{
    return Either(value, "dir2", "imageattr:%s %s %s %s %s", "imageattr:%s %s %s");
}

std::string FormatSimulcast(const nlohmann::json& value)
{
    return Either(value, "dir2", "simulcast:%s %s %s %s", "simulcast:%s %s");
}

} // namespace quill::sdp_module

// The rows of the grammar.
#include "sdp/SdpRuleTable.h"

#include "sdp/SdpRuleFormats.h"

#include <initializer_list>
#include <utility>

namespace quill::sdp_module
{
namespace
{
using Names = std::initializer_list<std::string>;

// A format is a text or a function that makes it from the fields that are there.
struct Format
{
    // Both convert on purpose: a row names the one it has.
    Format(const char* text) : Text(text) {}
    Format(std::string (*function)(const nlohmann::json&)) : Function(function) {}

    std::string Text;
    std::string (*Function)(const nlohmann::json&) = nullptr;
};

SdpRule Row(const char* name, const char* push, const char* reg, Names names, const char* types, Format format)
{
    return {name, push, SdpExpression(reg), names, types, std::move(format.Text), format.Function};
}

// One value under `name`: the last line wins.
SdpRule Value(const char* name, const char* reg, char type, const char* format)
{
    const char types[] = {type, '\0'};
    return Row(name, "", reg, {}, types, format);
}

// One object under `name`, into which every line of the row is merged.
SdpRule Object(const char* name, const char* reg, Names names, const char* types, Format format)
{
    return Row(name, "", reg, names, types, std::move(format));
}

// An array under `push` that grows by one object with each line.
SdpRule List(const char* push, const char* reg, Names names, const char* types, Format format)
{
    return Row("", push, reg, names, types, std::move(format));
}

// The captures stand in the location itself: the object that the line has opened.
SdpRule Place(const char* reg, Names names, const char* types, Format format)
{
    return Row("", "", reg, names, types, std::move(format));
}

// The class in the middle excludes the backslash, the capital S and the slash, and a blank does not end the address.
constexpr const char* kConnection = R"(^IN IP(\d) ([^\\S/]*)(?:/(\d*))?)";

constexpr const char* kCandidate = R"(^candidate:(\S*) (\d*) (\S*) (\d*) (\S*) (\d*) typ (\S*))"
                                   R"((?: raddr (\S*) rport (\d*))?(?: tcptype (\S*))?(?: generation (\d*))?)"
                                   R"((?: network-id (\d*))?(?: network-cost (\d*))?)";
constexpr const char* kExtmap =
    R"(^extmap:(\d+)(?:\/(\w+))?(?: (urn:ietf:params:rtp-hdrext:encrypt))? (\S*)(?: (\S*))?)";
constexpr const char* kImageattr = R"(^imageattr:(\d+|\*))"
                                   R"([\s\t]+(send|recv)[\s\t]+(\*|\[\S+\](?:[\s\t]+\[\S+\])*))"
                                   R"((?:[\s\t]+(recv|send)[\s\t]+(\*|\[\S+\](?:[\s\t]+\[\S+\])*))?)";
constexpr const char* kSimulcast = R"(^simulcast:)"
                                   R"((send|recv) ([a-zA-Z0-9\-_~;,]+))"
                                   R"((?:\s?(send|recv) ([a-zA-Z0-9\-_~;,]+))?)"
                                   R"($)";
constexpr const char* kSourceFilter = R"(^source-filter:[\s\t]+(excl|incl) (\S*) (IP4|IP6|\*) (\S*) (.*))";

// clang-format off
std::vector<SdpRule> AttributeRules()
{
    return {
        // Narrow stands above wide: the first row that is found in a line takes it.
        List("rtp", R"(^rtpmap:(\d*) ([\w\-\.]*)(?:\s*\/(\d*)(?:\s*\/(\S*))?)?)", {"payload", "codec", "rate", "encoding"}, "dsds", FormatRtp),
        List("fmtp", R"(^fmtp:(\d*) (.*))", {"payload", "config"}, "ds", "fmtp:%d %s"),
        Value("control", R"(^control:(.*))", 's', "control:%s"),
        Object("rtcp", R"(^rtcp:(\d*)(?: (\S*) IP(\d) (\S*))?)", {"port", "netType", "ipVer", "address"}, "dsds", FormatRtcp),
        List("rtcpFbTrrInt", R"(^rtcp-fb:(\*|\d*) trr-int (\d*))", {"payload", "value"}, "sd", "rtcp-fb:%s trr-int %d"),
        List("rtcpFb", R"(^rtcp-fb:(\*|\d*) ([\w\-_]*)(?: ([\w\-_]*))?)", {"payload", "type", "subtype"}, "sss", FormatRtcpFb),
        List("ext", kExtmap, {"value", "direction", "encrypt-uri", "uri", "config"}, "dssss", FormatExt),
        Value("extmapAllowMixed", R"(^(extmap-allow-mixed))", 's', "%s"),
        List("crypto", R"(^crypto:(\d*) ([\w_]*) (\S*)(?: (\S*))?)", {"id", "suite", "config", "sessionConfig"}, "dsss", FormatCrypto),
        Value("setup", R"(^setup:(\w*))", 's', "setup:%s"),
        Value("mid", R"(^mid:([^\s]*))", 's', "mid:%s"),
        Value("msid", R"(^msid:(.*))", 's', "msid:%s"),
        Value("ptime", R"(^ptime:(\d+(?:$|\.\d+)))", 'f', "ptime:%s"),
        Value("maxptime", R"(^maxptime:(\d*))", 'd', "maxptime:%d"),
        Value("direction", R"(^(sendrecv|recvonly|sendonly|inactive))", 's', "%s"),
        Value("icelite", R"(^(ice-lite))", 's', "%s"),
        Value("iceUfrag", R"(^ice-ufrag:(\S*))", 's', "ice-ufrag:%s"),
        Value("icePwd", R"(^ice-pwd:(\S*))", 's', "ice-pwd:%s"),
        Object("fingerprint", R"(^fingerprint:(\S*) (\S*))", {"type", "hash"}, "ss", "fingerprint:%s %s"),
        // One type letter to spare.
        List("candidates", kCandidate, {"foundation", "component", "transport", "priority", "ip", "port", "type", "raddr", "rport", "tcptype", "generation", "network-id", "network-cost"}, "sdsdsdssdsdddd", FormatCandidates),
        Value("endOfCandidates", R"(^(end-of-candidates))", 's', "%s"),
        Value("remoteCandidates", R"(^remote-candidates:(.*))", 's', "remote-candidates:%s"),
        Value("iceOptions", R"(^ice-options:(\S*))", 's', "ice-options:%s"),
        List("ssrcs", R"(^ssrc:(\d*) ([\w_-]*)(?::(.*))?)", {"id", "attribute", "value"}, "dss", FormatSsrcs),
        List("ssrcGroups", R"(^ssrc-group:([!#$%&'*+-.\w]*) (.*))", {"semantics", "ssrcs"}, "ss", "ssrc-group:%s %s"),
        Object("msidSemantic", R"(^msid-semantic:\s?(\w*) (\S*))", {"semantic", "token"}, "ss", "msid-semantic: %s %s"),
        List("groups", R"(^group:(\w*) (.*))", {"type", "mids"}, "ss", "group:%s %s"),
        Value("rtcpMux", R"(^(rtcp-mux))", 's', "%s"),
        Value("rtcpRsize", R"(^(rtcp-rsize))", 's', "%s"),
        Object("sctpmap", R"(^sctpmap:(\d+) (\S*)(?: (\d*))?)", {"sctpmapNumber", "app", "maxMessageSize"}, "dsd", FormatSctpmap),
        Value("xGoogleFlag", R"(x-google-flag:([^\s]*))", 's', "x-google-flag:%s"), // may stand anywhere in the line
        List("rids", R"(^rid:([\d\w]+) (\w+)(?: (.*))?)", {"id", "direction", "params"}, "sss", FormatRids),
        List("imageattrs", kImageattr, {"pt", "dir1", "attrs1", "dir2", "attrs2"}, "sssss", FormatImageattrs),
        Object("simulcast", kSimulcast, {"dir1", "list1", "dir2", "list2"}, "ssss", FormatSimulcast),
        Object("simulcast_03", R"(^simulcast: (.+)$)", {"value"}, "s", "simulcast: %s"),
        Value("framerate", R"(^framerate:(\d+(?:$|\.\d+)))", 'f', "framerate:%s"),
        Object("sourceFilter", kSourceFilter, {"filterMode", "netType", "addressTypes", "destAddress", "srcList"}, "sssss", "source-filter: %s %s %s %s %s"),
        Value("tsRefclk", R"(^ts-refclk:(.*))", 's', "ts-refclk:%s"),
        Value("mediaclk", R"(^mediaclk:(.*))", 's', "mediaclk:%s"),
        List("invalid", R"((.*))", {"value"}, "s", "%s"), // found in anything, keeps unknown attributes: stays last
    };
}

SdpRules BuildRules()
{
    return {
        {'v', {Value("version", R"(^(\d*)$)", 'd', "%d")}},
        {'o', {Object("origin", R"(^(\S*) (\d*) (\d*) (\S*) IP(\d) (\S*))", {"username", "sessionId", "sessionVersion", "netType", "ipVer", "address"}, "suusds", "%s %d %d %s IP%d %s")}},
        {'s', {Value("name", R"((.*))", 's', "%s")}},
        {'i', {Value("description", R"((.*))", 's', "%s")}},
        {'u', {Value("uri", R"((.*))", 's', "%s")}},
        {'e', {Value("email", R"((.*))", 's', "%s")}},
        {'p', {Value("phone", R"((.*))", 's', "%s")}},
        {'z', {Value("timezones", R"((.*))", 's', "%s")}},
        {'r', {Value("repeats", R"((.*))", 's', "%s")}},
        {'t', {Object("timing", R"(^(\d*) (\d*))", {"start", "stop"}, "dd", "%d %d")}},
        {'c', {Object("connection", kConnection, {"version", "ip", "ttl"}, "dsd", FormatConnection)}},
        {'b', {List("bandwidth", R"(^(TIAS|AS|CT|RR|RS):(\d*))", {"type", "limit"}, "sd", "%s:%d")}},
        {'m', {Place(R"(^(\w*) (\d*)(?:/(\d*))? ([\w\/]*)(?: (.*))?)", {"type", "port", "numPorts", "protocol", "payloads"}, "sddss", FormatMedia)}},
        {'a', AttributeRules()},
    };
}
// clang-format on
} // namespace

const SdpRules& SdpRuleTable()
{
    // Local: a parser in another file's initialiser finds it whole. Never destroyed: a thread may still read while the
    // process ends.
    static const SdpRules& rules = *new const SdpRules(BuildRules());
    return rules;
}

// Builds the table at load, so that no parse pays for it.
[[maybe_unused]] static const SdpRules& kBuiltAtLoad = SdpRuleTable();

} // namespace quill::sdp_module

// The formats that depend on which fields are there.
#include "sdp/SdpRuleFormats.h"
#include "sdp/SdpRuleTable.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <iterator>
#include <map>
#include <string>
#include <utility>

using namespace quill::sdp_module;
using nlohmann::json;

TEST(HasRuleValue, HoldsForNumbersAndStringsThatAreNotEmpty)
{
    const json value = {{"text", "a"},
                        {"empty", ""},
                        {"signed", -1},
                        {"unsigned", 1u},
                        {"float", 0.0},
                        {"null", nullptr},
                        {"flag", true},
                        {"object", json::object()},
                        {"array", json::array({1})}};
    for (const char* key : {"text", "signed", "unsigned", "float"})
        EXPECT_TRUE(HasRuleValue(value, key)) << key;
    for (const char* key : {"empty", "null", "flag", "object", "array", "absent"})
        EXPECT_FALSE(HasRuleValue(value, key)) << key;
    EXPECT_FALSE(HasRuleValue(json::array({"text"}), "text"));
    EXPECT_FALSE(HasRuleValue(json("text"), "text"));
}

namespace
{
struct FormatCase
{
    char letter;
    const char* key; // the row's name or push; empty: the letter has one row
    const char* value;
    const char* format;
};

const FormatCase kFormatCases[] = {
    {'c', "connection", R"({"ttl":64})", "IN IP%d %s/%d"},
    {'c', "connection", R"({})", "IN IP%d %s"},
    {'m', "", R"({"numPorts":2})", "%s %d/%d %s %s"},
    {'m', "", R"({})", "%s %d%v %s %s"},
    {'a', "rtp", R"({"encoding":"2","rate":48000})", "rtpmap:%d %s/%s/%s"},
    {'a', "rtp", R"({"rate":90000})", "rtpmap:%d %s/%s"},
    {'a', "rtp", R"({})", "rtpmap:%d %s"},
    {'a', "rtcp", R"({"address":"10.0.0.1"})", "rtcp:%d %s IP%d %s"},
    {'a', "rtcp", R"({})", "rtcp:%d"},
    {'a', "rtcpFb", R"({"subtype":"pli"})", "rtcp-fb:%s %s %s"},
    {'a', "rtcpFb", R"({})", "rtcp-fb:%s %s"},
    {'a', "ext", R"({"direction":"x","encrypt-uri":"y","config":"z"})", "extmap:%d/%s %s %s %s"},
    {'a', "ext", R"({})", "extmap:%d%v%v %s"},
    {'a', "crypto", R"({"sessionConfig":"x"})", "crypto:%d %s %s %s"},
    {'a', "crypto", R"({})", "crypto:%d %s %s"},
    {'a', "candidates", R"({"raddr":"x","tcptype":"y","generation":1,"network-id":2,"network-cost":3})",
     "candidate:%s %d %s %d %s %d typ %s raddr %s rport %d tcptype %s generation %d network-id %d network-cost %d"},
    {'a', "candidates", R"({})", "candidate:%s %d %s %d %s %d typ %s%v%v%v%v%v"},
    {'a', "candidates", R"({"network-id":5})", "candidate:%s %d %s %d %s %d typ %s%v%v%v network-id %d%v"},
    {'a', "ssrcs", R"({"attribute":"cname","value":"x"})", "ssrc:%d %s:%s"},
    {'a', "ssrcs", R"({"attribute":"cname"})", "ssrc:%d %s"},
    {'a', "ssrcs", R"({"value":"x"})", "ssrc:%d"},
    {'a', "sctpmap", R"({"maxMessageSize":1})", "sctpmap:%s %s %s"},
    {'a', "sctpmap", R"({})", "sctpmap:%s %s"},
    {'a', "rids", R"({"params":"x"})", "rid:%s %s %s"},
    {'a', "rids", R"({})", "rid:%s %s"},
    {'a', "imageattrs", R"({"dir2":"recv"})", "imageattr:%s %s %s %s %s"},
    {'a', "imageattrs", R"({})", "imageattr:%s %s %s"},
    {'a', "simulcast", R"({"dir2":"recv"})", "simulcast:%s %s %s %s"},
    {'a', "simulcast", R"({})", "simulcast:%s %s"},
};
} // namespace

TEST(RuleFormats, FollowTheFieldsThatAreThere)
{
    for (const FormatCase& expected : kFormatCases)
    {
        bool found = false;
        for (const SdpRule& rule : SdpRuleTable().at(expected.letter))
        {
            if (rule.name + rule.push != expected.key) continue;
            found = true;
            ASSERT_TRUE(rule.formatFunc) << expected.key;
            EXPECT_EQ(rule.formatFunc(json::parse(expected.value)), expected.format) << expected.value;
        }
        EXPECT_TRUE(found) << expected.key;
    }
}

TEST(RuleFormats, ThirteenRowsHaveAFunction)
{
    size_t functions = 0;
    for (const auto& [letter, rows] : SdpRuleTable())
        for (const SdpRule& rule : rows)
            functions += rule.formatFunc != nullptr;
    EXPECT_EQ(functions, 13u);
}

TEST(RuleFormats, PlainRowsWriteTheirTextBack)
{
    const std::pair<const std::string, std::string> formats[] = {
        {"fmtp", "fmtp:%d %s"},
        {"control", "control:%s"},
        {"rtcpFbTrrInt", "rtcp-fb:%s trr-int %d"},
        {"extmapAllowMixed", "%s"},
        {"setup", "setup:%s"},
        {"mid", "mid:%s"},
        {"msid", "msid:%s"},
        {"ptime", "ptime:%s"},
        {"maxptime", "maxptime:%d"},
        {"direction", "%s"},
        {"icelite", "%s"},
        {"iceUfrag", "ice-ufrag:%s"},
        {"icePwd", "ice-pwd:%s"},
        {"fingerprint", "fingerprint:%s %s"},
        {"endOfCandidates", "%s"},
        {"remoteCandidates", "remote-candidates:%s"},
        {"iceOptions", "ice-options:%s"},
        {"ssrcGroups", "ssrc-group:%s %s"},
        {"msidSemantic", "msid-semantic: %s %s"},
        {"groups", "group:%s %s"},
        {"rtcpMux", "%s"},
        {"rtcpRsize", "%s"},
        {"xGoogleFlag", "x-google-flag:%s"},
        {"simulcast_03", "simulcast: %s"},
        {"framerate", "framerate:%s"},
        {"sourceFilter", "source-filter: %s %s %s %s %s"},
        {"tsRefclk", "ts-refclk:%s"},
        {"mediaclk", "mediaclk:%s"},
        {"invalid", "%s"},
        {"version", "%d"},
        {"origin", "%s %d %d %s IP%d %s"},
        {"name", "%s"},
        {"description", "%s"},
        {"uri", "%s"},
        {"email", "%s"},
        {"phone", "%s"},
        {"timezones", "%s"},
        {"repeats", "%s"},
        {"timing", "%d %d"},
        {"bandwidth", "%s:%d"},
    };
    std::map<std::string, std::string> rows;
    for (const auto& [letter, rules] : SdpRuleTable())
        for (const SdpRule& rule : rules)
            if (!rule.format.empty()) rows[rule.name + rule.push] = rule.format;
    EXPECT_EQ(rows, std::map(std::begin(formats), std::end(formats)));
}

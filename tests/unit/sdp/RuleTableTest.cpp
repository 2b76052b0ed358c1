// The rows of the grammar: their form, and a line for each that reaches it and none above it.
#include "sdp/SdpParser.h"
#include "sdp/SdpRuleTable.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <set>
#include <string>
#include <utility>

using namespace quill::sdp_module;
using nlohmann::json;

namespace
{
struct SampleLine
{
    char letter;
    size_t row; // place in the array of its letter
    const char* content;
    const char* tree; // what the line leaves in its location
};

const SampleLine kSampleLines[] = {
    {'v', 0, "3", R"({"version":3})"},
    {'o', 0, "cam 12 34 IN IP4 10.0.0.1",
     R"({"origin":{"address":"10.0.0.1","ipVer":4,"netType":"IN","sessionId":12,"sessionVersion":34,"username":"cam"}})"},
    {'s', 0, "Camera 1", R"({"name":"Camera 1"})"},
    {'i', 0, "Left wing", R"({"description":"Left wing"})"},
    {'u', 0, "http://example.org/a", R"({"uri":"http://example.org/a"})"},
    {'e', 0, "crew@example.org", R"({"email":"crew@example.org"})"},
    {'p', 0, "+41 00 000", R"({"phone":"+41 00 000"})"},
    {'z', 0, "2882844526 -1h", R"({"timezones":"2882844526 -1h"})"},
    {'r', 0, "7d 1h 0 25h", R"({"repeats":"7d 1h 0 25h"})"},
    {'t', 0, "10 20", R"({"timing":{"start":10,"stop":20}})"},
    {'c', 0, "IN IP4 239.1.2.3/64", R"({"connection":{"ip":"239.1.2.3","ttl":64,"version":4}})"},
    {'b', 0, "TIAS:128", R"({"bandwidth":[{"limit":128,"type":"TIAS"}]})"},
    {'m', 0, "video 5000/2 RTP/AVP 96 97",
     R"({"fmtp":[],"numPorts":2,"payloads":"96 97","port":5000,"protocol":"RTP/AVP","rtp":[],"type":"video"})"},
    {'a', 0, "rtpmap:97 L24/48000/8", R"({"rtp":[{"codec":"L24","encoding":"8","payload":97,"rate":48000}]})"},
    {'a', 1, "fmtp:96 width=1920; interlace", R"({"fmtp":[{"config":"width=1920; interlace","payload":96}]})"},
    {'a', 2, "control:track1", R"({"control":"track1"})"},
    {'a', 3, "rtcp:5001 IN IP4 10.0.0.2", R"({"rtcp":{"address":"10.0.0.2","ipVer":4,"netType":"IN","port":5001}})"},
    {'a', 4, "rtcp-fb:* trr-int 100", R"({"rtcpFbTrrInt":[{"payload":"*","value":100}]})"},
    {'a', 5, "rtcp-fb:98 nack rpsi", R"({"rtcpFb":[{"payload":"98","subtype":"rpsi","type":"nack"}]})"},
    {'a', 6, "extmap:2/sendrecv urn:ietf:params:rtp-hdrext:encrypt urn:x:toffset long",
     R"({"ext":[{"config":"long","direction":"sendrecv","encrypt-uri":"urn:ietf:params:rtp-hdrext:encrypt",)"
     R"("uri":"urn:x:toffset","value":2}]})"},
    {'a', 7, "extmap-allow-mixed", R"({"extmapAllowMixed":"extmap-allow-mixed"})"},
    {'a', 8, "crypto:1 AES_CM_128 inline:abc KDR=1",
     R"({"crypto":[{"config":"inline:abc","id":1,"sessionConfig":"KDR=1","suite":"AES_CM_128"}]})"},
    {'a', 9, "setup:actpass", R"({"setup":"actpass"})"},
    {'a', 10, "mid:primary", R"({"mid":"primary"})"},
    {'a', 11, "msid:stream track", R"({"msid":"stream track"})"},
    {'a', 12, "ptime:0.125", R"({"ptime":0.125})"},
    {'a', 13, "maxptime:60", R"({"maxptime":60})"},
    {'a', 14, "recvonly", R"({"direction":"recvonly"})"},
    {'a', 15, "ice-lite", R"({"icelite":"ice-lite"})"},
    {'a', 16, "ice-ufrag:F7gI", R"({"iceUfrag":"F7gI"})"},
    {'a', 17, "ice-pwd:x9cml", R"({"icePwd":"x9cml"})"},
    {'a', 18, "fingerprint:SHA-1 00:11:22", R"({"fingerprint":{"hash":"00:11:22","type":"SHA-1"}})"},
    {'a', 19,
     "candidate:0 1 UDP 2113667327 203.0.113.1 54400 typ srflx raddr 10.0.0.9 rport 60000 tcptype active generation 3 "
     "network-id 5 network-cost 50",
     R"({"candidates":[{"component":1,"foundation":"0","generation":3,"ip":"203.0.113.1","network-cost":50,)"
     R"("network-id":5,"port":54400,"priority":2113667327,"raddr":"10.0.0.9","rport":60000,"tcptype":"active",)"
     R"("transport":"UDP","type":"srflx"}]})"},
    {'a', 20, "end-of-candidates", R"({"endOfCandidates":"end-of-candidates"})"},
    {'a', 21, "remote-candidates:1 203.0.113.1 54400", R"({"remoteCandidates":"1 203.0.113.1 54400"})"},
    {'a', 22, "ice-options:trickle", R"({"iceOptions":"trickle"})"},
    {'a', 23, "ssrc:2566107569 cname:t9YU", R"({"ssrcs":[{"attribute":"cname","id":2566107569,"value":"t9YU"}]})"},
    {'a', 24, "ssrc-group:FEC-FR+x 1 2", R"({"ssrcGroups":[{"semantics":"FEC-FR+x","ssrcs":"1 2"}]})"},
    {'a', 25, "msid-semantic: WMS Jvlam", R"({"msidSemantic":{"semantic":"WMS","token":"Jvlam"}})"},
    {'a', 26, "group:DUP one two", R"({"groups":[{"mids":"one two","type":"DUP"}]})"},
    {'a', 27, "rtcp-mux", R"({"rtcpMux":"rtcp-mux"})"},
    {'a', 28, "rtcp-rsize", R"({"rtcpRsize":"rtcp-rsize"})"},
    {'a', 29, "sctpmap:5000 webrtc-datachannel 1024",
     R"({"sctpmap":{"app":"webrtc-datachannel","maxMessageSize":1024,"sctpmapNumber":5000}})"},
    {'a', 30, "an x-google-flag:conference here", R"({"xGoogleFlag":"conference"})"},
    {'a', 31, "rid:1 send max-width=1280", R"({"rids":[{"direction":"send","id":"1","params":"max-width=1280"}]})"},
    {'a', 32, "imageattr:97 send [x=800] [x=480] recv *",
     R"({"imageattrs":[{"attrs1":"[x=800] [x=480]","attrs2":"*","dir1":"send","dir2":"recv","pt":"97"}]})"},
    {'a', 33, "simulcast:send 1;~4 recv 6",
     R"({"simulcast":{"dir1":"send","dir2":"recv","list1":"1;~4","list2":"6"}})"},
    {'a', 34, "simulcast: recv pt=97;98 send pt=97", R"({"simulcast_03":{"value":"recv pt=97;98 send pt=97"}})"},
    {'a', 35, "framerate:29.97", R"({"framerate":29.97})"},
    {'a', 36, "source-filter: incl IN IP4 239.5.2.31 10.1.15.5 10.1.15.6",
     R"({"sourceFilter":{"addressTypes":"IP4","destAddress":"239.5.2.31","filterMode":"incl","netType":"IN",)"
     R"("srcList":"10.1.15.5 10.1.15.6"}})"},
    {'a', 37, "ts-refclk:localmac=00-11-22-33-44-55", R"({"tsRefclk":"localmac=00-11-22-33-44-55"})"},
    {'a', 38, "mediaclk:direct=0", R"({"mediaclk":"direct=0"})"},
    {'a', 39, "vendor-thing:yes", R"({"invalid":[{"value":"vendor-thing:yes"}]})"},
};

std::string Label(const SampleLine& sample)
{
    return std::string(1, sample.letter) + "=" + sample.content;
}
} // namespace

TEST(SdpRuleTable, HasFourteenLettersWithOneRowEachButFortyAttributes)
{
    std::string letters;
    for (const auto& [letter, rows] : SdpRuleTable())
    {
        letters += letter;
        EXPECT_EQ(rows.size(), letter == 'a' ? 40u : 1u) << letter;
    }
    EXPECT_EQ(letters, "abceimoprstuvz");
}

TEST(SdpRuleTable, EveryRowHasANameOrAPushButTheMediaLine)
{
    for (const auto& [letter, rows] : SdpRuleTable())
        for (const SdpRule& rule : rows)
        {
            const int keys = !rule.name.empty() + !rule.push.empty();
            EXPECT_EQ(keys, letter == 'm' ? 0 : 1) << rule.reg.Text();
            EXPECT_FALSE(rule.names.empty() && rule.name.empty()) << rule.reg.Text();
        }
}

TEST(SdpRuleTable, EveryCaptureHasANameAndATypeLetterAndCandidatesHaveOneToSpare)
{
    for (const auto& [letter, rows] : SdpRuleTable())
        for (const SdpRule& rule : rows)
        {
            const size_t captures = rule.names.empty() ? 1 : rule.names.size();
            EXPECT_EQ(rule.reg.CaptureCount(), captures) << rule.reg.Text();
            EXPECT_EQ(rule.types.size(), captures + (rule.push == "candidates")) << rule.reg.Text();
            EXPECT_EQ(rule.types.find_first_not_of("sduf"), std::string::npos) << rule.types;
        }
}

TEST(SdpRuleTable, EveryRowIsWrittenByAFormatOrByAFunctionAndNeverBoth)
{
    for (const auto& [letter, rows] : SdpRuleTable())
        for (const SdpRule& rule : rows)
            EXPECT_NE(rule.format.empty(), rule.formatFunc == nullptr) << rule.reg.Text();
}

TEST(SdpRuleTable, NoKeyServesTwoRows)
{
    std::set<std::string> keys;
    for (const auto& [letter, rows] : SdpRuleTable())
        for (const SdpRule& rule : rows)
            EXPECT_TRUE(keys.insert(rule.name + rule.push).second) << rule.name << rule.push;
    EXPECT_EQ(keys.size(), 53u); // the media line's is empty
}

TEST(SdpRuleTable, SamplesReachEveryRow)
{
    std::set<std::pair<char, size_t>> reached;
    for (const SampleLine& sample : kSampleLines)
        reached.insert({sample.letter, sample.row});
    EXPECT_EQ(reached.size(), 53u);
}

TEST(SdpRuleTable, ASampleReachesItsRowAndNoneAbove)
{
    SdpMatch match(1000);
    for (const SampleLine& sample : kSampleLines)
    {
        const auto& rows = SdpRuleTable().at(sample.letter);
        size_t first = 0;
        while (first < rows.size() && !rows[first].reg.Find(sample.content, match))
            ++first;
        EXPECT_EQ(first, sample.row) << Label(sample);
    }
}

TEST(SdpRuleTable, ASampleLeavesItsCapturesInTheTree)
{
    for (const SampleLine& sample : kSampleLines)
    {
        json tree = ParseSdpText(Label(sample) + "\r\n");

        json location = std::move(tree["media"]);
        if (sample.letter == 'm')
            location = location.at(0);
        else
        {
            tree.erase("media");
            location = tree;
        }
        EXPECT_EQ(location.dump(), json::parse(sample.tree).dump()) << Label(sample);
    }
}

// The prefix is a short cut: a row whose expression begins with an alternative must not have one.
TEST(SdpExpression, APrefixIsTheLiteralBeginningThatEveryMatchHas)
{
    const std::pair<const char*, const char*> cases[] = {
        {"^rtpmap:(\\d*)", "rtpmap:"},
        {"^(ice-lite)", "ice-lite"},
        {"^(sendrecv|recvonly)", ""},
        {"(.*)", ""},
        {"x-google-flag:(.*)", ""},
        {"^IN IP(\\d)", "IN IP"},
        {"^ab*(c)", "a"},
        {"^ab|cd", ""},
        {"^a(b|c)", "a"},
        {"^a\\|b", "a"},
    };
    for (const auto& [text, prefix] : cases)
        EXPECT_EQ(SdpExpression(text).Prefix(), prefix) << text;
}

TEST(SdpExpression, ATextThatIsNoExpressionIsRefused)
{
    EXPECT_THROW(SdpExpression("(unclosed"), std::invalid_argument);
}

TEST(SdpExpression, ACaptureThatTookNoPartIsEmpty)
{
    const SdpExpression expression("^a(b)?(c)?");
    SdpMatch match(10);
    ASSERT_TRUE(expression.Find("ac", match));
    EXPECT_EQ(match.Capture(0), "ac");
    EXPECT_EQ(match.Capture(1), "");
    EXPECT_EQ(match.Capture(2), "c");
    EXPECT_EQ(match.Capture(3), "");
}

// No expression of the grammar comes near the limit; this one would run for years.
TEST(SdpExpression, ASearchWithoutEndCountsAsNothingFound)
{
    const SdpExpression expression("^(?:a+)+(b)");
    SdpMatch match(40);
    EXPECT_FALSE(expression.Find(std::string(40, 'a') + "c", match));
    EXPECT_EQ(match.Capture(0), "");
}

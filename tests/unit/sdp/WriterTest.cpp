// From a tree to text: order of the lines, the format language, what is left out and what is printed all the same.
#include "sdp/SdpParser.h"
#include "sdp/SdpRuleTable.h"
#include "sdp/SdpWriter.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace quill::sdp_module;
using nlohmann::json;

namespace
{
std::string Written(json tree)
{
    return WriteSdpText(tree);
}

// The lines behind "v=0" and "s=-".
std::string SessionLines(const json& tree)
{
    const std::string text = Written(tree);
    const std::string head = "v=0\r\ns=-\r\n";
    EXPECT_TRUE(text.starts_with(head)) << text;
    return text.substr(head.size());
}

// The lines behind the "m=" line of a single media.
std::string MediaLines(const json& media)
{
    const std::string text = SessionLines({{"media", json::array({media})}});
    return text.substr(text.find("\r\n") + 2);
}

SdpRule RuleOf(const char* name, std::vector<std::string> names, const char* format)
{
    return {name, "", SdpExpression("(.*)"), std::move(names), "", format, nullptr};
}

std::string Line(const SdpRule& rule, const json& location)
{
    std::string text = "before|";
    MakeSdpLine(text, 'a', rule, location);
    return text;
}
} // namespace

TEST(SdpWriter, AnEmptyObjectGivesVersionAndNameAndKeepsThemInTheTree)
{
    json tree = json::object();

    EXPECT_EQ(WriteSdpText(tree), "v=0\r\ns=-\r\n");

    EXPECT_EQ(tree, json::parse(R"({"version":0,"name":"-","media":[]})"));
}

TEST(SdpWriter, AMediaWithoutPayloadsGetsAnEmptyOneInTheTree)
{
    json tree = {{"media", json::array({json::object()})}};

    EXPECT_EQ(WriteSdpText(tree), "v=0\r\ns=-\r\nm=   \r\n");

    EXPECT_EQ(tree["media"], json::parse(R"([{"payloads":""}])"));
}

TEST(SdpWriter, RefusesARootThatIsNoObject)
{
    for (json root : {json::array(), json(nullptr), json("text"), json(1)})
        try
        {
            WriteSdpText(root);
            FAIL() << "nothing was thrown for " << root;
        }
        catch (const std::invalid_argument& error)
        {
            EXPECT_STREQ(error.what(), "given session is not a JSON object");
        }
}

TEST(SdpWriter, WritesTheSessionInItsOwnOrderWithRepeatsAboveTimeZones)
{
    const json tree = json::parse(R"({
        "invalid": [{"value": "x"}], "timezones": "0 1h", "repeats": "7d 1h 0", "timing": {"start": 1, "stop": 2},
        "bandwidth": [{"type": "AS", "limit": 5}, {"type": "CT", "limit": 6}],
        "connection": {"version": 4, "ip": "239.1.2.3", "ttl": 64}, "phone": "+1", "email": "e@x", "uri": "http://x",
        "description": "about", "name": "title", "version": 3,
        "origin": {"username": "me", "sessionId": 1, "sessionVersion": 2, "netType": "IN", "ipVer": 4, "address": "a"}})");

    EXPECT_EQ(Written(tree), "v=3\r\n"
                             "o=me 1 2 IN IP4 a\r\n"
                             "s=title\r\n"
                             "i=about\r\n"
                             "u=http://x\r\n"
                             "e=e@x\r\n"
                             "p=+1\r\n"
                             "c=IN IP4 239.1.2.3/64\r\n"
                             "b=AS:5\r\n"
                             "b=CT:6\r\n"
                             "t=1 2\r\n"
                             "r=7d 1h 0\r\n"
                             "z=0 1h\r\n"
                             "a=x\r\n");
}

TEST(SdpWriter, WritesAMediaInItsOwnOrderAndDropsLinesThatOnlyASessionHas)
{
    const json media = json::parse(R"({
        "type": "video", "port": "20000", "protocol": "RTP/AVP", "payloads": "96", "mid": "0",
        "rtp": [], "bandwidth": [{"type": "AS", "limit": 5}], "connection": {"version": "4", "ip": "10.0.0.1"},
        "description": "left", "timing": {"start": 0, "stop": 0}, "uri": "u", "phone": "p"})");

    EXPECT_EQ(SessionLines({{"media", json::array({media})}}), "m=video 20000 RTP/AVP 96\r\n"
                                                               "i=left\r\n"
                                                               "c=IN IP4 10.0.0.1\r\n"
                                                               "b=AS:5\r\n"
                                                               "a=mid:0\r\n");
}

TEST(SdpWriter, WritesAttributesInTheOrderOfTheTable)
{
    const std::string text = "m=audio 5004 RTP/AVP 97\r\n"
                             "a=x-unknown:1\r\n"
                             "a=mediaclk:direct=0\r\n"
                             "a=ts-refclk:localmac=0\r\n"
                             "a=ptime:0.125\r\n"
                             "a=recvonly\r\n"
                             "a=mid:m\r\n"
                             "a=fmtp:97 b\r\n"
                             "a=rtpmap:97 L24/48000/2\r\n"
                             "a=fmtp:97 a\r\n";

    EXPECT_EQ(SessionLines(ParseSdpText(text)), "m=audio 5004 RTP/AVP 97\r\n"
                                                "a=rtpmap:97 L24/48000/2\r\n"
                                                "a=fmtp:97 b\r\n"
                                                "a=fmtp:97 a\r\n"
                                                "a=mid:m\r\n"
                                                "a=ptime:0.125\r\n"
                                                "a=recvonly\r\n"
                                                "a=ts-refclk:localmac=0\r\n"
                                                "a=mediaclk:direct=0\r\n"
                                                "a=x-unknown:1\r\n");
}

TEST(SdpWriter, EveryKindOfLineComesBackAsItWasRead)
{
    const char* const session[] = {
        "u=http://x",
        "e=e@x",
        "p=+1 617",
        "c=IN IP4 239.1.2.3/64",
        "c=IN IP6 ff1e::3",
        "b=TIAS:1000",
        "t=1 2",
        "r=7d 1h 0 25h",
        "z=2882844526 -1h",
        "a=control:streamid=0",
        "a=rtcp:65179 IN IP4 193.84.77.194",
        "a=rtcp:65179",
        "a=rtcp-fb:* trr-int 100",
        "a=rtcp-fb:98 nack rpsi",
        "a=rtcp-fb:98 trr",
        "a=extmap:1/recvonly urn:ietf:params:rtp-hdrext:encrypt URI-gps-string short",
        "a=extmap:2 URI-toffset",
        "a=extmap:3 urn:ietf:params:rtp-hdrext:encrypt urn:x 25@600/24",
        "a=extmap-allow-mixed",
        "a=crypto:1 AES_CM_128_HMAC_SHA1_80 inline:x",
        "a=crypto:1 AES_CM_128_HMAC_SHA1_80 inline:x KDR=1",
        "a=setup:actpass",
        "a=mid:1",
        "a=msid:0c8b 1",
        "a=maxptime:60",
        "a=sendonly",
        "a=ice-lite",
        "a=ice-ufrag:F7gI",
        "a=ice-pwd:x9cml",
        "a=fingerprint:SHA-1 00:11:22",
        "a=candidate:0 1 UDP 2113667327 203.0.113.1 54400 typ host",
        "a=candidate:1 2 UDP 1 1.1.1.1 2 typ srflx raddr 2.2.2.2 rport 3 tcptype active generation 0 network-id 3 "
        "network-cost 10",
        "a=candidate:1 2 UDP 1 1.1.1.1 2 typ host generation 0 network-id 3",
        "a=end-of-candidates",
        "a=remote-candidates:1 203.0.113.1 54400",
        "a=ice-options:google-ice",
        "a=ssrc:2566107569 cname:t9YU8M1UxTF8Y1A1",
        "a=ssrc:2566107569 attribute",
        "a=ssrc-group:FEC 1 2",
        "a=msid-semantic: WMS Jvlam5X3SX1OP6pn20zWogvaKJz5Hjf9OnlV",
        "a=group:BUNDLE audio video",
        "a=rtcp-mux",
        "a=rtcp-rsize",
        "a=sctpmap:5000 webrtc-datachannel 1024",
        "a=sctpmap:5000 webrtc-datachannel",
        "a=x-google-flag:conference",
        "a=rid:1 send max-width=1280",
        "a=rid:2 recv",
        "a=imageattr:97 send [x=800,y=640] recv [x=480,y=320] [x=1,y=2]",
        "a=imageattr:* send *",
        "a=simulcast:send 1,~4;2;3 recv c",
        "a=simulcast:recv 1;4,5",
        "a=simulcast: recv pt=97;98 send pt=97",
        "a=framerate:29.97",
        "a=source-filter: incl IN IP4 239.5.2.31 10.1.15.5",
        "a=ts-refclk:ptp=IEEE1588-2008:traceable",
        "a=mediaclk:sender",
        "a=any attribute without a row",
    };
    for (const std::string line : session)
        EXPECT_EQ(SessionLines(ParseSdpText(line + "\n")), line + "\r\n");
}

TEST(SdpWriter, EmptyTextsAreWrittenAndNullsAreNot)
{
    EXPECT_EQ(SessionLines({{"description", ""}}), "i=\r\n");
    EXPECT_EQ(SessionLines({{"description", nullptr}}), "");
    EXPECT_EQ(SessionLines({{"tsRefclk", ""}}), "a=ts-refclk:\r\n");
    EXPECT_EQ(Written({{"version", nullptr}, {"name", nullptr}}), "") << "a null is no missing key";
}

TEST(SdpWriter, ANullAmongTheElementsOfAListWritesEmptyFields)
{
    EXPECT_EQ(SessionLines({{"fmtp", json::array({nullptr})}}), "a=fmtp: \r\n");
    EXPECT_EQ(SessionLines({{"invalid", json::array({nullptr, json::object()})}}), "a=\r\na=\r\n");
}

TEST(SdpWriter, AListThatIsNoArrayWritesNothing)
{
    EXPECT_EQ(SessionLines({{"fmtp", "96 x"}}), "");
    EXPECT_EQ(SessionLines({{"groups", {{"type", "DUP"}}}}), "");
    EXPECT_EQ(SessionLines({{"unheard of", "x"}}), "") << "nor does a key without a row";
}

TEST(SdpWriter, FieldsThatAreMissingLeaveTheirBlanks)
{
    EXPECT_EQ(SessionLines({{"media", json::array({{{"type", "video"}, {"port", "1"}, {"payloads", "96"}}})}}),
              "m=video 1  96\r\n");
    EXPECT_EQ(Written({{"origin", {{"username", "-"}}}}), "v=0\r\no=-    IP \r\ns=-\r\n");
}

TEST(SdpWriter, ANumberOfPortsTakesItsPlaceAndItsAbsenceUsesOneUp)
{
    json media = {{"type", "video"}, {"port", "49170"}, {"protocol", "RTP/AVP"}, {"payloads", "31"}};
    EXPECT_EQ(SessionLines({{"media", json::array({media})}}), "m=video 49170 RTP/AVP 31\r\n");
    media["numPorts"] = 2;
    EXPECT_EQ(SessionLines({{"media", json::array({media})}}), "m=video 49170/2 RTP/AVP 31\r\n");
}

TEST(SdpWriter, AFieldMissingInItsObjectIsTakenFromAround)
{
    // The port of the media, its type, and the version of the session stand in for those of the line.
    EXPECT_EQ(MediaLines({{"port", 7}, {"rtcp", json::object()}}), "a=rtcp:7\r\n");
    EXPECT_EQ(MediaLines({{"type", "video"}, {"fingerprint", {{"hash", "00"}}}}), "a=fingerprint:video 00\r\n");
    EXPECT_EQ(SessionLines({{"connection", {{"ip", "10.0.0.1"}}}}), "c=IN IP0 10.0.0.1\r\n");
}

TEST(SdpWriter, NumbersPrintAsTheirKindDoes)
{
    EXPECT_EQ(SessionLines({{"ptime", 1.0}}), "a=ptime:1.0\r\n");
    EXPECT_EQ(SessionLines({{"ptime", 0.125}}), "a=ptime:0.125\r\n");
    EXPECT_EQ(SessionLines({{"ptime", "1"}}), "a=ptime:1\r\n");
    EXPECT_EQ(SessionLines({{"maxptime", -9223372036854775807 - 1}}), "a=maxptime:-9223372036854775808\r\n");
    EXPECT_EQ(SessionLines({{"maxptime", 18446744073709551615u}}), "a=maxptime:18446744073709551615\r\n");
    EXPECT_EQ(SessionLines({{"mid", true}}), "a=mid:true\r\n");
    EXPECT_EQ(SessionLines({{"mid", {{"b", 1}, {"a", json::array({"x"})}}}}), "a=mid:{\"a\":[\"x\"],\"b\":1}\r\n");
    EXPECT_EQ(SessionLines({{"fmtp", json::array({{{"payload", nullptr}}})}}), "a=fmtp:null \r\n");
}

TEST(SdpWriter, ACandidateWithoutAGenerationLosesItsNetworkIdAndMovesTheCost)
{
    json candidate = {{"foundation", "0"}, {"component", 1}, {"transport", "UDP"}, {"priority", 2},
                      {"ip", "10.0.0.1"},  {"port", 3},      {"type", "host"},     {"network-id", 5}};
    EXPECT_EQ(SessionLines({{"candidates", json::array({candidate})}}),
              "a=candidate:0 1 UDP 2 10.0.0.1 3 typ host network-id \r\n");
    candidate["network-cost"] = 9;
    EXPECT_EQ(SessionLines({{"candidates", json::array({candidate})}}),
              "a=candidate:0 1 UDP 2 10.0.0.1 3 typ host network-id  network-cost 5\r\n");
}

TEST(SdpWriter, TextsThatAreNotUtf8AreWrittenAsTheyStand)
{
    EXPECT_EQ(SessionLines({{"description", "Stra\xdf"
                                            "e\xff"}}),
              "i=Stra\xdf"
              "e\xff\r\n");
}

TEST(SdpWriter, WhatTheTreeThrowsOnTextThatIsNotUtf8InsideAnotherValuePassesThrough)
{
    try
    {
        Written({{"description", json::array({"\xff"})}});
        FAIL() << "nothing was thrown";
    }
    catch (const json::type_error& error)
    {
        EXPECT_STREQ(error.what(), "[json.exception.type_error.316] invalid UTF-8 byte at index 0: 0xFF");
    }
}

TEST(SdpWriterDeathTest, ItsTablesAreThereUntilTheProcessHasEnded)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // a process anew, whose first text is the one below
    EXPECT_EXIT(
        {
            std::atexit([] { std::_Exit(Written({{"version", 7}}) == "v=7\r\ns=-\r\n" ? 42 : 1); });
            Written({{"version", 0}});
            std::exit(1);
        },
        testing::ExitedWithCode(42), "");
}

TEST(SdpWriter, AMediaThatIsNoObjectRaisesTheTreesError)
{
    EXPECT_THROW(Written({{"media", json::array({"text"})}}), json::type_error);
    EXPECT_EQ(SessionLines({{"media", json::array({nullptr})}}), "m=   \r\n") << "a null becomes one";
}

TEST(SdpLine, APlaceholderUsesUpAFieldAndAPercentSignDoesToo)
{
    const json location = {{"a", 1}, {"b", 2}, {"c", 3}};
    EXPECT_EQ(Line(RuleOf("", {"a", "b", "c"}, "x%vy%sz%d"), location), "before|a=xy2z3\r\n");
    EXPECT_EQ(Line(RuleOf("", {"a", "b"}, "%% of %s"), location), "before|a=% of 2\r\n");
    EXPECT_EQ(Line(RuleOf("", {"a", "b"}, "%%s%d"), location), "before|a=%s2\r\n") << "read from the left";
}

TEST(SdpLine, WithoutFieldsLeftATokenStandsForItselfAndTheTextBeforeItIsLost)
{
    const json location = {{"a", 1}};
    EXPECT_EQ(Line(RuleOf("", {"a"}, "x%s y%d z%v%%"), location), "before|a=x1%d%v%%\r\n");
    EXPECT_EQ(Line(RuleOf("absent", {}, "x%s"), location), "before|a=%s\r\n");
}

TEST(SdpLine, TextBehindTheLastTokenIsNotWritten)
{
    EXPECT_EQ(Line(RuleOf("", {"a"}, "x%s tail"), {{"a", 1}}), "before|a=x1\r\n");
    EXPECT_EQ(Line(RuleOf("", {"a"}, "no token, 100%"), {{"a", 1}}), "before|a=\r\n");
    EXPECT_EQ(Line(RuleOf("", {"a"}, "5%x %s"), {{"a", 1}}), "before|a=5%x 1\r\n") << "%x is no token";
}

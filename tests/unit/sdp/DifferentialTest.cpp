// The grammar's expressions on PCRE2 against the standard library's engine, whose captures are the ones to have.
#include "sdp/SdpRuleTable.h"

#include <gtest/gtest.h>

#include <random>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

using namespace quill::sdp_module;

namespace
{
// Pieces that make the expressions come close to a match and fall off it; control and high bytes among them.
const std::string_view kPieces[] = {
    "rtpmap:",
    "fmtp:",
    "control:",
    "rtcp:",
    "rtcp-fb:",
    "*",
    " trr-int ",
    "extmap:",
    "/",
    "urn:ietf:params:rtp-hdrext:encrypt",
    "extmap-allow-mixed",
    "crypto:",
    "setup:",
    "mid:",
    "msid:",
    "ptime:",
    "maxptime:",
    "sendrecv",
    "recvonly",
    "sendonly",
    "inactive",
    "ice-lite",
    "ice-ufrag:",
    "ice-pwd:",
    "fingerprint:",
    "candidate:",
    " typ ",
    " raddr ",
    " rport ",
    " tcptype ",
    " generation ",
    " network-id ",
    " network-cost ",
    "end-of-candidates",
    "remote-candidates:",
    "ice-options:",
    "ssrc:",
    "ssrc-group:",
    "msid-semantic:",
    "group:",
    "rtcp-mux",
    "rtcp-rsize",
    "sctpmap:",
    "x-google-flag:",
    "rid:",
    "imageattr:",
    "simulcast:",
    "send",
    "recv",
    "[",
    "]",
    "framerate:",
    "source-filter:",
    "incl",
    "excl",
    "IP4",
    "IP6",
    "IN IP",
    "ts-refclk:",
    "mediaclk:",
    "TIAS:",
    "AS:",
    "0",
    "96",
    "123",
    ".",
    ".5",
    ":",
    ";",
    ",",
    "~",
    "-",
    "_",
    "a",
    "Z",
    "S",
    "\\",
    "=",
    " ",
    "  ",
    "\t",
    "\r",
    "\v",
    "\f",
    "\x1f",
    "\x7f",
    "\x80",
    "\x85",
    "\xa0",
    "\xe2\x80\xa8",
    "\xff",
    std::string_view("\0", 1),
    "video ",
    "RTP/AVP",
};

std::string RandomLine(std::mt19937& random, const std::string& prefix)
{
    std::uniform_int_distribution<size_t> piece(0, std::size(kPieces) - 1);
    std::uniform_int_distribution<int> length(0, 9);
    std::string line = random() % 3 ? prefix : "";
    for (int i = length(random); i > 0; --i)
        line += kPieces[piece(random)];
    return line;
}
} // namespace

TEST(SdpExpressions, FindTheStandardLibrarysCapturesOnAnyBytes)
{
    std::mt19937 random(20110);
    size_t found = 0;
    SdpMatch match(1000);
    for (const auto& [letter, rows] : SdpRuleTable())
        for (const SdpRule& rule : rows)
        {
            const std::regex standard(rule.reg.Text());
            for (int i = 0; i < 250; ++i)
            {
                const std::string line = RandomLine(random, rule.reg.Prefix());
                std::smatch expected;
                const bool expectedFound = std::regex_search(line, expected, standard);

                ASSERT_EQ(rule.reg.Find(line, match), expectedFound) << rule.reg.Text() << "\n"
                                                                     << testing::PrintToString(line);
                if (!expectedFound) continue;
                ++found;
                for (size_t capture = 0; capture < expected.size(); ++capture)
                    ASSERT_EQ(match.Capture(capture), expected[capture].str()) << rule.reg.Text() << "\n"
                                                                               << testing::PrintToString(line);
            }
        }
    EXPECT_GT(found, 2000u) << "the lines are too far from the grammar to tell anything";
}

TEST(SdpExpressions, HaveTheStandardLibrarysClassesForEveryByte)
{
    SdpMatch match(10);
    for (const char* text :
         {R"(^(\s)$)", R"(^(\S)$)", R"(^(\d)$)", R"(^(\w)$)", R"(^(.)$)", R"(^([^\\S/])$)", R"(^([!#$%&'*+-.\w])$)"})
    {
        const SdpExpression expression(text);
        const std::regex standard(text);
        for (int byte = 0; byte < 256; ++byte)
        {
            const std::string line(1, static_cast<char>(byte));
            EXPECT_EQ(expression.Find(line, match), std::regex_search(line, standard)) << text << " " << byte;
        }
    }
}

// The library's sentences: taken from the log, and brought to the line that they speak of.
#include "tools/zefa/Complaints.h"
#include "tools/zefa/LoggedCall.h"

#include <gtest/gtest.h>

namespace
{

using namespace zefa;

TEST(MatchPattern, MarksTakeTheTextBetweenTheLiterals)
{
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ((Pieces{"depth", "9"}), MatchPattern(R"(Unsupported % value "%".)", R"(Unsupported depth value "9".)"));
    EXPECT_EQ((Pieces{"a"}), MatchPattern("x%", "xa"));
    EXPECT_EQ((Pieces{"a. b"}), MatchPattern("x%.", "xa. b."));
    EXPECT_EQ(Pieces{}, MatchPattern("whole", "whole"));
    EXPECT_FALSE(MatchPattern("whole", "whole and more"));
    EXPECT_FALSE(MatchPattern("x%y", "xa"));
    EXPECT_FALSE(MatchPattern("x%", "a"));
}

TEST(LogLinesOf, OnlyTheLibrarysLinesCountAndALineBreakStaysInItsMessage)
{
    const auto lines = LogLinesOf("noise\n"
                                  "13-11-2026 17:14:45 [QUILLMONT ZEFA][Warning] first\n"
                                  "13-11-2026 17:14:45 [QUILLMONT ZEFA][Error] second\r\n"
                                  "goes on\n"
                                  "\n");

    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("Warning", lines[0].Priority);
    EXPECT_EQ("first", lines[0].Message);
    EXPECT_EQ("Error", lines[1].Priority);
    EXPECT_EQ("second\ngoes on", lines[1].Message);
}

constexpr const char* kText = "v=0\n"                                                 // 1
                              "o=- 1 1 IN IP4 host.example\n"                         // 2
                              "m=video 5000 RTP/AVP 96 97\n"                          // 3
                              "c=IN IP4 239.0.0.1/16\n"                               // 4
                              "a=fmtp:96 sampling=RGB; depth=9; SSN=ST2110-20:2017\n" // 5
                              "a=ts-refclk:ptp=IEEE1588-2008:00-11:0\n"               // 6
                              "m=video 5002 RTP/AVP 96\n"                             // 7
                              "a=fmtp:96 sampling=RGB; depth=9; SSN=ST2110-20:2017\n" // 8
                              "a=fmtp:96 more\n"                                      // 9
                              "m=audio 5004 RTP/AVP 97\n"                             // 10
                              "a=rtpmap:97 L24/48000\n";                              // 11

struct PlaceCase
{
    const char* name;
    const char* sentence;
    const char* key;
    size_t line, column;
};

class ComplaintPlace : public testing::TestWithParam<PlaceCase>
{
};

TEST_P(ComplaintPlace, IsWhereTheSentenceSpeaksOf)
{
    const SdpScan scan(kText);

    const Complaint complaint = ComplaintOf({"Error", GetParam().sentence}, "reader", scan);

    EXPECT_EQ(GetParam().key, complaint.Key);
    EXPECT_EQ(GetParam().line, complaint.Where.Line);
    EXPECT_EQ(GetParam().column, complaint.Where.Column);
    EXPECT_EQ(GetParam().sentence, complaint.Text) << "the library's own words";
    EXPECT_EQ("reader", complaint.Source);
}

INSTANTIATE_TEST_SUITE_P(
    Sentences, ComplaintPlace,
    testing::Values(PlaceCase{"Value", R"(Unsupported depth value "9".)", "depth", 5, 31},
                    PlaceCase{"MissingParameter",
                              "The framerate value is missing in the following config string : sampling=RGB; depth=9; "
                              "SSN=ST2110-20:2017",
                              "exactframerate", 5, 11},
                    PlaceCase{"MissingParameterOfAnotherMedia",
                              "The bit depth value is missing in the following config string : more", "depth", 9, 11},
                    PlaceCase{"Address",
                              "IP address (host.example) could not be properly converted to binary using inet_pton. "
                              "Error : 0",
                              "address", 2, 16},
                    PlaceCase{"Payloads",
                              "Multiple payloads are associated with the media with index 0. Only the first one (96) "
                              "is accounted for.",
                              "m=", 3, 1},
                    PlaceCase{"Connection", "No connection is associated with the media with index 1", "c=", 7, 1},
                    PlaceCase{"Clock", "Incorrectly formated grandmaster id. It should be 8 bytes long : 00-11",
                              "ts-refclk", 6, 31},
                    PlaceCase{"SecondFormat",
                              R"(Multiple "fmtp" (2) attributes found a video media with : []. Only the first is )"
                              "taken into account.",
                              "fmtp", 9, 1},
                    PlaceCase{"PacketTime", R"(No "ptime" attribute was found for audio media : {})", "ptime", 10, 1},
                    PlaceCase{"ChannelCount", R"(The channel count value is not present in the "rtpmap" field : {})",
                              "rtpmap", 11, 1},
                    PlaceCase{"MediaThatIsNotThere", "No connection is associated with the media with index 9", "c=", 0,
                              0},
                    PlaceCase{"NothingNamed", "Error in ZEFA_ReadSDP when parsing the SDP : 2", "", 0, 0}),
    [](const auto& instance) { return instance.param.name; });

TEST(ComplaintsOf, ASentenceThatComesAgainSpeaksOfTheNextMedia)
{
    const SdpScan scan(kText);
    const LogLine line{"Warning", R"(Unsupported depth value "9".)"};

    const auto complaints = ComplaintsOf({line, line, line}, "reader", scan);

    ASSERT_EQ(3u, complaints.size());
    EXPECT_EQ(5u, complaints[0].Where.Line);
    EXPECT_EQ(8u, complaints[1].Where.Line);
    EXPECT_EQ(8u, complaints[2].Where.Line) << "there is no third";
    EXPECT_EQ(Kind::Warning, complaints[0].Severity);
}

TEST(ComplaintsOf, AfterAHundredRepeatsNoPlaceIsSearched)
{
    const std::vector<LogLine> lines(101, {"Warning", R"(Unsupported depth value "9".)"});

    const auto complaints = ComplaintsOf(lines, "reader", SdpScan(kText));

    EXPECT_EQ(8u, complaints[99].Where.Line);
    EXPECT_EQ(0u, complaints[100].Where.Line);
    EXPECT_EQ("depth", complaints[100].Key);
}

TEST(Complaint, IsOneLineOfTextOrARecord)
{
    const Complaint placed{Kind::Warning, "reader", "depth", {5, 31}, "too\nmuch"};
    const Complaint bare{Kind::Hint, "zefa", "", {}, "well"};

    EXPECT_EQ("a.sdp:5:31: warning (reader), depth: too\\x0Amuch\n", TextOf(placed, "a.sdp"));
    EXPECT_EQ("a.sdp: hint (zefa): well\n", TextOf(bare, "a.sdp"));
    EXPECT_EQ(R"({"line":5,"column":31,"kind":"warning","source":"reader","key":"depth","text":"too\nmuch"})",
              DocumentOf(placed).dump());
    EXPECT_EQ(R"({"line":null,"column":null,"kind":"hint","source":"zefa","key":"","text":"well"})",
              DocumentOf(bare).dump());
}

} // namespace

// From text to tree.
#include "sdp/SdpParser.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

using namespace quill::sdp_module;
using nlohmann::json;
using namespace std::string_literals;

namespace
{
std::string Tree(const std::string& text)
{
    return ParseSdpText(text).dump();
}

template <class Exception, class Call>
std::string TextOf(Call call)
{
    try
    {
        call();
    }
    catch (const Exception& error)
    {
        return error.what();
    }
    return "nothing was thrown";
}
} // namespace

TEST(ParseSdpText, AnEmptyTextHasAnEmptyListOfMedia)
{
    EXPECT_EQ(Tree(""), R"({"media":[]})");
}

TEST(ParseSdpText, AWholeStreamGivesTheDocumentedTree)
{
    const json tree = ParseSdpText("v=0\r\n"
                                   "o=- 1 2 IN IP4 10.0.0.5\r\n"
                                   "s=Camera\r\n"
                                   "t=0 0\r\n"
                                   "m=video 20000 RTP/AVP 96\r\n"
                                   "c=IN IP4 239.0.0.1/32\r\n"
                                   "a=rtpmap:96 raw/90000\r\n"
                                   "a=fmtp:96 sampling=YCbCr-4:2:2; width=1920\r\n"
                                   "a=ts-refclk:ptp=IEEE1588-2008:traceable\r\n"
                                   "a=mediaclk:direct=0\r\n"
                                   "a=mid:primary\r\n");
    EXPECT_EQ(tree.dump(), R"({"media":[{"connection":{"ip":"239.0.0.1","ttl":32,"version":4},)"
                           R"("fmtp":[{"config":"sampling=YCbCr-4:2:2; width=1920","payload":96}],)"
                           R"("mediaclk":"direct=0","mid":"primary","payloads":"96","port":20000,)"
                           R"("protocol":"RTP/AVP","rtp":[{"codec":"raw","payload":96,"rate":90000}],)"
                           R"("tsRefclk":"ptp=IEEE1588-2008:traceable","type":"video"}],"name":"Camera",)"
                           R"("origin":{"address":"10.0.0.5","ipVer":4,"netType":"IN","sessionId":1,)"
                           R"("sessionVersion":2,"username":"-"},"timing":{"start":0,"stop":0},"version":0})");
}

TEST(ParseSdpText, BareLineFeedsParseLikeCarriageReturnAndLineFeed)
{
    EXPECT_EQ(Tree("v=0\ns=a\nt=1 2\nm=audio 1 RTP/AVP 97\n"), Tree("v=0\r\ns=a\r\nt=1 2\r\nm=audio 1 RTP/AVP 97\r\n"));
}

TEST(ParseSdpText, ALastLineWithoutLineFeedCounts)
{
    EXPECT_EQ(Tree("v=0\ns=last"), R"({"media":[],"name":"last","version":0})");
    EXPECT_EQ(Tree("v=0\ns=last\r"), R"({"media":[],"name":"last","version":0})");
}

TEST(ParseSdpText, OnlyOneCarriageReturnIsRemovedAtTheEnd)
{
    // The second one stays in the content, where a dot does not meet it and a class of non-blanks neither.
    EXPECT_EQ(Tree("s=a\r\r\n"), R"({"media":[],"name":"a"})");
    EXPECT_EQ(Tree("v=0\r\r\n"), R"({"media":[]})") << "the dollar sign is the end alone";
}

TEST(ParseSdpText, ACarriageReturnInMidLineStaysInTheContentAndStopsADot)
{
    EXPECT_EQ(Tree("s=one\rtwo\r\n"), R"({"media":[],"name":"one"})");
    EXPECT_EQ(Tree("c=IN IP4 10.0.0.1\rmore\n"), R"({"connection":{"ip":"10.0.0.1\rmore","version":4},"media":[]})");
}

TEST(ParseSdpText, AnEmptyAttributeAppendsAnEmptyObject)
{
    EXPECT_EQ(Tree("a=\r\n"), R"({"invalid":[{}],"media":[]})");
}

TEST(ParseSdpText, LinesOfAnotherFormAreSkipped)
{
    EXPECT_EQ(Tree("S=x\nv =0\n =0\n=0\nv\n\nfolded text\nv:0\ns=kept\n"), R"({"media":[],"name":"kept"})");
}

TEST(ParseSdpText, ALetterWithoutRowsIsSkipped)
{
    EXPECT_EQ(Tree("k=clear:x\nx=1\ns=kept\n"), R"({"media":[],"name":"kept"})");
}

TEST(ParseSdpText, ALineThatNoRowTakesIsDropped)
{
    EXPECT_EQ(Tree("v=one\nt=0\no=short\nb=X:1\nc=OUT\n"), R"({"media":[]})");
}

TEST(ParseSdpText, LinesBehindAMediaLandInTheMedia)
{
    EXPECT_EQ(Tree("i=session\nc=IN IP4 1.1.1.1\nt=1 2\nm=video 1 RTP/AVP 96\ni=media\nc=IN IP4 2.2.2.2\nt=3 4\n"),
              R"({"connection":{"ip":"1.1.1.1","version":4},"description":"session","media":[)"
              R"({"connection":{"ip":"2.2.2.2","version":4},"description":"media","fmtp":[],"payloads":"96",)"
              R"("port":1,"protocol":"RTP/AVP","rtp":[],"timing":{"start":3,"stop":4},"type":"video"}],)"
              R"("timing":{"start":1,"stop":2}})");
}

TEST(ParseSdpText, AnAddressEndsAtACapitalSASlashOrABackslashButNotAtABlank)
{
    EXPECT_EQ(Tree("c=IN IP4 239.1.2.3/64\n"), R"({"connection":{"ip":"239.1.2.3","ttl":64,"version":4},"media":[]})");
    EXPECT_EQ(Tree("c=IN IP4 Server\n"), R"({"connection":{"version":4},"media":[]})");
    EXPECT_EQ(Tree("c=IN IP4 my host\n"), R"({"connection":{"ip":"my host","version":4},"media":[]})");
    EXPECT_EQ(Tree("c=IN IP4 a\\b\n"), R"({"connection":{"ip":"a","version":4},"media":[]})");
}

TEST(ParseSdpText, TheNarrowFeedbackRowTakesItsLine)
{
    EXPECT_EQ(Tree("a=rtcp-fb:* trr-int 100\n"), R"({"media":[],"rtcpFbTrrInt":[{"payload":"*","value":100}]})");
}

TEST(ParseSdpText, APacketTimeIsAFloatingPointNumber)
{
    const json whole = ParseSdpText("a=ptime:1\n");
    EXPECT_EQ(whole["ptime"].type(), json::value_t::number_float);
    EXPECT_EQ(whole.dump(), R"({"media":[],"ptime":1.0})");
    EXPECT_EQ(Tree("a=ptime:0.125\n"), R"({"media":[],"ptime":0.125})");
    EXPECT_EQ(Tree("a=ptime:abc\n"), R"({"invalid":[{"value":"ptime:abc"}],"media":[]})");
    EXPECT_EQ(Tree("a=ptime:1 \n"), R"({"invalid":[{"value":"ptime:1 "}],"media":[]})");
    EXPECT_EQ(Tree("a=ptime:0.25ms\n"), R"({"media":[],"ptime":0.25})");
}

TEST(ParseSdpText, AMapWithoutChannelsHasNoEncoding)
{
    EXPECT_EQ(Tree("a=rtpmap:96 raw/90000\n"), R"({"media":[],"rtp":[{"codec":"raw","payload":96,"rate":90000}]})");
}

TEST(ParseSdpText, IdentifiersOfTheOriginAreUnsignedAndZeroBeyond64Bits)
{
    const json tree = ParseSdpText("o=- 18446744073709551615 1234567890123456789012345 IN IP4 h\n");
    EXPECT_EQ(tree["origin"]["sessionId"].type(), json::value_t::number_unsigned);
    EXPECT_EQ(tree["origin"]["sessionId"].get<uint64_t>(), 18446744073709551615u);
    EXPECT_EQ(tree["origin"]["sessionVersion"].type(), json::value_t::number_unsigned);
    EXPECT_EQ(tree["origin"]["sessionVersion"].get<uint64_t>(), 0u);
    EXPECT_EQ(tree["origin"]["ipVer"].type(), json::value_t::number_integer);
}

TEST(ParseSdpText, ASignedNumberBeyond64BitsIsZero)
{
    EXPECT_EQ(Tree("t=9223372036854775807 9223372036854775808\n"),
              R"({"media":[],"timing":{"start":9223372036854775807,"stop":0}})");
}

TEST(ParseSdpText, AnEmptyVersionIsTheNumberZero)
{
    EXPECT_EQ(Tree("v=\n"), R"({"media":[],"version":0})");
    EXPECT_EQ(Tree("s=\ni=\n"), R"({"description":"","media":[],"name":""})");
    EXPECT_EQ(Tree("a=mid:\n"), R"({"media":[],"mid":""})");
}

TEST(ParseSdpText, FormatLinesStandInTextOrder)
{
    const json tree = ParseSdpText("m=video 1 RTP/AVP 96\na=fmtp:96 first\na=fmtp:97 second\n");
    EXPECT_EQ(tree["media"][0]["fmtp"].dump(), R"([{"config":"first","payload":96},{"config":"second","payload":97}])");
}

TEST(ParseSdpText, AMalformedMediaLineStillOpensAMedia)
{
    EXPECT_EQ(Tree("m=video\na=mid:x\n"), R"({"media":[{"fmtp":[],"mid":"x","rtp":[]}]})");
}

TEST(ParseSdpText, EachMediaTakesItsOwnLines)
{
    const json tree = ParseSdpText("m=audio 1 RTP/AVP 97\na=mid:a\nm=video 2 RTP/AVP 96\na=mid:b\n");
    ASSERT_EQ(tree["media"].size(), 2u);
    EXPECT_EQ(tree["media"][0]["mid"], "a");
    EXPECT_EQ(tree["media"][1]["mid"], "b");
}

TEST(ParseSdpText, ASecondLineOfAnObjectMergesAndOfAValueReplaces)
{
    EXPECT_EQ(Tree("c=IN IP4 1.1.1.1/9\nc=IN IP4 2.2.2.2\n"),
              R"({"connection":{"ip":"2.2.2.2","ttl":9,"version":4},"media":[]})");
    EXPECT_EQ(Tree("a=mid:one\na=mid:two\n"), R"({"media":[],"mid":"two"})");
    EXPECT_EQ(Tree("a=mid:one\na=mid:\n"), R"({"media":[],"mid":""})");
}

TEST(ParseSdpText, AnObjectWithoutCapturesStandsAllTheSame)
{
    EXPECT_EQ(Tree("t= \n"), R"({"media":[],"timing":{}})");
    EXPECT_EQ(Tree("a=fmtp: \n"), R"({"fmtp":[{}],"media":[]})");
}

TEST(ParseSdpText, ANulByteIsACharacterLikeAnother)
{
    EXPECT_EQ(ParseSdpText("s=a\0b\nv=1\n"s)["name"].get<std::string>(), "a\0b"s);
    EXPECT_EQ(ParseSdpText("s=a\0b\nv=1\n"s)["version"], 1);
}

TEST(ParseSdpText, HighBytesAreKept)
{
    EXPECT_EQ(ParseSdpText("s=\xff\xfe\xe2\x80\xa8x\n")["name"].get<std::string>(), "\xff\xfe\xe2\x80\xa8x");
}

TEST(ParseSdpText, AFractionTooSmallForADoubleRaisesOutOfRange)
{
    EXPECT_EQ(TextOf<std::out_of_range>([] { ParseSdpText("a=ptime:0." + std::string(400, '0') + "1\n"); }),
              "stod argument out of range");
}

TEST(ParseSdpText, ANumberTooLargeForADoubleIsZero)
{
    EXPECT_EQ(Tree("a=ptime:" + std::string(400, '9') + "\n"), R"({"media":[],"ptime":0.0})");
}

TEST(ConvertCapture, GivesTheKindOfItsLetter)
{
    EXPECT_EQ(ConvertCapture("12", 's').dump(), R"("12")");
    EXPECT_EQ(ConvertCapture("12", 'd').type(), json::value_t::number_integer);
    EXPECT_EQ(ConvertCapture("12", 'u').type(), json::value_t::number_unsigned);
    EXPECT_EQ(ConvertCapture("12", 'f').type(), json::value_t::number_float);
    EXPECT_TRUE(ConvertCapture("12", 'x').is_null());
}

TEST(ConvertCapture, ATextThatIsNoNumberFromEndToEndIsZero)
{
    for (const char* text : {"", " 1", "1 ", "1x", "x", "99999999999999999999999"})
    {
        EXPECT_EQ(ConvertCapture(text, 'd').dump(), "0") << text;
        EXPECT_EQ(ConvertCapture(text, 'u').dump(), "0") << text;
    }
    for (const char* text : {"", " 1", "1 ", "1x", "x", "1e999"})
        EXPECT_EQ(ConvertCapture(text, 'f').dump(), "0.0") << text;
}

TEST(ParsePayloadList, CutsAtEveryBlank)
{
    EXPECT_EQ(ParsePayloadList("96"), std::vector<int32_t>{96});
    EXPECT_EQ(ParsePayloadList("96 97 127"), (std::vector<int32_t>{96, 97, 127}));
}

TEST(ParsePayloadList, ReadsTheNumberAtTheStartOfAPiece)
{
    EXPECT_EQ(ParsePayloadList("\t96x -3 +4 5/6"), (std::vector<int32_t>{96, -3, 4, 5}));
}

TEST(ParsePayloadList, APieceWithoutANumberRaisesInvalidArgument)
{
    for (const char* text : {"x", "96  97", "96 ", " 96", "", "-"})
        EXPECT_EQ(TextOf<std::invalid_argument>([text] { ParsePayloadList(text); }), "invalid stoi argument") << text;
}

TEST(ParsePayloadList, ANumberBeyond32BitsRaisesOutOfRange)
{
    EXPECT_EQ(ParsePayloadList("2147483647 -2147483648"), (std::vector<int32_t>{2147483647, INT32_MIN}));
    for (const char* text : {"2147483648", "-2147483649", "99999999999999999999"})
        EXPECT_EQ(TextOf<std::out_of_range>([text] { ParsePayloadList(text); }), "stoi argument out of range") << text;
}

// Lines, attributes and parameters with their places.
#include "tools/zefa/SdpScan.h"

#include <gtest/gtest.h>

namespace
{

using namespace zefa;

constexpr const char* kTwoPaths = "v=0\r\n"
                                  "s=two\r\n"
                                  "a=group:DUP first second\r\n"
                                  "m=video 5000 RTP/AVP 96\r\n"
                                  "a=rtpmap:96 raw/90000\r\n"
                                  "a=fmtp:96 sampling=RGB; interlace; width = 5 ;\r\n"
                                  "a=mid:first\r\n"
                                  "m=audio 5002 RTP/AVP 97\r\n"
                                  "m=video 5004 RTP/AVP 96\r\n"
                                  "a=mid:second\r\n";

TEST(SdpScan, LinesBelongToTheSessionOrToAMediaAndKeepTheirNumbers)
{
    const SdpScan scan(kTwoPaths);

    ASSERT_EQ(3u, scan.Session.Lines.size());
    EXPECT_EQ(2u, scan.Session.Lines[1].Number);
    EXPECT_EQ("two", scan.Session.Lines[1].Content);
    ASSERT_EQ(3u, scan.Medias.size());
    EXPECT_EQ(8u, scan.Medias[1].Lines.front().Number);
    EXPECT_EQ("audio", scan.Medias[1].Kind());
    EXPECT_EQ("raw", scan.Medias[0].Encoding());
    EXPECT_EQ("", scan.Medias[1].Encoding());
}

TEST(SdpScan, ParametersAreTrimmedAndKnowTheirColumn)
{
    const SdpScan scan(kTwoPaths);
    const auto format = scan.Medias[0].First("fmtp");
    ASSERT_TRUE(format);
    const auto parameters = FormatParameters(format->Value);

    ASSERT_EQ(3u, parameters.size());
    EXPECT_EQ("sampling", parameters[0].Key);
    EXPECT_EQ("RGB", parameters[0].Value);
    EXPECT_FALSE(parameters[1].HasValue);
    EXPECT_EQ("width", parameters[2].Key);
    EXPECT_EQ("5", parameters[2].Value);
    const Place place = format->Line->At(parameters[2].Value);
    EXPECT_EQ(6u, place.Line);
    EXPECT_EQ(44u, place.Column);
}

TEST(SdpScan, AnAttributeIsKnownByItsWholeName)
{
    const SdpScan scan("m=audio 1 RTP/AVP 1\na=maxptime:4\na=ptimes:3\na=ptime:1\na=ptime\n");

    const auto found = scan.Medias[0].Attributes("ptime");

    ASSERT_EQ(2u, found.size());
    EXPECT_EQ("1", found[0].Value);
    EXPECT_EQ(4u, found[0].Line->Number);
    EXPECT_EQ("", found[1].Value);
}

TEST(SdpScan, PathsAreThoseOfOneDupGroup)
{
    const SdpScan scan(kTwoPaths);

    EXPECT_EQ((std::vector<size_t>{0, 2}), scan.PathsWith(0));
    EXPECT_EQ((std::vector<size_t>{0, 2}), scan.PathsWith(2));
    EXPECT_EQ((std::vector<size_t>{1}), scan.PathsWith(1));
}

TEST(SdpScan, ACutLeavesOutOtherMediaAndKeepsTheLineNumbers)
{
    EXPECT_EQ("v=0\ns=two\na=group:DUP first second\n\n\n\n\nm=audio 5002 RTP/AVP 97\n", SdpScan(kTwoPaths).Cut(1));
    EXPECT_EQ("v=0\ns=two\na=group:DUP first second\nm=video 5000 RTP/AVP 96\na=rtpmap:96 raw/90000\n"
              "a=fmtp:96 sampling=RGB; interlace; width = 5 ;\na=mid:first\n\nm=video 5004 RTP/AVP 96\n"
              "a=mid:second\n",
              SdpScan(kTwoPaths).Cut(0));
}

TEST(SdpScan, TextThatIsNoDescriptionHasNoMediaAndHarmsNothing)
{
    EXPECT_TRUE(SdpScan("").Medias.empty());
    EXPECT_TRUE(SdpScan("\n\n=\nm\nM=video\n").Medias.empty());
    EXPECT_EQ("", SdpScan("m=").Medias.at(0).Kind());
}

} // namespace

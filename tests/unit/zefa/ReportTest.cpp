// A document as tables and as JSON.
#include "tools/zefa/Report.h"
#include "tools/zefa/Description.h"

#include <gtest/gtest.h>

namespace
{

using namespace zefa;

TEST(Report, ArraysAreRowsAndObjectsAreLists)
{
    Report report;
    report.document = {{"cores", {{{"core", 0}, {"used", 12.5}}, {{"core", 1}, {"used", nullptr}}}},
                       {"state", {{"up", true}, {"name", "lo"}}}};
    report.views = {{"Cores", "/cores", {{"core", "Core", &PlainText, Align::Right}, {"used", "Used", &PercentText}}},
                    {"", "/state", {{"up", "Up"}, {"name", "Name"}, {"gone", "Gone"}}}};

    EXPECT_EQ("Cores\n"
              "Core  Used\n"
              "   0  12.5 %\n"
              "   1  -\n"
              "\n"
              "Up    yes\n"
              "Name  lo\n",
              TextOf(report));
}

TEST(Report, ATableWithoutRowsSaysSo)
{
    Report report;
    report.document["conductors"] = Json::array();
    report.views = {{"", "/conductors", {{"id", "Identifier"}}, "No conductor is shared."}};

    EXPECT_EQ("No conductor is shared.\n", TextOf(report));
}

TEST(Report, ValuesHaveTheirUnits)
{
    EXPECT_EQ("999 bit/s", BitRateText(999));
    EXPECT_EQ("1.50 kbit/s", BitRateText(1500));
    EXPECT_EQ("2.59 Gbit/s", BitRateText(2592000000u));
    EXPECT_EQ("10000 Mbit/s", MegabitsText(10000));
    EXPECT_EQ("-3 ns", NanosecondsText(-3.0));
    EXPECT_EQ("8 a second", LogSecondsText(-3));
    EXPECT_EQ("one in 1 s", LogSecondsText(0));
    EXPECT_EQ("one in 4 s", LogSecondsText(2));
    for (const auto text :
         {&PlainText, &BitRateText, &MegabitsText, &MegahertzText, &PercentText, &NanosecondsText, &LogSecondsText})
        EXPECT_EQ("-", text(nullptr));
}

TEST(Report, JsonIsWhateverBytesComeAndOneLineWhenNotIndented)
{
    EXPECT_EQ("{\"name\":\"a\xEF\xBF\xBD\"}", JsonText({{"name", "a\xFF"}}, false));
    EXPECT_EQ("{\n  \"n\": 1\n}", JsonText({{"n", 1}}, true));
}

TEST(Description, WhatIsUnsaidIsLeftOut)
{
    EXPECT_EQ(R"({"payloadType":0,"paths":[]})", DocumentOf(Unsaid()).dump());

    Description video = Unsaid();
    video.Essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_20;
    video.Video().NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_12;
    video.Network.NbConnections_UL = 1;
    video.Network.Connections_X[0].DestinationIp_UL = 0xEF000001;
    video.Network.Connections_X[0].DestinationPort_US = 5000;
    EXPECT_EQ(R"({"essence":"video","payloadType":0,)"
              R"("paths":[{"destination":"239.0.0.1","port":5000,"source":"0.0.0.0"}],"video":{"depth":"12"}})",
              DocumentOf(video).dump());
    EXPECT_EQ(R"([{"name":"essence","value":"video"},{"name":"payloadType","value":0},)"
              R"({"name":"paths.0.destination","value":"239.0.0.1"},{"name":"paths.0.port","value":5000},)"
              R"({"name":"paths.0.source","value":"0.0.0.0"},{"name":"video.depth","value":"12"}])",
              FieldRows(DocumentOf(video)).dump());
}

} // namespace

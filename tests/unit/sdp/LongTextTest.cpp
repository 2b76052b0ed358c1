// Texts far beyond any description: they cost memory and nothing else.
#include "sdp/SdpParser.h"
#include "sdp/SdpRuleTable.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

using namespace quill::sdp_module;
using nlohmann::json;

namespace
{
constexpr size_t kMegabyte = 1'000'000;

std::string Repeat(const std::string& piece, size_t characters)
{
    std::string text;
    while (text.size() < characters)
        text += piece;
    return text;
}
} // namespace

TEST(LongText, ALineOfAMegabyteIsReadWhole)
{
    const std::string config = Repeat("key=value; ", kMegabyte);
    const json tree = ParseSdpText("a=fmtp:96 " + config + "\r\n");
    EXPECT_EQ(tree["fmtp"][0]["config"].get_ref<const std::string&>(), config);
}

TEST(LongText, AVeryLongImageattrIsReadWhole)
{
    const std::string attributes = Repeat("[x=1] ", kMegabyte) + "[x=2]";
    const json tree = ParseSdpText("a=imageattr:97 send " + attributes + " recv [y=3]\n");
    EXPECT_EQ(tree["imageattrs"][0]["attrs1"].get_ref<const std::string&>(), attributes);
    EXPECT_EQ(tree["imageattrs"][0]["attrs2"], "[y=3]");
}

// Each round of the group takes so much of the compiled code's stack that the search goes over to the interpreter.
TEST(LongText, ASearchThatOutgrowsTheStackIsInterpreted)
{
    const SdpExpression expression("^(?:(a)(b)?(c)?(d)?(e)?(f)?(g)?|x)*$");
    const std::string line(200'000, 'a');
    SdpMatch match(line.size());
    EXPECT_TRUE(expression.Find(line, match));
    EXPECT_EQ(match.Capture(0), line);
    EXPECT_FALSE(expression.Find(line + "!", match));
}

// Lines that almost match: each row's prefix, then a megabyte of what its groups like to take and give back.
TEST(LongText, AlmostMatchingLinesOfAMegabyteComeToAnEnd)
{
    const char* const fillers[] = {"a",        "9", " ",   "\t", "] [", "[a] ", " send 1",
                                   "sendrecv", "/", ";~,", "a ", "9 ",  ".5",   "x-google-flag"};
    bool last = false;
    for (const SdpRule& rule : SdpRuleTable().at('a'))
    {
        SdpMatch match(kMegabyte);
        for (const char* filler : fillers)
        {
            const std::string line = rule.reg.Prefix() + Repeat(filler, kMegabyte / 4) + "\r!";
            last = rule.reg.Find(line, match);
        }
    }
    EXPECT_TRUE(last) << "the last row is found in anything";
}

TEST(LongText, AHundredThousandLinesOfOneKindAreKeptInOrder)
{
    std::string text;
    for (int i = 0; i < 100'000; ++i)
        text += "a=x" + std::to_string(i) + "\n";
    const json tree = ParseSdpText(text);
    ASSERT_EQ(tree["invalid"].size(), 100'000u);
    EXPECT_EQ(tree["invalid"][99'999]["value"], "x99999");
}

TEST(LongText, TenThousandMediaAreOpened)
{
    EXPECT_EQ(ParseSdpText(Repeat("m=x\n", 40'000))["media"].size(), 10'000u);
}

TEST(LongText, AMegabyteWithoutALineFeedIsOneLine)
{
    EXPECT_EQ(ParseSdpText(std::string(kMegabyte, 'a')).dump(), R"({"media":[]})");
    EXPECT_EQ(ParseSdpText("s=" + std::string(kMegabyte, 'a'))["name"].get<std::string>().size(), kMegabyte);
}

// Spelling of values, both ways.
#include "tools/zefa/Words.h"
#include "tools/zefa/Failure.h"

#include <gtest/gtest.h>

namespace
{

using namespace zefa;

TEST(Words, StandardsAreNamedByRasterScanAndRate)
{
    EXPECT_EQ("1920x1080p59.94", StandardName(ZEFA_VIDEO_STANDARD_1920X1080_P_59_94));
    EXPECT_EQ("1920x1080i50", StandardName(ZEFA_VIDEO_STANDARD_1920X1080_I_50));
    EXPECT_EQ("2048x1080p23.98", StandardName(ZEFA_VIDEO_STANDARD_2048X1080_P_23_98));
    EXPECT_EQ("", StandardName(ZEFA_VIDEO_STANDARD_UNKNOWN));
    EXPECT_EQ("", StandardName(-1));
}

TEST(Words, StandardsAreFoundByNameAndNumber)
{
    EXPECT_EQ(ZEFA_VIDEO_STANDARD_1280X720_P_50, StandardOf("1280x720p50", "--standard"));
    EXPECT_EQ(ZEFA_VIDEO_STANDARD_1280X720_P_50, StandardOf("3", "--standard"));
    EXPECT_THROW(StandardOf("45", "--standard"), Failure);
    EXPECT_THROW(StandardOf("1280x720", "--standard"), Failure);
}

TEST(Words, AnUnknownWordIsRefusedWithThoseThatThereAre)
{
    try
    {
        ValueOf(kDepths, "9", "--depth");
        FAIL();
    }
    catch (const Failure& failure)
    {
        EXPECT_EQ(kUsage, failure.Code);
        EXPECT_STREQ("--depth does not know \"9\"; there are: 8, 10, 12.", failure.what());
    }
    EXPECT_EQ(ZEFA_SDP_VIDEO_DEPTH_10, ValueOf(kDepths, "10", "--depth"));
    EXPECT_EQ(nullptr, WordOf(kDepths, ZEFA_SDP_VIDEO_DEPTH_UNKNOWN));
}

TEST(Words, AddressesAreDottedAndInHostOrder)
{
    EXPECT_EQ("239.100.1.10", AddressText(0xEF64010A));
    EXPECT_EQ(0xEF64010A, AddressOf("239.100.1.10"));
    EXPECT_FALSE(AddressOf("239.100.1"));
    EXPECT_FALSE(AddressOf("localhost"));
}

TEST(Words, IdentitiesHaveTheirLastByteFirstInTheText)
{
    const uint8_t bytes[8] = {0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0xA1};

    EXPECT_EQ("A1-02-03-04-05-06-07-08", IdentityText(bytes, 8));
    EXPECT_EQ((std::vector<uint8_t>(bytes, bytes + 8)), IdentityOf("a1-02-03-04-05-06-07-08", 8));
    EXPECT_FALSE(IdentityOf("A1-02-03-04-05-06-07", 8));
    EXPECT_FALSE(IdentityOf("A1-02-03-04-05-06-07-0g", 8));
    EXPECT_FALSE(IdentityOf("A1:02:03:04:05:06:07:08", 8));
}

TEST(Words, NumbersOfTheServiceAreSpelledAsItWritesThem)
{
    EXPECT_EQ("02:fc:00:00:00:01", MacText(0x02FC00000001));
    EXPECT_EQ("1400000000000001", IdText(0x1400000000000001));
    EXPECT_EQ("1.3.0.0", VersionText(0x0001000300000000));
}

} // namespace

// The table of video standards: rows by hand, and what each row must obey by the signal that it describes.
#include "core/VideoStandards.h"

#include <gtest/gtest.h>
#include <tuple>

using namespace Quillmont::Trellis::Zefa;

namespace
{
using Picture = std::tuple<uint32_t, uint32_t, uint32_t, bool, bool>;

Picture PictureOf(int32_t number)
{
    const VideoStandardRow* row = FindVideoStandard(number);
    return row ? Picture{row->Width, row->Height, row->Rate, row->Interlaced, row->Fractional} : Picture{};
}

constexpr auto kRowsByHand = {
    std::tuple{0, Picture{720, 480, 60, true, true}},      std::tuple{1, Picture{720, 487, 60, true, true}},
    std::tuple{2, Picture{720, 576, 50, true, false}},     std::tuple{3, Picture{1280, 720, 50, false, false}},
    std::tuple{4, Picture{1280, 720, 60, false, true}},    std::tuple{6, Picture{1920, 1080, 50, true, false}},
    std::tuple{7, Picture{1920, 1080, 60, true, true}},    std::tuple{11, Picture{1920, 1080, 25, false, false}},
    std::tuple{15, Picture{1920, 1080, 60, false, true}},  std::tuple{22, Picture{2048, 1080, 48, false, true}},
    std::tuple{30, Picture{3840, 2160, 30, false, true}},  std::tuple{33, Picture{3840, 2160, 60, false, true}},
    std::tuple{41, Picture{4096, 2160, 48, false, false}}, std::tuple{44, Picture{4096, 2160, 60, false, false}},
};
} // namespace

TEST(FindVideoStandard, GivesThePictureOfANumber)
{
    for (const auto& [number, picture] : kRowsByHand)
        EXPECT_EQ(PictureOf(number), picture) << "standard " << number;
}

TEST(FindVideoStandard, FindsNothingOutsideTheTable)
{
    for (const int32_t number : {-1, 45, 46, INT32_MIN, INT32_MAX})
        EXPECT_EQ(FindVideoStandard(number), nullptr) << "standard " << number;
}

TEST(AllVideoStandards, HoldsTheNumbersZeroToFortyFourInOrder)
{
    const auto rows = AllVideoStandards();

    ASSERT_EQ(rows.size(), 45U);
    for (uint32_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].number, i);
}

TEST(AllVideoStandards, EachPictureIsThereOnce)
{
    const auto rows = AllVideoStandards();
    for (size_t i = 0; i < rows.size(); ++i)
        for (size_t k = 0; k < i; ++k)
            EXPECT_NE(PictureOf(static_cast<int32_t>(i)), PictureOf(static_cast<int32_t>(k))) << i << " and " << k;
}

TEST(AllVideoStandards, PictureAndSignalAgree)
{
    for (const VideoStandardRow& row : AllVideoStandards())
    {
        SCOPED_TRACE(row.number);
        const uint32_t links = row.number >= 27 ? 2 : 1; // a quarter picture each: half the width, half the height
        EXPECT_EQ(row.Width, links * row.ActiveSamples);
        EXPECT_EQ(row.Height, links * row.ActiveLines);
        EXPECT_EQ(row.Interlaced, row.Progressive == 0);
        EXPECT_EQ(row.Fractional, row.SdiFractional != 0);
        EXPECT_EQ(row.Rate, row.Interlaced ? 2U * row.FrameRate : row.FrameRate);
        EXPECT_EQ(row.ActiveLines, row.Field1ActiveLines + row.Field2ActiveLines);
    }
}

TEST(AllVideoStandards, LinesRunAtTheClockOfTheirSignal)
{
    for (const VideoStandardRow& row : AllVideoStandards())
    {
        SCOPED_TRACE(row.number);
        const uint64_t clock = uint64_t{row.TotalSamples} * row.TotalLines * row.FrameRate;
        const bool standardDefinition = row.number <= 2;
        const bool doubled = row.number >= 3 && row.FrameRate > 30 && row.ActiveLines == 1080;
        // 13.5 MHz (with the 1000/1001 already in 30 frames of 525 lines), 74.25 MHz, or twice that.
        const uint64_t expected = standardDefinition ? (row.TotalLines == 525 ? 13513500U : 13500000U)
                                  : doubled          ? 148500000U
                                                     : 74250000U;
        EXPECT_EQ(clock, expected);
    }
}

TEST(AllVideoStandards, FieldLinesAreThoseThatTheTableHasAlwaysHad)
{
    for (const VideoStandardRow& row : AllVideoStandards())
    {
        SCOPED_TRACE(row.number);
        const std::pair<uint16_t, uint16_t> lines{row.Field1Lines, row.Field2Lines};
        using Lines = std::pair<uint16_t, uint16_t>;
        const Lines expected = row.number <= 1    ? Lines{263, 262}
                               : row.number == 2  ? Lines{312, 313} // the only one whose first field is the shorter
                               : row.number <= 5  ? Lines{375, 375}
                               : row.number <= 26 ? Lines{563, 562}
                                                  : Lines{1125, 1125};
        EXPECT_EQ(lines, expected);
    }
    EXPECT_EQ(AllVideoStandards()[1].Field1ActiveLines, 244);
    EXPECT_EQ(AllVideoStandards()[1].Field2ActiveLines, 243);
}

// One test, since the row of the unknown standard stays for the rest of the process once it is made.
TEST(SdiStandardMaking, MakesTheRowOfZerosForGood)
{
    EXPECT_EQ(FindSdiStandard(45), nullptr);
    EXPECT_EQ(FindSdiStandard(44)->number, 44U);
    EXPECT_EQ(FindSdiStandard(45), nullptr) << "looking up a known number makes nothing";
    EXPECT_EQ(&SdiStandardMaking(7), FindSdiStandard(7));
    EXPECT_EQ(FindSdiStandard(45), nullptr);

    const VideoStandardRow& made = SdiStandardMaking(1000);

    EXPECT_EQ(made.number, 45U);
    EXPECT_EQ(made.TotalSamples + made.ActiveSamples + made.TotalLines + made.ActiveLines + made.FrameRate, 0);
    EXPECT_EQ(made.Progressive, 0U);
    EXPECT_EQ(made.SdiFractional, 0U);
    EXPECT_EQ(FindSdiStandard(45), &made);
    EXPECT_EQ(&SdiStandardMaking(45), &made);
    EXPECT_EQ(&SdiStandardMaking(UINT32_MAX), &made);
    EXPECT_EQ(FindSdiStandard(46), nullptr);
    EXPECT_EQ(AllVideoStandards().size(), 45U);
    EXPECT_EQ(FindVideoStandard(45), nullptr) << "the picture table has no such row";
}

// What the exported functions say about video standards.
#include "zefaline.h"

#include <gtest/gtest.h>
#include <ostream>
#include <vector>

namespace
{
struct Picture
{
    uint32_t width, height, rate;
    uint8_t interlaced, fractional;
    bool operator==(const Picture&) const = default;
};

struct Signal
{
    uint32_t totalSamples, activeSamples, totalLines, activeLines, rate;
    uint8_t interlaced, fractional;
    bool operator==(const Signal&) const = default;
};

constexpr uint32_t kUntouched = 4711;

Picture PictureOf(int32_t standard, ZEFA_ERRORCODE expected)
{
    Picture picture{kUntouched, kUntouched, kUntouched, 9, 9};
    EXPECT_EQ(ZEFA_ST2110_20_GetVideoStandardInfo(standard, &picture.width, &picture.height, &picture.rate,
                                                  &picture.interlaced, &picture.fractional),
              expected)
        << standard;
    return picture;
}

Signal SignalOf(uint32_t standard)
{
    Signal signal{kUntouched, kUntouched, kUntouched, kUntouched, kUntouched, 9, 9};
    EXPECT_EQ(ZEFA_GetAncSdiVideoStandardInfo(standard, &signal.totalSamples, &signal.activeSamples, &signal.totalLines,
                                              &signal.activeLines, &signal.rate, &signal.interlaced,
                                              &signal.fractional),
              ZEFA_NO_ERROR)
        << standard;
    return signal;
}
} // namespace

TEST(GetVideoStandardInfo, TellsThePictureOfAStandard)
{
    EXPECT_EQ(PictureOf(7, ZEFA_NO_ERROR), (Picture{1920, 1080, 60, 1, 1}));
    EXPECT_EQ(PictureOf(0, ZEFA_NO_ERROR), (Picture{720, 480, 60, 1, 1}));
    EXPECT_EQ(PictureOf(11, ZEFA_NO_ERROR), (Picture{1920, 1080, 25, 0, 0}));
    EXPECT_EQ(PictureOf(44, ZEFA_NO_ERROR), (Picture{4096, 2160, 60, 0, 0}));
}

TEST(GetVideoStandardInfo, FindsNoOtherNumberAndTouchesNothing)
{
    for (const int32_t standard : {45, -1, INT32_MIN, INT32_MAX})
        EXPECT_EQ(PictureOf(standard, ZEFA_ERR_NOT_FOUND), (Picture{kUntouched, kUntouched, kUntouched, 9, 9}));
}

TEST(GetVideoStandardInfo, RefusesANullInAnyOutputAlsoForAnUnknownNumber)
{
    uint32_t number = 0;
    uint8_t flag = 0;
    for (const int32_t standard : {7, 99})
        for (int missing = 0; missing < 5; ++missing)
            EXPECT_EQ(
                ZEFA_ST2110_20_GetVideoStandardInfo(standard, missing == 0 ? nullptr : &number,
                                                    missing == 1 ? nullptr : &number, missing == 2 ? nullptr : &number,
                                                    missing == 3 ? nullptr : &flag, missing == 4 ? nullptr : &flag),
                ZEFA_ERR_INVALID_POINTER)
                << missing;
}

TEST(GetAncSdiVideoStandardInfo, TellsTheSignalOfAStandard)
{
    EXPECT_EQ(SignalOf(7), (Signal{2200, 1920, 1125, 1080, 60, 1, 1})) << "30 frames of two fields";
    EXPECT_EQ(SignalOf(2), (Signal{864, 720, 625, 576, 50, 1, 0}));
    EXPECT_EQ(SignalOf(15), (Signal{2200, 1920, 1125, 1080, 60, 0, 1}));
    EXPECT_EQ(SignalOf(40), (Signal{2750, 2048, 1125, 1080, 48, 0, 1})) << "one of four links";
}

TEST(GetAncSdiVideoStandardInfo, GivesZerosAndSuccessForAnyOtherNumber)
{
    for (const uint32_t standard : {1000U, 45U, UINT32_MAX})
        EXPECT_EQ(SignalOf(standard), (Signal{0, 0, 0, 0, 0, 1, 0})) << standard;
    EXPECT_EQ(PictureOf(45, ZEFA_ERR_NOT_FOUND).width, kUntouched) << "the table of pictures has no such row";
}

TEST(VideoStandardConstants, NameThePictureThatTheyStandFor)
{
    EXPECT_EQ(PictureOf(ZEFA_VIDEO_STANDARD_1920X1080_P_59_94, ZEFA_NO_ERROR), (Picture{1920, 1080, 60, 0, 1}));
    EXPECT_EQ(PictureOf(ZEFA_VIDEO_STANDARD_1280X720_P_50, ZEFA_NO_ERROR), (Picture{1280, 720, 50, 0, 0}));
    EXPECT_EQ(PictureOf(ZEFA_VIDEO_STANDARD_1920X1080_I_50, ZEFA_NO_ERROR), (Picture{1920, 1080, 50, 1, 0}));
    EXPECT_EQ(PictureOf(ZEFA_VIDEO_STANDARD_2048X1080_P_23_98, ZEFA_NO_ERROR), (Picture{2048, 1080, 24, 0, 1}));
    EXPECT_EQ(PictureOf(ZEFA_VIDEO_STANDARD_3840X2160_P_29_97, ZEFA_NO_ERROR), (Picture{3840, 2160, 30, 0, 1}));
    EXPECT_EQ(PictureOf(ZEFA_VIDEO_STANDARD_4096X2160_P_47_95, ZEFA_NO_ERROR), (Picture{4096, 2160, 48, 0, 1}));
    EXPECT_EQ(PictureOf(ZEFA_VIDEO_STANDARD_UNKNOWN, ZEFA_ERR_NOT_FOUND).width, kUntouched);
}

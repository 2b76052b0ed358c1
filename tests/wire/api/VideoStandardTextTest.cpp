// What the video standard function says to the log.
#include "ApiTest.h"

namespace
{
struct Answer
{
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    Texts errors;
};

// Asks with one of the five pointers null, or with none at 5.
Answer Ask(int32_t standard, int missing)
{
    uint32_t width = 0, height = 0, rate = 0;
    uint8_t interlaced = 0, fractional = 0;
    Answer answer;
    answer.errors = ErrorsOf(
        [&]
        {
            answer.result = ZEFA_ST2110_20_GetVideoStandardInfo(
                standard, missing == 0 ? nullptr : &width, missing == 1 ? nullptr : &height,
                missing == 2 ? nullptr : &rate, missing == 3 ? nullptr : &interlaced,
                missing == 4 ? nullptr : &fractional);
        });
    return answer;
}
} // namespace

TEST(VideoStandardTexts, EachNullPointerIsLogged)
{
    for (int missing = 0; missing < 5; ++missing)
    {
        const Answer answer = Ask(ZEFA_VIDEO_STANDARD_1920X1080_P_25, missing);
        EXPECT_EQ(answer.result, ZEFA_ERR_INVALID_POINTER) << missing;
        EXPECT_EQ(answer.errors, Texts{"One of the pointer is null. \r\n"}) << missing;
    }
}

TEST(VideoStandardTexts, StandardThatDoesNotExistIsNotFoundInSilence)
{
    const Answer answer = Ask(45, 5);
    EXPECT_EQ(answer.result, ZEFA_ERR_NOT_FOUND);
    EXPECT_EQ(answer.errors, Texts{});
}

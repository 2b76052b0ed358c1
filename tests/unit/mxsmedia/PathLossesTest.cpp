// What a path lacks of the packets that all paths have told of: gaps, a path that dies, returns, or lags behind.
#include "mxs/media/PathLosses.h"

#include "mxs/media/Assembler.h"

#include <gtest/gtest.h>

using namespace mxs::media;

namespace
{

constexpr uint64_t kMs = 1'000'000;

// Packets by their numbers, put in order as those of all paths are.
class PathLossesTest : public testing::Test
{
protected:
    void Bring(size_t path, uint32_t first, uint32_t end)
    {
        for (uint32_t number = first; number < end; ++number)
            Losses.Count(path, Merged.Accept(static_cast<uint16_t>(number), 0), NowNs);
    }
    void Wait(uint64_t ms)
    {
        NowNs += ms * kMs;
        Losses.Judge(NowNs);
    }
    void Expect(uint64_t first, uint64_t second) const
    {
        EXPECT_EQ(Losses.Lost(0), first);
        EXPECT_EQ(Losses.Lost(1), second);
    }

    SequenceTracker Merged;
    PathLosses Losses{2};
    uint64_t NowNs = 5'000'000'000;
};

} // namespace

TEST_F(PathLossesTest, AGapIsLostAsSoonAsThePathGoesOn)
{
    Bring(0, 100, 110);
    Bring(1, 100, 104);
    Expect(0, 0);
    Bring(1, 107, 108);
    Expect(0, 3); // 104 to 106
    Bring(1, 105, 106);
    Expect(0, 2);
    Bring(1, 105, 106); // once more, as some networks do
    Bring(1, 107, 108);
    Expect(0, 2);
}

TEST_F(PathLossesTest, WhatNoPathBringsIsLostOnEach)
{
    for (const size_t path : {0u, 1u})
        Bring(path, 0, 10);
    for (const size_t path : {0u, 1u})
        Bring(path, 15, 20);
    Expect(5, 5);
}

TEST_F(PathLossesTest, APathThatDiesLosesWhatTheOtherBringsFromTenMillisecondsOn)
{
    for (uint32_t number = 0; number < 100; ++number) // one each millisecond
    {
        if (number < 20) Bring(0, number, number + 1);
        Bring(1, number, number + 1);
        Wait(1);
        if (number == 28) Expect(0, 0);
    }
    EXPECT_GE(Losses.Lost(0), 60u); // the latest 10 to 20 ms may still come
    EXPECT_LE(Losses.Lost(0), 70u);

    EXPECT_EQ(Losses.Judge(NowNs), NowNs - 1 * kMs + kReorderNs);
    Wait(9); // 10 ms after the last packet
    Expect(80, 0);
    EXPECT_EQ(Losses.Judge(NowNs), UINT64_MAX);
}

TEST_F(PathLossesTest, APathThatReturnsHasLostWhatItMissedHoweverOftenTheNumbersWrapped)
{
    Bring(0, 0, 100);
    for (uint32_t number = 0; number < 200'000; ++number) // three times round
    {
        Bring(1, number, number + 1);
        if (number % 8 == 7) Wait(1);
    }
    Wait(10);
    Expect(199'900, 0);
    for (const size_t path : {1u, 0u})
        Bring(path, 200'000, 200'010);
    Wait(10);
    Expect(199'900, 0);
}

TEST_F(PathLossesTest, APathThatIsNeverHeardHasLostAll)
{
    Bring(1, 7, 57);
    Wait(10);
    Expect(50, 0);
    NowNs += kSilenceNs; // too late for a beginning of its own
    Bring(1, 57, 60);
    Bring(0, 59, 60);
    Expect(52, 0);
}

TEST_F(PathLossesTest, APathThatBeginsWithinASecondCountsFromItsFirstPacket)
{
    Bring(1, 0, 50);
    Wait(900);
    Expect(50, 0);
    Bring(1, 50, 51);
    Bring(0, 48, 49); // it is behind the other
    Expect(0, 0);
    Bring(0, 50, 51);
    Expect(1, 0);
    Bring(0, 10, 11); // from before its beginning
    Expect(1, 0);
}

TEST_F(PathLossesTest, APathFarBehindTheOtherLosesNothingOnceItHasBroughtAll)
{
    Bring(0, 0, 1);
    Bring(1, 0, 2000);
    Wait(10);
    Expect(1999, 0);
    Bring(0, 1, 2000);
    Expect(0, 0);
}

TEST_F(PathLossesTest, APacketFromBehindTheWindowFillsNothing)
{
    Bring(0, 0, 2);
    Bring(1, 0, 32770);
    Wait(10);
    Expect(32768, 0);
    Losses.Count(0, {SequenceTracker::Arrival::Late, Merged.Accept(2, 0).index - 1, 0}, NowNs); // number 1
    Expect(32768, 0);
    Bring(0, 2, 3);
    Expect(32767, 0);
}

TEST_F(PathLossesTest, APauseIsNoLoss)
{
    for (const size_t path : {0u, 1u})
        Bring(path, 0, 10);
    Wait(5000);
    Bring(0, 10, 12);
    Wait(9); // the second path is behind
    Bring(1, 10, 12);
    Wait(10);
    Expect(0, 0);

    Wait(5000);
    Bring(1, 13, 14); // the first after the pause comes on neither
    Bring(0, 13, 14);
    Wait(10);
    Expect(1, 1);
}

TEST_F(PathLossesTest, ARestartBeginsANewCountAndKeepsTheSum)
{
    Bring(1, 0, 10);
    Bring(0, 0, 5);
    Wait(10);
    Expect(5, 0);
    Bring(0, 40000, 40002); // two in a row from far behind: the sender has begun anew
    Bring(1, 40001, 40002);
    Expect(5, 0);
    Bring(1, 40003, 40004);
    Bring(0, 40003, 40004);
    Expect(6, 1);
}

TEST_F(PathLossesTest, WhatIsForgottenBeforeItWasJudgedIsNoLoss)
{
    Bring(1, 0, 10);
    Bring(0, 0, 5);
    Merged.Forget();
    Losses.Forget();
    Wait(100);
    Expect(0, 0);
    for (const size_t path : {0u, 1u})
        Bring(path, 500, 510);
    Wait(10);
    Expect(0, 0);
}

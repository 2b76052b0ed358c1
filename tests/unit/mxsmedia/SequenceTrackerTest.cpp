// Sequence numbers: order, losses, duplicates, wraps of both kinds of sender, restarts.
#include "mxs/media/SequenceTracker.h"

#include <gtest/gtest.h>

using mxs::media::SequenceTracker;
using Arrival = SequenceTracker::Arrival;

namespace
{

SequenceTracker::Verdict Accept(SequenceTracker& tracker, uint32_t number)
{
    return tracker.Accept(static_cast<uint16_t>(number), static_cast<uint16_t>(number >> 16));
}

} // namespace

TEST(SequenceTracker, TheFirstNumberStartsTheCountAndNothingIsMissing)
{
    SequenceTracker tracker;

    EXPECT_EQ(Accept(tracker, 40000).arrival, Arrival::Restart);
    const auto next = Accept(tracker, 40001);
    EXPECT_EQ(next.arrival, Arrival::New);
    EXPECT_EQ(next.missing, 0u);
}

TEST(SequenceTracker, GapsAreCountedAndLatePacketsAreToldFromDuplicates)
{
    SequenceTracker tracker;
    Accept(tracker, 10);

    EXPECT_EQ(Accept(tracker, 14).missing, 3u);
    EXPECT_EQ(Accept(tracker, 12).arrival, Arrival::Late);
    EXPECT_EQ(Accept(tracker, 12).arrival, Arrival::Duplicate);
    EXPECT_EQ(Accept(tracker, 14).arrival, Arrival::Duplicate);
    EXPECT_EQ(Accept(tracker, 9).arrival, Arrival::Late); // from before the start
    EXPECT_EQ(Accept(tracker, 15).missing, 0u);
}

TEST(SequenceTracker, AWrapWithTheUpperHalfLeftAtZeroIsOneStep)
{
    SequenceTracker tracker;
    Accept(tracker, 0xFFFE);
    const auto before = Accept(tracker, 0xFFFF);

    const auto after = Accept(tracker, 0x0000);

    EXPECT_EQ(after.arrival, Arrival::New);
    EXPECT_EQ(after.missing, 0u);
    EXPECT_EQ(after.index, before.index + 1);
    EXPECT_EQ(Accept(tracker, 0xFFFF).arrival, Arrival::Duplicate);
}

TEST(SequenceTracker, AWrapWithTheUpperHalfMovedIsOneStep)
{
    SequenceTracker tracker;
    const auto before = Accept(tracker, 0x0007FFFF);

    const auto after = Accept(tracker, 0x00080000);
    const auto skipped = Accept(tracker, 0x00080002);
    const auto late = Accept(tracker, 0x0007FFFE);

    EXPECT_EQ(after.index, before.index + 1);
    EXPECT_EQ(skipped.missing, 1u);
    EXPECT_EQ(late.arrival, Arrival::Late);
    EXPECT_EQ(late.index, before.index - 1);
}

TEST(SequenceTracker, TheUpperHalfToldManyLostPacketsApartFromOldOnes)
{
    SequenceTracker tracker;
    Accept(tracker, 0x00010010);

    const auto verdict = Accept(tracker, 0x0002F010); // 126,976 further on

    EXPECT_EQ(verdict.arrival, Arrival::New);
    EXPECT_EQ(verdict.missing, 126975u);
}

TEST(SequenceTracker, AllNumbersOfSeveralWrapsAreFollowedInBothManners)
{
    for (const bool moves : {false, true})
    {
        SequenceTracker tracker;
        Accept(tracker, 0);
        uint64_t missing = 0;
        for (uint32_t number = 1; number < 300000; ++number)
        {
            const auto verdict = Accept(tracker, moves ? number : number & 0xFFFF);
            ASSERT_EQ(verdict.arrival, Arrival::New) << number;
            missing += verdict.missing;
        }
        EXPECT_EQ(missing, 0u);
    }
}

TEST(SequenceTracker, TwoNumbersInARowFromFarBehindAreANewCount)
{
    SequenceTracker tracker;
    Accept(tracker, 50000);

    const auto first = Accept(tracker, 20000);
    const auto second = Accept(tracker, 20001);
    const auto third = Accept(tracker, 20002);

    EXPECT_EQ(first.arrival, Arrival::Late);
    EXPECT_EQ(second.arrival, Arrival::Restart);
    EXPECT_EQ(third.arrival, Arrival::New);
    EXPECT_EQ(third.missing, 0u);
    EXPECT_GT(second.index, first.index);
}

TEST(SequenceTracker, AnImpossibleStepOf32BitsIsANewCountAndNoLoss)
{
    SequenceTracker tracker;
    Accept(tracker, 5);

    const auto verdict = Accept(tracker, 0x50000000);

    EXPECT_EQ(verdict.arrival, Arrival::Restart);
    EXPECT_EQ(verdict.missing, 0u);
}

TEST(SequenceTracker, AfterForgetNothingIsMissing)
{
    SequenceTracker tracker;
    Accept(tracker, 100);

    tracker.Forget();
    const auto verdict = Accept(tracker, 9000);

    EXPECT_EQ(verdict.arrival, Arrival::Restart);
    EXPECT_EQ(verdict.missing, 0u);
    EXPECT_EQ(Accept(tracker, 9001).arrival, Arrival::New);
}

TEST(SequenceTracker, OnlyTheNextSixtyFourNumbersGoOn)
{
    SequenceTracker tracker;
    EXPECT_FALSE(tracker.GoesOn(1, 0)); // from nothing
    Accept(tracker, 1000);
    Accept(tracker, 999); // late: the highest counts

    EXPECT_TRUE(tracker.GoesOn(1001, 0));
    EXPECT_TRUE(tracker.GoesOn(1064, 0));
    EXPECT_FALSE(tracker.GoesOn(1065, 0));
    EXPECT_FALSE(tracker.GoesOn(1000, 0));
    EXPECT_FALSE(tracker.GoesOn(999, 0));
    EXPECT_FALSE(tracker.GoesOn(1001, 1));                  // 65536 further
    EXPECT_EQ(Accept(tracker, 1001).arrival, Arrival::New); // asking has changed nothing

    tracker.Forget();
    EXPECT_FALSE(tracker.GoesOn(1002, 0));
}

TEST(SequenceTracker, NumbersGoOnOverAWrapOfBothManners)
{
    SequenceTracker tracker;
    Accept(tracker, 0x0007FFFE);

    EXPECT_TRUE(tracker.GoesOn(0x0002, 7));
    EXPECT_TRUE(tracker.GoesOn(0x0002, 8));
    EXPECT_FALSE(tracker.GoesOn(0x0002, 9));
}

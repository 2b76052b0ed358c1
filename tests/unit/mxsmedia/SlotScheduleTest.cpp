// When slots are due, told by hand: moments counted from 1970, periods without a slot, clocks that step.
#include "mxs/media/SlotSchedule.h"

#include <gtest/gtest.h>

using namespace mxs::media;

namespace
{

constexpr uint64_t kMs = 1'000'000;
constexpr uint64_t kSecond = 1'000'000'000;
constexpr uint64_t kTolerance = 10 * kMs;
constexpr SlotPeriod k25{1, 25}, k5994{1001, 60000}, k1ms{1, 1000}, k50ms{50, 1000};

} // namespace

TEST(SlotSchedule, TheFirstSlotWaitsForTheNextMomentOfTheRaster)
{
    SlotSchedule schedule(k25, k25, kTolerance);

    EXPECT_EQ(schedule.WaitNs(1000 * kSecond + 1), 40 * kMs - 1);
    EXPECT_EQ(schedule.MomentNs(), 1000 * kSecond + 40 * kMs);
    EXPECT_EQ(schedule.WaitNs(1000 * kSecond + 39 * kMs), 1 * kMs);
    EXPECT_EQ(schedule.WaitNs(1000 * kSecond + 40 * kMs), 0u);
    EXPECT_EQ(schedule.WaitNs(1000 * kSecond + 41 * kMs), 0u); // a little late is still this moment
    EXPECT_EQ(schedule.MomentNs(), 1000 * kSecond + 40 * kMs);
}

TEST(SlotSchedule, MomentsOfAFractionalRateNeverDrift)
{
    SlotSchedule schedule(k5994, k5994, kTolerance);
    // 1001 s are exactly 60,000 frames: so is every multiple of 1001 s.
    const uint64_t whole = 1001 * 1'700'000 * kSecond;
    schedule.WaitNs(whole - 1);
    EXPECT_EQ(schedule.MomentNs(), whole);
    schedule.Began(whole, whole);
    EXPECT_EQ(schedule.MomentNs(), whole + 16683334); // 16,683,333.3 rounded up
    schedule.Began(whole, whole);
    EXPECT_EQ(schedule.MomentNs(), whole + 33366667);
    for (int frame = 2; frame < 60000; ++frame)
        schedule.Began(whole, whole);
    EXPECT_EQ(schedule.MomentNs(), whole + 1001 * kSecond);
}

TEST(SlotSchedule, SlotsOfSeveralRastersFollowOneAnotherByTheirPeriod)
{
    SlotSchedule schedule(k1ms, k50ms, kTolerance);
    schedule.WaitNs(7 * kSecond + 500);
    EXPECT_EQ(schedule.MomentNs(), 7 * kSecond + 1 * kMs);
    schedule.Began(7 * kSecond + 1 * kMs, 7 * kSecond + 1 * kMs);
    EXPECT_EQ(schedule.MomentNs(), 7 * kSecond + 51 * kMs);
}

TEST(SlotSchedule, BeforeTheFirstSlotNothingIsMissed)
{
    SlotSchedule schedule(k25, k25, kTolerance);
    uint64_t tai = 100 * kSecond;
    for (int frame = 0; frame < 10; ++frame)
    {
        tai += schedule.WaitNs(tai);
        EXPECT_EQ(schedule.Missed(tai, tai), 0u);
    }
}

TEST(SlotSchedule, EachPeriodWithoutASlotIsMissedOnce)
{
    constexpr uint64_t kBoot = 90 * kSecond; // the monotonic clock is behind by this
    SlotSchedule schedule(k25, k25, kTolerance);
    uint64_t tai = 100 * kSecond;
    tai += schedule.WaitNs(tai);
    schedule.Began(tai, tai - kBoot);
    uint64_t missed = 0;
    for (const uint64_t jitterNs : {300'000, 20'000, 0, 150'000, 5'000}) // of being woken
    {
        tai += schedule.WaitNs(tai) + jitterNs;
        missed += schedule.Missed(tai, tai - kBoot);
    }
    EXPECT_EQ(missed, 5u);
    tai += schedule.WaitNs(tai);
    EXPECT_EQ(schedule.MomentNs(), 100 * kSecond + 7 * 40 * kMs);
    schedule.Began(tai, tai - kBoot);
    tai += schedule.WaitNs(tai);
    EXPECT_EQ(schedule.Missed(tai, tai - kBoot), 1u);
}

TEST(SlotSchedule, LongSlotsAreLookedForAtEachMomentAndMissedOnceAPeriod)
{
    SlotSchedule schedule(k1ms, k50ms, kTolerance);
    uint64_t tai = 100 * kSecond;
    tai += schedule.WaitNs(tai);
    schedule.Began(tai, tai);
    tai += schedule.WaitNs(tai);
    EXPECT_EQ(tai, 100 * kSecond + 51 * kMs);
    uint64_t missed = 0;
    for (int look = 0; look < 120; ++look) // the last of them 119 ms after the first
    {
        missed += schedule.Missed(tai, tai);
        EXPECT_EQ(schedule.WaitNs(tai), 1 * kMs);
        tai += 1 * kMs;
    }
    EXPECT_EQ(missed, 3u);
    EXPECT_EQ(schedule.WaitNs(tai), 0u);
    schedule.Began(tai, tai); // in the middle of a period: on the raster all the same
    EXPECT_EQ(schedule.WaitNs(tai), 50 * kMs);
}

TEST(SlotSchedule, ShortRastersAreNotLookedAtMoreOftenThanOnceAMillisecond)
{
    SlotSchedule schedule({1, 8000}, {1, 8000}, kTolerance);
    uint64_t tai = 100 * kSecond;
    tai += schedule.WaitNs(tai);
    EXPECT_EQ(tai, 100 * kSecond + 125'000);
    schedule.Missed(tai, tai);

    EXPECT_EQ(schedule.WaitNs(tai), 1 * kMs);
}

TEST(SlotSchedule, ShortSlotsThatNobodyLookedForAreMissedWhenTheNextOneBegins)
{
    const struct
    {
        uint64_t looks; // without a slot, one millisecond apart, before the one that finds it
        uint64_t before, atTheBegin;
    } cases[] = {
        {1, 1, 7}, // at 250, and 375 to 1,125 us; the slot begins at 1,250
        {2, 9, 7},
        {5, 33, 7},
    };
    for (const auto& each : cases)
    {
        constexpr uint64_t kBoot = 90 * kSecond;
        SlotSchedule schedule({1, 8000}, {1, 8000}, kTolerance);
        uint64_t tai = 100 * kSecond;
        tai += schedule.WaitNs(tai);
        EXPECT_EQ(schedule.Began(tai, tai - kBoot), 0u);
        uint64_t missed = 0;
        for (uint64_t look = 0; look < each.looks; ++look)
        {
            tai += schedule.WaitNs(tai);
            missed += schedule.Missed(tai, tai - kBoot);
        }
        EXPECT_EQ(missed, each.before);
        tai += schedule.WaitNs(tai) + 30'000; // of being woken

        EXPECT_EQ(schedule.Began(tai, tai - kBoot), each.atTheBegin);
        tai += schedule.WaitNs(tai);
        EXPECT_EQ(schedule.Began(tai, tai - kBoot), 0u);
    }
}

TEST(SlotSchedule, AStallOfMoreThanAPeriodBeginsAnewOnTheRaster)
{
    SlotSchedule schedule(k25, k25, kTolerance);
    uint64_t tai = 100 * kSecond;
    tai += schedule.WaitNs(tai);
    schedule.Began(tai, tai);
    EXPECT_EQ(schedule.WaitNs(100 * kSecond + 120 * kMs), 0u); // one period late: caught up with
    EXPECT_EQ(schedule.MomentNs(), 100 * kSecond + 80 * kMs);

    EXPECT_EQ(schedule.WaitNs(100 * kSecond + 125 * kMs), 35 * kMs);
    EXPECT_EQ(schedule.MomentNs(), 100 * kSecond + 160 * kMs);
}

TEST(SlotSchedule, AStallThatIsNotTooLongIsMadeUpForSlotBySlot)
{
    SlotSchedule schedule(k1ms, k1ms, 100 * kMs);
    uint64_t tai = 100 * kSecond;
    tai += schedule.WaitNs(tai);
    schedule.Began(tai, tai);
    tai += 100 * kMs; // 99 ms after the next moment
    for (uint64_t slot = 2; slot <= 101; ++slot)
    {
        EXPECT_EQ(schedule.HeldOff(tai, tai), 0u);
        EXPECT_EQ(schedule.WaitNs(tai), 0u);
        EXPECT_EQ(schedule.MomentNs(), 100 * kSecond + slot * kMs);
        schedule.Began(tai, tai);
    }
    EXPECT_EQ(schedule.WaitNs(tai), 1 * kMs);
}

TEST(SlotSchedule, SlotsThatLeaveLongAfterTheirMomentAreNotTooLateForThat)
{
    constexpr uint64_t kStartOffset = 39 * kMs;
    const struct
    {
        uint64_t lateNs, missed;
    } cases[] = {{40 * kMs, 0}, {79 * kMs, 0}, {79 * kMs + 1, 2}};
    for (const auto& [lateNs, missed] : cases)
    {
        SlotSchedule schedule(k25, k25, kTolerance, kStartOffset);
        uint64_t tai = 100 * kSecond;
        tai += schedule.WaitNs(tai);
        schedule.Began(tai, tai);
        schedule.HeldOff(tai, tai);
        tai += 40 * kMs + lateNs; // behind the next moment
        EXPECT_EQ(schedule.HeldOff(tai, tai), missed) << lateNs;
    }
}

TEST(SlotSchedule, PeriodsThatPassWhileNobodyAsksAreCounted)
{
    const struct
    {
        SlotPeriod raster, period;
        uint64_t stallNs; // from the moment that is due
        uint64_t missed, waitNs;
    } cases[] = {
        {k25, k25, 40 * kMs, 0, 0}, // may still be sent
        {k25, k25, 45 * kMs, 2, 35 * kMs},
        {k25, k25, 1001 * kMs, 26, 39 * kMs},
        {k1ms, k1ms, 150 * kMs + 300'000, 151, 700'000},
        {k1ms, k50ms, 170 * kMs, 3, 1 * kMs}, // 171 ms
    };
    for (const auto& each : cases)
    {
        constexpr uint64_t kBoot = 90 * kSecond;
        SlotSchedule schedule(each.raster, each.period, kTolerance);
        uint64_t tai = 100 * kSecond;
        EXPECT_EQ(schedule.HeldOff(tai, tai - kBoot), 0u);
        tai += schedule.WaitNs(tai);
        schedule.Began(tai, tai - kBoot);
        EXPECT_EQ(schedule.HeldOff(tai, tai - kBoot), 0u);
        tai += schedule.WaitNs(tai) + each.stallNs;

        EXPECT_EQ(schedule.HeldOff(tai, tai - kBoot), each.missed) << each.stallNs;
        EXPECT_EQ(schedule.WaitNs(tai), each.waitNs) << each.stallNs;
        EXPECT_EQ(schedule.HeldOff(tai, tai - kBoot), 0u);
    }
}

TEST(SlotSchedule, PeriodsOfAStallAreCountedOnceWhenThereWasNoSlotBefore)
{
    SlotSchedule schedule(k25, k25, kTolerance);
    uint64_t tai = 100 * kSecond;
    schedule.HeldOff(tai, tai);
    tai += schedule.WaitNs(tai);
    schedule.Began(tai, tai);
    tai += schedule.WaitNs(tai);
    EXPECT_EQ(schedule.Missed(tai, tai), 1u); // 80 ms

    tai += 200 * kMs; // 120 to 280 ms
    EXPECT_EQ(schedule.HeldOff(tai, tai), 5u);
    tai += schedule.WaitNs(tai);
    EXPECT_EQ(schedule.Missed(tai, tai), 1u);
}

TEST(SlotSchedule, AStepOfTheClockTakesNoPeriodAway)
{
    SlotSchedule schedule(k25, k25, kTolerance);
    uint64_t tai = 100 * kSecond, monotonic = 7 * kSecond;
    schedule.HeldOff(tai, monotonic);
    tai += schedule.WaitNs(tai);
    schedule.Began(tai, monotonic);

    EXPECT_EQ(schedule.HeldOff(tai + 1000 * kSecond, monotonic + 40 * kMs), 0u);
    EXPECT_EQ(schedule.WaitNs(tai + 1000 * kSecond), 40 * kMs);
}

TEST(SlotSchedule, AClockThatStepsIsFollowed)
{
    SlotSchedule schedule(k25, k25, kTolerance);
    uint64_t tai = 100 * kSecond;
    tai += schedule.WaitNs(tai);
    schedule.Began(tai, tai);

    EXPECT_EQ(schedule.WaitNs(50 * kSecond + 10 * kMs), 30 * kMs); // back
    EXPECT_EQ(schedule.MomentNs(), 50 * kSecond + 40 * kMs);
    EXPECT_EQ(schedule.WaitNs(5000 * kSecond), 40 * kMs); // ahead
    EXPECT_EQ(schedule.MomentNs(), 5000 * kSecond + 40 * kMs);
}

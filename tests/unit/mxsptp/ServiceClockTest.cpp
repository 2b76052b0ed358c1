// Times by hand: what the master's time is, given the system's and the measured offset.
#include "mxs/ptp/ServiceClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <ctime>
#include <sys/timex.h>
#include <thread>

namespace test
{
namespace
{

using namespace mxs::ptp;

constexpr int64_t kSecond = 1000000000;

MasterSample Sample(int64_t systemNs, int64_t offsetNs, TimeProperties time = {})
{
    return {systemNs, offsetNs, time};
}

int64_t SystemNs()
{
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return time.tv_sec * kSecond + time.tv_nsec;
}

TEST(TaiMinusSystem, OfAMasterThatTellsUtcAddsTheUtcOffset)
{
    // The system is 250 ns ahead of the master.
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, 250)), 37 * kSecond - 250);
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, -250)), 37 * kSecond + 250);
}

TEST(TaiMinusSystem, OfAMasterThatTellsUtcTakesItsUtcOffsetWhenItIsValid)
{
    TimeProperties time;
    time.currentUtcOffset = 38;
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, 0, time)), 37 * kSecond);
    time.currentUtcOffsetValid = true;
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, 0, time)), 38 * kSecond);
}

TEST(TaiMinusSystem, OnThePtpTimescaleTheOffsetAlreadyCountsFromTai)
{
    TimeProperties time;
    time.ptpTimescale = true;
    // A system on UTC, 100 ns ahead of a master on TAI: the daemon says 100.
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, 100, time)), 37 * kSecond - 100);
    // A master that has the system's own number for its TAI: the daemon says 37 s.
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, 37 * kSecond, time)), 0);
}

TEST(TaiMinusSystem, OnThePtpTimescaleTheUtcOffsetIsTheOneThatTheDaemonWorksWith)
{
    TimeProperties time;
    time.ptpTimescale = true;
    time.currentUtcOffset = 35; // older than what the daemon knows
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, 0, time)), 37 * kSecond);
    time.currentUtcOffset = 38;
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, 0, time)), 38 * kSecond);
    time.currentUtcOffset = 35;
    time.currentUtcOffsetValid = time.timeTraceable = true;
    EXPECT_EQ(TaiMinusSystemNs(Sample(0, 0, time)), 35 * kSecond);
}

TEST(FollowedClock, FirstLookHasNoRate)
{
    EXPECT_EQ(Follow(std::nullopt, Sample(5 * kSecond, 10)), (Relation{5 * kSecond, 37 * kSecond - 10, 0}));
}

TEST(FollowedClock, RateIsWhatTwoLooksShow)
{
    const Relation first{5 * kSecond, 37 * kSecond, 0};
    // In two seconds the system has fallen behind by 20 us: TAI gains 1e-5.
    const Relation second = Follow(first, Sample(7 * kSecond, -20000));
    EXPECT_EQ(second.taiMinusSystemNs, 37 * kSecond + 20000);
    EXPECT_DOUBLE_EQ(second.rate, 1e-5);
    // A further second with another 14 us: a quarter of the difference counts.
    EXPECT_DOUBLE_EQ(Follow(second, Sample(8 * kSecond, -34000)).rate, 1.1e-5);
}

TEST(FollowedClock, LooksThatAreTooCloseLeaveTheRateAlone)
{
    const Relation before{5 * kSecond, 37 * kSecond, 2e-5};
    const Relation after = Follow(before, Sample(5 * kSecond + kSecond / 4, 900));
    EXPECT_EQ(after.taiMinusSystemNs, 37 * kSecond - 900);
    EXPECT_DOUBLE_EQ(after.rate, 2e-5);
}

TEST(FollowedClock, AClockThatWasSetShowsNoRate)
{
    const Relation before{5 * kSecond, 37 * kSecond, 2e-5};
    EXPECT_EQ(Follow(before, Sample(6 * kSecond, kSecond)), (Relation{6 * kSecond, 36 * kSecond, 0}));
    EXPECT_EQ(Follow(before, Sample(4 * kSecond, 0)), (Relation{4 * kSecond, 37 * kSecond, 0}));
    EXPECT_EQ(Follow(before, Sample(6 * kSecond, 500001)).rate, 0) << "500 us in a second is the most";
    EXPECT_NE(Follow(before, Sample(6 * kSecond, 500000)).rate, 0);
}

TEST(FollowedClock, LooksThatAreFarApartShowNoRate)
{
    const Relation before{5 * kSecond, 37 * kSecond, 2e-5};
    // Half a second within half an hour is no more than 278 parts in a million.
    EXPECT_EQ(Follow(before, Sample(1805 * kSecond, kSecond / 2)),
              (Relation{1805 * kSecond, 37 * kSecond - kSecond / 2, 2e-5}));
    EXPECT_DOUBLE_EQ(Follow(before, Sample(65 * kSecond, -3600000)).rate, 3e-5) << "a minute: 6e-5, of which a quarter";
    EXPECT_DOUBLE_EQ(Follow(before, Sample(65 * kSecond + 1, -3600000)).rate, 2e-5);
}

TEST(FollowedClock, TimeBetweenLooksRunsAtTheRate)
{
    const Relation relation{100 * kSecond, 37 * kSecond, 1e-5};
    EXPECT_EQ(TaiAt(relation, 100 * kSecond), 137 * kSecond);
    EXPECT_EQ(TaiAt(relation, 101 * kSecond), 138 * kSecond + 10000);
    EXPECT_EQ(TaiAt(relation, 100 * kSecond + 50000), 137 * kSecond + 50001); // 0.5 ns are rounded up
    EXPECT_EQ(TaiAt(relation, 99 * kSecond), 136 * kSecond - 10000);
    EXPECT_EQ(TaiAt(relation, 160 * kSecond), 197 * kSecond + 600000);
    EXPECT_EQ(TaiAt(relation, 5100 * kSecond), 5137 * kSecond + 600000) << "no further than a minute";
}

// The service's time is so much ahead of the system's, to the nanosecond.
void ExpectAhead(const ServiceClock& clock, int64_t aheadNs)
{
    const int64_t before = SystemNs();
    const auto time = static_cast<int64_t>(clock.TaiNs());
    const int64_t after = SystemNs();
    EXPECT_GE(time, before + aheadNs);
    EXPECT_LE(time, after + aheadNs);
}

TEST(ServiceClock, IsTheSystemsInTheBeginning)
{
    const ServiceClock clock;
    timex kernel{};
    adjtimex(&kernel);
    ExpectAhead(clock, kernel.tai != 0 ? kernel.tai * kSecond : 37 * kSecond);
    EXPECT_FALSE(clock.Read().followsPtp);
    EXPECT_FALSE(clock.Read().locked);
}

TEST(ServiceClock, TellsTheMastersTimeAndHoldsItUntilItIsReleased)
{
    ServiceClock clock;
    TimeProperties time;
    time.currentUtcOffset = 38;
    time.currentUtcOffsetValid = true;
    clock.Take(Sample(SystemNs(), 1000 * kSecond, time)); // the system is far ahead of the master
    ExpectAhead(clock, -962 * kSecond);
    ServiceClock::State state = clock.Read();
    EXPECT_TRUE(state.followsPtp);
    EXPECT_TRUE(state.locked);
    EXPECT_EQ(state.offsetFromMasterNs, 1000 * kSecond);
    EXPECT_EQ(state.taiMinusSystemNs, -962 * kSecond);
    EXPECT_EQ(state.utcOffset, 38);
    EXPECT_TRUE(state.utcOffsetValid);
    EXPECT_FALSE(state.ptpTimescale);

    clock.Hold();
    ExpectAhead(clock, -962 * kSecond);
    state = clock.Read();
    EXPECT_TRUE(state.followsPtp);
    EXPECT_FALSE(state.locked);

    clock.Release();
    EXPECT_GT(static_cast<int64_t>(clock.TaiNs()), SystemNs());
    EXPECT_FALSE(clock.Read().followsPtp);
}

TEST(ServiceClock, TheSameMeasurementOnceMoreChangesNothing)
{
    ServiceClock clock;
    const int64_t now = SystemNs();
    clock.Take(Sample(now, 5 * kSecond));
    clock.Take(Sample(now, 900 * kSecond));
    EXPECT_EQ(clock.Read().taiMinusSystemNs, 32 * kSecond);
}

TEST(ServiceClock, LooksThatNoClockCanShowAreAsIfThePortWereNoSlave)
{
    constexpr int64_t kFarthest = 4000000000 * kSecond;
    const int64_t now = SystemNs();
    const MasterSample impossible[] = {Sample(now + 1, INT64_MIN),     Sample(now + 1, INT64_MAX),
                                       Sample(now + 1, kFarthest + 1), Sample(now + 1, -kFarthest - 1),
                                       Sample(INT64_MIN, 0),           Sample(INT64_MAX, 0)};
    for (const MasterSample& sample : impossible)
    {
        ServiceClock clock;
        clock.Take(sample);
        EXPECT_FALSE(clock.Read().followsPtp) << sample.systemNs << " " << sample.offsetFromMasterNs;

        clock.Take(Sample(now, 5 * kSecond));
        ASSERT_TRUE(clock.Read().locked);
        clock.Take(sample);
        EXPECT_FALSE(clock.Read().locked);
        EXPECT_TRUE(clock.Read().followsPtp);
        EXPECT_EQ(clock.Read().taiMinusSystemNs, 32 * kSecond);
    }
    ServiceClock clock;
    clock.Take(Sample(now, -kFarthest));
    EXPECT_EQ(clock.Read().taiMinusSystemNs, kFarthest + 37 * kSecond);
    clock.Take(Sample(now + 1, kFarthest));
    EXPECT_EQ(clock.Read().taiMinusSystemNs, 37 * kSecond - kFarthest);
    EXPECT_EQ(clock.TaiNs(), 0u) << "before 1970";
}

TEST(ServiceClock, ReadersSeeOneRelationOrTheOtherAndNeverAMixture)
{
    ServiceClock clock;
    const int64_t now = SystemNs();
    clock.Take(Sample(now, 0));
    std::atomic<bool> done{false};
    std::thread writer(
        [&]
        {
            for (int round = 0; round < 20000; ++round)
            {
                clock.Release();
                clock.Take(Sample(now + round % 2, (round % 2 ? -1 : 1) * int64_t{1000000} * kSecond));
            }
            done = true;
        });
    size_t odd = 0;
    while (!done)
    {
        const double ahead = static_cast<double>(static_cast<int64_t>(clock.TaiNs()) - now) / 1e9;
        const auto near = [ahead](double place) { return ahead > place - 100 && ahead < place + 100; };
        odd += near(37) || near(1000037) || near(-999963) ? 0 : 1;
    }
    writer.join();
    EXPECT_EQ(odd, 0u);
}

} // namespace
} // namespace test

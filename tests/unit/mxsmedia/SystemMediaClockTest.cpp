// The system's clock as the media see it.
#include "mxs/media/SystemMediaClock.h"

#include <ctime>

#include <gtest/gtest.h>
#include <sys/timex.h>

TEST(SystemMediaClock, IsAheadOfUtcByWhatTheKernelSaysOr37Seconds)
{
    timex kernel{};
    ASSERT_GE(adjtimex(&kernel), 0);
    const int64_t seconds = kernel.tai ? kernel.tai : 37;
    const mxs::media::SystemMediaClock clock;

    timespec before{}, after{};
    clock_gettime(CLOCK_REALTIME, &before);
    const auto tai = static_cast<int64_t>(clock.TaiNs());
    clock_gettime(CLOCK_REALTIME, &after);

    const auto expected = [&](const timespec& utc) { return (utc.tv_sec + seconds) * 1'000'000'000 + utc.tv_nsec; };
    EXPECT_GE(tai, expected(before));
    EXPECT_LE(tai, expected(after));
}

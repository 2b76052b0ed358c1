// Atomic time out of the system's clocks.
#include "SystemMediaClock.h"

#include <time.h>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint64_t kTaiMinusUtcNs = 37 * kNsPerSecond;

uint64_t Read(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<uint64_t>(now.tv_sec) * kNsPerSecond + static_cast<uint64_t>(now.tv_nsec);
}

} // namespace

uint64_t SystemMediaClock::TaiNs() const noexcept
{
    const uint64_t utc = Read(CLOCK_REALTIME);
    const uint64_t tai = Read(CLOCK_TAI);
    const bool kernelKnows = tai > utc + kNsPerSecond;
    return kernelKnows ? tai : utc + kTaiMinusUtcNs;
}

} // namespace mxs::media

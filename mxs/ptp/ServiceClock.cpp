// Arithmetic between the system's clock, the master's and TAI.
#include "mxs/ptp/ServiceClock.h"

#include <algorithm>
#include <cmath>
#include <ctime>

namespace mxs::ptp
{

namespace
{

constexpr double kHighestRate = 500e-6;             // no oscillator is worse
constexpr int64_t kShortestBase = kNsPerSecond / 2; // of a rate: below, the noise of the offsets counts
constexpr int64_t kLongestRun = 60 * kNsPerSecond;  // that a rate is good for, and that shows one
constexpr double kRateShare = 0.25;                 // of a new rate beside the old one
constexpr int64_t kFarthestNs = 4'000'000'000 * kNsPerSecond;
constexpr int64_t kLeastTaiOffset = 10 * kNsPerSecond; // the kernel's own: below, nobody has told it

int64_t ReadNs(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return int64_t{time.tv_sec} * kNsPerSecond + time.tv_nsec;
}

// The difference that ptp4l itself works with.
int UtcOffsetOfPtp4l(const TimeProperties& time)
{
    if (time.currentUtcOffsetValid && time.timeTraceable) return time.currentUtcOffset;
    return std::max<int>(time.currentUtcOffset, kTaiMinusUtc);
}

} // namespace

bool IsPlausible(const MasterSample& sample)
{
    const auto isNear = [](int64_t ns) { return ns >= -kFarthestNs && ns <= kFarthestNs; };
    return isNear(sample.systemNs) && isNear(sample.offsetFromMasterNs);
}

int64_t TaiMinusSystemNs(const MasterSample& sample)
{
    const TimeProperties& time = sample.time;
    const int utcOffset = time.ptpTimescale            ? UtcOffsetOfPtp4l(time)
                          : time.currentUtcOffsetValid ? time.currentUtcOffset
                                                       : kTaiMinusUtc;
    return utcOffset * kNsPerSecond - sample.offsetFromMasterNs;
}

Relation Follow(const std::optional<Relation>& before, const MasterSample& sample)
{
    Relation relation{sample.systemNs, TaiMinusSystemNs(sample), before ? before->rate : 0};
    if (!before) return relation;
    const int64_t elapsed = relation.systemNs - before->systemNs;
    const double change = static_cast<double>(relation.taiMinusSystemNs - before->taiMinusSystemNs);
    const double shown = elapsed == 0 ? 0 : change / static_cast<double>(elapsed);
    if (elapsed < 0 || std::abs(change) > kHighestRate * static_cast<double>(std::max(elapsed, kNsPerSecond)))
        relation.rate = 0;
    else if (elapsed >= kShortestBase && elapsed <= kLongestRun)
        relation.rate = before->rate == 0 ? shown : before->rate + (shown - before->rate) * kRateShare;
    return relation;
}

int64_t TaiAt(const Relation& relation, int64_t systemNs)
{
    const int64_t elapsed = std::clamp(systemNs - relation.systemNs, -kLongestRun, kLongestRun);
    return systemNs + relation.taiMinusSystemNs + std::llround(static_cast<double>(elapsed) * relation.rate);
}

uint64_t ServiceClock::TaiNs() const noexcept
{
    for (;;)
    {
        // Acquire on each, so that the second look at the version comes last; pairs with Publish.
        const uint32_t version = Version.load(std::memory_order_acquire);
        const bool follows = Follows.load(std::memory_order_acquire);
        const Relation relation{SystemNs.load(std::memory_order_acquire), DifferenceNs.load(std::memory_order_acquire),
                                Rate.load(std::memory_order_acquire)};
        if (version % 2 != 0 || Version.load(std::memory_order_relaxed) != version) continue;
        const int64_t system = ReadNs(CLOCK_REALTIME);
        if (follows) return static_cast<uint64_t>(std::max<int64_t>(TaiAt(relation, system), 0));
        const int64_t tai = ReadNs(CLOCK_TAI);
        return static_cast<uint64_t>(tai - system >= kLeastTaiOffset ? tai : system + kTaiMinusUtc * kNsPerSecond);
    }
}

void ServiceClock::Publish(bool follows, const Relation& relation)
{
    const uint32_t version = Version.load(std::memory_order_relaxed);
    Version.store(version + 1, std::memory_order_relaxed);
    Follows.store(follows, std::memory_order_release); // release: never seen before the odd version
    SystemNs.store(relation.systemNs, std::memory_order_release);
    DifferenceNs.store(relation.taiMinusSystemNs, std::memory_order_release);
    Rate.store(relation.rate, std::memory_order_release);
    Version.store(version + 2, std::memory_order_release);
}

void ServiceClock::Take(const MasterSample& sample)
{
    if (!IsPlausible(sample)) return Hold();
    const std::lock_guard lock(Mutex);
    if (!Last || Last->systemNs != sample.systemNs) // else it is the same measurement once more
    {
        Last = ptp::Follow(Last, sample);
        Publish(true, *Last);
    }
    Told = {true,
            true,
            sample.offsetFromMasterNs,
            Last->taiMinusSystemNs,
            sample.time.currentUtcOffset,
            sample.time.currentUtcOffsetValid,
            sample.time.ptpTimescale};
}

void ServiceClock::Hold()
{
    const std::lock_guard lock(Mutex);
    Told.locked = false;
}

void ServiceClock::Release()
{
    const std::lock_guard lock(Mutex);
    Last.reset();
    Told = {};
    Publish(false, {});
}

ServiceClock::State ServiceClock::Read() const
{
    const std::lock_guard lock(Mutex);
    return Told;
}

} // namespace mxs::ptp

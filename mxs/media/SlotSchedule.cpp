// Arithmetic of moments: exact, as the fractions of seconds of some rates add up to days.
#include "SlotSchedule.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

__extension__ using Wide = unsigned __int128;

constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint64_t kLeastPollNs = 1'000'000;
constexpr uint64_t kLeastLeadNs = 10'000'000; // a moment far ahead is that of a clock that has stepped back

// Rounded up: a moment that falls on a tick of the RTP clock is never counted for the tick before it.
uint64_t NsOf(SlotPeriod span, uint64_t count)
{
    const Wide product = Wide{count} * span.numerator * kNsPerSecond;
    return static_cast<uint64_t>((product + span.denominator - 1) / span.denominator);
}

uint64_t Quotient(SlotPeriod whole, SlotPeriod part)
{
    const Wide quotient = Wide{whole.numerator} * part.denominator / (Wide{whole.denominator} * part.numerator);
    return std::max<uint64_t>(static_cast<uint64_t>(quotient), 1);
}

} // namespace

SlotSchedule::SlotSchedule(SlotPeriod raster, SlotPeriod period, uint64_t leastToleranceNs, uint64_t startOffsetNs)
    : Raster(raster), PeriodLengthNs(NsOf(period, 1)), DriftNs(PeriodLengthNs / 8),
      PeriodMoments(Quotient(period, raster)), PollMoments((kLeastPollNs + NsOf(raster, 1) - 1) / NsOf(raster, 1)),
      LongestDelayNs(std::max(PeriodLengthNs, leastToleranceNs) + startOffsetNs)
{
}

uint64_t SlotSchedule::TimeOf(uint64_t moment) const
{
    return NsOf(Raster, moment);
}

uint64_t SlotSchedule::LatestMoment(uint64_t taiNs) const
{
    return static_cast<uint64_t>(Wide{taiNs} * Raster.denominator / (Wide{Raster.numerator} * kNsPerSecond));
}

bool SlotSchedule::IsTooLate(uint64_t taiNs) const
{
    return taiNs > TimeOf(Moment) + LongestDelayNs;
}

uint64_t SlotSchedule::HeldOff(uint64_t taiNs, uint64_t monotonicNs)
{
    const bool stepped = taiNs > AskedTaiNs + (monotonicNs - AskedMonotonicNs) + LongestDelayNs;
    AskedTaiNs = taiNs;
    AskedMonotonicNs = monotonicNs;
    if (!SentAny || stepped || !IsTooLate(taiNs)) return 0;
    const uint64_t due = Moment;
    Moment = LatestMoment(taiNs) + 1;
    return Waiting ? PeriodsBegun(monotonicNs + DriftNs) : (Moment - due) / PeriodMoments;
}

uint64_t SlotSchedule::WaitNs(uint64_t taiNs)
{
    const bool far = IsTooLate(taiNs) || TimeOf(Moment) > taiNs + 2 * std::max(PeriodLengthNs, kLeastLeadNs);
    if (!Aligned || far)
    {
        Moment = LatestMoment(taiNs) + 1;
        Aligned = true;
    }
    const uint64_t next = TimeOf(Moment);
    return next > taiNs ? next - taiNs : 0;
}

uint64_t SlotSchedule::Began(uint64_t taiNs, uint64_t monotonicNs)
{
    const uint64_t sinceMomentNs = taiNs - std::min(taiNs, MomentNs());
    const uint64_t missed = Waiting ? PeriodsBegun(monotonicNs - sinceMomentNs - DriftNs) : 0;
    Moment += PeriodMoments;
    SentAny = true;
    Waiting = false;
    return missed;
}

uint64_t SlotSchedule::Missed(uint64_t taiNs, uint64_t monotonicNs)
{
    const uint64_t sinceMomentNs = taiNs - std::min(taiNs, MomentNs());
    Moment = std::max(LatestMoment(taiNs), Moment) + PollMoments;
    if (!SentAny) return 0;
    if (!Waiting)
    {
        Waiting = true;
        PeriodEndNs = monotonicNs - sinceMomentNs + PeriodLengthNs;
        return 1;
    }
    return PeriodsBegun(monotonicNs + DriftNs);
}

// Since the latest period without a slot.
uint64_t SlotSchedule::PeriodsBegun(uint64_t reachedNs)
{
    if (reachedNs < PeriodEndNs) return 0;
    const uint64_t begun = (reachedNs - PeriodEndNs) / PeriodLengthNs + 1;
    PeriodEndNs += begun * PeriodLengthNs;
    return begun;
}

} // namespace mxs::media

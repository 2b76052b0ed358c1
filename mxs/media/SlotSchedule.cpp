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
constexpr uint64_t kLeastToleranceNs = 10'000'000; // of threads that are put to sleep at the wrong time

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

SlotSchedule::SlotSchedule(SlotPeriod raster, SlotPeriod period)
    : Raster(raster), PeriodLengthNs(NsOf(period, 1)), PeriodMoments(Quotient(period, raster)),
      PollMoments((kLeastPollNs + NsOf(raster, 1) - 1) / NsOf(raster, 1)),
      ToleranceNs(std::max(PeriodLengthNs, kLeastToleranceNs))
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

uint64_t SlotSchedule::WaitNs(uint64_t taiNs)
{
    const uint64_t moment = TimeOf(Moment);
    const bool far = taiNs > moment + ToleranceNs || moment > taiNs + 2 * ToleranceNs;
    if (!Aligned || far)
    {
        Moment = LatestMoment(taiNs) + 1;
        Aligned = true;
    }
    const uint64_t next = TimeOf(Moment);
    return next > taiNs ? next - taiNs : 0;
}

void SlotSchedule::Began()
{
    Moment += PeriodMoments;
    SentAny = true;
    Waiting = false;
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
    // The moments of the two clocks drift apart a little.
    const uint64_t reachedNs = monotonicNs + PeriodLengthNs / 8;
    if (reachedNs < PeriodEndNs) return 0;
    const uint64_t begun = (reachedNs - PeriodEndNs) / PeriodLengthNs + 1;
    PeriodEndNs += begun * PeriodLengthNs;
    return begun;
}

} // namespace mxs::media

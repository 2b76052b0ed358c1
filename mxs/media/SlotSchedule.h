// When slots are sent. They begin on moments of a raster that is counted from the epoch of the media clock, one period
// after another while the application delivers. Time comes in as a number.
#pragma once

#include "Packetizer.h"

#include <cstdint>

namespace mxs::media
{

class SlotSchedule
{
public:
    // `period` is a whole number of `raster`s.
    SlotSchedule(SlotPeriod raster, SlotPeriod period);

    // Time until a slot may begin, 0: now, and the slot's moment is MomentNs. Begins anew with the next moment of the
    // raster when the clock has stepped, or nobody asked, by more than a period (and 10 ms).
    uint64_t WaitNs(uint64_t taiNs);
    uint64_t MomentNs() const { return TimeOf(Moment); }

    // What came of a moment that was due: a slot, or none. The second returns how many periods without a slot have
    // begun since the latest one; before the first slot there are none. `monotonicNs` is the same moment as `taiNs` on
    // a clock that does not step.
    void Began();
    uint64_t Missed(uint64_t taiNs, uint64_t monotonicNs);

    uint64_t PeriodNs() const { return PeriodLengthNs; }

private:
    uint64_t TimeOf(uint64_t moment) const;
    uint64_t LatestMoment(uint64_t taiNs) const;

    const SlotPeriod Raster;
    const uint64_t PeriodLengthNs;
    const uint64_t PeriodMoments;
    const uint64_t PollMoments; // from one look to the next while there is no slot
    const uint64_t ToleranceNs;

    bool Aligned = false;
    uint64_t Moment = 0; // the next one, in rasters since the epoch
    bool SentAny = false;
    bool Waiting = false;     // the latest moment had no slot
    uint64_t PeriodEndNs = 0; // monotonic, of the latest period without a slot
};

} // namespace mxs::media

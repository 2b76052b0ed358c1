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
    // `period` is a whole number of `raster`s. A slot that is late by `leastToleranceNs`, or by its period if that is
    // longer, may still be sent. Slots whose first packet leaves `startOffsetNs` behind their moment are asked for that
    // much later, and have it on top.
    SlotSchedule(SlotPeriod raster, SlotPeriod period, uint64_t leastToleranceNs, uint64_t startOffsetNs = 0);

    // To be called before WaitNs: how many periods have passed without a slot because nobody asked, too many to be
    // caught up with. `monotonicNs` is the same moment as `taiNs` on a clock that does not step: a step of the other
    // one takes no period away.
    uint64_t HeldOff(uint64_t taiNs, uint64_t monotonicNs);

    // Time until a slot may begin, 0: now, and the slot's moment is MomentNs. Begins anew with the next moment of the
    // raster when the clock has stepped, or nobody asked for longer than the tolerance.
    uint64_t WaitNs(uint64_t taiNs);
    uint64_t MomentNs() const { return TimeOf(Moment); }

    // What came of a moment that was due: a slot, or none. Each returns how many periods without a slot have begun that
    // are not counted yet; before the first slot there are none. Short slots are not looked for in each of their
    // periods.
    uint64_t Began(uint64_t taiNs, uint64_t monotonicNs);
    uint64_t Missed(uint64_t taiNs, uint64_t monotonicNs);

    uint64_t PeriodNs() const { return PeriodLengthNs; }

private:
    uint64_t TimeOf(uint64_t moment) const;
    uint64_t LatestMoment(uint64_t taiNs) const;
    bool IsTooLate(uint64_t taiNs) const;
    uint64_t PeriodsBegun(uint64_t reachedNs);

    const SlotPeriod Raster;
    const uint64_t PeriodLengthNs;
    const uint64_t DriftNs; // by so much the moments of the two clocks may differ
    const uint64_t PeriodMoments;
    const uint64_t PollMoments; // from one look to the next while there is no slot
    const uint64_t LongestDelayNs;

    bool Aligned = false;
    uint64_t Moment = 0;     // the next one, in rasters since the epoch
    uint64_t AskedTaiNs = 0; // when HeldOff was asked
    uint64_t AskedMonotonicNs = 0;
    bool SentAny = false;
    bool Waiting = false;     // the latest moment had no slot
    uint64_t PeriodEndNs = 0; // monotonic, of the latest period without a slot
};

} // namespace mxs::media

// The media clock of a machine that follows no grandmaster: the system's own.
#pragma once

#include "MediaClock.h"

namespace mxs::media
{

// International Atomic Time as the kernel has it. A kernel that was never told its distance from UTC (it is 0 then) is
// helped out with 37 s, which holds since 2017.
class SystemMediaClock : public MediaClock
{
public:
    uint64_t TaiNs() const noexcept override;
};

} // namespace mxs::media

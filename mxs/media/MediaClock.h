// The time of day of the media: what RTP timestamps and the moments of sending are counted from.
#pragma once

#include <cstdint>

namespace mxs::media
{

class MediaClock
{
public:
    virtual ~MediaClock() = default;

    // Nanoseconds of International Atomic Time since 1970, the scale of RTP media clocks. Any thread, never blocks;
    // may step when the service begins or ceases to follow a grandmaster.
    virtual uint64_t TaiNs() const noexcept = 0;
};

} // namespace mxs::media

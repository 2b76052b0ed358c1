// What all packetizers share.
#include "Packetizer.h"

namespace mxs::media
{

uint32_t RtpTimeOf(uint64_t taiNs, uint32_t rateHz)
{
    constexpr uint64_t kNsPerSecond = 1'000'000'000;
    const uint64_t seconds = taiNs / kNsPerSecond;
    const uint64_t rest = taiNs % kNsPerSecond;
    return static_cast<uint32_t>(seconds * rateHz + rest * rateHz / kNsPerSecond);
}

} // namespace mxs::media

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

uint64_t HalfNs(SlotPeriod frame)
{
    constexpr uint64_t kNsPerSecond = 1'000'000'000;
    return (frame.numerator * kNsPerSecond + 2 * frame.denominator - 1) / (2 * frame.denominator);
}

} // namespace mxs::media

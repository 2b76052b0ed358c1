// What a configuration of audio must hold, and how long its slots are.
#include "EssenceFormat.h"

namespace mxs::media
{

Outcome CheckEssenceOf(Direction, const AudioConfig&)
{
    return NotThere("This service does not receive audio.");
}

SlotLayout LayoutOfEssence(const AudioConfig& audio)
{
    const uint64_t samples = uint64_t{audio.samplingRateHz} * audio.packetTimeUs / 1'000'000;
    const uint64_t sampleBytes = uint64_t{audio.encodingBytes} * audio.channels;
    const uint64_t bytes = samples * sampleBytes * audio.packetsPerBuffer;
    SlotLayout layout;
    if (bytes >= kSlotLimitBytes) return layout;
    layout.lockSize = static_cast<uint32_t>(bytes);
    layout.buffers[0] = {0, bytes};
    return layout;
}

} // namespace mxs::media

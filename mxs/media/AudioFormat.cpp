// What a configuration of audio must hold, and how long its slots are.
#include "AudioFormat.h"

#include "EssenceFormat.h"

namespace mxs::media
{

Outcome CheckEssenceOf(Direction, const AudioConfig& audio)
{
    if (audio.encodingBytes != 2 && audio.encodingBytes != 3) return BadValue("The audio encoding is unknown.");
    if (audio.samplingRateHz != 44100 && audio.samplingRateHz != 48000 && audio.samplingRateHz != 96000)
        return BadValue("The sampling rate is unknown.");
    if (PacketsPerSecond(audio.packetTimeUs) == 0) return BadValue("The packet time is unknown.");
    if (FramesPerPacket(audio) == 0)
        return BadValue("A packet of " + std::to_string(audio.packetTimeUs) + " us has no whole number of samples at " +
                        std::to_string(audio.samplingRateHz) + " Hz.");
    if (audio.channels == 0) return BadValue("The audio has no channel.");
    if (audio.packetsPerBuffer == 0) return BadValue("A buffer has no packet.");
    const uint64_t packetBytes = FramesPerPacket(audio) * BytesPerFrame(audio);
    if (packetBytes > kMostSampleBytes)
        return BadValue("A packet would have " + std::to_string(packetBytes) + " bytes of samples, and " +
                        std::to_string(kMostSampleBytes) +
                        " fit into a datagram: there are too many channels for this packet time.");
    if (FramesPerSlot(audio) * BytesPerFrame(audio) >= kSlotLimitBytes)
        return BadValue("A slot of this format has 4 GiB or more.");
    return {};
}

SlotLayout LayoutOfEssence(const AudioConfig& audio)
{
    // Configurations that are refused come here too: no product may wrap.
    SlotLayout layout;
    if (FramesPerPacket(audio) * BytesPerFrame(audio) > kMostSampleBytes) return layout;
    const uint64_t bytes = FramesPerSlot(audio) * BytesPerFrame(audio);
    if (bytes >= kSlotLimitBytes) return layout;
    layout.lockSize = static_cast<uint32_t>(bytes);
    layout.buffers[0] = {0, bytes};
    return layout;
}

} // namespace mxs::media

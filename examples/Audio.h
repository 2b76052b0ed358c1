// Audio: the samples of a description and of a slot, big-endian as on the network, channel by channel.
#pragma once

#include "Session.h"

#include <cstdint>

struct AudioFormat
{
    uint32_t rate, channels, bytesPerSample;

    uint32_t BytesPerFrame() const { return channels * bytesPerSample; } // one sample of every channel
    uint32_t FramesIn(double milliseconds) const { return uint32_t(rate * milliseconds / 1000); }
    bool operator==(const AudioFormat&) const = default;
};

// Asks for slots of 10 ms and tells what is in them. Throws what the descriptions of the library cannot say.
AudioFormat ChooseSlots(Description& description);

void StoreSample(uint8_t* bytes, uint32_t bytesPerSample, int32_t sample);

// Makes packets of audio slots: one each packet time, their timestamps without a step as long as slot follows slot.
#pragma once

#include "MediaStream.h"
#include "Packetizer.h"

#include <cstdint>
#include <span>

namespace mxs::media
{

class AudioPacketizer : public Packetizer
{
public:
    // `audio` is one that CheckEssence accepts.
    AudioPacketizer(const AudioConfig& audio, const PacketizerSettings& settings);

    SlotPeriod Period() const override;
    SlotPeriod Raster() const override;
    size_t BurstCount() const override { return 1; }
    size_t Begin(std::span<const uint8_t> slot, const SlotTimes& times) override;
    uint64_t OffsetNs(size_t index) const override;
    Burst Write(size_t first, size_t end, std::span<uint8_t> room) override;

private:
    uint32_t TimeOfTheClock(uint64_t startTaiNs) const;
    bool IsDirectlyBehind(uint64_t startTaiNs) const;

    const uint8_t PayloadType;
    const uint32_t Ssrc;
    const uint32_t RateHz;
    const uint32_t Packets; // of a slot
    const uint32_t PacketFrames;
    const size_t PacketBytes; // samples, without header

    std::span<const uint8_t> Slot;
    uint16_t Sequence;      // of the packet that comes next
    uint32_t Timestamp = 0; // of the slot's first frame
    uint64_t StartTaiNs = 0;
    bool FromClock = false; // Timestamp is not the application's: a slot directly behind goes on from it
};

} // namespace mxs::media

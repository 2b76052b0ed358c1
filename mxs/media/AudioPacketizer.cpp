// From slots to audio packets.
#include "AudioPacketizer.h"

#include "AudioFormat.h"

#include <algorithm>
#include <cstring>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr size_t kHeaderBytes = 12;
constexpr uint8_t kVersion2 = 0x80;

uint64_t NsOf(uint64_t frames, uint32_t rateHz)
{
    return frames * kNsPerSecond / rateHz;
}

uint8_t* Put16(uint8_t* at, uint32_t value)
{
    *at++ = static_cast<uint8_t>(value >> 8);
    *at++ = static_cast<uint8_t>(value);
    return at;
}

uint8_t* Put32(uint8_t* at, uint32_t value)
{
    return Put16(Put16(at, value >> 16), value);
}

} // namespace

AudioPacketizer::AudioPacketizer(const AudioConfig& audio, const PacketizerSettings& settings)
    : PayloadType(settings.payloadType), Ssrc(settings.ssrc), RateHz(audio.samplingRateHz),
      Packets(audio.packetsPerBuffer), PacketFrames(FramesPerPacket(audio)),
      PacketBytes(PacketFrames * BytesPerFrame(audio)), Sequence(static_cast<uint16_t>(settings.firstSequence))
{
}

SlotPeriod AudioPacketizer::Period() const
{
    return {uint64_t{PacketFrames} * Packets, RateHz};
}

SlotPeriod AudioPacketizer::Raster() const
{
    return {PacketFrames, RateHz};
}

size_t AudioPacketizer::Begin(std::span<const uint8_t> slot, const SlotTimes& times)
{
    const auto own = std::find_if(times.timestamps.begin(), times.timestamps.end(),
                                  [](const TimestampRecord& record) { return record.position == 0; });
    const bool fromClock = own == times.timestamps.end();
    Slot = slot;
    Timestamp = fromClock ? TimeOfTheClock(times.startTaiNs) : own->value;
    StartTaiNs = times.startTaiNs;
    FromClock = fromClock;
    return std::min<size_t>(Packets, slot.size() / PacketBytes);
}

uint32_t AudioPacketizer::TimeOfTheClock(uint64_t startTaiNs) const
{
    if (FromClock && IsDirectlyBehind(startTaiNs)) return Timestamp + PacketFrames * Packets;
    // The nearest sample: a moment of the packet raster, in whole nanoseconds, lies up to one before its sample.
    return RtpTimeOf(startTaiNs + kNsPerSecond / RateHz / 2, RateHz);
}

bool AudioPacketizer::IsDirectlyBehind(uint64_t startTaiNs) const
{
    const uint64_t expected = StartTaiNs + NsOf(uint64_t{PacketFrames} * Packets, RateHz);
    const uint64_t away = startTaiNs > expected ? startTaiNs - expected : expected - startTaiNs;
    return away < NsOf(PacketFrames, RateHz) / 2; // the next moment at which a slot could begin is a packet away
}

uint64_t AudioPacketizer::OffsetNs(size_t index) const
{
    return NsOf(uint64_t{index} * PacketFrames, RateHz);
}

Burst AudioPacketizer::Write(size_t first, size_t, std::span<uint8_t> room)
{
    uint8_t* at = room.data();
    *at++ = kVersion2;
    *at++ = PayloadType; // marker 0
    at = Put16(at, Sequence++);
    at = Put32(at, Timestamp + static_cast<uint32_t>(first) * PacketFrames);
    at = Put32(at, Ssrc);
    std::memcpy(at, Slot.data() + first * PacketBytes, PacketBytes);
    const size_t bytes = kHeaderBytes + PacketBytes;
    return {.count = 1, .datagramBytes = bytes, .totalBytes = bytes};
}

} // namespace mxs::media

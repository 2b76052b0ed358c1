// Makes packets of slots, one kind for each essence. Knows neither sockets nor rails; a sender asks for the datagrams
// of a slot as they become due.
#pragma once

#include "MediaStream.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace mxs::media
{

// A timestamp that the application put on its slot.
struct TimestampRecord
{
    uint32_t position = 0; // the byte of the slot whose time it is
    uint32_t value = 0;    // RTP units
};

// When a slot is sent and which times its packets carry.
struct SlotTimes
{
    uint64_t startTaiNs = 0;                       // the moment of the slot on the media clock
    std::span<const TimestampRecord> timestamps{}; // of the application; without one the time comes from startTaiNs
};

// A span of time as a fraction of seconds, so that slot upon slot never drifts.
struct SlotPeriod
{
    uint64_t numerator = 0; // seconds times denominator
    uint64_t denominator = 1;
};

// From a frame's moment to that of its second field: half the period, rounded up so that the time of the field, in
// ticks of the RTP clock, is never cut below a whole one.
uint64_t HalfNs(SlotPeriod frame);

// Datagrams one behind another, all of `datagramBytes` but the last, which may be shorter: what one system call sends.
struct Burst
{
    size_t count = 0;
    size_t datagramBytes = 0;
    size_t totalBytes = 0;
};

struct PacketizerSettings
{
    uint8_t payloadType = 0;
    uint32_t ssrc = 0;
    uint32_t firstSequence = 0; // of the first packet; essences without an upper half take the lower 16 bits
};

class Packetizer
{
public:
    virtual ~Packetizer() = default;

    // Time from one slot to the next while the application delivers, and the raster of moments at which a slot may
    // begin: a video slot begins on a frame, an audio slot on a packet.
    virtual SlotPeriod Period() const = 0;
    virtual SlotPeriod Raster() const = 0;

    // How late a slot may be sent after the service was not run, if its period is not longer: the next ones follow at
    // once until the delay is made up for. Without a flood of datagrams that is no good for frames of pictures.
    virtual uint64_t CatchUpNs() const { return 100'000'000; }

    // Number of datagrams that make a burst of reasonable length: the sender wakes once for so many.
    virtual size_t BurstCount() const = 0;

    // Takes a slot on; it stays readable until the next call. Returns the number of its datagrams. The content is the
    // application's and may be anything: it is copied once, checked, and what is no good is left out and counted.
    virtual size_t Begin(std::span<const uint8_t> slot, const SlotTimes& times) = 0;

    // When the datagram is due, in nanoseconds from the slot's start. Never falls with `index`.
    virtual uint64_t OffsetNs(size_t index) const = 0;

    // Writes the datagrams from `first` to at most `end` (not included) that go into one burst; one at least.
    // Each is called for once and in order.
    virtual Burst Write(size_t first, size_t end, std::span<uint8_t> room) = 0;

    // What the application delivered and could not be sent, since the start: ancillary playlists and packets.
    virtual uint64_t Refused() const { return 0; }
};

// The packetizer of an essence that CheckEssence accepts.
std::unique_ptr<Packetizer> MakePacketizer(const EssenceConfig& essence, const PacketizerSettings& settings);

// RTP timestamp of a moment on the media clock: whole ticks of `rateHz` since 1970 TAI, low 32 bits.
uint32_t RtpTimeOf(uint64_t taiNs, uint32_t rateHz);

} // namespace mxs::media

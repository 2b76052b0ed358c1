// Makes slots of packets, one kind for each essence. Knows neither sockets nor rails; time comes in as a number.
#pragma once

#include "MediaStream.h"
#include "RtpIntake.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace mxs::media
{

// Kinds of metadata records of a slot.
constexpr uint32_t kRecordTimestamp = 1;
constexpr uint32_t kRecordEnd = 2;
constexpr uint32_t kRecordLost = 3;

// How long a slot that has ended waits for packets that were overtaken. Redundant paths may differ by as much.
constexpr uint64_t kReorderNs = 10'000'000;

// Where slots come from and go to.
class SlotSink
{
public:
    virtual ~SlotSink() = default;

    // Memory of LayoutOf(...).lockSize bytes for the next slot, and the sink's name for it; null when there is no room.
    virtual uint8_t* OpenSlot(void*& slot) = 0;
    virtual void AddRecord(void* slot, uint32_t type, uint32_t position, uint32_t value) = 0;
    virtual void CommitSlot(void* slot) = 0; // slots may be committed in another order than they were opened
};

struct AssemblerCounters
{
    IntakeCounters intake;

    uint64_t processed = 0; // packets written to a slot
    uint64_t delayed = 0;   // packets of slots that were committed already
    uint64_t drops = 0;     // slots for which there was no room
    uint64_t committed = 0;
    uint64_t incomplete = 0; // of the committed ones
    uint64_t malformed = 0;  // packets whose payload is not what the configuration says
    uint64_t beforeFirstFrame = 0;

    // Ancillary packets inside RTP packets.
    uint64_t parityErrors = 0;
    uint64_t checksumErrors = 0;
    uint64_t ancillaryNotPlaced = 0; // for which a slot has no line, no buffer or no room

    uint64_t biggestDelayNs = 0; // of the second before biggestDelayAtNs
    uint64_t biggestDelayAtNs = 0;
    bool lastSlotDropped = false;

    // A packet came so long after its slot was committed.
    void NoteDelay(uint64_t delayNs, uint64_t nowNs)
    {
        constexpr uint64_t kNsPerSecond = 1'000'000'000;
        if (delayNs < biggestDelayNs && nowNs < biggestDelayAtNs + kNsPerSecond) return;
        biggestDelayNs = delayNs;
        biggestDelayAtNs = nowNs;
    }
};

struct AssemblerSettings
{
    uint8_t payloadType = 0;
    uint32_t ssrc = 0;             // 0: the first that is heard
    uint32_t mostLossRecords = 64; // room of a slot for records of lost data, at least 2
    size_t paths = 1;              // connections that bring the same packets
    uint32_t queueDepth = 4;       // slots of the ring
};

class Assembler
{
public:
    virtual ~Assembler() = default;

    // One datagram of the connection `path` (0 first). `nowNs` never goes back.
    virtual void Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs) = 0;

    // Commits what has waited long enough; returns the time of the next deadline, UINT64_MAX when nothing is open.
    virtual uint64_t Tick(uint64_t nowNs) = 0;

    // Packets were withheld from Push: a gap that follows is no loss.
    virtual void ForgetSequence() = 0;

    virtual const AssemblerCounters& Counters() const = 0;
};

// The assembler of an essence that CheckEssence accepts; `sink` outlives it.
std::unique_ptr<Assembler> MakeAssembler(const EssenceConfig& essence, const AssemblerSettings& settings,
                                         SlotSink& sink);

} // namespace mxs::media

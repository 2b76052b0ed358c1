// Makes slots of packets: which packet belongs to which frame, where its samples lie, what is missing. Knows neither
// sockets nor rails; time comes in as a number.
#pragma once

#include "CoverageMap.h"
#include "LossList.h"
#include "MediaStream.h"
#include "RtpPacket.h"
#include "SampleConversion.h"
#include "SequenceTracker.h"

#include <array>
#include <cstdint>
#include <span>

namespace mxs::media
{

// Kinds of metadata records of a slot.
constexpr uint32_t kRecordTimestamp = 1;
constexpr uint32_t kRecordEnd = 2;
constexpr uint32_t kRecordLost = 3;

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
    uint64_t processed = 0; // packets written to a slot
    uint64_t lost = 0;      // gaps in the sequence that no packet has filled
    uint64_t delayed = 0;   // packets of slots that were committed already
    uint64_t drops = 0;     // slots for which there was no room
    uint64_t committed = 0;
    uint64_t incomplete = 0; // of the committed ones

    // Packets that were refused, by reason.
    uint64_t malformed = 0;
    uint64_t otherPayloadType = 0;
    uint64_t otherSource = 0;
    uint64_t duplicates = 0;
    uint64_t beforeFirstFrame = 0;

    uint64_t biggestDelayNs = 0; // of the second before biggestDelayAtNs
    uint64_t biggestDelayAtNs = 0;
    uint32_t ssrc = 0; // of the source that is followed, 0 before the first packet
    bool lastSlotDropped = false;
};

class VideoAssembler
{
public:
    struct Settings
    {
        uint8_t payloadType = 0;
        uint32_t ssrc = 0;             // 0: the first that is heard
        uint32_t mostLossRecords = 64; // room of a slot for records of lost data, at least 2
    };

    // `video` is one that CheckEssence accepts. `sink` outlives the object.
    VideoAssembler(const VideoConfig& video, const Settings& settings, SlotSink& sink);

    // One datagram. `nowNs` never goes back.
    void Push(std::span<const uint8_t> datagram, uint64_t nowNs);

    // Commits what has waited long enough; returns the time of the next deadline, UINT64_MAX when nothing is open.
    uint64_t Tick(uint64_t nowNs);

    // Packets were withheld from Push: a gap that follows is no loss.
    void ForgetSequence() { Sequence.Forget(); }

    const AssemblerCounters& Counters() const { return Count; }

private:
    static constexpr size_t kOpenSlots = 2; // the second takes the next frame while the first waits for late packets
    static constexpr size_t kRecentSlots = 8;

    struct Slot
    {
        void* token = nullptr;
        uint8_t* base = nullptr; // null: the ring had no room; the slot only swallows its packets
        std::array<bool, 2> seen{};
        std::array<uint32_t, 2> timestamp{};
        bool ended = false; // the sender has gone on, what is still missing is late
        uint64_t endNs = 0;
        CoverageMap covered;
    };
    struct RecentSlot
    {
        std::array<bool, 2> seen{};
        std::array<uint32_t, 2> timestamp{};
        uint64_t committedNs = 0;
    };

    bool AcceptSource(uint32_t ssrc, uint64_t nowNs);
    void CloseAfterSilence(uint64_t nowNs);
    bool Fits(const VideoPayload& payload) const;
    Slot* FindOpen(uint32_t timestamp, size_t field);
    Slot* Begin(const RtpPacket& packet, const VideoPayload& payload, const SequenceTracker::Verdict& verdict,
                uint64_t nowNs);
    bool IsSecondFieldOf(const Slot& slot, const SequenceTracker::Verdict& verdict) const;
    bool StartsFrame(const RtpPacket& packet, const VideoPayload& payload,
                     const SequenceTracker::Verdict& verdict) const;
    Slot* OpenNext(uint64_t nowNs);
    void Write(Slot& slot, const VideoPayload& payload);
    void End(Slot& slot, uint64_t nowNs);
    void Commit(Slot& slot, uint64_t nowNs);
    void Complete(Slot& slot); // black, losses, timestamps, end
    // True when the packet belongs to a slot that was committed lately.
    bool NoteDelay(const RtpPacket& packet, size_t field, uint64_t nowNs);

    const Settings Config;
    SlotSink& Sink;
    const bool Interlaced;
    const PixelGroup& Network;
    const SampleConverter Converter;
    const SlotLayout Layout;
    const uint64_t GroupsPerLine;
    const std::array<uint32_t, 2> Lines;      // of each field; a progressive frame is the first
    const std::array<uint64_t, 2> FirstGroup; // of each field in the slot
    uint32_t FieldStep;                       // ticks from the first field to the second

    SequenceTracker Sequence;
    uint64_t CountedFrom = 0; // index of the packet with which the count of losses began
    uint64_t LargestPayload = 1;
    uint64_t HeardNs = 0;
    bool Heard = false;

    bool Synced = false; // a frame's start has been seen, so the frames that follow are kept
    bool SyncTimestampKnown = false;
    uint32_t SyncTimestamp = 0;
    uint64_t FrameEndIndex = 0; // index of the latest marker that ends a frame

    std::array<Slot, kOpenSlots> Slots;
    std::array<Slot*, kOpenSlots> Open{}; // in the order of their frames
    size_t OpenCount = 0;
    std::array<RecentSlot, kRecentSlots> Recent{};
    size_t RecentNext = 0;
    LossList Losses;
    VideoPayload Scratch;
    AssemblerCounters Count;
};

} // namespace mxs::media

// Video: which packet belongs to which frame, where its samples lie, what is missing.
#pragma once

#include "Assembler.h"
#include "CoverageMap.h"
#include "LossList.h"
#include "MediaStream.h"
#include "RtpPacket.h"
#include "SampleConversion.h"

#include <array>
#include <cstdint>
#include <span>

namespace mxs::media
{

class VideoAssembler : public Assembler
{
public:
    // `video` is one that CheckEssence accepts. `sink` outlives the object.
    VideoAssembler(const VideoConfig& video, const AssemblerSettings& settings, SlotSink& sink);

    void Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs) override;
    uint64_t Tick(uint64_t nowNs) override;
    void ForgetSequence() override { Intake.Forget(); }
    const AssemblerCounters& Counters() const override;

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

    void PushTaken(const RtpIntake::Taken& taken, uint64_t nowNs);
    void CommitInSilence(uint64_t nowNs);
    void BeginAnew();
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

    SlotSink& Sink;
    const bool Interlaced;
    const PixelGroup& Network;
    const SampleConverter Converter;
    const SlotLayout Layout;
    const uint64_t GroupsPerLine;
    const std::array<uint32_t, 2> Lines;      // of each field; a progressive frame is the first
    const std::array<uint64_t, 2> FirstGroup; // of each field in the slot
    uint32_t FieldStep;                       // ticks from the first field to the second

    RtpIntake Intake;
    uint64_t LargestPayload = 1;

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
    mutable AssemblerCounters Count; // the intake's are copied when they are asked for
};

} // namespace mxs::media

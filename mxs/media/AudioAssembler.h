// Makes slots of audio packets: the sampling clock is cut into slots of one length, and each packet lies where its
// timestamp says.
#pragma once

#include "Assembler.h"
#include "CoverageMap.h"
#include "LossList.h"
#include "MediaStream.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace mxs::media
{

class AudioAssembler : public Assembler
{
public:
    // `audio` is one that CheckEssence accepts. `sink` outlives the object.
    AudioAssembler(const AudioConfig& audio, const AssemblerSettings& settings, SlotSink& sink);

    void Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs) override;
    uint64_t Tick(uint64_t nowNs) override;
    void ForgetSequence() override { Intake.Forget(); }
    const AssemblerCounters& Counters() const override;

private:
    static constexpr size_t kRecentSlots = 64;

    struct Slot
    {
        bool open = false; // false: committed before the slots in front of it
        void* token = nullptr;
        uint8_t* base = nullptr; // null: the ring had no room; the slot only swallows its packets
        uint64_t endedNs = 0;    // when a packet reached its end; for slots below Ended
        CoverageMap covered;
    };
    struct RecentSlot
    {
        uint64_t begin = 0; // position
        uint64_t committedNs = 0;
    };

    uint64_t PositionOf(uint32_t timestamp) const;
    uint64_t BeginOf(uint64_t number) const { return Grid + number * SlotFrames; }
    Slot& At(uint64_t number) { return Slots[number % Slots.size()]; }
    bool IsJump(uint64_t position) const;
    void CommitInSilence(uint64_t nowNs);
    void Align(uint32_t timestamp, uint64_t nowNs);
    bool Place(uint64_t begin, std::span<const uint8_t> samples, uint64_t nowNs); // false: no frame of it had a slot
    void OpenNext(uint64_t nowNs);
    void EndBelow(uint64_t number, uint64_t nowNs);
    void Commit(uint64_t number, uint64_t nowNs);
    void CommitAll(uint64_t nowNs);
    void Complete(const Slot& slot, uint64_t begin); // silence, losses, timestamp, end
    // True when the position is one of a slot that was committed lately.
    bool NoteDelay(uint64_t position, uint64_t nowNs);

    SlotSink& Sink;
    const uint64_t FrameBytes;
    const uint64_t SlotFrames;
    const uint32_t LockSize;

    RtpIntake Intake;

    // Positions are frames of the sampling clock; their low 32 bits are the RTP timestamp. Slots have numbers from 0,
    // which begins at Grid. Those from First (included) to Next (not included) are kept in Slots, and First is open.
    bool Aligned = false;
    uint64_t Grid = 0;
    uint64_t NewestEnd = 0; // behind the newest frame that arrived
    uint64_t First = 0;
    uint64_t Ended = 0; // the first whose end no packet has reached
    uint64_t Next = 0;
    std::vector<Slot> Slots;
    const uint64_t FarFrames; // a step beyond is a jump

    std::array<RecentSlot, kRecentSlots> Recent{};
    size_t RecentNext = 0;
    LossList Losses;
    mutable AssemblerCounters Count; // the intake's are copied when they are asked for
};

} // namespace mxs::media

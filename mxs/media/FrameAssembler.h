// What the assemblers of video and of ancillary data share: a slot is a frame, whose one or two fields are known by
// their timestamps. Which packet begins a frame, what its bytes are and when a slot is whole is the essence's.
#pragma once

#include "Assembler.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace mxs::media
{

// What has come of a frame. A progressive one has the first field alone.
struct Frame
{
    std::array<bool, 2> seen{};
    std::array<uint32_t, 2> timestamp{};
    uint64_t lastIndex = 0; // the highest of its packets

    bool Has(uint32_t at, size_t field) const
    {
        if (seen[field]) return timestamp[field] == at;
        return seen[1 - field] && timestamp[1 - field] == at; // senders may give both fields one timestamp
    }

    void Note(const RtpIntake::Taken& taken, size_t field)
    {
        seen[field] = true;
        timestamp[field] = taken.packet.timestamp;
        lastIndex = std::max(lastIndex, taken.verdict.index);
    }
};

struct FrameSlot : Frame
{
    void* token = nullptr;
    uint8_t* base = nullptr; // null: the ring had no room; the slot only swallows its packets
    bool ended = false;      // the sender has gone on, what is still missing is late
    uint64_t endNs = 0;

    void End(uint64_t nowNs)
    {
        if (!ended) endNs = nowNs;
        ended = true;
    }
};

struct RecentFrame : Frame
{
    uint64_t committedNs = 0;
};

// Ticks of the RTP clock from a frame's first field to its second; `framerate` counts fields.
constexpr uint32_t FieldTicks(uint32_t framerate, bool fractional)
{
    const uint64_t ticks = uint64_t{90000} * (fractional ? 1001 : 1000);
    const uint64_t perRate = uint64_t{1000} * framerate;
    return perRate == 0 ? 0 : static_cast<uint32_t>((ticks + perRate / 2) / perRate);
}

// `Slot` is a FrameSlot with what the essence keeps of an open frame; its Clear() empties that.
template <class Slot>
class FrameAssembler : public Assembler
{
public:
    uint64_t Tick(uint64_t nowNs) final
    {
        const uint64_t lookNs = Intake.Tick(nowNs);
        CommitInSilence(nowNs);
        for (size_t i = 0; i < OpenCount;)
        {
            if (Open[i]->ended && nowNs >= Open[i]->endNs + kReorderNs)
                Commit(*Open[i], nowNs);
            else
                ++i;
        }
        if (OpenCount == 0) return lookNs;
        uint64_t next = std::min(lookNs, Intake.SilentFromNs());
        for (const Slot* slot : OpenSlots())
            if (slot->ended) next = std::min(next, slot->endNs + kReorderNs);
        return next;
    }

    void ForgetSequence() final { Intake.Forget(); }

    const AssemblerCounters& Counters() const final
    {
        Count.intake = Intake.Counters();
        return Count;
    }

protected:
    FrameAssembler(const SlotLayout& layout, bool interlaced, uint32_t fieldStep, const AssemblerSettings& settings,
                   SlotSink& sink)
        : Sink(sink), Layout(layout), Interlaced(interlaced), Intake({.payloadType = settings.payloadType,
                                                                      .ssrc = settings.ssrc,
                                                                      .paths = settings.paths,
                                                                      .numbering = RtpIntake::Numbering::Extended}),
          FieldStep(fieldStep)
    {
        Count.intake = Intake.Counters(); // from here on a copy takes no memory
    }

    // The essence's part, asked for a frame and not for each of its packets.
    virtual bool IsFirstOfFrame(const RtpIntake::Taken& taken) const = 0; // besides by a new timestamp
    virtual bool IsOtherField(const Frame& frame, const RtpIntake::Taken& taken, size_t field) const = 0;
    virtual bool IsWhole(const Slot& slot) const = 0;
    virtual void Complete(Slot& slot, bool whole) = 0; // its bytes and all records but the end; never without room

    // A datagram's first step: nothing when it is of no use.
    std::optional<RtpIntake::Taken> Take(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs)
    {
        CommitInSilence(nowNs);
        std::optional<RtpIntake::Taken> taken = Intake.Take(datagram, path, nowNs);
        if (taken && taken->afterSilence) BeginAnew();
        return taken;
    }

    // Its second step: the slot in which the packet has its place. Null, and counted, when there is none.
    Slot* FindSlot(const RtpIntake::Taken& taken, size_t field, uint64_t nowNs)
    {
        const bool late = taken.verdict.arrival == SequenceTracker::Arrival::Late;
        Slot* slot = nullptr;
        for (Slot* open : OpenSlots())
            if (open->Has(taken.packet.timestamp, field)) slot = open;
        // Late by its number, or one more packet of a frame that was complete without it.
        if (!slot && Synced && (NoteDelay(taken, field, nowNs) || late))
        {
            ++Count.delayed;
            return nullptr;
        }
        if (!slot && !late) slot = Begin(taken, field, nowNs);
        Intake.Fill(taken); // before the first frame too: what comes is not lost
        if (slot)
            slot->Note(taken, field);
        else
            ++Count.beforeFirstFrame;
        return slot;
    }

    bool EndsFrame(const RtpPacket& packet, size_t field) const { return packet.marker && (!Interlaced || field == 1); }

    // The newest frame, if it lacks the field and the packet is of it: an open slot or what a silence cut.
    Frame* FindPartner(const RtpIntake::Taken& taken, size_t field)
    {
        Frame* newest = OpenCount > 0 ? Open[OpenCount - 1] : CutFrame;
        if (!Interlaced || !newest || newest->seen[field] || !newest->seen[1 - field]) return nullptr;
        return IsOtherField(*newest, taken, field) ? newest : nullptr;
    }

    // Takes it out of the open ones.
    void Commit(Slot& slot, uint64_t nowNs)
    {
        if (slot.base)
        {
            const bool whole = IsWhole(slot);
            Complete(slot, whole);
            Sink.AddRecord(slot.token, kRecordEnd, Layout.lockSize - 1, 0);
            Sink.CommitSlot(slot.token);
            ++Count.committed;
            if (!whole) ++Count.incomplete;
        }
        Recent[RecentNext] = {slot, nowNs};
        RecentNext = (RecentNext + 1) % Recent.size();
        const auto end = std::remove(Open.begin(), Open.begin() + static_cast<std::ptrdiff_t>(OpenCount), &slot);
        OpenCount = static_cast<size_t>(end - Open.begin());
    }

    // A field of which nothing came has the distance to the other that those of the latest whole frame had.
    void CompleteTimestamps(Slot& slot)
    {
        if (slot.seen[0] && slot.seen[1]) FieldStep = slot.timestamp[1] - slot.timestamp[0];
        if (!slot.seen[0]) slot.timestamp[0] = slot.timestamp[1] - FieldStep;
        if (!slot.seen[1]) slot.timestamp[1] = slot.timestamp[0] + FieldStep;
    }

    std::span<Slot* const> OpenSlots() const { return {Open.data(), OpenCount}; } // in the order of their frames

    SlotSink& Sink;
    const SlotLayout Layout;
    const bool Interlaced;
    bool Synced = false;       // a frame's start has been seen, so the frames that follow are kept
    std::array<Slot, 2> Slots; // the second takes the next frame while the first waits for late packets
    std::array<RecentFrame, 8> Recent{};
    mutable AssemblerCounters Count; // the intake's are copied when they are asked for

private:
    // Frames that were committed before the silence have come to their end: their times may come again.
    void CommitInSilence(uint64_t nowNs)
    {
        if (!Intake.IsSilent(nowNs)) return;
        for (RecentFrame& frame : Recent)
            if (frame.committedNs < Intake.SilentFromNs()) frame.seen = {};
        if (OpenCount == 0) return;
        while (OpenCount > 0)
            Commit(*Open[0], nowNs);
        CutFrame = &Recent[(RecentNext + Recent.size() - 1) % Recent.size()];
    }

    void BeginAnew()
    {
        Synced = false;
        SyncTimestamp.reset();
        Recent = {};
        CutFrame = nullptr;
    }

    Slot* Begin(const RtpIntake::Taken& taken, size_t field, uint64_t nowNs)
    {
        if (OpenCount > 0 && FindPartner(taken, field)) return OpenSlots().back();
        const bool timestampMoved = SyncTimestamp && *SyncTimestamp != taken.packet.timestamp;
        SyncTimestamp = taken.packet.timestamp;
        Synced = Synced || (field == 0 && (timestampMoved || IsFirstOfFrame(taken)));
        return Synced ? OpenNext(nowNs) : nullptr;
    }

    Slot* OpenNext(uint64_t nowNs)
    {
        if (OpenCount == Open.size()) Commit(*Open[0], nowNs);
        for (Slot* slot : OpenSlots())
            slot->End(nowNs);

        Slot& slot = OpenCount == 1 && Open[0] == &Slots[0] ? Slots[1] : Slots[0];
        static_cast<FrameSlot&>(slot) = {};
        slot.Clear();
        slot.base = Sink.OpenSlot(slot.token);
        Count.lastSlotDropped = slot.base == nullptr;
        if (!slot.base) ++Count.drops;
        Open[OpenCount++] = &slot;
        CutFrame = nullptr;
        return &slot;
    }

    // True when the packet belongs to a slot that was committed lately.
    bool NoteDelay(const RtpIntake::Taken& taken, size_t field, uint64_t nowNs)
    {
        if (Frame* cut = OpenCount == 0 ? FindPartner(taken, field) : nullptr) cut->Note(taken, field);
        for (RecentFrame& frame : Recent)
        {
            if (!frame.Has(taken.packet.timestamp, field)) continue;
            frame.lastIndex = std::max(frame.lastIndex, taken.verdict.index); // the next frame begins behind it
            Count.NoteDelay(nowNs - frame.committedNs, nowNs);
            return true;
        }
        return false;
    }

    RtpIntake Intake;
    std::optional<uint32_t> SyncTimestamp; // of the latest packet that belonged to no frame before
    std::array<Slot*, 2> Open{};           // in the order of their frames
    size_t OpenCount = 0;
    size_t RecentNext = 0;
    uint32_t FieldStep;
    Frame* CutFrame = nullptr; // the newest of all, among the recent ones: a silence committed it
};

} // namespace mxs::media

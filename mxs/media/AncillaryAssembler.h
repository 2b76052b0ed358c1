// Makes slots of RTP packets with ancillary data: which packet belongs to which frame, where its data has its place, what
// is missing.
#pragma once

#include "AncillaryList.h"
#include "AncillaryRaster.h"
#include "Assembler.h"

#include <array>
#include <cstdint>
#include <span>

namespace mxs::media
{

class AncillaryAssembler : public Assembler
{
public:
    // `config` is one that CheckEssence accepts. `sink` outlives the object.
    AncillaryAssembler(const AncillaryConfig& config, const AssemblerSettings& settings, SlotSink& sink);

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
        uint64_t firstIndex = 0; // of its RTP packets
        uint64_t lastIndex = 0;
        uint64_t packets = 0;
        bool marked = false; // the packet that ends the frame has come
        bool ended = false;  // the sender has gone on, what is still missing is late
        uint64_t endNs = 0;
        AncillaryList list;
    };
    struct RecentSlot
    {
        std::array<bool, 2> seen{};
        std::array<uint32_t, 2> timestamp{};
        uint64_t lastIndex = 0;
        uint64_t committedNs = 0;
    };
    struct WrittenPlaylist
    {
        uint32_t bytes = 0;
        uint32_t secondField = 0; // where its sections begin, or the end
    };

    void PushTaken(const RtpIntake::Taken& taken, uint64_t nowNs);
    void CommitInSilence(uint64_t nowNs);
    void BeginAnew();
    size_t FieldOf(const AncillaryPayload& payload, uint32_t timestamp);
    bool IsPair(uint32_t first, uint32_t second) const; // timestamps of the fields of one frame
    Slot* FindOpen(uint32_t timestamp, size_t field);
    Slot* FindPartner(uint32_t timestamp, size_t field);
    Slot* Begin(const RtpPacket& packet, size_t field, uint64_t index, uint64_t nowNs);
    Slot* OpenNext(uint64_t index, uint64_t nowNs);
    void Take(Slot& slot, const AncillaryPayload& payload, size_t field, uint64_t index);
    bool IsWhole(const Slot& slot) const;
    bool IsEndOfAnother(const Slot& slot, uint64_t index) const;
    void CommitWhole(uint64_t nowNs);
    void End(Slot& slot, uint64_t nowNs);
    void Commit(Slot& slot, uint64_t nowNs);
    void Complete(Slot& slot, bool whole);
    WrittenPlaylist WritePlaylist(std::span<const AncillaryList::Entry> entries, const Slot& slot,
                                  const BufferPlace& place);
    // True when the packet belongs to a slot that was committed lately.
    bool NoteDelay(uint32_t timestamp, size_t field, uint64_t index, uint64_t nowNs);

    SlotSink& Sink;
    const bool Interlaced;
    const AncillaryRaster Raster;
    const SlotLayout Layout;
    const uint32_t NominalFieldStep; // ticks from the first field to the second
    uint32_t FieldStep;              // as the latest frame had it

    RtpIntake Intake;
    bool Synced = false; // a frame's start has been seen, so the frames that follow are kept
    bool SyncTimestampKnown = false;
    uint32_t SyncTimestamp = 0;
    uint64_t LeadInIndex = 0; // index of the latest packet before the first frame

    std::array<Slot, kOpenSlots> Slots;
    std::array<Slot*, kOpenSlots> Open{}; // in the order of their frames
    size_t OpenCount = 0;
    std::array<RecentSlot, kRecentSlots> Recent{};
    size_t RecentNext = 0;
    std::array<WrittenPlaylist, kAncillaryBuffers> Written;
    AncillaryPayload Payload;
    AncillaryPacket Scratch;
    mutable AssemblerCounters Count; // the intake's are copied when they are asked for
};

} // namespace mxs::media

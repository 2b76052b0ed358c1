// Makes slots of RTP packets with ancillary data: which packet belongs to which frame, where its data has its place,
// what is missing.
#pragma once

#include "AncillaryList.h"
#include "AncillaryRaster.h"
#include "FrameAssembler.h"

#include <array>
#include <cstdint>
#include <span>

namespace mxs::media
{

struct AncillarySlot : FrameSlot
{
    uint64_t firstIndex = 0; // of its RTP packets
    uint64_t packets = 0;
    bool marked = false; // the packet that ends the frame has come
    AncillaryList list;

    void Clear()
    {
        firstIndex = UINT64_MAX;
        packets = 0;
        marked = false;
        list.Clear();
    }
};

class AncillaryAssembler final : public FrameAssembler<AncillarySlot>
{
public:
    // `config` is one that CheckEssence accepts. `sink` outlives the object.
    AncillaryAssembler(const AncillaryConfig& config, const AssemblerSettings& settings, SlotSink& sink);

    void Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs) override;

private:
    struct WrittenPlaylist
    {
        uint32_t bytes = 0;
        uint32_t secondField = 0; // where its sections begin, or the end
    };

    bool IsFirstOfFrame(const RtpIntake::Taken&) const override { return false; } // nothing in a packet tells
    bool IsOtherField(const Frame& frame, const RtpIntake::Taken& taken, size_t field) const override;
    bool IsWhole(const AncillarySlot& slot) const override;
    void Complete(AncillarySlot& slot, bool whole) override; // playlists, timestamps, losses

    size_t FieldOf(const RtpIntake::Taken& taken); // of what is in Payload
    void Write(AncillarySlot& slot, const AncillaryPayload& payload, size_t field, uint64_t index);
    void CommitWhole(uint64_t nowNs);
    WrittenPlaylist WritePlaylist(std::span<const AncillaryList::Entry> entries, const AncillarySlot& slot,
                                  const BufferPlace& place);

    const AncillaryRaster Raster;
    const uint32_t NominalFieldStep; // ticks from the first field to the second
    uint64_t LeadInIndex = 0;        // index of the latest packet before the first frame; indexes never come again
    std::array<WrittenPlaylist, kAncillaryBuffers> Written;
    AncillaryPayload Payload;
    AncillaryPacket Scratch;
};

} // namespace mxs::media

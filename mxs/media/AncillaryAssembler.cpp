// From packets to playlists.
#include "AncillaryAssembler.h"

#include "AncillaryPlaylist.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr uint32_t kPlaylistEndBytes = 4;

} // namespace

AncillaryAssembler::AncillaryAssembler(const AncillaryConfig& config, const AssemblerSettings& settings, SlotSink& sink)
    : FrameAssembler(LayoutOf(config), config.interlaced, FieldTicks(config.framerate, config.fractional), settings,
                     sink),
      Raster(config), NominalFieldStep(FieldTicks(config.framerate, config.fractional))
{
}

void AncillaryAssembler::Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs)
{
    const std::optional<RtpIntake::Taken> taken = Take(datagram, path, nowNs);
    if (!taken) return;
    if (!ReadAncillaryPayload(taken->packet.payload, Payload))
    {
        ++Count.malformed;
        return;
    }

    const size_t field = FieldOf(*taken);
    AncillarySlot* slot = FindSlot(*taken, field, nowNs);
    if (!Synced) LeadInIndex = std::max(LeadInIndex, taken->verdict.index);
    if (!slot) return;

    Write(*slot, Payload, field, taken->verdict.index);
    if (EndsFrame(taken->packet, field))
    {
        slot->marked = true;
        slot->End(nowNs);
    }
    CommitWhole(nowNs);
}

size_t AncillaryAssembler::FieldOf(const RtpIntake::Taken& taken)
{
    if (!Interlaced || Payload.field == FieldSignal::First) return 0;
    if (Payload.field == FieldSignal::Second) return 1;

    // The sender does not say. The line of the first packet tells it, else what is known of the timestamp.
    AncillaryPayloadReader reader(Payload);
    if (reader.Next(Scratch) && Raster.HasLine(Scratch.header.line)) return Raster.FieldOf(Scratch.header.line);
    for (const AncillarySlot* slot : OpenSlots())
        for (const size_t field : {size_t{1}, size_t{0}})
            if (slot->seen[field] && slot->timestamp[field] == taken.packet.timestamp) return field;
    return FindPartner(taken, 1) ? 1 : 0;
}

bool AncillaryAssembler::IsOtherField(const Frame& frame, const RtpIntake::Taken& taken, size_t field) const
{
    const uint32_t first = field == 0 ? taken.packet.timestamp : frame.timestamp[0];
    const uint32_t second = field == 0 ? frame.timestamp[1] : taken.packet.timestamp;
    return uint64_t{second - first} * 2 < uint64_t{NominalFieldStep} * 3;
}

void AncillaryAssembler::Write(AncillarySlot& slot, const AncillaryPayload& payload, size_t field, uint64_t index)
{
    slot.firstIndex = std::min(slot.firstIndex, index);
    ++slot.packets;
    if (!slot.base) return;

    ++Count.processed;
    AncillaryPayloadReader reader(payload);
    for (uint64_t position = 0; reader.Next(Scratch); ++position)
    {
        const std::span<const uint16_t> words = Scratch.Words();
        const std::span<const uint16_t> identifiers = words.first(3); // DID, SDID, data count
        const bool parity = std::all_of(identifiers.begin(), identifiers.end(), AncillaryParityHolds);
        if (!parity) ++Count.parityErrors;
        if (words.back() != AncillaryChecksum(words.first(words.size() - 1))) ++Count.checksumErrors;

        const std::optional<AncillaryPlace> place = Raster.PlaceOf(Scratch.header, field);
        const uint64_t order = index * (kMostAncillaryPackets + 1) + position;
        if (!place || !slot.list.Add(*place, order, words)) ++Count.ancillaryNotPlaced;
    }
}

bool AncillaryAssembler::IsWhole(const AncillarySlot& slot) const
{
    if (!slot.ended || slot.packets != slot.lastIndex - slot.firstIndex + 1) return false;
    const auto isOpen = [&](auto&& told)
    {
        const std::span<AncillarySlot* const> open = OpenSlots();
        return std::any_of(open.begin(), open.end(),
                           [&](const AncillarySlot* other) { return other != &slot && told(*other); });
    };
    const auto endsBefore = [&](const Frame& other) { return other.lastIndex + 1 == slot.firstIndex; };
    const auto beginsBehind = [&](const AncillarySlot& other) { return other.firstIndex == slot.lastIndex + 1; };
    const bool startKnown = slot.firstIndex == LeadInIndex + 1 || isOpen(endsBefore) ||
                            std::any_of(Recent.begin(), Recent.end(), endsBefore);
    return startKnown && (slot.marked || isOpen(beginsBehind));
}

void AncillaryAssembler::CommitWhole(uint64_t nowNs)
{
    for (size_t i = 0; i < OpenSlots().size();)
    {
        if (IsWhole(*OpenSlots()[i]))
            Commit(*OpenSlots()[i], nowNs);
        else
            ++i;
    }
}

void AncillaryAssembler::Complete(AncillarySlot& slot, bool whole)
{
    slot.list.SortForSlot();
    std::span<const AncillaryList::Entry> rest = slot.list.Entries();
    for (const auto& [number, place] : Layout.buffers)
    {
        const auto behind =
            std::find_if(rest.begin(), rest.end(),
                         [buffer = number](const AncillaryList::Entry& entry) { return entry.place.buffer != buffer; });
        const auto count = static_cast<size_t>(behind - rest.begin());
        Written[number] = WritePlaylist(rest.first(count), slot, place);
        rest = rest.subspan(count);
    }

    CompleteTimestamps(slot);
    for (const auto& [number, place] : Layout.buffers)
    {
        const auto at = static_cast<uint32_t>(place.offset);
        Sink.AddRecord(slot.token, kRecordTimestamp, at, slot.timestamp[0]);
        if (Interlaced)
            Sink.AddRecord(slot.token, kRecordTimestamp, at + Written[number].secondField, slot.timestamp[1]);
    }
    if (whole) return;
    for (const auto& [number, place] : Layout.buffers)
        Sink.AddRecord(slot.token, kRecordLost, static_cast<uint32_t>(place.offset), Written[number].bytes);
}

AncillaryAssembler::WrittenPlaylist AncillaryAssembler::WritePlaylist(std::span<const AncillaryList::Entry> entries,
                                                                      const AncillarySlot& slot,
                                                                      const BufferPlace& buffer)
{
    AncillaryPlaylistWriter writer(std::span(slot.base + buffer.offset, buffer.size));
    WrittenPlaylist written;
    AncillaryPlace place;
    size_t used = 0; // words of this place
    for (const AncillaryList::Entry& entry : entries)
    {
        if (entry.place != place) used = 0;
        place = entry.place;
        const size_t words = kAncillaryFlagWords + entry.wordCount;
        const size_t at = writer.NextSection();
        if (used + words > Raster.Capacity(place.horizontal) ||
            !writer.Add(place.line, place.horizontal, slot.list.WordsOf(entry)))
        {
            ++Count.ancillaryNotPlaced;
            continue;
        }
        used += words;
        if (written.secondField == 0 && Raster.FieldOf(place.line) == 1)
            written.secondField = static_cast<uint32_t>(at);
    }
    written.bytes = static_cast<uint32_t>(writer.Finish());
    if (written.secondField == 0) written.secondField = written.bytes - kPlaylistEndBytes;
    return written;
}

} // namespace mxs::media

// From packets to playlists.
#include "AncillaryAssembler.h"

#include "AncillaryPlaylist.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint32_t kMediaClockHz = 90000;
constexpr uint32_t kPlaylistEndBytes = 4;

uint32_t TicksOfField(const AncillaryConfig& config)
{
    const uint64_t ticks = uint64_t{kMediaClockHz} * (config.fractional ? 1001 : 1000);
    const uint64_t perRate = uint64_t{1000} * config.framerate;
    return static_cast<uint32_t>((ticks + perRate / 2) / perRate);
}

} // namespace

AncillaryAssembler::AncillaryAssembler(const AncillaryConfig& config, const AssemblerSettings& settings, SlotSink& sink)
    : Sink(sink), Interlaced(config.interlaced), Raster(config), Layout(LayoutOf(config)),
      NominalFieldStep(TicksOfField(config)), FieldStep(NominalFieldStep),
      Intake({.payloadType = settings.payloadType,
              .ssrc = settings.ssrc,
              .paths = settings.paths,
              .numbering = RtpIntake::Numbering::Extended})
{
    Count.intake = Intake.Counters();
}

const AssemblerCounters& AncillaryAssembler::Counters() const
{
    Count.intake = Intake.Counters();
    return Count;
}

void AncillaryAssembler::Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs)
{
    CommitInSilence(nowNs);
    if (const std::optional<RtpIntake::Taken> taken = Intake.Take(datagram, path, nowNs)) PushTaken(*taken, nowNs);
}

void AncillaryAssembler::PushTaken(const RtpIntake::Taken& taken, uint64_t nowNs)
{
    const RtpPacket& packet = taken.packet;
    const uint64_t index = taken.verdict.index;
    const bool late = taken.verdict.arrival == SequenceTracker::Arrival::Late;
    if (taken.afterSilence) BeginAnew();
    if (!ReadAncillaryPayload(packet.payload, Payload))
    {
        ++Count.malformed;
        return;
    }

    const size_t field = FieldOf(Payload, packet.timestamp);
    Slot* slot = FindOpen(packet.timestamp, field);
    // Late by its number, or one more packet of a frame that was complete without it.
    if (!slot && Synced && (NoteDelay(packet.timestamp, field, index, nowNs) || late))
    {
        ++Count.delayed;
        return;
    }
    if (!slot && !late) slot = Begin(packet, field, index, nowNs);
    Intake.Fill(taken); // before the first frame too: what comes is not lost
    if (!slot)
    {
        ++Count.beforeFirstFrame;
        LeadInIndex = std::max(LeadInIndex, index);
        return;
    }

    slot->seen[field] = true;
    slot->timestamp[field] = packet.timestamp;
    Take(*slot, Payload, field, index);
    if (packet.marker && (!Interlaced || field == 1))
    {
        slot->marked = true;
        End(*slot, nowNs);
    }
    CommitWhole(nowNs);
}

uint64_t AncillaryAssembler::Tick(uint64_t nowNs)
{
    const uint64_t lookNs = Intake.Tick(nowNs);
    CommitInSilence(nowNs);
    for (size_t i = 0; i < OpenCount;)
    {
        Slot& slot = *Open[i];
        if (slot.ended && nowNs >= slot.endNs + kReorderNs)
            Commit(slot, nowNs); // takes it out of Open
        else
            ++i;
    }
    if (OpenCount == 0) return lookNs;
    uint64_t next = std::min(lookNs, Intake.SilentFromNs());
    for (size_t i = 0; i < OpenCount; ++i)
        if (Open[i]->ended) next = std::min(next, Open[i]->endNs + kReorderNs);
    return next;
}

void AncillaryAssembler::CommitInSilence(uint64_t nowNs)
{
    while (OpenCount > 0 && Intake.IsSilent(nowNs))
        Commit(*Open[0], nowNs);
}

void AncillaryAssembler::BeginAnew()
{
    Synced = false;
    SyncTimestampKnown = false;
    LeadInIndex = 0;
    Recent = {};
}

size_t AncillaryAssembler::FieldOf(const AncillaryPayload& payload, uint32_t timestamp)
{
    if (!Interlaced || payload.field == FieldSignal::First) return 0;
    if (payload.field == FieldSignal::Second) return 1;

    // The sender does not say. The line of the first packet tells it, else what is known of the timestamp.
    AncillaryPayloadReader reader(payload);
    if (reader.Next(Scratch) && Raster.HasLine(Scratch.header.line)) return Raster.FieldOf(Scratch.header.line);
    for (size_t i = OpenCount; i > 0; --i)
        for (const size_t field : {size_t{1}, size_t{0}})
            if (Open[i - 1]->seen[field] && Open[i - 1]->timestamp[field] == timestamp) return field;
    return FindPartner(timestamp, 1) ? 1 : 0;
}

bool AncillaryAssembler::IsPair(uint32_t first, uint32_t second) const
{
    return uint64_t{second - first} * 2 < uint64_t{NominalFieldStep} * 3;
}

AncillaryAssembler::Slot* AncillaryAssembler::FindOpen(uint32_t timestamp, size_t field)
{
    for (size_t i = OpenCount; i > 0; --i)
    {
        Slot& slot = *Open[i - 1];
        if (slot.seen[field] && slot.timestamp[field] == timestamp) return &slot;
        // Senders may give both fields one timestamp.
        const size_t other = 1 - field;
        if (!slot.seen[field] && slot.seen[other] && slot.timestamp[other] == timestamp) return &slot;
    }
    return nullptr;
}

// The newest slot, if it is that of the frame's other field.
AncillaryAssembler::Slot* AncillaryAssembler::FindPartner(uint32_t timestamp, size_t field)
{
    if (!Interlaced || OpenCount == 0) return nullptr;
    Slot& newest = *Open[OpenCount - 1];
    const size_t other = 1 - field;
    if (newest.seen[field] || !newest.seen[other]) return nullptr;
    const uint32_t first = field == 0 ? timestamp : newest.timestamp[0];
    const uint32_t second = field == 0 ? newest.timestamp[1] : timestamp;
    return IsPair(first, second) ? &newest : nullptr;
}

AncillaryAssembler::Slot* AncillaryAssembler::Begin(const RtpPacket& packet, size_t field, uint64_t index,
                                                    uint64_t nowNs)
{
    if (Slot* partner = FindPartner(packet.timestamp, field)) return partner;
    if (!Synced)
    {
        Synced = field == 0 && SyncTimestampKnown && packet.timestamp != SyncTimestamp;
        SyncTimestampKnown = true;
        SyncTimestamp = packet.timestamp;
        if (!Synced) return nullptr;
    }
    return OpenNext(index, nowNs);
}

AncillaryAssembler::Slot* AncillaryAssembler::OpenNext(uint64_t index, uint64_t nowNs)
{
    if (OpenCount == kOpenSlots) Commit(*Open[0], nowNs);
    for (size_t i = 0; i < OpenCount; ++i)
        End(*Open[i], nowNs);

    Slot& slot = OpenCount == 1 && Open[0] == &Slots[0] ? Slots[1] : Slots[0];
    slot.token = nullptr;
    slot.base = Sink.OpenSlot(slot.token);
    slot.seen = {};
    slot.timestamp = {};
    slot.firstIndex = index;
    slot.lastIndex = index;
    slot.packets = 0;
    slot.marked = false;
    slot.ended = false;
    slot.endNs = 0;
    slot.list.Clear();
    Count.lastSlotDropped = slot.base == nullptr;
    if (!slot.base) ++Count.drops;
    Open[OpenCount++] = &slot;
    return &slot;
}

void AncillaryAssembler::Take(Slot& slot, const AncillaryPayload& payload, size_t field, uint64_t index)
{
    slot.firstIndex = std::min(slot.firstIndex, index);
    slot.lastIndex = std::max(slot.lastIndex, index);
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

bool AncillaryAssembler::IsWhole(const Slot& slot) const
{
    if (!slot.ended || slot.packets != slot.lastIndex - slot.firstIndex + 1) return false;
    const bool startKnown = slot.firstIndex == LeadInIndex + 1 || IsEndOfAnother(slot, slot.firstIndex - 1);
    const auto begins = [&](const Slot* other) { return other != &slot && other->firstIndex == slot.lastIndex + 1; };
    const auto end = Open.begin() + static_cast<std::ptrdiff_t>(OpenCount);
    const bool endKnown = slot.marked || std::any_of(Open.begin(), end, begins);
    return startKnown && endKnown;
}

bool AncillaryAssembler::IsEndOfAnother(const Slot& slot, uint64_t index) const
{
    const auto end = Open.begin() + static_cast<std::ptrdiff_t>(OpenCount);
    return std::any_of(Open.begin(), end,
                       [&](const Slot* other) { return other != &slot && other->lastIndex == index; }) ||
           std::any_of(Recent.begin(), Recent.end(),
                       [&](const RecentSlot& recent) { return recent.lastIndex == index; });
}

void AncillaryAssembler::CommitWhole(uint64_t nowNs)
{
    for (size_t i = 0; i < OpenCount;)
    {
        if (IsWhole(*Open[i]))
            Commit(*Open[i], nowNs); // takes it out of Open
        else
            ++i;
    }
}

void AncillaryAssembler::End(Slot& slot, uint64_t nowNs)
{
    if (slot.ended) return;
    slot.ended = true;
    slot.endNs = nowNs;
}

void AncillaryAssembler::Commit(Slot& slot, uint64_t nowNs)
{
    if (slot.base)
    {
        const bool whole = IsWhole(slot);
        Complete(slot, whole);
        Sink.CommitSlot(slot.token);
        ++Count.committed;
        if (!whole) ++Count.incomplete;
    }
    Recent[RecentNext] = {slot.seen, slot.timestamp, slot.lastIndex, nowNs};
    RecentNext = (RecentNext + 1) % kRecentSlots;
    const auto end = Open.begin() + static_cast<std::ptrdiff_t>(OpenCount);
    std::remove(Open.begin(), end, &slot);
    --OpenCount;
}

void AncillaryAssembler::Complete(Slot& slot, bool whole)
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

    if (Interlaced && slot.seen[0] && slot.seen[1]) FieldStep = slot.timestamp[1] - slot.timestamp[0];
    if (!slot.seen[0]) slot.timestamp[0] = slot.timestamp[1] - FieldStep;
    if (!slot.seen[1]) slot.timestamp[1] = slot.timestamp[0] + FieldStep;
    for (const auto& [number, place] : Layout.buffers)
    {
        const auto at = static_cast<uint32_t>(place.offset);
        Sink.AddRecord(slot.token, kRecordTimestamp, at, slot.timestamp[0]);
        if (Interlaced)
            Sink.AddRecord(slot.token, kRecordTimestamp, at + Written[number].secondField, slot.timestamp[1]);
    }
    if (!whole)
        for (const auto& [number, place] : Layout.buffers)
            Sink.AddRecord(slot.token, kRecordLost, static_cast<uint32_t>(place.offset), Written[number].bytes);
    Sink.AddRecord(slot.token, kRecordEnd, Layout.lockSize - 1, 0);
}

AncillaryAssembler::WrittenPlaylist AncillaryAssembler::WritePlaylist(std::span<const AncillaryList::Entry> entries,
                                                                      const Slot& slot, const BufferPlace& buffer)
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

bool AncillaryAssembler::NoteDelay(uint32_t timestamp, size_t field, uint64_t index, uint64_t nowNs)
{
    for (RecentSlot& slot : Recent)
    {
        if (!slot.seen[field] || slot.timestamp[field] != timestamp) continue;
        slot.lastIndex = std::max(slot.lastIndex, index); // the next frame begins behind it
        const uint64_t delayNs = nowNs - slot.committedNs;
        if (delayNs >= Count.biggestDelayNs || nowNs >= Count.biggestDelayAtNs + kNsPerSecond)
        {
            Count.biggestDelayNs = delayNs;
            Count.biggestDelayAtNs = nowNs;
        }
        return true;
    }
    return false;
}

} // namespace mxs::media

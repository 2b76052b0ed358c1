// From packets to slots.
#include "VideoAssembler.h"

#include "VideoFormat.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNsPerSecond = 1'000'000'000;

constexpr uint32_t kMediaClockHz = 90000;

uint32_t NominalFieldStep(const VideoConfig& video)
{
    const uint64_t ticks = uint64_t{kMediaClockHz} * (video.fractional ? 1001 : 1000);
    const uint64_t perRate = uint64_t{1000} * video.framerate;
    return perRate == 0 ? 0 : static_cast<uint32_t>((ticks + perRate / 2) / perRate);
}

} // namespace

VideoAssembler::VideoAssembler(const VideoConfig& video, const AssemblerSettings& settings, SlotSink& sink)
    : Sink(sink), Interlaced(video.interlaced),
      Network(*FindPixelGroup(video.network.sampling, DepthBits(video.network.depth))),
      Converter(Network, video.application), Layout(LayoutOf(video)), GroupsPerLine(video.width / Network.pixels),
      Lines(LinesOfFields(video)), FirstGroup{0, GroupsPerLine * Lines[0]}, FieldStep(NominalFieldStep(video)),
      Intake({.payloadType = settings.payloadType,
              .ssrc = settings.ssrc,
              .paths = settings.paths,
              .numbering = RtpIntake::Numbering::Extended}),
      Losses(settings.mostLossRecords)
{
    for (Slot& slot : Slots)
        slot.covered = CoverageMap(GroupsPerLine * (Lines[0] + Lines[1]));
    Count.intake = Intake.Counters(); // from here on a copy takes no memory
}

const AssemblerCounters& VideoAssembler::Counters() const
{
    Count.intake = Intake.Counters();
    return Count;
}

void VideoAssembler::Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs)
{
    CommitInSilence(nowNs);
    if (const std::optional<RtpIntake::Taken> taken = Intake.Take(datagram, path, nowNs)) PushTaken(*taken, nowNs);
}

void VideoAssembler::PushTaken(const RtpIntake::Taken& taken, uint64_t nowNs)
{
    const RtpPacket& packet = taken.packet;
    const SequenceTracker::Verdict& verdict = taken.verdict;
    const bool late = verdict.arrival == SequenceTracker::Arrival::Late;
    if (taken.afterSilence) BeginAnew();
    if (!ReadVideoPayload(packet.payload, Scratch) || !Fits(Scratch))
    {
        ++Count.malformed;
        return;
    }

    const size_t field = Scratch.segments[0].secondField;
    Slot* slot = FindOpen(packet.timestamp, field);
    // Late by its number, or one more packet of a frame that was complete without it.
    if (!slot && Synced && (NoteDelay(packet, field, nowNs) || late))
    {
        ++Count.delayed;
        return;
    }
    if (!slot && !late) slot = Begin(packet, Scratch, verdict, nowNs);
    const bool endsFrame = packet.marker && (!Interlaced || field == 1);
    if (endsFrame) FrameEndIndex = verdict.index;
    Intake.Fill(taken); // before the first frame too: what comes is not lost
    if (!slot)
    {
        ++Count.beforeFirstFrame;
        return;
    }

    slot->seen[field] = true;
    slot->timestamp[field] = packet.timestamp;
    Write(*slot, Scratch);
    if (slot->covered.IsWhole())
        Commit(*slot, nowNs);
    else if (endsFrame)
        End(*slot, nowNs);
}

uint64_t VideoAssembler::Tick(uint64_t nowNs)
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

void VideoAssembler::CommitInSilence(uint64_t nowNs)
{
    while (OpenCount > 0 && Intake.IsSilent(nowNs))
        Commit(*Open[0], nowNs);
}

void VideoAssembler::BeginAnew()
{
    Synced = false;
    SyncTimestampKnown = false;
    FrameEndIndex = 0;
    Recent = {};
}

bool VideoAssembler::Fits(const VideoPayload& payload) const
{
    for (size_t i = 0; i < payload.count; ++i)
    {
        const LineSegment& segment = payload.segments[i];
        if (segment.secondField && !Interlaced) return false;
        if (segment.secondField != payload.segments[0].secondField) return false;
        if (segment.line >= Lines[segment.secondField]) return false;
        if (segment.offset % Network.pixels != 0 || segment.samples.size() % Network.bytes != 0) return false;
        if (segment.offset / Network.pixels + segment.samples.size() / Network.bytes > GroupsPerLine) return false;
    }
    return true;
}

VideoAssembler::Slot* VideoAssembler::FindOpen(uint32_t timestamp, size_t field)
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

bool VideoAssembler::IsSecondFieldOf(const Slot& slot, const SequenceTracker::Verdict& verdict) const
{
    if (!slot.seen[0] || slot.seen[1]) return false;
    // A second field with a timestamp of its own follows the first, unless so much is missing in between that it may
    // be that of the next frame.
    const uint64_t fieldBytes = GroupsPerLine * Lines[0] * Network.bytes;
    const uint64_t fieldPackets = fieldBytes / LargestPayload + 1;
    return verdict.missing < fieldPackets + fieldPackets / 2;
}

bool VideoAssembler::StartsFrame(const RtpPacket& packet, const VideoPayload& payload,
                                 const SequenceTracker::Verdict& verdict) const
{
    if (payload.segments[0].secondField) return false;
    if (payload.segments[0].line == 0 && payload.segments[0].offset == 0) return true;
    if (FrameEndIndex != 0 && verdict.index == FrameEndIndex + 1) return true;
    return SyncTimestampKnown && packet.timestamp != SyncTimestamp;
}

VideoAssembler::Slot* VideoAssembler::Begin(const RtpPacket& packet, const VideoPayload& payload,
                                            const SequenceTracker::Verdict& verdict, uint64_t nowNs)
{
    if (payload.segments[0].secondField && OpenCount > 0 && IsSecondFieldOf(*Open[OpenCount - 1], verdict))
        return Open[OpenCount - 1];
    if (!Synced)
    {
        Synced = StartsFrame(packet, payload, verdict);
        SyncTimestampKnown = true;
        SyncTimestamp = packet.timestamp;
        if (!Synced) return nullptr;
    }
    return OpenNext(nowNs);
}

VideoAssembler::Slot* VideoAssembler::OpenNext(uint64_t nowNs)
{
    if (OpenCount == kOpenSlots) Commit(*Open[0], nowNs);
    for (size_t i = 0; i < OpenCount; ++i)
        End(*Open[i], nowNs);

    Slot& slot = OpenCount == 1 && Open[0] == &Slots[0] ? Slots[1] : Slots[0];
    slot.token = nullptr;
    slot.base = Sink.OpenSlot(slot.token);
    slot.seen = {};
    slot.timestamp = {};
    slot.ended = false;
    slot.endNs = 0;
    slot.covered.Clear();
    Count.lastSlotDropped = slot.base == nullptr;
    if (!slot.base) ++Count.drops;
    Open[OpenCount++] = &slot;
    return &slot;
}

void VideoAssembler::Write(Slot& slot, const VideoPayload& payload)
{
    uint64_t payloadBytes = 0;
    for (size_t i = 0; i < payload.count; ++i)
    {
        const LineSegment& segment = payload.segments[i];
        const uint64_t groups = segment.samples.size() / Network.bytes;
        const uint64_t first =
            FirstGroup[segment.secondField] + GroupsPerLine * segment.line + segment.offset / Network.pixels;
        payloadBytes += segment.samples.size();
        const uint64_t fresh = slot.covered.Mark(first, groups);
        if (slot.base && fresh > 0) Converter.Write(slot.base, first, segment.samples.data(), groups);
    }
    LargestPayload = std::max(LargestPayload, payloadBytes);
    if (slot.base) ++Count.processed;
}

void VideoAssembler::End(Slot& slot, uint64_t nowNs)
{
    if (slot.ended) return;
    slot.ended = true;
    slot.endNs = nowNs;
}

void VideoAssembler::Commit(Slot& slot, uint64_t nowNs)
{
    if (slot.base)
    {
        Complete(slot);
        Sink.CommitSlot(slot.token);
        ++Count.committed;
        if (!slot.covered.IsWhole()) ++Count.incomplete;
    }
    Recent[RecentNext] = {slot.seen, slot.timestamp, nowNs};
    RecentNext = (RecentNext + 1) % kRecentSlots;
    const auto end = Open.begin() + static_cast<std::ptrdiff_t>(OpenCount);
    std::remove(Open.begin(), end, &slot);
    --OpenCount;
}

void VideoAssembler::Complete(Slot& slot)
{
    if (slot.seen[0] && slot.seen[1]) FieldStep = slot.timestamp[1] - slot.timestamp[0];
    if (!slot.seen[0]) slot.timestamp[0] = slot.timestamp[1] - FieldStep;
    if (!slot.seen[1]) slot.timestamp[1] = slot.timestamp[0] + FieldStep;
    for (const auto& [number, place] : Layout.buffers)
        Sink.AddRecord(slot.token, kRecordTimestamp, static_cast<uint32_t>(place.offset), slot.timestamp[number]);

    if (!slot.covered.IsWhole())
    {
        Losses.Clear(FirstGroup[1]);
        slot.covered.ForEachHole(
            [&](uint64_t begin, uint64_t end)
            {
                Converter.FillBlack(slot.base, begin, end - begin);
                Losses.Add(begin, end);
            });
        for (const LossList::Loss& loss : Losses.Result())
        {
            const SampleConverter::ByteRange bytes = Converter.BytesOf(loss.begin, loss.end - loss.begin);
            Sink.AddRecord(slot.token, kRecordLost, static_cast<uint32_t>(bytes.begin),
                           static_cast<uint32_t>(bytes.end - bytes.begin));
        }
    }
    Sink.AddRecord(slot.token, kRecordEnd, Layout.lockSize - 1, 0);
}

bool VideoAssembler::NoteDelay(const RtpPacket& packet, size_t field, uint64_t nowNs)
{
    for (const RecentSlot& slot : Recent)
    {
        if (!slot.seen[field] || slot.timestamp[field] != packet.timestamp) continue;
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

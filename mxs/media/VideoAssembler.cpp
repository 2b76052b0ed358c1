// From packets to slots.
#include "VideoAssembler.h"

#include "VideoFormat.h"

#include <algorithm>

namespace mxs::media
{

VideoAssembler::VideoAssembler(const VideoConfig& video, const AssemblerSettings& settings, SlotSink& sink)
    : FrameAssembler(LayoutOf(video), video.interlaced, FieldTicks(video.framerate, video.fractional), settings, sink),
      Network(*FindPixelGroup(video.network.sampling, DepthBits(video.network.depth))),
      Converter(Network, video.application), GroupsPerLine(video.width / Network.pixels),
      Lines(LinesOfFields(video)), FirstGroup{0, GroupsPerLine * Lines[0]}, Losses(settings.mostLossRecords)
{
    for (VideoSlot& slot : Slots)
        slot.covered = CoverageMap(GroupsPerLine * (Lines[0] + Lines[1]));
}

void VideoAssembler::Push(std::span<const uint8_t> datagram, size_t path, uint64_t nowNs)
{
    const std::optional<RtpIntake::Taken> taken = Take(datagram, path, nowNs);
    if (!taken) return;
    if (!ReadVideoPayload(taken->packet.payload, Scratch) || !Fits(Scratch))
    {
        ++Count.malformed;
        return;
    }

    const size_t field = Scratch.segments[0].secondField;
    const bool endsFrame = EndsFrame(taken->packet, field);
    VideoSlot* slot = FindSlot(*taken, field, nowNs);
    if (endsFrame) FrameEndIndex = taken->verdict.index;
    if (!slot) return;

    Write(*slot, Scratch);
    if (IsWhole(*slot))
        Commit(*slot, nowNs);
    else if (endsFrame)
        slot->End(nowNs);
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

bool VideoAssembler::IsFirstOfFrame(const RtpIntake::Taken& taken) const
{
    const LineSegment& first = Scratch.segments[0];
    return (first.line == 0 && first.offset == 0) || taken.verdict.index == FrameEndIndex + 1;
}

bool VideoAssembler::IsOtherField(const Frame&, const RtpIntake::Taken& taken, size_t field) const
{
    // A second field with a timestamp of its own follows the first, unless so much is missing in between that it may
    // be that of the next frame.
    const uint64_t fieldBytes = GroupsPerLine * Lines[0] * Network.bytes;
    const uint64_t fieldPackets = fieldBytes / LargestPayload + 1;
    return field == 1 && taken.verdict.missing < fieldPackets + fieldPackets / 2;
}

void VideoAssembler::Write(VideoSlot& slot, const VideoPayload& payload)
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
        if (!slot.base || fresh == 0) continue;
        Converter.Write(slot.base, first, segment.samples.data(), groups);
        FetchForWriting(slot.base, Converter.BytesOf(first + groups, groups));
    }
    LargestPayload = std::max(LargestPayload, payloadBytes);
    if (slot.base) ++Count.processed;
}

// The next packet's samples most likely belong behind this one's. A slot is written once in several frames, so that its
// lines are in no cache: they come while that packet's headers are read, and its samples need not wait for them.
void VideoAssembler::FetchForWriting(uint8_t* slot, const SampleConverter::ByteRange& bytes) const
{
    constexpr uint64_t kCacheLine = 64;
    const uint64_t end = std::min<uint64_t>(bytes.end, Layout.lockSize);
    for (uint64_t at = bytes.begin; at < end; at += kCacheLine)
        __builtin_prefetch(slot + at, 1);
}

void VideoAssembler::Complete(VideoSlot& slot, bool whole)
{
    CompleteTimestamps(slot);
    for (const auto& [number, place] : Layout.buffers)
        Sink.AddRecord(slot.token, kRecordTimestamp, static_cast<uint32_t>(place.offset), slot.timestamp[number]);

    if (whole) return;

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

} // namespace mxs::media

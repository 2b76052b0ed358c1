// From slots of video to packets.
#include "VideoPacketizer.h"

#include "VideoFormat.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint32_t kMediaClockHz = 90000;

// RTP header, upper half of the sequence number, one line header.
constexpr size_t kRtpHeader = 12;
constexpr size_t kHeaderBytes = kRtpHeader + 2 + 6;
constexpr size_t kMostSampleBytes = 1452 - kHeaderBytes; // 1460 bytes with the UDP header

// A burst leaves at once; what would take longer than this on its own is cut.
constexpr uint64_t kBurstNs = 250'000;
constexpr size_t kMostBurst = 44; // datagrams of 1452 bytes that one system call takes

// What is known of a raster by the lines that it shows: those that it has in all, and after how many of them the first
// packet leaves when nothing else is configured.
struct RasterRow
{
    bool interlaced;
    uint32_t activeLines;
    uint32_t totalLines;
    uint32_t offsetLines;
};

constexpr RasterRow kRasters[] = {
    {true, 480, 525, 20},   {true, 486, 525, 20},  {true, 487, 525, 20},    {true, 576, 625, 26},
    {true, 1080, 1125, 22}, {false, 720, 750, 28}, {false, 1080, 1125, 43}, {false, 2160, 2250, 86},
};

// Other rasters share out their time as one of 1080 lines does.
RasterRow RasterOf(const VideoConfig& video)
{
    for (const RasterRow& row : kRasters)
        if (row.interlaced == video.interlaced && row.activeLines == video.height) return row;
    return video.interlaced ? RasterRow{true, 1080, 1125, 22} : RasterRow{false, 1080, 1125, 43};
}

SlotPeriod PeriodOf(const VideoConfig& video)
{
    const uint64_t fields = video.interlaced ? 2 : 1;
    return {fields * (video.fractional ? 1001 : 1000), uint64_t{1000} * video.framerate};
}

uint64_t StartOffsetOf(const VideoConfig& video, uint64_t frameNs)
{
    constexpr uint64_t kNsPerUs = 1000;
    if (!video.useDefaultTrOffset) return video.trOffset * kNsPerUs % frameNs;
    const RasterRow raster = RasterOf(video);
    return frameNs * raster.offsetLines / raster.totalLines;
}

// Equal pieces where the line has a divisor that is not much more than the fewest pieces, else as few as possible.
uint32_t PiecesOf(uint32_t groupsPerLine, uint32_t groupBytes)
{
    const auto mostGroups = static_cast<uint32_t>(kMostSampleBytes / groupBytes);
    const uint32_t fewest = (groupsPerLine + mostGroups - 1) / mostGroups;
    for (uint32_t pieces = fewest; pieces <= 2 * fewest; ++pieces)
        if (groupsPerLine % pieces == 0) return pieces;
    return fewest;
}

void Put16(uint8_t* to, uint32_t value)
{
    to[0] = static_cast<uint8_t>(value >> 8);
    to[1] = static_cast<uint8_t>(value);
}

void Put32(uint8_t* to, uint32_t value)
{
    Put16(to, value >> 16);
    Put16(to + 2, value);
}

} // namespace

VideoPacketizer::VideoPacketizer(const VideoConfig& video, const PacketizerSettings& settings)
    : PayloadType(settings.payloadType), Ssrc(settings.ssrc),
      Network(*FindPixelGroup(video.network.sampling, DepthBits(video.network.depth))),
      Converter(Network, video.application), Layout(LayoutOf(video)), GroupsPerLine(video.width / Network.pixels),
      Fields(video.interlaced ? 2 : 1), Lines(LinesOfFields(video)),
      PiecesPerLine(PiecesOf(GroupsPerLine, Network.bytes)),
      GroupsPerPiece((GroupsPerLine + PiecesPerLine - 1) / PiecesPerLine), FramePeriod(PeriodOf(video)),
      FrameNs(FramePeriod.numerator * kNsPerSecond / FramePeriod.denominator), SecondFieldNs(HalfNs(FramePeriod)),
      StartOffsetNs(StartOffsetOf(video, FrameNs)),
      FieldActiveNs(FrameNs / Fields * RasterOf(video).activeLines / RasterOf(video).totalLines),
      Burstful(std::clamp<size_t>(kBurstNs * Lines[0] * PiecesPerLine / std::max<uint64_t>(FieldActiveNs, 1), 1,
                                  kMostBurst)),
      Sequence(settings.firstSequence)
{
}

uint32_t VideoPacketizer::TimestampOf(size_t field, const SlotTimes& times) const
{
    const auto find = [&](size_t wanted) -> const TimestampRecord*
    {
        const BufferPlace& place = Layout.buffers.at(static_cast<uint32_t>(wanted));
        const auto lies = [&](const TimestampRecord& record)
        { return record.position >= place.offset && record.position - place.offset < place.size; };
        const auto found = std::find_if(times.timestamps.begin(), times.timestamps.end(), lies);
        return found == times.timestamps.end() ? nullptr : &*found;
    };
    if (const TimestampRecord* own = find(field)) return own->value;
    const uint32_t fromClock = RtpTimeOf(times.startTaiNs + field * SecondFieldNs, kMediaClockHz);
    if (Fields == 1) return fromClock;
    // The application told the time of the other field alone: this one is half a frame away from it.
    const TimestampRecord* other = find(1 - field);
    if (!other) return fromClock;
    return other->value + fromClock - RtpTimeOf(times.startTaiNs + (1 - field) * SecondFieldNs, kMediaClockHz);
}

size_t VideoPacketizer::Begin(std::span<const uint8_t> slot, const SlotTimes& times)
{
    Slot = slot;
    for (size_t field = 0; field < Fields; ++field)
        Timestamps[field] = TimestampOf(field, times);
    return size_t{PiecesPerLine} * (Lines[0] + Lines[1]);
}

uint64_t VideoPacketizer::OffsetNs(size_t index) const
{
    const size_t inFirst = size_t{PiecesPerLine} * Lines[0];
    const size_t field = index < inFirst ? 0 : 1;
    const uint64_t inField = index - field * inFirst;
    return StartOffsetNs + field * SecondFieldNs + inField * FieldActiveNs / (uint64_t{PiecesPerLine} * Lines[field]);
}

VideoPacketizer::Piece VideoPacketizer::PieceAt(size_t index) const
{
    auto line = static_cast<uint32_t>(index / PiecesPerLine);
    const auto inLine = static_cast<uint32_t>(index % PiecesPerLine);
    const size_t field = line < Lines[0] ? 0 : 1;
    if (field == 1) line -= Lines[0];
    const uint32_t firstGroup = inLine * GroupsPerPiece;
    return {field, line, firstGroup, std::min(GroupsPerPiece, GroupsPerLine - firstGroup),
            line + 1 == Lines[field] && inLine + 1 == PiecesPerLine};
}

Burst VideoPacketizer::Write(size_t first, size_t end, std::span<uint8_t> room)
{
    Burst burst;
    for (size_t index = first; index < end; ++index)
    {
        const Piece piece = PieceAt(index);
        const size_t bytes = kHeaderBytes + size_t{piece.groups} * Network.bytes;
        if (burst.count == 0) burst.datagramBytes = bytes;
        if (bytes > burst.datagramBytes || bytes > room.size() - burst.totalBytes) break;
        burst.totalBytes += WriteOne(piece, room.data() + burst.totalBytes);
        ++burst.count;
        // A shorter one ends the burst, and a field does: the next one has a time of its own.
        if (bytes < burst.datagramBytes || piece.last) break;
    }
    return burst;
}

size_t VideoPacketizer::WriteOne(const Piece& piece, uint8_t* to)
{
    const size_t sampleBytes = size_t{piece.groups} * Network.bytes;
    to[0] = 0x80;
    to[1] = static_cast<uint8_t>((piece.last ? 0x80 : 0) | PayloadType);
    Put16(to + 2, Sequence);
    Put32(to + 4, Timestamps[piece.field]);
    Put32(to + 8, Ssrc);
    Put16(to + kRtpHeader, Sequence >> 16);
    Put16(to + 14, static_cast<uint32_t>(sampleBytes));
    Put16(to + 16, piece.line | (piece.field == 1 ? 0x8000u : 0u));
    Put16(to + 18, piece.firstGroup * Network.pixels); // and no line header behind it
    ++Sequence;
    const uint64_t lineOfSlot = (piece.field == 1 ? Lines[0] : 0) + uint64_t{piece.line};
    Converter.Read(Slot.data(), lineOfSlot * GroupsPerLine + piece.firstGroup, to + kHeaderBytes, piece.groups);
    return kHeaderBytes + sampleBytes;
}

} // namespace mxs::media

// From playlists to packets.
#include "AncillaryPacketizer.h"

#include "AncillaryPlaylist.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint32_t kMediaClockHz = 90000;
constexpr size_t kRtpHeader = 12;
constexpr size_t kLargestDatagram = 1452; // 1460 with the header of UDP
constexpr uint64_t kGapNs = 100'000;      // between datagrams of a field

SlotPeriod PeriodOf(const AncillaryConfig& config)
{
    const uint64_t fields = config.interlaced ? 2 : 1;
    return {fields * (config.fractional ? 1001 : 1000), uint64_t{1000} * config.framerate};
}

void Put16(std::span<uint8_t> to, size_t at, uint32_t value)
{
    to[at] = static_cast<uint8_t>(value >> 8);
    to[at + 1] = static_cast<uint8_t>(value);
}

void Put32(std::span<uint8_t> to, size_t at, uint32_t value)
{
    Put16(to, at, value >> 16);
    Put16(to, at + 2, value);
}

} // namespace

AncillaryPacketizer::AncillaryPacketizer(const AncillaryConfig& config, const PacketizerSettings& settings)
    : PayloadType(settings.payloadType), Ssrc(settings.ssrc), Interlaced(config.interlaced), Places(config),
      Layout(LayoutOf(config)), FramePeriod(PeriodOf(config)),
      FieldNs(Interlaced ? HalfNs(FramePeriod) : FramePeriod.numerator * kNsPerSecond / FramePeriod.denominator),
      Sequence(settings.firstSequence), Copy(kAncillaryBufferBytes)
{
    // Each but the last of a field is so full that the next packet did not fit.
    Datagrams.reserve(size_t{1} << 16);
}

size_t AncillaryPacketizer::Begin(std::span<const uint8_t> slot, const SlotTimes& times)
{
    ReadPlaylists(slot);
    SetTimestamps(times);
    Datagrams.clear();
    CutField(0);
    SecondFieldDatagram = Datagrams.size();
    if (Interlaced) CutField(1);
    return Datagrams.size();
}

void AncillaryPacketizer::ReadPlaylists(std::span<const uint8_t> slot)
{
    List.Clear();
    uint64_t order = 0;
    for (const auto& [number, place] : Layout.buffers)
    {
        if (!Places.HasBuffer(number)) continue;
        const auto buffer = slot.subspan(place.offset, place.size);
        std::copy_n(buffer.begin(), kEmptyPlaylistBytes, Copy.begin());
        const size_t bytes = AncillaryPlaylistReader::StatedBytes(Copy);
        if (bytes == 0)
        {
            ++RefusedCount;
            continue;
        }
        std::copy_n(buffer.begin(), bytes, Copy.begin());
        AncillaryPlaylistReader reader({Copy.data(), bytes});
        for (AncillaryPlaylistReader::Packet packet; reader.Next(packet);)
        {
            const AncillaryPlace at{static_cast<uint8_t>(number), packet.line, packet.horizontal};
            if (!Places.HasLine(packet.line) || !List.Add(at, order++, packet.content.Words())) ++RefusedCount;
        }
        RefusedCount += reader.Refused();
    }
    List.SortForNetwork();
}

void AncillaryPacketizer::SetTimestamps(const SlotTimes& times)
{
    const auto isBuffer = [&](uint32_t position)
    {
        return std::any_of(Layout.buffers.begin(), Layout.buffers.end(),
                           [=](const auto& buffer) { return buffer.second.offset == position; });
    };
    std::array<const TimestampRecord*, 2> given{};
    for (const TimestampRecord& record : times.timestamps)
    {
        const size_t field = isBuffer(record.position) ? 0 : 1;
        if (!given[field]) given[field] = &record;
    }
    const uint32_t step =
        RtpTimeOf(times.startTaiNs + FieldNs, kMediaClockHz) - RtpTimeOf(times.startTaiNs, kMediaClockHz);
    Timestamp[0] = given[0] ? given[0]->value : RtpTimeOf(times.startTaiNs, kMediaClockHz);
    Timestamp[1] = given[1] ? given[1]->value : Timestamp[0] + step;
}

// Takes what follows in the list and belongs to the field; a field without packets has one datagram.
void AncillaryPacketizer::CutField(size_t field)
{
    const auto entries = List.Entries();
    const size_t firstDatagram = Datagrams.size();
    Datagram open{.first = firstDatagram == 0 ? 0 : Datagrams.back().end, .field = static_cast<uint8_t>(field)};
    open.end = open.first;
    open.bytes = kRtpHeader + kAncillaryPayloadHeader;
    while (open.end < entries.size() && Places.FieldOf(entries[open.end].place.line) == field)
    {
        const auto bytes = static_cast<uint32_t>(AncillaryBytes(entries[open.end].wordCount));
        if (open.bytes + bytes > kLargestDatagram || open.end - open.first == kMostAncillaryPackets)
        {
            Datagrams.push_back(open);
            open.first = open.end;
            open.bytes = kRtpHeader + kAncillaryPayloadHeader;
        }
        open.bytes += bytes;
        ++open.end;
    }
    open.marker = true;
    Datagrams.push_back(open);
    GapNs[field] = std::min(kGapNs, FieldNs / 2 / (Datagrams.size() - firstDatagram));
}

uint64_t AncillaryPacketizer::OffsetNs(size_t index) const
{
    if (index < SecondFieldDatagram) return index * GapNs[0];
    return FieldNs + (index - SecondFieldDatagram) * GapNs[1];
}

Burst AncillaryPacketizer::Write(size_t first, size_t end, std::span<uint8_t> room)
{
    Burst burst{.datagramBytes = Datagrams[first].bytes};
    for (size_t i = first; i < end; ++i)
    {
        const size_t bytes = Datagrams[i].bytes;
        if (bytes > burst.datagramBytes || (i > first && room.size() - burst.totalBytes < bytes)) break;
        WriteOne(Datagrams[i], room.subspan(burst.totalBytes, bytes));
        burst.totalBytes += bytes;
        ++burst.count;
        if (bytes < burst.datagramBytes) break; // a shorter one is the last
    }
    return burst;
}

void AncillaryPacketizer::WriteOne(const Datagram& datagram, std::span<uint8_t> to)
{
    to[0] = 0x80; // version 2
    to[1] = static_cast<uint8_t>((datagram.marker ? 0x80 : 0) | PayloadType);
    Put16(to, 2, Sequence);
    Put32(to, 4, Timestamp[datagram.field]);
    Put32(to, 8, Ssrc);
    AncillaryPayloadWriter writer(to.subspan(kRtpHeader));
    for (const AncillaryList::Entry& entry : List.Entries().subspan(datagram.first, datagram.end - datagram.first))
        writer.Add(Places.HeaderOf(entry.place), List.WordsOf(entry));
    const FieldSignal second = datagram.field == 1 ? FieldSignal::Second : FieldSignal::First;
    writer.Finish(static_cast<uint16_t>(Sequence >> 16), Interlaced ? second : FieldSignal::None);
    ++Sequence;
}

} // namespace mxs::media

// Reader of RTP packets with a raw video payload.
#include "RtpPacket.h"

namespace mxs::media
{

namespace
{

//  0                   1                   2                   3
//  V=2|P|X|  CC  |M|    PT       |        sequence number
//                            timestamp
//                               SSRC
//  CC x 32 bits of CSRC | with X: 16 bits of profile, 16 bits of length in words, these words | payload | with P:
//  padding, whose last byte is its length
constexpr size_t kFixedHeader = 12;
constexpr size_t kCsrcBytes = 4;
constexpr size_t kExtensionHeader = 4;

// Payload: 16 bits of extended sequence number, then line headers of 6 bytes, each
//  length (16) | F (1) line (15) | C (1) offset (15)
// while C says that another follows, then the samples of each in turn.
constexpr size_t kExtendedSequenceBytes = 2;
constexpr size_t kLineHeader = 6;

uint16_t Read16(std::span<const uint8_t> from, size_t at)
{
    return static_cast<uint16_t>(from[at] << 8 | from[at + 1]);
}

uint32_t Read32(std::span<const uint8_t> from, size_t at)
{
    return static_cast<uint32_t>(Read16(from, at)) << 16 | Read16(from, at + 2);
}

} // namespace

std::optional<RtpPacket> ReadRtpPacket(std::span<const uint8_t> datagram)
{
    if (datagram.size() < kFixedHeader) return std::nullopt;
    if (datagram[0] >> 6 != 2) return std::nullopt;
    const bool padded = datagram[0] & 0x20;
    const bool extended = datagram[0] & 0x10;

    RtpPacket packet;
    packet.marker = datagram[1] & 0x80;
    packet.payloadType = datagram[1] & 0x7F;
    packet.sequence = Read16(datagram, 2);
    packet.timestamp = Read32(datagram, 4);
    packet.ssrc = Read32(datagram, 8);

    size_t begin = kFixedHeader + kCsrcBytes * (datagram[0] & 0x0Fu);
    size_t end = datagram.size();
    if (begin > end) return std::nullopt;
    if (extended)
    {
        if (end - begin < kExtensionHeader) return std::nullopt;
        const size_t extensionBytes = kExtensionHeader + size_t{4} * Read16(datagram, begin + 2);
        if (end - begin < extensionBytes) return std::nullopt;
        begin += extensionBytes;
    }
    if (padded)
    {
        const size_t padding = datagram[end - 1];
        if (padding == 0 || padding > end - begin) return std::nullopt;
        end -= padding;
    }
    packet.payload = datagram.subspan(begin, end - begin);
    return packet;
}

bool ReadVideoPayload(std::span<const uint8_t> payload, VideoPayload& out)
{
    out.count = 0;
    if (payload.size() < kExtendedSequenceBytes) return false;
    out.extendedSequence = Read16(payload, 0);

    std::array<uint16_t, VideoPayload::kMostSegments> lengths;
    size_t at = kExtendedSequenceBytes;
    for (bool more = true; more; at += kLineHeader)
    {
        if (out.count == VideoPayload::kMostSegments || payload.size() - at < kLineHeader) return false;
        LineSegment& segment = out.segments[out.count];
        lengths[out.count] = Read16(payload, at);
        const uint16_t line = Read16(payload, at + 2);
        const uint16_t offset = Read16(payload, at + 4);
        segment.secondField = line & 0x8000;
        segment.line = line & 0x7FFF;
        segment.offset = offset & 0x7FFF;
        more = offset & 0x8000;
        ++out.count;
    }
    for (size_t i = 0; i < out.count; ++i)
    {
        if (payload.size() - at < lengths[i]) return false;
        out.segments[i].samples = payload.subspan(at, lengths[i]);
        at += lengths[i];
    }
    return true;
}

uint16_t ReadExtendedSequence(std::span<const uint8_t> payload)
{
    return payload.size() < kExtendedSequenceBytes ? uint16_t{0} : Read16(payload, 0);
}

} // namespace mxs::media

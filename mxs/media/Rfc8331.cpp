// Reader and writer of payloads of ancillary data.
#include "Rfc8331.h"

#include <algorithm>
#include <bit>

namespace mxs::media
{

namespace
{

constexpr size_t kPacketHeader = 4;
constexpr size_t kDataCountBits = 32 + 20; // where the data count stands in a packet

uint16_t Read16(std::span<const uint8_t> from, size_t at)
{
    return static_cast<uint16_t>(from[at] << 8 | from[at + 1]);
}

void Write16(std::span<uint8_t> to, size_t at, size_t value)
{
    to[at] = static_cast<uint8_t>(value >> 8);
    to[at + 1] = static_cast<uint8_t>(value);
}

// Words begin at even bits, so each lies within two bytes.
uint16_t ReadWord(std::span<const uint8_t> from, size_t bit)
{
    return Read16(from, bit / 8) >> (6 - bit % 8) & 0x3FF;
}

// The bytes of the packet at the beginning of `rest`, 0 when it is cut short. The bits that align the last one may be
// missing.
size_t BytesOfFirst(std::span<const uint8_t> rest)
{
    if (rest.size() < AncillaryBytes(kAncillaryFixedWords) - 3) return 0; // 32 bits and four words: nine bytes
    const size_t words = AncillaryWordCount(ReadWord(rest, kDataCountBits));
    if (rest.size() < kPacketHeader + (words * 10 + 7) / 8) return 0;
    return std::min(AncillaryBytes(words), rest.size());
}

} // namespace

bool ReadAncillaryPayload(std::span<const uint8_t> payload, AncillaryPayload& out)
{
    if (payload.size() < kAncillaryPayloadHeader) return false;
    out.extendedSequence = Read16(payload, 0);
    const size_t length = Read16(payload, 2);
    out.count = payload[4];
    out.field = static_cast<FieldSignal>(payload[5] >> 6);
    if (out.field == FieldSignal::Invalid) return false;
    if (payload.size() - kAncillaryPayloadHeader < length) return false;
    out.packets = payload.subspan(kAncillaryPayloadHeader, length);

    std::span<const uint8_t> rest = out.packets;
    for (size_t i = 0; i < out.count; ++i)
    {
        const size_t bytes = BytesOfFirst(rest);
        if (bytes == 0) return false;
        rest = rest.subspan(bytes);
    }
    return true;
}

bool AncillaryPayloadReader::Next(AncillaryPacket& out)
{
    if (Left == 0) return false;
    --Left;
    const size_t bytes = BytesOfFirst(Rest);
    const uint16_t place = Read16(Rest, 0);
    out.header.colour = place & 0x8000;
    out.header.line = place >> 4 & 0x7FF;
    out.header.horizontalOffset = static_cast<uint16_t>((place & 0xF) << 8 | Rest[2]);
    out.header.streamGiven = Rest[3] & 0x80;
    out.header.streamNumber = Rest[3] & 0x7F;
    out.wordCount = AncillaryWordCount(ReadWord(Rest, kDataCountBits));
    for (size_t i = 0; i < out.wordCount; ++i)
        out.words[i] = ReadWord(Rest, kPacketHeader * 8 + 10 * i);
    Rest = Rest.subspan(bytes);
    return true;
}

bool AncillaryPayloadWriter::Add(const AncillaryHeader& header, std::span<const uint16_t> words)
{
    const size_t bytes = AncillaryBytes(words.size());
    if (Count == kMostAncillaryPackets || Room.size() - Used < bytes) return false;
    const std::span<uint8_t> to = Room.subspan(Used, bytes);
    std::fill(to.begin(), to.end(), uint8_t{0});
    Write16(to, 0, (header.colour ? 0x8000u : 0u) | (header.line & 0x7FFu) << 4 | header.horizontalOffset >> 8);
    to[2] = static_cast<uint8_t>(header.horizontalOffset);
    to[3] = static_cast<uint8_t>((header.streamGiven ? 0x80 : 0) | (header.streamNumber & 0x7F));
    for (size_t i = 0; i < words.size(); ++i)
    {
        const size_t bit = kPacketHeader * 8 + 10 * i;
        const size_t shifted = (words[i] & 0x3FFu) << (6 - bit % 8);
        Write16(to, bit / 8, Read16(to, bit / 8) | shifted);
    }
    Used += bytes;
    ++Count;
    return true;
}

size_t AncillaryPayloadWriter::Finish(uint16_t extendedSequence, FieldSignal field)
{
    Write16(Room, 0, extendedSequence);
    Write16(Room, 2, Used - kAncillaryPayloadHeader);
    Write16(Room, 4, Count << 8 | static_cast<size_t>(field) << 6);
    Write16(Room, 6, 0);
    return Used;
}

bool AncillaryParityHolds(uint16_t word)
{
    const bool odd = std::popcount(static_cast<unsigned>(word & 0xFF)) % 2 != 0;
    const bool bit8 = word & 0x100;
    const bool bit9 = word & 0x200;
    return bit8 == odd && bit9 != bit8;
}

uint16_t AncillaryChecksum(std::span<const uint16_t> words)
{
    unsigned sum = 0;
    for (const uint16_t word : words)
        sum += word & 0x1FFu;
    sum &= 0x1FF;
    return static_cast<uint16_t>(sum | (~sum << 1 & 0x200));
}

} // namespace mxs::media

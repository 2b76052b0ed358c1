// The byte form of the ancillary data of one buffer: writes it for a received slot and reads what an application left
// in one that is to be sent. docs/formats.md has the bytes.
#pragma once

#include "Rfc8331.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace mxs::media
{

constexpr size_t kEmptyPlaylistBytes = 12;
constexpr size_t kAncillaryFlagWords = 3; // before each packet: 0x000 0x3FF 0x3FF

class AncillaryPlaylistWriter
{
public:
    // `buffer` has at least kEmptyPlaylistBytes; it is written only, never read.
    explicit AncillaryPlaylistWriter(std::span<uint8_t> buffer) : Buffer(buffer) {}

    // One packet, as in AncillaryPacket::words; false, and nothing written, when there is no room for it. Packets of a
    // line and area that follow one another share a section.
    bool Add(uint16_t line, bool horizontal, std::span<const uint16_t> words);

    size_t NextSection() const { return (At + 3) / 4 * 4; } // where a section would begin that begins now

    size_t Finish(); // writes size and end; returns the bytes of the playlist

private:
    void Put16(size_t value);
    void CloseSection();

    const std::span<uint8_t> Buffer;
    size_t At = 8;
    size_t SectionAt = 0; // of the open section's header; 0: none is open
    uint16_t SectionWord = 0;
};

// Walks over the packets of a playlist that nobody changes meanwhile.
class AncillaryPlaylistReader
{
public:
    struct Packet
    {
        uint16_t line = 0;
        bool horizontal = false;
        AncillaryPacket content; // words and their count
    };

    // The size that the first bytes of a buffer state, 0 when that is no size of a playlist in it.
    static size_t StatedBytes(std::span<const uint8_t> buffer);

    // `playlist` ends where the playlist does.
    explicit AncillaryPlaylistReader(std::span<const uint8_t> playlist) : Bytes(playlist) {}

    bool Next(Packet& out); // false behind the last

    // Sections and packets that were left out: raw lines, words of more than ten bits, what follows no rule.
    size_t Refused() const { return Left; }

private:
    uint16_t WordAt(size_t at) const;
    size_t Remaining() const { return Bytes.size() - At; }
    bool NextSection(); // false at the end; sets SectionEnd
    bool ReadPacket(Packet& out);
    bool IsEmptyLineMarker() const;
    void RefuseUpTo(size_t at);

    const std::span<const uint8_t> Bytes;
    size_t At = 8;
    size_t SectionEnd = 0; // beyond At while a section is open
    uint16_t SectionWord = 0;
    size_t Left = 0;
};

} // namespace mxs::media

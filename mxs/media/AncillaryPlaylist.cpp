// Writer and reader of playlists.
#include "AncillaryPlaylist.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

// All numbers are little-endian; words have 16 bits.
//  0 bytes of the whole (32) | 4 zero (32) | 8 sections and fillers | end (32)
// A section is a header, two words, and its payload:
//  bit 15 set, 14 horizontal blanking, 13 raw line, 10 to 0 line number | bytes of the payload
constexpr size_t kHead = 8;
constexpr size_t kEndBytes = 4;
constexpr size_t kSectionHeader = 4;
constexpr uint16_t kIsHeader = 0x8000;
constexpr uint16_t kIsHorizontal = 0x4000;
constexpr uint16_t kIsRawLine = 0x2000;
constexpr uint16_t kLineBits = 0x07FF;
constexpr uint16_t kFiller = 0xFFFF; // keeps headers on multiples of four bytes; twice in a row it is the end
constexpr uint16_t kPad = 0x1000;    // up to the next multiple of 64 bytes
constexpr size_t kPadUnit = 64;

constexpr uint16_t kLeastFlag = 0x3FC; // interfaces of eight bits leave the low two bits of the flag open
constexpr uint16_t kMostWord = 0x3FF;

bool IsBlank(uint16_t word)
{
    return word == 0x0040 || word == 0x0200;
}

} // namespace

void AncillaryPlaylistWriter::Put16(size_t value)
{
    Buffer[At] = static_cast<uint8_t>(value);
    Buffer[At + 1] = static_cast<uint8_t>(value >> 8);
    At += 2;
}

bool AncillaryPlaylistWriter::Add(uint16_t line, bool horizontal, std::span<const uint16_t> words)
{
    const auto header = static_cast<uint16_t>(kIsHeader | (horizontal ? kIsHorizontal : 0) | (line & kLineBits));
    const size_t packetBytes = 2 * (kAncillaryFlagWords + words.size());
    const bool sameSection =
        SectionAt != 0 && SectionWord == header && At - SectionAt - kSectionHeader + packetBytes <= UINT16_MAX;
    const size_t headerBytes = sameSection ? 0 : At % 4 + kSectionHeader;
    if (Buffer.size() - At < headerBytes + packetBytes + kEndBytes) return false;
    if (!sameSection)
    {
        CloseSection();
        if (At % 4 != 0) Put16(kFiller);
        SectionAt = At;
        SectionWord = header;
        At += kSectionHeader;
    }
    Put16(0);
    Put16(kMostWord);
    Put16(kMostWord);
    for (const uint16_t word : words)
        Put16(word);
    return true;
}

void AncillaryPlaylistWriter::CloseSection()
{
    if (SectionAt == 0) return;
    const size_t end = At;
    At = SectionAt;
    Put16(SectionWord);
    Put16(end - SectionAt - kSectionHeader);
    At = end;
    SectionAt = 0;
}

size_t AncillaryPlaylistWriter::Finish()
{
    CloseSection();
    Put16(kFiller);
    Put16(kFiller);
    const size_t bytes = At;
    At = 0;
    Put16(bytes);
    Put16(bytes >> 16);
    Put16(0);
    Put16(0);
    At = bytes;
    return bytes;
}

size_t AncillaryPlaylistReader::StatedBytes(std::span<const uint8_t> buffer)
{
    if (buffer.size() < kEmptyPlaylistBytes) return 0;
    const size_t bytes = size_t{buffer[0]} | size_t{buffer[1]} << 8 | size_t{buffer[2]} << 16 | size_t{buffer[3]} << 24;
    return bytes >= kEmptyPlaylistBytes && bytes <= buffer.size() ? bytes : 0;
}

uint16_t AncillaryPlaylistReader::WordAt(size_t at) const
{
    return static_cast<uint16_t>(Bytes[at] | Bytes[at + 1] << 8);
}

void AncillaryPlaylistReader::RefuseUpTo(size_t at)
{
    ++Left;
    At = at;
}

bool AncillaryPlaylistReader::Next(Packet& out)
{
    if (Bytes.size() < kHead) return false;
    for (;;)
    {
        while (At < SectionEnd)
            if (ReadPacket(out)) return true;
        if (!NextSection()) return false;
    }
}

bool AncillaryPlaylistReader::NextSection()
{
    while (Remaining() >= 2)
    {
        const uint16_t word = WordAt(At);
        if (word == kFiller)
        {
            if (Remaining() < 4 || WordAt(At + 2) == kFiller) return false;
            At += 2;
            continue;
        }
        if (word == kPad)
        {
            At = std::min((At / kPadUnit + 1) * kPadUnit, Bytes.size());
            continue;
        }
        const size_t payload = Remaining() < kSectionHeader ? 0 : WordAt(At + 2);
        const bool fits = Remaining() >= kSectionHeader && payload <= Remaining() - kSectionHeader;
        if (!(word & kIsHeader) || !fits || payload % 2 != 0)
        {
            RefuseUpTo(Bytes.size()); // nothing says where the next section begins
            return false;
        }
        At += kSectionHeader;
        SectionWord = word;
        SectionEnd = At + payload;
        if (word & kIsRawLine)
            RefuseUpTo(SectionEnd); // the network has packets alone
        else if (IsEmptyLineMarker())
            At = SectionEnd;
        else
            return true;
    }
    return false;
}

bool AncillaryPlaylistReader::IsEmptyLineMarker() const
{
    return SectionWord & kIsHorizontal && SectionEnd - At == 4 && IsBlank(WordAt(At)) && IsBlank(WordAt(At + 2));
}

bool AncillaryPlaylistReader::ReadPacket(Packet& out)
{
    const size_t words = (SectionEnd - At) / 2;
    const size_t first = At + 2 * kAncillaryFlagWords;
    const bool flagged = words >= kAncillaryFlagWords + kAncillaryFixedWords && WordAt(At) == 0 &&
                         WordAt(At + 2) >= kLeastFlag && WordAt(At + 4) >= kLeastFlag;
    const size_t count = flagged ? AncillaryWordCount(WordAt(first + 4)) : 0;
    if (!flagged || words < kAncillaryFlagWords + count)
    {
        RefuseUpTo(SectionEnd);
        return false;
    }
    out.line = SectionWord & kLineBits;
    out.horizontal = SectionWord & kIsHorizontal;
    out.content.wordCount = count;
    bool tenBits = true;
    for (size_t i = 0; i < count; ++i)
    {
        out.content.words[i] = WordAt(first + 2 * i);
        tenBits = tenBits && out.content.words[i] <= kMostWord;
    }
    At = first + 2 * count;
    if (!tenBits) ++Left;
    return tenBits;
}

} // namespace mxs::media

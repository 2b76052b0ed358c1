// The words of a playlist, all little-endian:
//
//   0 size, end marker included (32 bits) | 4 zero (32 bits) | 8 sections ... | 0xFFFFFFFF
//
// A section is a header of two words, which stands on a multiple of 4 bytes, and its payload: packets one after another
// (flag 0, 0x3FF, 0x3FF, DID, SDID, DC, user words, checksum), or one raw line.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Quillmont::anc
{
inline constexpr uint32_t kPlaylistHeadBytes = 8;
inline constexpr uint32_t kEndMarker = 0xFFFFFFFF;
inline constexpr uint32_t kEndMarkerBytes = 4;
inline constexpr uint32_t kEmptyPlaylistBytes = kPlaylistHeadBytes + kEndMarkerBytes;

inline constexpr uint32_t kFiller = 0xFFFF; // keeps headers on their boundary; two of them are the end marker
inline constexpr uint32_t kPad = 0x1000;    // up to the next multiple of kPadBytes
inline constexpr uint32_t kPadBytes = 64;

// First word of a section header; the second is the number of payload bytes.
inline constexpr uint32_t kHeaderFlag = 0x8000;
inline constexpr uint32_t kHancFlag = 0x4000;
inline constexpr uint32_t kRawLineFlag = 0x2000;
inline constexpr uint32_t kRawLine10BitFlag = 0x1000;
inline constexpr uint32_t kLineNumberMask = 0x7FF;
inline constexpr uint32_t kHeaderBytes = 4;

inline constexpr uint32_t kFlagWordFloor = 1020; // the second and third word of a packet's flag are no lower
inline constexpr uint32_t kWordsBeforeUserWords = 6;
inline constexpr uint32_t kEmptyMark1 = 0x0040, kEmptyMark2 = 0x0200; // payload of an empty last line

static_assert(std::endian::native == std::endian::little, "words are stored as they stand in memory");

inline uint32_t Load16(const uint8_t* at)
{
    uint16_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

inline void Store16(uint8_t* at, uint32_t word)
{
    const auto stored = static_cast<uint16_t>(word);
    std::memcpy(at, &stored, sizeof stored);
}

inline uint32_t Load32(const uint8_t* at)
{
    uint32_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

inline void Store32(uint8_t* at, uint32_t word)
{
    std::memcpy(at, &word, sizeof word);
}

// An 8-bit value as a 10-bit word: bit 8 makes the parity even, bit 9 is its inverse.
consteval std::array<uint16_t, 256> MakeParityWords()
{
    std::array<uint16_t, 256> words{};
    for (uint32_t value = 0; value < words.size(); ++value)
        words[value] = static_cast<uint16_t>(value + (std::popcount(value) % 2 != 0 ? 0x100 : 0x200));
    return words;
}
inline constexpr std::array<uint16_t, 256> kParityWords = MakeParityWords();

// The checksum word over DID, SDID, DC with parity and the user words at `userWords`, of any alignment.
inline uint32_t ChecksumWord(uint32_t did, uint32_t sdid, uint32_t dc, const uint8_t* userWords, size_t count)
{
    // Four words at a time in the lanes of one: a lane holds at most 64 of 9 bits.
    constexpr uint64_t kLow9 = 0x01FF01FF01FF01FF;
    uint64_t lanes = 0;
    size_t i = 0;
    for (; i + 4 <= count; i += 4)
    {
        uint64_t four;
        std::memcpy(&four, userWords + i * 2, sizeof four);
        lanes += four & kLow9;
    }
    // The product has the sum of all lanes in the highest; nine bits of it count.
    uint64_t sum = did + sdid + dc + (lanes * 0x0001'0001'0001'0001 >> 48);
    for (; i < count; ++i)
        sum += Load16(userWords + i * 2);
    const auto low9 = static_cast<uint32_t>(sum & 0x1FF);
    return low9 | (low9 & 0x100 ? 0 : 0x200);
}
} // namespace Quillmont::anc

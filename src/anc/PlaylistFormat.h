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
inline constexpr size_t kWordsBeforeDataCount = 5, kWordsBeforeUserWords = 6;
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

inline uint64_t Load64(const uint8_t* at)
{
    uint64_t words;
    std::memcpy(&words, at, sizeof words);
    return words;
}

inline void Store64(uint8_t* at, uint64_t words)
{
    std::memcpy(at, &words, sizeof words);
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
} // namespace Quillmont::anc

// Marks that a sender repeats all over a part of a slot, so that a receiver knows each part, and whether it is whole.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <optional>

namespace test
{

struct Stamp
{
    uint32_t stream = 0; // never 0: silence and black are no stamps
    uint32_t part = 0;   // of the slot, from 0: a field, or a packet of audio
    uint64_t slot = 0;   // running number

    bool operator==(const Stamp&) const = default;
};
static_assert(sizeof(Stamp) == 16);

// A part is a multiple of the stamp's size.
inline void PutStamp(uint8_t* part, size_t bytes, const Stamp& stamp)
{
    std::memcpy(part, &stamp, sizeof stamp);
    for (size_t done = sizeof stamp; done < bytes; done *= 2)
        std::memcpy(part + done, part, std::min(done, bytes - done));
}

// Nothing when the part does not hold one stamp from its begin to its end.
inline std::optional<Stamp> FindStamp(const uint8_t* part, size_t bytes)
{
    Stamp stamp;
    if (bytes < sizeof stamp || std::memcmp(part, part + sizeof stamp, bytes - sizeof stamp) != 0) return {};
    std::memcpy(&stamp, part, sizeof stamp);
    return stamp;
}

// In user words of an ancillary packet, a byte in each.
inline constexpr uint8_t kStampWords = sizeof(Stamp);

inline void PutStamp(uint16_t* words, const Stamp& stamp)
{
    const auto bytes = std::bit_cast<std::array<uint8_t, sizeof stamp>>(stamp);
    for (const uint8_t byte : bytes)
    {
        const bool odd = std::popcount(byte) % 2 != 0;
        *words++ = uint16_t(byte | (odd ? 0x100 : 0x200)); // parity, and its inverse
    }
}

inline Stamp StampOf(const uint16_t* words)
{
    std::array<uint8_t, sizeof(Stamp)> bytes;
    std::transform(words, words + bytes.size(), bytes.begin(), [](uint16_t word) { return uint8_t(word); });
    return std::bit_cast<Stamp>(bytes);
}

} // namespace test

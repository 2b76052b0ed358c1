// How components lie in memory, layout by layout: what the conversions are put together from.
#pragma once

#include "PixelGroups.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>

namespace mxs::media::layouts
{

// Four components fill whole bytes at each depth and in each layout, so the fast part of a conversion works by fours,
// which it holds in the four 16-bit lanes of one number, the first component in the lowest.
constexpr uint32_t kQuad = 4;
using Lanes = uint64_t;
constexpr Lanes kEachLane = 0x0001'0001'0001'0001;

constexpr uint64_t Reversed(uint64_t value)
{
    return __builtin_bswap64(value);
}

constexpr uint64_t Lane(Lanes quad, uint32_t index)
{
    return quad >> (16 * index) & 0xFFFF;
}

constexpr Lanes FromLanes(uint64_t first, uint64_t second, uint64_t third, uint64_t fourth)
{
    return first | second << 16 | third << 32 | fourth << 48;
}

constexpr Lanes SwappedInLanes(Lanes quad) // the two bytes of each
{
    return (quad & 0x00FF'00FF'00FF'00FF) << 8 | (quad >> 8 & 0x00FF'00FF'00FF'00FF);
}

// Numbers of 4, 5, 6 or 8 bytes in memory. Whole words are moved, and the rest is added in registers: a detour of
// single bytes through memory would make the processor wait.
template <uint32_t bytes>
uint64_t LoadBig(const uint8_t* from)
{
    uint64_t value = uint64_t{from[0]} << 24 | uint64_t{from[1]} << 16 | uint64_t{from[2]} << 8 | from[3];
    if constexpr (bytes == 5) value = value << 8 | from[4];
    if constexpr (bytes == 6) value = value << 16 | uint64_t{from[4]} << 8 | from[5];
    return value;
}

template <uint32_t bytes>
uint64_t LoadLittle(const uint8_t* from)
{
    uint64_t value = 0;
    if constexpr (bytes == 8)
        std::memcpy(&value, from, bytes);
    else
    {
        uint32_t low = 0;
        std::memcpy(&low, from, sizeof low);
        if constexpr (std::endian::native == std::endian::big) low = __builtin_bswap32(low);
        value = low;
        for (uint32_t i = 4; i < bytes; ++i)
            value |= uint64_t{from[i]} << (8 * i);
        return value;
    }
    return std::endian::native == std::endian::big ? Reversed(value) : value;
}

template <uint32_t bytes>
void StoreLittle(uint8_t* to, uint64_t value)
{
    if constexpr (std::endian::native == std::endian::big) value = Reversed(value);
    std::memcpy(to, &value, bytes);
}

// Each layout loads and stores one component at its index, and four at an index that is a multiple of 4. What comes out
// of a load is within the depth's range.

// Most significant bit first: also what travels on the network.
template <uint32_t bits>
struct PackedBig
{
    static constexpr uint32_t depth = bits;

    static uint32_t LoadOne(const uint8_t* slot, uint64_t index)
    {
        uint32_t value = 0;
        for (uint32_t i = 0; i < bits;) // byte by byte: a component touches two at most
        {
            const uint64_t bit = index * bits + i;
            const uint32_t inByte = static_cast<uint32_t>(bit % 8);
            const uint32_t take = std::min(8 - inByte, bits - i);
            const uint32_t piece = static_cast<uint32_t>(slot[bit / 8]) >> (8 - inByte - take) & ((1u << take) - 1);
            value = value << take | piece;
            i += take;
        }
        return value;
    }
    static Lanes LoadQuad(const uint8_t* slot, uint64_t index)
    {
        const uint64_t packed = LoadBig<bits / 2>(slot + index * bits / 8);
        constexpr uint64_t mask = (1u << bits) - 1;
        return FromLanes(packed >> (3 * bits), packed >> (2 * bits) & mask, packed >> bits & mask, packed & mask);
    }
    static void StoreOne(uint8_t* slot, uint64_t index, uint32_t value)
    {
        uint64_t bit = index * bits;
        for (uint32_t left = bits; left > 0;)
        {
            const uint32_t inByte = static_cast<uint32_t>(bit % 8);
            const uint32_t take = std::min(8 - inByte, left);
            const uint32_t shift = 8 - inByte - take;
            const uint32_t mask = ((1u << take) - 1) << shift;
            const uint32_t piece = value >> (left - take) << shift & mask;
            slot[bit / 8] = static_cast<uint8_t>((slot[bit / 8] & ~mask) | piece);
            bit += take;
            left -= take;
        }
    }
    static void StoreQuad(uint8_t* slot, uint64_t index, Lanes quad)
    {
        const uint64_t value =
            Lane(quad, 0) << (3 * bits) | Lane(quad, 1) << (2 * bits) | Lane(quad, 2) << bits | Lane(quad, 3);
        StoreLittle<bits / 2>(slot + index * bits / 8, Reversed(value << (64 - 4 * bits)));
    }
};

// Least significant bit first.
template <uint32_t bits>
struct PackedLittle
{
    static constexpr uint32_t depth = bits;

    static uint32_t LoadOne(const uint8_t* slot, uint64_t index)
    {
        uint32_t value = 0;
        for (uint32_t i = 0; i < bits;)
        {
            const uint64_t bit = index * bits + i;
            const uint32_t inByte = static_cast<uint32_t>(bit % 8);
            const uint32_t take = std::min(8 - inByte, bits - i);
            value |= (static_cast<uint32_t>(slot[bit / 8]) >> inByte & ((1u << take) - 1)) << i;
            i += take;
        }
        return value;
    }
    static Lanes LoadQuad(const uint8_t* slot, uint64_t index)
    {
        const uint64_t packed = LoadLittle<bits / 2>(slot + index * bits / 8);
        constexpr uint64_t mask = (1u << bits) - 1;
        return FromLanes(packed & mask, packed >> bits & mask, packed >> (2 * bits) & mask, packed >> (3 * bits));
    }
    static void StoreOne(uint8_t* slot, uint64_t index, uint32_t value)
    {
        uint64_t bit = index * bits;
        for (uint32_t left = bits; left > 0;)
        {
            const uint32_t inByte = static_cast<uint32_t>(bit % 8);
            const uint32_t take = std::min(8 - inByte, left);
            const uint32_t mask = ((1u << take) - 1) << inByte;
            slot[bit / 8] = static_cast<uint8_t>((slot[bit / 8] & ~mask) | (value << inByte & mask));
            value >>= take;
            bit += take;
            left -= take;
        }
    }
    static void StoreQuad(uint8_t* slot, uint64_t index, Lanes quad)
    {
        const uint64_t value =
            Lane(quad, 3) << (3 * bits) | Lane(quad, 2) << (2 * bits) | Lane(quad, 1) << bits | Lane(quad, 0);
        StoreLittle<bits / 2>(slot + index * bits / 8, value);
    }
};

// Each component in a word of its own. The application may write any number into it: the highest of the depth is the
// most that counts.
template <uint32_t bits, uint32_t wordBytes, Endianness order>
struct Word
{
    static constexpr uint32_t depth = bits;
    static constexpr uint32_t highest = (1u << bits) - 1;

    static uint32_t LoadOne(const uint8_t* slot, uint64_t index)
    {
        const uint8_t* from = slot + index * wordBytes;
        uint32_t value = 0;
        for (uint32_t i = 0; i < wordBytes; ++i)
            value |= uint32_t{from[order == kLittleEndian ? i : wordBytes - 1 - i]} << (8 * i);
        return std::min(value, highest);
    }
    static Lanes LoadQuad(const uint8_t* slot, uint64_t index)
    {
        const uint8_t* from = slot + index * wordBytes;
        Lanes quad;
        uint64_t beyond; // bits that no component of this depth has
        if constexpr (wordBytes == 2)
        {
            quad = LoadLittle<8>(from);
            if constexpr (order == kBigEndian) quad = SwappedInLanes(quad);
            beyond = quad & ~(kEachLane * highest);
        }
        else
        {
            uint64_t low = LoadLittle<8>(from);
            uint64_t high = LoadLittle<8>(from + 8);
            if constexpr (order == kBigEndian)
            {
                low = Reversed(low) << 32 | Reversed(low) >> 32;
                high = Reversed(high) << 32 | Reversed(high) >> 32;
            }
            beyond = (low | high) & ~(uint64_t{highest} << 32 | highest);
            quad = FromLanes(low & highest, low >> 32 & highest, high & highest, high >> 32 & highest);
        }
        if (beyond == 0) return quad;
        return FromLanes(LoadOne(slot, index), LoadOne(slot, index + 1), LoadOne(slot, index + 2),
                         LoadOne(slot, index + 3));
    }
    static void StoreOne(uint8_t* slot, uint64_t index, uint32_t value)
    {
        uint8_t* to = slot + index * wordBytes;
        for (uint32_t i = 0; i < wordBytes; ++i)
            to[order == kLittleEndian ? i : wordBytes - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
    }
    static void StoreQuad(uint8_t* slot, uint64_t index, Lanes quad)
    {
        uint8_t* to = slot + index * wordBytes;
        if constexpr (order == kBigEndian) quad = SwappedInLanes(quad);
        if constexpr (wordBytes == 2)
            StoreLittle<8>(to, quad);
        else
        {
            constexpr uint32_t shift = order == kBigEndian ? 16 : 0; // the two bytes of 0 stand in front
            StoreLittle<8>(to, (Lane(quad, 0) | Lane(quad, 1) << 32) << shift);
            StoreLittle<8>(to + 8, (Lane(quad, 2) | Lane(quad, 3) << 32) << shift);
        }
    }
};

} // namespace mxs::media::layouts

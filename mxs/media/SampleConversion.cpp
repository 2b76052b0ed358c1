// Conversion component by component; one instance of the loop for each pair of formats.
#include "SampleConversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace mxs::media
{

namespace
{

// Four components fill whole bytes at each depth and in each layout, so the fast part of the loop works by fours, which
// it holds in the four 16-bit lanes of one number, the first component in the lowest.
constexpr uint32_t kQuad = 4;
using Lanes = uint64_t;
constexpr Lanes kEachLane = 0x0001'0001'0001'0001;

constexpr uint64_t Reversed(uint64_t value)
{
    return __builtin_bswap64(value);
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
void StoreLittle(uint8_t* to, uint64_t value)
{
    if constexpr (std::endian::native == std::endian::big) value = Reversed(value);
    std::memcpy(to, &value, bytes);
}

// Four components at `bits` each, packed most significant bit first.
template <uint32_t bits>
Lanes LoadQuad(const uint8_t* from)
{
    const uint64_t packed = LoadBig<bits / 2>(from);
    constexpr uint64_t mask = (1u << bits) - 1;
    return packed >> (3 * bits) | (packed >> (2 * bits) & mask) << 16 | (packed >> bits & mask) << 32 |
           (packed & mask) << 48;
}

// The component that starts at bit `position` of `from`.
template <uint32_t bits>
uint32_t LoadOne(const uint8_t* from, uint64_t position)
{
    uint32_t value = 0;
    for (uint32_t i = 0; i < bits;) // byte by byte: a component touches two at most
    {
        const uint64_t bit = position + i;
        const uint32_t inByte = static_cast<uint32_t>(bit % 8);
        const uint32_t take = std::min(8 - inByte, bits - i);
        const uint32_t piece = static_cast<uint32_t>(from[bit / 8]) >> (8 - inByte - take) & ((1u << take) - 1);
        value = value << take | piece;
        i += take;
    }
    return value;
}

// Between depths: times a power of two, or rounded, halves up, and kept within the range.
template <uint32_t from, uint32_t to>
uint32_t Scale(uint32_t value)
{
    if constexpr (to >= from)
        return value << (to - from);
    else
        return std::min((value + (1u << (from - to - 1))) >> (from - to), (1u << to) - 1);
}

// The same in each lane.
template <uint32_t from, uint32_t to>
Lanes ScaleQuad(Lanes quad)
{
    if constexpr (to >= from)
        return quad << (to - from);
    else
    {
        constexpr Lanes half = kEachLane << (from - to - 1);
        constexpr Lanes mask = kEachLane * ((1u << (to + 1)) - 1);
        const Lanes rounded = (quad + half) >> (from - to) & mask;
        return rounded - (rounded >> to & kEachLane); // only the power of two itself is beyond the range, by one
    }
}

uint64_t Lane(Lanes quad, uint32_t index)
{
    return quad >> (16 * index) & 0xFFFF;
}

// The application's layouts. Each stores one component at its index, and four at an index that is a multiple of 4.
template <uint32_t bits>
struct PackedBig
{
    static constexpr uint32_t depth = bits;

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

template <uint32_t bits>
struct PackedLittle
{
    static constexpr uint32_t depth = bits;

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

template <uint32_t bits, uint32_t wordBytes, Endianness order>
struct Word
{
    static constexpr uint32_t depth = bits;

    static void StoreOne(uint8_t* slot, uint64_t index, uint32_t value)
    {
        uint8_t* to = slot + index * wordBytes;
        for (uint32_t i = 0; i < wordBytes; ++i)
            to[order == kLittleEndian ? i : wordBytes - 1 - i] = static_cast<uint8_t>(value >> (8 * i));
    }
    static void StoreQuad(uint8_t* slot, uint64_t index, Lanes quad)
    {
        uint8_t* to = slot + index * wordBytes;
        if constexpr (order == kBigEndian) // within each lane
            quad = (quad & 0x00FF'00FF'00FF'00FF) << 8 | (quad >> 8 & 0x00FF'00FF'00FF'00FF);
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

template <uint32_t networkBits, class Layout>
void ConvertRun(uint8_t* slot, uint64_t firstComponent, const uint8_t* payload, uint64_t components)
{
    uint64_t done = 0;
    const auto single = [&]
    {
        const uint32_t value = LoadOne<networkBits>(payload, done * networkBits);
        Layout::StoreOne(slot, firstComponent + done, Scale<networkBits, Layout::depth>(value));
        ++done;
    };
    while (done < components && (firstComponent + done) % kQuad != 0)
        single();
    // Here the payload is at a byte border too: a run begins with a group, groups begin at a byte, and groups of
    // 10 bits are whole fours.
    const uint8_t* from = payload + done * networkBits / 8;
    for (; done + kQuad <= components; done += kQuad, from += networkBits / 2)
    {
        Layout::StoreQuad(slot, firstComponent + done,
                          ScaleQuad<networkBits, Layout::depth>(LoadQuad<networkBits>(from)));
    }
    while (done < components)
        single();
}

using Conversion = void (*)(uint8_t* slot, uint64_t firstComponent, const uint8_t* payload, uint64_t components);

template <uint32_t networkBits, uint32_t bits>
Conversion PickLayout(const BitProperties& application)
{
    const bool little = application.endianness == kLittleEndian;
    switch (application.padding)
    {
    case kIn16Bits:
        return little ? &ConvertRun<networkBits, Word<bits, 2, kLittleEndian>>
                      : &ConvertRun<networkBits, Word<bits, 2, kBigEndian>>;
    case kIn32Bits:
        return little ? &ConvertRun<networkBits, Word<bits, 4, kLittleEndian>>
                      : &ConvertRun<networkBits, Word<bits, 4, kBigEndian>>;
    default: return little ? &ConvertRun<networkBits, PackedLittle<bits>> : &ConvertRun<networkBits, PackedBig<bits>>;
    }
}

template <uint32_t networkBits>
Conversion PickDepth(const BitProperties& application)
{
    switch (DepthBits(application.depth))
    {
    case 8: return PickLayout<networkBits, 8>(application);
    case 10: return PickLayout<networkBits, 10>(application);
    default: return PickLayout<networkBits, 12>(application);
    }
}

Conversion Pick(const PixelGroup& network, const BitProperties& application)
{
    switch (network.depth)
    {
    case 8: return PickDepth<8>(application);
    case 10: return PickDepth<10>(application);
    default: return PickDepth<12>(application);
    }
}

bool SameBytes(const PixelGroup& network, const BitProperties& application)
{
    if (application.padding != kPacked || DepthBits(application.depth) != network.depth) return false;
    return application.endianness == kBigEndian || network.depth == 8;
}

// Components after which the pattern of black repeats in every sampling and fills whole bytes.
constexpr uint32_t kPatternComponents = 12;
constexpr uint32_t kPatternRepeats = 256;

// Copies `mask` bits of one byte and leaves the others.
void CopyBits(uint8_t& to, uint8_t from, uint32_t mask)
{
    to = static_cast<uint8_t>((to & ~mask) | (from & mask));
}

} // namespace

SampleConverter::SampleConverter(const PixelGroup& network, const BitProperties& application)
    : Network(network), ComponentBits(StoredBits(application)), LeastBitFirst(application.endianness == kLittleEndian),
      PlainCopy(SameBytes(network, application)), Convert(Pick(network, application)),
      BlackPeriodBytes(kPatternComponents * ComponentBits / 8)
{
    Black.resize(BlackPeriodBytes * kPatternRepeats);
    // Black is put in by the same routine as samples are, from components at the network's depth.
    const uint32_t depth = network.depth;
    std::array<uint8_t, kPatternComponents * 12 / 8> pattern{};
    for (uint32_t i = 0; i < kPatternComponents; ++i)
    {
        const uint32_t value = BlackOf(network.order, i, depth);
        switch (depth)
        {
        case 8: PackedBig<8>::StoreOne(pattern.data(), i, value); break;
        case 10: PackedBig<10>::StoreOne(pattern.data(), i, value); break;
        default: PackedBig<12>::StoreOne(pattern.data(), i, value); break;
        }
    }
    for (uint64_t period = 0; period < kPatternRepeats; ++period)
        Convert(Black.data(), period * kPatternComponents, pattern.data(), kPatternComponents);
}

void SampleConverter::Write(uint8_t* slot, uint64_t firstGroup, const uint8_t* payload, uint64_t groups) const
{
    if (PlainCopy)
        std::memcpy(slot + firstGroup * Network.bytes, payload, groups * Network.bytes);
    else
        Convert(slot, firstGroup * Network.components, payload, groups * Network.components);
}

SampleConverter::ByteRange SampleConverter::BytesOf(uint64_t firstGroup, uint64_t groups) const
{
    const uint64_t groupBits = uint64_t{Network.components} * ComponentBits;
    return {firstGroup * groupBits / 8, ((firstGroup + groups) * groupBits + 7) / 8};
}

void SampleConverter::FillBlack(uint8_t* slot, uint64_t firstGroup, uint64_t groups) const
{
    const uint64_t groupBits = uint64_t{Network.components} * ComponentBits;
    const uint64_t beginBit = firstGroup * groupBits;
    const uint64_t endBit = beginBit + groups * groupBits;
    const auto blackAt = [this](uint64_t byte) { return Black[byte % BlackPeriodBytes]; };

    // Bits of a byte from `from` to before `to`, counted in the order in which they are filled.
    const auto maskOf = [this](uint64_t from, uint64_t to)
    {
        const uint32_t bits = (1u << (to - from)) - 1;
        return bits << (LeastBitFirst ? from : 8 - to);
    };
    uint64_t byte = beginBit / 8;
    const uint64_t endByte = endBit / 8;
    if (beginBit % 8 != 0)
    {
        const uint64_t stop = byte == endByte ? endBit % 8 : 8;
        CopyBits(slot[byte], blackAt(byte), maskOf(beginBit % 8, stop));
        if (byte == endByte) return;
        ++byte;
    }
    while (byte < endByte)
    {
        const uint64_t phase = byte % BlackPeriodBytes;
        const uint64_t count = std::min<uint64_t>(endByte - byte, Black.size() - phase);
        std::memcpy(slot + byte, Black.data() + phase, count);
        byte += count;
    }
    if (endBit % 8 != 0) CopyBits(slot[endByte], blackAt(endByte), maskOf(0, endBit % 8));
}

} // namespace mxs::media

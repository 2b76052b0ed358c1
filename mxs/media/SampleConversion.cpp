// One instance of each loop for each pair of formats, and the choice among them.
#include "SampleConversion.h"

#include "SampleKernels.h"
#include "SampleKernelsAvx2.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace mxs::media
{

using namespace layouts;

namespace
{

using Conversions = SampleConverter::Conversions;

template <class Loops, uint32_t networkBits, class Layout>
constexpr Conversions kBothWays{&Loops::template ToSlot<networkBits, Layout>,
                                &Loops::template FromSlot<networkBits, Layout>};

template <class Loops, uint32_t networkBits, uint32_t bits>
Conversions PickLayout(const BitProperties& application)
{
    const bool little = application.endianness == kLittleEndian;
    switch (application.padding)
    {
    case kIn16Bits:
        return little ? kBothWays<Loops, networkBits, Word<bits, 2, kLittleEndian>>
                      : kBothWays<Loops, networkBits, Word<bits, 2, kBigEndian>>;
    case kIn32Bits:
        return little ? kBothWays<Loops, networkBits, Word<bits, 4, kLittleEndian>>
                      : kBothWays<Loops, networkBits, Word<bits, 4, kBigEndian>>;
    default:
        return little ? kBothWays<Loops, networkBits, PackedLittle<bits>>
                      : kBothWays<Loops, networkBits, PackedBig<bits>>;
    }
}

template <class Loops, uint32_t networkBits>
Conversions PickDepth(const BitProperties& application)
{
    switch (DepthBits(application.depth))
    {
    case 8: return PickLayout<Loops, networkBits, 8>(application);
    case 10: return PickLayout<Loops, networkBits, 10>(application);
    default: return PickLayout<Loops, networkBits, 12>(application);
    }
}

template <class Loops>
Conversions PickLoops(const PixelGroup& network, const BitProperties& application)
{
    switch (network.depth)
    {
    case 8: return PickDepth<Loops, 8>(application);
    case 10: return PickDepth<Loops, 10>(application);
    default: return PickDepth<Loops, 12>(application);
    }
}

Conversions Pick(const PixelGroup& network, const BitProperties& application, [[maybe_unused]] SampleKernel kernel)
{
#if defined(__x86_64__)
    if (kernel == SampleKernel::Avx2) return PickLoops<avx2::Kernel>(network, application);
#endif
    return PickLoops<ScalarKernel>(network, application);
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

std::vector<SampleKernel> KernelsOfThisProcessor()
{
    std::vector<SampleKernel> kernels{SampleKernel::Scalar};
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2")) kernels.push_back(SampleKernel::Avx2);
#endif
    return kernels;
}

SampleConverter::SampleConverter(const PixelGroup& network, const BitProperties& application)
    : SampleConverter(network, application, KernelsOfThisProcessor().back())
{
}

SampleConverter::SampleConverter(const PixelGroup& network, const BitProperties& application, SampleKernel kernel)
    : Network(network), ComponentBits(StoredBits(application)), LeastBitFirst(application.endianness == kLittleEndian),
      PlainCopy(SameBytes(network, application)), Convert(Pick(network, application, kernel)),
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
        Convert.toSlot(Black.data(), period * kPatternComponents, pattern.data(), kPatternComponents);
}

void SampleConverter::Write(uint8_t* slot, uint64_t firstGroup, const uint8_t* payload, uint64_t groups) const
{
    if (PlainCopy)
        std::memcpy(slot + firstGroup * Network.bytes, payload, groups * Network.bytes);
    else
        Convert.toSlot(slot, firstGroup * Network.components, payload, groups * Network.components);
}

void SampleConverter::Read(const uint8_t* slot, uint64_t firstGroup, uint8_t* payload, uint64_t groups) const
{
    if (PlainCopy)
        std::memcpy(payload, slot + firstGroup * Network.bytes, groups * Network.bytes);
    else
        Convert.fromSlot(slot, firstGroup * Network.components, payload, groups * Network.components);
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

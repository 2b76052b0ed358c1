// The table of pixel groups. docs/formats.md shows it with the names of the components.
#include "PixelGroups.h"

#include <algorithm>
#include <array>

namespace mxs::media
{

namespace
{

// One family of samplings at its three depths; groups are the smallest that fill whole bytes.
constexpr PixelGroup Row(uint32_t sampling, ComponentOrder order, uint32_t depth)
{
    if (order == ComponentOrder::ChromaLuma422) return {sampling, depth, order, 2, 4, depth / 2};
    const uint32_t pixels = depth == 8 ? 1 : depth == 10 ? 4 : 2;
    return {sampling, depth, order, pixels, 3 * pixels, 3 * pixels * depth / 8};
}

struct Family
{
    uint32_t sampling;
    ComponentOrder order;
};

constexpr Family kFamilies[] = {
    {kYCbCr422, ComponentOrder::ChromaLuma422},
    {kConstantLuminance422, ComponentOrder::ChromaLuma422},
    {kICtCp422, ComponentOrder::ChromaLuma422},
    {kYCbCr444, ComponentOrder::ChromaLuma444},
    {kConstantLuminance444, ComponentOrder::ChromaLuma444},
    {kICtCp444, ComponentOrder::ChromaLuma444},
    {kRgbLinear, ComponentOrder::Colour444},
    {kRgbNonLinear, ComponentOrder::Colour444},
    {kXyz, ComponentOrder::Colour444},
};
constexpr uint32_t kDepths[] = {8, 10, 12};

constexpr auto MakeTable()
{
    std::array<PixelGroup, std::size(kFamilies) * std::size(kDepths)> table{};
    size_t row = 0;
    for (const Family& family : kFamilies)
        for (const uint32_t depth : kDepths)
            table[row++] = Row(family.sampling, family.order, depth);
    return table;
}

constexpr auto kTable = MakeTable();

} // namespace

std::span<const PixelGroup> AllPixelGroups()
{
    return kTable;
}

const PixelGroup* FindPixelGroup(uint32_t sampling, uint32_t depthBits)
{
    const auto found =
        std::find_if(kTable.begin(), kTable.end(),
                     [&](const PixelGroup& row) { return row.sampling == sampling && row.depth == depthBits; });
    return found == kTable.end() ? nullptr : &*found;
}

uint32_t DepthBits(uint32_t depth)
{
    constexpr uint32_t kBits[] = {8, 10, 12, 16};
    return depth < std::size(kBits) ? kBits[depth] : 0;
}

uint32_t StoredBits(const BitProperties& application)
{
    if (application.padding == kIn16Bits) return 16;
    if (application.padding == kIn32Bits) return 32;
    return DepthBits(application.depth);
}

uint32_t ComponentsPerPixel(const PixelGroup& group)
{
    return group.components / group.pixels;
}

uint32_t BlackOf(ComponentOrder order, uint32_t index, uint32_t depthBits)
{
    const uint32_t chroma = 128u << (depthBits - 8);
    const uint32_t luma = 16u << (depthBits - 8);
    switch (order)
    {
    case ComponentOrder::ChromaLuma422: return index % 2 == 1 ? luma : chroma;
    case ComponentOrder::ChromaLuma444: return index % 3 == 1 ? luma : chroma;
    case ComponentOrder::Colour444: break;
    }
    return 0; // black in full range, below it in narrow range
}

} // namespace mxs::media

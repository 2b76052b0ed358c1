// The pixel groups of the network formats: which components, how many pixels, how many bytes.
#pragma once

#include "MediaStream.h"

#include <cstdint>
#include <span>

namespace mxs::media
{

// Numbers of BitProperties::sampling.
enum Sampling : uint32_t
{
    kYCbCr420 = 0,
    kYCbCr422 = 1,
    kYCbCr444 = 2,
    kConstantLuminance420 = 3,
    kConstantLuminance422 = 4,
    kConstantLuminance444 = 5,
    kICtCp420 = 6,
    kICtCp422 = 7,
    kICtCp444 = 8,
    kRgbLinear = 9,
    kRgbNonLinear = 10,
    kXyz = 11,
    kKey = 12
};

enum Padding : uint32_t
{
    kPacked = 0,
    kIn16Bits = 1,
    kIn32Bits = 2
};

enum Endianness : uint32_t
{
    kBigEndian = 0,
    kLittleEndian = 1
};

// Components of a pixel group in their order, of which one period is given.
enum class ComponentOrder
{
    ChromaLuma422, // C Y C Y: two pixels
    ChromaLuma444, // C Y C: one pixel
    Colour444      // R G B or X Y Z: one pixel
};

struct PixelGroup
{
    uint32_t sampling;
    uint32_t depth; // bits of a component: 8, 10, 12
    ComponentOrder order;
    uint32_t pixels;
    uint32_t components;
    uint32_t bytes;
};

// All formats that the service receives.
std::span<const PixelGroup> AllPixelGroups();

// Row of a sampling and a depth in bits; null for formats that the service does not have.
const PixelGroup* FindPixelGroup(uint32_t sampling, uint32_t depthBits);

// Bits of BitProperties::depth: 8, 10, 12, 16; 0 for an unknown number.
uint32_t DepthBits(uint32_t depth);

// Bits that one component takes in the application's format.
uint32_t StoredBits(const BitProperties& application);

// Components of one pixel on average: 2 in 4:2:2, 3 elsewhere.
uint32_t ComponentsPerPixel(const PixelGroup& group);

// Digital black of the component at `index` of a group, at `depthBits`.
uint32_t BlackOf(ComponentOrder order, uint32_t index, uint32_t depthBits);

} // namespace mxs::media

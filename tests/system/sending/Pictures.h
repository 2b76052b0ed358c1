// Pictures of the loops: their samples as numbers, and as the bytes in which an application keeps them.
#pragma once

#include "support/Relay.h"
#include "system/road/Road.h"

namespace test
{

using Samples = std::vector<uint16_t>;
using Fields = std::vector<Bytes>; // the buffers of a slot

inline uint32_t Bits(uint32_t depthCode)
{
    return 8 + 2 * depthCode;
}

inline bool Is422(uint32_t sampling)
{
    return sampling == ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422 || sampling == ZEFA_SDP_VIDEO_SAMPLING_ICTCP_422;
}

// Numbers of the whole range of so many bits.
inline Samples MakeSamples(size_t count, uint32_t bits, uint32_t seed)
{
    Samples samples(count);
    uint32_t state = seed * 2654435761u + 1;
    for (uint16_t& sample : samples)
    {
        state = state * 1664525u + 1013904223u;
        sample = uint16_t((state >> 16) & ((1u << bits) - 1));
    }
    return samples;
}

// As the application's format asks: in words, or packed without a gap. Packed little-endian is least significant bit
// first, in both senses: of the sample, and of the byte.
inline Bytes Stored(const Samples& samples, const StreamSettings& format)
{
    const uint32_t bits = Bits(format.applicationDepth);
    const bool little = format.endianness == ZEFA_ENDIANNESS_LITTLE;
    const uint32_t cell = format.padding == ZEFA_BIT_PADDING_NONE ? bits : 16 * format.padding;
    Bytes bytes;
    bytes.reserve(samples.size() * cell / 8);
    uint64_t waiting =
        0; // bits without a byte: big at the low end of the number, the oldest highest; little the reverse
    uint32_t count = 0;
    for (const uint16_t sample : samples)
    {
        waiting = little ? waiting | uint64_t{sample} << count : waiting << cell | sample;
        for (count += cell; count >= 8; count -= 8)
        {
            bytes.push_back(uint8_t(little ? waiting : waiting >> (count - 8)));
            if (little) waiting >>= 8;
        }
    }
    return bytes;
}

inline Bytes MakeBuffer(size_t samples, const StreamSettings& format, uint32_t seed)
{
    return Stored(MakeSamples(samples, Bits(format.applicationDepth), seed), format);
}

// A frame of 720 x 576, 50 fields a second: the raster of these tests unless they say otherwise.
inline Fields MakeFields(const StreamSettings& format, uint32_t seed)
{
    const size_t samples = size_t{720} * 288 * (Is422(format.sampling) ? 2 : 3);
    return {MakeBuffer(samples, format, seed), MakeBuffer(samples, format, seed + 1000)};
}

inline bool Holds(const std::vector<SlotBuffer>& slot, const Fields& fields)
{
    if (slot.size() != fields.size()) return false;
    for (size_t field = 0; field < fields.size(); ++field)
        if (slot[field].bytes != fields[field] || !slot[field].losses.empty()) return false;
    return true;
}

} // namespace test

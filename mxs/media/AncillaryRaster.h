// Where ancillary packets have their place: from the network's line, offset, channel and stream to the buffer, line and
// area of a slot, and back.
#pragma once

#include "MediaStream.h"
#include "Rfc8331.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace mxs::media
{

constexpr uint32_t kAncillaryBuffers = 16;

// Enough for the vertical blanking of every raster filled to the last word, and for something on every other line.
constexpr uint64_t kAncillaryBufferBytes = 262144;

struct AncillaryPlace
{
    uint8_t buffer = 0;
    uint16_t line = 0;       // of the frame, from 1
    bool horizontal = false; // in the horizontal blanking, else between start and end of active video

    bool operator==(const AncillaryPlace&) const = default;
};

class AncillaryRaster
{
public:
    // `config` is one that CheckEssence accepts.
    explicit AncillaryRaster(const AncillaryConfig& config);

    // `field` is 0 or 1, that of the packet which carries the data. Nothing when the slot has no such line or buffer.
    std::optional<AncillaryPlace> PlaceOf(const AncillaryHeader& header, size_t field) const;

    // The way back, of a place that exists.
    AncillaryHeader HeaderOf(const AncillaryPlace& place) const;

    bool HasLine(uint16_t line) const { return line >= 1 && line <= LastLine; }
    bool HasBuffer(size_t buffer) const; // slots have all, but some mean nothing in a raster without two channels
    size_t FieldOf(uint16_t line) const { return line >= SecondFieldLine; }
    uint16_t FirstLineOfSecondField() const { return SecondFieldLine; } // beyond every line when progressive

    // Words of a line's area that a receiver of an SDI signal would have room for. A packet takes three of them beside
    // its own words, for the ancillary data flag.
    uint32_t Capacity(bool horizontal) const { return horizontal ? HorizontalWords : VerticalWords; }

private:
    const bool TwoChannels; // luma and colour difference are data channels of their own
    const uint16_t LastLine;
    const uint32_t ActiveWords; // of a data channel, between start and end of active video
    const uint32_t HorizontalWords;
    const uint32_t VerticalWords;
    uint16_t SecondFieldLine;
    std::array<uint16_t, 2> LineBeforePicture; // of each field: the second one behind the switching point
};

} // namespace mxs::media

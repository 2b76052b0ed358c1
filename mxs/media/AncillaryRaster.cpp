// Lines, fields, channels and streams.
#include "AncillaryRaster.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

// Rasters of fewer samples have one data channel, in which luma and colour difference take turns.
constexpr uint32_t kLeastWidthOfTwoChannels = 1280;

constexpr uint16_t kNoLine = 0xFFFF;

struct FrameLines
{
    uint32_t total;
    uint16_t secondField; // its first line
    std::array<uint16_t, 2> beforePicture;
};

constexpr std::array kFrames{
    FrameLines{525, 266, {12, 275}}, // the second field begins in the interface's count with line 266
    FrameLines{625, 313, {8, 321}},
    FrameLines{750, 376, {9, 9}},
    FrameLines{1125, 564, {9, 571}},
};

FrameLines LinesOf(uint32_t total)
{
    for (const FrameLines& frame : kFrames)
        if (frame.total == total) return frame;
    const auto second = static_cast<uint16_t>((total + 1) / 2 + 1);
    return {total, second, {9, static_cast<uint16_t>(second + 7)}};
}

// What the beginning of the blanking, its end and their protocol words leave.
uint32_t HorizontalCapacity(const AncillaryConfig& config)
{
    const uint32_t blanking = config.rawWidth - config.activeWidth;
    const bool twoChannels = config.rawWidth >= kLeastWidthOfTwoChannels;
    const uint32_t words = twoChannels ? blanking : blanking * 2;
    const uint32_t taken = twoChannels ? 12 : 8;
    return words > taken ? words - taken : 0;
}

} // namespace

AncillaryRaster::AncillaryRaster(const AncillaryConfig& config)
    : TwoChannels(config.activeWidth >= kLeastWidthOfTwoChannels),
      LastLine(static_cast<uint16_t>(std::min<uint32_t>(config.rawHeight, kLastLineNumber))),
      ActiveWords(TwoChannels ? config.activeWidth : 2 * config.activeWidth),
      HorizontalWords(HorizontalCapacity(config)), VerticalWords(ActiveWords)
{
    const FrameLines lines = LinesOf(config.rawHeight);
    SecondFieldLine = config.interlaced ? lines.secondField : kNoLine;
    LineBeforePicture = lines.beforePicture;
}

std::optional<AncillaryPlace> AncillaryRaster::PlaceOf(const AncillaryHeader& header, size_t field) const
{
    AncillaryPlace place;
    place.line = header.line;
    if (header.line == kLineUnspecified || header.line == kLineBeforePicture) place.line = LineBeforePicture[field];
    if (!HasLine(place.line)) return {};

    const size_t stream = header.streamGiven ? header.streamNumber : 0;
    const size_t channel = TwoChannels ? size_t{header.colour} : 1;
    const size_t buffer = 2 * stream + channel;
    if (buffer >= kAncillaryBuffers) return {};
    place.buffer = static_cast<uint8_t>(buffer);

    switch (header.horizontalOffset)
    {
    case kOffsetUnspecified:
    case kOffsetVertical: place.horizontal = false; break;
    case kOffsetHorizontal:
    case kOffsetTooLarge: place.horizontal = true; break;
    default: place.horizontal = header.horizontalOffset >= ActiveWords;
    }
    return place;
}

AncillaryHeader AncillaryRaster::HeaderOf(const AncillaryPlace& place) const
{
    AncillaryHeader header;
    header.colour = TwoChannels && place.buffer % 2 == 1;
    header.line = place.line;
    header.horizontalOffset = place.horizontal ? kOffsetHorizontal : kOffsetVertical;
    header.streamNumber = place.buffer / 2;
    header.streamGiven = header.streamNumber != 0;
    return header;
}

bool AncillaryRaster::HasBuffer(size_t buffer) const
{
    return buffer < kAncillaryBuffers && (TwoChannels || buffer % 2 == 1);
}

} // namespace mxs::media

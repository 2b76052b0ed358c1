// What the numbers of the video standards mean, as a picture and as an SDI signal.
#pragma once

#include <cstdint>
#include <span>

namespace Quillmont::Trellis::Zefa
{
struct VideoStandardRow
{
    uint32_t number;
    // Picture: pixels, frames a second (fields when interlaced), and whether that rate is to be times 1000/1001.
    uint32_t Width, Height, Rate;
    bool Interlaced, Fractional;
    // SDI signal, of one of four links from number 27 on: samples of a line, lines of a frame, frames a second. The
    // numbers of lines in the fields of rows 6 to 44 are what they are, also where the signal has no fields.
    uint32_t Progressive;
    uint32_t SdiFractional;
    uint16_t TotalSamples, ActiveSamples, TotalLines, ActiveLines, FrameRate;
    uint16_t Field1Lines, Field2Lines, Field1ActiveLines, Field2ActiveLines;
};

inline constexpr int32_t kLastVideoStandard = 44;
inline constexpr uint32_t kUnknownVideoStandard = 45;

// The 45 rows in the order of their numbers, which is the order of every search.
std::span<const VideoStandardRow> AllVideoStandards() noexcept;

// The row of a picture standard, or null for a number that has none.
const VideoStandardRow* FindVideoStandard(int32_t number) noexcept;

// The row of an SDI standard. The row of kUnknownVideoStandard, all zero, is there once SdiStandardMaking has made it;
// null for it before, and for every number above.
const VideoStandardRow* FindSdiStandard(uint32_t number) noexcept;

// As FindSdiStandard, but every number above 44 counts as kUnknownVideoStandard, whose row exists from then on. Any
// number of threads may call.
const VideoStandardRow& SdiStandardMaking(uint32_t number) noexcept;
} // namespace Quillmont::Trellis::Zefa

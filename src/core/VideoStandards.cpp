// The table of video standards: constant, so that no load order and no thread can meet it half made.
#include "core/VideoStandards.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace Quillmont::Trellis::Zefa
{
namespace
{
// clang-format off
constexpr std::array<VideoStandardRow, 45> kRows{{
    // number, picture: width, height, rate, interlaced, fractional, SDI: progressive, fractional, samples total and
    // active, lines total and active, frame rate, lines of field 1 and 2, active lines of field 1 and 2
    {0, 720, 480, 60, true, true, 0, 1, 858, 720, 525, 480, 30, 263, 262, 240, 240},
    {1, 720, 487, 60, true, true, 0, 1, 858, 720, 525, 487, 30, 263, 262, 244, 243},
    {2, 720, 576, 50, true, false, 0, 0, 864, 720, 625, 576, 25, 312, 313, 288, 288},
    {3, 1280, 720, 50, false, false, 1, 0, 1980, 1280, 750, 720, 50, 375, 375, 360, 360},
    {4, 1280, 720, 60, false, true, 1, 1, 1650, 1280, 750, 720, 60, 375, 375, 360, 360},
    {5, 1280, 720, 60, false, false, 1, 0, 1650, 1280, 750, 720, 60, 375, 375, 360, 360},
    {6, 1920, 1080, 50, true, false, 0, 0, 2640, 1920, 1125, 1080, 25, 563, 562, 540, 540},
    {7, 1920, 1080, 60, true, true, 0, 1, 2200, 1920, 1125, 1080, 30, 563, 562, 540, 540},
    {8, 1920, 1080, 60, true, false, 0, 0, 2200, 1920, 1125, 1080, 30, 563, 562, 540, 540},
    {9, 1920, 1080, 24, false, true, 1, 1, 2750, 1920, 1125, 1080, 24, 563, 562, 540, 540},
    {10, 1920, 1080, 24, false, false, 1, 0, 2750, 1920, 1125, 1080, 24, 563, 562, 540, 540},
    {11, 1920, 1080, 25, false, false, 1, 0, 2640, 1920, 1125, 1080, 25, 563, 562, 540, 540},
    {12, 1920, 1080, 30, false, true, 1, 1, 2200, 1920, 1125, 1080, 30, 563, 562, 540, 540},
    {13, 1920, 1080, 30, false, false, 1, 0, 2200, 1920, 1125, 1080, 30, 563, 562, 540, 540},
    {14, 1920, 1080, 50, false, false, 1, 0, 2640, 1920, 1125, 1080, 50, 563, 562, 540, 540},
    {15, 1920, 1080, 60, false, true, 1, 1, 2200, 1920, 1125, 1080, 60, 563, 562, 540, 540},
    {16, 1920, 1080, 60, false, false, 1, 0, 2200, 1920, 1125, 1080, 60, 563, 562, 540, 540},
    {17, 2048, 1080, 24, false, true, 1, 1, 2750, 2048, 1125, 1080, 24, 563, 562, 540, 540},
    {18, 2048, 1080, 24, false, false, 1, 0, 2750, 2048, 1125, 1080, 24, 563, 562, 540, 540},
    {19, 2048, 1080, 25, false, false, 1, 0, 2640, 2048, 1125, 1080, 25, 563, 562, 540, 540},
    {20, 2048, 1080, 30, false, true, 1, 1, 2200, 2048, 1125, 1080, 30, 563, 562, 540, 540},
    {21, 2048, 1080, 30, false, false, 1, 0, 2200, 2048, 1125, 1080, 30, 563, 562, 540, 540},
    {22, 2048, 1080, 48, false, true, 1, 1, 2750, 2048, 1125, 1080, 48, 563, 562, 540, 540},
    {23, 2048, 1080, 48, false, false, 1, 0, 2750, 2048, 1125, 1080, 48, 563, 562, 540, 540},
    {24, 2048, 1080, 50, false, false, 1, 0, 2640, 2048, 1125, 1080, 50, 563, 562, 540, 540},
    {25, 2048, 1080, 60, false, true, 1, 1, 2200, 2048, 1125, 1080, 60, 563, 562, 540, 540},
    {26, 2048, 1080, 60, false, false, 1, 0, 2200, 2048, 1125, 1080, 60, 563, 562, 540, 540},
    {27, 3840, 2160, 24, false, true, 1, 1, 2750, 1920, 1125, 1080, 24, 1125, 1125, 540, 540},
    {28, 3840, 2160, 24, false, false, 1, 0, 2750, 1920, 1125, 1080, 24, 1125, 1125, 540, 540},
    {29, 3840, 2160, 25, false, false, 1, 0, 2640, 1920, 1125, 1080, 25, 1125, 1125, 540, 540},
    {30, 3840, 2160, 30, false, true, 1, 1, 2200, 1920, 1125, 1080, 30, 1125, 1125, 540, 540},
    {31, 3840, 2160, 30, false, false, 1, 0, 2200, 1920, 1125, 1080, 30, 1125, 1125, 540, 540},
    {32, 3840, 2160, 50, false, false, 1, 0, 2640, 1920, 1125, 1080, 50, 1125, 1125, 540, 540},
    {33, 3840, 2160, 60, false, true, 1, 1, 2200, 1920, 1125, 1080, 60, 1125, 1125, 540, 540},
    {34, 3840, 2160, 60, false, false, 1, 0, 2200, 1920, 1125, 1080, 60, 1125, 1125, 540, 540},
    {35, 4096, 2160, 24, false, true, 1, 1, 2750, 2048, 1125, 1080, 24, 1125, 1125, 540, 540},
    {36, 4096, 2160, 24, false, false, 1, 0, 2750, 2048, 1125, 1080, 24, 1125, 1125, 540, 540},
    {37, 4096, 2160, 25, false, false, 1, 0, 2640, 2048, 1125, 1080, 25, 1125, 1125, 540, 540},
    {38, 4096, 2160, 30, false, true, 1, 1, 2200, 2048, 1125, 1080, 30, 1125, 1125, 540, 540},
    {39, 4096, 2160, 30, false, false, 1, 0, 2200, 2048, 1125, 1080, 30, 1125, 1125, 540, 540},
    {40, 4096, 2160, 48, false, true, 1, 1, 2750, 2048, 1125, 1080, 48, 1125, 1125, 540, 540},
    {41, 4096, 2160, 48, false, false, 1, 0, 2750, 2048, 1125, 1080, 48, 1125, 1125, 540, 540},
    {42, 4096, 2160, 50, false, false, 1, 0, 2640, 2048, 1125, 1080, 50, 1125, 1125, 540, 540},
    {43, 4096, 2160, 60, false, true, 1, 1, 2200, 2048, 1125, 1080, 60, 1125, 1125, 540, 540},
    {44, 4096, 2160, 60, false, false, 1, 0, 2200, 2048, 1125, 1080, 60, 1125, 1125, 540, 540},
}};
// clang-format on

consteval bool EachRowStandsAtItsNumber()
{
    for (size_t i = 0; i < kRows.size(); ++i)
        if (kRows[i].number != i) return false;
    return true;
}
static_assert(EachRowStandsAtItsNumber());

consteval VideoStandardRow ZerosUnder(uint32_t number)
{
    VideoStandardRow row{};
    row.number = number;
    return row;
}
constexpr VideoStandardRow kUnknownRow = ZerosUnder(kUnknownVideoStandard);

// Whether the row of the unknown standard has been asked for with SdiStandardMaking.
constinit std::atomic<bool> UnknownRowMade{false};
} // namespace

std::span<const VideoStandardRow> AllVideoStandards() noexcept
{
    return kRows;
}

const VideoStandardRow* FindVideoStandard(int32_t number) noexcept
{
    return number >= 0 && number <= kLastVideoStandard ? &kRows[static_cast<size_t>(number)] : nullptr;
}

const VideoStandardRow* FindSdiStandard(uint32_t number) noexcept
{
    if (number < kRows.size()) return &kRows[number];
    return number == kUnknownVideoStandard && UnknownRowMade.load(std::memory_order_relaxed) ? &kUnknownRow : nullptr;
}

const VideoStandardRow& SdiStandardMaking(uint32_t number) noexcept
{
    if (number < kRows.size()) return kRows[number];
    UnknownRowMade.store(true, std::memory_order_relaxed);
    return kUnknownRow;
}
} // namespace Quillmont::Trellis::Zefa

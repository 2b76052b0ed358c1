// A received picture as an image that anyone can open.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum class Components
{
    CbYCrY, // two pixels in four samples
    CbYCr,
    RGB
};

struct Luma // what the colorimetry of a stream says of red and blue; green is the rest
{
    double red;
    double blue;
    bool operator==(const Luma&) const = default;
};

constexpr Luma kBt601{0.299, 0.114};
constexpr Luma kBt709{0.2126, 0.0722};
constexpr Luma kBt2020{0.2627, 0.0593};

// One progressive picture or one field: samples in words of 16 bits, line after line without gaps.
struct Samples
{
    const uint16_t* words;
    uint32_t lines;
};

// Samples are of video range (16 to 235 at 8 bits). With two fields their lines are woven, the first field on top.
// Returns an empty string, or a sentence that says what went wrong.
std::string WritePng(const std::string& path, Components components, unsigned depth, Luma luma, uint32_t width,
                     const std::vector<Samples>& fields);

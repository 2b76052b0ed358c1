// Video: the raster of a description, the buffers that these programs work in, and a canvas to draw on.
#pragma once

#include "Picture.h"
#include "Session.h"

#include <array>
#include <cstdint>
#include <vector>

struct Raster
{
    uint32_t width = 0, height = 0, rate = 0; // fields a second of an interlaced standard
    uint8_t interlaced = 0, fractional = 0;

    uint32_t Fields() const { return interlaced ? 2 : 1; }
    bool operator==(const Raster&) const = default;
};

Raster RasterOf(int32_t standard);

// Lists the video standards on standard error and throws a sentence that ends in "Choose the standard with --standard".
[[noreturn]] void NoStandard(const std::string& why);

struct VideoFormat
{
    Raster raster;
    Components components;
    unsigned depth; // bits
    Luma luma;

    uint32_t WordsPerLine() const { return raster.width * (components == Components::CbYCrY ? 2 : 3); }
    bool operator==(const VideoFormat&) const = default;
};

// Asks for the samples of the network in the buffers, each in a word of 16 bits of this machine, and tells what they
// are. Throws what these programs cannot draw, or a missing standard, before anything is made.
VideoFormat ChooseBuffers(Description& description);

// The picture in a locked slot. Interlaced, its lines lie in two buffers in turns; Line hides that.
class Canvas
{
public:
    using Colour = std::array<double, 3>; // red, green, blue, 0 to 1

    Canvas(const VideoFormat& format, const Stream& stream, ZEFA_SLOT slot);

    uint16_t* Line(uint32_t y) const;

    // Positions and widths are even: two pixels of 4:2:2 share their colour.
    void Fill(uint32_t x, uint32_t y, uint32_t width, uint32_t height, const Colour& colour) const;

private:
    const VideoFormat& Format;
    std::vector<uint16_t*> Fields;
};

// The words of two pixels of one colour, in the order of the buffers.
std::vector<uint16_t> PixelPair(const VideoFormat& format, const Canvas::Colour& colour);

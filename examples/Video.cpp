// From the words of a description to the words of a buffer.
#include "Video.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace
{

Components ComponentsOf(uint32_t sampling)
{
    switch (sampling)
    {
    case ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422: return Components::CbYCrY;
    case ZEFA_SDP_VIDEO_SAMPLING_YCBCR_444: return Components::CbYCr;
    case ZEFA_SDP_VIDEO_SAMPLING_RGB: return Components::RGB;
    default: throw std::runtime_error("This program draws YCbCr 4:2:2, YCbCr 4:4:4 and RGB");
    }
}

Luma LumaOf(uint32_t colorimetry)
{
    if (colorimetry == ZEFA_SDP_COLORIMETRY_BT601) return kBt601;
    if (colorimetry == ZEFA_SDP_COLORIMETRY_BT2020 || colorimetry == ZEFA_SDP_COLORIMETRY_BT2100) return kBt2020;
    return kBt709;
}

} // namespace

Raster RasterOf(int32_t standard)
{
    Raster raster;
    Check(ZEFA_ST2110_20_GetVideoStandardInfo(standard, &raster.width, &raster.height, &raster.rate, &raster.interlaced,
                                              &raster.fractional),
          "There is no video standard " + std::to_string(standard));
    return raster;
}

void NoStandard(const std::string& why)
{
    std::fprintf(stderr, "The video standards are:\n");
    for (int32_t standard = 0; standard < ZEFA_VIDEO_STANDARD_UNKNOWN; ++standard)
    {
        const Raster raster = RasterOf(standard);
        std::fprintf(stderr, "  %2d  %ux%u%c %g\n", standard, raster.width, raster.height,
                     raster.interlaced ? 'i' : 'p', raster.fractional ? raster.rate * 1000 / 1001.0 : raster.rate);
    }
    throw std::runtime_error(why + ". Choose the standard with --standard N");
}

VideoFormat ChooseBuffers(Description& description)
{
    ZEFA_ST2110_20_CONFIG& video = description.essence.Essence_X.ST2110_20_X;
    if (video.VideoStandard_E == ZEFA_VIDEO_STANDARD_UNKNOWN)
        NoStandard("No video standard was found for the description. Descriptions of interlaced video give frames per "
                   "second where the standards count fields, and samplings or depths that the library does not know "
                   "end the reading early");
    if (video.NetworkBitDepth_E > ZEFA_SDP_VIDEO_DEPTH_12)
        throw std::runtime_error("This program draws samples of 8, 10 and 12 bits");
    const Components components = ComponentsOf(video.NetworkBitSampling_E);
    video.AppBitDepth_E = video.NetworkBitDepth_E;
    video.AppBitSampling_E = video.NetworkBitSampling_E;
    video.AppBitPadding_E = ZEFA_BIT_PADDING_16;
    video.AppEndianness_E = ZEFA_ENDIANNESS_LITTLE;
    return {RasterOf(video.VideoStandard_E), components, 8 + 2 * video.AppBitDepth_E, LumaOf(video.Colorimetry_E)};
}

Canvas::Canvas(const VideoFormat& format, const Stream& stream, ZEFA_SLOT slot) : Format(format)
{
    for (uint32_t field = 0; field < format.raster.Fields(); ++field)
        Fields.push_back(reinterpret_cast<uint16_t*>(BufferOf(stream, slot, ZEFA_BUFFER_VIDEO_0 + field).bytes));
}

uint16_t* Canvas::Line(uint32_t y) const
{
    return Fields[y % Fields.size()] + y / Fields.size() * Format.WordsPerLine();
}

void Canvas::Fill(uint32_t x, uint32_t y, uint32_t width, uint32_t height, const Colour& colour) const
{
    const std::vector<uint16_t> pair = PixelPair(Format, colour);
    for (uint32_t line = y; line < y + height; ++line)
        for (uint32_t i = x / 2; i < (x + width) / 2; ++i)
            std::copy(pair.begin(), pair.end(), Line(line) + i * pair.size());
}

std::vector<uint16_t> PixelPair(const VideoFormat& format, const Canvas::Colour& colour)
{
    const auto [red, green, blue] = colour;
    const double unit = 1u << (format.depth - 8);
    const auto luminance = [=](double value) { return uint16_t(std::lround((16 + 219 * value) * unit)); };
    const auto difference = [=](double value) { return uint16_t(std::lround((128 + 224 * value) * unit)); };
    if (format.components == Components::RGB)
    {
        const uint16_t r = luminance(red), g = luminance(green), b = luminance(blue);
        return {r, g, b, r, g, b};
    }
    const Luma& luma = format.luma;
    const double bright = luma.red * red + (1 - luma.red - luma.blue) * green + luma.blue * blue;
    const uint16_t y = luminance(bright);
    const uint16_t cb = difference((blue - bright) / 2 / (1 - luma.blue));
    const uint16_t cr = difference((red - bright) / 2 / (1 - luma.red));
    if (format.components == Components::CbYCrY) return {cb, y, cr, y};
    return {cb, y, cr, cb, y, cr};
}

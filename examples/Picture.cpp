// From samples of video range to an image: the matrix follows the colorimetry, the file is PNG.
#include "Picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <png.h>

namespace
{

struct VideoRange // video range at a depth: black, and the distances to white and to the ends of the colour differences
{
    explicit VideoRange(unsigned depth)
        : black(16u << (depth - 8)), white(219u << (depth - 8)), centre(128u << (depth - 8)),
          difference(224u << (depth - 8))
    {
    }

    double Luminance(uint16_t sample) const { return (double(sample) - black) / white; }
    double Difference(uint16_t sample) const { return (double(sample) - centre) / difference; }

    double black, white, centre, difference;
};

uint8_t ToByte(double value)
{
    return uint8_t(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

void Pixel(uint8_t* out, Luma luma, double y, double cb, double cr)
{
    const double red = y + 2 * (1 - luma.red) * cr;
    const double blue = y + 2 * (1 - luma.blue) * cb;
    const double green = (y - luma.red * red - luma.blue * blue) / (1 - luma.red - luma.blue);
    out[0] = ToByte(red);
    out[1] = ToByte(green);
    out[2] = ToByte(blue);
}

void ConvertLine(const uint16_t* in, uint8_t* out, uint32_t width, Components components, const VideoRange& range,
                 Luma luma)
{
    switch (components)
    {
    case Components::CbYCrY:
    {
        // A colour difference belongs to the even pixel of its pair; the odd one lies halfway to the next.
        const size_t pairs = width / 2;
        for (size_t pair = 0; pair < pairs; ++pair)
        {
            const uint16_t* here = in + pair * 4;
            const uint16_t* next = pair + 1 < pairs ? here + 4 : here;
            const double cb = range.Difference(here[0]), cr = range.Difference(here[2]);
            Pixel(out + pair * 6, luma, range.Luminance(here[1]), cb, cr);
            Pixel(out + pair * 6 + 3, luma, range.Luminance(here[3]), (cb + range.Difference(next[0])) / 2,
                  (cr + range.Difference(next[2])) / 2);
        }
        break;
    }
    case Components::CbYCr:
        for (size_t x = 0; x < width; ++x)
            Pixel(out + x * 3, luma, range.Luminance(in[x * 3 + 1]), range.Difference(in[x * 3]),
                  range.Difference(in[x * 3 + 2]));
        break;
    case Components::RGB:
        for (uint32_t i = 0; i < width * 3; ++i)
            out[i] = ToByte(range.Luminance(in[i]));
        break;
    }
}

} // namespace

std::string WritePng(const std::string& path, Components components, unsigned depth, Luma luma, uint32_t width,
                     const std::vector<Samples>& fields)
{
    const VideoRange range(depth);
    const uint32_t wordsPerLine = components == Components::CbYCrY ? width * 2 : width * 3;
    uint32_t height = 0;
    for (const Samples& field : fields)
        height += field.lines;

    std::vector<uint8_t> image(size_t(width) * height * 3);
    for (uint32_t line = 0; line < height; ++line)
    {
        const auto field = line % fields.size(), fieldLine = line / fields.size();
        ConvertLine(fields[field].words + fieldLine * wordsPerLine, image.data() + size_t(line) * width * 3, width,
                    components, range, luma);
    }

    png_image header;
    std::memset(&header, 0, sizeof header);
    header.version = PNG_IMAGE_VERSION;
    header.width = width;
    header.height = height;
    header.format = PNG_FORMAT_RGB;
    if (!png_image_write_to_file(&header, path.c_str(), 0, image.data(), 0, nullptr))
        return "The picture could not be written to " + path + ": " + header.message;
    return {};
}

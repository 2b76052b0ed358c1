// Sends a moving picture that counts its own frames: colour bars that wander, and the number of the frame burnt in
// twice, as digits for people and as 32 squares for programs (black 0, white 1, the highest bit on the left).
//
//   send_video FILE.sdp [options of Session.h]
//
// The picture is drawn straight into the slot, which is memory that the service reads: there is no copy.
#include "Session.h"
#include "Video.h"

#include <algorithm>

namespace
{

constexpr Canvas::Colour kBlack{0, 0, 0}, kWhite{1, 1, 1};
constexpr Canvas::Colour kBars[] = {{.75, .75, .75}, {.75, .75, 0}, {0, .75, .75}, {0, .75, 0},
                                    {.75, 0, .75},   {.75, 0, 0},   {0, 0, .75},   {.1, .1, .1}};

// Five rows of three squares for each digit, the upper left one in the highest of 15 bits.
constexpr uint16_t kDigits[] = {
    0b111'101'101'101'111, 0b010'110'010'010'111, 0b111'001'111'100'111, 0b111'001'111'001'111, 0b101'101'111'001'001,
    0b111'100'111'001'111, 0b111'100'111'101'111, 0b111'001'010'010'010, 0b111'101'111'101'111, 0b111'101'111'001'111};

// Two turns of the bars side by side: a line of the picture is a window in it that moves.
std::vector<uint16_t> DrawBars(const VideoFormat& format)
{
    std::vector<uint16_t> words;
    for (uint32_t x = 0; x < 2 * format.raster.width; x += 2)
    {
        const std::vector<uint16_t> pair =
            PixelPair(format, kBars[x % format.raster.width * std::size(kBars) / format.raster.width]);
        words.insert(words.end(), pair.begin(), pair.end());
    }
    return words;
}

// A square is a fortieth of the width: the bits begin four squares from the left and two from the top, the digits are
// below them, four squares to each.
void BurnIn(const Canvas& canvas, uint32_t width, uint32_t number)
{
    const uint32_t square = width / 40 / 2 * 2;
    for (uint32_t bit = 0; bit < 32; ++bit)
        canvas.Fill((4 + bit) * square, 2 * square, square, square, number >> (31 - bit) & 1 ? kWhite : kBlack);
    canvas.Fill(3 * square, 4 * square, 33 * square, 7 * square, kBlack);
    for (uint32_t place = 8; place-- > 0; number /= 10)
        for (uint32_t i = 0; i < 15; ++i)
            if (kDigits[number % 10] >> (14 - i) & 1)
                canvas.Fill((4 + 4 * place + i % 3) * square, (5 + i / 3) * square, square, square, kWhite);
}

void Run(int argc, char** argv)
{
    const Options options = ParseOptions(argc, argv, "FILE.sdp");
    Description description = ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_20});
    const VideoFormat format = ChooseBuffers(description);
    const Session session(options);
    const Stream stream(session, ZEFA_STREAM_TYPE_TX, description, options);

    const std::vector<uint16_t> bars = DrawBars(format);
    const size_t wordsPerPair = bars.size() / format.raster.width;
    const auto slots =
        ForEachSlot(stream, options,
                    [&](ZEFA_SLOT slot, uint64_t number)
                    {
                        const Canvas canvas(format, stream, slot);
                        const auto window =
                            bars.begin() + std::ptrdiff_t(number * 4 % format.raster.width / 2 * wordsPerPair);
                        for (uint32_t y = 0; y < format.raster.height; ++y)
                            std::copy_n(window, format.WordsPerLine(), canvas.Line(y));
                        BurnIn(canvas, format.raster.width, uint32_t(number));
                    });
    Report(stream, slots);
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("send_video", [=] { Run(argc, argv); });
}

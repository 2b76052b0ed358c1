// Receives, changes and sends: video gets a negative stripe across its middle third, audio is delayed.
//
//   loop_through IN.sdp OUT.sdp [--delay-ms N] [options of Session.h]
//
// The timestamps go through as they came, so that what leaves belongs to the same moment as what arrived: a picture
// stays in time with its sound, and delayed audio is later by just the delay.
#include "Audio.h"
#include "Session.h"
#include "Video.h"

#include <algorithm>
#include <stdexcept>

namespace
{

struct Change
{
    std::vector<ZEFA_BUFFER_TYPE> buffers;
    std::function<void(const Buffer& in, const Buffer& out, uint32_t timestamp)> apply; // both of one size
};

template <typename Format>
Format SameFormat(const Format& in, const Format& out)
{
    if (in != out) throw std::runtime_error("The two descriptions differ in their format");
    return in;
}

// Every component of the stripe becomes its distance from the highest value, so that a second time brings it back.
Change NegativeStripe(Description& in, Description& out)
{
    const VideoFormat format = SameFormat(ChooseBuffers(in), ChooseBuffers(out));
    const auto apply = [format](const Buffer& from, const Buffer& to, uint32_t)
    {
        const auto* const words = reinterpret_cast<const uint16_t*>(from.bytes);
        const size_t count = from.size / 2, lines = count / format.WordsPerLine();
        const size_t begin = lines / 3 * format.WordsPerLine(), end = lines * 2 / 3 * format.WordsPerLine();
        const uint16_t highest = uint16_t((1u << format.depth) - 1);
        auto* target = reinterpret_cast<uint16_t*>(to.bytes);
        target = std::copy(words, words + begin, target);
        target = std::transform(words + begin, words + end, target, [=](uint16_t w) { return uint16_t(highest - w); });
        std::copy(words + end, words + count, target);
    };
    Change change{{ZEFA_BUFFER_VIDEO_0}, apply};
    if (format.raster.interlaced) change.buffers.push_back(ZEFA_BUFFER_VIDEO_1);
    return change;
}

Change Delay(Description& in, Description& out, double milliseconds)
{
    const AudioFormat format = SameFormat(ChooseSlots(in), ChooseSlots(out));
    const uint32_t frames = format.FramesIn(milliseconds);
    std::vector<uint8_t> line(size_t(frames) * format.BytesPerFrame()); // begins with silence
    const auto apply =
        [=, line = std::move(line), next = 0u](const Buffer& from, const Buffer& to, uint32_t timestamp) mutable
    {
        // The timestamps count samples. What is missing between two slots is silence, else all that follows would be
        // late by it, too.
        const size_t missing = size_t(std::min(timestamp - next, frames)) * format.BytesPerFrame();
        next = timestamp + from.size / format.BytesPerFrame();
        line.erase(line.begin(), line.begin() + std::ptrdiff_t(missing));
        line.insert(line.end(), missing, 0);
        line.insert(line.end(), from.bytes, from.bytes + from.size);
        std::copy_n(line.begin(), to.size, to.bytes);
        line.erase(line.begin(), line.begin() + to.size);
    };
    return {{ZEFA_BUFFER_AUDIO_0}, apply};
}

void Run(int argc, char** argv)
{
    double delayMs = 0;
    const Options options = ParseOptions(argc, argv, "IN.sdp OUT.sdp", {{"--delay-ms", "N", &delayMs, {0, 600'000}}});
    Description in =
        ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_20, ZEFA_ESSENCE_TYPE_ST2110_30});
    Description out = ReadDescription(options.descriptions[1], options, {in.essence.EssenceType_E});
    const Change change =
        in.essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_20 ? NegativeStripe(in, out) : Delay(in, out, delayMs);
    const Session session(options);
    const Stream input(session, ZEFA_STREAM_TYPE_RX, in, options);
    const Stream output(session, ZEFA_STREAM_TYPE_TX, out, options);

    const auto slots = ForEachSlot(
        input, options,
        [&](ZEFA_SLOT slot, uint64_t)
        {
            const ZEFA_SLOT target = LockSlot(output);
            if (!target) return; // Ctrl-C
            for (const ZEFA_BUFFER_TYPE buffer : change.buffers)
            {
                const std::vector<ZEFA_TIMESTAMP> timestamps = TimestampsOf(input, slot, buffer);
                change.apply(BufferOf(input, slot, buffer), BufferOf(output, target, buffer), timestamps[0].Value_UL);
                Check(ZEFA_SetSlotTimestamps(output.Handle, target, buffer, timestamps.data(),
                                             uint32_t(timestamps.size())),
                      "The timestamps could not be set");
            }
            UnlockSlot(output, target);
        });
    Report(input, slots);
    Report(output, slots);
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("loop_through", [=] { Run(argc, argv); });
}

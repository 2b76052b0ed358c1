// Sends a tone: a sine in every channel, twice as high in the second one, three times in the third, up to the eighth.
//
//   send_tone FILE.sdp [--frequency HZ] [--level DBFS] [--beeps] [options of Session.h]
//
// With --beeps it sounds for 100 ms at the start of each second, which is what delays are measured with.
#include "Audio.h"
#include "Session.h"

#include <cmath>
#include <numbers>

namespace
{

void Run(int argc, char** argv)
{
    double frequency = 1000, level = -20;
    bool beeps = false;
    const Options options = ParseOptions(argc, argv, "FILE.sdp",
                                         {{"--frequency", "HZ", &frequency, {0, 48000}},
                                          {"--level", "DBFS", &level, {-200, 0}},
                                          {"--beeps", nullptr, &beeps}});
    Description description = ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_30});
    const AudioFormat format = ChooseSlots(description);
    const Session session(options);
    const Stream stream(session, ZEFA_STREAM_TYPE_TX, description, options);

    const double peak = (std::pow(2, 8 * format.bytesPerSample - 1) - 1) * std::pow(10, level / 20);
    uint64_t frame = 0; // samples of a channel since the start
    const auto slots = ForEachSlot(
        stream, options,
        [&](ZEFA_SLOT slot, uint64_t)
        {
            const Buffer buffer = BufferOf(stream, slot, ZEFA_BUFFER_AUDIO_0);
            const uint8_t* const end = buffer.bytes + buffer.size;
            for (uint8_t* sample = buffer.bytes; sample < end; ++frame)
            {
                const bool sounds = !beeps || frame % format.rate < format.FramesIn(100);
                const double turns = frequency * double(frame) / format.rate;
                for (uint32_t channel = 0; channel < format.channels; ++channel, sample += format.bytesPerSample)
                {
                    const double value = sounds ? std::sin(2 * std::numbers::pi * turns * (1 + channel % 8)) : 0;
                    StoreSample(sample, format.bytesPerSample, int32_t(std::lround(value * peak)));
                }
            }
        });
    Report(stream, slots);
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("send_tone", [=] { Run(argc, argv); });
}

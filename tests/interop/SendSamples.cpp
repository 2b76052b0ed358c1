// Sends a file of samples over and over, so that what arrives can be compared with it.
//
//   send_samples FILE.sdp --samples FILE [--pause-ms N] [options of Session.h]
//
// Of video the file holds frames, field behind field, each sample in a word of 16 bits of this machine.
#include "Audio.h"
#include "Session.h"
#include "Video.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>
#include <vector>

namespace
{

// The buffers of a slot, in the order in which the file fills them.
std::vector<ZEFA_BUFFER_TYPE> ChooseAny(Description& description)
{
    if (description.essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_30)
    {
        ChooseSlots(description);
        return {ZEFA_BUFFER_AUDIO_0};
    }
    if (ChooseBuffers(description).raster.interlaced) return {ZEFA_BUFFER_VIDEO_0, ZEFA_BUFFER_VIDEO_1};
    return {ZEFA_BUFFER_VIDEO_0};
}

void Run(int argc, char** argv)
{
    std::string name;
    uint32_t pauseMs = 0;
    const Options options =
        ParseOptions(argc, argv, "FILE.sdp", {{"--samples", "FILE", &name}, {"--pause-ms", "N", &pauseMs}});
    std::ifstream file(name, std::ios::binary);
    const std::vector<char> samples{std::istreambuf_iterator<char>(file), {}};
    if (samples.empty()) throw std::runtime_error("There are no samples in " + name);
    Description description =
        ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_20, ZEFA_ESSENCE_TYPE_ST2110_30});
    const std::vector<ZEFA_BUFFER_TYPE> buffers = ChooseAny(description);
    const Session session(options);
    const Stream stream(session, ZEFA_STREAM_TYPE_TX, description, options);

    size_t at = 0;
    const auto slots = ForEachSlot(stream, options,
                                   [&](ZEFA_SLOT slot, uint64_t)
                                   {
                                       std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
                                       for (const ZEFA_BUFFER_TYPE type : buffers)
                                       {
                                           const Buffer buffer = BufferOf(stream, slot, type);
                                           for (uint32_t i = 0; i < buffer.size; ++i, at = (at + 1) % samples.size())
                                               buffer.bytes[i] = uint8_t(samples[at]);
                                       }
                                   });
    Report(stream, slots);
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("send_samples", [=] { Run(argc, argv); });
}

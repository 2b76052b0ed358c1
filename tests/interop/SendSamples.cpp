// Sends a file of samples over and over, so that what arrives can be compared with it.
//
//   send_samples FILE.sdp --samples FILE [options of Session.h]
#include "Audio.h"
#include "Session.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace
{

void Run(int argc, char** argv)
{
    std::string name;
    const Options options = ParseOptions(argc, argv, "FILE.sdp", {{"--samples", "FILE", &name}});
    std::ifstream file(name, std::ios::binary);
    const std::vector<char> samples{std::istreambuf_iterator<char>(file), {}};
    if (samples.empty()) throw std::runtime_error("There are no samples in " + name);
    Description description = ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_30});
    ChooseSlots(description);
    const Session session(options);
    const Stream stream(session, ZEFA_STREAM_TYPE_TX, description, options);

    size_t at = 0;
    const auto slots = ForEachSlot(stream, options,
                                   [&](ZEFA_SLOT slot, uint64_t)
                                   {
                                       const Buffer buffer = BufferOf(stream, slot, ZEFA_BUFFER_AUDIO_0);
                                       for (uint32_t i = 0; i < buffer.size; ++i, at = (at + 1) % samples.size())
                                           buffer.bytes[i] = uint8_t(samples[at]);
                                   });
    WaitUntilSent(stream);
    Report(stream, slots);
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("send_samples", [=] { Run(argc, argv); });
}

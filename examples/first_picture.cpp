// From a description to a picture: receives any ST 2110-20 video and keeps its first complete picture as a PNG.
//
//   first_picture FILE.sdp [--picture FILE.png] [--raw FILE] [options of Session.h]
//
// The road of the stream, step by step, is in Session.cpp: ReadDescription, Session::Session, Stream::Stream.
#include "Session.h"
#include "Video.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <future>
#include <stdexcept>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;
using Field = std::vector<uint16_t>;

// A copy of the fields of a locked slot, or nothing when packets are missing in one of them.
std::vector<Field> CopyComplete(const Stream& stream, ZEFA_SLOT slot, uint32_t fieldCount)
{
    std::vector<Field> fields;
    for (uint32_t i = 0; i < fieldCount; ++i)
    {
        const ZEFA_BUFFER_TYPE type = ZEFA_BUFFER_VIDEO_0 + i;
        ZEFA_LOST_DATA lost[1];
        uint32_t losses = 1;
        Check(ZEFA_GetSlotLostDataInfo(stream.Handle, slot, type, lost, &losses),
              "The slot's losses could not be read");
        if (losses != 0) return {};
        const Buffer buffer = BufferOf(stream, slot, type);
        fields.emplace_back(buffer.size / 2);
        std::memcpy(fields.back().data(), buffer.bytes, fields.back().size() * sizeof(uint16_t));
    }
    return fields;
}

void SavePicture(const std::string& picture, const std::string& rawFile, const VideoFormat& format,
                 const std::vector<Field>& fields)
{
    std::vector<Samples> samples;
    samples.reserve(fields.size());
    for (const Field& field : fields)
        samples.push_back({field.data(), uint32_t(field.size() / format.WordsPerLine())});
    const std::string failure =
        WritePng(picture, format.components, format.depth, format.luma, format.raster.width, samples);
    if (!failure.empty()) throw std::runtime_error(failure);

    if (rawFile.empty()) return;
    std::ofstream raw(rawFile, std::ios::binary);
    for (const Field& field : fields)
        raw.write(reinterpret_cast<const char*>(field.data()), std::streamsize(field.size() * 2));
    if (!raw.flush()) throw std::runtime_error("The samples could not be written to " + rawFile);
}

void PrintGaps(std::vector<double>& gapsMs)
{
    if (gapsMs.empty()) return;
    std::sort(gapsMs.begin(), gapsMs.end());
    std::printf("time between locks: median %.2f ms, 99th percentile %.2f ms\n", gapsMs[gapsMs.size() / 2],
                gapsMs[gapsMs.size() * 99 / 100]);
}

void Run(int argc, char** argv)
{
    std::string picture = "picture.png", raw; // raw: the samples of the picture as they lay in the slot
    Options options =
        ParseOptions(argc, argv, "FILE.sdp", {{"--picture", "FILE.png", &picture}, {"--raw", "FILE", &raw}});
    if (options.slots == 0 && options.seconds == 0) options.slots = 250;
    Description description = ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_20});
    const VideoFormat format = ChooseBuffers(description);
    const Session session(options);
    const Stream stream(session, ZEFA_STREAM_TYPE_RX, description, options);

    std::future<void> saving; // a picture is drawn beside the loop: a slot that waits for it would hold up the ring
    std::vector<double> gapsMs;
    Clock::time_point last;
    const auto slots =
        ForEachSlot(stream, options,
                    [&](ZEFA_SLOT slot, uint64_t number)
                    {
                        const Clock::time_point now = Clock::now();
                        if (number > 0) gapsMs.push_back(std::chrono::duration<double, std::milli>(now - last).count());
                        last = now;
                        if (saving.valid()) return;
                        std::vector<Field> fields = CopyComplete(stream, slot, format.raster.Fields());
                        if (!fields.empty())
                            saving = std::async(std::launch::async, [&, fields = std::move(fields)]
                                                { SavePicture(picture, raw, format, fields); });
                    });
    Report(stream, slots);
    PrintGaps(gapsMs);
    if (!saving.valid()) throw std::runtime_error("No complete picture arrived");
    saving.get();
    std::printf("the first complete picture is in %s\n", picture.c_str());
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("first_picture", [=] { Run(argc, argv); });
}

// Records received audio as a WAV file and tells when its first sample was taken.
//
//   record_wav FILE.sdp [--output FILE.wav] [options of Session.h]
//
// A lost packet is silence in the slot already. A lost slot is seen in the timestamps, which count samples: its time is
// filled with silence here, so that the file stays as long as the recording was.
#include "Audio.h"
#include "Session.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace
{

class WavFile
{
public:
    WavFile(const std::string& path, const AudioFormat& format) : Path(path), Format(format)
    {
        File.rdbuf()->pubsetbuf(nullptr, 0); // a write that fails is known at once, and leaves nothing to be written
        File.open(path, std::ios::binary);
        if (!File) throw std::runtime_error(Path + " could not be opened");
        Write(Header());
    }

    // Also when the recording ends in an error: what there is can be played.
    ~WavFile()
    {
        const std::string header = Header();
        File.clear();
        File.seekp(0).write(header.data(), std::streamsize(header.size()));
    }
    WavFile(const WavFile&) = delete;
    WavFile& operator=(const WavFile&) = delete;

    // Samples as they lie in a slot. WAV has the low byte first.
    void Append(const uint8_t* bytes, size_t size)
    {
        if (size > kBiggest - DataBytes) throw std::runtime_error(Path + " is full");
        std::string turned(bytes, bytes + size);
        for (auto sample = turned.begin(); sample != turned.end(); sample += Format.bytesPerSample)
            std::reverse(sample, sample + Format.bytesPerSample);
        Write(turned);
        DataBytes += uint32_t(size);
    }

    void Close()
    {
        File.seekp(0);
        Write(Header());
    }

private:
    static constexpr uint32_t kBiggest = 0xFFFFFF00; // the sizes in the file have 32 bits

    void Write(const std::string& bytes)
    {
        if (!File.write(bytes.data(), std::streamsize(bytes.size())))
            throw std::runtime_error(Path + " could not be written");
    }

    static std::string Number(uint32_t value, int bytes)
    {
        std::string number;
        for (int i = 0; i < bytes; ++i, value >>= 8)
            number += char(value & 255);
        return number;
    }

    // 44 bytes.
    std::string Header() const
    {
        return "RIFF" + Number(36 + DataBytes, 4) + "WAVEfmt " + Number(16, 4) + Number(1, 2) + // linear samples
               Number(Format.channels, 2) + Number(Format.rate, 4) + Number(Format.rate * Format.BytesPerFrame(), 4) +
               Number(Format.BytesPerFrame(), 2) + Number(Format.bytesPerSample * 8, 2) + "data" + Number(DataBytes, 4);
    }

    std::string Path;
    AudioFormat Format;
    std::ofstream File;
    uint32_t DataBytes = 0;
};

void Run(int argc, char** argv)
{
    std::string output = "recording.wav";
    const Options options = ParseOptions(argc, argv, "FILE.sdp", {{"--output", "FILE.wav", &output}});
    Description description = ReadDescription(options.descriptions[0], options, {ZEFA_ESSENCE_TYPE_ST2110_30});
    const AudioFormat format = ChooseSlots(description);
    const Session session(options);
    const Stream stream(session, ZEFA_STREAM_TYPE_RX, description, options);

    WavFile wav(output, format);
    uint32_t expected = 0; // timestamp of the next slot
    uint64_t missing = 0;
    const auto slots =
        ForEachSlot(stream, options,
                    [&](ZEFA_SLOT slot, uint64_t number)
                    {
                        const uint32_t timestamp = TimestampsOf(stream, slot, ZEFA_BUFFER_AUDIO_0)[0].Value_UL;
                        if (number == 0)
                            std::printf("first sample: RTP timestamp %" PRIu32 "\n", timestamp);
                        else if (const uint32_t gap = timestamp - expected; gap > 0 && gap <= 10 * format.rate)
                        {
                            const std::vector<uint8_t> silence(size_t(gap) * format.BytesPerFrame());
                            wav.Append(silence.data(), silence.size());
                            missing += gap;
                        }
                        else if (gap > 0)
                            std::printf("the sender began anew at RTP timestamp %" PRIu32 "\n", timestamp);
                        const Buffer buffer = BufferOf(stream, slot, ZEFA_BUFFER_AUDIO_0);
                        wav.Append(buffer.bytes, buffer.size);
                        expected = timestamp + buffer.size / format.BytesPerFrame();
                    });
    wav.Close();
    Report(stream, slots);
    std::printf("%" PRIu64 " missing samples, the recording is in %s\n", missing, output.c_str());
}

} // namespace

int main(int argc, char** argv)
{
    return RunExample("record_wav", [=] { Run(argc, argv); });
}

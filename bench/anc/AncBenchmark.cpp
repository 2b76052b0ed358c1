// What a packet of 32 words costs from a playlist to the store and back, beside a copy of the same bytes. A frame has
// 200 packets on 20 lines of one stream; time is taken around the reading or writing of a whole frame.
#include "anc/CAncPlaylistManager.h"
#include "anc/CBlankingData.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <time.h>
#include <vector>

using namespace Quillmont::anc;

namespace
{
constexpr uint32_t kLines = 20;
constexpr uint32_t kPacketsOfLine = 10;
constexpr uint32_t kPackets = kLines * kPacketsOfLine;
constexpr uint32_t kWords = 32;
constexpr uint32_t kHd = 7;
constexpr uint32_t kBufferBytes = 65536;

class Frame
{
public:
    explicit Frame(bool listening)
        : Store(Swallow, Swallow, listening), Manager(OnePlaylist(), {Swallow, Swallow, Swallow}, listening)
    {
        Fill(Parsing);
        Fill(Generating);
        Generating.GetLastLine = [](uint32_t) { return uint16_t{1125}; };
        Generating.SetFinalSize = [this](uint32_t, uint32_t size) { PlaylistBytes = size; };
        Empty();
        for (uint32_t line = 1; line <= kLines; ++line)
            for (uint32_t i = 0; i < kPacketsOfLine; ++i)
            {
                ZEFA_ANC_PACKET* packet = nullptr;
                Store.AllocatePacket(kWords, &packet, 0);
                packet->DID_UB = 0x61;
                packet->SDID_UB = 0x01;
                for (uint32_t word = 0; word < kWords; ++word)
                    packet->UserWords_pUS[word] = static_cast<uint16_t>(0x200 + word);
                Store.InsertPacket(line, 0, -1, packet);
            }
        Generate();
    }

    void Empty() { Store.Init(kHd, false, {0}, 1); }
    bool Parse()
    {
        Position = 0;
        Line = 0;
        return Manager.Parse(Parsing) == kAncSuccess;
    }
    bool Generate()
    {
        Position = 0;
        Line = 0;
        return Manager.Generate(Generating) == kAncSuccess;
    }

    uint32_t PlaylistBytes = 0;
    std::vector<uint8_t> Buffer = std::vector<uint8_t>(kBufferBytes);

private:
    static void Swallow(const std::string& text) { benchmark::DoNotOptimize(text.data()); }
    static CAncPlaylistManager::PlaylistFunctions OnePlaylist()
    {
        return {[](uint32_t index, uint32_t) { return index; }, [](uint32_t index) { return index == 0; }};
    }

    template <class TRequest>
    void Fill(TRequest& request)
    {
        request.NbChannels = 1;
        request.NbLinks = 1;
        request.StreamLayout = 2;
        request.ActiveWidth = 1920;
        request.ActiveHeight = 1080;
        request.TotalHeight = 1125;
        request.Store = &Store;
        request.GetBuffer = [this](uint32_t, uint32_t* size)
        {
            *size = kBufferBytes;
            return Buffer.data();
        };
        request.GetProgress = [this](uint32_t, uint32_t* position, uint16_t* line)
        {
            *position = Position;
            *line = Line;
        };
        request.SetProgress = [this](uint32_t, uint32_t position, uint16_t line)
        {
            Position = position;
            Line = line;
        };
    }

    CBlankingData Store;
    CAncPlaylistManager Manager;
    ANC_PARSE_REQUEST Parsing;
    ANC_GENERATE_REQUEST Generating;
    uint32_t Position = 0;
    uint16_t Line = 0;
};

// Processor time: other work on the machine does not count.
double Seconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

template <class TWork>
void TimeOnce(benchmark::State& state, TWork work)
{
    const double begin = Seconds();
    const bool success = work();
    state.SetIterationTime(Seconds() - begin);
    if (!success) state.SkipWithError("failed");
}

void TellPerPacket(benchmark::State& state)
{
    state.counters["packet"] =
        benchmark::Counter(kPackets, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

// The release of the frame before is part of it.
void Parse(benchmark::State& state)
{
    Frame frame(state.range(0) != 0);
    for (auto _ : state)
        TimeOnce(state,
                 [&]
                 {
                     frame.Empty();
                     return frame.Parse();
                 });
    TellPerPacket(state);
}

void Generate(benchmark::State& state)
{
    Frame frame(state.range(0) != 0);
    Frame source(false); // whose buffer is read, so that the packets stand in another one
    for (auto _ : state)
    {
        std::swap(frame.Buffer, source.Buffer);
        frame.Empty();
        const bool filled = frame.Parse();
        std::swap(frame.Buffer, source.Buffer);
        TimeOnce(state, [&] { return filled && frame.Generate(); });
    }
    TellPerPacket(state);
}

void Copy(benchmark::State& state)
{
    Frame frame(false);
    std::vector<uint8_t> target(kBufferBytes);
    for (auto _ : state)
        TimeOnce(state,
                 [&]
                 {
                     std::memcpy(target.data(), frame.Buffer.data(), frame.PlaylistBytes);
                     benchmark::DoNotOptimize(target.data());
                     benchmark::ClobberMemory();
                     return true;
                 });
    TellPerPacket(state);
}
} // namespace

BENCHMARK(Parse)->ArgName("listening")->Arg(0)->Arg(1)->UseManualTime();
BENCHMARK(Generate)->ArgName("listening")->Arg(0)->Arg(1)->UseManualTime();
BENCHMARK(Copy)->UseManualTime();
BENCHMARK_MAIN();

// What a packet of 32 words costs from a playlist to the store and back, beside the least code that finds or writes the
// same packets and beside a copy of the same bytes. A frame has 200 packets on 20 lines of one stream; time is taken
// around the reading or writing of a whole frame.
#include "anc/CAncPlaylistManager.h"
#include "anc/CBlankingData.h"
#include "anc/PlaylistFormat.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
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

// ---- the least code: one array of packets, no store that sorts them, no streams, and nothing to configure ----

struct LeastPacket
{
    ZEFA_ANC_PACKET Packet; // what applications read
    uint32_t Header;        // of its section
};

// The number of packets found. They point into the playlist, which nobody trusts: each length is looked at.
size_t FindPackets(uint8_t* bytes, uint32_t size, const std::span<LeastPacket> packets)
{
    constexpr uint64_t kFlagBits = 0x0000'FFFC'FFFC'FFFF, kFlag = 0x0000'03FC'03FC'0000;
    size_t found = 0;
    uint32_t at = kPlaylistHeadBytes, header = 0;
    while (at + kPacketOverhead * 2 <= size && found < packets.size())
    {
        if ((Load64(bytes + at) & kFlagBits) == kFlag)
        {
            const uint8_t count = bytes[at + kWordsBeforeDataCount * 2];
            const uint32_t packetBytes = (count + kPacketOverhead) * 2;
            if (size - at < packetBytes) break;
            LeastPacket& packet = packets[found++];
            packet.Packet.DID_UB = bytes[at + 6];
            packet.Packet.SDID_UB = bytes[at + 8];
            packet.Packet.DataCount_UB = count;
            packet.Packet.UserWords_pUS = reinterpret_cast<uint16_t*>(bytes + at + kWordsBeforeUserWords * 2);
            packet.Packet.InHANC_B = (header & kHancFlag) != 0;
            packet.Packet.External_B = 0;
            packet.Header = header;
            at += packetBytes;
            continue;
        }
        const uint32_t word = Load16(bytes + at);
        if (word == kFiller)
            at += 2;
        else if (word & kHeaderFlag)
        {
            header = word;
            at += kHeaderBytes;
        }
        else
            break;
    }
    return found;
}

// A packet at `to`: flag, identifiers and count with their parity, user words and checksum.
void WritePacket(uint8_t* to, const ZEFA_ANC_PACKET& packet)
{
    constexpr uint64_t kLow9 = 0x01FF'01FF'01FF'01FF;
    const size_t words = packet.DataCount_UB;
    const uint32_t did = kParityWords[packet.DID_UB], sdid = kParityWords[packet.SDID_UB], count = kParityWords[words];
    Store64(to, 0x03FF'03FF'0000 | uint64_t{did} << 48);
    Store32(to + 8, sdid | count << 16);
    to += kWordsBeforeUserWords * 2;
    const auto* const from = reinterpret_cast<const uint8_t*>(packet.UserWords_pUS);
    uint64_t sums = 0; // four, of the nine bits that count
    size_t i = 0;
    for (; i + 4 <= words; i += 4)
    {
        const uint64_t four = Load64(from + i * 2);
        Store64(to + i * 2, four);
        sums += four & kLow9;
    }
    auto sum = static_cast<uint32_t>(did + sdid + count + ((sums & kLow9) * 0x0001'0001'0001'0001 >> 48));
    for (; i < words; ++i)
    {
        const uint32_t word = Load16(from + i * 2);
        Store16(to + i * 2, word);
        sum += word;
    }
    Store16(to + words * 2, (sum & 0x1FF) | (~sum & 0x100) << 1);
}

// The bytes of the playlist, 0 when the packets do not fit.
uint32_t WritePackets(const std::span<const LeastPacket> packets, const std::span<uint8_t> buffer)
{
    uint8_t* const bytes = buffer.data();
    uint32_t at = kPlaylistHeadBytes, payload = 0, header = 0;
    for (const LeastPacket& packet : packets)
    {
        const uint32_t packetBytes = (packet.Packet.DataCount_UB + kPacketOverhead) * 2;
        if (buffer.size() - at < 2 + kHeaderBytes + packetBytes + kEndMarkerBytes) return 0;
        if (packet.Header != header)
        {
            if (payload != 0) Store16(bytes + payload - 2, at - payload);
            if (at % 4 != 0)
            {
                Store16(bytes + at, kFiller);
                at += 2;
            }
            header = packet.Header;
            Store16(bytes + at, header); // the length follows
            at += kHeaderBytes;
            payload = at;
        }
        WritePacket(bytes + at, packet.Packet);
        at += packetBytes;
    }
    if (payload != 0) Store16(bytes + payload - 2, at - payload);
    Store32(bytes + at, kEndMarker);
    at += kEndMarkerBytes;
    Store32(bytes, at);
    Store32(bytes + 4, 0);
    return at;
}

// Processor time: other work on the machine does not count.
double Seconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

// What the clock itself takes, which would be a good part of the least code's time.
double ClockSeconds()
{
    double least = 1;
    for (int i = 0; i < 1000; ++i)
    {
        const double begin = Seconds();
        least = std::min(least, Seconds() - begin);
    }
    return least;
}

template <class TWork>
void TimeOnce(benchmark::State& state, TWork work)
{
    static const double clockSeconds = ClockSeconds();
    const double begin = Seconds();
    const bool success = work();
    state.SetIterationTime(std::max(Seconds() - begin - clockSeconds, 0.0));
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

void LeastParse(benchmark::State& state)
{
    Frame frame(false);
    std::vector<LeastPacket> packets(kPackets);
    for (auto _ : state)
        TimeOnce(state,
                 [&]
                 {
                     const size_t found = FindPackets(frame.Buffer.data(), frame.PlaylistBytes, packets);
                     benchmark::DoNotOptimize(packets.data());
                     benchmark::ClobberMemory();
                     return found == kPackets;
                 });
    TellPerPacket(state);
}

void LeastGenerate(benchmark::State& state)
{
    Frame frame(false);
    std::vector<LeastPacket> packets(kPackets);
    std::vector<uint8_t> target(kBufferBytes);
    FindPackets(frame.Buffer.data(), frame.PlaylistBytes, packets);
    for (auto _ : state)
        TimeOnce(state,
                 [&]
                 {
                     const uint32_t bytes = WritePackets(packets, target);
                     benchmark::DoNotOptimize(target.data());
                     benchmark::ClobberMemory();
                     return bytes == frame.PlaylistBytes;
                 });
    if (!std::equal(target.begin(), target.begin() + frame.PlaylistBytes, frame.Buffer.begin()))
        state.SkipWithError("the playlist differs from the library's");
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
BENCHMARK(LeastParse)->UseManualTime();
BENCHMARK(LeastGenerate)->UseManualTime();
BENCHMARK(Copy)->UseManualTime();
BENCHMARK_MAIN();

// What a service carries: a stream that it sends and receives at once, the largest raster, how many streams of a kind,
// a stream between two services; how long a receiver takes to its first slot and what a started stream holds of memory.
// Each figure is of one run of some seconds, told as counters.
//   bench_roads [--seconds=3] [what Google Benchmark takes]
#include "../support/LoopbackSocket.h"
#include "../support/Turns.h"
#include "BareDatagrams.h"
#include "Roads.h"

#include <algorithm>
#include <array>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <numeric>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace
{

using namespace bench;

double seconds = 3; // of each measurement; the minutes have their own

// The benchmark's one turn: what has gone wrong is said, and the other benchmarks go on.
void Once(benchmark::State& state, const std::function<void()>& measure)
{
    for (auto _ : state)
    {
        const auto begun = std::chrono::steady_clock::now();
        try
        {
            measure();
        }
        catch (const std::exception& error)
        {
            state.SkipWithError(error.what());
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count());
    }
}

// A stretch that lost something is measured once more, for the machine has other things to do, too: the better counts.
constexpr int kTries = 2;

Outcome BestOf(std::span<const std::unique_ptr<Pair>> pairs, std::span<const Client* const> services, double length,
               const Format& format)
{
    Outcome best = Measure(pairs, services, length, format);
    for (int tries = 1; tries < kTries && !best.IsWhole(); ++tries)
    {
        const Outcome again = Measure(pairs, services, length, format);
        if (again.lost + again.missing < best.lost + best.missing) best = again;
    }
    return best;
}

Frames FramesOf(const Format& format)
{
    return {.datagrams = static_cast<size_t>(std::lround(format.datagrams * format.slotSeconds)),
            .datagramBytes = format.datagramBytes,
            .burst = format.burst,
            .inMemory = format.slots};
}

double PacketsOf(uint64_t slots, const Format& format)
{
    return static_cast<double>(slots) * format.datagrams * format.slotSeconds;
}

// Nanoseconds for a packet of the outcome.
double PacketNs(const Outcome& outcome, double cpuSeconds, const Format& format)
{
    return 1e9 * cpuSeconds / std::max(PacketsOf(outcome.taken, format), 1.0);
}

// What a machine that does nothing else has to give, in the measure of one core.
double MachinePercent()
{
    return 100.0 * std::thread::hardware_concurrency();
}

// What came of a stream; beside the processor time of a packet, which is sent and received, stands that of a bare
// datagram which nobody copies and for which nobody sleeps.
void Tell(benchmark::State& state, const Outcome& outcome, const Format& format)
{
    state.counters["packet_ns"] =
        PacketNs(outcome, std::accumulate(outcome.cpuSeconds.begin(), outcome.cpuSeconds.end(), 0.0), format);
    state.counters["datagram_ns"] = 1e9 * BareDatagramSeconds(format.datagramBytes, format.burst);
    for (const auto& [name, count] : {std::pair{"lost", outcome.lost},
                                      {"dropped", outcome.dropped},
                                      {"missing", outcome.missing},
                                      {"gaps", outcome.gaps},
                                      {"underruns", outcome.underruns},
                                      {"stalled", outcome.stalled},
                                      {"due", outcome.due}})
        state.counters[name] = static_cast<double>(count);
    state.counters["due_packets"] = PacketsOf(outcome.due, format);
    state.counters["pause_ms"] = outcome.pauseMs;
    state.counters["stolen_ms"] = outcome.stolenMs;
    state.counters["processor_ms"] = outcome.processorMs;
    state.counters["fill_ms"] = outcome.fillMs;
    state.counters["ring_ms"] = 1e3 * format.slots * format.slotSeconds;
    state.counters["period_ms"] = 1e3 * format.slotSeconds;
    state.counters["cpu_percent"] = outcome.cpuPercent;
    state.counters["machine_percent"] = MachinePercent();
}

// ---- one stream ----

// Both ends on one conductor; measured once, whatever comes of it.
void OneStream(benchmark::State& state, double length)
{
    Once(state,
         [&]
         {
             Client client;
             const Format format = Video(ZEFA_VIDEO_STANDARD_1920X1080_P_59_94);
             std::vector<std::unique_ptr<Pair>> pairs;
             pairs.push_back(std::make_unique<Pair>(Pair::Place{client, 0}, Pair::Place{client, 0}, format));
             Tell(state, Measure(pairs, std::array<const Client*, 1>{&client}, length, format), format);
             state.counters["bare_packet_ns"] = 1e9 * BareLoopSeconds(FramesOf(format), format.slotSeconds);
         });
}

// A bare receiver in the place of the other service: processor seconds for a packet that this one sends.
double BareSecondsOf(Client& service, const Format& format)
{
    BareReceiver receiver(FramesOf(format));
    Stream sender(service, ZEFA_STREAM_TYPE_TX, format, 1, receiver.Port());
    sender.Start();
    const std::jthread application(
        [&](std::stop_token stopped)
        {
            while (!stopped.stop_requested())
                sender.Put();
        });
    return BareReceiverSeconds(receiver, FramesOf(format), format.slotSeconds);
}

// Sent by one service and received by another, each on a core of its own.
void TwoServices(benchmark::State& state, ZEFA_VIDEO_STANDARD standard, double length)
{
    Once(state,
         [&]
         {
             Client receiver, sender;
             const Format format = Video(standard);
             std::vector<std::unique_ptr<Pair>> pairs;
             pairs.push_back(std::make_unique<Pair>(Pair::Place{receiver, 0}, Pair::Place{sender, 1}, format));
             const Outcome outcome = Measure(pairs, std::array<const Client*, 2>{&receiver, &sender}, length, format);
             Tell(state, outcome, format);
             pairs.clear();
             state.counters["bare_packet_ns"] = 1e9 * BareEndsSeconds(FramesOf(format), format.slotSeconds);
             state.counters["received_ns"] = PacketNs(outcome, outcome.cpuSeconds[0], format);
             state.counters["bare_received_ns"] = 1e9 * BareSecondsOf(sender, format);
         });
}

struct RasterStep
{
    const char* name;
    ZEFA_VIDEO_STANDARD standard;
};

constexpr RasterStep kSteps[] = {
    {"1080p59.94", ZEFA_VIDEO_STANDARD_1920X1080_P_59_94}, {"2160p25", ZEFA_VIDEO_STANDARD_3840X2160_P_25},
    {"2160p29.97", ZEFA_VIDEO_STANDARD_3840X2160_P_29_97}, {"2160p50", ZEFA_VIDEO_STANDARD_3840X2160_P_50},
    {"2160p59.94", ZEFA_VIDEO_STANDARD_3840X2160_P_59_94}, {"4096x2160p60", ZEFA_VIDEO_STANDARD_4096X2160_P_60},
};

// Gbit/s of samples that so many cores could send and receive if the datagrams of the raster were all that there is to
// do.
double BareGbitPerSecond(const Format& format, unsigned cores)
{
    const double bits = format.bitsPerSecond / format.datagrams; // of a datagram
    return cores * bits / BareDatagramSeconds(format.datagramBytes, format.burst) / 1e9;
}

// Sender and receiver on a core each. All are told; the largest, 0 for none, is the last before the first that lost
// something.
void LargestRaster(benchmark::State& state)
{
    Once(state,
         [&]
         {
             Client client;
             bool whole = true;
             double& upToALoss = state.counters["gbit_s"].value;
             double& largest = state.counters["whole_gbit_s"].value;
             for (const RasterStep& step : kSteps)
             {
                 const Format format = Video(step.standard);
                 std::vector<std::unique_ptr<Pair>> pairs;
                 pairs.push_back(std::make_unique<Pair>(Pair::Place{client, 0}, Pair::Place{client, 1}, format));
                 const Outcome outcome = BestOf(pairs, std::array<const Client*, 1>{&client}, seconds, format);
                 if (outcome.IsWhole()) largest = format.bitsPerSecond / 1e9;
                 whole = whole && outcome.IsWhole();
                 if (whole) upToALoss = largest;
                 const std::string name = step.name;
                 state.counters["lost_" + name] = static_cast<double>(outcome.lost);
                 state.counters["missing_" + name] = static_cast<double>(outcome.missing);
                 state.counters["due_" + name] = static_cast<double>(outcome.due);
                 state.counters["due_packets_" + name] = PacketsOf(outcome.due, format);
                 state.counters["cpu_" + name] = outcome.cpuPercent;
             }
             state.counters["machine_percent"] = MachinePercent();
             const unsigned cores = std::min(2u, std::thread::hardware_concurrency());
             // All rasters have the same datagrams.
             state.counters["bare_gbit_s"] = BareGbitPerSecond(Video(kSteps[0].standard), cores);
         });
}

// ---- many streams ----

// Streams of one service that are all sent and received by it, by turns on the one core and on the other.
class Load
{
public:
    explicit Load(const Format& format, const std::vector<std::string>& options = {}) : Service(options), Kind(format)
    {
    }

    // False when the service refuses: it has as many then as it permits.
    bool Resize(size_t count)
    {
        while (Pairs.size() > count)
            Pairs.pop_back();
        try
        {
            while (Pairs.size() < count)
            {
                const Pair::Place place{Service, Pairs.size() % Service.Conductors.size()};
                Pairs.push_back(std::make_unique<Pair>(place, place, Kind));
            }
            return true;
        }
        catch (const std::exception& error)
        {
            std::fprintf(stderr, "bench_roads: %zu streams are the most: %s\n", Pairs.size(), error.what());
            return false;
        }
    }

    size_t Count() const { return Pairs.size(); }

    Outcome Try() { return BestOf(Pairs, std::array<const Client*, 1>{&Service}, seconds, Kind); }

    Client Service;

private:
    const Format Kind;
    std::vector<std::unique_ptr<Pair>> Pairs;
};

constexpr double kMostStreams = 1024; // that a service permits; each end is one

// The most that pass whole: doubled until some are lost or refused, then halved in between down to a sixteenth. "bare"
// is how many would fill all cores if their datagrams were all that there is to do.
void Streams(benchmark::State& state, const Format& format, size_t first, int memoryGiB)
{
    Once(state,
         [&]
         {
             Load load(format, {"--memory-limit", std::to_string(memoryGiB) + "G"});
             size_t good = 0, bad = SIZE_MAX;
             bool refused = false;
             double cpuPercent = 0;
             for (size_t count = first; count > good && count < bad;)
             {
                 refused = !load.Resize(count) || refused;
                 count = load.Count();
                 const Outcome outcome = load.Try();
                 std::fprintf(stderr, "bench_roads: %zu streams: packets lost %lu, slots missing %lu, dropped %lu\n",
                              count, outcome.lost, outcome.missing, outcome.dropped);
                 if (outcome.IsWhole())
                 {
                     good = count;
                     cpuPercent = outcome.cpuPercent;
                     if (refused) break;
                 }
                 else
                     bad = count;
                 if (bad == SIZE_MAX)
                     count = 2 * good;
                 else if (bad - good > std::max<size_t>(good / 16, 1))
                     count = good + (bad - good) / 2;
                 else
                     break;
             }
             state.counters["streams"] = static_cast<double>(good);
             state.counters["bare"] = std::thread::hardware_concurrency() / format.datagrams /
                                      BareDatagramSeconds(format.datagramBytes, format.burst);
             const double ringBytes = load.Service.RingBytes() / (2.0 * static_cast<double>(load.Count()));
             state.counters["permitted"] = std::min(kMostStreams, memoryGiB * double{1 << 30} / ringBytes) / 2;
             state.counters["cpu_percent"] = cpuPercent;
             state.counters["machine_percent"] = MachinePercent();
         });
}

// ---- start and memory ----

double NsSince(std::chrono::steady_clock::time_point begun)
{
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begun).count();
}

// Of shared memory that nobody has touched before.
double FirstTouchNs(size_t bytes)
{
    const int file = memfd_create("bench_roads", 0);
    void* const memory = ftruncate(file, static_cast<off_t>(bytes)) == 0
                             ? mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0)
                             : MAP_FAILED;
    close(file);
    if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
    const auto begun = std::chrono::steady_clock::now();
    for (size_t at = 0; at < bytes; at += static_cast<size_t>(getpagesize()))
        static_cast<volatile char*>(memory)[at] = 1;
    const double ns = NsSince(begun);
    munmap(memory, bytes);
    return ns;
}

// A receiver is started again and again while frames come; as many shared bytes as its ring has are touched between.
void StartToFirstSlot(benchmark::State& state)
{
    constexpr int kStarts = 25, kPatience = 20;
    Once(state,
         [&]
         {
             Client client;
             const Format format = Video(ZEFA_VIDEO_STANDARD_1920X1080_P_50);
             const uint16_t port = LoopbackSocket().Bind();
             Stream sender(client, ZEFA_STREAM_TYPE_TX, format, 0, port);
             Stream receiver(client, ZEFA_STREAM_TYPE_RX, format, 0, port);
             sender.Start();
             const std::jthread application(
                 [&](std::stop_token stopped)
                 {
                     while (!stopped.stop_requested())
                         sender.Put();
                 });
             std::this_thread::sleep_for(std::chrono::milliseconds(500));
             const double senderBytes = client.RingBytes();
             std::vector<double> starts, firsts, touches;
             for (int i = 0; i < kStarts; ++i)
             {
                 std::this_thread::sleep_for(std::chrono::microseconds(1700 * i)); // anywhere in a frame
                 const auto begun = std::chrono::steady_clock::now();
                 receiver.Start();
                 starts.push_back(NsSince(begun));
                 uint32_t timestamp = 0;
                 for (int tries = 0; !receiver.Take(timestamp); ++tries)
                     if (tries == kPatience) throw std::runtime_error("no slot in so many seconds");
                 firsts.push_back(NsSince(begun));
                 const double ringBytes = client.RingBytes() - senderBytes;
                 receiver.Stop();
                 touches.push_back(FirstTouchNs(static_cast<size_t>(ringBytes)));
             }
             state.counters["median_ns"] = Median(firsts);
             state.counters["start_ns"] = Median(starts);
             state.counters["touch_ns"] = Median(touches);
         });
}

// Sixteen ends of 1080p25 while their frames go round, of three services one after another.
void StartedStream(benchmark::State& state)
{
    constexpr size_t kPairs = 8;
    constexpr int kServices = 3;
    Once(state,
         [&]
         {
             Format format = Video(ZEFA_VIDEO_STANDARD_1920X1080_P_25);
             format.slots = 4;
             std::vector<double> held, rings;
             for (int i = 0; i < kServices; ++i)
             {
                 Load load(format);
                 const double idle = load.Service.AnonymousBytes();
                 if (!load.Resize(kPairs)) throw std::runtime_error("not all streams started");
                 load.Try();
                 held.push_back((load.Service.AnonymousBytes() - idle) / (2 * kPairs) / 1024);
                 rings.push_back(load.Service.RingBytes() / (2 * kPairs) / 1024);
             }
             state.counters["kib"] = Median(held);
             state.counters["ring_kib"] = Median(rings);
             state.counters["slots_kib"] = format.slots * format.bitsPerSecond * format.slotSeconds / 8 / 1024;
         });
}

void RegisterOnce(const char* name, const std::function<void(benchmark::State&)>& run)
{
    benchmark::RegisterBenchmark(name, run)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);
}

// Takes each "--seconds=3" out of the arguments; the last one counts.
void ReadSeconds(int& count, char** arguments)
{
    constexpr std::string_view kOption = "--seconds=";
    const auto rest =
        std::stable_partition(arguments + 1, arguments + count,
                              [&](const char* text) { return !std::string_view(text).starts_with(kOption); });
    for (auto option = rest; option != arguments + count; ++option)
        seconds = std::max(0.1, std::atof(*option + kOption.size()));
    *rest = nullptr;
    count = static_cast<int>(rest - arguments);
}

// A ring takes a descriptor at its application, too.
void RaiseDescriptorLimit()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

} // namespace

int main(int count, char** arguments)
{
    constexpr double kMinute = 60;
    ReadSeconds(count, arguments);
    RaiseDescriptorLimit();
    RegisterOnce("OneStream", [](benchmark::State& state) { OneStream(state, seconds); });
    RegisterOnce("OneStreamMinute", [](benchmark::State& state) { OneStream(state, kMinute); });
    RegisterOnce("LargestRaster", LargestRaster);
    constexpr ZEFA_VIDEO_STANDARD kHd = ZEFA_VIDEO_STANDARD_1920X1080_P_59_94,
                                  kUhd = ZEFA_VIDEO_STANDARD_3840X2160_P_29_97;
    RegisterOnce("TwoServicesHd", [](benchmark::State& state) { TwoServices(state, kHd, seconds); });
    RegisterOnce("TwoServices", [](benchmark::State& state) { TwoServices(state, kUhd, seconds); });
    RegisterOnce("TwoServicesMinute", [](benchmark::State& state) { TwoServices(state, kUhd, kMinute); });

    constexpr int kMemoryGiB = 8; // as a service has it when nothing is said
    Format video = Video(ZEFA_VIDEO_STANDARD_1920X1080_P_25), ancillary = Ancillary(ZEFA_VIDEO_STANDARD_1920X1080_P_50);
    video.slots = 4;
    ancillary.slots = 3; // of 4 MB, so that the rings of 1024 ends, more than which the service refuses, hold 13 GB
    const Format audio16 = Audio(16, ZEFA_SDP_PACKET_TIME_125US), audio8 = Audio(8, ZEFA_SDP_PACKET_TIME_1MS);
    RegisterOnce("Streams/1080p25", [=](benchmark::State& state) { Streams(state, video, 4, kMemoryGiB); });
    RegisterOnce("Streams/16ChannelsOf125us", [=](benchmark::State& state) { Streams(state, audio16, 8, kMemoryGiB); });
    RegisterOnce("Streams/8ChannelsOf1ms", [=](benchmark::State& state) { Streams(state, audio8, 32, kMemoryGiB); });
    RegisterOnce("Streams/Ancillary", [=](benchmark::State& state) { Streams(state, ancillary, 32, 22); });
    RegisterOnce("StartToFirstSlot", StartToFirstSlot);
    RegisterOnce("StartedStream", StartedStream);
    benchmark::Initialize(&count, arguments);
    if (benchmark::ReportUnrecognizedArguments(count, arguments)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}

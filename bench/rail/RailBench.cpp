// What a hand-over of a slot costs: in one process, there and back between two that poll or sleep, and one way; each
// beside the least that the machine needs for the same, interleaved in one run. Ratios stand at the end.
#include "../support/LeastRing.h"
#include "../support/SecondThread.h"
#include "../support/Turns.h"
#include "Futex.h"
#include "OneWay.h"
#include "Partner.h"
#include "flowrail1.h"

#include <algorithm>
#include <atomic>
#include <benchmark/benchmark.h>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
using namespace railbench;

constexpr uint32_t k4KiB = 4 << 10, k4MiB = 4 << 20, k40MiB = 40 << 20;
constexpr int64_t kSizes[] = {k4KiB, k4MiB, k40MiB};

std::unique_ptr<CFlowRail> NewRail()
{
    return std::unique_ptr<CFlowRail>(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
}

FLOW_RAIL_DESCRIPTOR Describe(const char* purpose, uint32_t slotBytes, const char* role)
{
    static int count = 0;
    return {FLOW_RAIL_TYPE_FILE_MAP,
            {{"Name", std::string("bench-") + purpose + "-" + std::to_string(getpid()) + "-" + std::to_string(++count)},
             {"SlotBytes", std::to_string(slotBytes)},
             {"SlotCount", "4"},
             {"Role", role}}};
}

// ---- one process ----

// Both ends of a rail in one thread.
class CycleRail
{
public:
    explicit CycleRail(uint32_t slotBytes) : Bytes(slotBytes), Rail(NewRail())
    {
        FLOW_RAIL_DESCRIPTOR descriptor = Describe("cycle", Bytes, "producer");
        if (Rail->Create(&descriptor) != FLOW_RAIL_OK || Rail->AddConsumer(&Token) != FLOW_RAIL_OK) Fail("a rail");
    }

    bool Cycle()
    {
        void *written = nullptr, *read = nullptr;
        uint32_t result = Rail->LockProducer(Bytes, 100, &written);
        result |= Rail->UnlockProducer(written);
        result |= Rail->LockConsumer(&Token, Bytes, 100, &read);
        result |= Rail->UnlockConsumer(&Token, read);
        return result == FLOW_RAIL_OK;
    }

private:
    const uint32_t Bytes;
    const std::unique_ptr<CFlowRail> Rail;
    uint64_t Token = 0;
};

struct CycleKind
{
    std::string Counter;
    std::function<void()> Batch;
    std::vector<double> Ns{}; // a cycle, by turn
};

constexpr int kBatch = 500; // a look at the clock takes half a cycle

template <class TCycle>
CycleKind Kind(const std::string& counter, TCycle cycle)
{
    const auto batch = [cycle]
    {
        for (int i = 0; i < kBatch; ++i)
            if (!cycle()) [[unlikely]]
                Fail("a cycle");
    };
    return {counter, batch};
}

// Rails of every size and the least ring take turns, so that a busy neighbour slows all of them alike.
void FullCycle(benchmark::State& state)
{
    PinTo(0);
    const bench::SecondThread second;
    bench::LeastRing least;
    CycleRail small(k4KiB), middle(k4MiB), large(k40MiB);
    CycleKind kinds[] = {
        Kind("rail_4096_ns", [&] { return small.Cycle(); }),
        Kind("rail_4194304_ns", [&] { return middle.Cycle(); }),
        Kind("rail_41943040_ns", [&] { return large.Cycle(); }),
        Kind("least_ns", [&] { return least.BareCycle(); }),
        Kind("six_locks_ns", [&] { return least.LockedCycle(); }),
    };
    for (auto _ : state)
    {
        for (CycleKind& kind : kinds)
            kind.Ns.push_back(bench::TakeTurn(kind.Batch, std::chrono::microseconds(100)) / kBatch);
        state.SetIterationTime(kinds[0].Ns.back() * 1e-9);
    }
    for (const CycleKind& kind : kinds)
        state.counters[kind.Counter] = bench::Median(kind.Ns);
}

// ---- there and back between two processes ----

// Polling asks again at once, as a spinning application does; sleeping leaves the wait to the rail.
uint32_t Take(CFlowRail& rail, uint64_t* token, uint32_t bytes, bool polling)
{
    void* slot = nullptr;
    uint32_t result = 0;
    while ((result = rail.LockConsumer(token, bytes, polling ? 0 : 1000, &slot)) == FLOW_RAIL_TIMEOUT)
    {
    }
    return result == FLOW_RAIL_OK ? rail.UnlockConsumer(token, slot) : result;
}

uint32_t Give(CFlowRail& rail, uint32_t bytes)
{
    void* slot = nullptr;
    const uint32_t result = rail.LockProducer(bytes, 1000, &slot);
    return result == FLOW_RAIL_OK ? rail.UnlockProducer(slot) : result;
}

// Two rails, one there and one back, and a process that sends back what comes.
struct RoundRails
{
    explicit RoundRails(uint32_t slotBytes)
        : There(Describe("there", slotBytes, "producer")), Back(Describe("back", slotBytes, "consumer")),
          Bytes(slotBytes)
    {
    }

    // In the process that measures, behind the fork.
    void Create()
    {
        Out = NewRail(), In = NewRail();
        if (Out->Create(&There) != FLOW_RAIL_OK || In->Create(&Back) != FLOW_RAIL_OK) Fail("a rail");
        if (In->AddConsumer(&Token) != FLOW_RAIL_OK) Fail("AddConsumer");
    }
    // In the other one.
    void Open()
    {
        In = NewRail(), Out = NewRail();
        if (In->Open(&There) != FLOW_RAIL_OK || In->AddConsumer(&Token) != FLOW_RAIL_OK) Fail("Open");
        if (Out->Open(&Back) != FLOW_RAIL_OK) Fail("Open");
    }

    bool GoThereAndBack(bool polling)
    {
        return Give(*Out, Bytes) == FLOW_RAIL_OK && Take(*In, &Token, Bytes, polling) == FLOW_RAIL_OK;
    }
    bool SendBack(bool polling)
    {
        return Take(*In, &Token, Bytes, polling) == FLOW_RAIL_OK && Give(*Out, Bytes) == FLOW_RAIL_OK;
    }

    FLOW_RAIL_DESCRIPTOR There, Back;
    const uint32_t Bytes;
    std::unique_ptr<CFlowRail> Out, In;
    uint64_t Token = 0;
};

void RailBlocked(benchmark::State& state, unsigned otherCpu)
{
    RoundRails rails(static_cast<uint32_t>(state.range(0)));
    Partner echo(
        [&](const Partner& line)
        {
            PinTo(otherCpu);
            line.Hear();
            rails.Open();
            line.Say();
            while (rails.SendBack(false))
            {
            }
        });
    PinTo(0);
    rails.Create();
    echo.Say();
    echo.Hear();
    for (auto _ : state)
        if (!rails.GoThereAndBack(false)) [[unlikely]]
            state.SkipWithError("a lock failed");
    rails.Out->Close();
}

// Two words; what one side waits for is that the other's has moved on.
struct Words
{
    alignas(64) std::atomic<uint32_t> there;
    alignas(64) std::atomic<uint32_t> back;
};
constexpr uint32_t kEnd = UINT32_MAX;

enum class Waits
{
    Polling,
    Asleep,
    AsleepWithLimit // as whoever must notice that the other side has died
};

uint32_t AwaitOther(std::atomic<uint32_t>& word, uint32_t old, Waits waits)
{
    constexpr timespec kLimit{1, 0};
    uint32_t value = 0;
    while ((value = word.load(std::memory_order_acquire)) == old)
        if (waits != Waits::Polling) Futex(word, FUTEX_WAIT, old, waits == Waits::AsleepWithLimit ? &kLimit : nullptr);
    return value;
}

void Advance(std::atomic<uint32_t>& word, uint32_t value, Waits waits)
{
    word.store(value, std::memory_order_release);
    if (waits != Waits::Polling) Futex(word, FUTEX_WAKE, 1);
}

void RawBlocked(benchmark::State& state, Waits waits, unsigned otherCpu)
{
    const SharedWords<Words> words;
    Partner echo(
        [&](const Partner& line)
        {
            PinTo(otherCpu);
            line.Say();
            for (uint32_t value = 0; (value = AwaitOther(words->there, value, waits)) != kEnd;)
                Advance(words->back, value, waits);
        });
    PinTo(0);
    echo.Hear();
    uint32_t value = 0;
    for (auto _ : state)
    {
        Advance(words->there, value + 1, waits);
        value = AwaitOther(words->back, value, waits);
    }
    Advance(words->there, kEnd, waits);
}

// The two processors are near to each other at one time and far at another, as the machine below this one places them:
// bare words and rail take turns of some round trips between the same two processes.
void RailSpin(benchmark::State& state)
{
    constexpr int kTurn = 128;
    constexpr Waits kPolling = Waits::Polling;
    RoundRails rails(static_cast<uint32_t>(state.range(0)));
    const SharedWords<Words> words;
    Partner echo(
        [&](const Partner& line)
        {
            PinTo(1);
            line.Hear();
            rails.Open();
            line.Say();
            for (uint32_t value = 0;;)
            {
                for (int i = 0; i < kTurn; ++i)
                {
                    value = AwaitOther(words->there, value, kPolling);
                    if (value == kEnd) return;
                    Advance(words->back, value, kPolling);
                }
                for (int i = 0; i < kTurn; ++i)
                    if (!rails.SendBack(true)) return;
            }
        });
    PinTo(0);
    rails.Create();
    echo.Say();
    echo.Hear();
    struct Turn
    {
        double rawNs, railNs;
    };
    std::vector<Turn> turns;
    uint32_t value = 0;
    for (auto _ : state)
    {
        const int64_t begin = NowNs();
        for (int i = 0; i < kTurn; ++i)
        {
            Advance(words->there, value + 1, kPolling);
            value = AwaitOther(words->back, value, kPolling);
        }
        const int64_t middle = NowNs();
        for (int i = 0; i < kTurn; ++i)
            if (!rails.GoThereAndBack(true)) [[unlikely]]
                state.SkipWithError("a lock failed");
        const int64_t end = NowNs();
        turns.push_back({static_cast<double>(middle - begin) / kTurn, static_cast<double>(end - middle) / kTurn});
        state.SetIterationTime(turns.back().railNs * 1e-9);
    }
    Advance(words->there, kEnd, kPolling);
    rails.Out->Close();
    // Both figures of the turn whose ratio is the median one, so that they come from the same moment.
    const auto median = turns.begin() + static_cast<std::ptrdiff_t>(turns.size() / 2);
    std::nth_element(turns.begin(), median, turns.end(),
                     [](const Turn& left, const Turn& right)
                     { return left.railNs * right.rawNs < right.railNs * left.rawNs; });
    state.counters["raw_ns"] = median->rawNs;
    state.counters["rail_ns"] = median->railNs;
}

// ---- one way ----

void OneWay(benchmark::State& state, OneWayRoad* (*make)(uint32_t, unsigned), unsigned receiverCpu)
{
    PinTo(0);
    const std::unique_ptr<OneWayRoad> road(make(static_cast<uint32_t>(state.range(0)), receiverCpu));
    std::vector<int64_t> times;
    for (auto _ : state)
    {
        times.push_back(road->Measure());
        state.SetIterationTime(static_cast<double>(times.back()) * 1e-9);
        std::this_thread::sleep_for(std::chrono::microseconds(200)); // the receiver falls asleep again
    }
    state.counters["median_ns"] = static_cast<double>(bench::Median(std::move(times)));
}

// ---- the table ----

// Prints as usual and keeps the median of each benchmark.
class Medians : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median" && !run.error_occurred)
            {
                const std::string name = run.run_name.function_name + "/" + run.run_name.args;
                Ns[name] = run.GetAdjustedRealTime();
                for (const auto& [counter, value] : run.counters)
                    Ns[counter == "median_ns" ? name : name + ":" + counter] = value.value;
            }
        ConsoleReporter::ReportRuns(runs);
    }

    // A limit of 0 is none: the figure is told for its own sake.
    void Compare(const char* what, const std::string& left, const std::string& right, double limit) const
    {
        const auto first = Ns.find(left), second = Ns.find(right);
        if (first == Ns.end() || second == Ns.end()) return;
        const double ratio = first->second / second->second;
        Print(what, first->second, second->second, ratio, limit);
    }
    void CompareTo(const char* what, const std::string& left, double figure, double limit) const
    {
        const auto first = Ns.find(left);
        if (first != Ns.end()) Print(what, first->second, figure, first->second / figure, limit);
    }

private:
    static void Print(const char* what, double left, double right, double ratio, double limit)
    {
        std::printf("%-52s %9.0f / %9.0f ns = %5.2f", what, left, right, ratio);
        if (limit > 0) std::printf("   to reach: <= %.2f  %s", limit, ratio <= limit ? "reached" : "MISSED");
        std::printf("\n");
    }
    std::map<std::string, double> Ns;
};
} // namespace

int main(int argc, char** argv)
{
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=7", interleaving[] = "--benchmark_enable_random_interleaving=true",
         minimum[] = "--benchmark_min_time=0.1", aggregates[] = "--benchmark_display_aggregates_only=true";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, minimum, aggregates});
    int count = static_cast<int>(arguments.size());

    using benchmark::RegisterBenchmark;
    RegisterBenchmark("FullCycle", FullCycle)->Arg(0)->UseManualTime()->Iterations(200);
    const auto rawBlocked = [](const char* name, Waits waits, unsigned cpu) {
        RegisterBenchmark(name, [=](benchmark::State& state) { RawBlocked(state, waits, cpu); })->Arg(0)->UseRealTime();
    };
    rawBlocked("RawFutexOneCpu", Waits::Asleep, 0);
    rawBlocked("RawFutexLimitOneCpu", Waits::AsleepWithLimit, 0);
    rawBlocked("RawFutexAcross", Waits::Asleep, 1);
    const auto oneWay = [](const std::string& name, OneWayRoad* (*make)(uint32_t, unsigned), int64_t size, unsigned cpu)
    {
        RegisterBenchmark((name + (cpu == 0 ? "OneCpu" : "Across")).c_str(),
                          [=](benchmark::State& state) { OneWay(state, make, cpu); })
            ->Arg(size)
            ->UseManualTime()
            ->Iterations(300);
    };
    for (const unsigned cpu : {0u, 1u})
        oneWay("RawOneWay", NewFutexRoad, 0, cpu);
    const bool hasGStreamer = HasGStreamer();
    for (const int64_t size : kSizes)
    {
        RegisterBenchmark("RailSpin", RailSpin)->Arg(size)->UseManualTime()->Iterations(200);
        RegisterBenchmark("RailBlockedOneCpu", [](benchmark::State& state) { RailBlocked(state, 0); })
            ->Arg(size)
            ->UseRealTime();
        RegisterBenchmark("RailBlockedAcross", [](benchmark::State& state) { RailBlocked(state, 1); })
            ->Arg(size)
            ->UseRealTime();
        for (const unsigned cpu : {0u, 1u})
        {
            oneWay("RailOneWay", NewRailRoad, size, cpu);
            if (hasGStreamer) oneWay("GStreamerOneWay", NewGStreamerRoad, size, cpu);
        }
    }
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;
    Medians medians;
    benchmark::RunSpecifiedBenchmarks(&medians);

    std::printf("\nMedians of the run above; a figure without a partner here was measured on the reference machine.\n");
    const char* const sizes[] = {"4 KiB", "4 MiB", "40 MiB"};
    for (size_t index = 0; index < std::size(kSizes); ++index)
    {
        const std::string size = "/" + std::to_string(kSizes[index]);
        std::printf("%s\n", sizes[index]);
        const std::string cycle = "FullCycle/0:rail_" + std::to_string(kSizes[index]) + "_ns";
        medians.Compare("  full cycle / least ring under six locks", cycle, "FullCycle/0:six_locks_ns", 150.0 / 106);
        medians.CompareTo("  full cycle / iceoryx loan to release, 427 ns", cycle, 427, 0.35);
        medians.Compare("  full cycle / least ring", cycle, "FullCycle/0:least_ns", 0);
        medians.Compare("  full cycle / the one of 4 KiB", cycle, "FullCycle/0:rail_4096_ns", 0);
        medians.Compare("  spinning there and back / two bare words", "RailSpin" + size + ":rail_ns",
                        "RailSpin" + size + ":raw_ns", 0); // what is to be reached goes with the level of the words
        medians.CompareTo("  asleep, one vCPU / iceoryx WaitSet, 7900 ns", "RailBlockedOneCpu" + size, 7900, 0.65);
        medians.Compare("  asleep, one vCPU / bare futex", "RailBlockedOneCpu" + size, "RawFutexOneCpu/0", 1.15);
        medians.Compare("  the same / bare futex with a time limit", "RailBlockedOneCpu" + size,
                        "RawFutexLimitOneCpu/0", 0);
        medians.Compare("  asleep, across / bare futex", "RailBlockedAcross" + size, "RawFutexAcross/0", 0);
        medians.Compare("  one way, one vCPU / GStreamer shm", "RailOneWayOneCpu" + size,
                        "GStreamerOneWayOneCpu" + size, 0.7);
        medians.Compare("  one way, across / GStreamer shm", "RailOneWayAcross" + size, "GStreamerOneWayAcross" + size,
                        0.7);
        medians.Compare("  one way, across / bare futex", "RailOneWayAcross" + size, "RawOneWayAcross/0", 0);
    }
    return 0;
}

// Cost of ZEFA_LockSlot + ZEFA_GetSlotBuffer + ZEFA_UnlockSlot above the rail operations that they stand for: the same
// receive cycle once on the rail itself and once through the exported functions, in short turns one after the other, so
// that a busy neighbour slows all of them alike. A producer in the same thread commits the slot of each cycle. Beside
// them turns the least ring there is under six locks, which tells how fast the machine is at such work.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "../support/FigureFile.h"
#include "../support/LeastRing.h"
#include "../support/SecondThread.h"
#include "../support/Turns.h"
#include "flowrail1.h"
#include "logger/CLogger.h"
#include "stream/CStreamModel.h"
#include "support/FakeRestClient.h"
#include "zefaline.h"

namespace
{
using Quillmont::Logger::CLogger;
using Quillmont::Trellis::Mxs::RtpEssence::BUFFER_INFO;
using Quillmont::Trellis::Zefa::CStreamModel;

constexpr uint32_t kSlotBytes = 4096; // nobody touches the bytes, so the size does not matter
constexpr uint32_t kSlots = 8;
constexpr uint32_t kNoWait = 0;
constexpr uint32_t kTimeoutMs = 100; // what the library locks with until it is told otherwise; a slot is always ready
constexpr int kRounds = 200;
constexpr int kQuietCycles = 5000; // of a turn
constexpr int kLoggedCycles = 100; // a turn that logs six functions a cycle takes long enough
const char* const kAboveRail = "lock, buffer and unlock above the rail, no sink";
const char* const kLeastRing = "the least ring under six locks of a std::mutex";

void Require(bool condition, const char* what)
{
    if (condition) return;
    std::fprintf(stderr, "bench_slots: %s failed\n", what);
    std::exit(1);
}

// A ring with its producer, a consumer of the bare rail, and a receive stream that consumes through the library. A
// cycle of one of them leaves the other's slot in the ring, so each catches up before its turn.
class Setup
{
public:
    Setup() : Producer(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP))
    {
        FLOW_RAIL_DESCRIPTOR descriptor{
            FLOW_RAIL_TYPE_FILE_MAP,
            {{"SlotBytes", std::to_string(kSlotBytes)}, {"SlotCount", std::to_string(kSlots)}, {"Role", "producer"}}};
        Require(Producer && Producer->Create(&descriptor) == FLOW_RAIL_OK, "making a rail");

        Rest.Stream.LockSize = kSlotBytes;
        Rest.Stream.BufferInfo = {{0, BUFFER_INFO(0, kSlotBytes)}};
        Rest.Stream.CommonConfig.ApplicativeBufferQueueDepth = kSlots;
        Rest.Stream.CommonStatus.FlowRailDescriptor.Type = descriptor.Type;
        Rest.Stream.CommonStatus.FlowRailDescriptor.Description = descriptor.Description;
        Rail.reset(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
        Require(Rail && Rail->Open(&descriptor) == FLOW_RAIL_OK, "opening the rail");
        Model = std::make_unique<CStreamModel>(&Rest, ZEFA_STREAM_TYPE_RX, ZEFA_ESSENCE_TYPE_ST2110_20);
        Require(Model->CreateStream() == ZEFA_NO_ERROR, "creating the stream");
    }

    ~Setup()
    {
        Rail->Close();
        Producer->Close();
    }

    // One consumer at a time is attached, so that none waits for another.
    void AttachBare() { Require(Rail->AddConsumer(&Consumer) == FLOW_RAIL_OK, "adding a consumer"); }
    void DetachBare() { Require(Rail->RemoveConsumer(&Consumer) == FLOW_RAIL_OK, "removing a consumer"); }
    void AttachModel() { Require(Model->StartStream() == ZEFA_NO_ERROR, "starting the stream"); }
    void DetachModel() { Require(Model->StopStream() == ZEFA_NO_ERROR, "stopping the stream"); }

    void Produce()
    {
        void* slot = nullptr;
        Require(Producer->LockProducer(kSlotBytes, kNoWait, &slot) == FLOW_RAIL_OK, "locking to write");
        Producer->AddMetadata(slot, FLOW_RAIL_METADATA_TIMESTAMP, 0, 1);
        Require(Producer->UnlockProducer(slot) == FLOW_RAIL_OK, "committing");
    }

    void BareCycle()
    {
        Produce();
        void* slot = nullptr;
        uint8_t* address = nullptr;
        Require(Rail->LockConsumer(&Consumer, kSlotBytes, kTimeoutMs, &slot) == FLOW_RAIL_OK, "locking to read");
        Require(Rail->GetSlotAddress(slot, &address) == FLOW_RAIL_OK, "the address");
        Require(Rail->UnlockConsumer(&Consumer, slot) == FLOW_RAIL_OK, "releasing");
    }

    void LibraryCycle()
    {
        Produce();
        ZEFA_SLOT slot = nullptr;
        uint8_t* address = nullptr;
        uint32_t size = 0;
        Require(ZEFA_LockSlot(Model.get(), &slot) == ZEFA_NO_ERROR, "ZEFA_LockSlot");
        Require(ZEFA_GetSlotBuffer(Model.get(), slot, ZEFA_BUFFER_VIDEO_0, &address, &size) == ZEFA_NO_ERROR,
                "ZEFA_GetSlotBuffer");
        Require(ZEFA_UnlockSlot(Model.get(), slot) == ZEFA_NO_ERROR, "ZEFA_UnlockSlot");
    }

    void TimestampCycle()
    {
        Produce();
        ZEFA_SLOT slot = nullptr;
        uint8_t* address = nullptr;
        uint32_t size = 0, count = 1;
        ZEFA_TIMESTAMP timestamp;
        Require(ZEFA_LockSlot(Model.get(), &slot) == ZEFA_NO_ERROR, "ZEFA_LockSlot");
        Require(ZEFA_GetSlotBuffer(Model.get(), slot, ZEFA_BUFFER_VIDEO_0, &address, &size) == ZEFA_NO_ERROR,
                "ZEFA_GetSlotBuffer");
        Require(ZEFA_GetSlotTimestamps(Model.get(), slot, ZEFA_BUFFER_VIDEO_0, &timestamp, &count) == ZEFA_NO_ERROR &&
                    count == 1,
                "ZEFA_GetSlotTimestamps");
        Require(ZEFA_UnlockSlot(Model.get(), slot) == ZEFA_NO_ERROR, "ZEFA_UnlockSlot");
    }

    void LeastRingCycle() { Require(Ring.LockedCycle(), "the least ring"); }
    void AttachNobody() {}

private:
    bench::LeastRing Ring;
    FakeRestClient Rest;
    std::unique_ptr<CFlowRail> Producer, Rail;
    std::unique_ptr<CStreamModel> Model;
    uint64_t Consumer = 0;
};

void SetLogging(const char* filter)
{
    Quillmont::Logger::LoggingParameters parameters;
    if (filter) parameters = {{"Debug", "StdOutputLog"}, {"Filter", filter}};
    CLogger::GetInstance()->Configure(parameters, "QUILLMONT ZEFA", 0);
}

std::string MachineName()
{
    std::ifstream cpuinfo("/proc/cpuinfo");
    for (std::string line; std::getline(cpuinfo, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown processor";
}

struct Kind
{
    const char* Name;
    const char* Filter; // null: no sink
    int Cycles;
    void (Setup::*Attach)();
    void (Setup::*Cycle)();
    void (Setup::*Detach)();
    std::vector<double> Nanoseconds; // a cycle, by turn
};
} // namespace

int main(int count, char** arguments)
{
    FigureFile figures(count, arguments);
    const bench::SecondThread second;

    Setup setup;
    Kind kinds[] = {
        {"rail alone: LockConsumer, GetSlotAddress, UnlockConsumer",
         nullptr,
         kQuietCycles,
         &Setup::AttachBare,
         &Setup::BareCycle,
         &Setup::DetachBare,
         {}},
        {"ZEFA_ slot functions, no sink",
         nullptr,
         kQuietCycles,
         &Setup::AttachModel,
         &Setup::LibraryCycle,
         &Setup::DetachModel,
         {}},
        {"the same with ZEFA_GetSlotTimestamps, no sink",
         nullptr,
         kQuietCycles,
         &Setup::AttachModel,
         &Setup::TimestampCycle,
         &Setup::DetachModel,
         {}},
        {"ZEFA_ slot functions, sink that prints errors only",
         "Error",
         kLoggedCycles,
         &Setup::AttachModel,
         &Setup::LibraryCycle,
         &Setup::DetachModel,
         {}},
        {"ZEFA_ slot functions, sink that prints all to /dev/null",
         "Error Debug",
         kLoggedCycles,
         &Setup::AttachModel,
         &Setup::LibraryCycle,
         &Setup::DetachModel,
         {}},
        {kLeastRing, nullptr, kQuietCycles, &Setup::AttachNobody, &Setup::LeastRingCycle, &Setup::AttachNobody, {}},
    };

    if (figures.OnlyLists())
    {
        for (const Kind& kind : kinds)
            figures.Add(kind.Name, 0);
        figures.Add(kAboveRail, 0);
        return 0;
    }

    // The sinks write to the standard streams; the table goes to what standard output was.
    FILE* table = fdopen(dup(STDOUT_FILENO), "w");
    const int nowhere = open("/dev/null", O_WRONLY);
    Require(table && nowhere >= 0, "opening the output");
    const int savedErrors = dup(STDERR_FILENO);
    for (int round = 0; round < kRounds; ++round)
    {
        for (Kind& kind : kinds)
        {
            (setup.*kind.Attach)();
            for (int i = 0; i < 16; ++i)
                (setup.*kind.Cycle)(); // aligns the consumer and warms the caches
            dup2(nowhere, STDOUT_FILENO);
            dup2(nowhere, STDERR_FILENO);
            SetLogging(kind.Filter);
            const auto start = std::chrono::steady_clock::now();
            for (int i = 0; i < kind.Cycles; ++i)
                (setup.*kind.Cycle)();
            const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
            SetLogging(nullptr);
            dup2(fileno(table), STDOUT_FILENO);
            dup2(savedErrors, STDERR_FILENO);
            (setup.*kind.Detach)();
            kind.Nanoseconds.push_back(time.count() / kind.Cycles);
        }
    }

    std::fprintf(table, "%s, %d rounds; ns a cycle, the producer's part included\n\n", MachineName().c_str(), kRounds);
    std::fprintf(table, "| cycle | median | least | above the rail (median of rounds) |\n|---|---|---|---|\n");
    double aboveRail = 0;
    for (const Kind& kind : kinds)
    {
        std::vector<double> above;
        for (size_t round = 0; round < kind.Nanoseconds.size(); ++round)
            above.push_back(kind.Nanoseconds[round] - kinds[0].Nanoseconds[round]);
        if (&kind == &kinds[1]) aboveRail = bench::Median(above);
        figures.Add(kind.Name, bench::Median(kind.Nanoseconds));
        std::fprintf(table, "| %s | %.0f | %.0f | %.0f |\n", kind.Name, bench::Median(kind.Nanoseconds),
                     *std::min_element(kind.Nanoseconds.begin(), kind.Nanoseconds.end()), bench::Median(above));
    }
    std::fprintf(table, "\nlock + buffer + unlock above the rail with no sink: %.0f ns\n", aboveRail);
    figures.Add(kAboveRail, aboveRail);
    std::fclose(table);
    return figures.Write() ? 0 : 1;
}

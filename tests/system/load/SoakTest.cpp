// Video, audio and ancillary data, each sent and received through one service. Every slot has a number, so that every
// one that is missing is known, and what the processes hold has to stay what it was after the start.
//     system_soak                  a few seconds of small slots
//     system_soak --seconds 1800   1920 x 1080 at 25 frames a second, 16 channels of audio in slots of 1 ms, ancillary
//                                  data of 50 fields a second, and nothing may be lost
//     --longest-hold 100           as the service has it by default
#include "Stamp.h"
#include "support/HttpLibraryRaces.h"
#include "system/anc/AncRoad.h"
#include "system/faults/Leftovers.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <sched.h>
#include <sys/stat.h>

using namespace test;
using namespace std::chrono_literals;

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kJudgesMemory = false; // a sanitizer keeps what was freed
#else
constexpr bool kJudgesMemory = true;
#endif

int seconds = 0; // not told: the short form
// A machine that stands still for longer than a service gives its packets by default loses nothing.
std::string longestHold = "60000";

constexpr uint32_t kLockTimeoutMs = 1000;
constexpr uint32_t kAncLine = 9;
constexpr uint32_t kStream = 1; // of every stamp

struct Form
{
    StreamSettings video;
    AudioSettings audio;
    AncSettings ancillary;
    std::chrono::seconds time, warmUp, betweenLooks;
    bool mayLose; // what a machine that does not run the programs makes them lose, if all of it is counted
};

// The rings of the short form hold a second for a machine that is busy with other things.
Form ShortForm()
{
    return {.video = {.standard = ZEFA_VIDEO_STANDARD_720X480_I_59_94,
                      .networkDepth = ZEFA_SDP_VIDEO_DEPTH_8,
                      .applicationDepth = ZEFA_SDP_VIDEO_DEPTH_8,
                      .padding = ZEFA_BIT_PADDING_NONE,
                      .slots = 30,
                      .lockTimeoutMs = kLockTimeoutMs,
                      .port = FreeUdpPort()},
            .audio = {.format = {.codec = ZEFA_SDP_AUDIO_CODEC_L16, .channels = 2, .packetsPerBuffer = 1},
                      .paths = {FreeEndpoint()},
                      .slots = 1000,
                      .lockTimeoutMs = kLockTimeoutMs},
            .ancillary = {.standard = ZEFA_VIDEO_STANDARD_1920X1080_I_50,
                          .paths = {FreeEndpoint()},
                          .slots = 8,
                          .lockTimeoutMs = kLockTimeoutMs},
            .time = 4s,
            .warmUp = 1s,
            .betweenLooks = 1s,
            .mayLose = true};
}

Form LongForm()
{
    return {.video = {.standard = ZEFA_VIDEO_STANDARD_1920X1080_P_25,
                      .padding = ZEFA_BIT_PADDING_NONE,
                      .endianness = ZEFA_ENDIANNESS_BIG,
                      .slots = 25,
                      .lockTimeoutMs = kLockTimeoutMs,
                      .port = FreeUdpPort()},
            .audio = {.format = {.packetTime = ZEFA_SDP_PACKET_TIME_125US, .channels = 16, .packetsPerBuffer = 8},
                      .paths = {FreeEndpoint()},
                      .slots = 1000,
                      .lockTimeoutMs = kLockTimeoutMs},
            .ancillary = {.standard = ZEFA_VIDEO_STANDARD_1920X1080_I_50,
                          .paths = {FreeEndpoint()},
                          .slots = 25,
                          .lockTimeoutMs = kLockTimeoutMs},
            .time = std::chrono::seconds(seconds),
            .warmUp = std::chrono::seconds(std::min(60, seconds / 2)),
            .betweenLooks = 5s,
            .mayLose = false};
}

// From one stream to another: a thread that sends as fast as the ring lets it, and one that receives.
class Road
{
public:
    struct Shape
    {
        const char* name;
        ZEFA_BUFFER_TYPE firstBuffer;
        uint32_t buffers, partsOfBuffer; // a part has a stamp: a field, a packet of audio, an ancillary packet
    };

    Road(const Shape& shape, ZEFA_HANDLE sender, ZEFA_HANDLE receiver)
        : Formed(shape), Parts(shape.buffers * shape.partsOfBuffer), Sender(sender), Receiver(receiver),
          SendingThread([this] { Send(); }), ReceivingThread([this] { Receive(); })
    {
    }

    void End()
    {
        Ended = true;
        SendingThread.join();
        Underruns = StatusOf(Sender).UnderrunCount_ULL; // while there are slots to send: it goes on when they end
        SendingEnded = true;
        ReceivingThread.join();
    }

    // Behind the end.
    void Judge(bool mayLose) const
    {
        const ZEFA_STREAM_NETWORK_STATUS sent = StatusOf(Sender), received = StatusOf(Receiver);
        const uint64_t missing = Missing + (SentSlots * Parts - NextPart); // those behind the last one, too
        std::printf("%-10s %9llu %11llu %8llu %8llu %12llu %8llu %10llu\n", Formed.name, Number(SentSlots),
                    Number(Whole), Number(missing), Number(Marked), Number(received.LostPacketsCount_ULL),
                    Number(received.DropCount_ULL), Number(Underruns));
        EXPECT_LT(0u, Whole) << Formed.name;
        // Slots that found no room in the ring, and packets that were not sent as the conductor did not run for long.
        const uint64_t explained =
            received.DropCount_ULL * Parts + std::max(sent.LostPacketsCount_ULL, received.LostPacketsCount_ULL);
        EXPECT_GE(explained, missing) << Formed.name;
        EXPECT_TRUE(Marked == 0 || explained + sent.UnderrunCount_ULL > 0) << Formed.name; // audio marks pauses, too
        if (mayLose) return;
        EXPECT_EQ(0u, missing) << Formed.name;
        EXPECT_EQ(0u, explained) << Formed.name;
        EXPECT_EQ(0u, sent.LostPacketsCount_ULL) << Formed.name;
    }

    static void PrintHead()
    {
        std::printf("%-10s %9s %11s %8s %8s %12s %8s %10s\n", "", "slots", "parts whole", "missing", "marked",
                    "lost packets", "dropped", "underruns");
    }

    static unsigned long long Number(uint64_t number) { return number; }

private:
    bool IsAncillary() const { return Formed.firstBuffer == ZEFA_BUFFER_ANC_0; }

    static ZEFA_STREAM_NETWORK_STATUS StatusOf(ZEFA_HANDLE stream)
    {
        ZEFA_STREAM_NETWORK_STATUS status{};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamNetworkStatus(stream, &status));
        return status;
    }

    // Nothing when the time of the lock ran out.
    static ZEFA_SLOT Lock(ZEFA_HANDLE stream)
    {
        ZEFA_SLOT slot = nullptr;
        const ZEFA_ERRORCODE locked = ZEFA_LockSlot(stream, &slot);
        EXPECT_TRUE(locked == ZEFA_NO_ERROR || locked == ZEFA_ERR_TIMEOUT) << locked;
        return locked == ZEFA_NO_ERROR ? slot : nullptr;
    }

    void Send()
    {
        while (!Ended)
        {
            const ZEFA_SLOT slot = Lock(Sender);
            if (!slot) continue;
            IsAncillary() ? FillPacket(slot) : FillBuffers(slot);
            EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Sender, slot));
            ++SentSlots;
        }
    }

    void FillPacket(ZEFA_SLOT slot) const
    {
        ZEFA_ANC_PACKET* packet = nullptr;
        ZEFA_OK(ZEFA_SlotAncAllocatePacket(Sender, slot, kStampWords, &packet));
        packet->DID_UB = packet->SDID_UB = 0x60;
        packet->InHANC_B = 0;
        PutStamp(packet->UserWords_pUS, {kStream, 0, SentSlots});
        ZEFA_OK(ZEFA_SlotAncInsertPacket(Sender, slot, kAncLine, ZEFA_BUFFER_ANC_0, ZEFA_ANC_PACKET_INDEX_ALL, packet));
    }

    void FillBuffers(ZEFA_SLOT slot) const
    {
        for (uint32_t buffer = 0; buffer < Formed.buffers; ++buffer)
        {
            uint8_t* address = nullptr;
            uint32_t size = 0;
            ZEFA_OK(ZEFA_GetSlotBuffer(Sender, slot, Formed.firstBuffer + buffer, &address, &size));
            const size_t bytes = size / Formed.partsOfBuffer;
            for (uint32_t part = 0; part < Formed.partsOfBuffer; ++part)
                PutStamp(address + part * bytes, bytes, {kStream, buffer * Formed.partsOfBuffer + part, SentSlots});
        }
    }

    // Until the last part that was sent is there, or nothing has come for long.
    void Receive()
    {
        constexpr int kSilentLocks = 10;
        int silent = 0;
        while (silent < kSilentLocks && !(SendingEnded && NextPart == SentSlots * Parts))
        {
            const ZEFA_SLOT slot = Lock(Receiver);
            silent = slot || !SendingEnded ? 0 : silent + 1;
            if (!slot) continue;
            IsAncillary() ? ReadPacket(slot) : ReadBuffers(slot);
            EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Receiver, slot));
        }
    }

    bool HasLosses(ZEFA_SLOT slot, ZEFA_BUFFER_TYPE buffer) const
    {
        std::array<ZEFA_LOST_DATA, 16> losses{};
        uint32_t count = losses.size();
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotLostDataInfo(Receiver, slot, buffer, losses.data(), &count));
        return count != 0;
    }

    void ReadPacket(ZEFA_SLOT slot)
    {
        if (HasLosses(slot, ZEFA_BUFFER_ANC_0)) ++Marked;
        uint32_t count = 0;
        ZEFA_OK(ZEFA_SlotAncGetNbPackets(Receiver, slot, kAncLine, ZEFA_BUFFER_ANC_0, &count));
        for (uint32_t i = 0; i < count; ++i)
        {
            ZEFA_ANC_PACKET* packet = nullptr;
            ZEFA_OK(ZEFA_SlotAncGetPacket(Receiver, slot, kAncLine, ZEFA_BUFFER_ANC_0, int32_t(i), &packet));
            ASSERT_EQ(kStampWords, packet->DataCount_UB);
            Take(StampOf(packet->UserWords_pUS));
        }
    }

    // A packet of audio that did not come is silence, also where the sender had nothing to send. A field of which a
    // part is missing holds no stamp, or all of it is black; what is lost from the first field on is told of that one
    // alone.
    void ReadBuffers(ZEFA_SLOT slot)
    {
        bool marked = false;
        for (uint32_t buffer = 0; buffer < Formed.buffers; ++buffer)
        {
            uint8_t* address = nullptr;
            uint32_t size = 0;
            ZEFA_OK(ZEFA_GetSlotBuffer(Receiver, slot, Formed.firstBuffer + buffer, &address, &size));
            marked = marked || HasLosses(slot, Formed.firstBuffer + buffer);
            Marked += marked;
            const size_t bytes = size / Formed.partsOfBuffer;
            for (uint32_t part = 0; part < Formed.partsOfBuffer; ++part)
            {
                const std::optional<Stamp> stamp = FindStamp(address + part * bytes, bytes);
                if (stamp == Stamp{} && Formed.firstBuffer == ZEFA_BUFFER_AUDIO_0) continue;
                if (marked && (!stamp || stamp->stream != kStream)) continue;
                ASSERT_TRUE(stamp) << Formed.name << ", a part of a slot behind " << NextPart / Parts;
                Take(*stamp);
            }
        }
    }

    void Take(const Stamp& stamp)
    {
        ASSERT_EQ(kStream, stamp.stream);
        const uint64_t part = stamp.slot * Parts + stamp.part;
        ASSERT_LE(NextPart, part) << Formed.name << ": twice, or out of order";
        // The first slot may be that of which nothing is kept.
        Missing += NextPart == 0 && stamp.slot == 1 ? stamp.part : part - NextPart;
        NextPart = part + 1;
        ++Whole;
    }

    const Shape Formed;
    const uint64_t Parts; // of a slot
    const ZEFA_HANDLE Sender, Receiver;
    uint64_t SentSlots = 0; // read by others behind the end of sending
    uint64_t NextPart = 0, Whole = 0, Missing = 0, Marked = 0, Underruns = 0;
    std::atomic<bool> Ended = false, SendingEnded = false;
    std::thread SendingThread, ReceivingThread; // last: they use all of the others
};

// How long the machine lets a thread wait that is due every millisecond, on the conductor's core. What a sender gives
// up behind 100 ms of it is not the programs' loss.
class Pauses
{
public:
    Pauses() : Watcher([this] { Run(); }) {}

    void End()
    {
        Ended = true;
        Watcher.join();
    }
    void Print() const
    {
        std::printf("\n%u pauses of the machine above 100 ms, the longest %lld ms\n", Long,
                    static_cast<long long>(std::chrono::duration_cast<std::chrono::milliseconds>(Longest).count()));
    }

private:
    void Run()
    {
        cpu_set_t core;
        CPU_ZERO(&core);
        CPU_SET(0, &core);
        ::sched_setaffinity(0, sizeof core, &core);
        for (auto last = std::chrono::steady_clock::now(); !Ended;)
        {
            std::this_thread::sleep_for(1ms);
            const auto now = std::chrono::steady_clock::now();
            Longest = std::max(Longest, now - last);
            Long += now - last > 100ms;
            last = now;
        }
    }

    std::chrono::steady_clock::duration Longest{};
    unsigned Long = 0;
    std::atomic<bool> Ended = false;
    std::thread Watcher;
};

// What a process holds. KiB of memory of its own, which no file and no ring has.
struct Look
{
    uint64_t memory = 0;
    Holdings holdings{};
};

// Of several looks in a row, for the service opens files every second that it closes at once.
Holdings LeastHoldingsOf(pid_t process)
{
    Holdings least = HoldingsOf(process);
    for (int look = 0; look < 4; ++look)
    {
        std::this_thread::sleep_for(20ms);
        const Holdings again = HoldingsOf(process);
        least.descriptors = std::min(least.descriptors, again.descriptors);
        least.threads = std::min(least.threads, again.threads);
    }
    return least;
}

Look LookAt(pid_t process)
{
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    Look look{.holdings = LeastHoldingsOf(process)};
    std::string word;
    while (status >> word)
        if (word == "RssAnon:") status >> look.memory;
    return look;
}

uint64_t SharedKiB(pid_t service)
{
    uint64_t blocks = 0;
    for (const std::string& name : RailsOf(service))
    {
        struct stat info
        {
        };
        EXPECT_EQ(0, ::stat(name.c_str(), &info)) << name;
        blocks += uint64_t(info.st_blocks);
    }
    return blocks / 2;
}

// The looks at a process, from the end of the warm-up on.
class Watch
{
public:
    // The looks have their memory before the first, touched: they are part of what the application holds.
    Watch(const char* name, pid_t process, size_t looks) : Name(name), Process(process), Looks(looks) { Looks.clear(); }

    void Take() { Looks.push_back(LookAt(Process)); }

    void Judge(std::chrono::seconds betweenLooks) const
    {
        constexpr uint64_t kToleranceKiB = 64;
        const Look &first = Looks.front(), &last = Looks.back();
        const auto [least, most] = std::minmax_element(
            Looks.begin(), Looks.end(), [](const Look& a, const Look& b) { return a.memory < b.memory; });
        std::printf("%-12s %9llu %9llu %9llu %9llu %12.2f %12zu %8zu\n", Name, Road::Number(first.memory),
                    Road::Number(last.memory), Road::Number(least->memory), Road::Number(most->memory),
                    Slope(betweenLooks), last.holdings.descriptors, last.holdings.threads);
        if (kJudgesMemory)
        {
            EXPECT_LE(last.memory, first.memory + kToleranceKiB) << Name;
        }
        for (const Look& look : Looks)
            EXPECT_TRUE(look.holdings.NoMoreThan(first.holdings))
                << Name << ": " << look.holdings << ", at first " << first.holdings;
    }

    static void PrintHead()
    {
        std::printf("\n%-12s %9s %9s %9s %9s %12s %12s %8s\n", "KiB", "warm", "end", "least", "most", "KiB a minute",
                    "descriptors", "threads");
    }

private:
    // Of the line that fits best.
    double Slope(std::chrono::seconds betweenLooks) const
    {
        const auto count = double(Looks.size());
        double sumX = 0, sumY = 0, sumXY = 0, sumXX = 0;
        for (size_t i = 0; i < Looks.size(); ++i)
        {
            const double x = double(i) * double(betweenLooks.count()) / 60, y = double(Looks[i].memory);
            sumX += x, sumY += y, sumXY += x * y, sumXX += x * x;
        }
        const double spread = count * sumXX - sumX * sumX;
        return spread == 0 ? 0 : (count * sumXY - sumX * sumY) / spread;
    }

    const char* Name;
    const pid_t Process;
    std::vector<Look> Looks;
};

TEST(Soak, EverySlotArrivesAndMemoryStaysWhatItIs)
{
    const Form form = seconds ? LongForm() : ShortForm();
    MxsProcess service{{"--longest-hold", longestHold}};
    Session with(service.ServiceUrl());
    VideoStream videoIn(with, ZEFA_STREAM_TYPE_RX, form.video), videoOut(with, ZEFA_STREAM_TYPE_TX, form.video);
    AudioStream audioIn(with, ZEFA_STREAM_TYPE_RX, form.audio), audioOut(with, ZEFA_STREAM_TYPE_TX, form.audio);
    AncStream ancIn(with, ZEFA_STREAM_TYPE_RX, form.ancillary), ancOut(with, ZEFA_STREAM_TYPE_TX, form.ancillary);
    videoIn.Start(), audioIn.Start(), ancIn.Start();
    videoOut.Start(), audioOut.Start(), ancOut.Start();
    const uint32_t fields = form.video.standard == ZEFA_VIDEO_STANDARD_1920X1080_P_25 ? 1 : 2;

    std::deque<Road> roads;
    roads.emplace_back(Road::Shape{"video", ZEFA_BUFFER_VIDEO_0, fields, 1}, videoOut.Handle, videoIn.Handle);
    roads.emplace_back(Road::Shape{"audio", ZEFA_BUFFER_AUDIO_0, 1, form.audio.format.packetsPerBuffer},
                       audioOut.Handle, audioIn.Handle);
    roads.emplace_back(Road::Shape{"ancillary", ZEFA_BUFFER_ANC_0, 1, 1}, ancOut.Handle, ancIn.Handle);

    Pauses pauses;
    std::this_thread::sleep_for(form.warmUp);
    const auto looks = size_t(form.time / form.betweenLooks) + 2;
    Watch ofService("service", service.ProcessId(), looks), ofApplication("application", ::getpid(), looks);
    const uint64_t shared = SharedKiB(service.ProcessId());
    const auto end = std::chrono::steady_clock::now() + form.time - form.warmUp;
    do
    {
        ofService.Take();
        ofApplication.Take();
        EXPECT_EQ(shared, SharedKiB(service.ProcessId()));
        std::this_thread::sleep_for(form.betweenLooks);
    } while (std::chrono::steady_clock::now() < end && !HasFailure());
    ofService.Take();
    ofApplication.Take();

    for (Road& road : roads)
        road.End();
    pauses.End();
    Road::PrintHead();
    for (const Road& road : roads)
        road.Judge(form.mayLose);
    pauses.Print();
    Watch::PrintHead();
    ofService.Judge(form.betweenLooks);
    ofApplication.Judge(form.betweenLooks);
    std::printf("%-12s %9llu %9llu\n", "rings", Road::Number(shared), Road::Number(SharedKiB(service.ProcessId())));
}

// The allocator's caches of each thread fill for hours. Without them, here and in the service, a page more is one that
// was not given back.
void RunWithoutCaches(char** argv)
{
    constexpr const char* kName = "GLIBC_TUNABLES";
    if (::getenv(kName)) return;
    ::setenv(kName, "glibc.malloc.tcache_count=0:glibc.malloc.arena_max=1", 1);
    ::execv("/proc/self/exe", argv);
}

} // namespace

int main(int argc, char** argv)
{
    RunWithoutCaches(argv);
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i + 1 < argc; i += 2)
    {
        if (std::string(argv[i]) == "--seconds") seconds = std::stoi(argv[i + 1]);
        if (std::string(argv[i]) == "--longest-hold") longestHold = argv[i + 1];
    }
    return RUN_ALL_TESTS();
}

// One service with 64 contexts and 256 streams, and on one context 32 threads that call at random whatever may be
// called at once. Answers are those that may come, slots carry what was sent, and nothing is left of it at the end.
//     system_load                            a few seconds
//     system_load --seconds 600 [--seed N]   longer; a seed repeats what each thread chooses
#include "StreamPlace.h"
#include "support/HttpLibraryRaces.h"
#include "support/PtpScripts.h"
#include "system/faults/CleanService.h"
#include "system/faults/Leftovers.h"
#include "system/road/Road.h"

#include <atomic>
#include <cstdio>
#include <deque>
#include <functional>
#include <optional>

using namespace test;

namespace
{

int seconds = 3;
unsigned seed = std::random_device{}();

constexpr size_t kContexts = 64, kStreams = 256, kThreads = 32;
constexpr size_t kNeighbours = kContexts - 1, kNeighbourThreads = 4;
constexpr size_t kStreamsOfNeighbour = 3; // one that sends to another, and one that stays closed
constexpr size_t kBusyNeighbours = 8;     // whose streams are started
constexpr size_t kSharingNeighbours = 16; // with a conductor that they share
constexpr size_t kCrowdStreams = kStreams - kNeighbours * kStreamsOfNeighbour;
constexpr size_t kSteadyStreams = 6; // always started, so that slots of every essence go on: a pair of each
constexpr uint16_t kFirstPort = 20000;
constexpr uint16_t kIdlePort = 9; // dropped and allowed again
constexpr uint64_t kNobody = 0x1234;

void InParallel(size_t threads, const std::function<void(size_t)>& work)
{
    std::vector<std::thread> running;
    for (size_t i = 0; i < threads; ++i)
        running.emplace_back(work, i);
    for (std::thread& each : running)
        each.join();
}

// A thread's own.
struct Worker
{
    std::mt19937 random;
    Tally tally{};

    size_t Below(size_t count) { return random() % count; }
};

struct Formats
{
    explicit Formats(Session& session)
        : Video(Configuration::Video(session)), Audio(Configuration::Audio(session)),
          Ancillary(Configuration::Ancillary(session))
    {
    }

    // Of the crowd's pairs: the first three are the steady ones.
    const Configuration& OfPair(size_t pair) const
    {
        const Configuration* const first[] = {&Audio, &Ancillary, &Video, &Video, &Ancillary};
        return pair < std::size(first) ? *first[pair] : Audio;
    }

    const Configuration Video, Audio, Ancillary;
};

// Another application: it has a context, a conductor and three streams, and one thread at a time.
class Neighbour
{
public:
    Neighbour(const std::string& url, const Formats& formats, size_t index)
        : Url(url), IsBusy(index < kBusyNeighbours), Shares(index < kSharingNeighbours)
    {
        const auto number = uint32_t(kStreams + index);
        const auto port = uint16_t(kFirstPort + number);
        Streams.emplace_back(formats.Audio, ZEFA_STREAM_TYPE_RX, number, port);
        Streams.emplace_back(formats.Audio, ZEFA_STREAM_TYPE_TX, number, port);
        Streams.emplace_back(formats.Ancillary, ZEFA_STREAM_TYPE_RX, number, uint16_t(port + kStreams));
        static_assert(kStreamsOfNeighbour == 3);
    }

    void Begin(Worker& worker)
    {
        Own.emplace(Url);
        for (StreamPlace& stream : Streams)
            stream.Make(worker.tally, Own->Context, Own->Conductor);
        for (size_t i = 0; i < 2 && IsBusy; ++i)
        {
            Streams[i].Open(worker.tally);
            Streams[i].Start(worker.tally);
        }
    }

    void End(Worker& worker)
    {
        for (StreamPlace& stream : Streams)
            stream.End(worker.tally);
        if (Shared)
        {
            EXPECT_EQ(ZEFA_NO_ERROR,
                      NOTED(worker.tally, ZEFA_DestroyConductor, Own->Context, std::exchange(Shared, 0)));
        }
        Own.reset();
    }

    void Act(Worker& worker)
    {
        const std::unique_lock alone(Mutex, std::try_to_lock);
        if (!alone) return;
        StreamPlace& stream = Streams[worker.Below(2)];
        switch (worker.Below(100))
        {
        case 0:
            End(worker);
            Begin(worker);
            break;
        case 1: ChangeShared(worker); break;
        case 2: stream.Remake(worker.tally, Own->Context, Own->Conductor); break;
        case 3: Streams[2].GetNetworkStatus(worker.tally); break;
        case 4: stream.GetNetworkStatus(worker.tally); break;
        case 5: stream.Open(worker.tally); break;
        default:
            if (IsBusy) stream.Work(worker.tally, worker.random);
        }
    }

private:
    void ChangeShared(Worker& worker)
    {
        if (!Shares) return;
        if (Shared)
            NOTED(worker.tally, ZEFA_DestroyConductor, Own->Context, std::exchange(Shared, 0));
        else
            NOTED(worker.tally, ZEFA_CreateConductor, Own->Context, 1, &Shared);
    }

    const std::string Url;
    const bool IsBusy, Shares;
    std::mutex Mutex;
    std::optional<Session> Own;
    uint64_t Shared = 0;
    std::deque<StreamPlace> Streams;
};

// The application with the many threads.
class Crowd
{
public:
    explicit Crowd(const std::string& url) : Url(url), Own(url), Formed(Own)
    {
        Interface = InterfaceNamed(Own.Context, "lo");
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetCPUCoreFromOSId(Own.Context, 0, &Core));
        for (size_t i = 0; i < kCrowdStreams; ++i)
        {
            const auto pair = uint32_t(i / 2);
            const ZEFA_STREAM_TYPE type = i % 2 == 0 ? ZEFA_STREAM_TYPE_RX : ZEFA_STREAM_TYPE_TX;
            Streams.emplace_back(Formed.OfPair(pair), type, pair + 1, uint16_t(kFirstPort + pair));
        }
        for (size_t i = 0; i < kNeighbours; ++i)
            Neighbours.emplace_back(url, Formed, i);
        for (unsigned i = 0; i < std::max(kThreads + kNeighbourThreads, kNeighbours); ++i)
            Workers.push_back({.random = std::mt19937(seed + i)});
    }

    void Begin()
    {
        InParallel(kThreads,
                   [this](size_t thread)
                   {
                       for (size_t i = thread; i < kNeighbours; i += kThreads)
                           Neighbours[i].Begin(Workers[thread]);
                       for (size_t i = thread; i < kCrowdStreams; i += kThreads)
                           Streams[i].Make(Workers[thread].tally, Own.Context, Own.Conductor);
                   });
        for (size_t i = 0; i < kSteadyStreams; ++i)
        {
            Streams[i].Open(Workers[0].tally);
            Streams[i].Start(Workers[0].tally);
        }
    }

    // Each thread does first its part of all that there is to do, and then what chance tells it.
    void Run();

    // However slow the machine is, a slot of each essence arrives.
    void AwaitSlots()
    {
        Worker& worker = Workers[0];
        for (size_t i = 0; i < kSteadyStreams; i += 2)
            EXPECT_TRUE(Await(
                [&]
                {
                    Streams[i].Work(worker.tally, worker.random);
                    Streams[i + 1].Work(worker.tally, worker.random);
                    return Streams[i].WholeSlots() != 0;
                }))
                << Streams[i].Settings().name;
    }

    void End()
    {
        InParallel(kNeighbours, [this](size_t i) { Neighbours[i].End(Workers[i]); });
        for (StreamPlace& stream : Streams)
            stream.End(Workers[0].tally);
        for (std::atomic<uint64_t>& conductor : Conductors)
            Forget(Workers[0], conductor);
    }

    Tally Calls() const
    {
        Tally sum;
        for (const Worker& worker : Workers)
            sum += worker.tally;
        return sum;
    }

    void PrintSlots()
    {
        for (const Configuration* format : {&Formed.Video, &Formed.Audio, &Formed.Ancillary})
        {
            uint64_t slots = 0;
            for (StreamPlace& stream : Streams)
                if (stream.IsReceiver() && &stream.Settings() == format) slots += stream.WholeSlots();
            std::printf("%llu slots of %s received whole\n", static_cast<unsigned long long>(slots), format->name);
        }
    }

private:
    struct Action
    {
        unsigned weight;
        void (Crowd::*run)(Worker& worker);
    };
    static const Action kActions[];

    // Streams. The steady ones have to go on.
    StreamPlace& AnyStream(Worker& worker) { return Streams[worker.Below(kCrowdStreams)]; }
    StreamPlace& Unsteady(Worker& worker)
    {
        return Streams[kSteadyStreams + worker.Below(kCrowdStreams - kSteadyStreams)];
    }
    uint64_t ForAStream(Worker& worker) { return worker.Below(2) ? Own.Conductor : AnyConductor(worker); }

    template <void (StreamPlace::*kCall)(Tally&)>
    void OfAny(Worker& worker)
    {
        (AnyStream(worker).*kCall)(worker.tally);
    }
    template <void (StreamPlace::*kCall)(Tally&)>
    void OfUnsteady(Worker& worker)
    {
        (Unsteady(worker).*kCall)(worker.tally);
    }
    void Work(Worker& worker)
    {
        StreamPlace& stream = worker.Below(2) ? Streams[worker.Below(kSteadyStreams)] : Unsteady(worker);
        stream.Work(worker.tally, worker.random);
    }
    void GiveBack(Worker& worker) { Streams[worker.Below(kSteadyStreams)].GiveBack(worker.tally); }
    void SetCommon(Worker& worker) { Unsteady(worker).SetCommon(worker.tally, ForAStream(worker)); }
    void Remake(Worker& worker) { Unsteady(worker).Remake(worker.tally, Own.Context, ForAStream(worker)); }

    // Conductors of the crowd, which anybody may end while others use them.
    uint64_t AnyConductor(Worker& worker)
    {
        const uint64_t id = Conductors[worker.Below(Conductors.size())];
        return id ? id : kNobody;
    }
    void CreateConductor(Worker& worker)
    {
        uint64_t id = 0;
        if (NOTED(worker.tally, ZEFA_CreateConductor, Own.Context, 0, &id) == ZEFA_NO_ERROR) Keep(worker, id);
    }
    void AddSharedConductor(Worker& worker)
    {
        uint64_t ids[ZEFA_MAX_LIST_IDS];
        uint32_t count = 0;
        NOTED(worker.tally, ZEFA_GetSharedConductorList, Own.Context, ids, &count);
        const uint64_t id = count ? ids[worker.Below(count)] : kNobody;
        if (NOTED(worker.tally, ZEFA_AddSharedConductorToContext, Own.Context, id) == ZEFA_NO_ERROR) Keep(worker, id);
    }
    // In a free place, or not at all.
    void Keep(Worker& worker, uint64_t id)
    {
        uint64_t none = 0;
        if (Conductors[worker.Below(Conductors.size())].compare_exchange_strong(none, id)) return;
        NOTED(worker.tally, ZEFA_DestroyConductor, Own.Context, id);
    }
    void DestroyConductor(Worker& worker) { Forget(worker, Conductors[worker.Below(Conductors.size())]); }
    void Forget(Worker& worker, std::atomic<uint64_t>& place)
    {
        uint64_t id = place;
        if (NOTED(worker.tally, ZEFA_DestroyConductor, Own.Context, id ? id : kNobody) == ZEFA_NO_ERROR ||
            NOTED(worker.tally, ZEFA_GetConductorStatus, Own.Context, id, nullptr) != ZEFA_NO_ERROR)
            place.compare_exchange_strong(id, 0);
    }
    void GetConductorConfig(Worker& worker)
    {
        ZEFA_CONDUCTOR_CONFIG config{};
        NOTED(worker.tally, ZEFA_GetConductorConfig, Own.Context, AnyConductor(worker), &config);
    }
    void SetConductorConfig(Worker& worker)
    {
        const ZEFA_CONDUCTOR_CONFIG config{Core, 0};
        NOTED(worker.tally, ZEFA_SetConductorConfig, Own.Context, AnyConductor(worker), &config);
    }
    void GetConductorStatus(Worker& worker)
    {
        ZEFA_CONDUCTOR_STATUS status{};
        NOTED(worker.tally, ZEFA_GetConductorStatus, Own.Context, ForAStream(worker), &status);
    }
    void StartConductor(Worker& worker) { NOTED(worker.tally, ZEFA_StartConductor, Own.Context, AnyConductor(worker)); }
    void StopConductor(Worker& worker) { NOTED(worker.tally, ZEFA_StopConductor, Own.Context, AnyConductor(worker)); }

    void AskForCores(Worker& worker)
    {
        uint64_t ids[ZEFA_MAX_LIST_IDS];
        uint32_t count = 0;
        NOTED(worker.tally, ZEFA_GetCPUCoresHandlesList, Own.Context, ids, &count);
        EXPECT_LT(0u, count);
        uint64_t core = 0;
        NOTED(worker.tally, ZEFA_GetCPUCoreFromOSId, Own.Context, 0, &core);
        EXPECT_EQ(Core, core);
        ZEFA_CPU_CORE_STATUS status{};
        NOTED(worker.tally, ZEFA_GetCpuCoreStatus, Own.Context, core, &status);
        EXPECT_EQ(0u, status.CoreId_UL);
    }
    void AskForInterfaces(Worker& worker)
    {
        uint64_t ids[ZEFA_MAX_LIST_IDS];
        uint32_t count = 0;
        NOTED(worker.tally, ZEFA_GetNetworkInterfaceHandlesList, Own.Context, ids, &count);
        EXPECT_LT(0u, count);
        ZEFA_NETWORK_INTERFACE_CONFIG config{};
        NOTED(worker.tally, ZEFA_GetNetworkInterfaceConfig, Own.Context, Interface, &config);
        EXPECT_EQ(uint32_t{INADDR_LOOPBACK}, config.IP_UL);
        ZEFA_NETWORK_INTERFACE_STATUS status{};
        NOTED(worker.tally, ZEFA_GetNetworkInterfaceStatus, Own.Context, Interface, &status);
        EXPECT_STREQ("lo", status.SystemName_C);
    }
    void DropAndAllow(Worker& worker)
    {
        NOTED(worker.tally, ZEFA_DPDK_DropUdpPort, Own.Context, Interface, kIdlePort);
        NOTED(worker.tally, ZEFA_DPDK_AllowUdpPort, Own.Context, Interface, kIdlePort);
    }

    void AskForPtp(Worker& worker)
    {
        ZEFA_PTP_CONFIG config{};
        NOTED(worker.tally, ZEFA_GetPTPConfig, Own.Context, &config);
        EXPECT_EQ(sizeof config, config.Size_UL);
        ZEFA_PTP_STATUS status{};
        NOTED(worker.tally, ZEFA_GetPTPStatus, Own.Context, &status);
        EXPECT_EQ(ZEFA_PTP_PORT_STATE_DISABLED, status.PortState_E);
    }
    void SetPtp(Worker& worker)
    {
        ZEFA_PTP_CONFIG config{};
        NOTED(worker.tally, ZEFA_CreatePTPDSFromProfile, ZEFA_PTP_PROFILE_0, &config.DefaultDS, &config.PortDS);
        EXPECT_EQ(127, config.DefaultDS.DomainNumber_UB);
        if (worker.Below(16) == 0) --config.DefaultDS.Priority2_UB; // another one than before starts the daemon anew
        const bool isThere = worker.Below(4) != 0;
        config.NetworkInterfaceId_ULL = isThere ? Interface : kNobody;
        EXPECT_EQ(isThere ? ZEFA_NO_ERROR : ZEFA_ERR_BAD_ARGUMENT,
                  NOTED(worker.tally, ZEFA_SetPTPConfig, Own.Context, &config));
    }

    void AskForVersions(Worker& worker)
    {
        uint64_t version = 0;
        NOTED(worker.tally, ZEFA_GetMXSStatus, Own.Context, &version);
        EXPECT_NE(0u, version);
        ZEFA_LIBRARIES_STATUS libraries{};
        NOTED(worker.tally, ZEFA_GetLibrariesStatus, &libraries);
        EXPECT_EQ(uint64_t{0x0001000300000000}, libraries.ZefalineVersion);
        char text[ZEFA_ERROR_TEXT_CHARS];
        NOTED(worker.tally, ZEFA_ErrorToString, uint32_t(worker.Below(20)), text);
    }
    void MakeAContext(Worker& worker)
    {
        ZEFA_HANDLE context = nullptr;
        if (NOTED(worker.tally, ZEFA_CreateMXSContext, Url.c_str(), &context) == ZEFA_NO_ERROR)
            NOTED(worker.tally, ZEFA_DestroyMXSContext, context);
    }

    void WriteAndReadADescription(Worker& worker)
    {
        const Configuration& format = Formed.OfPair(worker.Below(3));
        ZEFA_SDP_INFO info{};
        std::snprintf(info.SessionName, sizeof info.SessionName, "session %zu", worker.Below(1000));
        char text[1000];
        uint32_t size = sizeof text;
        NOTED(worker.tally, ZEFA_WriteSDP, format.network.get(), &format.essence, &info, text, &size);
        const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
        ZEFA_ESSENCE_CONFIG essence{};
        ZEFA_SDP_INFO read{};
        NOTED(worker.tally, ZEFA_ReadSDP, text, nullptr, network.get(), &essence, &read);
        EXPECT_STREQ(info.SessionName, read.SessionName);
        EXPECT_EQ(format.essence.EssenceType_E, essence.EssenceType_E);
        EXPECT_EQ(format.network->Connections_X[0].DestinationIp_UL, network->Connections_X[0].DestinationIp_UL);
    }
    void AskForStandards(Worker& worker)
    {
        const auto standard = uint32_t(worker.Below(50));
        uint32_t numbers[5];
        uint8_t interlaced = 0, fractional = 0;
        NOTED(worker.tally, ZEFA_ST2110_20_GetVideoStandardInfo, int32_t(standard), &numbers[0], &numbers[1],
              &numbers[2], &interlaced, &fractional);
        NOTED(worker.tally, ZEFA_GetAncSdiVideoStandardInfo, standard, &numbers[0], &numbers[1], &numbers[2],
              &numbers[3], &numbers[4], &interlaced, &fractional);
    }

    const std::string Url;
    Session Own; // its conductor runs to the end
    const Formats Formed;
    uint64_t Interface = 0, Core = 0;
    std::array<std::atomic<uint64_t>, 8> Conductors{}; // 0: none
    std::deque<StreamPlace> Streams;
    std::deque<Neighbour> Neighbours;
    std::vector<Worker> Workers; // one for each thread that runs at once
};

const Crowd::Action Crowd::kActions[] = {
    {800, &Crowd::Work},
    {100, &Crowd::GiveBack},
    {80, &Crowd::OfUnsteady<&StreamPlace::Open>},
    {120, &Crowd::OfUnsteady<&StreamPlace::Start>},
    {50, &Crowd::OfUnsteady<&StreamPlace::Stop>},
    {40, &Crowd::OfUnsteady<&StreamPlace::Close>},
    {20, &Crowd::Remake},
    {40, &Crowd::SetCommon},
    {40, &Crowd::OfUnsteady<&StreamPlace::SetNetwork>},
    {40, &Crowd::OfUnsteady<&StreamPlace::SetEssence>},
    {40, &Crowd::OfAny<&StreamPlace::GetCommon>},
    {40, &Crowd::OfAny<&StreamPlace::GetNetwork>},
    {40, &Crowd::OfAny<&StreamPlace::GetEssence>},
    {60, &Crowd::OfAny<&StreamPlace::GetCommonStatus>},
    {60, &Crowd::OfAny<&StreamPlace::GetNetworkStatus>},
    {20, &Crowd::CreateConductor},
    {20, &Crowd::DestroyConductor},
    {20, &Crowd::AddSharedConductor},
    {20, &Crowd::GetConductorConfig},
    {20, &Crowd::SetConductorConfig},
    {20, &Crowd::GetConductorStatus},
    {40, &Crowd::StartConductor},
    {20, &Crowd::StopConductor},
    {20, &Crowd::AskForCores},
    {20, &Crowd::AskForInterfaces},
    {20, &Crowd::DropAndAllow},
    {20, &Crowd::AskForPtp},
    {20, &Crowd::SetPtp},
    {20, &Crowd::AskForVersions},
    {20, &Crowd::WriteAndReadADescription},
    {20, &Crowd::AskForStandards},
    {1, &Crowd::MakeAContext}, // whose end takes a second
};

void Crowd::Run()
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    const auto goOn = [&] { return std::chrono::steady_clock::now() < end && !testing::Test::HasFailure(); };
    std::vector<unsigned> weights;
    for (const Action& action : kActions)
        weights.push_back(action.weight);
    InParallel(kThreads + kNeighbourThreads,
               [&](size_t thread)
               {
                   Worker& worker = Workers[thread];
                   if (thread >= kThreads)
                   {
                       while (goOn())
                           Neighbours[worker.Below(kNeighbours)].Act(worker);
                       return;
                   }
                   for (size_t i = thread; i < std::size(kActions); i += kThreads)
                       (this->*kActions[i].run)(worker);
                   std::discrete_distribution<size_t> any(weights.begin(), weights.end());
                   while (goOn())
                       (this->*kActions[any(worker.random)].run)(worker);
               });
}

TEST(Load, EverythingThatMayBeCalledAtOnceAnswersAsItMayAndLeavesNothing)
{
    std::printf("seed %u\n", seed);
    CleanService service;
    const pid_t process = service.ProcessId();
    Holdings serviceBefore = HoldingsOf(process);
    serviceBefore.descriptors += PtpScripts::kDescriptors;
    serviceBefore.threads += PtpScripts::kThreads;
    {
        const Session once(service.ServiceUrl()); // the HTTP library's threads and descriptors stay
    }
    const Holdings before = HoldingsOf(::getpid());
    Tally calls;
    {
        Crowd crowd(service.ServiceUrl());
        crowd.Begin();
        crowd.Run();
        crowd.AwaitSlots();
        crowd.End();
        crowd.PrintSlots();
        calls = crowd.Calls();
    }
    calls.Print();
    std::printf("%llu calls\n", static_cast<unsigned long long>(calls.Calls()));
    EXPECT_EQ(std::vector<std::string>{}, calls.NeverCalled());

    EXPECT_TRUE(service.Running());
    EXPECT_TRUE(RailsOf(process).empty());
    EXPECT_TRUE(Await([&] { return HoldingsOf(::getpid()).NoMoreThan(before); }))
        << HoldingsOf(::getpid()) << ", before " << before;
    EXPECT_TRUE(Await([&] { return HoldingsOf(process).NoMoreThan(serviceBefore); }))
        << HoldingsOf(process) << ", before " << serviceBefore;
    service.Stop();
    EXPECT_TRUE(RailsOf(process).empty());
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i + 1 < argc; i += 2)
    {
        if (std::string(argv[i]) == "--seconds") seconds = std::stoi(argv[i + 1]);
        if (std::string(argv[i]) == "--seed") seed = unsigned(std::stoul(argv[i + 1]));
    }
    const PtpScripts scripts;
    return RUN_ALL_TESTS();
}

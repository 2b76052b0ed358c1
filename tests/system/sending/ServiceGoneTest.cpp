// A service that is killed under a running application, and the one that takes its place: what every call answers
// then, and that nothing is left of the old one when its handles are destroyed.
#include "support/LostService.h"
#include "system/anc/AncRoad.h"

#include <filesystem>
#include <fstream>
#include <malloc.h>

using namespace test;

namespace
{

constexpr ZEFA_ERRORCODE kGood = ZEFA_NO_ERROR, kComm = ZEFA_ERR_COMMUNICATION, kState = ZEFA_ERR_INCORRECT_STATE,
                         kFailed = ZEFA_ERR_OPERATION_FAILED, kHandle = ZEFA_ERR_INVALID_HANDLE;
constexpr ZEFA_ESSENCE_TYPE kVideo = ZEFA_ESSENCE_TYPE_ST2110_20, kAudio = ZEFA_ESSENCE_TYPE_ST2110_30,
                            kAncillary = ZEFA_ESSENCE_TYPE_ST2110_40;

// The handle alone, without the object that would stop, close and destroy it at a living service.
template <class Stream, class Settings>
ZEFA_HANDLE Started(Session& session, ZEFA_STREAM_TYPE type, const Settings& settings)
{
    Stream stream(session, type, settings);
    stream.Start();
    return std::exchange(stream.Handle, nullptr);
}

ZEFA_HANDLE StartedStream(Session& session, ZEFA_ESSENCE_TYPE essence, ZEFA_STREAM_TYPE type, const Endpoint& port)
{
    constexpr uint32_t kSlots = 4, kLockTimeoutMs = 200;
    switch (essence)
    {
    case kVideo:
        return Started<VideoStream>(
            session, type, StreamSettings{.slots = kSlots, .lockTimeoutMs = kLockTimeoutMs, .port = port.port});
    case kAudio:
        return Started<AudioStream>(session, type,
                                    AudioSettings{.paths = {port}, .slots = kSlots, .lockTimeoutMs = kLockTimeoutMs});
    default:
        return Started<AncStream>(session, type,
                                  AncSettings{.paths = {port}, .slots = kSlots, .lockTimeoutMs = kLockTimeoutMs});
    }
}

// What an application knows of a stream that runs.
struct Side
{
    const char* name;
    ZEFA_HANDLE stream = nullptr;
    ZEFA_SLOT slot = nullptr; // locked
    ZEFA_BUFFER_TYPE buffer = 0;
    ZEFA_STREAM_COMMON_CONFIG common{};
    ZEFA_STREAM_NETWORK_CONFIG network{};
    ZEFA_ESSENCE_CONFIG essence{};
};

// A receiver and a sender of one essence at work, each with a slot in the application's hands.
class Pair
{
public:
    Pair(Session& session, ZEFA_ESSENCE_TYPE essence)
    {
        const Endpoint port = FreeEndpoint();
        Receive.stream = StartedStream(session, essence, ZEFA_STREAM_TYPE_RX, port);
        Send.stream = StartedStream(session, essence, ZEFA_STREAM_TYPE_TX, port);
        const auto arrived = [&]
        {
            if (ZEFA_LockSlot(Send.stream, &Send.slot) == kGood) ZEFA_UnlockSlot(Send.stream, Send.slot);
            return ZEFA_LockSlot(Receive.stream, &Receive.slot) == kGood;
        };
        EXPECT_TRUE(Await([&] { return Receive.slot || arrived(); }));
        EXPECT_TRUE(Await([&] { return ZEFA_LockSlot(Send.stream, &Send.slot) == kGood; }));
        for (Side* side : {&Receive, &Send})
        {
            side->buffer = essence == kVideo   ? ZEFA_BUFFER_VIDEO_0
                           : essence == kAudio ? ZEFA_BUFFER_AUDIO_0
                                               : ZEFA_BUFFER_ANC_0;
            EXPECT_EQ(kGood, ZEFA_GetStreamCommonConfig(side->stream, &side->common));
            EXPECT_EQ(kGood, ZEFA_GetStreamNetworkConfig(side->stream, &side->network));
            EXPECT_EQ(kGood, ZEFA_GetStreamEssenceConfig(side->stream, &side->essence));
        }
    }

    Side Receive{"receive"}, Send{"send"};
};

struct StreamCall
{
    const char* name;
    ZEFA_ERRORCODE receive, send; // of a stream that was started
    ZEFA_ERRORCODE stopped;       // and of one that was stopped since
    ZEFA_ERRORCODE (*make)(Side& side);
};

// Takes slots and gives them back for as long as there are any: the ring is the application's still, and tells.
ZEFA_ERRORCODE LockUntilRefused(Side& side)
{
    for (int slots = 0; slots < 100; ++slots)
    {
        ZEFA_SLOT slot = nullptr;
        if (const ZEFA_ERRORCODE locked = ZEFA_LockSlot(side.stream, &slot); locked != kGood) return locked;
        EXPECT_EQ(kGood, ZEFA_UnlockSlot(side.stream, slot));
    }
    return kGood;
}

// Whatever asks the service fails. A slot that is locked lies in the application's memory and stays good until it is
// given back; after that there is no other.
const StreamCall kStreamCalls[] = {
    {"GetStreamCommonConfig", kComm, kComm, kComm,
     [](Side& side) { return ZEFA_GetStreamCommonConfig(side.stream, &side.common); }},
    {"SetStreamCommonConfig", kFailed, kFailed, kFailed,
     [](Side& side) { return ZEFA_SetStreamCommonConfig(side.stream, &side.common); }},
    {"GetStreamNetworkConfig", kComm, kComm, kComm,
     [](Side& side) { return ZEFA_GetStreamNetworkConfig(side.stream, &side.network); }},
    {"SetStreamNetworkConfig", kComm, kComm, kComm,
     [](Side& side) { return ZEFA_SetStreamNetworkConfig(side.stream, &side.network); }},
    {"GetStreamEssenceConfig", kComm, kComm, kComm,
     [](Side& side)
     {
         ZEFA_ESSENCE_CONFIG essence{};
         return ZEFA_GetStreamEssenceConfig(side.stream, &essence);
     }},
    {"SetStreamEssenceConfig", kComm, kComm, kComm,
     [](Side& side) { return ZEFA_SetStreamEssenceConfig(side.stream, &side.essence); }},
    {"GetStreamCommonStatus", kComm, kComm, kState,
     [](Side& side)
     {
         ZEFA_STREAM_COMMON_STATUS status{};
         return ZEFA_GetStreamCommonStatus(side.stream, &status);
     }},
    {"GetStreamNetworkStatus", kComm, kComm, kComm,
     [](Side& side)
     {
         ZEFA_STREAM_NETWORK_STATUS status{};
         return ZEFA_GetStreamNetworkStatus(side.stream, &status);
     }},
    {"OpenStream", kComm, kComm, kComm, [](Side& side) { return ZEFA_OpenStream(side.stream); }},
    {"StartStream", kComm, kComm, kComm, [](Side& side) { return ZEFA_StartStream(side.stream); }},
    {"CloseStream", kComm, kComm, kComm, [](Side& side) { return ZEFA_CloseStream(side.stream); }},
    {"GetSlotBuffer", kGood, kGood, kState,
     [](Side& side)
     {
         uint8_t* address = nullptr;
         uint32_t size = 0;
         return ZEFA_GetSlotBuffer(side.stream, side.slot, side.buffer, &address, &size);
     }},
    {"GetSlotTimestamps", kGood, kGood, kState,
     [](Side& side)
     {
         ZEFA_TIMESTAMP record{};
         uint32_t count = 1;
         return ZEFA_GetSlotTimestamps(side.stream, side.slot, side.buffer, &record, &count);
     }},
    {"SetSlotTimestamps", kFailed, kGood, kState,
     [](Side& side)
     {
         const ZEFA_TIMESTAMP record{0, 1};
         return ZEFA_SetSlotTimestamps(side.stream, side.slot, side.buffer, &record, 1);
     }},
    {"GetSlotLostDataInfo", kGood, kGood, kState,
     [](Side& side)
     {
         ZEFA_LOST_DATA record{};
         uint32_t count = 1;
         return ZEFA_GetSlotLostDataInfo(side.stream, side.slot, side.buffer, &record, &count);
     }},
    {"UnlockSlot", kGood, kGood, kState, [](Side& side) { return ZEFA_UnlockSlot(side.stream, side.slot); }},
    {"LockSlot", kState, kState, kState, LockUntilRefused},
};

struct AncillaryCall
{
    const char* name;
    ZEFA_ERRORCODE receive, send;  // of a stream that was started
    ZEFA_ERRORCODE receiveStopped; // and was stopped since; one that sends keeps what it is to send
    ZEFA_ERRORCODE (*make)(Side& side);
};

// On line 9 of the first buffer. They ask nobody; received packets lie in the ring, and a stop that fails leaves it.
const AncillaryCall kAncillaryCalls[] = {
    {"SlotAncAllocatePacket and SlotAncInsertPacket", kState, kGood, kState,
     [](Side& side)
     {
         ZEFA_ANC_PACKET* packet = nullptr;
         const ZEFA_ERRORCODE allocated = ZEFA_SlotAncAllocatePacket(side.stream, side.slot, 1, &packet);
         if (allocated != kGood) return allocated;
         return ZEFA_SlotAncInsertPacket(side.stream, side.slot, 9, side.buffer, ZEFA_ANC_PACKET_INDEX_ALL, packet);
     }},
    {"SlotAncGetNbPackets", kGood, kGood, kFailed,
     [](Side& side)
     {
         uint32_t count = 0;
         return ZEFA_SlotAncGetNbPackets(side.stream, side.slot, 9, side.buffer, &count);
     }},
    {"SlotAncGetPacket", kFailed, kGood, kFailed, // what arrived has none
     [](Side& side)
     {
         ZEFA_ANC_PACKET* packet = nullptr;
         return ZEFA_SlotAncGetPacket(side.stream, side.slot, 9, side.buffer, 0, &packet);
     }},
    {"SlotAncRemovePacket", kGood, kGood, kFailed,
     [](Side& side)
     { return ZEFA_SlotAncRemovePacket(side.stream, side.slot, 9, side.buffer, ZEFA_ANC_PACKET_INDEX_ALL, 0); }},
};

struct Application
{
    std::string url;
    ZEFA_HANDLE context = nullptr;
    uint64_t conductor = 0, core = 0, interface = 0;
};

struct ContextCall
{
    const char* name;
    ZEFA_ERRORCODE expected;
    ZEFA_ERRORCODE (*make)(const Application& with);
};

const ContextCall kContextCalls[] = {
    {"GetMXSStatus", kComm,
     [](const Application& with)
     {
         uint64_t version = 0;
         return ZEFA_GetMXSStatus(with.context, &version);
     }},
    {"CreateConductor", kState,
     [](const Application& with)
     {
         uint64_t conductor = 0;
         return ZEFA_CreateConductor(with.context, 0, &conductor);
     }},
    {"AddSharedConductorToContext", kComm,
     [](const Application& with) { return ZEFA_AddSharedConductorToContext(with.context, with.conductor); }},
    {"GetSharedConductorList", kState,
     [](const Application& with)
     {
         uint64_t ids[ZEFA_MAX_LIST_IDS];
         uint32_t count = 0;
         return ZEFA_GetSharedConductorList(with.context, ids, &count);
     }},
    {"GetConductorConfig", kComm,
     [](const Application& with)
     {
         ZEFA_CONDUCTOR_CONFIG config{};
         return ZEFA_GetConductorConfig(with.context, with.conductor, &config);
     }},
    {"SetConductorConfig", kComm,
     [](const Application& with)
     {
         const ZEFA_CONDUCTOR_CONFIG config{with.core, 0};
         return ZEFA_SetConductorConfig(with.context, with.conductor, &config);
     }},
    {"GetConductorStatus", kComm,
     [](const Application& with)
     {
         ZEFA_CONDUCTOR_STATUS status{};
         return ZEFA_GetConductorStatus(with.context, with.conductor, &status);
     }},
    {"StartConductor", kComm,
     [](const Application& with) { return ZEFA_StartConductor(with.context, with.conductor); }},
    {"StopConductor", kComm, [](const Application& with) { return ZEFA_StopConductor(with.context, with.conductor); }},
    {"DestroyConductor", kState,
     [](const Application& with) { return ZEFA_DestroyConductor(with.context, with.conductor); }},
    {"CreateStream", kState,
     [](const Application& with)
     {
         ZEFA_HANDLE stream = nullptr;
         return LeaveOutOfReach([&] { return ZEFA_CreateStream(with.context, ZEFA_STREAM_TYPE_RX, kVideo, &stream); });
     }},
    {"GetCPUCoresHandlesList", kState,
     [](const Application& with)
     {
         uint64_t ids[ZEFA_MAX_LIST_IDS];
         uint32_t count = 0;
         return ZEFA_GetCPUCoresHandlesList(with.context, ids, &count);
     }},
    {"GetCPUCoreFromOSId", kComm,
     [](const Application& with)
     {
         uint64_t core = 0;
         return ZEFA_GetCPUCoreFromOSId(with.context, 0, &core);
     }},
    {"GetCpuCoreStatus", kComm,
     [](const Application& with)
     {
         ZEFA_CPU_CORE_STATUS status{};
         return ZEFA_GetCpuCoreStatus(with.context, with.core, &status);
     }},
    {"GetNetworkInterfaceHandlesList", kState,
     [](const Application& with)
     {
         uint64_t ids[ZEFA_MAX_LIST_IDS];
         uint32_t count = 0;
         return ZEFA_GetNetworkInterfaceHandlesList(with.context, ids, &count);
     }},
    {"GetNetworkInterfaceConfig", kComm,
     [](const Application& with)
     {
         ZEFA_NETWORK_INTERFACE_CONFIG config{};
         return ZEFA_GetNetworkInterfaceConfig(with.context, with.interface, &config);
     }},
    {"GetNetworkInterfaceStatus", kComm,
     [](const Application& with)
     {
         ZEFA_NETWORK_INTERFACE_STATUS status{};
         return ZEFA_GetNetworkInterfaceStatus(with.context, with.interface, &status);
     }},
    {"DPDK_DropUdpPort", kComm,
     [](const Application& with) { return ZEFA_DPDK_DropUdpPort(with.context, with.interface, 5004); }},
    {"DPDK_AllowUdpPort", kComm,
     [](const Application& with) { return ZEFA_DPDK_AllowUdpPort(with.context, with.interface, 5004); }},
    {"GetPTPConfig", kComm,
     [](const Application& with)
     {
         ZEFA_PTP_CONFIG config{};
         return ZEFA_GetPTPConfig(with.context, &config);
     }},
    {"SetPTPConfig", kComm,
     [](const Application& with)
     {
         ZEFA_PTP_CONFIG config{};
         config.NetworkInterfaceId_ULL = with.interface;
         return ZEFA_SetPTPConfig(with.context, &config);
     }},
    {"GetPTPStatus", kComm,
     [](const Application& with)
     {
         ZEFA_PTP_STATUS status{};
         return ZEFA_GetPTPStatus(with.context, &status);
     }},
    {"DestroyMXSContext", kComm, [](const Application& with) { return ZEFA_DestroyMXSContext(with.context); }},
};

struct GoneCase
{
    const char* name;
    bool restarted; // another service has the port; the old one's token and identifiers mean nothing to it
};

const GoneCase kGoneCases[] = {{"Dead", false}, {"Restarted", true}};

const std::pair<const char*, ZEFA_ESSENCE_TYPE> kEssences[] = {
    {"Video", kVideo}, {"Audio", kAudio}, {"Ancillary", kAncillary}};

class ContextOfAServiceThatHasGone : public testing::TestWithParam<GoneCase>
{
};

class StreamOfAServiceThatHasGone
    : public testing::TestWithParam<std::tuple<GoneCase, std::pair<const char*, ZEFA_ESSENCE_TYPE>>>
{
};

} // namespace

TEST_P(ContextOfAServiceThatHasGone, EveryCallAnswersWithAnError)
{
    MxsProcess service;
    Session session(service.ServiceUrl());
    Application application{service.ServiceUrl(), session.Context, session.Conductor, 0,
                            InterfaceNamed(session.Context, "lo")};
    ZEFA_OK(ZEFA_GetCPUCoreFromOSId(session.Context, 0, &application.core));

    service.Stop(SIGKILL);
    std::optional<MxsProcess> next;
    if (GetParam().restarted) next.emplace(std::vector<std::string>{}, service.Port());

    for (const ContextCall& call : kContextCalls)
        EXPECT_EQ(call.expected, call.make(application)) << call.name;
    ZEFA_HANDLE another = nullptr;
    if (next)
    {
        const Session fresh(application.url); // makes all that an application needs, and unmakes it
    }
    else
    {
        EXPECT_EQ(kComm, LeaveOutOfReach([&] { return ZEFA_CreateMXSContext(application.url.c_str(), &another); }));
        EXPECT_EQ(nullptr, another);
    }
    next.reset();
    DestroyLostContext(service.Port(), session.Context);
}

INSTANTIATE_TEST_SUITE_P(Services, ContextOfAServiceThatHasGone, testing::ValuesIn(kGoneCases),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST_P(StreamOfAServiceThatHasGone, EveryCallAnswersAndTheRingIsLeft)
{
    const auto& [gone, essence] = GetParam();
    MxsProcess service;
    Session session(service.ServiceUrl());
    Pair pair(session, essence.second);

    service.Stop(SIGKILL);
    std::optional<MxsProcess> next;
    if (gone.restarted) next.emplace(std::vector<std::string>{}, service.Port());

    const bool ancillary = essence.second == kAncillary;
    for (Side* side : {&pair.Receive, &pair.Send})
    {
        const bool sends = side == &pair.Send;
        const auto expectAncillaryCalls = [&](bool stopped)
        {
            for (const AncillaryCall& call : kAncillaryCalls)
                EXPECT_EQ(!ancillary ? kHandle
                          : sends    ? call.send
                          : stopped  ? call.receiveStopped
                                     : call.receive,
                          call.make(*side))
                    << side->name << ": " << call.name;
        };
        expectAncillaryCalls(false);
        for (const StreamCall& call : kStreamCalls)
            EXPECT_EQ(sends ? call.send : call.receive, call.make(*side)) << side->name << ": " << call.name;
        EXPECT_EQ(kComm, ZEFA_StopStream(side->stream));
        expectAncillaryCalls(true);
        for (const StreamCall& call : kStreamCalls)
            EXPECT_EQ(call.stopped, call.make(*side)) << side->name << ", stopped: " << call.name;
        EXPECT_EQ(kComm, ZEFA_StopStream(side->stream));
        EXPECT_EQ(kState, ZEFA_DestroyStream(side->stream)); // and the handle is dead
    }
    next.reset();
    DestroyLostContext(service.Port(), session.Context);
}

INSTANTIATE_TEST_SUITE_P(Services, StreamOfAServiceThatHasGone,
                         testing::Combine(testing::ValuesIn(kGoneCases), testing::ValuesIn(kEssences)),
                         [](const auto& instance)
                         { return std::string(std::get<0>(instance.param).name) + std::get<1>(instance.param).first; });

namespace
{

// What this process holds of the system.
struct Holdings
{
    size_t descriptors = 0, threads = 0, rails = 0;

    static Holdings Now()
    {
        const auto entries = [](const char* folder)
        { return size_t(std::distance(std::filesystem::directory_iterator(folder), {})); };
        Holdings now{entries("/proc/self/fd"), entries("/proc/self/task")};
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);)
            now.rails += line.find("/dev/shm") != std::string::npos;
        return now;
    }

    bool operator==(const Holdings&) const = default;
};

std::ostream& operator<<(std::ostream& to, const Holdings& each)
{
    return to << each.descriptors << " descriptors, " << each.threads << " threads, " << each.rails << " mapped rails";
}

// In use, whoever still knows of it. The leak sanitizer sees what nobody does; where it takes malloc's place this is 0.
size_t HeapBytes()
{
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

// The HTTP library closes its sockets on a thread of its own.
Holdings Settled()
{
    Holdings before = Holdings::Now();
    for (;;)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        const Holdings now = Holdings::Now();
        if (now == before) return now;
        before = now;
    }
}

// An application whose service dies at its work, and which puts everything away. Tells the service's port.
std::string LoseAService(const std::string& port)
{
    MxsProcess service({}, port);
    Session session(service.ServiceUrl());
    std::vector<std::unique_ptr<Pair>> pairs;
    for (const auto& [name, essence] : kEssences)
        pairs.push_back(std::make_unique<Pair>(session, essence));
    EXPECT_LE(6u, Holdings::Now().rails);

    service.Stop(SIGKILL);

    for (const auto& pair : pairs)
        for (const Side* side : {&pair->Receive, &pair->Send})
        {
            EXPECT_EQ(kComm, ZEFA_StopStream(side->stream));
            EXPECT_EQ(kState, ZEFA_DestroyStream(side->stream));
        }
    EXPECT_EQ(0u, Holdings::Now().rails);
    DestroyLostContext(service.Port(), session.Context);
    return service.Port();
}

} // namespace

TEST(ServiceGone, RoundAfterRoundLeavesNoDescriptorThreadMappingOrMemory)
{
    const std::string port = LoseAService("0"); // what the HTTP library sets up once stays
    const Holdings first = Settled();
    const size_t firstHeap = HeapBytes();
    for (int round = 2; round <= 5; ++round)
    {
        LoseAService(port);
        EXPECT_TRUE(Await([&] { return Holdings::Now() == first; }))
            << "round " << round << ": " << Holdings::Now() << "; after the first: " << first;
    }
    // The HTTP library goes on to keep some kilobytes a round; each of the six streams has more than ten.
    EXPECT_LT(HeapBytes(), firstHeap + (size_t{128} << 10));
}

// The exported functions that talk to the service, each with what must stand before it and what undoes it.
#include "ControlCalls.h"

#include "support/LostService.h"

#include <chrono>
#include <cstring>
#include <thread>

namespace test
{

namespace
{

constexpr ZEFA_ERRORCODE kGood = ZEFA_NO_ERROR;
constexpr uint64_t kNobody = 0x1234; // no identifier of anything
constexpr uint16_t kPort = 5004;

template <class Value>
void Tell(std::string& told, const Value& value, size_t count = 1)
{
    told.append(reinterpret_cast<const char*>(&value), sizeof value * count);
}

template <ZEFA_ERRORCODE (*kList)(ZEFA_HANDLE, uint64_t*, uint32_t*)>
ZEFA_ERRORCODE MakeList(World& world, std::string& told)
{
    uint64_t ids[ZEFA_MAX_LIST_IDS] = {};
    uint32_t count = 0;
    const ZEFA_ERRORCODE result = kList(world.Context(), ids, &count);
    if (result == kGood) told.append(reinterpret_cast<const char*>(ids), sizeof ids[0] * count);
    return result;
}

template <class Record, ZEFA_ERRORCODE (*kRead)(ZEFA_HANDLE, Record*)>
ZEFA_ERRORCODE ReadStream(World& world, std::string& told)
{
    const auto record = std::make_unique<Record>(); // all zeros, what lies between the members too
    std::memset(static_cast<void*>(record.get()), 0, sizeof(Record));
    const ZEFA_ERRORCODE result = kRead(world.Stream(), record.get());
    if (result == kGood) Tell(told, *record);
    return result;
}

template <ZEFA_ERRORCODE (*kCall)(ZEFA_HANDLE)>
ZEFA_ERRORCODE OfStream(World& world, std::string&)
{
    return kCall(world.Stream());
}

template <ZEFA_ERRORCODE (*kCall)(ZEFA_HANDLE)>
void SettleStream(World& world)
{
    Settle([&] { return kCall(world.Stream()); });
}

template <ZEFA_ERRORCODE (*kCall)(ZEFA_HANDLE, uint64_t)>
ZEFA_ERRORCODE OfConductor(World& world, std::string&)
{
    return kCall(world.Context(), world.Conductor);
}

template <ZEFA_ERRORCODE (*kCall)(ZEFA_HANDLE, uint64_t)>
void SettleConductor(World& world)
{
    Settle([&] { return kCall(world.Context(), world.Conductor); });
}

void MakeConductor(World& world)
{
    Settle([&] { return ZEFA_CreateConductor(world.Context(), 0, &world.Made); });
}

void RemoveMadeConductor(World& world)
{
    if (world.Made) Settle([&] { return ZEFA_DestroyConductor(world.Context(), world.Made); });
    world.Made = 0;
}

// Whether it had been added nobody knows. One success or refusal of the service's is enough, and there is no third.
void RemoveSharedConductor(World& world)
{
    Settle(
        [&]
        {
            const ZEFA_ERRORCODE result = ZEFA_DestroyConductor(world.Context(), world.SharedConductor);
            uint64_t version = 0;
            return result == kGood ? kGood : ZEFA_GetMXSStatus(world.Context(), &version);
        });
    ZEFA_DestroyConductor(world.Context(), world.SharedConductor);
}

void RemoveMadeStream(World& world)
{
    // The object goes with the first attempt, whatever the service says.
    if (world.MadeStream) ZEFA_DestroyStream(std::exchange(world.MadeStream, nullptr));
}

void MakeStream(World& world)
{
    Settle(
        [&]
        {
            RemoveMadeStream(world); // of an attempt that has failed
            // An attempt on a connection that has ended fails, and leaves what it made.
            return LeaveOutOfReach(
                [&] {
                    return ZEFA_CreateStream(world.Context(), ZEFA_STREAM_TYPE_RX, ZEFA_ESSENCE_TYPE_ST2110_40,
                                             &world.MadeStream);
                });
        });
}

void DropPort(World& world) // once more is good too
{
    Settle([&] { return ZEFA_DPDK_DropUdpPort(world.Context(), world.Interface, kPort); });
}

// Whatever stood there before, the port passes.
void DropAndAllowPort(World& world)
{
    DropPort(world);
    Settle([&] { return ZEFA_DPDK_AllowUdpPort(world.Context(), world.Interface, kPort); });
}

void OpenAndStart(World& world)
{
    SettleStream<ZEFA_OpenStream>(world);
    SettleStream<ZEFA_StartStream>(world);
}

void StopAndClose(World& world)
{
    SettleStream<ZEFA_StopStream>(world);
    SettleStream<ZEFA_CloseStream>(world);
}

// That which a service has from its start, but for the interface: what is told of the daemon stays the same.
ZEFA_ERRORCODE SetPtp(World& world, uint64_t interfaceId)
{
    ZEFA_PTP_CONFIG config{};
    EXPECT_EQ(kGood, ZEFA_CreatePTPDSFromProfile(ZEFA_PTP_PROFILE_0, &config.DefaultDS, &config.PortDS));
    config.NetworkInterfaceId_ULL = interfaceId;
    return ZEFA_SetPTPConfig(world.Context(), &config);
}

ZEFA_ERRORCODE MakeContext(World& world, std::string&)
{
    return ZEFA_CreateMXSContext(world.Url.c_str(), &world.MadeContext);
}

ZEFA_ERRORCODE EndContext(World& world, std::string&)
{
    const ZEFA_ERRORCODE result = ZEFA_DestroyMXSContext(world.MadeContext);
    if (result == kGood) world.MadeContext = nullptr;
    return result;
}

const ControlCall kControlCalls[] = {
    {"GetMXSStatus", kGood,
     [](World& world, std::string& told)
     {
         uint64_t version = 0;
         const ZEFA_ERRORCODE result = ZEFA_GetMXSStatus(world.Context(), &version);
         Tell(told, version);
         return result;
     }},
    {.name = "CreateConductor",
     .expected = kGood,
     .make =
         [](World& world, std::string& told)
     {
         const ZEFA_ERRORCODE result = ZEFA_CreateConductor(world.Context(), 0, &world.Made);
         if (result == kGood) told = world.Made ? "made" : "";
         return result;
     },
     .undo = RemoveMadeConductor,
     .leavesWhatIsLost = true},
    {.name = "DestroyConductor",
     .expected = kGood,
     .make =
         [](World& world, std::string&)
     {
         const ZEFA_ERRORCODE result = ZEFA_DestroyConductor(world.Context(), world.Made);
         world.Made = 0;
         return result;
     },
     .prepare = MakeConductor,
     .leavesWhatIsLost = true},
    {.name = "AddSharedConductorToContext",
     .expected = kGood,
     .make = [](World& world, std::string&)
     { return ZEFA_AddSharedConductorToContext(world.Context(), world.SharedConductor); },
     .undo = RemoveSharedConductor},
    {.name = "GetSharedConductorList",
     .expected = kGood,
     .make = MakeList<ZEFA_GetSharedConductorList>,
     .readsLists = true},
    {"GetConductorConfig", kGood,
     [](World& world, std::string& told)
     {
         ZEFA_CONDUCTOR_CONFIG config{};
         const ZEFA_ERRORCODE result = ZEFA_GetConductorConfig(world.Context(), world.Conductor, &config);
         if (result == kGood) Tell(told, config.CpuCoreId_ULL);
         return result;
     }},
    {"SetConductorConfig", kGood,
     [](World& world, std::string&)
     {
         const ZEFA_CONDUCTOR_CONFIG config{world.Core, 0};
         return ZEFA_SetConductorConfig(world.Context(), world.Conductor, &config);
     }},
    {"GetConductorStatus", kGood,
     [](World& world, std::string& told)
     {
         ZEFA_CONDUCTOR_STATUS status{};
         const ZEFA_ERRORCODE result = ZEFA_GetConductorStatus(world.Context(), world.Conductor, &status);
         if (result == kGood) Tell(told, status.Throughput_ULL);
         return result;
     }},
    {.name = "StartConductor",
     .expected = kGood,
     .make = OfConductor<ZEFA_StartConductor>,
     .undo = SettleConductor<ZEFA_StopConductor>},
    {.name = "StopConductor",
     .expected = kGood,
     .make = OfConductor<ZEFA_StopConductor>,
     .prepare = SettleConductor<ZEFA_StartConductor>,
     .leave = SettleConductor<ZEFA_StopConductor>},
    {"StopConductor of nobody", ZEFA_ERR_NOT_FOUND,
     [](World& world, std::string&) { return ZEFA_StopConductor(world.Context(), kNobody); }},

    {.name = "GetCPUCoresHandlesList",
     .expected = kGood,
     .make = MakeList<ZEFA_GetCPUCoresHandlesList>,
     .readsLists = true},
    {.name = "GetCPUCoreFromOSId",
     .expected = kGood,
     .make =
         [](World& world, std::string& told)
     {
         uint64_t core = 0;
         const ZEFA_ERRORCODE result = ZEFA_GetCPUCoreFromOSId(world.Context(), 0, &core);
         if (result == kGood) Tell(told, core);
         return result;
     },
     .readsLists = true},
    {"GetCpuCoreStatus", kGood,
     [](World& world, std::string& told)
     {
         ZEFA_CPU_CORE_STATUS status{};
         const ZEFA_ERRORCODE result = ZEFA_GetCpuCoreStatus(world.Context(), world.Core, &status);
         if (result == kGood) Tell(told, status.CoreId_UL);
         return result;
     }},
    {.name = "GetNetworkInterfaceHandlesList",
     .expected = kGood,
     .make = MakeList<ZEFA_GetNetworkInterfaceHandlesList>,
     .readsLists = true},
    {"GetNetworkInterfaceConfig", kGood,
     [](World& world, std::string& told)
     {
         ZEFA_NETWORK_INTERFACE_CONFIG config{};
         const ZEFA_ERRORCODE result = ZEFA_GetNetworkInterfaceConfig(world.Context(), world.Interface, &config);
         if (result == kGood) Tell(told, config);
         return result;
     }},
    {"GetNetworkInterfaceStatus", kGood,
     [](World& world, std::string& told)
     {
         ZEFA_NETWORK_INTERFACE_STATUS status{};
         const ZEFA_ERRORCODE result = ZEFA_GetNetworkInterfaceStatus(world.Context(), world.Interface, &status);
         if (result == kGood) told += status.SystemName_C;
         return result;
     }},
    {.name = "DPDK_DropUdpPort",
     .expected = kGood,
     .make = [](World& world, std::string&) { return ZEFA_DPDK_DropUdpPort(world.Context(), world.Interface, kPort); },
     .prepare = DropAndAllowPort,
     .leave = DropAndAllowPort},
    {.name = "DPDK_AllowUdpPort",
     .expected = kGood,
     .make = [](World& world, std::string&) { return ZEFA_DPDK_AllowUdpPort(world.Context(), world.Interface, kPort); },
     .prepare = DropPort},
    {"GetPTPConfig", kGood,
     [](World& world, std::string& told)
     {
         ZEFA_PTP_CONFIG config{};
         const ZEFA_ERRORCODE result = ZEFA_GetPTPConfig(world.Context(), &config);
         if (result == kGood) Tell(told, config.DefaultDS.DomainNumber_UB);
         return result;
     }},
    // The first starts a daemon, which stays until the service ends.
    {"SetPTPConfig", kGood, [](World& world, std::string&) { return SetPtp(world, world.Interface); }},
    {"SetPTPConfig of nobody", ZEFA_ERR_BAD_ARGUMENT,
     [](World& world, std::string&) { return SetPtp(world, kNobody); }},
    {"GetPTPStatus", kGood,
     [](World& world, std::string& told)
     {
         ZEFA_PTP_STATUS status{};
         const ZEFA_ERRORCODE result = ZEFA_GetPTPStatus(world.Context(), &status);
         if (result == kGood) Tell(told, status.PortState_E);
         return result;
     }},

    {.name = "CreateStream",
     .expected = kGood,
     .make =
         [](World& world, std::string&) {
             return ZEFA_CreateStream(world.Context(), ZEFA_STREAM_TYPE_RX, ZEFA_ESSENCE_TYPE_ST2110_40,
                                      &world.MadeStream);
         },
     .undo = RemoveMadeStream,
     .leavesWhatIsLost = true,
     .losesAnObject = true},
    {.name = "DestroyStream",
     .expected = kGood,
     .make =
         [](World& world, std::string&)
     {
         const ZEFA_ERRORCODE result = ZEFA_DestroyStream(world.MadeStream);
         world.MadeStream = nullptr; // dead, whatever the result
         return result;
     },
     .prepare = MakeStream,
     .undo = RemoveMadeStream,
     .leavesWhatIsLost = true},
    {"GetStreamCommonConfig", kGood, ReadStream<ZEFA_STREAM_COMMON_CONFIG, ZEFA_GetStreamCommonConfig>},
    {"SetStreamCommonConfig", kGood,
     [](World& world, std::string&) { return ZEFA_SetStreamCommonConfig(world.Stream(), &world.Common); }},
    {.name = "GetStreamNetworkConfig",
     .expected = kGood,
     .make = ReadStream<ZEFA_STREAM_NETWORK_CONFIG, ZEFA_GetStreamNetworkConfig>,
     .readsLists = true},
    {"SetStreamNetworkConfig", kGood,
     [](World& world, std::string&) { return ZEFA_SetStreamNetworkConfig(world.Stream(), world.Network.get()); }},
    {.name = "GetStreamEssenceConfig",
     .expected = kGood,
     .make = ReadStream<ZEFA_ESSENCE_CONFIG, ZEFA_GetStreamEssenceConfig>,
     .ofTheEssence = true},
    {.name = "SetStreamEssenceConfig",
     .expected = kGood,
     .make = [](World& world, std::string&) { return ZEFA_SetStreamEssenceConfig(world.Stream(), &world.Essence); },
     .ofTheEssence = true},
    {"GetStreamNetworkStatus", kGood, ReadStream<ZEFA_STREAM_NETWORK_STATUS, ZEFA_GetStreamNetworkStatus>},
    {.name = "OpenStream",
     .expected = kGood,
     .make = OfStream<ZEFA_OpenStream>,
     .undo = SettleStream<ZEFA_CloseStream>},
    {.name = "CloseStream",
     .expected = kGood,
     .make = OfStream<ZEFA_CloseStream>,
     .prepare = SettleStream<ZEFA_OpenStream>,
     .leave = SettleStream<ZEFA_CloseStream>},
    {.name = "StartStream",
     .expected = kGood,
     .make = OfStream<ZEFA_StartStream>,
     .enter = SettleStream<ZEFA_OpenStream>,
     .undo = SettleStream<ZEFA_StopStream>,
     .leave = SettleStream<ZEFA_CloseStream>,
     .lastMayFail = true,
     .keepsMore = true,
     .ofTheEssence = true},
    {.name = "StopStream",
     .expected = kGood,
     .make = OfStream<ZEFA_StopStream>,
     .enter = OpenAndStart,
     .undo = SettleStream<ZEFA_StartStream>,
     .leave = StopAndClose,
     .keepsMore = true,
     .ofTheEssence = true},
    {.name = "GetStreamCommonStatus",
     .expected = kGood,
     .make = ReadStream<ZEFA_STREAM_COMMON_STATUS, ZEFA_GetStreamCommonStatus>,
     .enter = OpenAndStart,
     .leave = StopAndClose,
     .keepsMore = true},
};

const ControlCall kContextCalls[] = {
    {.name = "DestroyMXSContext",
     .expected = kGood,
     .make = EndContext,
     .prepare = [](World& world) // one whose end is not heard of stays
     { LeaveOutOfReach([&] { EXPECT_EQ(kGood, ZEFA_CreateMXSContext(world.Url.c_str(), &world.MadeContext)); }); }},
    {.name = "CreateMXSContext",
     .expected = kGood,
     .make = MakeContext,
     .undo =
         [](World& world)
     {
         std::string nothing;
         if (world.MadeContext) Settle([&] { return EndContext(world, nothing); });
     },
     .leavesWhatIsLost = true,
     .losesAnObject = true},
};

} // namespace

World::World(const std::string& url, ZEFA_ESSENCE_TYPE essence) : Url(url), EssenceType(essence), Own(url)
{
    constexpr uint32_t kSlots = 4, kLargeSlots = 2; // of megabytes, which each start fills
    const Endpoint path = FreeEndpoint();
    constexpr ZEFA_STREAM_TYPE kReceive = ZEFA_STREAM_TYPE_RX;
    const StreamSettings video{
        .standard = ZEFA_VIDEO_STANDARD_720X480_I_59_94, .slots = kLargeSlots, .port = path.port};
    const AudioSettings audio{.paths = {path}, .slots = kSlots};
    const AncSettings ancillary{.standard = ZEFA_VIDEO_STANDARD_1280X720_P_60, .paths = {path}, .slots = kLargeSlots};
    if (essence == ZEFA_ESSENCE_TYPE_ST2110_20)
        Receiving = Receiver.emplace<VideoStream>(Own, kReceive, video).Handle;
    else if (essence == ZEFA_ESSENCE_TYPE_ST2110_30)
        Receiving = Receiver.emplace<AudioStream>(Own, kReceive, audio).Handle;
    else
        Receiving = Receiver.emplace<AncStream>(Own, kReceive, ancillary).Handle;
    const ZEFA_HANDLE context = Own.Context;
    Interface = InterfaceNamed(context, "lo");
    EXPECT_EQ(kGood, ZEFA_GetCPUCoreFromOSId(context, 0, &Core));
    EXPECT_EQ(kGood, ZEFA_CreateConductor(context, 0, &Conductor));
    const ZEFA_CONDUCTOR_CONFIG config{Core, 0};
    EXPECT_EQ(kGood, ZEFA_SetConductorConfig(context, Conductor, &config));
    EXPECT_EQ(kGood, ZEFA_CreateMXSContext(url.c_str(), &Other));
    EXPECT_EQ(kGood, ZEFA_CreateConductor(Other, 1, &SharedConductor));
    EXPECT_EQ(kGood, ZEFA_CloseStream(Stream()));
    EXPECT_EQ(kGood, ZEFA_GetStreamCommonConfig(Stream(), &Common));
    EXPECT_EQ(kGood, ZEFA_GetStreamNetworkConfig(Stream(), Network.get()));
    EXPECT_EQ(kGood, ZEFA_GetStreamEssenceConfig(Stream(), &Essence));
}

World::~World()
{
    EndOfOther =
        std::async(std::launch::async, [other = Other] { Settle([&] { return ZEFA_DestroyMXSContext(other); }); });
    uint64_t version = 0; // a call that only asks finds a new connection, where the old ones have ended
    EXPECT_EQ(kGood, ZEFA_GetMXSStatus(Context(), &version));
}

std::span<const ControlCall> ControlCalls()
{
    return kControlCalls;
}

std::span<const ControlCall> ContextCalls()
{
    return kContextCalls;
}

std::vector<ControlCall> CallsBesideAStreamOf(const EssenceName& essence)
{
    std::vector<ControlCall> calls;
    for (const ControlCall& call : ControlCalls())
        if (essence.type == kEssences[0].type || call.ofTheEssence) calls.push_back(call);
    return calls;
}

std::string NameOf(const ControlCall& call, const EssenceName& essence)
{
    return call.ofTheEssence ? std::string(call.name) + " of " + essence.name : call.name;
}

void Settle(const std::function<ZEFA_ERRORCODE()>& call)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    ZEFA_ERRORCODE result = call();
    for (int attempt = 1; result != kGood && std::chrono::steady_clock::now() < end; ++attempt)
    {
        if (attempt >= kAttempts) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        result = call();
    }
    EXPECT_EQ(kGood, result);
}

} // namespace test

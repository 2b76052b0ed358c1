// Lives and deaths: several streams and contexts, a service that goes, an application that dies.
#include "Road.h"

#include "support/LostService.h"
#include "support/Rails.h"

#include <filesystem>

using namespace test;

namespace
{

TEST(Life, TwoStreamsOfOneConductorReceiveBesideEachOther)
{
    MxsProcess service;
    Session session(service.ServiceUrl());
    const PixelGroup& group = PixelGroupOf(0, 10);
    StreamSettings first, second;
    first.port = FreeUdpPort();
    ReceiveStream one(session, first);
    one.Start();
    second.port = FreeUdpPort();
    ReceiveStream two(session, second);
    two.Start();
    const Raster a = MakeRaster(1280, 720, group, 1), b = MakeRaster(1280, 720, group, 2);
    VideoSender toOne({.port = first.port}), toTwo({.port = second.port});
    SendLeadIn(toOne, a, group, 1);
    SendLeadIn(toTwo, b, group, 1);
    toOne.Send(toOne.Packets(a, group, 2));
    toTwo.Send(toTwo.Packets(b, group, 3));

    const std::vector<SlotBuffer> slotOne = TakeSlot(one), slotTwo = TakeSlot(two);
    ASSERT_EQ(1u, slotOne.size());
    ASSERT_EQ(1u, slotTwo.size());
    EXPECT_TRUE(slotOne[0].Words() == a.samples);
    EXPECT_TRUE(slotTwo[0].Words() == b.samples);
}

TEST(Life, ASharedConductorServesAStreamOfAnotherContext)
{
    MxsProcess service;
    ZEFA_HANDLE owner = nullptr, guest = nullptr;
    ZEFA_OK(ZEFA_CreateMXSContext(service.ServiceUrl().c_str(), &owner));
    ZEFA_OK(ZEFA_CreateMXSContext(service.ServiceUrl().c_str(), &guest));
    uint64_t core = 0, shared = 0, own = 0;
    ZEFA_OK(ZEFA_GetCPUCoreFromOSId(owner, 0, &core));
    ZEFA_OK(ZEFA_CreateConductor(owner, 1, &shared));
    ZEFA_OK(ZEFA_CreateConductor(owner, 0, &own));
    ZEFA_CONDUCTOR_CONFIG config{core, 0};
    ZEFA_OK(ZEFA_SetConductorConfig(owner, shared, &config));

    uint64_t ids[ZEFA_MAX_LIST_IDS];
    uint32_t count = 0;
    ZEFA_OK(ZEFA_GetSharedConductorList(guest, ids, &count));
    ASSERT_EQ(1u, count);
    EXPECT_EQ(shared, ids[0]);
    EXPECT_EQ(ZEFA_ERR_INCORRECT_STATE, ZEFA_AddSharedConductorToContext(guest, own));
    EXPECT_EQ(ZEFA_ERR_NOT_FOUND, ZEFA_AddSharedConductorToContext(guest, 0x1234));
    ZEFA_OK(ZEFA_AddSharedConductorToContext(guest, shared));
    ZEFA_OK(ZEFA_StartConductor(guest, shared));
    EXPECT_EQ(ZEFA_ERR_INCORRECT_STATE, ZEFA_SetConductorConfig(owner, shared, &config)); // it runs
    ZEFA_OK(ZEFA_StopConductor(owner, shared));
    ZEFA_OK(ZEFA_DestroyConductor(guest, shared));
    ZEFA_OK(ZEFA_DestroyMXSContext(guest));
    ZEFA_OK(ZEFA_DestroyMXSContext(owner));
}

TEST(Life, ConfigurationsComeBackAsTheyWereSet)
{
    MxsProcess service;
    Session session(service.ServiceUrl());
    StreamSettings settings;
    settings.port = 5004;
    settings.standard = ZEFA_VIDEO_STANDARD_1920X1080_I_59_94;
    settings.sampling = ZEFA_SDP_VIDEO_SAMPLING_RGB;
    settings.networkDepth = ZEFA_SDP_VIDEO_DEPTH_12;
    settings.destination = uint32_t(0xEF64010B);
    settings.multicastMode = ZEFA_MULTICAST_MODE_INCLUSION;
    settings.sources = {0x7F000002, 0x7F000003};
    ReceiveStream stream(session, settings);

    ZEFA_STREAM_COMMON_CONFIG common{};
    ZEFA_OK(ZEFA_GetStreamCommonConfig(stream.Handle, &common));
    EXPECT_EQ(4u, common.ApplicativeBufferQueueDepth_UL);
    EXPECT_EQ(10000u, common.LockTimeoutMs_UL);
    EXPECT_EQ(session.Conductor, common.ConductorId_ULL);
    auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_OK(ZEFA_GetStreamNetworkConfig(stream.Handle, network.get()));
    EXPECT_EQ(96u, network->PayloadType_UB);
    ASSERT_EQ(1u, network->NbConnections_UL);
    EXPECT_EQ(5004, network->Connections_X[0].DestinationPort_US);
    EXPECT_EQ(uint32_t(0xEF64010B), network->Connections_X[0].DestinationIp_UL);
    EXPECT_EQ(ZEFA_MULTICAST_MODE_INCLUSION, network->Connections_X[0].MulticastMode_E);
    ASSERT_EQ(2u, network->Connections_X[0].NbMulticastSources_UL);
    EXPECT_EQ(0x7F000003u, network->Connections_X[0].MulticastSources_UL[1]);
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_OK(ZEFA_GetStreamEssenceConfig(stream.Handle, &essence));
    EXPECT_EQ(ZEFA_ESSENCE_TYPE_ST2110_20, essence.EssenceType_E);
    const ZEFA_ST2110_20_CONFIG& video = essence.Essence_X.ST2110_20_X;
    EXPECT_EQ(ZEFA_VIDEO_STANDARD_1920X1080_I_59_94, video.VideoStandard_E);
    EXPECT_EQ(ZEFA_SDP_VIDEO_SAMPLING_RGB, video.NetworkBitSampling_E);
    EXPECT_EQ(ZEFA_SDP_VIDEO_DEPTH_12, video.NetworkBitDepth_E);
    EXPECT_EQ(ZEFA_BIT_PADDING_16, video.AppBitPadding_E);
    EXPECT_EQ(ZEFA_ENDIANNESS_LITTLE, video.AppEndianness_E);
}

TEST(Life, EveryCallAnswersWhenTheServiceHasGoneAndANewSessionWorksAfterIt)
{
    MxsProcess service;
    ZEFA_HANDLE context = nullptr;
    ZEFA_OK(ZEFA_CreateMXSContext(service.ServiceUrl().c_str(), &context));
    auto session = std::make_unique<Session>(service.ServiceUrl());
    StreamSettings settings;
    settings.port = FreeUdpPort();
    settings.lockTimeoutMs = 200;
    auto stream = std::make_unique<ReceiveStream>(*session, settings);
    stream->Start();

    service.Stop(SIGKILL);
    ZEFA_SLOT slot = nullptr;
    EXPECT_NE(ZEFA_NO_ERROR, ZEFA_LockSlot(stream->Handle, &slot));
    ZEFA_STREAM_NETWORK_STATUS status{};
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_GetStreamNetworkStatus(stream->Handle, &status));
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_StopStream(stream->Handle));
    EXPECT_EQ(ZEFA_ERR_INCORRECT_STATE, ZEFA_LockSlot(stream->Handle, &slot));
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_CloseStream(stream->Handle));
    EXPECT_EQ(ZEFA_ERR_INCORRECT_STATE, stream->Abandon());
    stream.reset();
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_DestroyMXSContext(context));

    MxsProcess again({}, service.Port());
    EXPECT_EQ(service.ServiceUrl(), again.ServiceUrl());
    // The old token is unknown to the new service: the session does not come back by itself.
    uint64_t version = 0;
    EXPECT_NE(ZEFA_NO_ERROR, ZEFA_GetMXSStatus(context, &version));
    auto fresh = std::make_unique<Session>(again.ServiceUrl());
    EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetMXSStatus(fresh->Context, &version));
    EXPECT_NE(0u, version);
    // What belonged to the dead service stays with the application: the handles cannot be destroyed at a service
    // that does not know them.
    EXPECT_NE(ZEFA_NO_ERROR, ZEFA_DestroyMXSContext(context));
    fresh.reset();
    again.Stop();
    DestroyLostContext(service.Port(), context);
    DestroyLostContext(service.Port(), session->Context);
}

TEST(Life, AnApplicationThatDiesWithASlotLeavesNothingBehindAfterItsTimeToLive)
{
    MxsProcess service({"--context-ttl", "5"});
    // A process of its own, not a fork: the threads of the HTTP library do not come along into one.
    const pid_t application = ::fork();
    if (application == 0)
    {
        ::execl(DYING_APPLICATION_PATH, DYING_APPLICATION_PATH, service.ServiceUrl().c_str(), nullptr);
        ::_exit(127);
    }
    int status = -1;
    ASSERT_EQ(application, ::waitpid(application, &status, 0));
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(1u, RailsOf(service.ProcessId()).size());

    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!RailsOf(service.ProcessId()).empty() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_TRUE(RailsOf(service.ProcessId()).empty());
    Session next(service.ServiceUrl());
    StreamSettings settings;
    settings.port = FreeUdpPort();
    ReceiveStream stream(next, settings);
    stream.Start();
}

TEST(Life, AStoppedServiceLeavesNoSharedMemory)
{
    MxsProcess service;
    std::vector<std::string> rails;
    {
        auto session = std::make_unique<Session>(service.ServiceUrl());
        StreamSettings settings;
        settings.port = FreeUdpPort();
        auto stream = std::make_unique<ReceiveStream>(*session, settings);
        stream->Start();
        rails = RailsOf(service.ProcessId());
        ASSERT_EQ(1u, rails.size());
        EXPECT_EQ(0, service.Stop());
        EXPECT_FALSE(std::filesystem::exists(rails[0]));
        EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_StopStream(stream->Handle));
        stream->Abandon();
        DestroyLostContext(service.Port(), session->Context);
    }
}

TEST(Life, RailsOfAKilledServiceAreRemovedByTheNextOne)
{
    MxsProcess living; // and keeps its own
    Session livingSession(living.ServiceUrl());
    StreamSettings livingSettings;
    livingSettings.port = FreeUdpPort();
    ReceiveStream livingStream(livingSession, livingSettings);
    livingStream.Start();
    const std::vector<std::string> livingRails = RailsOf(living.ProcessId());
    ASSERT_EQ(1u, livingRails.size());
    std::vector<std::string> rails;
    {
        MxsProcess service;
        auto session = std::make_unique<Session>(service.ServiceUrl());
        StreamSettings settings;
        settings.port = FreeUdpPort();
        auto stream = std::make_unique<ReceiveStream>(*session, settings);
        stream->Start();
        rails = RailsOf(service.ProcessId());
        ASSERT_EQ(1u, rails.size());
        service.Stop(SIGKILL);
        ZEFA_StopStream(stream->Handle);
        stream->Abandon();
        DestroyLostContext(service.Port(), session->Context);
    }
    MxsProcess next;
    EXPECT_FALSE(std::filesystem::exists(rails[0]));
    EXPECT_EQ(livingRails, RailsOf(living.ProcessId()));
}

} // namespace

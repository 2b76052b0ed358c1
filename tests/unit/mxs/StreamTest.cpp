// Streams over HTTP: documents, states, and what a refusal leaves.
#include "ServiceFixture.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace test
{
namespace
{

// Of 1920 x 1080 with 2 bytes a pixel and 4 slots: five times 4147200 + 32400 + 4096 bytes, and 4 MiB.
constexpr uint64_t kRingBytes = 25112784;

class Streams : public ServiceTest
{
protected:
    Session& User()
    {
        if (!Owner) Owner = std::make_unique<Session>(Port());
        return *Owner;
    }

    std::string Path(const std::string& rest) { return "MXS/Stream/Mines/" + Stream + "/" + rest; }
    Reply Put(const std::string& rest, const json& document) { return User().Send("PUT", Path(rest), document); }
    json Get(const std::string& rest) { return User().GetJson(Path(rest)); }
    Reply State(bool started, bool opened) { return User().SetState(Stream, started, opened); }

    json Common(uint32_t depth = 4)
    {
        return {{"ApplicativeBufferQueueDepth", depth},
                {"CpuCores", json::array()},
                {"ConductorID", Conductor},
                {"NumaNode", 0}};
    }
    json Connection()
    {
        return {{"SourceIp", 0},
                {"DestinationIp", 0x7f000001},
                {"DestinationPort", 5004},
                {"NetworkInterfaceID", User().Loopback()},
                {"MulticastMode", "Inclusion"},
                {"MulticastSources", {"000000007f000002"}},
                {"Dscp", 0},
                {"MulticastTtl", 0}};
    }
    json Network()
    {
        return {
            {"PayloadType", 96}, {"SSRC", 7}, {"SocketBufferSize", 8}, {"ConnectionConfigurations", {Connection()}}};
    }
    static json Essence(uint32_t width = 1920) { return VideoEssence(width, 1080); }

    void CreateAll(bool startConductor = true)
    {
        Conductor = User().CreateConductor();
        const std::string path = "MXS/Conductor/Mines/" + Conductor;
        User().Send("PUT", path + "/Config", json{{"CpuCoreID", User().FirstCore()}});
        if (startConductor) User().Send("PUT", path + "/State", json{{"Started", true}});
        Stream = User().CreateStream();
    }
    void Configure()
    {
        ASSERT_EQ(200u, Put("Config/Common", Common()).status);
        ASSERT_EQ(200u, Put("Config/Network", Network()).status);
        ASSERT_EQ(200u, Put("Config/Essence", Essence()).status);
    }

    std::unique_ptr<Session> Owner;
    std::string Conductor, Stream;
};

TEST_F(Streams, AreCreatedWithALocationAndListed)
{
    const Reply reply = User().Send("POST", "MXS/Stream/Mines/",
                                    json{{"Type", "RX"}, {"Essence", 1}, {"Shared", false}, {"ID", Session::kNoId}});
    EXPECT_EQ(201u, reply.status);
    EXPECT_EQ("v1.0/MXS/Stream/Mines/" + reply.LocationPart(4), reply.location);
    EXPECT_EQ(json({{"ID", {reply.LocationPart(4)}}}), User().GetJson("MXS/Stream/Mines/"));
    EXPECT_EQ(json::array(), User().GetJson("MXS/Stream/Shared/")["ID"]);
}

TEST_F(Streams, ASharedOneIsListedToOthersAndStillItsOwners)
{
    const std::string shared = User().CreateStream(true);
    Session other(Port());
    EXPECT_EQ(json::array({shared}), other.GetJson("MXS/Stream/Shared/")["ID"]);
    EXPECT_EQ(json::array(), other.GetJson("MXS/Stream/Mines/")["ID"]);
    EXPECT_EQ(8u, other.Get("MXS/Stream/Mines/" + shared + "/State").ErrCode());
}

TEST_F(Streams, AreOfTwoDirectionsAndThreeEssences)
{
    const auto create = [&](const char* type, int essence)
    {
        return User().Send("POST", "MXS/Stream/Mines/",
                           json{{"Type", type}, {"Essence", essence}, {"Shared", false}, {"ID", Session::kNoId}});
    };
    EXPECT_EQ(4u, create("RX", 0).ErrCode());
    EXPECT_EQ(4u, create("RX", 4).ErrCode());
    EXPECT_EQ(4u, create("BOTH", 1).ErrCode());
    EXPECT_EQ(json::array(), User().GetJson("MXS/Stream/Mines/")["ID"]);

    for (const char* type : {"RX", "TX"})
        for (const int essence : {1, 2, 3})
            EXPECT_EQ(201u, create(type, essence).status) << type << essence;
    EXPECT_EQ(6u, User().GetJson("MXS/Stream/Mines/")["ID"].size());
}

TEST_F(Streams, AFormatThatTheMediaSideDoesNotHaveIsRefusedWhenItIsConfigured)
{
    Stream = User().CreateStream();
    const json before = Get("Config/Essence");
    Fake().essenceOutcome = {2, "not here"};

    const Reply reply = Put("Config/Essence", Essence());

    EXPECT_EQ(2u, reply.ErrCode());
    EXPECT_EQ(501u, reply.status);
    EXPECT_EQ(before, Get("Config/Essence"));
}

TEST_F(Streams, TheNewOneHasDefaultsAndALayoutAndNoRail)
{
    Stream = User().CreateStream();

    EXPECT_EQ(json({{"Started", false}, {"Opened", false}}), Get("State"));
    EXPECT_EQ(json({{"ApplicativeBufferQueueDepth", 0},
                    {"CpuCores", json::array()},
                    {"ConductorID", Session::kNoId},
                    {"NumaNode", 4294967295u}}),
              Get("Config/Common"));
    EXPECT_EQ(
        json({{"PayloadType", 0}, {"SSRC", 0}, {"SocketBufferSize", 0}, {"ConnectionConfigurations", json::array()}}),
        Get("Config/Network"));
    const json essence = Get("Config/Essence");
    EXPECT_EQ("ST2110_20", essence["Type"]);
    EXPECT_EQ(1080u, essence["Data"]["FrameWidth"]); // exchanged on purpose
    EXPECT_EQ(1920u, essence["Data"]["FrameHeight"]);
    EXPECT_EQ(json::parse(R"({"Type":"ST2110_20","LockSize":4147200,"SlotDropped":0,
                              "Data":{"BufferInfo":{"0":{"Offset":0,"Size":4147200}}}})"),
              Get("Status/Essence"));
    EXPECT_EQ(json::object(), Get("Status/Common")["FlowRailDescriptor"]["Description"]);
    EXPECT_EQ(10u, Get("Status/Network").size());
}

TEST_F(Streams, DocumentsComeBackAndTheLayoutFollowsTheEssence)
{
    CreateAll();
    Configure();

    EXPECT_EQ(Common(), Get("Config/Common"));
    EXPECT_EQ(Network(), Get("Config/Network"));
    EXPECT_EQ(Essence(), Get("Config/Essence"));
    EXPECT_EQ(1920u * 1080 * 2, Get("Status/Essence")["LockSize"]);
    json interlaced = Essence();
    interlaced["Data"]["Interlaced"] = true;
    Put("Config/Essence", interlaced);
    EXPECT_EQ(json::parse(R"({"0":{"Offset":0,"Size":2073600},"1":{"Offset":2073600,"Size":2073600}})"),
              Get("Status/Essence")["Data"]["BufferInfo"]);
}

TEST_F(Streams, APutWithoutOptionalListsClearsThem)
{
    CreateAll();
    Configure();
    json common = Common();
    common["CpuCores"] = {User().FirstCore()};
    Put("Config/Common", common);
    EXPECT_EQ(1u, Get("Config/Common")["CpuCores"].size());
    common.erase("CpuCores");
    Put("Config/Common", common);
    EXPECT_EQ(json::array(), Get("Config/Common")["CpuCores"]);
    json network = Network();
    network.erase("ConnectionConfigurations");
    Put("Config/Network", network);
    EXPECT_EQ(json::array(), Get("Config/Network")["ConnectionConfigurations"]);
}

TEST_F(Streams, BadValuesAreRefusedAndChangeNothing)
{
    CreateAll();
    Configure();
    const auto refused = [&](const std::string& document, const json& value, uint32_t code, const std::string& word)
    {
        const Reply reply = Put(document, value);
        EXPECT_EQ(code, reply.ErrCode()) << value;
        EXPECT_NE(std::string::npos, reply.ErrMsg().find(word)) << reply.body;
    };
    refused("Config/Common", Common(0), 4, "ApplicativeBufferQueueDepth");
    refused("Config/Common", Common(65537), 4, "ApplicativeBufferQueueDepth");
    json common = Common();
    common["CpuCores"] = {"14000000000fffff"};
    refused("Config/Common", common, 4, "CpuCores");
    common = Common();
    common["ConductorID"] = "12000000000fffff";
    refused("Config/Common", common, 5012, "ConductorID");
    Session other(Port());
    common["ConductorID"] = other.CreateConductor(true); // shared, and yet not in this context
    refused("Config/Common", common, 5012, "ConductorID");
    json network = Network();
    network["ConnectionConfigurations"][0]["NetworkInterfaceID"] = Session::kNoId;
    refused("Config/Network", network, 4, "NetworkInterfaceID");
    network = Network();
    network["PayloadType"] = 128;
    refused("Config/Network", network, 4, "payload type");
    network["PayloadType"] = 256;
    refused("Config/Network", network, 4, "PayloadType");
    refused("Config/Essence", Essence(0), 4, "width");
    refused("Config/Essence", json{{"Type", "ST2110_30"}, {"Data", json::object()}}, 5017, "ST2110_20");
    refused("Config/Essence", json{{"Type", "ST2110_20"}}, 4, "Data");

    EXPECT_EQ(Common(), Get("Config/Common"));
    EXPECT_EQ(Network(), Get("Config/Network"));
    EXPECT_EQ(Essence(), Get("Config/Essence"));
}

TEST_F(Streams, TheStateIsATargetOneStepAway)
{
    CreateAll();
    Configure();
    const auto code = [&](bool started, bool opened) { return State(started, opened).ErrCode(); };

    EXPECT_EQ(0u, code(false, false)); // is closed
    EXPECT_EQ(9u, code(true, true));   // not from closed
    EXPECT_EQ(4u, code(true, false));  // makes no sense
    EXPECT_EQ(json({{"Started", false}, {"Opened", false}}), Get("State"));
    EXPECT_EQ(0u, code(false, true));
    EXPECT_EQ(0u, code(false, true));
    EXPECT_EQ(json({{"Started", false}, {"Opened", true}}), Get("State"));
    EXPECT_EQ(0u, code(true, true));
    EXPECT_EQ(0u, code(true, true));
    EXPECT_EQ(json({{"Started", true}, {"Opened", true}}), Get("State"));
    EXPECT_EQ(9u, code(false, false)); // not from started
    EXPECT_EQ(1, Fake().running);
    EXPECT_EQ(0u, code(false, true));
    EXPECT_EQ(0, Fake().running);
    EXPECT_EQ(json({{"Started", false}, {"Opened", true}}), Get("State"));
    EXPECT_EQ(0u, code(false, false));
    EXPECT_EQ(json({{"Started", false}, {"Opened", false}}), Get("State"));
}

TEST_F(Streams, AConfigurationCanBePutOnlyWhileClosed)
{
    CreateAll();
    Configure();
    State(false, true);
    for (const bool started : {false, true})
    {
        State(started, true);
        EXPECT_EQ(19u, Put("Config/Common", Common()).ErrCode());
        EXPECT_EQ(19u, Put("Config/Network", Network()).ErrCode());
        EXPECT_EQ(19u, Put("Config/Essence", Essence()).ErrCode());
    }
    State(false, true);
    State(false, false);
    EXPECT_EQ(200u, Put("Config/Common", Common(5)).status);
}

TEST_F(Streams, AStartNeedsAConfigurationAndARunningConductor)
{
    CreateAll(false);
    State(false, true);
    EXPECT_EQ(4u, State(true, true).ErrCode()); // no common configuration
    State(false, false);
    Put("Config/Common", Common());
    State(false, true);
    EXPECT_EQ(4u, State(true, true).ErrCode()); // no connection
    State(false, false);
    Configure();
    State(false, true);
    const Reply reply = State(true, true);
    EXPECT_EQ(9u, reply.ErrCode());
    EXPECT_NE(std::string::npos, reply.ErrMsg().find("conductor"));
    EXPECT_EQ(json({{"Started", false}, {"Opened", true}}), Get("State"));

    User().Send("PUT", "MXS/Conductor/Mines/" + Conductor + "/State", json{{"Started", true}});
    EXPECT_EQ(200u, State(true, true).status);
}

TEST_F(Streams, TheMediaSideGetsWhatWasConfigured)
{
    CreateAll();
    Configure();
    State(false, true);
    State(true, true);

    EXPECT_EQ(4u, Fake().lastCommon.queueDepth);
    EXPECT_EQ(1920u, Fake().lastVideo.width);
    const mxs::media::NetworkConfig& network = Fake().lastNetwork;
    EXPECT_EQ(96, network.payloadType);
    ASSERT_EQ(1u, network.connections.size());
    EXPECT_EQ("lo", network.connections[0].interfaceName);
    EXPECT_EQ(0x7f000001u, network.connections[0].interfaceAddress);
    EXPECT_EQ(5004, network.connections[0].destinationPort);
    EXPECT_EQ(std::vector<uint32_t>{0x7f000002}, network.connections[0].sources);
    EXPECT_TRUE(network.connections[0].inclusion);
}

TEST_F(Streams, StatusDocumentsShowTheMediaAndCountersOutliveAStop)
{
    CreateAll();
    Configure();
    State(false, true);
    State(true, true);
    Fake().counters = {.transferredPackets = 1000,
                       .processedPackets = 990,
                       .drops = 1,
                       .lostPackets = 10,
                       .receivedSsrc = 77,
                       .payloadType = 96};
    Fake().times = {1, 3, 2};
    Fake().slotsDropped = 1;
    Fake().bufferDelayed = true;

    const json common = Get("Status/Common");
    EXPECT_EQ(json::parse(R"({"Type":"FileMap","Description":{"Name":["/fake"],"SlotCount":["4"]}})"),
              common["FlowRailDescriptor"]);
    EXPECT_EQ(1u, common["MinProcessingTime"]);
    EXPECT_EQ(3u, common["MaxProcessingTime"]);
    EXPECT_EQ(2u, common["MeanProcessingTime"]);
    EXPECT_EQ(true, common["ApplicativeBufferDelayed"]);
    EXPECT_EQ(1u, Get("Status/Essence")["SlotDropped"]);
    EXPECT_EQ(1000u, Get("Status/Network")["TotalTransferredPacketCount"]);

    State(false, true);
    EXPECT_EQ(json::object(), Get("Status/Common")["FlowRailDescriptor"]["Description"]);
    EXPECT_EQ(77u, Get("Status/Network")["ReceivedSSRC"]);
    EXPECT_TRUE(LogHolds("1000 packets, 10 lost, 1 slots dropped"));
}

TEST_F(Streams, OneWhoseRingWasCutShortIsStoppedSaysSoAndStartsAgain)
{
    mxs::ServiceSettings settings;
    settings.contextTtl = std::chrono::seconds(20); // housekeeping once a second
    settings.media.memoryLimitBytes = kRingBytes + kRingBytes / 2;
    Run(settings);
    CreateAll();
    Configure();
    State(false, true);
    State(true, true);
    std::atomic_ref(Fake().damaged).store(true);
    while (Get("State")["Started"] == true)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    std::atomic_ref(Fake().damaged).store(false);

    EXPECT_EQ(json({{"Started", false}, {"Opened", true}}), Get("State"));
    EXPECT_TRUE(LogHolds("Stream " + Stream + " has to be stopped: another program cut the file of its ring short."));
    for (const char* document : {"Status/Common", "Status/Network"})
    {
        const Reply status = User().Get(Path(document));
        EXPECT_EQ(500u, status.status) << document;
        EXPECT_EQ(1u, status.ErrCode()) << document;
    }
    EXPECT_EQ(4147200u, Get("Status/Essence")["LockSize"]); // of its configuration
    EXPECT_EQ(200u, State(true, true).status);              // its memory was given back
    EXPECT_EQ(200u, User().Get(Path("Status/Common")).status);
    EXPECT_EQ(200u, State(false, true).status);
    EXPECT_EQ(200u, State(false, false).status);
}

TEST_F(Streams, AFailedStartLeavesTheStreamOpenedAndItsMemoryFree)
{
    mxs::ServiceSettings settings;
    settings.media.memoryLimitBytes = kRingBytes;
    Run(settings);
    CreateAll();
    Configure();
    State(false, true);
    Fake().startOutcome = {10, "There is no socket."};
    const Reply refused = State(true, true);
    EXPECT_EQ(10u, refused.ErrCode());
    EXPECT_EQ(503u, refused.status);
    EXPECT_EQ("There is no socket.", refused.ErrMsg());
    EXPECT_EQ(json({{"Started", false}, {"Opened", true}}), Get("State"));
    EXPECT_TRUE(LogHolds("could not be started: There is no socket."));

    Fake().startOutcome = {};
    Fake().throwNoMemory = true;
    EXPECT_EQ(10u, State(true, true).ErrCode());
    Fake().throwNoMemory = false;
    Fake().throwError = "the loop is full";
    const Reply thrown = State(true, true);
    EXPECT_EQ(10u, thrown.ErrCode());
    EXPECT_EQ("The stream could not be started: the loop is full.", thrown.ErrMsg());
    Fake().throwError.clear();
    EXPECT_EQ(200u, State(true, true).status);
    EXPECT_EQ(200u, User().Send("DELETE", "MXS/Stream/Mines/" + Stream).status); // a failed start kept no use of it:
    EXPECT_EQ(200u, User().Send("DELETE", "MXS/Conductor/Mines/" + Conductor).status);
}

TEST_F(Streams, TheRecordsOfManySmallSlotsCountForTheMemoryLimit)
{
    mxs::ServiceSettings settings;
    settings.media.memoryLimitBytes = 64 << 20;
    Run(settings);
    CreateAll();
    Configure();
    json essence = Essence(2);
    essence["Data"]["FrameHeight"] = 1;
    EXPECT_EQ(200u, Put("Config/Essence", essence).status);
    EXPECT_EQ(200u, Put("Config/Common", Common(65536)).status); // 256 KiB of samples
    State(false, true);
    EXPECT_EQ(10u, State(true, true).ErrCode());
}

TEST_F(Streams, AStateThatIsBeingChangedIsBusyForOthers)
{
    CreateAll();
    Configure();
    State(false, true);
    Session second(Port());
    second.Token = User().Token;
    Reply during;
    Fake().onStart = [&] { during = second.SetState(Stream, false, true); };
    EXPECT_EQ(200u, State(true, true).status);
    EXPECT_EQ(11u, during.ErrCode());
    EXPECT_EQ(409u, during.status);
    EXPECT_EQ(json({{"Started", true}, {"Opened", true}}), Get("State"));
}

TEST_F(Streams, ARequestWaitsWhileAllThreadsAreAtWork)
{
    for (const unsigned threads : {1u, 2u})
    {
        Owner.reset();
        mxs::ServiceSettings settings;
        settings.http.threads = threads;
        Run(settings);
        CreateAll();
        Configure();
        State(false, true);
        Session other(Port());
        bool served = false;
        Fake().onStart = [&] // on one of them
        {
            other.Client.SendRaw("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
            const auto patience = std::chrono::milliseconds(threads == 1 ? 100 : 20000);
            for (const auto end = std::chrono::steady_clock::now() + patience;
                 !served && std::chrono::steady_clock::now() < end; served = other.Client.HasBytes())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        };
        EXPECT_EQ(200u, State(true, true).status);
        EXPECT_EQ(threads == 2, served);
        EXPECT_EQ(404u, other.Client.Receive().status);
    }
}

TEST_F(Streams, RingsTogetherKeepToTheMemoryLimit)
{
    mxs::ServiceSettings settings;
    settings.media.memoryLimitBytes = kRingBytes + kRingBytes / 2;
    Run(settings);
    CreateAll();
    Configure();
    State(false, true);
    State(true, true);
    const std::string first = std::exchange(Stream, User().CreateStream());
    Configure();
    State(false, true);
    EXPECT_EQ(10u, State(true, true).ErrCode());

    EXPECT_EQ(200u, User().SetState(first, false, true).status);
    EXPECT_EQ(200u, State(true, true).status);
}

TEST_F(Streams, ADeletedOneIsStoppedWhateverItsState)
{
    CreateAll();
    Configure();
    State(false, true);
    State(true, true);
    EXPECT_EQ(1, Fake().running);
    EXPECT_EQ(200u, User().Send("DELETE", "MXS/Stream/Mines/" + Stream).status);
    EXPECT_EQ(0, Fake().running);
    EXPECT_EQ(8u, User().Get(Path("State")).ErrCode());
    EXPECT_EQ(8u, User().Send("DELETE", "MXS/Stream/Mines/" + Stream).ErrCode());
}

TEST(StreamStore, ADeletedStreamIsOverThoughSomebodyStillHoldsIt)
{
    constexpr uint64_t kContext = 1;
    const mxs::Log log(mxs::LogLevel::Error);
    const mxs::CoreInventory cores;
    const mxs::InterfaceInventory interfaces;
    mxs::ConductorStore conductors(cores, 8, log);
    mxs::PortDropStore drops;
    mxs::MemoryBudget memory(1 << 20);
    const mxs::StreamServices services{conductors, cores, interfaces, drops, memory, {}, log};
    mxs::StreamStore streams(services, 8);
    bool attached = false;
    const uint64_t conductor = conductors.Create({}, kContext, attached)->Id;
    for (const bool all : {false, true})
    {
        const std::shared_ptr<mxs::Stream> held = streams.Create({.essence = 1}, kContext);
        held->SetCommonConfig({.queueDepth = 4, .cpuCores = {}, .conductorId = conductor});
        held->SetState({.started = false, .opened = true});
        EXPECT_THROW(conductors.Delete(conductor, kContext), mxs::Refusal);

        all ? streams.DeleteAll(kContext) : streams.Delete(held->Id, kContext);
        EXPECT_FALSE(conductors.Find(conductor, kContext)->HasOpened(kContext));
        try
        {
            held->SetState({.started = false, .opened = true});
            ADD_FAILURE() << "It cannot be opened any more.";
        }
        catch (const mxs::Refusal& refusal)
        {
            EXPECT_EQ(8u, refusal.Code);
        }
    }
    EXPECT_NO_THROW(conductors.Delete(conductor, kContext));
}

TEST_F(Streams, EndWithTheirContextAndWithTheService)
{
    CreateAll();
    Configure();
    State(false, true);
    State(true, true);
    User().Send("DELETE", "MXS/ContextManager/Context/" + User().ContextId);
    EXPECT_EQ(0, Fake().running);

    Owner.reset();
    CreateAll();
    Configure();
    State(false, true);
    State(true, true);
    EXPECT_EQ(1, Fake().running);
    Running->Stop();
    EXPECT_EQ(0, Fake().running);
}

TEST_F(Streams, AnotherContextsAreNotFound)
{
    CreateAll();
    Session other(Port());
    for (const char* document : {"State", "Config/Common", "Config/Network", "Config/Essence", "Status/Common",
                                 "Status/Network", "Status/Essence"})
        EXPECT_EQ(8u, other.Get(Path(document)).ErrCode()) << document;
    EXPECT_EQ(8u, other.SetState(Stream, false, true).ErrCode());
    EXPECT_EQ(8u, other.Send("DELETE", "MXS/Stream/Mines/" + Stream).ErrCode());
    EXPECT_EQ(json::array(), other.GetJson("MXS/Stream/Mines/")["ID"]);
    EXPECT_EQ(200u, User().Get(Path("State")).status);
}

TEST_F(Streams, ASourceAddressOfASenderIsOneOfItsInterface)
{
    CreateAll();
    Stream = User()
                 .Send("POST", "MXS/Stream/Mines/",
                       json{{"Type", "TX"}, {"Essence", 1}, {"Shared", false}, {"ID", Session::kNoId}})
                 .LocationPart(4);
    json network = Network();
    for (const auto& [address, code] : {std::pair{0u, 0u}, std::pair{0x7f000001u, 0u}, std::pair{0x01020304u, 4u}})
    {
        network["ConnectionConfigurations"][0]["SourceIp"] = address;
        EXPECT_EQ(code, Put("Config/Network", network).ErrCode()) << address;
    }
}

TEST_F(Streams, AreLimitedInNumber)
{
    mxs::ServiceSettings settings;
    settings.streams = 1;
    Run(settings);
    Stream = User().CreateStream();
    EXPECT_EQ("", User().CreateStream());
    User().Send("DELETE", "MXS/Stream/Mines/" + Stream);
    EXPECT_NE("", User().CreateStream());
}

} // namespace
} // namespace test

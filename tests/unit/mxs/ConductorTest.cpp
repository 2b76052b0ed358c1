// Conductors over HTTP, with real threads.
#include "ServiceFixture.h"

#include <filesystem>
#include <thread>

namespace test
{
namespace
{

using Conductors = ServiceTest;

std::string Path(const std::string& id, const std::string& rest)
{
    return "MXS/Conductor/Mines/" + id + "/" + rest;
}

Reply SetCore(Session& session, const std::string& conductor, const std::string& core)
{
    return session.Send("PUT", Path(conductor, "Config"), json{{"CpuCoreID", core}});
}

Reply SetStarted(Session& session, const std::string& conductor, bool started)
{
    return session.Send("PUT", Path(conductor, "State"), json{{"Started", started}});
}

Reply Attach(Session& session, const std::string& conductor)
{
    return session.Send("POST", "MXS/Conductor/Mines/", json{{"Shared", false}, {"ID", conductor}});
}

size_t ThreadsOfThisProcess()
{
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
        ++count;
    return count;
}

// A thread that was joined may stand in the list for a moment. One that stays meets the program's time limit.
void AwaitThreads(size_t count)
{
    while (ThreadsOfThisProcess() != count)
        std::this_thread::yield();
}

// A stream of the session on the conductor, opened.
std::string OpenStreamOn(Session& session, const std::string& conductor)
{
    const std::string stream = session.CreateStream(), path = "MXS/Stream/Mines/" + stream;
    EXPECT_EQ(200u, session
                        .Send("PUT", path + "/Config/Common",
                              json{{"ApplicativeBufferQueueDepth", 4}, {"ConductorID", conductor}, {"NumaNode", 0}})
                        .status);
    json connection{{"SourceIp", 0},
                    {"DestinationIp", 0x7f000001},
                    {"DestinationPort", 5004},
                    {"NetworkInterfaceID", session.Loopback()},
                    {"MulticastMode", "Exclusion"},
                    {"Dscp", 0},
                    {"MulticastTtl", 0}};
    EXPECT_EQ(200u, session
                        .Send("PUT", path + "/Config/Network",
                              json{{"PayloadType", 96},
                                   {"SSRC", 0},
                                   {"SocketBufferSize", 0},
                                   {"ConnectionConfigurations", json::array({connection})}})
                        .status);
    EXPECT_EQ(200u, session.SetState(stream, false, true).status);
    return stream;
}

TEST_F(Conductors, AreCreatedWithALocationAndListed)
{
    Session session(Port());

    const Reply reply = session.Send("POST", "MXS/Conductor/Mines/", json{{"Shared", false}, {"ID", Session::kNoId}});

    EXPECT_EQ(201u, reply.status);
    EXPECT_EQ("v1.0/MXS/Conductor/Mines/" + reply.LocationPart(4), reply.location);
    EXPECT_EQ(json({{"ID", {reply.LocationPart(4)}}}), session.GetJson("MXS/Conductor/Mines/"));
    EXPECT_EQ(json({{"ID", json::array()}}), session.GetJson("MXS/Conductor/Shared/"));
}

TEST_F(Conductors, AConfigurationComesBackAndMayArriveAsAPath)
{
    Session session(Port());
    const std::string conductor = session.CreateConductor(), core = session.FirstCore();
    EXPECT_EQ(json({{"CpuCoreID", Session::kNoId}}), session.GetJson(Path(conductor, "Config")));

    EXPECT_EQ(200u, SetCore(session, conductor, "v1.0/MXS/CpuCore/" + core).status);
    EXPECT_EQ(json({{"CpuCoreID", core}}), session.GetJson(Path(conductor, "Config")));

    const Reply wrong = SetCore(session, conductor, "14000000000fffff");
    EXPECT_EQ(4u, wrong.ErrCode());
    EXPECT_NE(std::string::npos, wrong.ErrMsg().find("CpuCoreID"));
    EXPECT_EQ(json({{"CpuCoreID", core}}), session.GetJson(Path(conductor, "Config")));
}

TEST_F(Conductors, AStartedOneIsAThreadAndRefusesAConfiguration)
{
    Session session(Port());
    const std::string conductor = session.CreateConductor(), core = session.FirstCore();
    EXPECT_EQ(4u, SetStarted(session, conductor, true).ErrCode()); // no core yet
    SetCore(session, conductor, core);
    const size_t threads = ThreadsOfThisProcess();

    EXPECT_EQ(200u, SetStarted(session, conductor, true).status);
    EXPECT_EQ(200u, SetStarted(session, conductor, true).status); // a repeat
    EXPECT_EQ(threads + 1, ThreadsOfThisProcess());
    EXPECT_EQ(json({{"Started", true}}), session.GetJson(Path(conductor, "State")));
    EXPECT_EQ(19u, SetCore(session, conductor, core).ErrCode());
    EXPECT_EQ(17u, session.GetJson("MXS/")["ProcessingStatus"]["ThreadCount"]);

    EXPECT_EQ(200u, SetStarted(session, conductor, false).status);
    AwaitThreads(threads);
    EXPECT_EQ(200u, SetStarted(session, conductor, false).status);
    EXPECT_EQ(200u, SetCore(session, conductor, core).status);
    EXPECT_TRUE(LogHolds("Conductor " + conductor + " is started"));
    EXPECT_TRUE(LogHolds("Conductor " + conductor + " is stopped"));
}

TEST_F(Conductors, TheStatusHasAllItsKeys)
{
    Session session(Port());
    const std::string conductor = session.CreateConductor();
    const json status = session.GetJson(Path(conductor, "Status"));
    EXPECT_EQ(json({{"Throughput", 0}, {"Load", 0.0}, {"TotalPacketTransferred", 0}}), status);

    SetCore(session, conductor, session.FirstCore());
    SetStarted(session, conductor, true);
    EXPECT_GE(100.0, session.GetJson(Path(conductor, "Status"))["Load"].get<double>());
}

TEST_F(Conductors, UnknownIs5004AndForeignIs5012EveryWhere)
{
    Session owner(Port()), other(Port());
    const std::string foreign = owner.CreateConductor(), unknown = "00000000000000aa";
    for (const char* document : {"Config", "State", "Status"})
    {
        EXPECT_EQ(5012u, other.Get(Path(foreign, document)).ErrCode()) << document;
        EXPECT_EQ(403u, other.Get(Path(foreign, document)).status);
        EXPECT_EQ(5004u, other.Get(Path(unknown, document)).ErrCode()) << document;
        EXPECT_EQ(404u, other.Get(Path(unknown, document)).status);
    }
    EXPECT_EQ(5012u, SetCore(other, foreign, other.FirstCore()).ErrCode());
    EXPECT_EQ(5012u, SetStarted(other, foreign, true).ErrCode());
    EXPECT_EQ(5004u, SetStarted(other, unknown, true).ErrCode());
    EXPECT_EQ(5012u, other.Send("DELETE", "MXS/Conductor/Mines/" + foreign).ErrCode());
    EXPECT_EQ(5004u, other.Send("DELETE", "MXS/Conductor/Mines/" + unknown).ErrCode());
    EXPECT_EQ(5012u, Attach(other, foreign).ErrCode()); // it is not shared
    EXPECT_EQ(5004u, Attach(other, unknown).ErrCode());
    EXPECT_EQ(json::array(), other.GetJson("MXS/Conductor/Mines/")["ID"]);
    EXPECT_EQ(200u, owner.Get(Path(foreign, "Config")).status);
}

TEST_F(Conductors, ASharedOneIsSeenAttachedUsedAndDetached)
{
    Session owner(Port()), guest(Port());
    const std::string conductor = owner.CreateConductor(true);
    EXPECT_EQ(json::array({conductor}), guest.GetJson("MXS/Conductor/Shared/")["ID"]);
    EXPECT_EQ(json::array(), guest.GetJson("MXS/Conductor/Mines/")["ID"]);
    EXPECT_EQ(5012u, guest.Get(Path(conductor, "Config")).ErrCode()); // not attached yet

    const Reply attached = Attach(guest, conductor);
    EXPECT_EQ(201u, attached.status);
    EXPECT_EQ("v1.0/MXS/Conductor/Mines/" + conductor, attached.location);
    EXPECT_EQ(200u, Attach(guest, conductor).status); // a repeat changes nothing
    EXPECT_EQ(200u, SetCore(guest, conductor, guest.FirstCore()).status);
    EXPECT_EQ(200u, SetStarted(guest, conductor, true).status);
    EXPECT_EQ(json({{"Started", true}}), owner.GetJson(Path(conductor, "State")));

    EXPECT_EQ(200u, guest.Send("DELETE", "MXS/Conductor/Mines/" + conductor).status);
    EXPECT_EQ(5012u, guest.Get(Path(conductor, "State")).ErrCode());
    EXPECT_EQ(json({{"Started", true}}), owner.GetJson(Path(conductor, "State")));
}

TEST_F(Conductors, ASharedOneLivesUntilTheLastContextHasLeftIt)
{
    Session guest(Port());
    std::string conductor;
    {
        Session owner(Port());
        conductor = owner.CreateConductor(true);
        Attach(guest, conductor);
        owner.Send("DELETE", "MXS/ContextManager/Context/" + owner.ContextId);
    }
    EXPECT_EQ(200u, guest.Get(Path(conductor, "State")).status);
    EXPECT_EQ(200u, guest.Send("DELETE", "MXS/Conductor/Mines/" + conductor).status);
    EXPECT_EQ(5004u, guest.Get(Path(conductor, "State")).ErrCode());
    EXPECT_EQ(json::array(), guest.GetJson("MXS/Conductor/Shared/")["ID"]);
}

TEST_F(Conductors, ADeletedOneTakesItsThreadAlong)
{
    Session session(Port());
    const std::string conductor = session.CreateConductor();
    SetCore(session, conductor, session.FirstCore());
    const size_t threads = ThreadsOfThisProcess();
    SetStarted(session, conductor, true);
    EXPECT_EQ(threads + 1, ThreadsOfThisProcess());

    EXPECT_EQ(200u, session.Send("DELETE", "MXS/Conductor/Mines/" + conductor).status);
    AwaitThreads(threads);
    EXPECT_EQ(5004u, session.Send("DELETE", "MXS/Conductor/Mines/" + conductor).ErrCode());
}

TEST_F(Conductors, OneWithAnOpenedStreamIsBusy)
{
    Session session(Port());
    const std::string conductor = session.CreateConductor();
    const std::string stream = OpenStreamOn(session, conductor);

    EXPECT_EQ(11u, session.Send("DELETE", "MXS/Conductor/Mines/" + conductor).ErrCode());
    EXPECT_EQ(200u, session.SetState(stream, false, false).status);
    EXPECT_EQ(200u, session.Send("DELETE", "MXS/Conductor/Mines/" + conductor).status);
    const Reply reopened = session.SetState(stream, false, true);
    EXPECT_EQ(4u, reopened.ErrCode()); // its conductor is gone
    EXPECT_NE(std::string::npos, reopened.ErrMsg().find(conductor));
}

TEST_F(Conductors, AForeignRunningStreamKeepsASharedOneRunning)
{
    Session owner(Port()), guest(Port());
    const std::string conductor = owner.CreateConductor(true);
    SetCore(owner, conductor, owner.FirstCore());
    SetStarted(owner, conductor, true);
    Attach(guest, conductor);
    const std::string stream = OpenStreamOn(guest, conductor);
    ASSERT_EQ(200u, guest.SetState(stream, true, true).status);

    EXPECT_EQ(11u, SetStarted(owner, conductor, false).ErrCode());
    EXPECT_EQ(200u, SetStarted(guest, conductor, false).status); // its own stream pauses
    EXPECT_EQ(200u, SetStarted(guest, conductor, true).status);
    EXPECT_EQ(200u, guest.SetState(stream, false, true).status);
    EXPECT_EQ(200u, SetStarted(owner, conductor, false).status);
}

TEST(Conductor, ForgetsEachContextWithItsLastStream)
{
    constexpr uint64_t kContexts = 1000;
    const mxs::CoreInventory cores;
    mxs::Conductor conductor(1, true, cores);
    conductor.SetConfig({cores.List().front()});
    conductor.SetState({.started = true}, 1);

    for (uint64_t context = 1; context <= kContexts; ++context)
    {
        conductor.NoteOpened(context, 1);
        conductor.NoteOpened(context, 1);
        EXPECT_NE(nullptr, conductor.BeginRunning(context));
        EXPECT_EQ(1u, conductor.Users());
        conductor.EndRunning(context);
        conductor.NoteOpened(context, -1);
        EXPECT_TRUE(conductor.HasOpened(context)) << "a stream is left";
        conductor.NoteOpened(context, -1);
    }

    EXPECT_EQ(0u, conductor.Users());
}

TEST_F(Conductors, AreLimitedInNumber)
{
    mxs::ServiceSettings settings;
    EXPECT_EQ(128u, settings.conductors); // what clients' lists hold
    settings.conductors = 2;
    Run(settings);
    Session session(Port());
    session.CreateConductor();
    const std::string second = session.CreateConductor();
    const Reply refused = session.Send("POST", "MXS/Conductor/Mines/", json{{"Shared", false}, {"ID", Session::kNoId}});
    EXPECT_EQ(10u, refused.ErrCode());
    session.Send("DELETE", "MXS/Conductor/Mines/" + second);
    EXPECT_NE("", session.CreateConductor());
}

} // namespace
} // namespace test

// Sessions: authentication, tokens, time to live, isolation.
#include "ServiceFixture.h"

#include <set>
#include <thread>

namespace test
{
namespace
{

using Contexts = ServiceTest;

constexpr const char* kAuth = "/api/x-mxs/v1.0/MXS/ContextManager/Auth/";

std::string Identity(const std::string& contextId)
{
    return json{{"AppID", "0000000000000000"}, {"ContextID", contextId}}.dump();
}

TEST_F(Contexts, AuthenticationGivesABareTokenAndARelativeLocation)
{
    HttpClient client(Port());

    const Reply reply = client.Exchange("POST", kAuth, {{"Authorization", ""}}, Identity("0000000000000000"));

    EXPECT_EQ(201u, reply.status);
    EXPECT_EQ(64u, reply.authorization.size());
    EXPECT_EQ(std::string::npos, reply.authorization.find_first_not_of("0123456789abcdef"));
    EXPECT_EQ("v1.0/MXS/ContextManager/Context/", reply.location.substr(0, 32));
    EXPECT_EQ(16u, reply.LocationPart(4).size());
    EXPECT_EQ(reply.LocationPart(4), reply.location.substr(32));
}

TEST_F(Contexts, TokensAndIdentifiersDiffer)
{
    std::set<std::string> tokens, ids;
    for (int count = 0; count < 20; ++count)
    {
        Session session(Port());
        tokens.insert(session.Token);
        ids.insert(session.ContextId);
    }
    EXPECT_EQ(20u, tokens.size());
    EXPECT_EQ(20u, ids.size());
}

TEST_F(Contexts, EveryResourceButAuthenticationNeedsAToken)
{
    HttpClient client(Port());
    for (const mxs::Api::Route& route : mxs::Api::Routes())
    {
        if (route.access == mxs::Api::Access::Open) continue;
        std::string path = Session::Path(std::string(route.path));
        for (const char* parameter : {"{id}", "{port}"})
            if (const size_t place = path.find(parameter); place != std::string::npos)
                path.replace(place, std::string(parameter).size(), "0000000000000001");
        const Reply reply = client.Exchange(std::string(route.method), path, {});
        EXPECT_EQ(5014u, reply.ErrCode()) << route.method << " " << path;
        EXPECT_EQ(401u, reply.status);
    }
}

TEST_F(Contexts, ATokenThatIsNoneIsMalformedAndAnUnknownOneWasRemoved)
{
    HttpClient client(Port());
    const std::string path = Session::Path("MXS/");
    const auto code = [&](const std::string& token) {
        return client.Exchange("GET", path, {{"Authorization", token}}).ErrCode();
    };
    EXPECT_EQ(5007u, code("Bearer " + std::string(64, 'a')));
    EXPECT_EQ(5007u, code(std::string(63, 'a')));
    EXPECT_EQ(5007u, code(std::string(65, 'a')));
    EXPECT_EQ(5007u, code(std::string(63, 'a') + "g"));
    EXPECT_EQ(5016u, code(std::string(64, 'a')));
}

TEST_F(Contexts, AContextIsTakenUpAgainByItsTokenAlone)
{
    Session owner(Port()), stranger(Port());

    const Reply again =
        owner.Client.Exchange("POST", kAuth, {{"Authorization", owner.Token}}, Identity(owner.ContextId));
    EXPECT_EQ(200u, again.status);
    EXPECT_EQ(owner.Token, again.authorization);
    const auto code = [&](const std::string& token, const std::string& id) {
        return owner.Client.Exchange("POST", kAuth, {{"Authorization", token}}, Identity(id)).ErrCode();
    };
    EXPECT_EQ(5011u, code("", owner.ContextId));
    EXPECT_EQ(5011u, code(stranger.Token, owner.ContextId));
    EXPECT_EQ(5011u, code(owner.Token, "00000000000000aa"));
    EXPECT_EQ(5016u, code(std::string(64, '0'), owner.ContextId));
}

TEST_F(Contexts, AMalformedIdentityNamesItsKey)
{
    HttpClient client(Port());
    const auto message = [&](const std::string& body)
    {
        const Reply reply = client.Exchange("POST", kAuth, {}, body);
        EXPECT_EQ(4u, reply.ErrCode());
        EXPECT_EQ(400u, reply.status);
        return reply.ErrMsg();
    };
    EXPECT_NE(std::string::npos, message(R"({"AppID":"0000000000000000"})").find("\"ContextID\" is missing"));
    EXPECT_NE(std::string::npos,
              message(R"({"AppID":0,"ContextID":"0000000000000000"})").find("\"AppID\" is no string"));
    EXPECT_NE(std::string::npos, message("").find("no JSON"));
    EXPECT_NE(std::string::npos, message("[]").find("no JSON object"));
    EXPECT_NE(std::string::npos, message("{").find("no JSON"));
    EXPECT_NE(std::string::npos, message(std::string(100000, '[')).find("too deep"));
    EXPECT_NE(std::string::npos, message("{\"\xff\":1}").find("no JSON"));
}

TEST_F(Contexts, TheContextTellsItsAccessAndListsItselfAlone)
{
    Session session(Port()), other(Port());
    const std::string path = "MXS/ContextManager/Context/";

    EXPECT_EQ(json::array({session.ContextId}), session.GetJson(path)["ID"]);
    const uint64_t first = session.GetJson(path + session.ContextId)["LastAccess"];
    const uint64_t second = session.GetJson(path + session.ContextId)["LastAccess"];
    EXPECT_LT(1700000000000000000u, first); // nanoseconds of this century
    EXPECT_LT(first, second);
    EXPECT_EQ(5012u, session.Get(path + other.ContextId).ErrCode());
    EXPECT_EQ(5012u, session.Send("DELETE", path + other.ContextId).ErrCode());
    EXPECT_EQ(200u, other.Get("MXS/").status);
}

TEST_F(Contexts, TheServiceTellsItsStatus)
{
    Session session(Port());
    for (int count = 0; count < 5; ++count)
        session.Get("MXS/CpuCore/");

    const json status = session.GetJson("MXS/");

    EXPECT_EQ(0x0001000300000000u, status["MxsVersion"].get<uint64_t>());
    EXPECT_TRUE(status["FlowRailVersion"].is_number_unsigned());
    EXPECT_EQ(true, status["Initialized"]);
    const json& processing = status["ProcessingStatus"];
    for (const char* key : {"ThreadCount", "ProcessingTime", "WaitTime", "GlobalLoad", "MinimumWaitTime",
                            "MaximumWaitTime", "MinimumProcessingTime", "MaximumProcessingTime", "JobRate", "JobCount"})
        EXPECT_TRUE(processing[key].is_number()) << key;
    EXPECT_EQ(6u, processing["JobCount"]); // the authentication and five lists
    EXPECT_LT(0u, processing["ProcessingTime"].get<uint64_t>());
    EXPECT_EQ(16u, processing["ThreadCount"]);
}

TEST_F(Contexts, TheWatchdogTellsTheTimeToLive)
{
    Session session(Port());
    EXPECT_EQ(json({{"TTL", 300}}), session.GetJson("MXS/ContextManager/Watchdog/"));

    mxs::ServiceSettings settings;
    settings.contextTtl = std::chrono::seconds(7);
    Run(settings);
    Session other(Port());
    EXPECT_EQ(json({{"TTL", 7}}), other.GetJson("MXS/ContextManager/Watchdog/"));
}

TEST_F(Contexts, ADeletedContextIsGoneWithAllThatItOwns)
{
    Session session(Port()), other(Port());
    const std::string conductor = session.CreateConductor(true);
    session.CreateStream();

    EXPECT_EQ(200u, session.Send("DELETE", "MXS/ContextManager/Context/" + session.ContextId).status);

    EXPECT_EQ(5016u, session.Get("MXS/").ErrCode());
    EXPECT_EQ(5016u, session.Send("DELETE", "MXS/ContextManager/Context/" + session.ContextId).ErrCode());
    EXPECT_EQ(json::array(), other.GetJson("MXS/Conductor/Shared/")["ID"]);
    EXPECT_EQ(5004u, other.Get("MXS/Conductor/Mines/" + conductor + "/Config").ErrCode());
}

TEST_F(Contexts, AContextThatIsNotTickedGoesAndATickedOneStays)
{
    mxs::ServiceSettings settings;
    settings.contextTtl = std::chrono::seconds(5);
    Run(settings);
    Session silent(Port()), ticking(Port());
    const std::string conductor = silent.CreateConductor(true);
    ticking.Send("POST", "MXS/Conductor/Mines/", json{{"Shared", false}, {"ID", conductor}}); // keeps it alive

    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    bool gone = false;
    while (!gone && std::chrono::steady_clock::now() < end)
    {
        // Other requests than ticks do not keep it: this one asks all the time.
        gone = silent.Get("MXS/ContextManager/Watchdog/").ErrCode() == 5016;
        ASSERT_EQ(200u, ticking.Send("POST", "MXS/ContextManager/Tick/").status);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_TRUE(gone);
    EXPECT_TRUE(LogHolds("Context " + silent.ContextId + " was not ticked"));
    EXPECT_EQ(json::array({conductor}), ticking.GetJson("MXS/Conductor/Mines/")["ID"]);
}

TEST_F(Contexts, ContextsAreLimitedInNumber)
{
    mxs::ServiceSettings settings;
    settings.contexts = 2;
    Run(settings);
    Session first(Port()), second(Port());

    const Reply reply = first.Client.Exchange("POST", kAuth, {}, Identity("0000000000000000"));
    EXPECT_EQ(503u, reply.status);
    EXPECT_EQ(10u, reply.ErrCode());

    second.Send("DELETE", "MXS/ContextManager/Context/" + second.ContextId);
    EXPECT_EQ(201u, first.Client.Exchange("POST", kAuth, {}, Identity("0000000000000000")).status);
}

TEST_F(Contexts, RequestsThatMeetTheEndOfTheirContextAreAnswered)
{
    Port();
    for (int round = 0; round < 20; ++round)
    {
        Session session(Port());
        std::thread worker(
            [&, token = session.Token]
            {
                HttpClient client(Port());
                for (;;)
                {
                    const Reply reply =
                        client.Exchange("POST", Session::Path("MXS/Stream/Mines/"), {{"Authorization", token}},
                                        R"({"Type":"RX","Essence":1,"Shared":true,"ID":"0000000000000000"})");
                    if (reply.status == 201 || reply.ErrCode() == 10) continue; // as many as there may be
                    EXPECT_EQ(5016u, reply.ErrCode());
                    return;
                }
            });
        EXPECT_EQ(200u, session.Send("DELETE", "MXS/ContextManager/Context/" + session.ContextId).status);
        worker.join();
    }
    Session observer(Port());
    EXPECT_EQ(json::array(), observer.GetJson("MXS/Stream/Shared/")["ID"]); // none was left behind
}

} // namespace
} // namespace test

// The listener: headers, hosts, paths, limits, and what does not end the service.
#include "ServiceFixture.h"

#include <atomic>
#include <random>
#include <thread>

namespace test
{
namespace
{

using Http = ServiceTest;

constexpr const char* kStatus = "/api/x-mxs/v1.0/MXS/";

TEST_F(Http, EveryAnswerIsJsonErrorsToo)
{
    Session session(Port());

    EXPECT_EQ("application/json", session.Get("MXS/").contentType);
    EXPECT_EQ("application/json", session.Get("MXS/Nothing").contentType);
    EXPECT_EQ("application/json", session.Send("PATCH", "MXS/").contentType);
    EXPECT_EQ("application/json", session.Send("POST", "MXS/ContextManager/Tick/").contentType);
    EXPECT_TRUE(session.Get("MXS/Nothing").Json().contains("ErrMsg"));
}

TEST_F(Http, TwoConnectionHeadersAndAnEmptyAuthorizationAreAccepted)
{
    Session session(Port());
    const HttpClient::Headers twice{
        {"Connection", "Keep-Alive"}, {"Connection", "keep-alive"}, {"Authorization", session.Token}};

    EXPECT_EQ(200u, session.Client.Exchange("GET", kStatus, twice).status);
    EXPECT_EQ(5014u, session.Client.Exchange("GET", kStatus, {{"Authorization", ""}}).ErrCode());
    session.Client.SendRaw("GET /api/x-mxs/v1.0/MXS/ HTTP/1.1\r\nHost: localhost\r\nAuthorization:\r\n\r\n");
    EXPECT_EQ(5014u, session.Client.Receive().ErrCode());
    EXPECT_EQ(200u, session.Client.Exchange("GET", kStatus, twice).status); // the connection was kept
}

TEST_F(Http, ConnectionCloseIsObeyed)
{
    HttpClient client(Port());

    const Reply reply = client.Exchange("GET", kStatus, {{"Connection", "close"}});

    EXPECT_EQ(5014u, reply.ErrCode());
    EXPECT_EQ("close", reply.connection);
    EXPECT_TRUE(client.IsClosedByPeer());
}

struct HostCase
{
    const char* host;
    bool permitted;
};

class HttpHost : public ServiceTest, public ::testing::WithParamInterface<HostCase>
{
};

TEST_P(HttpHost, IsRefusedUnlessItNamesTheLoopback)
{
    Session session(Port());

    const Reply reply =
        session.Client.Exchange("GET", kStatus, {{"Host", GetParam().host}, {"Authorization", session.Token}});

    EXPECT_EQ(GetParam().permitted ? 200u : 403u, reply.status);
    EXPECT_EQ(GetParam().permitted ? 0u : 17u, reply.ErrCode());
}

constexpr HostCase kHosts[] = {
    {"localhost", true},
    {"LocalHost:80", true},
    {"localhost:7420", true},
    {"127.0.0.1", true},
    {"127.0.0.1:1", true},
    {"[::1]", true},
    {"[::1]:7420", true},
    {"example.com", false},
    {"example.com:7420", false},
    {"127.0.0.2", false},
    {"localhost.evil.com", false},
    {"::1", false},
    {"localhost:", false},
    {"localhost:99999", false},
    {"localhost:80x", false},
    {"", false},
    {"[::1", false},
    {"[::2]", false},
    {"127.0.0.1.", false},
    {"evil@localhost", false},
};
INSTANTIATE_TEST_SUITE_P(Hosts, HttpHost, ::testing::ValuesIn(kHosts));

TEST_F(Http, ARequestWithoutHostOrWithTwoIsRefused)
{
    HttpClient client(Port());

    client.SendRaw("GET /api/x-mxs/v1.0/MXS/ HTTP/1.1\r\n\r\n");
    EXPECT_EQ(17u, client.Receive().ErrCode());
    client.SendRaw("GET /api/x-mxs/v1.0/MXS/ HTTP/1.1\r\nHost: localhost\r\nHost: example.com\r\n\r\n");
    EXPECT_EQ(17u, client.Receive().ErrCode());
}

TEST_F(Http, ARequestOfAWebPageIsRefusedWhereverThePageIsFrom)
{
    mxs::ServiceSettings settings;
    settings.contexts = 1;
    Run(settings);
    HttpClient client(Port());
    const std::string identity = R"({"AppID":"0000000000000000","ContextID":"0000000000000000"})";
    for (const char* origin : {"https://example.com", "http://localhost:7420", "null", ""})
        for (const char* method : {"POST", "GET", "OPTIONS"})
        {
            const Reply reply = client.Exchange(method, "/api/x-mxs/v1.0/MXS/ContextManager/Auth/",
                                                {{"Origin", origin}, {"Content-Type", "text/plain"}}, identity);
            EXPECT_EQ(403u, reply.status) << method << " " << origin;
            EXPECT_EQ(17u, reply.ErrCode());
            EXPECT_TRUE(reply.authorization.empty());
        }
    EXPECT_EQ(64u, Session(Port()).Token.size()); // the one context that there may be is still to be had
}

TEST_F(Http, AnAbsoluteTargetIsServedWhenItsHostIsTheLoopback)
{
    Session session(Port());
    const HttpClient::Headers token{{"Authorization", session.Token}};

    EXPECT_EQ(200u, session.Client.Exchange("GET", std::string("http://localhost:1") + kStatus, token).status);
    EXPECT_EQ(17u, session.Client.Exchange("GET", std::string("http://example.com") + kStatus, token).ErrCode());
    EXPECT_EQ(5008u, session.Client.Exchange("GET", "http://localhost", token).ErrCode());
}

TEST_F(Http, BothLoopbackAddressesAreServed)
{
    HttpClient four(Port());
    EXPECT_EQ(5014u, four.Exchange("GET", kStatus, {}).ErrCode());
    try
    {
        HttpClient six(Port(), true);
        EXPECT_EQ(5014u, six.Exchange("GET", kStatus, {}).ErrCode());
    }
    catch (const std::exception&)
    {
        EXPECT_TRUE(LogHolds("no IPv6")) << "neither served nor said";
    }
}

struct PathCase
{
    const char* method;
    const char* target;
    uint32_t errCode; // 0: served
};

class HttpPath : public ServiceTest, public ::testing::WithParamInterface<PathCase>
{
};

TEST_P(HttpPath, GivesItsCode)
{
    Session session(Port());

    const Reply reply =
        session.Client.Exchange(GetParam().method, GetParam().target, {{"Authorization", session.Token}});

    EXPECT_EQ(GetParam().errCode, reply.ErrCode()) << reply.body;
    EXPECT_EQ(GetParam().errCode == 0 ? 200u : GetParam().errCode == 5015 ? 405u : 404u, reply.status);
}

constexpr PathCase kPaths[] = {
    {"GET", "/api/x-mxs/v1.0/MXS/", 0},
    {"GET", "/api/x-mxs/v1.0/MXS", 0},
    {"GET", "/api/x-mxs/v1.0/MXS/?verbose=1", 0},
    {"GET", "/api/x-mxs/v1.0/MXS/CpuCore", 0},
    {"GET", "/", 5008},
    {"GET", "*", 5008},
    {"GET", "/api/x-mxs/v1.0/", 5008},
    {"GET", "/api/x-mxs/v1.1/MXS/", 5008},
    {"GET", "/api/x-mxs/MXS/", 5008},
    {"GET", "/API/x-mxs/v1.0/MXS/", 5008},
    {"GET", "/api/x-mxs/v1.0/mxs/", 5008},
    {"GET", "/api/x-mxs/v1.0/MXS/CpuCores", 5008},
    {"GET", "/api/x-mxs/v1.0/MXS/CpuCore/1/Status", 5008},
    {"GET", "/api/x-mxs/v1.0/MXS/CpuCore/14000000000000zz/Status", 5008},
    {"GET", "/api/x-mxs/v1.0/MXS/a/b/c/d/e/f/g/h/i/j/k/l/m/n", 5008},
    {"GET", "/api/x-mxs/v1.0/MXS/../MXS/", 5008},
    {"POST", "/api/x-mxs/v1.0/MXS/", 5015},
    {"PUT", "/api/x-mxs/v1.0/MXS/ContextManager/Tick/", 5015},
    {"GET", "/api/x-mxs/v1.0/MXS/ContextManager/Auth/", 5015},
    {"DELETE", "/api/x-mxs/v1.0/MXS/ContextManager/Context/", 5015},
    {"POST", "/api/x-mxs/v1.0/MXS/Conductor/Shared/", 5015},
    {"BREW", "/api/x-mxs/v1.0/MXS/", 5015},
};
INSTANTIATE_TEST_SUITE_P(Paths, HttpPath, ::testing::ValuesIn(kPaths));

TEST_F(Http, AMethodThatIsNotServedIsToldTheOnesThatAre)
{
    Session session(Port());

    EXPECT_EQ("GET, POST", session.Send("PUT", "MXS/Conductor/Mines/").allow);
    EXPECT_EQ("GET, PUT", session.Send("POST", "MXS/Conductor/Mines/1200000000000001/Config").allow);
}

TEST_F(Http, AHeadAnswerHasNoBodyAndTheConnectionGoesOn)
{
    Session session(Port());

    session.Client.SendRaw("HEAD /api/x-mxs/v1.0/MXS/ HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(405u, session.Client.Receive().status);
    EXPECT_EQ(200u, session.Get("MXS/").status);
}

TEST_F(Http, GarbageIsAnsweredAndEndsTheConnectionAlone)
{
    Session session(Port());
    std::mt19937 random(7);
    for (int round = 0; round < 50; ++round)
    {
        HttpClient client(Port());
        std::string bytes(1 + random() % 3000, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(random());
        bytes += "\r\n\r\n"; // ends a header, whatever stands in front
        client.SendRaw(bytes);
        const Reply reply = client.Receive();
        EXPECT_EQ(400u, reply.status);
        EXPECT_EQ(5u, reply.ErrCode());
        EXPECT_TRUE(client.IsClosedByPeer());
    }
    for (const char* request :
         {"GET\r\n\r\n", "GET / HTTP/9.9\r\n\r\n", "GET / HTTP/1.1\r\nContent-Length: x\r\n\r\n",
          "GET / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n", "\x16\x03\x01\x02\r\n\r\n"})
    {
        HttpClient client(Port());
        client.SendRaw(request);
        EXPECT_EQ(400u, client.Receive().status) << request;
    }
    EXPECT_EQ(200u, session.Get("MXS/").status);
}

TEST(Limits, AreThoseThatUsersAreTold)
{
    const mxs::ServiceSettings settings;
    EXPECT_EQ(16u, settings.http.threads);
    EXPECT_EQ(1024u, settings.http.connections);
    EXPECT_EQ(16u * 1024, settings.http.headerBytes);
    EXPECT_EQ(1024u * 1024, settings.http.bodyBytes);
    EXPECT_EQ(std::chrono::seconds(180), settings.http.idle);
    EXPECT_EQ(std::chrono::seconds(30), settings.http.body);
    EXPECT_EQ(256u, settings.contexts);
    EXPECT_EQ(std::chrono::seconds(300), settings.contextTtl);
    EXPECT_EQ(128u, settings.conductors);
    EXPECT_EQ(1024u, settings.streams);
    EXPECT_EQ(uint64_t{8} * 1024 * 1024 * 1024, settings.media.memoryLimitBytes);
    EXPECT_EQ(100'000'000u, settings.media.longestHoldNs);
    EXPECT_EQ(1024u, settings.keptErrors);
    EXPECT_EQ(std::chrono::minutes(1), settings.errorLife);
}

TEST_F(Http, AHeaderThatIsTooLongIsRefused)
{
    HttpClient client(Port());
    client.SendRaw("GET / HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(20000, 'x') + "\r\n\r\n");
    const Reply reply = client.Receive();
    EXPECT_EQ(431u, reply.status);
    EXPECT_EQ(5u, reply.ErrCode());
}

TEST_F(Http, ABodyThatIsTooLongIsRefusedByItsLengthAndByItsChunks)
{
    Session session(Port());
    HttpClient declared(Port());
    declared.SendRaw("PUT / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2000000\r\n\r\n");
    EXPECT_EQ(413u, declared.Receive().status);

    mxs::ServiceSettings small;
    small.http.bodyBytes = 100;
    Run(small);
    HttpClient chunked(Port());
    chunked.SendRaw("PUT / HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n80\r\n" +
                    std::string(128, ' ') + "\r\n0\r\n\r\n");
    EXPECT_EQ(413u, chunked.Receive().status);
}

TEST_F(Http, AChunkedBodyIsRead)
{
    HttpClient client(Port());
    const std::string body = R"({"AppID":"0000000000000000","ContextID":"0000000000000000"})";
    client.SendRaw("POST /api/x-mxs/v1.0/MXS/ContextManager/Auth/ HTTP/1.1\r\nHost: localhost\r\n"
                   "Transfer-Encoding: chunked\r\n\r\n5\r\n" +
                   body.substr(0, 5) + "\r\n36\r\n" + body.substr(5) + "\r\n0\r\n\r\n");
    EXPECT_EQ(59u, body.size()); // 5 and 0x36
    EXPECT_EQ(201u, client.Receive().status);
}

TEST_F(Http, AClientThatAsksBeforeItSendsABodyIsToldToGoOn)
{
    HttpClient client(Port());
    const std::string body = R"({"AppID":"0000000000000000","ContextID":"0000000000000000"})";
    client.SendRaw("POST /api/x-mxs/v1.0/MXS/ContextManager/Auth/ HTTP/1.1\r\nHost: localhost\r\n"
                   "Expect: 100-continue\r\nContent-Length: 59\r\n\r\n");
    EXPECT_EQ(100u, client.Receive().status);
    client.SendRaw(body);
    EXPECT_EQ(201u, client.Receive().status);
}

TEST_F(Http, RequestsThatArriveTogetherAreAnsweredInTheirOrder)
{
    HttpClient client(Port());
    client.SendRaw(
        "GET / HTTP/1.1\r\nHost: localhost\r\n\r\nGET /api/x-mxs/v1.0/MXS/ HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(5008u, client.Receive().ErrCode());
    EXPECT_EQ(5014u, client.Receive().ErrCode());
}

TEST_F(Http, HundredsOfIdleAndHalfSentConnectionsStarveNobody)
{
    std::vector<std::unique_ptr<HttpClient>> idle;
    for (int count = 0; count < 300; ++count)
    {
        idle.push_back(std::make_unique<HttpClient>(Port()));
        if (count % 2) idle.back()->SendRaw("GET /api");
    }

    Session session(Port());
    EXPECT_EQ(200u, session.Get("MXS/").status);
    idle[0]->SendRaw("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(404u, idle[0]->Receive().status); // an idle one is still served
}

TEST_F(Http, ConnectionsAboveTheLimitAreClosedAndLeaveTheOthersAlone)
{
    mxs::ServiceSettings settings;
    settings.http.connections = 2;
    Run(settings);
    Session first(Port());
    auto second = std::make_unique<HttpClient>(Port());
    EXPECT_EQ(404u, second->Exchange("GET", "/", {}).status);

    HttpClient third(Port());
    EXPECT_TRUE(third.IsClosedByPeer());
    EXPECT_TRUE(LogHolds("A connection is refused"));
    EXPECT_EQ(200u, first.Get("MXS/").status);

    second.reset(); // makes room, as soon as the service has seen it
    for (int tries = 0; tries < 1000; ++tries)
    {
        try
        {
            HttpClient again(Port());
            EXPECT_EQ(404u, again.Exchange("GET", "/", {}).status);
            return;
        }
        catch (const std::exception&)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    FAIL() << "no room again";
}

TEST_F(Http, AnIdleConnectionIsClosedAfterItsTime)
{
    mxs::ServiceSettings settings;
    EXPECT_LE(std::chrono::seconds(120), settings.http.idle); // what clients may count on
    settings.http.idle = std::chrono::seconds(1);
    Run(settings);
    HttpClient client(Port());
    EXPECT_TRUE(client.IsClosedByPeer());
}

TEST_F(Http, WhatHasBegunHasLessTimeThanAnIdleConnectionHoweverItComes)
{
    mxs::ServiceSettings settings;
    settings.http.body = std::chrono::seconds(1); // idle ones have three minutes
    Run(settings);
    HttpClient idle(Port());
    for (const char* begun : {"GET / HTTP/1.1\r\nHost: localhost\r\nX: ",
                              "PUT / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10000\r\n\r\n"})
    {
        HttpClient halted(Port()), slow(Port());
        halted.SendRaw(begun);
        slow.SendRaw(begun);

        constexpr int kMostBytes = 2000; // 20 seconds
        int sent = 0;
        try
        {
            for (; sent < kMostBytes; ++sent, std::this_thread::sleep_for(std::chrono::milliseconds(10)))
                slow.SendRaw("x");
        }
        catch (const std::exception&) // closed
        {
        }
        ASSERT_GT(kMostBytes, sent) << begun;
        EXPECT_TRUE(halted.IsClosedByPeer()) << begun;
    }
    EXPECT_EQ(404u, idle.Exchange("GET", "/", {}).status);
}

TEST_F(Http, AClientThatDoesNotReadItsAnswersIsClosed)
{
    mxs::ServiceSettings settings;
    settings.http.body = std::chrono::seconds(1);
    Run(settings);
    HttpClient client(Port(), false, 4096);
    // Refused with a message that has the body in it. The system holds some of the answers that nobody reads.
    const std::string request = "POST /api/x-mxs/v1.0/MXS/ContextManager/Auth/ HTTP/1.1\r\nHost: localhost\r\n"
                                "Content-Length: 1000\r\n\r\n\"" +
                                std::string(999, 'x');
    client.SendRaw(request);
    EXPECT_LT(900u, client.Receive().ErrMsg().size());

    constexpr int kMostRequests = 1000000; // a gigabyte
    int sent = 0;
    try
    {
        for (; sent < kMostRequests; ++sent)
            client.SendRaw(request);
    }
    catch (const std::exception&) // closed
    {
    }
    EXPECT_GT(kMostRequests, sent);
    EXPECT_EQ(404u, HttpClient(Port()).Exchange("GET", "/", {}).status);
}

TEST_F(Http, WhatFollowsARefusedRequestIsReadForItsAnswerToArriveButNotForEver)
{
    const std::string refused = "PUT / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2000000000\r\n\r\n";
    const std::string mebibyte(size_t{1024} * 1024, ' ');
    HttpClient brief(Port());
    brief.SendRaw(refused + mebibyte);
    EXPECT_EQ(413u, brief.Receive().status);
    EXPECT_TRUE(brief.IsClosedByPeer()); // in its direction; the other one stays open for a while
    EXPECT_NO_THROW(brief.SendRaw(mebibyte));
    EXPECT_NO_THROW(brief.SendRaw(mebibyte));

    HttpClient endless(Port());
    constexpr int kMost = 1000;
    int sent = 0;
    try
    {
        endless.SendRaw(refused);
        for (; sent < kMost; ++sent)
            endless.SendRaw(mebibyte);
    }
    catch (const std::exception&) // closed
    {
    }
    EXPECT_LE(4, sent);
    EXPECT_GT(kMost, sent); // the system holds some beyond what is read
    EXPECT_EQ(404u, HttpClient(Port()).Exchange("GET", "/", {}).status);
}

TEST_F(Http, ManyClientsAtOnceAreServed)
{
    Port();
    std::vector<std::thread> clients;
    std::atomic<int> served = 0;
    for (int count = 0; count < 8; ++count)
        clients.emplace_back(
            [&]
            {
                Session session(Port());
                for (int round = 0; round < 50; ++round)
                {
                    const std::string conductor = session.CreateConductor(round % 2);
                    if (session.Send("DELETE", "MXS/Conductor/Mines/" + conductor).status == 200) ++served;
                }
            });
    for (std::thread& client : clients)
        client.join();
    EXPECT_EQ(400, served);
}

TEST_F(Http, TheServiceStopsWithConnectionsOpenAndItsPortCanBeTakenAgain)
{
    bool taken = false;
    for (int tries = 0; tries < 10 && !taken; ++tries) // another program may be faster with the port
    {
        Run();
        HttpClient idle(Port());
        Session session(Port());

        Running->Stop();
        EXPECT_TRUE(idle.IsClosedByPeer());

        mxs::ServiceSettings settings;
        settings.port = Running->Port();
        mxs::Service again(settings, Log);
        try
        {
            again.Start();
        }
        catch (const std::exception&)
        {
            continue;
        }
        taken = true;
        EXPECT_EQ(settings.port, again.Port());
        mxs::Service twice(settings, Log);
        EXPECT_THROW(twice.Start(), std::exception);
    }
    EXPECT_TRUE(taken);
}

} // namespace
} // namespace test

// The session with the service: authentication in all its forms, and the watchdog.
#include "Wire.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <thread>

#include "commandpipe/restclient/CContextManagerClient.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

using namespace Wire;
using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class Session : public SharedPeer
{
protected:
    utility::string_t Token()
    {
        utility::string_t token;
        Peer.Rest.GetJWT(&token);
        return token;
    }

    utility::string_t ContextId()
    {
        utility::string_t contextId;
        Peer.Rest.GetContextID(&contextId);
        return contextId;
    }

    IContextManagerClient* const ContextManager = Peer.Rest.GetContextManagerClient();
};

struct LocationCase
{
    std::string Name;
    unsigned Status;
    FakeHeaders Headers;
    std::string ContextId;  // the text that the session keeps
    uint64_t ContextNumber; // what stands in a record that held 7
    std::string Token = "before";
};

TEST_F(Session, TakesTheContextIdFromTheAnswer)
{
    const std::string number = "00000000000000ab";
    const LocationCase cases[]{
        {"Created", 201, {{"Location", "v1.0/MXS/ContextManager/Context/" + number}}, number, 0xab},
        {"WithAToken",
         201,
         {{"Authorization", "new"}, {"Location", "v1.0/MXS/ContextManager/Context/" + number}},
         number,
         0xab,
         "new"},
        {"HeadersInAnyCase",
         201,
         {{"aUTHORIZATION", "new"}, {"LOCATION", "v1.0/MXS/ContextManager/Context/" + number}},
         number,
         0xab,
         "new"},
        {"SixParts", 201, {{"Location", "a/b/c/d/e/f"}}, "e", 0xe},
        {"FifthPartNoIdentifier", 201, {{"Location", "a/b/c/d/xyz"}}, "xyz", 0},
        {"FourParts", 201, {{"Location", "a/b/c/d"}}, "", 7},
        {"FourPartsAndASlash", 201, {{"Location", "a/b/c/d/"}}, "", 7},
        {"EmptyParts", 201, {{"Location", "////e"}}, "e", 0xe},
        {"NoLocation", 201, {}, "", 7},
        {"Accepted", 200, {}, "0000000000000007", 7},
        {"AcceptedWithALocation", 200, {{"Location", "a/b/c/d/e"}}, "0000000000000007", 7},
        {"AnEmptyToken", 200, {{"Authorization", ""}}, "0000000000000007", 7, ""},
    };
    for (const LocationCase& row : cases)
    {
        SCOPED_TRACE(row.Name);
        Peer.Rest.SetJWT("before");
        Peer.Rest.SetContextID("before");
        Peer.Service.Answer("POST", kAuth, row.Status, "", row.Headers);

        CONTEXT_IDENTITY identity{.AppID = 0, .ContextID = 7};
        EXPECT_EQ(ContextManager->Authenticate(&identity), RESULT_NO_ERROR);
        EXPECT_EQ(ContextId(), row.ContextId);
        EXPECT_EQ(identity.ContextID, row.ContextNumber);
        EXPECT_EQ(Token(), row.Token);
    }
}

TEST_F(Session, AuthenticatesWithoutATokenAndGoesOnWithTheNewOneVerbatim)
{
    Peer.Service.PlaySession();
    Peer.Rest.SetJWT("of-an-earlier-session");
    CONTEXT_IDENTITY identity;
    ASSERT_EQ(ContextManager->Authenticate(&identity), RESULT_NO_ERROR);
    const FakeRequest request = Peer.Service.LastRequest("POST", kAuth);
    EXPECT_THAT(request.Values("Authorization"), ElementsAre(""));
    EXPECT_EQ(request.Body, R"({"AppID":"0000000000000000","ContextID":"0000000000000000"})");
    EXPECT_EQ(identity.ContextID, 1u);

    CONTEXT_LAST_ACCESS access;
    EXPECT_EQ(ContextManager->GetCurrentContextStatus(&access), RESULT_NO_ERROR);
    EXPECT_EQ(access.LastAccess, 1u);
    EXPECT_EQ(ContextManager->DeleteCurrentContext(), RESULT_NO_ERROR);
    const std::string path = "MXS/ContextManager/Context/0000000000000001";
    EXPECT_THAT(Peer.Service.LastRequest("GET", path).Values("Authorization"), ElementsAre(FakeMxs::kToken));
    EXPECT_THAT(Peer.Service.LastRequest("DELETE", path).Values("Authorization"), ElementsAre(FakeMxs::kToken));
    EXPECT_EQ(Token(), FakeMxs::kToken); // neither is cleared
    EXPECT_EQ(ContextId(), "0000000000000001");
}

TEST_F(Session, ARefusalChangesNothing)
{
    Peer.Rest.SetJWT("before");
    Peer.Rest.SetContextID("before");
    Peer.Service.Answer("POST", kAuth, 401, R"({"ErrMsg": "No", "ErrCode": 5010})",
                        {{"Authorization", "new"}, {"Location", "a/b/c/d/e"}});
    CONTEXT_IDENTITY identity{.AppID = 0, .ContextID = 7};
    EXPECT_EQ(ContextManager->Authenticate(&identity), RESULT_BAD_API_KEY);
    EXPECT_EQ(identity.ContextID, 7u);
    EXPECT_EQ(Token(), "before");
    EXPECT_EQ(ContextId(), "before");
}

TEST_F(Session, WithoutAContextIdThePathsEndInTheBareContext)
{
    Peer.Service.Answer("DELETE", "MXS/ContextManager/Context/", 200);
    EXPECT_EQ(ContextManager->DeleteCurrentContext(), RESULT_NO_ERROR);
    uint64_t id = 5;
    EXPECT_EQ(ContextManager->GetCurrentContext(&id), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(id, 5u);
}

TEST_F(Session, GetCurrentContextParsesTheIdWithoutAnExchange)
{
    Peer.Rest.SetContextID("00000000000000fe");
    uint64_t id = 5;
    EXPECT_EQ(ContextManager->GetCurrentContext(&id), RESULT_NO_ERROR);
    EXPECT_EQ(id, 0xfeu);
    EXPECT_THAT(Peer.Requests(), IsEmpty());
}

TEST(SessionLife, GetCurrentContextBeforeInitializeGivesOperationFailed)
{
    CContextManagerClient client;
    uint64_t id = 5;
    EXPECT_EQ(client.GetCurrentContext(&id), RESULT_OPERATION_FAILED);
    EXPECT_EQ(id, 5u);
}

TEST_F(Session, TheListOfContextsFailsWithoutItsKeyAndIsThenUntouched)
{
    const std::string path = "MXS/ContextManager/Context/";
    std::vector<uint64_t> ids{1};
    Peer.Service.Answer("GET", path, 200, "{}");
    EXPECT_EQ(ContextManager->GetList(&ids), RESULT_OPERATION_FAILED);
    EXPECT_THAT(ids, ElementsAre(1));
    Peer.Service.Answer("GET", path, 200, R"({"ID": 3})");
    EXPECT_EQ(ContextManager->GetList(&ids), RESULT_INVALID_ARGUMENT);
    EXPECT_THAT(ids, ElementsAre(1));
    Peer.Service.Answer("GET", path, 200, R"({"ID": []})");
    EXPECT_EQ(ContextManager->GetList(&ids), RESULT_NO_ERROR);
    EXPECT_THAT(ids, IsEmpty());
}

TEST_F(Session, GetWatchdogConfigReadsTheTtlAndDoesNotAskForInitialization)
{
    Peer.Service.Answer("GET", "MXS/ContextManager/Watchdog/", 200, R"({"TTL": 20})");
    CONTEXT_TTL ttl;
    EXPECT_EQ(ttl.TTL, 300u);
    EXPECT_EQ(ContextManager->GetWatchdogConfig(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(ContextManager->GetWatchdogConfig(&ttl), RESULT_NO_ERROR);
    EXPECT_EQ(ttl.TTL, 20u);

    CContextManagerClient client;
    ASSERT_EQ(client.Initialize(&Peer.Rest), RESULT_NO_ERROR);
    ASSERT_EQ(client.Shutdown(), RESULT_NO_ERROR);
    ttl = {};
    EXPECT_EQ(client.GetWatchdogConfig(&ttl), RESULT_NO_ERROR);
    EXPECT_EQ(ttl.TTL, 20u);
    EXPECT_EQ(client.TickCurrentContext(), RESULT_NOT_INITIALIZED);

    CContextManagerClient unknown; // has never known a transport
    EXPECT_EQ(unknown.GetWatchdogConfig(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(unknown.GetWatchdogConfig(&ttl), RESULT_OPERATION_FAILED);
}

TEST_F(Session, ATickIsAPostWithoutABody)
{
    Peer.Rest.SetJWT("the-token");
    EXPECT_EQ(ContextManager->TickCurrentContext(), RESULT_NO_ERROR);
    const FakeRequest tick = Peer.Service.Requests("POST", kTick).front();
    EXPECT_EQ(tick.Body, "");
    EXPECT_THAT(tick.Values("Authorization"), ElementsAre("the-token"));
    EXPECT_THAT(tick.Values("Content-Type"), IsEmpty());
}

TEST(Watchdog, TicksASecondAfterInitializeAlsoWithoutASession)
{
    const auto start = std::chrono::steady_clock::now();
    Connected Peer;
    ASSERT_TRUE(Peer.Service.WaitForRequests("POST", kTick, 1));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 1s);
    EXPECT_THAT(Peer.Service.LastRequest("POST", kTick).Values("Authorization"), ElementsAre(""));
    EXPECT_TRUE(Peer.Service.WaitForRequests("POST", kTick, 2));
}

TEST_F(Session, ItsWatchdogGoesOnWhateverBecomesOfItsTicks)
{
    // A refusal, a redirect that raises in the transport, no answer, then a good one.
    Peer.Service.AnswerOnce("POST", kTick, FakeAnswer{.Status = 401, .Body = R"({"ErrMsg": "", "ErrCode": 5016})"});
    Peer.Service.AnswerOnce("POST", kTick, FakeAnswer{.Status = 303, .Headers = {{"Location", "short"}}});
    Peer.Service.AnswerOnce("POST", kTick, FakeAnswer::CloseWithoutAnswer());
    EXPECT_TRUE(Peer.Service.WaitForRequests("POST", kTick, 4));
}

TEST(Watchdog, LogsEachTickOfAServiceThatHasGone)
{
    Connected Peer;
    LogCapture log;
    Peer.Service.Stop();
    for (int i = 0; i < 100 && log.Lines(3).size() < 2; ++i)
        std::this_thread::sleep_for(100ms);
    ASSERT_GE(log.Lines(3).size(), 2u);
    EXPECT_THAT(log.Lines(3).back(), testing::StartsWith("Unable to send the request. - "));
}

TEST(Watchdog, EndsWithTheTextOfAFailureOnEveryEnd)
{
    Connected Peer;
    LogCapture log;
    ASSERT_TRUE(Peer.Service.WaitForRequests("POST", kTick, 1));
    Peer.Rest.Shutdown();
    EXPECT_THAT(log.Lines(7), Contains("Quillmont::Trellis::CommandPipe::RestClient::CContextManagerClient::Run"
                                       " --> Exiting - Return: Operation Failed"));
}

TEST(Watchdog, AShutdownLetsTheLastTickPassAndNoneFollows)
{
    bool lastTickPassed = false;
    // Once more when the thread had not come to its second yet, or had just ended it.
    for (int attempt = 0; attempt < 4 && !lastTickPassed; ++attempt)
    {
        Connected Peer;
        std::this_thread::sleep_for(200ms);
        const size_t before = Peer.Service.Count("POST", kTick);
        Peer.Rest.Shutdown(); // waits for the running second and its tick
        const size_t ticks = Peer.Service.Count("POST", kTick);
        lastTickPassed = ticks > before;
        std::this_thread::sleep_for(1200ms);
        EXPECT_EQ(Peer.Service.Count("POST", kTick), ticks);
    }
    EXPECT_TRUE(lastTickPassed);
}

TEST(Watchdog, CanBeStoppedApartFromTheTransport)
{
    Connected peer;
    CContextManagerClient client;
    ASSERT_EQ(client.Initialize(&peer.Rest), RESULT_NO_ERROR);
    ASSERT_EQ(client.Shutdown(), RESULT_NO_ERROR);
    const size_t ofBoth = peer.Service.Count("POST", kTick);
    EXPECT_TRUE(peer.Service.WaitForRequests("POST", kTick, ofBoth + 1)); // of the transport's own, which goes on

    peer.Rest.Shutdown();
    const size_t ticks = peer.Service.Count("POST", kTick);
    std::this_thread::sleep_for(1200ms);
    EXPECT_EQ(peer.Service.Count("POST", kTick), ticks);
    EXPECT_EQ(client.TickCurrentContext(), RESULT_NOT_INITIALIZED);
    EXPECT_EQ(client.Shutdown(), RESULT_NO_ERROR);
}

std::set<std::string> ThreadsOfThisProcess()
{
    std::set<std::string> threads;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
        threads.insert(entry.path().filename());
    return threads;
}

TEST(SessionLife, InitializeWithNullStartsNoThread)
{
    CContextManagerClient client;
    const std::set<std::string> before = ThreadsOfThisProcess();
    EXPECT_EQ(client.Initialize(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_THAT(before, testing::IsSupersetOf(ThreadsOfThisProcess())); // a watchdog would live for a second
    EXPECT_EQ(client.TickCurrentContext(), RESULT_NOT_INITIALIZED);
}

} // namespace

// The transport itself: its life, its headers, bodies and error records.
#include "Wire.h"

#include <atomic>
#include <stdexcept>
#include <thread>

#include "commandpipe/restclient/CommandResClientFactory.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>
#include <pplx/threadpool.h>

using namespace Wire;
using Quillmont::Trellis::CommandPipe::CommandResClientFactory;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace
{

const std::string kStatus =
    R"({"MxsVersion": 281474976710656, "FlowRailVersion": 65536, "Initialized": true, "ProcessingStatus":)"
    R"( {"ThreadCount": 1, "ProcessingTime": 2, "WaitTime": 3, "GlobalLoad": 0.5, "MinimumWaitTime": 4,)"
    R"( "MaximumWaitTime": 5, "MinimumProcessingTime": 6, "MaximumProcessingTime": 7, "JobRate": 8, "JobCount": 9}})";

class Transport : public SharedPeer
{
protected:
    HttpResponse Exchange(const utility::string_t& path)
    {
        RestRequest request;
        request.Path = path;
        request.Method = web::http::methods::GET;
        HttpResponse response = std::make_shared<web::http::http_response>();
        EXPECT_EQ(Peer.Rest.SendRequestAndGetResponse(request, response), RESULT_NO_ERROR);
        return response;
    }
};

void ExpectAllGettersNull(IRestClient& rest)
{
    EXPECT_EQ(rest.GetContextManagerClient(), nullptr);
    EXPECT_EQ(rest.GetStreamClient(), nullptr);
    EXPECT_EQ(rest.GetConductorClient(), nullptr);
    EXPECT_EQ(rest.GetCpuCoreClient(), nullptr);
    EXPECT_EQ(rest.GetNetworkInterfaceClient(), nullptr);
    EXPECT_EQ(rest.GetPtpApiClient(), nullptr);
}

TEST(TransportLife, OneThatIsNotInitializedHasNoClientsAndNoStatus)
{
    CRestClient rest;
    MXS_STATUS status;
    EXPECT_EQ(rest.Initialize(nullptr), RESULT_INVALID_ARGUMENT);
    ExpectAllGettersNull(rest);
    EXPECT_EQ(rest.GetStatus(&status), RESULT_NOT_INITIALIZED);
    EXPECT_EQ(rest.GetStatus(nullptr), RESULT_NOT_INITIALIZED);
    EXPECT_EQ(rest.Shutdown(), RESULT_NO_ERROR);
}

TEST(TransportLife, HasSixClientsUntilItsShutdownAndAgainAfterTheNextInitialize)
{
    Connected Peer;
    EXPECT_NE(Peer.Rest.GetContextManagerClient(), nullptr);
    EXPECT_NE(Peer.Rest.GetStreamClient(), nullptr);
    EXPECT_NE(Peer.Rest.GetConductorClient(), nullptr);
    EXPECT_NE(Peer.Rest.GetCpuCoreClient(), nullptr);
    EXPECT_NE(Peer.Rest.GetNetworkInterfaceClient(), nullptr);
    EXPECT_NE(Peer.Rest.GetPtpApiClient(), nullptr);

    EXPECT_EQ(Peer.Rest.Shutdown(), RESULT_NO_ERROR);
    ExpectAllGettersNull(Peer.Rest);
    MXS_STATUS status;
    EXPECT_EQ(Peer.Rest.GetStatus(&status), RESULT_NOT_INITIALIZED);
    EXPECT_EQ(Peer.Rest.Shutdown(), RESULT_NO_ERROR);

    Peer.Service.Answer("GET", "MXS/", 200, kStatus);
    const RestClientConfig config{.Url = Peer.Service.BaseUrl(), .KeepAlive = true};
    EXPECT_EQ(Peer.Rest.Initialize(&config), RESULT_NO_ERROR);
    EXPECT_EQ(Peer.Rest.GetStatus(&status), RESULT_NO_ERROR);
}

TEST(TransportLife, KeepsTokenAndContextIdOverAShutdown)
{
    Connected Peer;
    Peer.Rest.SetJWT("kept-token");
    Peer.Rest.SetContextID("kept-id");
    Peer.Rest.Shutdown();
    utility::string_t token, contextId;
    Peer.Rest.GetJWT(&token);
    Peer.Rest.GetContextID(&contextId);
    EXPECT_EQ(token, "kept-token");
    EXPECT_EQ(contextId, "kept-id");
}

TEST(TransportLife, AnUnusableUrlLeavesAsTheExceptionOfTheHttpLibrary)
{
    CRestClient rest;
    const RestClientConfig config{.Url = "http://local host:99999999/[", .KeepAlive = true};
    EXPECT_THROW(rest.Initialize(&config), web::uri_exception);
    ExpectAllGettersNull(rest);
}

TEST(TransportLife, TheFactoryMakesAndEndsAClient)
{
    IRestClient* rest = nullptr;
    EXPECT_EQ(CommandResClientFactory::CreateRestClient(nullptr), 5u);
    EXPECT_EQ(CommandResClientFactory::DeleteRestClient(nullptr), 5u);
    ASSERT_EQ(CommandResClientFactory::CreateRestClient(&rest), 0u);
    ASSERT_NE(rest, nullptr);
    EXPECT_EQ(rest->GetConductorClient(), nullptr);
    EXPECT_EQ(CommandResClientFactory::DeleteRestClient(rest), 0u);
}

// Alone in its process: the HTTP library's threads are counted once, before their first use.
TEST(PoolOfTheApplication, IsGoodEnough)
{
    try
    {
        crossplat::threadpool::initialize_with_threads(2);
    }
    catch (const std::exception&)
    {
        GTEST_SKIP() << "a test before this one has used the pool";
    }

    Connected Peer;
    Peer.Service.Answer("GET", "MXS/", 200, kStatus);
    MXS_STATUS status;
    EXPECT_EQ(Peer.Rest.GetStatus(&status), RESULT_NO_ERROR);
    EXPECT_EQ(status.ProcessingStatus.ThreadCount, 1u);
}

// A client whose shutdown fails, and which tells of its end.
class StubbornClient : public IRestClient
{
public:
    explicit StubbornClient(bool& destroyed) : Destroyed(destroyed) {}
    ~StubbornClient() override { Destroyed = true; }
    RESULT_CODE Initialize(const RestClientConfig*) override { return RESULT_NO_ERROR; }
    RESULT_CODE Shutdown() override { return RESULT_OPERATION_FAILED; }
    RESULT_CODE GetStatus(MXS_STATUS*) override { return RESULT_NO_ERROR; }
    IContextManagerClient* GetContextManagerClient() override { return nullptr; }
    IStreamClient* GetStreamClient() override { return nullptr; }
    IConductorClient* GetConductorClient() override { return nullptr; }
    ICpuCoreClient* GetCpuCoreClient() override { return nullptr; }
    INetworkInterfaceClient* GetNetworkInterfaceClient() override { return nullptr; }
    IPtpApiClient* GetPtpApiClient() override { return nullptr; }

private:
    bool& Destroyed;
};

TEST(TransportLife, TheFactoryDestroysAClientWhoseShutdownFailsAndSaysSo)
{
    bool destroyed = false;
    EXPECT_EQ(CommandResClientFactory::DeleteRestClient(new StubbornClient(destroyed)), 1u);
    EXPECT_TRUE(destroyed);
}

TEST(TransportLife, TheFactoryTracesWithTheSmallResults)
{
    LogCapture log;
    const std::string scope = "Quillmont::Trellis::CommandPipe::CommandResClientFactory::";
    CommandResClientFactory::CreateRestClient(nullptr);
    CommandResClientFactory::DeleteRestClient(nullptr);
    EXPECT_THAT(log.Lines(7), ElementsAre(scope + "CreateRestClient --> Entering - ",
                                          scope + "CreateRestClient --> Exiting - Return: Invalid Argument",
                                          scope + "DeleteRestClient --> Entering - ",
                                          scope + "DeleteRestClient --> Exiting - Return: Invalid Argument"));
}

TEST(TransportLife, IsTracedFromConstructionToDestruction)
{
    LogCapture log;
    const std::string scope = "Quillmont::Trellis::CommandPipe::RestClient::CRestClient::";
    {
        CRestClient rest;
    }
    EXPECT_THAT(log.Lines(7),
                ElementsAre(scope + "CRestClient --> Entering ", scope + "CRestClient --> Exiting ",
                            scope + "~CRestClient --> Entering ", scope + "Shutdown --> Entering - ",
                            scope + "Shutdown --> Exiting - Return: No Error", scope + "~CRestClient --> Exiting "));
}

TEST(TransportLife, InitializesTheClientsInTheOrderOfItsFields)
{
    LogCapture log;
    Connected peer;
    std::vector<std::string> initialized;
    for (const std::string& line : log.Lines(7))
        if (line.find("Client::Initialize --> Entering") != std::string::npos &&
            line.find("CRestClient") == std::string::npos)
            initialized.push_back(line.substr(line.find("RestClient::") + 12));
    EXPECT_THAT(initialized,
                ElementsAre("CContextManagerClient::Initialize --> Entering - ",
                            "CStreamClient::Initialize --> Entering - ", "CConductorClient::Initialize --> Entering - ",
                            "CCpuCoreClient::Initialize --> Entering - ",
                            "CNetworkInterfaceClient::Initialize --> Entering - ",
                            "CPtpApiClient::Initialize --> Entering - "));
}

TEST(TransportLife, ItsShutdownDestroysTheClientsInReverseOrder)
{
    Connected Peer;
    LogCapture log;
    Peer.Rest.Shutdown();
    std::vector<std::string> destroyed;
    for (const std::string& line : log.Lines(7))
        if (line.find("::~") != std::string::npos && line.find("Entering") != std::string::npos)
            destroyed.push_back(line.substr(line.find("::~") + 3));
    EXPECT_THAT(destroyed, ElementsAre("CPtpApiClient --> Entering ", "CNetworkInterfaceClient --> Entering ",
                                       "CCpuCoreClient --> Entering ", "CConductorClient --> Entering ",
                                       "CStreamClient --> Entering ", "CContextManagerClient --> Entering "));
}

TEST_F(Transport, ReadsTheServicesStatus)
{
    Peer.Service.Answer("GET", "MXS/", 200, kStatus);
    Peer.Rest.SetJWT("the-token");
    MXS_STATUS status;

    EXPECT_EQ(Peer.Rest.GetStatus(&status), RESULT_NO_ERROR);
    EXPECT_EQ(status.MxsVersion, 281474976710656u);
    EXPECT_EQ(status.FlowRailVersion, 65536u);
    EXPECT_TRUE(status.Initialized);
    EXPECT_EQ(status.ProcessingStatus.JobCount, 9u);
    EXPECT_THAT(Peer.Service.LastRequest("GET", "MXS/").Values("Authorization"), ElementsAre("the-token"));

    EXPECT_EQ(Peer.Rest.GetStatus(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(Peer.Service.Count("GET", "MXS/"), 1u);

    Peer.Service.AnswerError("GET", "MXS/", 5016, 401);
    EXPECT_EQ(Peer.Rest.GetStatus(&status), RESULT_CONTEXT_REMOVED);
}

TEST_F(Transport, ARequestWithoutBodyHasNoContentTypeButAlwaysConnectionAndAuthorization)
{
    Exchange("v1.0/MXS/Anything");
    const FakeRequest request = Peer.Service.LastRequest("GET", "MXS/Anything");
    EXPECT_THAT(request.Values("Content-Type"), IsEmpty());
    EXPECT_EQ(request.Body, "");
    EXPECT_THAT(request.Values("Connection"), Contains("keep-alive"));
    EXPECT_THAT(request.Values("Authorization"), ElementsAre(""));
}

TEST(TransportLife, WithoutKeepAliveTheConnectionHeaderReadsClose)
{
    Connected peer(false);
    MXS_STATUS status;
    peer.Rest.GetStatus(&status);
    const std::vector<std::string> values = peer.Service.LastRequest("GET", "MXS/").Values("Connection");
    EXPECT_THAT(values, Contains("close"));
    EXPECT_THAT(values, Not(Contains("keep-alive")));
}

TEST_F(Transport, KeptConnectionsServeManyExchanges)
{
    const size_t before = Peer.Service.ConnectionCount();
    for (int i = 0; i < 50; ++i)
        Exchange("v1.0/MXS/Anything");
    EXPECT_LE(Peer.Service.ConnectionCount(), before + 2); // one more if the watchdog has ticked meanwhile
}

TEST_F(Transport, SendsABodyAsJsonButNoneForAJsonNull)
{
    RestRequest request;
    request.Path = "v1.0/MXS/Target";
    request.Method = web::http::methods::PUT;
    request.Token = "Bearer of any text; verbatim";
    web::json::value body = web::json::value::parse(R"({"b": "ä\u20ac", "a": [1, true, null]})");
    request.Body = &body;
    const HttpResponse response = std::make_shared<web::http::http_response>();
    EXPECT_EQ(Peer.Rest.SendRequestAndGetResponse(request, response), RESULT_NO_ERROR);
    const FakeRequest sent = Peer.Service.LastRequest("PUT", "MXS/Target");
    EXPECT_EQ(web::json::value::parse(sent.Body), body);
    EXPECT_THAT(sent.Values("Content-Type"), ElementsAre("application/json"));
    EXPECT_THAT(sent.Values("Authorization"), ElementsAre("Bearer of any text; verbatim"));

    web::json::value null;
    request.Body = &null;
    EXPECT_EQ(Peer.Rest.SendRequestAndGetResponse(request, response), RESULT_NO_ERROR);
    const FakeRequest second = Peer.Service.LastRequest("PUT", "MXS/Target");
    EXPECT_EQ(second.Body, "");
    EXPECT_THAT(second.Values("Content-Type"), IsEmpty());
}

TEST_F(Transport, CountsEveryStatusAsAnExchange)
{
    for (const unsigned status : {200u, 303u, 404u, 500u})
    {
        Peer.Service.Answer("GET", "MXS/Anything", status);
        EXPECT_EQ(Exchange("v1.0/MXS/Anything")->status_code(), status);
    }
}

TEST_F(Transport, APathThatIsNoUriIsLoggedAndGivesOperationFailed)
{
    LogCapture log;
    RestRequest request;
    request.Path = "v1.0/MXS/a path with blanks";
    request.Method = web::http::methods::GET;
    const HttpResponse response = std::make_shared<web::http::http_response>();
    EXPECT_EQ(Peer.Rest.SendRequestAndGetResponse(request, response), RESULT_OPERATION_FAILED);
    EXPECT_THAT(log.Lines(3), ElementsAre(StartsWith("Unable to send the request. - ")));
    EXPECT_THAT(Peer.Requests(), IsEmpty());
}

TEST_F(Transport, GetBodyRefusesNullArguments)
{
    web::json::value json;
    EXPECT_EQ(Peer.Rest.GetBody(nullptr, &json), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(Peer.Rest.GetBody(Exchange("v1.0/MXS/"), nullptr), RESULT_INVALID_ARGUMENT);
}

TEST_F(Transport, RedirectRefusesAnotherStatusAndAMissingLocation)
{
    ServerError error;
    Peer.Service.Answer("GET", "MXS/Plain", 200);
    Peer.Service.Answer("GET", "MXS/Elsewhere", 303);
    EXPECT_EQ(Peer.Rest.Redirect(Exchange("v1.0/MXS/Plain"), &error), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(Peer.Rest.Redirect(Exchange("v1.0/MXS/Elsewhere"), &error), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(error.ErrMsg, "Unknown");
    EXPECT_EQ(error.ErrCode, RESULT_UNKNOWN);
}

TEST_F(Transport, RedirectFillsTheErrorWhateverTheSecondStatus)
{
    for (const unsigned status : {200u, 404u, 500u})
    {
        ServerError error;
        Peer.Service.Answer("GET", "MXS/Elsewhere", 303, "",
                            {{"lOcAtIoN", Peer.Service.BaseUrl() + "v1.0/MXS/Error/7"}});
        Peer.Service.Answer("GET", "MXS/Error/7", status, R"({"ErrMsg": "Seven", "ErrCode": 7})");
        EXPECT_EQ(Peer.Rest.Redirect(Exchange("v1.0/MXS/Elsewhere"), &error), RESULT_NO_ERROR);
        EXPECT_EQ(error.ErrMsg, "Seven");
        EXPECT_EQ(error.ErrCode, 7u);
    }
}

TEST_F(Transport, RedirectCutsByLengthAloneWhateverStandsThere)
{
    const std::string other(Peer.Service.BaseUrl().size(), 'x');
    Peer.Service.Answer("GET", "MXS/Elsewhere", 303, "", {{"Location", other + "v1.0/MXS/Error/7"}});
    Peer.Service.Answer("GET", "MXS/Error/7", 200, R"({"ErrMsg": "Seven", "ErrCode": 7})");
    EXPECT_EQ(Peer.Rest.GetServerError(Exchange("v1.0/MXS/Elsewhere")), 7u);
}

TEST_F(Transport, ALocationAsLongAsTheUrlYieldsAnEmptyPath)
{
    Peer.Service.Answer("GET", "MXS/Elsewhere", 303, "", {{"Location", Peer.Service.BaseUrl()}});
    Peer.Service.Answer("GET", "/api/x-mxs/", 200, R"({"ErrMsg": "Base", "ErrCode": 21})");
    EXPECT_EQ(Peer.Rest.GetServerError(Exchange("v1.0/MXS/Elsewhere")), 21u);
    EXPECT_EQ(Peer.Service.Count("GET", "/api/x-mxs/"), 1u);
}

TEST_F(Transport, ALocationShorterThanTheUrlRaisesOutOfRangeThroughTheOperation)
{
    Peer.Service.Answer("GET", "MXS/Conductor/Mines/", 303, "", {{"Location", "v1.0/MXS/Error/7"}});
    std::vector<uint64_t> ids;
    EXPECT_THROW(Peer.Rest.GetConductorClient()->GetMinesList(&ids), std::out_of_range);
}

TEST_F(Transport, AnErrorBehindA303ThatCannotBeFetchedGivesTheResultOfThatExchange)
{
    Peer.Service.Answer("GET", "MXS/Elsewhere", 303, "", {{"Location", Peer.Service.BaseUrl() + "v1.0/MXS/Error/7"}});
    Peer.Service.Answer("GET", "MXS/Error/7", FakeAnswer::CloseWithoutAnswer());
    EXPECT_EQ(Peer.Rest.GetServerError(Exchange("v1.0/MXS/Elsewhere")), RESULT_OPERATION_FAILED);
    Peer.Service.Answer("GET", "MXS/Error/7", 200, "no json");
    EXPECT_EQ(Peer.Rest.GetServerError(Exchange("v1.0/MXS/Elsewhere")), RESULT_INVALID_ARGUMENT);
    Peer.Service.Answer("GET", "MXS/Error/7", 303, "", {{"Location", Peer.Service.BaseUrl() + "v1.0/MXS/Error/7"}});
    EXPECT_EQ(Peer.Rest.GetServerError(Exchange("v1.0/MXS/Elsewhere")), RESULT_INVALID_ARGUMENT); // no second hop
}

TEST_F(Transport, TheTokenOperationsEndInOperationFailedOnSuccess)
{
    LogCapture log;
    const std::string scope = "Quillmont::Trellis::CommandPipe::RestClient::CRestClient::";
    utility::string_t text;
    EXPECT_EQ(Peer.Rest.SetJWT("a"), RESULT_OPERATION_FAILED);
    EXPECT_EQ(Peer.Rest.GetJWT(&text), RESULT_OPERATION_FAILED);
    EXPECT_EQ(text, "a");
    EXPECT_EQ(Peer.Rest.SetContextID("b"), RESULT_OPERATION_FAILED);
    EXPECT_EQ(Peer.Rest.GetContextID(&text), RESULT_OPERATION_FAILED);
    EXPECT_EQ(text, "b");
    for (const char* name : {"SetJWT", "GetJWT", "SetContextID", "GetContextID"})
        EXPECT_THAT(log.Lines(7), Contains(scope + name + " --> Exiting - Return: Operation Failed"));

    EXPECT_EQ(Peer.Rest.GetJWT(nullptr), RESULT_INVALID_ARGUMENT);
}

TEST_F(Transport, ThreadsExchangeSideBySideWhileTheTokenChanges)
{
    Peer.Service.Answer("GET", "MXS/", 200, kStatus);
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back(
            [&]
            {
                for (int k = 0; k < 50; ++k)
                {
                    MXS_STATUS status;
                    Peer.Rest.SetJWT(std::string(static_cast<size_t>(k), 't'));
                    if (Peer.Rest.GetStatus(&status) == RESULT_NO_ERROR && status.ProcessingStatus.JobCount == 9)
                        ++good;
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 200);
}

} // namespace

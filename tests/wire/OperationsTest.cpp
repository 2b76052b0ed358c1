// What holds for every operation alike, over all rows: the request to the byte, the order of the checks, what becomes
// of a refusal, and the trace.
#include "Operations.h"

#include <algorithm>
#include <memory>

#include "commandpipe/restclient/CConductorClient.h"
#include "commandpipe/restclient/CContextManagerClient.h"
#include "commandpipe/restclient/CCpuCoreClient.h"
#include "commandpipe/restclient/CNetworkInterfaceClient.h"
#include "commandpipe/restclient/CPtpApiClient.h"
#include "commandpipe/restclient/CStreamClient.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

using namespace Wire;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class Operations : public SharedPeer
{
protected:
    Operations()
    {
        Peer.Rest.SetJWT("the-token");
        Peer.Rest.SetContextID(kContextId);
    }

    // Authenticate replaces both.
    void RestoreSession()
    {
        Peer.Rest.SetJWT("the-token");
        Peer.Rest.SetContextID(kContextId);
        Peer.Service.ForgetRequests();
    }

    void PlayGoodAnswer(const Operation& operation)
    {
        Peer.Service.Answer(operation.Method, operation.Path, operation.GoodStatus, operation.Answer,
                            operation.AnswerHeaders);
    }

    const Clients All = ClientsOf(Peer.Rest);
};

TEST_F(Operations, SendTheRequestOfTheirRowAndReadTheAnswer)
{
    for (const Operation& operation : AllOperations())
    {
        SCOPED_TRACE(operation.Name);
        RestoreSession();
        PlayGoodAnswer(operation);

        EXPECT_EQ(operation.Call(All), RESULT_NO_ERROR);

        const std::vector<FakeRequest> requests = Peer.Requests();
        ASSERT_EQ(requests.size(), 1u);
        const FakeRequest& request = requests.front();
        EXPECT_EQ(request.Method, operation.Method);
        EXPECT_EQ(request.Target, "/api/x-mxs/v1.0/" + operation.Path);
        EXPECT_EQ(request.Head.substr(0, request.Head.find('\r')),
                  operation.Method + " /api/x-mxs/v1.0/" + operation.Path + " HTTP/1.1");
        EXPECT_THAT(request.Values("Host"), ElementsAre("localhost:" + std::to_string(Peer.Service.Port())));
        EXPECT_THAT(request.Values("Connection"), Contains("keep-alive"));
        EXPECT_THAT(request.Values("Authorization"), ElementsAre(operation.Token));
        EXPECT_EQ(request.Body, operation.Body);
        if (operation.Body.empty())
            EXPECT_THAT(request.Values("Content-Type"), IsEmpty());
        else
            EXPECT_THAT(request.Values("Content-Type"), ElementsAre("application/json"));
    }
}

TEST_F(Operations, GiveInvalidArgumentForANullPointerAndSendNothing)
{
    for (const Operation& operation : AllOperations())
    {
        if (!operation.CallWithNull) continue;
        SCOPED_TRACE(operation.Name);
        PlayGoodAnswer(operation);

        EXPECT_EQ(operation.CallWithNull(All), RESULT_INVALID_ARGUMENT);
    }
    EXPECT_THAT(Peer.Requests(), IsEmpty());
}

TEST_F(Operations, ReturnTheCodeOfTheErrorRecordAndLeaveOutputsAlone)
{
    for (const Operation& operation : AllOperations())
        for (const uint32_t code : {0u, 8u, 4999u, 5001u, 5005u, 5016u, 4294967295u})
        {
            SCOPED_TRACE(operation.Name + " " + std::to_string(code));
            Peer.Service.AnswerError(operation.Method, operation.Path, code, code < 5000 ? 500 : 404);

            EXPECT_EQ(operation.Call(All), code);
        }
}

TEST_F(Operations, FollowA303ToTheErrorRecordWithoutTheToken)
{
    Peer.Service.Answer("GET", "MXS/Errors/1234", 200, R"({"ErrMsg": "It is busy.", "ErrCode": 11})");
    for (const Operation& operation : AllOperations())
    {
        SCOPED_TRACE(operation.Name);
        Peer.Service.ForgetRequests();
        Peer.Service.Answer(operation.Method, operation.Path, 303, "",
                            {{"Location", Peer.Service.BaseUrl() + "v1.0/MXS/Errors/1234"}});

        EXPECT_EQ(operation.Call(All), 11u);

        const FakeRequest second = Peer.Service.LastRequest("GET", "MXS/Errors/1234");
        EXPECT_THAT(second.Values("Authorization"), ElementsAre(""));
        EXPECT_THAT(second.Values("Connection"), Contains("keep-alive"));
        EXPECT_EQ(second.Body, "");
    }
}

TEST_F(Operations, GiveOperationFailedWhenThereIsNoAnswer)
{
    for (const Operation& operation : AllOperations())
    {
        SCOPED_TRACE(operation.Name);
        Peer.Service.Answer(operation.Method, operation.Path, FakeAnswer::CloseWithoutAnswer());

        EXPECT_EQ(operation.Call(All), RESULT_OPERATION_FAILED);
    }
}

TEST_F(Operations, GiveOperationFailedForAGoodStatusWithoutTheBodyThatTheyRead)
{
    for (const Operation& operation : AllOperations())
    {
        if (operation.Answer.empty()) continue;
        SCOPED_TRACE(operation.Name);
        Peer.Service.Answer(operation.Method, operation.Path, 200);

        EXPECT_EQ(operation.Call(All), RESULT_OPERATION_FAILED);
    }
}

TEST_F(Operations, TakeNoOtherStatusForGood)
{
    for (const Operation& operation : AllOperations())
        for (const unsigned status : {201u, 202u, 204u, 206u, 299u, 300u, 400u})
        {
            SCOPED_TRACE(operation.Name + " " + std::to_string(status));
            const bool twoGood = operation.GoodStatus == 201; // 200 is the other one
            if (status == 201 && twoGood) continue;
            Peer.Service.Answer(operation.Method, operation.Path, status, "", operation.AnswerHeaders);

            EXPECT_EQ(operation.Call(All), RESULT_INVALID_ARGUMENT); // no error record can be read
        }
}

TEST_F(Operations, TraceUnderTheirFullNameWithTheFinalResult)
{
    const std::string scope = "Quillmont::Trellis::CommandPipe::RestClient::";
    LogCapture log;
    for (const Operation& operation : AllOperations())
    {
        SCOPED_TRACE(operation.Name);
        RestoreSession();
        PlayGoodAnswer(operation);
        log.Clear();
        operation.Call(All);
        EXPECT_THAT(log.Lines(7), Contains(scope + operation.Name + " --> Entering - "));
        EXPECT_THAT(log.Lines(7), Contains(scope + operation.Name + " --> Exiting - Return: No Error"));

        Peer.Service.AnswerError(operation.Method, operation.Path, 5012);
        log.Clear();
        operation.Call(All);
        EXPECT_THAT(log.Lines(7), Contains(scope + operation.Name +
                                           " --> Exiting - Return: Resource access is not allowed in this context"));
    }
}

struct Standalone
{
    CContextManagerClient ContextManager;
    CStreamClient Stream;
    CConductorClient Conductor;
    CCpuCoreClient CpuCore;
    CNetworkInterfaceClient NetworkInterface;
    CPtpApiClient Ptp;
    Clients All() { return {&ContextManager, &Stream, &Conductor, &CpuCore, &NetworkInterface, &Ptp}; }
};

TEST(UninitializedClients, GiveNotInitializedBeforeAnyLookAtTheArguments)
{
    Standalone clients;
    for (const Operation& operation : AllOperations())
    {
        SCOPED_TRACE(operation.Name);
        EXPECT_EQ(operation.Call(clients.All()), RESULT_NOT_INITIALIZED);
        if (operation.CallWithNull)
        {
            EXPECT_EQ(operation.CallWithNull(clients.All()), RESULT_NOT_INITIALIZED);
        }
    }
    EXPECT_EQ(clients.ContextManager.TickCurrentContext(), RESULT_NOT_INITIALIZED);
}

TEST(UninitializedClients, RefuseANullTransportAndStayUninitialized)
{
    Standalone clients;
    EXPECT_EQ(clients.ContextManager.Initialize(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(clients.Stream.Initialize(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(clients.Conductor.Initialize(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(clients.CpuCore.Initialize(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(clients.NetworkInterface.Initialize(nullptr), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(clients.Ptp.Initialize(nullptr), RESULT_INVALID_ARGUMENT);
    for (const Operation& operation : AllOperations())
        EXPECT_EQ(operation.Call(clients.All()), RESULT_NOT_INITIALIZED) << operation.Name;
}

TEST_F(Operations, CanBeShutDownTwiceAndInitializedAgain)
{
    CConductorClient conductor;
    CPtpApiClient ptp;
    Peer.Service.Answer("GET", "MXS/Conductor/Mines/", 200, R"({"ID": []})");
    std::vector<uint64_t> ids;

    EXPECT_EQ(conductor.Initialize(&Peer.Rest), RESULT_NO_ERROR);
    EXPECT_EQ(conductor.GetMinesList(&ids), RESULT_NO_ERROR);
    EXPECT_EQ(conductor.Shutdown(), RESULT_NO_ERROR);
    EXPECT_EQ(conductor.Shutdown(), RESULT_NO_ERROR);
    EXPECT_EQ(conductor.GetMinesList(&ids), RESULT_NOT_INITIALIZED);
    EXPECT_EQ(conductor.Initialize(&Peer.Rest), RESULT_NO_ERROR);
    EXPECT_EQ(conductor.GetMinesList(&ids), RESULT_NO_ERROR);

    EXPECT_EQ(ptp.Initialize(&Peer.Rest), RESULT_NO_ERROR);
    EXPECT_EQ(ptp.Shutdown(), RESULT_NO_ERROR);
    EXPECT_EQ(ptp.Shutdown(), RESULT_NO_ERROR);
}

TEST(UninitializedClients, TraceTheirLife)
{
    LogCapture log;
    const std::string scope = "Quillmont::Trellis::CommandPipe::RestClient::CCpuCoreClient::";
    std::make_unique<CCpuCoreClient>().reset();
    EXPECT_THAT(log.Lines(7),
                ElementsAre(scope + "CCpuCoreClient --> Entering ", scope + "CCpuCoreClient --> Exiting ",
                            scope + "~CCpuCoreClient --> Entering ", scope + "Shutdown --> Entering - ",
                            scope + "Shutdown --> Exiting - Return: No Error", scope + "~CCpuCoreClient --> Exiting "));
}

} // namespace

// What the tests of the command pipe share: a scripted peer and a REST client that is connected to it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "commandpipe/restclient/CRestClient.h"
#include "commandpipe/restclient/IConductorClient.h"
#include "commandpipe/restclient/IContextManagerClient.h"
#include "commandpipe/restclient/ICpuCoreClient.h"
#include "commandpipe/restclient/INetworkInterfaceClient.h"
#include "commandpipe/restclient/IPtpApiClient.h"
#include "commandpipe/restclient/IStreamClient.h"
#include "support/FakeMxs.h"

#include <gtest/gtest.h>

namespace Wire
{
using namespace Quillmont::Trellis::CommandPipe::RestClient;
using namespace Quillmont::Trellis::CommandPipe::RestServer;
namespace RtpEssence = Quillmont::Trellis::Mxs::RtpEssence;

inline constexpr const char* kTick = "MXS/ContextManager/Tick/";
inline constexpr const char* kAuth = "MXS/ContextManager/Auth/";

// A client without a session: its token and context id are empty.
class Connected
{
public:
    explicit Connected(bool keepAlive = true)
    {
        Service.Answer("POST", kTick, 200);
        const RestClientConfig config{.Url = Service.BaseUrl(), .KeepAlive = keepAlive};
        EXPECT_EQ(Rest.Initialize(&config), RESULT_NO_ERROR);
    }

    // All requests but the watchdog's.
    std::vector<FakeRequest> Requests() const
    {
        std::vector<FakeRequest> requests = Service.Requests();
        std::erase_if(requests, [](const FakeRequest& request) { return request.Path == kTick; });
        return requests;
    }

    FakeMxs Service; // outlives the client, whose watchdog ticks to the last
    CRestClient Rest;
};

// A suite whose tests share one peer: the end of a client takes a second, which each test would pay for.
class SharedPeer : public testing::Test
{
protected:
    static void SetUpTestSuite() { Shared = std::make_unique<Connected>(); }
    static void TearDownTestSuite() { Shared.reset(); }

    SharedPeer() : Peer(*Shared)
    {
        Peer.Service.ForgetAnswers();
        Peer.Service.Answer("POST", kTick, 200);
        Peer.Service.ForgetRequests();
        Peer.Rest.SetJWT("");
        Peer.Rest.SetContextID("");
    }

    Connected& Peer;

private:
    inline static std::unique_ptr<Connected> Shared;
};

} // namespace Wire

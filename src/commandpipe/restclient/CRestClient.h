// The one HTTP endpoint of a context: its connection to the service, the token and id of its session, and the six
// resource clients, which send all their exchanges through it.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include <cpprest/http_client.h>

#include "commandpipe/restclient/IRestClient.h"
#include "commandpipe/restclient/RestRequest.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using HttpResponse = std::shared_ptr<web::http::http_response>;

class CRestClient : public IRestClient
{
public:
    CRestClient();
    ~CRestClient() override;
    CRestClient(const CRestClient&) = delete;
    CRestClient& operator=(const CRestClient&) = delete;

    RestServer::RESULT_CODE Initialize(const RestClientConfig* config) override;
    RestServer::RESULT_CODE Shutdown() override;
    RestServer::RESULT_CODE GetStatus(RestServer::MXS_STATUS* status) override;
    IContextManagerClient* GetContextManagerClient() override;
    IStreamClient* GetStreamClient() override;
    IConductorClient* GetConductorClient() override;
    ICpuCoreClient* GetCpuCoreClient() override;
    INetworkInterfaceClient* GetNetworkInterfaceClient() override;
    IPtpApiClient* GetPtpApiClient() override;

    // What follows is for the resource clients. Any of their threads may call, several at once.

    // Waits for the answer, whose status is not looked at: 5000 for every answer, 5001 and a line in the log where
    // none came. The response is made by the caller and filled here.
    RestServer::RESULT_CODE SendRequestAndGetResponse(const RestRequest& request, const HttpResponse& response);
    // 5004 for a null argument, 5001 for a body that is missing, not JSON, of another content type, or too long.
    RestServer::RESULT_CODE GetBody(const HttpResponse& response, web::json::value* json);
    // The result that a failed exchange stands for: the "ErrCode" of its error record, or why there is none to read.
    RestServer::RESULT_CODE GetServerError(const HttpResponse& response);
    // Fetches the error record that a 303 points to. 5004 for another status and without a Location. A Location
    // shorter than the base URL leaves as std::out_of_range, which nobody on the way to the caller catches.
    RestServer::RESULT_CODE Redirect(const HttpResponse& response, RestServer::ServerError* error);

    // The session's token and context id. Callers ignore the results, which are 5001 on success too; GetJWT alone
    // tells a null pointer apart, with 5004.
    RestServer::RESULT_CODE GetJWT(utility::string_t* token);
    RestServer::RESULT_CODE SetJWT(const utility::string_t& token);
    RestServer::RESULT_CODE GetContextID(utility::string_t* contextId);
    RestServer::RESULT_CODE SetContextID(const utility::string_t& contextId);

private:
    // A getter's pointer: the client while this object is initialized, otherwise null.
    template <class Client>
    Client* Find(const char* traceName, const std::unique_ptr<Client>& client);

    // Written in Initialize and Shutdown alone, which overlap no other call: the watchdog is started behind the one
    // and joined first of all in the other.
    std::unique_ptr<web::http::client::http_client> HttpClient;
    std::string Url;
    bool KeepAlive = false;
    bool Initialized = false;

    utility::string_t Jwt;
    utility::string_t ContextId;
    std::mutex Lock; // guards Jwt and ContextId and nothing else; never held across an exchange

    std::unique_ptr<IContextManagerClient> ContextManagerClient;
    std::unique_ptr<IStreamClient> StreamClient;
    std::unique_ptr<IConductorClient> ConductorClient;
    std::unique_ptr<ICpuCoreClient> CpuCoreClient;
    std::unique_ptr<INetworkInterfaceClient> NetworkInterfaceClient;
    std::unique_ptr<IPtpApiClient> PtpApiClient;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

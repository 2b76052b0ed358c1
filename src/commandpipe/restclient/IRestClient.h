// The REST client of a context as the rest of the library sees it: the session's transport and its six resource
// clients. It names no type of the HTTP library, so that whoever includes it does not compile that library.
#pragma once

#include <string>

#include "commandpipe/restserver/Records.h"
#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class IContextManagerClient;
class IStreamClient;
class IConductorClient;
class ICpuCoreClient;
class INetworkInterfaceClient;
class IPtpApiClient;

struct RestClientConfig
{
    std::string Url;        // base of every path, ends in "api/x-mxs/"
    bool KeepAlive = false; // the "Connection" header of every request: keep-alive or close
};

// Any thread may call, several at once; Initialize and Shutdown alone must not overlap another call.
class IRestClient
{
public:
    virtual ~IRestClient() = default;

    // 5004 for null. An unusable URL leaves as the exception of the HTTP library.
    virtual RestServer::RESULT_CODE Initialize(const RestClientConfig* config) = 0;
    // Always 5000. Waits for the watchdog: one second and one exchange at most.
    virtual RestServer::RESULT_CODE Shutdown() = 0;
    // The service's own status. 5013 before Initialize, 5004 for null.
    virtual RestServer::RESULT_CODE GetStatus(RestServer::MXS_STATUS* status) = 0;

    // Owned by this object, null outside Initialize and Shutdown.
    virtual IContextManagerClient* GetContextManagerClient() = 0;
    virtual IStreamClient* GetStreamClient() = 0;
    virtual IConductorClient* GetConductorClient() = 0;
    virtual ICpuCoreClient* GetCpuCoreClient() = 0;
    virtual INetworkInterfaceClient* GetNetworkInterfaceClient() = 0;
    virtual IPtpApiClient* GetPtpApiClient() = 0;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// The service's PTP daemon.
#pragma once

#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class IRestClient;

class IPtpApiClient
{
public:
    virtual ~IPtpApiClient() = default;

    virtual RestServer::RESULT_CODE Initialize(IRestClient* restClient) = 0;
    virtual RestServer::RESULT_CODE Shutdown() = 0;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

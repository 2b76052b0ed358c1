// The service's PTP daemon: there is one, so it has no identifier.
#pragma once

#include "commandpipe/restserver/Records.h"
#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class IRestClient;

// Every operation is one exchange. 5013 before Initialize, whatever the arguments; then 5004 for a null output. A
// document that lacks any mandatory key of any data set is 5004, and the record is as it was.
class IPtpApiClient
{
public:
    virtual ~IPtpApiClient() = default;

    virtual RestServer::RESULT_CODE SetConfig(const RestServer::PTP_CONFIG& config) = 0;
    virtual RestServer::RESULT_CODE GetConfig(RestServer::PTP_CONFIG* config) = 0;
    virtual RestServer::RESULT_CODE GetStatus(RestServer::PTP_STATUS* status) = 0;
    virtual RestServer::RESULT_CODE Initialize(IRestClient* restClient) = 0;
    virtual RestServer::RESULT_CODE Shutdown() = 0;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

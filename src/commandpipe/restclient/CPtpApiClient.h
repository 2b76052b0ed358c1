// The REST calls on the service's PTP daemon.
#pragma once

#include "commandpipe/restclient/CResourceClient.h"
#include "commandpipe/restclient/IPtpApiClient.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class CPtpApiClient : public IPtpApiClient, private CResourceClient
{
public:
    CPtpApiClient();
    ~CPtpApiClient() override;

    RestServer::RESULT_CODE SetConfig(const RestServer::PTP_CONFIG& config) override;
    RestServer::RESULT_CODE GetConfig(RestServer::PTP_CONFIG* config) override;
    RestServer::RESULT_CODE GetStatus(RestServer::PTP_STATUS* status) override;
    RestServer::RESULT_CODE Initialize(IRestClient* restClient) override;
    RestServer::RESULT_CODE Shutdown() override;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// The REST client of the service's PTP daemon, which knows its transport and asks nothing of the daemon.
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

    RestServer::RESULT_CODE Initialize(IRestClient* restClient) override;
    RestServer::RESULT_CODE Shutdown() override;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

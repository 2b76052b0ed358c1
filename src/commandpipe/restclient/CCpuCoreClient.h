// The REST calls on the machine's CPU cores.
#pragma once

#include "commandpipe/restclient/CResourceClient.h"
#include "commandpipe/restclient/ICpuCoreClient.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class CCpuCoreClient : public ICpuCoreClient, private CResourceClient
{
public:
    CCpuCoreClient();
    ~CCpuCoreClient() override;

    RestServer::RESULT_CODE GetList(std::vector<uint64_t>* coreIds) override;
    RestServer::RESULT_CODE GetStatus(uint64_t coreId, RestServer::CPU_CORE_STATUS* status) override;
    RestServer::RESULT_CODE Initialize(IRestClient* restClient) override;
    RestServer::RESULT_CODE Shutdown() override;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// The REST calls on conductors. The pattern of an operation, which all resource clients follow, is read here first.
#pragma once

#include "commandpipe/restclient/CResourceClient.h"
#include "commandpipe/restclient/IConductorClient.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class CConductorClient : public IConductorClient, private CResourceClient
{
public:
    CConductorClient();
    ~CConductorClient() override;

    RestServer::RESULT_CODE GetSharedList(std::vector<uint64_t>* conductorIds) override;
    RestServer::RESULT_CODE GetMinesList(std::vector<uint64_t>* conductorIds) override;
    RestServer::RESULT_CODE Create(RestServer::CONDUCTOR_CREATE* conductor) override;
    RestServer::RESULT_CODE Delete(uint64_t conductorId) override;
    RestServer::RESULT_CODE GetConfig(uint64_t conductorId, RestServer::CONDUCTOR_CONFIG* config) override;
    RestServer::RESULT_CODE SetConfig(uint64_t conductorId, const RestServer::CONDUCTOR_CONFIG& config) override;
    RestServer::RESULT_CODE GetStatus(uint64_t conductorId, RestServer::CONDUCTOR_STATUS* status) override;
    RestServer::RESULT_CODE GetState(uint64_t conductorId, RestServer::CONDUCTOR_STATE* state) override;
    RestServer::RESULT_CODE SetState(uint64_t conductorId, const RestServer::CONDUCTOR_STATE& state) override;
    RestServer::RESULT_CODE Initialize(IRestClient* restClient) override;
    RestServer::RESULT_CODE Shutdown() override;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

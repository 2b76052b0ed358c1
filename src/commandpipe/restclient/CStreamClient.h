// The REST calls on streams.
#pragma once

#include "commandpipe/restclient/CResourceClient.h"
#include "commandpipe/restclient/IStreamClient.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class CStreamClient : public IStreamClient, private CResourceClient
{
public:
    CStreamClient();
    ~CStreamClient() override;

    RestServer::RESULT_CODE GetSharedList(std::vector<uint64_t>* streamIds) override;
    RestServer::RESULT_CODE GetMinesList(std::vector<uint64_t>* streamIds) override;
    RestServer::RESULT_CODE Create(RestServer::STREAM_CREATE* stream) override;
    RestServer::RESULT_CODE Delete(uint64_t streamId) override;
    RestServer::RESULT_CODE GetCommonConfig(uint64_t streamId, RestServer::STREAM_COMMON_CONFIG* config) override;
    RestServer::RESULT_CODE SetCommonConfig(uint64_t streamId, const RestServer::STREAM_COMMON_CONFIG& config) override;
    RestServer::RESULT_CODE GetEssenceConfig(uint64_t streamId, Mxs::RtpEssence::CONFIG* config) override;
    RestServer::RESULT_CODE SetEssenceConfig(uint64_t streamId, const Mxs::RtpEssence::CONFIG& config) override;
    RestServer::RESULT_CODE GetNetworkConfig(uint64_t streamId, RestServer::STREAM_NETWORK_CONFIG* config) override;
    RestServer::RESULT_CODE SetNetworkConfig(uint64_t streamId,
                                             const RestServer::STREAM_NETWORK_CONFIG& config) override;
    RestServer::RESULT_CODE GetCommonStatus(uint64_t streamId, RestServer::STREAM_COMMON_STATUS* status) override;
    RestServer::RESULT_CODE GetEssenceStatus(uint64_t streamId, Mxs::RtpEssence::STATUS* status) override;
    RestServer::RESULT_CODE GetNetworkStatus(uint64_t streamId, RestServer::STREAM_NETWORK_STATUS* status) override;
    RestServer::RESULT_CODE GetState(uint64_t streamId, RestServer::STREAM_STATE* state) override;
    RestServer::RESULT_CODE SetState(uint64_t streamId, const RestServer::STREAM_STATE& state) override;
    RestServer::RESULT_CODE Initialize(IRestClient* restClient) override;
    RestServer::RESULT_CODE Shutdown() override;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// Streams: shared ones can be listed, the context's own ("mines") are configured, opened, started and watched.
#pragma once

#include <cstdint>
#include <vector>

#include "commandpipe/restserver/EssenceRecords.h"
#include "commandpipe/restserver/Records.h"
#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class IRestClient;

// Every operation is one exchange. 5013 before Initialize, whatever the arguments; then 5004 for a null output.
// An essence record is of the derived class of the stream's essence; an answer of another essence gives 5017.
class IStreamClient
{
public:
    virtual ~IStreamClient() = default;

    // Both lists empty the vector and refill it in the service's order.
    virtual RestServer::RESULT_CODE GetSharedList(std::vector<uint64_t>* streamIds) = 0;
    virtual RestServer::RESULT_CODE GetMinesList(std::vector<uint64_t>* streamIds) = 0;
    // ID receives the identifier that the service made.
    virtual RestServer::RESULT_CODE Create(RestServer::STREAM_CREATE* stream) = 0;
    virtual RestServer::RESULT_CODE Delete(uint64_t streamId) = 0;
    virtual RestServer::RESULT_CODE GetCommonConfig(uint64_t streamId, RestServer::STREAM_COMMON_CONFIG* config) = 0;
    virtual RestServer::RESULT_CODE SetCommonConfig(uint64_t streamId,
                                                    const RestServer::STREAM_COMMON_CONFIG& config) = 0;
    virtual RestServer::RESULT_CODE GetEssenceConfig(uint64_t streamId, Mxs::RtpEssence::CONFIG* config) = 0;
    virtual RestServer::RESULT_CODE SetEssenceConfig(uint64_t streamId, const Mxs::RtpEssence::CONFIG& config) = 0;
    virtual RestServer::RESULT_CODE GetNetworkConfig(uint64_t streamId, RestServer::STREAM_NETWORK_CONFIG* config) = 0;
    virtual RestServer::RESULT_CODE SetNetworkConfig(uint64_t streamId,
                                                     const RestServer::STREAM_NETWORK_CONFIG& config) = 0;
    virtual RestServer::RESULT_CODE GetCommonStatus(uint64_t streamId, RestServer::STREAM_COMMON_STATUS* status) = 0;
    virtual RestServer::RESULT_CODE GetEssenceStatus(uint64_t streamId, Mxs::RtpEssence::STATUS* status) = 0;
    virtual RestServer::RESULT_CODE GetNetworkStatus(uint64_t streamId, RestServer::STREAM_NETWORK_STATUS* status) = 0;
    virtual RestServer::RESULT_CODE GetState(uint64_t streamId, RestServer::STREAM_STATE* state) = 0;
    virtual RestServer::RESULT_CODE SetState(uint64_t streamId, const RestServer::STREAM_STATE& state) = 0;
    virtual RestServer::RESULT_CODE Initialize(IRestClient* restClient) = 0;
    virtual RestServer::RESULT_CODE Shutdown() = 0;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

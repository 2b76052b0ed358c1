// Conductors, the service's CPU core schedulers: shared ones can be listed, the context's own ("mines") are worked on.
#pragma once

#include <cstdint>
#include <vector>

#include "commandpipe/restserver/Records.h"
#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class IRestClient;

// Every operation is one exchange. 5013 before Initialize, whatever the arguments; then 5004 for a null output.
class IConductorClient
{
public:
    virtual ~IConductorClient() = default;

    // Both lists empty the vector and refill it in the service's order.
    virtual RestServer::RESULT_CODE GetSharedList(std::vector<uint64_t>* conductorIds) = 0;
    virtual RestServer::RESULT_CODE GetMinesList(std::vector<uint64_t>* conductorIds) = 0;
    // ID receives the identifier that the service made.
    virtual RestServer::RESULT_CODE Create(RestServer::CONDUCTOR_CREATE* conductor) = 0;
    virtual RestServer::RESULT_CODE Delete(uint64_t conductorId) = 0;
    virtual RestServer::RESULT_CODE GetConfig(uint64_t conductorId, RestServer::CONDUCTOR_CONFIG* config) = 0;
    virtual RestServer::RESULT_CODE SetConfig(uint64_t conductorId, const RestServer::CONDUCTOR_CONFIG& config) = 0;
    virtual RestServer::RESULT_CODE GetStatus(uint64_t conductorId, RestServer::CONDUCTOR_STATUS* status) = 0;
    virtual RestServer::RESULT_CODE GetState(uint64_t conductorId, RestServer::CONDUCTOR_STATE* state) = 0;
    virtual RestServer::RESULT_CODE SetState(uint64_t conductorId, const RestServer::CONDUCTOR_STATE& state) = 0;
    virtual RestServer::RESULT_CODE Initialize(IRestClient* restClient) = 0;
    virtual RestServer::RESULT_CODE Shutdown() = 0;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

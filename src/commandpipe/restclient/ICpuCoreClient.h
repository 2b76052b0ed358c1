// The CPU cores that conductors may use, as the service sees them.
#pragma once

#include <cstdint>
#include <vector>

#include "commandpipe/restserver/Records.h"
#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class IRestClient;

// Every operation is one exchange. 5013 before Initialize, whatever the arguments; then 5004 for a null output.
class ICpuCoreClient
{
public:
    virtual ~ICpuCoreClient() = default;

    // Empties the vector and refills it in the service's order.
    virtual RestServer::RESULT_CODE GetList(std::vector<uint64_t>* coreIds) = 0;
    virtual RestServer::RESULT_CODE GetStatus(uint64_t coreId, RestServer::CPU_CORE_STATUS* status) = 0;
    virtual RestServer::RESULT_CODE Initialize(IRestClient* restClient) = 0;
    virtual RestServer::RESULT_CODE Shutdown() = 0;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

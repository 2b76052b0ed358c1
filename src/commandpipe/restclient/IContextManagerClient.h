// The session of a context with the service: authentication, the context's own record, the watchdog.
#pragma once

#include <cstdint>
#include <vector>

#include "commandpipe/restserver/Records.h"
#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class IRestClient;

class IContextManagerClient
{
public:
    virtual ~IContextManagerClient() = default;

    // Opens the session; each success replaces the token and the context id. The record must not be null; its
    // ContextID receives the id of a context that the service made.
    virtual RestServer::RESULT_CODE Authenticate(RestServer::CONTEXT_IDENTITY* identity) = 0;
    virtual RestServer::RESULT_CODE GetCurrentContextStatus(RestServer::CONTEXT_LAST_ACCESS* status) = 0;
    // The id of the session, without an exchange. 5001 before Initialize, 5004 while there is no session.
    virtual RestServer::RESULT_CODE GetCurrentContext(uint64_t* contextId) = 0;
    virtual RestServer::RESULT_CODE TickCurrentContext() = 0;
    // Ends the session at the service; token and context id stay as they are.
    virtual RestServer::RESULT_CODE DeleteCurrentContext() = 0;
    // Empties the vector and refills it in the service's order.
    virtual RestServer::RESULT_CODE GetList(std::vector<uint64_t>* contextIds) = 0;
    // Starts the watchdog thread. 5004 for null.
    virtual RestServer::RESULT_CODE Initialize(IRestClient* restClient) = 0;
    // Joins the watchdog thread: one second and one exchange at most.
    virtual RestServer::RESULT_CODE Shutdown() = 0;
    virtual RestServer::RESULT_CODE GetWatchdogConfig(RestServer::CONTEXT_TTL* watchdog) = 0;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

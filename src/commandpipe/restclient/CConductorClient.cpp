// A row for each operation, and in each method the order of its checks: an uninitialized client before any argument.
#include "commandpipe/restclient/CConductorClient.h"

#include "commandpipe/restclient/CExchange.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::RestClient::CConductorClient::" method

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;
using web::http::methods;

namespace
{

constexpr Route kGetSharedList{&methods::GET, "MXS/Conductor/Shared/"};
constexpr Route kGetMinesList{&methods::GET, "MXS/Conductor/Mines/"};
constexpr Route kCreate{&methods::POST, "MXS/Conductor/Mines/"}; // its answer has rules of its own
constexpr Route kDelete{&methods::DEL, "MXS/Conductor/Mines/"};
constexpr Route kGetConfig{&methods::GET, "MXS/Conductor/Mines/", "/Config"}; // the identifier goes in between
constexpr Route kSetConfig{&methods::PUT, "MXS/Conductor/Mines/", "/Config"};
constexpr Route kGetStatus{&methods::GET, "MXS/Conductor/Mines/", "/Status"};
constexpr Route kGetState{&methods::GET, "MXS/Conductor/Mines/", "/State"};
constexpr Route kSetState{&methods::PUT, "MXS/Conductor/Mines/", "/State"};

} // namespace

CConductorClient::CConductorClient()
{
    CFunctionTracer tracer(TRACE_NAME("CConductorClient"));
}

CConductorClient::~CConductorClient()
{
    CFunctionTracer tracer(TRACE_NAME("~CConductorClient"));
    CConductorClient::Shutdown();
}

RESULT_CODE CConductorClient::GetSharedList(std::vector<uint64_t>* conductorIds)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetSharedList"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!conductorIds) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetSharedList).ReadList(conductorIds);
}

RESULT_CODE CConductorClient::GetMinesList(std::vector<uint64_t>* conductorIds)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetMinesList"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!conductorIds) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetMinesList).ReadList(conductorIds);
}

RESULT_CODE CConductorClient::Create(CONDUCTOR_CREATE* conductor)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Create"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!conductor) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kCreate).With(*conductor).Create(&conductor->ID);
}

RESULT_CODE CConductorClient::Delete(uint64_t conductorId)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Delete"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kDelete).To(conductorId).Send();
}

RESULT_CODE CConductorClient::GetConfig(uint64_t conductorId, CONDUCTOR_CONFIG* config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!config) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetConfig).To(conductorId).Read(config);
}

RESULT_CODE CConductorClient::SetConfig(uint64_t conductorId, const CONDUCTOR_CONFIG& config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SetConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kSetConfig).To(conductorId).With(config).Send();
}

RESULT_CODE CConductorClient::GetStatus(uint64_t conductorId, CONDUCTOR_STATUS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetStatus).To(conductorId).Read(status);
}

RESULT_CODE CConductorClient::GetState(uint64_t conductorId, CONDUCTOR_STATE* state)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetState"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!state) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetState).To(conductorId).Read(state);
}

RESULT_CODE CConductorClient::SetState(uint64_t conductorId, const CONDUCTOR_STATE& state)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SetState"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kSetState).To(conductorId).With(state).Send();
}

RESULT_CODE CConductorClient::Initialize(IRestClient* restClient)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Initialize"), TraceEntering, TraceExitingWith(result));
    return result = Attach(restClient);
}

RESULT_CODE CConductorClient::Shutdown()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Shutdown"), TraceEntering, TraceExitingWith(result));
    Initialized = false; // the transport stays known: the next Initialize replaces it
    return result = RESULT_NO_ERROR;
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient

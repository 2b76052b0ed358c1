// A row for each operation on CPU cores; the pattern of a method is told in CConductorClient.
#include "commandpipe/restclient/CCpuCoreClient.h"

#include "commandpipe/restclient/CExchange.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::RestClient::CCpuCoreClient::" method

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;
using web::http::methods;

namespace
{

constexpr Route kGetList{&methods::GET, "MXS/CpuCore/"};
constexpr Route kGetStatus{&methods::GET, "MXS/CpuCore/", "/Status"};

} // namespace

CCpuCoreClient::CCpuCoreClient()
{
    CFunctionTracer tracer(TRACE_NAME("CCpuCoreClient"));
}

CCpuCoreClient::~CCpuCoreClient()
{
    CFunctionTracer tracer(TRACE_NAME("~CCpuCoreClient"));
    CCpuCoreClient::Shutdown();
}

RESULT_CODE CCpuCoreClient::GetList(std::vector<uint64_t>* coreIds)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetList"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!coreIds) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetList).ReadList(coreIds);
}

RESULT_CODE CCpuCoreClient::GetStatus(uint64_t coreId, CPU_CORE_STATUS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetStatus).To(coreId).Read(status);
}

RESULT_CODE CCpuCoreClient::Initialize(IRestClient* restClient)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Initialize"), TraceEntering, TraceExitingWith(result));
    return result = Attach(restClient);
}

RESULT_CODE CCpuCoreClient::Shutdown()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Shutdown"), TraceEntering, TraceExitingWith(result));
    Initialized = false; // the transport stays known: the next Initialize replaces it
    return result = RESULT_NO_ERROR;
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// A row for each operation on the PTP daemon; the pattern of a method is told in CConductorClient.
#include "commandpipe/restclient/CPtpApiClient.h"

#include "commandpipe/restclient/CExchange.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::RestClient::CPtpApiClient::" method

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;
using web::http::methods;

namespace
{

constexpr Route kSetConfig{&methods::PUT, "MXS/PtpApi/Config"};
constexpr Route kGetConfig{&methods::GET, "MXS/PtpApi/Config"};
constexpr Route kGetStatus{&methods::GET, "MXS/PtpApi/Status"};

} // namespace

CPtpApiClient::CPtpApiClient()
{
    CFunctionTracer tracer(TRACE_NAME("CPtpApiClient"));
}

CPtpApiClient::~CPtpApiClient()
{
    CFunctionTracer tracer(TRACE_NAME("~CPtpApiClient"));
    CPtpApiClient::Shutdown();
}

RESULT_CODE CPtpApiClient::SetConfig(const PTP_CONFIG& config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SetConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kSetConfig).With(config).Send();
}

RESULT_CODE CPtpApiClient::GetConfig(PTP_CONFIG* config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!config) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetConfig).Read(config);
}

RESULT_CODE CPtpApiClient::GetStatus(PTP_STATUS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetStatus).Read(status);
}

RESULT_CODE CPtpApiClient::Initialize(IRestClient* restClient)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Initialize"), TraceEntering, TraceExitingWith(result));
    return result = Attach(restClient);
}

RESULT_CODE CPtpApiClient::Shutdown()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Shutdown"), TraceEntering, TraceExitingWith(result));
    Initialized = false; // the transport stays known: the next Initialize replaces it
    return result = RESULT_NO_ERROR;
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// The life of the PTP daemon's client.
#include "commandpipe/restclient/CPtpApiClient.h"

#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::RestClient::CPtpApiClient::" method

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;

CPtpApiClient::CPtpApiClient()
{
    CFunctionTracer tracer(TRACE_NAME("CPtpApiClient"));
}

CPtpApiClient::~CPtpApiClient()
{
    CFunctionTracer tracer(TRACE_NAME("~CPtpApiClient"));
    CPtpApiClient::Shutdown();
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

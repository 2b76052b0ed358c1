// Creation and end of the REST client behind its interface.
#include "commandpipe/restclient/CommandResClientFactory.h"

#include "commandpipe/restclient/CRestClient.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::CommandResClientFactory::" method

namespace Quillmont::Trellis::CommandPipe
{

using namespace RestServer;

uint32_t CommandResClientFactory::CreateRestClient(RestClient::IRestClient** client)
{
    CORE_RESULT result = CORE_RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("CreateRestClient"), TraceEntering, TraceExitingWithCore(result));
    if (!client) return result = CORE_RESULT_INVALID_ARGUMENT;
    *client = new RestClient::CRestClient(); // its owner gives it back to DeleteRestClient
    return result = CORE_RESULT_NO_ERROR;
}

uint32_t CommandResClientFactory::DeleteRestClient(RestClient::IRestClient* client)
{
    CORE_RESULT result = CORE_RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("DeleteRestClient"), TraceEntering, TraceExitingWithCore(result));
    if (!client) return result = CORE_RESULT_INVALID_ARGUMENT;
    result = client->Shutdown() == RESULT_NO_ERROR ? CORE_RESULT_NO_ERROR : CORE_RESULT_OPERATION_FAILED;
    delete client;
    return result;
}

} // namespace Quillmont::Trellis::CommandPipe

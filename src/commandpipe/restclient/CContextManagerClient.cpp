// Authentication, the operations on the session's context, and the watchdog's loop.
#include "commandpipe/restclient/CContextManagerClient.h"

#include <chrono>
#include <exception>

#include "commandpipe/restclient/CExchange.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::RestClient::CContextManagerClient::" method

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;
using std::chrono::steady_clock;
using web::http::header_names;
using web::http::methods;
using web::http::status_codes;

namespace
{

constexpr Route kAuthenticate{&methods::POST,   "MXS/ContextManager/Auth/", "",
                              status_codes::OK, status_codes::Created,      false};
constexpr Route kGetCurrentContextStatus{&methods::GET, "MXS/ContextManager/Context/"}; // the context's own id follows
constexpr Route kDeleteCurrentContext{&methods::DEL, "MXS/ContextManager/Context/"};
constexpr Route kGetList{&methods::GET, "MXS/ContextManager/Context/"};
constexpr Route kTickCurrentContext{&methods::POST, "MXS/ContextManager/Tick/"};
constexpr Route kGetWatchdogConfig{&methods::GET, "MXS/ContextManager/Watchdog/"};

constexpr std::chrono::nanoseconds kTickPeriod{1000000000}; // and the time of the tick itself: no fixed rate

} // namespace

CContextManagerClient::CContextManagerClient()
{
    CFunctionTracer tracer(TRACE_NAME("CContextManagerClient"));
}

CContextManagerClient::~CContextManagerClient()
{
    CFunctionTracer tracer(TRACE_NAME("~CContextManagerClient"));
    CContextManagerClient::Shutdown();
}

RESULT_CODE CContextManagerClient::Authenticate(CONTEXT_IDENTITY* identity)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Authenticate"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    CExchange exchange(RestClient, kAuthenticate);
    result = exchange.With(*identity).Send();
    if (result != RESULT_NO_ERROR || !exchange.HasGoodStatus()) return result;

    const web::http::http_headers headers = exchange.Headers();
    const auto token = headers.find(header_names::authorization);
    if (token != headers.end()) RestClient->SetJWT(token->second); // otherwise the one of before stays

    utility::string_t contextId;
    if (exchange.Status() == status_codes::Created)
    {
        const auto location = headers.find(header_names::location);
        const auto part = location != headers.end() ? FindFifthPart(location->second) : std::nullopt;
        if (part)
        {
            contextId = *part;
            CSerializer::IdentifierFromString(contextId, &identity->ContextID);
        }
    }
    else // the service has taken the context that the record names
        CSerializer::IdentifierToString(identity->ContextID, &contextId);
    RestClient->SetContextID(contextId); // an empty one too: then the paths that need it end in "Context/"
    return result;
}

RESULT_CODE CContextManagerClient::GetCurrentContextStatus(CONTEXT_LAST_ACCESS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetCurrentContextStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    utility::string_t contextId;
    RestClient->GetContextID(&contextId);
    return result = CExchange(RestClient, kGetCurrentContextStatus).To(contextId).Read(status);
}

RESULT_CODE CContextManagerClient::GetCurrentContext(uint64_t* contextId)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetCurrentContext"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result; // 5001, not 5013 as everywhere else
    utility::string_t text;
    RestClient->GetContextID(&text);
    uint64_t id = 0;
    result = CSerializer::IdentifierFromString(text, &id);
    if (result == RESULT_NO_ERROR) *contextId = id;
    return result;
}

RESULT_CODE CContextManagerClient::TickCurrentContext()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("TickCurrentContext"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(RestClient, kTickCurrentContext).Send();
}

RESULT_CODE CContextManagerClient::DeleteCurrentContext()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("DeleteCurrentContext"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    utility::string_t contextId;
    RestClient->GetContextID(&contextId);
    return result = CExchange(RestClient, kDeleteCurrentContext).To(contextId).Send();
}

RESULT_CODE CContextManagerClient::GetList(std::vector<uint64_t>* contextIds)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetList"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!contextIds) return result = RESULT_INVALID_ARGUMENT;
    // Unlike the lists of resources, a document without a list fails here.
    return result = CExchange(RestClient, kGetList).ReadListStrictly(contextIds);
}

RESULT_CODE CContextManagerClient::GetWatchdogConfig(CONTEXT_TTL* watchdog)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetWatchdogConfig"), TraceEntering, TraceExitingWith(result));
    if (!watchdog) return result = RESULT_INVALID_ARGUMENT;
    if (!RestClient) return result; // the one operation that does not ask whether the client is initialized
    return result = CExchange(RestClient, kGetWatchdogConfig).Read(watchdog);
}

RESULT_CODE CContextManagerClient::Initialize(IRestClient* restClient)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Initialize"), TraceEntering, TraceExitingWith(result));
    if (!restClient) return result = RESULT_INVALID_ARGUMENT;
    if (Thread) Shutdown(); // one watchdog at most
    RestClient = dynamic_cast<CRestClient*>(restClient);
    StopRequested = false;
    Thread = std::make_unique<std::thread>(&CContextManagerClient::Run, this);
    Initialized = true;
    return result = RESULT_NO_ERROR;
}

RESULT_CODE CContextManagerClient::Shutdown()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Shutdown"), TraceEntering, TraceExitingWith(result));
    StopRequested = true;
    if (Thread) Thread->join(); // raises the system's error where it cannot, as on the watchdog itself
    Thread.reset();
    Initialized = false;
    return result = RESULT_NO_ERROR;
}

void CContextManagerClient::Run()
{
    const CORE_RESULT result = CORE_RESULT_OPERATION_FAILED; // on every end: log filters know the line so
    CFunctionTracer tracer(TRACE_NAME("Run"), TraceEntering, TraceExitingWithCore(result));
    while (!StopRequested) // asked between ticks alone
    {
        const auto deadline = steady_clock::now() + kTickPeriod;
        while (steady_clock::now() < deadline)
            std::this_thread::sleep_until(deadline);
        try
        {
            TickCurrentContext(); // whatever comes of it, the next one follows
        }
        catch (const std::exception&)
        {
            // A 303 whose Location is too short raises through the transport. On the application's threads the
            // caller sees it; here nobody does, and the service must not be able to end the process.
        }
    }
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient

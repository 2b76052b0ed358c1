// The transport: how an exchange travels and how its failures become results.
#include "commandpipe/restclient/CRestClient.h"

#include <new>
#include <stdexcept>

#include <cpprest/asyncrt_utils.h>
#include <pplx/threadpool.h>

#include "commandpipe/restclient/CConductorClient.h"
#include "commandpipe/restclient/CContextManagerClient.h"
#include "commandpipe/restclient/CCpuCoreClient.h"
#include "commandpipe/restclient/CExchange.h"
#include "commandpipe/restclient/CNetworkInterfaceClient.h"
#include "commandpipe/restclient/CPtpApiClient.h"
#include "commandpipe/restclient/CStreamClient.h"
#include "commandpipe/restserver/CSerializer.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"
#include "logger/Log.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::RestClient::CRestClient::" method

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;
using web::http::header_names;
using web::http::http_request;
using web::http::http_response;
using web::http::methods;
using web::http::status_codes;

namespace
{

constexpr Route kGetStatus{&methods::GET, "MXS/"};

// No document of the service comes near it. Whatever sends more is cut off instead of filling the memory.
constexpr utility::size64_t kLargestAnswer = utility::size64_t{64} * 1024 * 1024;

// The HTTP library would start 40 threads in the application's process and is slower for it: an exchange is handed
// from thread to thread. With one thread it takes half the time; exchanges still run side by side on it, for none of
// them blocks it. The library takes a number once a process, before its first use.
void AskForSmallPool()
{
    static const bool asked = []
    {
        try
        {
            crossplat::threadpool::initialize_with_threads(1);
        }
        catch (const std::exception&)
        {
            // The application, or another part of its process, has set the pool up before: theirs is good enough.
        }
        return true;
    }();
    static_cast<void>(asked);
}

// The answer when the last byte of its body has come, or when none will come any more: what is wrong with it is told by
// whoever reads it. Nobody reads the body of a 303.
pplx::task<http_response> AwaitBody(const http_response& answer)
{
    if (answer.status_code() == status_codes::SeeOther) return pplx::task_from_result(answer);
    return answer.content_ready().then(
        [answer](const pplx::task<http_response>& whole)
        {
            try
            {
                whole.wait();
            }
            catch (...)
            {
                return answer;
            }
            return answer;
        });
}

void CutOffLongAnswers(web::http::message_direction::direction direction, utility::size64_t bytes)
{
    if (direction == web::http::message_direction::download && bytes > kLargestAnswer)
        throw std::length_error("The answer is too long.");
}

} // namespace

utility::string_t PathStart()
{
    return "v1.0/";
}

CRestClient::CRestClient()
{
    CFunctionTracer tracer(TRACE_NAME("CRestClient"));
}

CRestClient::~CRestClient()
{
    CFunctionTracer tracer(TRACE_NAME("~CRestClient"));
    CRestClient::Shutdown();
}

RESULT_CODE CRestClient::Initialize(const RestClientConfig* config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Initialize"), TraceEntering, TraceExitingWith(result));
    if (!config) return result = RESULT_INVALID_ARGUMENT;
    if (HttpClient) Shutdown(); // the watchdog of the first time must not see its client replaced

    Url = config->Url;
    KeepAlive = config->KeepAlive;
    AskForSmallPool();
    web::http::client::http_client_config httpConfig;
    httpConfig.set_max_redirects(0); // a 303 is ours to read: it points to the error of the failed request
    HttpClient = std::make_unique<web::http::client::http_client>(utility::conversions::to_string_t(Url), httpConfig);

    ContextManagerClient = std::make_unique<CContextManagerClient>();
    StreamClient = std::make_unique<CStreamClient>();
    ConductorClient = std::make_unique<CConductorClient>();
    CpuCoreClient = std::make_unique<CCpuCoreClient>();
    NetworkInterfaceClient = std::make_unique<CNetworkInterfaceClient>();
    PtpApiClient = std::make_unique<CPtpApiClient>();

    result = ContextManagerClient->Initialize(this);
    if (result == RESULT_NO_ERROR) result = StreamClient->Initialize(this);
    if (result == RESULT_NO_ERROR) result = ConductorClient->Initialize(this);
    if (result == RESULT_NO_ERROR) result = CpuCoreClient->Initialize(this);
    if (result == RESULT_NO_ERROR) result = NetworkInterfaceClient->Initialize(this);
    if (result == RESULT_NO_ERROR) result = PtpApiClient->Initialize(this);
    Initialized = true; // whatever came of the clients: each tells by its own results
    return result;
}

RESULT_CODE CRestClient::Shutdown()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Shutdown"), TraceEntering, TraceExitingWith(result));
    if (ContextManagerClient) ContextManagerClient->Shutdown(); // joins the watchdog, which uses all the rest
    if (StreamClient) StreamClient->Shutdown();
    if (ConductorClient) ConductorClient->Shutdown();
    if (CpuCoreClient) CpuCoreClient->Shutdown();
    if (NetworkInterfaceClient) NetworkInterfaceClient->Shutdown();
    if (PtpApiClient) PtpApiClient->Shutdown();

    PtpApiClient.reset();
    NetworkInterfaceClient.reset();
    CpuCoreClient.reset();
    ConductorClient.reset();
    StreamClient.reset();
    ContextManagerClient.reset();
    HttpClient.reset();
    Initialized = false;
    return result = RESULT_NO_ERROR;
}

RESULT_CODE CRestClient::GetStatus(MXS_STATUS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(this, kGetStatus).Read(status);
}

template <class Client>
Client* CRestClient::Find(const char* traceName, const std::unique_ptr<Client>& client)
{
    RESULT_CODE result = Initialized ? RESULT_NO_ERROR : RESULT_NOT_INITIALIZED;
    CFunctionTracer tracer(traceName, TraceEntering, TraceExitingWith(result));
    return Initialized ? client.get() : nullptr;
}

IContextManagerClient* CRestClient::GetContextManagerClient()
{
    return Find(TRACE_NAME("GetContextManagerClient"), ContextManagerClient);
}

IStreamClient* CRestClient::GetStreamClient()
{
    return Find(TRACE_NAME("GetStreamClient"), StreamClient);
}

IConductorClient* CRestClient::GetConductorClient()
{
    return Find(TRACE_NAME("GetConductorClient"), ConductorClient);
}

ICpuCoreClient* CRestClient::GetCpuCoreClient()
{
    return Find(TRACE_NAME("GetCpuCoreClient"), CpuCoreClient);
}

INetworkInterfaceClient* CRestClient::GetNetworkInterfaceClient()
{
    return Find(TRACE_NAME("GetNetworkInterfaceClient"), NetworkInterfaceClient);
}

IPtpApiClient* CRestClient::GetPtpApiClient()
{
    return Find(TRACE_NAME("GetPtpApiClient"), PtpApiClient);
}

RESULT_CODE CRestClient::SendRequestAndGetResponse(const RestRequest& request, const HttpResponse& response)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SendRequestAndGetResponse"), TraceEntering, TraceExitingWith(result));
    try
    {
        http_request httpRequest;
        httpRequest.set_method(request.Method);
        httpRequest.set_request_uri(web::uri(request.Path));
        if (request.Body && !request.Body->is_null())
            httpRequest.set_body(utility::conversions::to_utf8string(request.Body->serialize()), "application/json");
        httpRequest.headers().add(header_names::connection, KeepAlive ? "keep-alive" : "close");
        httpRequest.headers().add(header_names::authorization, request.Token);
        httpRequest.set_progress_handler(CutOffLongAnswers);

        pplx::task<http_response> answer = HttpClient->request(httpRequest);
        // A GET is followed by GetBody. The HTTP library's thread waits for the body, so that this one is woken once.
        try
        {
            if (request.Method == methods::GET) answer = answer.then(AwaitBody);
        }
        catch (const std::bad_alloc&) // it goes without, and an exchange that has begun is waited for
        {
        }
        *response = answer.get();
        return result = RESULT_NO_ERROR;
    }
    catch (const std::exception& exception)
    {
        Quillmont::Logger::Log(Quillmont::Logger::kPriorityError,
                               std::string("Unable to send the request. - ") + exception.what());
    }
    return result;
}

RESULT_CODE CRestClient::GetBody(const HttpResponse& response, web::json::value* json)
{
    RESULT_CODE result = RESULT_NO_ERROR;
    CFunctionTracer tracer(TRACE_NAME("GetBody"), TraceEntering, TraceExitingWith(result));
    if (!response || !json) return result = RESULT_INVALID_ARGUMENT;
    try
    {
        // The two steps of extract_json, but on this thread: that would hand the document to the HTTP library's thread
        // and back.
        const auto message = response->_get_impl();
        const auto bytes = pplx::create_task(message->_get_data_available()).get();
        *json = message->_extract_json();
        // The library's null where there is no body or no content type; a body may also be the text "null".
        if (json->is_null() && (bytes == 0 || message->headers().content_type().empty()))
            result = RESULT_OPERATION_FAILED;
    }
    catch (...) // not logged: the service has answered, and what it meant follows from the status
    {
        result = RESULT_OPERATION_FAILED;
    }
    return result;
}

RESULT_CODE CRestClient::GetServerError(const HttpResponse& response)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetServerError"), TraceEntering, TraceExitingWith(result));
    auto error = std::make_unique<ServerError>();
    if (response->status_code() == status_codes::SeeOther)
        result = Redirect(response, error.get());
    else
    {
        web::json::value json;
        GetBody(response, &json); // a body that cannot be read is a null here, and the record's reader refuses it
        ServerError* record = error.get();
        result = CSerializer::FromJSON(json, &record, true);
    }
    if (result == RESULT_NO_ERROR) result = error->ErrCode;
    CSerializer::Delete(error.release()); // has a trace, which may raise, and a destructor must not
    return result;
}

RESULT_CODE CRestClient::Redirect(const HttpResponse& response, ServerError* error)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Redirect"), TraceEntering, TraceExitingWith(result));
    if (response->status_code() != status_codes::SeeOther) return result = RESULT_INVALID_ARGUMENT;
    const web::http::http_headers headers = response->headers();
    const auto location = headers.find(header_names::location);
    if (location == headers.end()) return result = RESULT_INVALID_ARGUMENT;

    RestRequest request;
    // A full address becomes a path: as many characters go as the base URL has. Shorter ones raise std::out_of_range.
    request.Path = location->second.substr(utility::conversions::to_string_t(Url).size());
    request.Method = methods::GET;
    const HttpResponse answer = std::make_shared<http_response>();
    result = SendRequestAndGetResponse(request, answer);
    if (result != RESULT_NO_ERROR) return result;
    web::json::value json;
    GetBody(answer, &json);
    return result = CSerializer::FromJSON(json, &error, true);
}

RESULT_CODE CRestClient::GetJWT(utility::string_t* token)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED; // stays on success: nobody asks, and the trace has always said so
    CFunctionTracer tracer(TRACE_NAME("GetJWT"), TraceEntering, TraceExitingWith(result));
    if (!token) return result = RESULT_INVALID_ARGUMENT;
    std::lock_guard lock(Lock);
    *token = Jwt;
    return result;
}

RESULT_CODE CRestClient::SetJWT(const utility::string_t& token)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED; // as in GetJWT
    CFunctionTracer tracer(TRACE_NAME("SetJWT"), TraceEntering, TraceExitingWith(result));
    std::lock_guard lock(Lock);
    Jwt = token;
    return result;
}

RESULT_CODE CRestClient::GetContextID(utility::string_t* contextId)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED; // as in GetJWT
    CFunctionTracer tracer(TRACE_NAME("GetContextID"), TraceEntering, TraceExitingWith(result));
    std::lock_guard lock(Lock);
    *contextId = ContextId;
    return result;
}

RESULT_CODE CRestClient::SetContextID(const utility::string_t& contextId)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED; // as in GetJWT
    CFunctionTracer tracer(TRACE_NAME("SetContextID"), TraceEntering, TraceExitingWith(result));
    std::lock_guard lock(Lock);
    ContextId = contextId;
    return result;
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient

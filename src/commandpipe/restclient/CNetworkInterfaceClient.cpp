// A row for each operation on network interfaces; the pattern of a method is told in CConductorClient.
#include "commandpipe/restclient/CNetworkInterfaceClient.h"

#include "commandpipe/restclient/CExchange.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::RestClient::CNetworkInterfaceClient::" method

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;
using web::http::methods;
using web::http::status_codes;

namespace
{

// A port travels in the form of an identifier, behind the tail.
constexpr Route kGetList{&methods::GET, "MXS/NetIf/"};
constexpr Route kSetConfig{&methods::PUT, "MXS/NetIf/", "/Config"};
constexpr Route kGetConfig{&methods::GET, "MXS/NetIf/", "/Config"};
constexpr Route kGetStatus{&methods::GET, "MXS/NetIf/", "/Status"};
constexpr Route kGetUdpPortDropList{&methods::GET, "MXS/NetIf/", "/UdpPortDrop/"};
constexpr Route kCreateUdpPortDrop{&methods::PUT, "MXS/NetIf/", "/UdpPortDrop/", status_codes::OK,
                                   status_codes::Created};
constexpr Route kRemoveUdpPortDrop{&methods::DEL, "MXS/NetIf/", "/UdpPortDrop/"};
constexpr Route kUdpPortDropExist{&methods::GET, "MXS/NetIf/", "/UdpPortDrop/"};

} // namespace

CNetworkInterfaceClient::CNetworkInterfaceClient()
{
    CFunctionTracer tracer(TRACE_NAME("CNetworkInterfaceClient"));
}

CNetworkInterfaceClient::~CNetworkInterfaceClient()
{
    CFunctionTracer tracer(TRACE_NAME("~CNetworkInterfaceClient"));
    CNetworkInterfaceClient::Shutdown();
}

RESULT_CODE CNetworkInterfaceClient::GetList(std::vector<uint64_t>* interfaceIds)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetList"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!interfaceIds) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetList).ReadList(interfaceIds);
}

RESULT_CODE CNetworkInterfaceClient::SetConfig(uint64_t interfaceId, const NET_IF_CONFIG& config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SetConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kSetConfig).To(interfaceId).With(config).Send();
}

RESULT_CODE CNetworkInterfaceClient::GetConfig(uint64_t interfaceId, NET_IF_CONFIG* config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!config) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetConfig).To(interfaceId).Read(config);
}

RESULT_CODE CNetworkInterfaceClient::GetStatus(uint64_t interfaceId, NET_IF_STATUS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetStatus).To(interfaceId).Read(status);
}

RESULT_CODE CNetworkInterfaceClient::GetUdpPortDropList(uint64_t interfaceId, std::vector<uint64_t>* ports)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetUdpPortDropList"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!ports) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetUdpPortDropList).To(interfaceId).ReadList(ports);
}

RESULT_CODE CNetworkInterfaceClient::CreateUdpPortDrop(uint64_t interfaceId, uint16_t port)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("CreateUdpPortDrop"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kCreateUdpPortDrop).To(interfaceId).To(port).Send();
}

RESULT_CODE CNetworkInterfaceClient::RemoveUdpPortDrop(uint64_t interfaceId, uint16_t port)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("RemoveUdpPortDrop"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kRemoveUdpPortDrop).To(interfaceId).To(port).Send();
}

RESULT_CODE CNetworkInterfaceClient::UdpPortDropExist(uint64_t interfaceId, uint16_t port, bool* exist)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("UdpPortDropExist"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!exist) return result = RESULT_INVALID_ARGUMENT;

    CExchange exchange(Client, kUdpPortDropExist);
    result = exchange.To(interfaceId).To(port).SendOnly();
    if (result != RESULT_NO_ERROR) return result; // nobody has said anything about the rule
    *exist = exchange.HasGoodStatus();
    return result = *exist ? RESULT_NO_ERROR : exchange.ServerError(); // the caller sees both: no rule, and why
}

RESULT_CODE CNetworkInterfaceClient::Initialize(IRestClient* restClient)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Initialize"), TraceEntering, TraceExitingWith(result));
    return result = Attach(restClient);
}

RESULT_CODE CNetworkInterfaceClient::Shutdown()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Shutdown"), TraceEntering, TraceExitingWith(result));
    Initialized = false; // the transport stays known: the next Initialize replaces it
    return result = RESULT_NO_ERROR;
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// A row for each operation on streams; the pattern of a method is told in CConductorClient.
#include "commandpipe/restclient/CStreamClient.h"

#include "commandpipe/restclient/CExchange.h"
#include "commandpipe/restserver/Trace.h"
#include "logger/CFunctionTracer.h"

#define TRACE_NAME(method) "Quillmont::Trellis::CommandPipe::RestClient::CStreamClient::" method

namespace Quillmont::Trellis::CommandPipe::RestClient
{

using namespace RestServer;
using web::http::methods;

namespace
{

constexpr Route kGetSharedList{&methods::GET, "MXS/Stream/Shared/"};
constexpr Route kGetMinesList{&methods::GET, "MXS/Stream/Mines/"};
constexpr Route kCreate{&methods::POST, "MXS/Stream/Mines/"}; // its answer has rules of its own
constexpr Route kDelete{&methods::DEL, "MXS/Stream/Mines/"};
constexpr Route kGetCommonConfig{&methods::GET, "MXS/Stream/Mines/", "/Config/Common"};
constexpr Route kSetCommonConfig{&methods::PUT, "MXS/Stream/Mines/", "/Config/Common"};
constexpr Route kGetEssenceConfig{&methods::GET, "MXS/Stream/Mines/", "/Config/Essence"};
constexpr Route kSetEssenceConfig{&methods::PUT, "MXS/Stream/Mines/", "/Config/Essence"};
constexpr Route kGetNetworkConfig{&methods::GET, "MXS/Stream/Mines/", "/Config/Network"};
constexpr Route kSetNetworkConfig{&methods::PUT, "MXS/Stream/Mines/", "/Config/Network"};
constexpr Route kGetCommonStatus{&methods::GET, "MXS/Stream/Mines/", "/Status/Common"};
constexpr Route kGetEssenceStatus{&methods::GET, "MXS/Stream/Mines/", "/Status/Essence"};
constexpr Route kGetNetworkStatus{&methods::GET, "MXS/Stream/Mines/", "/Status/Network"};
constexpr Route kGetState{&methods::GET, "MXS/Stream/Mines/", "/State"};
constexpr Route kSetState{&methods::PUT, "MXS/Stream/Mines/", "/State"};

} // namespace

CStreamClient::CStreamClient()
{
    CFunctionTracer tracer(TRACE_NAME("CStreamClient"));
}

CStreamClient::~CStreamClient()
{
    CFunctionTracer tracer(TRACE_NAME("~CStreamClient"));
    CStreamClient::Shutdown();
}

RESULT_CODE CStreamClient::GetSharedList(std::vector<uint64_t>* streamIds)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetSharedList"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!streamIds) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetSharedList).ReadList(streamIds);
}

RESULT_CODE CStreamClient::GetMinesList(std::vector<uint64_t>* streamIds)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetMinesList"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!streamIds) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetMinesList).ReadList(streamIds);
}

RESULT_CODE CStreamClient::Create(STREAM_CREATE* stream)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Create"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!stream) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kCreate).With(*stream).Create(&stream->ID);
}

RESULT_CODE CStreamClient::Delete(uint64_t streamId)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Delete"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kDelete).To(streamId).Send();
}

RESULT_CODE CStreamClient::GetCommonConfig(uint64_t streamId, STREAM_COMMON_CONFIG* config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetCommonConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!config) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetCommonConfig).To(streamId).Read(config);
}

RESULT_CODE CStreamClient::SetCommonConfig(uint64_t streamId, const STREAM_COMMON_CONFIG& config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SetCommonConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kSetCommonConfig).To(streamId).With(config, false).Send();
}

RESULT_CODE CStreamClient::GetEssenceConfig(uint64_t streamId, Mxs::RtpEssence::CONFIG* config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetEssenceConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!config) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetEssenceConfig).To(streamId).Read(config);
}

RESULT_CODE CStreamClient::SetEssenceConfig(uint64_t streamId, const Mxs::RtpEssence::CONFIG& config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SetEssenceConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kSetEssenceConfig).To(streamId).With(config).Send();
}

RESULT_CODE CStreamClient::GetNetworkConfig(uint64_t streamId, STREAM_NETWORK_CONFIG* config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetNetworkConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!config) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetNetworkConfig).To(streamId).Read(config);
}

RESULT_CODE CStreamClient::SetNetworkConfig(uint64_t streamId, const STREAM_NETWORK_CONFIG& config)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SetNetworkConfig"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kSetNetworkConfig).To(streamId).With(config).Send();
}

RESULT_CODE CStreamClient::GetCommonStatus(uint64_t streamId, STREAM_COMMON_STATUS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetCommonStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetCommonStatus).To(streamId).Read(status);
}

RESULT_CODE CStreamClient::GetEssenceStatus(uint64_t streamId, Mxs::RtpEssence::STATUS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetEssenceStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetEssenceStatus).To(streamId).Read(status);
}

RESULT_CODE CStreamClient::GetNetworkStatus(uint64_t streamId, STREAM_NETWORK_STATUS* status)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetNetworkStatus"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!status) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetNetworkStatus).To(streamId).Read(status);
}

RESULT_CODE CStreamClient::GetState(uint64_t streamId, STREAM_STATE* state)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("GetState"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    if (!state) return result = RESULT_INVALID_ARGUMENT;
    return result = CExchange(Client, kGetState).To(streamId).Read(state);
}

RESULT_CODE CStreamClient::SetState(uint64_t streamId, const STREAM_STATE& state)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("SetState"), TraceEntering, TraceExitingWith(result));
    if (!Initialized) return result = RESULT_NOT_INITIALIZED;
    return result = CExchange(Client, kSetState).To(streamId).With(state).Send();
}

RESULT_CODE CStreamClient::Initialize(IRestClient* restClient)
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Initialize"), TraceEntering, TraceExitingWith(result));
    return result = Attach(restClient);
}

RESULT_CODE CStreamClient::Shutdown()
{
    RESULT_CODE result = RESULT_OPERATION_FAILED;
    CFunctionTracer tracer(TRACE_NAME("Shutdown"), TraceEntering, TraceExitingWith(result));
    Initialized = false; // the transport stays known: the next Initialize replaces it
    return result = RESULT_NO_ERROR;
}

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// Exported functions: conductors. The handle texts of half of them name another object than the context; log filters
// know them so.
#include "zefaline/conductor.h"

#include "api/CMxsContext.h"
#include "api/CallFrame.h"
#include "commandpipe/restclient/IConductorClient.h"
#include "commandpipe/restclient/IRestClient.h"
#include "logger/CFunctionTracer.h"

#include <algorithm>
#include <vector>

using namespace Quillmont::Trellis::Zefa;
using namespace Quillmont::Trellis::CommandPipe::RestServer;

static ZEFA_ERRORCODE TranslateCreateConductor(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NO_ERROR: return ZEFA_NO_ERROR;
    case RESULT_NOT_INITIALIZED: return ZEFA_ERR_COMMUNICATION;
    default: return ZEFA_ERR_INCORRECT_STATE;
    }
}

ZEFA_ERRORCODE ZEFA_CreateConductor(ZEFA_HANDLE Context, uint8_t Shared_B, uint64_t* pConductorId_ULL)
{
    CFunctionTracer tracer("ZEFA_CreateConductor");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS session handle is invalid.\r\n");
    if (!pConductorId_ULL) return Fail(ZEFA_ERR_INVALID_POINTER, "The conductor id pointer is null.\r\n");

    CONDUCTOR_CREATE conductor{.Shared = Shared_B != 0, .ID = 0};
    const RESULT_CODE result = context->GetRestClient()->GetConductorClient()->Create(&conductor);
    if (result == RESULT_NO_ERROR) *pConductorId_ULL = conductor.ID;
    return TranslateCreateConductor(result);
}

static ZEFA_ERRORCODE TranslateDestroyConductor(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NO_ERROR: return ZEFA_NO_ERROR;
    case RESULT_NOT_INITIALIZED: return ZEFA_ERR_COMMUNICATION;
    default: return ZEFA_ERR_INCORRECT_STATE;
    }
}

ZEFA_ERRORCODE ZEFA_DestroyConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL)
{
    CFunctionTracer tracer("ZEFA_DestroyConductor");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS session handle is invalid.\r\n");

    return TranslateDestroyConductor(context->GetRestClient()->GetConductorClient()->Delete(ConductorId_ULL));
}

static ZEFA_ERRORCODE TranslateAddSharedConductorToContext(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_INVALID_ARGUMENT: return Fail(ZEFA_ERR_NOT_FOUND, "The conductor does not exist.\r\n");
    case RESULT_ACCESS_NOT_ALLOWED: return Fail(ZEFA_ERR_INCORRECT_STATE, "The conductor is not shared.\r\n");
    default: return CommonRule(result);
    }
}

// The same request as a creation, but with the identifier of a conductor that is there.
ZEFA_ERRORCODE ZEFA_AddSharedConductorToContext(ZEFA_HANDLE Context, uint64_t ConductorId_ULL)
{
    CFunctionTracer tracer("ZEFA_AddSharedConductorToContext");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS session handle is invalid.\r\n");
    if (ConductorId_ULL == 0) // the service would make a new one
        return Fail(ZEFA_ERR_BAD_ARGUMENT, "The conductor ID can not be 0.\r\n");

    CONDUCTOR_CREATE conductor{.Shared = false, .ID = ConductorId_ULL};
    return TranslateAddSharedConductorToContext(context->GetRestClient()->GetConductorClient()->Create(&conductor));
}

static ZEFA_ERRORCODE TranslateGetSharedConductorList(RESULT_CODE failure)
{
    return failure == RESULT_NOT_INITIALIZED ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_INCORRECT_STATE;
}

ZEFA_ERRORCODE ZEFA_GetSharedConductorList(ZEFA_HANDLE Context, uint64_t* pConductorIds_ULL, uint32_t* pNbConductors_UL)
{
    CFunctionTracer tracer("ZEFA_GetSharedConductorList");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS session handle is invalid.\r\n");
    if (!pConductorIds_ULL) return Fail(ZEFA_ERR_INVALID_POINTER, "The conductor array pointer is null.\r\n");
    if (!pNbConductors_UL) return Fail(ZEFA_ERR_INVALID_POINTER, "The conductor number pointer is null.\r\n");

    std::vector<uint64_t> ids;
    const RESULT_CODE result = context->GetRestClient()->GetConductorClient()->GetSharedList(&ids);
    if (result != RESULT_NO_ERROR) return TranslateGetSharedConductorList(result);
    if (ids.size() > ZEFA_MAX_LIST_IDS) // the text is that of the network interfaces, here too
        return Fail(ZEFA_ERR_OPERATION_FAILED, "The size of NetworkInterfaceHandlesList( " +
                                                   std::to_string(ZEFA_MAX_LIST_IDS) +
                                                   ") is smaller than the number of available network interfaces (" +
                                                   std::to_string(ids.size()) + ").\r\n");
    *pNbConductors_UL = static_cast<uint32_t>(ids.size());
    std::copy(ids.begin(), ids.end(), pConductorIds_ULL);
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateGetConductorConfig(RESULT_CODE result)
{
    return result == RESULT_NOT_INITIALIZED ? ZEFA_ERR_INCORRECT_STATE : CommonRule(result);
}

ZEFA_ERRORCODE ZEFA_GetConductorConfig(ZEFA_HANDLE Context, uint64_t ConductorId_ULL, ZEFA_CONDUCTOR_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_GetConductorConfig");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");

    CONDUCTOR_CONFIG config{};
    const RESULT_CODE result = context->GetRestClient()->GetConductorClient()->GetConfig(ConductorId_ULL, &config);
    if (result != RESULT_NO_ERROR) return TranslateGetConductorConfig(result);
    pConfig_X->CpuCoreId_ULL = config.CpuCoreID;
    pConfig_X->Reserved_ULL = 0;
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateSetConductorConfig(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NOT_INITIALIZED: return Fail(ZEFA_ERR_INCORRECT_STATE, "The conductor is not initialized.\r\n");
    case CORE_RESULT_OFFLINE_PROPERTY:
        return Fail(ZEFA_ERR_INCORRECT_STATE, "Configuration can not be changed when the conductor is running.\r\n");
    case CORE_RESULT_INCORRECT_CONFIGURATION: return ZEFA_ERR_BAD_ARGUMENT;
    case RESULT_ACCESS_NOT_ALLOWED: return Fail(ZEFA_ERR_INCORRECT_STATE, "The conductor is not shared.\r\n");
    case RESULT_INVALID_ARGUMENT: return Fail(ZEFA_ERR_NOT_FOUND, "The conductor does not exist.\r\n");
    default: return CommonRule(result);
    }
}

ZEFA_ERRORCODE ZEFA_SetConductorConfig(ZEFA_HANDLE Context, uint64_t ConductorId_ULL,
                                       const ZEFA_CONDUCTOR_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_SetConductorConfig");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");

    const CONDUCTOR_CONFIG config{.CpuCoreID = pConfig_X->CpuCoreId_ULL};
    return TranslateSetConductorConfig(
        context->GetRestClient()->GetConductorClient()->SetConfig(ConductorId_ULL, config));
}

static ZEFA_ERRORCODE TranslateGetConductorStatus(RESULT_CODE result)
{
    return CommonRule(result);
}

ZEFA_ERRORCODE ZEFA_GetConductorStatus(ZEFA_HANDLE Context, uint64_t ConductorId_ULL, ZEFA_CONDUCTOR_STATUS* pStatus_X)
{
    CFunctionTracer tracer("ZEFA_GetConductorStatus");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");

    CONDUCTOR_STATUS status{};
    const RESULT_CODE result = context->GetRestClient()->GetConductorClient()->GetStatus(ConductorId_ULL, &status);
    if (result == RESULT_NO_ERROR && pStatus_X) // without a structure the call asks whether the conductor is there
    {
        pStatus_X->Throughput_ULL = status.Throughput;
        pStatus_X->Load_D = status.Load;
    }
    return TranslateGetConductorStatus(result);
}

static ZEFA_ERRORCODE TranslateStartConductor(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NO_ERROR: return ZEFA_NO_ERROR;
    case RESULT_NOT_INITIALIZED:
    case CORE_RESULT_OFFLINE_PROPERTY: return ZEFA_ERR_INCORRECT_STATE;
    default: return result < RESULT_NO_ERROR ? ZEFA_ERR_BAD_ARGUMENT : ZEFA_ERR_COMMUNICATION;
    }
}

ZEFA_ERRORCODE ZEFA_StartConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL)
{
    CFunctionTracer tracer("ZEFA_StartConductor");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");

    const CONDUCTOR_STATE state{.Started = true};
    return TranslateStartConductor(context->GetRestClient()->GetConductorClient()->SetState(ConductorId_ULL, state));
}

static ZEFA_ERRORCODE TranslateStopConductor(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_INVALID_ARGUMENT: return Fail(ZEFA_ERR_NOT_FOUND, "The conductor does not exist.\r\n");
    case RESULT_ACCESS_NOT_ALLOWED: // it exists, in a context that does not share it
        return Fail(ZEFA_ERR_INCORRECT_STATE, "The conductor is not shared.\r\n");
    default: return CommonRule(result);
    }
}

ZEFA_ERRORCODE ZEFA_StopConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL)
{
    CFunctionTracer tracer("ZEFA_StopConductor");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");

    const CONDUCTOR_STATE state{.Started = false};
    return TranslateStopConductor(context->GetRestClient()->GetConductorClient()->SetState(ConductorId_ULL, state));
}

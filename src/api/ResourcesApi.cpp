// Exported functions: CPU cores, network interfaces and their UDP ports. The texts name a network interface in most
// places where a core or the context is meant; log filters know them so.
#include "zefaline/resources.h"

#include "api/CMxsContext.h"
#include "api/CallFrame.h"
#include "commandpipe/restclient/ICpuCoreClient.h"
#include "commandpipe/restclient/INetworkInterfaceClient.h"
#include "commandpipe/restclient/IRestClient.h"
#include "logger/CFunctionTracer.h"
#include "logger/Log.h"

#include <algorithm>
#include <vector>

using namespace Quillmont::Trellis::Zefa;
using namespace Quillmont::Trellis::CommandPipe::RestServer;

static ZEFA_ERRORCODE TranslateGetCPUCoresHandlesList(RESULT_CODE failure)
{
    return failure == RESULT_NOT_INITIALIZED ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_INCORRECT_STATE;
}

// Without a trace, unlike its neighbours.
ZEFA_ERRORCODE ZEFA_GetCPUCoresHandlesList(ZEFA_HANDLE Context, uint64_t* pCpuCoreIds_ULL, uint32_t* pNbCpuCores_UL)
{
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS session handle is invalid.\r\n");
    if (!pCpuCoreIds_ULL) return Fail(ZEFA_ERR_INVALID_POINTER, "The network interface array pointer is null.\r\n");
    if (!pNbCpuCores_UL) return Fail(ZEFA_ERR_INVALID_POINTER, "The network interface number pointer is null.\r\n");

    std::vector<uint64_t> ids;
    const RESULT_CODE result = context->GetRestClient()->GetCpuCoreClient()->GetList(&ids);
    if (result != RESULT_NO_ERROR) return TranslateGetCPUCoresHandlesList(result);
    if (ids.size() > ZEFA_MAX_LIST_IDS) // the number printed is the caller's, not that of the list
        return Fail(ZEFA_ERR_OPERATION_FAILED, "The size of NetworkInterfaceHandlesList( " +
                                                   std::to_string(ZEFA_MAX_LIST_IDS) +
                                                   ") is smaller than the number of available network interfaces (" +
                                                   std::to_string(*pNbCpuCores_UL) + ").\r\n");
    *pNbCpuCores_UL = static_cast<uint32_t>(ids.size());
    std::copy(ids.begin(), ids.end(), pCpuCoreIds_ULL);
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateGetCPUCoreFromOSId(RESULT_CODE result)
{
    return CommonRule(result);
}

// The service has no query by the operating system's number, so all cores are asked.
ZEFA_ERRORCODE ZEFA_GetCPUCoreFromOSId(ZEFA_HANDLE Context, uint64_t OsId_ULL, uint64_t* pCpuCoreId_ULL)
{
    CFunctionTracer tracer("ZEFA_GetCPUCoreFromOSId");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");
    if (!pCpuCoreId_ULL) // looked at with a bad handle too, and wins over it
        return Fail(ZEFA_ERR_INVALID_POINTER, "The Cpu Core Id handle is null.\r\n");
    if (!context) return ZEFA_ERR_INVALID_HANDLE;

    auto* const client = context->GetRestClient()->GetCpuCoreClient();
    std::vector<uint64_t> ids;
    if (const RESULT_CODE result = client->GetList(&ids); result != RESULT_NO_ERROR)
        return TranslateGetCPUCoreFromOSId(result);
    ZEFA_ERRORCODE error = ZEFA_NO_ERROR;
    for (const uint64_t id : ids)
    {
        CPU_CORE_STATUS status{};
        const RESULT_CODE result = client->GetStatus(id, &status);
        if (result != RESULT_NO_ERROR)
            error = TranslateGetCPUCoreFromOSId(result); // kept, unless a core behind this one fits
        else if (status.CoreId == OsId_ULL)
        {
            *pCpuCoreId_ULL = id;
            return ZEFA_NO_ERROR;
        }
    }
    return error; // success also when no core has the number: callers preset the identifier
}

static ZEFA_ERRORCODE TranslateGetCpuCoreStatus(RESULT_CODE result)
{
    return CommonRule(result);
}

static ZEFA_CONDUCTOR_AVAILABILITY ExportedAvailability(uint32_t availability)
{
    switch (availability)
    {
    case CONDUCTOR_AVAILABILITY_AVAILABLE: return ZEFA_CONDUCTOR_AVAILABILITY_AVAILABLE;
    case CONDUCTOR_AVAILABILITY_NOT_AVAILABLE: return ZEFA_CONDUCTOR_AVAILABILITY_NOT_AVAILABLE;
    case CONDUCTOR_AVAILABILITY_ALREADY_USED: return ZEFA_CONDUCTOR_AVAILABILITY_ALREADY_USED;
    default: return ZEFA_CONDUCTOR_AVAILABILITY_UNKNOWN;
    }
}

ZEFA_ERRORCODE ZEFA_GetCpuCoreStatus(ZEFA_HANDLE Context, uint64_t CpuCoreId_ULL, ZEFA_CPU_CORE_STATUS* pStatus_X)
{
    CFunctionTracer tracer("ZEFA_GetCpuCoreStatus");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");

    CPU_CORE_STATUS status{};
    status.ConductorAvailability = CONDUCTOR_AVAILABILITY_NOT_AVAILABLE;
    const RESULT_CODE result = context->GetRestClient()->GetCpuCoreClient()->GetStatus(CpuCoreId_ULL, &status);
    if (result != RESULT_NO_ERROR) return TranslateGetCpuCoreStatus(result);
    pStatus_X->CoreId_UL = status.CoreId;
    pStatus_X->NumaNode_UL = status.NumaNode;
    pStatus_X->MaxSpeed_UL = status.MaxSpeed;
    pStatus_X->CoreUsage_UB = status.CoreUsage;
    pStatus_X->GroupId_UL = status.GroupId;
    pStatus_X->ConductorAvailability_E = ExportedAvailability(status.ConductorAvailability);
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateGetNetworkInterfaceHandlesList(RESULT_CODE failure)
{
    return failure == RESULT_NOT_INITIALIZED ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_INCORRECT_STATE;
}

ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceHandlesList(ZEFA_HANDLE Context, uint64_t* pNetworkInterfaceIds_ULL,
                                                   uint32_t* pNbNetworkInterfaces_UL)
{
    CFunctionTracer tracer("ZEFA_GetNetworkInterfaceHandlesList");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS session handle is invalid.\r\n");
    if (!pNetworkInterfaceIds_ULL)
        return Fail(ZEFA_ERR_INVALID_POINTER, "The network interface array pointer is null.\r\n");
    if (!pNbNetworkInterfaces_UL)
        return Fail(ZEFA_ERR_INVALID_POINTER, "The network interface number pointer is null.\r\n");

    std::vector<uint64_t> ids;
    const RESULT_CODE result = context->GetRestClient()->GetNetworkInterfaceClient()->GetList(&ids);
    if (result != RESULT_NO_ERROR) return TranslateGetNetworkInterfaceHandlesList(result);
    if (ids.size() > ZEFA_MAX_LIST_IDS)
        return Fail(ZEFA_ERR_OPERATION_FAILED, "The size of NetworkInterfaceHandlesList( " +
                                                   std::to_string(ZEFA_MAX_LIST_IDS) +
                                                   ") is smaller than the number of available network interfaces (" +
                                                   std::to_string(ids.size()) + ").\r\n");
    *pNbNetworkInterfaces_UL = static_cast<uint32_t>(ids.size());
    std::copy(ids.begin(), ids.end(), pNetworkInterfaceIds_ULL);
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateGetNetworkInterfaceConfig(RESULT_CODE result)
{
    return result == RESULT_NOT_INITIALIZED ? ZEFA_ERR_INCORRECT_STATE : CommonRule(result);
}

ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceConfig(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL,
                                              ZEFA_NETWORK_INTERFACE_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_GetNetworkInterfaceConfig");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");
    if (!pConfig_X) return Fail(ZEFA_ERR_INVALID_POINTER, "The network interface config pointer is null.\r\n");

    NET_IF_CONFIG config{};
    const RESULT_CODE result =
        context->GetRestClient()->GetNetworkInterfaceClient()->GetConfig(NetworkInterfaceId_ULL, &config);
    if (result != RESULT_NO_ERROR) return TranslateGetNetworkInterfaceConfig(result);
    pConfig_X->IP_UL = config.IP; // in the byte order in which the service sends it
    pConfig_X->SubnetMask_UL = config.SubnetMask;
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateGetNetworkInterfaceStatus(RESULT_CODE result)
{
    return CommonRule(result);
}

static ZEFA_DUPLEX_TYPE ExportedDuplexType(uint32_t duplexType)
{
    switch (duplexType)
    {
    case DUPLEX_TYPE_HALF: return ZEFA_DUPLEX_TYPE_HALF;
    case DUPLEX_TYPE_FULL: return ZEFA_DUPLEX_TYPE_FULL;
    case DUPLEX_TYPE_UNKNOWN: return ZEFA_DUPLEX_TYPE_UNKNOWN;
    default: return ZEFA_DUPLEX_TYPE_INVALID;
    }
}

// A name of exactly 50 characters loses its last one without a word.
static void WarnOfLongName(const std::string& name)
{
    using namespace Quillmont::Logger;
    if (name.size() > ZEFA_NAME_CHARS)
        Log(kPriorityWarning, "Name size (" + std::to_string(ZEFA_NAME_CHARS) + ") to small to contain actual size (" +
                                  std::to_string(name.size()) + ")\r\n");
}

ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceStatus(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL,
                                              ZEFA_NETWORK_INTERFACE_STATUS* pStatus_X)
{
    CFunctionTracer tracer("ZEFA_GetNetworkInterfaceStatus");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");
    if (!pStatus_X) return Fail(ZEFA_ERR_INVALID_POINTER, "The network interface status pointer is null.\r\n");

    NET_IF_STATUS status{};
    const RESULT_CODE result =
        context->GetRestClient()->GetNetworkInterfaceClient()->GetStatus(NetworkInterfaceId_ULL, &status);
    if (result != RESULT_NO_ERROR) return TranslateGetNetworkInterfaceStatus(result);
    const NET_IF_CHARACTERISTICS& device = status.Characteristics;
    WarnOfLongName(device.SystemName);
    WarnOfLongName(device.DriverVersion);
    pStatus_X->NumaNode_UL = device.NumaNode;
    pStatus_X->Mac_ULL = device.Mac;
    pStatus_X->InterfaceIndex_UL = device.InterfaceIndex;
    pStatus_X->LinkStatus_B = device.LinkStatus ? 1 : 0;
    pStatus_X->LinkSpeed_UL = device.LinkSpeed;
    pStatus_X->DuplexType_E = ExportedDuplexType(device.DuplexType);
    pStatus_X->MTU_UL = device.MTU;
    pStatus_X->UploadThroughput_ULL = status.UploadThroughput;
    pStatus_X->DownloadThroughput_ULL = status.DownloadThroughput;
    CopyText(device.SystemName, pStatus_X->SystemName_C);
    CopyText(device.DriverVersion, pStatus_X->DriverVersion_C);
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateDPDK_AllowUdpPort(RESULT_CODE result)
{
    return result == RESULT_NOT_FOUND ? ZEFA_ERR_NOT_FOUND : CommonRule(result);
}

// What exists at the service is the drop: to let a port through is to remove its rule.
ZEFA_ERRORCODE ZEFA_DPDK_AllowUdpPort(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL, uint16_t Port_US)
{
    CFunctionTracer tracer("ZEFA_DPDK_AllowUdpPort");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");

    return TranslateDPDK_AllowUdpPort(
        context->GetRestClient()->GetNetworkInterfaceClient()->RemoveUdpPortDrop(NetworkInterfaceId_ULL, Port_US));
}

static ZEFA_ERRORCODE TranslateDPDK_DropUdpPort(RESULT_CODE result)
{
    return CommonRule(result);
}

ZEFA_ERRORCODE ZEFA_DPDK_DropUdpPort(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL, uint16_t Port_US)
{
    CFunctionTracer tracer("ZEFA_DPDK_DropUdpPort");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The network interface handle is invalid.\r\n");

    return TranslateDPDK_DropUdpPort(
        context->GetRestClient()->GetNetworkInterfaceClient()->CreateUdpPortDrop(NetworkInterfaceId_ULL, Port_US));
}

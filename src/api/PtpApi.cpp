// Exported functions: the PTP daemon of the service.
#include "zefaline/ptp.h"

#include "api/CMxsContext.h"
#include "api/CallFrame.h"
#include "commandpipe/restclient/INetworkInterfaceClient.h"
#include "commandpipe/restclient/IPtpApiClient.h"
#include "commandpipe/restclient/IRestClient.h"
#include "logger/CFunctionTracer.h"

#include <cstring>
#include <string>

using namespace Quillmont::Trellis::Zefa;
using namespace Quillmont::Trellis::CommandPipe::RestServer;

static constexpr const char* kInvalidHandle = "The PTP daemon handle is invalid.\r\n";

namespace
{
struct Profile
{
    uint8_t DomainNumber;
    uint8_t Priority1;
    uint8_t Priority2;
    int8_t LogMinDelayReqInterval;
    int8_t LogMinPdelayReqInterval;
};

constexpr Profile kProfiles[] = {{127, 128, 128, -3, -3}, {0, 255, 255, 0, -3}}; // the index is the profile's number
} // namespace

// Without a trace, unlike its neighbours; and it needs no context.
ZEFA_ERRORCODE ZEFA_CreatePTPDSFromProfile(ZEFA_PTP_PROFILE Profile_L, ZEFA_PTP_DEFAULT_DS* pDefaultDS_X,
                                           ZEFA_PTP_PORT_DS* pPortDS_X)
{
    if (!pDefaultDS_X || !pPortDS_X) return Fail(ZEFA_ERR_INVALID_POINTER, "One of the pointers is null.\r\n");

    // What all profiles share, written for an unknown one too.
    pDefaultDS_X->ClockAccuracy_UB = 254;
    pDefaultDS_X->OffsetScaledLogVariance_US = 1000;
    pPortDS_X->AnnounceReceiptTimeout_UB = 3;
    pPortDS_X->DelayMechanism_E = ZEFA_PTP_DELAY_MECHANISM_E2E;
    if (Profile_L < 0 || static_cast<size_t>(Profile_L) >= std::size(kProfiles))
        return Fail(ZEFA_ERR_BAD_ARGUMENT, "The PTP profile " + std::to_string(Profile_L) + " is not handled.\r\n");
    const Profile& profile = kProfiles[Profile_L];
    pDefaultDS_X->DomainNumber_UB = profile.DomainNumber;
    pDefaultDS_X->Priority1_UB = profile.Priority1;
    pDefaultDS_X->Priority2_UB = profile.Priority2;
    pPortDS_X->LogMinDelayReqInterval_B = profile.LogMinDelayReqInterval;
    pPortDS_X->LogMinPdelayReqInterval_B = profile.LogMinPdelayReqInterval;
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateGetPTPConfig(RESULT_CODE result)
{
    return result == RESULT_NOT_INITIALIZED ? ZEFA_ERR_INCORRECT_STATE : CommonRule(result);
}

static ZEFA_PTP_DELAY_MECHANISM ExportedDelayMechanism(uint32_t delayMechanism)
{
    switch (delayMechanism)
    {
    case DELAY_MECHANISM_E2E: return ZEFA_PTP_DELAY_MECHANISM_E2E;
    case DELAY_MECHANISM_P2P: return ZEFA_PTP_DELAY_MECHANISM_P2P;
    default: return ZEFA_PTP_DELAY_MECHANISM_UNKNOWN;
    }
}

static ZEFA_PTP_TIME_STAMPING ExportedTimeStamping(uint32_t timeStamping)
{
    switch (timeStamping)
    {
    case TIME_STAMPING_SW: return ZEFA_PTP_TIME_STAMPING_SOFTWARE;
    case TIME_STAMPING_HW: return ZEFA_PTP_TIME_STAMPING_HARDWARE;
    default: return ZEFA_PTP_TIME_STAMPING_UNKNOWN;
    }
}

ZEFA_ERRORCODE ZEFA_GetPTPConfig(ZEFA_HANDLE Context, ZEFA_PTP_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_GetPTPConfig");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, kInvalidHandle);
    if (!pConfig_X) return Fail(ZEFA_ERR_INVALID_POINTER, "The PTP daemon config pointer is null.\r\n");

    PTP_CONFIG config{};
    config.delayMechanism = DELAY_MECHANISM_E2E;
    const RESULT_CODE result = context->GetRestClient()->GetPtpApiClient()->GetConfig(&config);
    if (result != RESULT_NO_ERROR) return TranslateGetPTPConfig(result);
    std::memset(pConfig_X, 0, sizeof *pConfig_X); // the interface too: its name is not turned back into an identifier
    pConfig_X->Size_UL = sizeof *pConfig_X;
    pConfig_X->HybridMode_B = config.hybridMode ? 1 : 0;
    pConfig_X->DefaultDS.ClockAccuracy_UB = config.clockAccuracy;
    pConfig_X->DefaultDS.OffsetScaledLogVariance_US = config.offsetScaledLogVariance;
    pConfig_X->DefaultDS.DomainNumber_UB = config.domainNumber;
    pConfig_X->DefaultDS.Priority1_UB = config.priority1;
    pConfig_X->DefaultDS.Priority2_UB = config.priority2;
    pConfig_X->PortDS.LogMinDelayReqInterval_B = config.logMinDelayReqInterval;
    pConfig_X->PortDS.AnnounceReceiptTimeout_UB = config.announceReceiptTimeout;
    pConfig_X->PortDS.DelayMechanism_E = ExportedDelayMechanism(config.delayMechanism);
    pConfig_X->PortDS.LogMinPdelayReqInterval_B = config.logMinPdelayReqInterval;
    pConfig_X->TimeStamping_E = ExportedTimeStamping(config.TimeStamping);
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateSetPTPConfig(RESULT_CODE result)
{
    if (result == RESULT_NO_ERROR) return ZEFA_NO_ERROR;
    if (result == RESULT_NOT_INITIALIZED || result == CORE_RESULT_INVALID_OPERATION) return ZEFA_ERR_INCORRECT_STATE;
    return result > RESULT_NO_ERROR ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_BAD_ARGUMENT;
}

ZEFA_ERRORCODE ZEFA_SetPTPConfig(ZEFA_HANDLE Context, const ZEFA_PTP_CONFIG* pConfig_X)
{
    CFunctionTracer tracer("ZEFA_SetPTPConfig");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, kInvalidHandle);

    PTP_CONFIG config{};
    config.hybridMode = pConfig_X->HybridMode_B != 0;
    config.TimeStamping =
        pConfig_X->TimeStamping_E == ZEFA_PTP_TIME_STAMPING_HARDWARE ? TIME_STAMPING_HW : TIME_STAMPING_SW;
    config.clockClass = 255; // with the next three and the version: never anything but a slave
    config.twoStepFlag = true;
    config.slaveOnly = true;
    config.logAnnounceInterval = 1;
    config.logSyncInterval = 0;
    config.versionNumber = 2;
    config.clockAccuracy = pConfig_X->DefaultDS.ClockAccuracy_UB;
    config.offsetScaledLogVariance = pConfig_X->DefaultDS.OffsetScaledLogVariance_US;
    config.domainNumber = pConfig_X->DefaultDS.DomainNumber_UB;
    config.priority1 = pConfig_X->DefaultDS.Priority1_UB;
    config.priority2 = pConfig_X->DefaultDS.Priority2_UB;
    config.logMinDelayReqInterval = pConfig_X->PortDS.LogMinDelayReqInterval_B;
    config.announceReceiptTimeout = pConfig_X->PortDS.AnnounceReceiptTimeout_UB;
    config.delayMechanism =
        pConfig_X->PortDS.DelayMechanism_E == ZEFA_PTP_DELAY_MECHANISM_P2P ? DELAY_MECHANISM_P2P : DELAY_MECHANISM_E2E;
    config.logMinPdelayReqInterval = pConfig_X->PortDS.LogMinPdelayReqInterval_B;

    // The daemon wants the interface by its name on the operating system.
    NET_IF_STATUS netIf{};
    const RESULT_CODE found =
        context->GetRestClient()->GetNetworkInterfaceClient()->GetStatus(pConfig_X->NetworkInterfaceId_ULL, &netIf);
    if (found != RESULT_NO_ERROR) return TranslateSetPTPConfig(found);
    netIf.Characteristics.SystemName.copy(config.InterfaceName, sizeof config.InterfaceName - 1); // the rest is zero
    return TranslateSetPTPConfig(context->GetRestClient()->GetPtpApiClient()->SetConfig(config));
}

static ZEFA_ERRORCODE TranslateGetPTPStatus(RESULT_CODE result)
{
    return result == RESULT_NOT_INITIALIZED ? ZEFA_ERR_INCORRECT_STATE : CommonRule(result);
}

// The exported numbers are one less than those of the wire, whose unknown state is the first.
static ZEFA_PTP_PORT_STATE ExportedPortState(uint32_t portState)
{
    return portState >= PORT_STATE_INITIALIZING && portState <= PORT_STATE_SLAVE ? portState - 1
                                                                                 : ZEFA_PTP_PORT_STATE_UNKNOWN;
}

static void CopyClockIdentity(uint64_t clockIdentity, uint8_t (&field)[8])
{
    std::memcpy(field, &clockIdentity, sizeof field); // the number in memory order, as for the clock of a description
}

static void CopyPortIdentity(const PORT_IDENTITY& identity, ZEFA_PTP_PORT_IDENTITY& field)
{
    CopyClockIdentity(identity.clockIdentity, field.ClockIdentity_UB);
    field.PortNumber_US = identity.portNumber;
}

ZEFA_ERRORCODE ZEFA_GetPTPStatus(ZEFA_HANDLE Context, ZEFA_PTP_STATUS* pStatus_X)
{
    CFunctionTracer tracer("ZEFA_GetPTPStatus");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, kInvalidHandle);
    if (!pStatus_X) return Fail(ZEFA_ERR_INVALID_POINTER, "The PTP daemon status pointer is null.\r\n");

    PTP_STATUS status{};
    const RESULT_CODE result = context->GetRestClient()->GetPtpApiClient()->GetStatus(&status);
    if (result != RESULT_NO_ERROR) return TranslateGetPTPStatus(result);
    std::memset(pStatus_X, 0, sizeof *pStatus_X); // cppcheck-suppress memsetClassFloat ; such a 0 is all bits 0 here
    pStatus_X->CurrentSystemTime_ULL = status.CurrentSystemTime;
    pStatus_X->OffsetScaledLogVariance_US = status.offsetScaledLogVariance;
    CopyClockIdentity(status.clockIdentity, pStatus_X->ClockIdentity_UB);
    pStatus_X->PeerMeanPathDelay_D = status.peerMeanPathDelay;
    pStatus_X->LogAnnounceInterval_B = status.logAnnounceInterval;
    CopyPortIdentity(status.portIdentity, pStatus_X->PortIdentity);
    pStatus_X->PortState_E = ExportedPortState(status.portState);
    pStatus_X->StepsRemoved_US = status.stepsRemoved;
    pStatus_X->OffsetFromMaster_D = status.offsetFromMaster;
    pStatus_X->MeanPathDelay_D = status.meanPathDelay;
    CopyPortIdentity(status.parentPortIdentity, pStatus_X->ParentPortIdentity);
    pStatus_X->ParentStats_B = status.parentStats ? 1 : 0;
    pStatus_X->ObservedParentOffsetScaledLogVariance_US = status.observedParentOffsetScaledLogVariance;
    pStatus_X->ObservedParentClockPhaseChangeRate_L = status.observedParentClockPhaseChangeRate;
    CopyClockIdentity(status.grandmasterIdentity, pStatus_X->GrandmasterIdentity_UB);
    pStatus_X->GrandmasterClockClass_UB = status.ClockClass;
    pStatus_X->GrandmasterClockAccuracy_UB = status.ClockAccuracy;
    pStatus_X->GrandmasterOffsetScaledLogVariance_US = status.OffsetScaledLogVariance;
    pStatus_X->GrandmasterPriority1_UB = status.grandmasterPriority1;
    pStatus_X->GrandmasterPriority2_UB = status.grandmasterPriority2;
    return ZEFA_NO_ERROR;
}

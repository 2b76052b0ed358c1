// Exported functions that this version does not carry out: the PTP daemon and the packets of ancillary data slots.
// Nothing but ZEFA_ERR_NOT_IMPLEMENTED comes from them and no argument is looked at.
#include "logger/CFunctionTracer.h"
#include "zefaline/anc.h"
#include "zefaline/ptp.h"

ZEFA_ERRORCODE ZEFA_CreatePTPDSFromProfile(ZEFA_PTP_PROFILE, ZEFA_PTP_DEFAULT_DS*, ZEFA_PTP_PORT_DS*)
{
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

ZEFA_ERRORCODE ZEFA_GetPTPConfig(ZEFA_HANDLE, ZEFA_PTP_CONFIG*)
{
    CFunctionTracer tracer("ZEFA_GetPTPConfig");
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

ZEFA_ERRORCODE ZEFA_SetPTPConfig(ZEFA_HANDLE, const ZEFA_PTP_CONFIG*)
{
    CFunctionTracer tracer("ZEFA_SetPTPConfig");
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

ZEFA_ERRORCODE ZEFA_GetPTPStatus(ZEFA_HANDLE, ZEFA_PTP_STATUS*)
{
    CFunctionTracer tracer("ZEFA_GetPTPStatus");
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

ZEFA_ERRORCODE ZEFA_SlotAncAllocatePacket(ZEFA_HANDLE, ZEFA_SLOT, uint8_t, ZEFA_ANC_PACKET**)
{
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

ZEFA_ERRORCODE ZEFA_SlotAncGetNbPackets(ZEFA_HANDLE, ZEFA_SLOT, uint32_t, ZEFA_BUFFER_TYPE, uint32_t*)
{
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

ZEFA_ERRORCODE ZEFA_SlotAncGetPacket(ZEFA_HANDLE, ZEFA_SLOT, uint32_t, ZEFA_BUFFER_TYPE, int32_t, ZEFA_ANC_PACKET**)
{
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

ZEFA_ERRORCODE ZEFA_SlotAncInsertPacket(ZEFA_HANDLE, ZEFA_SLOT, uint32_t, ZEFA_BUFFER_TYPE, int32_t, ZEFA_ANC_PACKET*)
{
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

ZEFA_ERRORCODE ZEFA_SlotAncRemovePacket(ZEFA_HANDLE, ZEFA_SLOT, uint32_t, ZEFA_BUFFER_TYPE, int32_t, uint8_t)
{
    return ZEFA_ERR_NOT_IMPLEMENTED;
}

// Exported functions that this version does not carry out: the packets of ancillary data slots.
// Nothing but ZEFA_ERR_NOT_IMPLEMENTED comes from them and no argument is looked at.
#include "zefaline/anc.h"

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

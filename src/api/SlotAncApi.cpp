// Exported functions: the packets of an ancillary data slot. No trace, for they may be called for each line of each
// frame; the model has translated the store's codes already.
#include "zefaline/anc.h"

#include "api/CallFrame.h"
#include "stream/CStreamModel_Anc.h"

using namespace Quillmont::Trellis::Zefa;

// The handles of all streams pass the check; only those of ancillary data have packets.
static CStreamModel_Anc* AncStream(ZEFA_HANDLE handle)
{
    return dynamic_cast<CStreamModel_Anc*>(HandleCast<CStreamModel>(handle, kTagBits16));
}

ZEFA_ERRORCODE ZEFA_SlotAncAllocatePacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint8_t DataCount_UB,
                                          ZEFA_ANC_PACKET** ppPacket_X)
{
    CStreamModel_Anc* stream = AncStream(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The slot handle is invalid.");
    return stream->AllocatePacket(Slot, DataCount_UB, ppPacket_X);
}

ZEFA_ERRORCODE ZEFA_SlotAncGetNbPackets(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                        ZEFA_BUFFER_TYPE BufferType_E, uint32_t* pNbPackets_UL)
{
    CStreamModel_Anc* stream = AncStream(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The slot handle is invalid.");
    return stream->GetNbPackets(Slot, LineNumber_UL, BufferType_E, pNbPackets_UL);
}

ZEFA_ERRORCODE ZEFA_SlotAncGetPacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                     ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L, ZEFA_ANC_PACKET** ppPacket_X)
{
    CStreamModel_Anc* stream = AncStream(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The slot handle is invalid.");
    return stream->GetPacket(Slot, LineNumber_UL, BufferType_E, PacketIndex_L, ppPacket_X);
}

ZEFA_ERRORCODE ZEFA_SlotAncInsertPacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                        ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                        ZEFA_ANC_PACKET* pPacket_X)
{
    CStreamModel_Anc* stream = AncStream(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The slot handle is invalid.");
    return stream->InsertPacket(Slot, LineNumber_UL, BufferType_E, PacketIndex_L, pPacket_X);
}

ZEFA_ERRORCODE ZEFA_SlotAncRemovePacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                        ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L, uint8_t InHANC_B)
{
    CStreamModel_Anc* stream = AncStream(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The slot handle is invalid.");
    return stream->RemovePacket(Slot, LineNumber_UL, BufferType_E, PacketIndex_L, InHANC_B != 0);
}

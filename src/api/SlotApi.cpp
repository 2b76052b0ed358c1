// Exported functions: slots. The model has translated the service's results already; what is said here is
// said about handles and slots.
#include "zefaline/slot.h"

#include "api/CallFrame.h"
#include "logger/CFunctionTracer.h"
#include "stream/CStreamModel.h"

using namespace Quillmont::Trellis::Zefa;

ZEFA_ERRORCODE ZEFA_LockSlot(ZEFA_HANDLE Stream, ZEFA_SLOT* pSlot)
{
    CFunctionTracer tracer("ZEFA_LockSlot");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.");
    const ZEFA_ERRORCODE result = stream->LockSlot(pSlot);
    return result == ZEFA_NO_ERROR ? result : Fail(result, "The lock slot failed."); // a time-out is told too
}

ZEFA_ERRORCODE ZEFA_UnlockSlot(ZEFA_HANDLE Stream, ZEFA_SLOT Slot)
{
    CFunctionTracer tracer("ZEFA_UnlockSlot");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The slot handle is invalid.");
    const ZEFA_ERRORCODE result = stream->UnlockSlot(Slot);
    return result == ZEFA_NO_ERROR ? result : Fail(result, "The slot could not be unlocked.");
}

ZEFA_ERRORCODE ZEFA_GetSlotBuffer(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                  uint8_t** ppBuffer_UB, uint32_t* pSize_UL)
{
    CFunctionTracer tracer("ZEFA_GetSlotBuffer");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The slot handle is invalid.");
    return stream->GetSlotBuffer(Slot, BufferType_E, ppBuffer_UB, pSize_UL);
}

ZEFA_ERRORCODE ZEFA_GetSlotTimestamps(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                      ZEFA_TIMESTAMP* pTimestamps_X, uint32_t* pNbTimestamps_UL)
{
    CFunctionTracer tracer("ZEFA_GetSlotTimestamps");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->GetSlotTimestamps(Slot, BufferType_E, pTimestamps_X, pNbTimestamps_UL);
}

ZEFA_ERRORCODE ZEFA_SetSlotTimestamps(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                      const ZEFA_TIMESTAMP* pTimestamps_X, uint32_t NbTimestamps_UL)
{
    CFunctionTracer tracer("ZEFA_SetSlotTimestamps");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->SetSlotTimestamps(Slot, BufferType_E, pTimestamps_X, NbTimestamps_UL);
}

ZEFA_ERRORCODE ZEFA_GetSlotLostDataInfo(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                        ZEFA_LOST_DATA* pLostData_X, uint32_t* pNbLostData_UL)
{
    CFunctionTracer tracer("ZEFA_GetSlotLostDataInfo");
    CStreamModel* stream = HandleCast<CStreamModel>(Stream);
    if (!stream) return Fail(ZEFA_ERR_INVALID_HANDLE, "The stream handle is invalid.\r\n");
    return stream->GetSlotLostData(Slot, BufferType_E, pLostData_X, pNbLostData_UL);
}

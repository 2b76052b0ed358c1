// Slots on the media thread: lock the next one, find its buffers, give it back. Nothing here allocates unless it has a
// failure to log, and the only wait is the one for a slot.
#include "stream/CStreamModel.h"

#include <algorithm>
#include <chrono>
#include <string>

#include "logger/CFunctionTracer.h"
#include "logger/Log.h"
#include "stream/RailResults.h"

namespace Quillmont::Trellis::Zefa
{
using Logger::kPriorityError;
using Logger::Log;

namespace
{
constexpr uint32_t kRailNothingYet = FLOW_RAIL_BAD_ARGUMENT; // of GetConsumerAlignment

ZEFA_ERRORCODE TranslateLock(uint32_t railResult)
{
    switch (railResult)
    {
    case FLOW_RAIL_OK: return ZEFA_NO_ERROR;
    case 4:
    case FLOW_RAIL_TIMEOUT:
    case kRailNothingYet: return ZEFA_ERR_TIMEOUT; // all three: a wait that ran out
    case FLOW_RAIL_BAD_STATE: return ZEFA_ERR_INCORRECT_STATE;
    default: return ZEFA_ERR_OPERATION_FAILED;
    }
}

void LogMissingBuffer(uint32_t bufferType)
{
    if (!Logger::HasListener()) return; // ancillary slots may lack many of their buffers
    Log(kPriorityError, "Error : Buffer type " + std::to_string(bufferType) + " was not found. \r\n");
}
} // namespace

ZEFA_ERRORCODE CStreamModel::LockSlot(void** slot)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::LockSlot");
    const std::lock_guard lock(Mutex); // across the whole wait: other calls on the rail queue up, and come next
    if (!FlowRail) return ZEFA_ERR_INCORRECT_STATE;

    const ZEFA_ERRORCODE status = TranslateLock(LockNextSlot(slot));
    if (status == ZEFA_NO_ERROR) ++LockedSlotCount;
    return status;
}

// The rail's result. A failed lock leaves the ring as it was, but that a first one may have skipped a partial piece.
uint32_t CStreamModel::LockNextSlot(void** slot)
{
    const uint32_t timeoutMs = LockTimeoutMs;
    if (IsTransmit()) return FlowRail->LockProducer(LockSize, timeoutMs, slot);

    if (!FirstLockDone)
    {
        // The consumer joins a ring that is already running and may stand in the middle of a slot.
        uint32_t remainingBytes = 0;
        uint32_t railResult = AwaitAlignment(&remainingBytes);
        if (railResult != FLOW_RAIL_OK)
            return railResult; // the next lock aligns again; kRailNothingYet is a time-out to TranslateLock
        if (remainingBytes != LockSize)
        {
            // Into the caller's variable: after a refused release it names the piece, which is still locked.
            railResult = FlowRail->LockConsumer(&Consumer, remainingBytes, timeoutMs, slot);
            if (railResult == FLOW_RAIL_OK) railResult = FlowRail->UnlockConsumer(&Consumer, *slot);
        }
        FirstLockDone = true; // whatever became of the piece
        if (railResult != FLOW_RAIL_OK) return railResult;
    }
    return FlowRail->LockConsumer(&Consumer, LockSize, timeoutMs, slot);
}

uint32_t CStreamModel::AwaitAlignment(uint32_t* remainingBytes)
{
    using std::chrono::steady_clock;
    const steady_clock::time_point start = steady_clock::now();
    const std::chrono::milliseconds limit(LockTimeoutMs.load());
    uint32_t railResult;
    // Spins on purpose: a sleep could cost a scheduler tick before the first picture of a stream.
    while ((railResult = FlowRail->GetConsumerAlignment(&Consumer, remainingBytes)) == kRailNothingYet)
        if (steady_clock::now() - start >= limit) break;
    return railResult; // kRailNothingYet: the time ran out
}

ZEFA_ERRORCODE CStreamModel::UnlockSlot(void* slot)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::UnlockSlot");
    uint32_t railResult;
    {
        const std::lock_guard lock(Mutex);
        if (!FlowRail) return ZEFA_ERR_INCORRECT_STATE;
        if (IsTransmit())
        {
            // Tells the service that the slot ends at its last byte. Refused, the slot stays locked and uncommitted.
            railResult = FlowRail->AddMetadata(slot, FLOW_RAIL_METADATA_END, LockSize - 1, 0);
            if (railResult == FLOW_RAIL_OK) railResult = FlowRail->UnlockProducer(slot);
        }
        else
        {
            railResult = FlowRail->UnlockConsumer(&Consumer, slot);
        }
    }
    if (railResult == FLOW_RAIL_OK) // otherwise the caches keep the slot, which is still locked
    {
        TimestampCache.Remove(slot);
        LostDataCache.Remove(slot);
    }
    return TranslateRail(railResult);
}

ZEFA_ERRORCODE CStreamModel::GetSlotBuffer(void* slot, uint32_t bufferType, uint8_t** address, uint32_t* size)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::GetSlotBuffer");
    if (!slot || !address || !size)
    {
        Log(kPriorityError, "One of the pointer is null. \r\n");
        return ZEFA_ERR_INVALID_POINTER;
    }
    uint8_t* base = nullptr;
    uint32_t railResult;
    {
        const std::lock_guard lock(Mutex);
        if (!FlowRail) return ZEFA_ERR_INCORRECT_STATE;
        railResult = FlowRail->GetSlotAddress(slot, &base);
    }
    if (railResult != FLOW_RAIL_OK) return TranslateRail(railResult);

    Extent buffer;
    if (!FindBuffer(bufferType, &buffer)) // outside Mutex: the map changes in StartStream alone
        return ZEFA_ERR_NOT_FOUND;
    // The service says where the buffers lie, and the slot has LockSize bytes: a buffer that reaches beyond them is cut
    // there, and one that starts beyond them does not exist, so that no address outside the slot is handed out.
    if (buffer.Offset > LockSize)
    {
        LogMissingBuffer(bufferType);
        return ZEFA_ERR_NOT_FOUND;
    }
    *address = base + buffer.Offset;
    *size = std::min(buffer.Size, LockSize - static_cast<uint32_t>(buffer.Offset));
    return ZEFA_NO_ERROR;
}

bool CStreamModel::FindBuffer(uint32_t bufferType, Extent* extent) const
{
    const auto found = Buffers.find(bufferType);
    if (found == Buffers.end())
    {
        LogMissingBuffer(bufferType);
        return false;
    }
    extent->Offset = found->second.Offset;
    extent->Size = static_cast<uint32_t>(found->second.Size & 0xFFFFFFFF); // the interface has 32 bits for it
    return true;
}
} // namespace Quillmont::Trellis::Zefa

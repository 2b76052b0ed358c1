// Timestamps and lost data of a slot: fetched from the rail once, kept for as long as the slot is locked, and served
// buffer by buffer. Timestamps of transmit slots go straight to the rail.
#include "stream/CStreamModel.h"

#include <string>

#include "logger/CFunctionTracer.h"
#include "logger/Log.h"
#include "stream/RailResults.h"

namespace Quillmont::Trellis::Zefa
{
using Logger::HasListener;
using Logger::kPriorityError;
using Logger::kPriorityWarning;
using Logger::Log;

namespace
{
constexpr uint32_t kRailCopiedToo = 19; // of GetMetadata: it has copied the records, like 0

ZEFA_ERRORCODE Fail(ZEFA_ERRORCODE status, const char* text)
{
    if (HasListener()) Log(kPriorityError, text);
    return status;
}

ZEFA_ERRORCODE Fail(ZEFA_ERRORCODE status, std::string text)
{
    Log(kPriorityError, std::move(text));
    return status;
}

ZEFA_ERRORCODE TranslateGetCount(uint32_t railResult)
{
    return railResult == FLOW_RAIL_BAD_STATE ? ZEFA_ERR_INCORRECT_STATE : ZEFA_ERR_OPERATION_FAILED;
}
} // namespace

// What sets the two kinds apart.
template <class TConverted>
struct CStreamModel::MetadataKind
{
    TPool<TConverted> CStreamModel::*Pool;
    TPool<FLOW_RAIL_METADATA> CStreamModel::*RecordPool;
    TSlotCache<TConverted> CStreamModel::*Cache;
    uint32_t RailType;
    bool TakesCopiedToo; // kRailCopiedToo is a success
    const char* TooManyRequests;
    const char* MoreThanRoom; // between the number found and the room
    const char* CountFailed;
    const char* RecordsFailed;
    const char* WrongType;
};

ZEFA_ERRORCODE CStreamModel::GetSlotTimestamps(void* slot, uint32_t bufferType, ZEFA_TIMESTAMP* timestamps,
                                               uint32_t* count)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::GetSlotTimestamps");
    static constexpr MetadataKind<ZEFA_TIMESTAMP> kTimestamps{
        &CStreamModel::TimestampPool,
        &CStreamModel::TimestampRecordPool,
        &CStreamModel::TimestampCache,
        FLOW_RAIL_METADATA_TIMESTAMP,
        true,
        "There have been too many timestamp request.\r\n",
        " timestamps were detected while the given array has ",
        "Could not get the number of timestamp metadata.\r\n",
        "Could not get the timestamp metadata. \r\n",
        "Unexpected metadata type retrieved. \r\n",
    };
    return ReadMetadata(kTimestamps, slot, bufferType, timestamps, count);
}

ZEFA_ERRORCODE CStreamModel::GetSlotLostData(void* slot, uint32_t bufferType, ZEFA_LOST_DATA* segments, uint32_t* count)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::GetSlotLostData");
    static constexpr MetadataKind<ZEFA_LOST_DATA> kLostData{
        &CStreamModel::LostDataPool,
        &CStreamModel::LostDataRecordPool,
        &CStreamModel::LostDataCache,
        FLOW_RAIL_METADATA_LOST,
        false,
        "There have been too many LostData request.\r\n",
        " lost data segments were detected while the given array has ",
        "Could not get the number of LostData metadata.\r\n",
        "Could not get the LostData metadata. \r\n",
        "Unexpected metadata type retrived. \r\n", // spelt as log filters know it
    };
    return ReadMetadata(kLostData, slot, bufferType, segments, count);
}

template <class TConverted>
ZEFA_ERRORCODE CStreamModel::ReadMetadata(const MetadataKind<TConverted>& kind, void* slot, uint32_t bufferType,
                                          TConverted* array, uint32_t* count)
{
    const bool complete = array && count && slot;
    if (!complete) Fail(ZEFA_ERR_INVALID_POINTER, "One of the pointer is null. \r\n");
    const std::lock_guard lock(Mutex);
    if (!FlowRail) return ZEFA_ERR_INCORRECT_STATE; // counts for more than a null pointer, which is logged all the same
    if (!complete) return ZEFA_ERR_INVALID_POINTER;
    Extent buffer;
    if (!FindBuffer(bufferType, &buffer)) return ZEFA_ERR_NOT_FOUND;

    TSlotCache<TConverted>& cache = this->*kind.Cache;
    typename TSlotCache<TConverted>::Entry* entry = cache.Find(slot);
    if (!entry)
    {
        if (cache.IsFull()) return Fail(ZEFA_ERR_OPERATION_FAILED, kind.TooManyRequests);
        const size_t element = cache.LowestFreeElement();
        entry = cache.Enter(slot, {&(this->*kind.Pool)[element], &(this->*kind.RecordPool)[element], element});
        entry->Converted->clear(); // of the records of the slot that had the element before
        // A failure leaves the slot in the cache: the next request serves what there is.
        const ZEFA_ERRORCODE status = FetchMetadata(kind, slot, *count, entry);
        if (status != ZEFA_NO_ERROR) return status;
    }

    const uint32_t room = *count;
    const auto offset = static_cast<uint32_t>(buffer.Offset & 0xFFFFFFFF); // positions of records have 32 bits
    const uint64_t bufferEnd = uint64_t{offset} + buffer.Size;
    *count = 0;
    for (const TConverted& converted : *entry->Converted)
    {
        if (converted.Position_UL < offset || converted.Position_UL >= bufferEnd) continue;
        array[*count] = converted;
        array[*count].Position_UL -= offset;
        if (++*count == room) break;
    }
    return ZEFA_NO_ERROR;
}

// Fills the pool elements of a slot that has just entered the cache.
template <class TConverted>
ZEFA_ERRORCODE CStreamModel::FetchMetadata(const MetadataKind<TConverted>& kind, void* slot, uint32_t room,
                                           typename TSlotCache<TConverted>::Entry* entry)
{
    uint32_t found = 0;
    uint32_t railResult = FlowRail->GetMetadataCount(slot, kind.RailType, &found);
    if (found > room && HasListener()) // rooms of one are common: nothing is built for nobody
        Log(kPriorityWarning, std::to_string(found) + kind.MoreThanRoom + std::to_string(room) + " spaces.\r\n");
    if (railResult != FLOW_RAIL_OK) return Fail(TranslateGetCount(railResult), kind.CountFailed);
    if (found == 0) return ZEFA_NO_ERROR;

    entry->Converted->resize(found);
    entry->Records->resize(found);
    uint32_t retrieved = 0;
    railResult = FlowRail->GetMetadata(slot, kind.RailType, entry->Records->data(), found, &retrieved);
    if (railResult != FLOW_RAIL_OK && !(railResult == kRailCopiedToo && kind.TakesCopiedToo))
        return Fail(TranslateRail(railResult), kind.RecordsFailed);
    if (retrieved != found)
        return Fail(ZEFA_ERR_OPERATION_FAILED, "Number of metadata retrieved " + std::to_string(retrieved) +
                                                   " is not the one expected " + std::to_string(found) + "\r\n");

    for (uint32_t i = 0; i < found; ++i)
    {
        const FLOW_RAIL_METADATA& record = (*entry->Records)[i];
        if (record.Type != kind.RailType) return Fail(ZEFA_ERR_OPERATION_FAILED, kind.WrongType);
        (*entry->Converted)[i] = TConverted{record.Position, record.Value};
    }
    return ZEFA_NO_ERROR;
}

ZEFA_ERRORCODE CStreamModel::SetSlotTimestamps(void* slot, uint32_t bufferType, const ZEFA_TIMESTAMP* timestamps,
                                               uint32_t count)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::SetSlotTimestamps");
    ZEFA_ERRORCODE status = ZEFA_NO_ERROR;
    if (!slot) status = Fail(ZEFA_ERR_INVALID_POINTER, "The slot is null. \r\n");
    const std::lock_guard lock(Mutex);
    if (!FlowRail) return ZEFA_ERR_INCORRECT_STATE;
    if (status != ZEFA_NO_ERROR) return status;
    Extent buffer;
    if (!FindBuffer(bufferType, &buffer)) return ZEFA_ERR_NOT_FOUND;
    if (!IsTransmit()) return Fail(ZEFA_ERR_OPERATION_FAILED, "SetSlotTimestamps is not valid on RX streams. \r\n");

    const auto offset = static_cast<uint32_t>(buffer.Offset & 0xFFFFFFFF);
    for (uint32_t i = 0; i < count; ++i) // entries added before a failure stay in the slot
    {
        const ZEFA_TIMESTAMP& timestamp = timestamps[i];
        if (timestamp.Position_UL >= buffer.Size)
            return Fail(ZEFA_ERR_OPERATION_FAILED,
                        "The position of the timestamps (" + std::to_string(timestamp.Position_UL) +
                            ") is bigger than the size of the buffer (" + std::to_string(buffer.Size) + "). \r\n");
        if (FlowRail->AddMetadata(slot, FLOW_RAIL_METADATA_TIMESTAMP, timestamp.Position_UL + offset,
                                  timestamp.Value_UL) != FLOW_RAIL_OK)
            return Fail(ZEFA_ERR_OPERATION_FAILED,
                        "Error when adding the metadata timestamp. Index : " + std::to_string(i) +
                            ". Position : " + std::to_string(timestamp.Position_UL) +
                            ". Value : " + std::to_string(timestamp.Value_UL) + ".\r\n");
    }
    return ZEFA_NO_ERROR;
}
} // namespace Quillmont::Trellis::Zefa

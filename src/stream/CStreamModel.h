// CStreamModel, the object behind a stream handle. It joins the two channels of a stream: the command channel, the
// stream's REST resource at the service, and the media channel, the flow rail that the service fills or empties.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "commandpipe/restserver/EssenceRecords.h"
#include "commandpipe/restserver/ResultCode.h"
#include "core/CHandle.h"
#include "flowrail1.h"
#include "stream/CTurnMutex.h"
#include "stream/TSlotCache.h"
#include "zefaline.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{
class IRestClient;
class IStreamClient;
} // namespace Quillmont::Trellis::CommandPipe::RestClient

namespace Quillmont::Trellis::Zefa
{
// The application calls create, configure, open, start, lock and unlock slots, stop, close, destroy. The model itself
// refuses only a repeated create and a destroy of what was not created; all other order is the service's to enforce.
//
// Threads: one media thread (slots and their metadata) beside one control thread (all else). A slot call may run
// beside StopStream and GetCommonStatus; no slot may be locked before StartStream has returned, and UnlockSlot must
// not run beside a metadata call on the same stream.
//
// No operation undoes what it did before it failed. StopStream is the way back from every half-started state.
class CStreamModel : public CHandle
{
public:
    static constexpr uint32_t kTypeTag = kStreamTypeTag;

    // restClient is the context's and outlives the stream. streamType 0 receives, any other transmits. essenceType
    // is 0 for video, 1 for audio, 2 for ancillary data; the service is asked for essence 0 with any other.
    CStreamModel(CommandPipe::RestClient::IRestClient* restClient, uint32_t streamType, uint32_t essenceType);

    // Leaves FlowRail alone: a stream destroyed without a stop leaves its rail attached, for the application may
    // still hold slots of it.
    ~CStreamModel() override;
    uint32_t GetType() const override;

    virtual ZEFA_ERRORCODE StartStream();
    virtual ZEFA_ERRORCODE StopStream();
    virtual ZEFA_ERRORCODE SetEssenceConfig(const ZEFA_ESSENCE_CONFIG* config);
    virtual ZEFA_ERRORCODE LockSlot(void** slot);
    virtual ZEFA_ERRORCODE UnlockSlot(void* slot);

    // ---- lifecycle ----
    ZEFA_ERRORCODE CreateStream();
    ZEFA_ERRORCODE DestroyStream();
    ZEFA_ERRORCODE OpenStream();
    ZEFA_ERRORCODE CloseStream();

    // ---- configuration and status; no pointer is tested ----
    ZEFA_ERRORCODE GetCommonConfig(ZEFA_STREAM_COMMON_CONFIG* config);
    ZEFA_ERRORCODE SetCommonConfig(const ZEFA_STREAM_COMMON_CONFIG* config);
    ZEFA_ERRORCODE GetNetworkConfig(ZEFA_STREAM_NETWORK_CONFIG* config);
    ZEFA_ERRORCODE SetNetworkConfig(const ZEFA_STREAM_NETWORK_CONFIG* config);
    ZEFA_ERRORCODE GetEssenceConfig(ZEFA_ESSENCE_CONFIG* config);
    // Holds Mutex across its exchange, so a slow service delays a lock on the media thread.
    ZEFA_ERRORCODE GetCommonStatus(ZEFA_STREAM_COMMON_STATUS* status);
    ZEFA_ERRORCODE GetNetworkStatus(ZEFA_STREAM_NETWORK_STATUS* status);

    // ---- slots; nothing here allocates but a log text and the metadata beyond kRecordsReserved of one slot ----
    ZEFA_ERRORCODE GetSlotBuffer(void* slot, uint32_t bufferType, uint8_t** address, uint32_t* size);
    // count holds the room of the array on entry, which must be one at least, and the entries written on return.
    ZEFA_ERRORCODE GetSlotTimestamps(void* slot, uint32_t bufferType, ZEFA_TIMESTAMP* timestamps, uint32_t* count);
    ZEFA_ERRORCODE GetSlotLostData(void* slot, uint32_t bufferType, ZEFA_LOST_DATA* segments, uint32_t* count);
    ZEFA_ERRORCODE SetSlotTimestamps(void* slot, uint32_t bufferType, const ZEFA_TIMESTAMP* timestamps, uint32_t count);

    static constexpr size_t kRecordsReserved = 100; // in each pool element, so that reading as many allocates nothing

    // A pool grows by the ring's slots at each start and is never emptied. This many elements are far more than slots
    // of a ring that somebody can hold locked at once, and keep a depth that a bad service reports from exhausting
    // the memory: about 4 KiB go with each.
    static constexpr size_t kMostPoolElements = 65536;

protected:
    struct Extent // of a buffer in its slot, in bytes, as the service gives it: it may reach beyond the slot
    {
        uint64_t Offset;
        uint32_t Size;
    };

    template <class TConverted>
    using TPool = std::deque<std::vector<TConverted>>; // elements stay where they are when the pool grows

    template <class TConverted>
    struct MetadataKind;

    bool IsTransmit() const { return StreamType != 0; }
    CommandPipe::RestClient::IStreamClient* StreamClient() const;
    // A status record of the stream's essence, null for an essence that has none; the client refuses null with 5004.
    std::unique_ptr<Mxs::RtpEssence::STATUS> MakeEssenceStatus() const;

    void TakeBuffers(const std::map<uint32_t, Mxs::RtpEssence::BUFFER_INFO>& bufferInfo);
    ZEFA_ERRORCODE AttachFlowRail();
    void GrowPools();

    uint32_t LockNextSlot(void** slot);
    uint32_t AwaitAlignment(uint32_t* remainingBytes);
    // False, with the log line, when there is no such buffer.
    bool FindBuffer(uint32_t bufferType, Extent* extent) const;

    template <class TConverted>
    ZEFA_ERRORCODE ReadMetadata(const MetadataKind<TConverted>& kind, void* slot, uint32_t bufferType,
                                TConverted* array, uint32_t* count);
    template <class TConverted>
    ZEFA_ERRORCODE FetchMetadata(const MetadataKind<TConverted>& kind, void* slot, uint32_t room,
                                 typename TSlotCache<TConverted>::Entry* entry);

    bool Created = false;          // the stream exists at the service
    bool FirstLockDone = false;    // the consumer stands on a slot boundary; cleared by StartStream
    uint32_t LockedSlotCount = 0;  // every successful lock in the life of the object
    CFlowRail* FlowRail = nullptr; // owned from StartStream to the StopStream whose Close succeeds, see ~CStreamModel
    ::FLOW_RAIL_DESCRIPTOR Descriptor{}; // the service's, copied at start
    uint64_t Consumer = 0;               // filled by AddConsumer, passed by address to every consumer operation
    CTurnMutex Mutex;                    // guards FlowRail and every call on it; held across the wait of LockSlot
    CommandPipe::RestClient::IRestClient* const RestClient; // not owned
    uint64_t StreamId = 0;                                  // at the service
    const uint32_t StreamType;
    const uint32_t EssenceType;
    uint32_t LockSize = 0;                    // bytes of one slot
    uint32_t SlotCount = 0;                   // slots of the ring
    std::atomic<uint32_t> LockTimeoutMs{100}; // atomic: the control thread may set it while the media thread locks
    std::map<uint32_t, Mxs::RtpEssence::BUFFER_INFO> Buffers; // by buffer type; changes in StartStream alone

    // A pool element belongs to a slot from the first request on that slot until its UnlockSlot. A stop touches
    // neither pools nor caches: entries of slots that were locked then stay, and count against the limit.
    TPool<ZEFA_TIMESTAMP> TimestampPool;
    TPool<FLOW_RAIL_METADATA> TimestampRecordPool;
    TSlotCache<ZEFA_TIMESTAMP> TimestampCache;
    TPool<ZEFA_LOST_DATA> LostDataPool;
    TPool<FLOW_RAIL_METADATA> LostDataRecordPool;
    TSlotCache<ZEFA_LOST_DATA> LostDataCache;
};
} // namespace Quillmont::Trellis::Zefa

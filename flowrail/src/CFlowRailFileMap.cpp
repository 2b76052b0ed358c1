// The one kind of rail that there is: a mapped file.
#include "CFlowRailFileMap.h"

#include "RailMetadata.h"

#include <new>

namespace Quillmont::FlowRail
{
namespace
{
// A slot is a number and its owner, 1 the producer, 2 and above the consumers; it points nowhere, so that no value
// that an application hands in can lead astray, and a slot that was unlocked is never taken for a later one, be it of
// another rail.
constexpr uint32_t kOwnerBits = 8;
constexpr uint64_t kProducerOwner = 1, kFirstConsumerOwner = 2;
static_assert(sizeof(void*) == sizeof(uint64_t));

void* MakeSlot(uint64_t owner, uint64_t number)
{
    return reinterpret_cast<void*>(number << kOwnerBits | owner);
}

uint64_t OwnerOf(void* slot)
{
    return reinterpret_cast<uint64_t>(slot) & ((1u << kOwnerBits) - 1);
}

uint64_t NumberOf(void* slot)
{
    return reinterpret_cast<uint64_t>(slot) >> kOwnerBits;
}
} // namespace

CFlowRailFileMap::~CFlowRailFileMap()
{
    Detach();
}

void CFlowRailFileMap::Detach()
{
    for (std::unique_ptr<RailConsumer>& consumer : Consumers)
        consumer.reset();
    Producer.reset();
    File.reset();
}

uint32_t CFlowRailFileMap::Create(FLOW_RAIL_DESCRIPTOR* descriptor)
try
{
    if (!descriptor) return FLOW_RAIL_BAD_ARGUMENT;
    if (File) return FLOW_RAIL_BAD_STATE;
    const std::optional<RailDescription> description = ReadForCreate(*descriptor);
    if (!description) return FLOW_RAIL_BAD_ARGUMENT;
    FLOW_RAIL_DESCRIPTOR complete = Write(*description);
    const uint32_t result = RailFile::Create(*description, File);
    if (result != FLOW_RAIL_OK) return result;
    Producer = std::make_unique<RailProducer>(*File, OwnConsumers);
    // A rail that its producer made has one from the start, or a consumer would not know whom to wait for.
    if (description->Role == RailRole::Producer && !Producer->Attach())
    {
        Detach();
        return FLOW_RAIL_BAD_STATE;
    }
    *descriptor = std::move(complete);
    return FLOW_RAIL_OK;
}
catch (const std::bad_alloc&)
{
    Detach();
    return FLOW_RAIL_NO_MEMORY;
}

uint32_t CFlowRailFileMap::Open(const FLOW_RAIL_DESCRIPTOR* descriptor)
try
{
    if (!descriptor) return FLOW_RAIL_BAD_ARGUMENT;
    if (File) return FLOW_RAIL_BAD_STATE;
    const std::optional<RailDescription> description = ReadForOpen(*descriptor);
    if (!description) return FLOW_RAIL_BAD_ARGUMENT;
    const uint32_t result = RailFile::Open(*description, File);
    if (result == FLOW_RAIL_OK) Producer = std::make_unique<RailProducer>(*File, OwnConsumers);
    return result;
}
catch (const std::bad_alloc&)
{
    Detach();
    return FLOW_RAIL_NO_MEMORY;
}

uint32_t CFlowRailFileMap::Close()
{
    Detach();
    return FLOW_RAIL_OK;
}

uint32_t CFlowRailFileMap::AddConsumer(uint64_t* consumer)
try
{
    if (!consumer) return FLOW_RAIL_BAD_ARGUMENT;
    if (!File) return FLOW_RAIL_BAD_STATE;
    const std::lock_guard lock(ConsumersMutex);
    std::unique_ptr<RailConsumer> joined = RailConsumer::Join(*File, OwnConsumers, Producer->AttachedFlag());
    if (!joined) return FLOW_RAIL_NO_MEMORY;
    *consumer = joined->Token();
    Consumers[joined->Place()] = std::move(joined);
    return FLOW_RAIL_OK;
}
catch (const std::bad_alloc&)
{
    return FLOW_RAIL_NO_MEMORY;
}

uint32_t CFlowRailFileMap::RemoveConsumer(uint64_t* consumer)
{
    if (!consumer) return FLOW_RAIL_BAD_ARGUMENT;
    if (!File) return FLOW_RAIL_BAD_STATE;
    const std::lock_guard lock(ConsumersMutex);
    const RailConsumer* const found = FindConsumer(consumer);
    if (!found) return FLOW_RAIL_BAD_ARGUMENT;
    // Taken out of the table before its place is free for another thread's AddConsumer.
    const std::unique_ptr<RailConsumer> leaving = std::move(Consumers[found->Place()]);
    *consumer = 0;
    return FLOW_RAIL_OK;
}

uint32_t CFlowRailFileMap::GetConsumerFill(uint64_t* consumer, uint32_t)
{
    RailConsumer* const found = FindConsumer(consumer);
    return found ? found->Fill() : 0;
}

uint32_t CFlowRailFileMap::GetProducerSpace(uint32_t)
{
    return Producer ? Producer->Space() : 0;
}

uint32_t CFlowRailFileMap::LockProducer(uint32_t size, uint32_t timeoutMs, void** slot)
{
    if (!slot) return FLOW_RAIL_BAD_LOCK;
    *slot = nullptr;
    if (!Producer) return FLOW_RAIL_BAD_STATE;
    uint64_t number = 0;
    const uint32_t result = Producer->Lock(size, timeoutMs, &number);
    if (result == FLOW_RAIL_OK) *slot = MakeSlot(kProducerOwner, number);
    return result;
}

uint32_t CFlowRailFileMap::UnlockProducer(void* slot)
{
    if (!Producer) return FLOW_RAIL_BAD_STATE;
    if (OwnerOf(slot) != kProducerOwner) return FLOW_RAIL_BAD_ARGUMENT;
    return Producer->Unlock(NumberOf(slot));
}

uint32_t CFlowRailFileMap::LockConsumer(uint64_t* consumer, uint32_t size, uint32_t timeoutMs, void** slot)
{
    if (!slot) return FLOW_RAIL_BAD_LOCK;
    *slot = nullptr;
    if (!File) return FLOW_RAIL_BAD_STATE;
    RailConsumer* const found = FindConsumer(consumer);
    if (!found) return FLOW_RAIL_BAD_LOCK;
    uint64_t number = 0;
    const uint32_t result = found->Lock(size, timeoutMs, &number);
    if (result == FLOW_RAIL_OK) *slot = MakeSlot(kFirstConsumerOwner + found->Place(), number);
    return result;
}

uint32_t CFlowRailFileMap::UnlockConsumer(uint64_t* consumer, void* slot)
{
    if (!File) return FLOW_RAIL_BAD_STATE;
    RailConsumer* const found = FindConsumer(consumer);
    if (!found || OwnerOf(slot) != kFirstConsumerOwner + found->Place()) return FLOW_RAIL_BAD_ARGUMENT;
    return found->Unlock(NumberOf(slot));
}

uint32_t CFlowRailFileMap::GetConsumerAlignment(uint64_t* consumer, uint32_t* size)
{
    if (!File) return FLOW_RAIL_BAD_STATE;
    RailConsumer* const found = FindConsumer(consumer);
    // Not 12: callers take that for "nothing there yet" and ask again.
    if (!found || !size) return FLOW_RAIL_BAD_LOCK;
    return found->Alignment(size);
}

uint32_t CFlowRailFileMap::GetSlotAddress(void* slot, uint8_t** address)
{
    if (!File) return FLOW_RAIL_BAD_STATE;
    const RailRegion* const region = FindRegion(slot);
    if (!region || !address) return FLOW_RAIL_BAD_ARGUMENT;
    *address = File->At(region->Begin);
    return FLOW_RAIL_OK;
}

uint32_t CFlowRailFileMap::GetMetadata(void* slot, uint32_t type, FLOW_RAIL_METADATA* records, uint32_t count,
                                       uint32_t* retrieved)
{
    if (!File) return FLOW_RAIL_BAD_STATE;
    const RailRegion* const region = FindRegion(slot);
    if (!region || type == 0 || (!records && count != 0) || !retrieved) return FLOW_RAIL_BAD_ARGUMENT;
    *retrieved = 0;
    if (count == 0) return FLOW_RAIL_OK;
    ForEachRecord(*File, *region, type,
                  [&](const FLOW_RAIL_METADATA& record)
                  {
                      records[(*retrieved)++] = record;
                      return *retrieved < count;
                  });
    return FLOW_RAIL_OK;
}

uint32_t CFlowRailFileMap::AddMetadata(void* slot, uint32_t type, uint32_t position, uint32_t value)
{
    if (!File) return FLOW_RAIL_BAD_STATE;
    const RailRegion* const region = OwnerOf(slot) == kProducerOwner ? FindRegion(slot) : nullptr;
    if (!region || type == 0 || position >= region->Size) return FLOW_RAIL_BAD_ARGUMENT;
    return AddRecord(*File, *region, {type, position, value}) ? FLOW_RAIL_OK : FLOW_RAIL_NO_MEMORY;
}

uint32_t CFlowRailFileMap::GetMetadataCount(void* slot, uint32_t type, uint32_t* count)
{
    if (!File) return FLOW_RAIL_BAD_STATE;
    const RailRegion* const region = FindRegion(slot);
    if (!region || type == 0 || !count) return FLOW_RAIL_BAD_ARGUMENT;
    *count = 0;
    ForEachRecord(*File, *region, type,
                  [count](const FLOW_RAIL_METADATA&)
                  {
                      ++*count;
                      return true;
                  });
    return FLOW_RAIL_OK;
}

uint32_t CFlowRailFileMap::GetStatus(FLOW_RAIL_STATUS* status)
{
    if (!status) return FLOW_RAIL_BAD_ARGUMENT;
    if (!File || File->IsCut()) return FLOW_RAIL_BAD_STATE;
    const RailHeader& header = File->Header();
    FLOW_RAIL_STATUS read{};
    read.CommittedBytes = header.CommittedBytes.load(std::memory_order_acquire);
    read.ReleasedBytes = read.CommittedBytes;
    read.CapacityBytes = File->Geometry().Capacity();
    read.RecordsPerSlot = File->Geometry().RecordsPerSlot;
    for (uint32_t place = 0; place < kMaxConsumers; ++place)
    {
        if (!(header.ConsumerStates[place].load(std::memory_order_acquire) & kConsumerActive)) continue;
        const bool own = OwnConsumers.load(std::memory_order_acquire) >> place & 1; // whose bit comes before its state
        if (!own && !File->IsHeldElsewhere(kFirstConsumerLock + place)) continue;
        ++read.Consumers;
        // One that is joining has its position above all others, so it does not count here.
        read.ReleasedBytes = std::min(read.ReleasedBytes, header.Released[place].Bytes.load(std::memory_order_acquire));
    }
    read.ProducerState = header.ProducerState.load(std::memory_order_acquire) & kProducerKindMask;
    if (read.ProducerState == kProducerAlive && !Producer->IsAttached() && !File->IsHeldElsewhere(kProducerLock))
        read.ProducerState = kProducerGone;
    read.CreatorAlive = File->IsCreator() || File->IsHeldElsewhere(kCreatorLock) ? 1 : 0;
    *status = read;
    return FLOW_RAIL_OK;
}

RailConsumer* CFlowRailFileMap::FindConsumer(const uint64_t* token) const
{
    const uint64_t place = token ? (*token & 0xFF) - 1 : kMaxConsumers;
    if (place >= kMaxConsumers || !Consumers[place] || Consumers[place]->Token() != *token) return nullptr;
    return Consumers[place].get();
}

const RailRegion* CFlowRailFileMap::FindRegion(void* slot) const
{
    const uint64_t owner = OwnerOf(slot);
    if (owner == kProducerOwner) return Producer->Find(NumberOf(slot));
    const uint64_t place = owner - kFirstConsumerOwner;
    return place < kMaxConsumers && Consumers[place] ? Consumers[place]->Find(NumberOf(slot)) : nullptr;
}
} // namespace Quillmont::FlowRail

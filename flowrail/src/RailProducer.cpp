// The producer's view on a rail.
#include "RailProducer.h"

#include "RailLog.h"
#include "RailMetadata.h"

#include <bit>

namespace Quillmont::FlowRail
{
RailProducer::RailProducer(const RailFile& file, const std::atomic<uint32_t>& ownConsumers)
    : File(file), Header(file.Header()), OwnConsumers(ownConsumers), Capacity(file.Geometry().Capacity()),
      NeedsConsumer(file.Geometry().CreatorRole == RailRole::Consumer), Regions(file.Geometry().SlotCount)
{
}

RailProducer::~RailProducer()
{
    if (!IsAttached()) return;
    const uint32_t state = Header.ProducerState.load(std::memory_order_relaxed);
    Header.ProducerState.store((state & ~kProducerKindMask) | kProducerGone, std::memory_order_seq_cst);
    File.Unlock(kProducerLock);
    WakeIfAsleep(Header.ConsumersAsleep);
}

bool RailProducer::Attach()
{
    if (!NeedsConsumer && !File.IsCreator()) return false; // its creator is the producer and nobody else
    if (!File.TryLock(kProducerLock)) return false;
    Committed = Header.CommittedBytes.load(std::memory_order_acquire); // of a producer that went before
    if (Committed >= kPositionLimit)
    {
        File.Unlock(kProducerLock);
        return false;
    }
    LockedEnd = Committed;
    Floor = Committed - std::min<uint64_t>(Committed, Capacity); // the lowest that a consumer can need
    Attached.store(true, std::memory_order_release); // before the state, behind which consumers of this object read it
    const uint32_t state = Header.ProducerState.load(std::memory_order_relaxed);
    Header.ProducerState.store((state & ~kProducerKindMask) + (kProducerKindMask + 1) + kProducerAlive,
                               std::memory_order_release); // consumers load (acquire)
    return true;
}

uint32_t RailProducer::Lock(uint32_t size, uint32_t timeoutMs, uint64_t* number)
{
    if (size == 0 || size > Capacity) return FLOW_RAIL_BAD_LOCK;
    if (!IsAttached() && !Attach()) return FLOW_RAIL_BAD_STATE;
    if (NeedsConsumer && !HasConsumer()) return FLOW_RAIL_BAD_STATE;
    if (Regions.IsFull()) return FLOW_RAIL_NO_MEMORY;
    if (!Fits(size))
    {
        uint32_t result = Poll(size);
        if (result == FLOW_RAIL_TIMEOUT)
            result = Waiter.Wait(
                Header.ProducerAsleep, 1, timeoutMs, [&] { return Poll(size); },
                [&]
                {
                    DropDeadConsumers();
                    return Poll(size);
                });
        if (result != FLOW_RAIL_OK) return result;
    }
    ClearRecords(File, LockedEnd, size);
    *number = Regions.Add(LockedEnd, size);
    LockedEnd += size;
    return FLOW_RAIL_OK;
}

uint32_t RailProducer::Unlock(uint64_t number)
{
    if (!Regions.Find(number)) return FLOW_RAIL_BAD_ARGUMENT;
    const uint64_t bytes = Regions.Finish(number);
    if (bytes == 0) return FLOW_RAIL_OK; // one that was locked before it is still being written
    Committed += bytes;
    Header.CommittedBytes.store(Committed, std::memory_order_seq_cst);
    WakeIfAsleep(Header.ConsumersAsleep);
    return FLOW_RAIL_OK;
}

uint32_t RailProducer::Space()
{
    if (!IsAttached()) return NeedsConsumer ? SpaceForAnother() : 0;
    RaiseFloor();
    // Who asks before he locks would never lock for a consumer that has died.
    if (!Fits(File.Geometry().SlotBytes) && Waiter.IsPeerCheckDue(CoarseNs()))
    {
        DropDeadConsumers();
        RaiseFloor();
    }
    if (NeedsConsumer && Consumers == 0) return 0;
    return Capacity - static_cast<uint32_t>(LockedEnd - Floor);
}

// Asking makes nobody the producer: the service asks too.
uint32_t RailProducer::SpaceForAnother() const
{
    const uint64_t committed = Header.CommittedBytes.load(std::memory_order_acquire);
    uint64_t outstanding = 0;
    bool someConsumer = false;
    for (uint32_t place = 0; place < kMaxConsumers; ++place)
    {
        if (!(Header.ConsumerStates[place].load(std::memory_order_acquire) & kConsumerActive)) continue;
        someConsumer = true;
        const uint64_t released = Header.Released[place].Bytes.load(std::memory_order_acquire);
        if (released != kJoining) outstanding = std::max(outstanding, committed - released);
    }
    return someConsumer && outstanding <= Capacity ? Capacity - static_cast<uint32_t>(outstanding) : 0;
}

uint32_t RailProducer::Poll(uint32_t size)
{
    RaiseFloor();
    if (NeedsConsumer && Consumers == 0) return FLOW_RAIL_BAD_STATE;
    return Fits(size) ? FLOW_RAIL_OK : FLOW_RAIL_TIMEOUT;
}

// The common case is one load: the consumer that was there the last time is still there.
bool RailProducer::HasConsumer()
{
    if (Consumers != 0 && Header.ConsumerStates[LastPlace].load(std::memory_order_relaxed) == LastState) return true;
    RaiseFloor();
    return Consumers != 0;
}

void RailProducer::RaiseFloor()
{
    // The states stand in one cache line and are gathered without a branch: mostly one of them is active.
    uint32_t active = 0;
    for (uint32_t place = 0; place < kMaxConsumers; ++place)
        // Behind the store of CommittedBytes in program order: a consumer that this look misses will find that
        // position, or a later one, when it reads where to start.
        active |= (Header.ConsumerStates[place].load(std::memory_order_seq_cst) & kConsumerActive) << place;

    uint64_t lowest = Committed; // with nobody there the ring runs free
    bool joining = false;
    Consumers = 0;
    for (; active != 0; active &= active - 1)
    {
        const auto place = static_cast<uint32_t>(std::countr_zero(active));
        const uint32_t state = Header.ConsumerStates[place].load(std::memory_order_acquire);
        if (!(state & kConsumerActive)) continue; // left in between
        const uint64_t released = Header.Released[place].Bytes.load(std::memory_order_acquire);
        // A position that no consumer can have: whoever stored it shall not hold up the others.
        if (released != kJoining && (released < Floor || released > Committed)) [[unlikely]]
        {
            if (Drop(place, state)) Log(kPriorityError, "A consumer with an impossible position was dropped.");
            continue;
        }
        ++Consumers;
        LastPlace = place;
        LastState = state;
        if (released == kJoining)
            joining = true; // it may have read a position that is already behind this one
        else
            lowest = std::min(lowest, released);
    }
    if (!joining) Floor = lowest;
}

void RailProducer::DropDeadConsumers()
{
    for (uint32_t place = 0; place < kMaxConsumers; ++place)
    {
        const uint32_t state = Header.ConsumerStates[place].load(std::memory_order_acquire);
        if (!(state & kConsumerActive)) continue;
        // Behind the state: a consumer of this object may join meanwhile, and its bit comes before its state.
        if (OwnConsumers.load(std::memory_order_acquire) >> place & 1) continue;
        if (File.IsHeldElsewhere(kFirstConsumerLock + place)) continue;
        if (Drop(place, state)) Log(kPriorityWarning, "A consumer that has died was dropped.");
    }
}

// By exchange: the place may have found another consumer in between, whose state counts one more.
bool RailProducer::Drop(uint32_t place, uint32_t state)
{
    return Header.ConsumerStates[place].compare_exchange_strong(state, state & ~kConsumerActive,
                                                                std::memory_order_acq_rel);
}
} // namespace Quillmont::FlowRail

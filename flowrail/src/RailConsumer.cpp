// One consumer's view on a rail.
#include "RailConsumer.h"

#include "RailLog.h"

namespace Quillmont::FlowRail
{
std::unique_ptr<RailConsumer> RailConsumer::Join(const RailFile& file, std::atomic<uint32_t>& ownConsumers,
                                                 const std::atomic<bool>& ownProducer)
{
    RailHeader& header = file.Header();
    for (uint32_t place = 0; place < kMaxConsumers; ++place)
    {
        // The lock alone gives the place: of a consumer that died it is free, whatever the state says. This object's
        // own locks would be given again.
        if (ownConsumers.load(std::memory_order_relaxed) >> place & 1) continue;
        if (!file.TryLock(kFirstConsumerLock + place)) continue;
        const uint32_t old = header.ConsumerStates[place].load(std::memory_order_relaxed);
        const uint32_t state = ((old | kConsumerActive) + 1) | kConsumerActive;
        return std::unique_ptr<RailConsumer>(new RailConsumer(file, ownConsumers, ownProducer, place, state));
    }
    return nullptr;
}

RailConsumer::RailConsumer(const RailFile& file, std::atomic<uint32_t>& ownConsumers,
                           const std::atomic<bool>& ownProducer, uint32_t place, uint32_t state)
    : File(file), Header(file.Header()), OwnConsumers(ownConsumers), OwnProducer(ownProducer),
      Capacity(file.Geometry().Capacity()), OwnPlace(place), OwnState(state), Regions(file.Geometry().SlotCount)
{
    OwnConsumers.fetch_or(1u << OwnPlace, std::memory_order_acq_rel);
    std::atomic<uint64_t>& position = Header.Released[OwnPlace].Bytes;
    Header.ConsumerStates[OwnPlace].store(OwnState & ~kConsumerActive, std::memory_order_release);
    position.store(kJoining, std::memory_order_release);
    Header.ConsumerStates[OwnPlace].store(OwnState, std::memory_order_seq_cst);
    // Read after the state can be seen: a producer that has not seen it yet has committed no further than this, and
    // one that has frees nothing before the position stands.
    Committed = Header.CommittedBytes.load(std::memory_order_seq_cst);
    Damaged = Committed >= kPositionLimit;
    Next = Released = Committed;
    position.store(Released, std::memory_order_release); // the producer loads (acquire)
    WakeIfAsleep(Header.ProducerAsleep);
}

RailConsumer::~RailConsumer()
{
    // Not when the place was given to another after this one had been dropped.
    uint32_t expected = OwnState;
    Header.ConsumerStates[OwnPlace].compare_exchange_strong(expected, OwnState & ~kConsumerActive,
                                                            std::memory_order_seq_cst);
    OwnConsumers.fetch_and(~(1u << OwnPlace), std::memory_order_acq_rel);
    File.Unlock(kFirstConsumerLock + OwnPlace);
    WakeIfAsleep(Header.ProducerAsleep); // it may have waited for this one
}

uint32_t RailConsumer::Lock(uint32_t size, uint32_t timeoutMs, uint64_t* number)
{
    if (size == 0 || size > Capacity) return FLOW_RAIL_BAD_LOCK;
    if (Damaged || Header.ConsumerStates[OwnPlace].load(std::memory_order_relaxed) != OwnState)
        return FLOW_RAIL_BAD_STATE;
    if (Regions.IsFull()) return FLOW_RAIL_NO_MEMORY;
    if (Committed - Next < size)
    {
        uint32_t result = Poll(size);
        if (result == FLOW_RAIL_TIMEOUT)
            result = Waiter.Wait(
                Header.ConsumersAsleep, 1u << OwnPlace, timeoutMs, [&] { return Poll(size); },
                [&] { return CheckProducer(size); });
        if (result != FLOW_RAIL_OK) return result;
    }
    *number = Regions.Add(Next, size);
    Next += size;
    return FLOW_RAIL_OK;
}

uint32_t RailConsumer::Unlock(uint64_t number)
{
    if (!Regions.Find(number)) return FLOW_RAIL_BAD_ARGUMENT;
    const uint64_t bytes = Regions.Finish(number);
    if (bytes == 0) return FLOW_RAIL_OK; // one that was locked before it is still being read
    Released += bytes;
    Header.Released[OwnPlace].Bytes.store(Released, std::memory_order_seq_cst); // the producer loads (acquire)
    WakeIfAsleep(Header.ProducerAsleep);
    return FLOW_RAIL_OK;
}

uint32_t RailConsumer::Fill()
{
    return LookForCommits() ? static_cast<uint32_t>(Committed - Next) : 0;
}

uint32_t RailConsumer::Alignment(uint32_t* size)
{
    uint32_t result = Committed != Next && !Damaged ? FLOW_RAIL_OK : Poll(1);
    if (result == FLOW_RAIL_TIMEOUT && Waiter.IsPeerCheckDue(CoarseNs())) result = CheckProducer(1);
    if (result == FLOW_RAIL_TIMEOUT) return FLOW_RAIL_BAD_ARGUMENT; // nothing there yet, in this operation
    if (result != FLOW_RAIL_OK) return result;
    const uint32_t slotBytes = File.Geometry().SlotBytes;
    *size = slotBytes - static_cast<uint32_t>(Next % slotBytes);
    return FLOW_RAIL_OK;
}

// False when the producer's position is one that it cannot have. It never gets better.
bool RailConsumer::LookForCommits()
{
    if (Damaged) return false;
    const uint64_t committed = Header.CommittedBytes.load(std::memory_order_seq_cst);
    if (committed >= Committed && committed - Released <= Capacity)
    {
        Committed = committed;
        return true;
    }
    Damaged = true;
    Log(kPriorityError, "The rail is damaged: its producer has an impossible position.");
    return false;
}

uint32_t RailConsumer::Poll(uint32_t size)
{
    // Read before the position: what a producer committed before it left counts.
    const uint32_t producer = Header.ProducerState.load(std::memory_order_acquire) & kProducerKindMask;
    if (!LookForCommits()) return FLOW_RAIL_BAD_STATE;
    if (Committed - Next >= size) return FLOW_RAIL_OK;
    return producer == kProducerNone || producer == kProducerAlive ? FLOW_RAIL_TIMEOUT : FLOW_RAIL_BAD_STATE;
}

// The last commit of a producer that died stands, so the look at the position comes after the look at its lock.
uint32_t RailConsumer::CheckProducer(uint32_t size)
{
    const uint32_t state = Header.ProducerState.load(std::memory_order_acquire);
    const bool dead = (state & kProducerKindMask) == kProducerAlive && !OwnProducer.load(std::memory_order_acquire) &&
                      !File.IsHeldElsewhere(kProducerLock) &&
                      Header.ProducerState.load(std::memory_order_acquire) == state;
    const uint32_t result = Poll(size);
    return dead && result == FLOW_RAIL_TIMEOUT ? FLOW_RAIL_BAD_STATE : result;
}
} // namespace Quillmont::FlowRail

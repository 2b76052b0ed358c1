// The producer's view on a rail. What it keeps itself is the truth; what consumers store is checked before use.
#ifndef FLOWRAIL_RAILPRODUCER_H
#define FLOWRAIL_RAILPRODUCER_H

#include "RailFile.h"
#include "RailRegions.h"
#include "RailWait.h"

namespace Quillmont::FlowRail
{
class RailProducer
{
public:
    // `ownConsumers`: a bit for each consumer of the same object, whose lock cannot be asked for. Both outlive this.
    RailProducer(const RailFile& file, const std::atomic<uint32_t>& ownConsumers);
    ~RailProducer(); // what was committed stays to be read; consumers learn that nothing more comes
    RailProducer(const RailProducer&) = delete;
    RailProducer& operator=(const RailProducer&) = delete;

    // Becomes the one producer of the rail; continues behind what is committed.
    bool Attach();
    bool IsAttached() const { return Attached.load(std::memory_order_relaxed); }
    const std::atomic<bool>& AttachedFlag() const { return Attached; } // stored here, read by consumers of this object

    uint32_t Lock(uint32_t size, uint32_t timeoutMs, uint64_t* number);
    uint32_t Unlock(uint64_t number);
    const RailRegion* Find(uint64_t number) const { return Regions.Find(number); }
    uint32_t Space();

private:
    bool Fits(uint32_t size) const { return LockedEnd + size - Floor <= Capacity; }
    bool HasConsumer();
    uint32_t SpaceForAnother() const;
    void RaiseFloor();
    void DropDeadConsumers();
    bool Drop(uint32_t place, uint32_t state);
    uint32_t Poll(uint32_t size);

    const RailFile& File;
    RailHeader& Header;
    const std::atomic<uint32_t>& OwnConsumers;
    const uint32_t Capacity;
    const bool NeedsConsumer; // made by its consumer: without one nobody will ever read
    std::atomic<bool> Attached{false};
    RailRegions Regions;
    RailWaiter Waiter;
    uint64_t Committed = 0;                // what CommittedBytes holds
    uint64_t LockedEnd = 0;                // end of the newest lock
    uint64_t Floor = 0;                    // no consumer needs anything below; may lag, never leads
    uint32_t Consumers = 0;                // as of the last look
    uint32_t LastPlace = 0, LastState = 0; // a consumer that was there at the last look
};
} // namespace Quillmont::FlowRail

#endif

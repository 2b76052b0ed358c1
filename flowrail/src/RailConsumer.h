// One consumer's view on a rail. Its positions are its own; what the producer stores is checked before use.
#ifndef FLOWRAIL_RAILCONSUMER_H
#define FLOWRAIL_RAILCONSUMER_H

#include "RailFile.h"
#include "RailRegions.h"
#include "RailWait.h"

#include <memory>

namespace Quillmont::FlowRail
{
class RailConsumer
{
public:
    // Takes a free place and starts at the committed end; null when there is no place. The place gets its bit in
    // `ownConsumers`. `ownProducer` tells whether the producer is the same object's, whose lock cannot be asked for.
    static std::unique_ptr<RailConsumer> Join(const RailFile& file, std::atomic<uint32_t>& ownConsumers,
                                              const std::atomic<bool>& ownProducer);
    ~RailConsumer(); // gives the place back, and with it what was locked
    RailConsumer(const RailConsumer&) = delete;
    RailConsumer& operator=(const RailConsumer&) = delete;

    uint32_t Place() const { return OwnPlace; }
    uint64_t Token() const { return uint64_t{OwnState} << 8 | (OwnPlace + 1); } // never 0

    uint32_t Lock(uint32_t size, uint32_t timeoutMs, uint64_t* number);
    uint32_t Unlock(uint64_t number);
    const RailRegion* Find(uint64_t number) const { return Regions.Find(number); }
    uint32_t Fill();
    uint32_t Alignment(uint32_t* size);

private:
    RailConsumer(const RailFile& file, std::atomic<uint32_t>& ownConsumers, const std::atomic<bool>& ownProducer,
                 uint32_t place, uint32_t state);
    uint32_t Poll(uint32_t size);
    uint32_t CheckProducer(uint32_t size);
    bool LookForCommits();

    const RailFile& File;
    RailHeader& Header;
    std::atomic<uint32_t>& OwnConsumers;
    const std::atomic<bool>& OwnProducer;
    const uint32_t Capacity;
    const uint32_t OwnPlace;
    const uint32_t OwnState; // another value in the place: this consumer has been dropped
    RailRegions Regions;
    RailWaiter Waiter;
    bool Damaged = false;
    uint64_t Committed = 0; // as of the last look
    uint64_t Next = 0;      // end of the newest lock
    uint64_t Released = 0;  // what the place's position holds
};
} // namespace Quillmont::FlowRail

#endif

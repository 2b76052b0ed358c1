// The regions that one side has locked, in the order of their locks. Made once; locking and unlocking never allocates.
#ifndef FLOWRAIL_RAILREGIONS_H
#define FLOWRAIL_RAILREGIONS_H

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <vector>

namespace Quillmont::FlowRail
{
struct RailRegion
{
    uint64_t Begin; // position
    uint32_t Size;
    bool Finished; // unlocked, but one that was locked before it is not
};

class RailRegions
{
public:
    // Room for every slot of the ring, and for many small pieces of them.
    explicit RailRegions(uint32_t slotCount)
        : Ring(std::bit_ceil(std::max<size_t>(64, size_t{slotCount} + 1))), Oldest(FirstNumber()), Next(Oldest)
    {
    }

    bool IsFull() const { return Next - Oldest == Ring.size(); }

    uint64_t Add(uint64_t begin, uint32_t size)
    {
        At(Next) = RailRegion{begin, size, false};
        return Next++;
    }

    // Null for a number that is not locked.
    const RailRegion* Find(uint64_t number) const
    {
        if (number < Oldest || number >= Next) return nullptr;
        const RailRegion& region = Ring[number & (Ring.size() - 1)];
        return region.Finished ? nullptr : &region;
    }

    // Ends a region that Find has found. Returns how many bytes, counted from the oldest one, are now done with.
    uint64_t Finish(uint64_t number)
    {
        At(number).Finished = true;
        uint64_t bytes = 0;
        for (; Oldest != Next && At(Oldest).Finished; ++Oldest)
            bytes += At(Oldest).Size;
        return bytes;
    }

private:
    // Of each side that this process has ever had another, so that no slot is taken for one of a rail before it, which
    // a user may still know by its value. 36 bits count the slots: two years of a thousand a second.
    static uint64_t FirstNumber()
    {
        static constinit std::atomic<uint64_t> sides{0};
        return ((sides.fetch_add(1, std::memory_order_relaxed) & 0xFFFFF) << 36) + 1;
    }

    RailRegion& At(uint64_t number) { return Ring[number & (Ring.size() - 1)]; }

    std::vector<RailRegion> Ring; // a power of two
    uint64_t Oldest, Next;
};
} // namespace Quillmont::FlowRail

#endif

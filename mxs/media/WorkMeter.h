// How long the conductor's thread worked on each slot: counted there, read anywhere.
#pragma once

#include "MediaStream.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace mxs::media
{

class WorkMeter
{
public:
    void Reset()
    {
        for (auto* number : {&Slots, &TotalNs, &LeastNs, &MostNs})
            number->store(0, std::memory_order_relaxed);
    }

    void Count(uint64_t workNs) // on one slot; one thread at a time
    {
        const uint64_t before = Slots.load(std::memory_order_relaxed);
        const uint64_t least = LeastNs.load(std::memory_order_relaxed);
        const uint64_t most = MostNs.load(std::memory_order_relaxed);
        LeastNs.store(before == 0 ? workNs : std::min(least, workNs), std::memory_order_relaxed);
        MostNs.store(std::max(most, workNs), std::memory_order_relaxed);
        TotalNs.fetch_add(workNs, std::memory_order_relaxed);
        Slots.store(before + 1, std::memory_order_relaxed);
    }

    ProcessingTimes Read() const
    {
        const uint64_t slots = Slots.load(std::memory_order_relaxed);
        if (slots == 0) return {};
        return {.minimum = LeastNs.load(std::memory_order_relaxed),
                .maximum = MostNs.load(std::memory_order_relaxed),
                .mean = TotalNs.load(std::memory_order_relaxed) / slots};
    }

private:
    std::atomic<uint64_t> Slots{0}, TotalNs{0}, LeastNs{0}, MostNs{0};
};

} // namespace mxs::media

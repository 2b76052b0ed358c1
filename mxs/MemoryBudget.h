// How much shared memory the service's rings may take together.
#pragma once

#include <cstdint>
#include <mutex>

namespace mxs
{

class MemoryBudget
{
public:
    explicit MemoryBudget(uint64_t limitBytes) : Limit(limitBytes) {}

    bool Take(uint64_t bytes)
    {
        const std::lock_guard lock(Mutex);
        if (bytes > Limit - Taken) return false;
        Taken += bytes;
        return true;
    }

    void GiveBack(uint64_t bytes)
    {
        const std::lock_guard lock(Mutex);
        Taken -= bytes;
    }

    uint64_t LimitBytes() const { return Limit; }

private:
    const uint64_t Limit;
    std::mutex Mutex; // guards Taken
    uint64_t Taken = 0;
};

} // namespace mxs

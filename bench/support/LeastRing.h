// The least that can be called a ring, bare and under locks: what the machine takes for such work.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

namespace bench
{

// Two positions, and a look for a sleeper in each direction. Nobody sleeps, and one thread takes both ends.
class LeastRing
{
public:
    // Commits a slot and releases it. False when a step finds what it must not.
    bool BareCycle()
    {
        return Cycle([](const auto& step) { return step(); });
    }

    // The same when each of the six steps takes the lock for itself.
    bool LockedCycle()
    {
        return Cycle(
            [this](const auto& step)
            {
                const std::lock_guard lock(Mutex);
                return step();
            });
    }

private:
    template <class TTake>
    bool Cycle(const TTake& take)
    {
        bool good = take([this] { return Produced.load(kRelaxed) - Consumed.load(kAcquire) < kSlots; });
        take([this] { Produced.store(Produced.load(kRelaxed) + 1); });
        good = take([this] { return ConsumersAsleep.load() == 0; }) && good;
        good = take([this] { return Produced.load(kAcquire) != Consumed.load(kRelaxed); }) && good;
        take([this] { Consumed.store(Consumed.load(kRelaxed) + 1); });
        return take([this] { return ProducersAsleep.load() == 0; }) && good;
    }

    static constexpr uint64_t kSlots = 8;
    static constexpr auto kRelaxed = std::memory_order_relaxed, kAcquire = std::memory_order_acquire;

    std::mutex Mutex;
    alignas(64) std::atomic<uint64_t> Produced{0};
    alignas(64) std::atomic<uint64_t> Consumed{0};
    alignas(64) std::atomic<uint32_t> ConsumersAsleep{0};
    alignas(64) std::atomic<uint32_t> ProducersAsleep{0};
};

} // namespace bench

// A mutex that is taken in the order of asking. A plain one may be taken again by the thread that has just released it,
// before a woken thread runs: beside a loop of locks that time out, nobody else would ever get in.
#pragma once

#include <atomic>
#include <cstdint>

namespace Quillmont::Trellis::Zefa
{
class CTurnMutex
{
public:
    CTurnMutex() = default;
    CTurnMutex(const CTurnMutex&) = delete;
    CTurnMutex& operator=(const CTurnMutex&) = delete;

    void lock() // spins a little, then sleeps; no system call when nobody has it
    {
        const uint32_t turn = NextTurn.fetch_add(1, std::memory_order_relaxed);
        for (uint32_t now; (now = Turn.load(std::memory_order_acquire)) != turn;)
            Turn.wait(now, std::memory_order_acquire);
    }

    void unlock() // no system call when nobody sleeps
    {
        Turn.store(Turn.load(std::memory_order_relaxed) + 1, std::memory_order_seq_cst); // before the look at sleepers
        Turn.notify_all(); // each looks whether it is its turn
    }

private:
    std::atomic<uint32_t> NextTurn{0}; // of the next who asks; both wrap
    std::atomic<uint32_t> Turn{0};     // whose turn it is; the holder alone stores it
};
} // namespace Quillmont::Trellis::Zefa

// The system calls of the wait, counted.
#include "RailWait.h"

#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Quillmont::FlowRail
{
namespace
{
constinit std::atomic<uint64_t> Calls{0};

// Two threads that count at once may count as one: the question is whether there were any.
void CountCall()
{
    Calls.store(Calls.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

uint32_t* FutexWord(std::atomic<uint32_t>& word)
{
    static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t));
    return reinterpret_cast<uint32_t*>(&word);
}
} // namespace

uint64_t FutexCalls()
{
    return Calls.load(std::memory_order_relaxed);
}

int64_t MonotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

int64_t CoarseNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

int64_t CoarseTickNs()
{
    timespec tick{};
    clock_getres(CLOCK_MONOTONIC_COARSE, &tick);
    return tick.tv_nsec;
}

void SleepOn(std::atomic<uint32_t>& word, uint32_t seen, int64_t untilNs)
{
    CountCall();
    const timespec until{untilNs / 1'000'000'000, untilNs % 1'000'000'000};
    // Not private, since the word lies in several processes. This kind of wait takes a time of the clock, which the
    // system need not read then.
    syscall(SYS_futex, FutexWord(word), FUTEX_WAIT_BITSET, seen, &until, nullptr, FUTEX_BITSET_MATCH_ANY);
}

void WakeSleepers(std::atomic<uint32_t>& word)
{
    // Emptied first: a sleeper that comes in between finds another value than it saw and looks again.
    word.store(0, std::memory_order_seq_cst);
    CountCall();
    syscall(SYS_futex, FutexWord(word), FUTEX_WAKE, INT32_MAX, nullptr, nullptr, 0);
}
} // namespace Quillmont::FlowRail

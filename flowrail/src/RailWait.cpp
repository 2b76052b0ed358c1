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

void SleepOn(std::atomic<uint32_t>& word, uint32_t seen, int64_t deadlineNs)
{
    Calls.fetch_add(1, std::memory_order_relaxed);
    timespec deadline{};
    deadline.tv_sec = deadlineNs / 1'000'000'000;
    deadline.tv_nsec = deadlineNs % 1'000'000'000;
    // The form with an absolute time; not private, since the word lies in several processes.
    syscall(SYS_futex, FutexWord(word), FUTEX_WAIT_BITSET, seen, &deadline, nullptr, FUTEX_BITSET_MATCH_ANY);
}

void WakeSleepers(std::atomic<uint32_t>& word)
{
    // Emptied first: a sleeper that comes in between finds another value than it saw and looks again.
    word.store(0, std::memory_order_seq_cst);
    Calls.fetch_add(1, std::memory_order_relaxed);
    syscall(SYS_futex, FutexWord(word), FUTEX_WAKE, INT32_MAX, nullptr, nullptr, 0);
}
} // namespace Quillmont::FlowRail

// Waiting for the other side: spin a little, then sleep on a futex word, and look now and then whether it still lives.
#ifndef FLOWRAIL_RAILWAIT_H
#define FLOWRAIL_RAILWAIT_H

#include "flowrail1.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace Quillmont::FlowRail
{
// Calls of futex that this process has made in all its rails. For tests: a ready slot makes none.
uint64_t FutexCalls();

int64_t MonotonicNs();

// A quarter of the price; up to a tick behind.
int64_t CoarseNs();
int64_t CoarseTickNs();

// Sleeps while the word is `seen`, until a time of MonotonicNs at the latest; may return early.
void SleepOn(std::atomic<uint32_t>& word, uint32_t seen, int64_t untilNs);

void WakeSleepers(std::atomic<uint32_t>& word);

// After a sequentially consistent store of what the sleepers wait for: a system call only if there is one.
inline void WakeIfAsleep(std::atomic<uint32_t>& word)
{
    if (word.load(std::memory_order_seq_cst) != 0) [[unlikely]]
        WakeSleepers(word);
}

inline void PauseSpin()
{
#if defined(__x86_64__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

// One for each waiting side; remembers whether spinning pays.
class RailWaiter
{
public:
    // True at most once in a while: asking who is alive is a system call.
    bool IsPeerCheckDue(int64_t nowNs)
    {
        if (nowNs < NextPeerCheckNs) return false;
        NextPeerCheckNs = nowNs + kPeerCheckNs;
        return true;
    }

    // `poll` gives FLOW_RAIL_TIMEOUT while there is a reason to go on, `checkPeers` the same after it has looked who
    // is alive. `bit` is the caller's own in the word. Returns the first other result, or the last.
    template <class Poll, class CheckPeers>
    uint32_t Wait(std::atomic<uint32_t>& word, uint32_t bit, uint32_t timeoutMs, Poll poll, CheckPeers checkPeers)
    {
        if (timeoutMs == 0) return IsPeerCheckDue(CoarseNs()) ? checkPeers() : FLOW_RAIL_TIMEOUT;
        uint32_t result = Spin(poll);
        if (result == FLOW_RAIL_TIMEOUT) result = SleepUntil(word, bit, timeoutMs, poll, checkPeers);
        // Taken back, or the next commit would wake nobody at the price of a system call.
        if (word.load(std::memory_order_relaxed) & bit) word.fetch_and(~bit, std::memory_order_relaxed);
        return result;
    }

private:
    static constexpr int64_t kPeerCheckNs = 20'000'000;
    static constexpr uint32_t kMaxSpins = 128;      // two microseconds: the far hand-over takes half of one
    static constexpr uint32_t kWaitsToProbe = 1024; // where spinning never pays, it is tried this seldom

    template <class Poll, class CheckPeers>
    uint32_t SleepUntil(std::atomic<uint32_t>& word, uint32_t bit, uint32_t timeoutMs, Poll& poll,
                        CheckPeers& checkPeers)
    {
        const int64_t timeoutNs = int64_t{timeoutMs} * 1'000'000;
        // Most waits end in their first sleep and pay for this look at the clock alone: a tick does not count in a
        // long one.
        const int64_t start = timeoutNs < kPeerCheckNs ? MonotonicNs() : CoarseNs() + CoarseTickNs();
        const int64_t deadline = start + timeoutNs;
        for (int64_t now = start;;)
        {
            // The bit stands before the last look at what is waited for; the other side stores that first and looks
            // at the word afterwards. So one of the two sees the other.
            const uint32_t seen = word.fetch_or(bit, std::memory_order_seq_cst) | bit;
            uint32_t result = poll();
            if (result != FLOW_RAIL_TIMEOUT) return result;
            SleepOn(word, seen, std::min(deadline, now + kPeerCheckNs));
            result = poll();
            if (result != FLOW_RAIL_TIMEOUT) return result;

            now = MonotonicNs();
            if (IsPeerCheckDue(now))
            {
                result = checkPeers();
                if (result != FLOW_RAIL_TIMEOUT) return result;
            }
            if (now >= deadline) return FLOW_RAIL_TIMEOUT;
        }
    }

    // Spinning pays when the other side runs on another core, and only costs when it waits for ours.
    template <class Poll>
    uint32_t Spin(Poll& poll)
    {
        const bool probe = Spins == 0 && ++WaitsWithoutSpin >= kWaitsToProbe;
        if (probe) WaitsWithoutSpin = 0;
        for (uint32_t spin = probe ? kMaxSpins : Spins; spin != 0; --spin)
        {
            PauseSpin();
            const uint32_t result = poll();
            if (result == FLOW_RAIL_TIMEOUT) continue;
            Spins = std::min(kMaxSpins, Spins * 2 + 8);
            return result;
        }
        Spins /= 2;
        return FLOW_RAIL_TIMEOUT;
    }

    uint32_t Spins = kMaxSpins;
    uint32_t WaitsWithoutSpin = 0;
    int64_t NextPeerCheckNs = 0;
};
} // namespace Quillmont::FlowRail

#endif

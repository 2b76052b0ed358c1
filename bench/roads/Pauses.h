// What a machine or an application has let pass, so that a frame which did not come has its cause beside it.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

namespace bench
{

// The longest of what one thread begins and ends.
class LongestStretch
{
public:
    void Begin() { BegunNs = NowNs(); }
    void End();
    double TakeMs(); // any thread: since it was last taken, and what is under way belongs to it

private:
    static int64_t NowNs() { return std::chrono::steady_clock::now().time_since_epoch().count(); }

    std::atomic<int64_t> BegunNs{0}, LongestNs{0}; // 0: nothing is under way
};

// As long as it lives a thread on each of the conductors' cores is due every 2 ms, and notes when it was run.
class Pauses
{
public:
    Pauses();

    double TakeLongestMs();
    // What a machine below this one has taken from all processors since this began, as the kernel counts it.
    double StolenMs() const { return StolenSinceBootMs() - StolenBeforeMs; }

private:
    static void Watch(const std::stop_token& stopped, unsigned core, LongestStretch& wait);
    static double StolenSinceBootMs();

    const double StolenBeforeMs = StolenSinceBootMs();
    std::array<LongestStretch, 2> Waits;
    std::array<std::jthread, 2> Watchers; // last: they use the waits
};

} // namespace bench

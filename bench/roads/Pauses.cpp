// A thread that asks for a moment of its core, and when it gets it.
#include "Pauses.h"

#include "../support/Pinned.h"
#include "Roads.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <unistd.h>

namespace bench
{

void LongestStretch::End()
{
    const int64_t begunNs = BegunNs.exchange(0);
    if (begunNs == 0) return;
    const int64_t thisNs = NowNs() - begunNs;
    for (int64_t longestNs = LongestNs; longestNs < thisNs;)
        if (LongestNs.compare_exchange_weak(longestNs, thisNs)) break;
}

double LongestStretch::TakeMs()
{
    const int64_t begunNs = BegunNs;
    return static_cast<double>(std::max(LongestNs.exchange(0), begunNs ? NowNs() - begunNs : 0)) / 1e6;
}

Pauses::Pauses()
{
    for (size_t i = 0; i < Watchers.size(); ++i)
        Watchers[i] =
            std::jthread([this, i](const std::stop_token& stopped) { Watch(stopped, ConductorCores()[i], Waits[i]); });
}

double Pauses::StolenSinceBootMs()
{
    // cpu user nice system idle iowait irq softirq steal ...
    std::ifstream file("/proc/stat");
    std::string word;
    double ticks = 0;
    for (int field = 0; field <= 8 && file >> word; ++field)
        if (field == 8) ticks = std::stod(word);
    return 1000 * ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double Pauses::TakeLongestMs()
{
    return std::max(Waits[0].TakeMs(), Waits[1].TakeMs());
}

void Pauses::Watch(const std::stop_token& stopped, unsigned core, LongestStretch& wait)
{
    const Pinned pinned(core);
    while (!stopped.stop_requested())
    {
        wait.Begin();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        wait.End();
    }
}

} // namespace bench

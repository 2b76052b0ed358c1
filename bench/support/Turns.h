// Work that takes short turns with other work in one process, so that what else the machine does falls on all of it.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <vector>

namespace bench
{

// Calls the work as often as the turn is long, once at least, and gives the nanoseconds of a call.
inline double TakeTurn(const std::function<void()>& work, std::chrono::nanoseconds turn)
{
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    auto now = begin;
    size_t calls = 0;
    for (; now - begin < turn; now = Clock::now(), ++calls)
        work();
    return std::chrono::duration<double, std::nano>(now - begin).count() / static_cast<double>(calls);
}

template <class TValue>
TValue Median(std::vector<TValue> values) // one at least
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace bench

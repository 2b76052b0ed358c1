// What a process holds, and what rails there are: counted before and after.
#pragma once

#include "support/Rails.h"

#include <algorithm>
#include <filesystem>
#include <ostream>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace test
{

struct Holdings
{
    size_t descriptors = 0, threads = 0;

    bool operator==(const Holdings&) const = default;
    bool NoMoreThan(const Holdings& other) const
    {
        return descriptors <= other.descriptors && threads <= other.threads;
    }
};

inline std::ostream& operator<<(std::ostream& to, const Holdings& holdings)
{
    return to << holdings.descriptors << " descriptors and " << holdings.threads << " threads";
}

inline size_t EntriesOf(const std::string& folder)
{
    size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder))
        ++count;
    return count;
}

inline Holdings HoldingsOf(pid_t process)
{
    const std::string folder = "/proc/" + std::to_string(process);
    return {EntriesOf(folder + "/fd"), EntriesOf(folder + "/task")};
}

} // namespace test

// The machine's network interfaces, as the kernel tells of them; `lo` is one.
#pragma once

#include "mxs/Records.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace mxs
{

// Whoever asks gets a Refusal (10) when the system has no descriptor or memory to answer with; a sample that is not
// told leaves everything as it was.
class InterfaceInventory
{
public:
    InterfaceInventory();

    std::vector<uint64_t> List() const;
    std::optional<std::string> NameOf(uint64_t id) const;
    bool HasName(const std::string& name) const;
    std::optional<InterfaceConfig> Config(uint64_t id) const; // its first IPv4 address, zeros without one
    std::vector<InterfaceConfig> Addresses(uint64_t id) const;
    std::optional<InterfaceStatus> Status(uint64_t id) const;

    void Sample(); // about once a second: throughput is that between two samples

private:
    struct Counters
    {
        uint64_t sent = 0;
        uint64_t received = 0;
        std::chrono::steady_clock::time_point time;
    };
    struct Rates
    {
        uint64_t upload = 0;
        uint64_t download = 0;
    };

    static std::map<uint64_t, Counters> ReadCounters();

    mutable std::mutex Mutex; // guards what follows
    std::map<uint64_t, Counters> LastCounters;
    std::map<uint64_t, Rates> Throughput; // bits per second
};

} // namespace mxs

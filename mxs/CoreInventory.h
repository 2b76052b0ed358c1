// The machine's processor cores, as the kernel tells of them.
#pragma once

#include "mxs/Identifiers.h"
#include "mxs/Records.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace mxs
{

// List, SystemNumber, MayRunOn and Status refuse (10) when the system has no descriptor or memory to answer with; a
// sample that is not told leaves everything as it was.
class CoreInventory
{
public:
    struct Paths // tests bring trees of their own
    {
        std::string cpus = "/sys/devices/system/cpu";
        std::string stat = "/proc/stat";
    };

    CoreInventory() : CoreInventory(Paths{}) {}
    explicit CoreInventory(Paths paths);

    std::vector<uint64_t> List() const; // all cores that are present
    std::optional<uint32_t> SystemNumber(uint64_t id) const;
    bool MayRunOn(uint64_t id) const;                       // online, and one of those that the service may use
    std::optional<CpuCoreStatus> Status(uint64_t id) const; // availability without regard to conductors

    void Sample(); // about once a second: use of the cores is that between two samples

private:
    struct Ticks
    {
        uint64_t busy = 0;
        uint64_t total = 0;
    };

    std::map<uint32_t, Ticks> ReadTicks() const;
    uint32_t NumaNodeOf(uint32_t core) const;

    const Paths Files;
    mutable std::mutex Mutex; // guards what follows
    std::map<uint32_t, Ticks> LastTicks;
    std::map<uint32_t, uint32_t> UsagePercent;
};

} // namespace mxs

// Cores from /sys, their use from /proc/stat.
#include "mxs/CoreInventory.h"

#include "mxs/SystemFiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <unistd.h>
#include <utility>

namespace mxs
{

namespace
{

bool IsPermitted(uint32_t core)
{
    // Room for more cores than cpu_set_t has: the kernel refuses a set that is smaller than its own.
    constexpr int kMostCores = 8192;
    cpu_set_t* set = CPU_ALLOC(kMostCores);
    if (!set) return false;
    const size_t bytes = CPU_ALLOC_SIZE(kMostCores);
    CPU_ZERO_S(bytes, set);
    // Of the process, not of this thread: conductors' threads are pinned to one core each.
    const bool permitted = sched_getaffinity(getpid(), bytes, set) == 0 && CPU_ISSET_S(core, bytes, set);
    CPU_FREE(set);
    return permitted;
}

} // namespace

CoreInventory::CoreInventory(Paths paths) : Files(std::move(paths))
{
    LastTicks = ReadTicks();
}

std::vector<uint64_t> CoreInventory::List() const
{
    std::vector<uint64_t> ids;
    for (const uint32_t core : ParseCpuList(ReadSystemText(Files.cpus + "/present").value_or("")))
        ids.push_back(MakeId(IdKind::CpuCore, core + 1));
    return ids;
}

std::optional<uint32_t> CoreInventory::SystemNumber(uint64_t id) const
{
    const std::vector<uint64_t> ids = List();
    if (std::find(ids.begin(), ids.end(), id) == ids.end()) return std::nullopt;
    return static_cast<uint32_t>(id - MakeId(IdKind::CpuCore, 1));
}

bool CoreInventory::MayRunOn(uint64_t id) const
{
    const std::optional<CpuCoreStatus> status = Status(id);
    return status && status->availability == CoreAvailability::Available;
}

std::optional<CpuCoreStatus> CoreInventory::Status(uint64_t id) const
{
    const std::optional<uint32_t> core = SystemNumber(id);
    if (!core) return std::nullopt;
    const std::string directory = Files.cpus + "/cpu" + std::to_string(*core);

    CpuCoreStatus status;
    status.coreId = *core;
    status.numaNode = NumaNodeOf(*core);
    const int64_t kiloHertz = ReadSystemNumber(directory + "/cpufreq/cpuinfo_max_freq").value_or(0);
    status.maxSpeedMhz = static_cast<uint32_t>(std::clamp<int64_t>(kiloHertz / 1000, 0, 1000000));
    const int64_t package = ReadSystemNumber(directory + "/topology/physical_package_id").value_or(0);
    status.groupId = static_cast<uint32_t>(std::max<int64_t>(package, 0)); // -1 where there is none
    const std::vector<uint32_t> online = ParseCpuList(ReadSystemText(Files.cpus + "/online").value_or(""));
    const bool isOnline = std::find(online.begin(), online.end(), *core) != online.end();
    status.availability = isOnline && IsPermitted(*core) ? CoreAvailability::Available : CoreAvailability::NotAvailable;

    const std::lock_guard lock(Mutex);
    const auto usage = UsagePercent.find(*core);
    if (usage != UsagePercent.end()) status.usagePercent = usage->second;
    return status;
}

void CoreInventory::Sample()
{
    std::map<uint32_t, Ticks> now = ReadTicks();
    if (now.empty()) return;
    const std::lock_guard lock(Mutex);
    for (const auto& [core, ticks] : now)
    {
        const auto before = LastTicks.find(core);
        if (before == LastTicks.end() || ticks.total <= before->second.total) continue;
        const uint64_t total = ticks.total - before->second.total;
        const uint64_t busy = ticks.busy > before->second.busy ? ticks.busy - before->second.busy : 0;
        UsagePercent[core] = static_cast<uint32_t>(std::min<uint64_t>(100, (100 * busy + total / 2) / total));
    }
    LastTicks = std::move(now);
}

std::map<uint32_t, CoreInventory::Ticks> CoreInventory::ReadTicks() const
{
    // cpu0 user nice system idle iowait irq softirq steal guest guest_nice; guest is counted in user already
    constexpr size_t kIdle = 3, kIoWait = 4, kSteal = 7;
    std::map<uint32_t, Ticks> all;
    std::ifstream file(Files.stat);
    std::string line;
    while (std::getline(file, line))
    {
        if (!line.starts_with("cpu") || line.size() < 4 || line[3] == ' ') continue; // the first line is the sum
        std::istringstream fields(line.substr(3));
        uint32_t core = 0;
        if (!(fields >> core)) continue;
        Ticks ticks;
        uint64_t value = 0;
        for (size_t place = 0; place <= kSteal && fields >> value; ++place)
        {
            ticks.total += value;
            if (place != kIdle && place != kIoWait) ticks.busy += value;
        }
        all[core] = ticks;
    }
    return all;
}

uint32_t CoreInventory::NumaNodeOf(uint32_t core) const
{
    std::error_code error;
    const std::filesystem::directory_iterator entries(Files.cpus + "/cpu" + std::to_string(core), error);
    if (IsUntold(error.value())) RefuseUntold(error.value());
    if (error) return kUnknownNumaNode;
    for (const auto& entry : entries)
    {
        const std::string name = entry.path().filename();
        if (!name.starts_with("node")) continue;
        const std::vector<uint32_t> number = ParseCpuList(name.substr(4));
        if (number.size() == 1) return number.front();
    }
    return kUnknownNumaNode;
}

} // namespace mxs

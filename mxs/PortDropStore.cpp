// Port drops as bit sets that the packet threads read without a lock.
#include "mxs/PortDropStore.h"

namespace mxs
{

namespace
{

constexpr uint64_t Bit(uint16_t port)
{
    return uint64_t{1} << (port % 64);
}

} // namespace

PortDropStore::~PortDropStore()
{
    for (PortSet* set = First.load(); set;)
    {
        const std::unique_ptr<PortSet> owned(set);
        set = owned->next;
    }
}

PortDropStore::PortSet* PortDropStore::Find(uint64_t networkInterfaceId) const noexcept
{
    PortSet* set = First.load(std::memory_order_acquire);
    while (set && set->networkInterfaceId != networkInterfaceId)
        set = set->next;
    return set;
}

bool PortDropStore::IsDropped(uint64_t networkInterfaceId, uint16_t udpPort) const noexcept
{
    const PortSet* set = Find(networkInterfaceId);
    return set && (set->bits[udpPort / 64].load(std::memory_order_relaxed) & Bit(udpPort)) != 0;
}

bool PortDropStore::Add(uint64_t networkInterfaceId, uint16_t udpPort)
{
    const std::lock_guard lock(Writers);
    PortSet* set = Find(networkInterfaceId);
    if (!set)
    {
        set = new PortSet{networkInterfaceId, First.load(std::memory_order_relaxed)};
        First.store(set, std::memory_order_release);
    }
    return (set->bits[udpPort / 64].fetch_or(Bit(udpPort), std::memory_order_relaxed) & Bit(udpPort)) == 0;
}

bool PortDropStore::Remove(uint64_t networkInterfaceId, uint16_t udpPort)
{
    const std::lock_guard lock(Writers);
    PortSet* set = Find(networkInterfaceId);
    return set && (set->bits[udpPort / 64].fetch_and(~Bit(udpPort), std::memory_order_relaxed) & Bit(udpPort)) != 0;
}

std::vector<uint64_t> PortDropStore::Ports(uint64_t networkInterfaceId) const
{
    std::vector<uint64_t> ports;
    const PortSet* set = Find(networkInterfaceId);
    if (!set) return ports;
    for (uint32_t port = 0; port <= 65535; ++port)
        if (set->bits[port / 64].load(std::memory_order_relaxed) & Bit(static_cast<uint16_t>(port)))
            ports.push_back(port);
    return ports;
}

} // namespace mxs

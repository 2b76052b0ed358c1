// Rules that let the receivers of an interface ignore a UDP port. They belong to the interface, not to a context.
#pragma once

#include "mxs/media/MediaStream.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace mxs
{

class PortDropStore : public media::PortDropRules
{
public:
    PortDropStore() = default;
    ~PortDropStore() override;
    PortDropStore(const PortDropStore&) = delete;
    PortDropStore& operator=(const PortDropStore&) = delete;

    bool IsDropped(uint64_t networkInterfaceId, uint16_t udpPort) const noexcept override; // takes no lock

    bool Add(uint64_t networkInterfaceId, uint16_t udpPort);    // false: the rule was there
    bool Remove(uint64_t networkInterfaceId, uint16_t udpPort); // false: there was none
    std::vector<uint64_t> Ports(uint64_t networkInterfaceId) const;

private:
    // One bit for each port. Made with an interface's first rule and kept until the store ends, so that readers may
    // walk the chain while it grows.
    struct PortSet
    {
        const uint64_t networkInterfaceId;
        PortSet* const next;
        std::array<std::atomic<uint64_t>, 1024> bits{};
    };

    PortSet* Find(uint64_t networkInterfaceId) const noexcept;

    std::mutex Writers;                    // one writer at a time
    std::atomic<PortSet*> First = nullptr; // stored by a writer (release), walked by readers (acquire)
};

} // namespace mxs

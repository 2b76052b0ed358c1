// One stream: its configuration documents, its states and, while it is started, its media.
#pragma once

#include "mxs/ConductorStore.h"
#include "mxs/CoreInventory.h"
#include "mxs/InterfaceInventory.h"
#include "mxs/Log.h"
#include "mxs/MemoryBudget.h"
#include "mxs/Records.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace mxs
{

// What streams work with; all of it outlives them.
struct StreamServices
{
    ConductorStore& conductors;
    const CoreInventory& cores;
    const InterfaceInventory& interfaces;
    const media::PortDropRules& drops;
    MemoryBudget& memory;
    media::MediaSettings settings;
    const Log& log;
};

//   closed --open--> opened --start--> started
//          <-close--        <--stop---
// The state document is the target; a target that is not one step away is refused with 9, and being there is enough.
class Stream
{
public:
    Stream(uint64_t id, uint64_t contextId, const StreamCreate& create, const StreamServices& services);
    ~Stream(); // ends
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    const uint64_t Id;
    const uint64_t ContextId;
    const bool Shared;

    media::CommonConfig GetCommonConfig() const;
    media::NetworkConfig GetNetworkConfig() const;
    media::EssenceConfig GetEssenceConfig() const;

    // Each refuses with 19 unless the stream is closed, and with 4 what cannot be done.
    void SetCommonConfig(const media::CommonConfig& config); // 5012: a conductor outside the context
    void SetNetworkConfig(media::NetworkConfig config);
    void SetEssenceConfig(const media::EssenceConfig& config);

    StreamState GetState() const;
    void
    SetState(const StreamState& target); // 4 not configured, 8 ended, 9 wrong order, 10 no socket or memory, 11 busy

    // Stops and closes it for ever, though somebody may still hold it. Waits for a start that is under way.
    void End();

    // Stops a started stream whose ring another program has spoiled; a next start makes a new ring. Never waits:
    // while the stream is in use otherwise it does nothing.
    void StopIfDamaged();

    // The common and the network status refuse with 1 after such a stop, until the next start or close.
    StreamCommonStatus GetCommonStatus() const;
    EssenceStatus GetEssenceStatus() const;
    media::NetworkCounters GetNetworkStatus() const;

private:
    enum class State
    {
        Closed,
        Opened,
        Started
    };

    std::string Name() const;
    void RequireClosed() const;
    void RequireWholeRing() const;
    void ResolveInterfaces(media::NetworkConfig& config) const;
    void Open();
    void Start();
    void Stop();
    void Close();

    const media::Direction Direction;
    const StreamServices& Services;

    std::mutex Changing;      // of the state; taken before Mutex and waited for by End alone
    mutable std::mutex Mutex; // guards what follows and is held while a stream starts, which takes as long as its ring
    State Now = State::Closed;
    bool Ended = false;
    bool RingWasCut = false;
    media::CommonConfig Common;
    media::NetworkConfig Network;
    media::EssenceConfig Essence;
    media::SlotLayout Layout;                  // of Essence
    std::shared_ptr<Conductor> OpenedOn;       // from open to close
    std::unique_ptr<media::MediaStream> Media; // made by a start; kept after a stop, for its counters
    uint64_t RingBytes = 0;                    // taken from the budget while started
};

} // namespace mxs

// Conductors: pinned threads that run streams; own ones of a context and shared ones that others attach.
#pragma once

#include "mxs/CoreInventory.h"
#include "mxs/Identifiers.h"
#include "mxs/Log.h"
#include "mxs/Records.h"
#include "mxs/media/ConductorLoop.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

namespace mxs
{

// One conductor. Any thread.
class Conductor
{
public:
    Conductor(uint64_t id, bool shared, const CoreInventory& cores) : Id(id), Shared(shared), Cores(cores) {}

    const uint64_t Id;
    const bool Shared;

    ConductorConfig GetConfig() const;
    void SetConfig(const ConductorConfig& config); // refuses: 19 while it runs, 4 for a core that cannot be used
    ConductorState GetState() const;
    // Repeats succeed. Refuses: 4 to start without a core, 10 when the system gives no thread, 11 to stop under running
    // streams of another context than the caller's.
    void SetState(const ConductorState& state, uint64_t contextId);
    ConductorStatus GetStatus() const;

    // What streams tell: opened streams keep a conductor from being deleted, running ones from being stopped by others.
    void NoteOpened(uint64_t contextId, int change);
    bool HasOpened(uint64_t contextId) const;
    size_t Users() const; // contexts that have streams opened on it, which are all that it remembers
    // Hands out the loop and counts a running stream; null while the conductor does not run.
    media::ConductorLoop* BeginRunning(uint64_t contextId);
    void EndRunning(uint64_t contextId);

private:
    struct Use
    {
        int opened = 0;
        int running = 0;
    };

    void ForgetIfIdle(uint64_t contextId); // with Mutex held

    const CoreInventory& Cores;
    mutable std::mutex Mutex; // guards what follows, and start and stop of the loop
    ConductorConfig Config;
    bool Started = false;
    std::map<uint64_t, Use> Uses; // by context
    media::ConductorLoop Loop;
};

// All conductors and the contexts that they are attached to. A conductor lives while a context has it.
class ConductorStore
{
public:
    ConductorStore(const CoreInventory& cores, size_t limit, const Log& log);

    // Makes a conductor, or attaches the shared one that the record names. `attached` tells whether the context had it
    // already. Refuses: 5004 unknown, 5012 not shared, 10 too many.
    std::shared_ptr<Conductor> Create(const ConductorCreate& create, uint64_t contextId, bool& attached);

    // The context's conductor. Refuses: 5004 unknown, 5012 another context's.
    std::shared_ptr<Conductor> Find(uint64_t id, uint64_t contextId) const;
    std::shared_ptr<Conductor> FindOrNull(uint64_t id, uint64_t contextId) const;
    // The same, and notes a stream of the context as opened on it: it cannot be deleted in between.
    std::shared_ptr<Conductor> OpenOn(uint64_t id, uint64_t contextId) const;

    // Detaches it from the context; the last one to go ends it. Refuses as Find, and 11 while a stream of the context
    // on it is open.
    void Delete(uint64_t id, uint64_t contextId);
    void DetachAll(uint64_t contextId); // when a context ends; its streams are gone

    std::vector<uint64_t> Shared() const;
    std::vector<uint64_t> Mines(uint64_t contextId) const;
    bool UsesCore(uint64_t coreId) const;
    std::vector<std::shared_ptr<Conductor>> All() const;

private:
    struct Entry
    {
        std::shared_ptr<Conductor> conductor;
        std::set<uint64_t> contexts;
    };

    const CoreInventory& Cores;
    const size_t Limit;
    const Log& Out;
    IdSource Ids{IdKind::Conductor};

    mutable std::mutex Mutex; // guards Entries; a conductor's own mutex may be taken under it
    std::map<uint64_t, Entry> Entries;
};

} // namespace mxs

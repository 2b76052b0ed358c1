// Life of conductors and their attachment to contexts.
#include "mxs/ConductorStore.h"

#include "mxs/Refusal.h"

namespace mxs
{

ConductorConfig Conductor::GetConfig() const
{
    const std::lock_guard lock(Mutex);
    return Config;
}

void Conductor::SetConfig(const ConductorConfig& config)
{
    const std::lock_guard lock(Mutex);
    if (Started) throw Refusal(kOfflineProperty, "The conductor runs; its configuration cannot be changed.");
    if (!Cores.MayRunOn(config.cpuCoreId))
        throw Refusal(kIncorrectConfiguration, "The key \"CpuCoreID\" names no core that this service may use: " +
                                                   IdText(config.cpuCoreId) + ".");
    Config = config;
}

ConductorState Conductor::GetState() const
{
    const std::lock_guard lock(Mutex);
    return {Started};
}

void Conductor::SetState(const ConductorState& state, uint64_t contextId)
{
    const std::lock_guard lock(Mutex);
    if (state.started == Started) return;
    if (state.started)
    {
        const std::optional<uint32_t> core = Cores.SystemNumber(Config.cpuCoreId);
        if (!core) throw Refusal(kIncorrectConfiguration, "The conductor has no CPU core yet.");
        if (!Loop.Start(*core))
            throw Refusal(kUnavailable, "The system gives no thread on core " + std::to_string(*core) + ".");
        Started = true;
        return;
    }
    for (const auto& [user, use] : Uses)
        if (user != contextId && use.running > 0)
            throw Refusal(kBusy, "The conductor runs streams of another context.");
    Loop.Stop();
    Started = false;
}

ConductorStatus Conductor::GetStatus() const
{
    const std::lock_guard lock(Mutex);
    ConductorStatus status;
    status.totalPackets = Loop.TotalPackets();
    if (!Started) return status;
    status.throughput = Loop.ThroughputBitsPerSecond();
    status.load = Loop.LoadPercent();
    return status;
}

void Conductor::NoteOpened(uint64_t contextId, int change)
{
    const std::lock_guard lock(Mutex);
    Uses[contextId].opened += change;
    ForgetIfIdle(contextId);
}

bool Conductor::HasOpened(uint64_t contextId) const
{
    const std::lock_guard lock(Mutex);
    const auto use = Uses.find(contextId);
    return use != Uses.end() && use->second.opened > 0;
}

size_t Conductor::Users() const
{
    const std::lock_guard lock(Mutex);
    return Uses.size();
}

media::ConductorLoop* Conductor::BeginRunning(uint64_t contextId)
{
    const std::lock_guard lock(Mutex);
    if (!Started) return nullptr;
    ++Uses[contextId].running;
    return &Loop;
}

void Conductor::EndRunning(uint64_t contextId)
{
    const std::lock_guard lock(Mutex);
    --Uses[contextId].running;
    ForgetIfIdle(contextId);
}

// A shared conductor outlives the contexts that come and go.
void Conductor::ForgetIfIdle(uint64_t contextId)
{
    const auto use = Uses.find(contextId);
    if (use->second.opened == 0 && use->second.running == 0) Uses.erase(use);
}

ConductorStore::ConductorStore(const CoreInventory& cores, size_t limit, const Log& log)
    : Cores(cores), Limit(limit), Out(log)
{
}

std::shared_ptr<Conductor> ConductorStore::Create(const ConductorCreate& create, uint64_t contextId, bool& attached)
{
    attached = false;
    const std::lock_guard lock(Mutex);
    if (create.id != 0)
    {
        const auto found = Entries.find(create.id);
        if (found == Entries.end())
            throw Refusal(kUnknownConductor, "There is no conductor " + IdText(create.id) + ".");
        Entry& entry = found->second;
        attached = entry.contexts.contains(contextId);
        if (!attached && !entry.conductor->Shared)
            throw Refusal(kForeignResource, "The conductor " + IdText(create.id) + " is not shared.");
        entry.contexts.insert(contextId);
        if (!attached) Out.Info("Context " + IdText(contextId) + " attaches conductor " + IdText(create.id) + ".");
        return entry.conductor;
    }
    if (Entries.size() >= Limit)
        throw Refusal(kUnavailable, "The service has " + std::to_string(Limit) + " conductors already.");
    auto conductor = std::make_shared<Conductor>(Ids.Next(), create.shared, Cores);
    Entries.emplace(conductor->Id, Entry{conductor, {contextId}});
    Out.Info("Context " + IdText(contextId) + " creates " + (create.shared ? "shared conductor " : "conductor ") +
             IdText(conductor->Id) + ".");
    return conductor;
}

std::shared_ptr<Conductor> ConductorStore::Find(uint64_t id, uint64_t contextId) const
{
    const std::lock_guard lock(Mutex);
    const auto found = Entries.find(id);
    if (found == Entries.end()) throw Refusal(kUnknownConductor, "There is no conductor " + IdText(id) + ".");
    if (!found->second.contexts.contains(contextId))
        throw Refusal(kForeignResource, "The conductor " + IdText(id) + " is not in this context.");
    return found->second.conductor;
}

std::shared_ptr<Conductor> ConductorStore::FindOrNull(uint64_t id, uint64_t contextId) const
{
    const std::lock_guard lock(Mutex);
    const auto found = Entries.find(id);
    return found != Entries.end() && found->second.contexts.contains(contextId) ? found->second.conductor : nullptr;
}

std::shared_ptr<Conductor> ConductorStore::OpenOn(uint64_t id, uint64_t contextId) const
{
    const std::lock_guard lock(Mutex);
    const auto found = Entries.find(id);
    if (found == Entries.end() || !found->second.contexts.contains(contextId)) return nullptr;
    found->second.conductor->NoteOpened(contextId, 1);
    return found->second.conductor;
}

void ConductorStore::Delete(uint64_t id, uint64_t contextId)
{
    std::shared_ptr<Conductor> ended; // its thread is joined after the lock is gone
    const std::lock_guard lock(Mutex);
    const auto found = Entries.find(id);
    if (found == Entries.end()) throw Refusal(kUnknownConductor, "There is no conductor " + IdText(id) + ".");
    Entry& entry = found->second;
    if (!entry.contexts.contains(contextId))
        throw Refusal(kForeignResource, "The conductor " + IdText(id) + " is not in this context.");
    if (entry.conductor->HasOpened(contextId))
        throw Refusal(kBusy, "Streams of this context on the conductor " + IdText(id) + " are not closed.");
    entry.contexts.erase(contextId);
    Out.Info("Context " + IdText(contextId) + " gives up conductor " + IdText(id) + ".");
    if (!entry.contexts.empty()) return;
    ended = std::move(entry.conductor);
    Entries.erase(found);
}

void ConductorStore::DetachAll(uint64_t contextId)
{
    std::vector<std::shared_ptr<Conductor>> ended;
    const std::lock_guard lock(Mutex);
    for (auto entry = Entries.begin(); entry != Entries.end();)
    {
        if (entry->second.contexts.erase(contextId) != 0 && entry->second.contexts.empty())
        {
            ended.push_back(std::move(entry->second.conductor));
            entry = Entries.erase(entry);
        }
        else
            ++entry;
    }
}

std::vector<uint64_t> ConductorStore::Shared() const
{
    std::vector<uint64_t> ids;
    const std::lock_guard lock(Mutex);
    for (const auto& [id, entry] : Entries)
        if (entry.conductor->Shared) ids.push_back(id);
    return ids;
}

std::vector<uint64_t> ConductorStore::Mines(uint64_t contextId) const
{
    std::vector<uint64_t> ids;
    const std::lock_guard lock(Mutex);
    for (const auto& [id, entry] : Entries)
        if (entry.contexts.contains(contextId)) ids.push_back(id);
    return ids;
}

bool ConductorStore::UsesCore(uint64_t coreId) const
{
    for (const std::shared_ptr<Conductor>& conductor : All())
        if (conductor->GetConfig().cpuCoreId == coreId) return true;
    return false;
}

std::vector<std::shared_ptr<Conductor>> ConductorStore::All() const
{
    std::vector<std::shared_ptr<Conductor>> all;
    const std::lock_guard lock(Mutex);
    for (const auto& [id, entry] : Entries)
        all.push_back(entry.conductor);
    return all;
}

} // namespace mxs

// Registry of streams.
#include "mxs/StreamStore.h"

#include "mxs/Refusal.h"

namespace mxs
{

std::shared_ptr<Stream> StreamStore::Create(const StreamCreate& create, uint64_t contextId)
{
    if (create.id != 0) throw Refusal(kIncorrectConfiguration, "The key \"ID\" is not 0; streams cannot be attached.");
    auto stream = std::make_shared<Stream>(Ids.Next(), contextId, create, Services);
    {
        const std::lock_guard lock(Mutex);
        if (Streams.size() >= Limit)
            throw Refusal(kUnavailable, "The service has " + std::to_string(Limit) + " streams already.");
        Streams.emplace(stream->Id, stream);
    }
    Services.log.Info("Context " + IdText(contextId) + " creates stream " + IdText(stream->Id) + ".");
    return stream;
}

std::shared_ptr<Stream> StreamStore::Find(uint64_t id, uint64_t contextId) const
{
    const std::lock_guard lock(Mutex);
    const auto found = Streams.find(id);
    if (found == Streams.end() || found->second->ContextId != contextId)
        throw Refusal(kUnknownResource, "There is no stream " + IdText(id) + " in this context.");
    return found->second;
}

void StreamStore::Delete(uint64_t id, uint64_t contextId)
{
    const std::shared_ptr<Stream> stream = Find(id, contextId);
    {
        const std::lock_guard lock(Mutex);
        Streams.erase(id);
    }
    stream->End(); // and not when the last one lets go of it: what it has is free when the answer comes
    Services.log.Info("Context " + IdText(contextId) + " deletes stream " + IdText(id) + ".");
}

void StreamStore::DeleteAll(uint64_t contextId)
{
    std::vector<std::shared_ptr<Stream>> ended;
    {
        const std::lock_guard lock(Mutex);
        for (auto entry = Streams.begin(); entry != Streams.end();)
        {
            if (entry->second->ContextId == contextId)
            {
                ended.push_back(std::move(entry->second));
                entry = Streams.erase(entry);
            }
            else
                ++entry;
        }
    }
    for (const std::shared_ptr<Stream>& stream : ended)
        stream->End();
}

void StreamStore::StopDamaged()
{
    std::vector<std::shared_ptr<Stream>> all;
    {
        const std::lock_guard lock(Mutex);
        for (const auto& [id, stream] : Streams)
            all.push_back(stream);
    }
    for (const std::shared_ptr<Stream>& stream : all)
        stream->StopIfDamaged();
}

std::vector<uint64_t> StreamStore::Shared() const
{
    std::vector<uint64_t> ids;
    const std::lock_guard lock(Mutex);
    for (const auto& [id, stream] : Streams)
        if (stream->Shared) ids.push_back(id);
    return ids;
}

std::vector<uint64_t> StreamStore::Mines(uint64_t contextId) const
{
    std::vector<uint64_t> ids;
    const std::lock_guard lock(Mutex);
    for (const auto& [id, stream] : Streams)
        if (stream->ContextId == contextId) ids.push_back(id);
    return ids;
}

} // namespace mxs

// The streams of all contexts.
#pragma once

#include "mxs/Stream.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace mxs
{

class StreamStore
{
public:
    StreamStore(const StreamServices& services, size_t limit) : Services(services), Limit(limit) {}

    // Refuses: 4 an id, for no stream is attached twice, 10 too many.
    std::shared_ptr<Stream> Create(const StreamCreate& create, uint64_t contextId);
    std::shared_ptr<Stream> Find(uint64_t id, uint64_t contextId) const; // refuses with 8 what is not the context's
    void Delete(uint64_t id, uint64_t contextId);                        // in any state
    void DeleteAll(uint64_t contextId);                                  // when a context ends
    void StopDamaged();                                                  // see Stream; asked now and then

    std::vector<uint64_t> Shared() const;
    std::vector<uint64_t> Mines(uint64_t contextId) const;

private:
    const StreamServices Services;
    const size_t Limit;
    IdSource Ids{IdKind::Stream};

    mutable std::mutex Mutex; // guards Streams; no stream is called or ended under it
    std::map<uint64_t, std::shared_ptr<Stream>> Streams;
};

} // namespace mxs

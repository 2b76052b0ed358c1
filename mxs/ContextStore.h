// The sessions of clients: their tokens, their time to live, and who may see what.
#pragma once

#include "mxs/Identifiers.h"
#include "mxs/Log.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <vector>

namespace mxs
{

// One session. Each request of it holds Guard shared while it works, so that removal, which takes it alone, meets none
// half done; a request that comes too late finds Removed set.
struct Context
{
    const uint64_t Id;
    const Secret Token;

    std::shared_mutex Guard;
    bool Removed = false; // guarded by Guard

    std::atomic<uint64_t> LastAccessNs = 0;                   // since 1970
    std::atomic<std::chrono::steady_clock::rep> LastTick = 0; // of the steady clock

    Context(uint64_t id, const Secret& token) : Id(id), Token(token) {}
};

class ContextStore
{
public:
    using Clock = std::chrono::steady_clock;

    ContextStore(Clock::duration timeToLive, size_t limit, const Log& log);

    // A new session; refuses with 10 when there are too many.
    std::shared_ptr<Context> Create();

    // The session of an Authorization header, and notes the access. Refuses: 5014 none given, 5007 no token by its
    // form, 5016 no living session has it.
    std::shared_ptr<Context> FindByToken(std::string_view authorization);

    // The living session of a token, or null. Takes the same time wherever it stands and wherever tokens differ.
    std::shared_ptr<Context> Find(const Secret& token) const;

    void Tick(Context& context);

    // Takes the context out and marks it, having waited for its requests. False when another was first.
    bool Remove(const std::shared_ptr<Context>& context);

    std::shared_ptr<Context> FirstExpired() const; // null when all have been ticked in time
    std::vector<std::shared_ptr<Context>> All() const;
    Clock::duration TimeToLive() const { return Ttl; }

private:
    const Clock::duration Ttl;
    const size_t Limit;
    const Log& Out;
    IdSource Ids{IdKind::Context};

    mutable std::mutex Mutex; // guards Contexts; nothing is called under it
    std::map<uint64_t, std::shared_ptr<Context>> Contexts;
};

} // namespace mxs

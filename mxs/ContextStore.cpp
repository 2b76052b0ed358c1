// Sessions come with authentication, live by ticks and go by request or in silence.
#include "mxs/ContextStore.h"

#include "mxs/Refusal.h"

namespace mxs
{

namespace
{

uint64_t WallClockNs()
{
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count());
}

} // namespace

ContextStore::ContextStore(Clock::duration timeToLive, size_t limit, const Log& log)
    : Ttl(timeToLive), Limit(limit), Out(log)
{
}

std::shared_ptr<Context> ContextStore::Create()
{
    auto context = std::make_shared<Context>(Ids.Next(), MakeSecret());
    context->LastAccessNs = WallClockNs();
    Tick(*context);

    const std::lock_guard lock(Mutex);
    if (Contexts.size() >= Limit)
        throw Refusal(kUnavailable, "The service has " + std::to_string(Limit) + " contexts already.");
    Contexts.emplace(context->Id, context);
    return context;
}

std::shared_ptr<Context> ContextStore::FindByToken(std::string_view authorization)
{
    if (authorization.empty()) throw Refusal(kTokenNeeded, "This resource needs a token in the Authorization header.");
    const std::optional<Secret> token = ParseSecret(authorization);
    if (!token) throw Refusal(kMalformedToken, "The Authorization header holds no token of this service.");

    std::shared_ptr<Context> found = Find(*token);
    if (!found) throw Refusal(kContextRemoved, "The context of this token has been removed.");
    found->LastAccessNs = WallClockNs();
    return found;
}

std::shared_ptr<Context> ContextStore::Find(const Secret& token) const
{
    std::shared_ptr<Context> found;
    const std::lock_guard lock(Mutex);
    for (const auto& [id, context] : Contexts) // all of them, so that the time tells nothing
        if (SameSecret(context->Token, token)) found = context;
    return found;
}

void ContextStore::Tick(Context& context)
{
    context.LastTick = Clock::now().time_since_epoch().count();
}

bool ContextStore::Remove(const std::shared_ptr<Context>& context)
{
    {
        const std::lock_guard lock(Mutex);
        if (Contexts.erase(context->Id) == 0) return false;
    }
    const std::unique_lock guard(context->Guard);
    context->Removed = true;
    Out.Info("Context " + IdText(context->Id) + " is removed.");
    return true;
}

std::shared_ptr<Context> ContextStore::FirstExpired() const
{
    const std::lock_guard lock(Mutex);
    const Clock::rep now = Clock::now().time_since_epoch().count();
    for (const auto& [id, context] : Contexts)
        if (now - context->LastTick.load() > Ttl.count()) return context;
    return nullptr;
}

std::vector<std::shared_ptr<Context>> ContextStore::All() const
{
    std::vector<std::shared_ptr<Context>> all;
    const std::lock_guard lock(Mutex);
    for (const auto& [id, context] : Contexts)
        all.push_back(context);
    return all;
}

} // namespace mxs

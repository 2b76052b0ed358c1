// A short memory of failures, by name.
#include "mxs/ErrorVault.h"

#include <utility>

namespace mxs
{

std::string ErrorVault::Keep(ServerError error)
{
    const Secret name = MakeSecret();
    const std::lock_guard lock(Mutex);
    DropOld();
    if (Entries.size() >= Room) Entries.pop_front();
    Entries.push_back({name, std::move(error), std::chrono::steady_clock::now() + Life});
    return SecretText(name);
}

std::optional<ServerError> ErrorVault::Find(std::string_view name)
{
    const std::optional<Secret> secret = ParseSecret(name);
    if (!secret) return std::nullopt;
    const std::lock_guard lock(Mutex);
    DropOld();
    for (const Entry& entry : Entries)
        if (SameSecret(entry.name, *secret)) return entry.error;
    return std::nullopt;
}

void ErrorVault::DropOld()
{
    const auto now = std::chrono::steady_clock::now();
    while (!Entries.empty() && Entries.front().end <= now)
        Entries.pop_front();
}

} // namespace mxs

// Errors that wait for the client which was redirected to them.
#pragma once

#include "mxs/Identifiers.h"
#include "mxs/Records.h"

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace mxs
{

// Bounded: the oldest goes when there is no more room, each after its time.
class ErrorVault
{
public:
    ErrorVault(size_t room, std::chrono::steady_clock::duration life) : Room(room), Life(life) {}

    std::string Keep(ServerError error); // its name: 64 hexadecimal digits that nobody guesses
    std::optional<ServerError> Find(std::string_view name);

private:
    struct Entry
    {
        Secret name;
        ServerError error;
        std::chrono::steady_clock::time_point end;
    };

    void DropOld();

    const size_t Room;
    const std::chrono::steady_clock::duration Life;
    std::mutex Mutex;          // guards Entries
    std::deque<Entry> Entries; // the oldest first
};

} // namespace mxs

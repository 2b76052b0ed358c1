// Short reads from /sys and /proc.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mxs
{

// Refuses (10) what the system would tell if there were a descriptor to ask with: what it does not tell is not said to
// be absent. `error` is the errno of the question.
[[noreturn]] void RefuseUntold(int error);
bool IsUntold(int error);

// Both refuse so, too.
std::optional<std::string> ReadSystemText(const std::string& path); // without the line's end; none if unreadable
std::optional<int64_t> ReadSystemNumber(const std::string& path);   // a decimal number
std::vector<uint32_t> ParseCpuList(const std::string& text);        // "0-2,5": 0, 1, 2, 5

} // namespace mxs

// Short reads from /sys and /proc.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace mxs
{

// True of the errno of a question for which the system had no descriptor or no memory: what it does not tell is not
// said to be absent.
bool IsUntold(int error);

// Refuses (10) for such an error.
[[noreturn]] void RefuseUntold(int error);

// ReadSystemText and ReadSystemNumber refuse so, too.
std::optional<std::string> ReadSystemText(const std::string& path); // without the line's end; none if unreadable
std::optional<int64_t> ReadSystemNumber(const std::string& path);   // a decimal number
std::vector<uint32_t> ParseCpuList(const std::string& text);        // "0-2,5": 0, 1, 2, 5

} // namespace mxs

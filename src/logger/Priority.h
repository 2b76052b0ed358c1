// The priorities of log messages and their texts, which the configuration's filter names too.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace Quillmont::Logger
{
inline constexpr uint32_t kPriorityEmergency = 0;
inline constexpr uint32_t kPriorityAlert = 1;
inline constexpr uint32_t kPriorityCritical = 2;
inline constexpr uint32_t kPriorityError = 3;   // every failure that is reported in words
inline constexpr uint32_t kPriorityWarning = 4; // what does not fail the call
inline constexpr uint32_t kPriorityNotice = 5;
inline constexpr uint32_t kPriorityInfo = 6;  // messages of the library's load
inline constexpr uint32_t kPriorityDebug = 7; // everything that tracers write
inline constexpr uint32_t kPriorityCount = 8;

// One boolean for each priority: what a sink prints.
using PriorityFilter = std::array<bool, kPriorityCount>;

// "Emergency" to "Debug"; "Unknown priority" for any value above 7.
std::string PriorityToString(uint32_t priority);
} // namespace Quillmont::Logger

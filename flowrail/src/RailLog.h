// The rail's own few log lines, in the form of the other lines of the product.
#ifndef FLOWRAIL_RAILLOG_H
#define FLOWRAIL_RAILLOG_H

#include <cstdint>
#include <map>
#include <string>

namespace Quillmont::FlowRail
{
constexpr uint32_t kPriorityError = 3;
constexpr uint32_t kPriorityWarning = 4;

// Replaces what was configured before. False when an output asks for the system log, which does not exist here.
bool ConfigureLog(const std::multimap<std::string, std::string>& parameters);

// Writes a line where the configuration says so; nowhere without one. From any thread.
void Log(uint32_t priority, const std::string& message);
} // namespace Quillmont::FlowRail

#endif

// The one entry to the log for all writers.
#pragma once

#include "logger/Priority.h"

#include <cstdint>
#include <string>

namespace Quillmont::Logger
{
// Hands the message to every sink of output class 1; each sink filters by itself. Nothing is added and nothing removed.
// Any thread, at any time, also while the library is being loaded or the process ends. A log without sinks swallows it.
void Log(uint32_t priority, std::string message);

// Whether a sink of output class 1 exists. Without one a message need not even be put together; a priority that no sink
// prints is no reason to leave a message out.
bool HasListener() noexcept;
} // namespace Quillmont::Logger

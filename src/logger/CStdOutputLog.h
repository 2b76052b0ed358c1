// The sink that prints to the process's standard streams.
#pragma once

#include "logger/CLogSystem.h"

namespace Quillmont::Logger
{
// Priorities 0 to 3 go to the standard error stream, 4 to 6 to the standard output stream, 7 to the buffered standard
// log stream. Each line is flushed.
class CStdOutputLog : public CLogSystem
{
public:
    using CLogSystem::CLogSystem;
    void Log(uint32_t priority, std::string message) override;
};
} // namespace Quillmont::Logger

// The sink that prints to the debugger's output.
#pragma once

#include "logger/CLogSystem.h"

namespace Quillmont::Logger
{
class COutputDebugStringLog : public CLogSystem
{
public:
    using CLogSystem::CLogSystem;
    void Log(uint32_t priority, std::string message) override;
};
} // namespace Quillmont::Logger

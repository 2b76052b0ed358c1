// Base of the sinks that print log lines.
#pragma once

#include "logger/Priority.h"

#include <cstdint>
#include <string>
#include <utility>

namespace Quillmont::Logger
{
// Output classes: what the settings call "Event" and what they call "Debug". Only the latter receives lines.
inline constexpr uint32_t kOutputClassEvent = 0;
inline constexpr uint32_t kOutputClassDebug = 1;

class CLogSystem
{
public:
    CLogSystem(uint32_t outputClass, std::string name, const PriorityFilter& filter)
        : OutputClass(outputClass), Filter(filter), Name(std::move(name))
    {
    }
    CLogSystem(const CLogSystem&) = delete;
    CLogSystem& operator=(const CLogSystem&) = delete;
    virtual ~CLogSystem() = default;

    virtual uint32_t GetOutputClass() const { return OutputClass; }

    // Called by several threads at once.
    virtual void Log(uint32_t priority, std::string message) = 0;

    std::string GetName() const { return Name; }

protected:
    bool Prints(uint32_t priority) const { return priority < Filter.size() && Filter[priority]; }

    // " [name][priority] message", which follows the time in every line.
    std::string Labelled(uint32_t priority, const std::string& message) const
    {
        return " [" + Name + "][" + PriorityToString(priority) + "] " + message;
    }

private:
    const uint32_t OutputClass;
    const PriorityFilter Filter;
    const std::string Name;
};
} // namespace Quillmont::Logger

// The rail's own few log lines, in the form of the other lines of the product.
#include "RailLog.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <cxxabi.h>
#include <iostream>
#include <iterator>
#include <mutex>
#include <syslog.h>

namespace Quillmont::FlowRail
{
namespace
{
constexpr const char* kPriorityTexts[] = {"Emergency", "Alert",  "Critical", "Error",
                                          "Warning",   "Notice", "Info",     "Debug"};

struct LogConfiguration
{
    std::array<bool, std::size(kPriorityTexts)> Filter{};
    int StandardOutputs = 0; // an output that is named twice writes twice
    int DebuggerOutputs = 0;
};

// Constant-initialised: the configuration may come before any constructor of this library has run.
constinit std::mutex ConfigurationMutex;
constinit LogConfiguration Configuration;

bool Contains(const std::string& text, const char* word)
{
    return text.find(word) != std::string::npos;
}

// A line that cannot be written is lost, and nothing else with it: the application may have set the stream to raise an
// exception.
void PrintLine(std::ostream& stream, const std::string& line)
{
    try
    {
        stream << line + '\n' << std::flush; // in one piece: two of the streams have no buffer
    }
    catch (const abi::__forced_unwind&) // the thread is being cancelled
    {
        throw;
    }
    catch (...)
    {
        return;
    }
}
} // namespace

bool ConfigureLog(const std::multimap<std::string, std::string>& parameters)
{
    LogConfiguration configuration;
    const auto [firstFilter, endFilter] = parameters.equal_range("Filter");
    for (auto entry = firstFilter; entry != endFilter; ++entry)
        for (size_t priority = 0; priority < std::size(kPriorityTexts); ++priority)
            if (Contains(entry->second, kPriorityTexts[priority])) configuration.Filter[priority] = true;

    bool complete = true;
    for (const auto& [key, value] : parameters)
    {
        if (key != "Debug" && key != "Event") break;
        // Lines go to the debug outputs alone; an event output is read for what it asks and stays silent.
        const int outputs = key == "Debug" ? 1 : 0;
        if (Contains(value, "StdOutputLog")) configuration.StandardOutputs += outputs;
        if (Contains(value, "SysLog"))
        {
            complete = false;
            break;
        }
        if (Contains(value, "DebugApiLog")) configuration.DebuggerOutputs += outputs;
    }

    const std::lock_guard lock(ConfigurationMutex);
    Configuration = configuration;
    return complete;
}

void Log(uint32_t priority, const std::string& message)
{
    LogConfiguration configuration;
    {
        const std::lock_guard lock(ConfigurationMutex);
        configuration = Configuration;
    }
    if (priority >= std::size(kPriorityTexts) || !configuration.Filter[priority]) return;

    const time_t now = std::time(nullptr);
    tm local{};
    localtime_r(&now, &local);
    char timeText[32];
    std::strftime(timeText, sizeof timeText, "%d-%m-%Y %H:%M:%S", &local);
    const std::string line =
        std::string(timeText) + " [QUILLMONT FLOWRAIL][" + kPriorityTexts[priority] + "] " + message;

    for (int output = 0; output < configuration.StandardOutputs; ++output)
        PrintLine(priority <= kPriorityError ? std::cerr : priority == 7 ? std::clog : std::cout, line);
    for (int output = 0; output < configuration.DebuggerOutputs; ++output)
        syslog(LOG_USER | LOG_DEBUG, "%s", line.c_str());
}
} // namespace Quillmont::FlowRail

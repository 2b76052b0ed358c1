// The logger and the way of a message to the sinks.
#include "logger/CLogger.h"

#include "logger/COutputDebugStringLog.h"
#include "logger/CStdOutputLog.h"
#include "logger/Log.h"

#include <algorithm>
#include <atomic>
#include <cxxabi.h>
#include <optional>

namespace Quillmont::Logger
{
namespace
{
// Whether a sink of output class 1 exists, for those who would rather not put a message together for nobody.
constinit std::atomic<bool> Listening{false};

bool Contains(const std::string& text, const char* word)
{
    return text.find(word) != std::string::npos;
}

bool HasDebugSink(const CLogger::SinkList& sinks)
{
    return std::any_of(sinks.begin(), sinks.end(),
                       [](const auto& sink) { return sink->GetOutputClass() == kOutputClassDebug; });
}

// Every entry "Filter" adds the priorities whose text stands anywhere in it, also inside a longer word.
PriorityFilter FilterOf(const LoggingParameters& parameters)
{
    PriorityFilter filter{};
    for (const auto& [key, value] : parameters)
        if (key == "Filter")
            for (uint32_t priority = 0; priority < kPriorityCount; ++priority)
                if (Contains(value, PriorityToString(priority).c_str())) filter[priority] = true;
    return filter;
}

std::optional<uint32_t> OutputClassOf(const std::string& key)
{
    if (key == "Event") return kOutputClassEvent;
    if (key == "Debug") return kOutputClassDebug;
    return std::nullopt;
}

// Appends the sinks that the outputs ask for. False at the first "SysLog".
bool MakeSinks(const LoggingParameters& parameters, const std::string& name, CLogger::SinkList& sinks)
{
    const PriorityFilter filter = FilterOf(parameters);
    for (const auto& [key, value] : parameters)
    {
        const std::optional<uint32_t> outputClass = OutputClassOf(key);
        if (!outputClass)
            return true; // "Filter", which sorts last, or a key of somebody else: ends the list in either case
        if (Contains(value, "StdOutputLog"))
            sinks.push_back(std::make_shared<CStdOutputLog>(*outputClass, name, filter));
        if (Contains(value, "SysLog")) return false;
        if (Contains(value, "DebugApiLog"))
            sinks.push_back(std::make_shared<COutputDebugStringLog>(*outputClass, name, filter));
    }
    return true;
}

// A line that cannot be written is lost, and nothing else with it: the application may have set the standard streams to
// raise an exception, and who logs has work to end.
void Hand(CLogSystem& sink, uint32_t priority, const std::string& message)
{
    try
    {
        sink.Log(priority, message);
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

CLogger::~CLogger()
{
    Publish(std::make_shared<SinkList>());
}

bool CLogger::Configure(const LoggingParameters& parameters, const std::string& name, [[maybe_unused]] uint32_t mode)
{
    Publish(std::make_shared<SinkList>());
    auto sinks = std::make_shared<SinkList>();
    const bool understood = MakeSinks(parameters, name, *sinks);
    Publish(std::move(sinks));
    return understood;
}

void CLogger::AddSink(std::shared_ptr<CLogSystem> sink)
{
    auto sinks = std::make_shared<SinkList>(*Sinks());
    sinks->push_back(std::move(sink));
    Publish(std::move(sinks));
}

void CLogger::RemoveSink(const CLogSystem* sink)
{
    auto sinks = std::make_shared<SinkList>(*Sinks());
    std::erase_if(*sinks, [sink](const auto& each) { return each.get() == sink; });
    Publish(std::move(sinks));
}

std::shared_ptr<const CLogger::SinkList> CLogger::Sinks()
{
    const std::lock_guard lock(Mutex);
    return InstanceLocked()->CurrentSinks;
}

// The old list is released outside the lock: a sink's destructor may take its time.
void CLogger::Publish(std::shared_ptr<const SinkList> sinks)
{
    const std::lock_guard lock(Mutex);
    Listening.store(HasDebugSink(*sinks), std::memory_order_relaxed);
    CurrentSinks.swap(sinks);
}

// cppcheck-suppress passedByValue ; it is made for the call
void Log(uint32_t priority, std::string message) // NOLINT(performance-unnecessary-value-param)
{
    if (!HasListener()) return;
    const std::shared_ptr<const CLogger::SinkList> sinks = CLogger::Sinks();
    for (const auto& sink : *sinks)
        if (sink->GetOutputClass() == kOutputClassDebug) Hand(*sink, priority, message);
}

bool HasListener() noexcept
{
    return Listening.load(std::memory_order_relaxed);
}
} // namespace Quillmont::Logger

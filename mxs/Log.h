// The service's log: one line for each event, on standard error.
#pragma once

#include <functional>
#include <string_view>

namespace mxs
{

enum class LogLevel
{
    Error,
    Warning,
    Info,
    Debug
};

// Where lines go; any thread. The text is made safe for a terminal: control characters become '?'.
class Log
{
public:
    using Sink = std::function<void(LogLevel, std::string_view)>;

    explicit Log(LogLevel level, Sink sink = {}); // without a sink: standard error, with the time in front

    void Error(std::string_view text) const { Write(LogLevel::Error, text); }
    void Warning(std::string_view text) const { Write(LogLevel::Warning, text); }
    void Info(std::string_view text) const { Write(LogLevel::Info, text); }
    void Debug(std::string_view text) const { Write(LogLevel::Debug, text); }

private:
    void Write(LogLevel level, std::string_view text) const;

    LogLevel Level;
    Sink Out;
};

} // namespace mxs

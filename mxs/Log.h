// The service's log: one line for each event, on standard error.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
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

// Where lines go; any thread. The text is made safe for a terminal: control characters become '?'. No client fills a
// disk with it: what is too long is cut, and what is too much is left out and counted, for each level by itself so that
// small matters hide no great ones. Debug lines, which somebody has asked for, are all written. What nobody reads,
// because a pipe is full or a terminal stands still, is left out and counted, too: a log stops no service.
class Log
{
public:
    static constexpr size_t kLongestLine = 2000;      // bytes of the text
    static constexpr uint64_t kLinesEachSecond = 500; // of a level, and one that tells how many were left out

    using Sink = std::function<void(LogLevel, std::string_view)>;

    explicit Log(LogLevel level, Sink sink = {}); // without a sink: standard error, with the time in front

    void Error(std::string_view text) const { Write(LogLevel::Error, text); }
    void Warning(std::string_view text) const { Write(LogLevel::Warning, text); }
    void Info(std::string_view text) const { Write(LogLevel::Info, text); }
    void Debug(std::string_view text) const { Write(LogLevel::Debug, text); }

private:
    void Write(LogLevel level, std::string_view text) const;
    void Put(LogLevel level, std::string_view text, uint64_t lines = 1) const; // counts `lines` as left out if it fails
    bool HasRoom(LogLevel level, uint64_t& leftOut) const;

    struct Window
    {
        std::chrono::steady_clock::time_point end{};
        uint64_t lines = 0;
        uint64_t leftOut = 0;
    };

    LogLevel Level;
    Sink Out;

    mutable std::mutex Writing; // one line at a time asks for room and takes it

    mutable std::mutex Mutex;                // guards Windows
    mutable std::array<Window, 4> Windows{}; // the running second of each level
};

} // namespace mxs

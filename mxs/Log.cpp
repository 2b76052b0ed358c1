// Lines of the log: time in UTC, level, text; written in one system call so that threads do not mix theirs.
#include "mxs/Log.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace mxs
{

namespace
{

constexpr std::string_view kLevelNames[] = {"error", "warning", "info", "debug"};

std::string Line(LogLevel level, std::string_view text)
{
    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    char time[32];
    const size_t length = std::strftime(time, sizeof time, "%Y-%m-%dT%H:%M:%S", &parts);
    char fraction[16];
    std::snprintf(fraction, sizeof fraction, ".%03dZ ", static_cast<int>(milliseconds));

    std::string line(time, length);
    line += fraction;
    line += kLevelNames[static_cast<size_t>(level)];
    line += ": ";
    line += text;
    line += '\n';
    return line;
}

// Of the UTF-8 character at the beginning; 1 where there is none.
size_t CharacterBytes(std::string_view text)
{
    const auto byte = [=](size_t i) { return static_cast<unsigned char>(text[i]); };
    const size_t bytes = byte(0) < 0xC2 || byte(0) > 0xF4 ? 1 : byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    if (bytes > text.size()) return 1;
    for (size_t i = 1; i < bytes; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 1;
    const bool isTooLongAForm = (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xF0 && byte(1) < 0x90);
    return isTooLongAForm ? 1 : bytes;
}

// Also U+0080 to U+009F, as UTF-8 and as the single bytes that some terminals take for them.
bool IsControl(std::string_view character)
{
    const auto first = static_cast<unsigned char>(character[0]);
    if (character.size() == 2) return first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
    return character.size() == 1 && (first < 0x20 || (first >= 0x7F && first < 0xA0));
}

// A pipe that says so has room for a page, which is more than a line; files always do.
bool HasReader()
{
    pollfd error{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
    return poll(&error, 1, 0) == 1 && (error.revents & POLLOUT);
}

} // namespace

Log::Log(LogLevel level, Sink sink) : Level(level), Out(std::move(sink)) {}

void Log::Write(LogLevel level, std::string_view text) const
{
    if (level > Level) return;
    uint64_t leftOut = 0;
    if (!HasRoom(level, leftOut)) return;
    if (leftOut > 0) Put(level, std::to_string(leftOut) + " lines like these were left out.", leftOut);
    std::string safe(text.substr(0, kLongestLine));
    if (safe.size() < text.size()) safe += "...";
    for (size_t at = 0; at < safe.size();)
    {
        const size_t bytes = CharacterBytes(std::string_view(safe).substr(at));
        if (IsControl(std::string_view(safe).substr(at, bytes))) safe.replace(at, bytes, bytes, '?');
        at += bytes;
    }
    Put(level, safe);
}

// Whether another line may be written; `leftOut` is what the first line of a second has to tell of those before.
bool Log::HasRoom(LogLevel level, uint64_t& leftOut) const
{
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(Mutex);
    Window& window = Windows[static_cast<size_t>(level)];
    if (now >= window.end)
    {
        leftOut = window.leftOut;
        window = {.end = now + std::chrono::seconds(1)};
    }
    if (++window.lines <= kLinesEachSecond || level == LogLevel::Debug) return true;
    ++window.leftOut;
    return false;
}

void Log::Put(LogLevel level, std::string_view text, uint64_t lines) const
{
    if (Out) return Out(level, text);
    const std::string line = Line(level, text);
    {
        const std::lock_guard lock(Writing);
        if (HasReader() && write(STDERR_FILENO, line.data(), line.size()) >= 0) return;
    }
    const std::lock_guard lock(Mutex);
    Windows[static_cast<size_t>(level)].leftOut += lines;
}

} // namespace mxs

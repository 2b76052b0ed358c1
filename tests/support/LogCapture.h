// Captures what the code under test logs, in the order in which it was logged.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// While it lives, a sink of output class 1 takes every line of every priority. For tests that link the logger's
// objects.
class LogCapture
{
public:
    struct Line
    {
        uint32_t priority;
        std::string message;
        bool operator==(const Line&) const = default;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> All() const;
    std::vector<std::string> Lines(uint32_t priority) const; // the messages of one priority
    void Clear();

private:
    class Sink;
    std::shared_ptr<Sink> Captured;
};

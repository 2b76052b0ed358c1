// The capturing sink.
#include "support/LogCapture.h"

#include "logger/CLogger.h"

#include <mutex>
#include <utility>

using namespace Quillmont::Logger;

class LogCapture::Sink : public CLogSystem
{
public:
    Sink() : CLogSystem(kOutputClassDebug, "capture", PriorityFilter{}) {}

    void Log(uint32_t priority, std::string message) override
    {
        const std::lock_guard lock(Mutex);
        Lines.push_back({priority, std::move(message)});
    }

    mutable std::mutex Mutex;
    std::vector<Line> Lines; // guarded by Mutex
};

LogCapture::LogCapture() : Captured(std::make_shared<Sink>())
{
    CLogger::GetInstance()->AddSink(Captured);
}

LogCapture::~LogCapture()
{
    CLogger::GetInstance()->RemoveSink(Captured.get());
}

std::vector<LogCapture::Line> LogCapture::All() const
{
    const std::lock_guard lock(Captured->Mutex);
    return Captured->Lines;
}

std::vector<std::string> LogCapture::Lines(uint32_t priority) const
{
    std::vector<std::string> messages;
    for (Line& line : All())
        if (line.priority == priority) messages.push_back(std::move(line.message));
    return messages;
}

void LogCapture::Clear()
{
    const std::lock_guard lock(Captured->Mutex);
    Captured->Lines.clear();
}

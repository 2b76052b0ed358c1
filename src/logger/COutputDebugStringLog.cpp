// Lines on the debugger's output.
#include "logger/COutputDebugStringLog.h"

#include "logger/LocalTime.h"
#include "platform/DebugOutput.h"

namespace Quillmont::Logger
{
void COutputDebugStringLog::Log(uint32_t priority, std::string message)
{
    if (!Prints(priority)) return;
    Platform::WriteDebugOutput(LocalTimeText() + Labelled(priority, message) + "\n");
}
} // namespace Quillmont::Logger

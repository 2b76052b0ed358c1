// Lines on the standard streams.
#include "logger/CStdOutputLog.h"

#include "logger/LocalTime.h"

#include <iostream>

namespace Quillmont::Logger
{
namespace
{
std::ostream& StreamFor(uint32_t priority)
{
    // A line may be wanted before the static initialisers of this file have run.
    static const std::ios_base::Init streamsAreThere;
    if (priority <= kPriorityError) return std::cerr;
    return priority < kPriorityDebug ? std::cout : std::clog;
}
} // namespace

void CStdOutputLog::Log(uint32_t priority, std::string message)
{
    if (!Prints(priority)) return;
    // In one piece with its end, so that lines of two threads are not mixed: two of the streams have no buffer.
    StreamFor(priority) << LocalTimeText() + Labelled(priority, message) + '\n' << std::flush;
}
} // namespace Quillmont::Logger

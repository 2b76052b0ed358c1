#include "commandpipe/restserver/Trace.h"

#include "logger/Log.h"

#include <exception>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
using Quillmont::Logger::HasListener;
using Quillmont::Logger::kPriorityDebug;
using Quillmont::Logger::Log;

void TraceEntering(const char* name)
{
    if (!HasListener()) return; // no text is built for nobody
    try
    {
        Log(kPriorityDebug, std::string(name) + " --> Entering - ");
    }
    catch (const std::exception&) // out of memory: what destructors call is traced, too, and would end the process
    {
        return;
    }
}

void TraceExitingWith::operator()(const char* name) const
{
    if (!HasListener()) return;
    Log(kPriorityDebug, std::string(name) + " --> Exiting - Return: " + ResultText(*Result));
}

void TraceExitingWithCore::operator()(const char* name) const
{
    if (!HasListener()) return;
    Log(kPriorityDebug, std::string(name) + " --> Exiting - Return: " + CoreResultText(*Result));
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer

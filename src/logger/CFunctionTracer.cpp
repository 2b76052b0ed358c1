// The two forms of the scope tracer.
#include "logger/CFunctionTracer.h"

#include "logger/Log.h"

#include <exception>
#include <string>
#include <utility>

using namespace Quillmont::Logger;

CFunctionTracer::CFunctionTracer(const char* name) : HasExitAction(false), Name(name)
{
    try
    {
        if (HasListener()) Log(kPriorityDebug, std::string(Name) + " --> Entering ");
    }
    catch (const std::exception&) // out of memory: destructors are traced, too, and would end the process
    {
        return;
    }
}

CFunctionTracer::CFunctionTracer(const char* name, const std::function<void(const char*)>& entryAction,
                                 std::function<void(const char*)> exitAction)
    : HasExitAction(true), Name(name), ExitAction(std::move(exitAction))
{
    entryAction(Name);
}

CFunctionTracer::~CFunctionTracer()
{
    try
    {
        if (HasExitAction)
            ExitAction(Name);
        else if (HasListener())
            Log(kPriorityDebug, std::string(Name) + " --> Exiting ");
    }
    catch (...) // the scope may be left by an exception already: a second one would end the process
    {
        return;
    }
}

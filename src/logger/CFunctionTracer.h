// Scope tracer: logs that a function is entered and left, at priority 7.
#pragma once

#include <functional>

// On the stack of the traced function. The name must outlive the object. While nobody listens to the log it costs
// little more than a look at a flag. A line for which there is no memory is left out: the trace fails nothing.
class CFunctionTracer
{
public:
    // Logs "name --> Entering " now and "name --> Exiting " at the end of the scope, each with its last blank.
    explicit CFunctionTracer(const char* name);

    // The reporting form: what is logged is up to the two actions, each called with the name. An empty entry action
    // throws std::bad_function_call; an exit action that throws is cut short in silence.
    CFunctionTracer(const char* name, const std::function<void(const char*)>& entryAction,
                    std::function<void(const char*)> exitAction);

    ~CFunctionTracer();

    CFunctionTracer(const CFunctionTracer&) = delete;
    CFunctionTracer& operator=(const CFunctionTracer&) = delete;

private:
    const bool HasExitAction;
    const char* const Name;
    const std::function<void(const char*)> ExitAction;
};

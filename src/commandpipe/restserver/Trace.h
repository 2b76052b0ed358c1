// The two actions of the reporting trace. An exit action refers to the variable in which the traced function keeps
// its result and reads it when the tracer goes away, so that the line shows what the function finally returned. Both
// actions are one pointer wide: a std::function holds them without allocating.
#pragma once

#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
void TraceEntering(const char* name);

class TraceExitingWith
{
public:
    explicit TraceExitingWith(const RESULT_CODE& result) : Result(&result) {}
    explicit TraceExitingWith(const RESULT_CODE&& result) = delete;

    void operator()(const char* name) const;

private:
    const RESULT_CODE* Result; // the traced function's variable, declared before its tracer
};

// The same with the texts of the small results.
class TraceExitingWithCore
{
public:
    explicit TraceExitingWithCore(const CORE_RESULT& result) : Result(&result) {}
    explicit TraceExitingWithCore(const CORE_RESULT&& result) = delete;

    void operator()(const char* name) const;

private:
    const CORE_RESULT* Result;
};
} // namespace Quillmont::Trellis::CommandPipe::RestServer

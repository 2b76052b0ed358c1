// Failures that are told to the log.
#include "api/CallFrame.h"

#include "logger/Log.h"

namespace Quillmont::Trellis::Zefa
{
ZEFA_ERRORCODE Fail(ZEFA_ERRORCODE code, const char* text)
{
    if (Logger::HasListener()) Logger::Log(Logger::kPriorityError, text);
    return code;
}

ZEFA_ERRORCODE Fail(ZEFA_ERRORCODE code, const std::string& text)
{
    Logger::Log(Logger::kPriorityError, text);
    return code;
}
} // namespace Quillmont::Trellis::Zefa

// What the exported functions have in common: a failure that is told to the log, and the common rule of results. Each
// function's own translation stands above it, for the differences are behaviour that applications know.
#pragma once

#include "commandpipe/restserver/ResultCode.h"
#include "zefaline/base.h"

#include <string>

namespace Quillmont::Trellis::Zefa
{
// Logs the text at "Error" and gives the code back. A fixed text is copied only if somebody listens: a time-out is an
// everyday failure of the media thread.
ZEFA_ERRORCODE Fail(ZEFA_ERRORCODE code, const char* text);
ZEFA_ERRORCODE Fail(ZEFA_ERRORCODE code, const std::string& text);

// Cut to the room that the field has, and always ended by a NUL.
inline void CopyText(const std::string& text, char (&field)[ZEFA_NAME_CHARS])
{
    field[text.copy(field, sizeof field - 1)] = '\0';
}

// Success is success, the service's own small results are failed operations, and what stands above is the transport's
// or the protocol's.
constexpr ZEFA_ERRORCODE CommonRule(CommandPipe::RestServer::RESULT_CODE result)
{
    if (result == CommandPipe::RestServer::RESULT_NO_ERROR) return ZEFA_NO_ERROR;
    return result < CommandPipe::RestServer::RESULT_NO_ERROR ? ZEFA_ERR_OPERATION_FAILED : ZEFA_ERR_COMMUNICATION;
}
} // namespace Quillmont::Trellis::Zefa

// The debugger's output channel: on Linux the system log.
#pragma once

#include <string>

namespace Quillmont::Platform
{
// One message of syslog(3) for each line of the text that is not empty, facility user, priority debug. Line ends may
// be "\n" or "\r\n" and are not part of the messages. Any thread.
void WriteDebugOutput(const std::string& text);
} // namespace Quillmont::Platform

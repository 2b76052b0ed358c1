// Debugger output through the system log.
#include "platform/DebugOutput.h"

#include <syslog.h>

namespace Quillmont::Platform
{
void WriteDebugOutput(const std::string& text)
{
    for (size_t begin = 0; begin < text.size();)
    {
        size_t end = text.find('\n', begin);
        if (end == std::string::npos) end = text.size();
        std::string line = text.substr(begin, end - begin);
        while (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty()) syslog(LOG_USER | LOG_DEBUG, "%s", line.c_str());
        begin = end + 1;
    }
}
} // namespace Quillmont::Platform

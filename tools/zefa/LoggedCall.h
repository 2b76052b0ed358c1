// Calls of the reader and the writer that hear what they say.
//
// What they say goes to the library's log, whose settings are read once, when the library is loaded, from a file. So
// the call is made by this program again, in a process of its own whose settings file turns the log on; the description
// travels there and back in a memory file.
#pragma once

#include "Complaints.h"
#include "Description.h"

#include <string>
#include <vector>
#include <zefaline.h>

namespace zefa
{

struct CallResult
{
    ZEFA_ERRORCODE Code = ZEFA_NO_ERROR;
    std::string Exception; // what the call threw; empty when it returned
    Description Fields{};
    std::string Text;
    std::vector<LogLine> Log;

    bool Succeeded() const { return Exception.empty() && Code == ZEFA_NO_ERROR; }
};

// ZEFA_ReadSDP into fields that are unsaid before.
CallResult ReadDescription(const std::string& text);

// ZEFA_WriteSDP.
CallResult WriteDescription(const Description& fields);

// Whether the settings of this machine stand before ours, so that the log is theirs.
bool MachineSettingsRule();

// The other process: its whole life. `words` are those behind kLoggedCallWord.
inline constexpr const char* kLoggedCallWord = "--logged-call";
int RunLoggedCall(const std::vector<std::string>& words);

// The lines that the library has printed in `text`; a line that is none of its own goes on the message before.
std::vector<LogLine> LogLinesOf(const std::string& text);

} // namespace zefa

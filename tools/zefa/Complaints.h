// Complaints about a description: what the library's reader and writer say, with places that are searched for here, and
// hints, which are this program's own.
#pragma once

#include "Report.h"
#include "SdpScan.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zefa
{

enum class Kind
{
    Error,
    Warning,
    Hint
};

struct Complaint
{
    Kind Severity = Kind::Error;
    std::string Source; // "reader", "writer" or "zefa"
    std::string Key;    // the parameter, attribute or line that it is about; may be empty
    Place Where;
    std::string Text;
};

// One line of the log of a reader or writer: its priority's word and the message.
struct LogLine
{
    std::string Priority, Message;
};

// The texts between the marks of `pattern` ("%" stands for any text, as short as what follows allows; a last one takes
// the rest): nothing when `text` has another form.
std::optional<std::vector<std::string_view>> MatchPattern(std::string_view pattern, std::string_view text);

// What one line of the log says, with its place where the scan finds what it names; `repeat` is how often the same line
// has come before.
Complaint ComplaintOf(const LogLine& line, const std::string& source, const SdpScan& scan, size_t repeat = 0);
std::vector<Complaint> ComplaintsOf(const std::vector<LogLine>& lines, const std::string& source, const SdpScan& scan);

// What the field does and the reader does not take, or takes without a word.
std::vector<Complaint> HintsFor(const SdpScan& scan);

// "FILE:LINE:COLUMN: warning (reader), depth: text"; without a place "FILE: ...".
std::string TextOf(const Complaint& complaint, const std::string& file);
Json DocumentOf(const Complaint& complaint);

} // namespace zefa

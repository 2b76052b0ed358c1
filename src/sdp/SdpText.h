// Cutting of parameter strings.
#pragma once

#include <string>
#include <vector>

namespace quill::sdp_module
{

/// The pieces between the separators, empty ones included: always one more than there are separators.
std::vector<std::string> SplitText(const std::string& text, char separator);

/// The text without white space at its ends.
std::string Trimmed(const std::string& text);

/// True if there is no character but digits; an empty text has none.
bool AllDigits(const std::string& text);

} // namespace quill::sdp_module

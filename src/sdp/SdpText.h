// Cutting of parameter strings. Views, because a description has some fifty parameters and a string for each would cost
// more than the reading of it.
#pragma once

#include <string_view>
#include <vector>

namespace quill::sdp_module
{

/// The pieces between the separators, empty ones included: always one more than there are separators.
std::vector<std::string_view> SplitText(std::string_view text, char separator);

/// The text without white space at its ends, whatever locale the application has set.
std::string_view Trimmed(std::string_view text);

/// True if there is no character but digits; an empty text has none.
bool AllDigits(std::string_view text);

} // namespace quill::sdp_module

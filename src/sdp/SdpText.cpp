// Cutting of parameter strings.
#include "sdp/SdpText.h"

#include <algorithm>

namespace quill::sdp_module
{

std::vector<std::string_view> SplitText(std::string_view text, char separator)
{
    std::vector<std::string_view> pieces;
    pieces.reserve(static_cast<size_t>(std::count(text.begin(), text.end(), separator)) + 1);
    for (size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator))
    {
        pieces.push_back(text.substr(0, end));
        text.remove_prefix(end + 1);
    }
    pieces.push_back(text);
    return pieces;
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
    const size_t begin = std::min(text.find_first_not_of(kWhiteSpace), text.size());
    text.remove_prefix(begin);
    return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

bool AllDigits(std::string_view text)
{
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

} // namespace quill::sdp_module

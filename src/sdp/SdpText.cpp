// Cutting of parameter strings.
#include "sdp/SdpText.h"

#include <algorithm>
#include <boost/algorithm/string/finder.hpp>
#include <boost/algorithm/string/trim.hpp>

namespace quill::sdp_module
{

static constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::vector<std::string_view> SplitText(std::string_view text, char separator)
{
    const auto findSeparator = boost::algorithm::token_finder([separator](char each) { return each == separator; });
    std::vector<std::string_view> pieces;
    pieces.reserve(static_cast<size_t>(std::count(text.begin(), text.end(), separator)) + 1);
    for (auto begin = text.begin();;)
    {
        const auto found = findSeparator(begin, text.end());
        pieces.emplace_back(begin, found.begin());
        if (found.empty()) return pieces;
        begin = found.end();
    }
}

std::string_view Trimmed(std::string_view text)
{
    return boost::algorithm::trim_copy_if(text, [](char each) { return kWhiteSpace.find(each) != kWhiteSpace.npos; });
}

bool AllDigits(std::string_view text)
{
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

} // namespace quill::sdp_module

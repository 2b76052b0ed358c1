// Cutting of parameter strings.
#include "sdp/SdpText.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/algorithm/string/trim.hpp>

#include <locale>

namespace quill::sdp_module
{

std::vector<std::string> SplitText(const std::string& text, char separator)
{
    std::vector<std::string> pieces;
    boost::algorithm::split(pieces, text, [separator](char character) { return character == separator; });
    return pieces;
}

std::string Trimmed(const std::string& text)
{
    return boost::algorithm::trim_copy(text, std::locale::classic()); // whatever locale the application has set
}

bool AllDigits(const std::string& text)
{
    return boost::algorithm::all(text, boost::algorithm::is_from_range('0', '9'));
}

} // namespace quill::sdp_module

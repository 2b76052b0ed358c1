// The walk over the lines of a description, and the attachment of their captures to the tree.
#include "sdp/SdpParser.h"

#include "platform/NumberText.h"
#include "sdp/SdpRuleTable.h"
#include "sdp/SdpTree.h"

#include <nlohmann/json.hpp>

#include <charconv>
#include <locale>
#include <sstream>
#include <utility>

namespace quill::sdp_module
{
namespace
{
using nlohmann::json;

// Integers in captures are digits alone, so that no sign or blank has to be told from a stream's view of them.
template <class Number>
Number ToInteger(std::string_view text)
{
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? number : 0;
}

double ToFloatingPoint(std::string_view text)
{
    std::istringstream stream{std::string(text)};
    stream.imbue(std::locale::classic());
    double number = 0.0;
    stream >> std::noskipws >> number;
    if (stream.fail() || !stream.eof()) return 0.0; // too large fails here, too small does not
    return Quillmont::Platform::ToDouble(stream.str());
}

void AttachCaptures(const SdpMatch& match, json& target, const SdpRule& rule)
{
    if (rule.names.empty())
    {
        target[rule.name] = ConvertCapture(match.Capture(1), rule.types.front());
        return;
    }
    for (size_t i = 0; i < rule.names.size(); ++i)
    {
        const std::string_view capture = match.Capture(i + 1);
        if (!capture.empty()) target[rule.names[i]] = ConvertCapture(capture, rule.types[i]);
    }
}

void ApplyRule(const SdpRule& rule, json& location, const SdpMatch& match)
{
    if (!rule.push.empty())
    {
        json& list = location[rule.push];
        if (list.is_null()) list = json::array();
        AttachCaptures(match, list.emplace_back(json::object()), rule); // one without keys too
    }
    else if (!rule.name.empty() && !rule.names.empty())
    {
        json& object = location[rule.name]; // that of an earlier line, if there was one
        if (object.is_null()) object = json::object();
        AttachCaptures(match, object, rule);
    }
    else
    {
        AttachCaptures(match, location, rule);
    }
}
} // namespace

json ConvertCapture(std::string_view text, char type)
{
    switch (type)
    {
    case 's': return json(std::string(text));
    case 'd': return json(ToInteger<int64_t>(text));
    case 'u': return json(ToInteger<uint64_t>(text));
    case 'f': return json(ToFloatingPoint(text));
    default: return json(nullptr);
    }
}

json ParseSdpText(const std::string& text)
{
    const SdpRules& rules = SdpRuleTable();
    SdpMatch match(text.size());
    ScopedTree root(json::object());
    ScopedTree medias(json::array());
    json* location = &root.value;

    for (std::string_view rest = text; !rest.empty();)
    {
        const size_t end = rest.find('\n');
        std::string_view line = rest.substr(0, end);
        rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        if (line.ends_with('\r')) line.remove_suffix(1);
        if (line.size() < 2 || line[0] < 'a' || line[0] > 'z' || line[1] != '=') continue;

        const char letter = line[0];
        const std::string_view content = line.substr(2);
        if (letter == 'm') // before any rule: a malformed line opens a media too
        {
            location = &medias.value.emplace_back(json::object());
            (*location)["rtp"] = json::array();
            (*location)["fmtp"] = json::array();
        }
        const auto row = rules.find(letter);
        if (row == rules.end()) continue;
        for (const SdpRule& rule : row->second)
        {
            if (!rule.reg.Find(content, match)) continue;
            ApplyRule(rule, *location, match);
            break;
        }
    }
    root.value["media"] = std::move(medias.value);
    return std::move(root.value);
}

std::vector<int32_t> ParsePayloadList(const std::string& text)
{
    std::vector<int32_t> payloads;
    size_t begin = 0;
    for (size_t blank = 0; blank != std::string::npos; begin = blank + 1)
    {
        blank = text.find(' ', begin);
        payloads.push_back(Quillmont::Platform::ToInt32(text.substr(begin, blank - begin)));
    }
    return payloads;
}

} // namespace quill::sdp_module

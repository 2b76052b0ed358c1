// The walk over the rows of the grammar, and the formats by which a row becomes a line.
#include "sdp/SdpWriter.h"

#include "sdp/SdpRuleTable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace quill::sdp_module
{
namespace
{
using nlohmann::json;

constexpr std::string_view kSessionOrder = "vosiuepcbtrza"; // repeats above time zones
constexpr std::string_view kMediaOrder = "icba";            // behind the line that opens the media

template <class Number>
void AppendNumber(std::string& text, Number number)
{
    std::array<char, std::numeric_limits<Number>::digits10 + 3> digits; // one digit more, a sign, and room to spare
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    text.append(digits.data(), end);
}

// A string as it stands; anything else as compact JSON, of which integers, the usual case, take a short way.
void AppendValue(std::string& text, const json& value)
{
    switch (value.type())
    {
    case json::value_t::string: text += value.get_ref<const std::string&>(); break;
    case json::value_t::number_integer: AppendNumber(text, value.get_ref<const int64_t&>()); break;
    case json::value_t::number_unsigned: AppendNumber(text, value.get_ref<const uint64_t&>()); break;
    default: text += value.dump(); break;
    }
}

const json* FindIn(const json& location, const std::string& key)
{
    if (!location.is_object()) return nullptr;
    const auto found = location.find(key);
    return found == location.end() ? nullptr : &*found;
}

// The fields of a row in the order of its names.
class RuleFields
{
public:
    RuleFields(const SdpRule& rule, const json& location)
        : Rule(rule), Location(location), Value(rule.name.empty() ? nullptr : FindIn(location, rule.name))
    {
        Count = Rule.names.empty() ? (Value ? 1 : 0) : Rule.names.size();
    }

    size_t Size() const { return Count; }

    // Null for a field that is not there.
    const json* At(size_t index) const
    {
        if (Rule.names.empty()) return Value;
        const std::string& key = Rule.names[index];
        const json* const own = Value ? FindIn(*Value, key) : nullptr;
        return own ? own : FindIn(Location, key);
    }

    const json& WhatTheFormatDependsOn() const { return Value ? *Value : Location; }

private:
    const SdpRule& Rule;
    const json& Location;
    const json* Value; // what stands under the row's name
    size_t Count;
};

// The place of the next token at or behind `from`.
size_t FindToken(std::string_view format, size_t from)
{
    for (size_t at = format.find('%', from); at != format.npos; at = format.find('%', at + 1))
        if (at + 1 < format.size() && std::string_view("sdv%").find(format[at + 1]) != std::string_view::npos)
            return at;
    return format.npos;
}

void AppendFormatted(std::string& text, std::string_view format, const RuleFields& fields)
{
    size_t next = 0; // field
    size_t done = 0; // end of the previous token
    for (size_t token; (token = FindToken(format, done)) != format.npos; done = token + 2)
    {
        if (next == fields.Size())
        {
            text += format.substr(token, 2);
            continue;
        }
        const json* const field = fields.At(next++);
        text += format.substr(done, token - done);
        const char kind = format[token + 1];
        if (kind == '%')
            text += '%';
        else if (kind != 'v' && field)
            AppendValue(text, *field);
    }
}

// The rows of some letters in the order in which their lines are written. An object has few of the many keys that there
// are rows for, so that its keys look for their rows and not the reverse.
class WritingOrder
{
public:
    explicit WritingOrder(std::string_view letters)
    {
        for (const char letter : letters)
            for (const SdpRule& rule : SdpRuleTable().at(letter))
            {
                Places.emplace(rule.name.empty() ? rule.push : rule.name, Rows.size());
                Rows.push_back({letter, &rule});
            }
    }

    void AppendLines(std::string& text, const json& location) const
    {
        std::vector<std::pair<size_t, const json*>> found;
        for (const auto& [key, value] : location.get_ref<const json::object_t&>())
            if (const auto place = Places.find(key); place != Places.end()) found.emplace_back(place->second, &value);
        std::sort(found.begin(), found.end());
        for (const auto& [place, value] : found)
            AppendLinesOf(text, Rows[place], location, *value);
    }

private:
    struct Row
    {
        char letter;
        const SdpRule* rule;
    };

    static void AppendLinesOf(std::string& text, const Row& row, const json& location, const json& value)
    {
        if (value.is_null()) return;
        if (!row.rule->name.empty())
            MakeSdpLine(text, row.letter, *row.rule, location);
        else if (value.is_array())
            for (const json& element : value)
                MakeSdpLine(text, row.letter, *row.rule, element);
    }

    std::vector<Row> Rows;
    std::unordered_map<std::string, size_t> Places; // in Rows, by key; no key has two
};

void SetDefaults(json& tree)
{
    tree.emplace("version", 0);
    tree.emplace("name", "-");
    tree.emplace("media", json::array());
    for (json& media : tree["media"])
        if (!media.contains("payloads")) media["payloads"] = "";
}
} // namespace

void MakeSdpLine(std::string& text, char letter, const SdpRule& rule, const json& location)
{
    const RuleFields fields(rule, location);
    text += letter;
    text += '=';
    if (rule.format.empty())
        AppendFormatted(text, rule.formatFunc(fields.WhatTheFormatDependsOn()), fields);
    else
        AppendFormatted(text, rule.format, fields);
    text += "\r\n";
}

std::string WriteSdpText(json& tree)
{
    if (!tree.is_object()) throw std::invalid_argument("given session is not a JSON object");
    SetDefaults(tree);
    // Never destroyed: a thread may still write while the process ends.
    static const WritingOrder& session = *new const WritingOrder(kSessionOrder);
    static const WritingOrder& media = *new const WritingOrder(kMediaOrder);
    std::string text;
    session.AppendLines(text, tree);
    const SdpRule& mediaRule = SdpRuleTable().at('m').front();
    for (const json& each : tree["media"])
    {
        MakeSdpLine(text, 'm', mediaRule, each);
        media.AppendLines(text, each);
    }
    return text;
}

} // namespace quill::sdp_module

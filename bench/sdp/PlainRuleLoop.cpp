// The yardstick: the same table and the same tree, with every row tried in its turn by the standard library's engine.
#include "PlainRuleLoop.h"

#include "sdp/SdpParser.h"
#include "sdp/SdpRuleTable.h"

#include <sstream>

using namespace quill::sdp_module;
using nlohmann::json;

PlainRuleLoop::PlainRuleLoop()
{
    for (const auto& [letter, rows] : SdpRuleTable())
        for (const SdpRule& rule : rows)
            Expressions[letter].emplace_back(rule.reg.Text());
}

static void Attach(const std::smatch& match, json& target, const SdpRule& rule)
{
    if (rule.names.empty()) target[rule.name] = ConvertCapture(match[1].str(), rule.types[0]);
    for (size_t i = 0; i < rule.names.size(); ++i)
        if (match[i + 1].length() > 0) target[rule.names[i]] = ConvertCapture(match[i + 1].str(), rule.types[i]);
}

static void Apply(const SdpRule& rule, const std::regex& expression, json& location, const std::string& content)
{
    std::smatch match;
    std::regex_search(content, match, expression);
    if (!rule.push.empty())
    {
        if (!location.contains(rule.push)) location[rule.push] = json::array();
        json element = json::object();
        Attach(match, element, rule);
        location[rule.push].push_back(element);
    }
    else if (!rule.name.empty() && !rule.names.empty())
    {
        if (!location.contains(rule.name)) location[rule.name] = json::object();
        Attach(match, location[rule.name], rule);
    }
    else
    {
        Attach(match, location, rule);
    }
}

json PlainRuleLoop::Parse(const std::string& text) const
{
    static const std::regex lineForm("^([a-z])=(.*)");
    json root = json::object();
    json medias = json::array();
    json* location = &root;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
    {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (!std::regex_search(line, lineForm)) continue;
        const std::string content = line.substr(2);
        if (line[0] == 'm')
        {
            medias.push_back({{"rtp", json::array()}, {"fmtp", json::array()}});
            location = &medias.back();
        }
        const auto rows = SdpRuleTable().find(line[0]);
        if (rows == SdpRuleTable().end()) continue;
        const auto& expressions = Expressions.at(line[0]);
        for (size_t i = 0; i < expressions.size(); ++i)
            if (std::regex_search(content, expressions[i]))
            {
                Apply(rows->second[i], expressions[i], *location, content);
                break;
            }
    }
    root["media"] = medias;
    return root;
}

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

std::string PlainRuleLoop::Line(char letter, const SdpRule& rule, const json& location) const
{
    const bool named = !rule.name.empty();
    const json none;
    const json& own = named && location.contains(rule.name) ? location.at(rule.name) : none;
    const std::string format = rule.format.empty() ? rule.formatFunc(named ? own : location) : rule.format;
    std::vector<json> arguments;
    if (rule.names.empty()) arguments.push_back(own);
    for (const std::string& key : rule.names)
        if (own.is_object() && own.contains(key))
            arguments.push_back(own.at(key));
        else
            arguments.push_back(location.is_object() && location.contains(key) ? location.at(key) : json(""));

    std::ostringstream line;
    line << letter << '=';
    size_t next = 0;
    for (std::sregex_iterator token(format.begin(), format.end(), Token), end; token != end; ++token)
    {
        if (next == arguments.size())
        {
            line << token->str();
            continue;
        }
        const json& argument = arguments[next++];
        line << token->prefix();
        if (token->str() == "%%")
            line << '%';
        else if (token->str() != "%v")
            line << (argument.is_string() ? argument.get<std::string>() : argument.dump());
    }
    line << "\r\n";
    return line.str();
}

void PlainRuleLoop::Level(std::ostream& text, const char* letters, const json& location) const
{
    for (; *letters; ++letters)
        for (const SdpRule& rule : SdpRuleTable().at(*letters))
        {
            if (!rule.name.empty() && location.contains(rule.name) && !location.at(rule.name).is_null())
                text << Line(*letters, rule, location);
            else if (!rule.push.empty() && location.contains(rule.push) && location.at(rule.push).is_array())
                for (const json& element : location.at(rule.push))
                    text << Line(*letters, rule, element);
        }
}

std::string PlainRuleLoop::Write(json& tree) const
{
    if (!tree.contains("version")) tree["version"] = 0;
    if (!tree.contains("name")) tree["name"] = "-";
    if (!tree.contains("media")) tree["media"] = json::array();
    for (json& media : tree["media"])
        if (!media.contains("payloads")) media["payloads"] = "";
    std::ostringstream text;
    Level(text, "vosiuepcbtrza", tree);
    for (const json& media : tree["media"])
    {
        text << Line('m', SdpRuleTable().at('m').front(), media);
        Level(text, "icba", media);
    }
    return text.str();
}

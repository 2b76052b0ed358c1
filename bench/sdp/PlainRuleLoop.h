// The yardstick: the same table and the same tree, with every row tried in its turn by the standard library's engine.
#pragma once

#include <nlohmann/json.hpp>

#include <map>
#include <regex>
#include <string>
#include <vector>

class PlainRuleLoop
{
public:
    PlainRuleLoop();

    /// For short texts alone: the engine recurses once for each character of a line.
    nlohmann::json Parse(const std::string& text) const;

private:
    std::map<char, std::vector<std::regex>> Expressions; // by letter, in the order of the table's rows
};

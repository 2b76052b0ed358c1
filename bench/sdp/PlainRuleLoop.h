// The yardstick: the same table and the same tree, with every row tried in its turn by the standard library's engine.
#pragma once

#include "sdp/SdpRuleTable.h"

#include <nlohmann/json.hpp>

#include <map>
#include <ostream>
#include <regex>
#include <string>
#include <vector>

class PlainRuleLoop
{
public:
    PlainRuleLoop();

    /// For short texts alone: the engine recurses once for each character of a line.
    nlohmann::json Parse(const std::string& text) const;

    /// The tree is changed as by WriteSdpText.
    std::string Write(nlohmann::json& tree) const;

private:
    std::string Line(char letter, const quill::sdp_module::SdpRule& rule, const nlohmann::json& location) const;
    void Level(std::ostream& text, const char* letters, const nlohmann::json& location) const;

    std::map<char, std::vector<std::regex>> Expressions; // by letter, in the order of the table's rows
    std::regex Token{"%[sdv%]"};
};

// The grammar of session descriptions: for each line letter the rows that cut its lines into captures.
#pragma once

#include "sdp/SdpExpression.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <string>
#include <vector>

namespace quill::sdp_module
{

/// One row of the grammar.
struct SdpRule
{
    std::string name;               // key of the row's value; empty with `push` and in the row of letter m
    std::string push;               // key of the array that takes one object for each line
    SdpExpression reg;              // found anywhere in the content of the line
    std::vector<std::string> names; // keys of captures 1, 2, ...; if empty, capture 1 is the value of `name` itself
    std::string types;              // a letter for each capture: s string, d signed, u unsigned, f floating point
    std::string format;             // text to write the line back; empty where `formatFunc` makes it
    std::string (*formatFunc)(const nlohmann::json& value); // null where `format` stands
};

using SdpRules = std::map<char, std::vector<SdpRule>>;

/// The grammar, built when the library is loaded and never changed. The rows of a letter stand in order of priority: a
/// line belongs to the first one that is found in it. Any thread may read it.
const SdpRules& SdpRuleTable();

} // namespace quill::sdp_module

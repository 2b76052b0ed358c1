// From a tree of lines and captures back to the text of a session description.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace quill::sdp_module
{

struct SdpRule;

/// Writes the tree by the grammar of SdpRuleTable, in the order of its rows, whatever the order of the text that the
/// tree came from. Nothing is validated, a key without a row is not written, and only a null value leaves its line out.
/// Missing defaults are put into the tree and stay there: "version" 0, "name" "-", "media" an empty array, "payloads"
/// of each media empty. Throws std::invalid_argument "given session is not a JSON object" for another root; what the
/// tree raises passes through, as for a value that is no string and holds text that is not UTF-8. Any thread may call;
/// nobody else may hold the tree meanwhile.
std::string WriteSdpText(nlohmann::json& tree);

/// Appends one line to the text. `location` is the object that holds the row's `name`, or the element of its `push`.
/// A field that is nowhere in the row's object is looked for in `location`, and prints as nothing if it is not there
/// either. In a format "%s" and "%d" print the next field, "%v" passes over one, "%%" passes over one and prints a
/// percent sign. Once the fields are used up a token prints as it stands, without the text before it; text behind the
/// last token is not printed.
void MakeSdpLine(std::string& text, char letter, const SdpRule& rule, const nlohmann::json& location);

} // namespace quill::sdp_module

// From the text of a session description to a tree of its lines and captures.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quill::sdp_module
{

/// Cuts the text by the grammar of SdpRuleTable. Never fails on content: lines of another form are dropped, unknown
/// attributes land in "invalid". "media" is always there, and "rtp" and "fmtp" in each of its elements. What leaves as
/// an exception is std::bad_alloc, an error of the tree, and std::out_of_range "stod argument out of range" for a
/// fraction too small for a double. Time and memory grow linearly with the text. Any thread may call.
nlohmann::json ParseSdpText(const std::string& text);

/// Cuts the text at every blank and reads each piece as a decimal number; what follows a number in its piece is
/// ignored. Throws std::invalid_argument "invalid stoi argument" for a piece without a number at its start, an empty
/// one included, and std::out_of_range "stoi argument out of range" beyond 32 bits.
std::vector<int32_t> ParsePayloadList(const std::string& text);

/// The tree value of a capture: s string, d signed integer, u unsigned integer, f floating point, null for any other
/// letter. A text that is no such number from end to end gives 0.
nlohmann::json ConvertCapture(std::string_view text, char type);

} // namespace quill::sdp_module

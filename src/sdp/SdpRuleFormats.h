// Formats of the rows whose text depends on which of their optional fields are there.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace quill::sdp_module
{

/// True if the value is an object whose `key` holds a number or a string that is not empty.
bool HasRuleValue(const nlohmann::json& value, const std::string& key);

// Each takes the object that holds the row's fields. "%v" takes up the place of an absent field and writes nothing.
std::string FormatConnection(const nlohmann::json& value);
std::string FormatMedia(const nlohmann::json& value);
std::string FormatRtp(const nlohmann::json& value);
std::string FormatRtcp(const nlohmann::json& value);
std::string FormatRtcpFb(const nlohmann::json& value);
std::string FormatExt(const nlohmann::json& value);
std::string FormatCrypto(const nlohmann::json& value);
std::string FormatCandidates(const nlohmann::json& value);
std::string FormatSsrcs(const nlohmann::json& value);
std::string FormatSctpmap(const nlohmann::json& value);
std::string FormatRids(const nlohmann::json& value);
std::string FormatImageattrs(const nlohmann::json& value);
std::string FormatSimulcast(const nlohmann::json& value);

} // namespace quill::sdp_module

// Any text, read and written again: every tree and every record can be written, and what the writer's rules keep comes
// back as it was.
#include "zefaline/sdp.h"

#include "sdp/ISdpModule.h"
#include "sdp/SdpParser.h"
#include "sdp/SdpRuleTable.h"
#include "sdp/SdpWriter.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using namespace quill::sdp_module;
using nlohmann::json;

static void Require(bool condition)
{
    if (!condition) std::abort();
}

// The letter and the row that write what stands under a key; null for the fields of the media's own line.
struct WritingRow
{
    char letter = 'm';
    const SdpRule* rule = nullptr;
};

static WritingRow FindRow(const std::string& key)
{
    for (const auto& [letter, rules] : SdpRuleTable())
        for (const SdpRule& rule : rules)
            if (letter != 'm' && (rule.name.empty() ? rule.push : rule.name) == key) return {letter, &rule};
    return {};
}

// A candidate without a generation loses its network, and one without a related address the port of it.
static bool KeepsCandidate(const json& candidate)
{
    const bool network = candidate.contains("network-id") || candidate.contains("network-cost");
    return (candidate.contains("generation") || !network) &&
           (candidate.contains("raddr") || !candidate.contains("rport"));
}

// An unknown attribute ends at a carriage return, and what is left of it may be a known one.
static bool KeepsUnknown(const json& attribute)
{
    const std::string value = attribute.value("value", "");
    SdpMatch match(value.size());
    const auto& rules = SdpRuleTable().at('a');
    return std::find_if(rules.begin(), rules.end(), [&](const SdpRule& rule) { return rule.reg.Find(value, match); })
               ->push == "invalid";
}

// What the writer's rules keep of one line; each exception is a rule of its own.
static bool KeepsLine(const std::string& key, const json& value)
{
    if (key == "rtcp") return value.contains("address") || !(value.contains("netType") || value.contains("ipVer"));
    if (key == "ptime" || key == "framerate") return value.dump().find('e') == std::string::npos; // no exponent is read
    if (key == "candidates") return std::all_of(value.begin(), value.end(), KeepsCandidate);
    if (key == "invalid") return std::all_of(value.begin(), value.end(), KeepsUnknown);
    if (key == "ssrcs")
        return std::all_of(value.begin(), value.end(), [](const json& ssrc) { return ssrc.contains("attribute"); });
    return true;
}

static bool KeepsLevel(const json& level, std::string_view letters)
{
    for (const auto& [key, value] : level.items())
    {
        const WritingRow row = FindRow(key);
        if (!row.rule) continue;
        if (letters.find(row.letter) == letters.npos) return false; // a line of the session in a media is not written
        if (!KeepsLine(key, value)) return false;
        if (row.rule->name.empty()) continue;
        for (const std::string& name : row.rule->names) // a field that is missing is taken from around the object
            if (!value.contains(name) && level.contains(name)) return false;
    }
    return true;
}

static bool KeepsTree(const json& tree)
{
    const json& medias = tree.at("media");
    return KeepsLevel(tree, "vosiuepcbtrza") &&
           std::all_of(medias.begin(), medias.end(), [](const json& media) { return KeepsLevel(media, "icba"); });
}

static void WriteTree(const std::string& text)
{
    json tree;
    try
    {
        tree = ParseSdpText(text);
    }
    catch (const std::out_of_range&) // a fraction too small for a double
    {
        return;
    }
    const bool kept = KeepsTree(tree);
    const std::string written = WriteSdpText(tree); // throws nothing: no value of the parser holds text inside another
    const json read = ParseSdpText(written);
    if (!kept) return;
    for (json& media : tree["media"]) // the writer's default, which no line gives
        if (media["payloads"] == "") media.erase("payloads");
    Require(read == tree);
}

static void WriteRecords(const std::string& text)
{
    const auto ignore = [](const std::string&) {};
    const auto reader = CreateSdpModule(ignore, ignore);
    try
    {
        reader->Read(text);
    }
    catch (const std::exception&) // what the reader raises is the subject of another target
    {
        return;
    }
    const auto writer = CreateSdpModule(ignore, ignore);
    writer->SetSession(reader->GetSession());
    writer->SetMedias(reader->GetMedias());
    std::string written;
    const SdpCode code = writer->Write(&written);
    Require(code == kSdpSuccess ? written.starts_with("v=") : code == kSdpValueUnsupported && written.empty());
}

static void WriteStructures(const std::string& text)
{
    static const auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
    try
    {
        if (ZEFA_ReadSDP(text.c_str(), nullptr, network.get(), &essence, &info) != ZEFA_NO_ERROR) return;
    }
    catch (const std::exception&)
    {
        return;
    }
    std::vector<char> buffer(1 << 17);
    auto size = static_cast<uint32_t>(buffer.size());
    const ZEFA_ERRORCODE result = ZEFA_WriteSDP(network.get(), &essence, &info, buffer.data(), &size);
    Require(result == ZEFA_NO_ERROR || result == ZEFA_ERR_OPERATION_FAILED);
    Require(result != ZEFA_NO_ERROR || size == std::string_view(buffer.data()).size());
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    WriteTree(text);
    WriteRecords(text);
    WriteStructures(text);
    return 0;
}

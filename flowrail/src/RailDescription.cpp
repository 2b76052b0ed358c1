// The description of a rail, from its text form and back.
#include "RailDescription.h"

#include <charconv>
#include <cstring>
#include <random>
#include <sys/random.h>

namespace Quillmont::FlowRail
{
namespace
{
constexpr size_t kMaxNameLength = 200;

bool HasPlainCharacters(const std::string& text)
{
    return !text.empty() &&
           text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._/-") ==
               std::string::npos;
}

// One leading slash is allowed, as shared memory is commonly named; no other, so that no name leaves the folder.
bool IsName(const std::string& text)
{
    if (!HasPlainCharacters(text) || text.size() > kMaxNameLength) return false;
    const std::string bare = text.substr(text[0] == '/' ? 1 : 0);
    return !bare.empty() && bare != "." && bare != ".." && bare.find('/') == std::string::npos;
}

std::optional<uint32_t> ReadNumber(const std::string& text)
{
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || number == 0) return std::nullopt;
    return number;
}

std::optional<RailRole> ReadRole(const std::string& text)
{
    if (text == "producer") return RailRole::Producer;
    if (text == "consumer") return RailRole::Consumer;
    return std::nullopt;
}

// 128 random bits: who does not know the name does not find the rail.
std::string MakeRandomName()
{
    unsigned char bytes[16];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
    {
        std::random_device device;
        for (unsigned char& byte : bytes)
            byte = static_cast<unsigned char>(device());
    }
    std::string name = "rail-";
    for (const unsigned char byte : bytes)
    {
        name += "0123456789abcdef"[byte >> 4];
        name += "0123456789abcdef"[byte & 15];
    }
    return name;
}

std::optional<RailDescription> Read(const FLOW_RAIL_DESCRIPTOR& descriptor, bool forCreate)
{
    if (descriptor.Type != FLOW_RAIL_TYPE_FILE_MAP) return std::nullopt;
    RailDescription description;
    for (const auto& [key, value] : descriptor.Description)
    {
        const bool known =
            key == "Name" || key == "SlotBytes" || key == "SlotCount" || key == "Role" || (forCreate && key == "Group");
        if (!known && forCreate) return std::nullopt;
        if (!known) continue;
        if (descriptor.Description.count(key) != 1 || !HasPlainCharacters(value)) return std::nullopt;
        if (key == "Name" && IsName(value))
            description.Name = value;
        else if (key == "SlotBytes" && ReadNumber(value))
            description.SlotBytes = ReadNumber(value);
        else if (key == "SlotCount" && ReadNumber(value))
            description.SlotCount = ReadNumber(value);
        else if (key == "Role" && ReadRole(value))
            description.Role = ReadRole(value);
        else if (key == "Group")
            description.Group = value;
        else
            return std::nullopt;
    }
    return description;
}
} // namespace

std::optional<RailDescription> ReadForCreate(const FLOW_RAIL_DESCRIPTOR& descriptor)
{
    std::optional<RailDescription> description = Read(descriptor, true);
    if (!description || !description->SlotBytes || !description->SlotCount) return std::nullopt;
    if (*description->SlotCount > kMaxSlotCount) return std::nullopt;
    if (uint64_t{*description->SlotBytes} * *description->SlotCount >= kCapacityLimit) return std::nullopt;
    if (description->Name.empty()) description->Name = MakeRandomName();
    if (!description->Role) description->Role = RailRole::Producer;
    return description;
}

std::optional<RailDescription> ReadForOpen(const FLOW_RAIL_DESCRIPTOR& descriptor)
{
    std::optional<RailDescription> description = Read(descriptor, false);
    if (!description || description->Name.empty()) return std::nullopt;
    return description;
}

FLOW_RAIL_DESCRIPTOR Write(const RailDescription& description)
{
    FLOW_RAIL_DESCRIPTOR descriptor;
    descriptor.Type = FLOW_RAIL_TYPE_FILE_MAP;
    descriptor.Description.emplace("Name", description.Name);
    descriptor.Description.emplace("SlotBytes", std::to_string(*description.SlotBytes));
    descriptor.Description.emplace("SlotCount", std::to_string(*description.SlotCount));
    descriptor.Description.emplace("Role", *description.Role == RailRole::Producer ? "producer" : "consumer");
    return descriptor;
}

std::string RailPath(const std::string& name)
{
    return std::string(kRailFolder) + "/" + kRailFilePrefix + (name[0] == '/' ? name.substr(1) : name);
}
} // namespace Quillmont::FlowRail

// The description of a rail, as applications have it from the service: what it is read as, which file it means, and
// whether it opens a rail that it does not describe.
//
// The input: one byte, the type of the description, then lines of "key=value". A "!" at the end of a value stands for
// the name of a rail that is there.
#include "RailDescription.h"
#include "flowrail1.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>

using namespace Quillmont::FlowRail;

namespace
{

constexpr uint32_t kSlotBytes = 100, kSlotCount = 4;

void Require(bool holds)
{
    if (!holds) std::abort();
}

using RailOwner = std::unique_ptr<CFlowRail>;

RailOwner MakeRail()
{
    return RailOwner(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
}

// The rail that is there, for the life of the process.
struct Standing
{
    Standing()
    {
        FLOW_RAIL_DESCRIPTOR descriptor;
        descriptor.Type = FLOW_RAIL_TYPE_FILE_MAP;
        descriptor.Description = {{"Name", name},
                                  {"SlotBytes", std::to_string(kSlotBytes)},
                                  {"SlotCount", std::to_string(kSlotCount)},
                                  {"Role", "producer"}};
        Require(rail->Create(&descriptor) == FLOW_RAIL_OK);
    }

    const std::string name = "fuzz-description-" + std::to_string(getpid());
    RailOwner rail = MakeRail();
};

FLOW_RAIL_DESCRIPTOR ReadInput(std::string_view text, const Standing& standing)
{
    FLOW_RAIL_DESCRIPTOR descriptor;
    descriptor.Type = static_cast<uint8_t>(text[0]);
    text.remove_prefix(1);
    while (!text.empty())
    {
        const std::string line(text.substr(0, text.find('\n')));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const size_t equals = std::min(line.find('='), line.size());
        std::string value = equals < line.size() ? line.substr(equals + 1) : "";
        if (value.ends_with('!')) value.replace(value.size() - 1, 1, standing.name);
        descriptor.Description.emplace(line.substr(0, equals), value);
    }
    return descriptor;
}

// Directly in the folder of shared memory, with the prefix of rails: no name leads anywhere else.
void CheckPath(const RailDescription& description)
{
    const std::string path = RailPath(description.Name);
    const std::string begin = std::string(kRailFolder) + "/" + kRailFilePrefix;
    Require(path.starts_with(begin) && path.size() > begin.size());
    Require(path.find('/', begin.size()) == std::string::npos && path.find('\0') == std::string::npos);
    Require(path.size() - begin.size() <= 255 - std::string(kRailFilePrefix).size()); // as long as a file's name may be
}

bool Describes(const RailDescription& description, const Standing& standing)
{
    return (description.Name == standing.name || description.Name == "/" + standing.name) &&
           description.SlotBytes.value_or(kSlotBytes) == kSlotBytes &&
           description.SlotCount.value_or(kSlotCount) == kSlotCount &&
           description.Role.value_or(RailRole::Producer) == RailRole::Producer;
}

void CheckOpen(const FLOW_RAIL_DESCRIPTOR& descriptor, const Standing& standing)
{
    const std::optional<RailDescription> description = ReadForOpen(descriptor);
    if (description) CheckPath(*description);
    const uint32_t result = MakeRail()->Open(&descriptor);
    if (!description)
        Require(result == FLOW_RAIL_BAD_ARGUMENT);
    else
        Require(result == (Describes(*description, standing) ? FLOW_RAIL_OK : FLOW_RAIL_BAD_STATE));
}

// What can be created says all, and is read as what it was.
void CheckCreate(const FLOW_RAIL_DESCRIPTOR& descriptor)
{
    const std::optional<RailDescription> description = ReadForCreate(descriptor);
    if (!description) return;
    CheckPath(*description);
    Require(uint64_t{*description->SlotBytes} * *description->SlotCount < kCapacityLimit);
    Require(*description->SlotCount <= kMaxSlotCount);
    const std::optional<RailDescription> again = ReadForOpen(Write(*description));
    Require(again && again->Name == description->Name && again->SlotBytes == description->SlotBytes &&
            again->SlotCount == description->SlotCount && again->Role == description->Role);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const Standing standing;
    if (size == 0) return 0;
    const FLOW_RAIL_DESCRIPTOR descriptor = ReadInput({reinterpret_cast<const char*>(data), size}, standing);
    CheckOpen(descriptor, standing);
    CheckCreate(descriptor);
    return 0;
}

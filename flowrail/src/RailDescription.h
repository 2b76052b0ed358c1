// The description of a rail, from its text form and back.
#ifndef FLOWRAIL_RAILDESCRIPTION_H
#define FLOWRAIL_RAILDESCRIPTION_H

#include "RailLayout.h"
#include "flowrail1.h"

#include <optional>
#include <string>

namespace Quillmont::FlowRail
{
struct RailDescription
{
    std::string Name;                  // as given, or made by MakeRandomName
    std::optional<uint32_t> SlotBytes; // Open takes what the rail has
    std::optional<uint32_t> SlotCount;
    std::optional<RailRole> Role;
    std::string Group; // empty: nobody but the user
};

// What a rail is to be: needs sizes, finds a name and a role where there are none. Nothing when it is bad.
std::optional<RailDescription> ReadForCreate(const FLOW_RAIL_DESCRIPTOR& descriptor);

// Which rail is meant: needs a name; keys that it does not know are left to later versions.
std::optional<RailDescription> ReadForOpen(const FLOW_RAIL_DESCRIPTOR& descriptor);

// The complete descriptor. All optional members must be set.
FLOW_RAIL_DESCRIPTOR Write(const RailDescription& description);

// The file of the rail of that name: always directly in the folder of shared memory.
std::string RailPath(const std::string& name);
constexpr const char* kRailFolder = "/dev/shm";
constexpr const char* kRailFilePrefix = "flowrail1.";
} // namespace Quillmont::FlowRail

#endif

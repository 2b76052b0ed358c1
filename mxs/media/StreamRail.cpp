// Rings are named after the service's process, so that those of a killed one are found.
#include "StreamRail.h"

#include <array>
#include <cstdio>
#include <random>

#include <unistd.h>

namespace mxs::media
{

namespace
{

constexpr uint32_t kBadValue = 4;
constexpr uint32_t kNoSocketOrMemory = 10;
constexpr uint64_t kRailLimitBytes = 1ULL << 32;

std::string RailName()
{
    std::random_device random;
    const uint64_t number = uint64_t{random()} << 32 | random();
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(number));
    return kRailNamePrefix + std::to_string(getpid()) + "-" + digits.data();
}

} // namespace

StreamRail::~StreamRail()
{
    Close();
}

Outcome StreamRail::Check(const SlotLayout& layout, const CommonConfig& common, const MediaSettings& settings)
{
    if (common.queueDepth == 0) return {kBadValue, "The application's queue depth is 0."};
    if (common.queueDepth > kMostQueueDepth)
        return {kBadValue, "The key \"ApplicativeBufferQueueDepth\" is above " + std::to_string(kMostQueueDepth) + "."};
    const uint64_t ringBytes = RingBytes(layout.lockSize, common.queueDepth);
    if (uint64_t{layout.lockSize} * common.queueDepth >= kRailLimitBytes || ringBytes > settings.memoryLimitBytes)
        return {kNoSocketOrMemory, "A ring of " + std::to_string(ringBytes) + " bytes is more than is permitted."};
    return {};
}

Outcome StreamRail::Make(const char* role, const SlotLayout& layout, const CommonConfig& common,
                         const MediaSettings& settings)
{
    FLOW_RAIL_DESCRIPTOR descriptor{};
    descriptor.Type = FLOW_RAIL_TYPE_FILE_MAP;
    descriptor.Description = {{"Name", RailName()},
                              {"SlotBytes", std::to_string(layout.lockSize)},
                              {"SlotCount", std::to_string(common.queueDepth)},
                              {"Role", role}};
    if (!settings.railGroup.empty()) descriptor.Description.emplace("Group", settings.railGroup);
    Rail.reset(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
    const uint32_t result = Rail ? Rail->Create(&descriptor) : FLOW_RAIL_NO_MEMORY;
    if (result == FLOW_RAIL_NO_MEMORY)
        return {kNoSocketOrMemory, "There is no room in /dev/shm for the stream's ring of " +
                                       std::to_string(RingBytes(layout.lockSize, common.queueDepth)) + " bytes."};
    if (result != FLOW_RAIL_OK)
        return {kNoSocketOrMemory, "The stream's ring of shared memory could not be made: flow rail result " +
                                       std::to_string(result) + "."};
    FLOW_RAIL_STATUS status{};
    Rail->GetStatus(&status);
    Records = status.RecordsPerSlot;
    Described = descriptor.Description;
    return {};
}

bool StreamRail::IsDamaged() const
{
    FLOW_RAIL_STATUS status{};
    return Rail && Rail->GetStatus(&status) != FLOW_RAIL_OK;
}

void StreamRail::Close()
{
    if (Rail) Rail->Close();
    Rail.reset();
    Described.clear();
    Records = 0;
}

} // namespace mxs::media

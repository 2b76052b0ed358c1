// The ring of shared memory of one stream: checked, made and taken away again.
#pragma once

#include "MediaStream.h"

#include <flowrail1.h>

#include <map>
#include <memory>
#include <string>

namespace mxs::media
{

class StreamRail
{
public:
    StreamRail() = default;
    ~StreamRail();
    StreamRail(const StreamRail&) = delete;
    StreamRail& operator=(const StreamRail&) = delete;

    // Whether a ring of so many slots may be made.
    static Outcome Check(const SlotLayout& layout, const CommonConfig& common, const MediaSettings& settings);

    // `role` is the service's: "producer" or "consumer".
    Outcome Make(const char* role, const SlotLayout& layout, const CommonConfig& common, const MediaSettings& settings);
    void Close();

    // Whether another program has cut the ring's file short. Any thread, but not beside Make and Close.
    bool IsDamaged() const;

    CFlowRail* operator->() const { return Rail.get(); }
    const std::multimap<std::string, std::string>& Description() const { return Described; } // empty while closed
    uint32_t RecordsPerSlot() const { return Records; }

private:
    std::unique_ptr<CFlowRail> Rail;
    std::multimap<std::string, std::string> Described;
    uint32_t Records = 0;
};

} // namespace mxs::media

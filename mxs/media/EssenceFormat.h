// What each essence asks of its configuration and where the buffers of its slots lie: a pair of functions for each, in
// the file that bears its name.
#pragma once

#include "MediaStream.h"

#include <string>
#include <utility>

namespace mxs::media
{

constexpr uint64_t kSlotLimitBytes = 1ULL << 32; // a slot has less

inline Outcome BadValue(std::string message)
{
    return {4, std::move(message)};
}

// What is well said and what this service does not have.
inline Outcome NotThere(std::string message)
{
    return {2, std::move(message)};
}

// VideoFormat.cpp
Outcome CheckEssenceOf(Direction direction, const VideoConfig& video);
SlotLayout LayoutOfEssence(const VideoConfig& video);

// AudioFormat.cpp
Outcome CheckEssenceOf(Direction direction, const AudioConfig& audio);
SlotLayout LayoutOfEssence(const AudioConfig& audio);

// AncillaryFormat.cpp
Outcome CheckEssenceOf(Direction direction, const AncillaryConfig& ancillary);
SlotLayout LayoutOfEssence(const AncillaryConfig& ancillary);

// Samples of a slot as they travel, at most; for sizes of buffers.
uint64_t SlotBytesOnNetwork(const EssenceConfig& essence);

} // namespace mxs::media

// Numbers that follow from a configuration of video that CheckEssence accepts.
#pragma once

#include "MediaStream.h"

#include <array>
#include <cstdint>

namespace mxs::media
{

// Lines of each field; a progressive frame is the first.
std::array<uint32_t, 2> LinesOfFields(const VideoConfig& video);

// Samples of a whole frame as they travel.
uint64_t NetworkBytesOf(const VideoConfig& video);

} // namespace mxs::media

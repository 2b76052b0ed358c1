// What a configuration of ancillary data must hold, and where the playlists of its slots lie.
#include "AncillaryRaster.h"
#include "EssenceFormat.h"

namespace mxs::media
{

namespace
{

constexpr uint32_t kLargestRaster = 32768; // samples or lines
constexpr uint32_t kLargestRate = 1000;    // frames or fields a second

} // namespace

Outcome CheckEssenceOf(Direction, const AncillaryConfig& ancillary)
{
    if (ancillary.activeWidth == 0 || ancillary.activeHeight == 0)
        return BadValue("The active raster has no width or no height.");
    if (ancillary.rawWidth <= ancillary.activeWidth || ancillary.rawHeight <= ancillary.activeHeight)
        return BadValue("The raw raster is not larger than the active one.");
    if (ancillary.rawWidth > kLargestRaster || ancillary.rawHeight > kLargestRaster)
        return BadValue("The raw raster is larger than 32768 samples by 32768 lines.");
    if (ancillary.framerate == 0) return BadValue("The frame rate is 0.");
    if (ancillary.framerate > kLargestRate) return BadValue("The frame rate is above 1000.");
    return {};
}

SlotLayout LayoutOfEssence(const AncillaryConfig&)
{
    SlotLayout layout;
    for (uint32_t buffer = 0; buffer < kAncillaryBuffers; ++buffer)
        layout.buffers[buffer] = {buffer * kAncillaryBufferBytes, kAncillaryBufferBytes};
    layout.lockSize = static_cast<uint32_t>(kAncillaryBuffers * kAncillaryBufferBytes);
    return layout;
}

} // namespace mxs::media

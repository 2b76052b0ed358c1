// What a configuration of ancillary data must hold, and where the playlists of its slots lie.
#include "AncillaryRaster.h"
#include "EssenceFormat.h"

namespace mxs::media
{

Outcome CheckEssenceOf(Direction, const AncillaryConfig&)
{
    return NotThere("This service does not receive ancillary data.");
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

// What a configuration of video must hold, and where the fields of its slots lie.
#include "VideoFormat.h"

#include "EssenceFormat.h"
#include "PixelGroups.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

// Line number and offset of a packet's line header are numbers of 15 bits.
constexpr uint32_t kLargestWidth = 32768;
constexpr uint32_t kLargestFieldHeight = 32768;

constexpr uint32_t kHighestSendRate = 1000;

struct FieldBytes
{
    uint64_t first = 0;
    uint64_t second = 0;
};

FieldBytes BytesOfFields(const VideoConfig& video)
{
    const PixelGroup* group = FindPixelGroup(video.application.sampling, DepthBits(video.application.depth));
    if (!group) return {};
    const uint64_t lineBytes = uint64_t{video.width} * ComponentsPerPixel(*group) * StoredBits(video.application) / 8;
    if (!video.interlaced) return {lineBytes * video.height, 0};
    return {lineBytes * ((uint64_t{video.height} + 1) / 2), lineBytes * (video.height / 2)};
}

// Numbers outside the lists; that nobody receives a format that is in the list is another matter.
Outcome CheckBits(const char* side, const BitProperties& bits)
{
    const std::string name(side);
    if (bits.sampling > kKey) return BadValue("The " + name + " sampling is unknown.");
    if (DepthBits(bits.depth) == 0) return BadValue("The " + name + " bit depth is unknown.");
    if (bits.padding > kIn32Bits) return BadValue("The " + name + " bit padding is unknown.");
    if (bits.endianness > kLittleEndian) return BadValue("The " + name + " endianness is unknown.");
    return {};
}

} // namespace

Outcome CheckEssenceOf(Direction direction, const VideoConfig& video)
{
    if (Outcome wrong = CheckBits("network", video.network); wrong.Failed()) return wrong;
    if (Outcome wrong = CheckBits("application", video.application); wrong.Failed()) return wrong;
    if (video.network.padding != kPacked || video.network.endianness != kBigEndian)
        return BadValue("Samples on the network have no padding and are big endian.");
    if (video.application.sampling != video.network.sampling)
        return BadValue("The application's sampling differs from the network's.");

    const PixelGroup* network = FindPixelGroup(video.network.sampling, DepthBits(video.network.depth));
    const PixelGroup* application = FindPixelGroup(video.application.sampling, DepthBits(video.application.depth));
    if (!network || !application)
        return NotThere("Sampling 4:2:0, key signals and 16 bits are not supported by this service.");
    if (video.packingMode > 1) return BadValue("The packing mode is unknown.");
    if (video.packingMode != 0) return NotThere("The block packing mode is not supported by this service.");

    if (video.width == 0 || video.height == 0) return BadValue("The frame has no width or no height.");
    if (video.interlaced && video.height < 2) return BadValue("An interlaced frame has at least two lines.");
    if (video.framerate == 0) return BadValue("The frame rate is 0.");
    if (direction == Direction::Send && video.framerate > kHighestSendRate)
        return BadValue("The frame rate is above 1000, the highest that is sent.");
    const uint64_t fieldHeight = video.interlaced ? (uint64_t{video.height} + 1) / 2 : video.height;
    if (video.width > kLargestWidth || fieldHeight > kLargestFieldHeight)
        return BadValue("The frame is larger than 32768 samples by 32768 lines of a field.");
    // The application's group matters only where samples are packed, but the border is the same for all formats.
    if (video.width % network->pixels != 0 || video.width % application->pixels != 0)
        return BadValue("The width is no multiple of " +
                        std::to_string(std::max(network->pixels, application->pixels)) +
                        ", the pixels of a pixel group.");
    const FieldBytes bytes = BytesOfFields(video);
    if (bytes.first + bytes.second >= kSlotLimitBytes) return BadValue("A slot of this format has 4 GiB or more.");
    return {};
}

SlotLayout LayoutOfEssence(const VideoConfig& video)
{
    const FieldBytes bytes = BytesOfFields(video);
    SlotLayout layout;
    layout.lockSize = static_cast<uint32_t>(bytes.first + bytes.second);
    layout.buffers[0] = {0, bytes.first};
    if (video.interlaced) layout.buffers[1] = {bytes.first, bytes.second};
    return layout;
}

std::array<uint32_t, 2> LinesOfFields(const VideoConfig& video)
{
    if (!video.interlaced) return {video.height, 0};
    return {(video.height + 1) / 2, video.height / 2};
}

uint64_t NetworkBytesOf(const VideoConfig& video)
{
    const PixelGroup& group = *FindPixelGroup(video.network.sampling, DepthBits(video.network.depth));
    return uint64_t{video.height} * (video.width / group.pixels) * group.bytes;
}

} // namespace mxs::media

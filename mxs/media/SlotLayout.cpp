// What a configuration must hold, and where the buffers of its slots lie.
#include "MediaStream.h"

#include "PixelGroups.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr uint32_t kBadValue = 4;
constexpr uint32_t kNotThere = 2; // the service has no such thing

// Line number and offset of a packet's line header are numbers of 15 bits.
constexpr uint32_t kLargestWidth = 32768;
constexpr uint32_t kLargestFieldHeight = 32768;
constexpr uint64_t kSlotLimitBytes = 1ULL << 32;
constexpr uint32_t kAncillaryBuffers = 16;
constexpr uint64_t kAncillaryBufferBytes = 16384;
constexpr size_t kMostConnections = 128;
constexpr uint32_t kLastUnicast = 0xDFFFFFFF;
constexpr uint32_t kFirstMulticast = 0xE0000000;
constexpr uint32_t kLastMulticast = 0xEFFFFFFF;

Outcome Bad(std::string message)
{
    return {kBadValue, std::move(message)};
}

Outcome NotThere(std::string message)
{
    return {kNotThere, std::move(message)};
}

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
    if (bits.sampling > kKey) return Bad("The " + name + " sampling is unknown.");
    if (DepthBits(bits.depth) == 0) return Bad("The " + name + " bit depth is unknown.");
    if (bits.padding > kIn32Bits) return Bad("The " + name + " bit padding is unknown.");
    if (bits.endianness > kLittleEndian) return Bad("The " + name + " endianness is unknown.");
    return {};
}

Outcome CheckVideo(const VideoConfig& video)
{
    if (Outcome wrong = CheckBits("network", video.network); wrong.Failed()) return wrong;
    if (Outcome wrong = CheckBits("application", video.application); wrong.Failed()) return wrong;
    if (video.network.padding != kPacked || video.network.endianness != kBigEndian)
        return Bad("Samples on the network have no padding and are big endian.");
    if (video.application.sampling != video.network.sampling)
        return Bad("The application's sampling differs from the network's.");

    const PixelGroup* network = FindPixelGroup(video.network.sampling, DepthBits(video.network.depth));
    const PixelGroup* application = FindPixelGroup(video.application.sampling, DepthBits(video.application.depth));
    if (!network || !application)
        return NotThere("Sampling 4:2:0, key signals and 16 bits are not supported by this service.");
    if (video.packingMode > 1) return Bad("The packing mode is unknown.");
    if (video.packingMode != 0) return NotThere("The block packing mode is not supported by this service.");

    if (video.width == 0 || video.height == 0) return Bad("The frame has no width or no height.");
    if (video.interlaced && video.height < 2) return Bad("An interlaced frame has at least two lines.");
    if (video.framerate == 0) return Bad("The frame rate is 0.");
    const uint64_t fieldHeight = video.interlaced ? (uint64_t{video.height} + 1) / 2 : video.height;
    if (video.width > kLargestWidth || fieldHeight > kLargestFieldHeight)
        return Bad("The frame is larger than 32768 samples by 32768 lines of a field.");
    // The application's group matters only where samples are packed, but the border is the same for all formats.
    if (video.width % network->pixels != 0 || video.width % application->pixels != 0)
        return Bad("The width is no multiple of " + std::to_string(std::max(network->pixels, application->pixels)) +
                   ", the pixels of a pixel group.");
    const FieldBytes bytes = BytesOfFields(video);
    if (bytes.first + bytes.second >= kSlotLimitBytes) return Bad("A slot of this format has 4 GiB or more.");
    return {};
}

SlotLayout VideoLayout(const VideoConfig& video)
{
    const FieldBytes bytes = BytesOfFields(video);
    SlotLayout layout;
    layout.lockSize = static_cast<uint32_t>(bytes.first + bytes.second);
    layout.buffers[0] = {0, bytes.first};
    if (video.interlaced) layout.buffers[1] = {bytes.first, bytes.second};
    return layout;
}

SlotLayout AudioLayout(const AudioConfig& audio)
{
    const uint64_t samples = uint64_t{audio.samplingRateHz} * audio.packetTimeUs / 1'000'000;
    const uint64_t sampleBytes = uint64_t{audio.encodingBytes} * audio.channels;
    const uint64_t bytes = samples * sampleBytes * audio.packetsPerBuffer;
    SlotLayout layout;
    if (bytes >= kSlotLimitBytes) return layout;
    layout.lockSize = static_cast<uint32_t>(bytes);
    layout.buffers[0] = {0, bytes};
    return layout;
}

SlotLayout AncillaryLayout()
{
    SlotLayout layout;
    for (uint32_t buffer = 0; buffer < kAncillaryBuffers; ++buffer)
        layout.buffers[buffer] = {buffer * kAncillaryBufferBytes, kAncillaryBufferBytes};
    layout.lockSize = static_cast<uint32_t>(kAncillaryBuffers * kAncillaryBufferBytes);
    return layout;
}

Outcome CheckConnection(const ConnectionConfig& connection)
{
    if (connection.networkInterfaceId == 0) return Bad("A connection names no network interface.");
    if (connection.destinationPort == 0) return Bad("A connection has the destination port 0.");
    if (connection.destinationIp > kLastMulticast) return Bad("The destination is neither unicast nor multicast.");
    const bool multicast = connection.destinationIp >= kFirstMulticast;
    if (!multicast) return {}; // the list of sources belongs to multicast alone
    for (const uint32_t source : connection.sources)
        if (source == 0 || source > kLastUnicast) return Bad("A multicast source is no unicast address.");
    return {};
}

} // namespace

Outcome CheckEssence(Direction direction, const EssenceConfig& essence)
{
    if (direction == Direction::Send) return NotThere("This service does not send streams.");
    if (std::holds_alternative<AudioConfig>(essence)) return NotThere("This service does not receive audio.");
    if (std::holds_alternative<AncillaryConfig>(essence))
        return NotThere("This service does not receive ancillary data.");
    return CheckVideo(std::get<VideoConfig>(essence));
}

Outcome CheckNetwork(Direction direction, const NetworkConfig& network)
{
    if (direction == Direction::Send) return NotThere("This service does not send streams.");
    if (network.payloadType > 127) return Bad("The payload type is above 127.");
    if (network.connections.empty()) return Bad("The network configuration has no connection.");
    if (network.connections.size() > kMostConnections) return Bad("There are more than 128 connections.");
    for (const ConnectionConfig& connection : network.connections)
        if (Outcome wrong = CheckConnection(connection); wrong.Failed()) return wrong;
    return {};
}

SlotLayout LayoutOf(const EssenceConfig& essence)
{
    if (const auto* video = std::get_if<VideoConfig>(&essence)) return VideoLayout(*video);
    if (const auto* audio = std::get_if<AudioConfig>(&essence)) return AudioLayout(*audio);
    return AncillaryLayout();
}

} // namespace mxs::media

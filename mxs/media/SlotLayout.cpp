// What a configuration must hold, and where the buffers of its slots lie.
#include "EssenceFormat.h"
#include "VideoFormat.h"

namespace mxs::media
{

namespace
{

constexpr uint8_t kLastPayloadType = 127;
constexpr uint8_t kLastDscp = 63;
constexpr size_t kMostConnections = 128;
constexpr uint32_t kLastUnicast = 0xDFFFFFFF;
constexpr uint32_t kFirstMulticast = 0xE0000000;
constexpr uint32_t kLastMulticast = 0xEFFFFFFF;

Outcome CheckConnection(Direction direction, const ConnectionConfig& connection)
{
    if (connection.networkInterfaceId == 0) return BadValue("A connection names no network interface.");
    if (connection.destinationPort == 0) return BadValue("A connection has the destination port 0.");
    if (connection.destinationIp > kLastMulticast) return BadValue("The destination is neither unicast nor multicast.");
    if (direction == Direction::Send)
    {
        if (connection.destinationIp == 0) return BadValue("A connection has no destination to send to.");
        if (connection.dscp > kLastDscp) return BadValue("The DSCP is above 63.");
        if (connection.sourceIp > kLastUnicast) return BadValue("The source is no unicast address.");
        return {}; // the list of sources is a receiver's
    }
    const bool multicast = connection.destinationIp >= kFirstMulticast;
    if (!multicast) return {}; // the list of sources belongs to multicast alone
    for (const uint32_t source : connection.sources)
        if (source == 0 || source > kLastUnicast) return BadValue("A multicast source is no unicast address.");
    return {};
}

} // namespace

Outcome CheckEssence(Direction direction, const EssenceConfig& essence)
{
    return std::visit([direction](const auto& config) { return CheckEssenceOf(direction, config); }, essence);
}

Outcome CheckNetwork(Direction direction, const NetworkConfig& network)
{
    if (network.payloadType > kLastPayloadType) return BadValue("The payload type is above 127.");
    if (network.connections.empty()) return BadValue("The network configuration has no connection.");
    if (network.connections.size() > kMostConnections) return BadValue("There are more than 128 connections.");
    for (const ConnectionConfig& connection : network.connections)
        if (Outcome wrong = CheckConnection(direction, connection); wrong.Failed()) return wrong;
    return {};
}

SlotLayout LayoutOf(const EssenceConfig& essence)
{
    return std::visit([](const auto& config) { return LayoutOfEssence(config); }, essence);
}

uint64_t SlotBytesOnNetwork(const EssenceConfig& essence)
{
    const auto* video = std::get_if<VideoConfig>(&essence);
    return video ? NetworkBytesOf(*video) : LayoutOf(essence).lockSize;
}

} // namespace mxs::media

// The border between the service's resources and its media: what a stream is configured with, and what it can do.
// The control side (HTTP, contexts, conductors) fills these records; the media side moves packets.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace mxs::media
{

// Outcome of an operation: code 0 is success, any other is the "ErrCode" that the client reads, with a sentence.
struct Outcome
{
    uint32_t code = 0;
    std::string message;

    bool Failed() const { return code != 0; }
};

enum class Direction
{
    Receive,
    Send
};

// Enumerations travel with the numbers of the service's JSON spellings, in the order of their lists.
struct BitProperties
{
    uint32_t sampling = 1;   // 0 YCbCr_420, 1 YCbCr_422, 2 YCbCr_444, ... 12 Key
    uint32_t depth = 0;      // 0: 8 bits, 1: 10, 2: 12, 3: 16
    uint32_t padding = 0;    // 0 none, 1 to 16 bits, 2 to 32 bits
    uint32_t endianness = 0; // 0 big, 1 little

    bool operator==(const BitProperties&) const = default;
};

struct VideoConfig
{
    uint32_t width = 1080;
    uint32_t height = 1920;
    uint32_t framerate = 30; // fields per second when interlaced
    bool interlaced = false;
    bool fractional = false; // times 1000/1001
    BitProperties network;
    BitProperties application;
    uint32_t packingMode = 0; // 0 general, 1 block
    uint32_t colorimetry = 1;
    bool useDefaultTrOffset = true;
    uint32_t trOffset = 0;
};

struct AudioConfig
{
    uint32_t encodingBytes = 2; // bytes of one sample: 2 L16, 3 L24
    uint32_t samplingRateHz = 48000;
    uint32_t packetTimeUs = 1000;
    uint32_t channels = 2;
    uint32_t packetsPerBuffer = 50;
};

struct AncillaryConfig
{
    uint32_t activeWidth = 5500;
    uint32_t rawWidth = 3840;
    uint32_t activeHeight = 2250;
    uint32_t rawHeight = 2160;
    uint32_t framerate = 24;
    bool interlaced = false;
    bool fractional = false;
};

using EssenceConfig = std::variant<VideoConfig, AudioConfig, AncillaryConfig>;

struct ConnectionConfig
{
    uint32_t sourceIp = 0; // IPv4 in host order everywhere
    uint32_t destinationIp = 0;
    uint16_t destinationPort = 0;
    uint64_t networkInterfaceId = 0;
    std::string interfaceName;     // filled by the control side from networkInterfaceId
    uint32_t interfaceAddress = 0; // first IPv4 address of that interface, 0 if it has none
    bool inclusion = false;        // true: take only the sources listed; false: all but them
    std::vector<uint32_t> sources;
    uint8_t dscp = 0;
    uint8_t multicastTtl = 0;
};

struct NetworkConfig
{
    uint8_t payloadType = 0;
    uint32_t ssrc = 0;
    uint32_t socketBufferSize = 0;
    std::vector<ConnectionConfig> connections;
};

constexpr uint32_t kMostQueueDepth = 65536; // slots of a rail

struct CommonConfig
{
    uint32_t queueDepth = 0; // 1 to kMostQueueDepth
    std::vector<uint64_t> cpuCores;
    uint64_t conductorId = 0;
    uint32_t numaNode = 0;
};

// Where the buffers of a slot lie; a pure function of the essence configuration.
struct BufferPlace
{
    uint64_t offset = 0;
    uint64_t size = 0;
};

struct SlotLayout
{
    uint32_t lockSize = 0;
    std::map<uint32_t, BufferPlace> buffers; // video 0 (and 1, the second field), audio 0, ancillary 0 to 15
};

// Of one connection.
struct PathStatus
{
    uint64_t transferred = 0; // packets received from, or handed to, the network on it
    uint64_t lost = 0;        // of those that the other paths have too, the ones that never came, or could not be sent
};

struct NetworkCounters
{
    uint64_t transferredPackets = 0; // received from, or handed to, the network
    uint64_t processedPackets = 0;   // of these, written into slots or sent from them
    uint64_t drops = 0;              // slots for which the ring had no room
    uint64_t underruns = 0;
    uint64_t lostPackets = 0;
    uint64_t delayedPackets = 0;
    uint64_t biggestDelayNs = 0; // within the last second
    uint32_t receivedSsrc = 0;
    uint8_t payloadType = 0;
    std::vector<PathStatus> paths{}; // in the order of the connections
};

struct ProcessingTimes // nanoseconds spent on one slot
{
    uint64_t minimum = 0;
    uint64_t maximum = 0;
    uint64_t mean = 0;
};

// Names of the rails begin so; what a killed service left behind is found by it.
constexpr const char* kRailNamePrefix = "/mxsd-";

class MediaClock; // MediaClock.h

// What the service hands every stream: its own settings.
struct MediaSettings
{
    const MediaClock* clock = nullptr; // of transmit streams; outlives them. Null: the system's clock
    uint8_t defaultMulticastTtl = 16;
    std::string railGroup;                  // group that may open the rails besides the owner, empty: nobody
    uint64_t memoryLimitBytes = 8ULL << 30; // a ring larger than this is refused with 10
    uint64_t longestHoldNs = 100'000'000;   // longest standstill in a slot; at least the slot's period

    // Takes a line for the service's log, on the control side's thread. Empty: the line goes to standard error.
    std::function<void(const std::string&)> log;
};

// Ports whose datagrams the receivers of an interface must ignore; asked for each datagram batch, so it is cheap and
// safe from any thread.
class PortDropRules
{
public:
    virtual ~PortDropRules() = default;
    virtual bool IsDropped(uint64_t networkInterfaceId, uint16_t udpPort) const noexcept = 0;
};

class ConductorLoop; // ConductorLoop.h: the pinned thread that runs all streams of one conductor

// One stream's media. All calls come from the control side, one at a time; the conductor's thread does the rest.
class MediaStream
{
public:
    virtual ~MediaStream() = default;

    // Makes the rail and sockets and joins the conductor's loop. On success the rail exists and, for send, the service
    // is its consumer already. Refuses: 4 bad configuration, 10 socket or memory.
    virtual Outcome Start(ConductorLoop& conductor) = 0;
    virtual void Stop() = 0; // leaves the loop, closes sockets, unlinks the rail; counters stay

    virtual bool IsRunning() const = 0;
    virtual bool IsDamaged() const = 0; // another program has cut the rail's file short: nothing is left but to stop
    virtual std::multimap<std::string, std::string> RailDescription() const = 0; // empty until a rail exists
    virtual NetworkCounters Counters() const = 0;
    virtual ProcessingTimes Times() const = 0;
    virtual uint32_t SlotsDropped() const = 0;
    virtual bool BufferDelayed() const = 0;
};

// Checks a whole configuration and says in a sentence what cannot be done (code 4; 2 for what this service has not).
Outcome CheckEssence(Direction direction, const EssenceConfig& essence);
Outcome CheckNetwork(Direction direction, const NetworkConfig& network);

// Valid for every configuration that CheckEssence accepts.
SlotLayout LayoutOf(const EssenceConfig& essence);

// What a rail of so many slots takes of the memory, at most: slots, tables of records, and rounding to huge pages.
constexpr uint64_t RingBytes(uint32_t lockSize, uint32_t queueDepth)
{
    constexpr uint64_t kTableBytes = 4096, kRoundingBytes = 4 << 20;
    return (uint64_t{lockSize} + lockSize / 128 + kTableBytes) * (queueDepth + 1ull) + kRoundingBytes;
}

// A stream that is ready to start; the records are copied. `drops` outlives the stream.
std::unique_ptr<MediaStream> MakeMediaStream(Direction direction, const CommonConfig& common,
                                             const NetworkConfig& network, const EssenceConfig& essence,
                                             const MediaSettings& settings, const PortDropRules& drops);

} // namespace mxs::media

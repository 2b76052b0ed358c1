// The records behind the service's documents; those of a stream's configuration are the media side's own.
#pragma once

#include "mxs/media/MediaStream.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace mxs
{

constexpr uint32_t kUnknownNumaNode = 4294967295u;
constexpr size_t kMaxListed = 128; // no list that clients read or write is longer

struct ContextIdentity
{
    uint64_t appId = 0;
    uint64_t contextId = 0;
};

struct ContextLastAccess
{
    uint64_t lastAccess = 0; // nanoseconds since 1970, of the last request with the context's token
};

struct ContextTtl
{
    uint64_t ttl = 300; // seconds
};

struct IdList
{
    std::vector<uint64_t> ids;
};

struct ServerError
{
    std::string message;
    uint32_t code = 0;
};

// The work of the service's request threads. Times in nanoseconds; minimum and maximum of the last full second.
struct ProcessingStatus
{
    uint32_t threadCount = 0;
    uint64_t processingTime = 0;
    uint64_t waitTime = 0;
    double globalLoad = 0; // percent of the whole machine that the service used in the last full second
    uint32_t minimumWaitTime = 0;
    uint32_t maximumWaitTime = 0;
    uint32_t minimumProcessingTime = 0;
    uint32_t maximumProcessingTime = 0;
    uint32_t jobRate = 0; // a second
    uint64_t jobCount = 0;
};

struct ServiceStatus
{
    uint64_t mxsVersion = 0;
    uint64_t flowRailVersion = 0;
    bool initialized = false;
    ProcessingStatus processing;
};

struct ConductorCreate
{
    bool shared = false;
    uint64_t id = 0;
};

struct ConductorConfig
{
    uint64_t cpuCoreId = 0;
};

struct ConductorState
{
    bool started = false;
};

struct ConductorStatus
{
    uint64_t throughput = 0; // bits per second
    double load = 0;         // percent of its core
    uint64_t totalPackets = 0;
};

// Numbers as in the list of its spellings.
enum class CoreAvailability : uint32_t
{
    Available,
    NotAvailable, // offline, or outside the cores that the service may use
    AlreadyUsed   // a conductor is configured on it
};

struct CpuCoreStatus
{
    uint32_t coreId = 0; // the operating system's number
    uint32_t numaNode = kUnknownNumaNode;
    uint32_t maxSpeedMhz = 0;
    uint32_t usagePercent = 0;
    uint32_t groupId = 0; // the processor package
    CoreAvailability availability = CoreAvailability::NotAvailable;
};

struct InterfaceConfig
{
    uint32_t ip = 0; // host order
    uint32_t subnetMask = 0;
};

enum class Duplex : uint32_t
{
    Half,
    Full,
    Unknown
};

struct InterfaceCharacteristics
{
    uint32_t index = 0;
    std::string systemName;
    uint32_t linkSpeedMbit = 0;
    Duplex duplex = Duplex::Unknown;
    uint32_t mtu = 0;
    std::string driverVersion;
    uint32_t numaNode = kUnknownNumaNode;
    uint64_t mac = 0; // the first byte is the highest of the six
    bool linkUp = false;
};

struct InterfaceStatus
{
    InterfaceCharacteristics characteristics;
    uint64_t uploadBitsPerSecond = 0;
    uint64_t downloadBitsPerSecond = 0;
};

struct StreamCreate
{
    media::Direction direction = media::Direction::Receive;
    uint32_t essence = 0; // 1 video, 2 audio, 3 ancillary
    bool shared = false;
    uint64_t id = 0;
};

struct StreamState
{
    bool started = false;
    bool opened = false;
};

struct RailDescriptor
{
    uint32_t type = 1; // file map
    std::multimap<std::string, std::string> description;
};

struct StreamCommonStatus
{
    RailDescriptor rail;
    media::ProcessingTimes times;
    bool bufferDelayed = false;
};

struct EssenceStatus
{
    uint32_t essence = 1;
    media::SlotLayout layout;
    uint32_t slotsDropped = 0;
};

} // namespace mxs

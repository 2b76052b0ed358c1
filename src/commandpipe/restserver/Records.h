// The plain wire records: one structure for each JSON document, its members named as the document's keys. Addresses
// and ports are carried as they are. The default of a member is what a reader starts with that allocates the record.
#pragma once

#include "commandpipe/restserver/Enumerations.h"
#include "commandpipe/restserver/ResultCode.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
// ---- the session ----

struct CONTEXT_IDENTITY
{
    uint64_t AppID = 0;
    uint64_t ContextID = 0; // filled by the client from the answer

    bool operator==(const CONTEXT_IDENTITY&) const = default;
};

struct CONTEXT_LAST_ACCESS
{
    uint64_t LastAccess = 0;

    bool operator==(const CONTEXT_LAST_ACCESS&) const = default;
};

struct CONTEXT_TTL
{
    uint64_t TTL = 300;

    bool operator==(const CONTEXT_TTL&) const = default;
};

struct ServerError
{
    std::string ErrMsg = "Unknown";
    uint32_t ErrCode = RESULT_UNKNOWN;

    bool operator==(const ServerError&) const = default;
};

struct PROCESSING_STATUS
{
    uint32_t ThreadCount = 0;
    uint64_t ProcessingTime = 0;
    uint64_t WaitTime = 0;
    double GlobalLoad = 0;
    uint32_t MinimumWaitTime = 0;
    uint32_t MaximumWaitTime = 0;
    uint32_t MinimumProcessingTime = 0;
    uint32_t MaximumProcessingTime = 0;
    uint32_t JobRate = 0;
    uint64_t JobCount = 0;

    bool operator==(const PROCESSING_STATUS&) const = default;
};

struct MXS_STATUS
{
    uint64_t MxsVersion = 0;
    uint64_t FlowRailVersion = 0;
    bool Initialized = false;
    PROCESSING_STATUS ProcessingStatus{};

    bool operator==(const MXS_STATUS&) const = default;
};

// ---- conductors, CPU cores, network interfaces ----

struct CONDUCTOR_CREATE
{
    bool Shared = false;
    uint64_t ID = 0; // 0 for a new one; filled by the client from the answer

    bool operator==(const CONDUCTOR_CREATE&) const = default;
};

struct CONDUCTOR_CONFIG
{
    uint64_t CpuCoreID = 0;

    bool operator==(const CONDUCTOR_CONFIG&) const = default;
};

struct CONDUCTOR_STATE
{
    bool Started = false;

    bool operator==(const CONDUCTOR_STATE&) const = default;
};

struct CONDUCTOR_STATUS
{
    uint64_t Throughput = 0;
    double Load = 0;
    uint64_t TotalPacketTransferred = 0;

    bool operator==(const CONDUCTOR_STATUS&) const = default;
};

struct CPU_CORE_STATUS
{
    uint32_t CoreId = 0;
    uint32_t NumaNode = 0;
    uint32_t MaxSpeed = 0;
    uint8_t CoreUsage = 0;
    uint32_t GroupId = 0;
    uint32_t ConductorAvailability = CONDUCTOR_AVAILABILITY_NOT_AVAILABLE;

    bool operator==(const CPU_CORE_STATUS&) const = default;
};

struct NET_IF_CONFIG
{
    uint32_t IP = 0;
    uint32_t SubnetMask = 0;

    bool operator==(const NET_IF_CONFIG&) const = default;
};

struct NET_IF_CHARACTERISTICS
{
    uint32_t InterfaceIndex = 0;
    std::string SystemName{};
    uint32_t LinkSpeed = 0;
    uint32_t DuplexType = 0;
    uint32_t MTU = 0;
    std::string DriverVersion{};
    uint32_t NumaNode = 0;
    uint64_t Mac = 0;
    bool LinkStatus = false;

    bool operator==(const NET_IF_CHARACTERISTICS&) const = default;
};

struct NET_IF_STATUS
{
    NET_IF_CHARACTERISTICS Characteristics{};
    uint64_t UploadThroughput = 0;
    uint64_t DownloadThroughput = 0;

    bool operator==(const NET_IF_STATUS&) const = default;
};

// ---- streams, apart from their essence ----

struct STREAM_CREATE
{
    uint32_t Type = 0;    // STREAM_TYPE
    uint32_t Essence = 0; // ESSENCE_TYPE; the one enumeration that travels as a number
    bool Shared = false;
    uint64_t ID = 0; // filled by the client from the answer

    bool operator==(const STREAM_CREATE&) const = default;
};

struct STREAM_COMMON_CONFIG
{
    uint32_t ApplicativeBufferQueueDepth = 0;
    std::vector<uint64_t> CpuCores{}; // a read appends
    uint64_t ConductorID = 0;
    uint32_t NumaNode = 0;

    bool operator==(const STREAM_COMMON_CONFIG&) const = default;
};

struct CONNECTION_CONFIG
{
    uint32_t SourceIp = 0;
    uint32_t DestinationIp = 0;
    uint16_t DestinationPort = 0;
    uint64_t NetworkInterfaceID = 0;
    uint32_t MulticastMode = 0;
    std::vector<uint32_t> MulticastSources{}; // a read appends
    uint8_t Dscp = 0;
    uint8_t MulticastTtl = 0;

    bool operator==(const CONNECTION_CONFIG&) const = default;
};

struct STREAM_NETWORK_CONFIG
{
    uint8_t PayloadType = 0;
    uint32_t SSRC = 0;
    uint32_t SocketBufferSize = 0;
    std::vector<CONNECTION_CONFIG> ConnectionConfigurations{}; // a read appends

    bool operator==(const STREAM_NETWORK_CONFIG&) const = default;
};

struct STREAM_STATE
{
    bool Started = false;
    bool Opened = false;

    bool operator==(const STREAM_STATE&) const = default;
};

// The serializer's own record; the rail has a type of this name in the global namespace.
struct FLOW_RAIL_DESCRIPTOR
{
    uint32_t Type = FLOW_RAIL_DESCRIPTOR_TYPE_UNKNOWN;
    std::multimap<std::string, std::string> Description{}; // a read replaces it

    bool operator==(const FLOW_RAIL_DESCRIPTOR&) const = default;
};

struct STREAM_COMMON_STATUS
{
    FLOW_RAIL_DESCRIPTOR FlowRailDescriptor{};
    uint64_t MinProcessingTime = 0;
    uint64_t MaxProcessingTime = 0;
    uint64_t MeanProcessingTime = 0;
    bool ApplicativeBufferDelayed = false;

    bool operator==(const STREAM_COMMON_STATUS&) const = default;
};

struct STREAM_NETWORK_STATUS
{
    uint64_t TotalTransferredPacketCount = 0;
    uint64_t TotalProcessedPacketCount = 0;
    uint64_t DropCount = 0;
    uint64_t UnderrunCount = 0;
    uint64_t LostPacketsCount = 0;
    uint64_t PacketsInDelaySituationCount = 0;
    uint64_t BiggestDelaySituationDuringLastSec = 0;
    uint32_t ReceivedSSRC = 0;
    uint8_t PayloadType = 0;

    bool operator==(const STREAM_NETWORK_STATUS&) const = default;
};
} // namespace Quillmont::Trellis::CommandPipe::RestServer

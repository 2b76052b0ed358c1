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

// ---- the PTP daemon: the documents nest the data sets, the records do not ----

struct PTP_CONFIG
{
    char InterfaceName[256] = {}; // zero-terminated; a read clears it, and cuts what is longer
    bool hybridMode = false;
    uint32_t TimeStamping = 0; // TIME_STAMPING

    // "DefaultDS"
    uint8_t clockClass = 0;
    uint8_t clockAccuracy = 0;
    uint16_t offsetScaledLogVariance = 0;
    bool twoStepFlag = false;
    uint8_t domainNumber = 0;
    bool slaveOnly = false;
    uint8_t priority1 = 0;
    uint8_t priority2 = 0;

    // "PortDS"; intervals are base-2 logarithms of seconds
    int8_t logMinDelayReqInterval = 0;
    int8_t logAnnounceInterval = 0;
    uint8_t announceReceiptTimeout = 0;
    int8_t logSyncInterval = 0;
    uint32_t delayMechanism = DELAY_MECHANISM_E2E;
    int8_t logMinPdelayReqInterval = 0;
    uint8_t versionNumber = 0;

    bool operator==(const PTP_CONFIG&) const = default;
};

struct PORT_IDENTITY
{
    uint64_t clockIdentity = 0; // the first octet of the identity is the highest
    uint16_t portNumber = 0;

    bool operator==(const PORT_IDENTITY&) const = default;
};

struct PTP_STATUS
{
    // "ParentDS"; those that begin with a capital stand in its "gm"
    PORT_IDENTITY parentPortIdentity{};
    bool parentStats = false;
    uint16_t observedParentOffsetScaledLogVariance = 0;
    int32_t observedParentClockPhaseChangeRate = 0;
    uint64_t grandmasterIdentity = 0;
    uint8_t ClockClass = 0;
    uint8_t ClockAccuracy = 0;
    uint16_t OffsetScaledLogVariance = 0;
    uint8_t grandmasterPriority1 = 0;
    uint8_t grandmasterPriority2 = 0;

    // "CurrentDS"; nanoseconds
    uint16_t stepsRemoved = 0;
    double offsetFromMaster = 0;
    double meanPathDelay = 0;

    // "PortDS"
    int8_t logMinDelayReqInterval = 0;
    double peerMeanPathDelay = 0;
    int8_t logAnnounceInterval = 0;
    uint8_t announceReceiptTimeout = 0;
    int8_t logSyncInterval = 0;
    uint32_t delayMechanism = 0;
    int8_t logMinPdelayReqInterval = 0;
    uint8_t versionNumber = 0;
    PORT_IDENTITY portIdentity{};
    uint32_t portState = PORT_STATE_UNKNOWN;

    // "DefaultDS"
    uint16_t numberPorts = 0;
    uint8_t clockClass = 0;
    uint8_t clockAccuracy = 0;
    uint16_t offsetScaledLogVariance = 0;
    bool twoStepFlag = false;
    uint8_t domainNumber = 0;
    bool slaveOnly = false;
    uint8_t priority1 = 0;
    uint8_t priority2 = 0;
    uint64_t clockIdentity = 0;

    // "TimePropertiesDS"
    int16_t currentUtcOffset = 0;
    bool currentUtcOffsetValid = false;
    bool leap59 = false;
    bool leap61 = false;
    bool timeTraceable = false;
    bool frequencyTraceable = false;
    bool ptpTimescale = false;
    uint8_t timeSource = 0;

    uint64_t CurrentSystemTime = 0;

    bool operator==(const PTP_STATUS&) const = default;
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

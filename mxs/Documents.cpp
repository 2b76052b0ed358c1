// The tables of keys, one for each document.
#include "mxs/Documents.h"

#include "mxs/DocumentFields.h"

#include <utility>

namespace mxs
{

namespace
{

using namespace fields;
using namespace media;

constexpr int kDeepestNesting = 16;

constexpr Field<ContextIdentity> kContextIdentity[] = {
    Id<&ContextIdentity::appId>("AppID"),
    Id<&ContextIdentity::contextId>("ContextID"),
};
constexpr Field<ContextLastAccess> kContextLastAccess[] = {Number<&ContextLastAccess::lastAccess>("LastAccess")};
constexpr Field<ContextTtl> kContextTtl[] = {Number<&ContextTtl::ttl>("TTL")};
// The service's own lists are as long as they are; what clients send beyond the limit is refused.
constexpr Field<IdList> kIdList[] = {Ids<&IdList::ids, SIZE_MAX>("ID")};
constexpr Field<ServerError> kServerError[] = {
    Text<&ServerError::message>("ErrMsg"),
    Number<&ServerError::code>("ErrCode"),
};
constexpr Field<ProcessingStatus> kProcessingStatus[] = {
    Number<&ProcessingStatus::threadCount>("ThreadCount"),
    Number<&ProcessingStatus::processingTime>("ProcessingTime"),
    Number<&ProcessingStatus::waitTime>("WaitTime"),
    Number<&ProcessingStatus::globalLoad>("GlobalLoad"),
    Number<&ProcessingStatus::minimumWaitTime>("MinimumWaitTime"),
    Number<&ProcessingStatus::maximumWaitTime>("MaximumWaitTime"),
    Number<&ProcessingStatus::minimumProcessingTime>("MinimumProcessingTime"),
    Number<&ProcessingStatus::maximumProcessingTime>("MaximumProcessingTime"),
    Number<&ProcessingStatus::jobRate>("JobRate"),
    Number<&ProcessingStatus::jobCount>("JobCount"),
};
constexpr Field<ServiceStatus> kServiceStatus[] = {
    Number<&ServiceStatus::mxsVersion>("MxsVersion"),
    Number<&ServiceStatus::flowRailVersion>("FlowRailVersion"),
    Flag<&ServiceStatus::initialized>("Initialized"),
    Nested<&ServiceStatus::processing, kProcessingStatus>("ProcessingStatus"),
};
constexpr Field<ConductorCreate> kConductorCreate[] = {
    Flag<&ConductorCreate::shared>("Shared"),
    Id<&ConductorCreate::id>("ID"),
};
constexpr Field<ConductorConfig> kConductorConfig[] = {Id<&ConductorConfig::cpuCoreId>("CpuCoreID")};
constexpr Field<ConductorState> kConductorState[] = {Flag<&ConductorState::started>("Started")};
constexpr Field<ConductorStatus> kConductorStatus[] = {
    Number<&ConductorStatus::throughput>("Throughput"),
    Number<&ConductorStatus::load>("Load"),
    Number<&ConductorStatus::totalPackets>("TotalPacketTransferred"),
};
constexpr Field<CpuCoreStatus> kCpuCoreStatus[] = {
    Number<&CpuCoreStatus::coreId>("CoreId"),
    Number<&CpuCoreStatus::numaNode>("NumaNode"),
    Number<&CpuCoreStatus::maxSpeedMhz>("MaxSpeed"),
    Number<&CpuCoreStatus::usagePercent>("CoreUsage"),
    Number<&CpuCoreStatus::groupId>("GroupId"),
    Enum<&CpuCoreStatus::availability, kAvailabilities>("ConductorAvailability"),
};
constexpr Field<InterfaceConfig> kInterfaceConfig[] = {
    Number<&InterfaceConfig::ip>("IP"),
    Number<&InterfaceConfig::subnetMask>("SubnetMask"),
};
constexpr Field<InterfaceCharacteristics> kCharacteristics[] = {
    Number<&InterfaceCharacteristics::index>("InterfaceIndex"),
    Text<&InterfaceCharacteristics::systemName>("SystemName"),
    Number<&InterfaceCharacteristics::linkSpeedMbit>("LinkSpeed"),
    Enum<&InterfaceCharacteristics::duplex, kDuplexTypes>("DuplexType"),
    Number<&InterfaceCharacteristics::mtu>("MTU"),
    Text<&InterfaceCharacteristics::driverVersion>("DriverVersion"),
    Number<&InterfaceCharacteristics::numaNode>("NumaNode"),
    Number<&InterfaceCharacteristics::mac>("Mac"),
    Flag<&InterfaceCharacteristics::linkUp>("LinkStatus"),
};
constexpr Field<InterfaceStatus> kInterfaceStatus[] = {
    Nested<&InterfaceStatus::characteristics, kCharacteristics>("Characteristics"),
    Number<&InterfaceStatus::uploadBitsPerSecond>("UploadThroughput"),
    Number<&InterfaceStatus::downloadBitsPerSecond>("DownloadThroughput"),
};
constexpr Field<StreamCreate> kStreamCreate[] = {
    Enum<&StreamCreate::direction, kStreamTypes>("Type"),
    Number<&StreamCreate::essence>("Essence"), // the one enumeration that travels as a number
    Flag<&StreamCreate::shared>("Shared"),
    Id<&StreamCreate::id>("ID"),
};
constexpr Field<StreamState> kStreamState[] = {
    Flag<&StreamState::started>("Started"),
    Flag<&StreamState::opened>("Opened"),
};
constexpr Field<CommonConfig> kCommonConfig[] = {
    Number<&CommonConfig::queueDepth>("ApplicativeBufferQueueDepth"),
    Ids<&CommonConfig::cpuCores, kMaxListed>("CpuCores", Need::Optional), // clients leave an empty list out
    Id<&CommonConfig::conductorId>("ConductorID"),
    Number<&CommonConfig::numaNode>("NumaNode"),
};
constexpr Field<ConnectionConfig> kConnection[] = {
    Number<&ConnectionConfig::sourceIp>("SourceIp"),
    Number<&ConnectionConfig::destinationIp>("DestinationIp"),
    Number<&ConnectionConfig::destinationPort>("DestinationPort"),
    Id<&ConnectionConfig::networkInterfaceId>("NetworkInterfaceID"),
    Enum<&ConnectionConfig::inclusion, kMulticastModes>("MulticastMode"),
    Ids<&ConnectionConfig::sources, kMaxListed>("MulticastSources", Need::Optional), // addresses, written as ids
    Number<&ConnectionConfig::dscp>("Dscp"),
    Number<&ConnectionConfig::multicastTtl>("MulticastTtl"),
};
constexpr Field<NetworkConfig> kNetworkConfig[] = {
    Number<&NetworkConfig::payloadType>("PayloadType"),
    Number<&NetworkConfig::ssrc>("SSRC"),
    Number<&NetworkConfig::socketBufferSize>("SocketBufferSize"),
    List<&NetworkConfig::connections, kConnection, kMaxListed>("ConnectionConfigurations", Need::Optional),
};
constexpr Field<BitProperties> kBitProperties[] = {
    Enum<&BitProperties::sampling, kBitSamplings>("BitSampling"),
    Enum<&BitProperties::depth, kBitDepths>("BitDepth"),
    Enum<&BitProperties::padding, kBitPaddings>("BitPadding"),
    Enum<&BitProperties::endianness, kEndiannesses>("Endianness"),
};
constexpr Field<VideoConfig> kVideoConfig[] = {
    Number<&VideoConfig::width>("FrameWidth"),
    Number<&VideoConfig::height>("FrameHeight"),
    Number<&VideoConfig::framerate>("Framerate"),
    Flag<&VideoConfig::interlaced>("Interlaced"),
    Enum<&VideoConfig::fractional, kClockTypes>("ClockType"),
    Nested<&VideoConfig::network, kBitProperties>("NetworkBitProp"),
    Enum<&VideoConfig::packingMode, kPackingModes>("PackingMode_E"),
    Enum<&VideoConfig::colorimetry, kColorimetries>("Colorimetry"),
    Nested<&VideoConfig::application, kBitProperties>("AppBitProp"),
    Flag<&VideoConfig::useDefaultTrOffset>("UseDefaultTrOffset"),
    Number<&VideoConfig::trOffset>("TrOffset"),
};
constexpr Field<AudioConfig> kAudioConfig[] = {
    Enum<&AudioConfig::encodingBytes, kEncodings>("Encoding"),
    Enum<&AudioConfig::samplingRateHz, kSamplingRates>("SamplingRate"),
    Enum<&AudioConfig::packetTimeUs, kPacketTimes>("PacketTime"),
    Number<&AudioConfig::channels>("ChannelNumber"),
    Number<&AudioConfig::packetsPerBuffer>("NbPacketsPerBuffer"),
};
constexpr Field<AncillaryConfig> kAncillaryConfig[] = {
    Number<&AncillaryConfig::activeWidth>("ActiveFrameWidth"),
    Number<&AncillaryConfig::rawWidth>("RawFrameWidth"),
    Number<&AncillaryConfig::activeHeight>("ActiveFrameHeight"),
    Number<&AncillaryConfig::rawHeight>("RawFrameHeight"),
    Number<&AncillaryConfig::framerate>("Framerate"),
    Flag<&AncillaryConfig::interlaced>("Interlaced"),
    Enum<&AncillaryConfig::fractional, kClockTypes>("ClockType"),
};
constexpr Field<NetworkCounters> kNetworkCounters[] = {
    Number<&NetworkCounters::transferredPackets>("TotalTransferredPacketCount"),
    Number<&NetworkCounters::processedPackets>("TotalProcessedPacketCount"),
    Number<&NetworkCounters::drops>("DropCount"),
    Number<&NetworkCounters::underruns>("UnderrunCount"),
    Number<&NetworkCounters::lostPackets>("LostPacketsCount"),
    Number<&NetworkCounters::delayedPackets>("PacketsInDelaySituationCount"),
    Number<&NetworkCounters::biggestDelayNs>("BiggestDelaySituationDuringLastSec"),
    Number<&NetworkCounters::receivedSsrc>("ReceivedSSRC"),
    Number<&NetworkCounters::payloadType>("PayloadType"),
};
constexpr Field<PathStatus> kPathStatus[] = {
    Number<&PathStatus::transferred>("TransferredPacketCount"),
    Number<&PathStatus::lost>("LostPacketsCount"),
};

Json WriteEssence(const VideoConfig& config)
{
    return WriteFields(kVideoConfig, config);
}
Json WriteEssence(const AudioConfig& config)
{
    return WriteFields(kAudioConfig, config);
}
Json WriteEssence(const AncillaryConfig& config)
{
    return WriteFields(kAncillaryConfig, config);
}
void ReadEssence(const Json& data, VideoConfig& config)
{
    ReadFields(kVideoConfig, data, config, "Data");
}
void ReadEssence(const Json& data, AudioConfig& config)
{
    ReadFields(kAudioConfig, data, config, "Data");
}
void ReadEssence(const Json& data, AncillaryConfig& config)
{
    ReadFields(kAncillaryConfig, data, config, "Data");
}

const Json& MemberOfDocument(const Json& document, const char* key)
{
    if (!document.is_object()) throw Refusal(kIncorrectConfiguration, "The document is no JSON object.");
    const auto found = document.find(key);
    if (found == document.end()) RefuseKey(key, "is missing");
    return *found;
}

} // namespace

Json ParseDocument(std::string_view body)
{
    const auto watchDepth = [](int depth, Json::parse_event_t, Json&)
    {
        if (depth > kDeepestNesting) throw Refusal(kIncorrectConfiguration, "The document nests too deep.");
        return true;
    };
    try
    {
        return Json::parse(body, watchDepth);
    }
    catch (const Json::exception& error)
    {
        throw Refusal(kIncorrectConfiguration, std::string("The body is no JSON document: ") + error.what());
    }
}

Json ToDocument(const ContextLastAccess& record)
{
    return WriteFields(kContextLastAccess, record);
}
Json ToDocument(const ContextTtl& record)
{
    return WriteFields(kContextTtl, record);
}
Json ToDocument(const IdList& record)
{
    return WriteFields(kIdList, record);
}
Json ToDocument(const ServerError& record)
{
    return WriteFields(kServerError, record);
}
Json ToDocument(const ServiceStatus& record)
{
    return WriteFields(kServiceStatus, record);
}
Json ToDocument(const ConductorConfig& record)
{
    return WriteFields(kConductorConfig, record);
}
Json ToDocument(const ConductorState& record)
{
    return WriteFields(kConductorState, record);
}
Json ToDocument(const ConductorStatus& record)
{
    return WriteFields(kConductorStatus, record);
}
Json ToDocument(const CpuCoreStatus& record)
{
    return WriteFields(kCpuCoreStatus, record);
}
Json ToDocument(const InterfaceConfig& record)
{
    return WriteFields(kInterfaceConfig, record);
}
Json ToDocument(const InterfaceStatus& record)
{
    return WriteFields(kInterfaceStatus, record);
}
Json ToDocument(const CommonConfig& record)
{
    return WriteFields(kCommonConfig, record);
}
Json ToDocument(const NetworkConfig& record)
{
    return WriteFields(kNetworkConfig, record);
}
Json ToDocument(const StreamState& record)
{
    return WriteFields(kStreamState, record);
}
Json ToDocument(const NetworkCounters& record)
{
    Json document = WriteFields(kNetworkCounters, record);
    document["Paths"] = Json::array();
    for (const PathStatus& path : record.paths)
        document["Paths"].push_back(WriteFields(kPathStatus, path));
    return document;
}

Json ToDocument(const EssenceConfig& record)
{
    return {{"Type", EnumSpelling(EssenceTypeOf(record), kEssenceTypes)},
            {"Data", std::visit([](const auto& config) { return WriteEssence(config); }, record)}};
}

Json ToDocument(const StreamCommonStatus& record)
{
    Json description = Json::object(); // stays {} until a rail exists
    for (const auto& [key, value] : record.rail.description)
        description[key].push_back(value);
    return {{"FlowRailDescriptor",
             {{"Type", EnumSpelling(record.rail.type, kRailTypes)}, {"Description", std::move(description)}}},
            {"MinProcessingTime", record.times.minimum},
            {"MaxProcessingTime", record.times.maximum},
            {"MeanProcessingTime", record.times.mean},
            {"ApplicativeBufferDelayed", record.bufferDelayed}};
}

Json ToDocument(const EssenceStatus& record)
{
    Json buffers = Json::object();
    for (const auto& [number, place] : record.layout.buffers)
        buffers[std::to_string(number)] = {{"Offset", place.offset}, {"Size", place.size}};
    return {{"Type", EnumSpelling(record.essence, kEssenceTypes)},
            {"LockSize", record.layout.lockSize},
            {"SlotDropped", record.slotsDropped},
            {"Data", {{"BufferInfo", std::move(buffers)}}}};
}

void FromDocument(const Json& document, ContextIdentity& record)
{
    ReadFields(kContextIdentity, document, record, "");
}
void FromDocument(const Json& document, ConductorCreate& record)
{
    ReadFields(kConductorCreate, document, record, "");
}
void FromDocument(const Json& document, ConductorConfig& record)
{
    ReadFields(kConductorConfig, document, record, "");
}
void FromDocument(const Json& document, ConductorState& record)
{
    ReadFields(kConductorState, document, record, "");
}
void FromDocument(const Json& document, InterfaceConfig& record)
{
    ReadFields(kInterfaceConfig, document, record, "");
}
void FromDocument(const Json& document, StreamState& record)
{
    ReadFields(kStreamState, document, record, "");
}
void FromDocument(const Json& document, CommonConfig& record)
{
    ReadFields(kCommonConfig, document, record, "");
}
void FromDocument(const Json& document, NetworkConfig& record)
{
    ReadFields(kNetworkConfig, document, record, "");
}

void FromDocument(const Json& document, StreamCreate& record)
{
    ReadFields(kStreamCreate, document, record, "");
    if (record.essence < 1 || record.essence > 3) RefuseKey("Essence", "is none of 1, 2 and 3");
}

void FromDocument(const Json& document, EssenceConfig& record)
{
    const uint32_t type = ReadEnum(MemberOfDocument(document, "Type"), kEssenceTypes, "Type");
    if (type != EssenceTypeOf(record))
        throw Refusal(kEssenceMismatch,
                      "The stream's essence is " + std::string(EnumSpelling(EssenceTypeOf(record), kEssenceTypes)) +
                          ", the document's is " + std::string(EnumSpelling(type, kEssenceTypes)) + ".");
    const Json& data = MemberOfDocument(document, "Data");
    std::visit([&](auto& config) { ReadEssence(data, config); }, record);
}

uint32_t EssenceTypeOf(const EssenceConfig& config)
{
    return static_cast<uint32_t>(config.index()) + 1; // the variant's order is that of the types
}

EssenceConfig DefaultEssence(uint32_t essenceType)
{
    switch (essenceType)
    {
    case 2: return AudioConfig{};
    case 3: return AncillaryConfig{};
    default: return VideoConfig{};
    }
}

} // namespace mxs

// Configuration and status of a stream: each operation builds or copies one wire record and calls the stream client.
#include "stream/CStreamModel.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string>

#include "commandpipe/restclient/IConductorClient.h"
#include "commandpipe/restclient/ICpuCoreClient.h"
#include "commandpipe/restclient/IRestClient.h"
#include "commandpipe/restclient/IStreamClient.h"
#include "logger/CFunctionTracer.h"
#include "logger/Log.h"
#include "stream/EssenceMapping.h"

namespace Quillmont::Trellis::Zefa
{
using namespace CommandPipe::RestServer;
using namespace Mxs::RtpEssence;
using Logger::kPriorityError;
using Logger::Log;

namespace
{
constexpr size_t kMostElements = 128; // of each array in the exported structures
constexpr uint8_t kAudioDscp = 34;    // assured forwarding 41

// Whatever counts arrive from outside, no more than the array's elements are touched.
template <class T>
size_t CutToArray(T count)
{
    return static_cast<size_t>(std::min<uint64_t>(count, kMostElements));
}

// The rule of every operation that has none of its own.
ZEFA_ERRORCODE TranslateCommonly(RESULT_CODE result)
{
    if (result == RESULT_NO_ERROR) return ZEFA_NO_ERROR;
    if (result == RESULT_NOT_INITIALIZED) return ZEFA_ERR_INCORRECT_STATE;
    return result > RESULT_NO_ERROR ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_OPERATION_FAILED;
}

void LogUnknownEssence(uint32_t essenceType)
{
    Log(kPriorityError, "The essence type in the config " + std::to_string(essenceType) + "is not supported. \r\n");
}

CONNECTION_CONFIG ConnectionToWire(const ZEFA_CONNECTION_CONFIG& connection, uint8_t dscp)
{
    CONNECTION_CONFIG record;
    record.SourceIp = connection.SourceIp_UL;
    record.DestinationIp = connection.DestinationIp_UL;
    record.DestinationPort = connection.DestinationPort_US;
    record.NetworkInterfaceID = connection.NetworkInterfaceId_ULL;
    record.MulticastMode = kMulticastModes.ToWire(connection.MulticastMode_E);
    const uint32_t* sources = connection.MulticastSources_UL;
    record.MulticastSources.assign(sources, sources + CutToArray(connection.NbMulticastSources_UL));
    record.Dscp = dscp;
    record.MulticastTtl = 0; // the service's own default
    return record;
}

void ConnectionToExported(const CONNECTION_CONFIG& record, ZEFA_CONNECTION_CONFIG* connection)
{
    connection->DestinationPort_US = record.DestinationPort;
    connection->SourceIp_UL = record.SourceIp;
    connection->DestinationIp_UL = record.DestinationIp;
    connection->MulticastMode_E = kMulticastModes.ToExported(record.MulticastMode);
    const size_t sourceCount = CutToArray(record.MulticastSources.size());
    std::copy_n(record.MulticastSources.begin(), sourceCount, connection->MulticastSources_UL);
    connection->NbMulticastSources_UL = static_cast<uint32_t>(sourceCount);
    connection->NetworkInterfaceId_ULL = record.NetworkInterfaceID;
}

// Reads into a record of its own default values and fills the structure whatever the result.
template <class TRecord, class TStructure>
RESULT_CODE ReadEssenceConfig(CommandPipe::RestClient::IStreamClient* client, uint64_t streamId, TStructure* structure)
{
    TRecord record;
    const RESULT_CODE result = client->GetEssenceConfig(streamId, &record);
    ToExported(record, structure);
    return result;
}
} // namespace

ZEFA_ERRORCODE CStreamModel::GetCommonConfig(ZEFA_STREAM_COMMON_CONFIG* config)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::GetCommonConfig");
    STREAM_COMMON_CONFIG record;
    const RESULT_CODE result = StreamClient()->GetCommonConfig(StreamId, &record);
    if (result == RESULT_NO_ERROR)
    {
        config->ApplicativeBufferQueueDepth_UL = record.ApplicativeBufferQueueDepth;
        config->LockTimeoutMs_UL = LockTimeoutMs; // the library's own, no part of the record
        const size_t coreCount = CutToArray(record.CpuCores.size());
        std::copy_n(record.CpuCores.begin(), coreCount, config->CpuCores_ULL);
        config->NbCpuCores_ULL = coreCount;
        config->ConductorId_ULL = record.ConductorID;
    }
    return TranslateCommonly(result);
}

static ZEFA_ERRORCODE TranslateSetCommonConfig(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NOT_INITIALIZED:
    case CORE_RESULT_OFFLINE_PROPERTY: return ZEFA_ERR_INCORRECT_STATE; // the stream is not closed
    case CORE_RESULT_INCORRECT_CONFIGURATION: return ZEFA_ERR_BAD_ARGUMENT;
    case RESULT_ACCESS_NOT_ALLOWED:
        Log(kPriorityError, "The conductor does not exist or is not in the stream context.\r\n");
        return ZEFA_ERR_NOT_FOUND;
    case RESULT_NOT_FOUND:
        Log(kPriorityError, "Invalid argument when setting the stream common configuration.\r\n");
        return ZEFA_ERR_BAD_ARGUMENT;
    default: return result > RESULT_NO_ERROR ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_OPERATION_FAILED;
    }
}

ZEFA_ERRORCODE CStreamModel::SetCommonConfig(const ZEFA_STREAM_COMMON_CONFIG* config)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::SetCommonConfig");
    STREAM_COMMON_CONFIG record;
    record.ApplicativeBufferQueueDepth = config->ApplicativeBufferQueueDepth_UL;
    record.CpuCores.assign(config->CpuCores_ULL, config->CpuCores_ULL + CutToArray(config->NbCpuCores_ULL));
    record.ConductorID = config->ConductorId_ULL;

    CONDUCTOR_CONFIG conductor;
    RESULT_CODE result = RestClient->GetConductorClient()->GetConfig(config->ConductorId_ULL, &conductor);
    if (result != RESULT_NO_ERROR)
    {
        Log(kPriorityError, "Could not get the Conductor configuration " + std::to_string(result));
        return ZEFA_ERR_OPERATION_FAILED;
    }
    CPU_CORE_STATUS core;
    result = RestClient->GetCpuCoreClient()->GetStatus(conductor.CpuCoreID, &core);
    if (result != RESULT_NO_ERROR)
    {
        Log(kPriorityError, "Could not get the Cpu core Status" + std::to_string(result));
        return ZEFA_ERR_OPERATION_FAILED;
    }
    record.NumaNode = core.NumaNode; // the stream's memory follows the conductor's core

    result = StreamClient()->SetCommonConfig(StreamId, record);
    if (result == RESULT_NO_ERROR)
    {
        LockTimeoutMs = config->LockTimeoutMs_UL;
        return ZEFA_NO_ERROR;
    }
    Log(kPriorityError, "Could not set the common stream config" + std::to_string(result));
    return TranslateSetCommonConfig(result);
}

ZEFA_ERRORCODE CStreamModel::GetNetworkConfig(ZEFA_STREAM_NETWORK_CONFIG* config)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::GetNetworkConfig");
    STREAM_NETWORK_CONFIG record;
    const RESULT_CODE result = StreamClient()->GetNetworkConfig(StreamId, &record);
    if (result == RESULT_NO_ERROR)
    {
        config->SocketBufferSize_UL = record.SocketBufferSize;
        config->SSRC_UL = record.SSRC;
        config->PayloadType_UB = record.PayloadType;
        const size_t connectionCount = CutToArray(record.ConnectionConfigurations.size());
        for (size_t i = 0; i < connectionCount; ++i)
            ConnectionToExported(record.ConnectionConfigurations[i], &config->Connections_X[i]);
        config->NbConnections_UL = static_cast<uint32_t>(connectionCount);
        for (size_t i = connectionCount; i < kMostElements; ++i) // the rest of these elements stays as it was
        {
            config->Connections_X[i].MulticastMode_E = ZEFA_MULTICAST_MODE_EXCLUSION;
            config->Connections_X[i].NbMulticastSources_UL = 0;
        }
    }
    return TranslateCommonly(result);
}

ZEFA_ERRORCODE CStreamModel::SetNetworkConfig(const ZEFA_STREAM_NETWORK_CONFIG* config)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::SetNetworkConfig");
    const uint8_t dscp = EssenceType == ZEFA_ESSENCE_TYPE_ST2110_30 ? kAudioDscp : 0;
    STREAM_NETWORK_CONFIG record;
    record.SocketBufferSize = config->SocketBufferSize_UL;
    record.SSRC = config->SSRC_UL;
    record.PayloadType = static_cast<uint8_t>(config->PayloadType_UB & 0xFF);
    for (const ZEFA_CONNECTION_CONFIG& connection :
         std::span(config->Connections_X, CutToArray(config->NbConnections_UL)))
        record.ConnectionConfigurations.push_back(ConnectionToWire(connection, dscp));
    return TranslateCommonly(StreamClient()->SetNetworkConfig(StreamId, record));
}

ZEFA_ERRORCODE CStreamModel::GetEssenceConfig(ZEFA_ESSENCE_CONFIG* config)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::GetEssenceConfig");
    config->EssenceType_E = static_cast<ZEFA_ESSENCE_TYPE>(EssenceType);
    switch (EssenceType)
    {
    case ZEFA_ESSENCE_TYPE_ST2110_20:
        return TranslateCommonly(
            ReadEssenceConfig<CONFIG_ST2110_20>(StreamClient(), StreamId, &config->Essence_X.ST2110_20_X));
    case ZEFA_ESSENCE_TYPE_ST2110_30:
        return TranslateCommonly(
            ReadEssenceConfig<CONFIG_ST2110_30>(StreamClient(), StreamId, &config->Essence_X.ST2110_30_X));
    case ZEFA_ESSENCE_TYPE_ST2110_40:
        return TranslateCommonly(
            ReadEssenceConfig<CONFIG_ST2110_40>(StreamClient(), StreamId, &config->Essence_X.ST2110_40_X));
    default: LogUnknownEssence(EssenceType); return ZEFA_NO_ERROR; // nothing was asked, so nothing was refused
    }
}

static ZEFA_ERRORCODE TranslateSetEssenceConfig(RESULT_CODE result)
{
    return result == CORE_RESULT_INCORRECT_CONFIGURATION ? ZEFA_ERR_BAD_ARGUMENT : TranslateCommonly(result);
}

// The essence is the structure's, not the stream's: the service refuses the document of another.
ZEFA_ERRORCODE CStreamModel::SetEssenceConfig(const ZEFA_ESSENCE_CONFIG* config)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::SetEssenceConfig");
    switch (config->EssenceType_E)
    {
    case ZEFA_ESSENCE_TYPE_ST2110_20:
        return TranslateSetEssenceConfig(
            StreamClient()->SetEssenceConfig(StreamId, ToWire(config->Essence_X.ST2110_20_X)));
    case ZEFA_ESSENCE_TYPE_ST2110_30:
        return TranslateSetEssenceConfig(
            StreamClient()->SetEssenceConfig(StreamId, ToWire(config->Essence_X.ST2110_30_X)));
    case ZEFA_ESSENCE_TYPE_ST2110_40:
        return TranslateSetEssenceConfig(
            StreamClient()->SetEssenceConfig(StreamId, ToWire(config->Essence_X.ST2110_40_X)));
    default: LogUnknownEssence(static_cast<uint32_t>(config->EssenceType_E)); return ZEFA_NO_ERROR;
    }
}

static ZEFA_ERRORCODE TranslateGetCommonStatus(RESULT_CODE result)
{
    switch (result)
    {
    case RESULT_NOT_INITIALIZED:
    case CORE_RESULT_INVALID_OPERATION:
    case CORE_RESULT_RESOURCE_UNAVAILABLE: return ZEFA_ERR_INCORRECT_STATE;
    default: return result > RESULT_NO_ERROR ? ZEFA_ERR_COMMUNICATION : ZEFA_ERR_OPERATION_FAILED;
    }
}

// The structure's numbers come from the essence status and the rail; the service's own common status has none of them.
ZEFA_ERRORCODE CStreamModel::GetCommonStatus(ZEFA_STREAM_COMMON_STATUS* status)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::GetCommonStatus");
    const std::unique_ptr<STATUS> essenceStatus = MakeEssenceStatus();
    const std::lock_guard lock(Mutex);
    if (!FlowRail) return ZEFA_ERR_INCORRECT_STATE;
    const RESULT_CODE result = StreamClient()->GetEssenceStatus(StreamId, essenceStatus.get());
    if (result != RESULT_NO_ERROR) return TranslateGetCommonStatus(result);

    status->SlotDropped_UL = static_cast<uint32_t>(essenceStatus->SlotDropped);
    if (LockSize == 0) // a slot of no bytes has no fill
        status->SlotsFilled_UL = 0;
    else if (IsTransmit())
        status->SlotsFilled_UL = SlotCount - FlowRail->GetProducerSpace(0) / LockSize;
    else
        status->SlotsFilled_UL = FlowRail->GetConsumerFill(&Consumer, 0) / LockSize;
    status->SlotCount_UL = LockedSlotCount; // slots locked so far, not slots of the ring
    return ZEFA_NO_ERROR;
}

ZEFA_ERRORCODE CStreamModel::GetNetworkStatus(ZEFA_STREAM_NETWORK_STATUS* status)
{
    CFunctionTracer tracer("Quillmont::Trellis::Zefa::CStreamModel::GetNetworkStatus");
    STREAM_NETWORK_STATUS record;
    const RESULT_CODE result = StreamClient()->GetNetworkStatus(StreamId, &record);
    if (result == RESULT_NO_ERROR)
    {
        std::memset(status, 0, sizeof *status); // the bytes behind the payload type too
        status->ReceivedSSRC_UL = record.ReceivedSSRC;
        status->PayloadType_UB = record.PayloadType;
        status->TotalTransferredPacketCount_ULL = record.TotalTransferredPacketCount;
        status->TotalProcessedPacketCount_ULL = record.TotalProcessedPacketCount;
        status->UnderrunCount_ULL = record.UnderrunCount;
        status->DropCount_ULL = record.DropCount;
        status->LostPacketsCount_ULL = record.LostPacketsCount;
    }
    return TranslateCommonly(result);
}
} // namespace Quillmont::Trellis::Zefa

// The scripted resource clients.
#include "support/FakeRestClient.h"

#include "support/CallJournal.h"

using namespace Quillmont::Trellis::CommandPipe::RestClient;
using namespace Quillmont::Trellis::CommandPipe::RestServer;
using namespace Quillmont::Trellis::Mxs::RtpEssence;

uint32_t ScriptedResults::Take(const std::string& operation)
{
    std::deque<uint32_t>& results = Results[operation];
    if (results.empty()) return RESULT_NO_ERROR;
    const uint32_t result = results.front();
    results.pop_front();
    return result;
}

namespace
{
std::string Argument(bool flag)
{
    return flag ? "true" : "false";
}

// Copies out on success alone, like the clients.
template <class TRecord>
RESULT_CODE Give(RESULT_CODE result, const TRecord& from, TRecord* to)
{
    if (result == RESULT_NO_ERROR) *to = from;
    return result;
}
} // namespace

RESULT_CODE FakeStreamClient::Answer(const std::string& operation, const std::string& arguments)
{
    CallJournal::Instance().Add("Stream." + operation + "(" + arguments + ")");
    return Results.Take(operation);
}

RESULT_CODE FakeStreamClient::Answer(const std::string& operation, uint64_t streamId)
{
    return Answer(operation, std::to_string(streamId));
}

RESULT_CODE FakeStreamClient::GetSharedList(std::vector<uint64_t>* streamIds)
{
    streamIds->clear();
    return Answer("GetSharedList", "");
}

RESULT_CODE FakeStreamClient::GetMinesList(std::vector<uint64_t>* streamIds)
{
    streamIds->clear();
    return Answer("GetMinesList", "");
}

RESULT_CODE FakeStreamClient::Create(STREAM_CREATE* stream)
{
    SentCreate = *stream;
    const RESULT_CODE result =
        Answer("Create", "type " + std::to_string(stream->Type) + ", essence " + std::to_string(stream->Essence) +
                             ", shared " + Argument(stream->Shared));
    if (result == RESULT_NO_ERROR) stream->ID = NewId;
    return result;
}

RESULT_CODE FakeStreamClient::Delete(uint64_t streamId)
{
    return Answer("Delete", streamId);
}

RESULT_CODE FakeStreamClient::GetCommonConfig(uint64_t streamId, STREAM_COMMON_CONFIG* config)
{
    return Give(Answer("GetCommonConfig", streamId), CommonConfig, config);
}

RESULT_CODE FakeStreamClient::SetCommonConfig(uint64_t streamId, const STREAM_COMMON_CONFIG& config)
{
    SentCommonConfig = config;
    return Answer("SetCommonConfig", streamId);
}

RESULT_CODE FakeStreamClient::GetEssenceConfig(uint64_t streamId, CONFIG* config)
{
    const RESULT_CODE result = Answer("GetEssenceConfig", streamId);
    if (result != RESULT_NO_ERROR) return result;
    if (auto* video = dynamic_cast<CONFIG_ST2110_20*>(config)) *video = VideoConfig;
    if (auto* audio = dynamic_cast<CONFIG_ST2110_30*>(config)) *audio = AudioConfig;
    if (auto* ancillary = dynamic_cast<CONFIG_ST2110_40*>(config)) *ancillary = AncillaryConfig;
    return result;
}

RESULT_CODE FakeStreamClient::SetEssenceConfig(uint64_t streamId, const CONFIG& config)
{
    if (const auto* video = dynamic_cast<const CONFIG_ST2110_20*>(&config)) SentVideoConfig = *video;
    if (const auto* audio = dynamic_cast<const CONFIG_ST2110_30*>(&config)) SentAudioConfig = *audio;
    if (const auto* ancillary = dynamic_cast<const CONFIG_ST2110_40*>(&config)) SentAncillaryConfig = *ancillary;
    return Answer("SetEssenceConfig", std::to_string(streamId) + ", essence " + std::to_string(config.EssenceType));
}

RESULT_CODE FakeStreamClient::GetNetworkConfig(uint64_t streamId, STREAM_NETWORK_CONFIG* config)
{
    return Give(Answer("GetNetworkConfig", streamId), NetworkConfig, config);
}

RESULT_CODE FakeStreamClient::SetNetworkConfig(uint64_t streamId, const STREAM_NETWORK_CONFIG& config)
{
    SentNetworkConfig = config;
    return Answer("SetNetworkConfig", streamId);
}

RESULT_CODE FakeStreamClient::GetCommonStatus(uint64_t streamId, STREAM_COMMON_STATUS* status)
{
    return Give(Answer("GetCommonStatus", streamId), CommonStatus, status);
}

RESULT_CODE FakeStreamClient::GetEssenceStatus(uint64_t streamId, STATUS* status)
{
    if (!status)
    {
        CallJournal::Instance().Add("Stream.GetEssenceStatus(null)");
        return RESULT_INVALID_ARGUMENT;
    }
    const RESULT_CODE result =
        Answer("GetEssenceStatus", std::to_string(streamId) + ", essence " + std::to_string(status->EssenceType));
    if (result == RESULT_NO_ERROR)
    {
        status->LockSize = LockSize;
        status->SlotDropped = SlotDropped;
        status->BufferInfo = BufferInfo;
    }
    return result;
}

RESULT_CODE FakeStreamClient::GetNetworkStatus(uint64_t streamId, STREAM_NETWORK_STATUS* status)
{
    return Give(Answer("GetNetworkStatus", streamId), NetworkStatus, status);
}

RESULT_CODE FakeStreamClient::GetState(uint64_t streamId, STREAM_STATE*)
{
    return Answer("GetState", streamId);
}

RESULT_CODE FakeStreamClient::SetState(uint64_t streamId, const STREAM_STATE& state)
{
    return Answer("SetState", std::to_string(streamId) + ", started " + Argument(state.Started) + ", opened " +
                                  Argument(state.Opened));
}

RESULT_CODE FakeStreamClient::Initialize(IRestClient*)
{
    return Answer("Initialize", "");
}

RESULT_CODE FakeStreamClient::Shutdown()
{
    return Answer("Shutdown", "");
}

RESULT_CODE FakeConductorClient::GetSharedList(std::vector<uint64_t>* conductorIds)
{
    conductorIds->clear();
    return Results.Take("GetSharedList");
}

RESULT_CODE FakeConductorClient::GetMinesList(std::vector<uint64_t>* conductorIds)
{
    conductorIds->clear();
    return Results.Take("GetMinesList");
}

RESULT_CODE FakeConductorClient::Create(CONDUCTOR_CREATE*)
{
    return Results.Take("Create");
}

RESULT_CODE FakeConductorClient::Delete(uint64_t)
{
    return Results.Take("Delete");
}

RESULT_CODE FakeConductorClient::GetConfig(uint64_t conductorId, CONDUCTOR_CONFIG* config)
{
    CallJournal::Instance().Add("Conductor.GetConfig(" + std::to_string(conductorId) + ")");
    return Give(Results.Take("GetConfig"), Config, config);
}

RESULT_CODE FakeConductorClient::SetConfig(uint64_t, const CONDUCTOR_CONFIG&)
{
    return Results.Take("SetConfig");
}

RESULT_CODE FakeConductorClient::GetStatus(uint64_t, CONDUCTOR_STATUS*)
{
    return Results.Take("GetStatus");
}

RESULT_CODE FakeConductorClient::GetState(uint64_t, CONDUCTOR_STATE*)
{
    return Results.Take("GetState");
}

RESULT_CODE FakeConductorClient::SetState(uint64_t, const CONDUCTOR_STATE&)
{
    return Results.Take("SetState");
}

RESULT_CODE FakeConductorClient::Initialize(IRestClient*)
{
    return Results.Take("Initialize");
}

RESULT_CODE FakeConductorClient::Shutdown()
{
    return Results.Take("Shutdown");
}

RESULT_CODE FakeCpuCoreClient::GetList(std::vector<uint64_t>* coreIds)
{
    coreIds->clear();
    return Results.Take("GetList");
}

RESULT_CODE FakeCpuCoreClient::GetStatus(uint64_t coreId, CPU_CORE_STATUS* status)
{
    CallJournal::Instance().Add("CpuCore.GetStatus(" + std::to_string(coreId) + ")");
    return Give(Results.Take("GetStatus"), Status, status);
}

RESULT_CODE FakeCpuCoreClient::Initialize(IRestClient*)
{
    return Results.Take("Initialize");
}

RESULT_CODE FakeCpuCoreClient::Shutdown()
{
    return Results.Take("Shutdown");
}

RESULT_CODE FakeRestClient::Initialize(const RestClientConfig*)
{
    return RESULT_NO_ERROR;
}

RESULT_CODE FakeRestClient::Shutdown()
{
    return RESULT_NO_ERROR;
}

RESULT_CODE FakeRestClient::GetStatus(MXS_STATUS*)
{
    return RESULT_NO_ERROR;
}

IContextManagerClient* FakeRestClient::GetContextManagerClient()
{
    return nullptr;
}

IStreamClient* FakeRestClient::GetStreamClient()
{
    return &Stream;
}

IConductorClient* FakeRestClient::GetConductorClient()
{
    return &Conductor;
}

ICpuCoreClient* FakeRestClient::GetCpuCoreClient()
{
    return &CpuCore;
}

INetworkInterfaceClient* FakeRestClient::GetNetworkInterfaceClient()
{
    return nullptr;
}

IPtpApiClient* FakeRestClient::GetPtpApiClient()
{
    return nullptr;
}

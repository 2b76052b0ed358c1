// The REST client of a context without a service: every result is scripted, every record that goes out is kept, every
// call is noted in the CallJournal.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "commandpipe/restclient/IConductorClient.h"
#include "commandpipe/restclient/ICpuCoreClient.h"
#include "commandpipe/restclient/IRestClient.h"
#include "commandpipe/restclient/IStreamClient.h"

namespace Pipe = Quillmont::Trellis::CommandPipe;
namespace Rtp = Quillmont::Trellis::Mxs::RtpEssence;

// The next results of operations by name, 5000 where there are none: results["SetState"] = {9, 5000}.
class ScriptedResults
{
public:
    std::deque<uint32_t>& operator[](const std::string& operation) { return Results[operation]; }
    uint32_t Take(const std::string& operation);

private:
    std::map<std::string, std::deque<uint32_t>> Results;
};

class FakeStreamClient : public Pipe::RestClient::IStreamClient
{
public:
    using RESULT_CODE = Pipe::RestServer::RESULT_CODE;

    // Get operations copy these out, when their result is 5000.
    ScriptedResults Results;
    uint64_t NewId = 0x1234;
    Pipe::RestServer::STREAM_COMMON_CONFIG CommonConfig;
    Pipe::RestServer::STREAM_NETWORK_CONFIG NetworkConfig;
    Pipe::RestServer::STREAM_COMMON_STATUS CommonStatus;
    Pipe::RestServer::STREAM_NETWORK_STATUS NetworkStatus;
    Rtp::CONFIG_ST2110_20 VideoConfig;
    Rtp::CONFIG_ST2110_30 AudioConfig;
    Rtp::CONFIG_ST2110_40 AncillaryConfig;
    int32_t LockSize = 0;
    int32_t SlotDropped = 0;
    std::map<uint32_t, Rtp::BUFFER_INFO> BufferInfo;

    // Set operations keep what they were given.
    Pipe::RestServer::STREAM_CREATE SentCreate;
    Pipe::RestServer::STREAM_COMMON_CONFIG SentCommonConfig;
    Pipe::RestServer::STREAM_NETWORK_CONFIG SentNetworkConfig;
    Rtp::CONFIG_ST2110_20 SentVideoConfig;
    Rtp::CONFIG_ST2110_30 SentAudioConfig;
    Rtp::CONFIG_ST2110_40 SentAncillaryConfig;

    RESULT_CODE GetSharedList(std::vector<uint64_t>* streamIds) override;
    RESULT_CODE GetMinesList(std::vector<uint64_t>* streamIds) override;
    RESULT_CODE Create(Pipe::RestServer::STREAM_CREATE* stream) override;
    RESULT_CODE Delete(uint64_t streamId) override;
    RESULT_CODE GetCommonConfig(uint64_t streamId, Pipe::RestServer::STREAM_COMMON_CONFIG* config) override;
    RESULT_CODE SetCommonConfig(uint64_t streamId, const Pipe::RestServer::STREAM_COMMON_CONFIG& config) override;
    RESULT_CODE GetEssenceConfig(uint64_t streamId, Rtp::CONFIG* config) override;
    RESULT_CODE SetEssenceConfig(uint64_t streamId, const Rtp::CONFIG& config) override;
    RESULT_CODE GetNetworkConfig(uint64_t streamId, Pipe::RestServer::STREAM_NETWORK_CONFIG* config) override;
    RESULT_CODE SetNetworkConfig(uint64_t streamId, const Pipe::RestServer::STREAM_NETWORK_CONFIG& config) override;
    RESULT_CODE GetCommonStatus(uint64_t streamId, Pipe::RestServer::STREAM_COMMON_STATUS* status) override;
    RESULT_CODE GetEssenceStatus(uint64_t streamId, Rtp::STATUS* status) override;
    RESULT_CODE GetNetworkStatus(uint64_t streamId, Pipe::RestServer::STREAM_NETWORK_STATUS* status) override;
    RESULT_CODE GetState(uint64_t streamId, Pipe::RestServer::STREAM_STATE* state) override;
    RESULT_CODE SetState(uint64_t streamId, const Pipe::RestServer::STREAM_STATE& state) override;
    RESULT_CODE Initialize(Pipe::RestClient::IRestClient* restClient) override;
    RESULT_CODE Shutdown() override;

private:
    // Notes the call and takes its result.
    RESULT_CODE Answer(const std::string& operation, const std::string& arguments);
    RESULT_CODE Answer(const std::string& operation, uint64_t streamId);
};

class FakeConductorClient : public Pipe::RestClient::IConductorClient
{
public:
    using RESULT_CODE = Pipe::RestServer::RESULT_CODE;

    ScriptedResults Results;
    Pipe::RestServer::CONDUCTOR_CONFIG Config; // what GetConfig copies out

    RESULT_CODE GetSharedList(std::vector<uint64_t>* conductorIds) override;
    RESULT_CODE GetMinesList(std::vector<uint64_t>* conductorIds) override;
    RESULT_CODE Create(Pipe::RestServer::CONDUCTOR_CREATE* conductor) override;
    RESULT_CODE Delete(uint64_t conductorId) override;
    RESULT_CODE GetConfig(uint64_t conductorId, Pipe::RestServer::CONDUCTOR_CONFIG* config) override;
    RESULT_CODE SetConfig(uint64_t conductorId, const Pipe::RestServer::CONDUCTOR_CONFIG& config) override;
    RESULT_CODE GetStatus(uint64_t conductorId, Pipe::RestServer::CONDUCTOR_STATUS* status) override;
    RESULT_CODE GetState(uint64_t conductorId, Pipe::RestServer::CONDUCTOR_STATE* state) override;
    RESULT_CODE SetState(uint64_t conductorId, const Pipe::RestServer::CONDUCTOR_STATE& state) override;
    RESULT_CODE Initialize(Pipe::RestClient::IRestClient* restClient) override;
    RESULT_CODE Shutdown() override;
};

class FakeCpuCoreClient : public Pipe::RestClient::ICpuCoreClient
{
public:
    using RESULT_CODE = Pipe::RestServer::RESULT_CODE;

    ScriptedResults Results;
    Pipe::RestServer::CPU_CORE_STATUS Status; // what GetStatus copies out

    RESULT_CODE GetList(std::vector<uint64_t>* coreIds) override;
    RESULT_CODE GetStatus(uint64_t coreId, Pipe::RestServer::CPU_CORE_STATUS* status) override;
    RESULT_CODE Initialize(Pipe::RestClient::IRestClient* restClient) override;
    RESULT_CODE Shutdown() override;
};

// Has the three clients that a stream calls, and null for the others.
class FakeRestClient : public Pipe::RestClient::IRestClient
{
public:
    using RESULT_CODE = Pipe::RestServer::RESULT_CODE;

    FakeStreamClient Stream;
    FakeConductorClient Conductor;
    FakeCpuCoreClient CpuCore;

    RESULT_CODE Initialize(const Pipe::RestClient::RestClientConfig* config) override;
    RESULT_CODE Shutdown() override;
    RESULT_CODE GetStatus(Pipe::RestServer::MXS_STATUS* status) override;
    Pipe::RestClient::IContextManagerClient* GetContextManagerClient() override;
    Pipe::RestClient::IStreamClient* GetStreamClient() override;
    Pipe::RestClient::IConductorClient* GetConductorClient() override;
    Pipe::RestClient::ICpuCoreClient* GetCpuCoreClient() override;
    Pipe::RestClient::INetworkInterfaceClient* GetNetworkInterfaceClient() override;
    Pipe::RestClient::IPtpApiClient* GetPtpApiClient() override;
};

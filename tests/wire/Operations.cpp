// The rows. Bodies are compared as text; their keys stand in alphabetical order, as the JSON library writes them.
#include "Operations.h"

#include <cstdint>

namespace Wire
{

namespace
{

using Ids = std::vector<uint64_t>;

// An operation that fills a list: on success the two ids of kList, otherwise what was there. A good answer without a
// document alone empties the list and fails.
const std::string kList = R"({"ID": ["00000000000000aa", "0000000000000007"]})";

template <class Call>
RESULT_CODE CallList(Call call)
{
    Ids ids{1, 2, 3};
    const RESULT_CODE result = call(&ids);
    if (result == RESULT_OPERATION_FAILED && ids.empty()) return result;
    EXPECT_EQ(ids, (result == RESULT_NO_ERROR ? Ids{0xaa, 7} : Ids{1, 2, 3}));
    return result;
}

#define LIST(client, name, path, call)                                                                                 \
    Operation                                                                                                          \
    {                                                                                                                  \
        "C" #client "Client::" #name, "GET", path, "", 200, kList,                                                     \
            [](const Clients& c) { return CallList([&](Ids* ids) { return c.client->name call; }); },                  \
            [](const Clients& c)                                                                                       \
        {                                                                                                              \
            Ids* ids = nullptr;                                                                                        \
            return c.client->name call;                                                                                \
        }                                                                                                              \
    }

STREAM_NETWORK_CONFIG NetworkConfig()
{
    CONNECTION_CONFIG connection;
    connection.DestinationIp = 0xEF010203;
    connection.DestinationPort = 5004;
    connection.NetworkInterfaceID = 0x1b;
    connection.MulticastMode = MULTICAST_MODE_INCLUSION;
    connection.MulticastSources = {0xC0A80001};
    connection.Dscp = 46;
    connection.MulticastTtl = 16;
    STREAM_NETWORK_CONFIG config;
    config.PayloadType = 96;
    config.SSRC = 4000000000;
    config.SocketBufferSize = 1048576;
    config.ConnectionConfigurations = {connection};
    return config;
}

const std::string kNetworkConfig =
    R"({"ConnectionConfigurations":[{"DestinationIp":4009820675,"DestinationPort":5004,"Dscp":46,)"
    R"("MulticastMode":"Inclusion","MulticastSources":["00000000c0a80001"],"MulticastTtl":16,)"
    R"("NetworkInterfaceID":"000000000000001b","SourceIp":0}],"PayloadType":96,"SSRC":4000000000,)"
    R"("SocketBufferSize":1048576})";

const std::string kEssenceConfig =
    R"({"Data":{"ChannelNumber":8,"Encoding":"L24","NbPacketsPerBuffer":40,"PacketTime":"_125us",)"
    R"("SamplingRate":"_96kHz"},"Type":"ST2110_30"})";

RtpEssence::CONFIG_ST2110_30 EssenceConfig()
{
    RtpEssence::CONFIG_ST2110_30 config;
    config.ChannelNumber = 8;
    config.Encoding = ENCODING_L24;
    config.NbPacketsPerBuffer = 40;
    config.PacketTime = PACKET_TIME_125US;
    config.SamplingRate = SAMPLING_RATE_96KHZ;
    return config;
}

} // namespace

Clients ClientsOf(IRestClient& rest)
{
    return {rest.GetContextManagerClient(), rest.GetStreamClient(),           rest.GetConductorClient(),
            rest.GetCpuCoreClient(),        rest.GetNetworkInterfaceClient(), rest.GetPtpApiClient()};
}

static std::vector<Operation> ContextOperations()
{
    return {
        {"CContextManagerClient::Authenticate",
         "POST",
         kAuth,
         R"({"AppID":"0000000000000000","ContextID":"0000000000000000"})",
         201,
         "",
         [](const Clients& c)
         {
             CONTEXT_IDENTITY identity;
             const RESULT_CODE result = c.ContextManager->Authenticate(&identity);
             EXPECT_EQ(identity.ContextID, result == RESULT_NO_ERROR ? 0xc1u : 0u);
             return result;
         },
         nullptr,
         {{"Location", std::string("v1.0/MXS/ContextManager/Context/") + kContextId}},
         ""},
        {"CContextManagerClient::GetCurrentContextStatus", "GET",
         std::string("MXS/ContextManager/Context/") + kContextId, "", 200, R"({"LastAccess": 18446744073709551615})",
         [](const Clients& c)
         {
             CONTEXT_LAST_ACCESS status{5};
             const RESULT_CODE result = c.ContextManager->GetCurrentContextStatus(&status);
             EXPECT_EQ(status.LastAccess, result == RESULT_NO_ERROR ? UINT64_MAX : 5u);
             return result;
         },
         [](const Clients& c) { return c.ContextManager->GetCurrentContextStatus(nullptr); }},
        {"CContextManagerClient::DeleteCurrentContext", "DELETE",
         std::string("MXS/ContextManager/Context/") + kContextId, "", 200, "",
         [](const Clients& c) { return c.ContextManager->DeleteCurrentContext(); }, nullptr},
        LIST(ContextManager, GetList, "MXS/ContextManager/Context/", (ids)),
    };
}

static std::vector<Operation> ConductorOperations()
{
    return {
        LIST(Conductor, GetSharedList, "MXS/Conductor/Shared/", (ids)),
        LIST(Conductor, GetMinesList, "MXS/Conductor/Mines/", (ids)),
        {"CConductorClient::Create",
         "POST",
         "MXS/Conductor/Mines/",
         R"({"ID":"0000000000000005","Shared":true})",
         201,
         "",
         [](const Clients& c)
         {
             CONDUCTOR_CREATE create{.Shared = true, .ID = 5};
             const RESULT_CODE result = c.Conductor->Create(&create);
             EXPECT_EQ(create.ID, result == RESULT_NO_ERROR ? 0x1fu : 5u);
             return result;
         },
         [](const Clients& c) { return c.Conductor->Create(nullptr); },
         {{"Location", "v1.0/MXS/Conductor/Mines/000000000000001f"}}},
        {"CConductorClient::Delete", "DELETE", "MXS/Conductor/Mines/fedcba9876543210", "", 200, "",
         [](const Clients& c) { return c.Conductor->Delete(0xfedcba9876543210); }, nullptr},
        {"CConductorClient::GetConfig", "GET", "MXS/Conductor/Mines/0000000000000007/Config", "", 200,
         R"({"CpuCoreID": "000000000000002a"})",
         [](const Clients& c)
         {
             CONDUCTOR_CONFIG config{99};
             const RESULT_CODE result = c.Conductor->GetConfig(7, &config);
             EXPECT_EQ(config.CpuCoreID, result == RESULT_NO_ERROR ? 42u : 99u);
             return result;
         },
         [](const Clients& c) { return c.Conductor->GetConfig(7, nullptr); }},
        {"CConductorClient::SetConfig", "PUT", "MXS/Conductor/Mines/0000000000000007/Config",
         R"({"CpuCoreID":"000000000000002a"})", 200, "",
         [](const Clients& c) { return c.Conductor->SetConfig(7, CONDUCTOR_CONFIG{42}); }, nullptr},
        {"CConductorClient::GetStatus", "GET", "MXS/Conductor/Mines/0000000000000007/Status", "", 200,
         R"({"Load": 12.5, "Throughput": 10000000000, "TotalPacketTransferred": 3})",
         [](const Clients& c)
         {
             CONDUCTOR_STATUS status{1, 2, 3};
             const RESULT_CODE result = c.Conductor->GetStatus(7, &status);
             EXPECT_EQ(status.Load, result == RESULT_NO_ERROR ? 12.5 : 2);
             EXPECT_EQ(status.Throughput, result == RESULT_NO_ERROR ? 10000000000u : 1u);
             return result;
         },
         [](const Clients& c) { return c.Conductor->GetStatus(7, nullptr); }},
        {"CConductorClient::GetState", "GET", "MXS/Conductor/Mines/0000000000000007/State", "", 200,
         R"({"Started": true})",
         [](const Clients& c)
         {
             CONDUCTOR_STATE state{false};
             const RESULT_CODE result = c.Conductor->GetState(7, &state);
             EXPECT_EQ(state.Started, result == RESULT_NO_ERROR);
             return result;
         },
         [](const Clients& c) { return c.Conductor->GetState(7, nullptr); }},
        {"CConductorClient::SetState", "PUT", "MXS/Conductor/Mines/0000000000000007/State", R"({"Started":true})", 200,
         "", [](const Clients& c) { return c.Conductor->SetState(7, CONDUCTOR_STATE{true}); }, nullptr},
    };
}

static std::vector<Operation> StreamOperations()
{
    return {
        LIST(Stream, GetSharedList, "MXS/Stream/Shared/", (ids)),
        LIST(Stream, GetMinesList, "MXS/Stream/Mines/", (ids)),
        {"CStreamClient::Create",
         "POST",
         "MXS/Stream/Mines/",
         R"({"Essence":2,"ID":"0000000000000000","Shared":false,"Type":"RX"})",
         201,
         "",
         [](const Clients& c)
         {
             STREAM_CREATE create{.Type = STREAM_TYPE_RX, .Essence = ESSENCE_TYPE_ST2110_30, .Shared = false, .ID = 0};
             const RESULT_CODE result = c.Stream->Create(&create);
             EXPECT_EQ(create.ID, result == RESULT_NO_ERROR ? 0x20u : 0u);
             return result;
         },
         [](const Clients& c) { return c.Stream->Create(nullptr); },
         {{"Location", "v1.0/MXS/Stream/Mines/0000000000000020"}}},
        {"CStreamClient::Delete", "DELETE", "MXS/Stream/Mines/0000000000000020", "", 200, "",
         [](const Clients& c) { return c.Stream->Delete(0x20); }, nullptr},
        {"CStreamClient::GetCommonConfig", "GET", "MXS/Stream/Mines/0000000000000020/Config/Common", "", 200,
         R"({"ApplicativeBufferQueueDepth": 4, "ConductorID": "0000000000000009", "NumaNode": 1})",
         [](const Clients& c)
         {
             STREAM_COMMON_CONFIG config;
             config.ConductorID = 77;
             const RESULT_CODE result = c.Stream->GetCommonConfig(0x20, &config);
             EXPECT_EQ(config.ConductorID, result == RESULT_NO_ERROR ? 9u : 77u);
             EXPECT_EQ(config.ApplicativeBufferQueueDepth, result == RESULT_NO_ERROR ? 4u : 0u);
             return result;
         },
         [](const Clients& c) { return c.Stream->GetCommonConfig(0x20, nullptr); }},
        {"CStreamClient::SetCommonConfig", "PUT", "MXS/Stream/Mines/0000000000000020/Config/Common",
         R"({"ApplicativeBufferQueueDepth":4,"ConductorID":"0000000000000009","CpuCores":["0000000000000003"],)"
         R"("NumaNode":4294967295})",
         200, "",
         [](const Clients& c)
         {
             STREAM_COMMON_CONFIG config;
             config.ApplicativeBufferQueueDepth = 4;
             config.ConductorID = 9;
             config.CpuCores = {3};
             config.NumaNode = 4294967295;
             return c.Stream->SetCommonConfig(0x20, config);
         },
         nullptr},
        {"CStreamClient::GetEssenceConfig", "GET", "MXS/Stream/Mines/0000000000000020/Config/Essence", "", 200,
         kEssenceConfig,
         [](const Clients& c)
         {
             RtpEssence::CONFIG_ST2110_30 config;
             const RESULT_CODE result = c.Stream->GetEssenceConfig(0x20, &config);
             EXPECT_TRUE(
                 config.IsEqualTo(result == RESULT_NO_ERROR ? EssenceConfig() : RtpEssence::CONFIG_ST2110_30()));
             return result;
         },
         [](const Clients& c) { return c.Stream->GetEssenceConfig(0x20, nullptr); }},
        {"CStreamClient::SetEssenceConfig", "PUT", "MXS/Stream/Mines/0000000000000020/Config/Essence", kEssenceConfig,
         200, "", [](const Clients& c) { return c.Stream->SetEssenceConfig(0x20, EssenceConfig()); }, nullptr},
        {"CStreamClient::GetNetworkConfig", "GET", "MXS/Stream/Mines/0000000000000020/Config/Network", "", 200,
         kNetworkConfig,
         [](const Clients& c)
         {
             STREAM_NETWORK_CONFIG config;
             const RESULT_CODE result = c.Stream->GetNetworkConfig(0x20, &config);
             EXPECT_EQ(config.SSRC, result == RESULT_NO_ERROR ? 4000000000u : 0u);
             EXPECT_EQ(config.ConnectionConfigurations.size(), result == RESULT_NO_ERROR ? 1u : 0u);
             for (const CONNECTION_CONFIG& connection : config.ConnectionConfigurations)
             {
                 EXPECT_EQ(connection.DestinationPort, 5004);
                 EXPECT_EQ(connection.MulticastSources, std::vector<uint32_t>{0xC0A80001});
             }
             return result;
         },
         [](const Clients& c) { return c.Stream->GetNetworkConfig(0x20, nullptr); }},
        {"CStreamClient::SetNetworkConfig", "PUT", "MXS/Stream/Mines/0000000000000020/Config/Network", kNetworkConfig,
         200, "", [](const Clients& c) { return c.Stream->SetNetworkConfig(0x20, NetworkConfig()); }, nullptr},
        {"CStreamClient::GetCommonStatus", "GET", "MXS/Stream/Mines/0000000000000020/Status/Common", "", 200,
         R"({"FlowRailDescriptor": {"Description": {"Name": ["rail"]}, "Type": "FileMap"}, "MinProcessingTime": 1,)"
         R"( "MaxProcessingTime": 3, "MeanProcessingTime": 2, "ApplicativeBufferDelayed": true})",
         [](const Clients& c)
         {
             STREAM_COMMON_STATUS status;
             const RESULT_CODE result = c.Stream->GetCommonStatus(0x20, &status);
             EXPECT_EQ(status.MaxProcessingTime, result == RESULT_NO_ERROR ? 3u : 0u);
             EXPECT_EQ(status.FlowRailDescriptor.Description.count("Name"), result == RESULT_NO_ERROR ? 1u : 0u);
             return result;
         },
         [](const Clients& c) { return c.Stream->GetCommonStatus(0x20, nullptr); }},
        {"CStreamClient::GetEssenceStatus", "GET", "MXS/Stream/Mines/0000000000000020/Status/Essence", "", 200,
         R"({"Type": "ST2110_20", "LockSize": 5184000, "SlotDropped": 2, "Data": {"BufferInfo":)"
         R"( {"0": {"Offset": 0, "Size": 5184000}}}})",
         [](const Clients& c)
         {
             RtpEssence::STATUS_ST2110_20 status;
             status.LockSize = 11;
             const RESULT_CODE result = c.Stream->GetEssenceStatus(0x20, &status);
             EXPECT_EQ(status.LockSize, result == RESULT_NO_ERROR ? 5184000 : 11);
             EXPECT_EQ(status.BufferInfo.size(), result == RESULT_NO_ERROR ? 1u : 0u);
             return result;
         },
         [](const Clients& c) { return c.Stream->GetEssenceStatus(0x20, nullptr); }},
        {"CStreamClient::GetNetworkStatus", "GET", "MXS/Stream/Mines/0000000000000020/Status/Network", "", 200,
         R"({"DropCount": 1, "LostPacketsCount": 2, "UnderrunCount": 3, "PacketsInDelaySituationCount": 4,)"
         R"( "BiggestDelaySituationDuringLastSec": 5, "PayloadType": 96, "ReceivedSSRC": 6,)"
         R"( "TotalTransferredPacketCount": 7, "TotalProcessedPacketCount": 8})",
         [](const Clients& c)
         {
             STREAM_NETWORK_STATUS status;
             const RESULT_CODE result = c.Stream->GetNetworkStatus(0x20, &status);
             EXPECT_EQ(status.TotalTransferredPacketCount, result == RESULT_NO_ERROR ? 7u : 0u);
             EXPECT_EQ(status.PayloadType, result == RESULT_NO_ERROR ? 96 : 0);
             return result;
         },
         [](const Clients& c) { return c.Stream->GetNetworkStatus(0x20, nullptr); }},
        {"CStreamClient::GetState", "GET", "MXS/Stream/Mines/0000000000000020/State", "", 200,
         R"({"Started": false, "Opened": true})",
         [](const Clients& c)
         {
             STREAM_STATE state{.Started = true, .Opened = false};
             const RESULT_CODE result = c.Stream->GetState(0x20, &state);
             EXPECT_EQ(state.Started, result != RESULT_NO_ERROR);
             EXPECT_EQ(state.Opened, result == RESULT_NO_ERROR);
             return result;
         },
         [](const Clients& c) { return c.Stream->GetState(0x20, nullptr); }},
        {"CStreamClient::SetState", "PUT", "MXS/Stream/Mines/0000000000000020/State",
         R"({"Opened":true,"Started":false})", 200, "",
         [](const Clients& c) { return c.Stream->SetState(0x20, STREAM_STATE{.Started = false, .Opened = true}); },
         nullptr},
    };
}

static std::vector<Operation> MachineOperations()
{
    return {
        LIST(CpuCore, GetList, "MXS/CpuCore/", (ids)),
        {"CCpuCoreClient::GetStatus", "GET", "MXS/CpuCore/0000000000000003/Status", "", 200,
         R"({"CoreId": 3, "NumaNode": 1, "MaxSpeed": 3600, "CoreUsage": 25, "GroupId": 2,)"
         R"( "ConductorAvailability": "ALREADY_USED"})",
         [](const Clients& c)
         {
             CPU_CORE_STATUS status;
             const RESULT_CODE result = c.CpuCore->GetStatus(3, &status);
             EXPECT_EQ(status.MaxSpeed, result == RESULT_NO_ERROR ? 3600u : 0u);
             EXPECT_EQ(status.ConductorAvailability, result == RESULT_NO_ERROR ? 2u : 1u);
             return result;
         },
         [](const Clients& c) { return c.CpuCore->GetStatus(3, nullptr); }},
        LIST(NetworkInterface, GetList, "MXS/NetIf/", (ids)),
        {"CNetworkInterfaceClient::SetConfig", "PUT", "MXS/NetIf/0000000000000011/Config",
         R"({"IP":3232235777,"SubnetMask":4294967040})", 200, "",
         [](const Clients& c) {
             return c.NetworkInterface->SetConfig(0x11, NET_IF_CONFIG{0xC0A80101, 0xFFFFFF00});
         },
         nullptr},
        {"CNetworkInterfaceClient::GetConfig", "GET", "MXS/NetIf/0000000000000011/Config", "", 200,
         R"({"IP": 3232235777, "SubnetMask": 4294967040})",
         [](const Clients& c)
         {
             NET_IF_CONFIG config{1, 2};
             const RESULT_CODE result = c.NetworkInterface->GetConfig(0x11, &config);
             EXPECT_EQ(config.IP, result == RESULT_NO_ERROR ? 0xC0A80101 : 1);
             EXPECT_EQ(config.SubnetMask, result == RESULT_NO_ERROR ? 0xFFFFFF00 : 2);
             return result;
         },
         [](const Clients& c) { return c.NetworkInterface->GetConfig(0x11, nullptr); }},
        {"CNetworkInterfaceClient::GetStatus", "GET", "MXS/NetIf/0000000000000011/Status", "", 200,
         R"({"Characteristics": {"InterfaceIndex": 1, "SystemName": "lo", "LinkSpeed": 0, "DuplexType": "Full",)"
         R"( "MTU": 65536, "DriverVersion": "6", "NumaNode": 0, "Mac": 1, "LinkStatus": true},)"
         R"( "UploadThroughput": 5, "DownloadThroughput": 6})",
         [](const Clients& c)
         {
             NET_IF_STATUS status;
             const RESULT_CODE result = c.NetworkInterface->GetStatus(0x11, &status);
             EXPECT_EQ(status.DownloadThroughput, result == RESULT_NO_ERROR ? 6u : 0u);
             EXPECT_EQ(status.Characteristics.SystemName, result == RESULT_NO_ERROR ? "lo" : "");
             return result;
         },
         [](const Clients& c) { return c.NetworkInterface->GetStatus(0x11, nullptr); }},
        LIST(NetworkInterface, GetUdpPortDropList, "MXS/NetIf/0000000000000011/UdpPortDrop/", (0x11, ids)),
        {"CNetworkInterfaceClient::CreateUdpPortDrop", "PUT", "MXS/NetIf/0000000000000011/UdpPortDrop/000000000000138c",
         "", 201, "", [](const Clients& c) { return c.NetworkInterface->CreateUdpPortDrop(0x11, 5004); }, nullptr},
        {"CNetworkInterfaceClient::RemoveUdpPortDrop", "DELETE",
         "MXS/NetIf/0000000000000011/UdpPortDrop/000000000000138c", "", 200, "",
         [](const Clients& c) { return c.NetworkInterface->RemoveUdpPortDrop(0x11, 5004); }, nullptr},
        {"CNetworkInterfaceClient::UdpPortDropExist", "GET", "MXS/NetIf/0000000000000011/UdpPortDrop/000000000000138c",
         "", 200, "",
         [](const Clients& c)
         {
             bool exist = false;
             const RESULT_CODE result = c.NetworkInterface->UdpPortDropExist(0x11, 5004, &exist);
             EXPECT_EQ(exist, result == RESULT_NO_ERROR);
             return result;
         },
         [](const Clients& c) { return c.NetworkInterface->UdpPortDropExist(0x11, 5004, nullptr); }},
    };
}

static std::vector<Operation> PtpOperations()
{
    return {
        {"CPtpApiClient::SetConfig", "PUT", "MXS/PtpApi/Config",
         R"({"DefaultDS":{"clockAccuracy":254,"clockClass":255,"domainNumber":127,"offsetScaledLogVariance":1000,)"
         R"("priority1":128,"priority2":129,"slaveOnly":true,"twoStepFlag":true},"InterfaceName":"enp1s0",)"
         R"("PortDS":{"announceReceiptTimeout":3,"delayMechanism":"E2E","logAnnounceInterval":1,)"
         R"("logMinDelayReqInterval":-3,"logMinPdelayReqInterval":-4,"logSyncInterval":0,"versionNumber":2},)"
         R"("TimeStamping":"SW","hybridMode":true})",
         200, "",
         [](const Clients& c)
         {
             return c.Ptp->SetConfig({.InterfaceName = "enp1s0",
                                      .hybridMode = true,
                                      .TimeStamping = TIME_STAMPING_SW,
                                      .clockClass = 255,
                                      .clockAccuracy = 254,
                                      .offsetScaledLogVariance = 1000,
                                      .twoStepFlag = true,
                                      .domainNumber = 127,
                                      .slaveOnly = true,
                                      .priority1 = 128,
                                      .priority2 = 129,
                                      .logMinDelayReqInterval = -3,
                                      .logAnnounceInterval = 1,
                                      .announceReceiptTimeout = 3,
                                      .logSyncInterval = 0,
                                      .delayMechanism = DELAY_MECHANISM_E2E,
                                      .logMinPdelayReqInterval = -4,
                                      .versionNumber = 2});
         },
         nullptr},
        {"CPtpApiClient::GetConfig", "GET", "MXS/PtpApi/Config", "", 200,
         R"({"InterfaceName": "enp1s0", "hybridMode": true, "DefaultDS": {"clockAccuracy": 254, "clockClass": 255,)"
         R"( "domainNumber": 127, "offsetScaledLogVariance": 1000, "priority1": 128, "priority2": 129,)"
         R"( "slaveOnly": true, "twoStepFlag": true}, "PortDS": {"announceReceiptTimeout": 3,)"
         R"( "delayMechanism": "P2P", "logAnnounceInterval": 1, "logMinDelayReqInterval": -3,)"
         R"( "logMinPdelayReqInterval": -4, "logSyncInterval": 0, "versionNumber": 2}})",
         [](const Clients& c)
         {
             PTP_CONFIG config{.InterfaceName = "before", .TimeStamping = TIME_STAMPING_HW};
             const RESULT_CODE result = c.Ptp->GetConfig(&config);
             const bool read = result == RESULT_NO_ERROR;
             EXPECT_STREQ(config.InterfaceName, read ? "enp1s0" : "before");
             EXPECT_EQ(config.TimeStamping, TIME_STAMPING_HW) << "a document may lack it";
             EXPECT_EQ(config.priority2, read ? 129 : 0);
             EXPECT_EQ(config.delayMechanism, read ? DELAY_MECHANISM_P2P : DELAY_MECHANISM_E2E);
             return result;
         },
         [](const Clients& c) { return c.Ptp->GetConfig(nullptr); }},
        {"CPtpApiClient::GetStatus", "GET", "MXS/PtpApi/Status", "", 200, kPtpStatus,
         [](const Clients& c)
         {
             PTP_STATUS status;
             const RESULT_CODE result = c.Ptp->GetStatus(&status);
             const bool read = result == RESULT_NO_ERROR;
             EXPECT_EQ(status.portState, read ? PORT_STATE_SLAVE : PORT_STATE_UNKNOWN);
             EXPECT_EQ(status.parentPortIdentity.clockIdentity, read ? 0x9A2E42FFFE98BF6A : 0u);
             EXPECT_EQ(status.CurrentSystemTime, read ? 1767225600000000001u : 0u);
             return result;
         },
         [](const Clients& c) { return c.Ptp->GetStatus(nullptr); }},
    };
}

const std::vector<Operation>& AllOperations()
{
    static const std::vector<Operation> operations = []
    {
        std::vector<Operation> all = ContextOperations();
        for (const auto& family : {ConductorOperations(), StreamOperations(), MachineOperations(), PtpOperations()})
            all.insert(all.end(), family.begin(), family.end());
        return all;
    }();
    return operations;
}

} // namespace Wire

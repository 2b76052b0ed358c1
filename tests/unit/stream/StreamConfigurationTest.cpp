// Common and network configuration, and both statuses: what goes out, what comes back, what each result becomes.
#include "StreamModelTest.h"

#include <cstring>

namespace
{
using namespace Quillmont::Trellis::CommandPipe::RestServer;

class GetCommonConfig : public StreamModelTest
{
};
class SetCommonConfig : public StreamModelTest
{
protected:
    ZEFA_STREAM_COMMON_CONFIG Config{};
};
class GetNetworkConfig : public StreamModelTest
{
};
class SetNetworkConfig : public StreamModelTest
{
};
class GetCommonStatus : public StreamModelTest
{
};
class GetNetworkStatus : public StreamModelTest
{
};

struct ResultRow
{
    uint32_t Result;
    ZEFA_ERRORCODE Expected;
};

const ResultRow kCommonRule[] = {
    {5000, ZEFA_NO_ERROR},          {5013, ZEFA_ERR_INCORRECT_STATE},  {0, ZEFA_ERR_OPERATION_FAILED},
    {9, ZEFA_ERR_OPERATION_FAILED}, {4999, ZEFA_ERR_OPERATION_FAILED}, {5001, ZEFA_ERR_COMMUNICATION},
    {5017, ZEFA_ERR_COMMUNICATION},
};

TEST_F(GetCommonConfig, CopiesTheRecordAndTheModelsTimeout)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.CommonConfig = {
        .ApplicativeBufferQueueDepth = 8, .CpuCores = {11, 12}, .ConductorID = 21, .NumaNode = 1};
    ZEFA_STREAM_COMMON_CONFIG config{};

    EXPECT_EQ(model->GetCommonConfig(&config), ZEFA_NO_ERROR);

    EXPECT_EQ(config.ApplicativeBufferQueueDepth_UL, 8u);
    EXPECT_EQ(config.LockTimeoutMs_UL, 100u);
    EXPECT_EQ(config.NbCpuCores_ULL, 2u);
    EXPECT_EQ(config.CpuCores_ULL[0], 11u);
    EXPECT_EQ(config.CpuCores_ULL[1], 12u);
    EXPECT_EQ(config.CpuCores_ULL[2], 0u);
    EXPECT_EQ(config.ConductorId_ULL, 21u);
    EXPECT_THAT(Calls(), ElementsAre("Stream.GetCommonConfig(5)"));
}

TEST_F(GetCommonConfig, CutsTheCoresAt128)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.CommonConfig.CpuCores.assign(200, 3);
    ZEFA_STREAM_COMMON_CONFIG config{};

    EXPECT_EQ(model->GetCommonConfig(&config), ZEFA_NO_ERROR);

    EXPECT_EQ(config.NbCpuCores_ULL, 128u);
    EXPECT_EQ(config.CpuCores_ULL[127], 3u);
    EXPECT_EQ(config.ConductorId_ULL, 0u);
}

TEST_F(GetCommonConfig, TranslatesByTheCommonRuleAndFillsNothingOnFailure)
{
    for (const ResultRow& row : kCommonRule)
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["GetCommonConfig"] = {row.Result};
        ZEFA_STREAM_COMMON_CONFIG config{};
        config.LockTimeoutMs_UL = 7;

        EXPECT_EQ(model->GetCommonConfig(&config), row.Expected) << row.Result;

        EXPECT_EQ(config.LockTimeoutMs_UL, row.Result == 5000 ? 100u : 7u);
        EXPECT_THAT(Errors(), IsEmpty());
    }
}

TEST_F(SetCommonConfig, TakesTheNumaNodeOfTheConductorsCore)
{
    auto model = Created(kReceive, kVideo);
    Rest.Conductor.Config.CpuCoreID = 31;
    Rest.CpuCore.Status.NumaNode = 2;
    Config.ApplicativeBufferQueueDepth_UL = 6;
    Config.CpuCores_ULL[0] = 41;
    Config.CpuCores_ULL[1] = 42;
    Config.CpuCores_ULL[2] = 43;
    Config.NbCpuCores_ULL = 2;
    Config.ConductorId_ULL = 21;

    EXPECT_EQ(model->SetCommonConfig(&Config), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("Conductor.GetConfig(21)", "CpuCore.GetStatus(31)", "Stream.SetCommonConfig(5)"));
    EXPECT_EQ(Rest.Stream.SentCommonConfig.ApplicativeBufferQueueDepth, 6u);
    EXPECT_THAT(Rest.Stream.SentCommonConfig.CpuCores, ElementsAre(41, 42));
    EXPECT_EQ(Rest.Stream.SentCommonConfig.ConductorID, 21u);
    EXPECT_EQ(Rest.Stream.SentCommonConfig.NumaNode, 2u);
}

TEST_F(SetCommonConfig, TimeoutHoldsForTheNextLock)
{
    auto model = Started(kTransmit);
    Config.LockTimeoutMs_UL = 40;

    EXPECT_EQ(model->SetCommonConfig(&Config), ZEFA_NO_ERROR);

    Calls();
    void* slot = nullptr;
    model->LockSlot(&slot);
    EXPECT_THAT(Calls(), ElementsAre("LockProducer(4096, 40)"));
    ZEFA_STREAM_COMMON_CONFIG read{};
    model->GetCommonConfig(&read);
    EXPECT_EQ(read.LockTimeoutMs_UL, 40u);
}

TEST_F(SetCommonConfig, CutsTheCoresAt128)
{
    auto model = Created(kReceive, kVideo);
    Config.NbCpuCores_ULL = 0xFFFFFFFFFFFFFFFF;

    EXPECT_EQ(model->SetCommonConfig(&Config), ZEFA_NO_ERROR);

    EXPECT_EQ(Rest.Stream.SentCommonConfig.CpuCores.size(), 128u);
}

TEST_F(SetCommonConfig, UnknownConductorFailsBeforeTheStreamIsTouched)
{
    auto model = Created(kReceive, kVideo);
    Rest.Conductor.Results["GetConfig"] = {5004};
    Config.ConductorId_ULL = 99;

    EXPECT_EQ(model->SetCommonConfig(&Config), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("Could not get the Conductor configuration 5004"));
    EXPECT_THAT(Calls(), ElementsAre("Conductor.GetConfig(99)"));
}

TEST_F(SetCommonConfig, UnknownCoreFailsBeforeTheStreamIsTouched)
{
    auto model = Created(kReceive, kVideo);
    Rest.CpuCore.Results["GetStatus"] = {4};

    EXPECT_EQ(model->SetCommonConfig(&Config), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("Could not get the Cpu core Status4"));
    EXPECT_THAT(Calls(), ElementsAre("Conductor.GetConfig(0)", "CpuCore.GetStatus(0)"));
}

TEST_F(SetCommonConfig, TranslatesAndLogsTheResultAndKeepsTheTimeout)
{
    struct Row
    {
        uint32_t Result;
        ZEFA_ERRORCODE Expected;
        Texts SecondLine;
    };
    const Row rows[] = {
        {5013, ZEFA_ERR_INCORRECT_STATE, {}},
        {19, ZEFA_ERR_INCORRECT_STATE, {}},
        {4, ZEFA_ERR_BAD_ARGUMENT, {}},
        {5012, ZEFA_ERR_NOT_FOUND, {"The conductor does not exist or is not in the stream context.\r\n"}},
        {5005, ZEFA_ERR_BAD_ARGUMENT, {"Invalid argument when setting the stream common configuration.\r\n"}},
        {5001, ZEFA_ERR_COMMUNICATION, {}},
        {9, ZEFA_ERR_OPERATION_FAILED, {}},
    };
    for (const Row& row : rows)
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["SetCommonConfig"] = {row.Result};
        Config.LockTimeoutMs_UL = 40;

        EXPECT_EQ(model->SetCommonConfig(&Config), row.Expected) << row.Result;

        Texts lines{"Could not set the common stream config" + std::to_string(row.Result)};
        lines.insert(lines.end(), row.SecondLine.begin(), row.SecondLine.end());
        EXPECT_EQ(Errors(), lines);
        ZEFA_STREAM_COMMON_CONFIG read{};
        model->GetCommonConfig(&read);
        EXPECT_EQ(read.LockTimeoutMs_UL, 100u);
        Captured.Clear();
    }
}

TEST_F(GetNetworkConfig, CopiesConnectionsAndMarksTheUnusedOnes)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.NetworkConfig.PayloadType = 96;
    Rest.Stream.NetworkConfig.SSRC = 0x11223344;
    Rest.Stream.NetworkConfig.SocketBufferSize = 65536;
    Rest.Stream.NetworkConfig.ConnectionConfigurations = {{.SourceIp = 0x0A000001,
                                                           .DestinationIp = 0xEF010203,
                                                           .DestinationPort = 5004,
                                                           .NetworkInterfaceID = 9,
                                                           .MulticastMode = 1,
                                                           .MulticastSources = {0x0A000002, 0x0A000003},
                                                           .Dscp = 34,
                                                           .MulticastTtl = 16},
                                                          CONNECTION_CONFIG{}};
    ZEFA_STREAM_NETWORK_CONFIG config;
    std::memset(&config, 0xEE, sizeof config);

    EXPECT_EQ(model->GetNetworkConfig(&config), ZEFA_NO_ERROR);

    EXPECT_EQ(config.SocketBufferSize_UL, 65536u);
    EXPECT_EQ(config.SSRC_UL, 0x11223344u);
    EXPECT_EQ(config.PayloadType_UB, 96u);
    EXPECT_EQ(config.NbConnections_UL, 2u);
    const ZEFA_CONNECTION_CONFIG& first = config.Connections_X[0];
    EXPECT_EQ(first.DestinationPort_US, 5004);
    EXPECT_EQ(first.SourceIp_UL, 0x0A000001u);
    EXPECT_EQ(first.DestinationIp_UL, 0xEF010203u);
    EXPECT_EQ(first.MulticastMode_E, 0u);
    EXPECT_EQ(first.NbMulticastSources_UL, 2u);
    EXPECT_EQ(first.MulticastSources_UL[0], 0x0A000002u);
    EXPECT_EQ(first.MulticastSources_UL[1], 0x0A000003u);
    EXPECT_EQ(first.MulticastSources_UL[2], 0xEEEEEEEEu);
    EXPECT_EQ(first.NetworkInterfaceId_ULL, 9u);
    EXPECT_EQ(config.Connections_X[1].MulticastMode_E, 1u);
    EXPECT_EQ(config.Connections_X[1].NbMulticastSources_UL, 0u);
    for (size_t i = 2; i < 128; ++i)
    {
        EXPECT_EQ(config.Connections_X[i].MulticastMode_E, 1u);
        EXPECT_EQ(config.Connections_X[i].NbMulticastSources_UL, 0u);
        EXPECT_EQ(config.Connections_X[i].DestinationIp_UL, 0xEEEEEEEEu);
    }
}

TEST_F(GetNetworkConfig, CutsConnectionsAndSourcesAt128)
{
    auto model = Created(kReceive, kVideo);
    CONNECTION_CONFIG connection;
    connection.MulticastSources.assign(300, 1);
    Rest.Stream.NetworkConfig.ConnectionConfigurations.assign(300, connection);
    auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();

    EXPECT_EQ(model->GetNetworkConfig(config.get()), ZEFA_NO_ERROR);

    EXPECT_EQ(config->NbConnections_UL, 128u);
    EXPECT_EQ(config->Connections_X[127].NbMulticastSources_UL, 128u);
}

TEST_F(GetNetworkConfig, TranslatesMulticastModes)
{
    for (const auto& [wire, exported] : {std::pair{0u, 1u}, std::pair{1u, 0u}, std::pair{2u, 2u}, std::pair{77u, 2u}})
    {
        auto model = Created(kReceive, kVideo);
        CONNECTION_CONFIG connection;
        connection.MulticastMode = wire;
        Rest.Stream.NetworkConfig.ConnectionConfigurations = {connection};
        auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();

        model->GetNetworkConfig(config.get());

        EXPECT_EQ(config->Connections_X[0].MulticastMode_E, exported) << wire;
    }
}

TEST_F(GetNetworkConfig, TranslatesByTheCommonRule)
{
    for (const ResultRow& row : kCommonRule)
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["GetNetworkConfig"] = {row.Result};
        auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();

        EXPECT_EQ(model->GetNetworkConfig(config.get()), row.Expected) << row.Result;

        EXPECT_EQ(config->Connections_X[5].MulticastMode_E, row.Result == 5000 ? 1u : 0u);
        EXPECT_THAT(Errors(), IsEmpty());
    }
}

TEST_F(SetNetworkConfig, BuildsTheRecord)
{
    auto model = Created(kReceive, kVideo);
    auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    config->SocketBufferSize_UL = 1000;
    config->SSRC_UL = 2000;
    config->PayloadType_UB = 0x160;
    config->NbConnections_UL = 1;
    ZEFA_CONNECTION_CONFIG& connection = config->Connections_X[0];
    connection.DestinationPort_US = 5004;
    connection.SourceIp_UL = 1;
    connection.DestinationIp_UL = 2;
    connection.MulticastMode_E = 0;
    connection.MulticastSources_UL[0] = 3;
    connection.MulticastSources_UL[1] = 4;
    connection.NbMulticastSources_UL = 1;
    connection.NetworkInterfaceId_ULL = 6;

    EXPECT_EQ(model->SetNetworkConfig(config.get()), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("Stream.SetNetworkConfig(5)"));
    const STREAM_NETWORK_CONFIG& sent = Rest.Stream.SentNetworkConfig;
    EXPECT_EQ(sent.SocketBufferSize, 1000u);
    EXPECT_EQ(sent.SSRC, 2000u);
    EXPECT_EQ(sent.PayloadType, 0x60);
    ASSERT_EQ(sent.ConnectionConfigurations.size(), 1u);
    const CONNECTION_CONFIG& record = sent.ConnectionConfigurations[0];
    EXPECT_EQ(record.DestinationPort, 5004);
    EXPECT_EQ(record.SourceIp, 1u);
    EXPECT_EQ(record.DestinationIp, 2u);
    EXPECT_EQ(record.MulticastMode, 1u);
    EXPECT_THAT(record.MulticastSources, ElementsAre(3));
    EXPECT_EQ(record.NetworkInterfaceID, 6u);
    EXPECT_EQ(record.Dscp, 0);
    EXPECT_EQ(record.MulticastTtl, 0);
}

TEST_F(SetNetworkConfig, AudioAloneAsksForADscp)
{
    for (const auto& [essence, dscp] : {std::pair{kVideo, 0}, std::pair{kAudio, 34}, std::pair{kAncillary, 0}})
    {
        auto model = Created(kReceive, essence);
        auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
        config->NbConnections_UL = 2;

        model->SetNetworkConfig(config.get());

        ASSERT_EQ(Rest.Stream.SentNetworkConfig.ConnectionConfigurations.size(), 2u);
        EXPECT_EQ(Rest.Stream.SentNetworkConfig.ConnectionConfigurations[0].Dscp, dscp) << essence;
        EXPECT_EQ(Rest.Stream.SentNetworkConfig.ConnectionConfigurations[1].Dscp, dscp) << essence;
    }
}

TEST_F(SetNetworkConfig, TranslatesMulticastModesAndCutsCountsAt128)
{
    for (const auto& [exported, wire] : {std::pair{0u, 1u}, std::pair{1u, 0u}, std::pair{2u, 0u}})
    {
        auto model = Created(kReceive, kVideo);
        auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
        config->NbConnections_UL = 129;
        config->Connections_X[127].MulticastMode_E = exported;
        config->Connections_X[127].NbMulticastSources_UL = 0xFFFFFFFF;

        model->SetNetworkConfig(config.get());

        ASSERT_EQ(Rest.Stream.SentNetworkConfig.ConnectionConfigurations.size(), 128u);
        EXPECT_EQ(Rest.Stream.SentNetworkConfig.ConnectionConfigurations[127].MulticastMode, wire) << exported;
        EXPECT_EQ(Rest.Stream.SentNetworkConfig.ConnectionConfigurations[127].MulticastSources.size(), 128u);
    }
}

TEST_F(SetNetworkConfig, TranslatesByTheCommonRule)
{
    for (const ResultRow& row : kCommonRule)
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["SetNetworkConfig"] = {row.Result};
        auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();

        EXPECT_EQ(model->SetNetworkConfig(config.get()), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), IsEmpty());
    }
}

TEST_F(GetCommonStatus, BeforeAStartWritesNothingAndAsksNobody)
{
    auto model = Created(kReceive, kVideo);
    ZEFA_STREAM_COMMON_STATUS status{7, 8, 9};

    EXPECT_EQ(model->GetCommonStatus(&status), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_EQ(status.SlotsFilled_UL, 7u);
    EXPECT_EQ(status.SlotCount_UL, 8u);
    EXPECT_EQ(status.SlotDropped_UL, 9u);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetCommonStatus, ReceiveStreamCountsWholeSlotsThatWait)
{
    auto model = Aligned();
    Lock(*model);
    Rest.Stream.SlotDropped = 3;
    Rail().FillBytes = 3 * kSlotBytes - 1;
    ZEFA_STREAM_COMMON_STATUS status{};

    EXPECT_EQ(model->GetCommonStatus(&status), ZEFA_NO_ERROR);

    EXPECT_EQ(status.SlotsFilled_UL, 2u);
    EXPECT_EQ(status.SlotCount_UL, 2u) << "slots locked so far, not slots of the ring";
    EXPECT_EQ(status.SlotDropped_UL, 3u);
    EXPECT_THAT(Calls(), ElementsAre("Stream.GetEssenceStatus(5, essence 1)", "GetConsumerFill(77, 0)"));
}

TEST_F(GetCommonStatus, TransmitStreamCountsSlotsWithoutWholeSpace)
{
    auto model = Started(kTransmit);
    Rail().SpaceBytes = 3 * kSlotBytes + 1;
    ZEFA_STREAM_COMMON_STATUS status{};

    EXPECT_EQ(model->GetCommonStatus(&status), ZEFA_NO_ERROR);

    EXPECT_EQ(status.SlotsFilled_UL, 1u);
    EXPECT_EQ(status.SlotCount_UL, 0u);
    EXPECT_THAT(Calls(), ElementsAre("Stream.GetEssenceStatus(5, essence 1)", "GetProducerSpace(0)"));
}

TEST_F(GetCommonStatus, LockSizeOfZeroDividesNothing)
{
    Rest.Stream.LockSize = 0;
    for (const uint32_t type : {kReceive, kTransmit})
    {
        auto model = Started(type);
        Rail().FillBytes = Rail().SpaceBytes = 1000;
        ZEFA_STREAM_COMMON_STATUS status{1, 1, 1};

        EXPECT_EQ(model->GetCommonStatus(&status), ZEFA_NO_ERROR);

        EXPECT_EQ(status.SlotsFilled_UL, 0u);
    }
}

TEST_F(GetCommonStatus, TranslatesTheResultAndWritesNothing)
{
    for (const ResultRow& row : {ResultRow{5013, ZEFA_ERR_INCORRECT_STATE}, ResultRow{9, ZEFA_ERR_INCORRECT_STATE},
                                 ResultRow{10, ZEFA_ERR_INCORRECT_STATE}, ResultRow{5001, ZEFA_ERR_COMMUNICATION},
                                 ResultRow{4, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Started();
        Rest.Stream.Results["GetEssenceStatus"] = {row.Result};
        ZEFA_STREAM_COMMON_STATUS status{7, 8, 9};

        EXPECT_EQ(model->GetCommonStatus(&status), row.Expected) << row.Result;

        EXPECT_EQ(status.SlotsFilled_UL, 7u);
        EXPECT_EQ(status.SlotCount_UL, 8u);
        EXPECT_EQ(status.SlotDropped_UL, 9u);
        EXPECT_THAT(Errors(), IsEmpty());
    }
}

TEST_F(GetNetworkStatus, CopiesTheCounters)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.NetworkStatus = {.TotalTransferredPacketCount = 1,
                                 .TotalProcessedPacketCount = 2,
                                 .DropCount = 3,
                                 .UnderrunCount = 4,
                                 .LostPacketsCount = 5,
                                 .PacketsInDelaySituationCount = 6,
                                 .BiggestDelaySituationDuringLastSec = 7,
                                 .ReceivedSSRC = 8,
                                 .PayloadType = 9};
    ZEFA_STREAM_NETWORK_STATUS status;
    std::memset(&status, 0xEE, sizeof status);

    EXPECT_EQ(model->GetNetworkStatus(&status), ZEFA_NO_ERROR);

    EXPECT_EQ(status.TotalTransferredPacketCount_ULL, 1u);
    EXPECT_EQ(status.TotalProcessedPacketCount_ULL, 2u);
    EXPECT_EQ(status.DropCount_ULL, 3u);
    EXPECT_EQ(status.UnderrunCount_ULL, 4u);
    EXPECT_EQ(status.LostPacketsCount_ULL, 5u);
    EXPECT_EQ(status.ReceivedSSRC_UL, 8u);
    const uint8_t expected[] = {9, 0, 0, 0};
    EXPECT_EQ(std::memcmp(&status.PayloadType_UB, expected, 4), 0) << "three zero bytes behind the payload type";
    EXPECT_THAT(Calls(), ElementsAre("Stream.GetNetworkStatus(5)"));
}

TEST_F(GetNetworkStatus, TranslatesByTheCommonRule)
{
    for (const ResultRow& row : kCommonRule)
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["GetNetworkStatus"] = {row.Result};
        ZEFA_STREAM_NETWORK_STATUS status{};
        status.DropCount_ULL = 7;

        EXPECT_EQ(model->GetNetworkStatus(&status), row.Expected) << row.Result;

        EXPECT_EQ(status.DropCount_ULL, row.Result == 5000 ? 0u : 7u);
    }
}
} // namespace

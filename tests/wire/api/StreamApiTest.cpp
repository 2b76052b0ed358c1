// Streams: creation with its checks, the way to the model, and what is said to bad handles.
#include "ApiTest.h"

#include <array>
#include <memory>

namespace
{
constexpr const char* kStreams = "MXS/Stream/Mines/";

class CreateStream : public ContextTest
{
protected:
    CreateStream()
    {
        Service.Answer("POST", kStreams, 201, "", {{"Location", "v1.0/MXS/Stream/Mines/0000000000000009"}});
        Service.Answer("DELETE", "MXS/Stream/Mines/0000000000000009", 200);
    }

    // Creates and destroys a stream; the body of the request that made it.
    std::string BodyFor(int32_t streamType, int32_t essenceType)
    {
        ZEFA_HANDLE stream = nullptr;
        EXPECT_EQ(ZEFA_CreateStream(Context, streamType, essenceType, &stream), ZEFA_NO_ERROR);
        EXPECT_EQ(ZEFA_DestroyStream(stream), ZEFA_NO_ERROR);
        return Service.LastRequest("POST", kStreams).Body;
    }

    Texts RefusalOf(int32_t streamType, int32_t essenceType)
    {
        ZEFA_HANDLE stream = nullptr;
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
        Texts errors = ErrorsOf([&] { result = ZEFA_CreateStream(Context, streamType, essenceType, &stream); });
        EXPECT_EQ(result, ZEFA_ERR_BAD_ARGUMENT);
        EXPECT_EQ(stream, nullptr);
        EXPECT_EQ(Service.Count("POST", kStreams), 0U);
        return errors;
    }
};

std::string CreationBody(int essence, const char* type)
{
    return R"({"Essence":)" + std::to_string(essence) + R"(,"ID":"0000000000000000","Shared":false,"Type":")" + type +
           "\"}";
}

struct HandleCase
{
    const char* name;
    ZEFA_ERRORCODE (*call)(ZEFA_HANDLE);
    const char* text;
};

void PrintTo(const HandleCase& each, std::ostream* out)
{
    *out << each.name;
}

constexpr const char* kStreamText = "The stream handle is invalid.";
constexpr const char* kStreamTextWithEnd = "The stream handle is invalid.\r\n";
constexpr const char* kSlotText = "The slot handle is invalid.";

const HandleCase kHandleCases[] = {
    {"DestroyStream", [](ZEFA_HANDLE h) { return ZEFA_DestroyStream(h); }, kStreamText},
    {"OpenStream", [](ZEFA_HANDLE h) { return ZEFA_OpenStream(h); }, kStreamText},
    {"CloseStream", [](ZEFA_HANDLE h) { return ZEFA_CloseStream(h); }, kStreamText},
    {"StartStream", [](ZEFA_HANDLE h) { return ZEFA_StartStream(h); }, kStreamText},
    {"StopStream", [](ZEFA_HANDLE h) { return ZEFA_StopStream(h); }, kStreamText},
    {"GetStreamCommonConfig", [](ZEFA_HANDLE h) { return ZEFA_GetStreamCommonConfig(h, nullptr); }, kStreamTextWithEnd},
    {"SetStreamCommonConfig", [](ZEFA_HANDLE h) { return ZEFA_SetStreamCommonConfig(h, nullptr); }, kStreamTextWithEnd},
    {"GetStreamNetworkConfig", [](ZEFA_HANDLE h) { return ZEFA_GetStreamNetworkConfig(h, nullptr); },
     kStreamTextWithEnd},
    {"SetStreamNetworkConfig", [](ZEFA_HANDLE h) { return ZEFA_SetStreamNetworkConfig(h, nullptr); },
     kStreamTextWithEnd},
    {"GetStreamEssenceConfig", [](ZEFA_HANDLE h) { return ZEFA_GetStreamEssenceConfig(h, nullptr); },
     kStreamTextWithEnd},
    {"SetStreamEssenceConfig", [](ZEFA_HANDLE h) { return ZEFA_SetStreamEssenceConfig(h, nullptr); },
     kStreamTextWithEnd},
    {"GetStreamCommonStatus", [](ZEFA_HANDLE h) { return ZEFA_GetStreamCommonStatus(h, nullptr); }, kStreamTextWithEnd},
    {"GetStreamNetworkStatus", [](ZEFA_HANDLE h) { return ZEFA_GetStreamNetworkStatus(h, nullptr); },
     kStreamTextWithEnd},
    {"LockSlot", [](ZEFA_HANDLE h) { return ZEFA_LockSlot(h, nullptr); }, kStreamText},
    {"UnlockSlot", [](ZEFA_HANDLE h) { return ZEFA_UnlockSlot(h, nullptr); }, kSlotText},
    {"GetSlotBuffer", [](ZEFA_HANDLE h) { return ZEFA_GetSlotBuffer(h, nullptr, 0, nullptr, nullptr); }, kSlotText},
    {"GetSlotTimestamps", [](ZEFA_HANDLE h) { return ZEFA_GetSlotTimestamps(h, nullptr, 0, nullptr, nullptr); },
     kStreamTextWithEnd},
    {"SetSlotTimestamps", [](ZEFA_HANDLE h) { return ZEFA_SetSlotTimestamps(h, nullptr, 0, nullptr, 0); },
     kStreamTextWithEnd},
    {"GetSlotLostDataInfo", [](ZEFA_HANDLE h) { return ZEFA_GetSlotLostDataInfo(h, nullptr, 0, nullptr, nullptr); },
     kStreamTextWithEnd},
};

class StreamHandle : public ContextTest, public testing::WithParamInterface<HandleCase>
{
};

using Forward = StreamTest;
} // namespace

TEST_F(CreateStream, AsksTheServiceForDirectionAndEssence)
{
    EXPECT_EQ(BodyFor(0, 0), CreationBody(1, "RX"));
    EXPECT_EQ(BodyFor(1, 0), CreationBody(1, "TX"));
    EXPECT_EQ(BodyFor(0, 1), CreationBody(2, "RX"));
    EXPECT_EQ(BodyFor(1, 2), CreationBody(3, "TX"));
}

TEST_F(CreateStream, NegativeTypesPassAsTransmitAndAsNoEssence)
{
    EXPECT_EQ(BodyFor(-1, 0), CreationBody(1, "TX"));
    EXPECT_EQ(BodyFor(0, -1), CreationBody(0, "RX"));
    EXPECT_EQ(BodyFor(INT32_MIN, INT32_MIN), CreationBody(0, "TX"));
}

TEST_F(CreateStream, RefusesTypesAboveTheLastStreamTypeFirst)
{
    EXPECT_EQ(RefusalOf(2, 0), Texts{"The stream type 2 is not valid."});
    EXPECT_EQ(RefusalOf(2147483647, 0), Texts{"The stream type 2147483647 is not valid."});
    EXPECT_EQ(RefusalOf(0, 3), Texts{"The essence type 3 is not valid."});
    EXPECT_EQ(RefusalOf(-1, 5), Texts{"The essence type 5 is not valid."});
    EXPECT_EQ(RefusalOf(2, 5), Texts{"The stream type 2 is not valid."});
}

TEST_F(CreateStream, RefusesABadContextBeforeItLooksAtTheTypes)
{
    ZEFA_HANDLE stream = nullptr;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_CreateStream(nullptr, 5, 5, &stream); }),
              Texts{"The MXS handle is invalid."});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
}

TEST_F(CreateStream, RefusalOfTheServiceStoresNothing)
{
    Service.AnswerError("POST", kStreams, 2);
    ZEFA_HANDLE stream = nullptr;

    EXPECT_EQ(ZEFA_CreateStream(Context, 0, 0, &stream), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_EQ(stream, nullptr);
}

TEST_P(StreamHandle, NullIsRefusedWithItsText)
{
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    EXPECT_EQ(ErrorsOf([&] { result = GetParam().call(nullptr); }), Texts{GetParam().text});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
}

TEST_P(StreamHandle, ContextIsRefusedWithItsText)
{
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    EXPECT_EQ(ErrorsOf([&] { result = GetParam().call(Context); }), Texts{GetParam().text});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
}

INSTANTIATE_TEST_SUITE_P(Functions, StreamHandle, testing::ValuesIn(kHandleCases),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(Forward, StreamIsRefusedWhereAContextIsWanted)
{
    uint64_t version = 77;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetMXSStatus(Stream, &version); }), Texts{"The MXS handle is invalid.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
    EXPECT_EQ(ZEFA_DestroyMXSContext(Stream), ZEFA_ERR_INVALID_HANDLE);
}

TEST_F(Forward, DestructionEndsTheHandleWhateverTheServiceSays)
{
    Service.AnswerError("DELETE", kStream, 8);

    EXPECT_EQ(Destroy(), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_EQ(Service.Count("DELETE", kStream), 1U);
}

TEST_F(Forward, OpeningAndClosingSendTheState)
{
    EXPECT_EQ(ZEFA_OpenStream(Stream), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.LastRequest("PUT", Path("/State")).Body, R"({"Opened":true,"Started":false})");
    EXPECT_EQ(ZEFA_CloseStream(Stream), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.LastRequest("PUT", Path("/State")).Body, R"({"Opened":false,"Started":false})");
}

TEST_F(Forward, CommonConfigurationReachesTheModel)
{
    Service.Answer("GET", "MXS/Conductor/Mines/0000000000000007/Config", 200, R"({"CpuCoreID": "0000000000000003"})");
    Service.Answer("GET", "MXS/CpuCore/0000000000000003/Status", 200,
                   R"({"CoreId": 0, "CoreUsage": 0, "GroupId": 0, "MaxSpeed": 0, "NumaNode": 1})");
    ZEFA_STREAM_COMMON_CONFIG config{};
    config.ApplicativeBufferQueueDepth_UL = 8;
    config.LockTimeoutMs_UL = 250;
    config.ConductorId_ULL = 7;

    EXPECT_EQ(ZEFA_SetStreamCommonConfig(Stream, &config), ZEFA_NO_ERROR);
    const std::string sent = Service.LastRequest("PUT", Path("/Config/Common")).Body;
    EXPECT_NE(sent.find(R"("ApplicativeBufferQueueDepth":8)"), std::string::npos) << sent;
    EXPECT_NE(sent.find(R"("ConductorID":"0000000000000007")"), std::string::npos) << sent;

    Service.Answer("GET", Path("/Config/Common"), 200,
                   R"({"ApplicativeBufferQueueDepth": 8, "CpuCores": [], "ConductorID": "0000000000000007",)"
                   R"( "NumaNode": 1})");
    ZEFA_STREAM_COMMON_CONFIG read{};
    EXPECT_EQ(ZEFA_GetStreamCommonConfig(Stream, &read), ZEFA_NO_ERROR);
    EXPECT_EQ(read.ApplicativeBufferQueueDepth_UL, 8U);
    EXPECT_EQ(read.LockTimeoutMs_UL, 250U);
    EXPECT_EQ(read.ConductorId_ULL, 7U);
}

TEST_F(Forward, NetworkConfigurationReachesTheModel)
{
    const auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    config->PayloadType_UB = 96;
    config->NbConnections_UL = 1;
    config->Connections_X[0].DestinationPort_US = 20000;
    config->Connections_X[0].DestinationIp_UL = 0x7F000001;

    EXPECT_EQ(ZEFA_SetStreamNetworkConfig(Stream, config.get()), ZEFA_NO_ERROR);

    const std::string sent = Service.LastRequest("PUT", Path("/Config/Network")).Body;
    EXPECT_NE(sent.find(R"("PayloadType":96)"), std::string::npos) << sent;
    EXPECT_NE(sent.find(R"("DestinationPort":20000)"), std::string::npos) << sent;
    Service.Answer("GET", Path("/Config/Network"), 200, sent);
    const auto read = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    EXPECT_EQ(ZEFA_GetStreamNetworkConfig(Stream, read.get()), ZEFA_NO_ERROR);
    EXPECT_EQ(read->PayloadType_UB, 96U);
    ASSERT_EQ(read->NbConnections_UL, 1U);
    EXPECT_EQ(read->Connections_X[0].DestinationPort_US, 20000);
    EXPECT_EQ(read->Connections_X[0].DestinationIp_UL, 0x7F000001U);
}

TEST_F(Forward, NetworkOfAnAudioStreamGoesOutWithItsDscpOnEachConnection)
{
    ZEFA_HANDLE audio = nullptr;
    ASSERT_EQ(ZEFA_CreateStream(Context, ZEFA_STREAM_TYPE_TX, ZEFA_ESSENCE_TYPE_ST2110_30, &audio), ZEFA_NO_ERROR);
    const auto config = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    config->PayloadType_UB = 97;
    config->NbConnections_UL = 2;
    config->Connections_X[0].DestinationPort_US = 20000;
    config->Connections_X[1].DestinationPort_US = 20002;

    EXPECT_EQ(ZEFA_SetStreamNetworkConfig(audio, config.get()), ZEFA_NO_ERROR);

    const std::string sent = Service.LastRequest("PUT", Path("/Config/Network")).Body;
    const std::string dscp = R"("Dscp":34,)";
    const size_t first = sent.find(dscp);
    ASSERT_NE(first, std::string::npos) << sent;
    const size_t second = sent.find(dscp, first + 1);
    ASSERT_NE(second, std::string::npos) << sent;
    EXPECT_EQ(sent.find(R"("Dscp":)", second + 1), std::string::npos) << sent;
    Service.Answer("GET", Path("/Config/Network"), 200, sent);
    const auto read = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    EXPECT_EQ(ZEFA_GetStreamNetworkConfig(audio, read.get()), ZEFA_NO_ERROR);
    ASSERT_EQ(read->NbConnections_UL, 2U);
    EXPECT_EQ(read->Connections_X[1].DestinationPort_US, 20002);
    EXPECT_EQ(ZEFA_DestroyStream(audio), ZEFA_NO_ERROR);
}

TEST_F(Forward, EssenceConfigurationReachesTheModel)
{
    ZEFA_ESSENCE_CONFIG config{};
    config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_20;
    config.Essence_X.ST2110_20_X.VideoStandard_E = ZEFA_VIDEO_STANDARD_1920X1080_P_25;
    config.Essence_X.ST2110_20_X.NetworkBitDepth_E = ZEFA_SDP_VIDEO_DEPTH_10;

    EXPECT_EQ(ZEFA_SetStreamEssenceConfig(Stream, &config), ZEFA_NO_ERROR);

    const std::string sent = Service.LastRequest("PUT", Path("/Config/Essence")).Body;
    EXPECT_NE(sent.find(R"("FrameWidth":1920)"), std::string::npos) << sent;
    EXPECT_NE(sent.find(R"("Framerate":25)"), std::string::npos) << sent;
    Service.Answer("GET", Path("/Config/Essence"), 200, sent);
    ZEFA_ESSENCE_CONFIG read{};
    EXPECT_EQ(ZEFA_GetStreamEssenceConfig(Stream, &read), ZEFA_NO_ERROR);
    EXPECT_EQ(read.EssenceType_E, ZEFA_ESSENCE_TYPE_ST2110_20);
    EXPECT_EQ(read.Essence_X.ST2110_20_X.VideoStandard_E, ZEFA_VIDEO_STANDARD_1920X1080_P_25);
    EXPECT_EQ(read.Essence_X.ST2110_20_X.NetworkBitDepth_E, ZEFA_SDP_VIDEO_DEPTH_10);
}

TEST_F(Forward, CommonStatusBeforeAStartIsAnIncorrectStateAndWritesNothing)
{
    ZEFA_STREAM_COMMON_STATUS status{77, 78, 79};

    EXPECT_EQ(ZEFA_GetStreamCommonStatus(Stream, &status), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_EQ(status.SlotsFilled_UL, 77U);
    EXPECT_EQ(status.SlotCount_UL, 78U);
    EXPECT_EQ(status.SlotDropped_UL, 79U);
}

TEST_F(Forward, NetworkStatusReachesTheModel)
{
    Service.Answer("GET", Path("/Status/Network"), 200,
                   R"({"TotalTransferredPacketCount": 5000000001, "TotalProcessedPacketCount": 2, "DropCount": 3,)"
                   R"( "UnderrunCount": 4, "LostPacketsCount": 5, "PacketsInDelaySituationCount": 6,)"
                   R"( "BiggestDelaySituationDuringLastSec": 7, "ReceivedSSRC": 8, "PayloadType": 96})");
    ZEFA_STREAM_NETWORK_STATUS status{};

    EXPECT_EQ(ZEFA_GetStreamNetworkStatus(Stream, &status), ZEFA_NO_ERROR);

    EXPECT_EQ(status.ReceivedSSRC_UL, 8U);
    EXPECT_EQ(status.PayloadType_UB, 96);
    EXPECT_EQ(status.TotalTransferredPacketCount_ULL, 5000000001U);
    EXPECT_EQ(status.TotalProcessedPacketCount_ULL, 2U);
    EXPECT_EQ(status.UnderrunCount_ULL, 4U);
    EXPECT_EQ(status.DropCount_ULL, 3U);
    EXPECT_EQ(status.LostPacketsCount_ULL, 5U);
}

TEST_F(Forward, RefusedStartIsReturned)
{
    Service.Answer("GET", Path("/Status/Essence"), 200,
                   R"({"Type":"ST2110_20","LockSize":4096,"SlotDropped":0,)"
                   R"("Data":{"BufferInfo":{"0":{"Offset":0,"Size":4096}}}})");
    Service.Answer("GET", Path("/Config/Common"), 200,
                   R"({"ApplicativeBufferQueueDepth": 4, "CpuCores": [], "ConductorID": "0000000000000007",)"
                   R"( "NumaNode": 0})");
    Service.AnswerError("PUT", Path("/State"), 9);
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_StartStream(Stream); }), Texts{"The stream could not be started9"});

    EXPECT_EQ(result, ZEFA_ERR_INCORRECT_STATE);
    EXPECT_EQ(Service.LastRequest("PUT", Path("/State")).Body, R"({"Opened":true,"Started":true})");
}

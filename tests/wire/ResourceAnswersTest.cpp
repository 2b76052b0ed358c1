// What single operations make of answers that are theirs alone: lists, creations, essences, PTP, port drops.
#include "Operations.h"

#include <functional>

#include <gmock/gmock.h>

using namespace Wire;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

class ResourceAnswers : public SharedPeer
{
protected:
    IConductorClient* const Conductor = Peer.Rest.GetConductorClient();
    IStreamClient* const Stream = Peer.Rest.GetStreamClient();
    INetworkInterfaceClient* const NetworkInterface = Peer.Rest.GetNetworkInterfaceClient();
};

struct ListCase
{
    std::string Name;
    std::string Answer;
    std::vector<uint64_t> Ids;
};

TEST_F(ResourceAnswers, AListIsEmptiedAndFilledInTheOrderOfTheDocument)
{
    std::string many = R"({"ID": [)";
    for (int i = 0; i < 300; ++i)
        many += std::string(i ? "," : "") + "\"1\"";
    const ListCase cases[]{
        {"Ordered", R"({"ID": ["0000000000000003", "0000000000000001", "0000000000000002"]})", {3, 1, 2}},
        {"Twice", R"({"ID": ["1", "1"]})", {1, 1}},
        {"Empty", R"({"ID": []})", {}},
        {"NoKey", R"({"Id": ["1"]})", {}},
        {"NoArray", R"({"ID": "1"})", {}},
        {"NoObject", "[]", {}},
        {"BadElements", R"({"ID": ["xyz", "2", 12345678901234567890, null, {}, "ffffffffffffffff"]})", {}},
        {"Many", many + "]}", std::vector<uint64_t>(300, 1)},
    };
    const std::pair<std::string, std::function<RESULT_CODE(std::vector<uint64_t>*)>> lists[]{
        {"MXS/Conductor/Shared/", [&](auto* ids) { return Conductor->GetSharedList(ids); }},
        {"MXS/Conductor/Mines/", [&](auto* ids) { return Conductor->GetMinesList(ids); }},
        {"MXS/Stream/Shared/", [&](auto* ids) { return Stream->GetSharedList(ids); }},
        {"MXS/Stream/Mines/", [&](auto* ids) { return Stream->GetMinesList(ids); }},
        {"MXS/CpuCore/", [&](auto* ids) { return Peer.Rest.GetCpuCoreClient()->GetList(ids); }},
        {"MXS/NetIf/", [&](auto* ids) { return NetworkInterface->GetList(ids); }},
        {"MXS/NetIf/0000000000000001/UdpPortDrop/",
         [&](auto* ids) { return NetworkInterface->GetUdpPortDropList(1, ids); }},
    };
    for (const auto& [path, call] : lists)
        for (const ListCase& row : cases)
        {
            SCOPED_TRACE(path + " " + row.Name);
            Peer.Service.Answer("GET", path, 200, row.Answer);
            std::vector<uint64_t> ids{9, 9};
            EXPECT_EQ(call(&ids), RESULT_NO_ERROR);
            if (row.Name == "BadElements") // what parses stays, in order
            {
                EXPECT_THAT(ids, testing::Contains(2u));
                EXPECT_THAT(ids, testing::Contains(UINT64_MAX));
                EXPECT_THAT(ids, testing::Not(testing::Contains(9u)));
            }
            else
                EXPECT_EQ(ids, row.Ids);
        }
    for (const auto& [path, call] : lists)
    {
        SCOPED_TRACE(path);
        Peer.Service.Answer("GET", path, 200, "no document");
        std::vector<uint64_t> ids{9, 9};
        EXPECT_EQ(call(&ids), RESULT_OPERATION_FAILED);
        EXPECT_THAT(ids, testing::IsEmpty()) << "the answer was good, so what was there is of the past";
    }
}

struct CreateCase
{
    std::string Name;
    unsigned Status;
    FakeHeaders Headers;
    std::string Body;
    RESULT_CODE Result;
    uint64_t Id; // in a record that held 7
};

TEST_F(ResourceAnswers, CreateTakesTheIdentifierFromTheLocationOfA201)
{
    const CreateCase cases[]{
        {"Created", 201, {{"Location", "v1.0/MXS/Kind/Mines/00000000000000ab"}}, "", 5000, 0xab},
        {"NameInAnyCase", 201, {{"loCATion", "v1.0/MXS/Kind/Mines/00000000000000ab"}}, "", 5000, 0xab},
        {"SixParts", 201, {{"Location", "v1.0/MXS/Kind/Mines/ab/Config"}}, "", 5000, 0xab},
        {"FourParts", 201, {{"Location", "MXS/Kind/Mines/00000000000000ab"}}, "", 5000, 7},
        {"FourPartsAndASlash", 201, {{"Location", "MXS/Kind/Mines/ab/"}}, "", 5000, 7},
        {"NoIdentifier", 201, {{"Location", "v1.0/MXS/Kind/Mines/xyz"}}, "", 5000, 0},
        {"NoLocation", 201, {}, "", 5004, 7},
        {"NoLocationButAnError", 201, {}, R"({"ErrMsg": "", "ErrCode": 10})", 10, 7},
        {"Exists", 200, {}, "", 5000, 7},
        {"ExistsWithALocation", 200, {{"Location", "v1.0/MXS/Kind/Mines/ab"}}, "", 5000, 7},
        {"AcceptedIsNone", 202, {{"Location", "v1.0/MXS/Kind/Mines/ab"}}, "", 5004, 7},
        {"Refused", 409, {{"Location", "v1.0/MXS/Kind/Mines/ab"}}, R"({"ErrMsg": "", "ErrCode": 11})", 11, 7},
    };
    for (const CreateCase& row : cases)
    {
        SCOPED_TRACE(row.Name);
        Peer.Service.Answer("POST", "MXS/Conductor/Mines/", row.Status, row.Body, row.Headers);
        Peer.Service.Answer("POST", "MXS/Stream/Mines/", row.Status, row.Body, row.Headers);
        CONDUCTOR_CREATE conductor{.Shared = false, .ID = 7};
        EXPECT_EQ(Conductor->Create(&conductor), row.Result);
        EXPECT_EQ(conductor.ID, row.Id);
        STREAM_CREATE stream{.Type = 1, .Essence = 1, .Shared = false, .ID = 7};
        EXPECT_EQ(Stream->Create(&stream), row.Result);
        EXPECT_EQ(stream.ID, row.Id);
    }
}

TEST_F(ResourceAnswers, AnEssenceOfAnotherTypeIsRefused)
{
    const std::string path = "MXS/Stream/Mines/0000000000000001/";
    Peer.Service.Answer("GET", path + "Status/Essence", 200,
                        R"({"Type": "ST2110_30", "LockSize": 5, "Data": {"BufferInfo": {}}})");
    Peer.Service.Answer("GET", path + "Config/Essence", 200,
                        R"({"Type": "ST2110_30", "Data": {"ChannelNumber": 1, "Encoding": "L16",)"
                        R"( "NbPacketsPerBuffer": 1, "PacketTime": "_1ms", "SamplingRate": "_48kHz"}})");
    RtpEssence::STATUS_ST2110_20 status;
    status.LockSize = 11;
    EXPECT_EQ(Stream->GetEssenceStatus(1, &status), RESULT_ESSENCE_MISMATCH);
    EXPECT_EQ(status.LockSize, 11);
    RtpEssence::CONFIG_ST2110_40 config;
    EXPECT_EQ(Stream->GetEssenceConfig(1, &config), RESULT_ESSENCE_MISMATCH);
    RtpEssence::STATUS_ST2110_30 audio;
    EXPECT_EQ(Stream->GetEssenceStatus(1, &audio), RESULT_NO_ERROR);
    EXPECT_EQ(audio.LockSize, 5);
}

TEST_F(ResourceAnswers, EveryEssenceTravelsUnderItsOwnType)
{
    const std::string path = "MXS/Stream/Mines/0000000000000001/Config/Essence";
    Peer.Service.Answer("PUT", path, 200);
    EXPECT_EQ(Stream->SetEssenceConfig(1, RtpEssence::CONFIG_ST2110_20()), RESULT_NO_ERROR);
    EXPECT_EQ(Peer.Service.LastRequest("PUT", path).Body,
              R"({"Data":{"AppBitProp":{"BitDepth":"_8Bits","BitPadding":"NoPadding","BitSampling":"YCbCr_422",)"
              R"("Endianness":"BigEndian"},"ClockType":"EU","Colorimetry":"BT709","FrameHeight":1920,)"
              R"("FrameWidth":1080,"Framerate":30,"Interlaced":false,"NetworkBitProp":{"BitDepth":"_8Bits",)"
              R"("BitPadding":"NoPadding","BitSampling":"YCbCr_422","Endianness":"BigEndian"},)"
              R"("PackingMode_E":"General","TrOffset":0,"UseDefaultTrOffset":true},"Type":"ST2110_20"})");
    EXPECT_EQ(Stream->SetEssenceConfig(1, RtpEssence::CONFIG_ST2110_40()), RESULT_NO_ERROR);
    EXPECT_EQ(Peer.Service.LastRequest("PUT", path).Body,
              R"({"Data":{"ActiveFrameHeight":2250,"ActiveFrameWidth":5500,"ClockType":"EU","Framerate":24,)"
              R"("Interlaced":false,"RawFrameHeight":2160,"RawFrameWidth":3840},"Type":"ST2110_40"})");
}

TEST_F(ResourceAnswers, EmptyListsAreLeftOutOfWhatIsSent)
{
    const std::string path = "MXS/Stream/Mines/0000000000000001/Config/";
    Peer.Service.Answer("PUT", path + "Network", 200);
    Peer.Service.Answer("PUT", path + "Common", 200);
    EXPECT_EQ(Stream->SetNetworkConfig(1, {}), RESULT_NO_ERROR);
    EXPECT_EQ(Stream->SetCommonConfig(1, {}), RESULT_NO_ERROR);
    EXPECT_EQ(Peer.Service.LastRequest("PUT", path + "Network").Body,
              R"({"PayloadType":0,"SSRC":0,"SocketBufferSize":0})");
    EXPECT_EQ(Peer.Service.LastRequest("PUT", path + "Common").Body,
              R"({"ApplicativeBufferQueueDepth":0,"ConductorID":"0000000000000000","NumaNode":0})");
}

TEST_F(ResourceAnswers, AReadAppendsToTheListsOfTheCallersRecord)
{
    Peer.Service.Answer("GET", "MXS/Stream/Mines/0000000000000001/Config/Common", 200,
                        R"({"ApplicativeBufferQueueDepth": 4, "ConductorID": "9", "NumaNode": 1, "CpuCores": ["5"]})");
    STREAM_COMMON_CONFIG config;
    config.CpuCores = {4};
    EXPECT_EQ(Stream->GetCommonConfig(1, &config), RESULT_NO_ERROR);
    EXPECT_THAT(config.CpuCores, ElementsAre(4, 5));
}

TEST_F(ResourceAnswers, ACoreWithoutAvailabilityLeavesTheFieldAsItWas)
{
    Peer.Service.Answer("GET", "MXS/CpuCore/0000000000000003/Status", 200,
                        R"({"CoreId": 3, "NumaNode": 0, "MaxSpeed": 1, "CoreUsage": 300, "GroupId": 0})");
    CPU_CORE_STATUS status;
    status.ConductorAvailability = 2;
    EXPECT_EQ(Peer.Rest.GetCpuCoreClient()->GetStatus(3, &status), RESULT_NO_ERROR);
    EXPECT_EQ(status.ConductorAvailability, 2u);
    EXPECT_EQ(status.CoreUsage, 44);
}

TEST_F(ResourceAnswers, APtpStatusThatLacksADataSetLeavesTheRecordAsItWas)
{
    for (const char* lacking : {"TimePropertiesDS", "CurrentDS", "gm", "portState"})
    {
        SCOPED_TRACE(lacking);
        std::string answer = kPtpStatus;
        answer.replace(answer.find(lacking), 1, "x");
        Peer.Service.Answer("GET", "MXS/PtpApi/Status", 200, answer);
        PTP_STATUS record;
        record.CurrentSystemTime = 77;
        EXPECT_EQ(Peer.Rest.GetPtpApiClient()->GetStatus(&record), RESULT_INVALID_ARGUMENT);
        EXPECT_EQ(record.CurrentSystemTime, 77u);
        EXPECT_EQ(record.portState, 0u);
    }
}

TEST_F(ResourceAnswers, APortDropIsCreatedBy200AndBy201)
{
    const std::string path = "MXS/NetIf/0000000000000001/UdpPortDrop/000000000000ffff";
    for (const unsigned status : {200u, 201u})
    {
        Peer.Service.Answer("PUT", path, status);
        EXPECT_EQ(NetworkInterface->CreateUdpPortDrop(1, 65535), RESULT_NO_ERROR);
    }
    Peer.Service.AnswerError("PUT", path, 17, 409);
    EXPECT_EQ(NetworkInterface->CreateUdpPortDrop(1, 65535), 17u);
    Peer.Service.Answer("DELETE", path, 201);
    EXPECT_EQ(NetworkInterface->RemoveUdpPortDrop(1, 65535), RESULT_INVALID_ARGUMENT);
}

TEST_F(ResourceAnswers, AnAbsentPortDropIsFalseTogetherWithTheServicesCode)
{
    const std::string path = "MXS/NetIf/0000000000000001/UdpPortDrop/000000000000138c";
    bool exist = true;
    Peer.Service.AnswerError("GET", path, 5005, 404);
    EXPECT_EQ(NetworkInterface->UdpPortDropExist(1, 5004, &exist), RESULT_NOT_FOUND);
    EXPECT_FALSE(exist);
    Peer.Service.Answer("GET", path, 200, "not looked at");
    EXPECT_EQ(NetworkInterface->UdpPortDropExist(1, 5004, &exist), RESULT_NO_ERROR);
    EXPECT_TRUE(exist);
    Peer.Service.Answer("GET", path, FakeAnswer::CloseWithoutAnswer());
    EXPECT_EQ(NetworkInterface->UdpPortDropExist(1, 5004, &exist), RESULT_OPERATION_FAILED);
    EXPECT_TRUE(exist); // nobody has said anything
}

} // namespace

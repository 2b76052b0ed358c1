// Every document that the service reads: all keys, each key missing, each key of a wrong kind.
#include "mxs/Documents.h"

#include "mxs/Refusal.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

namespace test
{
namespace
{

using namespace mxs;

const Json kBits = {{"BitSampling", "YCbCr_422"},
                    {"BitDepth", "_10Bits"},
                    {"BitPadding", "_16BitsPadding"},
                    {"Endianness", "LittleEndian"}};
const Json kVideo = {{"Type", "ST2110_20"},
                     {"Data",
                      {{"FrameWidth", 1920},
                       {"FrameHeight", 1080},
                       {"Framerate", 60},
                       {"Interlaced", true},
                       {"ClockType", "US"},
                       {"NetworkBitProp", kBits},
                       {"PackingMode_E", "Block"},
                       {"Colorimetry", "BT2020"},
                       {"AppBitProp", kBits},
                       {"UseDefaultTrOffset", false},
                       {"TrOffset", 77}}}};
const Json kAudio = {{"Type", "ST2110_30"},
                     {"Data",
                      {{"Encoding", "L24"},
                       {"SamplingRate", "_96kHz"},
                       {"PacketTime", "_125us"},
                       {"ChannelNumber", 8},
                       {"NbPacketsPerBuffer", 100}}}};
const Json kAncillary = {{"Type", "ST2110_40"},
                         {"Data",
                          {{"ActiveFrameWidth", 1920},
                           {"RawFrameWidth", 2200},
                           {"ActiveFrameHeight", 1080},
                           {"RawFrameHeight", 1125},
                           {"Framerate", 60},
                           {"Interlaced", false},
                           {"ClockType", "US"}}}};
const Json kConnection = {{"SourceIp", 1},
                          {"DestinationIp", 4026531841u},
                          {"DestinationPort", 5004},
                          {"NetworkInterfaceID", "1500000000000001"},
                          {"MulticastMode", "Inclusion"},
                          {"MulticastSources", {"000000007f000001"}},
                          {"Dscp", 34},
                          {"MulticastTtl", 8}};
const Json kNetwork = {
    {"PayloadType", 96}, {"SSRC", 4294967295u}, {"SocketBufferSize", 1}, {"ConnectionConfigurations", {kConnection}}};
const Json kCommon = {{"ApplicativeBufferQueueDepth", 4},
                      {"CpuCores", {"1400000000000001"}},
                      {"ConductorID", "1200000000000001"},
                      {"NumaNode", 4294967295u}};

// Reads a document; text of the refusal, empty when it is taken.
template <class Record>
std::string Read(const Json& document, Record record = {})
{
    try
    {
        FromDocument(document, record);
        return {};
    }
    catch (const Refusal& refusal)
    {
        EXPECT_EQ(kIncorrectConfiguration, refusal.Code);
        return refusal.Message;
    }
}

struct ReaderCase
{
    const char* name;
    Json document; // complete
    std::function<std::string(const Json&)> read;
    std::set<std::string> optional;
};

const ReaderCase kReaders[] = {
    {"ContextIdentity",
     {{"AppID", "0000000000000001"}, {"ContextID", "0000000000000002"}},
     [](const Json& d) { return Read<ContextIdentity>(d); },
     {}},
    {"ConductorCreate",
     {{"Shared", true}, {"ID", "0000000000000000"}},
     [](const Json& d) { return Read<ConductorCreate>(d); },
     {}},
    {"ConductorConfig",
     {{"CpuCoreID", "1400000000000001"}},
     [](const Json& d) { return Read<ConductorConfig>(d); },
     {}},
    {"ConductorState", {{"Started", true}}, [](const Json& d) { return Read<ConductorState>(d); }, {}},
    {"InterfaceConfig", {{"IP", 1}, {"SubnetMask", 2}}, [](const Json& d) { return Read<InterfaceConfig>(d); }, {}},
    {"StreamCreate",
     {{"Type", "RX"}, {"Essence", 1}, {"Shared", false}, {"ID", "0000000000000000"}},
     [](const Json& d) { return Read<StreamCreate>(d); },
     {}},
    {"StreamState", {{"Started", false}, {"Opened", true}}, [](const Json& d) { return Read<StreamState>(d); }, {}},
    {"CommonConfig", kCommon, [](const Json& d) { return Read<media::CommonConfig>(d); }, {"CpuCores"}},
    {"NetworkConfig",
     kNetwork,
     [](const Json& d) { return Read<media::NetworkConfig>(d); },
     {"ConnectionConfigurations"}},
    {"Connection",
     kConnection,
     [](const Json& d)
     {
         Json network = kNetwork;
         network["ConnectionConfigurations"][0] = d;
         return Read<media::NetworkConfig>(network);
     },
     {"MulticastSources"}},
    {"Essence", kVideo, [](const Json& d) { return Read<media::EssenceConfig>(d, media::VideoConfig{}); }, {}},
    {"Video",
     kVideo["Data"],
     [](const Json& d) {
         return Read<media::EssenceConfig>({{"Type", "ST2110_20"}, {"Data", d}}, media::VideoConfig{});
     },
     {}},
    {"VideoBits",
     kBits,
     [](const Json& d)
     {
         Json video = kVideo;
         video["Data"]["AppBitProp"] = d;
         return Read<media::EssenceConfig>(video, media::VideoConfig{});
     },
     {}},
    {"Audio",
     kAudio["Data"],
     [](const Json& d) {
         return Read<media::EssenceConfig>({{"Type", "ST2110_30"}, {"Data", d}}, media::AudioConfig{});
     },
     {}},
    {"Ancillary",
     kAncillary["Data"],
     [](const Json& d) {
         return Read<media::EssenceConfig>({{"Type", "ST2110_40"}, {"Data", d}}, media::AncillaryConfig{});
     },
     {}},
};

class Reader : public ::testing::TestWithParam<ReaderCase>
{
};

TEST_P(Reader, TakesAWholeDocumentAndUnknownKeys)
{
    Json document = GetParam().document;
    EXPECT_EQ("", GetParam().read(document));
    document["Unknown"] = {1, 2, 3};
    EXPECT_EQ("", GetParam().read(document));
}

TEST_P(Reader, NamesAKeyThatIsMissing)
{
    for (const auto& [key, value] : GetParam().document.items())
    {
        Json document = GetParam().document;
        document.erase(key);
        const std::string message = GetParam().read(document);
        if (GetParam().optional.contains(key))
            EXPECT_EQ("", message) << key;
        else
            EXPECT_NE(std::string::npos, message.find(key + "\" is missing")) << key << ": " << message;
    }
}

TEST_P(Reader, NamesAKeyOfAWrongKind)
{
    for (const auto& [key, value] : GetParam().document.items())
        for (const Json& other : {Json(nullptr), Json(true), Json(-1), Json("no value of its list"),
                                  Json(Json::array({1})), Json(Json::object())})
        {
            if (other.type() == value.type()) continue;
            if (value.is_number() && other.is_number() && other != -1) continue;
            Json document = GetParam().document;
            document[key] = other;
            const std::string message = GetParam().read(document);
            EXPECT_NE(std::string::npos, message.find(key)) << key << " = " << other << ": " << message;
        }
}

TEST_P(Reader, RefusesWhatIsNoObject)
{
    for (const Json& document : {Json(nullptr), Json(1), Json("text"), Json(Json::array())})
        EXPECT_NE(std::string::npos, GetParam().read(document).find("is no")) << document;
}

INSTANTIATE_TEST_SUITE_P(Documents, Reader, ::testing::ValuesIn(kReaders),
                         [](const auto& information) { return std::string(information.param.name); });

TEST(Documents, VideoIsReadWhole)
{
    media::EssenceConfig essence = media::VideoConfig{};
    FromDocument(kVideo, essence);
    const auto& video = std::get<media::VideoConfig>(essence);
    EXPECT_EQ(1920u, video.width);
    EXPECT_EQ(1080u, video.height);
    EXPECT_EQ(60u, video.framerate);
    EXPECT_TRUE(video.interlaced);
    EXPECT_TRUE(video.fractional);
    EXPECT_EQ((media::BitProperties{1, 1, 1, 1}), video.network);
    EXPECT_EQ(1u, video.packingMode);
    EXPECT_EQ(2u, video.colorimetry);
    EXPECT_FALSE(video.useDefaultTrOffset);
    EXPECT_EQ(77u, video.trOffset);
    EXPECT_EQ(kVideo, ToDocument(essence));
}

TEST(Documents, AudioAndAncillaryAreReadWhole)
{
    media::EssenceConfig audio = media::AudioConfig{}, ancillary = media::AncillaryConfig{};
    FromDocument(kAudio, audio);
    FromDocument(kAncillary, ancillary);
    EXPECT_EQ(3u, std::get<media::AudioConfig>(audio).encodingBytes);
    EXPECT_EQ(96000u, std::get<media::AudioConfig>(audio).samplingRateHz);
    EXPECT_EQ(125u, std::get<media::AudioConfig>(audio).packetTimeUs);
    EXPECT_EQ(2200u, std::get<media::AncillaryConfig>(ancillary).rawWidth);
    EXPECT_EQ(kAudio, ToDocument(audio));
    EXPECT_EQ(kAncillary, ToDocument(ancillary));
}

TEST(Documents, NetworkAndCommonComeBackAsTheyCame)
{
    media::NetworkConfig network;
    FromDocument(kNetwork, network);
    ASSERT_EQ(1u, network.connections.size());
    EXPECT_EQ(0x7f000001u, network.connections[0].sources.at(0));
    EXPECT_TRUE(network.connections[0].inclusion);
    EXPECT_EQ(kNetwork, ToDocument(network));
    media::CommonConfig common;
    FromDocument(kCommon, common);
    EXPECT_EQ(0x1200000000000001u, common.conductorId);
    EXPECT_EQ(kCommon, ToDocument(common));
}

TEST(Documents, NumbersKeepToTheirRange)
{
    const auto read = [](const char* key, const Json& value)
    {
        Json document = kConnection;
        document[key] = value;
        Json network = kNetwork;
        network["ConnectionConfigurations"] = {document};
        return Read<media::NetworkConfig>(network);
    };
    EXPECT_EQ("", read("DestinationPort", 65535));
    EXPECT_EQ("The key \"ConnectionConfigurations[0].DestinationPort\" is no whole number from 0 to 65535.",
              read("DestinationPort", 65536));
    EXPECT_EQ("", read("Dscp", 255));
    EXPECT_NE("", read("Dscp", 256));
    EXPECT_EQ("", read("SourceIp", 4294967295.0));
    EXPECT_NE("", read("SourceIp", 4294967296.0));
    EXPECT_NE("", read("SourceIp", 4294967296u + uint64_t{0}));
    EXPECT_NE("", read("SourceIp", 1.5));
    EXPECT_NE("", read("SourceIp", -0.5));
    EXPECT_NE("", read("SourceIp", 1e300));
}

TEST(Documents, IdentifiersAreTheLastSegmentOfAPath)
{
    ConductorConfig config;
    for (const char* text : {"1400000000000001", "CpuCore/1400000000000001", "v1.0/MXS/CpuCore/1400000000000001/"})
    {
        config = {};
        FromDocument(Json{{"CpuCoreID", text}}, config);
        EXPECT_EQ(0x1400000000000001u, config.cpuCoreId) << text;
    }
    for (const char* text : {"", "/", "1", "140000000000000g", "14000000000000011", "0x14000000000001"})
        EXPECT_NE("", Read<ConductorConfig>(Json{{"CpuCoreID", text}})) << text;
}

TEST(Documents, ListsAreCutAt128AndSourcesAre32Bits)
{
    Json common = kCommon;
    common["CpuCores"] = Json(std::vector<std::string>(128, "1400000000000001"));
    EXPECT_EQ("", Read<media::CommonConfig>(common));
    common["CpuCores"].push_back("1400000000000001");
    EXPECT_NE(std::string::npos, Read<media::CommonConfig>(common).find("\"CpuCores\" has more than 128"));
    Json network = kNetwork;
    network["ConnectionConfigurations"] = Json(std::vector<Json>(129, kConnection));
    EXPECT_NE(std::string::npos,
              Read<media::NetworkConfig>(network).find("\"ConnectionConfigurations\" has more than 128"));
    network = kNetwork;
    network["ConnectionConfigurations"][0]["MulticastSources"] = {"0000000100000000"};
    EXPECT_NE(std::string::npos, Read<media::NetworkConfig>(network).find("MulticastSources[0]"));
}

TEST(Documents, NestSixteenDeepAndNoDeeper)
{
    const auto nested = [](size_t depth) { return std::string(depth, '[') + "7" + std::string(depth, ']'); };
    EXPECT_TRUE(ParseDocument(nested(16)).is_array());
    try
    {
        (void)ParseDocument(nested(17));
        FAIL() << "it was read";
    }
    catch (const Refusal& refusal)
    {
        EXPECT_EQ(4u, refusal.Code);
    }
}

TEST(Documents, ARefusedDocumentLeavesTheRecord)
{
    media::CommonConfig record;
    record.queueDepth = 9;
    Json document = kCommon;
    document.erase("NumaNode");
    EXPECT_THROW(FromDocument(document, record), Refusal);
    EXPECT_EQ(9u, record.queueDepth);
}

TEST(Documents, AnotherEssenceIsAMismatchAndAnUnknownOneIsNot)
{
    media::EssenceConfig video = media::VideoConfig{};
    try
    {
        FromDocument(kAudio, video);
        FAIL();
    }
    catch (const Refusal& refusal)
    {
        EXPECT_EQ(kEssenceMismatch, refusal.Code);
    }
    EXPECT_NE("", Read<media::EssenceConfig>({{"Type", "Reserved"}, {"Data", Json::object()}}, video));
}

TEST(Documents, AnUnknownSpellingIsToldTheKnownOnes)
{
    Json video = kVideo;
    video["Data"]["ClockType"] = "us";
    EXPECT_EQ("The key \"Data.ClockType\" has an unknown value; known are EU, US.",
              Read<media::EssenceConfig>(video, media::VideoConfig{}));
}

TEST(Documents, EssencesBeside1To3AreRefusedAtCreation)
{
    for (const int essence : {0, 4})
        EXPECT_NE("", Read<StreamCreate>(
                          {{"Type", "RX"}, {"Essence", essence}, {"Shared", false}, {"ID", "0000000000000000"}}));
}

TEST(Documents, StatusDocumentsHaveAllTheirKeys)
{
    EssenceStatus essence{1, {100, {{0, {0, 50}}, {1, {50, 50}}}}, 3};
    EXPECT_EQ(Json::parse(R"({"Type":"ST2110_20","LockSize":100,"SlotDropped":3,
                              "Data":{"BufferInfo":{"0":{"Offset":0,"Size":50},"1":{"Offset":50,"Size":50}}}})"),
              ToDocument(essence));

    StreamCommonStatus common;
    EXPECT_EQ(Json::parse(R"({"FlowRailDescriptor":{"Type":"FileMap","Description":{}},"MinProcessingTime":0,
                              "MaxProcessingTime":0,"MeanProcessingTime":0,"ApplicativeBufferDelayed":false})"),
              ToDocument(common));
    common.rail.description = {{"Name", "/a"}, {"Twice", "x"}, {"Twice", "y"}};
    common.times = {1, 2, 3};
    common.bufferDelayed = true;
    EXPECT_EQ(Json::parse(R"({"FlowRailDescriptor":{"Type":"FileMap","Description":{"Name":["/a"],"Twice":["x","y"]}},
                              "MinProcessingTime":1,"MaxProcessingTime":2,"MeanProcessingTime":3,
                              "ApplicativeBufferDelayed":true})"),
              ToDocument(common));

    media::NetworkCounters counters{1, 2, 3, 4, 5, 6, 7, 8, 9, {{10, 11}, {12, 13}}};
    EXPECT_EQ(Json::parse(R"({"TotalTransferredPacketCount":1,"TotalProcessedPacketCount":2,"DropCount":3,
                              "UnderrunCount":4,"LostPacketsCount":5,"PacketsInDelaySituationCount":6,
                              "BiggestDelaySituationDuringLastSec":7,"ReceivedSSRC":8,"PayloadType":9,
                              "Paths":[{"TransferredPacketCount":10,"LostPacketsCount":11},
                                       {"TransferredPacketCount":12,"LostPacketsCount":13}]})"),
              ToDocument(counters));

    EXPECT_EQ(Json::parse(R"({"ErrMsg":"text","ErrCode":5017})"), ToDocument(ServerError{"text", 5017}));
    EXPECT_EQ(Json::parse(R"({"ID":["0000000000000001","00000000000000ff"]})"), ToDocument(IdList{{1, 255}}));
}

} // namespace
} // namespace test

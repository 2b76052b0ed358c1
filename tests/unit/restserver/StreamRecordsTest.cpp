// The records of a stream apart from its essence.
#include "RecordCheck.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
TEST(StreamCreate, IsWrittenWithTheEssenceAsANumber)
{
    EXPECT_EQ(
        Written(STREAM_CREATE{.Type = STREAM_TYPE_RX, .Essence = ESSENCE_TYPE_ST2110_40, .Shared = true, .ID = 9}),
        Canonical(R"({"Type":"RX","Essence":3,"Shared":true,"ID":"0000000000000009"})"));
    EXPECT_EQ(Written(STREAM_CREATE{.Type = 7, .Essence = 0xFFFFFFFF, .Shared = false, .ID = 0}),
              Canonical(R"({"Type":"Unkown Type","Essence":-1,"Shared":false,"ID":"0000000000000000"})"));
}

TEST(StreamCommonConfig, IsWritten)
{
    const STREAM_COMMON_CONFIG config{
        .ApplicativeBufferQueueDepth = 4294967295, .CpuCores = {1, 0xAB}, .ConductorID = 2, .NumaNode = 3};
    const std::string expected = Canonical(R"({"ApplicativeBufferQueueDepth":4294967295,"NumaNode":3,
        "CpuCores":["0000000000000001","00000000000000ab"],"ConductorID":"0000000000000002"})");
    EXPECT_EQ(Written(config, false), expected);
    EXPECT_EQ(Written(config, true), expected);
}

TEST(StreamCommonConfig, WrittenWithoutCoresHasNoSuchKey)
{
    EXPECT_FALSE(Parsed(Written(STREAM_COMMON_CONFIG{}, false)).has_field("CpuCores"));
}

TEST(StreamCommonConfig, Reads)
{
    CheckReader<STREAM_COMMON_CONFIG>(
        R"({"ApplicativeBufferQueueDepth":8,"CpuCores":["1","000000000000000b"],"ConductorID":"Mines/5","NumaNode":3})",
        {.ApplicativeBufferQueueDepth = 1, .CpuCores = {}, .ConductorID = 1, .NumaNode = 1},
        {.ApplicativeBufferQueueDepth = 8, .CpuCores = {1, 11}, .ConductorID = 5, .NumaNode = 3},
        {MandatoryKey<&STREAM_COMMON_CONFIG::ApplicativeBufferQueueDepth>("ApplicativeBufferQueueDepth", "number"),
         OptionalKey<&STREAM_COMMON_CONFIG::CpuCores>("CpuCores", "array"),
         MandatoryKey<&STREAM_COMMON_CONFIG::ConductorID>("ConductorID", "string"),
         MandatoryKey<&STREAM_COMMON_CONFIG::NumaNode>("NumaNode", "number")});
}

TEST(StreamCommonConfig, WithoutCoresLeavesTheListAndWithCoresAppends)
{
    STREAM_COMMON_CONFIG config{.CpuCores = {7}};
    EXPECT_EQ(ReadInto(Parsed(R"({"ApplicativeBufferQueueDepth":8,"ConductorID":"5","NumaNode":3})"), &config),
              RESULT_NO_ERROR);
    EXPECT_EQ(config.CpuCores, std::vector<uint64_t>{7});

    EXPECT_EQ(ReadInto(Parsed(R"({"ApplicativeBufferQueueDepth":8,"ConductorID":"5","NumaNode":3,
                                  "CpuCores":["8","none"]})"),
                       &config),
              RESULT_NO_ERROR)
        << "the result of the list does not reach the record";
    EXPECT_EQ(config.CpuCores, (std::vector<uint64_t>{7, 8}));
}

constexpr char kConnection[] = R"({"SourceIp":1,"DestinationIp":4026531841,"DestinationPort":20000,
    "NetworkInterfaceID":"MXS/NetIf/0000000000000003","MulticastMode":"Inclusion",
    "MulticastSources":["00000000c0a80001","ffffffff00000002","none"],"Dscp":34,"MulticastTtl":16})";

const CONNECTION_CONFIG kConnectionRead{.SourceIp = 1,
                                        .DestinationIp = 4026531841,
                                        .DestinationPort = 20000,
                                        .NetworkInterfaceID = 3,
                                        .MulticastMode = MULTICAST_MODE_INCLUSION,
                                        .MulticastSources = {0xC0A80001, 2},
                                        .Dscp = 34,
                                        .MulticastTtl = 16};

TEST(ConnectionConfig, Reads)
{
    CheckReader<CONNECTION_CONFIG>(
        kConnection, {100, 100, 100, 100, 100, {}, 100, 100}, kConnectionRead,
        {MandatoryKey<&CONNECTION_CONFIG::SourceIp>("SourceIp", "number"),
         MandatoryKey<&CONNECTION_CONFIG::DestinationIp>("DestinationIp", "number"),
         MandatoryKey<&CONNECTION_CONFIG::DestinationPort>("DestinationPort", "number"),
         MandatoryKey<&CONNECTION_CONFIG::NetworkInterfaceID>("NetworkInterfaceID", "string"),
         MandatoryKey<&CONNECTION_CONFIG::MulticastMode>("MulticastMode", "string"),
         OptionalKey<&CONNECTION_CONFIG::MulticastSources>("MulticastSources", "array"),
         MandatoryKey<&CONNECTION_CONFIG::Dscp>("Dscp", "number"),
         MandatoryKey<&CONNECTION_CONFIG::MulticastTtl>("MulticastTtl", "number")});
}

TEST(ConnectionConfig, IsWritten)
{
    EXPECT_EQ(Written(CONNECTION_CONFIG{.SourceIp = 4294967295,
                                        .DestinationIp = 2,
                                        .DestinationPort = 65535,
                                        .NetworkInterfaceID = 4,
                                        .MulticastMode = MULTICAST_MODE_EXCLUSION,
                                        .MulticastSources = {0xE0000001, 5},
                                        .Dscp = 255,
                                        .MulticastTtl = 254}),
              Canonical(R"({"SourceIp":4294967295,"DestinationIp":2,"DestinationPort":65535,"Dscp":255,
                  "MulticastMode":"Exclusion","MulticastTtl":254,"NetworkInterfaceID":"0000000000000004",
                  "MulticastSources":["00000000e0000001","0000000000000005"]})"));
    const value unknownMode = Parsed(Written(CONNECTION_CONFIG{.MulticastMode = 0xFFFFFFFE}));
    EXPECT_EQ(unknownMode.at("MulticastMode").as_string(), "-2");
    EXPECT_FALSE(unknownMode.has_field("MulticastSources")) << "an empty list writes no key";
}

TEST(ConnectionConfig, PortTtlAndDscpKeepTheirLowBits)
{
    value document = Parsed(kConnection);
    document["DestinationPort"] = value::number(65536 + 5004);
    document["Dscp"] = value::number(256 + 46);
    document["MulticastTtl"] = value::number(512 + 8);
    CONNECTION_CONFIG connection;
    EXPECT_EQ(ReadInto(document, &connection), RESULT_NO_ERROR);
    EXPECT_EQ(connection.DestinationPort, 5004);
    EXPECT_EQ(connection.Dscp, 46);
    EXPECT_EQ(connection.MulticastTtl, 8);
}

TEST(ConnectionConfig, MulticastSourceComesBackAsTheSameAddress)
{
    const CONNECTION_CONFIG sent{.MulticastSources = {0xEFFFFFFE}};
    const value document = Parsed(Written(sent));
    EXPECT_EQ(document.at("MulticastSources").at(0).as_string(), "00000000effffffe");
    CONNECTION_CONFIG back;
    EXPECT_EQ(ReadInto(document, &back), RESULT_NO_ERROR);
    EXPECT_TRUE(back == sent);
}

TEST(StreamNetworkConfig, IsWritten)
{
    EXPECT_EQ(Written(STREAM_NETWORK_CONFIG{.PayloadType = 255, .SSRC = 4294967295, .SocketBufferSize = 4294967294}),
              Canonical(R"({"PayloadType":255,"SSRC":4294967295,"SocketBufferSize":4294967294})"));
    const value two = Parsed(Written(STREAM_NETWORK_CONFIG{
        .ConnectionConfigurations = {{.DestinationPort = 1}, {.DestinationPort = 2, .MulticastSources = {3}}}}));
    ASSERT_EQ(two.at("ConnectionConfigurations").size(), 2u);
    EXPECT_EQ(two.at("ConnectionConfigurations").at(0).serialize(), Written(CONNECTION_CONFIG{.DestinationPort = 1}));
    EXPECT_EQ(two.at("ConnectionConfigurations").at(1).serialize(),
              Written(CONNECTION_CONFIG{.DestinationPort = 2, .MulticastSources = {3}}));
}

TEST(StreamNetworkConfig, Reads)
{
    CheckReader<STREAM_NETWORK_CONFIG>(
        (std::string(R"({"PayloadType":352,"SSRC":4294967295,"SocketBufferSize":65536,"ConnectionConfigurations":[)") +
         kConnection + "," + kConnection + "]}")
            .c_str(),
        {.PayloadType = 1, .SSRC = 1, .SocketBufferSize = 1, .ConnectionConfigurations = {}},
        {.PayloadType = 96, // the low 8 bits
         .SSRC = 4294967295,
         .SocketBufferSize = 65536,
         .ConnectionConfigurations = {kConnectionRead, kConnectionRead}},
        {MandatoryKey<&STREAM_NETWORK_CONFIG::PayloadType>("PayloadType", "number"),
         MandatoryKey<&STREAM_NETWORK_CONFIG::SSRC>("SSRC", "number"),
         MandatoryKey<&STREAM_NETWORK_CONFIG::SocketBufferSize>("SocketBufferSize", "number"),
         OptionalKey<&STREAM_NETWORK_CONFIG::ConnectionConfigurations>("ConnectionConfigurations", "array")});
}

TEST(StreamNetworkConfig, SecondReadIntoTheSameRecordDoublesTheConnections)
{
    const value document =
        Parsed(std::string(R"({"PayloadType":96,"SSRC":0,"SocketBufferSize":0,"ConnectionConfigurations":[)") +
               kConnection + "]}");
    STREAM_NETWORK_CONFIG config;
    EXPECT_EQ(ReadInto(document, &config), RESULT_NO_ERROR);
    EXPECT_EQ(ReadInto(document, &config), RESULT_NO_ERROR);
    EXPECT_EQ(config.ConnectionConfigurations, (std::vector<CONNECTION_CONFIG>{kConnectionRead, kConnectionRead}));
}

TEST(StreamNetworkConfig, SkipsAnIncompleteConnection)
{
    const value document =
        Parsed(std::string(R"({"PayloadType":96,"SSRC":0,"SocketBufferSize":0,"ConnectionConfigurations":[{},7,)") +
               kConnection + ",{\"SourceIp\":1}]}");
    STREAM_NETWORK_CONFIG config;
    EXPECT_EQ(ReadInto(document, &config), RESULT_NO_ERROR);
    EXPECT_EQ(config.ConnectionConfigurations, std::vector<CONNECTION_CONFIG>{kConnectionRead});
}

TEST(StreamState, IsWrittenAndRead)
{
    EXPECT_EQ(Written(STREAM_STATE{.Started = true, .Opened = false}), Canonical(R"({"Started":true,"Opened":false})"));
    EXPECT_EQ(Written(STREAM_STATE{.Started = false, .Opened = true}), Canonical(R"({"Started":false,"Opened":true})"));
    CheckReader<STREAM_STATE>(R"({"Started":true,"Opened":true})", {false, false}, {true, true},
                              {MandatoryKey<&STREAM_STATE::Started>("Started", "boolean"),
                               MandatoryKey<&STREAM_STATE::Opened>("Opened", "boolean")});
}

constexpr char kDescriptor[] = R"({"Type":"FileMap","Description":{"Name":["zefa.1"],"Role":["consumer"]}})";
const FLOW_RAIL_DESCRIPTOR kDescriptorRead{FLOW_RAIL_DESCRIPTOR_TYPE_FILE_MAP,
                                           {{"Name", "zefa.1"}, {"Role", "consumer"}}};

TEST(FlowRailDescriptor, Reads)
{
    CheckReader<FLOW_RAIL_DESCRIPTOR>(kDescriptor, {100, {{"Name", "before"}}}, kDescriptorRead,
                                      {MandatoryKey<&FLOW_RAIL_DESCRIPTOR::Type>("Type", "string"),
                                       MandatoryKey<&FLOW_RAIL_DESCRIPTOR::Description>("Description", "object")});
}

TEST(FlowRailDescriptor, KeepsStringsOfOneKeyInOrderAndSkipsWhatIsNoArray)
{
    FLOW_RAIL_DESCRIPTOR descriptor{.Description = {{"Old", "gone"}}};
    EXPECT_EQ(ReadInto(Parsed(R"({"Type":"FileMap","Description":{"Many":["c","a","b"],"None":[],"Text":"skipped",
                                  "Object":{},"Number":5,"Odd":["say \"hi\"",7,true]}})"),
                       &descriptor),
              RESULT_NO_ERROR);
    const std::vector<std::pair<std::string, std::string>> entries(descriptor.Description.begin(),
                                                                   descriptor.Description.end());
    const std::vector<std::pair<std::string, std::string>> expected{
        {"Many", "c"}, {"Many", "a"}, {"Many", "b"}, {"Odd", "say \\hi\\"}, {"Odd", "7"}, {"Odd", "true"}};
    EXPECT_EQ(entries, expected) << "strings are their JSON text without any double quote";
}

TEST(FlowRailDescriptor, DescriptionIsReplacedOnlyByAnObject)
{
    std::multimap<std::string, std::string> description{{"Old", "kept"}};
    EXPECT_EQ(CSerializer::FromJSON(Parsed("[]"), &description), RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(description.size(), 1u);
    EXPECT_EQ(CSerializer::FromJSON(Parsed("{}"), static_cast<std::multimap<std::string, std::string>*>(nullptr)),
              RESULT_OPERATION_FAILED);
    EXPECT_EQ(CSerializer::FromJSON(Parsed("{}"), &description), RESULT_NO_ERROR);
    EXPECT_TRUE(description.empty());
}

TEST(StreamCommonStatus, Reads)
{
    CheckReader<STREAM_COMMON_STATUS>(
        (std::string(R"({"MinProcessingTime":10000000000,"MaxProcessingTime":20000000000,
                         "MeanProcessingTime":15000000000,"ApplicativeBufferDelayed":true,"FlowRailDescriptor":)") +
         kDescriptor + "}")
            .c_str(),
        {{}, 1, 1, 1, false}, {kDescriptorRead, 10000000000, 20000000000, 15000000000, true},
        {MandatoryKey<&STREAM_COMMON_STATUS::FlowRailDescriptor>("FlowRailDescriptor", "object"),
         MandatoryKey<&STREAM_COMMON_STATUS::MinProcessingTime>("MinProcessingTime", "number"),
         MandatoryKey<&STREAM_COMMON_STATUS::MaxProcessingTime>("MaxProcessingTime", "number"),
         MandatoryKey<&STREAM_COMMON_STATUS::MeanProcessingTime>("MeanProcessingTime", "number"),
         MandatoryKey<&STREAM_COMMON_STATUS::ApplicativeBufferDelayed>("ApplicativeBufferDelayed", "boolean")});
}

TEST(StreamCommonStatus, KeepsItsDescriptorWhenTheNestedOneIsIncomplete)
{
    STREAM_COMMON_STATUS status{.FlowRailDescriptor = kDescriptorRead};
    EXPECT_EQ(ReadInto(Parsed(R"({"MinProcessingTime":1,"MaxProcessingTime":2,"MeanProcessingTime":3,
                                  "ApplicativeBufferDelayed":true,"FlowRailDescriptor":{"Description":{}}})"),
                       &status),
              RESULT_NO_ERROR);
    EXPECT_TRUE((status == STREAM_COMMON_STATUS{kDescriptorRead, 1, 2, 3, true}));
}

TEST(StreamNetworkStatus, Reads)
{
    CheckReader<STREAM_NETWORK_STATUS>(
        R"({"TotalTransferredPacketCount":10000000001,"TotalProcessedPacketCount":10000000002,"DropCount":10000000003,
            "UnderrunCount":10000000004,"LostPacketsCount":10000000005,"PacketsInDelaySituationCount":10000000006,
            "BiggestDelaySituationDuringLastSec":10000000007,"ReceivedSSRC":4294967295,"PayloadType":353})",
        {100, 100, 100, 100, 100, 100, 100, 100, 100},
        {.TotalTransferredPacketCount = 10000000001,
         .TotalProcessedPacketCount = 10000000002,
         .DropCount = 10000000003,
         .UnderrunCount = 10000000004,
         .LostPacketsCount = 10000000005,
         .PacketsInDelaySituationCount = 10000000006,
         .BiggestDelaySituationDuringLastSec = 10000000007,
         .ReceivedSSRC = 4294967295,
         .PayloadType = 97},
        {MandatoryKey<&STREAM_NETWORK_STATUS::TotalTransferredPacketCount>("TotalTransferredPacketCount", "number"),
         MandatoryKey<&STREAM_NETWORK_STATUS::TotalProcessedPacketCount>("TotalProcessedPacketCount", "number"),
         MandatoryKey<&STREAM_NETWORK_STATUS::DropCount>("DropCount", "number"),
         MandatoryKey<&STREAM_NETWORK_STATUS::UnderrunCount>("UnderrunCount", "number"),
         MandatoryKey<&STREAM_NETWORK_STATUS::LostPacketsCount>("LostPacketsCount", "number"),
         MandatoryKey<&STREAM_NETWORK_STATUS::PacketsInDelaySituationCount>("PacketsInDelaySituationCount", "number"),
         MandatoryKey<&STREAM_NETWORK_STATUS::BiggestDelaySituationDuringLastSec>("BiggestDelaySituationDuringLastSec",
                                                                                  "number"),
         MandatoryKey<&STREAM_NETWORK_STATUS::ReceivedSSRC>("ReceivedSSRC", "number"),
         MandatoryKey<&STREAM_NETWORK_STATUS::PayloadType>("PayloadType", "number")});
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer

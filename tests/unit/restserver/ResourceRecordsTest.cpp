// The records of conductors, CPU cores and network interfaces.
#include "RecordCheck.h"

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
TEST(ConductorCreate, IsWritten)
{
    EXPECT_EQ(Written(CONDUCTOR_CREATE{.Shared = true, .ID = 0x1F}),
              Canonical(R"({"Shared":true,"ID":"000000000000001f"})"));
}

TEST(ConductorConfig, IsWrittenAndRead)
{
    EXPECT_EQ(Written(CONDUCTOR_CONFIG{.CpuCoreID = 0xFEDCBA9876543210}),
              Canonical(R"({"CpuCoreID":"fedcba9876543210"})"));
    CheckReader<CONDUCTOR_CONFIG>(R"({"CpuCoreID":"MXS/CpuCore/000000000000000a"})", {.CpuCoreID = 1},
                                  {.CpuCoreID = 10},
                                  {MandatoryKey<&CONDUCTOR_CONFIG::CpuCoreID>("CpuCoreID", "string")});
}

TEST(ConductorState, IsWrittenAndRead)
{
    EXPECT_EQ(Written(CONDUCTOR_STATE{.Started = true}), Canonical(R"({"Started":true})"));
    EXPECT_EQ(Written(CONDUCTOR_STATE{.Started = false}), Canonical(R"({"Started":false})"));
    CheckReader<CONDUCTOR_STATE>(R"({"Started":true})", {.Started = false}, {.Started = true},
                                 {MandatoryKey<&CONDUCTOR_STATE::Started>("Started", "boolean")});
}

TEST(ConductorStatus, Reads)
{
    CheckReader<CONDUCTOR_STATUS>(
        R"({"Throughput":10000000000,"Load":0.25,"TotalPacketTransferred":20000000000})", {1, 1, 1},
        {.Throughput = 10000000000, .Load = 0.25, .TotalPacketTransferred = 20000000000},
        {MandatoryKey<&CONDUCTOR_STATUS::Throughput>("Throughput", "number"),
         MandatoryKey<&CONDUCTOR_STATUS::Load>("Load", "number"),
         MandatoryKey<&CONDUCTOR_STATUS::TotalPacketTransferred>("TotalPacketTransferred", "number")});
}

TEST(CpuCoreStatus, Reads)
{
    CheckReader<CPU_CORE_STATUS>(
        R"({"CoreId":1,"NumaNode":4294967295,"MaxSpeed":3600,"CoreUsage":4,"GroupId":5,
            "ConductorAvailability":"ALREADY_USED"})",
        {100, 100, 100, 100, 100, 100},
        {.CoreId = 1,
         .NumaNode = 4294967295,
         .MaxSpeed = 3600,
         .CoreUsage = 4,
         .GroupId = 5,
         .ConductorAvailability = CONDUCTOR_AVAILABILITY_ALREADY_USED},
        {MandatoryKey<&CPU_CORE_STATUS::CoreId>("CoreId", "number"),
         MandatoryKey<&CPU_CORE_STATUS::NumaNode>("NumaNode", "number"),
         MandatoryKey<&CPU_CORE_STATUS::MaxSpeed>("MaxSpeed", "number"),
         MandatoryKey<&CPU_CORE_STATUS::CoreUsage>("CoreUsage", "number"),
         MandatoryKey<&CPU_CORE_STATUS::GroupId>("GroupId", "number"),
         OptionalKey<&CPU_CORE_STATUS::ConductorAvailability>("ConductorAvailability", "string")});
}

TEST(CpuCoreStatus, MadeByTheReaderIsNotAvailableUnlessTheServiceSaysSo)
{
    CPU_CORE_STATUS* made = nullptr;
    EXPECT_EQ(CSerializer::FromJSON(Parsed(R"({"CoreId":"x","NumaNode":"x","MaxSpeed":"x","CoreUsage":"x",
                                               "GroupId":"x"})"),
                                    &made, false),
              RESULT_NO_ERROR);
    const std::unique_ptr<CPU_CORE_STATUS> owned(made);
    ASSERT_TRUE(owned);
    EXPECT_TRUE((*owned == CPU_CORE_STATUS{0, 0, 0, 0, 0, CONDUCTOR_AVAILABILITY_NOT_AVAILABLE}));
}

TEST(CpuCoreStatus, UnknownAvailabilityReadsAsZero)
{
    CPU_CORE_STATUS status;
    EXPECT_EQ(ReadInto(Parsed(R"({"CoreId":1,"NumaNode":0,"MaxSpeed":0,"CoreUsage":0,"GroupId":0,
                                  "ConductorAvailability":"BORROWED"})"),
                       &status),
              RESULT_NO_ERROR);
    EXPECT_EQ(status.ConductorAvailability, 0u);
}

TEST(NetIfConfig, IsWrittenAndRead)
{
    EXPECT_EQ(Written(NET_IF_CONFIG{.IP = 0xC0A80001, .SubnetMask = 0xFFFFFF00}),
              Canonical(R"({"IP":3232235521,"SubnetMask":4294967040})"));
    CheckReader<NET_IF_CONFIG>(R"({"IP":3232235521,"SubnetMask":4294967040})", {1, 1},
                               {.IP = 0xC0A80001, .SubnetMask = 0xFFFFFF00},
                               {MandatoryKey<&NET_IF_CONFIG::IP>("IP", "number"),
                                MandatoryKey<&NET_IF_CONFIG::SubnetMask>("SubnetMask", "number")});
}

constexpr char kCharacteristics[] = R"({"InterfaceIndex":2,"SystemName":"eth\u00fc","LinkSpeed":25000,
    "DuplexType":"Full","MTU":9000,"DriverVersion":"drv \"1.0\"","NumaNode":1,"Mac":3735928559,"LinkStatus":true})";

const NET_IF_CHARACTERISTICS kCharacteristicsRead{.InterfaceIndex = 2,
                                                  .SystemName = "eth\xC3\xBC",
                                                  .LinkSpeed = 25000,
                                                  .DuplexType = DUPLEX_TYPE_FULL,
                                                  .MTU = 9000,
                                                  .DriverVersion = "drv \"1.0\"",
                                                  .NumaNode = 1,
                                                  .Mac = 3735928559,
                                                  .LinkStatus = true};

TEST(NetIfCharacteristics, Reads)
{
    CheckReader<NET_IF_CHARACTERISTICS>(
        kCharacteristics, {100, "before", 100, 100, 100, "before", 100, 100, false}, kCharacteristicsRead,
        {MandatoryKey<&NET_IF_CHARACTERISTICS::InterfaceIndex>("InterfaceIndex", "number"),
         MandatoryKey<&NET_IF_CHARACTERISTICS::SystemName>("SystemName", "string"),
         MandatoryKey<&NET_IF_CHARACTERISTICS::LinkSpeed>("LinkSpeed", "number"),
         MandatoryKey<&NET_IF_CHARACTERISTICS::DuplexType>("DuplexType", "string"),
         OptionalKey<&NET_IF_CHARACTERISTICS::MTU>("MTU", "number"),
         MandatoryKey<&NET_IF_CHARACTERISTICS::DriverVersion>("DriverVersion", "string"),
         MandatoryKey<&NET_IF_CHARACTERISTICS::NumaNode>("NumaNode", "number"),
         MandatoryKey<&NET_IF_CHARACTERISTICS::Mac>("Mac", "number"),
         MandatoryKey<&NET_IF_CHARACTERISTICS::LinkStatus>("LinkStatus", "boolean")});
}

TEST(NetIfStatus, Reads)
{
    CheckReader<NET_IF_STATUS>((std::string(R"({"UploadThroughput":10000000000,"DownloadThroughput":20000000000,)") +
                                "\"Characteristics\":" + kCharacteristics + "}")
                                   .c_str(),
                               {{}, 1, 1}, {kCharacteristicsRead, 10000000000, 20000000000},
                               {MandatoryKey<&NET_IF_STATUS::Characteristics>("Characteristics", "object"),
                                MandatoryKey<&NET_IF_STATUS::UploadThroughput>("UploadThroughput", "number"),
                                MandatoryKey<&NET_IF_STATUS::DownloadThroughput>("DownloadThroughput", "number")});
}

TEST(NetIfStatus, TakesCharacteristicsWithoutMtuAndDropsThemWithoutAMandatoryKey)
{
    value document = Parsed(R"({"UploadThroughput":1,"DownloadThroughput":2})");
    document["Characteristics"] = Parsed(kCharacteristics);
    document["Characteristics"].erase("MTU");
    NET_IF_STATUS status;
    status.Characteristics.MTU = 1500;
    EXPECT_EQ(ReadInto(document, &status), RESULT_NO_ERROR);
    NET_IF_CHARACTERISTICS expected = kCharacteristicsRead;
    expected.MTU = 1500;
    EXPECT_EQ(status.Characteristics, expected);

    document["Characteristics"]["InterfaceIndex"] = value::number(7);
    document["Characteristics"].erase("DriverVersion");
    EXPECT_EQ(ReadInto(document, &status), RESULT_NO_ERROR);
    EXPECT_EQ(status.Characteristics, expected);
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer

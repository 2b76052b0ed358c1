// CPU cores, network interfaces and UDP ports.
#include "ApiTest.h"

#include <array>

namespace
{
using CpuCore = ContextTest;
using NetworkInterface = ContextTest;

constexpr const char* kCores = "MXS/CpuCore/";
constexpr const char* kNetIfs = "MXS/NetIf/";
constexpr const char* kNetIfStatus = "MXS/NetIf/0000000000000007/Status";
constexpr const char* kNetIfConfig = "MXS/NetIf/0000000000000007/Config";

std::string CorePath(int id)
{
    return "MXS/CpuCore/000000000000000" + std::to_string(id) + "/Status";
}

std::string CoreStatus(uint64_t coreId, const std::string& availability = "\"AVAILABLE\"")
{
    return R"({"CoreId": )" + std::to_string(coreId) +
           R"(, "CoreUsage": 42, "GroupId": 1, "MaxSpeed": 3400, "NumaNode": 4294967295, "ConductorAvailability": )" +
           availability + "}";
}

std::string InterfaceStatus(const std::string& name, const std::string& driver, const std::string& duplex = "Full")
{
    return R"({"Characteristics": {"InterfaceIndex": 3, "SystemName": ")" + name +
           R"(", "LinkSpeed": 25000, "DuplexType": ")" + duplex + R"(", "MTU": 9000, "DriverVersion": ")" + driver +
           R"(", "NumaNode": 1, "Mac": 187723572702975, "LinkStatus": true},)"
           R"( "UploadThroughput": 5000000000, "DownloadThroughput": 6000000000})";
}

// One of the two list functions that share their words.
struct ListCase
{
    const char* path;
    ZEFA_ERRORCODE (*call)(ZEFA_HANDLE, uint64_t*, uint32_t*);
    const char* numberLogged; // for 129 identifiers and a count of 7 at entry
};
const ListCase kLists[] = {{kCores, &ZEFA_GetCPUCoresHandlesList, "7"},
                           {kNetIfs, &ZEFA_GetNetworkInterfaceHandlesList, "129"}};

class ResourceList : public ContextTest, public testing::WithParamInterface<ListCase>
{
};
} // namespace

TEST_P(ResourceList, IsCopiedUpToTheWholeRoom)
{
    for (const size_t count : {size_t{0}, size_t{2}, size_t{128}})
    {
        Service.Answer("GET", GetParam().path, 200, IdList(count));
        std::array<uint64_t, 129> ids;
        ids.fill(77);
        uint32_t number = 0;
        EXPECT_EQ(GetParam().call(Context, ids.data(), &number), ZEFA_NO_ERROR) << count;
        EXPECT_EQ(number, count);
        for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(ids[i], i + 1);
        EXPECT_EQ(ids[count], 77U);
    }
}

TEST_P(ResourceList, OfMoreThanTheRoomFailsAndTouchesNothing)
{
    Service.Answer("GET", GetParam().path, 200, IdList(129));
    std::array<uint64_t, 128> ids{};
    uint32_t number = 7;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    const Texts errors = ErrorsOf([&] { result = GetParam().call(Context, ids.data(), &number); });

    EXPECT_EQ(result, ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(errors, Texts{std::string("The size of NetworkInterfaceHandlesList( 128) is smaller than the number of "
                                        "available network interfaces (") +
                            GetParam().numberLogged + ").\r\n"});
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(ids, (std::array<uint64_t, 128>{}));
}

TEST_P(ResourceList, RefusesABadHandleThenNullPointersArrayFirst)
{
    std::array<uint64_t, 128> ids{};
    uint32_t number = 0;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = GetParam().call(nullptr, nullptr, nullptr); }), Texts{kSession});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
    EXPECT_EQ(ErrorsOf([&] { result = GetParam().call(Context, nullptr, nullptr); }),
              Texts{"The network interface array pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ErrorsOf([&] { result = GetParam().call(Context, nullptr, &number); }),
              Texts{"The network interface array pointer is null.\r\n"});
    EXPECT_EQ(ErrorsOf([&] { result = GetParam().call(Context, ids.data(), nullptr); }),
              Texts{"The network interface number pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Service.Count("GET", GetParam().path), 0U);
}

INSTANTIATE_TEST_SUITE_P(Kinds, ResourceList, testing::ValuesIn(kLists),
                         [](const auto& each) -> std::string
                         { return each.param.path == kCores ? "CpuCores" : "NetworkInterfaces"; });

TEST_F(CpuCore, IsFoundByItsNumberOnTheOperatingSystem)
{
    Service.Answer("GET", kCores, 200, IdList(3));
    Service.Answer("GET", CorePath(1), 200, CoreStatus(10));
    Service.Answer("GET", CorePath(2), 200, CoreStatus(11));
    Service.Answer("GET", CorePath(3), 200, CoreStatus(11));
    uint64_t id = 77;

    EXPECT_EQ(ZEFA_GetCPUCoreFromOSId(Context, 11, &id), ZEFA_NO_ERROR);

    EXPECT_EQ(id, 2U) << "the first that fits";
    EXPECT_EQ(Service.Count("GET", CorePath(3)), 0U) << "nobody is asked after the find";
}

TEST_F(CpuCore, NumberThatNoCoreHasIsASuccessAndLeavesTheIdentifierAlone)
{
    Service.Answer("GET", kCores, 200, IdList(2));
    Service.Answer("GET", CorePath(1), 200, CoreStatus(0));
    Service.Answer("GET", CorePath(2), 200, CoreStatus(1));
    uint64_t id = 77;

    EXPECT_EQ(ZEFA_GetCPUCoreFromOSId(Context, 2, &id), ZEFA_NO_ERROR);
    EXPECT_EQ(ZEFA_GetCPUCoreFromOSId(Context, uint64_t{1} << 32, &id), ZEFA_NO_ERROR)
        << "compared in 64 bits, so this is not core 0";

    EXPECT_EQ(id, 77U);
}

TEST_F(CpuCore, FailureBeforeTheFindIsForgotten)
{
    Service.Answer("GET", kCores, 200, IdList(2));
    Service.AnswerError("GET", CorePath(1), 5);
    Service.Answer("GET", CorePath(2), 200, CoreStatus(1));
    uint64_t id = 77;

    EXPECT_EQ(ZEFA_GetCPUCoreFromOSId(Context, 1, &id), ZEFA_NO_ERROR);

    EXPECT_EQ(id, 2U);
}

TEST_F(CpuCore, LastFailureIsReturnedWhenNothingIsFound)
{
    Service.Answer("GET", kCores, 200, IdList(3));
    Service.AnswerError("GET", CorePath(1), 5012);
    Service.AnswerError("GET", CorePath(2), 5);
    Service.Answer("GET", CorePath(3), 200, CoreStatus(1));
    uint64_t id = 77;

    EXPECT_EQ(ZEFA_GetCPUCoreFromOSId(Context, 2, &id), ZEFA_ERR_OPERATION_FAILED);
    Service.AnswerError("GET", CorePath(3), 5012);
    EXPECT_EQ(ZEFA_GetCPUCoreFromOSId(Context, 2, &id), ZEFA_ERR_COMMUNICATION);

    EXPECT_EQ(id, 77U);
}

TEST_F(CpuCore, SearchWithABadHandleAndANullPointerTellsBothAndReturnsThePointers)
{
    uint64_t id = 77;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetCPUCoreFromOSId(nullptr, 1, nullptr); }),
              (Texts{kInterface, "The Cpu Core Id handle is null.\r\n"}));
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetCPUCoreFromOSId(nullptr, 1, &id); }), Texts{kInterface});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetCPUCoreFromOSId(Context, 1, nullptr); }),
              Texts{"The Cpu Core Id handle is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Service.Count("GET", kCores), 0U);
}

TEST_F(CpuCore, StatusIsCopiedFieldByField)
{
    Service.Answer("GET", CorePath(7), 200, CoreStatus(5));
    ZEFA_CPU_CORE_STATUS status{};

    EXPECT_EQ(ZEFA_GetCpuCoreStatus(Context, 7, &status), ZEFA_NO_ERROR);

    EXPECT_EQ(status.CoreId_UL, 5U);
    EXPECT_EQ(status.NumaNode_UL, 4294967295U);
    EXPECT_EQ(status.MaxSpeed_UL, 3400U);
    EXPECT_EQ(status.CoreUsage_UB, 42);
    EXPECT_EQ(status.GroupId_UL, 1U);
    EXPECT_EQ(status.ConductorAvailability_E, ZEFA_CONDUCTOR_AVAILABILITY_AVAILABLE);
}

TEST_F(CpuCore, AvailabilityIsConvertedOneByOne)
{
    const std::pair<const char*, uint32_t> cases[] = {{"\"AVAILABLE\"", 0},
                                                      {"\"NOT_AVAILABLE\"", 1},
                                                      {"\"ALREADY_USED\"", 2},
                                                      {"\"SOMETHING_NEW\"", 0},
                                                      {"2", 1}}; // no text: left at what the call started with
    for (const auto& [text, expected] : cases)
    {
        Service.Answer("GET", CorePath(7), 200, CoreStatus(5, text));
        ZEFA_CPU_CORE_STATUS status{};
        EXPECT_EQ(ZEFA_GetCpuCoreStatus(Context, 7, &status), ZEFA_NO_ERROR) << text;
        EXPECT_EQ(status.ConductorAvailability_E, expected) << text;
    }
}

TEST_F(NetworkInterface, ConfigurationPassesTheAddressesThrough)
{
    Service.Answer("GET", kNetIfConfig, 200, R"({"IP": 2130706433, "SubnetMask": 4278190080})");
    ZEFA_NETWORK_INTERFACE_CONFIG config{};

    EXPECT_EQ(ZEFA_GetNetworkInterfaceConfig(Context, 7, &config), ZEFA_NO_ERROR);

    EXPECT_EQ(config.IP_UL, 0x7F000001U);
    EXPECT_EQ(config.SubnetMask_UL, 0xFF000000U);
}

TEST_F(NetworkInterface, StatusIsCopiedFieldByField)
{
    Service.Answer("GET", kNetIfStatus, 200, InterfaceStatus("enp1s0f0", "5.15"));
    ZEFA_NETWORK_INTERFACE_STATUS status{};
    ZEFA_ERRORCODE result = ZEFA_ERR_FATAL;

    const Logged logged = LogOf([&] { result = ZEFA_GetNetworkInterfaceStatus(Context, 7, &status); });

    EXPECT_EQ(result, ZEFA_NO_ERROR);
    EXPECT_EQ(logged.warnings, Texts{});
    EXPECT_EQ(status.NumaNode_UL, 1U);
    EXPECT_EQ(status.Mac_ULL, 187723572702975U);
    EXPECT_EQ(status.InterfaceIndex_UL, 3U);
    EXPECT_STREQ(status.SystemName_C, "enp1s0f0");
    EXPECT_EQ(status.LinkStatus_B, 1);
    EXPECT_EQ(status.LinkSpeed_UL, 25000U);
    EXPECT_EQ(status.DuplexType_E, ZEFA_DUPLEX_TYPE_FULL);
    EXPECT_EQ(status.MTU_UL, 9000U);
    EXPECT_STREQ(status.DriverVersion_C, "5.15");
    EXPECT_EQ(status.UploadThroughput_ULL, 5000000000U);
    EXPECT_EQ(status.DownloadThroughput_ULL, 6000000000U);
}

TEST_F(NetworkInterface, DuplexTypeIsConvertedOneByOne)
{
    const std::pair<const char*, uint32_t> cases[] = {{"Half", 0}, {"Full", 1}, {"Unknown", 2}};
    for (const auto& [text, expected] : cases)
    {
        Service.Answer("GET", kNetIfStatus, 200, InterfaceStatus("a", "b", text));
        ZEFA_NETWORK_INTERFACE_STATUS status{};
        EXPECT_EQ(ZEFA_GetNetworkInterfaceStatus(Context, 7, &status), ZEFA_NO_ERROR) << text;
        EXPECT_EQ(status.DuplexType_E, expected) << text;
    }
}

TEST_F(NetworkInterface, LongNamesAreCutAndToldOfFromFiftyOneCharactersOn)
{
    const auto warning = [](size_t length)
    { return "Name size (50) to small to contain actual size (" + std::to_string(length) + ")\r\n"; };
    struct Case
    {
        size_t name, driver;
        Texts warnings;
    };
    for (const Case& each : {Case{49, 49, {}}, Case{50, 50, {}}, Case{51, 50, {warning(51)}},
                             Case{50, 52, {warning(52)}}, Case{60, 51, {warning(60), warning(51)}}})
    {
        Service.Answer("GET", kNetIfStatus, 200,
                       InterfaceStatus(std::string(each.name, 'n'), std::string(each.driver, 'd')));
        ZEFA_NETWORK_INTERFACE_STATUS status{};
        ZEFA_ERRORCODE result = ZEFA_ERR_FATAL;

        const Logged logged = LogOf([&] { result = ZEFA_GetNetworkInterfaceStatus(Context, 7, &status); });

        EXPECT_EQ(result, ZEFA_NO_ERROR);
        EXPECT_EQ(logged.warnings, each.warnings);
        EXPECT_EQ(std::string(status.SystemName_C), std::string(49, 'n'));
        EXPECT_EQ(std::string(status.DriverVersion_C), std::string(49, 'd'));
    }
}

TEST_F(NetworkInterface, RefusesNullStructures)
{
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetNetworkInterfaceConfig(Context, 7, nullptr); }),
              Texts{"The network interface config pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetNetworkInterfaceStatus(Context, 7, nullptr); }),
              Texts{"The network interface status pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Service.Count("GET", kNetIfConfig) + Service.Count("GET", kNetIfStatus), 0U);
}

TEST_F(NetworkInterface, DroppingAPortMakesARuleAndAllowingItRemovesTheRule)
{
    const std::string rule = "MXS/NetIf/0000000000000007/UdpPortDrop/000000000000ffff";
    Service.Answer("PUT", rule, 201);
    Service.Answer("DELETE", rule, 200);

    EXPECT_EQ(ZEFA_DPDK_DropUdpPort(Context, 7, 65535), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.Count("PUT", rule), 1U);
    EXPECT_EQ(ZEFA_DPDK_AllowUdpPort(Context, 7, 65535), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.Count("DELETE", rule), 1U);

    Service.AnswerError("DELETE", rule, 5005);
    EXPECT_EQ(ZEFA_DPDK_AllowUdpPort(Context, 7, 65535), ZEFA_ERR_NOT_FOUND);
}

TEST(ResourceHandle, EveryFunctionRefusesNullWithItsText)
{
    const std::function<ZEFA_ERRORCODE()> calls[] = {
        [] { return ZEFA_GetCpuCoreStatus(nullptr, 7, nullptr); },
        [] { return ZEFA_GetNetworkInterfaceConfig(nullptr, 7, nullptr); },
        [] { return ZEFA_GetNetworkInterfaceStatus(nullptr, 7, nullptr); },
        [] { return ZEFA_DPDK_AllowUdpPort(nullptr, 7, 1); },
        [] { return ZEFA_DPDK_DropUdpPort(nullptr, 7, 1); },
    };
    for (const auto& call : calls)
    {
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
        EXPECT_EQ(ErrorsOf([&] { result = call(); }), Texts{kInterface});
        EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
    }
}

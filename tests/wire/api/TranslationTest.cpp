// The translation of the service's results by each function: no two groups are the same, and none may drift towards
// another. Each row is a function with one result that the service sends and what must come of it. ZEFA_SetPTPConfig,
// of two exchanges, has its rows in PtpApiTest.cpp.
#include "ApiTest.h"

#include <array>
#include <map>

namespace
{
using Call = ZEFA_ERRORCODE (*)(ZEFA_HANDLE context);

constexpr std::array<uint32_t, 11> kResults{4, 5, 9, 19, 4999, 5001, 5004, 5005, 5012, 5013, 5017};
using Expected = std::array<ZEFA_ERRORCODE, kResults.size()>;

// Columns:                  4  5  9  19 4999 5001 5004 5005 5012 5013 5017
constexpr Expected kCommon = {2, 2, 2, 2, 2, 12, 12, 12, 12, 12, 12};
constexpr Expected kConfig = {2, 2, 2, 2, 2, 12, 12, 12, 12, 9, 12};
constexpr Expected kAllow = {2, 2, 2, 2, 2, 12, 12, 8, 12, 12, 12};
constexpr Expected kAttach = {2, 2, 2, 2, 2, 12, 8, 12, 9, 12, 12};
constexpr Expected kStateful = {9, 9, 9, 9, 9, 9, 9, 9, 9, 12, 9};
constexpr Expected kStart = {6, 6, 6, 9, 6, 12, 12, 12, 12, 9, 12};
constexpr Expected kSetConfig = {6, 2, 2, 9, 2, 12, 8, 12, 9, 9, 12};

using LoggedTexts = std::map<uint32_t, std::string>;
const LoggedTexts kNothing;
const LoggedTexts kConductorTexts{{5004, "The conductor does not exist.\r\n"},
                                  {5012, "The conductor is not shared.\r\n"}};
const LoggedTexts kSetConfigTexts{{5004, "The conductor does not exist.\r\n"},
                                  {5012, "The conductor is not shared.\r\n"},
                                  {5013, "The conductor is not initialized.\r\n"},
                                  {19, "Configuration can not be changed when the conductor is running.\r\n"}};

struct Row
{
    const char* name;
    const char* method;
    const char* path;
    Call call;
    const Expected& expected;
    const LoggedTexts& logged;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

const char* const kCore = "MXS/CpuCore/0000000000000007/Status";
const char* const kNetIfConfig = "MXS/NetIf/0000000000000007/Config";
const char* const kNetIfStatus = "MXS/NetIf/0000000000000007/Status";
const char* const kPort = "MXS/NetIf/0000000000000007/UdpPortDrop/0000000000001388";

// Null where the function must not touch its output on failure: a touch would fault.
const Row kRows[] = {
    {"GetMXSStatus", "GET", "MXS/", [](ZEFA_HANDLE c) { return ZEFA_GetMXSStatus(c, nullptr); }, kCommon, kNothing},
    {"DestroyMXSContext", "DELETE", "MXS/ContextManager/Context/0000000000000001",
     [](ZEFA_HANDLE c) { return ZEFA_DestroyMXSContext(c); }, kCommon, kNothing},
    {"CreateConductor", "POST", "MXS/Conductor/Mines/",
     [](ZEFA_HANDLE c)
     {
         uint64_t id = 77;
         const ZEFA_ERRORCODE result = ZEFA_CreateConductor(c, 0, &id);
         EXPECT_EQ(id, 77U);
         return result;
     },
     kStateful, kNothing},
    {"DestroyConductor", "DELETE", "MXS/Conductor/Mines/0000000000000007",
     [](ZEFA_HANDLE c) { return ZEFA_DestroyConductor(c, 7); }, kStateful, kNothing},
    {"AddSharedConductorToContext", "POST", "MXS/Conductor/Mines/",
     [](ZEFA_HANDLE c) { return ZEFA_AddSharedConductorToContext(c, 7); }, kAttach, kConductorTexts},
    {"GetSharedConductorList", "GET", "MXS/Conductor/Shared/",
     [](ZEFA_HANDLE c)
     {
         uint64_t ids[128] = {77};
         uint32_t count = 77;
         const ZEFA_ERRORCODE result = ZEFA_GetSharedConductorList(c, ids, &count);
         EXPECT_EQ(count, 77U);
         EXPECT_EQ(ids[0], 77U);
         return result;
     },
     kStateful, kNothing},
    {"GetConductorConfig", "GET", "MXS/Conductor/Mines/0000000000000007/Config",
     [](ZEFA_HANDLE c) { return ZEFA_GetConductorConfig(c, 7, nullptr); }, kConfig, kNothing},
    {"SetConductorConfig", "PUT", "MXS/Conductor/Mines/0000000000000007/Config",
     [](ZEFA_HANDLE c)
     {
         const ZEFA_CONDUCTOR_CONFIG config{1, 0};
         return ZEFA_SetConductorConfig(c, 7, &config);
     },
     kSetConfig, kSetConfigTexts},
    {"GetConductorStatus", "GET", "MXS/Conductor/Mines/0000000000000007/Status",
     [](ZEFA_HANDLE c)
     {
         ZEFA_CONDUCTOR_STATUS status{77, 7.5};
         const ZEFA_ERRORCODE result = ZEFA_GetConductorStatus(c, 7, &status);
         EXPECT_EQ(status.Throughput_ULL, 77U);
         EXPECT_EQ(status.Load_D, 7.5);
         return result;
     },
     kCommon, kNothing},
    {"StartConductor", "PUT", "MXS/Conductor/Mines/0000000000000007/State",
     [](ZEFA_HANDLE c) { return ZEFA_StartConductor(c, 7); }, kStart, kNothing},
    {"StopConductor", "PUT", "MXS/Conductor/Mines/0000000000000007/State",
     [](ZEFA_HANDLE c) { return ZEFA_StopConductor(c, 7); }, kAttach, kConductorTexts},
    {"GetCPUCoresHandlesList", "GET", "MXS/CpuCore/",
     [](ZEFA_HANDLE c)
     {
         uint64_t ids[128] = {77};
         uint32_t count = 77;
         const ZEFA_ERRORCODE result = ZEFA_GetCPUCoresHandlesList(c, ids, &count);
         EXPECT_EQ(count, 77U);
         EXPECT_EQ(ids[0], 77U);
         return result;
     },
     kStateful, kNothing},
    {"GetCPUCoreFromOSId", "GET", "MXS/CpuCore/",
     [](ZEFA_HANDLE c)
     {
         uint64_t id = 77;
         const ZEFA_ERRORCODE result = ZEFA_GetCPUCoreFromOSId(c, 1, &id);
         EXPECT_EQ(id, 77U);
         return result;
     },
     kCommon, kNothing},
    {"GetCpuCoreStatus", "GET", kCore, [](ZEFA_HANDLE c) { return ZEFA_GetCpuCoreStatus(c, 7, nullptr); }, kCommon,
     kNothing},
    {"GetNetworkInterfaceHandlesList", "GET", "MXS/NetIf/",
     [](ZEFA_HANDLE c)
     {
         uint64_t ids[128] = {77};
         uint32_t count = 77;
         const ZEFA_ERRORCODE result = ZEFA_GetNetworkInterfaceHandlesList(c, ids, &count);
         EXPECT_EQ(count, 77U);
         EXPECT_EQ(ids[0], 77U);
         return result;
     },
     kStateful, kNothing},
    {"GetNetworkInterfaceConfig", "GET", kNetIfConfig,
     [](ZEFA_HANDLE c)
     {
         ZEFA_NETWORK_INTERFACE_CONFIG config{77, 78};
         const ZEFA_ERRORCODE result = ZEFA_GetNetworkInterfaceConfig(c, 7, &config);
         EXPECT_EQ(config.IP_UL, 77U);
         EXPECT_EQ(config.SubnetMask_UL, 78U);
         return result;
     },
     kConfig, kNothing},
    {"GetNetworkInterfaceStatus", "GET", kNetIfStatus,
     [](ZEFA_HANDLE c)
     {
         ZEFA_NETWORK_INTERFACE_STATUS status{};
         status.MTU_UL = 77;
         const ZEFA_ERRORCODE result = ZEFA_GetNetworkInterfaceStatus(c, 7, &status);
         EXPECT_EQ(status.MTU_UL, 77U);
         return result;
     },
     kCommon, kNothing},
    {"DPDK_AllowUdpPort", "DELETE", kPort, [](ZEFA_HANDLE c) { return ZEFA_DPDK_AllowUdpPort(c, 7, 5000); }, kAllow,
     kNothing},
    {"GetPTPConfig", "GET", "MXS/PtpApi/Config",
     [](ZEFA_HANDLE c)
     {
         ZEFA_PTP_CONFIG config{};
         config.Size_UL = 77;
         const ZEFA_ERRORCODE result = ZEFA_GetPTPConfig(c, &config);
         EXPECT_EQ(config.Size_UL, 77U);
         return result;
     },
     kConfig, kNothing},
    {"GetPTPStatus", "GET", "MXS/PtpApi/Status",
     [](ZEFA_HANDLE c)
     {
         ZEFA_PTP_STATUS status{};
         status.Reserved_ULL = 77;
         const ZEFA_ERRORCODE result = ZEFA_GetPTPStatus(c, &status);
         EXPECT_EQ(status.Reserved_ULL, 77U);
         return result;
     },
     kConfig, kNothing},
    {"DPDK_DropUdpPort", "PUT", kPort, [](ZEFA_HANDLE c) { return ZEFA_DPDK_DropUdpPort(c, 7, 5000); }, kCommon,
     kNothing},
};

class Translation : public ContextTest, public testing::WithParamInterface<Row>
{
};
} // namespace

TEST_P(Translation, FollowsItsRow)
{
    const Row& row = GetParam();
    const size_t before = Service.Count(row.method, row.path); // making the context reads the service's status
    for (size_t i = 0; i < kResults.size(); ++i)
    {
        Service.AnswerError(row.method, row.path, kResults[i]);
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

        const Texts errors = ErrorsOf([&] { result = row.call(Context); });

        EXPECT_EQ(result, row.expected[i]) << "result " << kResults[i];
        const auto text = row.logged.find(kResults[i]);
        EXPECT_EQ(errors, text == row.logged.end() ? Texts{} : Texts{text->second}) << "result " << kResults[i];
    }
    EXPECT_EQ(Service.Count(row.method, row.path) - before, kResults.size())
        << "each call is one exchange, nothing is repeated";
}

INSTANTIATE_TEST_SUITE_P(Functions, Translation, testing::ValuesIn(kRows),
                         [](const auto& each) { return std::string(each.param.name); });

// Conductors: what is sent, what comes back, and the checks before anything is sent.
#include "ApiTest.h"

#include <array>
#include <numeric>

namespace
{
using Conductor = ContextTest;

const std::string kConfig = std::string(kConductor7) + "/Config";
const std::string kStatus = std::string(kConductor7) + "/Status";
const std::string kState = std::string(kConductor7) + "/State";

} // namespace

TEST_F(Conductor, CreationStoresTheIdentifierOfTheService)
{
    Service.Answer("POST", kConductors, 201, "", {{"Location", "v1.0/MXS/Conductor/Mines/00000000deadbeef"}});
    uint64_t id = 0;

    EXPECT_EQ(ZEFA_CreateConductor(Context, 0, &id), ZEFA_NO_ERROR);
    EXPECT_EQ(id, 0xdeadbeefU);
    EXPECT_EQ(Service.LastRequest("POST", kConductors).Body, R"({"ID":"0000000000000000","Shared":false})");

    EXPECT_EQ(ZEFA_CreateConductor(Context, 200, &id), ZEFA_NO_ERROR); // any value but 0 is true
    EXPECT_EQ(Service.LastRequest("POST", kConductors).Body, R"({"ID":"0000000000000000","Shared":true})");
}

TEST_F(Conductor, CreationRefusesANullIdentifierBeforeAnythingIsSent)
{
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_CreateConductor(Context, 0, nullptr); }),
              Texts{"The conductor id pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Service.Count("POST", kConductors), 0U);
}

TEST_F(Conductor, AttachingSendsTheSameRequestWithTheIdentifier)
{
    Service.Answer("POST", kConductors, 201, "", {{"Location", "v1.0/MXS/Conductor/Mines/0000000000000007"}});

    EXPECT_EQ(ZEFA_AddSharedConductorToContext(Context, 7), ZEFA_NO_ERROR);

    EXPECT_EQ(Service.LastRequest("POST", kConductors).Body, R"({"ID":"0000000000000007","Shared":false})");
}

TEST_F(Conductor, AttachingRefusesTheIdentifierZeroWithoutAnExchange)
{
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_AddSharedConductorToContext(Context, 0); }),
              Texts{"The conductor ID can not be 0.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(Service.Count("POST", kConductors), 0U);
}

TEST_F(Conductor, DestructionNamesIt)
{
    Service.Answer("DELETE", kConductor7, 200);

    EXPECT_EQ(ZEFA_DestroyConductor(Context, 7), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.Count("DELETE", kConductor7), 1U);
}

TEST_F(Conductor, ConfigurationComesWithTheCore)
{
    Service.Answer("GET", kConfig, 200, R"({"CpuCoreID": "00000000000000ff"})");
    ZEFA_CONDUCTOR_CONFIG config{};

    EXPECT_EQ(ZEFA_GetConductorConfig(Context, 7, &config), ZEFA_NO_ERROR);
    EXPECT_EQ(config.CpuCoreId_ULL, 255U);
}

TEST_F(Conductor, ConfigurationGoesWithTheCoreAlone)
{
    Service.Answer("PUT", kConfig, 200);
    const ZEFA_CONDUCTOR_CONFIG config{255, 0xFFFFFFFFFFFFFFFF};

    EXPECT_EQ(ZEFA_SetConductorConfig(Context, 7, &config), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.LastRequest("PUT", kConfig).Body, R"({"CpuCoreID":"00000000000000ff"})");
}

TEST_F(Conductor, StatusComesWithThroughputAndLoad)
{
    Service.Answer("GET", kStatus, 200, R"({"Load": 12.5, "Throughput": 5000000000, "TotalPacketTransferred": 9})");
    ZEFA_CONDUCTOR_STATUS status{};

    EXPECT_EQ(ZEFA_GetConductorStatus(Context, 7, &status), ZEFA_NO_ERROR);
    EXPECT_EQ(status.Throughput_ULL, 5000000000U);
    EXPECT_EQ(status.Load_D, 12.5);
}

TEST_F(Conductor, StatusWithoutAStructureOnlyAsksTheService)
{
    Service.Answer("GET", kStatus, 200, R"({"Load": 12.5, "Throughput": 1, "TotalPacketTransferred": 9})");

    EXPECT_EQ(ZEFA_GetConductorStatus(Context, 7, nullptr), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.Count("GET", kStatus), 1U);
}

TEST_F(Conductor, StartAndStopSendTheState)
{
    Service.Answer("PUT", kState, 200);

    EXPECT_EQ(ZEFA_StartConductor(Context, 7), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.LastRequest("PUT", kState).Body, R"({"Started":true})");
    EXPECT_EQ(ZEFA_StopConductor(Context, 7), ZEFA_NO_ERROR);
    EXPECT_EQ(Service.LastRequest("PUT", kState).Body, R"({"Started":false})");
}

TEST_F(Conductor, ResultFiveIsABadArgumentForStartAndAFailedOperationForStop)
{
    Service.AnswerError("PUT", kState, 5);

    EXPECT_EQ(ZEFA_StartConductor(Context, 7), ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(ZEFA_StopConductor(Context, 7), ZEFA_ERR_OPERATION_FAILED);
}

TEST_F(Conductor, SharedListIsCopiedUpToTheWholeRoom)
{
    for (const size_t count : {size_t{0}, size_t{3}, size_t{128}})
    {
        Service.Answer("GET", "MXS/Conductor/Shared/", 200, IdList(count));
        std::array<uint64_t, 129> ids;
        ids.fill(77);
        uint32_t number = 1000; // plays no part
        EXPECT_EQ(ZEFA_GetSharedConductorList(Context, ids.data(), &number), ZEFA_NO_ERROR) << count;
        EXPECT_EQ(number, count);
        for (size_t i = 0; i < count; ++i)
            EXPECT_EQ(ids[i], i + 1);
        EXPECT_EQ(ids[count], 77U) << "nothing is written behind the list";
    }
}

TEST_F(Conductor, SharedListOfMoreThanTheRoomFailsAndTouchesNothing)
{
    Service.Answer("GET", "MXS/Conductor/Shared/", 200, IdList(129));
    std::array<uint64_t, 128> ids;
    ids.fill(77);
    uint32_t number = 5;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    const Texts errors = ErrorsOf([&] { result = ZEFA_GetSharedConductorList(Context, ids.data(), &number); });

    EXPECT_EQ(result, ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(errors, Texts{"The size of NetworkInterfaceHandlesList( 128) is smaller than the number of available "
                            "network interfaces (129).\r\n"});
    EXPECT_EQ(number, 5U);
    EXPECT_EQ(std::accumulate(ids.begin(), ids.end(), uint64_t{0}), 128U * 77U);
}

TEST_F(Conductor, SharedListRefusesNullPointersArrayFirst)
{
    std::array<uint64_t, 128> ids{};
    uint32_t number = 0;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetSharedConductorList(Context, nullptr, nullptr); }),
              Texts{"The conductor array pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetSharedConductorList(Context, nullptr, &number); }),
              Texts{"The conductor array pointer is null.\r\n"});
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetSharedConductorList(Context, ids.data(), nullptr); }),
              Texts{"The conductor number pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Service.Count("GET", "MXS/Conductor/Shared/"), 0U);
}

TEST(ConductorHandle, EveryFunctionRefusesNullWithItsText)
{
    const std::pair<std::function<ZEFA_ERRORCODE()>, const char*> cases[] = {
        {[] { return ZEFA_CreateConductor(nullptr, 0, nullptr); }, kSession},
        {[] { return ZEFA_DestroyConductor(nullptr, 7); }, kSession},
        {[] { return ZEFA_AddSharedConductorToContext(nullptr, 0); }, kSession},
        {[] { return ZEFA_GetSharedConductorList(nullptr, nullptr, nullptr); }, kSession},
        {[] { return ZEFA_GetConductorConfig(nullptr, 7, nullptr); }, kInterface},
        {[] { return ZEFA_SetConductorConfig(nullptr, 7, nullptr); }, kInterface},
        {[] { return ZEFA_GetConductorStatus(nullptr, 7, nullptr); }, kInterface},
        {[] { return ZEFA_StartConductor(nullptr, 7); }, kInterface},
        {[] { return ZEFA_StopConductor(nullptr, 7); }, kInterface},
    };
    for (const auto& [call, text] : cases)
    {
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
        EXPECT_EQ(ErrorsOf([&] { result = call(); }), Texts{text});
        EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
    }
}

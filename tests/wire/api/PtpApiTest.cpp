// The PTP daemon: profiles, configuration and status.
#include "ApiTest.h"

#include <algorithm>
#include <cstring>

namespace
{
using Ptp = ContextTest;

constexpr const char* kConfigPath = "MXS/PtpApi/Config";
constexpr const char* kStatusPath = "MXS/PtpApi/Status";
constexpr const char* kNetIfStatusPath = "MXS/NetIf/0000000000000007/Status";

std::string NetIfStatus(const std::string& name)
{
    return R"({"Characteristics": {"InterfaceIndex": 3, "SystemName": ")" + name +
           R"(", "LinkSpeed": 25000, "DuplexType": "Full", "MTU": 9000, "DriverVersion": "", "NumaNode": 1,)"
           R"( "Mac": 1, "LinkStatus": true}, "UploadThroughput": 0, "DownloadThroughput": 0})";
}

struct Options
{
    const char* TimeStamping = R"("TimeStamping": "HW", )";
    const char* DelayMechanism = R"("P2P")";
};

std::string Config(const Options& options)
{
    return std::string(R"({"InterfaceName": "enp1s0", "hybridMode": true, )") + options.TimeStamping +
           R"("DefaultDS": {"clockClass": 6, "clockAccuracy": 33, "offsetScaledLogVariance": 20061,)"
           R"( "twoStepFlag": false, "domainNumber": 127, "slaveOnly": false, "priority1": 64, "priority2": 65},)"
           R"( "PortDS": {"logMinDelayReqInterval": -3, "logAnnounceInterval": -2, "announceReceiptTimeout": 5,)"
           R"( "logSyncInterval": -4, "delayMechanism": )" +
           options.DelayMechanism + R"(, "logMinPdelayReqInterval": -1, "versionNumber": 2}})";
}

std::string Status(const std::string& portState)
{
    return R"({"ParentDS": {"parentPortIdentity": {"clockIdentity": {"64bData": 11109890998025109354},)"
           R"( "portNumber": 258}, "parentStats": true, "observedParentOffsetScaledLogVariance": 65535,)"
           R"( "observedParentClockPhaseChangeRate": -5, "grandmasterIdentity": {"64bData": 72623859790382856},)"
           R"( "gm": {"ClockClass": 6, "ClockAccuracy": 33, "OffsetScaledLogVariance": 20061},)"
           R"( "grandmasterPriority1": 64, "grandmasterPriority2": 65},)"
           R"( "CurrentDS": {"stepsRemoved": 2, "offsetFromMaster": -391.5, "meanPathDelay": 2045.25},)"
           R"( "PortDS": {"logMinDelayReqInterval": -3, "peerMeanPathDelay": 1953.5, "logAnnounceInterval": -2,)"
           R"( "announceReceiptTimeout": 3, "logSyncInterval": -3, "delayMechanism": "E2E",)"
           R"( "logMinPdelayReqInterval": 0, "versionNumber": 2, "portIdentity": {"clockIdentity":)"
           R"( {"64bData": 10837098864635061459}, "portNumber": 1}, "portState": ")" +
           portState +
           R"("}, "DefaultDS": {"numberPorts": 1, "clockClass": 255, "clockAccuracy": 254,)"
           R"( "offsetScaledLogVariance": 1000, "twoStepFlag": true, "domainNumber": 127, "slaveOnly": true,)"
           R"( "priority1": 128, "priority2": 129, "clockIdentity": {"64bData": 10837098864635061459}},)"
           R"( "TimePropertiesDS": {"currentUtcOffset": 37, "currentUtcOffsetValid": true, "leap59": false,)"
           R"( "leap61": false, "timeTraceable": true, "frequencyTraceable": true, "ptpTimescale": true,)"
           R"( "timeSource": 32}, "CurrentSystemTime": 1767225600123456789})";
}

template <class Structure>
Structure AllOnes()
{
    Structure structure;
    std::memset(&structure, 0xFF, sizeof structure);
    return structure;
}

ZEFA_PTP_CONFIG AConfiguration()
{
    ZEFA_PTP_CONFIG config{};
    config.Size_UL = 4711; // nobody reads it
    config.NetworkInterfaceId_ULL = 7;
    config.HybridMode_B = 2;
    config.DefaultDS = {33, 20061, 44, 10, 11};
    config.PortDS = {-2, 7, ZEFA_PTP_DELAY_MECHANISM_P2P, -1};
    config.TimeStamping_E = ZEFA_PTP_TIME_STAMPING_HARDWARE;
    return config;
}

struct ProfileCase
{
    int32_t Profile;
    ZEFA_PTP_DEFAULT_DS DefaultDS;
    ZEFA_PTP_PORT_DS PortDS;
};

// Columns: accuracy, variance, domain, priorities; delay requests, announce timeout, mechanism, peer delay requests.
const ProfileCase kProfiles[] = {{ZEFA_PTP_PROFILE_0, {254, 1000, 127, 128, 128}, {-3, 3, 0, -3}},
                                 {ZEFA_PTP_PROFILE_1, {254, 1000, 0, 255, 255}, {0, 3, 0, -3}}};

void ExpectSame(const ZEFA_PTP_DEFAULT_DS& actual, const ZEFA_PTP_DEFAULT_DS& expected)
{
    EXPECT_EQ(actual.ClockAccuracy_UB, expected.ClockAccuracy_UB);
    EXPECT_EQ(actual.OffsetScaledLogVariance_US, expected.OffsetScaledLogVariance_US);
    EXPECT_EQ(actual.DomainNumber_UB, expected.DomainNumber_UB);
    EXPECT_EQ(actual.Priority1_UB, expected.Priority1_UB);
    EXPECT_EQ(actual.Priority2_UB, expected.Priority2_UB);
}

void ExpectSame(const ZEFA_PTP_PORT_DS& actual, const ZEFA_PTP_PORT_DS& expected)
{
    EXPECT_EQ(actual.LogMinDelayReqInterval_B, expected.LogMinDelayReqInterval_B);
    EXPECT_EQ(actual.AnnounceReceiptTimeout_UB, expected.AnnounceReceiptTimeout_UB);
    EXPECT_EQ(actual.DelayMechanism_E, expected.DelayMechanism_E);
    EXPECT_EQ(actual.LogMinPdelayReqInterval_B, expected.LogMinPdelayReqInterval_B);
}
} // namespace

TEST(PtpProfile, FillsBothDataSets)
{
    for (const ProfileCase& each : kProfiles)
    {
        SCOPED_TRACE(each.Profile);
        auto defaultDS = AllOnes<ZEFA_PTP_DEFAULT_DS>();
        auto portDS = AllOnes<ZEFA_PTP_PORT_DS>();
        ZEFA_ERRORCODE result = ZEFA_ERR_FATAL;

        const Texts errors = ErrorsOf([&] { result = ZEFA_CreatePTPDSFromProfile(each.Profile, &defaultDS, &portDS); });

        EXPECT_EQ(result, ZEFA_NO_ERROR);
        EXPECT_EQ(errors, Texts{});
        ExpectSame(defaultDS, each.DefaultDS);
        ExpectSame(portDS, each.PortDS);
    }
}

TEST(PtpProfile, UnknownOneIsNamedAndGetsWhatAllProfilesShare)
{
    const std::pair<int32_t, const char*> cases[] = {
        {2, "The PTP profile 2 is not handled.\r\n"},
        {-1, "The PTP profile -1 is not handled.\r\n"},
        {INT32_MAX, "The PTP profile 2147483647 is not handled.\r\n"},
        {INT32_MIN, "The PTP profile -2147483648 is not handled.\r\n"},
    };
    for (const auto& [profile, text] : cases)
    {
        SCOPED_TRACE(profile);
        auto defaultDS = AllOnes<ZEFA_PTP_DEFAULT_DS>();
        auto portDS = AllOnes<ZEFA_PTP_PORT_DS>();
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

        const Texts errors = ErrorsOf([&] { result = ZEFA_CreatePTPDSFromProfile(profile, &defaultDS, &portDS); });

        EXPECT_EQ(result, ZEFA_ERR_BAD_ARGUMENT);
        EXPECT_EQ(errors, Texts{text});
        ExpectSame(defaultDS, {254, 1000, 255, 255, 255});
        ExpectSame(portDS, {-1, 3, 0, -1});
    }
}

TEST(PtpProfile, NullPointerIsRefusedBeforeAnythingIsWritten)
{
    auto defaultDS = AllOnes<ZEFA_PTP_DEFAULT_DS>();
    auto portDS = AllOnes<ZEFA_PTP_PORT_DS>();
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    const Texts text{"One of the pointers is null.\r\n"};
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_CreatePTPDSFromProfile(0, nullptr, &portDS); }), text);
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_CreatePTPDSFromProfile(0, &defaultDS, nullptr); }), text);
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_CreatePTPDSFromProfile(9, nullptr, nullptr); }), text);
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);

    ExpectSame(defaultDS, AllOnes<ZEFA_PTP_DEFAULT_DS>());
    ExpectSame(portDS, AllOnes<ZEFA_PTP_PORT_DS>());
}

TEST_F(Ptp, ConfigurationIsSentWithTheNameOfTheInterfaceAndTheLibrarysConstants)
{
    Service.ForgetRequests();
    Service.Answer("GET", kNetIfStatusPath, 200, NetIfStatus("enp1s0"));
    Service.Answer("PUT", kConfigPath, 200);
    const ZEFA_PTP_CONFIG config = AConfiguration();

    EXPECT_EQ(ZEFA_SetPTPConfig(Context, &config), ZEFA_NO_ERROR);

    EXPECT_EQ(Service.Count("GET", kNetIfStatusPath), 1U);
    EXPECT_EQ(Service.LastRequest("PUT", kConfigPath).Body,
              R"({"DefaultDS":{"clockAccuracy":33,"clockClass":255,"domainNumber":44,"offsetScaledLogVariance":20061,)"
              R"("priority1":10,"priority2":11,"slaveOnly":true,"twoStepFlag":true},"InterfaceName":"enp1s0",)"
              R"("PortDS":{"announceReceiptTimeout":7,"delayMechanism":"P2P","logAnnounceInterval":1,)"
              R"("logMinDelayReqInterval":-2,"logMinPdelayReqInterval":-1,"logSyncInterval":0,"versionNumber":2},)"
              R"("TimeStamping":"HW","hybridMode":true})");
}

TEST_F(Ptp, OddChoicesAreSentAsTheFirstOne)
{
    Service.Answer("GET", kNetIfStatusPath, 200, NetIfStatus("lo"));
    Service.Answer("PUT", kConfigPath, 200);
    for (const uint32_t choice : {0U, 2U, 7U, UINT32_MAX})
    {
        SCOPED_TRACE(choice);
        ZEFA_PTP_CONFIG config{};
        config.NetworkInterfaceId_ULL = 7;
        config.PortDS.DelayMechanism_E = choice;
        config.TimeStamping_E = choice;

        EXPECT_EQ(ZEFA_SetPTPConfig(Context, &config), ZEFA_NO_ERROR);

        EXPECT_EQ(Service.LastRequest("PUT", kConfigPath).Body,
                  R"({"DefaultDS":{"clockAccuracy":0,"clockClass":255,"domainNumber":0,"offsetScaledLogVariance":0,)"
                  R"("priority1":0,"priority2":0,"slaveOnly":true,"twoStepFlag":true},"InterfaceName":"lo",)"
                  R"("PortDS":{"announceReceiptTimeout":0,"delayMechanism":"E2E","logAnnounceInterval":1,)"
                  R"("logMinDelayReqInterval":0,"logMinPdelayReqInterval":0,"logSyncInterval":0,"versionNumber":2},)"
                  R"("TimeStamping":"SW","hybridMode":false})");
    }
}

TEST_F(Ptp, InterfaceNameOfMoreThan255BytesIsCut)
{
    Service.Answer("GET", kNetIfStatusPath, 200, NetIfStatus(std::string(300, 'n')));
    Service.Answer("PUT", kConfigPath, 200);
    const ZEFA_PTP_CONFIG config = AConfiguration();

    EXPECT_EQ(ZEFA_SetPTPConfig(Context, &config), ZEFA_NO_ERROR);

    const std::string body = Service.LastRequest("PUT", kConfigPath).Body;
    EXPECT_NE(body.find("\"InterfaceName\":\"" + std::string(255, 'n') + "\","), std::string::npos) << body;
}

TEST_F(Ptp, SettingTranslatesTheResultOfEitherExchange)
{
    const std::pair<uint32_t, ZEFA_ERRORCODE> cases[] = {
        {4, ZEFA_ERR_BAD_ARGUMENT},      {5, ZEFA_ERR_BAD_ARGUMENT},     {9, ZEFA_ERR_INCORRECT_STATE},
        {19, ZEFA_ERR_BAD_ARGUMENT},     {4999, ZEFA_ERR_BAD_ARGUMENT},  {5001, ZEFA_ERR_COMMUNICATION},
        {5004, ZEFA_ERR_COMMUNICATION},  {5005, ZEFA_ERR_COMMUNICATION}, {5012, ZEFA_ERR_COMMUNICATION},
        {5013, ZEFA_ERR_INCORRECT_STATE}};
    const ZEFA_PTP_CONFIG config = AConfiguration();
    for (const auto& [code, expected] : cases)
    {
        SCOPED_TRACE(code);
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
        Service.ForgetRequests();
        Service.Answer("PUT", kConfigPath, 200);
        Service.AnswerError("GET", kNetIfStatusPath, code);
        EXPECT_EQ(ErrorsOf([&] { result = ZEFA_SetPTPConfig(Context, &config); }), Texts{});
        EXPECT_EQ(result, expected);
        EXPECT_EQ(Service.Count("PUT", kConfigPath), 0U) << "nothing is sent for an interface without a name";

        Service.Answer("GET", kNetIfStatusPath, 200, NetIfStatus("lo"));
        Service.AnswerError("PUT", kConfigPath, code);
        EXPECT_EQ(ErrorsOf([&] { result = ZEFA_SetPTPConfig(Context, &config); }), Texts{});
        EXPECT_EQ(result, expected);
        EXPECT_EQ(Service.Count("PUT", kConfigPath), 1U);
    }
}

TEST_F(Ptp, ConfigurationIsReadWithoutTheInterfaceAndTheConstants)
{
    Service.Answer("GET", kConfigPath, 200, Config({}));
    auto config = AllOnes<ZEFA_PTP_CONFIG>();

    EXPECT_EQ(ZEFA_GetPTPConfig(Context, &config), ZEFA_NO_ERROR);

    EXPECT_EQ(config.Size_UL, 48U);
    EXPECT_EQ(config.NetworkInterfaceId_ULL, 0U);
    EXPECT_EQ(config.HybridMode_B, 1);
    ExpectSame(config.DefaultDS, {33, 20061, 127, 64, 65});
    ExpectSame(config.PortDS, {-3, 5, ZEFA_PTP_DELAY_MECHANISM_P2P, -1});
    EXPECT_EQ(config.TimeStamping_E, ZEFA_PTP_TIME_STAMPING_HARDWARE);
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&config);
    EXPECT_EQ(bytes[17] + bytes[44] + bytes[47], 0) << "gaps are zeroed with the rest";
}

TEST_F(Ptp, ChoicesAreReadOneByOne)
{
    struct Case
    {
        Options Given;
        uint32_t DelayMechanism, TimeStamping;
    };
    const Case cases[] = {
        {{R"("TimeStamping": "SW", )", R"("E2E")"}, 0, 0},
        {{R"("TimeStamping": "HW", )", R"("P2P")"}, 1, 1},
        {{R"("TimeStamping": "ONE_STEP", )", R"("COMMON_P2P")"}, 2, 2},
        {{R"("TimeStamping": 1, )", R"(2)"}, 0, 2}, // no texts: what the call started with
        {{"", R"("E2E")"}, 0, 2},
    };
    for (const Case& each : cases)
    {
        SCOPED_TRACE(std::string(each.Given.TimeStamping) + each.Given.DelayMechanism);
        Service.Answer("GET", kConfigPath, 200, Config(each.Given));
        ZEFA_PTP_CONFIG config{};
        EXPECT_EQ(ZEFA_GetPTPConfig(Context, &config), ZEFA_NO_ERROR);
        EXPECT_EQ(config.PortDS.DelayMechanism_E, each.DelayMechanism);
        EXPECT_EQ(config.TimeStamping_E, each.TimeStamping);
    }
}

TEST_F(Ptp, StatusIsCopiedFieldByField)
{
    Service.Answer("GET", kStatusPath, 200, Status("SLAVE"));
    auto status = AllOnes<ZEFA_PTP_STATUS>();

    EXPECT_EQ(ZEFA_GetPTPStatus(Context, &status), ZEFA_NO_ERROR);

    using Identity = std::vector<int>;
    const auto identity = [](const uint8_t(&bytes)[8]) { return Identity(std::begin(bytes), std::end(bytes)); };
    const Identity own{0xD3, 0xA4, 0x5C, 0xFE, 0xFF, 0x1B, 0x65, 0x96};    // 96-65-1b-ff-fe-5c-a4-d3
    const Identity parent{0x6A, 0xBF, 0x98, 0xFE, 0xFF, 0x42, 0x2E, 0x9A}; // 9a-2e-42-ff-fe-98-bf-6a
    EXPECT_EQ(status.Reserved_ULL, 0U);
    EXPECT_EQ(status.CurrentSystemTime_ULL, 1767225600123456789U);
    EXPECT_EQ(status.OffsetScaledLogVariance_US, 1000);
    EXPECT_EQ(identity(status.ClockIdentity_UB), own);
    EXPECT_EQ(status.PeerMeanPathDelay_D, 1953.5);
    EXPECT_EQ(status.LogAnnounceInterval_B, -2);
    EXPECT_EQ(identity(status.PortIdentity.ClockIdentity_UB), own);
    EXPECT_EQ(+status.PortIdentity.PortNumber_US, 1);
    EXPECT_EQ(status.PortState_E, ZEFA_PTP_PORT_STATE_SLAVE);
    EXPECT_EQ(status.StepsRemoved_US, 2);
    EXPECT_EQ(status.OffsetFromMaster_D, -391.5);
    EXPECT_EQ(status.MeanPathDelay_D, 2045.25);
    EXPECT_EQ(identity(status.ParentPortIdentity.ClockIdentity_UB), parent);
    EXPECT_EQ(+status.ParentPortIdentity.PortNumber_US, 258);
    EXPECT_EQ(status.ParentStats_B, 1);
    EXPECT_EQ(status.ObservedParentOffsetScaledLogVariance_US, 65535);
    EXPECT_EQ(status.ObservedParentClockPhaseChangeRate_L, -5);
    EXPECT_EQ(identity(status.GrandmasterIdentity_UB), (Identity{8, 7, 6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(status.GrandmasterClockClass_UB, 6);
    EXPECT_EQ(status.GrandmasterClockAccuracy_UB, 33);
    EXPECT_EQ(status.GrandmasterOffsetScaledLogVariance_US, 20061);
    EXPECT_EQ(status.GrandmasterPriority1_UB, 64);
    EXPECT_EQ(status.GrandmasterPriority2_UB, 65);
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&status);
    EXPECT_EQ(std::count(bytes + 26, bytes + 32, 0), 6) << "gaps are zeroed with the rest";
    EXPECT_EQ(std::count(bytes + 114, bytes + 120, 0), 6);
}

TEST_F(Ptp, PortStatesAreOneLessThanTheServices)
{
    const std::pair<const char*, uint32_t> cases[] = {
        {"INITIALIZING", 0}, {"FAULTY", 1},       {"DISABLED", 2}, {"LISTENING", 3}, {"PRE_MASTER", 4},  {"MASTER", 5},
        {"PASSIVE", 6},      {"UNCALIBRATED", 7}, {"SLAVE", 8},    {"UNKNOWN", 9},   {"GRAND_MASTER", 9}};
    for (const auto& [text, expected] : cases)
    {
        Service.Answer("GET", kStatusPath, 200, Status(text));
        ZEFA_PTP_STATUS status{};
        EXPECT_EQ(ZEFA_GetPTPStatus(Context, &status), ZEFA_NO_ERROR) << text;
        EXPECT_EQ(status.PortState_E, expected) << text;
    }
}

TEST_F(Ptp, ADocumentThatLacksAKeyTouchesNothing)
{
    std::string config = Config({});
    config.replace(config.find("versionNumber"), 1, "x");
    std::string status = Status("SLAVE");
    status.replace(status.find("TimePropertiesDS"), 1, "x");
    Service.Answer("GET", kConfigPath, 200, config);
    Service.Answer("GET", kStatusPath, 200, status);
    const auto configBefore = AllOnes<ZEFA_PTP_CONFIG>();
    const auto statusBefore = AllOnes<ZEFA_PTP_STATUS>();
    auto configRead = configBefore;
    auto statusRead = statusBefore;

    EXPECT_EQ(ZEFA_GetPTPConfig(Context, &configRead), ZEFA_ERR_COMMUNICATION);
    EXPECT_EQ(ZEFA_GetPTPStatus(Context, &statusRead), ZEFA_ERR_COMMUNICATION);

    EXPECT_EQ(std::memcmp(&configRead, &configBefore, sizeof configRead), 0);
    EXPECT_EQ(std::memcmp(&statusRead, &statusBefore, sizeof statusRead), 0);
}

TEST_F(Ptp, NullStructuresAreRefusedBehindTheHandle)
{
    Service.ForgetRequests();
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetPTPConfig(Context, nullptr); }),
              Texts{"The PTP daemon config pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetPTPStatus(Context, nullptr); }),
              Texts{"The PTP daemon status pointer is null.\r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(Service.Count("GET", kConfigPath) + Service.Count("GET", kStatusPath), 0U);
}

TEST(PtpHandle, EveryFunctionRefusesNullWithItsText)
{
    const std::function<ZEFA_ERRORCODE()> calls[] = {
        [] { return ZEFA_GetPTPConfig(nullptr, nullptr); },
        [] { return ZEFA_SetPTPConfig(nullptr, nullptr); },
        [] { return ZEFA_GetPTPStatus(nullptr, nullptr); },
    };
    for (const auto& call : calls)
    {
        ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
        EXPECT_EQ(ErrorsOf([&] { result = call(); }), Texts{"The PTP daemon handle is invalid.\r\n"});
        EXPECT_EQ(result, ZEFA_ERR_INVALID_HANDLE);
    }
}

// The PTP daemon's resources. There is no daemon here: what runs it is tested where it lives.
#include "ServiceFixture.h"

#include "mxs/PtpDocuments.h"
#include "mxs/Refusal.h"

#include <gmock/gmock.h>

#include <chrono>
#include <pthread.h>
#include <thread>

namespace test
{
namespace
{

using testing::HasSubstr;

const json kConfig = {{"InterfaceName", "lo"},
                      {"hybridMode", true},
                      {"TimeStamping", "SW"},
                      {"DefaultDS",
                       {{"clockClass", 255},
                        {"clockAccuracy", 33},
                        {"offsetScaledLogVariance", 20061},
                        {"twoStepFlag", true},
                        {"domainNumber", 44},
                        {"slaveOnly", true},
                        {"priority1", 10},
                        {"priority2", 11}}},
                      {"PortDS",
                       {{"logMinDelayReqInterval", -2},
                        {"logAnnounceInterval", 1},
                        {"announceReceiptTimeout", 7},
                        {"logSyncInterval", 0},
                        {"delayMechanism", "P2P"},
                        {"logMinPdelayReqInterval", -1},
                        {"versionNumber", 2}}}};

using PtpApi = ServiceTest;

TEST_F(PtpApi, ConfigurationBeginsWithTheDefaults)
{
    Session session(Port());

    const json config = session.GetJson("MXS/PtpApi/Config");

    EXPECT_EQ(config, json::parse(R"({"InterfaceName": "", "hybridMode": false, "TimeStamping": "SW",
        "DefaultDS": {"clockClass": 255, "clockAccuracy": 254, "offsetScaledLogVariance": 1000, "twoStepFlag": true,
                      "domainNumber": 127, "slaveOnly": true, "priority1": 128, "priority2": 128},
        "PortDS": {"logMinDelayReqInterval": -3, "logAnnounceInterval": 1, "announceReceiptTimeout": 3,
                   "logSyncInterval": 0, "delayMechanism": "E2E", "logMinPdelayReqInterval": -3,
                   "versionNumber": 2}})"));
}

TEST_F(PtpApi, ConfigurationIsForAllContextsAndReadBackAsItWasPut)
{
    Session session(Port()), other(Port());
    EXPECT_EQ(session.Send("PUT", "MXS/PtpApi/Config", kConfig).status, 200u);

    EXPECT_EQ(other.GetJson("MXS/PtpApi/Config"), kConfig);

    json hardware = kConfig;
    hardware["TimeStamping"] = "HW";
    EXPECT_EQ(other.Send("PUT", "MXS/PtpApi/Config", hardware).status, 200u);
    EXPECT_EQ(session.GetJson("MXS/PtpApi/Config"), hardware);
}

TEST_F(PtpApi, ConfigurationForWhichThereIsNoThreadIsRefusedAndNotKept)
{
    Session session(Port());
    const json before = session.GetJson("MXS/PtpApi/Config");
    pthread_attr_t usual, impossible;
    pthread_getattr_default_np(&usual);
    pthread_getattr_default_np(&impossible);
    pthread_attr_setstacksize(&impossible, size_t{1} << 60);
    pthread_setattr_default_np(&impossible); // no thread can have such a stack

    const Reply refused = session.Send("PUT", "MXS/PtpApi/Config", kConfig);

    pthread_setattr_default_np(&usual);
    EXPECT_EQ(refused.status, 503u);
    EXPECT_EQ(refused.ErrCode(), mxs::kUnavailable);
    EXPECT_EQ(session.GetJson("MXS/PtpApi/Config"), before);
    EXPECT_EQ(session.Send("PUT", "MXS/PtpApi/Config", kConfig).status, 200u);
    EXPECT_EQ(session.GetJson("MXS/PtpApi/Config"), kConfig);
}

TEST_F(PtpApi, StatusWithoutADaemonIsWholeAndDisabled)
{
    Session session(Port());
    ASSERT_EQ(session.Send("PUT", "MXS/PtpApi/Config", kConfig).status, 200u);

    const Reply reply = session.Get("MXS/PtpApi/Status");

    json status = reply.Json();
    EXPECT_TRUE(status["CurrentSystemTime"].is_number_unsigned());
    EXPECT_GT(status["CurrentSystemTime"].get<uint64_t>(), 1700000000000000000u);
    status.erase("CurrentSystemTime");
    EXPECT_EQ(status, json::parse(R"({
        "ParentDS": {"parentPortIdentity": {"clockIdentity": {"64bData": 0}, "portNumber": 0}, "parentStats": false,
                     "observedParentOffsetScaledLogVariance": 65535,
                     "observedParentClockPhaseChangeRate": 2147483647, "grandmasterIdentity": {"64bData": 0},
                     "gm": {"ClockClass": 0, "ClockAccuracy": 0, "OffsetScaledLogVariance": 0},
                     "grandmasterPriority1": 0, "grandmasterPriority2": 0},
        "CurrentDS": {"stepsRemoved": 0, "offsetFromMaster": 0.0, "meanPathDelay": 0.0},
        "PortDS": {"logMinDelayReqInterval": -2, "peerMeanPathDelay": 0.0, "logAnnounceInterval": 1,
                   "announceReceiptTimeout": 7, "logSyncInterval": 0, "delayMechanism": "P2P",
                   "logMinPdelayReqInterval": -1, "versionNumber": 2,
                   "portIdentity": {"clockIdentity": {"64bData": 0}, "portNumber": 0}, "portState": "DISABLED"},
        "DefaultDS": {"numberPorts": 1, "clockClass": 255, "clockAccuracy": 33, "offsetScaledLogVariance": 20061,
                      "twoStepFlag": true, "domainNumber": 44, "slaveOnly": true, "priority1": 10, "priority2": 11,
                      "clockIdentity": {"64bData": 0}},
        "TimePropertiesDS": {"currentUtcOffset": 37, "currentUtcOffsetValid": false, "leap59": false,
                             "leap61": false, "timeTraceable": false, "frequencyTraceable": false,
                             "ptpTimescale": false, "timeSource": 160},
        "Clock": {"Source": "SYSTEM", "Locked": false, "OffsetFromMaster": 0}})"));
    EXPECT_THAT(reply.body, HasSubstr(R"("offsetFromMaster":0.0)")) << "a number with a fraction even when it has none";
}

TEST_F(PtpApi, LogSaysWhyThereIsNoDaemon)
{
    Session session(Port());
    ASSERT_EQ(session.Send("PUT", "MXS/PtpApi/Config", kConfig).status, 200u);

    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!LogHolds("PTP: there is no ptp4l or no pmc on this machine") && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_TRUE(LogHolds("PTP: there is no ptp4l or no pmc on this machine"));
}

TEST_F(PtpApi, RefusalsNameTheKeyAndKeepTheConfiguration)
{
    Session session(Port());
    const auto refusal = [&](const json& document)
    {
        const Reply reply = session.Send("PUT", "MXS/PtpApi/Config", document);
        return std::to_string(reply.ErrCode()) + " " + reply.Json()["ErrMsg"].get<std::string>();
    };
    json config = kConfig;
    config["InterfaceName"] = "nosuchif0";
    EXPECT_EQ(refusal(config), "8 There is no interface nosuchif0.");
    config = kConfig;
    config["InterfaceName"] = "lo]\n[x";
    EXPECT_EQ(refusal(config), "4 The key \"InterfaceName\" is no name of an interface.");
    config = kConfig;
    config["DefaultDS"]["domainNumber"] = 128;
    EXPECT_EQ(refusal(config), "4 The key \"DefaultDS.domainNumber\" is not from 0 to 127.");
    config = kConfig;
    config["PortDS"]["logSyncInterval"] = -129;
    EXPECT_EQ(refusal(config), "4 The key \"PortDS.logSyncInterval\" is no whole number from -128 to 127.");
    config = kConfig;
    config["PortDS"]["logSyncInterval"] = 0.5;
    EXPECT_EQ(refusal(config), "4 The key \"PortDS.logSyncInterval\" is no whole number from -128 to 127.");
    config = kConfig;
    config["DefaultDS"]["slaveOnly"] = false;
    EXPECT_THAT(refusal(config), HasSubstr("4 The key \"DefaultDS.slaveOnly\" "));

    EXPECT_EQ(session.GetJson("MXS/PtpApi/Config")["InterfaceName"], "");
}

// ---- documents ----

std::string Read(const json& document)
{
    mxs::ptp::Config config;
    try
    {
        mxs::FromDocument(document, config);
        return {};
    }
    catch (const mxs::Refusal& refusal)
    {
        EXPECT_EQ(refusal.Code, mxs::kIncorrectConfiguration);
        return refusal.Message;
    }
}

TEST(PtpDocuments, EveryKeyOfTheConfigurationIsNeededButTheTimeStamping)
{
    EXPECT_EQ(Read(kConfig), "");
    const auto check = [](const json::json_pointer& place, const std::string& name)
    {
        json document = kConfig;
        document.at(place.parent_pointer()).erase(place.back());
        EXPECT_EQ(Read(document), name == "TimeStamping" ? "" : "The key \"" + name + "\" is missing.");
        document.at(place.parent_pointer())[place.back()] = json::array();
        EXPECT_THAT(Read(document), HasSubstr("The key \"" + name + "\" is no ")) << "of another kind";
    };
    size_t keys = 0;
    for (const auto& [key, value] : kConfig.items())
    {
        check(json::json_pointer("/" + key), key);
        ++keys;
        if (!value.is_object()) continue;
        for (const auto& [inner, unused] : value.items())
        {
            check(json::json_pointer("/" + key + "/" + inner), key + "." + inner);
            ++keys;
        }
    }
    EXPECT_EQ(keys, 20u);
}

TEST(PtpDocuments, WholeNumbersWithAFractionOfZeroAreTaken)
{
    json document = kConfig;
    document["PortDS"]["logMinDelayReqInterval"] = -2.0;
    mxs::ptp::Config config;
    mxs::FromDocument(document, config);
    EXPECT_EQ(config.port.logMinDelayReqInterval, -2);
}

TEST(PtpDocuments, StatusKeepsAll64BitsOfAnIdentityAndTellsTheClock)
{
    mxs::PtpReport report;
    report.status.own.clock.number = 0xFFFFFFFFFFFFFFFE;
    report.status.port.state = mxs::ptp::PortState::Slave;
    report.status.current.offsetFromMaster = 37e9;
    report.clock = {.followsPtp = true, .locked = true, .offsetFromMasterNs = -5};
    report.taiNs = 18000000000000000001u;

    const json document = mxs::ToDocument(report);

    EXPECT_EQ(document["DefaultDS"]["clockIdentity"].dump(), R"({"64bData":18446744073709551614})");
    EXPECT_EQ(document["PortDS"]["portState"], "SLAVE");
    EXPECT_EQ(document["CurrentDS"]["offsetFromMaster"].dump(), "37000000000.0");
    EXPECT_EQ(document["CurrentSystemTime"].dump(), "18000000000000000001");
    EXPECT_EQ(document["Clock"].dump(), R"({"Locked":true,"OffsetFromMaster":-5,"Source":"PTP"})");
}

} // namespace
} // namespace test

// The file for ptp4l, what is refused before there is one, and what of ptp4l's lines is told.
#include "mxs/ptp/Ptp4lConfig.h"

#include <gtest/gtest.h>

namespace test
{
namespace
{

using namespace mxs::ptp;

Config OnEth0()
{
    Config config;
    config.interfaceName = "eth0";
    return config;
}

TEST(Ptp4lConfig, FollowsWithoutTouchingTheClock)
{
    EXPECT_EQ(Ptp4lText(OnEth0(), {"/run/x/ptp4l", "", false}), "[global]\n"
                                                                "slaveOnly 1\n"
                                                                "clockClass 255\n"
                                                                "clockAccuracy 254\n"
                                                                "offsetScaledLogVariance 1000\n"
                                                                "domainNumber 127\n"
                                                                "priority1 128\n"
                                                                "priority2 128\n"
                                                                "logMinDelayReqInterval -3\n"
                                                                "logAnnounceInterval 1\n"
                                                                "announceReceiptTimeout 3\n"
                                                                "logSyncInterval 0\n"
                                                                "logMinPdelayReqInterval -3\n"
                                                                "delay_mechanism E2E\n"
                                                                "network_transport UDPv4\n"
                                                                "time_stamping software\n"
                                                                "tx_timestamp_timeout 100\n"
                                                                "fault_reset_interval 0\n"
                                                                "clock_servo pi\n"
                                                                "pi_proportional_const 0.7\n"
                                                                "pi_integral_const 0.3\n"
                                                                "step_threshold 0\n"
                                                                "first_step_threshold 0\n"
                                                                "sanity_freq_limit 0\n"
                                                                "kernel_leap 0\n"
                                                                "utc_offset 37\n"
                                                                "use_syslog 0\n"
                                                                "verbose 1\n"
                                                                "logging_level 5\n"
                                                                "uds_address /run/x/ptp4l\n"
                                                                "[eth0]\n");
}

TEST(Ptp4lConfig, CarriesEachChoice)
{
    const Config config{.interfaceName = "enp1s0.7",
                        .hybridMode = true,
                        .timeStamping = TimeStamping::Hardware,
                        .own = {.clockClass = 248,
                                .clockAccuracy = 33,
                                .offsetScaledLogVariance = 20061,
                                .domainNumber = 0,
                                .priority1 = 1,
                                .priority2 = 2},
                        .port = {.logMinDelayReqInterval = -1,
                                 .logAnnounceInterval = -2,
                                 .announceReceiptTimeout = 4,
                                 .logSyncInterval = -5,
                                 .delayMechanism = DelayMechanism::EndToEnd,
                                 .logMinPdelayReqInterval = 2}};
    EXPECT_EQ(Ptp4lText(config, {"/s", "/r", true}), "[global]\n"
                                                     "slaveOnly 1\n"
                                                     "clockClass 248\n"
                                                     "clockAccuracy 33\n"
                                                     "offsetScaledLogVariance 20061\n"
                                                     "domainNumber 0\n"
                                                     "priority1 1\n"
                                                     "priority2 2\n"
                                                     "logMinDelayReqInterval -1\n"
                                                     "logAnnounceInterval -2\n"
                                                     "announceReceiptTimeout 4\n"
                                                     "logSyncInterval -5\n"
                                                     "logMinPdelayReqInterval 2\n"
                                                     "delay_mechanism E2E\n"
                                                     "hybrid_e2e 1\n"
                                                     "network_transport UDPv4\n"
                                                     "time_stamping hardware\n"
                                                     "tx_timestamp_timeout 100\n"
                                                     "fault_reset_interval 0\n"
                                                     "utc_offset 37\n"
                                                     "use_syslog 0\n"
                                                     "verbose 1\n"
                                                     "logging_level 5\n"
                                                     "uds_address /s\n"
                                                     "uds_ro_address /r\n"
                                                     "[enp1s0.7]\n");
    Config peer = config;
    peer.port.delayMechanism = DelayMechanism::PeerToPeer;
    const std::string text = Ptp4lText(peer, {"/s", "/r", true});
    EXPECT_NE(text.find("delay_mechanism P2P\n"), std::string::npos);
    EXPECT_EQ(text.find("hybrid"), std::string::npos) << "there is nothing to be sent to the master alone";
}

TEST(Ptp4lConfig, RefusesWhatPtp4lCouldNotRunWithAndNamesTheKey)
{
    struct Case
    {
        const char* key;
        void (*change)(Config& config);
    };
    const Case cases[] = {
        {"InterfaceName", [](Config& c) { c.interfaceName = ""; }},
        {"InterfaceName", [](Config& c) { c.interfaceName = "sixteen-letters-"; }},
        {"InterfaceName", [](Config& c) { c.interfaceName = "global"; }},
        {"InterfaceName", [](Config& c) { c.interfaceName = "a]\n[b"; }},
        {"InterfaceName", [](Config& c) { c.interfaceName = "a b"; }},
        {"InterfaceName", [](Config& c) { c.interfaceName = "a/b"; }},
        {"InterfaceName", [](Config& c) { c.interfaceName = "\xC3\xA4"; }},
        {"DefaultDS.twoStepFlag", [](Config& c) { c.own.twoStepFlag = false; }},
        {"DefaultDS.slaveOnly", [](Config& c) { c.own.slaveOnly = false; }},
        {"DefaultDS.domainNumber", [](Config& c) { c.own.domainNumber = 128; }},
        {"PortDS.versionNumber", [](Config& c) { c.port.versionNumber = 1; }},
        {"PortDS.announceReceiptTimeout", [](Config& c) { c.port.announceReceiptTimeout = 1; }},
        {"PortDS.logMinDelayReqInterval", [](Config& c) { c.port.logMinDelayReqInterval = -8; }},
        {"PortDS.logAnnounceInterval", [](Config& c) { c.port.logAnnounceInterval = 11; }},
        {"PortDS.logSyncInterval", [](Config& c) { c.port.logSyncInterval = -128; }},
        {"PortDS.logMinPdelayReqInterval", [](Config& c) { c.port.logMinPdelayReqInterval = 127; }},
    };
    EXPECT_FALSE(WhyRefused(OnEth0()));
    for (const Case& each : cases)
    {
        Config config = OnEth0();
        each.change(config);
        const std::optional<std::string> why = WhyRefused(config);
        ASSERT_TRUE(why) << each.key;
        EXPECT_TRUE(why->starts_with("The key \"" + std::string(each.key) + "\" ")) << *why;
    }
    Config widest = OnEth0();
    widest.interfaceName = "fifteen-letters";
    widest.own.domainNumber = 127;
    widest.port = {.logMinDelayReqInterval = -7,
                   .logAnnounceInterval = 10,
                   .announceReceiptTimeout = 2,
                   .logSyncInterval = -7,
                   .logMinPdelayReqInterval = 10};
    EXPECT_FALSE(WhyRefused(widest));
}

TEST(Ptp4lLines, AreToldWithoutTheProgramsTimeAndWithoutWhatIsWanted)
{
    const auto told = [](const char* line) { return TellingPart(line, false).value_or("-"); };
    EXPECT_EQ(told("ptp4l[1941.652]: port 1: INITIALIZING to LISTENING on INIT_COMPLETE"),
              "port 1: INITIALIZING to LISTENING on INIT_COMPLETE");
    EXPECT_EQ(told("failed to parse configuration file /x"), "failed to parse configuration file /x");
    EXPECT_EQ(told("ptp4l[1.1]: port 0: INITIALIZING to LISTENING on INIT_COMPLETE"), "-");
    EXPECT_EQ(told("ptp4l[1.1]: failed to adjust the clock: Operation not permitted"), "-");
    EXPECT_EQ(told("ptp4l[1.1]: failed to set clock status and maximum error: Operation not permitted"), "-");
    EXPECT_EQ(told(""), "-");
    EXPECT_EQ(told("ptp4l[1.1]: \r"), "-");
    EXPECT_EQ(TellingPart("ptp4l[1.1]: failed to adjust the clock: Operation not permitted", true),
              "failed to adjust the clock: Operation not permitted");
}

TEST(Ptp4lVersion, IsTheNumberBeforeTheFirstPoint)
{
    EXPECT_EQ(MajorVersion("3.1.1\n"), 3);
    EXPECT_EQ(MajorVersion("4.2"), 4);
    EXPECT_EQ(MajorVersion("v4"), 0);
    EXPECT_EQ(MajorVersion(""), 0);
}

TEST(StatusWithoutDaemon, IsDisabledAndSaysWhatTheConfigurationSays)
{
    Config config = OnEth0();
    config.own.domainNumber = 5;
    config.own.priority1 = 7;
    config.port.delayMechanism = DelayMechanism::PeerToPeer;
    config.port.logSyncInterval = -3;

    const Status status = StatusWithoutDaemon(config);

    EXPECT_EQ(status.port.state, PortState::Disabled);
    EXPECT_EQ(status.own.domainNumber, 5);
    EXPECT_EQ(status.own.priority1, 7);
    EXPECT_EQ(status.port.delayMechanism, DelayMechanism::PeerToPeer);
    EXPECT_EQ(status.port.logSyncInterval, -3);
    EXPECT_EQ(status.port.versionNumber, 2);
    EXPECT_EQ(status.own.clock.number, 0u);
}

} // namespace
} // namespace test

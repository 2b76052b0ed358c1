// What pmc prints, as pmc prints it, and every way in which it can be incomplete.
#include "mxs/ptp/PmcText.h"

#include <gtest/gtest.h>

#include <string>

namespace test
{
namespace
{

using namespace mxs::ptp;

// Answers come between the echoes of the requests, as they arrive.
const std::string kSlave = "sending: GET DEFAULT_DATA_SET\n"
                           "sending: GET CURRENT_DATA_SET\n"
                           "\ta235a3.fffe.09f875-0 seq 0 RESPONSE MANAGEMENT DEFAULT_DATA_SET \n"
                           "\t\ttwoStepFlag             1\n"
                           "\t\tslaveOnly               1\n"
                           "\t\tnumberPorts             1\n"
                           "\t\tpriority1               128\n"
                           "\t\tclockClass              255\n"
                           "\t\tclockAccuracy           0xfe\n"
                           "\t\toffsetScaledLogVariance 0xffff\n"
                           "\t\tpriority2               129\n"
                           "\t\tclockIdentity           a235a3.fffe.09f875\n"
                           "\t\tdomainNumber            127\n"
                           "sending: GET PARENT_DATA_SET\n"
                           "sending: GET TIME_PROPERTIES_DATA_SET\n"
                           "sending: GET PORT_DATA_SET\n"
                           "sending: GET TIME_STATUS_NP\n"
                           "\ta235a3.fffe.09f875-0 seq 1 RESPONSE MANAGEMENT CURRENT_DATA_SET \n"
                           "\t\tstepsRemoved     1\n"
                           "\t\toffsetFromMaster -436.5\n"
                           "\t\tmeanPathDelay    2095.0\n"
                           "\ta235a3.fffe.09f875-0 seq 2 RESPONSE MANAGEMENT PARENT_DATA_SET \n"
                           "\t\tparentPortIdentity                    96d3f4.fffe.4a1aa4-258\n"
                           "\t\tparentStats                           0\n"
                           "\t\tobservedParentOffsetScaledLogVariance 0xffff\n"
                           "\t\tobservedParentClockPhaseChangeRate    0x7fffffff\n"
                           "\t\tgrandmasterPriority1                  64\n"
                           "\t\tgm.ClockClass                         6\n"
                           "\t\tgm.ClockAccuracy                      0x21\n"
                           "\t\tgm.OffsetScaledLogVariance            0x4e5d\n"
                           "\t\tgrandmasterPriority2                  65\n"
                           "\t\tgrandmasterIdentity                   96d3f4.fffe.4a1aa4\n"
                           "\ta235a3.fffe.09f875-0 seq 3 RESPONSE MANAGEMENT TIME_PROPERTIES_DATA_SET \n"
                           "\t\tcurrentUtcOffset      37\n"
                           "\t\tleap61                0\n"
                           "\t\tleap59                1\n"
                           "\t\tcurrentUtcOffsetValid 1\n"
                           "\t\tptpTimescale          1\n"
                           "\t\ttimeTraceable         0\n"
                           "\t\tfrequencyTraceable    1\n"
                           "\t\ttimeSource            0x20\n"
                           "\ta235a3.fffe.09f875-1 seq 4 RESPONSE MANAGEMENT PORT_DATA_SET \n"
                           "\t\tportIdentity            a235a3.fffe.09f875-1\n"
                           "\t\tportState               SLAVE\n"
                           "\t\tlogMinDelayReqInterval  -3\n"
                           "\t\tpeerMeanPathDelay       1953\n"
                           "\t\tlogAnnounceInterval     1\n"
                           "\t\tannounceReceiptTimeout  3\n"
                           "\t\tlogSyncInterval         0\n"
                           "\t\tdelayMechanism          2\n"
                           "\t\tlogMinPdelayReqInterval -4\n"
                           "\t\tversionNumber           2\n"
                           "\ta235a3.fffe.09f875-0 seq 5 RESPONSE MANAGEMENT TIME_STATUS_NP \n"
                           "\t\tmaster_offset              -436\n"
                           "\t\tingress_time               1795265985417378247\n"
                           "\t\tcumulativeScaledRateOffset +0.000000000\n"
                           "\t\tscaledLastGmPhaseChange    0\n"
                           "\t\tgmTimeBaseIndicator        0\n"
                           "\t\tlastGmPhaseChange          0x0000'0000000000000000.0000\n"
                           "\t\tgmPresent                  true\n"
                           "\t\tgmIdentity                 96d3f4.fffe.4a1aa4\n";

std::string With(std::string text, const std::string& from, const std::string& to)
{
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

TEST(PmcText, EveryValueGoesToItsPlace)
{
    const std::optional<PmcReport> report = ParsePmc(kSlave);

    ASSERT_TRUE(report);
    const ClockIdentity own{0xA235A3FFFE09F875}, master{0x96D3F4FFFE4A1AA4};
    const Status expected{.parent = {.port = {master, 258},
                                     .stats = false,
                                     .observedOffsetScaledLogVariance = 65535,
                                     .observedClockPhaseChangeRate = 2147483647,
                                     .grandmaster = master,
                                     .quality = {6, 33, 20061},
                                     .grandmasterPriority1 = 64,
                                     .grandmasterPriority2 = 65},
                          .current = {.stepsRemoved = 1, .offsetFromMaster = -436.5, .meanPathDelay = 2095.0},
                          .port = {.logMinDelayReqInterval = -3,
                                   .peerMeanPathDelay = 1953.0,
                                   .logAnnounceInterval = 1,
                                   .announceReceiptTimeout = 3,
                                   .logSyncInterval = 0,
                                   .delayMechanism = DelayMechanism::PeerToPeer,
                                   .logMinPdelayReqInterval = -4,
                                   .versionNumber = 2,
                                   .identity = {own, 1},
                                   .state = PortState::Slave},
                          .own = {.numberPorts = 1,
                                  .clockClass = 255,
                                  .clockAccuracy = 254,
                                  .offsetScaledLogVariance = 65535,
                                  .twoStepFlag = true,
                                  .domainNumber = 127,
                                  .slaveOnly = true,
                                  .priority1 = 128,
                                  .priority2 = 129,
                                  .clock = own},
                          .time = {.currentUtcOffset = 37,
                                   .currentUtcOffsetValid = true,
                                   .leap59 = true,
                                   .leap61 = false,
                                   .timeTraceable = false,
                                   .frequencyTraceable = true,
                                   .ptpTimescale = true,
                                   .timeSource = 32}};
    EXPECT_TRUE(report->status == expected);
    EXPECT_EQ(report->masterOffsetNs, -436);
    EXPECT_EQ(report->ingressTimeNs, 1795265985417378247);
}

TEST(PmcText, AsksForEachDataSetOnce)
{
    EXPECT_EQ(PmcRequests(),
              (std::vector<std::string>{"GET DEFAULT_DATA_SET", "GET CURRENT_DATA_SET", "GET PARENT_DATA_SET",
                                        "GET TIME_PROPERTIES_DATA_SET", "GET PORT_DATA_SET", "GET TIME_STATUS_NP"}));
}

TEST(PmcText, NoLineOfADataSetMayBeMissing)
{
    size_t lines = 0;
    for (size_t begin = 0; begin < kSlave.size();)
    {
        const size_t end = kSlave.find('\n', begin) + 1;
        const std::string line = kSlave.substr(begin, end - begin);
        const bool wanted = line.starts_with("\t") && line.find("Gm") == std::string::npos &&
                            line.find("gmTime") == std::string::npos && line.find("gmPresent") == std::string::npos &&
                            line.find("gmIdentity") == std::string::npos &&
                            line.find("cumulative") == std::string::npos;
        EXPECT_EQ(ParsePmc(kSlave.substr(0, begin) + kSlave.substr(end)).has_value(), !wanted) << line;
        lines += wanted ? 1 : 0;
        begin = end;
    }
    EXPECT_EQ(lines, 49u) << "43 values below 6 heads";
    EXPECT_FALSE(ParsePmc(""));
    EXPECT_FALSE(ParsePmc("sending: GET PORT_DATA_SET\n"));
    EXPECT_FALSE(ParsePmc(kSlave.substr(0, kSlave.size() / 2)));
}

TEST(PmcText, ValuesCountUnderTheHeadOfTheirOwnDataSetAlone)
{
    EXPECT_FALSE(ParsePmc(With(kSlave, "MANAGEMENT PORT_DATA_SET", "MANAGEMENT PORT_DATA_SET_NP")));
    EXPECT_FALSE(ParsePmc(With(kSlave, "RESPONSE MANAGEMENT PORT_DATA_SET", "MANAGEMENT_ERROR NO_SUCH_ID")));
    const std::string twice = "\tx-1 seq 6 RESPONSE MANAGEMENT CLOCK_ACCURACY \n\t\tclockAccuracy 0x01\n";
    EXPECT_EQ(ParsePmc(kSlave + twice)->status.own.clockAccuracy, 254);
}

TEST(PmcText, ValuesThatMakeNoSenseAreRefused)
{
    const std::pair<const char*, const char*> cases[] = {
        {"priority1               128", "priority1               256"},
        {"priority1               128", "priority1               -1"},
        {"priority1               128", "priority1               "},
        {"priority1               128", "priority1               12x"},
        {"clockAccuracy           0xfe", "clockAccuracy           0x1fe"},
        {"clockAccuracy           0xfe", "clockAccuracy           0x"},
        {"logMinDelayReqInterval  -3", "logMinDelayReqInterval  -129"},
        {"twoStepFlag             1", "twoStepFlag             2"},
        {"slaveOnly               1", "slaveOnly               true"},
        {"clockIdentity           a235a3.fffe.09f875", "clockIdentity           a235a3.fffe.09f8"},
        {"clockIdentity           a235a3.fffe.09f875", "clockIdentity           a235a3.fffe.09f875a"},
        {"clockIdentity           a235a3.fffe.09f875", "clockIdentity           x235a3.fffe.09f875"},
        {"portIdentity            a235a3.fffe.09f875-1", "portIdentity            a235a3.fffe.09f875"},
        {"portIdentity            a235a3.fffe.09f875-1", "portIdentity            a235a3.fffe.09f875-65536"},
        {"offsetFromMaster -436.5", "offsetFromMaster nan"},
        {"offsetFromMaster -436.5", "offsetFromMaster 1e999"},
        {"delayMechanism          2", "delayMechanism          254"},
        {"delayMechanism          2", "delayMechanism          0"},
        {"master_offset              -436", "master_offset              9223372036854775808"},
        {"0x7fffffff", "0x80000000"},
    };
    for (const auto& [from, to] : cases)
        EXPECT_FALSE(ParsePmc(With(kSlave, from, to))) << to;
}

TEST(PmcText, PortStatesAreThoseOfTheStandardAndOneOfLaterVersions)
{
    const std::pair<const char*, PortState> cases[] = {
        {"INITIALIZING", PortState::Initializing},
        {"FAULTY", PortState::Faulty},
        {"DISABLED", PortState::Disabled},
        {"LISTENING", PortState::Listening},
        {"PRE_MASTER", PortState::PreMaster},
        {"MASTER", PortState::Master},
        {"GRAND_MASTER", PortState::Master},
        {"PASSIVE", PortState::Passive},
        {"UNCALIBRATED", PortState::Uncalibrated},
        {"SLAVE", PortState::Slave},
        {"TURNED", PortState::Unknown},
    };
    for (const auto& [text, state] : cases)
    {
        const auto report = ParsePmc(With(kSlave, "portState               SLAVE", "portState " + std::string(text)));
        ASSERT_TRUE(report) << text;
        EXPECT_EQ(report->status.port.state, state) << text;
    }
}

TEST(PmcText, LineEndsOfOtherSystemsAndATrailingLineWithoutOneAreTaken)
{
    std::string text;
    for (const char letter : kSlave)
        text += letter == '\n' ? "\r\n" : std::string(1, letter);
    EXPECT_TRUE(ParsePmc(text));
    EXPECT_TRUE(ParsePmc(kSlave.substr(0, kSlave.size() - 1)));
}

} // namespace
} // namespace test

// The daemon with scripts in the place of ptp4l and pmc: what it starts, when, and what it makes of their answers.
#include "mxs/ptp/PtpDaemon.h"

#include "mxs/ptp/StateFolder.h"

#include "support/RemoveFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <new>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace test
{
namespace
{

using namespace mxs::ptp;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

std::string ReadText(const fs::path& path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

size_t CountOf(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

std::string Answer(const std::string& state, int64_t offsetNs = 250, int64_t ingressNs = 1700000000000000000)
{
    const std::string head = "\t02005e.fffe.100001-1 seq 0 RESPONSE MANAGEMENT ", own = "02005e.fffe.100001";
    const std::string master = "02005e.fffe.100002";
    return head +
           "DEFAULT_DATA_SET \n\t\ttwoStepFlag 1\n\t\tslaveOnly 1\n\t\tnumberPorts 1\n\t\tpriority1 128\n"
           "\t\tclockClass 255\n\t\tclockAccuracy 0xfe\n\t\toffsetScaledLogVariance 0x3e8\n\t\tpriority2 128\n"
           "\t\tclockIdentity " +
           own + "\n\t\tdomainNumber 127\n" + head + "CURRENT_DATA_SET \n\t\tstepsRemoved 1\n\t\toffsetFromMaster " +
           std::to_string(offsetNs) + ".0\n\t\tmeanPathDelay 2000.0\n" + head +
           "PARENT_DATA_SET \n\t\tparentPortIdentity " + master +
           "-1\n\t\tparentStats 0\n"
           "\t\tobservedParentOffsetScaledLogVariance 0xffff\n"
           "\t\tobservedParentClockPhaseChangeRate 0x7fffffff\n\t\tgrandmasterPriority1 64\n"
           "\t\tgm.ClockClass 6\n\t\tgm.ClockAccuracy 0x21\n\t\tgm.OffsetScaledLogVariance 0x4e5d\n"
           "\t\tgrandmasterPriority2 64\n\t\tgrandmasterIdentity " +
           master + "\n" + head +
           "TIME_PROPERTIES_DATA_SET \n\t\tcurrentUtcOffset 37\n\t\tleap61 0\n\t\tleap59 0\n"
           "\t\tcurrentUtcOffsetValid 0\n\t\tptpTimescale 0\n\t\ttimeTraceable 0\n\t\tfrequencyTraceable 0\n"
           "\t\ttimeSource 0xa0\n" +
           head + "PORT_DATA_SET \n\t\tportIdentity " + own + "-1\n\t\tportState " + state +
           "\n\t\tlogMinDelayReqInterval -3\n\t\tpeerMeanPathDelay 0\n\t\tlogAnnounceInterval 1\n"
           "\t\tannounceReceiptTimeout 3\n\t\tlogSyncInterval 0\n\t\tdelayMechanism 1\n"
           "\t\tlogMinPdelayReqInterval -3\n\t\tversionNumber 2\n" +
           head + "TIME_STATUS_NP \n\t\tmaster_offset " + std::to_string(offsetNs) + "\n\t\tingress_time " +
           std::to_string(ingressNs) + "\n";
}

constexpr const char* kRuns = "echo \"ptp4l[1.0]: port 1: INITIALIZING to LISTENING on INIT_COMPLETE\"\n"
                              "exec sleep 1000\n";

class Daemon : public testing::Test
{
protected:
    Daemon()
    {
        std::string name = (fs::temp_directory_path() / "ptp-daemon-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no folder for the test");
        Folder = name;
        fs::create_directories(Folder / "state");
        SetAnswer("");
        Script("pmc",
               "[ -e conf ] || exit 0\necho \"$@\" > new.arguments && mv new.arguments pmc-arguments\ncat answer\n");
        Script("ptp4l", kRuns);
    }
    ~Daemon() override { EXPECT_TRUE(RemoveFolder(Folder)); }

    // Runs in the test's folder; each start of ptp4l leaves a line, and pmc has nothing to say before the first.
    void Script(const std::string& name, const std::string& text, const std::string& version = "3.1.1")
    {
        const fs::path path = Folder / name;
        std::ofstream(path) << "#!/bin/sh\ncd " << Folder.string() << "\n"
                            << (name == "ptp4l" ? "[ \"$1\" = -v ] && { echo " + version +
                                                      "; exit; }\n"
                                                      "echo $$ >> started\ncp \"$2\" new.conf && mv new.conf conf\n"
                                                : "")
                            << text;
        fs::permissions(path, fs::perms::owner_all);
    }

    void SetAnswer(const std::string& text) // whole at once
    {
        std::ofstream(Folder / "answer.new") << text;
        fs::rename(Folder / "answer.new", Folder / "answer");
    }

    PtpSettings Settings()
    {
        return {.programFolders = {"/nowhere", Folder.string()},
                .stateFolder = (Folder / "state").string(),
                .pollPeriod = 5ms,
                .retryPeriod = 20ms,
                .log = [this](const std::string& line)
                {
                    const std::lock_guard lock(LinesMutex);
                    Lines += line + "\n";
                }};
    }

    std::string Log()
    {
        const std::lock_guard lock(LinesMutex);
        return Lines;
    }

    size_t Starts() { return CountOf(ReadText(Folder / "started"), "\n"); }

    template <class Condition>
    static bool Becomes(Condition&& condition)
    {
        for (const auto end = std::chrono::steady_clock::now() + 20s; std::chrono::steady_clock::now() < end;)
        {
            if (condition()) return true;
            std::this_thread::sleep_for(2ms);
        }
        return condition();
    }

    static Config OnLoopback()
    {
        Config config;
        config.interfaceName = "lo";
        return config;
    }

    fs::path Folder;
    std::mutex LinesMutex;
    std::string Lines;
    ServiceClock Clock;
};

TEST_F(Daemon, IsDisabledWithTheDefaultsUntilItIsConfigured)
{
    const PtpDaemon daemon(Settings(), Clock);

    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Disabled);
    EXPECT_EQ(daemon.GetConfig(), Config());
    EXPECT_EQ(daemon.GetConfig().own.domainNumber, 127);
    EXPECT_FALSE(fs::exists(Folder / "started"));
}

TEST_F(Daemon, WithoutProgramsIsDisabledAndSaysSoOnce)
{
    PtpSettings settings = Settings();
    settings.programFolders = {};
    settings.retryPeriod = 1ms;
    PtpDaemon daemon(settings, Clock);
    daemon.SetConfig(OnLoopback());

    EXPECT_TRUE(Becomes([&] { return !Log().empty(); }));
    std::this_thread::sleep_for(30ms); // some attempts more

    EXPECT_EQ(Log(), "PTP: there is no ptp4l or no pmc on this machine (package linuxptp); the port is disabled.\n");
    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Disabled);
    EXPECT_EQ(daemon.GetConfig().interfaceName, "lo");
}

TEST_F(Daemon, RunsPtp4lWithItsFileAndTellsWhatPmcSays)
{
    SetAnswer(Answer("LISTENING"));
    PtpDaemon daemon(Settings(), Clock);
    daemon.SetConfig(OnLoopback());

    ASSERT_TRUE(Becomes([&] { return daemon.GetStatus().port.state == PortState::Listening; }));

    const Status status = daemon.GetStatus();
    EXPECT_EQ(status.own.clock.number, 0x02005EFFFE100001u);
    EXPECT_EQ(status.parent.grandmaster.number, 0x02005EFFFE100002u);
    const std::string file = ReadText(Folder / "conf");
    EXPECT_NE(file.find("domainNumber 127\n"), std::string::npos);
    EXPECT_TRUE(file.ends_with("[lo]\n"));
    EXPECT_EQ(file.find("uds_ro_address"), std::string::npos) << "the script is version 3";
    const std::string arguments = ReadText(Folder / "pmc-arguments");
    EXPECT_TRUE(arguments.starts_with("-u -b 0 -d 127 -s " + (Folder / "state").string() + "/mxsd-ptp-")) << arguments;
    EXPECT_NE(arguments.find(" GET TIME_STATUS_NP"), std::string::npos);
    EXPECT_TRUE(Becomes([&] { return Log().find("PTP: port 1: INITIALIZING to LISTENING") != std::string::npos; }));
    EXPECT_FALSE(Clock.Read().followsPtp);
}

TEST_F(Daemon, APtp4lThatCanHasASocketForReadersToo)
{
    Script("ptp4l", kRuns, "4.0");
    PtpDaemon daemon(Settings(), Clock);
    daemon.SetConfig(OnLoopback());

    ASSERT_TRUE(Becomes([&] { return fs::exists(Folder / "conf"); }));

    const std::string file = ReadText(Folder / "conf");
    EXPECT_NE(file.find("uds_ro_address " + (Folder / "state").string() + "/mxsd-ptp-"), std::string::npos) << file;
}

TEST_F(Daemon, WithoutAFolderForItsFileIsDisabledAndSaysSo)
{
    PtpSettings settings = Settings();
    settings.stateFolder = (Folder / "nowhere").string();
    PtpDaemon daemon(settings, Clock);
    daemon.SetConfig(OnLoopback());

    ASSERT_TRUE(Becomes([&] { return !Log().empty(); }));

    EXPECT_TRUE(Log().starts_with("PTP: ptp4l cannot be started: ")) << Log();
    EXPECT_TRUE(Log().ends_with("; the port is disabled.\n")) << Log();
    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Disabled);
    EXPECT_FALSE(fs::exists(Folder / "started"));
}

TEST_F(Daemon, Ptp4lHasTheRightToSetTheClockOnlyWhereItIsToDisciplineIt)
{
    Script("ptp4l", std::string("grep -E '^(CapBnd|NoNewPrivs):' /proc/self/status > rights\n") + kRuns);
    SetAnswer(Answer("LISTENING"));
    std::string rights[2], files[2];
    for (const bool discipline : {false, true})
    {
        PtpSettings settings = Settings();
        settings.disciplineClock = discipline;
        PtpDaemon daemon(settings, Clock);
        fs::remove(Folder / "conf"); // without it pmc has nothing to say
        daemon.SetConfig(OnLoopback());
        ASSERT_TRUE(Becomes([&] { return CountOf(Log(), "INITIALIZING to LISTENING") == (discipline ? 2u : 1u); }));
        rights[discipline] = ReadText(Folder / "rights");
        files[discipline] = ReadText(Folder / "conf");
    }
    std::string own;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("CapBnd:") || line.starts_with("NoNewPrivs:")) own += line + "\n";

    EXPECT_EQ(rights[true], own);
    EXPECT_EQ(CountOf(own, "\n"), 2u);
    if (own.find("NoNewPrivs:\t1") == std::string::npos) // else there was nothing to take
    {
        EXPECT_NE(rights[false], own);
    }
    EXPECT_EQ(CountOf(files[true], "clock_servo "), 0u) << "its own";
    EXPECT_EQ(CountOf(files[false], "clock_servo "), 1u);
}

TEST_F(Daemon, ClockFollowsASlaveAndHoldsWhenItIsNoneAnyMore)
{
    SetAnswer(Answer("SLAVE", 250));
    PtpDaemon daemon(Settings(), Clock);
    daemon.SetConfig(OnLoopback());
    ASSERT_TRUE(Becomes([&] { return Clock.Read().locked; }));
    EXPECT_EQ(Clock.Read().taiMinusSystemNs, 36999999750);

    SetAnswer(Answer("LISTENING"));
    ASSERT_TRUE(Becomes([&] { return !Clock.Read().locked; }));
    EXPECT_TRUE(Clock.Read().followsPtp);

    SetAnswer(Answer("SLAVE", 350, 1700000001000000000));
    ASSERT_TRUE(Becomes([&] { return Clock.Read().locked; }));
    EXPECT_EQ(Clock.Read().taiMinusSystemNs, 36999999650);

    daemon.Stop();
    EXPECT_FALSE(Clock.Read().followsPtp);
    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Disabled);
}

TEST_F(Daemon, ClockDoesNotFollowTimeStampsOfANetworkCard)
{
    SetAnswer(Answer("SLAVE"));
    PtpDaemon daemon(Settings(), Clock);
    Config config = OnLoopback();
    config.timeStamping = TimeStamping::Hardware;
    daemon.SetConfig(config);

    ASSERT_TRUE(Becomes([&] { return daemon.GetStatus().port.state == PortState::Slave; }));

    EXPECT_FALSE(Clock.Read().followsPtp);
}

TEST_F(Daemon, AnotherConfigurationStartsPtp4lAnewAndTheSameOneDoesNot)
{
    SetAnswer(Answer("LISTENING"));
    PtpDaemon daemon(Settings(), Clock);
    daemon.SetConfig(OnLoopback());
    ASSERT_TRUE(Becomes([&] { return daemon.GetStatus().port.state == PortState::Listening; }));
    const pid_t first = std::stoi(ReadText(Folder / "started"));

    daemon.SetConfig(OnLoopback());
    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Listening);
    Config other = OnLoopback();
    other.own.domainNumber = 5;
    daemon.SetConfig(other);

    EXPECT_TRUE(Becomes([&] { return ReadText(Folder / "conf").find("domainNumber 5\n") != std::string::npos; }));
    EXPECT_EQ(Starts(), 2u);
    EXPECT_NE(kill(first, 0), 0) << "the first one is gone";
    EXPECT_TRUE(Becomes([&] { return daemon.GetStatus().port.state == PortState::Listening; }));
}

TEST_F(Daemon, Ptp4lThatEndsIsStartedAgainAndItsReasonToldOnce)
{
    Script("ptp4l", "echo 'ptp4l[1.0]: interface lo does not do this'\nexit 255\n");
    PtpDaemon daemon(Settings(), Clock);
    daemon.SetConfig(OnLoopback());

    ASSERT_TRUE(Becomes([&] { return Starts() >= 3; }));

    EXPECT_EQ(CountOf(Log(), "PTP: interface lo does not do this\n"), 1u) << Log();
    EXPECT_EQ(CountOf(Log(), "PTP: ptp4l has ended with status 255; the port is disabled until it runs again.\n"), 1u);
    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Disabled);

    SetAnswer(Answer("LISTENING"));
    Script("ptp4l", kRuns);
    EXPECT_TRUE(Becomes([&] { return daemon.GetStatus().port.state == PortState::Listening; }));
}

TEST_F(Daemon, Ptp4lThatDoesNotAnswerIsStartedAgain)
{
    SetAnswer("sending: GET PORT_DATA_SET\n");
    PtpSettings settings = Settings();
    settings.longestSilence = 30ms;
    PtpDaemon daemon(settings, Clock);
    daemon.SetConfig(OnLoopback());

    EXPECT_TRUE(Becomes([&] { return Starts() >= 2; }));
    EXPECT_TRUE(Becomes([&] { return CountOf(Log(), "ptp4l does not answer") == 1; }));
    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Disabled);
}

TEST_F(Daemon, LooksThatAreOnceOrTwiceInVainAreNoSilenceHoweverLongTheyTake)
{
    SetAnswer(Answer("LISTENING"));
    Script("pmc", R"(echo look >> looks; [ $(($(wc -l < looks) % 10)) -lt 2 ] || cat answer)");
    PtpSettings settings = Settings();
    settings.longestSilence = 0ms;
    PtpDaemon daemon(settings, Clock);
    daemon.SetConfig(OnLoopback());

    EXPECT_TRUE(Becomes([&] { return CountOf(ReadText(Folder / "looks"), "\n") >= 15; }));
    EXPECT_LE(Starts(), 1u) << Log();
    EXPECT_EQ(CountOf(Log(), "ptp4l does not answer"), 0u);
}

TEST_F(Daemon, PmcThatCannotBeExecutedIsToldOnceHoweverOftenPtp4lIsStarted)
{
    std::ofstream(Folder / "pmc") << "#!/nowhere/sh\n";
    PtpSettings settings = Settings();
    settings.longestSilence = 30ms;
    PtpDaemon daemon(settings, Clock);
    daemon.SetConfig(OnLoopback());

    ASSERT_TRUE(Becomes([&] { return Starts() >= 4; }));

    EXPECT_EQ(CountOf(Log(), "PTP: pmc cannot be started: "), 1u) << Log();
    EXPECT_EQ(CountOf(Log(), "ptp4l does not answer"), 0u);
    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Disabled);
}

TEST_F(Daemon, GoesOnWhenThereWasNoMemoryForALine)
{
    SetAnswer(Answer("LISTENING"));
    PtpSettings settings = Settings();
    std::atomic<int> lines{0};
    settings.log = [&lines](const std::string&)
    {
        ++lines;
        throw std::bad_alloc();
    };
    PtpDaemon daemon(settings, Clock);
    daemon.SetConfig(OnLoopback());

    EXPECT_TRUE(Becomes([&] { return daemon.GetStatus().port.state == PortState::Listening; }));
    EXPECT_TRUE(Becomes([&] { return lines >= 2; })) << "that it runs, and the one that it writes";
    kill(std::stoi(ReadText(Folder / "started")), SIGKILL);
    EXPECT_TRUE(Becomes([&] { return Starts() >= 2; }));
}

TEST_F(Daemon, Ptp4lWhoseAnswerIsNotUnderstoodGoesOnAndTheLogSaysSo)
{
    std::string answer = Answer("SLAVE");
    SetAnswer(answer);
    PtpSettings settings = Settings();
    settings.longestSilence = 3s;
    PtpDaemon daemon(settings, Clock);
    daemon.SetConfig(OnLoopback());
    ASSERT_TRUE(Becomes([&] { return Clock.Read().locked; }));

    SetAnswer(answer.replace(answer.find("priority1 128"), 13, "priority1 999"));
    ASSERT_TRUE(Becomes([&] { return Log().find("is not understood") != std::string::npos; }));
    EXPECT_FALSE(Clock.Read().locked);
    EXPECT_TRUE(Clock.Read().followsPtp);
    EXPECT_EQ(daemon.GetStatus().port.state, PortState::Slave);
    SetAnswer(Answer("LISTENING"));
    EXPECT_TRUE(Becomes([&] { return daemon.GetStatus().port.state == PortState::Listening; }));

    EXPECT_EQ(Starts(), 1u) << Log();
    EXPECT_EQ(CountOf(Log(), "PTP: ptp4l runs, and what pmc says of it is not understood; the status is no longer up "
                             "to date.\n"),
              1u);
}

TEST_F(Daemon, LeavesNeitherAProcessNorAFolderBehind)
{
    SetAnswer(Answer("LISTENING"));
    pid_t process = 0;
    {
        PtpDaemon daemon(Settings(), Clock);
        daemon.SetConfig(OnLoopback());
        ASSERT_TRUE(Becomes([&] { return daemon.GetStatus().port.state == PortState::Listening; }));
        process = std::stoi(ReadText(Folder / "started"));
        EXPECT_EQ(kill(process, 0), 0);
        EXPECT_EQ(StateFolder::RemoveAbandoned((Folder / "state").string()), 0u) << "it is in use";
    }
    EXPECT_NE(kill(process, 0), 0);
    EXPECT_TRUE(fs::is_empty(Folder / "state"));
}

TEST_F(Daemon, Ptp4lThatDoesNotWantToEndIsKilled)
{
    SetAnswer(Answer("LISTENING"));
    Script("ptp4l", "trap '' TERM\nwhile :; do sleep 0.1; done\n");
    auto daemon = std::make_unique<PtpDaemon>(Settings(), Clock);
    daemon->SetConfig(OnLoopback());
    ASSERT_TRUE(Becomes([&] { return daemon->GetStatus().port.state == PortState::Listening; }));
    const pid_t process = std::stoi(ReadText(Folder / "started"));

    daemon.reset();

    EXPECT_NE(kill(process, 0), 0);
}

} // namespace
} // namespace test

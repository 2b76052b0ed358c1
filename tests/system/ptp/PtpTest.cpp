// The PTP daemon behind the exported functions: a real grandmaster at the far end of a cable, and the service's port
// from listening to slave and away again.
#include "Network.h"

#include "support/LostService.h"
#include "support/MxsProcess.h"
#include "system/audio/AudioRoad.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <poll.h>
#include <thread>
#include <zefaline.h>

namespace test
{
namespace
{

using namespace std::chrono_literals;
namespace fs = std::filesystem;

using Identity = std::array<uint8_t, 8>;
constexpr Identity kOwnClock{0x01, 0x00, 0x10, 0xFE, 0xFF, 0x5E, 0x00, 0x02};    // 02-00-5e-ff-fe-10-00-01
constexpr Identity kGrandmaster{0x02, 0x00, 0x10, 0xFE, 0xFF, 0x5E, 0x00, 0x02}; // 02-00-5e-ff-fe-10-00-02

Identity IdentityOf(const uint8_t (&bytes)[8])
{
    return std::to_array(bytes);
}

std::string ReadText(const std::string& path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// The process of a name whose parent is another one.
std::optional<pid_t> FindChild(pid_t parent, const std::string& name)
{
    for (const fs::directory_entry& place : fs::directory_iterator("/proc"))
    {
        const std::string status = ReadText(place.path() / "status");
        if (status.starts_with("Name:\t" + name + "\n") &&
            status.find("\nPPid:\t" + std::to_string(parent) + "\n") != std::string::npos)
            return std::stoi(place.path().filename().string());
    }
    return std::nullopt;
}

uint64_t SetOf(pid_t process, const std::string& set) // "CapEff", "CapBnd"
{
    const std::string status = ReadText("/proc/" + std::to_string(process) + "/status");
    const size_t at = status.find("\n" + set + ":\t");
    return at == std::string::npos ? UINT64_MAX : std::stoull(status.substr(at + set.size() + 3, 16), nullptr, 16);
}

template <class Condition>
bool Becomes(Condition&& condition, std::chrono::seconds limit = 30s)
{
    for (const auto end = std::chrono::steady_clock::now() + limit; std::chrono::steady_clock::now() < end;)
    {
        if (condition()) return true;
        std::this_thread::sleep_for(100ms);
    }
    return condition();
}

class PtpRoad : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        static const std::string whyNot = LeaveTheMachinesNetwork();
        WhyNot = whyNot;
    }

    void SetUp() override
    {
        if (!WhyNot.empty()) GTEST_SKIP() << WhyNot;
        Far = std::make_unique<FarMachine>();
        ASSERT_TRUE(Far->IsReady());
        Service = std::make_unique<MxsProcess>();
        ASSERT_EQ(ZEFA_CreateMXSContext(Service->ServiceUrl().c_str(), &Context), ZEFA_NO_ERROR);
    }

    void TearDown() override
    {
        if (Context && Service->Running())
        {
            EXPECT_EQ(ZEFA_DestroyMXSContext(Context), ZEFA_NO_ERROR);
        }
        else if (Context)
        {
            DestroyLostContext(Service->Port(), Context);
        }
        if (HasFailure() && Service) std::cerr << Service->Log();
    }

    uint64_t InterfaceNamed(const std::string& name)
    {
        uint64_t ids[ZEFA_MAX_LIST_IDS];
        uint32_t count = 0;
        EXPECT_EQ(ZEFA_GetNetworkInterfaceHandlesList(Context, ids, &count), ZEFA_NO_ERROR);
        for (uint32_t i = 0; i < count; ++i)
        {
            ZEFA_NETWORK_INTERFACE_STATUS status{};
            EXPECT_EQ(ZEFA_GetNetworkInterfaceStatus(Context, ids[i], &status), ZEFA_NO_ERROR);
            if (name == status.SystemName_C) return ids[i];
        }
        return 0;
    }

    ZEFA_PTP_CONFIG Configuration(ZEFA_PTP_PROFILE profile)
    {
        ZEFA_PTP_CONFIG config{};
        EXPECT_EQ(ZEFA_CreatePTPDSFromProfile(profile, &config.DefaultDS, &config.PortDS), ZEFA_NO_ERROR);
        config.NetworkInterfaceId_ULL = InterfaceNamed(kOwnEnd);
        config.TimeStamping_E = ZEFA_PTP_TIME_STAMPING_SOFTWARE;
        return config;
    }

    ZEFA_PTP_STATUS Status()
    {
        ZEFA_PTP_STATUS status{};
        EXPECT_EQ(ZEFA_GetPTPStatus(Context, &status), ZEFA_NO_ERROR);
        return status;
    }

    // Seconds from this machine's UTC to the service's time.
    double AheadOfThisMachine()
    {
        const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
        return static_cast<double>(Status().CurrentSystemTime_ULL) / 1e9 - now.count();
    }

    // A stream of audio that is kept filled, with the timestamps that the service takes from its clock.
    class SteadyAudio
    {
    public:
        SteadyAudio(const std::string& url, const Endpoint& to)
            : With(url),
              Stream(With, ZEFA_STREAM_TYPE_TX, {.format = Format, .paths = {to}, .slots = 4, .lockTimeoutMs = 20000})
        {
            Stream.Start();
            Filling = std::jthread(
                [this](const std::stop_token& stopped)
                {
                    const Bytes samples = Noise(Format.SlotBytes(), 7);
                    while (!stopped.stop_requested() && !testing::Test::HasFatalFailure())
                        Stream.Put(samples.data(), std::nullopt);
                });
        }

    private:
        const AudioFormat Format;
        Session With;
        AudioStream Stream;
        std::jthread Filling; // ends first
    };

    // Seconds from this machine's UTC to the time that the next packet of the audio tells. Its timestamps count 48000
    // a second from 1970 and are known but for a multiple of 2^32, 89478 s: the nearest is meant.
    static double AudioAheadOfThisMachine(UdpSocket& from)
    {
        constexpr uint64_t kRate = 48000;
        Bytes packet;
        while (from.Receive(packet))
            ; // what waits there is old
        pollfd readable{from.Descriptor, POLLIN, 0};
        if (poll(&readable, 1, 20000) != 1) return std::nan("");
        const bool heard = from.Receive(packet);
        const std::chrono::nanoseconds now = std::chrono::system_clock::now().time_since_epoch();
        if (!heard || packet.size() < 12) return std::nan("");
        uint32_t stamp = 0;
        for (size_t i = 4; i < 8; ++i)
            stamp = stamp << 8 | packet[i];
        const auto nowFrames = static_cast<uint64_t>(now.count()) / 125000 * 6; // of 125 us each, six
        return static_cast<int32_t>(stamp - static_cast<uint32_t>(nowFrames)) / static_cast<double>(kRate);
    }

    inline static std::string WhyNot;
    std::unique_ptr<FarMachine> Far;
    std::unique_ptr<MxsProcess> Service;
    ZEFA_HANDLE Context = nullptr;
};

struct ProfileCase
{
    const char* Name;
    ZEFA_PTP_PROFILE Profile;
    int Domain;
    uint8_t Hybrid;
    ZEFA_PTP_DELAY_MECHANISM Mechanism;
};

void PrintTo(const ProfileCase& each, std::ostream* out)
{
    *out << each.Name;
}

class PtpRoadProfiles : public PtpRoad, public testing::WithParamInterface<ProfileCase>
{
};

TEST_P(PtpRoadProfiles, PortFollowsTheGrandmasterAndLeavesItWhenItDies)
{
    ZEFA_PTP_CONFIG config = Configuration(GetParam().Profile);
    config.HybridMode_B = GetParam().Hybrid;
    config.PortDS.DelayMechanism_E = GetParam().Mechanism;
    ASSERT_EQ(ZEFA_SetPTPConfig(Context, &config), ZEFA_NO_ERROR);

    ASSERT_TRUE(Becomes([&] { return Status().PortState_E == ZEFA_PTP_PORT_STATE_LISTENING; }));
    ZEFA_PTP_STATUS status = Status();
    EXPECT_EQ(IdentityOf(status.ClockIdentity_UB), kOwnClock);
    EXPECT_EQ(status.OffsetScaledLogVariance_US, 1000);

    const bool peerToPeer = GetParam().Mechanism == ZEFA_PTP_DELAY_MECHANISM_P2P;
    auto grandmaster = std::make_unique<Grandmaster>(*Far, GetParam().Domain, peerToPeer ? "P2P" : "E2E");
    ASSERT_TRUE(Becomes([&] { return Status().PortState_E == ZEFA_PTP_PORT_STATE_SLAVE; }));
    EXPECT_TRUE(Becomes([&] { return std::abs(Status().OffsetFromMaster_D) < 1e6; })) << Status().OffsetFromMaster_D;
    status = Status();
    EXPECT_EQ(IdentityOf(status.GrandmasterIdentity_UB), kGrandmaster);
    EXPECT_EQ(IdentityOf(status.ParentPortIdentity.ClockIdentity_UB), kGrandmaster);
    EXPECT_EQ(+status.ParentPortIdentity.PortNumber_US, 1);
    EXPECT_EQ(IdentityOf(status.PortIdentity.ClockIdentity_UB), kOwnClock);
    EXPECT_EQ(+status.PortIdentity.PortNumber_US, 1);
    EXPECT_EQ(status.StepsRemoved_US, 1);
    EXPECT_EQ(status.GrandmasterClockClass_UB, 6);
    EXPECT_EQ(status.GrandmasterClockAccuracy_UB, 0x21);
    EXPECT_EQ(status.GrandmasterPriority1_UB, 64);
    EXPECT_EQ(status.GrandmasterPriority2_UB, 65);
    EXPECT_GT(peerToPeer ? status.PeerMeanPathDelay_D : status.MeanPathDelay_D, 0.0);
    EXPECT_TRUE(Becomes([&] { return std::abs(AheadOfThisMachine() - 37.0) < 0.5; })) << "UTC that is told becomes TAI";

    grandmaster.reset();
    EXPECT_TRUE(Becomes([&] { return Status().PortState_E != ZEFA_PTP_PORT_STATE_SLAVE; }));
}

constexpr ProfileCase kProfiles[] = {
    {"Profile0", ZEFA_PTP_PROFILE_0, 127, 0, ZEFA_PTP_DELAY_MECHANISM_E2E},
    {"Profile1", ZEFA_PTP_PROFILE_1, 0, 0, ZEFA_PTP_DELAY_MECHANISM_E2E},
    {"HybridMode", ZEFA_PTP_PROFILE_0, 127, 1, ZEFA_PTP_DELAY_MECHANISM_E2E},
    {"PeerToPeer", ZEFA_PTP_PROFILE_1, 0, 0, ZEFA_PTP_DELAY_MECHANISM_P2P},
};
INSTANTIATE_TEST_SUITE_P(With, PtpRoadProfiles, testing::ValuesIn(kProfiles),
                         [](const auto& each) { return std::string(each.param.Name); });

TEST_F(PtpRoad, ServiceTellsTheGrandmastersTai)
{
    const ZEFA_PTP_CONFIG config = Configuration(ZEFA_PTP_PROFILE_0);
    const Grandmaster grandmaster(*Far, 127);
    ASSERT_EQ(ZEFA_SetPTPConfig(Context, &config), ZEFA_NO_ERROR);
    ASSERT_TRUE(Becomes([&] { return Status().PortState_E == ZEFA_PTP_PORT_STATE_SLAVE; }));
    ASSERT_TRUE(Becomes([&] { return std::abs(AheadOfThisMachine() - 37.0) < 0.5; })) << AheadOfThisMachine();

    ASSERT_TRUE(Becomes([&] { return grandmaster.CallItsTimeTai(); }));

    EXPECT_TRUE(Becomes([&] { return std::abs(AheadOfThisMachine()) < 0.5; })) << AheadOfThisMachine();
    EXPECT_TRUE(Becomes([&] { return std::abs(Status().OffsetFromMaster_D - 37e9) < 1e6; }))
        << "as the daemon counts it";
}

TEST_F(PtpRoad, TimestampsOfASentStreamFollowTheGrandmaster)
{
    const ZEFA_PTP_CONFIG config = Configuration(ZEFA_PTP_PROFILE_0);
    const Grandmaster grandmaster(*Far, 127);
    ASSERT_EQ(ZEFA_SetPTPConfig(Context, &config), ZEFA_NO_ERROR);
    ASSERT_TRUE(Becomes([&] { return Status().PortState_E == ZEFA_PTP_PORT_STATE_SLAVE; }));
    const Endpoint to = FreeEndpoint();
    UdpSocket received(to);
    const SteadyAudio audio(Service->ServiceUrl(), to);
    double ahead = 0;
    const auto isAheadBy = [&](double seconds)
    { return std::abs((ahead = AudioAheadOfThisMachine(received)) - seconds) < 2.0; };
    ASSERT_TRUE(Becomes([&] { return isAheadBy(37.0); })) << ahead << ": this machine's time, as TAI";

    ASSERT_TRUE(Becomes([&] { return grandmaster.CallItsTimeTai(); }));

    EXPECT_TRUE(Becomes([&] { return isAheadBy(0.0); })) << ahead << ": the grandmaster's TAI is this machine's time";
}

TEST_F(PtpRoad, DaemonCannotTouchTheClockAndDiesWithAServiceThatIsKilled)
{
    constexpr uint64_t kSetTheClock = uint64_t{1} << 25; // CAP_SYS_TIME
    const ZEFA_PTP_CONFIG config = Configuration(ZEFA_PTP_PROFILE_0);
    ASSERT_EQ(ZEFA_SetPTPConfig(Context, &config), ZEFA_NO_ERROR);
    ASSERT_TRUE(Becomes([&] { return Status().PortState_E == ZEFA_PTP_PORT_STATE_LISTENING; }));
    const std::optional<pid_t> daemon = FindChild(Service->ProcessId(), "ptp4l");
    ASSERT_TRUE(daemon);
    for (const char* set : {"CapEff", "CapPrm", "CapInh", "CapAmb"})
        EXPECT_EQ(SetOf(*daemon, set) & kSetTheClock, 0U) << set;
    EXPECT_TRUE((SetOf(*daemon, "CapBnd") & kSetTheClock) == 0 || SetOf(*daemon, "NoNewPrivs") == 1);

    EXPECT_EQ(Service->Stop(SIGKILL), -SIGKILL);

    EXPECT_TRUE(Becomes(
        [&]
        {
            return !fs::exists("/proc/" + std::to_string(*daemon)) ||
                   ReadText("/proc/" + std::to_string(*daemon) + "/status").find("State:\tZ") != std::string::npos;
        }));
}

TEST_F(PtpRoad, ConfigurationIsReadBackAndAnotherOneTakesItsPlace)
{
    ZEFA_PTP_CONFIG first = Configuration(ZEFA_PTP_PROFILE_0);
    ASSERT_EQ(ZEFA_SetPTPConfig(Context, &first), ZEFA_NO_ERROR);
    ASSERT_TRUE(Becomes([&] { return Status().PortState_E == ZEFA_PTP_PORT_STATE_LISTENING; }));
    const std::optional<pid_t> daemon = FindChild(Service->ProcessId(), "ptp4l");

    ZEFA_PTP_CONFIG second = Configuration(ZEFA_PTP_PROFILE_1);
    second.PortDS.DelayMechanism_E = ZEFA_PTP_DELAY_MECHANISM_P2P;
    ASSERT_EQ(ZEFA_SetPTPConfig(Context, &second), ZEFA_NO_ERROR);

    ZEFA_PTP_CONFIG read{};
    EXPECT_EQ(ZEFA_GetPTPConfig(Context, &read), ZEFA_NO_ERROR);
    EXPECT_EQ(read.Size_UL, 48U);
    EXPECT_EQ(read.NetworkInterfaceId_ULL, 0U);
    EXPECT_EQ(read.DefaultDS.DomainNumber_UB, 0);
    EXPECT_EQ(read.DefaultDS.Priority1_UB, 255);
    EXPECT_EQ(read.PortDS.DelayMechanism_E, ZEFA_PTP_DELAY_MECHANISM_P2P);
    EXPECT_EQ(read.PortDS.LogMinDelayReqInterval_B, 0);
    EXPECT_EQ(read.PortDS.LogMinPdelayReqInterval_B, -3);
    EXPECT_EQ(read.TimeStamping_E, ZEFA_PTP_TIME_STAMPING_SOFTWARE);
    ASSERT_TRUE(Becomes([&] { return Status().PortState_E == ZEFA_PTP_PORT_STATE_LISTENING; }));
    const std::optional<pid_t> other = FindChild(Service->ProcessId(), "ptp4l");
    ASSERT_TRUE(daemon && other);
    EXPECT_NE(*daemon, *other);

    EXPECT_EQ(Service->Stop(), 0);
    EXPECT_FALSE(fs::exists("/proc/" + std::to_string(*other)));
}

TEST_F(PtpRoad, TimeStampsThatTheInterfaceDoesNotHaveDisableThePortAndTheLogSaysWhy)
{
    ZEFA_PTP_CONFIG config = Configuration(ZEFA_PTP_PROFILE_0);
    config.TimeStamping_E = ZEFA_PTP_TIME_STAMPING_HARDWARE;

    EXPECT_EQ(ZEFA_SetPTPConfig(Context, &config), ZEFA_NO_ERROR);

    EXPECT_TRUE(Becomes([&] { return Service->Log().find("PTP: ptp4l has ended with status ") != std::string::npos; }));
    EXPECT_EQ(Status().PortState_E, ZEFA_PTP_PORT_STATE_DISABLED);
    EXPECT_GT(Status().CurrentSystemTime_ULL, 1700000000000000000U);
}

TEST_F(PtpRoad, ConfigurationsThatNoDaemonCanHaveAreRefused)
{
    ZEFA_PTP_CONFIG unknownInterface = Configuration(ZEFA_PTP_PROFILE_0);
    unknownInterface.NetworkInterfaceId_ULL = 1;
    EXPECT_EQ(ZEFA_SetPTPConfig(Context, &unknownInterface), ZEFA_ERR_BAD_ARGUMENT);
    ZEFA_PTP_CONFIG impatient = Configuration(ZEFA_PTP_PROFILE_0);
    impatient.PortDS.AnnounceReceiptTimeout_UB = 1;
    EXPECT_EQ(ZEFA_SetPTPConfig(Context, &impatient), ZEFA_ERR_BAD_ARGUMENT);

    EXPECT_EQ(Status().PortState_E, ZEFA_PTP_PORT_STATE_DISABLED);
    EXPECT_FALSE(FindChild(Service->ProcessId(), "ptp4l"));
}

} // namespace
} // namespace test

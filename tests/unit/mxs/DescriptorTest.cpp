// The program with no descriptor left: what it serves goes on, and what is new waits or is refused.
#include "ServiceFixture.h"
#include "support/FreePort.h"
#include "support/MxsProcess.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace test
{
namespace
{

constexpr rlim_t kNoneIsFree = 3; // standard input and outputs are open in any case
constexpr const char* kRequest = "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n";

rlimit DescriptorsOf(pid_t process)
{
    rlimit limit{};
    EXPECT_EQ(0, ::prlimit(process, RLIMIT_NOFILE, nullptr, &limit));
    return limit;
}

// From now on; what is open stays open. The hard limit is left alone: it could not be raised again.
void LimitDescriptors(pid_t process, rlim_t end)
{
    const rlimit limit{end, DescriptorsOf(process).rlim_max};
    EXPECT_EQ(0, ::prlimit(process, RLIMIT_NOFILE, &limit, nullptr));
}

TEST(DescriptorLimit, IsRaisedToTheHardOneAtTheStart)
{
    const rlimit own = DescriptorsOf(::getpid());
    LimitDescriptors(::getpid(), own.rlim_max - 1);
    const MxsProcess service;
    LimitDescriptors(::getpid(), own.rlim_cur);

    EXPECT_EQ(own.rlim_max, DescriptorsOf(service.ProcessId()).rlim_cur);
}

// With a stream that could be started: it receives on two ports.
class Descriptors : public ::testing::Test
{
protected:
    Descriptors()
    {
        const std::string conductor = User.CreateConductor(), path = "MXS/Conductor/Mines/" + conductor;
        User.Send("PUT", path + "/Config", json{{"CpuCoreID", User.FirstCore()}});
        User.Send("PUT", path + "/State", json{{"Started", true}});
        Stream = User.CreateStream();
        json connections = json::array();
        for (int count = 0; count < 2; ++count)
            connections.push_back({{"SourceIp", 0},
                                   {"DestinationIp", 0x7f000001},
                                   {"DestinationPort", FreeUdpPort()},
                                   {"NetworkInterfaceID", User.Loopback()},
                                   {"MulticastMode", "Exclusion"},
                                   {"MulticastSources", json::array()},
                                   {"Dscp", 0},
                                   {"MulticastTtl", 0}});
        const std::pair<const char*, json> documents[] = {
            {"Common",
             {{"ApplicativeBufferQueueDepth", 2},
              {"CpuCores", json::array()},
              {"ConductorID", conductor},
              {"NumaNode", 0}}},
            {"Network",
             {{"PayloadType", 96}, {"SSRC", 0}, {"SocketBufferSize", 0}, {"ConnectionConfigurations", connections}}},
            {"Essence", VideoEssence(640, 480)},
        };
        for (const auto& [name, document] : documents)
            EXPECT_EQ(200u, User.Send("PUT", "MXS/Stream/Mines/" + Stream + "/Config/" + name, document).status);
        EXPECT_EQ(200u, User.SetState(Stream, false, true).status);
    }
    ~Descriptors() override { Limit(DescriptorsOf(Service.ProcessId()).rlim_max); } // its end needs some as well

    void Limit(rlim_t end) { LimitDescriptors(Service.ProcessId(), end); }
    uint16_t Port() const { return static_cast<uint16_t>(std::stoi(Service.Port())); }
    Reply Start() { return User.SetState(Stream, true, true); }

    // Below it so many numbers are free. What the service was born with may lie far above its own.
    rlim_t EndWithFree(size_t free) const
    {
        std::set<rlim_t> open;
        const std::string folder = "/proc/" + std::to_string(Service.ProcessId()) + "/fd";
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            open.insert(std::stoul(entry.path().filename().string()));
        rlim_t end = 0;
        for (size_t found = 0; open.contains(end) || found++ < free;)
            ++end;
        return end;
    }

    bool IsLogged(const std::string& text) const
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (Service.Log().find(text) == std::string::npos)
        {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }

    MxsProcess Service;
    Session User{Port()};
    std::string Stream;
};

TEST_F(Descriptors, ThatAreMissingAtAnyPlaceOfAStartRefuseItWith10)
{
    constexpr rlim_t kMany = 1000;
    rlim_t end = kNoneIsFree;
    Limit(end);
    for (Reply reply = Start(); reply.status != 200; reply = Start()) // one more each time
    {
        ASSERT_EQ(10u, reply.ErrCode()) << reply.body;
        ASSERT_EQ(json({{"Started", false}, {"Opened", true}}), User.GetJson("MXS/Stream/Mines/" + Stream + "/State"));
        ASSERT_GT(kMany, end) << reply.body;
        Limit(++end);
    }
    EXPECT_EQ(200u, User.SetState(Stream, false, true).status);
}

TEST_F(Descriptors, ThatAreMissingDoNotMakeAnInterfaceOrACoreUnknown)
{
    const std::string loopback = User.Loopback(), core = User.FirstCore();
    const std::string conductor = "MXS/Conductor/Mines/" + User.CreateConductor();
    const std::string common = "MXS/Stream/Mines/" + User.CreateStream() + "/Config/Common";
    json ptp = User.GetJson("MXS/PtpApi/Config"), cores = User.GetJson(common);
    ptp["InterfaceName"] = "lo";
    cores["ApplicativeBufferQueueDepth"] = 2;
    cores["CpuCores"] = {core};
    Limit(kNoneIsFree);

    EXPECT_EQ(10u, User.Get("MXS/NetIf/").ErrCode());
    EXPECT_EQ(10u, User.Get("MXS/NetIf/" + loopback + "/Status").ErrCode());
    EXPECT_EQ(10u, User.Get("MXS/NetIf/" + loopback + "/Config").ErrCode());
    EXPECT_EQ(10u, User.Send("PUT", "MXS/PtpApi/Config", ptp).ErrCode());
    EXPECT_EQ(10u, User.Get("MXS/CpuCore/").ErrCode());
    EXPECT_EQ(10u, User.Get("MXS/CpuCore/" + core + "/Status").ErrCode());
    EXPECT_EQ(10u, User.Send("PUT", conductor + "/Config", json{{"CpuCoreID", core}}).ErrCode());
    EXPECT_EQ(10u, User.Send("PUT", common, cores).ErrCode());

    for (size_t free = 0; free <= 3; ++free) // of the several questions that a status takes
    {
        Limit(EndWithFree(free));
        const Reply reply = User.Get("MXS/NetIf/" + loopback + "/Status");
        if (reply.status != 200)
            EXPECT_EQ(10u, reply.ErrCode()) << free;
        else
            EXPECT_NE(0, json::parse(reply.body)["Characteristics"]["MTU"].get<int>()) << free;
    }
}

TEST_F(Descriptors, ThatAreMissingMakeConnectionsWaitUntilAnotherEnds)
{
    // A file of the kernel that is open for a moment leaves its number free: a few of those that come are still served.
    constexpr size_t kConnections = 16, kFree = 4;
    std::vector<std::unique_ptr<HttpClient>> served, waiting;
    for (size_t count = 0; count < kConnections; ++count)
    {
        served.push_back(std::make_unique<HttpClient>(Port()));
        ASSERT_EQ(404u, served.back()->Exchange("GET", "/", {}).status);
    }
    Limit(EndWithFree(kFree));
    for (size_t count = 0; count < kConnections; ++count)
    {
        waiting.push_back(std::make_unique<HttpClient>(Port()));
        waiting.back()->SendRaw(kRequest);
    }

    ASSERT_TRUE(IsLogged("A connection could not be accepted"));
    EXPECT_EQ(10u, Start().ErrCode());
    for (const auto& client : served)
        EXPECT_EQ(404u, client->Exchange("GET", "/", {}).status);
    EXPECT_FALSE(waiting.back()->HasBytes());

    served.clear();
    for (auto& client : waiting)
    {
        EXPECT_EQ(404u, client->Receive().status);
        client.reset(); // makes room for the next
    }
    Limit(DescriptorsOf(Service.ProcessId()).rlim_max);
    EXPECT_EQ(200u, Start().status);
}

} // namespace
} // namespace test

// Applications, with streams of audio, of ancillary data and of video by turns, and services are killed at random
// moments. Nothing may be left of them: no memory, no process, no thread and no descriptor of the other side, and the
// next start is clean.
//     system_faults_kill                          10 kills
//     system_faults_kill --kills 1000 [--seed N]  so many; a seed repeats the order and the moments
#include "CleanService.h"
#include "Leftovers.h"
#include "system/road/Road.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <sys/prctl.h>

using namespace test;

namespace
{

unsigned kills = 10;
unsigned seed = std::random_device{}();

class Application
{
public:
    Application(const std::string& url, const char* mode, const char* essence) : Pid(::fork())
    {
        if (Pid != 0) return;
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int nowhere = ::open("/dev/null", O_WRONLY); // it complains when it loses its service
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::execl(KILLED_APPLICATION_PATH, KILLED_APPLICATION_PATH, url.c_str(), mode, essence, nullptr);
        ::_exit(127);
    }
    ~Application()
    {
        if (Pid > 0) Kill();
    }
    Application(const Application&) = delete;
    Application& operator=(const Application&) = delete;

    void Kill()
    {
        ::kill(Pid, SIGKILL);
        ::waitpid(std::exchange(Pid, -1), nullptr, 0);
    }

    // The exit status, minus the signal that ended it, or nothing when it goes on.
    std::optional<int> AwaitEnd()
    {
        int status = 0;
        const auto ended = [&] { return Pid < 0 || (::waitpid(Pid, &status, WNOHANG) == Pid && (Pid = -1)); };
        for (int waits = 0; waits < kWaits && !ended(); ++waits)
            Await(ended);
        if (Pid > 0) return {};
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    static constexpr int kWaits = 5; // it may wait for several things, each as long as it has to

    pid_t Pid;
};

// Of this process, and those that lost their parent since it takes them in.
size_t Children()
{
    std::ifstream list("/proc/self/task/" + std::to_string(::getpid()) + "/children");
    return size_t(std::distance(std::istream_iterator<pid_t>(list), std::istream_iterator<pid_t>()));
}

class Kills : public testing::Test
{
protected:
    Kills() : Random(seed)
    {
        std::printf("seed %u\n", seed);
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
        StartService();
        ExpectACleanStart();
        Before = HoldingsOf(Service->ProcessId());
    }

    // The last one, which nobody has killed, has lost no memory with the applications either.
    void TearDown() override { ExpectACleanEnd(*Service); }

    void StartService() { Service.emplace(std::vector<std::string>{"--context-ttl", "5"}); }

    // New applications do all that there is to do.
    void ExpectACleanStart()
    {
        for (const char* const essence : kEssences)
        {
            Application next(Service->ServiceUrl(), "once", essence);
            EXPECT_EQ(0, next.AwaitEnd()) << essence;
        }
    }

    void ExpectNothingLeftOfApplications()
    {
        const pid_t process = Service->ProcessId();
        EXPECT_TRUE(Await([&] { return RailsOf(process).empty(); }));
        EXPECT_TRUE(Await([&] { return HoldingsOf(process).NoMoreThan(Before); }))
            << HoldingsOf(process) << ", before " << Before;
        EXPECT_EQ(1u, Children()); // the service
    }

    void KillAnApplication()
    {
        Application victim(Service->ServiceUrl(), "forever", kEssences[ApplicationsKilled % std::size(kEssences)]);
        WaitALittle();
        victim.Kill();
        ++ApplicationsKilled;
        EXPECT_TRUE(Service->Running()) << Service->Log();
    }

    // Under an application, which finds out and ends by itself.
    void KillTheService()
    {
        Application user(Service->ServiceUrl(), "forever", kEssences[ServicesKilled % std::size(kEssences)]);
        WaitALittle();
        const pid_t process = Service->ProcessId();
        Service->Stop(SIGKILL);
        ++ServicesKilled;
        EXPECT_EQ(0, user.AwaitEnd());
        RailsLeft += !RailsOf(process).empty();
        StartService();
        EXPECT_TRUE(RailsOf(process).empty());
        EXPECT_EQ(1u, Children());
    }

    void WaitALittle()
    {
        std::uniform_int_distribution<int> ms(0, 400); // a start takes about a quarter of it
        std::this_thread::sleep_for(std::chrono::milliseconds(ms(Random)));
    }

    static constexpr const char* kEssences[] = {"audio", "ancillary", "video"};

    std::mt19937 Random;
    std::optional<MxsProcess> Service;
    Holdings Before;
    unsigned ApplicationsKilled = 0, ServicesKilled = 0, RailsLeft = 0;
};

TEST_F(Kills, AtRandomMomentsLeaveNothingBehind)
{
    constexpr unsigned kKillsBetweenLooks = 10;
    std::bernoulli_distribution isService(0.3);
    for (unsigned kill = 1; kill <= kills && !HasFailure(); ++kill)
    {
        SCOPED_TRACE(kill);
        isService(Random) ? KillTheService() : KillAnApplication();
        if (kill % kKillsBetweenLooks != 0) continue;
        ExpectNothingLeftOfApplications();
        ExpectACleanStart();
    }
    ExpectNothingLeftOfApplications();
    std::printf("%u applications and %u services killed, %u of these with rings that the next one removed\n",
                ApplicationsKilled, ServicesKilled, RailsLeft);
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    for (int i = 1; i + 1 < argc; i += 2)
    {
        if (std::string(argv[i]) == "--kills") kills = unsigned(std::stoul(argv[i + 1]));
        if (std::string(argv[i]) == "--seed") seed = unsigned(std::stoul(argv[i + 1]));
    }
    return RUN_ALL_TESTS();
}

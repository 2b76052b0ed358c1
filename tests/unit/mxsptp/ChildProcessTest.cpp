// Programs that the service runs, and the folders that they work in.
#include "mxs/ptp/ChildProcess.h"

#include "mxs/ptp/StateFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <poll.h>
#include <sstream>
#include <sys/resource.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace test
{
namespace
{

using namespace mxs::ptp;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

constexpr auto kLong = 20000ms;

std::string Shell(const std::string& command)
{
    return RunProgram("/bin/sh", {"-c", command}, kLong);
}

uint64_t Set(const std::string& status, const std::string& name)
{
    const size_t at = status.find(name + ":\t");
    return at == std::string::npos ? UINT64_MAX : std::stoull(status.substr(at + name.size() + 2, 16), nullptr, 16);
}

TEST(ChildProcess, GivesBothOutputsToTheEnd)
{
    EXPECT_EQ(Shell("echo out; echo err >&2; echo end"), "out\nerr\nend\n");
    EXPECT_EQ(Shell("seq 100000").size(), 588895u) << "more than a pipe holds";
    EXPECT_EQ(RunProgram("/bin/echo", {"a b", "$c", ""}, kLong), "a b $c \n") << "no shell takes the words apart";
}

TEST(ChildProcess, HasNothingToRead)
{
    EXPECT_EQ(Shell("cat; echo end"), "end\n");
}

TEST(ChildProcess, IsStoppedWhenItsTimeRunsOut)
{
    const std::string text = RunProgram("/bin/sh", {"-c", "echo begun; exec sleep 1000"}, 300ms);
    EXPECT_TRUE(std::string("begun\n").starts_with(text)) << text; // a busy machine may not get so far
}

TEST(ChildProcess, SaysWhyItCannotStart)
{
    try
    {
        RunProgram("/nowhere/program", {}, kLong);
        FAIL();
    }
    catch (const std::system_error& error)
    {
        EXPECT_EQ(error.code().value(), ENOENT);
        EXPECT_TRUE(std::string(error.what()).starts_with("/nowhere/program"));
    }
}

TEST(ChildProcess, TellsHowItEnded)
{
    ChildProcess failed("/bin/sh", {"-c", "exit 3"}, ClockRight::Drop);
    while (failed.ReadOutput())
        std::this_thread::sleep_for(1ms);
    failed.Stop(kLong);
    EXPECT_EQ(failed.Ended(), "with status 3");

    ChildProcess sleeping("/bin/sleep", {"1000"}, ClockRight::Drop);
    EXPECT_FALSE(sleeping.Ended());
    sleeping.Stop(kLong);
    EXPECT_EQ(sleeping.Ended(), "by signal 15");

    ChildProcess stubborn("/bin/sh", {"-c", "trap '' TERM; echo; while :; do sleep 0.1; done"}, ClockRight::Drop);
    pollfd ready{stubborn.Output(), POLLIN, 0};
    EXPECT_EQ(poll(&ready, 1, 20000), 1);
    stubborn.Stop(10ms);
    EXPECT_EQ(stubborn.Ended(), "by signal 9");
}

TEST(ChildProcess, DiesWithTheThreadThatStartedIt)
{
    std::unique_ptr<ChildProcess> child;
    std::thread(
        [&]
        { child = std::make_unique<ChildProcess>("/bin/sleep", std::vector<std::string>{"1000"}, ClockRight::Drop); })
        .join();
    pollfd output{child->Output(), POLLIN, 0};
    EXPECT_EQ(poll(&output, 1, 20000), 1) << "it still runs";
    child->Stop(kLong);
    EXPECT_EQ(child->Ended(), "by signal 9");
}

TEST(ChildProcess, InheritsNeitherDescriptorsNorBlockedSignals)
{
    const StateFolder folder(fs::temp_directory_path().string());
    ChildProcess other("/bin/sleep", {"1000"}, ClockRight::Drop);
    const int ofALibrary = open("/dev/zero", O_RDONLY); // which has not said that it ends with an exec
    sigset_t blocked, before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &blocked, &before);

    const std::string text = Shell("ls -l /proc/self/fd; grep SigBlk /proc/self/status");

    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    close(ofALibrary);
    EXPECT_EQ(text.find("lock"), std::string::npos) << text;
    EXPECT_EQ(text.find("/dev/zero"), std::string::npos) << text;
    size_t pipes = 0;
    for (size_t at = text.find("pipe:"); at != std::string::npos; at = text.find("pipe:", at + 1))
        ++pipes;
    EXPECT_GE(pipes, 2u) << text; // its two outputs
    EXPECT_NE(text.find("0 -> /dev/null"), std::string::npos) << text;
    EXPECT_NE(text.find("SigBlk:\t0000000000000000"), std::string::npos) << text;
    struct stat status
    {
    };
    EXPECT_EQ(fstat(other.Output(), &status), 0);
    EXPECT_EQ(text.find("pipe:[" + std::to_string(status.st_ino) + "]"), std::string::npos) << text;
}

TEST(ChildProcess, HasItsInputAndOutputsWhereThisProcessHasNone)
{
    std::array<int, 3> own{};
    for (int number = 0; number < 3; ++number)
    {
        own[static_cast<size_t>(number)] = fcntl(number, F_DUPFD_CLOEXEC, 10);
        close(number);
    }
    std::string text, failure;
    try
    {
        text = Shell("cat; echo out; echo err >&2");
        RunProgram("/nowhere/program", {}, kLong);
    }
    catch (const std::system_error& error)
    {
        failure = error.what();
    }
    for (int number = 0; number < 3; ++number)
    {
        dup2(own[static_cast<size_t>(number)], number);
        close(own[static_cast<size_t>(number)]);
    }
    EXPECT_EQ(text, "out\nerr\n");
    EXPECT_TRUE(failure.starts_with("/nowhere/program")) << failure;
}

TEST(ChildProcess, WithoutTheRightHasNoWayToSetTheClock)
{
    constexpr uint64_t kSetTheClock = uint64_t{1} << 25;       // CAP_SYS_TIME
    const std::string status = Shell("cat /proc/self/status"); // cat is a program after the program
    for (const char* set : {"CapInh", "CapPrm", "CapEff", "CapAmb"})
        EXPECT_EQ(Set(status, set) & kSetTheClock, 0u) << set;
    EXPECT_TRUE((Set(status, "CapBnd") & kSetTheClock) == 0 || Set(status, "NoNewPrivs") == 1) << status;
}

TEST(ChildProcess, WithTheRightIsGivenWhatThisProcessHas)
{
    ChildProcess child("/bin/cat", {"/proc/self/status"}, ClockRight::Keep);
    std::string status;
    while (const std::optional<std::string> piece = child.ReadOutput())
    {
        status += *piece;
        pollfd more{child.Output(), POLLIN, 0};
        ASSERT_EQ(poll(&more, 1, 20000), 1);
    }
    std::ifstream file("/proc/self/status");
    std::ostringstream own;
    own << file.rdbuf();

    for (const char* set : {"CapEff", "CapBnd", "NoNewPrivs"})
    {
        EXPECT_NE(Set(status, set), UINT64_MAX) << status;
        EXPECT_EQ(Set(status, set), Set(own.str(), set)) << set;
    }
}

TEST(FindProgram, TakesTheFirstFolderThatHasAnExecutable)
{
    std::string name = (fs::temp_directory_path() / "find-program-XXXXXX").string();
    ASSERT_TRUE(mkdtemp(name.data()));
    const fs::path folder = name;
    fs::create_directories(folder / "a");
    fs::create_directories(folder / "b");
    std::ofstream(folder / "a" / "tool") << "no program";
    std::ofstream(folder / "b" / "tool") << "#!/bin/sh\n";
    fs::permissions(folder / "a" / "tool", fs::perms::owner_read);
    fs::permissions(folder / "b" / "tool", fs::perms::owner_all);
    const std::vector<std::string> folders{"/nowhere", name + "/a", name + "/b"};

    EXPECT_EQ(FindProgram(folders, "tool"), name + "/b/tool");
    EXPECT_FALSE(FindProgram(folders, "other"));
    EXPECT_FALSE(FindProgram({}, "tool"));
    fs::remove_all(folder);
}

TEST(StateFolder, IsForThisUserAloneAndGoesWithTheObject)
{
    std::string path;
    {
        const StateFolder folder(fs::temp_directory_path().string());
        path = folder.Path();
        struct stat status
        {
        };
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0700u);
        folder.Write("file", "text");
        std::ifstream file(path + "/file");
        std::ostringstream text;
        text << file.rdbuf();
        EXPECT_EQ(text.str(), "text");
        EXPECT_THROW(folder.Write("no/file", "text"), std::system_error);
    }
    EXPECT_FALSE(fs::exists(path));
    EXPECT_THROW(StateFolder("/nowhere"), std::system_error);
}

TEST(StateFolder, ThatCannotBeLockedLeavesNothingBehind)
{
    std::string parent = (fs::temp_directory_path() / "state-folder-XXXXXX").string();
    ASSERT_TRUE(mkdtemp(parent.data()));
    const int free = dup(STDIN_FILENO);
    close(free);
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{static_cast<rlim_t>(free), before.rlim_max}; // descriptors are used up
    setrlimit(RLIMIT_NOFILE, &none);
    int reason = 0;
    try
    {
        const StateFolder folder(parent);
    }
    catch (const std::system_error& error)
    {
        reason = error.code().value();
    }
    setrlimit(RLIMIT_NOFILE, &before);

    EXPECT_EQ(reason, EMFILE);
    EXPECT_TRUE(fs::is_empty(parent));
    fs::remove_all(parent);
}

TEST(StateFolder, ThatNobodyUsesAnyMoreIsRemovedAndNoOther)
{
    std::string parent = (fs::temp_directory_path() / "state-folder-XXXXXX").string();
    ASSERT_TRUE(mkdtemp(parent.data()));
    const StateFolder used(parent);
    fs::create_directories(parent + "/mxsd-ptp-abandoned");
    std::ofstream(parent + "/mxsd-ptp-abandoned/lock");
    std::ofstream(parent + "/mxsd-ptp-abandoned/ptp4l.conf");
    fs::create_directories(parent + "/mxsd-ptp-new"); // its lock is not there yet
    fs::create_directories(parent + "/other");
    std::ofstream(parent + "/other/lock");
    fs::create_directory_symlink(parent + "/other", parent + "/mxsd-ptp-link");

    EXPECT_EQ(StateFolder::RemoveAbandoned(parent), 1u);

    EXPECT_FALSE(fs::exists(parent + "/mxsd-ptp-abandoned"));
    EXPECT_TRUE(fs::exists(used.Path()));
    EXPECT_TRUE(fs::exists(parent + "/mxsd-ptp-new"));
    EXPECT_TRUE(fs::exists(parent + "/other/lock"));
    EXPECT_EQ(StateFolder::RemoveAbandoned("/nowhere"), 0u);
    fs::remove_all(parent);
}

} // namespace
} // namespace test

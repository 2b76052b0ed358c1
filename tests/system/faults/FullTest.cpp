// No room for shared memory. This process and the service that it starts have a /dev/shm of their own, a small one; the
// machine's is not touched.
#include "AudioLoop.h"
#include "CleanService.h"
#include "Leftovers.h"

#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

using namespace test;

namespace
{

constexpr const char* kFolder = "/dev/shm";
constexpr const char* kSmall = "size=4m"; // less than four pictures of 1280 x 720
constexpr const char* kLarge = "size=64m";

std::string reasonToSkip;

// Why there is none; empty when this process has a folder of its own now. Before any thread.
std::string LeaveTheMachinesSharedMemory()
{
    const std::string user = std::to_string(::getuid()), group = std::to_string(::getgid());
    if (::unshare(CLONE_NEWNS) != 0) // a user of a namespace of its own may mount
    {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
            return std::string("no right to make a mount namespace: ") + std::strerror(errno);
        std::ofstream("/proc/self/setgroups") << "deny";
        std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
        std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
    }
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("tmpfs", kFolder, "tmpfs", MS_NOSUID | MS_NODEV, kSmall) != 0)
        return std::string("no right to mount a folder: ") + std::strerror(errno);
    return "";
}

bool MakeRoom()
{
    return ::mount("tmpfs", kFolder, "tmpfs", MS_REMOUNT | MS_NOSUID | MS_NODEV, kLarge) == 0;
}

uint64_t FreeBytes()
{
    struct statvfs state = {};
    EXPECT_EQ(0, ::statvfs(kFolder, &state));
    return uint64_t{state.f_bfree} * state.f_bsize;
}

// Takes all the room that there is.
class Filling
{
public:
    Filling()
    {
        std::ofstream file(kName, std::ios::binary);
        const std::string block(4096, 'x');
        while (file.write(block.data(), std::streamsize(block.size())).flush())
        {
        }
    }
    ~Filling() { std::filesystem::remove(kName); }
    Filling(const Filling&) = delete;
    Filling& operator=(const Filling&) = delete;

private:
    static constexpr const char* kName = "/dev/shm/filling";
};

class FullMemory : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!reasonToSkip.empty()) GTEST_SKIP() << reasonToSkip;
        ASSERT_TRUE(std::filesystem::is_empty(kFolder));
        Service = std::make_unique<CleanService>();
        With = std::make_unique<Session>(Service->ServiceUrl());
    }

    bool ServiceSaid(const std::string& text) { return Service->Log().find(text) != std::string::npos; }

    std::unique_ptr<CleanService> Service;
    std::unique_ptr<Session> With;
};

TEST_F(FullMemory, RefusesAStartWithASentenceLeavesNothingAndTheNextStartWorksOnceThereIsRoom)
{
    const uint64_t freeBefore = FreeBytes();
    VideoStream big(*With, ZEFA_STREAM_TYPE_RX, StreamSettings{.port = FreeUdpPort()});
    const Holdings before = HoldingsOf(Service->ProcessId());

    for (int attempt = 0; attempt < 3; ++attempt)
        EXPECT_EQ(ZEFA_ERR_INCORRECT_STATE, ZEFA_StartStream(big.Handle));

    EXPECT_TRUE(ServiceSaid("There is no room in /dev/shm for the stream's ring of ")) << Service->Log();
    EXPECT_TRUE(std::filesystem::is_empty(kFolder));
    EXPECT_EQ(freeBefore, FreeBytes());
    EXPECT_TRUE(HoldingsOf(Service->ProcessId()).NoMoreThan(before)) << HoldingsOf(Service->ProcessId());
    ZEFA_SLOT slot = nullptr;
    EXPECT_EQ(ZEFA_ERR_INCORRECT_STATE, ZEFA_LockSlot(big.Handle, &slot));
    ASSERT_TRUE(MakeRoom());
    big.Start();
}

TEST_F(FullMemory, DoesNotDisturbStreamsThatRun)
{
    AudioLoop running(*With), late(*With);
    running.Start();
    ASSERT_TRUE(running.AwaitSlot());
    {
        const Filling filling;
        ASSERT_EQ(0u, FreeBytes());
        for (int slots = 0; slots < 12; ++slots) // more than the ring has
            EXPECT_TRUE(running.AwaitSlot());
        EXPECT_EQ(ZEFA_ERR_INCORRECT_STATE, late.TryToStart());
        EXPECT_TRUE(running.AwaitSlot());
    }
    late.Start();
    EXPECT_TRUE(late.AwaitSlot());
    EXPECT_TRUE(running.AwaitSlot());
    late.Stop();
    running.Stop();
    EXPECT_TRUE(std::filesystem::is_empty(kFolder));
}

} // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    // A list of the tests needs no folder, and one process runs one of them under CTest.
    reasonToSkip = LeaveTheMachinesSharedMemory();
    return RUN_ALL_TESTS();
}

// The conductor's loop: when it runs its tasks, and what adding, removing and stopping promise.
#include "mxs/media/ConductorLoop.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/eventfd.h>
#include <time.h>
#include <unistd.h>

using mxs::media::ConductorLoop;
using mxs::media::ConductorTask;

namespace
{

uint32_t FirstAllowedCore()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    sched_getaffinity(0, sizeof cores, &cores);
    for (uint32_t core = 0; core < CPU_SETSIZE; ++core)
        if (CPU_ISSET(core, &cores)) return core;
    return 0;
}

// Counts its runs; a run answers with the next deadline that the test has set.
class CountingTask : public ConductorTask
{
public:
    explicit CountingTask(bool withDescriptor = false)
    {
        if (withDescriptor) Descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    }
    explicit CountingTask(const char* file) : Descriptor(open(file, O_RDONLY | O_CLOEXEC)) {}
    ~CountingTask() override
    {
        if (Descriptor >= 0) close(Descriptor);
    }

    int WakeDescriptor() const override { return Descriptor; }
    uint64_t Run(uint64_t nowNs) override
    {
        if (Descriptor >= 0)
        {
            uint64_t drained = 0;
            [[maybe_unused]] const ssize_t got = read(Descriptor, &drained, sizeof drained);
        }
        std::this_thread::sleep_for(std::chrono::nanoseconds(BusyNs));
        std::lock_guard lock(Guard);
        ++Runs;
        LastCore = sched_getcpu();
        LastRunNs = nowNs;
        if (Runs <= FirstRunsNs.size()) FirstRunsNs[Runs - 1] = nowNs;
        timespec used{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        ThreadUsedNs = uint64_t(used.tv_sec) * 1'000'000'000 + uint64_t(used.tv_nsec);
        Changed.notify_all();
        return IntervalNs == UINT64_MAX ? UINT64_MAX : nowNs + IntervalNs;
    }
    uint64_t TakeBytesMoved() override { return BytesEachRun; }
    uint64_t TakePacketsMoved() override { return 3; }

    void Fire() const
    {
        const uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(Descriptor, &one, sizeof one);
    }
    void AwaitRuns(uint64_t count)
    {
        std::unique_lock lock(Guard);
        Changed.wait(lock, [&] { return Runs >= count; });
    }
    uint64_t RunCount()
    {
        std::lock_guard lock(Guard);
        return Runs;
    }

    uint64_t IntervalNs = UINT64_MAX;
    uint64_t BusyNs = 0; // of each run
    uint64_t BytesEachRun = 0;
    int LastCore = -1;
    uint64_t LastRunNs = 0;
    std::array<uint64_t, 5> FirstRunsNs{};
    uint64_t ThreadUsedNs = 0; // of a processor, by the loop until the last run

private:
    int Descriptor = -1;
    std::mutex Guard;
    std::condition_variable Changed;
    uint64_t Runs = 0;
};

// A task's time in a loop: it leaves before it dies, however the test ends.
class Member
{
public:
    Member(ConductorLoop& loop, ConductorTask& task) : Loop(loop), Task(task) { EXPECT_TRUE(Loop.Add(Task)); }
    ~Member() { Leave(); }
    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;

    void Leave() { Loop.Remove(Task); }

private:
    ConductorLoop& Loop;
    ConductorTask& Task;
};

} // namespace

TEST(ConductorLoop, RunsATaskOnceWhenAddedAndThenOnlyWhenItsDescriptorWakesIt)
{
    ConductorLoop loop;
    CountingTask task(true);
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));

    Member member(loop, task);
    task.AwaitRuns(1);
    task.Fire();
    task.AwaitRuns(2);
    member.Leave();

    EXPECT_EQ(task.RunCount(), 2u);
    EXPECT_EQ(loop.TotalPackets(), 6u);
}

TEST(ConductorLoop, RunsATaskAgainAtItsDeadline)
{
    ConductorLoop loop;
    CountingTask task;
    task.IntervalNs = 1'000'000;
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));

    Member member(loop, task);
    task.AwaitRuns(5);

    member.Leave();
    EXPECT_GE(task.FirstRunsNs[4] - task.FirstRunsNs[0], 4'000'000u);
}

TEST(ConductorLoop, RunsOnTheCoreThatWasAskedFor)
{
    const uint32_t core = FirstAllowedCore();
    ConductorLoop loop;
    CountingTask task;
    ASSERT_TRUE(loop.Start(core));

    const Member member(loop, task);
    task.AwaitRuns(1);
    loop.Stop();

    EXPECT_EQ(task.LastCore, static_cast<int>(core));
}

TEST(ConductorLoop, RefusesACoreThatTheMachineDoesNotHave)
{
    ConductorLoop loop;

    EXPECT_FALSE(loop.Start(60000));
    EXPECT_FALSE(loop.Start(UINT32_MAX));

    EXPECT_FALSE(loop.IsRunning());
    EXPECT_TRUE(loop.Start(FirstAllowedCore()));
    EXPECT_TRUE(loop.IsRunning());
}

TEST(ConductorLoop, ARemovedTaskIsNotRunAnyMore)
{
    ConductorLoop loop;
    CountingTask leaving(true);
    CountingTask staying(true);
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));
    Member first(loop, leaving);
    const Member second(loop, staying);
    leaving.AwaitRuns(1);
    staying.AwaitRuns(1);

    first.Leave();
    const uint64_t runs = leaving.RunCount();
    leaving.Fire();
    staying.Fire();
    staying.AwaitRuns(2); // the loop has been through its descriptors after the wake of the removed one

    EXPECT_EQ(leaving.RunCount(), runs);
}

TEST(ConductorLoop, TasksOutliveAStopAndRunAgainAfterTheNextStart)
{
    ConductorLoop loop;
    CountingTask task;
    const Member member(loop, task); // not running yet
    EXPECT_EQ(task.RunCount(), 0u);

    ASSERT_TRUE(loop.Start(FirstAllowedCore()));
    task.AwaitRuns(1);
    loop.Stop();
    EXPECT_FALSE(loop.IsRunning());
    const uint64_t runs = task.RunCount();
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));
    task.AwaitRuns(runs + 1);
    loop.Stop();
}

TEST(ConductorLoop, ASecondStartIsRefusedWhileItRuns)
{
    ConductorLoop loop;
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));

    EXPECT_FALSE(loop.Start(FirstAllowedCore()));

    EXPECT_TRUE(loop.IsRunning());
}

TEST(ConductorLoop, SleepsWhenNothingIsDue)
{
    ConductorLoop loop;
    CountingTask idle(true);
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));
    Member member(loop, idle);
    idle.AwaitRuns(1);

    idle.Fire();
    idle.AwaitRuns(2);
    const uint64_t fromNs = idle.LastRunNs, usedBeforeNs = idle.ThreadUsedNs;
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    idle.Fire();
    idle.AwaitRuns(3);

    member.Leave();
    EXPECT_EQ(idle.RunCount(), 3u);
    EXPECT_LT(idle.ThreadUsedNs - usedBeforeNs, (idle.LastRunNs - fromNs) / 2);
    EXPECT_LT(loop.LoadPercent(), 50.0);
}

TEST(ConductorLoop, ATaskWhoseDescriptorCannotBeWatchedIsRefused)
{
    ConductorLoop loop;
    CountingTask task("/dev/null"); // is always ready: epoll takes it not

    EXPECT_FALSE(loop.Add(task));
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));
    EXPECT_FALSE(loop.Add(task));
    loop.Stop();

    EXPECT_EQ(task.RunCount(), 0u);
}

TEST(ConductorLoop, ATaskIsNotToldATimeFromBeforeTheTaskThatRanFirst)
{
    ConductorLoop loop;
    CountingTask first, second;
    first.BusyNs = 20'000'000;
    const Member one(loop, first);
    const Member other(loop, second);
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));
    second.AwaitRuns(1);
    loop.Stop();

    EXPECT_GE(second.LastRunNs, first.LastRunNs + 20'000'000);
}

TEST(ConductorLoop, ShowsLoadAndThroughputOfTheSecondThatHasEnded)
{
    ConductorLoop loop;
    CountingTask task;
    task.IntervalNs = 1'000'000;
    task.BytesEachRun = 1000;
    ASSERT_TRUE(loop.Start(FirstAllowedCore()));
    EXPECT_EQ(loop.ThroughputBitsPerSecond(), 0u);
    const Member member(loop, task);

    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (loop.ThroughputBitsPerSecond() == 0 && std::chrono::steady_clock::now() < limit)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));

    EXPECT_GT(loop.ThroughputBitsPerSecond(), 0u);
    EXPECT_LE(loop.ThroughputBitsPerSecond(), 8000u * 1001); // a run a millisecond is the most that the task asks for
    EXPECT_GT(loop.LoadPercent(), 0.0);
    EXPECT_LE(loop.LoadPercent(), 100.0);
}

TEST(ConductorLoop, ManyThreadsAddAndRemoveWhileTheLoopStartsAndStops)
{
    ConductorLoop loop;
    std::atomic<bool> done{false};
    std::thread starter(
        [&]
        {
            while (!done)
            {
                loop.Start(FirstAllowedCore());
                loop.Stop();
            }
        });
    std::vector<std::thread> users;
    for (int user = 0; user < 3; ++user)
        users.emplace_back(
            [&]
            {
                for (int round = 0; round < 200; ++round)
                {
                    CountingTask task(true);
                    const Member member(loop, task); // the task dies behind it
                    task.Fire();
                }
            });
    for (auto& user : users)
        user.join();
    done = true;
    starter.join();

    EXPECT_FALSE(loop.IsRunning());
}

// What the media path must not do: allocate, or call the system when a slot is ready.
#include "RailFixture.h"
#include "RailWait.h"

#include <cstdlib>
#include <linux/seccomp.h>
#include <new>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>

using namespace railtest;
using Quillmont::FlowRail::FutexCalls;

namespace
{
std::atomic<uint64_t> Allocations{0};

// What a media thread does with one slot, on both sides. False when anything fails.
bool RunCycle(RailPair& pair)
{
    void *written = nullptr, *read = nullptr;
    uint8_t* address = nullptr;
    FLOW_RAIL_METADATA records[4];
    uint32_t count = 0;
    return pair.Producer->LockProducer(100, 100, &written) == FLOW_RAIL_OK &&
           pair.Producer->GetSlotAddress(written, &address) == FLOW_RAIL_OK &&
           pair.Producer->AddMetadata(written, 1, 0, 5) == FLOW_RAIL_OK &&
           pair.Producer->AddMetadata(written, 2, 99, 0) == FLOW_RAIL_OK &&
           pair.Producer->UnlockProducer(written) == FLOW_RAIL_OK &&
           pair.Consumer->GetConsumerAlignment(&pair.Token, &count) == FLOW_RAIL_OK &&
           pair.Consumer->LockConsumer(&pair.Token, 100, 100, &read) == FLOW_RAIL_OK &&
           pair.Consumer->GetSlotAddress(read, &address) == FLOW_RAIL_OK &&
           pair.Consumer->GetMetadataCount(read, 1, &count) == FLOW_RAIL_OK && count == 1 &&
           pair.Consumer->GetMetadata(read, 1, records, 4, &count) == FLOW_RAIL_OK && count == 1 &&
           pair.Consumer->UnlockConsumer(&pair.Token, read) == FLOW_RAIL_OK;
}
} // namespace

// The other forms that are used here come to these.
// Never inlined: the compiler would see free() meet operator new.
[[gnu::noinline]] void* operator new(size_t bytes)
{
    Allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* const memory = std::malloc(bytes)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(size_t bytes, const std::nothrow_t&) noexcept
{
    Allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(bytes);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}

TEST(MediaPath, AllocatesNothing)
{
    RailPair pair(100, 4);
    pair.Join();
    const uint64_t before = Allocations;

    bool good = true;
    for (int round = 0; round < 10000; ++round)
        good = good && RunCycle(pair);

    EXPECT_EQ(Allocations, before);
    EXPECT_TRUE(good);
    EXPECT_GT(before, 0u); // the counter counts
}

TEST(MediaPath, MakesNoFutexCallWhenSlotsAreReadyAndNobodySleeps)
{
    RailPair pair(100, 4);
    pair.Join();
    const uint64_t before = FutexCalls();

    for (int round = 0; round < 10000; ++round)
        ASSERT_TRUE(RunCycle(pair));

    EXPECT_EQ(FutexCalls(), before);
}

TEST(MediaPath, AWaitThatRanOutLeavesNoBellBehindForTheNextCommit)
{
    RailPair pair(100, 4);
    pair.Join();
    void* slot = nullptr;
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 1, &slot), FLOW_RAIL_TIMEOUT);
    ASSERT_EQ(pair.Put(400, 1), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->LockProducer(100, 1, &slot), FLOW_RAIL_TIMEOUT);
    const uint64_t before = FutexCalls();

    ASSERT_EQ(pair.Take(400), 1);
    for (int round = 0; round < 100; ++round)
        ASSERT_TRUE(RunCycle(pair));

    EXPECT_GT(before, 0u); // the waits themselves were calls
    EXPECT_EQ(FutexCalls(), before);
}

TEST(MediaPath, TheCommitThatWakesASleeperAnswersItsBell)
{
    RailPair pair(100, 4);
    pair.Join();
    std::thread sleeper(
        [&pair]
        {
            void* slot = nullptr;
            EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 60000, &slot), FLOW_RAIL_OK);
        });
    Vandal watcher(pair.Name());
    while (watcher.Header().ConsumersAsleep == 0)
        std::this_thread::yield();
    EXPECT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    sleeper.join();
    EXPECT_EQ(watcher.Header().ConsumersAsleep, 0u);
    const uint64_t before = FutexCalls();

    EXPECT_EQ(pair.Put(100, 1), FLOW_RAIL_OK); // nobody sleeps now

    EXPECT_EQ(FutexCalls(), before);
}

#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
TEST(MediaPath, MakesNoSystemCallAtAllWhenSlotsAreReady)
{
    RailPair pair(100, 4);
    pair.Join();
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
        // From here on anything but read, write and exit kills the process.
        if (prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT) != 0) _exit(3);
        bool good = true;
        for (int round = 0; round < 10000; ++round)
            good = good && RunCycle(pair);
        syscall(SYS_exit, good ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 3) GTEST_SKIP() << "this system has no seccomp";
    EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
#endif

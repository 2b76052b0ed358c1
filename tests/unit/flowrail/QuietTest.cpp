// What the media path must not do: allocate, or call the system when a slot is ready. And what the calls around it do
// when an allocation fails.
#include "RailFixture.h"
#include "RailWait.h"

#include <cstdlib>
#include <filesystem>
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
thread_local uint64_t AllocationsToFailure = 0; // 0: none fails

bool CountAllocation()
{
    Allocations.fetch_add(1, std::memory_order_relaxed);
    return AllocationsToFailure == 0 || --AllocationsToFailure != 0;
}

// Lets each allocation of the call fail in turn until it has no more of them; how many they were.
template <class Call, class Check>
uint64_t FailEachAllocation(Call call, Check checkAfterFailure)
{
    for (uint64_t place = 1;; ++place)
    {
        AllocationsToFailure = place;
        const uint32_t result = call();
        const bool failed = AllocationsToFailure == 0;
        AllocationsToFailure = 0;
        EXPECT_EQ(result, failed ? FLOW_RAIL_NO_MEMORY : FLOW_RAIL_OK) << "allocation " << place;
        if (!failed || testing::Test::HasFailure()) return place - 1;
        checkAfterFailure();
    }
}

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
    void* const memory = CountAllocation() ? std::malloc(bytes) : nullptr;
    if (memory) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(size_t bytes, const std::nothrow_t&) noexcept
{
    return CountAllocation() ? std::malloc(bytes) : nullptr;
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

TEST(Memory, WithoutItCreateIs10AndLeavesNothing)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("memory"), 100, 4);
    const std::string path = Quillmont::FlowRail::RailPath(descriptor.Description.find("Name")->second);
    const auto rail = NewRail();

    const uint64_t failures = FailEachAllocation([&] { return rail->Create(&descriptor); },
                                                 [&] { EXPECT_FALSE(std::filesystem::exists(path)); });

    EXPECT_GT(failures, 3u);
    EXPECT_TRUE(std::filesystem::exists(path));
}

TEST(Memory, WithoutItOpenIs10)
{
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("memory"), 100, 4);
    const auto creator = NewRail(), other = NewRail();
    ASSERT_EQ(creator->Create(&descriptor), FLOW_RAIL_OK);

    const uint64_t failures = FailEachAllocation([&] { return other->Open(&descriptor); }, [] {});

    EXPECT_GT(failures, 1u);
}

TEST(Memory, WithoutItAddConsumerIs10AndTakesNoPlace)
{
    RailPair pair(100, 4);
    uint64_t tokens[16] = {};

    const uint64_t failures = FailEachAllocation([&] { return pair.Consumer->AddConsumer(&tokens[0]); }, [] {});

    EXPECT_GT(failures, 0u);
    for (size_t place = 1; place < std::size(tokens); ++place)
        EXPECT_EQ(pair.Consumer->AddConsumer(&tokens[place]), FLOW_RAIL_OK);
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

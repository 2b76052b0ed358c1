// Rails whose file is cut short while they are in use: the process goes on, for these rails alone.
#include "RailFixture.h"
#include "RailGuard.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace railtest;
using Quillmont::FlowRail::RailGuard;

namespace
{
void Cut(const RailPair& pair, off_t bytes)
{
    ASSERT_EQ(0, truncate(Quillmont::FlowRail::RailPath(pair.Name()).c_str(), bytes));
}

uint32_t StatusResult(CFlowRail& rail)
{
    FLOW_RAIL_STATUS status{};
    return rail.GetStatus(&status);
}

// Two pages of a file that has one; touching the second is a fault of nobody's rail.
volatile uint8_t* MapTooMuch()
{
    const int file = open("/dev/shm", O_TMPFILE | O_RDWR, 0600);
    const long page = sysconf(_SC_PAGESIZE);
    if (file < 0 || ftruncate(file, page) != 0) return nullptr;
    void* const mapped = mmap(nullptr, static_cast<size_t>(2 * page), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    return mapped == MAP_FAILED ? nullptr : static_cast<volatile uint8_t*>(mapped) + page;
}

// By the signal itself; a sanitizer catches it and ends the process with a report.
bool EndedByTheFault(int status)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return status != 0;
#else
    return testing::KilledBySignal(SIGBUS)(status);
#endif
}

class CutRail : public testing::Test
{
protected:
    CutRail() { EXPECT_TRUE(CFlowRailFactory::SurviveCutRails()); }
};

using CutRailDeathTest = CutRail;

TEST_F(CutRail, BothSidesOutliveAFileWithoutAPage)
{
    RailPair pair(100000, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(100000, 1), FLOW_RAIL_OK);
    void *writing = nullptr, *reading = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(100000, 0, &writing), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100000, 0, &reading), FLOW_RAIL_OK);
    uint8_t* const written = RailPair::Address(*pair.Producer, writing);
    const uint8_t* const read = RailPair::Address(*pair.Consumer, reading);
    ASSERT_EQ(StatusResult(*pair.Producer), FLOW_RAIL_OK);

    Cut(pair, 0);
    std::memset(written, 7, 100000);
    EXPECT_EQ(100000, std::count(read, read + 100000, 0)); // an empty ring, and no other process's bytes

    EXPECT_EQ(StatusResult(*pair.Producer), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(StatusResult(*pair.Consumer), FLOW_RAIL_BAD_STATE);
    pair.Producer->AddMetadata(writing, FLOW_RAIL_METADATA_TIMESTAMP, 0, 1);
    pair.Producer->UnlockProducer(writing);
    pair.Consumer->UnlockConsumer(&pair.Token, reading);
    void* slot = nullptr;
    pair.Producer->LockProducer(100000, 0, &slot);
    EXPECT_NE(pair.Consumer->LockConsumer(&pair.Token, 100000, 0, &slot), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Producer->Close(), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Consumer->Close(), FLOW_RAIL_OK);
    EXPECT_NE(0, access(Quillmont::FlowRail::RailPath(pair.Name()).c_str(), F_OK)); // unlinked all the same
}

TEST_F(CutRail, OneThatLostItsDataKeepsNoHalf)
{
    RailPair pair(100000, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(300000, 1), FLOW_RAIL_OK);
    Cut(pair, 8192); // the header stands

    EXPECT_EQ(StatusResult(*pair.Consumer), FLOW_RAIL_BAD_STATE); // known before anybody has touched a missing page
    EXPECT_EQ(pair.Take(100000), 0);                              // by a fault on the way
    EXPECT_EQ(StatusResult(*pair.Consumer), FLOW_RAIL_BAD_STATE);
    EXPECT_NE(pair.Take(100000), 1);
}

TEST_F(CutRail, ItsSiblingsGoOn)
{
    RailPair cut(1000, 4), whole(1000, 4);
    cut.Join();
    whole.Join();
    Cut(cut, 0);
    EXPECT_NE(cut.Put(1000, 1), FLOW_RAIL_TIMEOUT);

    for (uint8_t value = 1; value < 20; ++value)
    {
        EXPECT_EQ(whole.Put(1000, value), FLOW_RAIL_OK);
        EXPECT_EQ(whole.Take(1000), value);
    }
    EXPECT_EQ(StatusResult(*whole.Producer), FLOW_RAIL_OK);
    EXPECT_EQ(StatusResult(*whole.Consumer), FLOW_RAIL_OK);
}

TEST_F(CutRail, ItsPlaceInTheHandlersTableIsGivenToTheNext)
{
    RailPair(1000, 4).Join(); // takes and leaves the first places
    uint8_t memory[64];
    std::vector<std::unique_ptr<RailGuard>> guards;
    do
        guards.push_back(std::make_unique<RailGuard>());
    while (guards.back()->Watch(memory, sizeof memory));
    EXPECT_EQ(ENOMEM, errno);
    EXPECT_EQ(4097u, guards.size());
    std::unique_ptr<CFlowRail> rail = NewRail();
    FLOW_RAIL_DESCRIPTOR descriptor = Describe(UniqueName("place"), 64, 1);
    EXPECT_EQ(rail->Create(&descriptor), FLOW_RAIL_NO_MEMORY);

    guards.clear();
    EXPECT_EQ(rail->Create(&descriptor), FLOW_RAIL_OK);
    EXPECT_EQ(StatusResult(*rail), FLOW_RAIL_OK);
}

TEST_F(CutRail, SeveralThreadsMayMeetTheHoleAtOnce)
{
    RailPair pair(1 << 20, 4);
    void* slot = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(4 << 20, 0, &slot), FLOW_RAIL_OK);
    uint8_t* const bytes = RailPair::Address(*pair.Producer, slot);
    Cut(pair, 0);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([bytes, thread] { std::memset(bytes + (thread << 20), 1, 1 << 20); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(StatusResult(*pair.Producer), FLOW_RAIL_BAD_STATE);
}

TEST_F(CutRailDeathTest, AFaultOutsideOfRailsEndsTheProcessAsBefore)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    volatile uint8_t* const missing = MapTooMuch();
    ASSERT_NE(nullptr, missing);
    EXPECT_EXIT(*missing = 1, EndedByTheFault, "");
}

TEST_F(CutRailDeathTest, ASignalThatWasSentEndsTheProcessAsBefore)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(raise(SIGBUS), EndedByTheFault, "");
}

void EndWith42(int)
{
    _exit(42);
}

TEST(CutRailBeforeDeathTest, TheHandlerThatWasThereStillGetsTheFaultsOfOthers)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe"; // a process anew, which has no handler of ours yet
    volatile uint8_t* const missing = MapTooMuch();
    ASSERT_NE(nullptr, missing);
    EXPECT_EXIT(
        {
            std::signal(SIGBUS, EndWith42);
            CFlowRailFactory::SurviveCutRails();
            *missing = 1;
        },
        testing::ExitedWithCode(42), "");
}

TEST(CutRailBeforeDeathTest, AProcessThatDidNotAskIsNotSpared)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            RailPair pair(100000, 4);
            Cut(pair, 0);
            unlink(Quillmont::FlowRail::RailPath(pair.Name()).c_str()); // who dies leaves it behind
            pair.Put(100000, 1);
        },
        EndedByTheFault, "");
}
} // namespace

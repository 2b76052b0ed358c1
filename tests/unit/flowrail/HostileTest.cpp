// A peer that writes anything into the shared memory: wrong numbers are noticed, and nothing is read or written
// outside. Run with the address sanitizer these tests watch the second half.
#include "RailFixture.h"

#include <random>

using namespace railtest;
using Quillmont::FlowRail::kConsumerActive;

namespace
{
class ImpossibleCommit : public testing::TestWithParam<uint64_t>
{
};
class ImpossibleRelease : public testing::TestWithParam<uint64_t>
{
};
} // namespace

TEST_P(ImpossibleCommit, MakesTheConsumersRailDamagedForGood)
{
    RailPair pair(100, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(200, 1), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Take(100), 1); // 100 released, 200 committed
    Vandal vandal(pair.Name());
    vandal.Header().CommittedBytes = GetParam();
    void* slot = nullptr;
    uint32_t remaining = 0;

    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 400, 1000, &slot), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(pair.Consumer->GetConsumerFill(&pair.Token, 0), 0u);
    vandal.Header().CommittedBytes = 200;
    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 1000, &slot), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(pair.Consumer->GetConsumerAlignment(&pair.Token, &remaining), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(pair.Consumer->RemoveConsumer(&pair.Token), FLOW_RAIL_OK);
}
// Backwards, one byte more than the capacity behind what is released, and the ends of the range.
INSTANTIATE_TEST_SUITE_P(Rows, ImpossibleCommit,
                         testing::Values(uint64_t{199}, uint64_t{0}, uint64_t{501}, uint64_t{1} << 62, UINT64_MAX));

TEST_P(ImpossibleRelease, DropsThatConsumerAndNoOther)
{
    RailPair pair(100, 4);
    pair.Join();
    uint64_t good = 0;
    ASSERT_EQ(pair.Consumer->AddConsumer(&good), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Put(400, 1), FLOW_RAIL_OK);
    ASSERT_EQ(RailPair::TakeFrom(*pair.Consumer, &pair.Token, 300), 1);
    ASSERT_EQ(RailPair::TakeFrom(*pair.Consumer, &good, 300), 1);
    ASSERT_EQ(pair.Producer->GetProducerSpace(0), 300u);
    Vandal vandal(pair.Name());
    vandal.Header().Released[0].Bytes = GetParam();

    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 300u);
    EXPECT_EQ(pair.Put(300, 2), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Put(1, 3), FLOW_RAIL_TIMEOUT); // the other one is still waited for
    EXPECT_EQ(RailPair::TakeFrom(*pair.Consumer, &good, 100), 1);
    EXPECT_EQ(RailPair::TakeFrom(*pair.Consumer, &good, 300), 2);

    void* slot = nullptr;
    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &slot), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(pair.Consumer->RemoveConsumer(&pair.Token), FLOW_RAIL_OK);
}
INSTANTIATE_TEST_SUITE_P(Rows, ImpossibleRelease,
                         testing::Values(uint64_t{299}, uint64_t{0}, uint64_t{401}, UINT64_MAX - 1));

TEST(Hostile, AJoinThatNeverEndsHoldsTheProducerButNotItsOtherCalls)
{
    RailPair pair(100, 4);
    pair.Join();
    Vandal vandal(pair.Name());
    vandal.Header().Released[0].Bytes = Quillmont::FlowRail::kJoining;
    ASSERT_EQ(pair.Put(400, 1), FLOW_RAIL_OK);

    EXPECT_EQ(pair.Put(1, 1), FLOW_RAIL_TIMEOUT);
    ASSERT_EQ(pair.Consumer->RemoveConsumer(&pair.Token), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Put(1, 1), FLOW_RAIL_OK);
}

TEST(Hostile, APlaceThatIsActiveWithoutALockIsDropped)
{
    RailPair pair(100, 4);
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    Vandal vandal(pair.Name());
    vandal.Header().Released[5].Bytes = 100;
    vandal.Header().ConsumerStates[5] = 7 | kConsumerActive;
    ASSERT_EQ(pair.Put(400, 2), FLOW_RAIL_OK);
    void* slot = nullptr;

    EXPECT_EQ(pair.Producer->LockProducer(400, 60000, &slot), FLOW_RAIL_OK);
}

TEST(Hostile, CountsTagsAndPositionsOfRecordsAreCutToWhatThereIs)
{
    RailPair pair(100, 4);
    pair.Join();
    Vandal vandal(pair.Name());
    void* slot = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 5, 6), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 7, 8), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &slot), FLOW_RAIL_OK);
    FLOW_RAIL_METADATA records[300] = {};
    uint32_t count = 0;

    vandal.Table(0).Count = UINT32_MAX; // the records behind the two are zeros, of no type
    ASSERT_EQ(pair.Consumer->GetMetadata(slot, 1, records, 300, &count), FLOW_RAIL_OK);
    EXPECT_EQ(count, 2u);
    vandal.Table(0).Records()[0].Position = 100; // outside the slot: passed over
    vandal.Table(0).Records()[1].Position = UINT32_MAX;
    ASSERT_EQ(pair.Consumer->GetMetadataCount(slot, 1, &count), FLOW_RAIL_OK);
    EXPECT_EQ(count, 0u);
    vandal.Table(0).Records()[0].Position = 99;
    vandal.Table(0).SlotTag = 2; // another slot's
    ASSERT_EQ(pair.Consumer->GetMetadataCount(slot, 1, &count), FLOW_RAIL_OK);
    EXPECT_EQ(count, 0u);

    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    vandal.Table(1).Count = UINT32_MAX;
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 1, 0, 0), FLOW_RAIL_NO_MEMORY);
    vandal.Table(1).EndUsed = 1;
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 2, 0, 0), FLOW_RAIL_NO_MEMORY);
}

TEST(Hostile, AProducerDoesNotStartAtAnImpossiblePosition)
{
    RailPair pair(100, 4, "consumer");
    pair.Join();
    Vandal(pair.Name()).Header().CommittedBytes = UINT64_MAX - 10;
    void* slot = nullptr;

    EXPECT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_BAD_STATE);
}

TEST(Hostile, RandomWordsInTheHeaderAndTheTablesNeverLeadOutside)
{
    std::mt19937_64 random(2110);
    for (int round = 0; round < 200; ++round)
    {
        RailPair pair(100, 4, round % 2 ? "producer" : "consumer");
        pair.Join();
        Vandal vandal(pair.Name());
        auto* const words = reinterpret_cast<std::atomic<uint32_t>*>(&vandal.Header());
        for (int step = 0; step < 200; ++step)
        {
            const uint64_t draw = random();
            if (draw % 4 == 0) words[16 + (draw >> 8) % 1000] = static_cast<uint32_t>(random() >> (draw >> 32) % 64);
            if (draw % 4 == 1) words[1024 + (draw >> 8) % 3000] = static_cast<uint32_t>(random() >> (draw >> 32) % 64);
            const uint32_t size = static_cast<uint32_t>(draw >> 40) % 400 + 1;
            void* slot = nullptr;
            uint8_t* address = nullptr;
            uint32_t number = 0;
            if (pair.Producer->LockProducer(size, 0, &slot) == FLOW_RAIL_OK)
            {
                ASSERT_EQ(pair.Producer->GetSlotAddress(slot, &address), FLOW_RAIL_OK);
                std::fill_n(address, size, uint8_t{1}); // outside the mapping this would be a signal
                pair.Producer->AddMetadata(slot, 1, size - 1, 0);
                ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);
            }
            if (pair.Consumer->LockConsumer(&pair.Token, size, 0, &slot) == FLOW_RAIL_OK)
            {
                FLOW_RAIL_METADATA records[16] = {};
                ASSERT_EQ(pair.Consumer->GetSlotAddress(slot, &address), FLOW_RAIL_OK);
                std::fill_n(address, size, uint8_t{2});
                ASSERT_EQ(pair.Consumer->GetMetadata(slot, 1, records, 16, &number), FLOW_RAIL_OK);
                ASSERT_LE(number, 16u);
                for (uint32_t index = 0; index < number; ++index)
                    ASSERT_LT(records[index].Position, size);
                ASSERT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, slot), FLOW_RAIL_OK);
            }
            ASSERT_LE(pair.Consumer->GetConsumerFill(&pair.Token, 0), 400u);
            ASSERT_LE(pair.Producer->GetProducerSpace(0), 400u);
        }
    }
}

// Locks and unlocks of both sides: sizes, order, space, waits and results.
#include "RailFixture.h"

#include <set>
#include <thread>

using namespace railtest;
using Quillmont::FlowRail::RailHeader;

namespace
{
void AwaitSleeper(const RailPair& pair, std::atomic<uint32_t> RailHeader::*asleep)
{
    Vandal watcher(pair.Name());
    while (watcher.Header().*asleep == 0)
        std::this_thread::yield();
}
} // namespace

TEST(LockProducer, RefusesBadArgumentsWith5)
{
    RailPair pair(100, 4);
    void* slot = nullptr;

    EXPECT_EQ(pair.Producer->LockProducer(0, 0, &slot), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Producer->LockProducer(401, 0, &slot), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Producer->LockProducer(UINT32_MAX, 0, &slot), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Producer->LockProducer(100, 0, nullptr), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Producer->LockProducer(400, 0, &slot), FLOW_RAIL_OK); // the whole capacity
}

TEST(LockProducer, TheOpenerOfAProducersRailIsNoProducer)
{
    RailPair pair(100, 4);
    void* slot = nullptr;

    EXPECT_EQ(pair.Consumer->LockProducer(100, 0, &slot), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(pair.Consumer->GetProducerSpace(0), 0u);
}

TEST(LockProducer, OnAProducersRailRunsFreeWhileThereIsNoConsumer)
{
    RailPair pair(100, 4);

    for (int round = 0; round < 50; ++round)
        ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK) << round;

    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 400u);
}

TEST(LockProducer, OnAConsumersRailNeedsAConsumer)
{
    RailPair pair(100, 4, "consumer");
    void* slot = nullptr;
    EXPECT_EQ(pair.Producer->LockProducer(100, 1000, &slot), FLOW_RAIL_BAD_STATE);
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 0u);

    pair.Join();
    EXPECT_EQ(pair.Put(100, 3), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Take(100), 3);

    ASSERT_EQ(pair.Consumer->RemoveConsumer(&pair.Token), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Producer->LockProducer(100, 1000, &slot), FLOW_RAIL_BAD_STATE);
}

TEST(GetProducerSpace, OfAConsumersRailMakesNobodyItsProducer)
{
    RailPair pair(100, 4, "consumer");
    pair.Join();
    EXPECT_EQ(pair.Consumer->GetProducerSpace(0), 400u);
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 400u);

    ASSERT_EQ(pair.Put(150, 1), FLOW_RAIL_OK);

    EXPECT_EQ(pair.Consumer->GetProducerSpace(0), 250u);
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 250u);
}

TEST(LockProducer, OfAConsumersRailIsForOneProducerAtATime)
{
    RailPair pair(100, 4, "consumer");
    pair.Join();
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    const auto second = NewRail();
    ASSERT_EQ(second->Open(&pair.Descriptor), FLOW_RAIL_OK);
    void *slot = nullptr, *lost = nullptr;
    EXPECT_EQ(second->LockProducer(100, 0, &slot), FLOW_RAIL_BAD_STATE);

    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &lost), FLOW_RAIL_OK);
    pair.Producer->Close();

    // The next one goes on behind what was committed; what was only locked is never seen.
    ASSERT_EQ(second->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    std::fill_n(RailPair::Address(*second, slot), 100, uint8_t{2});
    ASSERT_EQ(second->UnlockProducer(slot), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Take(100), 1);
    EXPECT_EQ(pair.Take(100), 2);
    EXPECT_EQ(pair.Take(100), -100 - 11);
}

TEST(LockProducer, WaitsForTheSlowestConsumer)
{
    RailPair pair(100, 4);
    uint64_t fast = 0, slow = 0;
    ASSERT_EQ(pair.Consumer->AddConsumer(&fast), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->AddConsumer(&slow), FLOW_RAIL_OK);
    for (uint8_t value = 1; value <= 4; ++value)
        ASSERT_EQ(pair.Put(100, value), FLOW_RAIL_OK);

    for (int value = 1; value <= 4; ++value)
        EXPECT_EQ(RailPair::TakeFrom(*pair.Consumer, &fast, 100), value);
    EXPECT_EQ(pair.Put(100, 5), FLOW_RAIL_TIMEOUT);
    EXPECT_EQ(RailPair::TakeFrom(*pair.Consumer, &slow, 100), 1);
    EXPECT_EQ(pair.Put(100, 5), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Put(1, 6), FLOW_RAIL_TIMEOUT);
    EXPECT_EQ(RailPair::TakeFrom(*pair.Consumer, &fast, 100), 5);
}

TEST(LockProducer, CapacityIsExactThoughTheMappingIsRoundedToPages)
{
    RailPair pair(100, 4); // 400 bytes in a ring of 4096
    pair.Join();

    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 400u);
    ASSERT_EQ(pair.Put(399, 1), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 1u);
    EXPECT_EQ(pair.Put(2, 2), FLOW_RAIL_TIMEOUT);
    EXPECT_EQ(pair.Put(1, 2), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 0u);
    EXPECT_EQ(pair.Consumer->GetConsumerFill(&pair.Token, 0), 400u);
}

TEST(LockProducer, EveryRegionIsContiguousWhereverItWraps)
{
    RailPair pair(1000, 5); // 5000 bytes, mapped 8192
    pair.Join();
    uint32_t size = 1;
    for (int round = 0; round < 2000; ++round)
    {
        size = size * 7 % 4999 + 1;
        const auto value = static_cast<uint8_t>(round);
        ASSERT_EQ(pair.Put(size, value), FLOW_RAIL_OK);
        ASSERT_EQ(pair.Take(size), value) << "round " << round << ", size " << size;
    }
}

TEST(LockProducer, TooManySmallLocksGive10)
{
    RailPair pair(100, 4);
    void* slots[65] = {};
    for (int index = 0; index < 64; ++index)
        ASSERT_EQ(pair.Producer->LockProducer(1, 0, &slots[index]), FLOW_RAIL_OK);

    EXPECT_EQ(pair.Producer->LockProducer(1, 0, &slots[64]), FLOW_RAIL_NO_MEMORY);
    EXPECT_EQ(pair.Producer->UnlockProducer(slots[0]), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Producer->LockProducer(1, 0, &slots[64]), FLOW_RAIL_OK);
}

TEST(UnlockProducer, CommitsInAnyOrderBecomeVisibleInOrder)
{
    RailPair pair(100, 4);
    pair.Join();
    void* slots[3] = {};
    for (uint8_t index = 0; index < 3; ++index)
    {
        ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slots[index]), FLOW_RAIL_OK);
        std::fill_n(RailPair::Address(*pair.Producer, slots[index]), 100, static_cast<uint8_t>(index + 1));
    }
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 100u); // what is locked counts

    ASSERT_EQ(pair.Producer->UnlockProducer(slots[2]), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->UnlockProducer(slots[1]), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Consumer->GetConsumerFill(&pair.Token, 0), 0u);
    EXPECT_EQ(pair.Take(100), -100 - 11);
    ASSERT_EQ(pair.Producer->UnlockProducer(slots[0]), FLOW_RAIL_OK);

    EXPECT_EQ(pair.Consumer->GetConsumerFill(&pair.Token, 0), 300u);
    EXPECT_EQ(pair.Take(100), 1);
    EXPECT_EQ(pair.Take(100), 2);
    EXPECT_EQ(pair.Take(100), 3);
}

TEST(UnlockProducer, RefusesWhatItDoesNotHold)
{
    RailPair pair(100, 4);
    pair.Join();
    void *slot = nullptr, *read = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &read), FLOW_RAIL_OK);

    EXPECT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_BAD_ARGUMENT); // a second time
    EXPECT_EQ(pair.Producer->UnlockProducer(nullptr), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Producer->UnlockProducer(reinterpret_cast<void*>(UINT64_MAX)), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Producer->UnlockProducer(&pair), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->UnlockProducer(read), FLOW_RAIL_BAD_ARGUMENT);
}

TEST(LockConsumer, RefusesBadArgumentsWith5)
{
    RailPair pair(100, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(400, 1), FLOW_RAIL_OK);
    void* slot = nullptr;
    uint64_t wrong = pair.Token + 1, zero = 0;

    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 0, 0, &slot), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 401, 0, &slot), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, nullptr), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Consumer->LockConsumer(&wrong, 100, 0, &slot), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Consumer->LockConsumer(&zero, 100, 0, &slot), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Consumer->LockConsumer(nullptr, 100, 0, &slot), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Producer->LockConsumer(&pair.Token, 100, 0, &slot), FLOW_RAIL_BAD_LOCK); // another object's token
    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 400, 0, &slot), FLOW_RAIL_OK);
}

TEST(LockConsumer, EmptyRailTimesOutWith11AndLeavesTheRingUnchanged)
{
    RailPair pair(100, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(99, 1), FLOW_RAIL_OK);
    void* slot = &pair;

    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &slot), FLOW_RAIL_TIMEOUT);
    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 2, &slot), FLOW_RAIL_TIMEOUT);
    EXPECT_EQ(slot, nullptr);

    EXPECT_EQ(pair.Consumer->GetConsumerFill(&pair.Token, 0), 99u);
    EXPECT_EQ(pair.Take(99), 1);
}

TEST(LockConsumer, ReleasesInAnyOrderAreGivenBackInOrder)
{
    RailPair pair(100, 4);
    pair.Join();
    for (uint8_t value = 1; value <= 4; ++value)
        ASSERT_EQ(pair.Put(100, value), FLOW_RAIL_OK);
    void* slots[3] = {};
    for (void*& slot : slots)
        ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &slot), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Consumer->GetConsumerFill(&pair.Token, 0), 100u); // what is locked no longer counts

    ASSERT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, slots[1]), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, slots[2]), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 0u);
    EXPECT_EQ(RailPair::Address(*pair.Consumer, slots[0])[0], 1);
    ASSERT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, slots[0]), FLOW_RAIL_OK);

    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 300u);
}

TEST(UnlockConsumer, RefusesWhatThisConsumerDoesNotHold)
{
    RailPair pair(100, 4);
    pair.Join();
    uint64_t second = 0;
    ASSERT_EQ(pair.Consumer->AddConsumer(&second), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    void* slot = nullptr;
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &slot), FLOW_RAIL_OK);

    EXPECT_EQ(pair.Consumer->UnlockConsumer(&second, slot), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->UnlockConsumer(nullptr, slot), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, nullptr), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, slot), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, slot), FLOW_RAIL_BAD_ARGUMENT);
    uint8_t* address = nullptr;
    EXPECT_EQ(pair.Consumer->GetSlotAddress(slot, &address), FLOW_RAIL_BAD_ARGUMENT);
}

TEST(UnlockConsumer, ASlotOfAConsumerThatLeftIsNotTheNextOnes)
{
    RailPair pair(100, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    void *oldSlot = nullptr, *newSlot = nullptr;
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &oldSlot), FLOW_RAIL_OK);
    uint64_t oldToken = pair.Token;
    ASSERT_EQ(pair.Consumer->RemoveConsumer(&pair.Token), FLOW_RAIL_OK); // with a slot locked
    EXPECT_EQ(pair.Token, 0u);
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 400u);

    pair.Join();
    ASSERT_EQ(pair.Put(100, 2), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &newSlot), FLOW_RAIL_OK);
    EXPECT_NE(oldToken, pair.Token);
    EXPECT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, oldSlot), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->UnlockConsumer(&oldToken, newSlot), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, newSlot), FLOW_RAIL_OK);
}

TEST(AddConsumer, SixteenFindAPlaceAndTheNextFindsOneWhenAnotherLeaves)
{
    RailPair pair(100, 4);
    const auto third = NewRail();
    ASSERT_EQ(third->Open(&pair.Descriptor), FLOW_RAIL_OK);
    uint64_t tokens[16] = {}, one = 0;
    for (int index = 0; index < 16; ++index)
        ASSERT_EQ((index % 2 ? *third : *pair.Consumer).AddConsumer(&tokens[index]), FLOW_RAIL_OK);
    FLOW_RAIL_STATUS status{};
    ASSERT_EQ(pair.Producer->GetStatus(&status), FLOW_RAIL_OK);
    EXPECT_EQ(status.Consumers, 16u);

    EXPECT_EQ(pair.Consumer->AddConsumer(&one), FLOW_RAIL_NO_MEMORY);
    EXPECT_EQ(third->AddConsumer(&one), FLOW_RAIL_NO_MEMORY);
    ASSERT_EQ(third->RemoveConsumer(&tokens[15]), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->AddConsumer(&one), FLOW_RAIL_OK);

    ASSERT_EQ(pair.Put(100, 9), FLOW_RAIL_OK);
    for (int index = 0; index < 15; ++index)
        EXPECT_EQ(RailPair::TakeFrom(index % 2 ? *third : *pair.Consumer, &tokens[index], 100), 9);
    EXPECT_EQ(RailPair::TakeFrom(*pair.Consumer, &one, 100), 9);
    EXPECT_EQ(pair.Producer->GetProducerSpace(0), 400u);
    EXPECT_EQ(pair.Consumer->AddConsumer(nullptr), FLOW_RAIL_BAD_ARGUMENT);
}

TEST(RemoveConsumer, RefusesStrangersAndSucceedsWithTheCreatorGone)
{
    RailPair pair(100, 4);
    pair.Join();
    uint64_t wrong = pair.Token + 256, zero = 0;
    EXPECT_EQ(pair.Consumer->RemoveConsumer(nullptr), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->RemoveConsumer(&zero), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->RemoveConsumer(&wrong), FLOW_RAIL_BAD_ARGUMENT);

    pair.Creator->Close();

    EXPECT_EQ(pair.Consumer->RemoveConsumer(&pair.Token), FLOW_RAIL_OK);
}

TEST(GetConsumerAlignment, JoinsInTheMiddleOfASlotAndFindsTheNextBoundary)
{
    RailPair pair(100, 4);
    ASSERT_EQ(pair.Put(130, 1), FLOW_RAIL_OK); // nobody listens: gone
    pair.Join();
    uint32_t remaining = 0;
    EXPECT_EQ(pair.Consumer->GetConsumerFill(&pair.Token, 0), 0u);
    EXPECT_EQ(pair.Consumer->GetConsumerAlignment(&pair.Token, &remaining), FLOW_RAIL_BAD_ARGUMENT); // nothing yet

    ASSERT_EQ(pair.Put(70, 2), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Put(100, 3), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->GetConsumerAlignment(&pair.Token, &remaining), FLOW_RAIL_OK);
    EXPECT_EQ(remaining, 70u);
    EXPECT_EQ(pair.Take(70), 2);
    ASSERT_EQ(pair.Consumer->GetConsumerAlignment(&pair.Token, &remaining), FLOW_RAIL_OK);
    EXPECT_EQ(remaining, 100u); // on a boundary: a whole slot
    EXPECT_EQ(pair.Take(100), 3);
}

TEST(GetConsumerAlignment, ABadArgumentIs5BecauseTwelveMeansAskAgain)
{
    RailPair pair(100, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    uint32_t remaining = 0;
    uint64_t wrong = 0;

    EXPECT_EQ(pair.Consumer->GetConsumerAlignment(&wrong, &remaining), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Consumer->GetConsumerAlignment(nullptr, &remaining), FLOW_RAIL_BAD_LOCK);
    EXPECT_EQ(pair.Consumer->GetConsumerAlignment(&pair.Token, nullptr), FLOW_RAIL_BAD_LOCK);
}

TEST(LockConsumer, AfterTheProducersCloseDrainsTheRingAndThenGives8)
{
    RailPair pair(100, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(250, 1), FLOW_RAIL_OK);
    pair.Producer->Close();
    void* slot = nullptr;
    uint32_t remaining = 0;

    EXPECT_EQ(pair.Take(100), 1);
    EXPECT_EQ(pair.Take(100), 1);
    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 1000, &slot), FLOW_RAIL_BAD_STATE); // 50 never become 100
    EXPECT_EQ(pair.Take(50), 1);
    EXPECT_EQ(pair.Consumer->GetConsumerAlignment(&pair.Token, &remaining), FLOW_RAIL_BAD_STATE);
}

TEST(LockConsumer, BeforeTheFirstProducerOfAConsumersRailTimesOut)
{
    RailPair pair(100, 4, "consumer");
    pair.Join();

    EXPECT_EQ(pair.Take(100), -100 - 11);
}

TEST(LockConsumer, SleepsUntilTheCommit)
{
    RailPair pair(100, 4);
    pair.Join();
    std::thread producer(
        [&pair]
        {
            AwaitSleeper(pair, &RailHeader::ConsumersAsleep);
            EXPECT_EQ(pair.Put(100, 5), FLOW_RAIL_OK);
        });
    void* slot = nullptr;

    EXPECT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 60000, &slot), FLOW_RAIL_OK);
    producer.join();
}

TEST(LockProducer, SleepsUntilTheReleaseAndUntilTheConsumerLeaves)
{
    RailPair pair(100, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(400, 5), FLOW_RAIL_OK);
    void* slot = nullptr;
    std::thread reader(
        [&pair]
        {
            AwaitSleeper(pair, &RailHeader::ProducerAsleep);
            EXPECT_EQ(pair.Take(100), 5);
        });
    EXPECT_EQ(pair.Producer->LockProducer(100, 60000, &slot), FLOW_RAIL_OK);
    reader.join();
    ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);

    std::thread leaver(
        [&pair]
        {
            AwaitSleeper(pair, &RailHeader::ProducerAsleep);
            EXPECT_EQ(pair.Consumer->RemoveConsumer(&pair.Token), FLOW_RAIL_OK);
        });
    EXPECT_EQ(pair.Producer->LockProducer(400, 60000, &slot), FLOW_RAIL_OK);
    leaver.join();
}

TEST(Slot, ValueIsNeverThatOfASlotOfARailBefore)
{
    std::set<void*> values;
    for (int run = 0; run < 3; ++run)
        for (const char* role : {"producer", "consumer"})
        {
            RailPair pair(100, 4, role);
            pair.Join();
            for (int i = 0; i < 5; ++i)
            {
                void *written = nullptr, *read = nullptr;
                ASSERT_EQ(pair.Producer->LockProducer(100, 0, &written), FLOW_RAIL_OK);
                ASSERT_EQ(pair.Producer->UnlockProducer(written), FLOW_RAIL_OK);
                ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &read), FLOW_RAIL_OK);
                ASSERT_EQ(pair.Consumer->UnlockConsumer(&pair.Token, read), FLOW_RAIL_OK);
                EXPECT_TRUE(values.insert(written).second);
                EXPECT_TRUE(values.insert(read).second);
            }
        }
}

TEST(GetStatus, TellsWhoIsThereAndWhatIsOutstanding)
{
    RailPair pair(100, 4);
    pair.Join();
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Take(100), 1);
    FLOW_RAIL_STATUS status{};
    EXPECT_EQ(pair.Producer->GetStatus(nullptr), FLOW_RAIL_BAD_ARGUMENT);

    for (CFlowRail* rail : {pair.Producer, pair.Consumer})
    {
        ASSERT_EQ(rail->GetStatus(&status), FLOW_RAIL_OK);
        EXPECT_EQ(status.CommittedBytes, 200u);
        EXPECT_EQ(status.ReleasedBytes, 100u);
        EXPECT_EQ(status.CapacityBytes, 400u);
        EXPECT_EQ(status.RecordsPerSlot, 256u);
        EXPECT_EQ(status.Consumers, 1u);
        EXPECT_EQ(status.ProducerState, 1u);
        EXPECT_EQ(status.CreatorAlive, 1u);
    }
    pair.Creator->Close();
    ASSERT_EQ(pair.Consumer->GetStatus(&status), FLOW_RAIL_OK);
    EXPECT_EQ(status.ProducerState, 2u);
    EXPECT_EQ(status.CreatorAlive, 0u);

    RailPair transmit(100, 4, "consumer");
    ASSERT_EQ(transmit.Consumer->GetStatus(&status), FLOW_RAIL_OK);
    EXPECT_EQ(status.ProducerState, 0u);
    EXPECT_EQ(status.Consumers, 0u);
}

// Records of slots: their room, their way through the ring, and what a new lock takes back.
#include "RailFixture.h"

#include <array>
#include <vector>

using namespace railtest;

namespace
{
std::vector<std::array<uint32_t, 2>> Records(CFlowRail& rail, void* slot, uint32_t type)
{
    uint32_t count = 0, retrieved = 0;
    EXPECT_EQ(rail.GetMetadataCount(slot, type, &count), FLOW_RAIL_OK);
    std::vector<FLOW_RAIL_METADATA> records(count + 1);
    EXPECT_EQ(rail.GetMetadata(slot, type, records.data(), count + 1, &retrieved), FLOW_RAIL_OK);
    EXPECT_EQ(retrieved, count);
    std::vector<std::array<uint32_t, 2>> found;
    for (uint32_t index = 0; index < retrieved; ++index)
    {
        EXPECT_EQ(records[index].Type, type);
        found.push_back({records[index].Position, records[index].Value});
    }
    return found;
}
using Expected = std::vector<std::array<uint32_t, 2>>;
} // namespace

TEST(Metadata, TravelsWithTheSlotByTypeAndInOrder)
{
    RailPair pair(100, 4);
    pair.Join();
    void *written = nullptr, *read = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &written), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(written, 1, 50, 1001), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(written, 3, 20, 5), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(written, 1, 0, 1000), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(written, 2, 99, 0), FLOW_RAIL_OK);
    EXPECT_EQ(Records(*pair.Producer, written, 1), (Expected{{50, 1001}, {0, 1000}})); // the writer sees them too
    ASSERT_EQ(pair.Producer->UnlockProducer(written), FLOW_RAIL_OK);

    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &read), FLOW_RAIL_OK);
    EXPECT_EQ(Records(*pair.Consumer, read, 1), (Expected{{50, 1001}, {0, 1000}}));
    EXPECT_EQ(Records(*pair.Consumer, read, 3), (Expected{{20, 5}}));
    EXPECT_EQ(Records(*pair.Consumer, read, 2), (Expected{{99, 0}}));
    EXPECT_EQ(Records(*pair.Consumer, read, 77), (Expected{}));
}

TEST(Metadata, LessRoomThanRecordsGivesTheFirstOnes)
{
    RailPair pair(100, 4);
    void* slot = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    for (uint32_t value = 0; value < 5; ++value)
        ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, value, value), FLOW_RAIL_OK);
    FLOW_RAIL_METADATA records[3] = {{9, 9, 9}, {9, 9, 9}, {9, 9, 9}};
    uint32_t retrieved = 9;

    EXPECT_EQ(pair.Producer->GetMetadata(slot, 1, records, 2, &retrieved), FLOW_RAIL_OK);
    EXPECT_EQ(retrieved, 2u);
    EXPECT_EQ(records[1].Value, 1u);
    EXPECT_EQ(records[2].Value, 9u);
    EXPECT_EQ(pair.Producer->GetMetadata(slot, 1, nullptr, 0, &retrieved), FLOW_RAIL_OK);
    EXPECT_EQ(retrieved, 0u);
}

TEST(Metadata, WhenTheRecordsAreUsedUpTheEndRecordStillFits)
{
    RailPair pair(100, 4); // 256 records, one of them kept
    pair.Join();
    void *slot = nullptr, *read = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    for (uint32_t value = 0; value < 255; ++value)
        ASSERT_EQ(pair.Producer->AddMetadata(slot, 3, value % 100, value), FLOW_RAIL_OK);

    EXPECT_EQ(pair.Producer->AddMetadata(slot, 3, 0, 0), FLOW_RAIL_NO_MEMORY);
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 1, 0, 0), FLOW_RAIL_NO_MEMORY);
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 2, 99, 0), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 2, 99, 0), FLOW_RAIL_NO_MEMORY); // one is kept, not two

    ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &read), FLOW_RAIL_OK);
    uint32_t count = 0;
    ASSERT_EQ(pair.Consumer->GetMetadataCount(read, 3, &count), FLOW_RAIL_OK);
    EXPECT_EQ(count, 255u);
    ASSERT_EQ(pair.Consumer->GetMetadataCount(read, 2, &count), FLOW_RAIL_OK);
    EXPECT_EQ(count, 1u);
}

TEST(Metadata, AnEndRecordAddedFirstLeavesTheOthersTheirRoom)
{
    RailPair pair(100, 4);
    void* slot = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(slot, 2, 99, 0), FLOW_RAIL_OK);

    for (uint32_t value = 0; value < 255; ++value)
        ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 0, value), FLOW_RAIL_OK) << value;
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 1, 0, 0), FLOW_RAIL_NO_MEMORY);
}

TEST(Metadata, LockProducerTakesBackWhatTheRegionHad)
{
    RailPair pair(100, 2);
    for (int round = 0; round < 7; ++round)
    {
        void* slot = nullptr;
        ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
        EXPECT_EQ(Records(*pair.Producer, slot, 1), Expected{}) << round;
        ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 10, 20), FLOW_RAIL_OK);
        ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);
    }
}

TEST(Metadata, RefusesBadArgumentsWith12)
{
    RailPair pair(100, 4);
    pair.Join();
    void *slot = nullptr, *read = nullptr;
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &read), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    FLOW_RAIL_METADATA record{};
    uint32_t number = 0;
    uint8_t* address = nullptr;

    EXPECT_EQ(pair.Producer->AddMetadata(slot, 0, 0, 0), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 1, 100, 0), FLOW_RAIL_BAD_ARGUMENT); // one behind the last
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 1, 99, 0), FLOW_RAIL_OK);
    EXPECT_EQ(pair.Producer->AddMetadata(nullptr, 1, 0, 0), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->AddMetadata(read, 1, 0, 0), FLOW_RAIL_BAD_ARGUMENT); // readers add nothing
    EXPECT_EQ(pair.Consumer->GetMetadata(read, 1, nullptr, 1, &number), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->GetMetadata(read, 1, &record, 1, nullptr), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->GetMetadata(read, 0, &record, 1, &number), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->GetMetadata(nullptr, 1, &record, 1, &number), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->GetMetadataCount(read, 1, nullptr), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->GetMetadataCount(&pair, 1, &number), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->GetSlotAddress(read, nullptr), FLOW_RAIL_BAD_ARGUMENT);
    EXPECT_EQ(pair.Consumer->GetSlotAddress(&pair, &address), FLOW_RAIL_BAD_ARGUMENT);
}

TEST(Metadata, PiecesOfSlotsKeepTheirRecordsApartAndARegionOverSeveralSlotsHasThemAll)
{
    RailPair pair(100, 4);
    pair.Join();
    void *first = nullptr, *second = nullptr, *read = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(60, 0, &first), FLOW_RAIL_OK);   // 0 to 59
    ASSERT_EQ(pair.Producer->LockProducer(240, 0, &second), FLOW_RAIL_OK); // 60 to 299: rest, slot 1, slot 2
    ASSERT_EQ(pair.Producer->AddMetadata(second, 1, 0, 60), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(first, 1, 59, 59), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(second, 1, 239, 299), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(second, 1, 40, 100), FLOW_RAIL_OK);
    EXPECT_EQ(Records(*pair.Producer, first, 1), (Expected{{59, 59}}));
    EXPECT_EQ(Records(*pair.Producer, second, 1), (Expected{{0, 60}, {40, 100}, {239, 299}}));
    ASSERT_EQ(pair.Producer->UnlockProducer(first), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->UnlockProducer(second), FLOW_RAIL_OK);

    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &read), FLOW_RAIL_OK); // other cuts than the writer's
    EXPECT_EQ(Records(*pair.Consumer, read, 1), (Expected{{60, 60}, {59, 59}}));
    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 200, 0, &read), FLOW_RAIL_OK);
    EXPECT_EQ(Records(*pair.Consumer, read, 1), (Expected{{0, 100}, {199, 299}}));
}

TEST(Metadata, TheRecordsOfAHalfReadSlotStayWhenTheRingComesRoundToItsOtherHalf)
{
    RailPair pair(100, 2);
    pair.Join();
    void *slot = nullptr, *read = nullptr;
    ASSERT_EQ(pair.Put(100, 1), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->LockProducer(100, 0, &slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 90, 7), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Take(100), 1);
    ASSERT_EQ(pair.Take(50), 0);

    // Two slots and a half are now in use: half of slot 1, slot 2, and half of slot 3.
    ASSERT_EQ(pair.Put(100, 2), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Put(50, 3), FLOW_RAIL_OK);

    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 50, 0, &read), FLOW_RAIL_OK);
    EXPECT_EQ(Records(*pair.Consumer, read, 1), (Expected{{40, 7}}));
}

TEST(Metadata, OfAProducerThatWentAwayLeavesItsRoomToTheNextOne)
{
    RailPair pair(100, 4, "consumer"); // 256 records, one of them kept
    pair.Join();
    void *slot = nullptr, *lost = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(50, 0, &slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 10, 1), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->LockProducer(50, 0, &lost), FLOW_RAIL_OK);
    for (uint32_t value = 0; value < 254; ++value)
        ASSERT_EQ(pair.Producer->AddMetadata(lost, 1, 10, value), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(lost, 2, 49, 0), FLOW_RAIL_OK);
    pair.Producer->Close();

    ASSERT_EQ(pair.Producer->Open(&pair.Descriptor), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->LockProducer(50, 0, &slot), FLOW_RAIL_OK);
    for (uint32_t value = 0; value < 254; ++value)
        ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 20, value), FLOW_RAIL_OK) << value;
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 1, 20, 0), FLOW_RAIL_NO_MEMORY);
    EXPECT_EQ(pair.Producer->AddMetadata(slot, 2, 49, 0), FLOW_RAIL_OK); // the one that is kept, once more
}

TEST(Metadata, OfAProducerThatWentAwayIsNeverSeenInTheHalfOfASlotThatTheNextOneWrites)
{
    RailPair pair(100, 4, "consumer");
    pair.Join();
    void *slot = nullptr, *lost = nullptr, *read = nullptr;
    ASSERT_EQ(pair.Producer->LockProducer(50, 0, &slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 10, 1), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->LockProducer(50, 0, &lost), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(lost, 1, 10, 2), FLOW_RAIL_OK);
    pair.Producer->Close();

    ASSERT_EQ(pair.Producer->Open(&pair.Descriptor), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->LockProducer(50, 0, &slot), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->AddMetadata(slot, 1, 20, 3), FLOW_RAIL_OK);
    ASSERT_EQ(pair.Producer->UnlockProducer(slot), FLOW_RAIL_OK);

    ASSERT_EQ(pair.Consumer->LockConsumer(&pair.Token, 100, 0, &read), FLOW_RAIL_OK);
    EXPECT_EQ(Records(*pair.Consumer, read, 1), (Expected{{10, 1}, {70, 3}}));
}

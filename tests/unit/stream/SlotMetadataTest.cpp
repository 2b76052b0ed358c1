// Timestamps and lost data: fetched once for a slot, filtered by buffer, limited by the pools; timestamps written.
#include "StreamModelTest.h"

#include <array>

namespace
{
class GetSlotTimestamps : public StreamModelTest
{
protected:
    // Requests with as much room as the array has, unless told otherwise.
    ZEFA_ERRORCODE Request(CStreamModel& model, void* slot, uint32_t bufferType = ZEFA_BUFFER_VIDEO_0,
                           uint32_t room = 16)
    {
        Count = room;
        return model.GetSlotTimestamps(slot, bufferType, Timestamps.data(), &Count);
    }

    // What the last request wrote, as pairs.
    std::vector<std::pair<uint32_t, uint32_t>> Written() const
    {
        std::vector<std::pair<uint32_t, uint32_t>> pairs;
        for (uint32_t i = 0; i < Count; ++i)
            pairs.emplace_back(Timestamps[i].Position_UL, Timestamps[i].Value_UL);
        return pairs;
    }

    static void Give(void* slot, std::vector<FLOW_RAIL_METADATA> records)
    {
        static_cast<FakeFlowRail::Slot*>(slot)->Records = std::move(records);
    }

    std::array<ZEFA_TIMESTAMP, 16> Timestamps{};
    uint32_t Count = 0;
};

class GetSlotLostData : public GetSlotTimestamps
{
protected:
    ZEFA_ERRORCODE RequestLost(CStreamModel& model, void* slot, uint32_t bufferType = ZEFA_BUFFER_VIDEO_0,
                               uint32_t room = 16)
    {
        Count = room;
        return model.GetSlotLostData(slot, bufferType, Segments.data(), &Count);
    }

    std::array<ZEFA_LOST_DATA, 16> Segments{};
};

class SetSlotTimestamps : public StreamModelTest
{
};

using Pair = std::pair<uint32_t, uint32_t>;

TEST_F(GetSlotTimestamps, SlotWithoutTimestampsGivesNone)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{2, 4095, 0}, {3, 10, 20}});

    EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Count, 0u);
    EXPECT_THAT(Calls(), ElementsAre("GetMetadataCount(slot 0, 1)"));
}

TEST_F(GetSlotTimestamps, PositionsAreRelativeToTheBufferAndTheSecondBufferComesFromTheCache)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot,
         {{1, 0, 100}, {1, 999, 101}, {1, 1000, 102}, {1, 1023, 103}, {1, 1024, 104}, {1, 3023, 105}, {1, 3024, 106}});

    EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR);
    EXPECT_THAT(Written(), ElementsAre(Pair(0, 100), Pair(999, 101)));
    EXPECT_THAT(Calls(), ElementsAre("GetMetadataCount(slot 0, 1)", "GetMetadata(slot 0, 1, 7)"));

    EXPECT_EQ(Request(*model, slot, ZEFA_BUFFER_VIDEO_1), ZEFA_NO_ERROR);
    EXPECT_THAT(Written(), ElementsAre(Pair(0, 104), Pair(1999, 105)));
    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Warnings(), IsEmpty());
}

TEST_F(GetSlotTimestamps, BufferThatReachesBeyondTheSlotCountsAsTheServiceGivesIt)
{
    Rest.Stream.BufferInfo = {{0, BUFFER_INFO(0x500000000 + 5000, 0x700000000 + 100)}};
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{1, 4999, 1}, {1, 5000, 2}, {1, 5099, 3}, {1, 5100, 4}});

    EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Written(), ElementsAre(Pair(0, 2), Pair(99, 3)));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(GetSlotTimestamps, RoomOfTwoForFiveWarnsAndGivesTwo)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{1, 0, 1}, {1, 1, 2}, {1, 2, 3}, {1, 3, 4}, {1, 4, 5}});

    EXPECT_EQ(Request(*model, slot, ZEFA_BUFFER_VIDEO_0, 2), ZEFA_NO_ERROR);

    EXPECT_THAT(Written(), ElementsAre(Pair(0, 1), Pair(1, 2)));
    EXPECT_THAT(Warnings(), ElementsAre("5 timestamps were detected while the given array has 2 spaces.\r\n"));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(GetSlotTimestamps, WarningCountsTheSlotsRecordsAndComesWithTheFetchAlone)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{1, 1024, 1}, {1, 1025, 2}, {1, 1026, 3}});

    EXPECT_EQ(Request(*model, slot, ZEFA_BUFFER_VIDEO_0, 2), ZEFA_NO_ERROR);
    EXPECT_EQ(Count, 0u);
    EXPECT_THAT(Warnings(), ElementsAre("3 timestamps were detected while the given array has 2 spaces.\r\n"));

    EXPECT_EQ(Request(*model, slot, ZEFA_BUFFER_VIDEO_1, 1), ZEFA_NO_ERROR);
    EXPECT_THAT(Written(), ElementsAre(Pair(0, 1)));
    EXPECT_THAT(Warnings(), IsEmpty());
}

TEST_F(GetSlotTimestamps, RoomThatJustSufficesDoesNotWarn)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{1, 0, 1}, {1, 1, 2}});

    EXPECT_EQ(Request(*model, slot, ZEFA_BUFFER_VIDEO_0, 2), ZEFA_NO_ERROR);

    EXPECT_EQ(Count, 2u);
    EXPECT_THAT(Warnings(), IsEmpty());
}

TEST_F(GetSlotTimestamps, NullPointerIsLogged)
{
    auto model = Started();
    void* slot = Lock(*model);
    Count = 4;

    EXPECT_EQ(model->GetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, nullptr, &Count), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(model->GetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, Timestamps.data(), nullptr),
              ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(model->GetSlotTimestamps(nullptr, ZEFA_BUFFER_VIDEO_0, Timestamps.data(), &Count),
              ZEFA_ERR_INVALID_POINTER);

    EXPECT_THAT(Errors(), ElementsAre("One of the pointer is null. \r\n", "One of the pointer is null. \r\n",
                                      "One of the pointer is null. \r\n"));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetSlotTimestamps, MissingRailCountsForMoreThanANullPointerWhichIsLoggedAllTheSame)
{
    auto model = Created(kReceive, kVideo);

    EXPECT_EQ(model->GetSlotTimestamps(nullptr, ZEFA_BUFFER_VIDEO_0, Timestamps.data(), &Count),
              ZEFA_ERR_INCORRECT_STATE);

    EXPECT_THAT(Errors(), ElementsAre("One of the pointer is null. \r\n"));
}

TEST_F(GetSlotTimestamps, UnknownBufferTypeIsNotFoundAndTakesNoPoolElement)
{
    auto model = Started();
    void* slot = Lock(*model);

    EXPECT_EQ(Request(*model, slot, 0x3000000), ZEFA_ERR_NOT_FOUND);

    EXPECT_THAT(Errors(), ElementsAre("Error : Buffer type 50331648 was not found. \r\n"));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetSlotTimestamps, OneSlotMoreThanTheRingHasIsTooMany)
{
    auto model = Started();
    std::vector<void*> slots;
    for (uint32_t i = 0; i < kSlots; ++i)
    {
        slots.push_back(Lock(*model));
        EXPECT_EQ(Request(*model, slots.back()), ZEFA_NO_ERROR);
    }
    void* oneMore = Lock(*model);

    EXPECT_EQ(Request(*model, oneMore), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("There have been too many timestamp request.\r\n"));
    EXPECT_EQ(Request(*model, slots[1]), ZEFA_NO_ERROR) << "those in the cache are served";
    EXPECT_EQ(model->UnlockSlot(slots[1]), ZEFA_NO_ERROR);
    EXPECT_EQ(Request(*model, oneMore), ZEFA_NO_ERROR) << "an unlock makes room";
}

TEST_F(GetSlotTimestamps, ElementOfAnUnlockedSlotHoldsNothingOfItForTheNext)
{
    auto model = Started();
    void* first = Lock(*model);
    Give(first, {{1, 0, 1}, {1, 1, 2}});
    Request(*model, first);
    model->UnlockSlot(first);
    void* second = Lock(*model);

    EXPECT_EQ(Request(*model, second), ZEFA_NO_ERROR);

    EXPECT_EQ(Count, 0u);
}

TEST_F(GetSlotTimestamps, SlotLockedAgainIsFetchedAgain)
{
    auto model = Started();
    Rail().Slots.resize(1);
    void* slot = Lock(*model);
    Give(slot, {{1, 0, 1}});
    Request(*model, slot);
    model->UnlockSlot(slot);
    EXPECT_EQ(Lock(*model), slot);
    Give(slot, {{1, 0, 9}});

    EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Written(), ElementsAre(Pair(0, 9)));
}

TEST_F(GetSlotTimestamps, FailedUnlockKeepsTheCachedRecords)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{1, 0, 1}});
    Request(*model, slot);
    Rail().Next(FakeFlowRail::UNLOCK_CONSUMER, {1});
    model->UnlockSlot(slot);
    Calls();

    EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Count, 1u);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetSlotTimestamps, FailedCountIsTranslatedAndTheSlotStaysInTheCache)
{
    for (const auto& [result, expected] :
         {std::pair{8u, ZEFA_ERR_INCORRECT_STATE}, std::pair{12u, ZEFA_ERR_OPERATION_FAILED},
          std::pair{1u, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Started();
        void* slot = Lock(*model);
        Rail().Next(FakeFlowRail::GET_METADATA_COUNT, {result});

        EXPECT_EQ(Request(*model, slot), expected) << result;

        EXPECT_THAT(Errors(), ElementsAre("Could not get the number of timestamp metadata.\r\n"));
        Calls();
        EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR) << "straight to what there is";
        EXPECT_EQ(Count, 0u);
        EXPECT_THAT(Calls(), IsEmpty());
    }
}

TEST_F(GetSlotTimestamps, FailedFetchIsTranslated)
{
    for (const auto& [result, expected] :
         {std::pair{8u, ZEFA_ERR_INCORRECT_STATE}, std::pair{12u, ZEFA_ERR_BAD_ARGUMENT},
          std::pair{1u, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Started();
        void* slot = Lock(*model);
        Give(slot, {{1, 0, 1}});
        Rail().Next(FakeFlowRail::GET_METADATA, {result});

        EXPECT_EQ(Request(*model, slot), expected) << result;

        EXPECT_THAT(Errors(), ElementsAre("Could not get the timestamp metadata. \r\n"));
        EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR) << "straight to what there is";
        Give(slot, {});
    }
}

TEST_F(GetSlotTimestamps, Result19HasCopiedTheRecordsToo)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{1, 5, 6}});
    Rail().Next(FakeFlowRail::GET_METADATA, {19});

    EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Written(), ElementsAre(Pair(5, 6)));
}

TEST_F(GetSlotTimestamps, OtherNumberOfRecordsThanCountedIsAFailure)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{1, 0, 1}, {1, 1, 2}, {1, 2, 3}});
    Rail().RetrievedTooFew = 1;

    EXPECT_EQ(Request(*model, slot), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("Number of metadata retrieved 2 is not the one expected 3\r\n"));
}

TEST_F(GetSlotTimestamps, RecordOfAnotherTypeIsAFailureAndTheSlotStaysInTheCache)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{1, 7, 8}, {3, 0, 1}});
    Rail().GivesRecordsOfAnyType = true;

    EXPECT_EQ(Request(*model, slot), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("Unexpected metadata type retrieved. \r\n"));
    Calls();
    EXPECT_EQ(Request(*model, slot), ZEFA_NO_ERROR);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetSlotTimestamps, SlotsLockedAtAStopCountAgainstTheLimitAfterTheNextStart)
{
    auto model = Started();
    void* old = Lock(*model);
    Request(*model, old);
    model->StopStream();
    model->StartStream(); // four more elements
    for (uint32_t i = 0; i < 2 * kSlots - 1; ++i)
        EXPECT_EQ(Request(*model, Lock(*model)), ZEFA_NO_ERROR) << i;

    EXPECT_EQ(Request(*model, Lock(*model)), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_EQ(Request(*model, old), ZEFA_NO_ERROR) << "and its entry still serves";
}

TEST_F(GetSlotTimestamps, MoreRecordsThanReservedAreServed)
{
    auto model = Started();
    void* slot = Lock(*model);
    std::vector<FLOW_RAIL_METADATA> records;
    for (uint32_t i = 0; i < 300; ++i)
        records.push_back({1, i, 1000 + i});
    Give(slot, records);
    std::vector<ZEFA_TIMESTAMP> timestamps(300);
    uint32_t count = 300;

    EXPECT_EQ(model->GetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, timestamps.data(), &count), ZEFA_NO_ERROR);

    EXPECT_EQ(count, 300u);
    EXPECT_EQ(timestamps[299].Value_UL, 1299u);
}

TEST_F(GetSlotLostData, SegmentsAreReportedWholeByTheBufferTheyStartIn)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{3, 990, 5000}, {1, 0, 1}, {3, 1024, 7}});

    EXPECT_EQ(RequestLost(*model, slot), ZEFA_NO_ERROR);
    ASSERT_EQ(Count, 1u);
    EXPECT_EQ(Segments[0].Position_UL, 990u);
    EXPECT_EQ(Segments[0].Size_UL, 5000u) << "not cut at the buffer's end";
    EXPECT_THAT(Calls(), ElementsAre("GetMetadataCount(slot 0, 3)", "GetMetadata(slot 0, 3, 2)"));

    EXPECT_EQ(RequestLost(*model, slot, ZEFA_BUFFER_VIDEO_1), ZEFA_NO_ERROR);
    ASSERT_EQ(Count, 1u);
    EXPECT_EQ(Segments[0].Position_UL, 0u);
    EXPECT_EQ(Segments[0].Size_UL, 7u);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetSlotLostData, HasACacheOfItsOwn)
{
    auto model = Started();
    for (uint32_t i = 0; i < kSlots; ++i)
        EXPECT_EQ(Request(*model, Lock(*model)), ZEFA_NO_ERROR);

    for (uint32_t i = 0; i < kSlots; ++i)
        EXPECT_EQ(RequestLost(*model, Lock(*model)), ZEFA_NO_ERROR);
    EXPECT_EQ(RequestLost(*model, Lock(*model)), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("There have been too many LostData request.\r\n"));
}

TEST_F(GetSlotLostData, UnlockFreesItsElementToo)
{
    auto model = Started();
    for (uint32_t i = 0; i < 3 * kSlots; ++i)
    {
        void* slot = Lock(*model);
        EXPECT_EQ(RequestLost(*model, slot), ZEFA_NO_ERROR);
        EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);
    }
}

TEST_F(GetSlotLostData, SmallRoomWarns)
{
    auto model = Started();
    void* slot = Lock(*model);
    Give(slot, {{3, 0, 1}, {3, 1, 1}});

    EXPECT_EQ(RequestLost(*model, slot, ZEFA_BUFFER_VIDEO_0, 1), ZEFA_NO_ERROR);

    EXPECT_EQ(Count, 1u);
    EXPECT_THAT(Warnings(), ElementsAre("2 lost data segments were detected while the given array has 1 spaces.\r\n"));
}

TEST_F(GetSlotLostData, FailuresHaveTextsOfTheirOwn)
{
    auto model = Started();
    void* slot = Lock(*model);
    Rail().Next(FakeFlowRail::GET_METADATA_COUNT, {8});
    EXPECT_EQ(RequestLost(*model, slot), ZEFA_ERR_INCORRECT_STATE);
    EXPECT_THAT(Errors(), ElementsAre("Could not get the number of LostData metadata.\r\n"));

    for (const auto& [result, expected] :
         {std::pair{8u, ZEFA_ERR_INCORRECT_STATE}, std::pair{12u, ZEFA_ERR_BAD_ARGUMENT},
          std::pair{19u, ZEFA_ERR_OPERATION_FAILED}}) // 19 is a success of timestamps alone
    {
        slot = Lock(*model);
        Give(slot, {{3, 0, 1}});
        Rail().Next(FakeFlowRail::GET_METADATA, {result});
        EXPECT_EQ(RequestLost(*model, slot), expected) << result;
        EXPECT_THAT(Errors(), ElementsAre("Could not get the LostData metadata. \r\n"));
        model->UnlockSlot(slot);
    }

    slot = Lock(*model);
    Give(slot, {{1, 0, 1}});
    Rail().GivesRecordsOfAnyType = true;
    EXPECT_EQ(RequestLost(*model, slot), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_THAT(Errors(), ElementsAre("Unexpected metadata type retrived. \r\n"));
}

TEST_F(GetSlotLostData, NullPointersAndUnknownBuffersAreRefusedLikeTimestamps)
{
    auto model = Started();
    void* slot = Lock(*model);

    EXPECT_EQ(model->GetSlotLostData(slot, ZEFA_BUFFER_VIDEO_0, nullptr, &Count), ZEFA_ERR_INVALID_POINTER);
    EXPECT_THAT(Errors(), ElementsAre("One of the pointer is null. \r\n"));
    EXPECT_EQ(RequestLost(*model, slot, 7), ZEFA_ERR_NOT_FOUND);
    EXPECT_THAT(Errors(), ElementsAre("Error : Buffer type 7 was not found. \r\n"));
    model->StopStream();
    EXPECT_EQ(RequestLost(*model, slot), ZEFA_ERR_INCORRECT_STATE);
}

TEST_F(SetSlotTimestamps, AddsRecordsAtPositionsOfTheSlot)
{
    auto model = Started(kTransmit);
    void* slot = Lock(*model);
    const ZEFA_TIMESTAMP timestamps[] = {{0, 10}, {1999, 11}}; // the last position of the buffer passes

    EXPECT_EQ(model->SetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_1, timestamps, 2), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("AddMetadata(slot 0, 1, 1024, 10)", "AddMetadata(slot 0, 1, 3023, 11)"));
}

TEST_F(SetSlotTimestamps, BufferThatReachesBeyondTheSlotCountsAsTheServiceGivesIt)
{
    Rest.Stream.BufferInfo = {{0, BUFFER_INFO(0x500000000 + 4000, 0x700000000 + 200)}};
    auto model = Started(kTransmit);
    void* slot = Lock(*model);
    const ZEFA_TIMESTAMP timestamps[] = {{199, 10}, {200, 11}};

    EXPECT_EQ(model->SetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, timestamps, 2), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Calls(), ElementsAre("AddMetadata(slot 0, 1, 4199, 10)")) << "the rail tests the position itself";
    EXPECT_THAT(Errors(), ElementsAre("The position of the timestamps (200) is bigger than the size of the buffer "
                                      "(200). \r\n"));
}

TEST_F(SetSlotTimestamps, NoneIsASuccess)
{
    auto model = Started(kTransmit);

    EXPECT_EQ(model->SetSlotTimestamps(Lock(*model), ZEFA_BUFFER_VIDEO_0, nullptr, 0), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(SetSlotTimestamps, PositionEqualToTheBuffersSizeFailsAndEarlierEntriesStay)
{
    auto model = Started(kTransmit);
    void* slot = Lock(*model);
    const ZEFA_TIMESTAMP timestamps[] = {{999, 10}, {1000, 11}, {0, 12}};

    EXPECT_EQ(model->SetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, timestamps, 3), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("The position of the timestamps (1000) is bigger than the size of the buffer "
                                      "(1000). \r\n"));
    EXPECT_THAT(Calls(), ElementsAre("AddMetadata(slot 0, 1, 999, 10)"));
}

TEST_F(SetSlotTimestamps, RefusedRecordEndsTheCall)
{
    auto model = Started(kTransmit);
    void* slot = Lock(*model);
    const ZEFA_TIMESTAMP timestamps[] = {{1, 10}, {2, 11}, {3, 12}};
    Rail().Next(FakeFlowRail::ADD_METADATA, {0, 10});

    EXPECT_EQ(model->SetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, timestamps, 3), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(),
                ElementsAre("Error when adding the metadata timestamp. Index : 1. Position : 2. Value : 11.\r\n"));
    EXPECT_THAT(Calls(), ElementsAre("AddMetadata(slot 0, 1, 1, 10)", "AddMetadata(slot 0, 1, 2, 11)"));
}

TEST_F(SetSlotTimestamps, ReceiveStreamRefusesBehindTheBufferTest)
{
    auto model = Started();
    void* slot = Lock(*model);

    EXPECT_EQ(model->SetSlotTimestamps(slot, 7, nullptr, 0), ZEFA_ERR_NOT_FOUND);
    EXPECT_THAT(Errors(), ElementsAre("Error : Buffer type 7 was not found. \r\n"));
    EXPECT_EQ(model->SetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, nullptr, 0), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_THAT(Errors(), ElementsAre("SetSlotTimestamps is not valid on RX streams. \r\n"));
}

TEST_F(SetSlotTimestamps, NullSlotIsLoggedAndAMissingRailCountsForMore)
{
    auto started = Started(kTransmit);
    EXPECT_EQ(started->SetSlotTimestamps(nullptr, ZEFA_BUFFER_VIDEO_0, nullptr, 0), ZEFA_ERR_INVALID_POINTER);
    EXPECT_THAT(Errors(), ElementsAre("The slot is null. \r\n"));

    auto created = Created(kTransmit, kVideo);
    EXPECT_EQ(created->SetSlotTimestamps(nullptr, ZEFA_BUFFER_VIDEO_0, nullptr, 0), ZEFA_ERR_INCORRECT_STATE);
    EXPECT_THAT(Errors(), ElementsAre("The slot is null. \r\n"));
}
} // namespace

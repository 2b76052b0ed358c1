// Lock, buffer, unlock: the first lock's alignment, the order of calls on the rail, what each rail result becomes.
#include "StreamModelTest.h"

namespace
{
class LockSlot : public StreamModelTest
{
protected:
    // Sets the lock's time limit through the configuration, the only way there is.
    static void LimitTo(CStreamModel& model, uint32_t timeoutMs)
    {
        ZEFA_STREAM_COMMON_CONFIG config{};
        config.LockTimeoutMs_UL = timeoutMs;
        EXPECT_EQ(model.SetCommonConfig(&config), ZEFA_NO_ERROR);
        Calls();
    }
};
class UnlockSlot : public StreamModelTest
{
};
class GetSlotBuffer : public StreamModelTest
{
};

struct RailResult
{
    uint32_t Result;
    ZEFA_ERRORCODE Expected;
};

const RailResult kLockRule[] = {
    {4, ZEFA_ERR_TIMEOUT},         {11, ZEFA_ERR_TIMEOUT},         {12, ZEFA_ERR_TIMEOUT},
    {8, ZEFA_ERR_INCORRECT_STATE}, {5, ZEFA_ERR_OPERATION_FAILED}, {10, ZEFA_ERR_OPERATION_FAILED},
};
const RailResult kRailRule[] = {
    {8, ZEFA_ERR_INCORRECT_STATE},
    {12, ZEFA_ERR_BAD_ARGUMENT},
    {11, ZEFA_ERR_OPERATION_FAILED},
    {1, ZEFA_ERR_OPERATION_FAILED},
};

TEST_F(LockSlot, WithoutARailTheStateIsIncorrect)
{
    auto model = Created(kReceive, kVideo);
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(LockSlot, TransmitStreamLocksAFreeSlot)
{
    auto model = Started(kTransmit);
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Rail().NameOf(slot), "slot 0");
    EXPECT_THAT(Calls(), ElementsAre("LockProducer(4096, 100)"));
}

TEST_F(LockSlot, ConsumerOnABoundarySkipsNothing)
{
    auto model = Started();
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Rail().NameOf(slot), "slot 0");
    EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)", "LockConsumer(77, 4096, 100)"));
}

TEST_F(LockSlot, ConsumerInTheMiddleOfASlotSkipsThePiece)
{
    auto model = Started();
    Rail().AlignmentBytes = 1000;
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Rail().NameOf(slot), "slot 1");
    EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)", "LockConsumer(77, 1000, 100)",
                                     "UnlockConsumer(77, slot 0)", "LockConsumer(77, 4096, 100)"));
}

TEST_F(LockSlot, OnlyTheFirstLockAfterAStartAligns)
{
    auto model = Started();
    Lock(*model);
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("LockConsumer(77, 4096, 100)"));
}

TEST_F(LockSlot, SpinsUntilTheServiceHasWritten)
{
    auto model = Started();
    LimitTo(*model, 60000);
    Rail().Next(FakeFlowRail::GET_CONSUMER_ALIGNMENT, {12, 12, 12});
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)", "GetConsumerAlignment(77)", "GetConsumerAlignment(77)",
                                     "GetConsumerAlignment(77)", "LockConsumer(77, 4096, 60000)"));
}

TEST_F(LockSlot, EmptyRailTimesOutAndTheNextLockAlignsAgain)
{
    auto model = Started();
    LimitTo(*model, 3);
    Rail().Always(FakeFlowRail::GET_CONSUMER_ALIGNMENT, 12);
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_TIMEOUT);

    EXPECT_THAT(Calls(), testing::Each("GetConsumerAlignment(77)")) << "nothing was locked";
    Rail().Always(FakeFlowRail::GET_CONSUMER_ALIGNMENT, 0);
    EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);
    EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)", "LockConsumer(77, 4096, 3)"));
}

TEST_F(LockSlot, LimitOfZeroFailsAtOnceOnAnEmptyRail)
{
    auto model = Started();
    LimitTo(*model, 0);
    Rail().Always(FakeFlowRail::GET_CONSUMER_ALIGNMENT, 12);
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_TIMEOUT);

    EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)"));
}

TEST_F(LockSlot, AlignmentThatFailsIsTranslatedAndTriedAgain)
{
    for (const RailResult& row : {RailResult{8, ZEFA_ERR_INCORRECT_STATE}, RailResult{4, ZEFA_ERR_TIMEOUT},
                                  RailResult{11, ZEFA_ERR_TIMEOUT}, RailResult{5, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Started();
        Rail().Next(FakeFlowRail::GET_CONSUMER_ALIGNMENT, {row.Result});
        void* slot = nullptr;

        EXPECT_EQ(model->LockSlot(&slot), row.Expected) << row.Result;

        EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)"));
        EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);
        EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)", "LockConsumer(77, 4096, 100)"));
    }
}

TEST_F(LockSlot, PieceThatCannotBeLockedCountsAsAligned)
{
    for (const RailResult& row : kLockRule)
    {
        auto model = Started();
        Rail().AlignmentBytes = 1000;
        Rail().Next(FakeFlowRail::LOCK_CONSUMER, {row.Result});
        void* slot = nullptr;

        EXPECT_EQ(model->LockSlot(&slot), row.Expected) << row.Result;

        EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)", "LockConsumer(77, 1000, 100)"));
        EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);
        EXPECT_THAT(Calls(), ElementsAre("LockConsumer(77, 4096, 100)"));
    }
}

TEST_F(LockSlot, PieceThatCannotBeReleasedCountsAsAligned)
{
    auto model = Started();
    Rail().AlignmentBytes = 1000;
    Rail().Next(FakeFlowRail::UNLOCK_CONSUMER, {8});
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_EQ(Rail().NameOf(slot), "slot 0") << "the piece, which is still locked";
    EXPECT_THAT(Calls(),
                ElementsAre("GetConsumerAlignment(77)", "LockConsumer(77, 1000, 100)", "UnlockConsumer(77, slot 0)"));
    EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);
    EXPECT_THAT(Calls(), ElementsAre("LockConsumer(77, 4096, 100)"));
}

TEST_F(LockSlot, TranslatesTheRailsResultInSilence)
{
    for (const RailResult& row : kLockRule)
    {
        auto receive = Aligned();
        Rail().Next(FakeFlowRail::LOCK_CONSUMER, {row.Result});
        void* slot = nullptr;
        EXPECT_EQ(receive->LockSlot(&slot), row.Expected) << row.Result;

        auto transmit = Started(kTransmit);
        Rail().Next(FakeFlowRail::LOCK_PRODUCER, {row.Result});
        EXPECT_EQ(transmit->LockSlot(&slot), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), IsEmpty());
    }
}

TEST_F(LockSlot, OnlySuccessCountsAndNothingResetsTheCount)
{
    auto model = Started(kTransmit);
    Lock(*model);
    Rail().Next(FakeFlowRail::LOCK_PRODUCER, {11});
    void* slot = nullptr;
    model->LockSlot(&slot);
    model->StopStream();
    model->StartStream();
    Lock(*model);

    ZEFA_STREAM_COMMON_STATUS status{};
    EXPECT_EQ(model->GetCommonStatus(&status), ZEFA_NO_ERROR);
    EXPECT_EQ(status.SlotCount_UL, 2u);
}

TEST_F(LockSlot, TracesUnderItsFullName)
{
    auto model = Started(kTransmit);

    Lock(*model);

    EXPECT_THAT(Captured.Lines(7), ElementsAre("Quillmont::Trellis::Zefa::CStreamModel::LockSlot --> Entering ",
                                               "Quillmont::Trellis::Zefa::CStreamModel::LockSlot --> Exiting "));
}

TEST_F(UnlockSlot, WithoutARailTheStateIsIncorrect)
{
    auto model = Started();
    void* slot = Lock(*model);
    model->StopStream();
    Calls();

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(UnlockSlot, ReceiveStreamReleasesTheSlot)
{
    auto model = Started();

    EXPECT_EQ(model->UnlockSlot(Lock(*model)), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("UnlockConsumer(77, slot 0)"));
}

TEST_F(UnlockSlot, TransmitStreamMarksTheEndBeforeItCommits)
{
    auto model = Started(kTransmit);

    EXPECT_EQ(model->UnlockSlot(Lock(*model)), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("AddMetadata(slot 0, 2, 4095, 0)", "UnlockProducer(slot 0)"));
}

TEST_F(UnlockSlot, RefusedEndRecordLeavesTheSlotUncommitted)
{
    for (const RailResult& row : kRailRule)
    {
        auto model = Started(kTransmit);
        void* slot = Lock(*model);
        Rail().Next(FakeFlowRail::ADD_METADATA, {row.Result});

        EXPECT_EQ(model->UnlockSlot(slot), row.Expected) << row.Result;

        EXPECT_THAT(Calls(), ElementsAre("AddMetadata(" + Rail().NameOf(slot) + ", 2, 4095, 0)"));
    }
}

TEST_F(UnlockSlot, TranslatesTheRailsResultInSilence)
{
    for (const RailResult& row : kRailRule)
    {
        auto receive = Started();
        Rail().Next(FakeFlowRail::UNLOCK_CONSUMER, {row.Result});
        EXPECT_EQ(receive->UnlockSlot(Lock(*receive)), row.Expected) << row.Result;

        auto transmit = Started(kTransmit);
        Rail().Next(FakeFlowRail::UNLOCK_PRODUCER, {row.Result});
        EXPECT_EQ(transmit->UnlockSlot(Lock(*transmit)), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), IsEmpty());
    }
}

TEST_F(GetSlotBuffer, GivesAddressAndSizeOfEachBuffer)
{
    auto model = Started();
    void* slot = Lock(*model);
    uint8_t* base = Rail().Slots[0].Bytes.data();
    uint8_t* address = nullptr;
    uint32_t size = 0;

    EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, &address, &size), ZEFA_NO_ERROR);
    EXPECT_EQ(address, base);
    EXPECT_EQ(size, 1000u);

    EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_1, &address, &size), ZEFA_NO_ERROR);
    EXPECT_EQ(address, base + 1024);
    EXPECT_EQ(size, 2000u);

    EXPECT_THAT(Calls(), ElementsAre("GetSlotAddress(slot 0)", "GetSlotAddress(slot 0)"));
}

TEST_F(GetSlotBuffer, NullPointerIsRefusedBeforeTheRailIsAsked)
{
    auto model = Started();
    void* slot = Lock(*model);
    uint8_t* address = nullptr;
    uint32_t size = 0;

    EXPECT_EQ(model->GetSlotBuffer(nullptr, ZEFA_BUFFER_VIDEO_0, &address, &size), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, nullptr, &size), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, &address, nullptr), ZEFA_ERR_INVALID_POINTER);

    EXPECT_THAT(Errors(), ElementsAre("One of the pointer is null. \r\n", "One of the pointer is null. \r\n",
                                      "One of the pointer is null. \r\n"));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetSlotBuffer, NullPointerCountsForMoreThanAMissingRail)
{
    auto model = Created(kReceive, kVideo);
    uint32_t size = 0;

    EXPECT_EQ(model->GetSlotBuffer(nullptr, ZEFA_BUFFER_VIDEO_0, nullptr, &size), ZEFA_ERR_INVALID_POINTER);
}

TEST_F(GetSlotBuffer, WithoutARailTheStateIsIncorrect)
{
    auto model = Started();
    void* slot = Lock(*model);
    model->StopStream();
    Calls();
    uint8_t* address = nullptr;
    uint32_t size = 0;

    EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, &address, &size), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(GetSlotBuffer, TranslatesTheRailsResultAndWritesNothing)
{
    for (const RailResult& row : kRailRule)
    {
        auto model = Started();
        void* slot = Lock(*model);
        Rail().Next(FakeFlowRail::GET_SLOT_ADDRESS, {row.Result});
        uint8_t* address = nullptr;
        uint32_t size = 7;

        EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, &address, &size), row.Expected) << row.Result;

        EXPECT_EQ(address, nullptr);
        EXPECT_EQ(size, 7u);
        EXPECT_THAT(Errors(), IsEmpty());
    }
}

TEST_F(GetSlotBuffer, TypeOfAnotherEssenceIsNotFound)
{
    auto model = Started(kReceive, kAudio);
    uint8_t* address = nullptr;
    uint32_t size = 0;

    EXPECT_EQ(model->GetSlotBuffer(Lock(*model), ZEFA_BUFFER_VIDEO_0, &address, &size), ZEFA_ERR_NOT_FOUND);

    EXPECT_THAT(Errors(), ElementsAre("Error : Buffer type 16777216 was not found. \r\n"));
    EXPECT_THAT(Calls(), ElementsAre("GetSlotAddress(slot 0)"));
}

TEST_F(GetSlotBuffer, SizeIsTheLow32Bits)
{
    Rest.Stream.BufferInfo = {{0, BUFFER_INFO(16, 0x700000020)}};
    auto model = Started();
    uint8_t* address = nullptr;
    uint32_t size = 0;

    EXPECT_EQ(model->GetSlotBuffer(Lock(*model), ZEFA_BUFFER_VIDEO_0, &address, &size), ZEFA_NO_ERROR);

    EXPECT_EQ(size, 0x20u);
}

TEST_F(GetSlotBuffer, BufferThatReachesBeyondTheSlotIsCutThere)
{
    struct Row
    {
        uint64_t Offset, Size;
        uint32_t ExpectedSize;
    };
    for (const Row& row : {Row{0, kSlotBytes, kSlotBytes},
                           {0, kSlotBytes + 1, kSlotBytes},
                           {96, 4000, 4000},
                           {97, 4000, 3999},
                           {4095, 0xFFFFFFFF, 1},
                           {4096, 100, 0}})
    {
        Rest.Stream.BufferInfo = {{0, BUFFER_INFO(row.Offset, row.Size)}};
        auto model = Started();
        void* slot = Lock(*model);
        uint8_t* address = nullptr;
        uint32_t size = 7;

        EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, &address, &size), ZEFA_NO_ERROR);

        EXPECT_EQ(address, static_cast<FakeFlowRail::Slot*>(slot)->Bytes.data() + row.Offset);
        EXPECT_EQ(size, row.ExpectedSize) << row.Offset << " " << row.Size;
    }
}

TEST_F(GetSlotBuffer, BufferThatStartsBeyondTheSlotDoesNotExist)
{
    for (const uint64_t offset : {uint64_t{4097}, uint64_t{0x100000000}, uint64_t{0xFFFFFFFFFFFFFFFF}})
    {
        Rest.Stream.BufferInfo = {{0, BUFFER_INFO(offset, 10)}};
        auto model = Started();
        uint8_t* address = nullptr;
        uint32_t size = 0;

        EXPECT_EQ(model->GetSlotBuffer(Lock(*model), ZEFA_BUFFER_VIDEO_0, &address, &size), ZEFA_ERR_NOT_FOUND)
            << offset;
    }
}

TEST_F(GetSlotBuffer, BufferOfAnEarlierStartIsCutAtTheSlotOfThisOne)
{
    auto model = Started();
    model->StopStream();
    Rest.Stream.LockSize = 1100;
    Rest.Stream.BufferInfo = {};
    model->StartStream();
    uint8_t* address = nullptr;
    uint32_t size = 0;

    EXPECT_EQ(model->GetSlotBuffer(Lock(*model), ZEFA_BUFFER_VIDEO_1, &address, &size), ZEFA_NO_ERROR);

    EXPECT_EQ(size, 76u);
}
} // namespace

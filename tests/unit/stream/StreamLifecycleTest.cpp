// Create, open, start, stop, close, destroy: the order of calls, what is logged, what each result becomes.
#include "StreamModelTest.h"

#include "core/CHandle.h"

namespace
{
class CreateStream : public StreamModelTest
{
};
class DestroyStream : public StreamModelTest
{
};
class OpenStream : public StreamModelTest
{
};
class CloseStream : public StreamModelTest
{
};
class StartStream : public StreamModelTest
{
};
class StopStream : public StreamModelTest
{
};
class Trace : public StreamModelTest
{
};

struct ServiceResult
{
    uint32_t Result;
    ZEFA_ERRORCODE Expected;
};

TEST_F(CreateStream, HandleBearsTheTagOfAStream)
{
    CStreamModel model(&Rest, kReceive, kVideo);

    EXPECT_EQ(model.GetType(), CStreamModel::kTypeTag);
    EXPECT_EQ(Quillmont::Trellis::Zefa::HandleCast<CStreamModel>(&model), &model);
}

TEST_F(CreateStream, AsksForDirectionAndEssenceInTheServicesNumbers)
{
    struct Row
    {
        uint32_t Type, Essence;
        const char* Call;
    };
    const Row rows[] = {
        {0, 0, "Stream.Create(type 1, essence 1, shared false)"},
        {1, 1, "Stream.Create(type 0, essence 2, shared false)"},
        {0xFFFFFFFF, 2, "Stream.Create(type 0, essence 3, shared false)"}, // any other than 0 transmits
        {0, 3, "Stream.Create(type 1, essence 0, shared false)"},
        {0, 0xFFFFFFFF, "Stream.Create(type 1, essence 0, shared false)"},
    };
    for (const Row& row : rows)
    {
        CStreamModel model(&Rest, row.Type, row.Essence);

        EXPECT_EQ(model.CreateStream(), ZEFA_NO_ERROR);

        EXPECT_THAT(Calls(), ElementsAre(row.Call));
    }
}

TEST_F(CreateStream, SecondCreateIsRefusedAndKeepsTheIdentifier)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.NewId = 6;

    EXPECT_EQ(model->CreateStream(), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("The stream is already created .\r\n"));
    EXPECT_THAT(Calls(), IsEmpty());
    model->OpenStream();
    EXPECT_THAT(Calls(), ElementsAre("Stream.SetState(5, started false, opened true)"));
}

TEST_F(CreateStream, TranslatesTheReverseOfTheOthers)
{
    for (const ServiceResult& row :
         {ServiceResult{5013, ZEFA_ERR_COMMUNICATION}, ServiceResult{5001, ZEFA_ERR_INCORRECT_STATE},
          ServiceResult{9, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{0, ZEFA_ERR_INCORRECT_STATE}})
    {
        CStreamModel model(&Rest, kReceive, kVideo);
        Rest.Stream.Results["Create"] = {row.Result};

        EXPECT_EQ(model.CreateStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), IsEmpty());
        EXPECT_EQ(model.CreateStream(), ZEFA_NO_ERROR) << "a failed create may be repeated";
    }
}

TEST_F(DestroyStream, StreamThatWasNotCreatedIsRefused)
{
    CStreamModel model(&Rest, kReceive, kVideo);

    EXPECT_EQ(model.DestroyStream(), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("The stream is not created yet.\r\n"));
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(DestroyStream, CountsAsDestroyedWhateverTheServiceSays)
{
    for (const ServiceResult& row :
         {ServiceResult{5000, ZEFA_NO_ERROR}, ServiceResult{5013, ZEFA_ERR_COMMUNICATION},
          ServiceResult{5001, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{1, ZEFA_ERR_INCORRECT_STATE}})
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["Delete"] = {row.Result};

        EXPECT_EQ(model->DestroyStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), IsEmpty());
        EXPECT_THAT(Calls(), ElementsAre("Stream.Delete(5)"));
        EXPECT_EQ(model->DestroyStream(), ZEFA_ERR_OPERATION_FAILED);
        EXPECT_EQ(model->CreateStream(), ZEFA_NO_ERROR) << "a destroyed stream may be created again";
        Forget();
    }
}

TEST_F(OpenStream, SetsOpenedAlone)
{
    auto model = Created(kReceive, kVideo);

    EXPECT_EQ(model->OpenStream(), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("Stream.SetState(5, started false, opened true)"));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(OpenStream, TranslatesAndLogsTheResult)
{
    for (const ServiceResult& row :
         {ServiceResult{5013, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{9, ZEFA_ERR_INCORRECT_STATE},
          ServiceResult{10, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{5001, ZEFA_ERR_COMMUNICATION},
          ServiceResult{5017, ZEFA_ERR_COMMUNICATION}, ServiceResult{4, ZEFA_ERR_OPERATION_FAILED},
          ServiceResult{4999, ZEFA_ERR_OPERATION_FAILED}, ServiceResult{0, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["SetState"] = {row.Result};

        EXPECT_EQ(model->OpenStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), ElementsAre("Could not open the stream: " + std::to_string(row.Result)));
    }
}

TEST_F(CloseStream, TranslatesInSilence)
{
    for (const ServiceResult& row :
         {ServiceResult{5000, ZEFA_NO_ERROR}, ServiceResult{5013, ZEFA_ERR_INCORRECT_STATE},
          ServiceResult{9, ZEFA_ERR_OPERATION_FAILED}, ServiceResult{10, ZEFA_ERR_OPERATION_FAILED},
          ServiceResult{4999, ZEFA_ERR_OPERATION_FAILED}, ServiceResult{5001, ZEFA_ERR_COMMUNICATION},
          ServiceResult{5012, ZEFA_ERR_COMMUNICATION}})
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["SetState"] = {row.Result};

        EXPECT_EQ(model->CloseStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), IsEmpty());
        EXPECT_THAT(Calls(), ElementsAre("Stream.SetState(5, started false, opened false)"));
    }
}

TEST_F(StartStream, ReceiveStreamReadsStartsAndJoinsTheRailAsConsumer)
{
    auto model = Created(kReceive, kVideo);

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("Stream.GetEssenceStatus(5, essence 1)", "Stream.GetCommonConfig(5)",
                                     "Stream.SetState(5, started true, opened true)", "Stream.GetCommonStatus(5)",
                                     "CreateInstance(1)", "Open(type 1, Name=/ring, Name=/other)", "AddConsumer"));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(StartStream, TransmitStreamHasNoConsumer)
{
    auto model = Created(kTransmit, kAudio);

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("Stream.GetEssenceStatus(5, essence 2)", "Stream.GetCommonConfig(5)",
                                     "Stream.SetState(5, started true, opened true)", "Stream.GetCommonStatus(5)",
                                     "CreateInstance(1)", "Open(type 1, Name=/ring, Name=/other)"));
}

TEST_F(StartStream, TracesUnderItsFullName)
{
    auto model = Created(kReceive, kVideo);

    model->StartStream();

    EXPECT_THAT(Captured.Lines(7), ElementsAre("Quillmont::Trellis::Zefa::CStreamModel::StartStream --> Entering ",
                                               "Quillmont::Trellis::Zefa::CStreamModel::StartStream --> Exiting "));
}

TEST_F(StartStream, RailIsAlwaysOfTheOneKindWhateverTheDescriptorSays)
{
    Rest.Stream.CommonStatus.FlowRailDescriptor.Type = 0;
    auto model = Created(kTransmit, kVideo);

    model->StartStream();

    EXPECT_THAT(Calls(), testing::IsSupersetOf({"CreateInstance(1)", "Open(type 0, Name=/ring, Name=/other)"}));
}

TEST_F(StartStream, FailedEssenceStatusLeavesTheServiceAsItIs)
{
    for (const ServiceResult& row :
         {ServiceResult{5013, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{9, ZEFA_ERR_INCORRECT_STATE},
          ServiceResult{10, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{5017, ZEFA_ERR_COMMUNICATION},
          ServiceResult{4, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["GetEssenceStatus"] = {row.Result};

        EXPECT_EQ(model->StartStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), ElementsAre("Could not get the stream essence status" + std::to_string(row.Result)));
        EXPECT_THAT(Calls(), ElementsAre("Stream.GetEssenceStatus(5, essence 1)"));
    }
}

TEST_F(StartStream, StreamOfNoKnownEssenceCannotStart)
{
    auto model = Created(kReceive, 0xFFFFFFFF);

    EXPECT_EQ(model->StartStream(), ZEFA_ERR_COMMUNICATION);

    EXPECT_THAT(Errors(), ElementsAre("Could not get the stream essence status5004"));
    EXPECT_THAT(Calls(), ElementsAre("Stream.GetEssenceStatus(null)"));
}

TEST_F(StartStream, FailedCommonConfigDoesNotStopTheStartAndLeavesThePoolsEmpty)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.Results["GetCommonConfig"] = {5001};

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    EXPECT_THAT(Errors(), ElementsAre("Could not get the common stream config5001"));
    ZEFA_TIMESTAMP timestamps[4];
    uint32_t count = 4;
    EXPECT_EQ(model->GetSlotTimestamps(Lock(*model), ZEFA_BUFFER_VIDEO_0, timestamps, &count),
              ZEFA_ERR_OPERATION_FAILED);
    EXPECT_THAT(Errors(), ElementsAre("There have been too many timestamp request.\r\n"));
}

TEST_F(StartStream, TranslatesARefusedState)
{
    for (const ServiceResult& row :
         {ServiceResult{5013, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{9, ZEFA_ERR_INCORRECT_STATE},
          ServiceResult{10, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{4, ZEFA_ERR_BAD_ARGUMENT},
          ServiceResult{5001, ZEFA_ERR_COMMUNICATION}, ServiceResult{19, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Created(kReceive, kVideo);
        Rest.Stream.Results["SetState"] = {row.Result};

        EXPECT_EQ(model->StartStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), ElementsAre("The stream could not be started" + std::to_string(row.Result)));
        EXPECT_THAT(Calls(), ElementsAre("Stream.GetEssenceStatus(5, essence 1)", "Stream.GetCommonConfig(5)",
                                         "Stream.SetState(5, started true, opened true)"));
    }
}

TEST_F(StartStream, WithoutCommonStatusSucceedsButHasNoRail)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.Results["GetCommonStatus"] = {5004};

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    EXPECT_THAT(Errors(), ElementsAre("Could not get the stream common status5004"));
    EXPECT_EQ(Rail().LivingRails(), 0u);
    void* slot = nullptr;
    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_INCORRECT_STATE);
}

TEST_F(StartStream, WithoutCommonStatusReturnsWhatTheCommonConfigLeft)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.Results["GetCommonConfig"] = {9};
    Rest.Stream.Results["GetCommonStatus"] = {5004};

    EXPECT_EQ(model->StartStream(), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_THAT(Errors(),
                ElementsAre("Could not get the common stream config9", "Could not get the stream common status5004"));
}

TEST_F(StartStream, NoRailObjectIsAFailure)
{
    auto model = Created(kReceive, kVideo);
    Rail().CreateGivesNull = true;

    EXPECT_EQ(model->StartStream(), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("The flow rail could not be created"));
    void* slot = nullptr;
    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_INCORRECT_STATE) << "and the mutex is free";
}

TEST_F(StartStream, RailThatDoesNotOpenStaysUntilTheStop)
{
    auto model = Created(kReceive, kVideo);
    Rail().Next(FakeFlowRail::OPEN, {8});

    EXPECT_EQ(model->StartStream(), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("The flow rail could not be opened. Error 8 .\r\n"));
    EXPECT_EQ(Rail().LivingRails(), 1u);
    Calls();
    EXPECT_EQ(model->StopStream(), ZEFA_NO_ERROR);
    EXPECT_THAT(Calls(), ElementsAre("Stream.SetState(5, started false, opened true)", "RemoveConsumer(0)", "Close",
                                     "delete rail"));
}

TEST_F(StartStream, RefusedConsumerIsAFailureAndTheRailStays)
{
    auto model = Created(kReceive, kVideo);
    Rail().Next(FakeFlowRail::ADD_CONSUMER, {10});

    EXPECT_EQ(model->StartStream(), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("A consumer could not be added to the flow rail. Error 10 .\r\n"));
    EXPECT_EQ(Rail().LivingRails(), 1u);
}

TEST_F(StartStream, StartUponAStartReleasesTheRailOfTheFirst)
{
    auto model = Started();

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    EXPECT_EQ(Rail().LivingRails(), 1u);
}

TEST_F(StartStream, StartingAgainAlignsOnceMore)
{
    auto model = Aligned();
    model->StopStream();
    model->StartStream();
    Calls();

    void* slot = nullptr;
    EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("GetConsumerAlignment(77)", "LockConsumer(77, 4096, 100)"));
}

TEST_F(StartStream, StartingAgainAddsPoolElements)
{
    auto model = Started();
    model->StopStream();
    model->StartStream();
    ZEFA_TIMESTAMP timestamp;
    uint32_t count = 1;

    for (uint32_t i = 0; i < 2 * kSlots; ++i)
        EXPECT_EQ(model->GetSlotTimestamps(Lock(*model), ZEFA_BUFFER_VIDEO_0, &timestamp, &(count = 1)), ZEFA_NO_ERROR)
            << i;
    EXPECT_EQ(model->GetSlotTimestamps(Lock(*model), ZEFA_BUFFER_VIDEO_0, &timestamp, &(count = 1)),
              ZEFA_ERR_OPERATION_FAILED);
}

TEST_F(StartStream, DepthFromABadServiceDoesNotExhaustTheMemory)
{
    Rest.Stream.CommonConfig.ApplicativeBufferQueueDepth = 0xFFFFFFFF;
    auto model = Created(kReceive, kVideo);

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    ZEFA_TIMESTAMP timestamp;
    uint32_t count = 1;
    EXPECT_EQ(model->GetSlotTimestamps(Lock(*model), ZEFA_BUFFER_VIDEO_0, &timestamp, &count), ZEFA_NO_ERROR);
}

TEST_F(StartStream, BufferTypesFollowTheEssenceAndTheKey)
{
    struct Row
    {
        uint32_t Essence, Key, BufferType;
    };
    const Row rows[] = {
        {kVideo, 0, 0x1000000},      {kVideo, 1, 0x1000001},      {kVideo, 9, 0x1000001},
        {kAudio, 0, 0x2000000},      {kAudio, 1, 0x2000001},      {kAudio, 7, 0x2000001},
        {kAncillary, 0, 0x3000000},  {kAncillary, 1, 0x3000001},  {kAncillary, 15, 0x300000F},
        {kAncillary, 16, 0x3000010}, {kAncillary, 17, 0x3000010}, {kAncillary, 0xFFFFFFFF, 0x3000010},
    };
    for (const Row& row : rows)
    {
        Rest.Stream.BufferInfo = {{row.Key, BUFFER_INFO(16, 32)}};
        auto model = Started(kReceive, row.Essence);
        uint8_t* address = nullptr;
        uint32_t size = 0;

        EXPECT_EQ(model->GetSlotBuffer(Lock(*model), row.BufferType, &address, &size), ZEFA_NO_ERROR)
            << row.Essence << " " << row.Key;

        EXPECT_EQ(size, 32u);
    }
}

TEST_F(StartStream, OfSeveralKeysOnOneTypeTheLastWins)
{
    Rest.Stream.BufferInfo = {{16, BUFFER_INFO(0, 10)}, {20, BUFFER_INFO(10, 20)}, {99, BUFFER_INFO(30, 40)}};
    auto model = Started(kReceive, kAncillary);
    uint8_t* address = nullptr;
    uint32_t size = 0;

    EXPECT_EQ(model->GetSlotBuffer(Lock(*model), ZEFA_BUFFER_ANC_OTHER, &address, &size), ZEFA_NO_ERROR);

    EXPECT_EQ(size, 40u);
}

TEST_F(StartStream, BuffersOfAnEarlierStartStayWhereTheNewHasNone)
{
    auto model = Started();
    model->StopStream();
    Rest.Stream.BufferInfo = {{0, BUFFER_INFO(8, 16)}};
    model->StartStream();
    void* slot = Lock(*model);
    uint8_t* address = nullptr;
    uint32_t first = 0, second = 0;

    EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, &address, &first), ZEFA_NO_ERROR);
    EXPECT_EQ(model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_1, &address, &second), ZEFA_NO_ERROR);

    EXPECT_EQ(first, 16u);
    EXPECT_EQ(second, 2000u);
}

TEST_F(StopStream, ReceiveStreamStopsTheServiceThenLeavesTheRail)
{
    auto model = Started();

    EXPECT_EQ(model->StopStream(), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("Stream.SetState(5, started false, opened true)", "RemoveConsumer(77)", "Close",
                                     "delete rail"));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(StopStream, TransmitStreamHasNoConsumerToRemove)
{
    auto model = Started(kTransmit);

    EXPECT_EQ(model->StopStream(), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("Stream.SetState(5, started false, opened true)", "Close", "delete rail"));
}

TEST_F(StopStream, StreamThatWasNeverStartedReturnsWhatTheServiceSays)
{
    auto model = Created(kReceive, kVideo);
    Rest.Stream.Results["SetState"] = {5000, 5013};

    EXPECT_EQ(model->StopStream(), ZEFA_NO_ERROR);
    EXPECT_EQ(model->StopStream(), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_THAT(Calls(), ElementsAre("Stream.SetState(5, started false, opened true)",
                                     "Stream.SetState(5, started false, opened true)"));
}

TEST_F(StopStream, RefusedStateIsReportedAndTheRailIsLeftAllTheSame)
{
    for (const ServiceResult& row :
         {ServiceResult{5013, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{5001, ZEFA_ERR_COMMUNICATION},
          ServiceResult{9, ZEFA_ERR_OPERATION_FAILED}, ServiceResult{10, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Started();
        Rest.Stream.Results["SetState"] = {row.Result};

        EXPECT_EQ(model->StopStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(),
                    ElementsAre("The stream could not be stopped. Server error " + std::to_string(row.Result)));
        EXPECT_EQ(Rail().LivingRails(), 0u);
    }
}

TEST_F(StopStream, ConsumerThatStaysReplacesTheServicesCode)
{
    for (const ServiceResult& row :
         {ServiceResult{8, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{12, ZEFA_ERR_BAD_ARGUMENT},
          ServiceResult{1, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Started();
        Rest.Stream.Results["SetState"] = {5001};
        Rail().Next(FakeFlowRail::REMOVE_CONSUMER, {row.Result});

        EXPECT_EQ(model->StopStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), ElementsAre("The stream could not be stopped. Server error 5001",
                                          "A consumer could not be removed to the flow rail. Error " +
                                              std::to_string(row.Result)));
        EXPECT_EQ(Rail().LivingRails(), 0u) << "the close succeeded";
    }
}

TEST_F(StopStream, FailedCloseKeepsTheRailAndALaterStopTriesAgain)
{
    for (const ServiceResult& row :
         {ServiceResult{8, ZEFA_ERR_INCORRECT_STATE}, ServiceResult{12, ZEFA_ERR_OPERATION_FAILED},
          ServiceResult{1, ZEFA_ERR_OPERATION_FAILED}})
    {
        auto model = Started();
        Rail().Next(FakeFlowRail::REMOVE_CONSUMER, {12});
        Rail().Next(FakeFlowRail::CLOSE, {row.Result});

        EXPECT_EQ(model->StopStream(), row.Expected) << row.Result;

        EXPECT_THAT(Errors(), ElementsAre("A consumer could not be removed to the flow rail. Error 12",
                                          "The flow rail could not be closed. Error " + std::to_string(row.Result)));
        EXPECT_EQ(Rail().LivingRails(), 1u);
        Calls();
        EXPECT_EQ(model->StopStream(), ZEFA_NO_ERROR);
        EXPECT_THAT(Calls(), ElementsAre("Stream.SetState(5, started false, opened true)", "RemoveConsumer(77)",
                                         "Close", "delete rail"));
    }
}

TEST_F(StopStream, StreamDestroyedWithoutAStopLeavesItsRailAlone)
{
    auto model = Started();

    model.reset();

    EXPECT_THAT(Calls(), IsEmpty());
    EXPECT_EQ(Rail().LivingRails(), 1u);
}

TEST_F(Trace, EveryMethodTracesUnderItsFullName)
{
    static ZEFA_STREAM_COMMON_CONFIG common;
    static ZEFA_STREAM_NETWORK_CONFIG network;
    static ZEFA_ESSENCE_CONFIG essence;
    struct Row
    {
        const char* Name;
        void (*Call)(CStreamModel&);
    };
    const Row rows[] = {
        {"CreateStream", [](CStreamModel& model) { model.CreateStream(); }},
        {"OpenStream", [](CStreamModel& model) { model.OpenStream(); }},
        {"StartStream", [](CStreamModel& model) { model.StartStream(); }},
        {"StopStream", [](CStreamModel& model) { model.StopStream(); }},
        {"CloseStream", [](CStreamModel& model) { model.CloseStream(); }},
        {"GetCommonConfig", [](CStreamModel& model) { model.GetCommonConfig(&common); }},
        {"SetCommonConfig", [](CStreamModel& model) { model.SetCommonConfig(&common); }},
        {"GetNetworkConfig", [](CStreamModel& model) { model.GetNetworkConfig(&network); }},
        {"SetNetworkConfig", [](CStreamModel& model) { model.SetNetworkConfig(&network); }},
        {"GetEssenceConfig", [](CStreamModel& model) { model.GetEssenceConfig(&essence); }},
        {"SetEssenceConfig", [](CStreamModel& model) { model.SetEssenceConfig(&essence); }},
        {"GetCommonStatus",
         [](CStreamModel& model)
         {
             ZEFA_STREAM_COMMON_STATUS status;
             model.GetCommonStatus(&status);
         }},
        {"GetNetworkStatus",
         [](CStreamModel& model)
         {
             ZEFA_STREAM_NETWORK_STATUS status;
             model.GetNetworkStatus(&status);
         }},
        {"LockSlot",
         [](CStreamModel& model)
         {
             void* slot = nullptr;
             model.LockSlot(&slot);
         }},
        {"UnlockSlot", [](CStreamModel& model) { model.UnlockSlot(nullptr); }},
        {"GetSlotBuffer", [](CStreamModel& model) { model.GetSlotBuffer(nullptr, 0, nullptr, nullptr); }},
        {"GetSlotTimestamps", [](CStreamModel& model) { model.GetSlotTimestamps(nullptr, 0, nullptr, nullptr); }},
        {"GetSlotLostData", [](CStreamModel& model) { model.GetSlotLostData(nullptr, 0, nullptr, nullptr); }},
        {"SetSlotTimestamps", [](CStreamModel& model) { model.SetSlotTimestamps(nullptr, 0, nullptr, 0); }},
        {"DestroyStream", [](CStreamModel& model) { model.DestroyStream(); }},
    };
    CStreamModel model(&Rest, kReceive, kVideo);
    for (const Row& row : rows)
    {
        Captured.Clear();

        row.Call(model);

        const std::string name = std::string("Quillmont::Trellis::Zefa::CStreamModel::") + row.Name;
        EXPECT_THAT(Captured.Lines(7), ElementsAre(name + " --> Entering ", name + " --> Exiting "));
    }
}
} // namespace

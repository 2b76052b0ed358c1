// What the tests of the stream model share: a model on a fake REST client and the fake rail, with the log captured.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "stream/CStreamModel.h"
#include "support/CallJournal.h"
#include "support/FakeFlowRail.h"
#include "support/FakeRestClient.h"
#include "support/LogCapture.h"

using Quillmont::Trellis::Mxs::RtpEssence::BUFFER_INFO;
using Quillmont::Trellis::Zefa::CStreamModel;
using testing::ElementsAre;
using testing::IsEmpty;

class StreamModelTest : public testing::Test
{
protected:
    using Texts = std::vector<std::string>;

    static constexpr uint32_t kSlotBytes = 4096;
    static constexpr uint32_t kSlots = 4;
    static constexpr uint32_t kReceive = 0;
    static constexpr uint32_t kTransmit = 1;
    static constexpr uint32_t kVideo = 0;
    static constexpr uint32_t kAudio = 1;
    static constexpr uint32_t kAncillary = 2;

    StreamModelTest()
    {
        Rail().Reset(16, kSlotBytes);
        Rail().AlignmentBytes = kSlotBytes;
        Rest.Stream.NewId = 5;
        Rest.Stream.LockSize = kSlotBytes;
        Rest.Stream.CommonConfig.ApplicativeBufferQueueDepth = kSlots;
        Rest.Stream.CommonStatus.FlowRailDescriptor.Type = 1;
        Rest.Stream.CommonStatus.FlowRailDescriptor.Description = {{"Name", "/ring"}, {"Name", "/other"}};
        Rest.Stream.BufferInfo = {{0, BUFFER_INFO(0, 1000)}, {1, BUFFER_INFO(1024, 2000)}};
    }

    ~StreamModelTest() override
    {
        Rail().Reset(0, 0);
        Calls();
    }

    static FakeFlowRail& Rail() { return FakeFlowRail::Instance(); }

    // The fakes' calls since the last look, in order.
    static Texts Calls() { return CallJournal::Instance().Take(); }

    // The log lines of one priority since the last look.
    Texts Errors() { return Logged(3); }
    Texts Warnings() { return Logged(4); }

    // A stream that exists at the service as number 5.
    std::unique_ptr<CStreamModel> Created(uint32_t streamType, uint32_t essenceType)
    {
        auto model = std::make_unique<CStreamModel>(&Rest, streamType, essenceType);
        EXPECT_EQ(model->CreateStream(), ZEFA_NO_ERROR);
        Forget();
        return model;
    }

    std::unique_ptr<CStreamModel> Started(uint32_t streamType = kReceive, uint32_t essenceType = kVideo)
    {
        auto model = Created(streamType, essenceType);
        EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);
        Forget();
        return model;
    }

    // A started receive stream whose consumer stands on a slot boundary, and knows it.
    std::unique_ptr<CStreamModel> Aligned()
    {
        auto model = Started();
        void* slot = nullptr;
        EXPECT_EQ(model->LockSlot(&slot), ZEFA_NO_ERROR);
        EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);
        Forget();
        return model;
    }

    static void* Lock(CStreamModel& model)
    {
        void* slot = nullptr;
        EXPECT_EQ(model.LockSlot(&slot), ZEFA_NO_ERROR);
        Calls();
        return slot;
    }

    void Forget()
    {
        Calls();
        Captured.Clear();
    }

    FakeRestClient Rest;
    LogCapture Captured;

private:
    Texts Logged(uint32_t priority)
    {
        Texts lines = Captured.Lines(priority);
        Captured.Clear();
        return lines;
    }
};

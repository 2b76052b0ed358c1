// Slots of a stream that is not started: what the exported functions add to the model. Whole roads with slots are
// tested against the service itself.
#include "ApiTest.h"

namespace
{
using SlotBeforeStart = StreamTest;
} // namespace

TEST_F(SlotBeforeStart, FailedLockIsTold)
{
    ZEFA_SLOT slot = nullptr;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_LockSlot(Stream, &slot); }), Texts{"The lock slot failed."});
    EXPECT_EQ(result, ZEFA_ERR_INCORRECT_STATE);
    EXPECT_EQ(slot, nullptr);
}

TEST_F(SlotBeforeStart, FailedUnlockIsTold)
{
    int noSlot = 0;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_UnlockSlot(Stream, &noSlot); }), Texts{"The slot could not be unlocked."});
    EXPECT_EQ(result, ZEFA_ERR_INCORRECT_STATE);
}

TEST_F(SlotBeforeStart, BufferAsksForItsPointersFirst)
{
    int noSlot = 0;
    uint8_t* buffer = nullptr;
    uint32_t size = 0;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    for (const auto& call :
         {std::function<ZEFA_ERRORCODE()>(
              [&] { return ZEFA_GetSlotBuffer(Stream, nullptr, ZEFA_BUFFER_VIDEO_0, &buffer, &size); }),
          std::function<ZEFA_ERRORCODE()>(
              [&] { return ZEFA_GetSlotBuffer(Stream, &noSlot, ZEFA_BUFFER_VIDEO_0, nullptr, &size); }),
          std::function<ZEFA_ERRORCODE()>(
              [&] { return ZEFA_GetSlotBuffer(Stream, &noSlot, ZEFA_BUFFER_VIDEO_0, &buffer, nullptr); })})
    {
        EXPECT_EQ(ErrorsOf([&] { result = call(); }), Texts{"One of the pointer is null. \r\n"});
        EXPECT_EQ(result, ZEFA_ERR_INVALID_POINTER);
    }
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetSlotBuffer(Stream, &noSlot, ZEFA_BUFFER_VIDEO_0, &buffer, &size); }),
              Texts{});
    EXPECT_EQ(result, ZEFA_ERR_INCORRECT_STATE);
}

TEST_F(SlotBeforeStart, MetadataTellsANullPointerAndStillReturnsTheState)
{
    int noSlot = 0;
    uint32_t count = 1;
    ZEFA_TIMESTAMP timestamp{};
    ZEFA_LOST_DATA lost{};
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetSlotTimestamps(Stream, &noSlot, 0, nullptr, &count); }),
              Texts{"One of the pointer is null. \r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INCORRECT_STATE);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_GetSlotLostDataInfo(Stream, &noSlot, 0, &lost, nullptr); }),
              Texts{"One of the pointer is null. \r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INCORRECT_STATE);
    EXPECT_EQ(ErrorsOf([&] { result = ZEFA_SetSlotTimestamps(Stream, nullptr, 0, &timestamp, 1); }),
              Texts{"The slot is null. \r\n"});
    EXPECT_EQ(result, ZEFA_ERR_INCORRECT_STATE);
}

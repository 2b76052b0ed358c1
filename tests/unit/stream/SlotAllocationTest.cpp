// No slot operation allocates: every allocation of this thread is counted while one runs.
#include "StreamModelTest.h"

#include <cstdlib>
#include <new>

namespace
{
thread_local bool Counting = false;
thread_local int Allocations = 0;

void* Allocate(std::size_t size)
{
    if (Counting) ++Allocations;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
} // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}

void* operator new[](std::size_t size)
{
    return Allocate(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace
{
template <class TAction>
int AllocationsOf(TAction action)
{
    Allocations = 0;
    Counting = true;
    action();
    Counting = false;
    return Allocations;
}

// Without a log sink, which would have lines to take.
class SlotOperations : public testing::Test
{
protected:
    SlotOperations()
    {
        FakeFlowRail& rail = FakeFlowRail::Instance();
        rail.Reset(4, 4096);
        rail.AlignmentBytes = 1000;
        for (FakeFlowRail::Slot& slot : rail.Slots)
            for (uint32_t i = 0; i < CStreamModel::kRecordsReserved; ++i)
                slot.Records.insert(slot.Records.end(), {{1, i, i}, {3, i, i}});
        Rest.Stream.LockSize = 4096;
        Rest.Stream.CommonConfig.ApplicativeBufferQueueDepth = 4;
        Rest.Stream.BufferInfo = {{0, BUFFER_INFO(0, 1000)}, {1, BUFFER_INFO(1000, 1000)}};
    }

    ~SlotOperations() override { FakeFlowRail::Instance().Reset(0, 0); }

    void Start(CStreamModel& model)
    {
        ASSERT_EQ(model.CreateStream(), ZEFA_NO_ERROR);
        ASSERT_EQ(model.StartStream(), ZEFA_NO_ERROR);
        FakeFlowRail::Instance().Journals = false;
    }

    FakeRestClient Rest;
};

TEST_F(SlotOperations, CountingAllocatorCounts)
{
    EXPECT_EQ(AllocationsOf([] { delete[] new int[100]; }), 1);
}

TEST_F(SlotOperations, ReceiveAllocatesNothingFromTheFirstLockOn)
{
    CStreamModel model(&Rest, 0, 0);
    Start(model);
    std::vector<ZEFA_TIMESTAMP> timestamps(200);
    std::vector<ZEFA_LOST_DATA> segments(200);
    uint32_t served = 0;

    const int allocations = AllocationsOf(
        [&]
        {
            for (int i = 0; i < 100; ++i)
            {
                void* slots[2] = {};
                for (void*& slot : slots)
                {
                    model.LockSlot(&slot);
                    for (const uint32_t bufferType : {ZEFA_BUFFER_VIDEO_0, ZEFA_BUFFER_VIDEO_1})
                    {
                        uint8_t* address = nullptr;
                        uint32_t size = 0, count = 200;
                        model.GetSlotBuffer(slot, bufferType, &address, &size);
                        model.GetSlotTimestamps(slot, bufferType, timestamps.data(), &count);
                        served += count;
                        model.GetSlotLostData(slot, bufferType, segments.data(), &(count = 200));
                        served += count;
                    }
                }
                for (void* slot : slots)
                    model.UnlockSlot(slot);
            }
        });

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(served, 100u * 2 * 2 * 100);
}

TEST_F(SlotOperations, TransmitAllocatesNothing)
{
    CStreamModel model(&Rest, 1, 0);
    Start(model);
    ZEFA_ERRORCODE worst = ZEFA_NO_ERROR;

    const int allocations = AllocationsOf(
        [&]
        {
            for (int i = 0; i < 100; ++i)
            {
                void* slot = nullptr;
                uint8_t* address = nullptr;
                uint32_t size = 0;
                const ZEFA_TIMESTAMP timestamp{0, 1};
                worst = std::max(worst, model.LockSlot(&slot));
                worst = std::max(worst, model.GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, &address, &size));
                worst = std::max(worst, model.SetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, &timestamp, 1));
                worst = std::max(worst, model.UnlockSlot(slot));
            }
        });

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(worst, ZEFA_NO_ERROR);
}
} // namespace

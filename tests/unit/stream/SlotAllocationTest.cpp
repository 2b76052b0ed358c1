// No slot operation allocates: every allocation of this thread is counted while one runs. And what becomes of ancillary
// slots when there is no memory.
#include "StreamModelTest.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "stream/CStreamModel_Anc.h"

using Quillmont::Trellis::Zefa::CStreamModel_Anc;

namespace
{
thread_local bool Counting = false;
thread_local int Allocations = 0;
thread_local bool NoMemory = false;
thread_local int AllocationsToFailure = 0; // 0: none fails

void* Allocate(std::size_t size)
{
    if (Counting) ++Allocations;
    if (NoMemory || (AllocationsToFailure != 0 && --AllocationsToFailure == 0)) throw std::bad_alloc();
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
} // namespace

void* operator new(std::size_t size)
{
    return Allocate(size);
}

// What the chunks of a store come from.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (Counting) ++Allocations;
    return NoMemory ? nullptr : std::malloc(size);
}

// What the lines of a store come from; the linker leads calls here.
extern "C" void* __real_calloc(std::size_t count, std::size_t size);
extern "C" void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return NoMemory ? nullptr : __real_calloc(count, size);
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

TEST_F(SlotOperations, WarningOfMoreRecordsThanThereIsRoomForIsNotBuiltForNobody)
{
    CStreamModel model(&Rest, 0, 0);
    Start(model);
    void* slot = nullptr;
    ASSERT_EQ(model.LockSlot(&slot), ZEFA_NO_ERROR);
    ZEFA_TIMESTAMP timestamp{};
    ZEFA_LOST_DATA segment{};
    uint32_t timestamps = 1, segments = 1;

    const int allocations = AllocationsOf(
        [&]
        {
            model.GetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, &timestamp, &timestamps);
            model.GetSlotLostData(slot, ZEFA_BUFFER_VIDEO_0, &segment, &segments);
        });

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(timestamps, 1u);
    EXPECT_EQ(segments, 1u);
}

TEST_F(SlotOperations, TimeOutOfTheExportedLockAllocatesNothing)
{
    CStreamModel model(&Rest, 0, 0);
    Start(model);
    FakeFlowRail::Instance().Always(FakeFlowRail::LOCK_CONSUMER, FLOW_RAIL_TIMEOUT);
    ZEFA_SLOT slot = nullptr;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;

    EXPECT_EQ(AllocationsOf([&] { result = ZEFA_LockSlot(&model, &slot); }), 0);

    EXPECT_EQ(result, ZEFA_ERR_TIMEOUT);
}

// ---- without memory ----

TEST_F(SlotOperations, StartThatFindsNoMemoryLeavesAStreamThatAlignsAnewAndKnowsWhatItHas)
{
    FakeFlowRail& rail = FakeFlowRail::Instance();
    int attached = 0;
    for (int place = 1;; ++place) // each allocation of the start fails in turn
    {
        rail.Journals = true;
        CStreamModel model(&Rest, 0, 0);
        Start(model);
        void* slot = nullptr;
        ASSERT_EQ(model.LockSlot(&slot), ZEFA_NO_ERROR);
        ASSERT_EQ(model.StopStream(), ZEFA_NO_ERROR);

        bool failed = false;
        AllocationsToFailure = place;
        try
        {
            model.StartStream();
        }
        catch (const std::bad_alloc&)
        {
            failed = true;
        }
        AllocationsToFailure = 0;

        if (failed && rail.LivingRails() == 1)
        {
            ++attached;
            rail.Next(FakeFlowRail::GET_CONSUMER_ALIGNMENT, {8});
            EXPECT_EQ(model.LockSlot(&slot), ZEFA_ERR_INCORRECT_STATE) << place << ": it does not align";
            uint32_t served = 0;
            for (FakeFlowRail::Slot& each : rail.Slots)
            {
                ZEFA_TIMESTAMP timestamp{};
                ZEFA_LOST_DATA segment{};
                uint32_t count = 1;
                if (model.GetSlotTimestamps(&each, ZEFA_BUFFER_VIDEO_0, &timestamp, &count) == ZEFA_NO_ERROR) ++served;
                if (model.GetSlotLostData(&each, ZEFA_BUFFER_VIDEO_0, &segment, &(count = 1)) == ZEFA_NO_ERROR)
                    ++served;
            }
            EXPECT_EQ(served, 8u) << place << ": the elements of the first start are there";
        }
        EXPECT_EQ(model.StopStream(), ZEFA_NO_ERROR);
        if (!failed) break;
    }
    EXPECT_GT(attached, 10); // of four elements with four pools each
}

TEST(SlotCache, ElementWithoutMemoryForItsNodeDoesNotCount)
{
    Quillmont::Trellis::Zefa::TSlotCache<ZEFA_TIMESTAMP> cache;
    cache.Reserve(2);
    cache.AddElement();

    NoMemory = true;
    EXPECT_THROW(cache.AddElement(), std::bad_alloc);
    NoMemory = false;

    int slot = 0;
    EXPECT_FALSE(cache.IsFull());
    cache.Enter(&slot, {});
    EXPECT_TRUE(cache.IsFull());
}

// An ancillary slot with a playlist of one packet in each of its buffers.
class AncSlotOperations : public SlotOperations
{
protected:
    AncSlotOperations()
    {
        Rest.Stream.BufferInfo.clear();
        for (uint32_t key = 0; key < 16; ++key)
            Rest.Stream.BufferInfo.emplace(key, BUFFER_INFO(key * 256, 256));
        constexpr uint16_t kPlaylist[] = {30,    0,     0,     0,     0x800A, 14,     0,     0x3FF,
                                          0x3FF, 0x241, 0x205, 0x200, 0x246,  0xFFFF, 0xFFFF};
        for (FakeFlowRail::Slot& slot : FakeFlowRail::Instance().Slots)
            for (size_t key = 0; key < 16; ++key)
                std::memcpy(slot.Bytes.data() + key * 256, kPlaylist, sizeof kPlaylist);
    }

    void Configure(CStreamModel& model, uint32_t standard = 7)
    {
        ZEFA_ESSENCE_CONFIG config{};
        config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
        config.Essence_X.ST2110_40_X.VideoStandard_E = standard;
        ASSERT_EQ(model.SetEssenceConfig(&config), ZEFA_NO_ERROR);
    }
};

TEST_F(AncSlotOperations, ReceiveAllocatesNothingFromTheFirstLockOn)
{
    CStreamModel_Anc model(&Rest, 0, 2);
    Configure(model);
    Start(model);
    uint32_t packets = 0;

    const int allocations = AllocationsOf(
        [&]
        {
            for (int i = 0; i < 20; ++i)
            {
                void* slot = nullptr;
                model.LockSlot(&slot);
                for (uint32_t key = 0; key < 16; ++key)
                {
                    uint32_t count = 0;
                    model.GetNbPackets(slot, 10, ZEFA_BUFFER_ANC_0 + key, &count);
                    packets += count;
                }
                model.UnlockSlot(slot);
            }
        });

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(packets, 20u * 16);
}

TEST_F(AncSlotOperations, TransmitAllocatesNothing)
{
    CStreamModel_Anc model(&Rest, 1, 2);
    Configure(model);
    Start(model);
    ZEFA_ERRORCODE worst = ZEFA_NO_ERROR;

    const int allocations = AllocationsOf(
        [&]
        {
            for (int i = 0; i < 20; ++i)
            {
                void* slot = nullptr;
                ZEFA_ANC_PACKET* packet = nullptr;
                worst = std::max(worst, model.LockSlot(&slot));
                worst = std::max(worst, model.AllocatePacket(slot, 32, &packet));
                worst = std::max(worst, model.InsertPacket(slot, 10, ZEFA_BUFFER_ANC_0, -1, packet));
                worst = std::max(worst, model.UnlockSlot(slot));
            }
        });

    EXPECT_EQ(allocations, 0);
    EXPECT_EQ(worst, ZEFA_NO_ERROR);
}

TEST_F(AncSlotOperations, ReadingMorePacketsThanThereIsMemoryForFails)
{
    // 1100 packets on five lines, where the first chunk of a store, which it has from the start on, holds 1024.
    constexpr size_t kSlotBytes = 16384;
    constexpr uint16_t kPacket[] = {0, 0x3FF, 0x3FF, 0x241, 0x205, 0x200, 0x246};
    std::vector<uint16_t> words{0, 0, 0, 0};
    for (uint16_t line = 1; line <= 5; ++line)
    {
        words.insert(words.end(), {static_cast<uint16_t>(0x8000 + line), 220 * sizeof kPacket});
        for (int i = 0; i < 220; ++i)
            words.insert(words.end(), std::begin(kPacket), std::end(kPacket));
    }
    words.resize(kSlotBytes / 2, 0xFFFF);
    FakeFlowRail::Instance().Reset(4, kSlotBytes);
    FakeFlowRail::Instance().AlignmentBytes = kSlotBytes;
    std::memcpy(FakeFlowRail::Instance().Slots[0].Bytes.data(), words.data(), kSlotBytes);
    Rest.Stream.LockSize = kSlotBytes;
    Rest.Stream.BufferInfo = {{0, BUFFER_INFO(0, kSlotBytes)}};
    CStreamModel_Anc model(&Rest, 0, 2);
    Configure(model);
    Start(model);
    void* slot = nullptr;
    ASSERT_EQ(model.LockSlot(&slot), ZEFA_NO_ERROR);
    uint32_t count = 0;

    NoMemory = true;
    const ZEFA_ERRORCODE result = ZEFA_SlotAncGetNbPackets(&model, slot, 5, ZEFA_BUFFER_ANC_0, &count);
    NoMemory = false;

    EXPECT_EQ(result, ZEFA_ERR_FATAL);
    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(&model, slot, 5, ZEFA_BUFFER_ANC_0, &count), ZEFA_NO_ERROR);
    EXPECT_EQ(count, 144u); // 1024 - 4 x 220: the next call goes on behind the playlist
}

TEST_F(AncSlotOperations, MorePacketsThanThereIsMemoryForAreRefused)
{
    CStreamModel_Anc model(&Rest, 1, 2);
    Configure(model);
    Start(model);
    void* slot = nullptr;
    ZEFA_ANC_PACKET* packet = nullptr;
    ASSERT_EQ(model.LockSlot(&slot), ZEFA_NO_ERROR);

    NoMemory = true;
    int packets = 0;
    ZEFA_ERRORCODE result = ZEFA_NO_ERROR;
    while (packets <= 1024 && (result = ZEFA_SlotAncAllocatePacket(&model, slot, 0, &packet)) == ZEFA_NO_ERROR)
        ++packets;
    NoMemory = false;

    EXPECT_EQ(packets, 1024); // of the first chunk
    EXPECT_EQ(result, ZEFA_ERR_INCORRECT_STATE);
    EXPECT_EQ(packet, nullptr);
    EXPECT_EQ(ZEFA_SlotAncAllocatePacket(&model, slot, 0, &packet), ZEFA_NO_ERROR);
}

TEST_F(AncSlotOperations, UnlockWithoutMemoryForTheLinesOfAnotherStandardGivesTheElementBackAllTheSame)
{
    FakeFlowRail::Instance().Reset(8, 4096); // more than elements
    CStreamModel_Anc model(&Rest, 1, 2);
    Configure(model);
    Start(model);
    void* slot = nullptr;
    for (int i = 0; i < 4; ++i) // all elements
        ASSERT_EQ(model.LockSlot(&slot), ZEFA_NO_ERROR);
    Configure(model, 0);

    NoMemory = true;
    bool raised = false;
    try
    {
        model.UnlockSlot(slot);
    }
    catch (const std::bad_alloc&)
    {
        raised = true;
    }
    NoMemory = false;

    EXPECT_TRUE(raised);
    uint32_t count = 0;
    ASSERT_EQ(model.LockSlot(&slot), ZEFA_NO_ERROR);
    EXPECT_EQ(model.GetNbPackets(slot, 10, ZEFA_BUFFER_ANC_1, &count), ZEFA_ERR_BAD_ARGUMENT); // the store has no line
    EXPECT_EQ(model.UnlockSlot(slot), ZEFA_NO_ERROR);
    ASSERT_EQ(model.LockSlot(&slot), ZEFA_NO_ERROR);
    EXPECT_EQ(model.GetNbPackets(slot, 525, ZEFA_BUFFER_ANC_1, &count), ZEFA_NO_ERROR);
}
} // namespace

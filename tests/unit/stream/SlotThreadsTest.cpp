// The media thread beside the control thread: slots are locked and given back while the status is read and the stream
// is stopped. What it shows is that the thread sanitizer has nothing to say, and that the stop ends the loop.
#include "StreamModelTest.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <unistd.h>

#include "stream/CStreamModel_Anc.h"

namespace
{
class SlotThreads : public StreamModelTest
{
};

TEST_F(SlotThreads, StatusAndStopBesideTheMediaLoop)
{
    for (const uint32_t type : {kReceive, kTransmit})
    {
        auto model = Started(type);
        Rail().Journals = false;
        std::atomic<uint32_t> cycles{0};
        std::thread media(
            [&]
            {
                for (;;)
                {
                    void* slot = nullptr;
                    if (model->LockSlot(&slot) != ZEFA_NO_ERROR) break;
                    uint8_t* address = nullptr;
                    uint32_t size = 0, count = 4;
                    ZEFA_TIMESTAMP timestamps[4];
                    if (model->GetSlotBuffer(slot, ZEFA_BUFFER_VIDEO_0, &address, &size) == ZEFA_NO_ERROR)
                        model->GetSlotTimestamps(slot, ZEFA_BUFFER_VIDEO_0, timestamps, &count);
                    model->UnlockSlot(slot);
                    ++cycles;
                }
            });

        ZEFA_STREAM_COMMON_CONFIG config{};
        config.LockTimeoutMs_UL = 10;
        ZEFA_STREAM_COMMON_STATUS status{};
        for (int i = 0; i < 50 || cycles < 50; ++i)
        {
            EXPECT_EQ(model->GetCommonStatus(&status), ZEFA_NO_ERROR);
            EXPECT_EQ(model->SetCommonConfig(&config), ZEFA_NO_ERROR);
            std::this_thread::yield();
        }
        EXPECT_EQ(model->StopStream(), ZEFA_NO_ERROR);
        media.join();

        EXPECT_EQ(model->GetCommonStatus(&status), ZEFA_ERR_INCORRECT_STATE);
        EXPECT_EQ(Rail().LivingRails(), 0u);
    }
}

bool Sleeps(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string line;
    std::getline(file, line);
    const size_t name = line.rfind(')');
    return name != std::string::npos && line.compare(name, 3, ") S") == 0;
}

// Each lock of the loop waits until the other thread's call sleeps behind it, and then times out.
TEST_F(SlotThreads, CallBesideALoopThatFindsNoSlotComesNext)
{
    auto model = Aligned();
    void* const kept = Lock(*model);
    Rail().Journals = false;
    Rail().Always(FakeFlowRail::LOCK_CONSUMER, FLOW_RAIL_TIMEOUT);
    constexpr int kFew = 3; // one, were it not that a thread may sleep for another reason before it asks
    constexpr int kEnough = 1000;
    std::atomic<pid_t> calling{0};
    std::atomic<int> timeouts{0};
    std::atomic<bool> waits{false}, ended{false};
    Rail().WhileLocking = [&]
    {
        waits = true;
        do // sleeps in each round, as a wait does: whoever has slept is not set aside for a thread that it wakes
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        while (!ended && (calling == 0 || !Sleeps(calling)));
        waits = false;
        ++timeouts;
    };
    std::thread media(
        [&]
        {
            void* slot = nullptr;
            while (timeouts < kEnough && model->LockSlot(&slot) == ZEFA_ERR_TIMEOUT)
                continue;
        });
    const auto timeoutsBeside = [&](auto call)
    {
        while (!waits && timeouts < kEnough)
            std::this_thread::yield();
        const int before = timeouts;
        calling = gettid();
        EXPECT_EQ(call(), ZEFA_NO_ERROR);
        calling = 0;
        return timeouts - before;
    };

    for (int i = 0; i < 100; ++i)
    {
        ZEFA_STREAM_COMMON_STATUS status{};
        EXPECT_LE(timeoutsBeside([&] { return model->GetCommonStatus(&status); }), kFew);
        uint8_t* address = nullptr;
        uint32_t size = 0;
        EXPECT_LE(timeoutsBeside([&] { return model->GetSlotBuffer(kept, ZEFA_BUFFER_VIDEO_0, &address, &size); }),
                  kFew);
    }
    EXPECT_LE(timeoutsBeside([&] { return model->UnlockSlot(kept); }), kFew);
    EXPECT_LE(timeoutsBeside([&] { return model->StopStream(); }), kFew);

    ended = true;
    media.join();
}

// Playlists are read and written in the memory of slots, which the stop takes away.
TEST_F(SlotThreads, StopBesideThePacketsOfAncillarySlots)
{
    constexpr uint16_t kPlaylist[] = {30,    0,     0,     0,     0x800A, 14,     0,     0x3FF,
                                      0x3FF, 0x241, 0x205, 0x200, 0x246,  0xFFFF, 0xFFFF};
    constexpr uint32_t kBufferBytes = kSlotBytes / 16;
    Rest.Stream.BufferInfo.clear();
    for (uint32_t key = 0; key < 16; ++key)
        Rest.Stream.BufferInfo.emplace(key, BUFFER_INFO(key * kBufferBytes, kBufferBytes));
    Rail().WipesAtClose = true;

    for (int round = 0; round < 20; ++round)
    {
        const uint32_t type = round % 2 == 0 ? kReceive : kTransmit;
        Quillmont::Trellis::Zefa::CStreamModel_Anc model(&Rest, type, kAncillary);
        ZEFA_ESSENCE_CONFIG config{};
        config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
        config.Essence_X.ST2110_40_X.VideoStandard_E = 7;
        ASSERT_EQ(model.SetEssenceConfig(&config), ZEFA_NO_ERROR);
        for (FakeFlowRail::Slot& slot : Rail().Slots)
            for (size_t key = 0; key < 16; ++key)
                std::memcpy(slot.Bytes.data() + key * kBufferBytes, kPlaylist, sizeof kPlaylist);
        ASSERT_EQ(model.StartStream(), ZEFA_NO_ERROR);
        Rail().Journals = false;
        Forget();
        std::atomic<uint32_t> packets{0};
        std::thread media(
            [&]
            {
                void* slot = nullptr;
                while (model.LockSlot(&slot) == ZEFA_NO_ERROR)
                {
                    ZEFA_ANC_PACKET* packet = nullptr;
                    if (type == kTransmit && model.AllocatePacket(slot, 2, &packet) == ZEFA_NO_ERROR)
                        model.InsertPacket(slot, 10, ZEFA_BUFFER_ANC_15, -1, packet);
                    uint32_t count = 0;
                    model.GetNbPackets(slot, 10, ZEFA_BUFFER_ANC_15, &count);
                    packets += count;
                    model.UnlockSlot(slot);
                }
            });

        while (packets < 20)
            std::this_thread::yield();
        EXPECT_EQ(model.StopStream(), ZEFA_NO_ERROR);
        media.join();

        // A slot that was locked just before the stop finds no store.
        EXPECT_THAT(Errors(), testing::Each("There have been too many ANC slot request.\r\n"));
    }
}
} // namespace

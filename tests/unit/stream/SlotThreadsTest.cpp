// The media thread beside the control thread: slots are locked and given back while the status is read and the stream
// is stopped. What it shows is that the thread sanitizer has nothing to say, and that the stop ends the loop.
#include "StreamModelTest.h"

#include <atomic>
#include <thread>

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
} // namespace

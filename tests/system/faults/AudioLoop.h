// Two streams of small slots, one of which sends to the other, and the application at work on both.
#pragma once

#include "system/audio/AudioRoad.h"

#include <array>
#include <numeric>

namespace test
{

class AudioLoop
{
public:
    explicit AudioLoop(Session& session)
        : Settings{.format = {.packetsPerBuffer = 2},
                   .paths = {FreeEndpoint()},
                   .slots = 4,
                   .lockTimeoutMs = kLockTimeoutMs},
          Receiver(session, ZEFA_STREAM_TYPE_RX, Settings), Sender(session, ZEFA_STREAM_TYPE_TX, Settings)
    {
    }

    void Start()
    {
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_StartStream(Receiver.Handle));
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_StartStream(Sender.Handle));
    }

    // Of the one that receives alone.
    ZEFA_ERRORCODE TryToStart() { return ZEFA_StartStream(Receiver.Handle); }

    void Stop()
    {
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StopStream(Sender.Handle));
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StopStream(Receiver.Handle));
    }

    // Everything that an application does with a slot. Whether one has arrived.
    bool Work()
    {
        Fill();
        return Read();
    }

    bool AwaitSlot()
    {
        bool arrived = false;
        return Await([&] { return arrived = arrived || Work(); }); // asked again once it is true
    }

    void AskForStatus()
    {
        for (const ZEFA_HANDLE stream : {Receiver.Handle, Sender.Handle})
        {
            ZEFA_STREAM_COMMON_STATUS common{};
            EXPECT_LE(ZEFA_GetStreamCommonStatus(stream, &common), ZEFA_ERR_COMMUNICATION);
            ZEFA_STREAM_NETWORK_STATUS network{};
            EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamNetworkStatus(stream, &network));
        }
    }

private:
    static constexpr uint32_t kLockTimeoutMs = 10;

    // Slots go on, or a lock says that there are none any more.
    static bool Lock(ZEFA_HANDLE stream, ZEFA_SLOT* slot)
    {
        const ZEFA_ERRORCODE result = ZEFA_LockSlot(stream, slot);
        EXPECT_TRUE(result == ZEFA_NO_ERROR || result == ZEFA_ERR_TIMEOUT || result == ZEFA_ERR_INCORRECT_STATE)
            << result;
        return result == ZEFA_NO_ERROR;
    }

    void Fill()
    {
        ZEFA_SLOT slot = nullptr;
        if (!Lock(Sender.Handle, &slot)) return;
        uint8_t* address = nullptr;
        uint32_t size = 0;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Sender.Handle, slot, ZEFA_BUFFER_AUDIO_0, &address, &size));
        ASSERT_EQ(Settings.format.SlotBytes(), size);
        std::fill_n(address, size, uint8_t{1});
        const ZEFA_TIMESTAMP record{0, Timestamp += Settings.format.SlotFrames()};
        ZEFA_SetSlotTimestamps(Sender.Handle, slot, ZEFA_BUFFER_AUDIO_0, &record, 1);
        ZEFA_UnlockSlot(Sender.Handle, slot); // refused when there is no room for the record of its end
    }

    bool Read()
    {
        ZEFA_SLOT slot = nullptr;
        if (!Lock(Receiver.Handle, &slot)) return false;
        uint8_t* address = nullptr;
        uint32_t size = 0;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Receiver.Handle, slot, ZEFA_BUFFER_AUDIO_0, &address, &size));
        EXPECT_EQ(Settings.format.SlotBytes(), size);
        if (size != Settings.format.SlotBytes()) return false;
        const volatile uint32_t sum = std::accumulate(address, address + size, uint32_t{0}); // all of it can be read
        static_cast<void>(sum);
        std::array<ZEFA_TIMESTAMP, 16> timestamps{};
        uint32_t count = timestamps.size();
        EXPECT_EQ(ZEFA_NO_ERROR,
                  ZEFA_GetSlotTimestamps(Receiver.Handle, slot, ZEFA_BUFFER_AUDIO_0, timestamps.data(), &count));
        EXPECT_LE(count, timestamps.size());
        std::array<ZEFA_LOST_DATA, 16> losses{};
        count = losses.size();
        EXPECT_EQ(ZEFA_NO_ERROR,
                  ZEFA_GetSlotLostDataInfo(Receiver.Handle, slot, ZEFA_BUFFER_AUDIO_0, losses.data(), &count));
        EXPECT_LE(count, losses.size());
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Receiver.Handle, slot));
        return true;
    }

    const AudioSettings Settings;
    uint32_t Timestamp = 0;
    AudioStream Receiver, Sender;
};

} // namespace test

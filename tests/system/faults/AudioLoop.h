// Two streams of small slots of audio, one of which sends to the other, and the application at work on both.
#pragma once

#include "StreamLoop.h"
#include "system/audio/AudioRoad.h"

#include <numeric>

namespace test
{

class AudioLoop : public StreamLoop
{
public:
    explicit AudioLoop(Session& session)
        : Settings{.format = {.packetsPerBuffer = 2},
                   .paths = {FreeEndpoint()},
                   .slots = 4,
                   .lockTimeoutMs = kLockTimeoutMs},
          Receiving(session, ZEFA_STREAM_TYPE_RX, Settings), Sending(session, ZEFA_STREAM_TYPE_TX, Settings)
    {
    }

private:
    ZEFA_HANDLE Sender() const override { return Sending.Handle; }
    ZEFA_HANDLE Receiver() const override { return Receiving.Handle; }

    void Fill(ZEFA_SLOT slot) override
    {
        uint8_t* address = nullptr;
        uint32_t size = 0;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Sender(), slot, ZEFA_BUFFER_AUDIO_0, &address, &size));
        ASSERT_EQ(Settings.format.SlotBytes(), size);
        std::fill_n(address, size, uint8_t{1});
        const ZEFA_TIMESTAMP record{0, Timestamp += Settings.format.SlotFrames()};
        ZEFA_SetSlotTimestamps(Sender(), slot, ZEFA_BUFFER_AUDIO_0, &record, 1);
    }

    bool ReadAndUnlock(ZEFA_SLOT slot) override
    {
        uint8_t* address = nullptr;
        uint32_t size = 0;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Receiver(), slot, ZEFA_BUFFER_AUDIO_0, &address, &size));
        EXPECT_EQ(Settings.format.SlotBytes(), size);
        if (size != Settings.format.SlotBytes()) return false;
        const volatile uint32_t sum = std::accumulate(address, address + size, uint32_t{0}); // all of it can be read
        static_cast<void>(sum);
        ReadMetadata(slot, ZEFA_BUFFER_AUDIO_0);
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Receiver(), slot));
        return true;
    }

    const AudioSettings Settings;
    uint32_t Timestamp = 0;
    AudioStream Receiving, Sending;
};

} // namespace test

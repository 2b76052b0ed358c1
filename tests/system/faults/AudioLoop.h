// Two streams of small slots of audio, one of which sends to the other, and the application at work on both.
#pragma once

#include "StreamLoop.h"
#include "system/audio/AudioRoad.h"

namespace test
{

class AudioLoop : public StreamLoop
{
public:
    explicit AudioLoop(Session& session)
        : StreamLoop(std::chrono::milliseconds(2)), // two packets of 1 ms
          Settings{.format = {.packetsPerBuffer = 2},
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
        FillBuffer(slot, ZEFA_BUFFER_AUDIO_0, Settings.format.SlotBytes());
        const ZEFA_TIMESTAMP record{0, Timestamp += Settings.format.SlotFrames()};
        ZEFA_SetSlotTimestamps(Sender(), slot, ZEFA_BUFFER_AUDIO_0, &record, 1);
    }

    bool ReadAndUnlock(ZEFA_SLOT slot) override
    {
        if (!ReadBuffer(slot, ZEFA_BUFFER_AUDIO_0, Settings.format.SlotBytes())) return false;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Receiver(), slot));
        return true;
    }

    const AudioSettings Settings;
    uint32_t Timestamp = 0;
    AudioStream Receiving, Sending;
};

} // namespace test

// Two streams of small interlaced pictures, one of which sends to the other, and the application at work on both.
#pragma once

#include "StreamLoop.h"

namespace test
{

class VideoLoop : public StreamLoop
{
public:
    explicit VideoLoop(Session& session)
        : StreamLoop(std::chrono::milliseconds(40)), // a frame of two fields
          Settings{.standard = ZEFA_VIDEO_STANDARD_720X576_I_50,
                   .slots = 4,
                   .lockTimeoutMs = kLockTimeoutMs,
                   .port = FreeUdpPort()},
          Receiving(session, ZEFA_STREAM_TYPE_RX, Settings), Sending(session, ZEFA_STREAM_TYPE_TX, Settings)
    {
    }

private:
    static constexpr ZEFA_BUFFER_TYPE kFields[] = {ZEFA_BUFFER_VIDEO_0, ZEFA_BUFFER_VIDEO_1};
    static constexpr uint32_t kFieldBytes = 720 * 288 * 2 * 2; // two samples a pixel, each in two bytes

    ZEFA_HANDLE Sender() const override { return Sending.Handle; }
    ZEFA_HANDLE Receiver() const override { return Receiving.Handle; }

    void Fill(ZEFA_SLOT slot) override
    {
        for (const ZEFA_BUFFER_TYPE field : kFields)
            FillBuffer(slot, field, kFieldBytes);
    }

    bool ReadAndUnlock(ZEFA_SLOT slot) override
    {
        for (const ZEFA_BUFFER_TYPE field : kFields)
            if (!ReadBuffer(slot, field, kFieldBytes)) return false;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Receiver(), slot));
        return true;
    }

    const StreamSettings Settings;
    VideoStream Receiving, Sending;
};

} // namespace test

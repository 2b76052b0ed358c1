// Two streams, one of which sends to the other, and the application at work on both: what the essences share.
#pragma once

#include "system/road/Road.h"

#include <array>
#include <numeric>

namespace test
{

class StreamLoop
{
public:
    // `period`: from one slot to the next, when the service looks at its rings again.
    explicit StreamLoop(std::chrono::milliseconds period) : Period(period) {}
    virtual ~StreamLoop() = default;
    StreamLoop(const StreamLoop&) = delete;
    StreamLoop& operator=(const StreamLoop&) = delete;

    void Start()
    {
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_StartStream(Receiver()));
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_StartStream(Sender()));
    }

    // Of the one that receives alone.
    ZEFA_ERRORCODE TryToStart() { return ZEFA_StartStream(Receiver()); }

    void Stop()
    {
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StopStream(Sender()));
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StopStream(Receiver()));
    }

    // Everything that an application does with a slot. Whether one has arrived.
    bool Work()
    {
        ZEFA_SLOT slot = nullptr;
        if (Lock(Sender(), &slot))
        {
            Fill(slot);
            ZEFA_UnlockSlot(Sender(), slot); // refused when there is no room for the record of its end
        }
        return Lock(Receiver(), &slot) && ReadAndUnlock(slot);
    }

    // For so long. How many slots have arrived.
    size_t WorkFor(std::chrono::milliseconds time)
    {
        size_t slots = 0;
        const auto end = std::chrono::steady_clock::now() + time;
        do
        {
            if (Work())
                ++slots;
            else // a lock that is refused does not wait
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        } while (std::chrono::steady_clock::now() < end);
        return slots;
    }

    bool AwaitSlot()
    {
        return Await([&] { return Work(); });
    }

    void AskForStatus()
    {
        for (const ZEFA_HANDLE stream : {Receiver(), Sender()})
        {
            ZEFA_STREAM_COMMON_STATUS common{};
            EXPECT_LE(ZEFA_GetStreamCommonStatus(stream, &common), ZEFA_ERR_COMMUNICATION);
            ZEFA_STREAM_NETWORK_STATUS network{};
            EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamNetworkStatus(stream, &network));
        }
    }

    const std::chrono::milliseconds Period;

protected:
    static constexpr uint32_t kLockTimeoutMs = 10;

    virtual ZEFA_HANDLE Sender() const = 0;
    virtual ZEFA_HANDLE Receiver() const = 0;
    virtual void Fill(ZEFA_SLOT slot) = 0;
    virtual bool ReadAndUnlock(ZEFA_SLOT slot) = 0;

    void FillBuffer(ZEFA_SLOT slot, ZEFA_BUFFER_TYPE buffer, size_t bytes)
    {
        uint8_t* address = nullptr;
        uint32_t size = 0;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Sender(), slot, buffer, &address, &size));
        ASSERT_EQ(bytes, size);
        std::fill_n(address, size, uint8_t{1});
    }

    // All of a buffer that has arrived. Whether it has the size that it should.
    bool ReadBuffer(ZEFA_SLOT slot, ZEFA_BUFFER_TYPE buffer, size_t bytes)
    {
        uint8_t* address = nullptr;
        uint32_t size = 0;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Receiver(), slot, buffer, &address, &size));
        EXPECT_EQ(bytes, size);
        if (size != bytes) return false;
        const volatile uint32_t sum = std::accumulate(address, address + size, uint32_t{0}); // all of it can be read
        static_cast<void>(sum);
        ReadMetadata(slot, buffer);
        return true;
    }

    // Of a slot that has arrived.
    void ReadMetadata(ZEFA_SLOT slot, ZEFA_BUFFER_TYPE buffer)
    {
        std::array<ZEFA_TIMESTAMP, 16> timestamps{};
        uint32_t count = timestamps.size();
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotTimestamps(Receiver(), slot, buffer, timestamps.data(), &count));
        EXPECT_LE(count, timestamps.size());
        std::array<ZEFA_LOST_DATA, 16> losses{};
        count = losses.size();
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotLostDataInfo(Receiver(), slot, buffer, losses.data(), &count));
        EXPECT_LE(count, losses.size());
    }

private:
    // Slots go on, or a lock says that there are none any more.
    static bool Lock(ZEFA_HANDLE stream, ZEFA_SLOT* slot)
    {
        const ZEFA_ERRORCODE result = ZEFA_LockSlot(stream, slot);
        EXPECT_TRUE(result == ZEFA_NO_ERROR || result == ZEFA_ERR_TIMEOUT || result == ZEFA_ERR_INCORRECT_STATE)
            << result;
        return result == ZEFA_NO_ERROR;
    }
};

} // namespace test

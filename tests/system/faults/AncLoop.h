// Two streams of ancillary data, one of which sends to the other, and the application at work on both.
#pragma once

#include "StreamLoop.h"
#include "system/anc/AncRoad.h"

namespace test
{

class AncLoop : public StreamLoop
{
public:
    explicit AncLoop(Session& session)
        : StreamLoop(std::chrono::milliseconds(17)), // a frame of 1/60 s
          Settings{.standard = ZEFA_VIDEO_STANDARD_1280X720_P_60,
                   .paths = {FreeEndpoint()},
                   .slots = 4,
                   .lockTimeoutMs = kLockTimeoutMs},
          Receiving(session, ZEFA_STREAM_TYPE_RX, Settings), Sending(session, ZEFA_STREAM_TYPE_TX, Settings)
    {
    }

private:
    static constexpr uint32_t kLine = 9;

    ZEFA_HANDLE Sender() const override { return Sending.Handle; }
    ZEFA_HANDLE Receiver() const override { return Receiving.Handle; }

    void Fill(ZEFA_SLOT slot) override
    {
        ZEFA_ANC_PACKET* packet = nullptr;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_SlotAncAllocatePacket(Sender(), slot, 3, &packet));
        packet->DID_UB = 0x41;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_SlotAncInsertPacket(Sender(), slot, kLine, ZEFA_BUFFER_ANC_0,
                                                          ZEFA_ANC_PACKET_INDEX_ALL, packet));
    }

    // What lies where the ring now says that a slot begins may be no list of packets.
    bool ReadAndUnlock(ZEFA_SLOT slot) override
    {
        uint32_t count = 0;
        ZEFA_SlotAncGetNbPackets(Receiver(), slot, kLine, ZEFA_BUFFER_ANC_0, &count);
        for (uint32_t i = 0; i < count; ++i)
        {
            ZEFA_ANC_PACKET* packet = nullptr;
            EXPECT_EQ(ZEFA_NO_ERROR,
                      ZEFA_SlotAncGetPacket(Receiver(), slot, kLine, ZEFA_BUFFER_ANC_0, int32_t(i), &packet));
            uint32_t sum = 0;
            for (uint32_t word = 0; packet && word < packet->DataCount_UB; ++word)
                sum += packet->UserWords_pUS[word];
            const volatile uint32_t all = sum; // all of it can be read
            static_cast<void>(all);
        }
        ReadMetadata(slot, ZEFA_BUFFER_ANC_0);
        EXPECT_LE(ZEFA_UnlockSlot(Receiver(), slot), ZEFA_ERR_COMMUNICATION);
        return true;
    }

    const AncSettings Settings;
    AncStream Receiving, Sending;
};

} // namespace test

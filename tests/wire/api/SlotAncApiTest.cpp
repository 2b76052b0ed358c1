// Packets of ancillary slots: which streams have them, and what is said before a slot can be locked. Slots with packets
// are tested on the fake rail, where the stream model is.
#include "ApiTest.h"

namespace
{
class SlotAnc : public ContextTest
{
protected:
    static constexpr const char* kStreams = "MXS/Stream/Mines/";

    ZEFA_HANDLE Create(int32_t streamType, int32_t essenceType)
    {
        Service.Answer("POST", kStreams, 201, "", {{"Location", "v1.0/MXS/Stream/Mines/0000000000000009"}});
        Service.Answer("DELETE", "MXS/Stream/Mines/0000000000000009", 200);
        ZEFA_HANDLE stream = nullptr;
        EXPECT_EQ(ZEFA_CreateStream(Context, streamType, essenceType, &stream), ZEFA_NO_ERROR);
        return stream;
    }

    // What the five functions return, in the order of the header.
    std::vector<ZEFA_ERRORCODE> ResultsOf(ZEFA_HANDLE stream)
    {
        ZEFA_ANC_PACKET mine{};
        ZEFA_ANC_PACKET* packet = nullptr;
        uint32_t count = 0;
        return {ZEFA_SlotAncAllocatePacket(stream, &Slot, 1, &packet),
                ZEFA_SlotAncGetNbPackets(stream, &Slot, 9, ZEFA_BUFFER_ANC_0, &count),
                ZEFA_SlotAncGetPacket(stream, &Slot, 9, ZEFA_BUFFER_ANC_0, 0, &packet),
                ZEFA_SlotAncInsertPacket(stream, &Slot, 9, ZEFA_BUFFER_ANC_0, 0, &mine),
                ZEFA_SlotAncRemovePacket(stream, &Slot, 9, ZEFA_BUFFER_ANC_0, 0, 0)};
    }

    int Slot = 0; // an address
};
} // namespace

TEST_F(SlotAnc, HandlesOfNothingOfAContextAndOfAnotherEssenceAreTold)
{
    const ZEFA_HANDLE video = Create(ZEFA_STREAM_TYPE_TX, ZEFA_ESSENCE_TYPE_ST2110_20);
    for (const ZEFA_HANDLE handle : {ZEFA_HANDLE{nullptr}, Context, video})
    {
        std::vector<ZEFA_ERRORCODE> results;
        EXPECT_EQ(ErrorsOf([&] { results = ResultsOf(handle); }), Texts(5, "The slot handle is invalid."));
        EXPECT_EQ(results, std::vector<ZEFA_ERRORCODE>(5, ZEFA_ERR_INVALID_HANDLE));
    }
    EXPECT_EQ(ZEFA_DestroyStream(video), ZEFA_NO_ERROR);
}

TEST_F(SlotAnc, StreamThatIsNotStartedHasNoRoomForASlot)
{
    const ZEFA_HANDLE stream = Create(ZEFA_STREAM_TYPE_TX, ZEFA_ESSENCE_TYPE_ST2110_40);
    std::vector<ZEFA_ERRORCODE> results;

    EXPECT_EQ(ErrorsOf([&] { results = ResultsOf(stream); }),
              Texts(5, "There have been too many ANC slot request.\r\n"));

    EXPECT_EQ(results, std::vector<ZEFA_ERRORCODE>(5, ZEFA_ERR_OPERATION_FAILED));
    EXPECT_EQ(ZEFA_DestroyStream(stream), ZEFA_NO_ERROR);
}

TEST_F(SlotAnc, ReceiveStreamTakesNoPackets)
{
    const ZEFA_HANDLE stream = Create(ZEFA_STREAM_TYPE_RX, ZEFA_ESSENCE_TYPE_ST2110_40);
    const std::vector<ZEFA_ERRORCODE> results = ResultsOf(stream);

    EXPECT_EQ(results, (std::vector<ZEFA_ERRORCODE>{ZEFA_ERR_INCORRECT_STATE, ZEFA_ERR_OPERATION_FAILED,
                                                    ZEFA_ERR_OPERATION_FAILED, ZEFA_ERR_INCORRECT_STATE,
                                                    ZEFA_ERR_OPERATION_FAILED}));
    EXPECT_EQ(ZEFA_DestroyStream(stream), ZEFA_NO_ERROR);
}

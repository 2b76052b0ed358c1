// Streams of ancillary data through the exported functions for packets: what is read, what is written, and when.
#include "StreamModelTest.h"

#include <cstring>
#include <stdexcept>

#include "stream/CStreamModel_Anc.h"
#include "zefaline/anc.h"

namespace
{
using Quillmont::Trellis::Zefa::CStreamModel_Anc;
using Words = std::vector<uint16_t>;

class AncStream : public StreamModelTest
{
protected:
    static constexpr uint32_t kBufferBytes = 256; // 16 buffers fill the slot
    static constexpr uint32_t kStandard = 7;      // 1920 x 1080, interlaced
    static constexpr uint32_t kType = ZEFA_BUFFER_ANC_0;

    AncStream()
    {
        Rest.Stream.BufferInfo.clear();
        for (uint32_t key = 0; key < 16; ++key)
            Rest.Stream.BufferInfo.emplace(key, BUFFER_INFO(key * kBufferBytes, kBufferBytes));
    }

    std::unique_ptr<CStreamModel_Anc> Made(uint32_t streamType)
    {
        auto model = std::make_unique<CStreamModel_Anc>(&Rest, streamType, kAncillary);
        EXPECT_EQ(model->CreateStream(), ZEFA_NO_ERROR);
        return model;
    }

    static ZEFA_ERRORCODE Configure(CStreamModel_Anc& model, uint32_t standard)
    {
        ZEFA_ESSENCE_CONFIG config{};
        config.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_40;
        config.Essence_X.ST2110_40_X.VideoStandard_E = standard;
        return model.SetEssenceConfig(&config);
    }

    std::unique_ptr<CStreamModel_Anc> AncStarted(uint32_t streamType, uint32_t standard = kStandard)
    {
        auto model = Made(streamType);
        EXPECT_EQ(Configure(*model, standard), ZEFA_NO_ERROR);
        EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);
        Forget();
        return model;
    }

    static uint8_t* Buffer(size_t slot, uint32_t key)
    {
        return Rail().Slots[slot].Bytes.data() + size_t{key} * kBufferBytes;
    }

    static void Write(size_t slot, uint32_t key, const Words& words)
    {
        std::memcpy(Buffer(slot, key), words.data(), words.size() * 2);
    }

    static Words Read(size_t slot, uint32_t key, size_t words)
    {
        Words read(words);
        std::memcpy(read.data(), Buffer(slot, key), words * 2);
        return read;
    }

    // Empty playlists in all buffers of the slot, but one packet on line 10 in the first.
    static void WritePlaylists(size_t slot)
    {
        for (uint32_t key = 0; key < 16; ++key)
            Write(slot, key, {12, 0, 0, 0, 0xFFFF, 0xFFFF});
        Write(slot, 0, kOnePacket);
    }

    static uint32_t Count(CStreamModel_Anc& model, void* slot, uint32_t line, uint32_t type = kType)
    {
        uint32_t count = 99;
        EXPECT_EQ(ZEFA_SlotAncGetNbPackets(&model, slot, line, type, &count), ZEFA_NO_ERROR);
        return count;
    }

    static ZEFA_ANC_PACKET* Allocate(CStreamModel_Anc& model, void* slot, uint8_t dataCount)
    {
        ZEFA_ANC_PACKET* packet = nullptr;
        EXPECT_EQ(ZEFA_SlotAncAllocatePacket(&model, slot, dataCount, &packet), ZEFA_NO_ERROR);
        return packet;
    }

    // DID 61h, SDID 01h and two words on line 10; parity and checksum are worked out by hand.
    inline static const Words kOnePacket{34,    0,     0,     0,     0x800A, 18,    0,      0x3FF, 0x3FF,
                                         0x161, 0x101, 0x102, 0x296, 0x269,  0x263, 0xFFFF, 0xFFFF};
};
} // namespace

TEST_F(AncStream, BearsTheTagOfAllStreams)
{
    EXPECT_EQ(Made(kReceive)->GetType(), CStreamModel::kTypeTag);
}

// ---- receive ----

TEST_F(AncStream, ReceivedPacketsAreThoseOfThePlaylists)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    void* slot = Lock(*model);

    EXPECT_EQ(Count(*model, slot, 9), 0u);
    EXPECT_EQ(Count(*model, slot, 10), 1u);
    EXPECT_EQ(Count(*model, slot, 10, kType + 1), 0u);
    ZEFA_ANC_PACKET* packet = nullptr;
    ASSERT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, kType, 0, &packet), ZEFA_NO_ERROR);
    EXPECT_EQ(packet->DID_UB, 0x61);
    EXPECT_EQ(packet->SDID_UB, 0x01);
    EXPECT_EQ(packet->DataCount_UB, 2);
    EXPECT_EQ(packet->InHANC_B, 0u);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(packet->UserWords_pUS), Buffer(0, 0) + 24) << "in the slot, not copied";
    EXPECT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, kType, 1, &packet), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(packet, nullptr);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(AncStream, ReadsOnceForASlot)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    void* slot = Lock(*model);

    EXPECT_EQ(Count(*model, slot, 10), 1u);
    EXPECT_EQ(Calls().size(), 16u); // an address for each buffer
    EXPECT_EQ(Count(*model, slot, 10), 1u);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(AncStream, SlotThatNobodyAsksAboutIsNeitherReadNorWritten)
{
    auto model = AncStarted(kReceive);
    Write(0, 0, {34, 0, 0, 0, 0x7777}); // no playlist
    void* slot = Lock(*model);
    const auto before = Rail().Slots[0].Bytes;

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("UnlockConsumer(77, slot 0)"));
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_EQ(Rail().Slots[0].Bytes, before);
}

TEST_F(AncStream, UnlockOfASlotThatWasReadWritesNothing)
{
    auto model = AncStarted(kReceive);
    for (int round = 0; round < 6; ++round) // more than the ring has slots
    {
        WritePlaylists(static_cast<size_t>(round));
        void* slot = Lock(*model);
        ASSERT_EQ(Count(*model, slot, 10), 1u);
        const auto before = Rail().Slots[static_cast<size_t>(round)].Bytes;
        Forget();

        ASSERT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

        ASSERT_EQ(Calls().back(), "UnlockConsumer(77, slot " + std::to_string(round) + ")");
        ASSERT_THAT(Errors(), IsEmpty());
        ASSERT_EQ(Rail().Slots[static_cast<size_t>(round)].Bytes, before);
    }
}

TEST_F(AncStream, BufferAtTheEndOfTheSlotIsReadUpToItsLastByte)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    std::memset(Buffer(0, 15), 0, kBufferBytes);
    Words words{256, 0, 0, 0, 0x800A, 244}; // 12 + 16 x 14 + 20 bytes
    for (uint16_t i = 0; i < 16; ++i)
        words.insert(words.end(), {0, 0x3FF, 0x3FF, 0x241, 0x205, 0x200, 0x246});
    words.insert(words.end(), {0, 0x3FF, 0x3FF, 0x241, 0x205, 0x203, 0x201, 0x202, 0x103, 0x14F});
    Write(0, 15, words);
    void* slot = Lock(*model);

    EXPECT_EQ(Count(*model, slot, 10, ZEFA_BUFFER_ANC_15), 17u);
    ZEFA_ANC_PACKET* packet = nullptr;
    ASSERT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, ZEFA_BUFFER_ANC_15, 16, &packet), ZEFA_NO_ERROR);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(packet->UserWords_pUS + 4), Rail().Slots[0].Bytes.data() + kSlotBytes);

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);
    EXPECT_EQ(Read(0, 15, kBufferBytes / 2), words);
}

TEST_F(AncStream, ReceivedPacketsMayBeTakenOff)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    void* slot = Lock(*model);

    EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, kType, 0, 1), ZEFA_ERR_BAD_ARGUMENT); // none in HANC
    EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, kType, 0, 0), ZEFA_NO_ERROR);
    EXPECT_EQ(Count(*model, slot, 10), 0u);
    EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, kType, ZEFA_ANC_PACKET_INDEX_ALL, 0), ZEFA_NO_ERROR);
}

TEST_F(AncStream, AllPacketsOfOneAreaMayBeTakenOffAndTheOthersStay)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    Write(0, 0, {64,    0,     0,      0,      0xC00A, 14,    0,     0x3FF, 0x3FF,  0x245, 0x205,
                 0x200, 0x24A, 0xFFFF, 0x800A, 28,     0,     0x3FF, 0x3FF, 0x241,  0x205, 0x200,
                 0x246, 0,     0x3FF,  0x3FF,  0x241,  0x205, 0x200, 0x246, 0xFFFF, 0xFFFF});
    void* slot = Lock(*model);
    ASSERT_EQ(Count(*model, slot, 10), 3u);

    EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, kType, ZEFA_ANC_PACKET_INDEX_ALL, 0), ZEFA_NO_ERROR);

    ASSERT_EQ(Count(*model, slot, 10), 1u);
    ZEFA_ANC_PACKET* packet = nullptr;
    EXPECT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, kType, 0, &packet), ZEFA_NO_ERROR);
    EXPECT_EQ(packet->InHANC_B, 1u);
    EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, kType, ZEFA_ANC_PACKET_INDEX_ALL, 1), ZEFA_NO_ERROR);
    EXPECT_EQ(Count(*model, slot, 10), 0u);
}

TEST_F(AncStream, RefusedUnlockOfAReceivedSlotKeepsItsPackets)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    void* slot = Lock(*model);
    ASSERT_EQ(Count(*model, slot, 10), 1u);
    Rail().Next(FakeFlowRail::UNLOCK_CONSUMER, {8});

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_EQ(Count(*model, slot, 10), 1u);
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(AncStream, ReceivedSlotIsGivenBackWhenTheStandardHasNoRowAnyMore)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    void* slot = Lock(*model);
    ASSERT_EQ(Count(*model, slot, 10), 1u);
    EXPECT_EQ(Configure(*model, 1000), ZEFA_NO_ERROR);
    Rail().Next(FakeFlowRail::UNLOCK_CONSUMER, {8});

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_ERR_INCORRECT_STATE);
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    for (uint32_t i = 0; i < kSlots; ++i) // the element is free again
        Lock(*model);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(AncStream, LineThatTheStandardAtTheStartDidNotHaveGivesTheReadersCodeAsItStands)
{
    auto model = AncStarted(kReceive, 0); // 525 lines
    EXPECT_EQ(Configure(*model, kStandard), ZEFA_NO_ERROR);
    WritePlaylists(0);
    Write(0, 0, {30, 0, 0, 0, 0x8258, 14, 0, 0x3FF, 0x3FF, 0x241, 0x205, 0x200, 0x246, 0xFFFF, 0xFFFF}); // line 600
    void* slot = Lock(*model);
    uint32_t count = 0;

    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, &count), ZEFA_ERR_INVALID_HANDLE);
}

TEST_F(AncStream, ReceiveStreamRefusesNewPacketsBeforeAnyReading)
{
    auto model = AncStarted(kReceive);
    void* slot = Lock(*model);
    ZEFA_ANC_PACKET mine{};
    ZEFA_ANC_PACKET* packet = nullptr;

    EXPECT_EQ(ZEFA_SlotAncAllocatePacket(model.get(), slot, 1, &packet), ZEFA_ERR_INCORRECT_STATE);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, &mine), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(AncStream, DamagedPlaylistFailsOneCallAndTheNextGoesOnBehindIt)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    Write(0, 2, {34, 0, 0, 0, 0x0001});
    Write(0, 3, kOnePacket);
    void* slot = Lock(*model);
    uint32_t count = 0;

    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, &count), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_THAT(Errors(), ElementsAre("Invalid data at 00000008h in playlist2 (out of line context)"));

    EXPECT_EQ(Count(*model, slot, 10, kType), 1u);
    EXPECT_EQ(Count(*model, slot, 10, kType + 3), 1u);
}

TEST_F(AncStream, LineBeyondItsRoomGivesTheReadersCodeAsItStands)
{
    Rail().Reset(4, 16384);
    Rail().AlignmentBytes = 16384;
    Rest.Stream.LockSize = 16384;
    Rest.Stream.BufferInfo = {{0, BUFFER_INFO(0, 16384)}};
    auto model = AncStarted(kReceive);
    Words words{0, 0, 0, 0, 0x800A, 0};
    for (int i = 0; i < 8; ++i) // 8 x 262 words on a line of 1920
    {
        words.insert(words.end(), {0, 0x3FF, 0x3FF, 0x161, 0x101, 0x2FF});
        words.resize(words.size() + 256, 0x200);
    }
    words.insert(words.end(), {0xFFFF, 0xFFFF});
    Write(0, 0, words);
    void* slot = Lock(*model);
    uint32_t count = 0;

    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, &count), 6u);
}

// ---- transmit ----

TEST_F(AncStream, UnlockWritesAnEmptyPlaylistIntoEachBuffer)
{
    auto model = AncStarted(kTransmit);
    std::fill(Rail().Slots[0].Bytes.begin(), Rail().Slots[0].Bytes.end(), uint8_t{0x77});
    void* slot = Lock(*model);

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    for (uint32_t key = 0; key < 16; ++key)
        EXPECT_EQ(Read(0, key, 7), (Words{12, 0, 0, 0, 0xFFFF, 0xFFFF, 0x7777}));
    const Texts calls = Calls();
    ASSERT_EQ(calls.size(), 18u);
    EXPECT_EQ(calls[16], "AddMetadata(slot 0, 2, 4095, 0)");
    EXPECT_EQ(calls[17], "UnlockProducer(slot 0)");
}

TEST_F(AncStream, UnlockWritesThePacketsOfTheSlot)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    ZEFA_ANC_PACKET* packet = Allocate(*model, slot, 2);
    packet->DID_UB = 0x61;
    packet->SDID_UB = 0x01;
    packet->InHANC_B = 0;
    packet->UserWords_pUS[0] = 0x296;
    packet->UserWords_pUS[1] = 0x269;

    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType + 5, ZEFA_ANC_PACKET_INDEX_ALL, packet),
              ZEFA_NO_ERROR);
    EXPECT_EQ(Count(*model, slot, 10, kType + 5), 1u);
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Read(0, 5, kOnePacket.size()), kOnePacket);
    EXPECT_EQ(Read(0, 4, 6), (Words{12, 0, 0, 0, 0xFFFF, 0xFFFF}));
}

TEST_F(AncStream, IndexMinusOneAppends)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    ZEFA_ANC_PACKET* first = Allocate(*model, slot, 0);
    ZEFA_ANC_PACKET* second = Allocate(*model, slot, 0);
    ZEFA_ANC_PACKET* found = nullptr;

    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, first), ZEFA_NO_ERROR);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, second), ZEFA_NO_ERROR);

    EXPECT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, kType, 1, &found), ZEFA_NO_ERROR);
    EXPECT_EQ(found, second);
}

TEST_F(AncStream, SlotWithoutSomeBuffersTellsEachAtTheUnlock)
{
    Rest.Stream.BufferInfo = {{0, BUFFER_INFO(0, kBufferBytes)}};
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    const Texts errors = Errors();
    ASSERT_EQ(errors.size(), 30u);
    EXPECT_EQ(errors[0], "Error : Buffer type 50331649 was not found. \r\n");
    EXPECT_EQ(errors[1], "Playlist1 buffer is empty : pBufPtr_UB=(nil)h - BufSize_UL=0");
}

TEST_F(AncStream, PacketsThatDoNotFitTheirBufferAreLeftOutAndTold)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    ZEFA_ANC_PACKET* packet = Allocate(*model, slot, 255);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, ZEFA_BUFFER_ANC_15, -1, packet), ZEFA_NO_ERROR);

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Errors(), ElementsAre("Playlist15 buffer is too small : Line10 - BufSize_UL=256"));
    EXPECT_EQ(Read(0, 15, 6), (Words{12, 0, 0, 0, 0xFFFF, 0xFFFF}));
}

TEST_F(AncStream, PacketsDieWithTheUnlock)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, Allocate(*model, slot, 0)), ZEFA_NO_ERROR);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 571, kType, -1, Allocate(*model, slot, 0)), ZEFA_NO_ERROR);
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    for (int round = 0; round < 5; ++round) // each element comes again
    {
        slot = Lock(*model);
        EXPECT_EQ(Count(*model, slot, 10), 0u);
        EXPECT_EQ(Count(*model, slot, 571), 0u);
        EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);
    }
}

TEST_F(AncStream, RefusedUnlockKeepsTheSlotAndWritesItOnce)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    Rail().Next(FakeFlowRail::UNLOCK_PRODUCER, {8});

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_ERR_INCORRECT_STATE);
    Calls();
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    EXPECT_THAT(Calls(), ElementsAre("AddMetadata(slot 0, 2, 4095, 0)", "UnlockProducer(slot 0)"));
}

TEST_F(AncStream, QuestionAfterARefusedUnlockReadsBehindWhatWasWritten)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    Rail().Next(FakeFlowRail::UNLOCK_PRODUCER, {8});
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_ERR_INCORRECT_STATE);
    const auto written = Rail().Slots[0].Bytes;
    uint32_t count = 0;

    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, &count), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("Invalid data at 0000000ch in playlist0 (out of line context)"));
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);
    EXPECT_EQ(Rail().Slots[0].Bytes, written);
}

TEST_F(AncStream, PacketOfAnotherSlotThatSaysItIsExternalIsNotFreed)
{
    auto model = AncStarted(kTransmit);
    void* first = Lock(*model);
    void* second = Lock(*model);
    ZEFA_ANC_PACKET* packet = Allocate(*model, first, 2);
    packet->External_B = 1;

    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), second, 10, kType, -1, packet), ZEFA_NO_ERROR);

    EXPECT_EQ(packet->External_B, 0) << "as the library gave it";
    EXPECT_EQ(model->UnlockSlot(second), ZEFA_NO_ERROR);
    EXPECT_EQ(model->UnlockSlot(first), ZEFA_NO_ERROR);
}

TEST_F(AncStream, InsertAndAllocateTranslateTheStoresCodes)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    ZEFA_ANC_PACKET* packet = Allocate(*model, slot, 255);
    packet->InHANC_B = 1;

    EXPECT_EQ(ZEFA_SlotAncAllocatePacket(model.get(), slot, 1, nullptr), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, 0, nullptr), ZEFA_ERR_INVALID_POINTER);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, 1, packet), ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 0, kType, 0, packet), ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 1126, kType, 0, packet), ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, 0, packet), ZEFA_NO_ERROR);
    Forget();
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, 0, packet), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_THAT(Errors(), ElementsAre("Stream0 - Line10 - H : Packet size 262 is greater than line capacity 6"));
}

TEST_F(AncStream, OtherBufferTypesAreBadArguments)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    ZEFA_ANC_PACKET* packet = Allocate(*model, slot, 0);
    uint32_t count = 0;
    for (const uint32_t type : {uint32_t{0}, ZEFA_BUFFER_VIDEO_0, kType - 1, ZEFA_BUFFER_ANC_OTHER, UINT32_MAX})
    {
        EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, type, &count), ZEFA_ERR_BAD_ARGUMENT);
        EXPECT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, type, 0, &packet), ZEFA_ERR_BAD_ARGUMENT);
        EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, type, -1, 0), ZEFA_ERR_BAD_ARGUMENT);
        packet = Allocate(*model, slot, 0);
        EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, type, -1, packet), ZEFA_ERR_BAD_ARGUMENT);
    }
}

TEST_F(AncStream, ReadingFunctionsTranslateTheStoresCodes)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    ZEFA_ANC_PACKET* packet = nullptr;
    uint32_t count = 0;

    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 0, kType, &count), ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, nullptr), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 1126, kType, 0, &packet), ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, kType, 0, nullptr), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, kType, 0, &packet), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, kType, 0, 0), ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, kType, -2, 0), ZEFA_ERR_BAD_ARGUMENT);
}

// ---- elements ----

TEST_F(AncStream, OneLockMoreThanTheRingHasSlotsFailsAndTheSlotStaysLocked)
{
    auto model = AncStarted(kTransmit);
    for (uint32_t i = 0; i < kSlots; ++i)
        Lock(*model);
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_EQ(Rail().NameOf(slot), "slot 4");
    EXPECT_THAT(Calls(), ElementsAre("LockProducer(4096, 100)"));
    EXPECT_THAT(Errors(), ElementsAre("There have been too many ANC slot request.\r\n"));
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR) << "it can be given back, unwritten";
}

TEST_F(AncStream, UnlockedSlotMakesRoomForAnother)
{
    auto model = AncStarted(kTransmit);
    std::vector<void*> slots;
    for (uint32_t i = 0; i < kSlots; ++i)
        slots.push_back(Lock(*model));

    for (uint32_t i = 0; i < 3 * kSlots; ++i)
    {
        EXPECT_EQ(model->UnlockSlot(slots[i % kSlots]), ZEFA_NO_ERROR);
        slots[i % kSlots] = Lock(*model);
    }
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(AncStream, SlotsHaveTheirOwnPackets)
{
    auto model = AncStarted(kTransmit);
    void* first = Lock(*model);
    void* second = Lock(*model);

    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), first, 10, kType, -1, Allocate(*model, first, 0)), ZEFA_NO_ERROR);

    EXPECT_EQ(Count(*model, first, 10), 1u);
    EXPECT_EQ(Count(*model, second, 10), 0u);
}

TEST_F(AncStream, QuestionOnASlotThatWasNotLockedTakesAnElement)
{
    auto model = AncStarted(kTransmit);
    for (uint32_t i = 0; i < kSlots; ++i)
        EXPECT_EQ(Count(*model, &Rail().Slots[i], 10), 0u);

    uint32_t count = 0;
    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), &Rail().Slots[9], 10, kType, &count), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_THAT(Errors(), ElementsAre("There have been too many ANC slot request.\r\n"));
}

TEST_F(AncStream, FailedLockTakesNoElement)
{
    auto model = AncStarted(kTransmit);
    Rail().Next(FakeFlowRail::LOCK_PRODUCER, {11, 8});
    void* slot = nullptr;

    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_TIMEOUT);
    EXPECT_EQ(model->LockSlot(&slot), ZEFA_ERR_INCORRECT_STATE);

    for (uint32_t i = 0; i < kSlots; ++i)
        Lock(*model);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(AncStream, DepthThatNoMachineHasIsCut)
{
    Rest.Stream.CommonConfig.ApplicativeBufferQueueDepth = 4000000000;

    auto model = AncStarted(kTransmit);

    EXPECT_EQ(Count(*model, Lock(*model), 10), 0u);
}

// ---- start, stop, standard ----

TEST_F(AncStream, StopEndsAllPackets)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);

    EXPECT_EQ(model->StopStream(), ZEFA_NO_ERROR);

    uint32_t count = 0;
    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, &count), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_ERR_INCORRECT_STATE);
}

TEST_F(AncStream, FailedStopKeepsThem)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, Allocate(*model, slot, 0)), ZEFA_NO_ERROR);
    Rail().Next(FakeFlowRail::CLOSE, {8});

    EXPECT_EQ(model->StopStream(), ZEFA_ERR_INCORRECT_STATE);

    EXPECT_EQ(Count(*model, slot, 10), 1u);
}

TEST_F(AncStream, StopThatTheServiceRefusesEndsReceivedOnesWhichLieInTheRail)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    void* slot = Lock(*model);
    EXPECT_EQ(Count(*model, slot, 10), 1u);
    Rest.Stream.Results["SetState"] = {9};

    EXPECT_EQ(model->StopStream(), ZEFA_ERR_OPERATION_FAILED);

    ZEFA_ANC_PACKET* packet = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, &count), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(ZEFA_SlotAncGetPacket(model.get(), slot, 10, kType, 0, &packet), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(packet, nullptr);
    EXPECT_EQ(ZEFA_SlotAncRemovePacket(model.get(), slot, 10, kType, 0, 0), ZEFA_ERR_OPERATION_FAILED);
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_ERR_INCORRECT_STATE);
}

TEST_F(AncStream, StopThatTheServiceRefusesLeavesThoseToBeSent)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    Rest.Stream.Results["SetState"] = {9};

    EXPECT_EQ(model->StopStream(), ZEFA_ERR_OPERATION_FAILED);

    ZEFA_ANC_PACKET* packet = nullptr;
    EXPECT_EQ(ZEFA_SlotAncAllocatePacket(model.get(), slot, 1, &packet), ZEFA_NO_ERROR);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, packet), ZEFA_NO_ERROR);
    EXPECT_EQ(Count(*model, slot, 10), 1u);
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_ERR_INCORRECT_STATE);
}

TEST_F(AncStream, FailedStartGivesNoElements)
{
    auto model = Made(kTransmit);
    EXPECT_EQ(Configure(*model, kStandard), ZEFA_NO_ERROR);
    Rail().Next(FakeFlowRail::OPEN, {8});

    EXPECT_EQ(model->StartStream(), ZEFA_ERR_OPERATION_FAILED);

    uint32_t count = 0;
    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), &Rail().Slots[0], 10, kType, &count), ZEFA_ERR_OPERATION_FAILED);
}

TEST_F(AncStream, StartAfterAStopBeginsAnew)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, Allocate(*model, slot, 0)), ZEFA_NO_ERROR);
    EXPECT_EQ(model->StopStream(), ZEFA_NO_ERROR);
    EXPECT_EQ(Configure(*model, 0), ZEFA_NO_ERROR);

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    EXPECT_EQ(Count(*model, slot, 10), 0u);
    uint32_t count = 0;
    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 526, kType, &count), ZEFA_ERR_BAD_ARGUMENT); // 525 lines now
}

TEST_F(AncStream, StartUponAStartBeginsAnew)
{
    auto model = AncStarted(kTransmit);
    void* slot = Lock(*model);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, Allocate(*model, slot, 0)), ZEFA_NO_ERROR);

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    EXPECT_EQ(Count(*model, slot, 10), 0u);
    for (uint32_t i = 1; i < kSlots; ++i) // that question has taken one element
        Lock(*model);
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(AncStream, TransmitWithoutAStandardHasNoLineAndWritesNoPlaylist)
{
    auto model = Made(kTransmit);
    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);
    void* slot = Lock(*model);
    ZEFA_ANC_PACKET* packet = Allocate(*model, slot, 2);

    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 1, kType, -1, packet), ZEFA_ERR_BAD_ARGUMENT);
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Rail().Slots[0].Bytes, std::vector<uint8_t>(kSlotBytes));
}

TEST_F(AncStream, UnknownStandardThatWasSetWritesTheZeroOfTheHeadAlone)
{
    auto model = AncStarted(kTransmit, 45);
    std::fill(Rail().Slots[0].Bytes.begin(), Rail().Slots[0].Bytes.end(), uint8_t{0x77});
    void* slot = Lock(*model);

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    for (uint32_t key = 0; key < 16; ++key) // of 0 active samples: the odd ones
        EXPECT_EQ(Read(0, key, 6), key % 2 != 0 ? (Words{0x7777, 0x7777, 0, 0, 0x7777, 0x7777}) : Words(6, 0x7777));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(AncStream, StandardBelow1280UsesTheOddBuffersAlone)
{
    auto model = AncStarted(kTransmit, 0);
    void* slot = Lock(*model);
    EXPECT_EQ(ZEFA_SlotAncInsertPacket(model.get(), slot, 10, kType, -1, Allocate(*model, slot, 0)), ZEFA_NO_ERROR)
        << "and is never sent";

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Read(0, 0, 1), Words{0});
    EXPECT_EQ(Read(0, 1, 1), Words{12});
}

TEST_F(AncStream, RefusedStandardIsNotTaken)
{
    auto model = Made(kTransmit);
    EXPECT_EQ(Configure(*model, kStandard), ZEFA_NO_ERROR);
    Rest.Stream.Results["SetEssenceConfig"] = {4};
    EXPECT_EQ(Configure(*model, 0), ZEFA_ERR_BAD_ARGUMENT);

    EXPECT_EQ(model->StartStream(), ZEFA_NO_ERROR);

    EXPECT_EQ(Count(*model, Lock(*model), 1125), 0u);
}

TEST_F(AncStream, StandardWithoutARowRaisesWhereThePlaylistsWouldBeRead)
{
    auto model = AncStarted(kReceive, 1000);
    void* slot = Lock(*model);
    uint32_t count = 0;
    std::string text;
    try
    {
        ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, &count);
    }
    catch (const std::out_of_range& failure)
    {
        text = failure.what();
    }

    EXPECT_EQ(text, "invalid map<K, T> key");
    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);
}

TEST_F(AncStream, StandardWithoutARowWritesNothing)
{
    auto model = AncStarted(kTransmit, 1000);
    void* slot = Lock(*model);

    EXPECT_EQ(model->UnlockSlot(slot), ZEFA_NO_ERROR);

    EXPECT_EQ(Read(0, 0, 1), Words{0});
    EXPECT_THAT(Calls(), ElementsAre("AddMetadata(slot 0, 2, 4095, 0)", "UnlockProducer(slot 0)"));
}

TEST_F(AncStream, UnknownStandardHasARowOfZerosOnceItWasSet)
{
    auto model = AncStarted(kReceive, 45);
    WritePlaylists(0);
    Write(0, 1, kOnePacket);
    void* slot = Lock(*model);
    uint32_t count = 0;

    EXPECT_EQ(ZEFA_SlotAncGetNbPackets(model.get(), slot, 10, kType, &count), ZEFA_ERR_OPERATION_FAILED);

    EXPECT_THAT(Errors(), ElementsAre("Invalid line number at 00000008h in playlist1"));
}

// ---- log, handles ----

TEST_F(AncStream, LinesGoToTheirPriorities)
{
    auto model = AncStarted(kReceive);
    WritePlaylists(0);
    Write(0, 1, {48,    0,     0, 0,     0x800A, 30,    0,     0x3FF, 0x3FF, 0x241,  0x205, 0x200,
                 0x246, 0x123, 0, 0x3FF, 0x3FF,  0x241, 0x205, 0x200, 0x246, 0xFFFF, 0xFFFF});
    void* slot = Lock(*model);
    EXPECT_EQ(Count(*model, slot, 10), 1u);

    const Texts notes = Captured.Lines(6);
    EXPECT_EQ(notes.at(0), "New HANC line 10 detected at 00000008h -> get it");
    EXPECT_EQ(notes.at(1), "New ANC packet : DID=61h DC=02h detected at 0000000ch");
    EXPECT_THAT(Captured.Lines(4),
                ElementsAre("ANC corrupted data found. Move on and stop to next packet or next line header"));
    EXPECT_THAT(Captured.Lines(7), testing::Contains("LineNumber_i=10 - AncStream_E=0 - PacketIndex_i=-1 - InHANC=0 - "
                                                     "DataCount=2\n"));
}

TEST_F(AncStream, HandlesOfNothingAndOfOtherStreamsAreRefused)
{
    auto video = Started(kTransmit, kVideo);
    void* slot = Lock(*video);
    ZEFA_ANC_PACKET* packet = nullptr;
    uint32_t count = 0;
    Forget();
    for (ZEFA_HANDLE handle : {ZEFA_HANDLE{nullptr}, ZEFA_HANDLE{video.get()}})
    {
        EXPECT_EQ(ZEFA_SlotAncAllocatePacket(handle, slot, 0, &packet), ZEFA_ERR_INVALID_HANDLE);
        EXPECT_EQ(ZEFA_SlotAncGetNbPackets(handle, slot, 10, kType, &count), ZEFA_ERR_INVALID_HANDLE);
        EXPECT_EQ(ZEFA_SlotAncGetPacket(handle, slot, 10, kType, 0, &packet), ZEFA_ERR_INVALID_HANDLE);
        EXPECT_EQ(ZEFA_SlotAncInsertPacket(handle, slot, 10, kType, 0, packet), ZEFA_ERR_INVALID_HANDLE);
        EXPECT_EQ(ZEFA_SlotAncRemovePacket(handle, slot, 10, kType, 0, 0), ZEFA_ERR_INVALID_HANDLE);
        EXPECT_EQ(Errors(), Texts(5, "The slot handle is invalid."));
    }
}

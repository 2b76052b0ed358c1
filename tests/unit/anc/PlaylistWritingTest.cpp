// Packets to playlists, compared with playlists written out word by word.
#include "AncTest.h"

#include <bit>

namespace
{
class Generate : public AncTest
{
protected:
    ANC_GENERATE_REQUEST Asked(uint16_t lastLine = 1125)
    {
        ANC_GENERATE_REQUEST request = Request<ANC_GENERATE_REQUEST>();
        request.GetLastLine = [lastLine](uint32_t) { return lastLine; };
        request.SetFinalSize = [this](uint32_t type, uint32_t size) { FinalSize[type] = size; };
        return request;
    }

    ANC_FINALIZE_REQUEST AskedToFinalize(uint32_t activeWidth)
    {
        const auto common = Request<ANC_GENERATE_REQUEST>();
        ANC_FINALIZE_REQUEST request;
        request.NbChannels = 8;
        request.NbLinks = 1;
        request.ActiveWidth = activeWidth;
        request.GetBuffer = common.GetBuffer;
        request.GetProgress = common.GetProgress;
        request.GetFinalSize = [](uint32_t) { return 54u; };
        return request;
    }

    // The first bytes of a buffer that was generated, as many as its own size says.
    std::vector<uint8_t> Generated(uint32_t type = kPlaylist0)
    {
        const ExactBuffer& buffer = Buffers[type];
        uint32_t size = 0;
        std::memcpy(&size, buffer.Bytes.get(), sizeof size);
        EXPECT_LE(size, buffer.Size);
        return {buffer.Bytes.get(), buffer.Bytes.get() + std::min(size, buffer.Size)};
    }

    std::map<uint32_t, uint32_t> FinalSize;
};
} // namespace

TEST_F(Generate, PlaylistWithoutPacketsIs12Bytes)
{
    Buffers[kPlaylist0] = ExactBuffer(64);
    std::memset(Buffers[kPlaylist0].Bytes.get(), 0x77, 64);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(), BytesOf({12, 0, 0, 0, 0xFFFF, 0xFFFF}));
    EXPECT_EQ(Buffers[kPlaylist0].Bytes[12], 0x77);
    EXPECT_EQ(FinalSize[kPlaylist0], 12u);
    EXPECT_EQ(Progress[kPlaylist0], (Place{12, 1125}));
    EXPECT_THAT(Errors, IsEmpty());
}

TEST_F(Generate, WritesHorizontalBeforeVerticalPacketsAndAlignsHeaders)
{
    FillTwoLines();
    Buffers[kPlaylist0] = ExactBuffer(1000);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(), BytesOf(TwoLines()));
    EXPECT_EQ(FinalSize[kPlaylist0], 90u);
    EXPECT_EQ(Count(10), 0u) << "the packets have left the store";
    EXPECT_EQ(Count(11), 0u);
}

TEST_F(Generate, ExactlyFittingBufferTakesAll)
{
    FillTwoLines();
    Buffers[kPlaylist0] = ExactBuffer(90);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Buffers[kPlaylist0].Content(), BytesOf(TwoLines()));
    EXPECT_THAT(Errors, IsEmpty());
}

TEST_F(Generate, WhatDoesNotFitIsRefusedAndTold)
{
    for (uint32_t size = 1; size < 90; ++size)
    {
        Store.Init(kStandard, false, AllStreams(), 1);
        Progress.clear();
        FillTwoLines();
        Buffers[kPlaylist0] = ExactBuffer(size);

        ASSERT_EQ(Manager.Generate(Asked()), 0u) << size;

        const std::string line = size < 12 ? "Line1" : size < 34 ? "Line10" : "Line11";
        ASSERT_EQ(Take(Errors),
                  (Texts{"Playlist0 buffer is too small : " + line + " - BufSize_UL=" + std::to_string(size)}));
        if (size < 12) continue;
        const std::vector<uint8_t> written = Generated();
        ASSERT_EQ(std::vector<uint8_t>(written.end() - 4, written.end()), std::vector<uint8_t>(4, 0xFF)) << size;
    }
}

TEST_F(Generate, PacketsBeforeTheOneThatDoesNotFitMakeAPlaylist)
{
    FillTwoLines();
    Buffers[kPlaylist0] = ExactBuffer(89);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(76) + Words{0x800A, 18} + kTwoWords + Words{kFill, 0xC00B, 14} + kNoWords +
                                   Words{kFill, 0x800B, 16} + kOneWord + kEnd));
}

TEST_F(Generate, MissingBufferIsToldAsAnError)
{
    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_THAT(Errors, ElementsAre("Playlist0 buffer is empty : pBufPtr_UB=(nil)h - BufSize_UL=0"));
    EXPECT_THAT(Debug, IsEmpty());
}

TEST_F(Generate, SinkThatWasNotSuppliedRaises)
{
    CAncPlaylistManager manager(
        {[](uint32_t index, uint32_t) { return kPlaylist0 + index; }, [](uint32_t index) { return index == 0; }}, {});

    EXPECT_THROW(manager.Generate(Asked()), std::bad_function_call);
}

TEST_F(Generate, PlaylistsTakeTheirStreams)
{
    constexpr uint32_t kStreams16[] = {0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15};
    Playlists = 16;
    for (uint32_t index = 0; index < 16; ++index)
    {
        Buffers[kPlaylist0 + index] = ExactBuffer(40);
        Store.InsertPacket(10, kStreams16[index], -1, MakePacket(static_cast<uint8_t>(index), 0, {}));
    }

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    for (uint32_t index = 0; index < 16; ++index)
        EXPECT_EQ(Generated(kPlaylist0 + index).at(18), index);
}

TEST_F(Generate, EvenPlaylistsAreLeftAloneBelow1280ActiveSamples)
{
    Playlists = 2;
    Buffers[kPlaylist0] = ExactBuffer(12);
    Buffers[kPlaylist0 + 1] = ExactBuffer(12);
    ANC_GENERATE_REQUEST request = Asked();
    request.ActiveWidth = 720;

    EXPECT_EQ(Manager.Generate(request), 0u);

    EXPECT_EQ(Buffers[kPlaylist0].Content(), std::vector<uint8_t>(12));
    EXPECT_EQ(Generated(kPlaylist0 + 1).size(), 12u);
}

TEST_F(Generate, FirstAndLastLineAreWritten)
{
    Buffers[kPlaylist0] = ExactBuffer(64);
    Store.InsertPacket(1, 0, -1, MakePacket(0x41, 0x05, {}));
    Store.InsertPacket(1125, 0, -1, MakePacket(0x41, 0x05, {}));

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(),
              BytesOf(Head(50) + Words{0x8001, 14} + kNoWords + Words{kFill, 0x8465, 14} + kNoWords + kEnd));
}

TEST_F(Generate, SecondFieldStartsBehindTheFirst)
{
    Buffers[kPlaylist0] = ExactBuffer(64);
    Store.InsertPacket(563, 0, -1, MakePacket(0x41, 0x05, {}));
    Store.InsertPacket(564, 0, -1, MakePacket(0x41, 0x05, {}));
    ANC_GENERATE_REQUEST request = Asked();
    request.FieldMode = 1;
    request.FieldIndex = 1;

    EXPECT_EQ(Manager.Generate(request), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(30) + Words{0x8234, 14} + kNoWords + kEnd));
    EXPECT_EQ(Count(563), 1u);
}

TEST_F(Generate, ParityAndChecksumOfTheLongestPacket)
{
    // DID FFh: 8 bits, even. SDID FEh: 7 bits, odd. DC 255: even. 255 words of 1: 0FFh + 1FEh + 0FFh + 255 = 4FBh.
    Buffers[kPlaylist0] = ExactBuffer(600);
    Store.InsertPacket(10, 0, -1, MakePacket(0xFF, 0xFE, Words(255, 0x201)));

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(540) + Words{0x800A, 524, 0, 0x3FF, 0x3FF, 0x2FF, 0x1FE, 0x2FF} +
                                   Words(255, 0x201) + Words{0x2FB} + kEnd));
}

TEST_F(Generate, ChecksumTakesNineBitsOfEveryWordWhateverTheirNumber)
{
    for (uint32_t count = 1; count <= 255; ++count)
    {
        Store.Init(kStandard, false, AllStreams(), 1);
        Progress.clear();
        Buffers[kPlaylist0] = ExactBuffer(12 + 4 + 2 * (count + 7));
        Words words;
        uint32_t sum = 0x161 + 0x101 + (std::popcount(count) % 2 != 0 ? 0x100 : 0x200) + count;
        for (uint32_t i = 0; i < count; ++i)
        {
            words.push_back(static_cast<uint16_t>(0xFFFF - i * 263)); // all of the sixteen bits take part
            sum += words.back() & 0x1FF;
        }
        Store.InsertPacket(10, 0, -1, MakePacket(0x61, 0x01, words));

        ASSERT_EQ(Manager.Generate(Asked()), 0u);

        const auto checksum = static_cast<uint16_t>(sum % 512 + (sum & 0x100 ? 0 : 0x200));
        const std::vector<uint8_t> playlist = Generated();
        ASSERT_EQ(std::vector<uint8_t>(playlist.begin() + 24, playlist.end()), BytesOf(words + Words{checksum} + kEnd))
            << count;
    }
}

TEST_F(Generate, PacketWithoutWordsHasNoneWhateverItsCountSays)
{
    Buffers[kPlaylist0] = ExactBuffer(64);
    ZEFA_ANC_PACKET* packet = MakePacket(0x41, 0x05, {});
    packet->DataCount_UB = 9;
    Store.InsertPacket(10, 0, -1, packet);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(30) + Words{0x800A, 14} + kNoWords + kEnd));
}

TEST_F(Generate, CountThatWasRaisedBehindTheLastWordsOfAChunkReadsNothingOfOthers)
{
    // 63 blocks of 512 bytes and 128 of 4 are a chunk of 32768.
    for (int i = 0; i < 63; ++i)
        MakePacket(1, 1, Words(255, 0x3FF));
    for (int i = 0; i < 127; ++i)
        MakePacket(1, 1, {0x3FF});
    ZEFA_ANC_PACKET* packet = MakePacket(0xFF, 0xFE, {0x201});
    packet->UserWords_pUS[1] = 0x3FF; // the checksum's place
    Buffers[kPlaylist0] = ExactBuffer(600);
    Store.InsertPacket(10, 0, -1, packet);
    packet->DataCount_UB = 255;

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    // 0FFh + 1FEh + 0FFh + 001h + 1FFh = 5FCh
    EXPECT_EQ(Generated(), BytesOf(Head(540) + Words{0x800A, 524, 0, 0x3FF, 0x3FF, 0x2FF, 0x1FE, 0x2FF, 0x201, 0x3FF} +
                                   Words(253, 0) + Words{0x1FC} + kEnd));
}

TEST_F(Generate, PacketThatWasPutOnALineTwiceIsWrittenTwice)
{
    Buffers[kPlaylist0] = ExactBuffer(64);
    ZEFA_ANC_PACKET* packet = MakePacket(0x41, 0x05, {});
    Store.InsertPacket(10, 0, -1, packet);
    Store.InsertPacket(10, 0, -1, packet);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(44) + Words{0x800A, 28} + kNoWords + kNoWords + kEnd));
    EXPECT_EQ(Count(10), 0u);
}

TEST_F(Generate, PacketOfAnotherStoreThatWasEmptiedIsAnEmptyOneAndEndsItsLine)
{
    // DID 0, SDID 0, DC 0: 200h + 200h + 200h, 9 bits of it are 0.
    const Words empty{0, 0x3FF, 0x3FF, 0x200, 0x200, 0x200, 0x200};
    CBlankingData other(Into(StoreErrors), Into(StoreDebug));
    other.Init(kStandard, false, AllStreams(), 1);
    ZEFA_ANC_PACKET* foreign = nullptr;
    ASSERT_EQ(other.AllocatePacket(2, &foreign, 0), 0u);
    Buffers[kPlaylist0] = ExactBuffer(90);
    Store.InsertPacket(10, 0, -1, MakePacket(0x41, 0x05, {}));
    Store.InsertPacket(10, 0, -1, foreign);
    Store.InsertPacket(10, 0, -1, MakePacket(0x41, 0x05, {}));
    other.Init(kStandard, false, AllStreams(), 1);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(44) + Words{0x800A, 28} + kNoWords + empty + kEnd));
}

// ---- raw lines ----

TEST_F(Generate, RawLineStandsInPlaceOfVerticalPackets)
{
    Buffers[kPlaylist0] = ExactBuffer(2100);
    uint8_t* line = Store.AllocateVbiLine(0);
    for (uint32_t i = 0; i < 1920; ++i)
        line[i] = static_cast<uint8_t>(i % 251);
    Store.SetVbiLine(10, 0, line);
    Store.InsertPacket(10, 0, -1, MakePacket(0x41, 0x05, {}, true));
    Store.InsertPacket(10, 0, -1, MakePacket(0x41, 0x05, {}));

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    std::vector<uint8_t> expected = BytesOf(Head(1956) + Words{0xC00A, 14} + kNoWords + Words{kFill, 0xA00A, 1920});
    expected.insert(expected.end(), line, line + 1920);
    expected.insert(expected.end(), 4, 0xFF);
    EXPECT_EQ(Generated(), expected);
}

TEST_F(Generate, RawLineOfTenBitsSaysSo)
{
    Buffers[kPlaylist0] = ExactBuffer(2100);
    Store.SetVbiLine(10, 0, Store.AllocateVbiLine(0));
    ANC_GENERATE_REQUEST request = Asked();
    request.Vbi10Bit = 1;

    EXPECT_EQ(Manager.Generate(request), 0u);

    EXPECT_EQ(Generated().at(8), 0x0A);
    EXPECT_EQ(Generated().at(9), 0xB0);
}

TEST_F(Generate, RawLineThatDoesNotFitIsRefused)
{
    Buffers[kPlaylist0] = ExactBuffer(8 + 4 + 1920 + 3);
    Store.SetVbiLine(10, 0, Store.AllocateVbiLine(0));

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated().size(), 12u);
    EXPECT_THAT(Errors, ElementsAre("Playlist0 buffer is too small : Line10 - BufSize_UL=1935"));
}

// ---- the marker of an empty last line ----

TEST_F(Generate, EmptyLastLineIsMarkedByThePlaylistsNumber)
{
    Playlists = 2;
    Buffers[kPlaylist0] = ExactBuffer(64);
    Buffers[kPlaylist0 + 1] = ExactBuffer(64);
    ANC_GENERATE_REQUEST request = Asked();
    request.MarkEmptyFrame = 1;

    EXPECT_EQ(Manager.Generate(request), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(20) + Words{0xC465, 4, 0x0040, 0x0040} + kEnd));
    EXPECT_EQ(Generated(kPlaylist0 + 1), BytesOf(Head(20) + Words{0xC465, 4, 0x0200, 0x0200} + kEnd));
}

TEST_F(Generate, EmptyLastLineIsMarkedByBothWordsBelow1280)
{
    Playlists = 2;
    Buffers[kPlaylist0 + 1] = ExactBuffer(64);
    ANC_GENERATE_REQUEST request = Asked();
    request.MarkEmptyFrame = 1;
    request.ActiveWidth = 720;

    EXPECT_EQ(Manager.Generate(request), 0u);

    EXPECT_EQ(Generated(kPlaylist0 + 1), BytesOf(Head(20) + Words{0xC465, 4, 0x0200, 0x0040} + kEnd));
}

TEST_F(Generate, MarkerFollowsEarlierPacketsOnABoundary)
{
    Buffers[kPlaylist0] = ExactBuffer(64);
    Store.InsertPacket(10, 0, -1, MakePacket(0x41, 0x05, {}));
    ANC_GENERATE_REQUEST request = Asked();
    request.MarkEmptyFrame = 1;

    EXPECT_EQ(Manager.Generate(request), 0u);

    EXPECT_EQ(Generated(),
              BytesOf(Head(40) + Words{0x800A, 14} + kNoWords + Words{kFill, 0xC465, 4, 0x0040, 0x0040} + kEnd));
}

TEST_F(Generate, LastLineWithAPacketHasNoMarker)
{
    Buffers[kPlaylist0] = ExactBuffer(64);
    Store.InsertPacket(1125, 0, -1, MakePacket(0x41, 0x05, {}));
    ANC_GENERATE_REQUEST request = Asked();
    request.MarkEmptyFrame = 1;

    EXPECT_EQ(Manager.Generate(request), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(30) + Words{0x8465, 14} + kNoWords + kEnd));
}

TEST_F(Generate, LastLineWithAHorizontalPacketOrARawLineHasNoMarker)
{
    uint8_t* rawLine = Store.AllocateVbiLine(0);
    std::memset(rawLine, 0, 1920);
    for (const bool raw : {false, true})
    {
        Progress.clear();
        Buffers[kPlaylist0] = ExactBuffer(2000);
        if (raw)
            Store.SetVbiLine(1125, 0, rawLine);
        else
            Store.InsertPacket(1125, 0, -1, MakePacket(0x41, 0x05, {}, true));
        ANC_GENERATE_REQUEST request = Asked();
        request.MarkEmptyFrame = 1;

        EXPECT_EQ(Manager.Generate(request), 0u);

        EXPECT_EQ(Generated(), BytesOf(raw ? Head(1936) + Words{0xA465, 1920} + Words(960, 0) + kEnd
                                           : Head(30) + Words{0xC465, 14} + kNoWords + kEnd));
    }
}

TEST_F(Generate, MarkerThatDoesNotFitIsRefused)
{
    Buffers[kPlaylist0] = ExactBuffer(19);
    ANC_GENERATE_REQUEST request = Asked();
    request.MarkEmptyFrame = 1;

    EXPECT_EQ(Manager.Generate(request), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(12) + kEnd));
    EXPECT_THAT(Errors, ElementsAre("Playlist0 buffer is too small : Line1125 - BufSize_UL=19"));
}

// ---- parts of a playlist ----

TEST_F(Generate, PartEndsWithPadsAndTheNextGoesOn)
{
    FillTwoLines();
    Buffers[kPlaylist0] = ExactBuffer(128);

    EXPECT_EQ(Manager.Generate(Asked(10)), 0u);
    EXPECT_EQ(Progress[kPlaylist0], (Place{64, 10}));
    EXPECT_EQ(FinalSize.count(kPlaylist0), 0u);
    EXPECT_EQ(Count(11), 3u);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);
    EXPECT_EQ(Generated(), BytesOf(Head(122) + Words{0x800A, 18} + kTwoWords + Words(17, 0x1000) + Words{0xC00B, 14} +
                                   kNoWords + Words{kFill, 0x800B, 30} + kOneWord + kNoWords + kEnd));
    EXPECT_EQ(Progress[kPlaylist0], (Place{122, 1125}));
}

TEST_F(Generate, PartThatEndsOnAMultipleOf64IsPaddedByAWhole64)
{
    Buffers[kPlaylist0] = ExactBuffer(132);
    Store.InsertPacket(10, 0, -1, MakePacket(0x61, 0x01, Words(19, 0x201))); // 12 + 52 bytes

    EXPECT_EQ(Manager.Generate(Asked(10)), 0u);

    EXPECT_EQ(Progress[kPlaylist0], (Place{128, 10}));
    EXPECT_EQ(Manager.Generate(Asked()), 0u);
    const std::vector<uint8_t> written = Generated();
    ASSERT_EQ(written.size(), 132u);
    EXPECT_EQ(std::vector<uint8_t>(written.begin() + 64, written.end()), BytesOf(Words(32, 0x1000) + kEnd));
}

TEST_F(Generate, PadThatDoesNotFitIsRefused)
{
    Buffers[kPlaylist0] = ExactBuffer(63);

    EXPECT_EQ(Manager.Generate(Asked(10)), 0u);

    EXPECT_EQ(Progress[kPlaylist0], (Place{8, 10}));
    EXPECT_THAT(Errors, ElementsAre("Playlist0 buffer is too small : Line10 - BufSize_UL=63"));
}

TEST_F(Generate, NothingIsDoneTwice)
{
    Buffers[kPlaylist0] = ExactBuffer(64);
    Progress[kPlaylist0] = {40, 1125};

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Buffers[kPlaylist0].Content(), std::vector<uint8_t>(64));
    EXPECT_EQ(Progress[kPlaylist0], (Place{40, 1125}));
}

TEST_F(Generate, PlaylistThatWasReadToTheEndOfItsBufferStaysAsItIs)
{
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());
    ASSERT_EQ(Manager.Parse(Request<ANC_PARSE_REQUEST>()), 0u);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Buffers[kPlaylist0].Content(), BytesOf(TwoLines()));
    EXPECT_THAT(Errors, IsEmpty());
    EXPECT_EQ(Progress[kPlaylist0], (Place{90, 1125}));
    EXPECT_EQ(FinalSize.count(kPlaylist0), 0u);
}

TEST_F(Generate, PacketBehindAPlaylistThatWasReadIsLeftOutWithoutAWord)
{
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());
    ASSERT_EQ(Manager.Parse(Request<ANC_PARSE_REQUEST>()), 0u);
    Store.InsertPacket(12, 0, -1, MakePacket(0x41, 0x05, {}));

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Buffers[kPlaylist0].Content(), BytesOf(TwoLines()));
    EXPECT_EQ(Progress[kPlaylist0], (Place{90, 1125}));
    EXPECT_THAT(Errors, IsEmpty());
}

TEST_F(Generate, PlaylistThatWasReadWithFallingLinesStaysAsItIs)
{
    const Words falling =
        Head(50) + Words{0x8014, 14} + kNoWords + Words{kFill, 0x800A, 14} + kNoWords + Words{kFill} + kEnd;
    Buffers[kPlaylist0] = ExactBuffer(falling);
    ASSERT_EQ(Manager.Parse(Request<ANC_PARSE_REQUEST>()), 0u);
    ASSERT_EQ(Progress[kPlaylist0].Line, 10);

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Buffers[kPlaylist0].Content(), BytesOf(falling));
    EXPECT_THAT(Errors, IsEmpty());
}

TEST_F(Generate, EveryProgressStaysInside)
{
    for (const uint16_t lastLine : {uint16_t{1125}, uint16_t{500}})
        for (uint32_t position = 1; position < 300; ++position)
        {
            Store.Init(kStandard, false, AllStreams(), 1);
            FillTwoLines();
            Buffers[kPlaylist0] = ExactBuffer(100);
            Progress[kPlaylist0] = {position, 0};

            ASSERT_EQ(Manager.Generate(Asked(lastLine)), 0u);

            ASSERT_LE(Progress[kPlaylist0].Position, std::max(position, 100u));
        }
}

TEST_F(Generate, PacketsThatPointIntoTheBufferBeingWrittenMoveInIt)
{
    // Read at its place, the packet is written 4 bytes before it: line 9 has nothing and needs no section.
    Buffers[kPlaylist0] = ExactBuffer(Head(0) + Words{0x8009, 0, 0x800A, 18} + kTwoWords + kEnd);
    ASSERT_EQ(Manager.Parse(Request<ANC_PARSE_REQUEST>()), 0u);
    Progress.clear();

    EXPECT_EQ(Manager.Generate(Asked()), 0u);

    EXPECT_EQ(Generated(), BytesOf(Head(34) + Words{0x800A, 18} + kTwoWords + kEnd));
}

TEST_F(Generate, WordsThatStandBeforeTheirNewPlaceOrBehindItArriveWhole)
{
    // Their place in the playlist is byte 24; up to byte 12 it is written before they are looked at.
    for (const uint32_t count : {3u, 8u, 9u, 12u, 40u, 255u})
        for (uint32_t from = 12; from <= 2 * count + 48; from += 2)
        {
            Store.Init(kStandard, false, AllStreams(), 1);
            Progress.clear();
            ExactBuffer& buffer = Buffers[kPlaylist0] = ExactBuffer(1200);
            Words words;
            for (uint32_t i = 0; i < count; ++i)
                words.push_back(static_cast<uint16_t>(0x200 + i));
            std::memcpy(buffer.Bytes.get() + from, words.data(), count * 2);
            ZEFA_ANC_PACKET* packet = MakePacket(0x61, 0x01, {});
            packet->DataCount_UB = static_cast<uint8_t>(count);
            packet->UserWords_pUS = reinterpret_cast<uint16_t*>(buffer.Bytes.get() + from);
            Store.InsertPacket(10, 0, -1, packet);

            ASSERT_EQ(Manager.Generate(Asked()), 0u);

            const std::vector<uint8_t> playlist = Generated();
            ASSERT_EQ(std::vector<uint8_t>(playlist.begin() + 24, playlist.begin() + 24 + 2 * count), BytesOf(words))
                << count << " words from " << from;
        }
}

// ---- whole playlists ----

TEST_F(Generate, WhatWasWrittenIsRead)
{
    FillTwoLines();
    Buffers[kPlaylist0] = ExactBuffer(90);
    ASSERT_EQ(Manager.Generate(Asked()), 0u);
    Progress.clear();

    EXPECT_EQ(Manager.Parse(Request<ANC_PARSE_REQUEST>()), 0u);

    EXPECT_EQ(Count(10), 1u);
    EXPECT_EQ(Count(11), 3u);
}

TEST_F(Generate, FinalizeClosesWhatWasNotBegunAndStoresTheSizeOfTheRest)
{
    Playlists = 3;
    Buffers[kPlaylist0] = ExactBuffer(16);
    Buffers[kPlaylist0 + 1] = ExactBuffer(11);
    Buffers[kPlaylist0 + 2] = ExactBuffer(64);
    Progress[kPlaylist0 + 2] = {50, 1125};

    EXPECT_EQ(Manager.Finalize(AskedToFinalize(1920)), 0u);

    EXPECT_EQ(Buffers[kPlaylist0].Content(), BytesOf({12, 0, 0, 0, 0xFFFF, 0xFFFF, 0, 0}));
    EXPECT_EQ(Buffers[kPlaylist0 + 1].Content(), std::vector<uint8_t>(11)); // too small for an empty one
    EXPECT_EQ(Generated(kPlaylist0 + 2).size(), 54u);
}

TEST_F(Generate, FinalizeLeavesEvenPlaylistsAloneBelow1280ActiveSamples)
{
    Playlists = 2;
    Buffers[kPlaylist0] = ExactBuffer(12);
    Buffers[kPlaylist0 + 1] = ExactBuffer(12);

    EXPECT_EQ(Manager.Finalize(AskedToFinalize(1279)), 0u);

    EXPECT_EQ(Buffers[kPlaylist0].Content(), std::vector<uint8_t>(12));
    EXPECT_EQ(Buffers[kPlaylist0 + 1].Content(), BytesOf({12, 0, 0, 0, 0xFFFF, 0xFFFF}));
}

TEST_F(Generate, TrailerStandsBehindThePlaylist)
{
    ExactBuffer buffer(20);
    Manager.WriteEmptyPlaylist(buffer.Bytes.get(), buffer.Size);

    EXPECT_EQ(Manager.CheckTrailer(buffer.Bytes.get(), 20, 7), 3u);
    EXPECT_EQ(Manager.WriteTrailer(buffer.Bytes.get(), 20, 7), 0u);
    EXPECT_EQ(Manager.CheckTrailer(buffer.Bytes.get(), 20, 7), 0u);
    EXPECT_EQ(Manager.CheckTrailer(buffer.Bytes.get(), 20, 8), 3u);
    EXPECT_EQ(Manager.CheckTrailer(buffer.Bytes.get(), 19, 7), 3u);
    EXPECT_EQ(Manager.WriteTrailer(buffer.Bytes.get(), 19, 7), 4u);
    EXPECT_EQ(Manager.WriteTrailer(nullptr, 0, 7), 4u);
}

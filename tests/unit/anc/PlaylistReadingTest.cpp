// Playlists to packets. Every playlist is written out word by word.
#include "AncTest.h"

namespace
{
class Parse : public AncTest
{
protected:
    ANC_PARSE_REQUEST Asked() { return Request<ANC_PARSE_REQUEST>(); }

    uint32_t ParseWords(const Words& words)
    {
        Buffers[kPlaylist0] = ExactBuffer(words);
        return Manager.Parse(Asked());
    }
};

void ExpectPacket(const ZEFA_ANC_PACKET* packet, uint8_t did, uint8_t sdid, const Words& words, bool inHanc)
{
    ASSERT_NE(packet, nullptr);
    EXPECT_EQ(packet->DID_UB, did);
    EXPECT_EQ(packet->SDID_UB, sdid);
    EXPECT_EQ(Words(packet->UserWords_pUS, packet->UserWords_pUS + packet->DataCount_UB), words);
    EXPECT_EQ(packet->InHANC_B, inHanc ? 1u : 0u);
    EXPECT_EQ(packet->External_B, 0);
}
} // namespace

TEST_F(Parse, PutsEachPacketOnItsLineAndArea)
{
    EXPECT_EQ(ParseWords(TwoLines()), 0u);

    EXPECT_EQ(Count(9), 0u);
    ASSERT_EQ(Count(10), 1u);
    ASSERT_EQ(Count(11), 3u);
    EXPECT_EQ(Count(12), 0u);
    ExpectPacket(Packet(10, 0, 0), 0x61, 0x01, {0x296, 0x269}, false);
    ExpectPacket(Packet(11, 0, 0), 0x41, 0x05, {}, true);
    ExpectPacket(Packet(11, 0, 1), 0x45, 0x01, {0x1FF}, false);
    ExpectPacket(Packet(11, 0, 2), 0x41, 0x05, {}, false);
    EXPECT_EQ(Progress[kPlaylist0], (Place{90, 11}));
    EXPECT_THAT(Errors, IsEmpty());
    EXPECT_THAT(Warnings, IsEmpty());
}

TEST_F(Parse, TellsEachLineAndPacketAsDebug)
{
    EXPECT_EQ(ParseWords(TwoLines()), 0u);

    EXPECT_THAT(Debug, ElementsAre("New HANC line 10 detected at 00000008h -> get it",
                                   "New ANC packet : DID=61h DC=02h detected at 0000000ch",
                                   "New HANC line 11 detected at 00000020h -> get it",
                                   "New ANC packet : DID=41h DC=00h detected at 00000024h",
                                   "New HANC line 11 detected at 00000034h -> get it",
                                   "New ANC packet : DID=45h DC=01h detected at 00000038h",
                                   "New ANC packet : DID=41h DC=00h detected at 00000048h"));
}

TEST_F(Parse, BuildsNoTextWhenNobodyListensAndReadsAllTheSame)
{
    Manager.SetListening(false);
    Store.SetListening(false);

    EXPECT_EQ(ParseWords(TwoLines()), 0u);

    EXPECT_EQ(Count(11), 3u);
    EXPECT_THAT(Debug, IsEmpty());
    EXPECT_THAT(StoreDebug, IsEmpty());
}

TEST_F(Parse, SinkThatWasNotSuppliedRaisesEvenWhenNobodyListens)
{
    for (const bool listening : {true, false})
    {
        CAncPlaylistManager manager(
            {[](uint32_t index, uint32_t) { return kPlaylist0 + index; }, [](uint32_t index) { return index == 0; }},
            {}, listening);
        Buffers[kPlaylist0] = ExactBuffer(TwoLines());
        Progress.clear();

        EXPECT_THROW(manager.Parse(Asked()), std::bad_function_call) << listening;
    }
}

TEST_F(Parse, PacketsPointIntoTheBufferUnlessACopyIsAskedFor)
{
    for (uint32_t ANC_PARSE_REQUEST::*flag :
         {&ANC_PARSE_REQUEST::Reserved, &ANC_PARSE_REQUEST::CopyWords, &ANC_PARSE_REQUEST::CopyAll})
    {
        Store.Init(kStandard, false, AllStreams(), 1);
        Progress.clear();
        Buffers[kPlaylist0] = ExactBuffer(TwoLines());
        ANC_PARSE_REQUEST request = Asked();
        request.*flag = 1;
        const bool copies = flag != &ANC_PARSE_REQUEST::Reserved;

        EXPECT_EQ(Manager.Parse(request), 0u);

        const auto* words = reinterpret_cast<const uint8_t*>(Packet(10, 0, 0)->UserWords_pUS);
        EXPECT_EQ(words == Buffers[kPlaylist0].Bytes.get() + 24, !copies);
        ExpectPacket(Packet(10, 0, 0), 0x61, 0x01, {0x296, 0x269}, false);
        EXPECT_EQ(Packet(10, 0, 0)->UserWords_pUS[2], 0x263); // the checksum goes with them
    }
}

TEST_F(Parse, BufferAtAnOddAddressIsCopiedSoThatNoWordPointerIsOdd)
{
    std::vector<uint8_t> bytes = BytesOf(TwoLines());
    bytes.insert(bytes.begin(), 0);
    const ExactBuffer buffer(bytes);
    ANC_PARSE_REQUEST request = Asked();
    request.GetBuffer = [&](uint32_t, uint32_t* size)
    {
        *size = buffer.Size - 1;
        return buffer.Bytes.get() + 1;
    };

    EXPECT_EQ(Manager.Parse(request), 0u);

    EXPECT_EQ(reinterpret_cast<uintptr_t>(Packet(10, 0, 0)->UserWords_pUS) % 2, 0u);
    ExpectPacket(Packet(10, 0, 0), 0x61, 0x01, {0x296, 0x269}, false);
}

TEST_F(Parse, EmptyPlaylistHasNothing)
{
    EXPECT_EQ(ParseWords({12, 0, 0, 0, 0xFFFF, 0xFFFF}), 0u);

    EXPECT_EQ(Progress[kPlaylist0], (Place{12, 0}));
    EXPECT_THAT(Errors, IsEmpty());
    EXPECT_THAT(Debug, IsEmpty());
}

TEST_F(Parse, WhatStandsBehindTheEndMarkerIsNotLookedAt)
{
    EXPECT_EQ(ParseWords(Head(12) + kEnd + Words{0x1234, 0x5678, 0x800A}), 0u);

    EXPECT_THAT(Errors, IsEmpty());
    EXPECT_EQ(Progress[kPlaylist0], (Place{18, 0}));
}

TEST_F(Parse, MissingAndEmptyBuffersAreToldAndPassedOver)
{
    Playlists = 3;
    Buffers[kPlaylist0 + 2] = ExactBuffer(TwoLines());

    EXPECT_EQ(Manager.Parse(Asked()), 0u);

    ASSERT_GE(Debug.size(), 2u);
    EXPECT_EQ(Debug[0], "Playlist0 buffer is empty : pBufPtr_UB=(nil)h - BufSize_UL=0");
    EXPECT_EQ(Debug[1], "Playlist1 buffer is empty : pBufPtr_UB=(nil)h - BufSize_UL=0");
    EXPECT_EQ(Count(10, 8), 1u); // playlist 2 is stream 8
    EXPECT_EQ(Progress.count(kPlaylist0), 0u);
}

TEST_F(Parse, PlaylistsAreTheStreamsOfTheStoreInTheirOrder)
{
    Playlists = 16;
    for (uint32_t index = 0; index < 16; ++index)
        Buffers[kPlaylist0 + index] = ExactBuffer(TwoLines());

    EXPECT_EQ(Manager.Parse(Asked()), 0u);

    // The order in which the streams were filled is the order of the playlists.
    std::vector<std::string> streams;
    for (const std::string& text : StoreDebug)
        if (text.starts_with("LineNumber_i=10 ")) streams.push_back(text.substr(18, text.find(" - Packet") - 18));
    EXPECT_THAT(streams, ElementsAre("AncStream_E=0", "AncStream_E=1", "AncStream_E=8", "AncStream_E=9",
                                     "AncStream_E=2", "AncStream_E=3", "AncStream_E=10", "AncStream_E=11",
                                     "AncStream_E=4", "AncStream_E=5", "AncStream_E=12", "AncStream_E=13",
                                     "AncStream_E=6", "AncStream_E=7", "AncStream_E=14", "AncStream_E=15"));
}

TEST_F(Parse, EvenPlaylistsDoNotExistBelow1280ActiveSamples)
{
    Playlists = 4;
    for (uint32_t index = 0; index < 4; ++index)
        Buffers[kPlaylist0 + index] = ExactBuffer(TwoLines());
    ANC_PARSE_REQUEST request = Asked();
    request.ActiveWidth = 1279;

    EXPECT_EQ(Manager.Parse(request), 0u);

    EXPECT_EQ(Count(10, 0), 0u);
    EXPECT_EQ(Count(10, 1), 1u);
    EXPECT_EQ(Count(10, 8), 0u);
    EXPECT_EQ(Count(10, 9), 1u);
}

TEST_F(Parse, PlaylistNumberAbove31IsToldAndHasNoStream)
{
    Playlists = 33;
    Buffers[kPlaylist0 + 32] = ExactBuffer(TwoLines());
    ANC_PARSE_REQUEST request = Asked();
    request.NbChannels = 17;

    EXPECT_EQ(Manager.Parse(request), 3u); // the store's word for a stream that is none

    EXPECT_THAT(Errors, ElementsAre("Invalid playlist index 32"));
}

// ---- words between packets ----

TEST_F(Parse, FillerEndsTheLineContext)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 14} + kNoWords + Words{kFill} + kNoWords + kEnd), 2u);

    EXPECT_EQ(Count(10), 1u);
    EXPECT_THAT(Errors, ElementsAre("Invalid data at 0000001ch in playlist0 (out of line context)"));
}

TEST_F(Parse, PadLeadsToTheNextMultipleOf64)
{
    Words words = Head(0) + Words{0x800A, 14} + kNoWords; // 26 bytes
    while (words.size() < 32)
        words.push_back(0x1000);
    words = words + Words{0x800C, 14} + kNoWords + kEnd;

    EXPECT_EQ(ParseWords(words), 0u);

    EXPECT_EQ(Count(10), 1u);
    EXPECT_EQ(Count(12), 1u);
}

TEST_F(Parse, PadOnAMultipleOf64LeadsAWhole64Further)
{
    Words words = Head(0) + Words{0x800A, 14} + kNoWords; // 26 bytes
    while (words.size() < 64)
        words.push_back(0x1000);
    words[32] = 0x1000;
    for (size_t i = 33; i < 64; ++i)
        words[i] = 0x0777; // between the pad at 64 and the next multiple nothing is looked at
    words = words + Words{0x800C, 14} + kNoWords + kEnd;

    EXPECT_EQ(ParseWords(words), 0u);

    EXPECT_EQ(Count(12), 1u);
    EXPECT_THAT(Errors, IsEmpty());
}

TEST_F(Parse, PadInTheLast64EndsThePlaylist)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 14} + kNoWords + Words{0x1000}), 0u);

    EXPECT_EQ(Progress[kPlaylist0], (Place{28, 10}));
}

TEST_F(Parse, MarkerOfAnEmptyLineBeforeAPadCountsAsThePad)
{
    for (const Words& mark : {Words{0x200, 0x40}, Words{0x200, 0x200}, Words{0x40, 0x40}})
    {
        Store.Init(kStandard, false, AllStreams(), 1);
        Progress.clear();
        Words words = Head(0) + Words{0xC00A, 4} + mark;
        while (words.size() < 32)
            words.push_back(0x1000);
        words = words + Words{0x800C, 14} + kNoWords + kEnd;

        EXPECT_EQ(ParseWords(words), 0u);

        EXPECT_EQ(Count(10), 0u);
        EXPECT_EQ(Count(12), 1u);
    }
}

TEST_F(Parse, MarkerOfAnEmptyLineBeforeTheEndIsNoPacket)
{
    EXPECT_EQ(ParseWords(Head(20) + Words{0xC00A, 4, 0x40, 0x40} + kEnd), 2u);

    EXPECT_THAT(Errors, ElementsAre("Invalid data at 0000000ch in playlist0 (remaining buffer size too small to "
                                    "contain an ANC packet)"));
}

// ---- what is refused ----

TEST_F(Parse, LineOutsideTheFrameIsRefused)
{
    for (const uint16_t header : {uint16_t{0x8000}, uint16_t{0x8466}}) // lines 0 and 1126
    {
        Progress.clear();
        EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 14} + kNoWords + Words{kFill, header, 14} + kNoWords + kEnd), 2u);

        EXPECT_EQ(Take(Errors), (Texts{"Invalid line number at 0000001ch in playlist0"}));
        EXPECT_EQ(Progress[kPlaylist0], (Place{50, 10})); // moves on all the same
    }
    EXPECT_EQ(Count(10), 2u);
}

TEST_F(Parse, LastLineOfTheFrameIsTaken)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x8465, 14} + kNoWords + kEnd), 0u);

    EXPECT_EQ(Count(1125), 1u);
}

TEST_F(Parse, WordsThatAreNoPacketAreRefused)
{
    const Words wrong[] = {
        {1, 0x3FF, 0x3FF, 0x241, 0x205, 0x200, 0x246},
        {0, 1019, 0x3FF, 0x241, 0x205, 0x200, 0x246},
        {0, 0x3FF, 1019, 0x241, 0x205, 0x200, 0x246},
    };
    for (const Words& packet : wrong)
    {
        Progress.clear();
        EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 14} + packet + kEnd), 2u);

        EXPECT_EQ(Take(Errors), (Texts{"Invalid data at 0000000ch in playlist0"}));
    }
}

TEST_F(Parse, FlagWordsOf1020AreEnough)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 14, 0, 1020, 1020, 0x241, 0x205, 0x200, 0x246} + kEnd), 0u);

    EXPECT_EQ(Count(10), 1u);
}

TEST_F(Parse, ParityAndChecksumAreNotTested)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 16, 0, 0x3FF, 0x3FF, 0x361, 0x301, 0x301, 7, 0} + kEnd), 0u);

    ExpectPacket(Packet(10, 0, 0), 0x61, 0x01, {7}, false);
}

TEST_F(Parse, PacketLongerThanTheBufferIsRefused)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 14, 0, 0x3FF, 0x3FF, 0x161, 0x101, 0x102, 0x296}), 2u);

    EXPECT_EQ(Count(10), 0u);
    EXPECT_THAT(Errors, ElementsAre("Invalid data at 0000000ch in playlist0 (remaining buffer size too small for "
                                    "target ANC data count)"));
    EXPECT_EQ(Debug.back(), "New ANC packet : DID=61h DC=02h detected at 0000000ch");
}

TEST_F(Parse, PacketThatTheStoreRefusesEndsTheCallWithItsCode)
{
    // Line 10 of 1280 x 720 at 60: 370 - 12 words of horizontal area take one packet of 262 words, and no second.
    Store.Init(5, false, AllStreams(), 1);
    Words longest = {0, 0x3FF, 0x3FF, 0x161, 0x101, 0x2FF};
    longest.resize(262, 0x200);

    EXPECT_EQ(ParseWords(Head(0) + Words{0xC00A, 1048} + longest + longest + kEnd), 6u);

    EXPECT_EQ(Count(10), 1u);
    EXPECT_THAT(StoreErrors, ElementsAre("Stream0 - Line10 - H : Packet size 262 is greater than line capacity 96"));
    EXPECT_EQ(Progress[kPlaylist0], (Place{1064, 10}));
}

TEST_F(Parse, StoreWithoutMemoryIsTold)
{
    Store.Init(kStandard, false, AllStreams(), 0); // no pool

    EXPECT_EQ(ParseWords(TwoLines()), 1u);

    EXPECT_THAT(Errors, ElementsAre("Cannot create new ANC packet structure"));
}

TEST_F(Parse, FailureEndsTheCallBeforeTheNextPlaylist)
{
    Playlists = 2;
    Buffers[kPlaylist0] = ExactBuffer(Head(0) + kNoWords + kEnd);
    Buffers[kPlaylist0 + 1] = ExactBuffer(TwoLines());

    EXPECT_EQ(Manager.Parse(Asked()), 2u);
    EXPECT_EQ(Count(10, 1), 0u);

    // The next call finds the damaged one at its end and goes on behind it.
    EXPECT_EQ(Manager.Parse(Asked()), 0u);
    EXPECT_EQ(Count(10, 1), 1u);
}

// ---- resynchronisation ----

TEST_F(Parse, PacketBeforeAWordThatFitsNothingIsDroppedAndTheNextIsFound)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 46} + kTwoWords + Words{0x0111, 0x0222} + kNoWords + kOneWord + kEnd),
              0u);

    ASSERT_EQ(Count(10), 2u);
    EXPECT_EQ(Packet(10, 0, 0)->DID_UB, 0x41);
    EXPECT_EQ(Packet(10, 0, 1)->DID_UB, 0x45);
    EXPECT_THAT(Warnings, ElementsAre("ANC corrupted data found. Move on and stop to next packet or next line header"));
    EXPECT_THAT(Errors, IsEmpty());
}

TEST_F(Parse, HeaderIsFoundAgainByTwoZeroWordsBehindIt)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 18} + kTwoWords + Words{0x0111, 0x800C, 0} + kNoWords + kEnd), 0u);

    EXPECT_EQ(Count(10), 0u);
    EXPECT_EQ(Count(12), 1u);
}

TEST_F(Parse, PacketBehindAHeaderOfAnotherLengthFallsOnTheOldLine)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 18} + kTwoWords + Words{0x0111, 0x800C, 14} + kNoWords + kEnd), 0u);

    EXPECT_EQ(Count(10), 1u);
    EXPECT_EQ(Count(12), 0u);
}

TEST_F(Parse, CorruptedEndLeavesTheEndMarker)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 18} + kTwoWords + Words{0x0111} + kEnd), 0u);

    EXPECT_EQ(Count(10), 0u);
    EXPECT_EQ(Progress[kPlaylist0], (Place{36, 10}));
}

TEST_F(Parse, CorruptedEndWithoutAMarkerLeavesTheLastWord)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 18} + kTwoWords + Words{0x0111, 0x0222}), 2u);

    EXPECT_THAT(Errors, ElementsAre("Invalid data at 00000020h in playlist0 (remaining buffer size too small to "
                                    "contain an ANC packet)"));
}

TEST_F(Parse, PacketBeforeAZeroWordThatBeginsNoPacketIsDropped)
{
    const Words almost[] = {{0, 1019, 0x3FF}, {0, 0x3FF, 1019}};
    for (const Words& words : almost)
    {
        Store.Init(kStandard, false, AllStreams(), 1);
        Progress.clear();
        EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 38} + kTwoWords + words + kNoWords + kEnd), 0u);

        ASSERT_EQ(Count(10), 1u);
        EXPECT_EQ(Packet(10, 0, 0)->DID_UB, 0x41);
        EXPECT_EQ(Take(Warnings).size(), 1u);
    }
}

TEST_F(Parse, FillerBeforeTwoZeroWordsIsNoHeaderToBeFound)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 18} + kTwoWords + Words{0x0111, 0xFFFF, 0, 0, 0x0222, 0x800C, 0} +
                         kNoWords + kEnd),
              0u);

    EXPECT_EQ(Count(10), 0u);
    EXPECT_EQ(Count(12), 1u);
    EXPECT_THAT(Errors, IsEmpty());
}

TEST_F(Parse, HeaderThatIsFoundAgainMustHaveALineOfTheFrame)
{
    EXPECT_EQ(ParseWords(Head(0) + Words{0x800A, 18} + kTwoWords + Words{0x0111, 0x8466, 0} + kNoWords + kEnd), 2u);

    EXPECT_EQ(Count(10), 0u);
    EXPECT_THAT(Errors, ElementsAre("Invalid line number at 00000020h in playlist0"));
}

TEST_F(Parse, HeaderIsNotFoundWithFewerThanThreeWordsLeft)
{
    std::vector<uint8_t> bytes = BytesOf(Head(0) + Words{0x800A, 18} + kTwoWords + Words{0x0111, 0x800C, 0});
    Buffers[kPlaylist0] = ExactBuffer(bytes); // 4 bytes from the header on

    EXPECT_EQ(Manager.Parse(Asked()), 2u);
    EXPECT_EQ(Take(Errors), (Texts{"Invalid data at 00000022h in playlist0 (remaining buffer size too small to "
                                   "contain an ANC packet)"})); // the last word

    bytes.push_back(0); // 5 bytes
    Buffers[kPlaylist0] = ExactBuffer(bytes);
    Progress.clear();
    EXPECT_EQ(Manager.Parse(Asked()), 0u);
    EXPECT_THAT(Errors, IsEmpty());

    bytes.push_back(0); // 6 bytes: the header's two zero words
    Buffers[kPlaylist0] = ExactBuffer(bytes);
    Progress.clear();
    EXPECT_EQ(Manager.Parse(Asked()), 2u);
    EXPECT_EQ(Progress[kPlaylist0], (Place{38, 12}));
}

TEST_F(Parse, PacketMayBeFollowedByAHeaderAPadOrAPacket)
{
    EXPECT_EQ(
        ParseWords(Head(0) + Words{0x800A, 28} + kNoWords + kNoWords + Words{0x800C, 14} + kNoWords + Words{0x1000}),
        0u);

    EXPECT_EQ(Count(10), 2u);
    EXPECT_EQ(Count(12), 1u);
    EXPECT_THAT(Warnings, IsEmpty());
}

// ---- raw lines ----

namespace
{
class ParseRawLine : public Parse
{
protected:
    // A raw line of so many bytes behind its header, then a packet on line 20.
    static Words RawLine(uint16_t header, size_t bytes)
    {
        Words words = Head(0) + Words{header, 77}; // the length is not looked at
        for (size_t i = 0; i < bytes / 2; ++i)
            words.push_back(static_cast<uint16_t>(0x0100 + i % 64));
        return words + Words{0x8014, 14} + kNoWords + kEnd;
    }

    void ExpectRawLine(uint32_t line, uint32_t stream, uint32_t size, const uint8_t* expected)
    {
        uint8_t* data = nullptr;
        uint32_t told = 0;
        EXPECT_EQ(Store.GetVbiLine(line, stream, &data, &told), 0u);
        EXPECT_EQ(told, size);
        EXPECT_EQ(data, expected);
    }
};
} // namespace

TEST_F(ParseRawLine, PointsIntoTheBuffer)
{
    EXPECT_EQ(ParseWords(RawLine(0xA00A, 1920)), 0u);

    ExpectRawLine(10, 0, 1920, Buffers[kPlaylist0].Bytes.get() + 12);
    EXPECT_EQ(Count(20), 1u);
    ASSERT_FALSE(Debug.empty());
    EXPECT_EQ(Debug[0], "New VBI line 10 detected at 00000008h -> get it");
}

TEST_F(ParseRawLine, HasTwoBytesASampleBelow1280)
{
    Store.Init(0, false, AllStreams(), 1);
    Playlists = 2;
    Buffers[kPlaylist0 + 1] = ExactBuffer(RawLine(0xA00A, 1440));
    ANC_PARSE_REQUEST request = Asked();
    request.ActiveWidth = 720;
    request.TotalHeight = 525;

    EXPECT_EQ(Manager.Parse(request), 0u);

    ExpectRawLine(10, 1, 1440, Buffers[kPlaylist0 + 1].Bytes.get() + 12);
    EXPECT_EQ(Count(20, 1), 1u);
}

TEST_F(ParseRawLine, OfTenBitsIsTwiceAsLong)
{
    Buffers[kPlaylist0] = ExactBuffer(RawLine(0xB00A, 3840));
    ANC_PARSE_REQUEST request = Asked();
    request.Vbi10Bit = 1;

    EXPECT_EQ(Manager.Parse(request), 0u);

    ExpectRawLine(10, 0, 1920, Buffers[kPlaylist0].Bytes.get() + 12); // the store's own size
    EXPECT_EQ(Count(20), 1u);
}

TEST_F(ParseRawLine, OfTenBitsBelow1280HasFourBytesASample)
{
    Store.Init(0, false, AllStreams(), 1);
    Playlists = 2;
    Buffers[kPlaylist0 + 1] = ExactBuffer(RawLine(0xB00A, 2880));
    ANC_PARSE_REQUEST request = Asked();
    request.ActiveWidth = 720;
    request.TotalHeight = 525;
    request.Vbi10Bit = 1;

    EXPECT_EQ(Manager.Parse(request), 0u);

    ExpectRawLine(10, 1, 1440, Buffers[kPlaylist0 + 1].Bytes.get() + 12);
    EXPECT_EQ(Count(20, 1), 1u);
}

TEST_F(ParseRawLine, IsOneWhateverTheHeaderSaysOfTheHorizontalArea)
{
    EXPECT_EQ(ParseWords(RawLine(0xE00A, 1920)), 0u);

    ExpectRawLine(10, 0, 1920, Buffers[kPlaylist0].Bytes.get() + 12);
    EXPECT_EQ(Count(10), 0u);
    EXPECT_EQ(Count(20), 1u);
}

TEST_F(ParseRawLine, OfEightBitsWhereTenAreSetIsRefused)
{
    Buffers[kPlaylist0] = ExactBuffer(RawLine(0xA00A, 1920));
    ANC_PARSE_REQUEST request = Asked();
    request.Vbi10Bit = 1;

    EXPECT_EQ(Manager.Parse(request), 2u);

    EXPECT_THAT(Errors, ElementsAre("VBI 10-bits incoherence between property and playlist flag in playlist0"));
}

TEST_F(ParseRawLine, ThatIsCutShortIsRefused)
{
    Words words = RawLine(0xA00A, 1920);
    words.resize(4 + 2 + 959);

    EXPECT_EQ(ParseWords(words), 2u);

    EXPECT_THAT(Errors, ElementsAre("Invalid data at 00000008h in playlist0 (remaining buffer size too small for a new "
                                    "VBI line)"));
    words.push_back(0);
    Progress.clear();
    EXPECT_EQ(ParseWords(words), 0u); // one word more is a whole line
}

TEST_F(ParseRawLine, EndsTheLineContext)
{
    Words words = RawLine(0xA00A, 1920);
    words.erase(words.end() - 11, words.end() - 9); // the header of line 20

    EXPECT_EQ(ParseWords(words), 2u);

    EXPECT_THAT(Errors, ElementsAre("Invalid data at 0000078ch in playlist0 (out of line context)"));
}

TEST_F(ParseRawLine, IsCopiedOnRequest)
{
    Buffers[kPlaylist0] = ExactBuffer(RawLine(0xA00A, 1920));
    ANC_PARSE_REQUEST request = Asked();
    request.CopyAll = 1;

    EXPECT_EQ(Manager.Parse(request), 0u);

    uint8_t* data = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(Store.GetVbiLine(10, 0, &data, &size), 0u);
    EXPECT_NE(data, Buffers[kPlaylist0].Bytes.get() + 12);
    EXPECT_EQ(std::memcmp(data, Buffers[kPlaylist0].Bytes.get() + 12, 1920), 0);
}

TEST_F(ParseRawLine, LongerThanTheStoresIsCutWhenCopied)
{
    Buffers[kPlaylist0] = ExactBuffer(RawLine(0xB00A, 3840));
    ANC_PARSE_REQUEST request = Asked();
    request.CopyAll = 1;

    EXPECT_EQ(Manager.Parse(request), 0u);

    uint8_t* data = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(Store.GetVbiLine(10, 0, &data, &size), 0u);
    EXPECT_EQ(size, 1920u);
    EXPECT_EQ(std::memcmp(data, Buffers[kPlaylist0].Bytes.get() + 12, 1920), 0);
    EXPECT_EQ(Count(20), 1u);
}

TEST_F(ParseRawLine, ShorterThanTheStoresIsCopiedAndFilledWithZeros)
{
    Buffers[kPlaylist0] = ExactBuffer(RawLine(0xA00A, 1280));
    ANC_PARSE_REQUEST request = Asked();
    request.ActiveWidth = 1280;

    EXPECT_EQ(Manager.Parse(request), 0u);

    uint8_t* data = nullptr;
    uint32_t size = 0;
    ASSERT_EQ(Store.GetVbiLine(10, 0, &data, &size), 0u);
    EXPECT_EQ(size, 1920u);
    EXPECT_EQ(std::memcmp(data, Buffers[kPlaylist0].Bytes.get() + 12, 1280), 0);
    EXPECT_EQ(std::vector<uint8_t>(data + 1280, data + 1920), std::vector<uint8_t>(640, 0));
}

TEST_F(ParseRawLine, WithoutMemoryForTheCopyFails)
{
    Store.Init(kStandard, false, AllStreams(), 0);
    Buffers[kPlaylist0] = ExactBuffer(RawLine(0xA00A, 1920));
    ANC_PARSE_REQUEST request = Asked();
    request.CopyAll = 1;

    EXPECT_EQ(Manager.Parse(request), 1u);
}

TEST_F(ParseRawLine, OnALineThatTheStoreDoesNotHaveFails)
{
    Store.Init(0, false, AllStreams(), 1); // 525 lines
    Buffers[kPlaylist0] = ExactBuffer(RawLine(0xA20E, 1920));

    EXPECT_EQ(Manager.Parse(Asked()), 3u); // line 526
}

// ---- fields ----

namespace
{
struct FieldCase
{
    uint32_t activeHeight, progressive, fieldIndex, first, last; // lines that are taken; first above last for none
};
const FieldCase kFieldCases[] = {
    {480, 0, 0, 1, 262},  {480, 0, 1, 263, 525},       {487, 0, 0, 1, 263},  {487, 0, 1, 264, 525},
    {576, 0, 0, 1, 312},  {576, 0, 1, 313, 625},       {720, 1, 0, 1, 385},  {720, 1, 1, 386, 750},
    {1080, 1, 0, 1, 581}, {1080, 1, 1, 582, 1125},     {1080, 0, 0, 1, 563}, {1080, 0, 1, 564, 1125},
    {1080, 0, 2, 1, 0},   {1080, 0, UINT32_MAX, 1, 0}, {1081, 0, 0, 1, 0},
};
} // namespace

TEST_F(Parse, FieldHasItsOwnLines)
{
    for (const FieldCase& each : kFieldCases)
        for (uint32_t line = 1; line < 1200; ++line)
        {
            Progress.clear();
            Buffers[kPlaylist0] = ExactBuffer(Head(0) + Words{static_cast<uint16_t>(0x8000 + line), 0} + kEnd);
            ANC_PARSE_REQUEST request = Asked();
            request.FieldMode = 1;
            request.ActiveHeight = each.activeHeight;
            request.Progressive = each.progressive;
            request.FieldIndex = each.fieldIndex;
            const bool valid = each.first <= line && line <= each.last;

            ASSERT_EQ(Manager.Parse(request), valid ? 0u : 2u)
                << each.activeHeight << " lines, field " << each.fieldIndex << ", line " << line;
        }
}

// ---- parts of a playlist ----

namespace
{
class ParsePart : public Parse
{
protected:
    uint32_t ParseUpTo(uint32_t available, bool complete)
    {
        ANC_PARSE_REQUEST request = Asked();
        request.HasGetAvailable = 1;
        request.GetAvailable = [=](uint32_t, uint32_t* size, bool* isComplete)
        {
            *size = available;
            *isComplete = complete;
            return 0u;
        };
        return Manager.Parse(request);
    }
};
} // namespace

TEST_F(ParsePart, LineInWorkIsReadAgainFromItsFirstHeader)
{
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());

    EXPECT_EQ(ParseUpTo(60, false), 0u); // in the middle of a packet of line 11
    EXPECT_EQ(Count(10), 1u);
    EXPECT_EQ(Count(11), 0u);
    EXPECT_EQ(Progress[kPlaylist0], (Place{32, 10}));

    EXPECT_EQ(ParseUpTo(90, true), 0u);
    EXPECT_EQ(Count(10), 1u);
    EXPECT_EQ(Count(11), 3u);
    EXPECT_EQ(Progress[kPlaylist0], (Place{90, 11}));
}

TEST_F(ParsePart, EveryCutLeadsToTheSamePackets)
{
    for (uint32_t cut = 1; cut < 90; ++cut)
    {
        Store.Init(kStandard, false, AllStreams(), 1);
        Progress.clear();
        Buffers[kPlaylist0] = ExactBuffer(TwoLines());

        ASSERT_EQ(ParseUpTo(cut, false), 0u) << cut;
        ASSERT_EQ(ParseUpTo(90, true), 0u) << cut;

        ASSERT_EQ(Count(10), 1u) << cut;
        ASSERT_EQ(Count(11), 3u) << cut;
    }
}

TEST_F(ParsePart, WithoutAHeaderLeavesTheProgress)
{
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());

    for (const uint32_t available : {8u, 9u})
    {
        EXPECT_EQ(ParseUpTo(available, false), 0u);
        EXPECT_EQ(Progress[kPlaylist0], (Place{0, 0}));
    }
    EXPECT_EQ(ParseUpTo(90, true), 0u);
    EXPECT_EQ(Count(11), 3u);
}

TEST_F(ParsePart, InvalidLineIsToldAndTheLineBeforeItReadAgain)
{
    Buffers[kPlaylist0] = ExactBuffer(Head(0) + Words{0x800A, 14} + kNoWords + Words{kFill, 0x8466, 14} + kNoWords);

    EXPECT_EQ(ParseUpTo(46, false), 0u);
    EXPECT_EQ(Take(Errors), (Texts{"Invalid line number at 0000001ch in playlist0"}));
    EXPECT_EQ(Count(10), 0u);
    EXPECT_EQ(Progress[kPlaylist0], (Place{8, 9}));

    EXPECT_EQ(ParseUpTo(46, true), 2u);
    EXPECT_EQ(Count(10), 1u);
}

TEST_F(ParsePart, CutLineWithPictureHasNoVerticalRoomWhenItIsReadAgain)
{
    Buffers[kPlaylist0] =
        ExactBuffer(Head(0) + Words{0xC064, 14} + kNoWords + Words{kFill, 0x8064, 14} + kNoWords + kEnd);

    EXPECT_EQ(ParseUpTo(46, false), 0u);
    EXPECT_EQ(Progress[kPlaylist0], (Place{8, 99}));
    EXPECT_EQ(ParseUpTo(50, true), 6u);

    EXPECT_EQ(Count(100), 1u);
    EXPECT_THAT(StoreErrors, ElementsAre("Stream0 - Line100 - V : Packet size 7 is greater than line capacity 0"));
}

TEST_F(ParsePart, CutLineEndsTheCallBeforeTheNextPlaylist)
{
    Playlists = 2;
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());
    Buffers[kPlaylist0 + 1] = ExactBuffer(TwoLines());

    EXPECT_EQ(ParseUpTo(60, false), 0u);
    EXPECT_EQ(Progress.count(kPlaylist0 + 1), 0u);

    EXPECT_EQ(ParseUpTo(50, false), 0u); // up to the end of a packet: nothing is left over
    EXPECT_EQ(Progress.count(kPlaylist0 + 1), 1u);
}

TEST_F(ParsePart, NothingNewIsNothingToDo)
{
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());
    Progress[kPlaylist0] = {32, 10};

    EXPECT_EQ(ParseUpTo(32, false), 0u);

    EXPECT_EQ(Progress[kPlaylist0], (Place{32, 10}));
    EXPECT_THAT(Debug, IsEmpty());
}

TEST_F(ParsePart, FailureOfTheQuestionEndsTheCall)
{
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());
    ANC_PARSE_REQUEST request = Asked();
    request.HasGetAvailable = 1;
    request.GetAvailable = [](uint32_t, uint32_t*, bool*) { return 77u; };

    EXPECT_EQ(Manager.Parse(request), 77u);

    EXPECT_EQ(Progress[kPlaylist0], (Place{0, 0}));
}

TEST_F(ParsePart, MoreThanTheBufferIsNotAvailable)
{
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());

    EXPECT_EQ(ParseUpTo(0xFFFFFFFF, true), 0u);

    EXPECT_EQ(Progress[kPlaylist0], (Place{90, 11}));
}

// ---- bounds ----

TEST_F(Parse, EveryTruncationGivesTheWholePacketsBeforeIt)
{
    const std::vector<uint8_t> whole = BytesOf(TwoLines());
    for (size_t size = 1; size <= whole.size(); ++size)
    {
        Store.Init(kStandard, false, AllStreams(), 1);
        Progress.clear();
        Buffers[kPlaylist0] = ExactBuffer(std::vector<uint8_t>(whole.begin(), whole.begin() + ptrdiff_t(size)));

        const uint32_t result = Manager.Parse(Asked());

        uint32_t expected = 0;
        for (const uint32_t end : kPacketEnds)
            if (end <= size) ++expected;
        ASSERT_EQ(Count(10) + Count(11), expected) << size;
        ASSERT_TRUE(result == 0 || result == 2) << size;
        ASSERT_EQ(Progress[kPlaylist0].Position, size);
    }
}

TEST_F(Parse, EveryProgressStaysInside)
{
    for (uint32_t position = 0; position < 200; ++position)
    {
        Store.Init(kStandard, false, AllStreams(), 1);
        Buffers[kPlaylist0] = ExactBuffer(TwoLines());
        Progress[kPlaylist0] = {position, 10};

        Manager.Parse(Asked());

        // A progress at the end or behind it leaves the playlist alone.
        ASSERT_EQ(Progress[kPlaylist0].Position, std::max(position, 90u));
    }
}

TEST_F(Parse, PacketsPlacedByTheProgressAreReadFromThere)
{
    Buffers[kPlaylist0] = ExactBuffer(TwoLines());
    Progress[kPlaylist0] = {32, 10};

    EXPECT_EQ(Manager.Parse(Asked()), 0u);

    EXPECT_EQ(Count(10), 0u);
    EXPECT_EQ(Count(11), 3u);
}

// The store: lines and their room, lists of packets, pools that can run out of memory.
#include "AncTest.h"

#include <cstdlib>
#include <new>

#include "core/VideoStandards.h"

namespace
{
thread_local bool NoMemory = false;
} // namespace

// What chunks come from.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (NoMemory) return nullptr;
    try
    {
        return ::operator new(size);
    }
    catch (const std::bad_alloc&)
    {
        return nullptr;
    }
}

namespace
{
class BlankingData : public AncTest
{
protected:
    static constexpr uint32_t kSd = 0;    // 525 lines, 1440 words of vertical area
    static constexpr uint32_t kHd720 = 5; // 750 lines, 1280 words

    void Use(uint32_t standard, bool doubleVanc = false)
    {
        EXPECT_EQ(Store.Init(standard, doubleVanc, AllStreams(), 1), 0u);
    }

    uint32_t Insert(uint32_t line, uint8_t dataCount, int32_t index = -1, bool inHanc = false, uint32_t stream = 0)
    {
        ZEFA_ANC_PACKET* packet = nullptr;
        EXPECT_EQ(Store.AllocatePacket(dataCount, &packet, 0), 0u);
        packet->DID_UB = ++LastDid;
        packet->InHANC_B = inHanc;
        return Store.InsertPacket(line, stream, index, packet);
    }

    // The data identifiers of a line, in the order of GetPacket.
    std::vector<int> Dids(uint32_t line)
    {
        std::vector<int> dids;
        ZEFA_ANC_PACKET* packet = nullptr;
        for (int32_t i = 0; Store.GetPacket(line, 0, i, &packet) == 0; ++i)
            dids.push_back(packet->DID_UB);
        return dids;
    }

    // How many words more an area of line takes, by packets of every size from the largest on.
    uint32_t Room(uint32_t line, bool inHanc)
    {
        uint32_t room = 0;
        for (int count = 255; count >= 0; --count)
            while (Insert(line, static_cast<uint8_t>(count), -1, inHanc) == 0)
                room += static_cast<uint32_t>(count) + 7;
        StoreErrors.clear();
        return room;
    }

    uint8_t LastDid = 0;
};

struct CapacityCase
{
    uint32_t standard, line;
    bool hanc;
    int32_t expected;
};
// HANC: 1280 and more total samples give the blanking - 12, fewer twice the blanking - 8.
const CapacityCase kCapacities[] = {
    {0, 1, true, 268},          {1, 1, true, 268},       {2, 1, true, 280},     {3, 1, true, 688},
    {4, 1, true, 358},          {6, 1, true, 708},       {7, 1, true, 268},     {9, 1, true, 818},
    {17, 1, true, 690},         {44, 9, true, 140},      {0, 0, false, 1440},   {0, 22, false, 1440},
    {0, 23, false, 0},          {0, 262, false, 0},      {0, 263, false, 1440}, {0, 285, false, 1440},
    {0, 286, false, 0},         {0, 525, false, 0},      {1, 19, false, 1440},  {1, 20, false, 0},
    {1, 263, false, 0},         {1, 264, false, 1440},   {1, 282, false, 1440}, {1, 283, false, 0},
    {2, 22, false, 1440},       {2, 23, false, 0},       {2, 310, false, 0},    {2, 311, false, 1440},
    {2, 335, false, 1440},      {2, 336, false, 0},      {2, 623, false, 0},    {2, 624, false, 1440},
    {3, 25, false, 1280},       {3, 26, false, 0},       {5, 745, false, 0},    {5, 746, false, 1280},
    {6, 20, false, 1920},       {6, 21, false, 0},       {7, 560, false, 0},    {7, 561, false, 1920},
    {7, 583, false, 1920},      {8, 584, false, 0},      {8, 1123, false, 0},   {8, 1124, false, 1920},
    {8, 1125, false, 1920},     {8, 1126, false, 0},     {9, 41, false, 1920},  {9, 42, false, 0},
    {26, 1121, false, 0},       {26, 1122, false, 2048}, {44, 41, false, 2048}, {44, 42, false, 0},
    {45, 1, false, -1},         {45, 1, true, -8},       {46, 1, false, -1},    {46, 1, true, -1},
    {0xFFFFFFFF, 1, false, -1},
};
} // namespace

TEST_F(BlankingData, LineHasTheWordsOfItsStandard)
{
    for (const CapacityCase& each : kCapacities)
        EXPECT_EQ(GetLineCapacity(each.standard, each.line, each.hanc), each.expected)
            << each.standard << ", line " << each.line << (each.hanc ? " H" : " V");
}

TEST_F(BlankingData, StoreWithoutAStandardHasNoLine)
{
    CBlankingData store(Into(StoreErrors), Into(StoreDebug));
    uint32_t count = 0;

    EXPECT_EQ(store.GetNbLines(), 0u);
    EXPECT_EQ(store.GetNbPackets(1, 0, false, &count), 3u);
    EXPECT_EQ(store.Init(45, false, AllStreams(), 1), 0u);
    EXPECT_EQ(store.GetNbLines(), 0u);
    EXPECT_EQ(store.Init(0, false, AllStreams(), 1), 0u);
    EXPECT_EQ(store.GetNbLines(), 525u);
    EXPECT_EQ(store.Init(45, false, AllStreams(), 1), 0u);
    EXPECT_EQ(store.GetNbLines(), 0u);
}

TEST_F(BlankingData, UnknownStandardHasNoLineAndNoRawLine)
{
    for (const uint32_t standard : {46u, 1000u, 0xFFFFFFFFu})
    {
        Use(standard);

        EXPECT_EQ(Store.GetNbLines(), 0u);
        EXPECT_EQ(Store.AllocateVbiLine(0), nullptr) << "its size is no chunk's";
    }
    EXPECT_EQ(Quillmont::Trellis::Zefa::FindSdiStandard(45), nullptr) << "no row was made";
}

TEST_F(BlankingData, EveryOperationTestsLineAndStreamFirst)
{
    ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {});
    ZEFA_ANC_PACKET* out = packet;
    uint8_t* data = nullptr;
    uint32_t number = 0;
    const std::pair<uint32_t, uint32_t> places[] = {{0, 0}, {1126, 0}, {0xFFFFFFFF, 0}, {1, 48}, {1, 0xFFFFFFFF}};
    for (const auto& [line, stream] : places)
    {
        EXPECT_EQ(Store.GetNbPackets(line, stream, true, nullptr), 3u);
        EXPECT_EQ(Store.GetTotalNbPackets(line, stream, nullptr), 3u);
        EXPECT_EQ(Store.GetPacket(line, stream, 0, nullptr), 3u);
        EXPECT_EQ(Store.InsertPacket(line, stream, 0, packet), 3u);
        EXPECT_EQ(Store.RemovePacket(line, stream, -1, true, nullptr), 3u);
        EXPECT_EQ(Store.GetVbiLine(line, stream, &data, &number), 3u);
        EXPECT_EQ(Store.SetVbiLine(line, stream, nullptr), 3u);
        EXPECT_EQ(Store.RemovePacket(line, stream, 0, true, &(out = packet)), 3u);
        EXPECT_EQ(out, nullptr) << "cleared before the test";
    }
    EXPECT_THAT(StoreErrors, IsEmpty());
}

TEST_F(BlankingData, FirstAndLastLineAndStreamAreThere)
{
    EXPECT_EQ(Insert(1, 0, -1, false, 0), 0u);
    EXPECT_EQ(Insert(1125, 0, -1, false, 47), 0u);
    EXPECT_EQ(Count(1, 0), 1u);
    EXPECT_EQ(Count(1125, 47), 1u);
}

TEST_F(BlankingData, NullPointersAreRefused)
{
    EXPECT_EQ(Store.GetNbPackets(1, 0, true, nullptr), 7u);
    EXPECT_EQ(Store.GetTotalNbPackets(1, 0, nullptr), 7u);
    EXPECT_EQ(Store.GetPacket(1, 0, 0, nullptr), 7u);
    EXPECT_EQ(Store.InsertPacket(1, 0, 0, nullptr), 7u);
    EXPECT_EQ(Store.GetVbiLine(1, 0, nullptr, nullptr), 7u);
}

// ---- AllocatePacket ----

TEST_F(BlankingData, PacketHasItsWordsAndOneMore)
{
    ZEFA_ANC_PACKET *first = nullptr, *second = nullptr;

    EXPECT_EQ(Store.AllocatePacket(255, &first, 0), 0u);
    EXPECT_EQ(Store.AllocatePacket(1, &second, 0), 0u);

    EXPECT_EQ(first->DataCount_UB, 255);
    EXPECT_EQ(first->External_B, 0);
    EXPECT_EQ(second->UserWords_pUS - first->UserWords_pUS, 256);
    EXPECT_EQ(reinterpret_cast<uint8_t*>(second) - reinterpret_cast<uint8_t*>(first), 48);
}

TEST_F(BlankingData, PacketWithoutWordsHasNoBlock)
{
    ZEFA_ANC_PACKET* packet = nullptr;

    EXPECT_EQ(Store.AllocatePacket(0, &packet, 0), 0u);

    EXPECT_EQ(packet->UserWords_pUS, nullptr);
}

TEST_F(BlankingData, AllocationTellsABadPoolBeforeANullPointer)
{
    EXPECT_EQ(Store.AllocatePacket(0, nullptr, 1), 3u);
    EXPECT_EQ(Store.AllocatePacket(0, nullptr, 0), 7u);

    EXPECT_THAT(StoreErrors, ElementsAre("Invalid pool index received", "Invalid pNbAncPackets pointer received"));
}

TEST_F(BlankingData, PoolsAreCountedByInit)
{
    ZEFA_ANC_PACKET* packet = nullptr;

    EXPECT_EQ(Store.Init(kStandard, false, AllStreams(), 3), 0u);
    EXPECT_EQ(Store.AllocatePacket(1, &packet, 2), 0u);
    EXPECT_NE(Store.AllocateVbiLine(2), nullptr);
    EXPECT_EQ(Store.AllocateVbiLine(3), nullptr);

    EXPECT_EQ(Store.Init(kStandard, false, AllStreams(), 0), 0u);
    EXPECT_EQ(Store.AllocatePacket(1, &packet, 0), 3u);
    EXPECT_EQ(Store.AllocateVbiLine(0), nullptr);
}

TEST_F(BlankingData, ThousandsOfPacketsAreAllTheirOwn)
{
    std::vector<ZEFA_ANC_PACKET*> packets;
    for (uint32_t i = 0; i < 3000; ++i)
    {
        ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {static_cast<uint16_t>(i), 0, 0, 0, 0, 0, 0, 0, 0, 0});
        packet->UserWords_pUS[10] = static_cast<uint16_t>(i); // the checksum's place
        packets.push_back(packet);
    }
    for (uint32_t i = 0; i < 3000; ++i)
    {
        ASSERT_EQ(packets[i]->UserWords_pUS[0], i);
        ASSERT_EQ(packets[i]->UserWords_pUS[10], i);
    }
}

TEST_F(BlankingData, WithoutMemoryTheResultSaysSo)
{
    ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {});
    Store.Init(kStandard, false, AllStreams(), 0);
    Store.Init(kStandard, false, AllStreams(), 1); // pools without a chunk

    NoMemory = true;
    EXPECT_EQ(Store.AllocatePacket(1, &packet, 0), 1u);
    EXPECT_EQ(packet, nullptr);
    EXPECT_EQ(Store.AllocateVbiLine(0), nullptr);
    NoMemory = false;

    EXPECT_THAT(StoreErrors, ElementsAre("Cannot allocate internal ANC packet structure"));
    EXPECT_EQ(Store.AllocatePacket(1, &packet, 0), 0u);
    EXPECT_NE(Store.AllocateVbiLine(0), nullptr);
}

TEST_F(BlankingData, WithoutMemoryForTheWordsThereIsNoPacket)
{
    ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {}); // a chunk of packets, none of words

    NoMemory = true;
    EXPECT_EQ(Store.AllocatePacket(1, &packet, 0), 1u);
    EXPECT_EQ(packet, nullptr);
    EXPECT_EQ(Store.AllocatePacket(0, &packet, 0), 0u);
    NoMemory = false;
}

TEST_F(BlankingData, FrameAsLargeAsTheOneBeforeTakesNoNewMemory)
{
    for (int frame = 0; frame < 3; ++frame)
    {
        NoMemory = frame > 0;
        for (uint32_t i = 0; i < 2500; ++i)
        {
            ZEFA_ANC_PACKET* packet = nullptr;
            ASSERT_EQ(Store.AllocatePacket(30, &packet, 0), 0u);
            ASSERT_EQ(packet->DID_UB, 0) << "as empty as a new one";
            packet->DID_UB = 0x61;
        }
        Use(kStandard);
    }
    NoMemory = false;
}

// ---- InsertPacket ----

TEST_F(BlankingData, InsertsAtTheHeadTheTailAndBetween)
{
    EXPECT_EQ(Insert(9, 0, 0), 0u);  // 1
    EXPECT_EQ(Insert(9, 0, 0), 0u);  // 2 1
    EXPECT_EQ(Insert(9, 0, -1), 0u); // 2 1 3
    EXPECT_EQ(Insert(9, 0, 3), 0u);  // 2 1 3 4: the count is the end
    EXPECT_EQ(Insert(9, 0, 1), 0u);  // 2 5 1 3 4
    EXPECT_EQ(Insert(9, 0, 3), 0u);  // 2 5 1 6 3 4

    EXPECT_THAT(Dids(9), ElementsAre(2, 5, 1, 6, 3, 4));
}

TEST_F(BlankingData, IndexAboveTheCountOrNegativeIsToldAndRefused)
{
    EXPECT_EQ(Insert(9, 0), 0u);
    EXPECT_EQ(Insert(9, 0, 2), 3u);
    EXPECT_EQ(Insert(9, 0, -2), 3u);

    EXPECT_THAT(StoreErrors,
                ElementsAre("Invalid PacketIndex_i=2 (NbAncPkt_UL=1)", "Invalid PacketIndex_i=-2 (NbAncPkt_UL=1)"));
    EXPECT_EQ(Count(9), 1u);
}

TEST_F(BlankingData, InsertTellsItsArgumentsBeforeAnyTest)
{
    EXPECT_EQ(Insert(0, 3, 7, true, 99), 3u);

    EXPECT_THAT(StoreDebug,
                ElementsAre("LineNumber_i=0 - AncStream_E=99 - PacketIndex_i=7 - InHANC=1 - DataCount=3\n"));
}

TEST_F(BlankingData, InsertTellsNothingWhenNobodyListens)
{
    Store.SetListening(false);

    EXPECT_EQ(Insert(9, 0, 5), 3u);

    EXPECT_THAT(StoreDebug, IsEmpty());
    EXPECT_THAT(StoreErrors, IsEmpty());
}

TEST_F(BlankingData, NobodyListeningChangesNothingButTheTexts)
{
    constexpr uint32_t kLinesTried[] = {10, 11, 1, 1125, 0, 1126}, kStreamsTried[] = {0, 15, 47, 48};
    constexpr int32_t kIndexes[] = {-1, -1, 0, 1, 5, -2};
    constexpr uint8_t kCounts[] = {32, 0, 255, 1};
    // The results of a long run of insertions and removals, and what is on the lines after each.
    const auto run = [&](bool listening)
    {
        CBlankingData store([](const std::string&) {}, [](const std::string&) {}, listening);
        store.Init(kStandard, false, AllStreams(), 1);
        std::vector<uint32_t> seen;
        uint32_t state = 1;
        const auto pick = [&state](const auto& values)
        {
            state = state * 1664525 + 1013904223;
            return values[(state >> 16) % std::size(values)];
        };
        constexpr bool kSides[] = {true, false};
        for (uint32_t step = 0; step < 3000; ++step)
        {
            const uint32_t line = pick(kLinesTried), stream = pick(kStreamsTried);
            const bool inHanc = pick(kSides);
            ZEFA_ANC_PACKET* packet = nullptr;
            if (pick(kIndexes) != 0)
            {
                seen.push_back(store.AllocatePacket(pick(kCounts), &packet, 0));
                packet->DID_UB = static_cast<uint8_t>(step);
                packet->InHANC_B = inHanc;
                seen.push_back(store.InsertPacket(line, stream, pick(kIndexes), packet));
            }
            else
            {
                seen.push_back(store.RemovePacket(line, stream, pick(kIndexes), inHanc, &packet));
                seen.push_back(packet ? packet->DID_UB : 999u);
            }
            for (int32_t i = 0; store.GetPacket(line, stream, i, &packet) == kAncSuccess; ++i)
                seen.push_back(packet->DID_UB);
        }
        return seen;
    };

    EXPECT_EQ(run(false), run(true));
}

TEST_F(BlankingData, SinkThatWasNotSuppliedRaisesEvenWhenNobodyListens)
{
    for (const bool listening : {true, false})
    {
        CBlankingData store(nullptr, nullptr, listening);
        ZEFA_ANC_PACKET packet{};

        EXPECT_THROW(store.InsertPacket(1, 0, -1, &packet), std::bad_function_call);
        EXPECT_THROW(store.AllocatePacket(0, nullptr, 0), std::bad_function_call);
    }
}

TEST_F(BlankingData, LineTakesPacketsUpToItsLastWord)
{
    // 358 words: 262 are taken, 96 left; one of 97 is refused, one of 96 fits.
    Use(kHd720);
    EXPECT_EQ(Insert(9, 255, -1, true), 0u);
    EXPECT_EQ(Insert(9, 90, -1, true), 6u);
    EXPECT_EQ(Insert(9, 89, -1, true), 0u);
    EXPECT_EQ(Insert(9, 0, -1, true), 6u);

    EXPECT_THAT(StoreErrors, ElementsAre("Stream0 - Line9 - H : Packet size 97 is greater than line capacity 96",
                                         "Stream0 - Line9 - H : Packet size 7 is greater than line capacity 0"));
    EXPECT_EQ(Insert(9, 0, -1, false), 0u) << "the vertical area is another";
}

TEST_F(BlankingData, LongestPacketOfAnSdLineNeeds262Words)
{
    Use(kSd); // 268 words of horizontal area
    EXPECT_EQ(Insert(9, 255, -1, true), 0u);
    EXPECT_EQ(Insert(9, 0, -1, true), 6u);

    EXPECT_THAT(StoreErrors, ElementsAre("Stream0 - Line9 - H : Packet size 7 is greater than line capacity 6"));
}

TEST_F(BlankingData, EveryLineStartsWithTheVerticalAreaOfOneWithoutPicture)
{
    Use(kHd720);
    EXPECT_EQ(Room(9, false), 1280u);
    EXPECT_EQ(Room(100, false), 1280u); // this one carries picture
}

TEST_F(BlankingData, DoubledVerticalAreaComesWithTheStandardAlone)
{
    uint8_t* data = nullptr;
    uint32_t size = 0;
    Use(kStandard, true); // the same standard as before
    EXPECT_EQ(Store.GetVbiLine(9, 0, &data, &size), 5u);
    EXPECT_EQ(size, 1920u);
    Use(kHd720, true);
    EXPECT_EQ(Store.GetVbiLine(9, 0, &data, &size), 5u);
    EXPECT_EQ(size, 2560u);
}

TEST_F(BlankingData, ExternalPacketIsFreedByTheNextInitEvenIfItWasRefused)
{
    for (const uint8_t count : {uint8_t{2}, uint8_t{255}})
    {
        Use(kHd720);
        ASSERT_EQ(Insert(9, 255, -1, true), 0u);
        auto* packet = static_cast<ZEFA_ANC_PACKET*>(std::calloc(1, sizeof(ZEFA_ANC_PACKET)));
        packet->External_B = 1;
        packet->InHANC_B = 1;
        packet->DataCount_UB = count;
        packet->UserWords_pUS = static_cast<uint16_t*>(std::malloc(512));

        EXPECT_EQ(Store.InsertPacket(9, 0, -1, packet), count == 2 ? 0u : 6u);
        Store.RemovePacket(9, 0, -1, true, nullptr);
        Store.InsertPacket(10, 0, -1, packet); // again: it is freed once all the same
    }
    Use(kHd720); // a leak or a double release is for the sanitizer to see
    EXPECT_EQ(Count(10), 0u);
}

TEST_F(BlankingData, PacketOfAPoolThatSaysItIsExternalIsNotFreed)
{
    ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {5});
    packet->External_B = 1;

    EXPECT_EQ(Store.InsertPacket(9, 0, -1, packet), 0u);

    Use(kStandard);
    EXPECT_EQ(Count(9), 0u);
}

TEST_F(BlankingData, StoreKnowsItsPacketsEvenThoseThatItTookBack)
{
    CBlankingData other(Into(StoreErrors), Into(StoreDebug));
    ZEFA_ANC_PACKET mine{};
    const ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {});

    EXPECT_TRUE(Store.Owns(packet));
    EXPECT_FALSE(Store.Owns(&mine));
    EXPECT_FALSE(other.Owns(packet));
    Use(kStandard);
    EXPECT_TRUE(Store.Owns(packet));
}

TEST_F(BlankingData, PacketThatWasPutOnTwoLinesEndsNoWalk)
{
    ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {});
    EXPECT_EQ(Insert(9, 0), 0u);
    EXPECT_EQ(Store.InsertPacket(9, 0, -1, packet), 0u);
    EXPECT_EQ(Insert(9, 0), 0u);
    EXPECT_EQ(Store.InsertPacket(10, 0, -1, packet), 0u);

    ZEFA_ANC_PACKET* out = nullptr;
    for (int32_t i = 0; i < 5; ++i)
        Store.GetPacket(9, 0, i, &out);
    uint32_t removed = 0;
    while (Store.RemovePacket(9, 0, 0, false, &out) == 0 && removed < 10)
        ++removed;
    EXPECT_LE(removed, 3u);
}

// ---- reading and removing ----

TEST_F(BlankingData, HorizontalPacketsCountFirst)
{
    Insert(9, 0, -1, false); // 1
    Insert(9, 0, -1, true);  // 2
    Insert(9, 0, -1, false); // 3
    Insert(9, 0, -1, true);  // 4

    EXPECT_THAT(Dids(9), ElementsAre(2, 4, 1, 3));
    uint32_t count = 0;
    EXPECT_EQ(Store.GetNbPackets(9, 0, true, &count), 0u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(Store.GetNbPackets(9, 0, false, &count), 0u);
    EXPECT_EQ(count, 2u);
    EXPECT_EQ(Count(9), 4u);
}

TEST_F(BlankingData, IndexOfTheTotalIsNothingThere)
{
    Insert(9, 0);
    for (const int32_t index : {1, 2, -1, -5, INT32_MAX, INT32_MIN})
    {
        ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {});
        EXPECT_EQ(Store.GetPacket(9, 0, index, &packet), 5u);
        EXPECT_EQ(packet, nullptr);
    }
}

TEST_F(BlankingData, RemovesFromTheHeadTheTailAndBetween)
{
    for (int i = 0; i < 5; ++i)
        Insert(9, 0);
    ZEFA_ANC_PACKET* packet = nullptr;

    EXPECT_EQ(Store.RemovePacket(9, 0, 2, false, &packet), 0u);
    EXPECT_EQ(packet->DID_UB, 3);
    EXPECT_THAT(Dids(9), ElementsAre(1, 2, 4, 5));
    EXPECT_EQ(Store.RemovePacket(9, 0, 3, false, &packet), 0u);
    EXPECT_EQ(packet->DID_UB, 5);
    EXPECT_EQ(Store.RemovePacket(9, 0, 0, false, nullptr), 0u);
    EXPECT_THAT(Dids(9), ElementsAre(2, 4));
    EXPECT_EQ(Store.RemovePacket(9, 0, 2, false, &packet), 3u);
    EXPECT_EQ(packet, nullptr);
    EXPECT_EQ(Store.RemovePacket(9, 0, -2, false, &packet), 3u);
    EXPECT_EQ(Store.RemovePacket(9, 0, 1, false, &packet), 0u);
    EXPECT_EQ(Store.RemovePacket(9, 0, 0, false, &packet), 0u);
    EXPECT_EQ(Store.RemovePacket(9, 0, 0, false, &packet), 3u);
    EXPECT_EQ(Insert(9, 0), 0u);
    EXPECT_THAT(Dids(9), ElementsAre(6));
}

TEST_F(BlankingData, RemovedPacketGivesItsWordsBack)
{
    Use(kHd720);
    Insert(9, 255, -1, true);
    EXPECT_EQ(Insert(9, 90, -1, true), 6u);

    EXPECT_EQ(Store.RemovePacket(9, 0, 0, true, nullptr), 0u);

    EXPECT_EQ(Insert(9, 255, -1, true), 0u);
    EXPECT_EQ(Insert(9, 89, -1, true), 0u);
}

TEST_F(BlankingData, ClearedHorizontalAreaHasAllItsRoom)
{
    Use(kHd720);
    Insert(100, 255, -1, true);
    ZEFA_ANC_PACKET* packet = MakePacket(1, 1, {});

    EXPECT_EQ(Store.RemovePacket(100, 0, -1, true, &packet), 0u);

    EXPECT_EQ(packet, nullptr);
    EXPECT_EQ(Count(100), 0u);
    EXPECT_EQ(Insert(100, 255, -1, true), 0u);
}

TEST_F(BlankingData, ClearedVerticalAreaHasTheRoomOfItsOwnLine)
{
    Insert(9, 0);
    Insert(100, 0);

    EXPECT_EQ(Store.RemovePacket(9, 0, -1, false, nullptr), 0u);
    EXPECT_EQ(Store.RemovePacket(100, 0, -1, false, nullptr), 0u);

    EXPECT_EQ(Insert(9, 0), 0u);
    EXPECT_EQ(Insert(100, 0), 6u) << "it carries picture";
    EXPECT_THAT(StoreErrors, ElementsAre("Stream0 - Line100 - V : Packet size 7 is greater than line capacity 0"));

    Use(kStandard);
    EXPECT_EQ(Insert(100, 0), 0u) << "from the next frame on as before";
}

TEST_F(BlankingData, ClearedVerticalAreaOfADoubledStoreHasTheSimpleRoom)
{
    Use(kHd720, true);
    EXPECT_EQ(Room(9, false), 2560u);

    EXPECT_EQ(Store.RemovePacket(9, 0, -1, false, nullptr), 0u);

    EXPECT_EQ(Room(9, false), 1280u);
}

// ---- raw lines, frames ----

TEST_F(BlankingData, RawLineIsAnAddressOfAFixedSize)
{
    uint8_t* data = nullptr;
    uint32_t size = 0;
    EXPECT_EQ(Store.GetVbiLine(9, 0, &data, &size), 5u);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(size, 1920u);

    uint8_t* line = Store.AllocateVbiLine(0);
    EXPECT_EQ(Store.SetVbiLine(9, 0, line), 0u);
    EXPECT_EQ(Store.GetVbiLine(9, 0, &data, &size), 0u);
    EXPECT_EQ(data, line);
    EXPECT_EQ(size, 1920u);
    std::memset(line, 1, size); // all of it is there

    EXPECT_EQ(Store.SetVbiLine(9, 0, nullptr), 0u);
    EXPECT_EQ(Store.GetVbiLine(9, 0, &data, &size), 5u);
}

TEST_F(BlankingData, RawLinesFillChunksAndGoOnInNewOnes)
{
    std::vector<uint8_t*> lines;
    for (uint8_t i = 0; i < 50; ++i) // 17 go into one
    {
        lines.push_back(Store.AllocateVbiLine(0));
        ASSERT_NE(lines.back(), nullptr);
        std::memset(lines.back(), i, 1920);
    }
    for (uint8_t i = 0; i < 50; ++i)
        ASSERT_EQ(lines[i][1919], i);
}

TEST_F(BlankingData, InitEmptiesTheStreamsThatItNames)
{
    Insert(9, 0, -1, false, 3);
    Insert(9, 0, -1, false, 4);
    Store.SetVbiLine(9, 3, Store.AllocateVbiLine(0));
    uint8_t* data = nullptr;
    uint32_t size = 0;

    EXPECT_EQ(Store.Init(kStandard, false, {3, 48, 0xFFFFFFFF}, 1), 0u);

    EXPECT_EQ(Count(9, 3), 0u);
    EXPECT_EQ(Store.GetVbiLine(9, 3, &data, &size), 5u);
    EXPECT_EQ(Count(9, 4), 1u) << "keeps what it had";
}

TEST_F(BlankingData, AnotherStandardHasOtherLines)
{
    Insert(1125, 0);
    Use(kSd);
    EXPECT_EQ(Store.GetNbLines(), 525u);
    EXPECT_EQ(Insert(526, 0), 3u);
    EXPECT_EQ(Insert(525, 0), 0u);
    Use(kStandard);
    EXPECT_EQ(Store.GetNbLines(), 1125u);
    EXPECT_EQ(Count(1125), 0u);
}

TEST_F(BlankingData, LinesInUseAreFound)
{
    EXPECT_EQ(Store.FindLineInUse(1, 0), kNoLine);
    Insert(571, 0);
    Insert(9, 0);

    EXPECT_EQ(Store.FindLineInUse(1, 0), 9u);
    EXPECT_LE(Store.FindLineInUse(10, 0), 571u);
    EXPECT_EQ(Store.FindLineInUse(571, 0), 571u);
    EXPECT_EQ(Store.FindLineInUse(572, 0), kNoLine);
    EXPECT_EQ(Store.FindLineInUse(1, 1), kNoLine);
    EXPECT_EQ(Store.FindLineInUse(1, 48), kNoLine);
    Use(kStandard);
    EXPECT_EQ(Store.FindLineInUse(1, 0), kNoLine);
}

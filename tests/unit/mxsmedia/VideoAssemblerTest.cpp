// Packets made by hand go in, slots come out: order, losses, frames, fields, sources, time, hostile input.
#include "mxs/media/VideoAssembler.h"

#include "Packets.h"

#include <optional>

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr uint64_t kMs = 1'000'000;
constexpr size_t kLineBytes = 20; // 8 pixels of 4:2:2 with 10 bits
constexpr size_t kGroupBytes = 5;

// An assembler of frames of 8 x 4, with one packet to the line.
class AssemblerTest : public testing::Test
{
protected:
    void Make(const VideoConfig& video, AssemblerSettings settings = {.payloadType = 96})
    {
        Sink.emplace(LayoutOf(video).lockSize);
        Maker.emplace(video, settings, *Sink);
    }
    void SetUp() override { Make(SmallVideo()); }

    void Push(const Bytes& packet, size_t path = 0) { Maker->Push(packet, path, NowNs); }
    void Push(const std::vector<Bytes>& packets, size_t path = 0)
    {
        for (const Bytes& packet : packets)
            Push(packet, path);
    }
    void Wait(uint64_t ns)
    {
        NowNs += ns;
        Maker->Tick(NowNs);
    }
    const std::vector<KeptSlot>& Slots() const { return Sink->Committed; }
    const AssemblerCounters& Count() const { return Maker->Counters(); }

    // The four packets of a frame.
    static std::vector<Bytes> Frame(const Bytes& picture, uint32_t sequence, uint32_t timestamp, PacketHead head = {})
    {
        return CutField(picture, kLineBytes, {.firstSequence = sequence, .timestamp = timestamp}, head);
    }
    static std::vector<Bytes> Field(const Bytes& picture, uint32_t sequence, uint32_t timestamp, bool second)
    {
        return CutField(picture, kLineBytes,
                        {.firstSequence = sequence, .timestamp = timestamp, .secondField = second});
    }
    static Bytes Picture(uint32_t seed) { return Pattern(4 * kLineBytes, seed); }
    static Bytes FieldPicture(uint32_t seed) { return Pattern(2 * kLineBytes, seed); }
    static Bytes Joined(Bytes first, const Bytes& second)
    {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }
    static void Blacken(Bytes& picture, size_t begin, size_t end)
    {
        const Bytes black{0x80, 0x04, 0x08, 0x00, 0x40};
        for (size_t at = begin; at < end; ++at)
            picture[at] = black[at % kGroupBytes];
    }

    uint64_t NowNs = 5000 * kMs;
    std::optional<MemorySink> Sink;
    std::optional<VideoAssembler> Maker;
};

} // namespace

TEST_F(AssemblerTest, AWholeFrameIsCommittedWithItsLastPacket)
{
    Push(Frame(Picture(1), 100, 90000));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Picture(1));
    EXPECT_EQ(Slots()[0].records, (std::vector<Record>{{1, 0, 90000}, {2, 79, 0}}));
    EXPECT_EQ(Count().processed, 4u);
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().intake.ssrc, 0x11223344u);
}

TEST_F(AssemblerTest, FramesFollowOneAnother)
{
    for (uint32_t frame = 0; frame < 10; ++frame)
        Push(Frame(Picture(frame), 100 + 4 * frame, 90000 + 3600 * frame));

    ASSERT_EQ(Slots().size(), 10u);
    for (uint32_t frame = 0; frame < 10; ++frame)
    {
        EXPECT_EQ(Slots()[frame].bytes, Picture(frame));
        EXPECT_EQ(Slots()[frame].records[0].value, 90000 + 3600 * frame);
    }
    EXPECT_EQ(Count().incomplete, 0u);
}

TEST_F(AssemblerTest, SegmentsOfSeveralLinesInOnePacketGoToTheirPlaces)
{
    const Bytes picture = Picture(2);
    const auto part = [&](size_t begin, size_t end)
    {
        return Bytes(picture.begin() + static_cast<std::ptrdiff_t>(begin),
                     picture.begin() + static_cast<std::ptrdiff_t>(end));
    };
    Push(MakePacket({.sequence = 1, .timestamp = 7}, {{false, 0, 0, part(0, 20)}, {false, 1, 0, part(20, 35)}}));
    Push(MakePacket({.sequence = 2, .timestamp = 7, .marker = true},
                    {{false, 1, 6, part(35, 40)}, {false, 2, 0, part(40, 60)}, {false, 3, 0, part(60, 80)}}));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, picture);
}

TEST_F(AssemblerTest, PacketsInAnyOrderMakeTheSameFrame)
{
    const auto first = Frame(Picture(1), 100, 1000);
    auto second = Frame(Picture(2), 104, 4600);
    Push(first);
    for (const size_t line : {2u, 0u, 3u, 1u})
        Push(second[line]);

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, Picture(2));
    EXPECT_EQ(Slots()[1].OfType(3).size(), 0u);
    EXPECT_EQ(Count().intake.lost, 0u); // the gap was filled
    EXPECT_EQ(Count().delayed, 0u);
}

TEST_F(AssemblerTest, ReorderingOverTheEdgeOfTwoFramesIsNoLoss)
{
    const auto first = Frame(Picture(1), 100, 1000);
    const auto second = Frame(Picture(2), 104, 4600);
    Push({first[0], first[1], first[2], second[0], second[1], first[3], second[2], second[3]});

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].bytes, Picture(1));
    EXPECT_EQ(Slots()[1].bytes, Picture(2));
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, DuplicatesAreIgnored)
{
    for (const Bytes& packet : Frame(Picture(1), 100, 1000))
    {
        Push(packet);
        Push(packet);
    }
    Push(Frame(Picture(2), 104, 4600));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].bytes, Picture(1));
    EXPECT_EQ(Count().intake.duplicates, 4u);
    EXPECT_EQ(Count().processed, 8u);
    EXPECT_EQ(Count().delayed, 0u);
}

TEST_F(AssemblerTest, ADuplicateWithOtherSamplesChangesNothing)
{
    auto packets = Frame(Picture(1), 100, 1000);
    auto forged = Frame(Picture(9), 100, 1000);
    Push({packets[0], forged[0], packets[1], packets[2], packets[3]});

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Picture(1));
}

TEST_F(AssemblerTest, TwoPathsWithLossesOfTheirOwnMakeWholeFrames)
{
    const auto packets = Frame(Picture(1), 100, 1000);
    const auto next = Frame(Picture(2), 104, 4600);
    Make(SmallVideo(), {.payloadType = 96, .paths = 2});
    Push({packets[0], packets[2], packets[3]}, 0); // lost one
    Push({packets[0], packets[1], packets[2]}, 1); // another
    Push(next, 0);
    Push({next[1], next[2], next[3]}, 1); // and one more

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].bytes, Picture(1));
    EXPECT_EQ(Count().intake.lost, 0u);
    ASSERT_EQ(Count().intake.paths.size(), 2u);
    EXPECT_EQ(Count().intake.paths[0].received, 7u);
    EXPECT_EQ(Count().intake.paths[0].lost, 1u); // number 101
    EXPECT_EQ(Count().intake.paths[1].received, 6u);
    EXPECT_EQ(Count().intake.paths[1].lost, 2u); // numbers 103 and 104
}

TEST_F(AssemblerTest, AMissingPacketIsBlackAndMarked)
{
    auto packets = Frame(Picture(1), 100, 1000);
    Push({packets[0], packets[2], packets[3]});
    EXPECT_EQ(Slots().size(), 0u); // it may still come
    Wait(9 * kMs);
    EXPECT_EQ(Slots().size(), 0u);
    Wait(1 * kMs);

    ASSERT_EQ(Slots().size(), 1u);
    Bytes expected = Picture(1);
    Blacken(expected, 20, 40);
    EXPECT_EQ(Slots()[0].bytes, expected);
    EXPECT_EQ(Slots()[0].records, (std::vector<Record>{{1, 0, 1000}, {3, 20, 20}, {2, 79, 0}}));
    EXPECT_EQ(Count().intake.lost, 1u);
    EXPECT_EQ(Count().incomplete, 1u);
}

TEST_F(AssemblerTest, NeighbouringLossesAreOneRecordAndOthersAreNot)
{
    const Bytes picture = Picture(1);
    const auto groups = [&](uint16_t line, uint16_t offset, size_t count)
    {
        const size_t at = line * kLineBytes + offset / 2 * kGroupBytes;
        const auto begin = picture.begin() + static_cast<std::ptrdiff_t>(at);
        return Segment{false, line, offset, Bytes(begin, begin + static_cast<std::ptrdiff_t>(count * kGroupBytes))};
    };
    Push(MakePacket({.sequence = 1, .timestamp = 7}, {groups(0, 0, 3)})); // missing: 0/6 to 2/1
    Push(MakePacket({.sequence = 4, .timestamp = 7}, {groups(2, 2, 1)})); // missing: 2/4 to 2/7
    Push(MakePacket({.sequence = 6, .timestamp = 7, .marker = true}, {groups(3, 0, 4)}));
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 15, 30}, {3, 50, 10}}));
    Bytes expected = picture;
    Blacken(expected, 15, 45);
    Blacken(expected, 50, 60);
    EXPECT_EQ(Slots()[0].bytes, expected);
    EXPECT_EQ(Count().intake.lost, 3u);
}

TEST_F(AssemblerTest, MoreLossesThanRecordsAreMergedAndNoneIsDropped)
{
    Make(SmallVideo(8, 64), {.payloadType = 96, .mostLossRecords = 5});
    const Bytes picture = Pattern(64 * kLineBytes, 3);
    const auto packets = Frame(picture, 0, 1000);
    for (size_t line = 0; line < 64; line += 2) // every second line is missing, and the last
        Push(packets[line]);
    Wait(1000 * kMs);

    ASSERT_EQ(Slots().size(), 1u);
    const auto losses = Slots()[0].OfType(3);
    EXPECT_LE(losses.size(), 5u);
    for (uint32_t line = 1; line < 64; line += 2)
    {
        const bool reported = std::any_of(losses.begin(), losses.end(),
                                          [&](const Record& loss) {
                                              return loss.position <= line * kLineBytes &&
                                                     loss.position + loss.value >= (line + 1) * kLineBytes;
                                          });
        EXPECT_TRUE(reported) << line;
    }
    Bytes expected = picture;
    for (size_t line = 1; line < 64; line += 2)
        Blacken(expected, line * kLineBytes, (line + 1) * kLineBytes);
    EXPECT_EQ(Slots()[0].bytes, expected); // what arrived stays, although it is reported
}

TEST_F(AssemblerTest, LossesAreMeasuredInTheApplicationsFormat)
{
    VideoConfig video = SmallVideo();
    video.application.padding = kIn16Bits;
    video.application.endianness = kLittleEndian;
    Make(video);
    auto packets = Frame(Picture(1), 100, 1000);
    Push({packets[0], packets[1], packets[3]});
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 64, 32}})); // lines of 16 components of 2 bytes
    EXPECT_EQ(Slots()[0].OfType(2), (std::vector<Record>{{2, 127, 0}}));
    for (size_t at = 64; at < 96; at += 4) // 0200 0040
        EXPECT_EQ(Bytes(Slots()[0].bytes.begin() + static_cast<std::ptrdiff_t>(at),
                        Slots()[0].bytes.begin() + static_cast<std::ptrdiff_t>(at) + 4),
                  (Bytes{0, 2, 0x40, 0}));
}

TEST_F(AssemblerTest, ALostMarkerDoesNotHoldAFrameBack)
{
    auto packets = CutField(Picture(1), kLineBytes, {.firstSequence = 100, .timestamp = 1000, .marker = false});
    Push(packets);

    EXPECT_EQ(Slots().size(), 1u);
}

TEST_F(AssemblerTest, AFrameWithoutItsLastPacketEndsWhenTheNextBegins)
{
    const auto first = Frame(Picture(1), 100, 1000);
    const auto second = Frame(Picture(2), 104, 4600);
    Push({first[0], first[1], first[2]});
    Push(second);
    ASSERT_EQ(Slots().size(), 1u); // the second is whole, the first still waits
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].bytes, Picture(2));
    EXPECT_EQ(Slots()[1].OfType(3), (std::vector<Record>{{3, 60, 20}}));
    EXPECT_EQ(Count().intake.lost, 1u);
}

TEST_F(AssemblerTest, AThirdFrameCommitsTheOldestAtOnce)
{
    const auto first = Frame(Picture(1), 100, 1000);
    const auto second = Frame(Picture(2), 104, 4600);
    const auto third = Frame(Picture(3), 108, 8200);
    Push({first[0], second[0], third[0]});

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].OfType(1), (std::vector<Record>{{1, 0, 1000}}));
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 20, 60}}));
}

TEST_F(AssemblerTest, APacketOfACommittedFrameIsCountedAsDelayed)
{
    const auto packets = Frame(Picture(1), 100, 1000);
    Push({packets[0], packets[1], packets[3]});
    Wait(10 * kMs);
    NowNs += 7 * kMs;
    Push(packets[2]);

    EXPECT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Count().delayed, 1u);
    EXPECT_EQ(Count().intake.lost, 1u);
    EXPECT_EQ(Count().biggestDelayNs, 7 * kMs);
    EXPECT_EQ(Count().processed, 3u);
}

TEST_F(AssemblerTest, AFurtherPacketOfAFrameThatWasWholeOpensNoSlot)
{
    const auto packets = Frame(Picture(1), 100, 1000);
    Push(packets);
    Push(MakePacket({.sequence = 104, .timestamp = 1000, .marker = true}, {{false, 3, 0, Bytes(20, 1)}}));
    Push(Frame(Picture(2), 105, 4600));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, Picture(2));
    EXPECT_EQ(Count().delayed, 1u);
}

TEST_F(AssemblerTest, TheFrameThatIsRunningAtTheStartIsSkipped)
{
    const auto running = Frame(Picture(1), 100, 1000);
    Push({running[2], running[3]});
    Push(Frame(Picture(2), 104, 4600));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Picture(2));
    EXPECT_EQ(Count().beforeFirstFrame, 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, APacketThatIsOvertakenBeforeTheFirstFrameIsNotLost)
{
    const auto running = Frame(Picture(1), 100, 1000);
    Push({running[1], running[3], running[2]});

    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().beforeFirstFrame, 3u);
}

TEST_F(AssemblerTest, TheFirstSlotMayBeginBehindALostFirstPacket)
{
    const auto running = Frame(Picture(1), 100, 1000);
    const auto next = Frame(Picture(2), 104, 4600);
    Push({running[3]});                // the marker: the frame that follows is complete from its start
    Push({next[1], next[2], next[3]}); // and its first packet is missing
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 0, 20}}));
    EXPECT_EQ(Slots()[0].OfType(1), (std::vector<Record>{{1, 0, 4600}}));
}

TEST_F(AssemblerTest, AWrapWithTheUpperHalfAtZeroLosesNothing)
{
    uint32_t sequence = 65536 - 6;
    for (uint32_t frame = 0; frame < 4; ++frame, sequence += 4)
    {
        auto packets = Frame(Picture(frame), sequence, 3600 * frame);
        for (Bytes& packet : packets)
            packet[12] = packet[13] = 0; // the upper half stays where it was
        Push(packets);
    }

    EXPECT_EQ(Slots().size(), 4u);
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().delayed, 0u);
}

TEST_F(AssemblerTest, AWrapWithTheUpperHalfMovedLosesNothing)
{
    uint32_t sequence = 3 * 65536 - 6;
    for (uint32_t frame = 0; frame < 4; ++frame, sequence += 4)
        Push(Frame(Picture(frame), sequence, 3600 * frame));

    EXPECT_EQ(Slots().size(), 4u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, ATimestampThatWrapsIsANewFrameLikeAnyOther)
{
    Push(Frame(Picture(1), 100, 0xFFFFFF00));
    Push(Frame(Picture(2), 104, 0x00000D10));

    EXPECT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, AWholeLostFrameMakesNoSlotAndItsPacketsAreCounted)
{
    Push(Frame(Picture(1), 100, 1000));
    Push(Frame(Picture(3), 108, 8200));

    EXPECT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Count().intake.lost, 4u);
}

TEST_F(AssemblerTest, OtherPayloadTypesAndOtherSourcesAreIgnored)
{
    const auto packets = Frame(Picture(1), 100, 1000);
    const auto otherType = Frame(Picture(8), 100, 1000, {.payloadType = 97});
    const auto otherSource = Frame(Picture(9), 100, 1000, {.ssrc = 5});
    for (size_t line = 0; line < 4; ++line)
        Push({packets[line], otherType[line], otherSource[line]});

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Picture(1));
    EXPECT_EQ(Count().intake.otherPayloadType, 4u);
    EXPECT_EQ(Count().intake.otherSource, 4u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, AConfiguredSourceIsTheOnlyOneHeardEvenAfterSilence)
{
    Make(SmallVideo(), {.payloadType = 96, .ssrc = 5});
    Push(Frame(Picture(1), 100, 1000));
    Wait(5000 * kMs);
    Push(Frame(Picture(1), 104, 4600));
    EXPECT_EQ(Slots().size(), 0u);
    Push(Frame(Picture(2), 100, 1000, {.ssrc = 5}));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Picture(2));
    EXPECT_EQ(Count().intake.ssrc, 5u);
}

TEST_F(AssemblerTest, AnotherSourceIsFollowedAfterASecondOfSilence)
{
    Push(Frame(Picture(1), 100, 1000));
    NowNs += 999 * kMs;
    Push(Frame(Picture(2), 30000, 77000, {.ssrc = 5}));
    EXPECT_EQ(Slots().size(), 1u);
    NowNs += 1 * kMs;
    Push(Frame(Picture(3), 30004, 80600, {.ssrc = 5}));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, Picture(3));
    EXPECT_EQ(Count().intake.ssrc, 5u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, SilenceCommitsWhatIsOpenAndTheGapIsNoLoss)
{
    const auto packets = Frame(Picture(1), 100, 1000);
    Push({packets[0], packets[1]});
    EXPECT_EQ(Maker->Tick(NowNs), NowNs + 1000 * kMs);
    Wait(999 * kMs);
    EXPECT_EQ(Slots().size(), 0u);
    Wait(1 * kMs);
    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 40, 40}}));
    EXPECT_EQ(Maker->Tick(NowNs), UINT64_MAX);

    NowNs += 2000 * kMs;
    Push(Frame(Picture(2), 9000, 500000));
    EXPECT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

// A pause of the sender, with and without a look at the clock meanwhile.
class AssemblerPause : public AssemblerTest, public testing::WithParamInterface<bool>
{
protected:
    void Pause()
    {
        NowNs += 10000 * kMs;
        if (GetParam()) Maker->Tick(NowNs);
    }
};

INSTANTIATE_TEST_SUITE_P(Looked, AssemblerPause, testing::Bool());

TEST_P(AssemblerPause, TheFirstFrameAfterItIsKept)
{
    Push(Frame(Picture(1), 65532, 1000));
    Pause();
    Push(Frame(Picture(2), 65536, 901000));
    Pause();
    const auto third = Frame(Picture(3), 65540, 1801000);
    Push({third[1], third[2], third[3]}); // the first packet is missing
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 3u);
    EXPECT_EQ(Slots()[1].bytes, Picture(2));
    EXPECT_EQ(Slots()[2].OfType(3), (std::vector<Record>{{3, 0, 20}}));
    EXPECT_EQ(Count().intake.lost, 1u);
    EXPECT_EQ(Count().beforeFirstFrame, 0u);
    Push(third[0]);
    EXPECT_EQ(Count().delayed, 1u);
}

TEST_P(AssemblerPause, TheFirstFrameAfterItIsWholeWhenThePathsHaveItTogether)
{
    Make(SmallVideo(), {.payloadType = 96, .paths = 2});
    for (const size_t path : {0u, 1u})
        Push(Frame(Picture(1), 100, 1000), path);
    Pause();
    const auto packets = Frame(Picture(2), 104, 901000);
    Push({packets[1], packets[2]}, 0);
    Push({packets[0], packets[3]}, 1);
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, Picture(2));
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().intake.paths[0].lost, 2u);
    EXPECT_EQ(Count().intake.paths[1].lost, 2u);
}

TEST_P(AssemblerPause, TheRestOfAFrameThatItInterruptedIsDelayed)
{
    const auto packets = Frame(Picture(1), 100, 1000);
    Push({packets[0], packets[1]});
    Pause();
    Push({packets[2], packets[3]});
    Push(Frame(Picture(2), 104, 901000));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 40, 40}}));
    EXPECT_EQ(Slots()[1].bytes, Picture(2));
    EXPECT_EQ(Count().delayed, 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_P(AssemblerPause, ATimestampThatComesAgainBehindItIsANewFrame)
{
    Push(Frame(Picture(1), 100, 1000));
    Pause();
    Push(Frame(Picture(2), 104, 1000));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, Picture(2));
    EXPECT_EQ(Count().delayed, 0u);
}

TEST_P(AssemblerPause, ASecondFieldBehindItIsDelayedAsItsFrameIsCommitted)
{
    for (const uint32_t second : {2800u, 1000u}) // a time of its own, and one for both fields
    {
        Make(SmallVideo(8, 4, true));
        Push(Field(FieldPicture(1), 100, 1000, false));
        Pause();
        Push(Field(FieldPicture(2), 102, second, true));
        Push(Field(FieldPicture(3), 104, 901000, false));
        Push(Field(FieldPicture(4), 106, 902800, true));

        ASSERT_EQ(Slots().size(), 2u);
        EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 40, 40}}));
        EXPECT_EQ(Slots()[1].bytes, Joined(FieldPicture(3), FieldPicture(4)));
        EXPECT_EQ(Count().delayed, 2u);
        EXPECT_EQ(Count().intake.lost, 0u);
    }
}

TEST_P(AssemblerPause, ASecondFieldFurtherBehindItIsThatOfAnotherFrame)
{
    Make(SmallVideo(8, 4, true));
    Push(Field(FieldPicture(1), 100, 1000, false));
    Pause();
    Push(Field(FieldPicture(4), 106, 902800, true)); // the second field and the next first one are missing
    Wait(1000 * kMs);

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].OfType(3), (std::vector<Record>{{3, 0, 40}}));
    EXPECT_EQ(Count().delayed, 0u);
    EXPECT_EQ(Count().intake.lost, 4u);
}

TEST_P(AssemblerPause, NumbersThatDoNotGoOnBeginAnew)
{
    Push(Frame(Picture(1), 100, 1000));
    Pause();
    const auto running = Frame(Picture(2), 168, 901000); // 64 are missing before
    Push({running[1], running[2], running[3]});
    Push(Frame(Picture(3), 172, 904600));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, Picture(3));
    EXPECT_EQ(Count().beforeFirstFrame, 3u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_P(AssemblerPause, AnotherSourceBeginsAnew)
{
    const auto packets = Frame(Picture(1), 100, 1000);
    Push({packets[0], packets[1]});
    Pause();
    const auto running = Frame(Picture(2), 102, 1000, {.ssrc = 5}); // numbers and timestamp as of the first one
    Push({running[2], running[3]});
    Push(Frame(Picture(3), 106, 4600, {.ssrc = 5}));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 40, 40}}));
    EXPECT_EQ(Slots()[1].bytes, Picture(3));
    EXPECT_EQ(Count().beforeFirstFrame, 2u);
    EXPECT_EQ(Count().delayed, 0u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_P(AssemblerPause, TheFirstFrameAfterItIsKeptWhenTheRingHadNoRoomBefore)
{
    Sink->Room = 0;
    for (uint32_t frame = 0; frame < 3; ++frame)
        Push(Frame(Picture(frame), 100 + 4 * frame, 1000 + 3600 * frame));
    const auto cut = Frame(Picture(3), 112, 11800);
    Push({cut[0], cut[1]});
    Pause();
    Sink->Room = 2;
    Push({cut[2], cut[3]});
    Push(Frame(Picture(4), 116, 901000));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Picture(4));
    EXPECT_EQ(Count().drops, 4u);
    EXPECT_EQ(Count().delayed, 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, AFrameWithoutRoomInTheRingIsDroppedWhole)
{
    Push(Frame(Picture(1), 100, 1000));
    Sink->Room = 0;
    Push(Frame(Picture(2), 104, 4600));
    EXPECT_TRUE(Count().lastSlotDropped);
    Sink->Room = 2;
    Push(Frame(Picture(3), 108, 8200));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, Picture(3));
    EXPECT_EQ(Count().drops, 1u);
    EXPECT_EQ(Count().processed, 8u);
    EXPECT_EQ(Count().intake.lost, 0u); // the network lost nothing
    EXPECT_FALSE(Count().lastSlotDropped);
}

TEST_F(AssemblerTest, RoomThatComesInTheMiddleOfADroppedFrameIsForTheNextOne)
{
    const auto packets = Frame(Picture(1), 100, 1000);
    Sink->Room = 0;
    Push({packets[0], packets[1]});
    Sink->Room = 2;
    Push({packets[2], packets[3]});
    Push(Frame(Picture(2), 104, 4600));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Picture(2));
    EXPECT_EQ(Count().drops, 1u);
}

TEST_F(AssemblerTest, PacketsThatWereWithheldAreNoLoss)
{
    Push(Frame(Picture(1), 100, 1000));
    Maker->ForgetSequence();
    Push(Frame(Picture(2), 5000, 99000));

    EXPECT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, FieldsWithTimestampsOfTheirOwnShareASlot)
{
    Make(SmallVideo(8, 4, true));
    Push(Field(FieldPicture(1), 100, 1000, false));
    EXPECT_EQ(Slots().size(), 0u);
    Push(Field(FieldPicture(2), 102, 2800, true));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Joined(FieldPicture(1), FieldPicture(2)));
    EXPECT_EQ(Slots()[0].records, (std::vector<Record>{{1, 0, 1000}, {1, 40, 2800}, {2, 79, 0}}));
}

TEST_F(AssemblerTest, FieldsWithOneTimestampShareASlot)
{
    Make(SmallVideo(8, 4, true));
    for (uint32_t frame = 0; frame < 3; ++frame)
    {
        Push(Field(FieldPicture(2 * frame), 100 + 4 * frame, 3600 * frame, false));
        Push(Field(FieldPicture(2 * frame + 1), 102 + 4 * frame, 3600 * frame, true));
    }

    ASSERT_EQ(Slots().size(), 3u);
    EXPECT_EQ(Slots()[2].bytes, Joined(FieldPicture(4), FieldPicture(5)));
    EXPECT_EQ(Slots()[2].OfType(1), (std::vector<Record>{{1, 0, 7200}, {1, 40, 7200}}));
}

TEST_F(AssemblerTest, AnInterlacedSlotBeginsWithTheFirstField)
{
    Make(SmallVideo(8, 4, true));
    Push(Field(FieldPicture(1), 100, 1000, true));
    Push(Field(FieldPicture(2), 102, 2800, false));
    Push(Field(FieldPicture(3), 104, 4600, true));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Joined(FieldPicture(2), FieldPicture(3)));
    EXPECT_EQ(Count().beforeFirstFrame, 2u);
}

TEST_F(AssemblerTest, ALostSecondFieldIsBlackMarkedAndHasATimestamp)
{
    Make(SmallVideo(8, 4, true));
    Push(Field(FieldPicture(1), 100, 1000, false));
    Push(Field(FieldPicture(2), 104, 4600, false));
    Push(Field(FieldPicture(3), 106, 6400, true));
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 2u);
    Bytes expected = Joined(FieldPicture(1), FieldPicture(9));
    Blacken(expected, 40, 80);
    EXPECT_EQ(Slots()[1].bytes, expected);
    EXPECT_EQ(Slots()[1].records, (std::vector<Record>{{1, 0, 1000}, {1, 40, 2800}, {3, 40, 40}, {2, 79, 0}}));
}

TEST_F(AssemblerTest, ALostFirstFieldIsBlackMarkedAndHasATimestamp)
{
    Make(SmallVideo(8, 4, true));
    Push(Field(FieldPicture(1), 100, 1000, false));
    Push(Field(FieldPicture(2), 102, 2801, true)); // the fields are 1801 apart
    Push(Field(FieldPicture(4), 106, 6400, true));
    Wait(1000 * kMs);

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].records, (std::vector<Record>{{1, 0, 4599}, {1, 40, 6400}, {3, 0, 40}, {2, 79, 0}}));
}

TEST_F(AssemblerTest, TheSecondFieldOfALaterFrameDoesNotCompleteAnEarlierOne)
{
    Make(SmallVideo(8, 4, true));
    Push(Field(FieldPicture(1), 100, 1000, false));
    Push(Field(FieldPicture(4), 106, 6400, true)); // the second field and the next first one are missing
    Wait(1000 * kMs);

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 40, 40}}));
    EXPECT_EQ(Slots()[1].OfType(3), (std::vector<Record>{{3, 0, 40}}));
    EXPECT_EQ(Count().intake.lost, 4u);
}

TEST_F(AssemblerTest, ALossAcrossTheFieldsIsOneRecordInEach)
{
    Make(SmallVideo(8, 4, true));
    const auto first = Field(FieldPicture(1), 100, 1000, false);
    const auto second = Field(FieldPicture(2), 102, 2800, true);
    Push({first[0], second[1]});
    Wait(1000 * kMs);

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 20, 20}, {3, 40, 20}}));
}

TEST_F(AssemblerTest, AFirstFieldMayHaveOneLineMore)
{
    Make(SmallVideo(8, 5, true));
    const Bytes first = Pattern(3 * kLineBytes, 1);
    const Bytes second = Pattern(2 * kLineBytes, 2);
    Push(CutField(first, kLineBytes, {.firstSequence = 1, .timestamp = 1000}));
    Push(CutField(second, kLineBytes, {.firstSequence = 4, .timestamp = 2800, .secondField = true}));
    Push(MakePacket({.sequence = 6, .timestamp = 2800}, {{true, 2, 0, Bytes(20, 1)}})); // the second has no line 2

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Joined(first, second));
    EXPECT_EQ(Count().malformed, 1u);
}

TEST_F(AssemblerTest, HeadersOutsideTheRasterAreDroppedWholeAndWriteNothing)
{
    const Bytes line(kLineBytes, 0x77);
    const Bytes group(kGroupBytes, 0x77);
    const struct
    {
        const char* name;
        std::vector<Segment> segments;
    } cases[] = {
        {"line below the frame", {{false, 4, 0, group}}},
        {"last line number", {{false, 32767, 0, group}}},
        {"second field of a progressive frame", {{true, 0, 0, group}}},
        {"offset behind the line", {{false, 3, 8, group}}},
        {"last offset", {{false, 3, 32767, group}}},
        {"last even offset", {{false, 3, 32766, group}}},
        {"samples beyond the end of the line", {{false, 3, 2, line}}},
        {"half a group", {{false, 0, 0, Bytes(7, 0x77)}}},
        {"offset inside a group", {{false, 0, 1, group}}},
        {"longer than the frame", {{false, 0, 0, Bytes(400, 0x77)}}},
        {"a good segment and a bad one", {{false, 1, 0, line}, {false, 4, 0, line}}},
    };
    Push(MakePacket({.sequence = 0, .timestamp = 1000}, {{false, 0, 0, line}}));
    uint32_t sequence = 1;
    for (const auto& test : cases)
    {
        const uint64_t before = Count().malformed;
        Push(MakePacket({.sequence = sequence++, .timestamp = 1000}, test.segments));
        EXPECT_EQ(Count().malformed, before + 1) << test.name;
    }
    Bytes overlong = MakePacket({.sequence = sequence++, .timestamp = 1000}, {{false, 1, 0, line}});
    overlong[14] = 0xFF; // a length of 65,300 in a packet of 40 bytes
    Push(overlong);
    Push(Bytes{});
    Push(Bytes(11, 0x80));
    Wait(1000 * kMs);

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 20, 60}}));
    EXPECT_FALSE(Sink->GuardsBroken);
    EXPECT_EQ(Count().intake.lost, 0u); // they arrived, they were only of no use
    EXPECT_EQ(Count().processed, 1u);
}

TEST_F(AssemblerTest, AnEmptySegmentIsHarmless)
{
    Push(MakePacket({.sequence = 1, .timestamp = 1000}, {{false, 0, 0, {}}}));
    const auto packets = Frame(Picture(1), 2, 1000);
    Push(packets);

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Picture(1));
}

TEST_F(AssemblerTest, ARestartedSenderIsFollowedWithoutASecondOfSilence)
{
    for (uint32_t frame = 0; frame < 3; ++frame)
        Push(Frame(Picture(frame), 60000 + 4 * frame, 1000 + 3600 * frame));
    for (uint32_t frame = 0; frame < 3; ++frame)
        Push(Frame(Picture(10 + frame), 30000 + 4 * frame, 500 + 3600 * frame));

    ASSERT_GE(Slots().size(), 5u);
    EXPECT_EQ(Slots().back().bytes, Picture(12));
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AssemblerTest, EveryFormatOfTheNetworkArrivesAsItWasSent)
{
    for (const PixelGroup& group : AllPixelGroups())
    {
        VideoConfig video = SmallVideo(16, 6);
        video.network = {group.sampling, (group.depth - 8) / 2, 0, 0};
        video.application = video.network;
        Make(video);
        const size_t lineBytes = 16 / group.pixels * group.bytes;
        const Bytes picture = Pattern(6 * lineBytes, group.sampling + group.depth);

        Push(CutField(picture, lineBytes, {.firstSequence = 0, .timestamp = 1}));

        ASSERT_EQ(Slots().size(), 1u) << group.sampling << " " << group.depth;
        EXPECT_EQ(Slots()[0].bytes, picture) << group.sampling << " " << group.depth;

        video.interlaced = true;
        video.framerate = 50;
        Make(video);
        const Bytes first = Pattern(3 * lineBytes, 2 * group.sampling + group.depth);
        const Bytes second = Pattern(3 * lineBytes, 3 * group.sampling + group.depth + 1);
        Push(CutField(first, lineBytes, {.firstSequence = 0, .timestamp = 1}));
        Push(CutField(second, lineBytes, {.firstSequence = 3, .timestamp = 1801, .secondField = true}));

        ASSERT_EQ(Slots().size(), 1u) << group.sampling << " " << group.depth;
        EXPECT_EQ(Slots()[0].bytes, Joined(first, second)) << group.sampling << " " << group.depth;
    }
}

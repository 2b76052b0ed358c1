// Audio packets made by hand go in, slots come out: places on the sampling clock, losses, jumps, paths, time.
#include "mxs/media/AudioAssembler.h"

#include "AudioPackets.h"

#include <optional>
#include <random>

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr uint64_t kMs = 1'000'000;
constexpr size_t kFrameBytes = 4;
constexpr size_t kPacketBytes = 24;
constexpr size_t kSlotBytes = 96;

class AudioAssemblerTest : public testing::Test
{
protected:
    void Make(const AudioConfig& audio, AssemblerSettings settings = {.queueDepth = 8})
    {
        settings.payloadType = 96;
        Sink.emplace(LayoutOf(audio).lockSize);
        Sink->Room = 64;
        Assembler.emplace(audio, settings, *Sink);
    }
    void SetUp() override { Make(SmallAudio()); } // four slots can be open

    void Push(const Bytes& packet, size_t path = 0) { Assembler->Push(packet, path, NowNs); }
    void Push(const std::vector<Bytes>& packets)
    {
        for (const Bytes& packet : packets)
            Push(packet);
    }
    void Wait(uint64_t ns)
    {
        NowNs += ns;
        Assembler->Tick(NowNs);
    }
    const std::vector<KeptSlot>& Slots() const { return Sink->Committed; }
    const AssemblerCounters& Count() const { return Assembler->Counters(); }

    std::vector<KeptSlot> ByTimestamp() const
    {
        std::vector<KeptSlot> slots = Slots();
        std::sort(slots.begin(), slots.end(),
                  [](const KeptSlot& a, const KeptSlot& b) { return a.records.at(0).value < b.records.at(0).value; });
        return slots;
    }

    static Bytes Samples(size_t slots, uint32_t seed) { return Pattern(slots * kSlotBytes, seed); }
    static Bytes SlotOf(const Bytes& samples, size_t slot)
    {
        return Part(samples, slot * kSlotBytes, (slot + 1) * kSlotBytes);
    }
    static Bytes Silenced(Bytes slot, size_t begin, size_t end)
    {
        std::fill(slot.begin() + static_cast<std::ptrdiff_t>(begin), slot.begin() + static_cast<std::ptrdiff_t>(end),
                  uint8_t{0});
        return slot;
    }

    uint64_t NowNs = 5000 * kMs;
    std::optional<MemorySink> Sink;
    std::optional<AudioAssembler> Assembler;
};

} // namespace

TEST_F(AudioAssemblerTest, SamplesOf24BitsStandInTheSlotAsTheyTravel)
{
    Make({.encodingBytes = 3, .samplingRateHz = 48000, .packetTimeUs = 125, .channels = 1, .packetsPerBuffer = 2});

    Push(Bytes{0x80, 0x60, 0x00, 0x07, 0x00, 0x00, 0x03, 0xE8, 0x11, 0x22, 0x33, 0x44, // header: timestamp 1000
               0x00, 0x00, 0x01, 0x7F, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0xFF, 0xFF, 0xFF,
               0x12, 0x34, 0x56, 0x00, 0x00, 0x00});
    EXPECT_EQ(Slots().size(), 0u);
    Push(Bytes{0x80, 0x60, 0x00, 0x08, 0x00, 0x00, 0x03, 0xEE, 0x11, 0x22, 0x33, 0x44, //
               0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C,
               0x0D, 0x0E, 0x0F, 0x10, 0x11, 0x12});

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, (Bytes{0x00, 0x00, 0x01, 0x7F, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0xFF, 0xFF, 0xFF,
                                       0x12, 0x34, 0x56, 0x00, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06,
                                       0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x10, 0x11, 0x12}));
    EXPECT_EQ(Slots()[0].records, (std::vector<Record>{{1, 0, 1000}, {2, 35, 0}}));
    EXPECT_EQ(Count().processed, 2u);
    EXPECT_EQ(Count().intake.ssrc, 0x11223344u);
}

TEST_F(AudioAssemblerTest, WhatIsNotThereAfterItsSequenceWasForgottenIsNoLossOfTheNetworks)
{
    const Bytes samples = Samples(3, 1);
    std::vector<Bytes> packets = CutAudio(samples, {.firstSequence = 40, .firstTimestamp = 1000});
    const std::vector<Bytes> before(packets.begin(), packets.begin() + 4), after(packets.begin() + 8, packets.end());
    Push(before);

    Assembler->ForgetSequence();
    Push(after);

    ASSERT_LE(2u, Slots().size());
    EXPECT_EQ(Slots().back().bytes, SlotOf(samples, 2));
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AudioAssemblerTest, SlotsFollowOneAnotherFromTheFirstPacketOn)
{
    const Bytes samples = Samples(5, 1);
    Push(CutAudio(samples, {.firstSequence = 40, .firstTimestamp = 1003}));

    ASSERT_EQ(Slots().size(), 5u);
    for (uint32_t slot = 0; slot < 5; ++slot)
    {
        EXPECT_EQ(Slots()[slot].bytes, SlotOf(samples, slot)) << slot;
        EXPECT_EQ(Slots()[slot].records, (std::vector<Record>{{1, 0, 1003 + 24 * slot}, {2, 95, 0}})) << slot;
    }
    EXPECT_EQ(Count().incomplete, 0u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AudioAssemblerTest, TimestampsAndSequenceNumbersWrapWithoutATrace)
{
    const Bytes samples = Samples(3, 2);
    Push(CutAudio(samples, {.firstSequence = 0xFFFA, .firstTimestamp = 0xFFFFFFE1})); // 31 frames before the wrap

    ASSERT_EQ(Slots().size(), 3u);
    EXPECT_EQ(Slots()[0].records[0], (Record{1, 0, 0xFFFFFFE1}));
    EXPECT_EQ(Slots()[1].records[0], (Record{1, 0, 0xFFFFFFF9}));
    EXPECT_EQ(Slots()[2].records[0], (Record{1, 0, 17}));
    for (size_t slot = 0; slot < 3; ++slot)
        EXPECT_EQ(Slots()[slot].bytes, SlotOf(samples, slot));
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AudioAssemblerTest, PacketsOfAnotherPacketTimeFillTheSameSlots)
{
    for (const size_t packetFrames : {1u, 5u, 12u, 24u, 60u, 120u}) // a fraction of a slot, a slot, several at once
    {
        Make(SmallAudio());
        const Bytes samples = Samples(5, 3);
        Push(CutAudio(samples, {.packetFrames = packetFrames, .firstTimestamp = 77}));

        ASSERT_EQ(Slots().size(), 5u) << packetFrames;
        for (size_t slot = 0; slot < 5; ++slot)
        {
            EXPECT_EQ(Slots()[slot].bytes, SlotOf(samples, slot)) << packetFrames;
            EXPECT_EQ(Slots()[slot].OfType(3).size(), 0u);
        }
        EXPECT_EQ(Count().processed, (120 + packetFrames - 1) / packetFrames);
    }
}

TEST_F(AudioAssemblerTest, APayloadThatIsNoWholeNumberOfFramesIsMalformed)
{
    Push(MakeAudioPacket({.sequence = 1}, Pattern(23, 1)));
    Push(MakeAudioPacket({.sequence = 2}, {}));
    EXPECT_EQ(Count().malformed, 2u);
    EXPECT_EQ(Count().processed, 0u);

    const Bytes samples = Samples(1, 4);
    Push(CutAudio(samples, {.firstSequence = 3, .firstTimestamp = 500}));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, samples);
    EXPECT_EQ(Count().intake.lost, 0u); // they came, and were of no use
}

TEST_F(AudioAssemblerTest, APacketLongerThanADatagramOfAudioIsMalformed)
{
    Push(MakeAudioPacket({.sequence = 1}, Pattern(1444, 1)));
    EXPECT_EQ(Count().malformed, 1u);
    EXPECT_EQ(Slots().size(), 0u);

    Push(MakeAudioPacket({.sequence = 2}, Pattern(1440, 1))); // fifteen slots at once
    EXPECT_EQ(Count().malformed, 1u);
    EXPECT_EQ(Slots().size(), 15u);
}

TEST_F(AudioAssemblerTest, AMissingPacketIsSilenceAndARecordTenMillisecondsAfterTheEndOfItsSlot)
{
    const Bytes samples = Samples(1, 5);
    auto packets = CutAudio(samples, {.firstTimestamp = 600});
    Push({packets[0], packets[2]});
    Wait(50 * kMs); // the slot's end has not been reached
    EXPECT_EQ(Slots().size(), 0u);
    Push(packets[3]);
    EXPECT_EQ(Assembler->Tick(NowNs), NowNs + 10 * kMs);
    Wait(10 * kMs - 1);
    EXPECT_EQ(Slots().size(), 0u);
    Wait(1);

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Silenced(samples, 24, 48));
    EXPECT_EQ(Slots()[0].records, (std::vector<Record>{{1, 0, 600}, {3, 24, 24}, {2, 95, 0}}));
    EXPECT_EQ(Count().incomplete, 1u);
    EXPECT_EQ(Count().intake.lost, 1u);
    EXPECT_EQ(Assembler->Tick(NowNs), UINT64_MAX);
}

TEST_F(AudioAssemblerTest, ALatePacketFillsItsHoleAndIsNotLost)
{
    const Bytes samples = Samples(2, 6);
    auto packets = CutAudio(samples, {});
    Push({packets[0], packets[1], packets[2], packets[4], packets[5]});
    Wait(9 * kMs);
    Push({packets[3], packets[7], packets[6]});

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].bytes, SlotOf(samples, 0));
    EXPECT_EQ(Slots()[1].bytes, SlotOf(samples, 1));
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().delayed, 0u);
}

TEST_F(AudioAssemblerTest, APacketAfterTheCommitIsDelayedAndItsDelayIsMeasured)
{
    const Bytes samples = Samples(2, 7);
    auto packets = CutAudio(samples, {});
    Push({packets[0], packets[1], packets[2], packets[4]});
    Wait(10 * kMs);
    ASSERT_EQ(Slots().size(), 1u);
    Wait(3 * kMs);
    Push(packets[3]);

    EXPECT_EQ(Count().delayed, 1u);
    EXPECT_EQ(Count().biggestDelayNs, 3 * kMs);
    EXPECT_EQ(Count().intake.lost, 1u);
    Push({packets[5], packets[6], packets[7]});
    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, SlotOf(samples, 1));
}

TEST_F(AudioAssemblerTest, OneSlotMoreThanCanBeOpenCommitsTheOldest)
{
    const Bytes samples = Samples(6, 8);
    auto packets = CutAudio(samples, {});
    packets.erase(packets.begin() + 1);
    const std::vector<Bytes> fourSlots(packets.begin(), packets.begin() + 15);
    Push(fourSlots);
    EXPECT_EQ(Slots().size(), 3u); // those behind the first are whole
    Push(packets[15]);

    ASSERT_EQ(Slots().size(), 4u);
    EXPECT_EQ(Slots()[3].bytes, Silenced(SlotOf(samples, 0), 24, 48));
    EXPECT_EQ(Slots()[3].records[0].value, 0u);
}

TEST_F(AudioAssemblerTest, TheRingBoundsTheSlotsThatAreOpenAndTwoAlwaysCan)
{
    struct Case
    {
        uint32_t queueDepth, packetsPerBuffer;
        size_t open;
    };
    // 10 ms are 20 slots of half a millisecond, or one and a half of 7.5 ms.
    for (const Case& each : {Case{1, 4, 2}, Case{4, 4, 2}, Case{20, 4, 10}, Case{1000, 4, 22}, Case{1000, 60, 3}})
    {
        AudioConfig audio = SmallAudio();
        audio.packetsPerBuffer = each.packetsPerBuffer;
        Make(audio, {.queueDepth = each.queueDepth});
        auto packets = CutAudio(Pattern(each.packetsPerBuffer * kPacketBytes * 30, 9), {});
        packets.erase(packets.begin() + 1);
        // The first slot is not whole: the latest that can be open comes, and then one more.
        const size_t before = each.open * each.packetsPerBuffer - 1;
        for (size_t i = 0; i < before; ++i)
            Push(packets[i]);
        EXPECT_EQ(Slots().size(), each.open - 1) << each.queueDepth;
        Push(packets[before]);
        EXPECT_EQ(Slots().size(), each.open) << each.queueDepth;
    }
}

TEST_F(AudioAssemblerTest, SlotsInWhichNothingArrivedAreSilentFromEndToEnd)
{
    const Bytes samples = Samples(5, 10);
    auto packets = CutAudio(samples, {.firstTimestamp = 100});
    for (size_t i = 0; i < packets.size(); ++i)
        if (i < 3 || i >= 13) Push(packets[i]);
    Wait(10 * kMs);

    const std::vector<KeptSlot> slots = ByTimestamp();
    ASSERT_EQ(slots.size(), 5u);
    EXPECT_EQ(slots[0].records, (std::vector<Record>{{1, 0, 100}, {3, 72, 24}, {2, 95, 0}}));
    EXPECT_EQ(slots[0].bytes, Silenced(SlotOf(samples, 0), 72, 96));
    EXPECT_EQ(slots[1].records, (std::vector<Record>{{1, 0, 124}, {3, 0, 96}, {2, 95, 0}}));
    EXPECT_EQ(slots[1].bytes, Bytes(kSlotBytes, 0));
    EXPECT_EQ(slots[2].records, (std::vector<Record>{{1, 0, 148}, {3, 0, 96}, {2, 95, 0}}));
    EXPECT_EQ(slots[2].bytes, Bytes(kSlotBytes, 0));
    EXPECT_EQ(slots[3].records, (std::vector<Record>{{1, 0, 172}, {3, 0, 24}, {2, 95, 0}}));
    EXPECT_EQ(slots[3].bytes, Silenced(SlotOf(samples, 3), 0, 24));
    EXPECT_EQ(slots[4].bytes, SlotOf(samples, 4));
    EXPECT_EQ(Count().intake.lost, 10u);
}

TEST_F(AudioAssemblerTest, APauseWithoutLossIsAHoleUpToFourSlots)
{
    const Bytes before = Samples(1, 11), after = Samples(1, 12);
    Push(CutAudio(before, {.firstSequence = 0, .firstTimestamp = 1000}));
    Push(CutAudio(after, {.firstSequence = 4, .firstTimestamp = 1024 + 96}));

    ASSERT_EQ(Slots().size(), 3u); // the last of the four silent ones waits no longer than there is room
    Wait(10 * kMs);
    ASSERT_EQ(Slots().size(), 6u);
    EXPECT_EQ(Count().committed - Count().incomplete, 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
    for (const KeptSlot& slot : Slots())
        if (slot.bytes != before && slot.bytes != after)
        {
            EXPECT_EQ(slot.OfType(3), (std::vector<Record>{{3, 0, 96}}));
        }
}

TEST_F(AudioAssemblerTest, ALongerPauseBeginsTheNextSlotWithThePacketThatEndsIt)
{
    const Bytes before = Samples(1, 13), after = Samples(2, 14);
    const auto packets = CutAudio(before, {.firstSequence = 0, .firstTimestamp = 1000});
    Push({packets[0], packets[1]});
    Push(CutAudio(after, {.firstSequence = 2, .firstTimestamp = 1012 + 97}));

    ASSERT_EQ(Slots().size(), 3u); // and no silent one
    EXPECT_EQ(Slots()[0].records, (std::vector<Record>{{1, 0, 1000}, {3, 48, 48}, {2, 95, 0}}));
    EXPECT_EQ(Slots()[1].records, (std::vector<Record>{{1, 0, 1109}, {2, 95, 0}}));
    EXPECT_EQ(Slots()[1].bytes, SlotOf(after, 0));
    EXPECT_EQ(Slots()[2].bytes, SlotOf(after, 1));
}

TEST_F(AudioAssemblerTest, ATimestampThatJumpsBackBeginsAgainThere)
{
    const Bytes before = Samples(2, 15), after = Samples(2, 16);
    auto packets = CutAudio(before, {.firstSequence = 10, .firstTimestamp = 5000});
    const Bytes late = packets[2];
    packets.erase(packets.begin() + 2);
    Push(packets);
    Push(CutAudio(after, {.firstSequence = 18, .firstTimestamp = 4000}));
    Push(late); // of the clock that is gone

    ASSERT_EQ(Slots().size(), 4u);
    EXPECT_EQ(Slots()[0].bytes, SlotOf(before, 1));
    EXPECT_EQ(Slots()[1].records, (std::vector<Record>{{1, 0, 5000}, {3, 48, 24}, {2, 95, 0}}));
    EXPECT_EQ(Slots()[2].records[0], (Record{1, 0, 4000}));
    EXPECT_EQ(Slots()[2].bytes, SlotOf(after, 0));
    EXPECT_EQ(Slots()[3].bytes, SlotOf(after, 1));
    EXPECT_EQ(Count().delayed, 1u);
}

TEST_F(AudioAssemblerTest, ASenderThatStepsBackALittleKeepsItsSlots)
{
    const Bytes first = Samples(2, 17), second = Samples(2, 18);
    Push(CutAudio(first, {.firstSequence = 0, .firstTimestamp = 1000}));
    Push(CutAudio(second, {.firstSequence = 8, .firstTimestamp = 1036})); // 12 frames that have been heard

    ASSERT_EQ(Slots().size(), 3u);
    EXPECT_EQ(Slots()[2].records[0], (Record{1, 0, 1048}));
    EXPECT_EQ(Slots()[2].bytes, Part(second, 48, 144));
    EXPECT_EQ(Count().delayed, 2u);
}

TEST_F(AudioAssemblerTest, ASenderThatBeginsAnewLosesNothing)
{
    const Bytes before = Samples(1, 19), after = Samples(2, 20);
    Push(CutAudio(before, {.firstSequence = 60000, .firstTimestamp = 0x90000000}));
    Push(CutAudio(after, {.firstSequence = 7, .firstTimestamp = 0x10000000}));

    ASSERT_EQ(Slots().size(), 3u);
    EXPECT_EQ(Slots()[1].records[0], (Record{1, 0, 0x10000000}));
    EXPECT_EQ(Slots()[1].bytes, SlotOf(after, 0));
    EXPECT_EQ(Slots()[2].bytes, SlotOf(after, 1));
}

TEST_F(AudioAssemblerTest, ASecondOfSilenceCommitsWhatIsOpenAndTheNextPacketBeginsASlot)
{
    const Bytes samples = Samples(1, 21);
    auto packets = CutAudio(samples, {.firstTimestamp = 1000});
    Push({packets[0], packets[1]});
    EXPECT_EQ(Assembler->Tick(NowNs), NowNs + 1000 * kMs);
    Wait(1000 * kMs - 1);
    EXPECT_EQ(Slots().size(), 0u);
    Wait(1);
    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].records, (std::vector<Record>{{1, 0, 1000}, {3, 48, 48}, {2, 95, 0}}));

    Push(CutAudio(samples, {.firstSequence = 900, .firstTimestamp = 1015}, {.ssrc = 99}));
    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, samples);
    EXPECT_EQ(Slots()[1].records[0], (Record{1, 0, 1015}));
    EXPECT_EQ(Count().intake.lost, 0u);
}

// A pause of the sender, with and without a look at the clock meanwhile.
class AudioAssemblerPause : public AudioAssemblerTest, public testing::WithParamInterface<bool>
{
protected:
    static constexpr uint32_t kPauseFrames = 480000;
    void Pause()
    {
        NowNs += 10000 * kMs;
        if (GetParam()) Assembler->Tick(NowNs);
    }
};

INSTANTIATE_TEST_SUITE_P(Looked, AudioAssemblerPause, testing::Bool());

TEST_P(AudioAssemblerPause, EverySampleAfterItArrivesAndTheSlotThatItCutIsReported)
{
    const Bytes samples = Samples(4, 30);
    const auto before = CutAudio(samples, {.firstSequence = 65534, .firstTimestamp = 1000});
    Push({before[0], before[1], before[2], before[3], before[4]});
    Pause();
    const auto after = CutAudio(samples, {.firstSequence = 3, .firstTimestamp = 1030 + kPauseFrames});
    Push({after[0], after[1], after[2], after[3], after[4], after[6], after[7]}); // the sixth is missing
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 4u);
    EXPECT_EQ(Slots()[0].bytes, SlotOf(samples, 0));
    EXPECT_EQ(Slots()[1].records, (std::vector<Record>{{1, 0, 1024}, {3, 24, 72}, {2, 95, 0}}));
    EXPECT_EQ(Slots()[2].records, (std::vector<Record>{{1, 0, 1030 + kPauseFrames}, {2, 95, 0}}));
    EXPECT_EQ(Slots()[2].bytes, SlotOf(samples, 0));
    EXPECT_EQ(Slots()[3].records, (std::vector<Record>{{1, 0, 1054 + kPauseFrames}, {3, 24, 24}, {2, 95, 0}}));
    EXPECT_EQ(Count().intake.lost, 1u);
    EXPECT_EQ(Count().delayed, 0u);
}

TEST_P(AudioAssemblerPause, WhatIsMissingOverItIsLost)
{
    const Bytes samples = Samples(1, 31);
    Push(CutAudio(samples, {.firstSequence = 0, .firstTimestamp = 1000}));
    Pause();
    Push(CutAudio(samples, {.firstSequence = 6, .firstTimestamp = 1036 + kPauseFrames})); // 4 and 5 are missing
    Pause();
    Push(CutAudio(samples, {.firstSequence = 9 + 65, .firstTimestamp = 5000 + 2 * kPauseFrames})); // another count

    ASSERT_EQ(Slots().size(), 3u);
    for (const KeptSlot& slot : Slots())
        EXPECT_EQ(slot.bytes, samples);
    EXPECT_EQ(Count().intake.lost, 2u);
}

TEST_P(AudioAssemblerPause, ASenderWhoseClockStoodStillLosesNoSample)
{
    const Bytes samples = Samples(1, 32);
    const auto packets = CutAudio(samples, {.firstTimestamp = 1000});
    Push({packets[0], packets[1]});
    Pause();
    Push({packets[2], packets[3]});
    Push(CutAudio(samples, {.firstSequence = 4, .firstTimestamp = 1024}));

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[0].records, (std::vector<Record>{{1, 0, 1000}, {3, 48, 48}, {2, 95, 0}}));
    EXPECT_EQ(Slots()[1].records, (std::vector<Record>{{1, 0, 1012}, {2, 95, 0}}));
    Bytes expected = Part(samples, 48, 96);
    expected.insert(expected.end(), samples.begin(), samples.begin() + 48);
    EXPECT_EQ(Slots()[1].bytes, expected);
    EXPECT_EQ(Count().delayed, 0u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_P(AudioAssemblerPause, TwoPathsHaveLostNothingByIt)
{
    Make(SmallAudio(), {.paths = 2, .queueDepth = 8});
    const Bytes samples = Samples(2, 33);
    for (uint32_t turn = 0; turn < 2; ++turn)
    {
        const auto packets =
            CutAudio(samples, {.firstSequence = 8 * turn, .firstTimestamp = 1000 + turn * kPauseFrames});
        for (size_t i = 0; i < packets.size(); ++i)
            for (const size_t path : {0u, 1u})
                if (turn == 0 || path == 1 || i != 0) Push(packets[i], path); // one is missing on the first path
        Pause();
    }
    Assembler->Tick(NowNs);

    ASSERT_EQ(Slots().size(), 4u);
    EXPECT_EQ(Slots()[2].bytes, SlotOf(samples, 0));
    EXPECT_EQ(Slots()[3].bytes, SlotOf(samples, 1));
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().intake.paths[0].lost, 1u);
    EXPECT_EQ(Count().intake.paths[1].lost, 0u);
}

TEST_P(AudioAssemblerPause, TheFirstSlotAfterItIsKeptWhenTheRingHadNoRoomBefore)
{
    const Bytes samples = Samples(2, 34);
    const auto packets = CutAudio(samples, {.firstTimestamp = 1000});
    Sink->Room = 0;
    for (size_t i = 0; i < 6; ++i)
        Push(packets[i]);
    Pause();
    Sink->Room = 64;
    Push(CutAudio(SlotOf(samples, 1), {.firstSequence = 6, .firstTimestamp = 1036 + kPauseFrames}));

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, SlotOf(samples, 1));
    EXPECT_EQ(Count().drops, 2u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AudioAssemblerTest, APacketFromBeforeTheFirstOneHasNoSlot)
{
    const Bytes samples = Samples(2, 22);
    auto packets = CutAudio(samples, {.firstSequence = 50, .firstTimestamp = 1000});
    Push({packets[1], packets[0], packets[2], packets[3], packets[4]});

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].bytes, Part(samples, 24, 120));
    EXPECT_EQ(Slots()[0].records[0], (Record{1, 0, 1006}));
    EXPECT_EQ(Count().beforeFirstFrame, 1u);
    EXPECT_EQ(Count().delayed, 0u);
}

TEST_F(AudioAssemblerTest, APacketThatIsOvertakenByTheFirstOneOfANewPlaceIsNotLost)
{
    const Bytes before = Samples(1, 35), samples = Samples(2, 36);
    Push(CutAudio(before, {.firstSequence = 0, .firstTimestamp = 1000}));
    const auto packets = CutAudio(samples, {.firstSequence = 4, .firstTimestamp = 500000});
    Push({packets[1], packets[0], packets[2], packets[3], packets[4]});

    ASSERT_EQ(Slots().size(), 2u);
    EXPECT_EQ(Slots()[1].bytes, Part(samples, 24, 120));
    EXPECT_EQ(Slots()[1].records[0], (Record{1, 0, 500006}));
    EXPECT_EQ(Count().beforeFirstFrame, 1u);
    EXPECT_EQ(Count().delayed, 0u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AudioAssemblerTest, SlotsForWhichTheRingHasNoRoomAreDroppedAndTheOthersKeepTheirPlaces)
{
    const Bytes samples = Samples(5, 23);
    const auto packets = CutAudio(samples, {});
    for (size_t i = 0; i < packets.size(); ++i)
    {
        Sink->Room = i / 4 == 1 || i / 4 == 2 ? 0 : 64;
        Push(packets[i]);
    }

    ASSERT_EQ(Slots().size(), 3u);
    EXPECT_EQ(Slots()[0].bytes, SlotOf(samples, 0));
    EXPECT_EQ(Slots()[1].bytes, SlotOf(samples, 3));
    EXPECT_EQ(Slots()[1].records[0], (Record{1, 0, 72}));
    EXPECT_EQ(Slots()[2].bytes, SlotOf(samples, 4));
    EXPECT_EQ(Count().drops, 2u);
    EXPECT_EQ(Count().processed, 12u);
    EXPECT_EQ(Count().intake.lost, 0u);
}

TEST_F(AudioAssemblerTest, MoreHolesThanRecordsAreMergedAndCoverNoLess)
{
    Make(SmallAudio(), {.mostLossRecords = 2, .queueDepth = 8});
    const auto packets = CutAudio(Samples(1, 24), {.packetFrames = 2}); // twelve packets of 8 bytes
    for (const size_t i : {0u, 2u, 3u, 5u, 6u, 7u, 8u, 10u, 11u})       // holes at 1, 4 and 9
        Push(packets[i]);
    Wait(10 * kMs);

    ASSERT_EQ(Slots().size(), 1u);
    EXPECT_EQ(Slots()[0].OfType(3), (std::vector<Record>{{3, 8, 32}, {3, 72, 8}}));
}

TEST_F(AudioAssemblerTest, TwoPathsThatLoseDifferentPacketsMakeWholeSlots)
{
    Make(SmallAudio(), {.paths = 2, .queueDepth = 8});
    const Bytes samples = Samples(50, 25);
    const auto packets = CutAudio(samples, {.firstSequence = 65500});
    for (size_t i = 0; i < packets.size() + 7; ++i) // the second path is seven packets behind
    {
        if (i < packets.size() && i % 3 != 1) Push(packets[i], 0);
        if (i >= 7 && (i - 7) % 3 != 0) Push(packets[i - 7], 1);
    }

    ASSERT_EQ(Slots().size(), 50u);
    for (const KeptSlot& slot : Slots())
        EXPECT_EQ(slot.bytes, SlotOf(samples, slot.records[0].value / 24));
    EXPECT_EQ(Count().intake.lost, 0u);
    EXPECT_EQ(Count().delayed, 0u);
    EXPECT_EQ(Count().intake.paths[0].lost, 66u); // the 67th is behind its last packet: it may still come
    EXPECT_EQ(Assembler->Tick(NowNs), NowNs + 10 * kMs);
    Wait(10 * kMs);
    EXPECT_EQ(Count().intake.paths[0].lost, 67u);
    EXPECT_EQ(Count().intake.paths[1].lost, 66u); // the 67th is before its first
    EXPECT_EQ(Count().processed, 200u);
}

TEST_F(AudioAssemblerTest, APathThatDiesLeavesNoGap)
{
    Make(SmallAudio(), {.paths = 2, .queueDepth = 8});
    const Bytes samples = Samples(20, 26);
    const auto packets = CutAudio(samples, {});
    for (size_t i = 0; i < packets.size(); ++i)
    {
        if (i < 33) Push(packets[i], 0);
        Push(packets[i], 1);
    }

    ASSERT_EQ(Slots().size(), 20u);
    for (size_t slot = 0; slot < 20; ++slot)
        EXPECT_EQ(Slots()[slot].bytes, SlotOf(samples, slot));
    Wait(10 * kMs);
    EXPECT_EQ(Count().intake.paths[0].lost, 47u); // of 80 packets
    EXPECT_EQ(Count().intake.paths[1].lost, 0u);
}

// Whatever is lost, doubled, and out of order within ten milliseconds: each slot holds the samples that arrived, each
// missing packet is silence and reported, and nothing else is.
TEST_F(AudioAssemblerTest, EverySampleIsInItsPlaceOrReported)
{
    for (uint32_t seed = 0; seed < 40; ++seed)
    {
        Make(SmallAudio(), {.paths = 2, .queueDepth = 64});
        std::mt19937 random(seed);
        const auto chance = [&](uint32_t percent) { return random() % 100 < percent; };
        const uint32_t lossPercent = seed % 4 * 10;
        const Bytes samples = Samples(100, seed);
        const auto packets = CutAudio(samples, {.firstSequence = 65000, .firstTimestamp = 0xFFFFFF00});

        struct Arrival
        {
            uint64_t atUs;
            size_t packet, path;
        };
        std::vector<Arrival> arrivals;
        std::vector<bool> arrived(packets.size());
        for (size_t i = 0; i < packets.size(); ++i)
            for (size_t path = 0; path < 2; ++path)
            {
                if (i > 0 && chance(lossPercent)) continue;
                arrived[i] = true;
                arrivals.push_back({i * 125 + (i == 0 ? 0 : random() % 5000), i, path});
            }
        std::stable_sort(arrivals.begin(), arrivals.end(),
                         [](const Arrival& a, const Arrival& b) { return a.atUs < b.atUs; });
        const uint64_t startNs = NowNs;
        for (const Arrival& arrival : arrivals)
        {
            NowNs = startNs + arrival.atUs * 1000;
            Assembler->Tick(NowNs);
            Push(packets[arrival.packet], arrival.path);
        }
        Wait(1000 * kMs);

        const auto missing = static_cast<size_t>(std::count(arrived.begin(), arrived.end(), false));
        ASSERT_LE(Slots().size(), 100u);
        ASSERT_GE(Slots().size(), 99u); // the last one may be lost whole
        EXPECT_EQ(Count().delayed, 0u) << seed;
        EXPECT_EQ(Count().processed, packets.size() - missing) << seed;
        EXPECT_EQ(lossPercent > 0, missing > 0) << seed;
        for (const KeptSlot& slot : Slots())
        {
            const size_t number = (slot.records[0].value - 0xFFFFFF00u) / 24;
            Bytes expected = SlotOf(samples, number), holes(kSlotBytes, 0), reported(kSlotBytes, 0);
            for (size_t i = 0; i < 4; ++i)
                if (!arrived[4 * number + i])
                {
                    expected = Silenced(expected, i * kPacketBytes, (i + 1) * kPacketBytes);
                    std::fill_n(holes.begin() + static_cast<std::ptrdiff_t>(i * kPacketBytes), kPacketBytes,
                                uint8_t{1});
                }
            for (const Record& loss : slot.OfType(3))
                std::fill_n(reported.begin() + loss.position, loss.value, uint8_t{1});
            EXPECT_EQ(slot.bytes, expected) << seed;
            EXPECT_EQ(reported, holes) << seed;
        }
        EXPECT_FALSE(Sink->GuardsBroken);
    }
}

// Slots go in, audio packets come out: bytes by hand, timestamps, moments.
#include "mxs/media/AudioPacketizer.h"

#include "AudioPackets.h"

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

// The datagrams of a slot, each written into a room of its own.
std::vector<Bytes> PacketsOf(AudioPacketizer& packetizer, const Bytes& slot, const SlotTimes& times)
{
    std::vector<Bytes> packets;
    const size_t count = packetizer.Begin(slot, times);
    for (size_t i = 0; i < count; ++i)
    {
        Bytes room(1452, 0xCC);
        const Burst burst = packetizer.Write(i, count, room);
        EXPECT_EQ(burst.count, 1u);
        EXPECT_EQ(burst.datagramBytes, burst.totalBytes);
        room.resize(burst.totalBytes);
        packets.push_back(std::move(room));
    }
    return packets;
}

uint32_t Number32(const Bytes& packet, size_t at)
{
    return uint32_t{packet[at]} << 24 | uint32_t{packet[at + 1]} << 16 | uint32_t{packet[at + 2]} << 8 | packet[at + 3];
}

uint32_t TimestampOf(const Bytes& packet)
{
    return Number32(packet, 4);
}

// The timestamps of the first packets of slots that begin at these moments.
std::vector<uint32_t> FirstTimestamps(const AudioConfig& audio, const std::vector<uint64_t>& moments)
{
    AudioPacketizer packetizer(audio, {});
    const Bytes slot(LayoutOf(audio).lockSize);
    std::vector<uint32_t> timestamps;
    for (const uint64_t moment : moments)
        timestamps.push_back(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = moment}).at(0)));
    return timestamps;
}

} // namespace

TEST(AudioPacketizer, TwoPacketsByteForByte)
{
    AudioPacketizer packetizer({.encodingBytes = 3, .packetTimeUs = 125, .channels = 1, .packetsPerBuffer = 2},
                               {.payloadType = 97, .ssrc = 0xA1B2C3D4, .firstSequence = 0xFFFF});
    const Bytes slot{0x00, 0x00, 0x01, 0x7F, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0xFF, 0xFF, 0xFF,
                     0x12, 0x34, 0x56, 0x00, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06,
                     0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x10, 0x11, 0x12};

    const auto packets = PacketsOf(packetizer, slot, {.startTaiNs = 1'000'000'000});

    ASSERT_EQ(packets.size(), 2u);
    EXPECT_EQ(packets[0],
              (Bytes{0x80, 0x61, 0xFF, 0xFF, 0x00, 0x00, 0xBB, 0x80, 0xA1, 0xB2, 0xC3, 0xD4, 0x00, 0x00, 0x01,
                     0x7F, 0xFF, 0xFF, 0x80, 0x00, 0x00, 0xFF, 0xFF, 0xFF, 0x12, 0x34, 0x56, 0x00, 0x00, 0x00}));
    EXPECT_EQ(packets[1],
              (Bytes{0x80, 0x61, 0x00, 0x00, 0x00, 0x00, 0xBB, 0x86, 0xA1, 0xB2, 0xC3, 0xD4, 0x01, 0x02, 0x03,
                     0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x0E, 0x0F, 0x10, 0x11, 0x12}));
}

TEST(AudioPacketizer, PacketsAreDueOneEachPacketTime)
{
    struct Case
    {
        uint32_t packetTimeUs, rateHz;
        uint64_t second, fourth;     // offsets of packets 1 and 3, in nanoseconds
        uint64_t raster, slotFrames; // in samples
    };
    for (const Case& each : {Case{125, 48000, 125000, 375000, 6, 60}, Case{1000, 48000, 1000000, 3000000, 48, 480},
                             Case{125, 96000, 125000, 375000, 12, 120}, Case{333, 48000, 333333, 1000000, 16, 160},
                             Case{4000, 96000, 4000000, 12000000, 384, 3840}})
    {
        const AudioPacketizer packetizer(
            {.samplingRateHz = each.rateHz, .packetTimeUs = each.packetTimeUs, .channels = 1, .packetsPerBuffer = 10},
            {});
        EXPECT_EQ(packetizer.OffsetNs(0), 0u);
        EXPECT_EQ(packetizer.OffsetNs(1), each.second);
        EXPECT_EQ(packetizer.OffsetNs(3), each.fourth);
        EXPECT_EQ(packetizer.Raster().numerator, each.raster);
        EXPECT_EQ(packetizer.Raster().denominator, each.rateHz);
        EXPECT_EQ(packetizer.Period().numerator, each.slotFrames);
        EXPECT_EQ(packetizer.Period().denominator, each.rateHz);
        EXPECT_EQ(packetizer.BurstCount(), 1u);
    }
}

TEST(AudioPacketizer, TimestampsOfThePacketsOfASlotStepByTheirFrames)
{
    AudioPacketizer packetizer(SmallAudio(), {});
    const auto packets = PacketsOf(packetizer, Bytes(96), {.startTaiNs = 2'000'000'000});

    ASSERT_EQ(packets.size(), 4u);
    for (uint32_t i = 0; i < 4; ++i)
        EXPECT_EQ(TimestampOf(packets[i]), 96000 + 6 * i);
}

TEST(AudioPacketizer, AMomentBetweenTwoSamplesHasTheTimestampOfTheNearest)
{
    // A third of a millisecond is no whole number of nanoseconds: the raster's moments are cut.
    const AudioConfig audio{.packetTimeUs = 333, .channels = 1, .packetsPerBuffer = 1};
    EXPECT_EQ(FirstTimestamps(audio, {333'333}), (std::vector<uint32_t>{16}));
    EXPECT_EQ(FirstTimestamps(audio, {666'666}), (std::vector<uint32_t>{32}));
    EXPECT_EQ(FirstTimestamps(audio, {1'000'000}), (std::vector<uint32_t>{48}));
}

TEST(AudioPacketizer, SlotsThatFollowOneAnotherHaveNoStepWhateverTheMomentsAreCutTo)
{
    const AudioConfig audio{.packetTimeUs = 333, .channels = 1, .packetsPerBuffer = 1};
    EXPECT_EQ(FirstTimestamps(audio, {0, 333'333, 666'666, 1'000'000, 1'333'331, 1'666'668}),
              (std::vector<uint32_t>{0, 16, 32, 48, 64, 80}));
}

TEST(AudioPacketizer, AfterAPauseTheTimestampIsTheTimeOfTheClock)
{
    // Slots of half a millisecond: the second follows the first, the third is one packet later than it should be, the
    // fourth comes after a second, the fifth follows it.
    EXPECT_EQ(FirstTimestamps(SmallAudio(), {0, 500'000, 1'125'000, 1'001'125'000, 1'001'625'000}),
              (std::vector<uint32_t>{0, 24, 54, 48054, 48078}));
}

TEST(AudioPacketizer, TheTimeOfTheApplicationHoldsForItsSlotAndTheClockForTheNext)
{
    AudioPacketizer packetizer(SmallAudio(), {});
    const Bytes slot(96);
    const TimestampRecord own[] = {{48, 7}, {0, 0xFFFFFFF0}};
    const TimestampRecord elsewhere[] = {{48, 7}};

    EXPECT_EQ(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = 0})[0]), 0u);
    const auto second = PacketsOf(packetizer, slot, {.startTaiNs = 500'000, .timestamps = own});
    EXPECT_EQ(TimestampOf(second[0]), 0xFFFFFFF0u);
    EXPECT_EQ(TimestampOf(second[3]), 2u);
    // A record further back is no timestamp of the slot.
    EXPECT_EQ(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = 1'000'000, .timestamps = elsewhere})[0]), 48u);
    EXPECT_EQ(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = 1'500'000})[0]), 72u);
}

TEST(AudioPacketizer, BehindATimeOfTheApplicationItsOwnMomentCountsAndTheNextSlotGoesOnFromThere)
{
    // Slots of a third of a millisecond: 16 samples each. The third one's moment is cut so much that alone it would be
    // sample 31; behind the clock's own time it is 32 all the same, behind the application's it is what the clock says.
    AudioPacketizer packetizer({.packetTimeUs = 333, .channels = 1, .packetsPerBuffer = 1}, {});
    const Bytes slot(32);
    const TimestampRecord own[] = {{0, 5000}};
    constexpr uint64_t kCutNs = 656'000; // of 666,667

    EXPECT_EQ(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = 333'333})[0]), 16u);
    EXPECT_EQ(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = kCutNs})[0]), 32u);
    EXPECT_EQ(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = 333'333, .timestamps = own})[0]), 5000u);
    EXPECT_EQ(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = kCutNs})[0]), 31u);
    EXPECT_EQ(TimestampOf(PacketsOf(packetizer, slot, {.startTaiNs = kCutNs + 333'333})[0]), 47u);
}

TEST(AudioPacketizer, SequenceNumbersGoOnFromSlotToSlot)
{
    AudioPacketizer packetizer(SmallAudio(), {.firstSequence = 65530});
    std::vector<uint32_t> numbers;
    for (uint64_t slot = 0; slot < 3; ++slot)
        for (const Bytes& packet : PacketsOf(packetizer, Bytes(96), {.startTaiNs = slot * 500'000}))
            numbers.push_back(uint32_t{packet[2]} << 8 | packet[3]);

    EXPECT_EQ(numbers, (std::vector<uint32_t>{65530, 65531, 65532, 65533, 65534, 65535, 0, 1, 2, 3, 4, 5}));
}

// What a configuration of audio must hold, and the slots that come of it.
#include "mxs/media/AudioFormat.h"

#include <string>

#include <gtest/gtest.h>

using namespace mxs::media;

namespace
{

AudioConfig Audio(uint32_t bytes, uint32_t rateHz, uint32_t packetTimeUs, uint32_t channels, uint32_t packets = 1)
{
    return {.encodingBytes = bytes,
            .samplingRateHz = rateHz,
            .packetTimeUs = packetTimeUs,
            .channels = channels,
            .packetsPerBuffer = packets};
}

Outcome Check(const AudioConfig& audio)
{
    return CheckEssence(Direction::Receive, audio);
}

} // namespace

TEST(AudioLayout, ASlotHoldsTheFramesOfItsPackets)
{
    struct Case
    {
        AudioConfig audio;
        uint32_t lockSize;
    };
    for (const Case& each : {Case{AudioConfig{}, 9600}, // 16 bits, 48 kHz, 1 ms, 2 channels, 50 packets
                             Case{Audio(3, 48000, 1000, 2, 10), 2880}, Case{Audio(3, 48000, 125, 16, 8), 2304},
                             Case{Audio(3, 96000, 125, 8, 4), 1152}, Case{Audio(2, 48000, 250, 1, 1), 24},
                             Case{Audio(2, 48000, 333, 2, 3), 192}, Case{Audio(3, 96000, 333, 1, 1), 96},
                             Case{Audio(2, 96000, 4000, 1, 2), 1536}})
    {
        EXPECT_EQ(Check(each.audio).code, 0u);
        const SlotLayout layout = LayoutOf(each.audio);
        EXPECT_EQ(layout.lockSize, each.lockSize);
        ASSERT_EQ(layout.buffers.size(), 1u);
        EXPECT_EQ(layout.buffers.at(0).offset, 0u);
        EXPECT_EQ(layout.buffers.at(0).size, each.lockSize);
    }
}

TEST(CheckAudio, APacketHoldsAWholeNumberOfSamplesAtEveryPacketTimeButThoseOf44100Hz)
{
    for (const uint32_t packetTimeUs : {125u, 250u, 333u, 1000u, 4000u})
    {
        EXPECT_EQ(Check(Audio(2, 48000, packetTimeUs, 1)).code, 0u);
        EXPECT_EQ(Check(Audio(2, 96000, packetTimeUs, 1)).code, 0u);
        EXPECT_EQ(Check(Audio(2, 44100, packetTimeUs, 1)).code, 4u);
    }
    EXPECT_EQ(Check(Audio(2, 44100, 1000, 1)).message,
              "A packet of 1000 us has no whole number of samples at 44100 Hz.");
}

TEST(CheckAudio, AsManyChannelsAsAPacketHoldsAndNotOneMore)
{
    struct Case
    {
        uint32_t bytes, rateHz, packetTimeUs, most;
    };
    for (const Case& each :
         {Case{2, 48000, 1000, 15}, Case{3, 48000, 1000, 10}, Case{2, 48000, 125, 120}, Case{3, 48000, 125, 80},
          Case{2, 96000, 1000, 7}, Case{3, 96000, 1000, 5}, Case{2, 96000, 125, 60}, Case{3, 96000, 125, 40},
          Case{2, 48000, 4000, 3}, Case{3, 48000, 4000, 2}})
    {
        EXPECT_EQ(Check(Audio(each.bytes, each.rateHz, each.packetTimeUs, each.most)).code, 0u);
        EXPECT_EQ(Check(Audio(each.bytes, each.rateHz, each.packetTimeUs, each.most + 1)).code, 4u);
    }
    EXPECT_EQ(
        Check(Audio(3, 48000, 1000, 16)).message,
        "A packet would have 2304 bytes of samples, and 1440 fit into a datagram: there are too many channels for "
        "this packet time.");
}

TEST(CheckAudio, NumbersThatNobodyMeansAreRefused)
{
    for (const AudioConfig& audio :
         {Audio(1, 48000, 1000, 2), Audio(4, 48000, 1000, 2), Audio(2, 0, 1000, 2), Audio(2, 32000, 1000, 2),
          Audio(2, 48000, 0, 2), Audio(2, 48000, 500, 2), Audio(2, 48000, 1000, 0), Audio(2, 48000, 1000, 2, 0),
          Audio(2, 48000, 125, UINT32_MAX), Audio(2, 96000, 4000, UINT32_MAX, UINT32_MAX),
          Audio(2, 48000, 1000, 1, 44739243)}) // 4 GiB and a little
    {
        EXPECT_EQ(Check(audio).code, 4u);
        EXPECT_FALSE(Check(audio).message.empty());
    }
    EXPECT_EQ(Check(Audio(2, 48000, 1000, 1, 44739242)).code, 0u);
    EXPECT_EQ(LayoutOf(Audio(2, 48000, 1000, 1, 44739242)).lockSize, 4294967232u);
}

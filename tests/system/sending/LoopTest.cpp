// From the slots of one application to the slots of another: streams of video through the service, out of it and back,
// over paths that lose, reorder and die.
#include "Pictures.h"

#include <optional>

using namespace test;

namespace
{

constexpr uint32_t kFields = 2;
constexpr size_t kPackets = 2 * 576; // of a frame: two for each line

// One service with a sender and a receiver of 720 x 576 fields, between which a test puts what it likes.
class VideoLoop : public testing::Test
{
protected:
    MxsProcess Service{kSendsLate};
    Session With{Service.ServiceUrl()};
    StreamSettings Format{.standard = ZEFA_VIDEO_STANDARD_720X576_I_50, .slots = 8};

    // Sends `count` frames with timestamps of their own and takes them out again, one at a time.
    void SendAndTake(SendStream& sender, ReceiveStream& receiver, uint32_t first, uint32_t count)
    {
        for (uint32_t frame = first; frame < first + count; ++frame)
        {
            const Fields fields = MakeFields(Format, frame);
            sender.Put(fields, {3600 * frame, 3600 * frame + 1800});
            const std::vector<SlotBuffer> slot = TakeSlot(receiver, kFields);
            ASSERT_TRUE(Holds(slot, fields)) << "frame " << frame;
            ASSERT_EQ(3600 * frame, slot[0].timestamps.at(0).Value_UL);
        }
    }
};

// The same with a relay on each of two paths.
class RelayedLoop : public VideoLoop
{
protected:
    RelayedLoop()
    {
        Sent.port = FreeUdpPort();
        Sent.morePorts = {FreeUdpPort()};
        Received.port = FreeUdpPort();
        Received.morePorts = {FreeUdpPort()};
    }
    std::vector<Relay::Path> Paths() const
    {
        return {{{INADDR_LOOPBACK, Sent.port}, {INADDR_LOOPBACK, Received.port}},
                {{INADDR_LOOPBACK, Sent.morePorts[0]}, {INADDR_LOOPBACK, Received.morePorts[0]}}};
    }

    StreamSettings Sent = Format, Received = Format;
};

} // namespace

TEST_F(VideoLoop, FramesWithTheTimeOfTheClockAreAPeriodApartAndEveryPeriodLeftOutIsAnUnderrun)
{
    Format.standard = ZEFA_VIDEO_STANDARD_1920X1080_P_25;
    Format.padding = ZEFA_BIT_PADDING_NONE;
    Format.endianness = ZEFA_ENDIANNESS_BIG;
    Format.port = FreeUdpPort();
    ReceiveStream receiver(With, Format);
    SendStream sender(With, Format);
    receiver.Start();
    sender.Start();
    const Bytes picture = MakeBuffer(size_t{1920} * 1080 * 2, Format, 1);

    // Between the bursts the application pauses for some periods. A slow machine leaves out more of them, but never so
    // many that no two frames are neighbours.
    constexpr uint32_t kPeriodTicks = 3600;
    constexpr auto kPause = std::chrono::milliseconds(200);
    uint32_t neighbours = 0;
    uint64_t leftOut = 0, pauses = 0, underruns = 0;
    std::optional<uint32_t> before;
    for (int burst = 0; burst < 40 && (burst < 4 || neighbours == 0); ++burst)
    {
        for (int frame = 0; frame < 5; ++frame)
            sender.Put({picture});
        for (int frame = 0; frame < 5; ++frame)
        {
            const std::vector<SlotBuffer> slot = TakeSlot(receiver);
            ASSERT_TRUE(Holds(slot, {picture})) << frame;
            const uint32_t timestamp = slot[0].timestamps.at(0).Value_UL;
            if (before)
            {
                const uint32_t step = timestamp - *before;
                ASSERT_EQ(0u, step % kPeriodTicks) << step;
                ASSERT_LT(0u, step); // none stands still
                leftOut += step / kPeriodTicks - 1;
                if (step == kPeriodTicks) ++neighbours;
            }
            before = timestamp;
            // Counted after the burst before, so in front of this frame. What the schedule notices late, in the last
            // eighth of a period, counts for the period that begins then: one too many in each pause.
            if (frame == 0)
            {
                EXPECT_LE(underruns, leftOut + pauses) << "before burst " << burst;
            }
        }
        // All that was left out so far was counted when the frame behind it began.
        underruns = sender.NetworkStatus().UnderrunCount_ULL;
        EXPECT_GE(underruns, leftOut) << "burst " << burst;
        std::this_thread::sleep_for(kPause);
        underruns = sender.NetworkStatus().UnderrunCount_ULL;
        ++pauses;
    }
    EXPECT_LT(0u, neighbours);
    EXPECT_LE(4u * 4, underruns); // four pauses, of four whole periods at least
    EXPECT_TRUE(Await([&] { return receiver.NetworkStatus().LostPacketsCount_ULL == 0; }));
}

TEST_F(VideoLoop, APathThatDiesAndComesBackLosesNothingBesideAnother)
{
    const uint64_t interface = InterfaceNamed(With.Context, "lo");
    Format.port = FreeUdpPort();
    Format.morePorts = {FreeUdpPort()};
    ReceiveStream receiver(With, Format);
    SendStream sender(With, Format);
    receiver.Start();
    sender.Start();
    SendAndTake(sender, receiver, 1, 3);
    for (uint32_t path = 0; path < 2; ++path)
    {
        const uint16_t port = path == 0 ? Format.port : Format.morePorts[0];
        ZEFA_OK(ZEFA_DPDK_DropUdpPort(With.Context, interface, port));
        SendAndTake(sender, receiver, 10 + 20 * path, 3);
        ZEFA_OK(ZEFA_DPDK_AllowUdpPort(With.Context, interface, port));
        SendAndTake(sender, receiver, 20 + 20 * path, 3);
    }

    EXPECT_TRUE(Await([&] { return receiver.NetworkStatus().LostPacketsCount_ULL == 0; }));
    EXPECT_TRUE(Await([&] { return sender.NetworkStatus().TotalTransferredPacketCount_ULL == 2 * 15 * kPackets; }));
    EXPECT_EQ(15 * kPackets, sender.NetworkStatus().TotalProcessedPacketCount_ULL);
    receiver.Stop();
    EXPECT_NE(std::string::npos, Service.Log().find("; path 1: ")) << Service.Log();
}

TEST_F(RelayedLoop, TwoPathsThatLoseDifferentPacketsLoseNothing)
{
    const Relay relay(Paths(), [](size_t path, uint32_t index)
                      { return index % 10 == (path == 0 ? 3 : 7) ? Relay::Fate::Lose : Relay::Fate::Pass; });
    ReceiveStream receiver(With, Received);
    SendStream sender(With, Sent);
    receiver.Start();
    sender.Start();

    SendAndTake(sender, receiver, 1, 10);

    EXPECT_TRUE(Await([&] { return receiver.NetworkStatus().LostPacketsCount_ULL == 0; }));
}

TEST_F(RelayedLoop, WhatBothPathsLoseIsMarkedInItsSlot)
{
    const Relay relay(Paths(),
                      [](size_t path, uint32_t index)
                      {
                          const bool both = index == 500;
                          const bool one = index % 10 == (path == 0 ? 3 : 7);
                          return both || one ? Relay::Fate::Lose : Relay::Fate::Pass;
                      });
    ReceiveStream receiver(With, Received);
    SendStream sender(With, Sent);
    receiver.Start();
    sender.Start();
    const Fields fields = MakeFields(Format, 1);
    sender.Put(fields, {3600, 5400});

    const std::vector<SlotBuffer> slot = TakeSlot(receiver, kFields);

    ASSERT_EQ(2u, slot.size());
    EXPECT_EQ(fields[1], slot[1].bytes);
    EXPECT_TRUE(slot[1].losses.empty());
    // Packet 500 is the first half of line 250: 720 samples of two bytes.
    ASSERT_EQ(1u, slot[0].losses.size());
    EXPECT_EQ(250u * 2880, slot[0].losses[0].Position_UL);
    EXPECT_EQ(1440u, slot[0].losses[0].Size_UL);
    EXPECT_TRUE(std::equal(fields[0].begin(), fields[0].begin() + 250 * 2880, slot[0].bytes.begin()));
    EXPECT_TRUE(
        std::equal(fields[0].begin() + 250 * 2880 + 1440, fields[0].end(), slot[0].bytes.begin() + 250 * 2880 + 1440));
    EXPECT_TRUE(Await([&] { return receiver.NetworkStatus().LostPacketsCount_ULL == 1; }));
}

TEST_F(RelayedLoop, PacketsThatAreOvertakenMakeTheSamePicture)
{
    // One path is dead from the start: nothing but order is left to the other.
    const Relay relay(Paths(),
                      [](size_t path, uint32_t index)
                      {
                          if (path == 1) return Relay::Fate::Lose;
                          // Never so near to the end of a frame that nothing overtakes it.
                          return index % kPackets % 20 == 5 ? Relay::Fate::Hold : Relay::Fate::Pass;
                      });
    ReceiveStream receiver(With, Received);
    SendStream sender(With, Sent);
    receiver.Start();
    sender.Start();

    SendAndTake(sender, receiver, 1, 10);

    EXPECT_TRUE(Await([&] { return receiver.NetworkStatus().LostPacketsCount_ULL == 0; }));
}

TEST_F(VideoLoop, AfterAPauseOfTheApplicationSendingGoesOnByItself)
{
    Format.port = FreeUdpPort();
    ReceiveStream receiver(With, Format);
    SendStream sender(With, Format);
    receiver.Start();
    sender.Start();
    SendAndTake(sender, receiver, 1, 3);
    for (const uint32_t pauseMs : {100u, 10000u})
    {
        const uint64_t before = sender.NetworkStatus().UnderrunCount_ULL;
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
        // One for each period of 40 ms, as far as the conductor has run.
        EXPECT_TRUE(Await([&] { return sender.NetworkStatus().UnderrunCount_ULL - before >= pauseMs / 50 - 1; }));
        SendAndTake(sender, receiver, 100, 3); // the same timestamps both times: what silence lies between is not late
    }
    EXPECT_TRUE(Await([&] { return receiver.NetworkStatus().LostPacketsCount_ULL == 0; }));
    EXPECT_EQ(0u, sender.NetworkStatus().LostPacketsCount_ULL);
}

TEST_F(VideoLoop, AReceiverThatStopsForASecondMissesSlotsAndTheRestIsRight)
{
    Format.port = FreeUdpPort();
    Format.slots = 4;
    ReceiveStream receiver(With, Format);
    SendStream sender(With, Format);
    receiver.Start();
    sender.Start();
    SendAndTake(sender, receiver, 1, 2);
    const std::vector<Fields> pictures{MakeFields(Format, 50), MakeFields(Format, 51)};
    // 25 frames, a second of them: the ring takes four.
    for (uint32_t frame = 0; frame < 25; ++frame)
        sender.Put(pictures[frame % 2], {3600 * (100 + frame), 3600 * (100 + frame) + 1800});
    ASSERT_TRUE(Await([&] { return sender.NetworkStatus().TotalProcessedPacketCount_ULL == 27 * kPackets; }));

    for (uint32_t frame = 0; frame < 4; ++frame)
    {
        const std::vector<SlotBuffer> slot = TakeSlot(receiver, kFields);
        EXPECT_TRUE(Holds(slot, pictures[frame % 2])) << frame;
        EXPECT_EQ(3600 * (100 + frame), slot.at(0).timestamps.at(0).Value_UL);
    }
    ASSERT_TRUE(Await([&] { return receiver.CommonStatus().SlotDropped_UL == 21; }));
    SendAndTake(sender, receiver, 200, 3);
    EXPECT_EQ(21u, receiver.CommonStatus().SlotDropped_UL);
    EXPECT_TRUE(Await([&] { return receiver.NetworkStatus().LostPacketsCount_ULL == 0; }));
}

TEST_F(VideoLoop, ADescriptionOfASenderCannotBeWithoutADestination)
{
    ZEFA_HANDLE stream = nullptr;
    ZEFA_OK(ZEFA_CreateStream(With.Context, ZEFA_STREAM_TYPE_TX, ZEFA_ESSENCE_TYPE_ST2110_20, &stream));
    auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    network->PayloadType_UB = 96;
    network->NbConnections_UL = 1;
    network->Connections_X[0].DestinationPort_US = 5004;
    network->Connections_X[0].NetworkInterfaceId_ULL = InterfaceNamed(With.Context, "lo");
    EXPECT_NE(ZEFA_NO_ERROR, ZEFA_SetStreamNetworkConfig(stream, network.get()));
    network->Connections_X[0].DestinationIp_UL = INADDR_LOOPBACK;
    network->Connections_X[0].SourceIp_UL = 0x0A000001; // no address of the loopback
    EXPECT_NE(ZEFA_NO_ERROR, ZEFA_SetStreamNetworkConfig(stream, network.get()));
    network->Connections_X[0].SourceIp_UL = INADDR_LOOPBACK;
    EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_SetStreamNetworkConfig(stream, network.get()));
    ZEFA_OK(ZEFA_DestroyStream(stream));
}

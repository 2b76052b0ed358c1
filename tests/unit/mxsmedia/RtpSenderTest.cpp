// Whole send streams: slots of a real ring leave as datagrams over the loopback.
#include "mxs/media/ConductorLoop.h"
#include "mxs/media/MediaClock.h"
#include "mxs/media/MediaStream.h"

#include "AncillaryPackets.h"
#include "Network.h"

#include <flowrail1.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include <gtest/gtest.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr size_t kPackets = 4; // of a frame: one for each line
constexpr size_t kLineBytes = 20;

class NoDrops : public PortDropRules
{
public:
    bool IsDropped(uint64_t, uint16_t) const noexcept override { return false; }
};

// Runs as the machine's clock does, from 1000 s after 1970 on.
class TestClock : public MediaClock
{
public:
    uint64_t TaiNs() const noexcept override
    {
        const uint64_t taiNs = Now() - Began + Base;
        std::this_thread::sleep_for(std::chrono::milliseconds(HoldMs.exchange(0)));
        return taiNs;
    }
    void HoldOnce(uint32_t ms) { HoldMs = ms; } // who reads next is put aside before it has the answer
    void Step(uint64_t toNs) { Base = toNs - (Now() - Began); }

private:
    static uint64_t Now()
    {
        const auto since = std::chrono::steady_clock::now().time_since_epoch();
        return static_cast<uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(since).count());
    }
    const uint64_t Began = Now();
    std::atomic<uint64_t> Base{1'000'000'000'000};
    mutable std::atomic<uint32_t> HoldMs{0};
};

uint32_t Get32(const Bytes& from, size_t at)
{
    if (from.size() < at + 4) throw std::runtime_error("the packet did not come");
    return uint32_t{from[at]} << 24 | uint32_t{from[at + 1]} << 16 | uint32_t{from[at + 2]} << 8 | from[at + 3];
}

class RtpSenderTest : public testing::Test
{
protected:
    void SetUp() override
    {
        Video.framerate = 50;
        Common.queueDepth = 4;
        Network.payloadType = 96;
        Network.connections.push_back(LoopbackConnection(kLoopback, Receiver.Port));
        Settings.clock = &Clock;
        Settings.longestHoldNs = 60'000'000'000; // a machine that pauses loses nothing
        Settings.log = [this](const std::string& line) { Said.push_back(line); };
        ASSERT_TRUE(Loop.Start(static_cast<uint32_t>(AnyCore())));
    }
    void TearDown() override
    {
        Producer.reset();
        if (Stream) Stream->Stop();
    }

    Outcome Start()
    {
        Stream = MakeMediaStream(Direction::Send, Common, Network, Video, Settings, Drops);
        return Stream->Start(Loop);
    }
    void StartAndAttach()
    {
        const Outcome outcome = Start();
        ASSERT_EQ(outcome.code, 0u) << outcome.message;
        FLOW_RAIL_DESCRIPTOR descriptor{FLOW_RAIL_TYPE_FILE_MAP, Stream->RailDescription()};
        Producer.reset(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
        ASSERT_EQ(Producer->Open(&descriptor), 0u);
    }
    // Commits a frame as the library does.
    void Commit(const Bytes& picture, const std::vector<Record>& timestamps = {})
    {
        const auto bytes = static_cast<uint32_t>(picture.size());
        void* slot = nullptr;
        ASSERT_EQ(Producer->LockProducer(bytes, kPatienceMs, &slot), 0u);
        uint8_t* address = nullptr;
        ASSERT_EQ(Producer->GetSlotAddress(slot, &address), 0u);
        std::copy(picture.begin(), picture.end(), address);
        for (const Record& record : timestamps)
            ASSERT_EQ(Producer->AddMetadata(slot, record.type, record.position, record.value), 0u);
        ASSERT_EQ(Producer->AddMetadata(slot, FLOW_RAIL_METADATA_END, bytes - 1, 0), 0u);
        ASSERT_EQ(Producer->UnlockProducer(slot), 0u);
    }
    // The datagrams of one frame.
    std::vector<Bytes> HearFrame(const Listener& listener) const
    {
        std::vector<Bytes> packets;
        for (size_t i = 0; i < kPackets; ++i)
            packets.push_back(listener.Hear().bytes);
        return packets;
    }
    static Bytes PictureOf(const std::vector<Bytes>& packets)
    {
        Bytes picture;
        for (const Bytes& packet : packets)
            if (packet.size() > 20) picture.insert(picture.end(), packet.begin() + 20, packet.end());
        return picture;
    }
    static Bytes Picture(uint32_t seed) { return Pattern(kPackets * kLineBytes, seed); }
    template <class Condition>
    bool Await(Condition&& condition)
    {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
        while (!condition() && std::chrono::steady_clock::now() < limit)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return condition();
    }

    Listener Receiver;
    TestClock Clock;
    ConductorLoop Loop;
    NoDrops Drops;
    CommonConfig Common;
    NetworkConfig Network;
    VideoConfig Video = SmallVideo();
    MediaSettings Settings;
    std::vector<std::string> Said;
    std::unique_ptr<MediaStream> Stream;
    std::unique_ptr<CFlowRail> Producer;
};

} // namespace

TEST_F(RtpSenderTest, SlotsLeaveAsDatagramsInTheirOrder)
{
    Network.ssrc = 0xAABBCCDD;
    StartAndAttach();
    std::vector<Bytes> packets;
    for (uint32_t frame = 0; frame < 10; ++frame)
    {
        Commit(Picture(frame));
        const std::vector<Bytes> heard = HearFrame(Receiver);
        ASSERT_EQ(PictureOf(heard), Picture(frame));
        packets.insert(packets.end(), heard.begin(), heard.end());
    }

    for (size_t i = 0; i < packets.size(); ++i)
    {
        EXPECT_EQ(packets[i][1], i % kPackets == kPackets - 1 ? 0xE0 : 0x60);
        EXPECT_EQ(Get32(packets[i], 8), 0xAABBCCDDu);
        if (i == 0) continue;
        const auto number = [&](size_t at) { return packets[at][2] << 8 | packets[at][3]; };
        EXPECT_EQ(number(i), (number(i - 1) + 1) & 0xFFFF);
        const bool sameFrame = i % kPackets != 0;
        EXPECT_EQ(Get32(packets[i], 4) == Get32(packets[i - 1], 4), sameFrame);
    }
    ASSERT_TRUE(Await([&] { return Stream->Counters().processedPackets == 40; }));
    const NetworkCounters counters = Stream->Counters();
    EXPECT_EQ(counters.transferredPackets, 40u);
    EXPECT_EQ(counters.lostPackets, 0u);
    EXPECT_EQ(counters.drops, 0u);
    EXPECT_EQ(counters.receivedSsrc, 0xAABBCCDDu);
    EXPECT_EQ(counters.payloadType, 96);
    ASSERT_EQ(counters.paths.size(), 1u);
    EXPECT_EQ(counters.paths[0].transferred, 40u);
    EXPECT_EQ(counters.paths[0].lost, 0u);
    EXPECT_EQ(Stream->SlotsDropped(), 0u);
    const ProcessingTimes times = Stream->Times();
    EXPECT_GT(times.minimum, 0u);
    EXPECT_LE(times.minimum, times.mean);
    EXPECT_LE(times.mean, times.maximum);
}

TEST_F(RtpSenderTest, TimestampsAreMomentsOfTheFrameRate)
{
    StartAndAttach();
    for (uint32_t frame = 0; frame < 4; ++frame)
        Commit(Picture(frame));

    std::vector<uint32_t> timestamps;
    for (int frame = 0; frame < 4; ++frame)
        timestamps.push_back(Get32(HearFrame(Receiver)[0], 4));

    // 50 frames a second are 1800 ticks apart, and 1970 began with one. These are within a minute of 1000 s.
    for (size_t i = 0; i < 4; ++i)
    {
        EXPECT_EQ(timestamps[i] % 1800, 0u);
        EXPECT_GE(timestamps[i], 90'000'000u);
        EXPECT_LT(timestamps[i], 95'400'000u);
        EXPECT_TRUE(i == 0 || timestamps[i] > timestamps[i - 1]);
    }
}

TEST_F(RtpSenderTest, TimestampsOfTheApplicationAreSent)
{
    StartAndAttach();
    Commit(Picture(1), {{1, 0, 0xFEDCBA98}});
    Commit(Picture(2), {{3, 0, 1}}); // a record of another type says nothing of time

    EXPECT_EQ(Get32(HearFrame(Receiver)[3], 4), 0xFEDCBA98u);
    EXPECT_EQ(Get32(HearFrame(Receiver)[3], 4) % 1800, 0u);
}

TEST_F(RtpSenderTest, EveryConnectionCarriesTheSameBytes)
{
    const Listener second;
    Network.connections.push_back(LoopbackConnection(kLoopback, second.Port));
    Network.connections.push_back(LoopbackConnection(kLoopback, DeafPort()));
    StartAndAttach();
    Commit(Picture(1));

    const std::vector<Bytes> first = HearFrame(Receiver);
    EXPECT_EQ(PictureOf(first), Picture(1));
    EXPECT_EQ(HearFrame(second), first);
    ASSERT_TRUE(Await([&] { return Stream->Counters().processedPackets == 4; }));
    EXPECT_EQ(Stream->Counters().transferredPackets, 12u);
    EXPECT_EQ(Stream->Counters().lostPackets, 0u);
}

TEST_F(RtpSenderTest, ADestinationThatTheSystemRefusesIsToldAtTheStart)
{
    Network.connections.push_back(LoopbackConnection(0x7FFFFFFF, 5000)); // broadcast is not permitted to a socket

    const Outcome outcome = Start();

    EXPECT_EQ(outcome.code, 10u);
    EXPECT_NE(outcome.message.find("127.255.255.255"), std::string::npos) << outcome.message;
    EXPECT_FALSE(Stream->IsRunning());
    EXPECT_TRUE(Stream->RailDescription().empty());
}

TEST_F(RtpSenderTest, PeriodsWithoutASlotAreCountedAndTheNextSlotIsSent)
{
    StartAndAttach();
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(Stream->Counters().underruns, 0u); // nothing was sent yet
    Commit(Picture(1));
    EXPECT_EQ(PictureOf(HearFrame(Receiver)), Picture(1));
    ASSERT_TRUE(Await([&] { return Stream->Counters().underruns >= 5; }));
    EXPECT_TRUE(Stream->BufferDelayed());

    Commit(Picture(2));
    EXPECT_EQ(PictureOf(HearFrame(Receiver)), Picture(2));
    EXPECT_TRUE(Await([&] { return Stream->Counters().processedPackets == 8; }));
}

TEST_F(RtpSenderTest, AnApplicationThatIsAheadIsHeldBackByTheFrameRate)
{
    StartAndAttach();
    for (uint32_t frame = 0; frame < 15; ++frame) // four fit into the ring: the others wait in the lock
        Commit(Picture(frame));

    uint32_t before = 0;
    for (uint32_t frame = 0; frame < 15; ++frame)
    {
        const std::vector<Bytes> packets = HearFrame(Receiver);
        ASSERT_EQ(PictureOf(packets), Picture(frame));
        const uint32_t timestamp = Get32(packets[0], 4);
        EXPECT_TRUE(frame == 0 || timestamp >= before + 1800);
        before = timestamp;
    }
    EXPECT_EQ(Stream->Counters().lostPackets, 0u);
}

TEST_F(RtpSenderTest, AClockThatStepsIsFollowed)
{
    StartAndAttach();
    Commit(Picture(1));
    EXPECT_EQ(PictureOf(HearFrame(Receiver)), Picture(1));

    for (const uint64_t toNs : {5'000'000'000'000u, 2'000'000'000'000u})
    {
        Clock.Step(toNs);
        Commit(Picture(2));
        const std::vector<Bytes> packets = HearFrame(Receiver);
        EXPECT_EQ(PictureOf(packets), Picture(2));
        const uint32_t ticks = Get32(packets[0], 4) - static_cast<uint32_t>(toNs / 1'000'000 * 90);
        EXPECT_LT(ticks, 60u * 90000);
    }
}

TEST_F(RtpSenderTest, PeriodsThatAReaderOfTheClockSleepsThroughAreCounted)
{
    constexpr uint32_t kPeriodTicks = 9000;
    Video.framerate = 10;
    StartAndAttach();
    for (uint32_t frame = 0; frame < 4; ++frame)
        Commit(Picture(frame));
    const uint32_t first = Get32(Receiver.Hear().bytes, 4);
    Clock.HoldOnce(500);

    uint32_t last = first;
    for (size_t packet = 1; packet < 4 * kPackets; ++packet)
        last = Get32(Receiver.Hear().bytes, 4);
    const uint32_t leftOut = (last - first) / kPeriodTicks - 3;
    EXPECT_LE(3u, leftOut);
    EXPECT_LE(leftOut, Stream->Counters().underruns);
}

TEST_F(RtpSenderTest, WhatAConductorThatWasStoppedHeldForTooLongIsLostAndNotSentAtOnce)
{
    Video.framerate = 1; // its four packets are a quarter of a second apart
    Settings.longestHoldNs = MediaSettings{}.longestHoldNs;
    StartAndAttach();
    Bytes first;
    uint64_t whole = 0,
             sent = 0; // packets of frames that were all gone when the loop had stopped; of the one that is cut
    do
    {
        whole += sent;
        if (!Loop.IsRunning())
        {
            ASSERT_TRUE(Loop.Start(static_cast<uint32_t>(AnyCore())));
        }
        Commit(Picture(1));
        first = Receiver.Hear().bytes;
        Loop.Stop();
        sent = Stream->Counters().transferredPackets - whole;
        for (uint64_t packet = 1; packet < sent; ++packet)
            Receiver.Hear();
    } while (sent == kPackets);
    std::this_thread::sleep_for(std::chrono::milliseconds(2000)); // a period behind the last of them
    ASSERT_TRUE(Loop.Start(static_cast<uint32_t>(AnyCore())));
    Commit(Picture(2));

    const std::vector<Bytes> packets = HearFrame(Receiver);
    EXPECT_EQ(PictureOf(packets), Picture(2));
    const auto number = [](const Bytes& packet) { return packet[2] << 8 | packet[3]; };
    EXPECT_EQ(number(packets[0]), (number(first) + 4) & 0xFFFF);
    ASSERT_TRUE(Await([&] { return Stream->Counters().processedPackets == whole + sent + 4; }));
    EXPECT_EQ(Stream->Counters().lostPackets, 4 - sent);
    EXPECT_EQ(Stream->Counters().paths[0].lost, 4 - sent);
}

TEST_F(RtpSenderTest, AStoppedStreamLeavesNoRingAndStartsAgain)
{
    StartAndAttach();
    Commit(Picture(1));
    HearFrame(Receiver);
    const auto description = Stream->RailDescription();
    const std::string name = description.find("Name")->second;
    EXPECT_EQ(name.rfind(kRailNamePrefix, 0), 0u);
    EXPECT_EQ(description.find("Role")->second, "consumer");
    EXPECT_TRUE(std::filesystem::exists("/dev/shm/flowrail1." + name.substr(1)));

    Stream->Stop();

    EXPECT_FALSE(Stream->IsRunning());
    EXPECT_TRUE(Stream->RailDescription().empty());
    EXPECT_FALSE(std::filesystem::exists("/dev/shm/flowrail1." + name.substr(1)));
    EXPECT_EQ(Stream->Counters().transferredPackets, 4u); // counters stay
    void* slot = nullptr;
    EXPECT_EQ(Producer->LockProducer(80, 0, &slot), 8u);
    ASSERT_EQ(Stream->Start(Loop).code, 0u);
    EXPECT_EQ(Stream->Counters().transferredPackets, 0u);
    EXPECT_EQ(Stream->Start(Loop).code, 9u);
    EXPECT_TRUE(Said.empty());
}

TEST_F(RtpSenderTest, AnSsrcOfZeroIsRandom)
{
    StartAndAttach();
    Commit(Picture(1));
    const uint32_t ssrc = Get32(HearFrame(Receiver)[0], 8);

    EXPECT_NE(ssrc, 0u);
    EXPECT_EQ(Stream->Counters().receivedSsrc, ssrc);
}

TEST_F(RtpSenderTest, ABadConfigurationIsRefusedWithItsCode)
{
    Common.queueDepth = 0;
    EXPECT_EQ(Start().code, 4u);
    Common.queueDepth = 4;
    Network.connections[0].destinationIp = 0;
    EXPECT_EQ(Start().code, 4u);
    Network.connections[0].destinationIp = kLoopback;
    Network.connections[0].sourceIp = 0xC0000201; // an address that the machine does not have
    EXPECT_EQ(Start().code, 10u);
    Network.connections[0].sourceIp = 0;
    Settings.memoryLimitBytes = 1;
    EXPECT_EQ(Start().code, 10u);
    Settings.memoryLimitBytes = UINT64_MAX;
    Settings.railGroup = "nobody-has-this-group";
    EXPECT_EQ(Start().code, 10u);
    Settings.railGroup.clear();
    EXPECT_EQ(Start().code, 0u);
}

TEST_F(RtpSenderTest, AStreamOfAnEssenceThatIsRefusedHasNothingAndDoesNothing)
{
    Video.framerate = 0;
    EXPECT_EQ(Start().code, 4u);
    Stream->Stop();
    EXPECT_FALSE(Stream->IsRunning());
    EXPECT_FALSE(Stream->IsDamaged());
    EXPECT_FALSE(Stream->BufferDelayed());
    EXPECT_EQ(Stream->SlotsDropped(), 0u);
    EXPECT_EQ(Stream->Counters().transferredPackets, 0u);
    EXPECT_EQ(Stream->Times().maximum, 0u);
    EXPECT_TRUE(Stream->RailDescription().empty());
}

TEST_F(RtpSenderTest, ASocketBufferThatTheSystemDoesNotGiveIsSaid)
{
    Network.socketBufferSize = UINT32_MAX; // more than any socket gets
    ASSERT_EQ(Start().code, 0u);

    ASSERT_EQ(Said.size(), 1u);
    EXPECT_NE(Said[0].find("4294967295"), std::string::npos) << Said[0];
}

TEST_F(RtpSenderTest, PlaylistsThatAreNoGoodAreToldAtTheStop)
{
    const AncillaryConfig ancillary = Progressive1080();
    Stream = MakeMediaStream(Direction::Send, Common, Network, ancillary, Settings, Drops);
    ASSERT_EQ(Stream->Start(Loop).code, 0u);
    FLOW_RAIL_DESCRIPTOR descriptor{FLOW_RAIL_TYPE_FILE_MAP, Stream->RailDescription()};
    Producer.reset(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
    ASSERT_EQ(Producer->Open(&descriptor), 0u);
    Commit(Bytes(LayoutOf(ancillary).lockSize, 0xFF));
    Receiver.Hear(); // the stream is kept alive

    ASSERT_TRUE(Await([&] { return Stream->Counters().processedPackets == 1; }));
    Stream->Stop();

    ASSERT_EQ(Said.size(), 1u);
    EXPECT_NE(Said[0][0], '0');
    EXPECT_NE(Said[0].find(" playlists, sections and packets of the application were no good"), std::string::npos)
        << Said[0];
}

TEST_F(RtpSenderTest, FieldsLeaveWithTimesOfTheirOwn)
{
    Video = SmallVideo(8, 4, true); // 50 fields
    StartAndAttach();
    Commit(Picture(1));

    const std::vector<Bytes> packets = HearFrame(Receiver);

    EXPECT_EQ(PictureOf(packets), Picture(1));
    EXPECT_EQ(Get32(packets[2], 4) - Get32(packets[0], 4), 1800u);
    EXPECT_EQ(packets[1][1], 0xE0);
    EXPECT_EQ(packets[2][16], 0x80);
}

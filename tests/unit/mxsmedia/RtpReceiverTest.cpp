// Whole receive streams: datagrams over the loopback into a real ring, read by a consumer.
#include "mxs/media/ConductorLoop.h"
#include "mxs/media/MediaStream.h"

#include "Packets.h"

#include <flowrail1.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <tuple>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace mxs::media;
using namespace mxs::media::test;

namespace
{

constexpr uint32_t kLoopback = 0x7F000001;
constexpr uint64_t kInterface = 77;
constexpr uint32_t kPatienceMs = 20000; // a limit for a machine that is busy, never a pace
constexpr size_t kLineBytes = 20;

class Rules : public PortDropRules
{
public:
    bool IsDropped(uint64_t networkInterfaceId, uint16_t udpPort) const noexcept override
    {
        return networkInterfaceId == kInterface && udpPort == Port && Dropping;
    }
    std::atomic<uint16_t> Port{0};
    std::atomic<bool> Dropping{false};
};

class IdleTask : public ConductorTask
{
public:
    int WakeDescriptor() const override { return -1; }
    uint64_t Run(uint64_t) override { return UINT64_MAX; }
    uint64_t TakeBytesMoved() override { return 0; }
    uint64_t TakePacketsMoved() override { return 0; }
};

int AnyCore()
{
    cpu_set_t cores;
    CPU_ZERO(&cores);
    sched_getaffinity(0, sizeof cores, &cores);
    for (int core = 0; core < CPU_SETSIZE; ++core)
        if (CPU_ISSET(core, &cores)) return core;
    return 0;
}

sockaddr_in AddressOf(uint32_t ip, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(ip);
    address.sin_port = htons(port);
    return address;
}

// Files of shared memory whose name ends with the rail's.
size_t RailFiles(const std::string& railName)
{
    size_t found = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
        found += entry.path().filename().string().ends_with(railName.substr(1));
    return found;
}

// A port that was free a moment ago.
uint16_t FreePort()
{
    const int handle = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address = AddressOf(kLoopback, 0);
    bind(handle, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    socklen_t size = sizeof address;
    getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size);
    close(handle);
    return ntohs(address.sin_port);
}

// Sends from 127.0.0.`host`, and multicast on the loopback only.
class Sender
{
public:
    explicit Sender(uint8_t host = 1) : Handle(socket(AF_INET, SOCK_DGRAM, 0))
    {
        const sockaddr_in from = AddressOf(0x7F000000u | host, 0);
        bind(Handle, reinterpret_cast<const sockaddr*>(&from), sizeof from);
        const in_addr loopback{htonl(kLoopback)};
        setsockopt(Handle, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback);
    }
    ~Sender() { close(Handle); }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    void Send(uint32_t ip, uint16_t port, const std::vector<Bytes>& packets) const
    {
        const sockaddr_in to = AddressOf(ip, port);
        for (const Bytes& packet : packets)
            ASSERT_EQ(
                sendto(Handle, packet.data(), packet.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to),
                static_cast<ssize_t>(packet.size()));
    }

private:
    const int Handle;
};

class RtpReceiverTest : public testing::Test
{
protected:
    void SetUp() override
    {
        Port = FreePort();
        Common.queueDepth = 4;
        Network.payloadType = 96;
        Network.connections.push_back(Connection(kLoopback, Port));
        Settings.log = [this](const std::string& line) { Said.push_back(line); };
        ASSERT_TRUE(Loop.Start(static_cast<uint32_t>(AnyCore())));
    }
    void TearDown() override
    {
        if (Consumer.rail) Consumer.rail->RemoveConsumer(&Consumer.token);
        if (Stream) Stream->Stop();
    }

    static ConnectionConfig Connection(uint32_t ip, uint16_t port)
    {
        ConnectionConfig connection;
        connection.destinationIp = ip;
        connection.destinationPort = port;
        connection.networkInterfaceId = kInterface;
        connection.interfaceName = "lo";
        connection.interfaceAddress = kLoopback;
        return connection;
    }
    Outcome Start()
    {
        Stream = MakeMediaStream(Direction::Receive, Common, Network, Video, Settings, Drops);
        return Stream->Start(Loop);
    }
    void StartAndAttach()
    {
        const Outcome outcome = Start();
        ASSERT_EQ(outcome.code, 0u) << outcome.message;
        FLOW_RAIL_DESCRIPTOR descriptor{FLOW_RAIL_TYPE_FILE_MAP, Stream->RailDescription()};
        Consumer.rail.reset(CFlowRailFactory::CreateInstance(FLOW_RAIL_TYPE_FILE_MAP));
        ASSERT_EQ(Consumer.rail->Open(&descriptor), 0u);
        ASSERT_EQ(Consumer.rail->AddConsumer(&Consumer.token), 0u);
    }
    // Takes the next slot out of the ring, copied.
    KeptSlot Take()
    {
        KeptSlot kept;
        void* slot = nullptr;
        const uint32_t bytes = LayoutOf(Video).lockSize;
        EXPECT_EQ(Consumer.rail->LockConsumer(&Consumer.token, bytes, kPatienceMs, &slot), 0u);
        if (!slot) return kept;
        uint8_t* address = nullptr;
        EXPECT_EQ(Consumer.rail->GetSlotAddress(slot, &address), 0u);
        kept.bytes.assign(address, address + bytes);
        for (const uint32_t type : {1u, 2u, 3u})
        {
            FLOW_RAIL_METADATA records[64];
            uint32_t count = 0;
            EXPECT_EQ(Consumer.rail->GetMetadata(slot, type, records, 64, &count), 0u);
            for (uint32_t i = 0; i < count; ++i)
                kept.records.push_back({records[i].Type, records[i].Position, records[i].Value});
        }
        EXPECT_EQ(Consumer.rail->UnlockConsumer(&Consumer.token, slot), 0u);
        return kept;
    }
    // Counters follow the slots by a moment.
    template <class Condition>
    static bool Await(Condition&& condition)
    {
        const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
        while (!condition() && std::chrono::steady_clock::now() < limit)
            std::this_thread::yield();
        return condition();
    }
    // Waits until the stream has read so many datagrams.
    NetworkCounters AwaitTransferred(uint64_t packets)
    {
        Await([&] { return Stream->Counters().transferredPackets >= packets; });
        return Stream->Counters();
    }
    // Waits until the loop has read all that was sent, whatever it did with it.
    void AwaitEmptySocket()
    {
        std::array<char, 32> local{};
        std::snprintf(local.data(), local.size(), "0100007F:%04X", static_cast<unsigned>(Port));
        const auto limit = std::chrono::steady_clock::now() + std::chrono::milliseconds(kPatienceMs);
        bool waiting = true;
        while (waiting && std::chrono::steady_clock::now() < limit)
        {
            waiting = false;
            std::ifstream sockets("/proc/net/udp");
            for (std::string line; std::getline(sockets, line);)
                if (line.find(local.data()) != std::string::npos && line.find(":00000000 00:") == std::string::npos)
                    waiting = true;
        }
        // Both return between two runs of the stream: the run that emptied the socket is over.
        IdleTask idle;
        Loop.Add(idle);
        Loop.Remove(idle);
    }
    static std::vector<Bytes> Frame(uint32_t seed, uint32_t sequence, PacketHead head = {})
    {
        return CutField(Picture(seed), kLineBytes, {.firstSequence = sequence, .timestamp = 3600 * seed}, head);
    }
    static Bytes Picture(uint32_t seed) { return Pattern(4 * kLineBytes, seed); }

    uint16_t Port = 0;
    ConductorLoop Loop;
    Rules Drops;
    CommonConfig Common;
    NetworkConfig Network;
    VideoConfig Video = SmallVideo();
    MediaSettings Settings;
    std::vector<std::string> Said;
    std::unique_ptr<MediaStream> Stream;
    struct
    {
        std::unique_ptr<CFlowRail> rail;
        uint64_t token = 0;
    } Consumer;
};

} // namespace

TEST_F(RtpReceiverTest, FramesOverUnicastArriveInTheRingByteForByte)
{
    StartAndAttach();
    const Sender sender;

    for (uint32_t frame = 1; frame <= 20; ++frame)
    {
        sender.Send(kLoopback, Port, Frame(frame, 4 * frame));
        const KeptSlot slot = Take();
        ASSERT_EQ(slot.bytes, Picture(frame)) << frame;
        EXPECT_EQ(slot.records, (std::vector<Record>{{1, 0, 3600 * frame}, {2, 79, 0}}));
    }

    const NetworkCounters counters = AwaitTransferred(80);
    EXPECT_EQ(counters.transferredPackets, 80u);
    EXPECT_EQ(counters.processedPackets, 80u);
    EXPECT_EQ(counters.lostPackets, 0u);
    EXPECT_EQ(counters.drops, 0u);
    EXPECT_EQ(counters.receivedSsrc, 0x11223344u);
    EXPECT_EQ(counters.payloadType, 96);
    const ProcessingTimes times = Stream->Times();
    EXPECT_GT(times.minimum, 0u);
    EXPECT_LE(times.minimum, times.mean);
    EXPECT_LE(times.mean, times.maximum);
    EXPECT_FALSE(Stream->BufferDelayed());
}

TEST_F(RtpReceiverTest, ALargeFrameInTheApplicationsFormatArrivesConverted)
{
    Video = SmallVideo(1920, 1080);
    Video.application = {.sampling = 1, .depth = 0, .padding = 1, .endianness = 1}; // 8 bits in 16, little endian
    StartAndAttach();
    const Sender sender;
    const size_t lineBytes = 1920 / 2 * 5;
    Bytes picture;
    for (size_t group = 0; group < size_t{1920} / 2 * 1080; ++group) // Cb 201, Y0 040, Cr 1FF, Y1 3AC
        picture.insert(picture.end(), {0x80, 0x44, 0x07, 0xFF, 0xAC});
    auto packets = CutField(picture, lineBytes, {.firstSequence = 0, .timestamp = 5});
    const uint64_t groupPackets = 20; // few enough at a time for a socket buffer of any size
    for (size_t at = 0; at < packets.size(); at += groupPackets)
    {
        const size_t end = std::min(packets.size(), at + groupPackets);
        sender.Send(kLoopback, Port,
                    std::vector<Bytes>(packets.begin() + static_cast<std::ptrdiff_t>(at),
                                       packets.begin() + static_cast<std::ptrdiff_t>(end)));
        AwaitTransferred(end);
    }

    const KeptSlot slot = Take();

    const Bytes expected{0x80, 0, 0x10, 0, 0x80, 0, 0xEB, 0};
    ASSERT_EQ(slot.bytes.size(), size_t{1920} * 1080 * 4);
    size_t wrong = 0;
    for (size_t at = 0; at < slot.bytes.size(); ++at)
        wrong += slot.bytes[at] != expected[at % 8];
    EXPECT_EQ(wrong, 0u);
    EXPECT_EQ(slot.records, (std::vector<Record>{{1, 0, 5}, {2, 8294399, 0}}));
}

TEST_F(RtpReceiverTest, ALostPacketIsToldInTheSlot)
{
    StartAndAttach();
    const Sender sender;
    auto packets = Frame(1, 100);
    packets.erase(packets.begin() + 1);
    sender.Send(kLoopback, Port, packets);

    const KeptSlot slot = Take();

    EXPECT_EQ(slot.records, (std::vector<Record>{{1, 0, 3600}, {2, 79, 0}, {3, 20, 20}}));
    EXPECT_TRUE(Await([&] { return Stream->Counters().lostPackets == 1; }));
}

TEST_F(RtpReceiverTest, APacketBehindItsSlotIsDelayedByTheTimeSinceThen)
{
    StartAndAttach();
    const Sender sender;
    auto packets = Frame(1, 100);
    const std::vector<Bytes> late(packets.begin() + 1, packets.begin() + 3);
    packets.erase(packets.begin() + 1, packets.begin() + 3);
    sender.Send(kLoopback, Port, packets);
    Take();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));

    NetworkCounters counters; // the biggest delay is that of the last second: a test that stands still tries again
    for (uint64_t sent = 0; sent < late.size() && counters.biggestDelayNs == 0;)
    {
        sender.Send(kLoopback, Port, {late[sent++]});
        ASSERT_TRUE(Await([&] { return Stream->Counters().delayedPackets == sent; }));
        counters = Stream->Counters();
    }
    EXPECT_LE(20'000'000u, counters.biggestDelayNs);
}

TEST_F(RtpReceiverTest, SlotsWithoutRoomAreDroppedAndCounted)
{
    Common.queueDepth = 2;
    StartAndAttach();
    const Sender sender;
    for (uint32_t frame = 1; frame <= 5; ++frame)
        sender.Send(kLoopback, Port, Frame(frame, 4 * frame));
    const NetworkCounters counters = AwaitTransferred(20);

    EXPECT_EQ(counters.drops, 3u);
    EXPECT_EQ(counters.processedPackets, 8u);
    EXPECT_EQ(counters.lostPackets, 0u);
    EXPECT_EQ(Stream->SlotsDropped(), 3u);
    EXPECT_TRUE(Stream->BufferDelayed());
    EXPECT_EQ(Take().bytes, Picture(1));
    EXPECT_EQ(Take().bytes, Picture(2));
    sender.Send(kLoopback, Port, Frame(6, 24));
    EXPECT_EQ(Take().bytes, Picture(6));
    AwaitTransferred(24);
    EXPECT_FALSE(Stream->BufferDelayed());
}

TEST_F(RtpReceiverTest, TwoConnectionsAreMergedIntoOnePicture)
{
    const uint16_t second = FreePort();
    Network.connections.push_back(Connection(kLoopback, second));
    StartAndAttach();
    const Sender sender;
    const auto packets = Frame(1, 100);
    sender.Send(kLoopback, Port, {packets[0], packets[1], packets[2]});
    sender.Send(kLoopback, second, {packets[0], packets[2], packets[3]});

    const KeptSlot slot = Take();

    EXPECT_EQ(slot.bytes, Picture(1));
    EXPECT_EQ(slot.records, (std::vector<Record>{{1, 0, 3600}, {2, 79, 0}}));
}

TEST_F(RtpReceiverTest, MulticastOnTheLoopbackIsReceived)
{
    const uint32_t group = 0xEFFF0000u | static_cast<uint32_t>(getpid() & 0xFFFF);
    Network.connections = {Connection(group, Port)};
    Network.connections[0].inclusion = true; // and nobody named: any source
    StartAndAttach();
    const Sender sender;

    sender.Send(group, Port, Frame(1, 100));

    EXPECT_EQ(Take().bytes, Picture(1));
}

TEST_F(RtpReceiverTest, OnlyTheIncludedSourcesOfAGroupAreHeard)
{
    const uint32_t group = 0xEFFE0000u | static_cast<uint32_t>(getpid() & 0xFFFF);
    for (const size_t sources : {size_t{1}, size_t{100}}) // the second number is more than the kernel holds
    {
        Network.connections = {Connection(group, Port)};
        Network.connections[0].inclusion = true;
        for (size_t i = 0; i < sources; ++i)
            Network.connections[0].sources.push_back(0x7F000002u + static_cast<uint32_t>(i));
        StartAndAttach();
        const Sender wanted(2);
        const Sender other(200);

        other.Send(group, Port, Frame(1, 100));
        wanted.Send(group, Port, Frame(2, 200));

        EXPECT_EQ(Take().bytes, Picture(2)) << sources;
        TearDown();
        Consumer.rail.reset();
    }
}

TEST_F(RtpReceiverTest, ExcludedSourcesOfAGroupAreNotHeard)
{
    const uint32_t group = 0xEFFD0000u | static_cast<uint32_t>(getpid() & 0xFFFF);
    for (const size_t sources : {size_t{1}, size_t{100}})
    {
        Network.connections = {Connection(group, Port)};
        for (size_t i = 0; i < sources; ++i)
            Network.connections[0].sources.push_back(0x7F000002u + static_cast<uint32_t>(i));
        StartAndAttach();
        const Sender excluded(2);
        const Sender welcome(200);

        excluded.Send(group, Port, Frame(1, 100));
        welcome.Send(group, Port, Frame(2, 200));

        EXPECT_EQ(Take().bytes, Picture(2)) << sources;
        TearDown();
        Consumer.rail.reset();
    }
}

TEST_F(RtpReceiverTest, DatagramsOfADroppedPortAreIgnoredAndAreNoLoss)
{
    Drops.Port = Port;
    StartAndAttach();
    const Sender sender;
    sender.Send(kLoopback, Port, Frame(1, 100));
    EXPECT_EQ(Take().bytes, Picture(1));

    Drops.Dropping = true;
    sender.Send(kLoopback, Port, Frame(2, 104));
    AwaitEmptySocket();
    Drops.Dropping = false;
    sender.Send(kLoopback, Port, Frame(3, 108));

    EXPECT_EQ(Take().bytes, Picture(3));
    EXPECT_EQ(Stream->Counters().lostPackets, 0u);
    EXPECT_EQ(AwaitTransferred(8).transferredPackets, 8u);
}

TEST_F(RtpReceiverTest, AStoppedStreamLeavesNoRingAndStartsAgain)
{
    StartAndAttach();
    const Sender sender;
    sender.Send(kLoopback, Port, Frame(1, 100));
    EXPECT_EQ(Take().bytes, Picture(1));
    const std::string name = Stream->RailDescription().find("Name")->second;
    EXPECT_EQ(name.rfind(kRailNamePrefix, 0), 0u);
    EXPECT_EQ(RailFiles(name), 1u);

    Consumer.rail.reset();
    Stream->Stop();

    EXPECT_FALSE(Stream->IsRunning());
    EXPECT_TRUE(Stream->RailDescription().empty());
    EXPECT_EQ(RailFiles(name), 0u);
    EXPECT_EQ(Stream->Counters().transferredPackets, 4u); // counters stay
    ASSERT_EQ(Stream->Start(Loop).code, 0u);
    EXPECT_EQ(Stream->Counters().transferredPackets, 0u);
    EXPECT_EQ(Stream->Start(Loop).code, 9u);
}

TEST_F(RtpReceiverTest, ABadConfigurationIsRefusedWithItsCode)
{
    Common.queueDepth = 0;
    EXPECT_EQ(Start().code, 4u);
    Common.queueDepth = 4;
    Network.connections[0].networkInterfaceId = 0;
    EXPECT_EQ(Start().code, 4u);
    Network.connections[0].networkInterfaceId = kInterface;
    Video.packingMode = 1;
    EXPECT_EQ(Start().code, 2u);
    Video.packingMode = 0;
    EXPECT_EQ(Start().code, 0u);
}

TEST_F(RtpReceiverTest, ARingBeyondTheLimitIsRefusedWith10)
{
    Settings.memoryLimitBytes = 4215183; // four slots of 80 bytes: five times 80 + 4096, and 4 MiB
    EXPECT_EQ(Start().code, 10u);
    Settings.memoryLimitBytes = 4215184;
    EXPECT_EQ(Start().code, 0u);
    Stream->Stop();
    Settings.memoryLimitBytes = UINT64_MAX;
    Video = SmallVideo(4096, 2160);
    Common.queueDepth = 400;
    EXPECT_EQ(Start().code, 10u); // 4 GiB
}

TEST_F(RtpReceiverTest, TheRecordsOfManySmallSlotsCountForTheLimit)
{
    Settings.memoryLimitBytes = 64 << 20;
    Video = SmallVideo(2, 1);
    Common.queueDepth = 65536; // 320 KiB of samples

    EXPECT_EQ(Start().code, 10u);
}

TEST_F(RtpReceiverTest, ARailTakesNoMoreMemoryThanIsCountedForIt)
{
    for (const auto& [width, height, depth] : {std::tuple{2u, 1u, 1u}, {2u, 1u, 3000u}, {1920u, 1080u, 4u}})
    {
        Video = SmallVideo(width, height);
        Common.queueDepth = depth;
        ASSERT_EQ(Start().code, 0u);
        const std::string name = Stream->RailDescription().find("Name")->second;
        EXPECT_LE(std::filesystem::file_size("/dev/shm/flowrail1." + name.substr(1)),
                  RingBytes(LayoutOf(Video).lockSize, depth));
        Stream->Stop();
    }
}

TEST_F(RtpReceiverTest, MoreSlotsThanARailHasAreRefusedWith4)
{
    Common.queueDepth = 65537;
    const Outcome outcome = Start();

    EXPECT_EQ(outcome.code, 4u);
    EXPECT_NE(outcome.message.find("\"ApplicativeBufferQueueDepth\""), std::string::npos) << outcome.message;
}

TEST_F(RtpReceiverTest, PacketsOfNoUseAreSaidOnceAndAgainAtTheStopWhenThereAreMore)
{
    StartAndAttach();
    Said.clear(); // of the socket's buffer
    const Sender sender;
    sender.Send(kLoopback, Port, Frame(1, 100, {.payloadType = 97}));
    AwaitEmptySocket();

    EXPECT_EQ(Stream->Counters().processedPackets, 0u);
    EXPECT_EQ(Stream->Counters().transferredPackets, 4u);
    const std::vector<std::string> first{
        "4 packets were of no use: 0 malformed, 4 of another payload type, 0 of another source."};
    EXPECT_EQ(Said, first);

    Said.clear();
    sender.Send(kLoopback, Port, {Bytes(11, 0x80)});
    sender.Send(kLoopback, Port, Frame(1, 100));
    sender.Send(kLoopback, Port, Frame(2, 104, {.ssrc = 5}));
    AwaitEmptySocket();
    EXPECT_EQ(Stream->Counters().processedPackets, 4u);
    EXPECT_TRUE(Said.empty());
    Stream->Stop();
    EXPECT_EQ(Said, std::vector<std::string>{
                        "9 packets were of no use: 1 malformed, 4 of another payload type, 4 of another source."});
}

TEST_F(RtpReceiverTest, ADatagramWithoutAByteIsAMalformedOne)
{
    StartAndAttach();
    Said.clear();
    const Sender sender;
    sender.Send(kLoopback, Port, {Bytes{}, Bytes{}});
    AwaitEmptySocket();

    EXPECT_EQ(Stream->Counters().transferredPackets, 2u);
    EXPECT_EQ(Said, std::vector<std::string>{
                        "2 packets were of no use: 2 malformed, 0 of another payload type, 0 of another source."});
}

TEST_F(RtpReceiverTest, AStreamWhosePacketsAreAllOfUseSaysNothingAtTheStop)
{
    StartAndAttach();
    Said.clear();
    const Sender sender;
    sender.Send(kLoopback, Port, Frame(1, 100));
    EXPECT_EQ(Take().bytes, Picture(1));
    Stream->Stop();

    EXPECT_TRUE(Said.empty());
}

TEST_F(RtpReceiverTest, DatagramsOfAnyKindBetweenThoseOfAFrameLeaveItAsItWasSent)
{
    StartAndAttach();
    const Sender sender;
    const auto packets = Frame(1, 100);
    Bytes overlong = MakePacket({.sequence = 104, .timestamp = 3600}, {{false, 1, 0, Bytes(kLineBytes, 7)}});
    overlong[14] = 0xFF; // a length of more than 65,000 in a packet of 40 bytes
    Bytes otherVersion = packets[0];
    otherVersion[0] = 0x40;
    std::vector<Bytes> mixed;
    for (size_t line = 0; line < packets.size(); ++line)
    {
        const auto sequence = static_cast<uint32_t>(100 + line);
        mixed.push_back(Bytes(line * 5, 0xFF)); // the first is empty
        mixed.push_back(otherVersion);
        mixed.push_back(MakePacket({.sequence = sequence, .timestamp = 3600, .payloadType = 97},
                                   {{false, static_cast<uint16_t>(line), 0, Bytes(kLineBytes, 1)}}));
        mixed.push_back(packets[line]);
        mixed.push_back(MakePacket({.sequence = sequence, .timestamp = 3600, .ssrc = 5},
                                   {{false, static_cast<uint16_t>(line), 0, Bytes(kLineBytes, 2)}}));
        if (line + 1 == packets.size()) break;
        // These have the numbers of packets that were there: whatever they hold, they are no use a second time.
        mixed.push_back(MakePacket({.sequence = sequence, .timestamp = 3600}, {{false, 4, 0, Bytes(kLineBytes, 3)}}));
        mixed.push_back(MakePacket({.sequence = sequence, .timestamp = 3600}, {{true, 0, 0, Bytes(kLineBytes, 4)}}));
        mixed.push_back(MakePacket({.sequence = sequence, .timestamp = 3600}, {{false, 0, 2, Bytes(kLineBytes, 5)}}));
    }
    // And these have numbers of their own: refused for what they hold, before the last line arrives.
    const std::vector<Bytes> refused{
        overlong, MakePacket({.sequence = 105, .timestamp = 3600}, {{false, 4, 0, Bytes(kLineBytes, 3)}}),
        MakePacket({.sequence = 106, .timestamp = 3600}, {{true, 0, 0, Bytes(kLineBytes, 4)}}),
        MakePacket({.sequence = 107, .timestamp = 3600}, {{false, 0, 2, Bytes(kLineBytes, 5)}}),
        MakePacket({.sequence = 108, .timestamp = 3600}, {{false, 0, 0, Bytes(7, 6)}})};
    mixed.insert(mixed.end() - 2, refused.begin(), refused.end());
    sender.Send(kLoopback, Port, mixed);

    const KeptSlot slot = Take();

    EXPECT_EQ(slot.bytes, Picture(1));
    EXPECT_EQ(slot.records, (std::vector<Record>{{1, 0, 3600}, {2, 79, 0}}));
    AwaitEmptySocket();
    EXPECT_EQ(Stream->Counters().processedPackets, 4u);
}

TEST_F(RtpReceiverTest, AnAddressThatTheMachineDoesNotHaveIsRefusedWith10)
{
    Network.connections[0].destinationIp = 0xC0000201; // for documentation only
    const Outcome outcome = Start();
    EXPECT_EQ(outcome.code, 10u);
    EXPECT_NE(outcome.message.find("192.0.2.1"), std::string::npos) << outcome.message;
    EXPECT_FALSE(Stream->IsRunning());
    EXPECT_TRUE(Stream->RailDescription().empty());
}

TEST_F(RtpReceiverTest, AMulticastGroupOnAnInterfaceWithoutAnAddressIsRefusedWith10)
{
    Network.connections[0].destinationIp = 0xEFFC0001;
    Network.connections[0].interfaceAddress = 0;

    EXPECT_EQ(Start().code, 10u);
}

TEST_F(RtpReceiverTest, NoAddressOnAnInterfaceWithoutAnAddressIsRefusedWith10AndNotTakenForAll)
{
    Network.connections[0].destinationIp = 0;
    Network.connections[0].interfaceAddress = 0;

    EXPECT_EQ(Start().code, 10u);
}

TEST_F(RtpReceiverTest, AUnicastPortHasOneOwner)
{
    StartAndAttach();
    auto other = MakeMediaStream(Direction::Receive, Common, Network, Video, Settings, Drops);

    EXPECT_EQ(other->Start(Loop).code, 10u);
}

TEST_F(RtpReceiverTest, ASocketBufferThatTheSystemDoesNotGiveIsSaid)
{
    Network.socketBufferSize = UINT32_MAX; // more than any socket gets
    ASSERT_EQ(Start().code, 0u);

    ASSERT_EQ(Said.size(), 1u);
    EXPECT_NE(Said[0].find("4294967295"), std::string::npos) << Said[0];
}

// From packets on the loopback to the samples of a slot, through a service in a process of its own.
#include "Road.h"

#include <fstream>
#include <iomanip>
#include <sstream>

using namespace test;

namespace
{

struct FormatCase
{
    const char* name;
    int32_t standard;
    uint32_t sampling;
    uint32_t depthCode;
    uint32_t bits;
    uint32_t width, height, fields;
    bool oneTimestamp = false; // for both fields
};

const FormatCase kFormats[] = {
    {"YCbCr422_8_Progressive", ZEFA_VIDEO_STANDARD_1280X720_P_50, 0, 0, 8, 1280, 720, 1},
    {"YCbCr422_10_Progressive", ZEFA_VIDEO_STANDARD_1920X1080_P_25, 0, 1, 10, 1920, 1080, 1},
    {"YCbCr422_12_Progressive", ZEFA_VIDEO_STANDARD_1280X720_P_50, 0, 2, 12, 1280, 720, 1},
    {"YCbCr444_8_Progressive", ZEFA_VIDEO_STANDARD_1280X720_P_50, 1, 0, 8, 1280, 720, 1},
    {"YCbCr444_10_Progressive", ZEFA_VIDEO_STANDARD_1280X720_P_50, 1, 1, 10, 1280, 720, 1},
    {"YCbCr444_12_Progressive", ZEFA_VIDEO_STANDARD_1280X720_P_50, 1, 2, 12, 1280, 720, 1},
    {"RGB_8_Progressive", ZEFA_VIDEO_STANDARD_1280X720_P_50, 4, 0, 8, 1280, 720, 1},
    {"RGB_10_Progressive", ZEFA_VIDEO_STANDARD_1280X720_P_50, 4, 1, 10, 1280, 720, 1},
    {"RGB_12_Progressive", ZEFA_VIDEO_STANDARD_1280X720_P_50, 4, 2, 12, 1280, 720, 1},
    {"YCbCr422_10_Interlaced576", ZEFA_VIDEO_STANDARD_720X576_I_50, 0, 1, 10, 720, 576, 2},
    {"YCbCr422_10_Interlaced487", ZEFA_VIDEO_STANDARD_720X487_I_59_94, 0, 1, 10, 720, 487, 2},
    {"RGB_12_Interlaced1080", ZEFA_VIDEO_STANDARD_1920X1080_I_50, 4, 2, 12, 1920, 1080, 2},
    {"YCbCr422_10_Segmented", ZEFA_VIDEO_STANDARD_1920X1080_I_50, 0, 1, 10, 1920, 1080, 2, true},
    {"YCbCr422_10_2160", ZEFA_VIDEO_STANDARD_3840X2160_P_25, 0, 1, 10, 3840, 2160, 1},
};

class PictureFormat : public testing::TestWithParam<FormatCase>
{
};

TEST_P(PictureFormat, EverySampleAndTimestampArrivesAsItWasSent)
{
    const FormatCase& format = GetParam();
    MxsProcess service;
    Session session(service.ServiceUrl());
    StreamSettings settings;
    settings.standard = format.standard;
    settings.sampling = format.sampling;
    settings.networkDepth = settings.applicationDepth = format.depthCode;
    settings.port = FreeUdpPort();
    ReceiveStream stream(session, settings);
    stream.Start();
    const PixelGroup& group = PixelGroupOf(format.sampling, format.bits);
    VideoSender sender({.port = settings.port});

    // Fields of 487 lines: the first has one more.
    const uint32_t lines[] = {(format.height + format.fields - 1) / format.fields, format.height / format.fields};
    const uint32_t fieldTicks = format.oneTimestamp ? 0 : 1800;
    std::vector<Raster> rasters;
    for (uint32_t field = 0; field < format.fields; ++field)
        rasters.push_back(MakeRaster(format.width, lines[field], group, 7 + field));
    SendLeadIn(sender, rasters.back(), group, 5000);
    for (uint32_t field = 0; field < format.fields; ++field)
    {
        const std::vector<Packet> packets =
            sender.Packets(rasters[field], group, 90000 + field * fieldTicks, field == 1);
        for (size_t i = 0; i < packets.size(); ++i)
        {
            sender.Send(packets[i]);
            if (i % 256 == 255) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    std::vector<SlotBuffer> slot = TakeSlot(stream, format.fields);
    ASSERT_EQ(format.fields, slot.size());
    for (uint32_t field = 0; field < format.fields; ++field)
    {
        EXPECT_TRUE(slot[field].losses.empty());
        EXPECT_TRUE(slot[field].Words() == rasters[field].samples) << "samples of field " << field;
        ASSERT_EQ(1u, slot[field].timestamps.size());
        EXPECT_EQ(0u, slot[field].timestamps[0].Position_UL);
        EXPECT_EQ(90000 + field * fieldTicks, slot[field].timestamps[0].Value_UL);
    }
    EXPECT_TRUE(Await([&] { return stream.NetworkStatus().ReceivedSSRC_UL == 0x5EED0001u; }));
    EXPECT_EQ(0u, stream.NetworkStatus().LostPacketsCount_ULL);
    EXPECT_EQ(96, stream.NetworkStatus().PayloadType_UB);
}

INSTANTIATE_TEST_SUITE_P(Formats, PictureFormat, testing::ValuesIn(kFormats),
                         [](const auto& instance) { return instance.param.name; });

class Picture : public testing::Test
{
protected:
    MxsProcess Service;
    Session With{Service.ServiceUrl()};
    StreamSettings Settings{.port = FreeUdpPort()};
    const PixelGroup& Group = PixelGroupOf(0, 10);
    Raster Frame = MakeRaster(1280, 720, Group, 3);
    VideoSender Sender{{.port = Settings.port}};

    void SendFrame(uint32_t timestamp, const std::function<bool(size_t)>& leaveOut = nullptr)
    {
        Sender.Send(Sender.Packets(Frame, Group, timestamp), leaveOut);
    }

    // Until the service has read all that was sent to the port, whatever it did with it.
    static bool AwaitEmptySocket(uint16_t port)
    {
        std::ostringstream local;
        local << "0100007F:" << std::hex << std::uppercase << std::setw(4) << std::setfill('0') << port;
        return Await(
            [&]
            {
                std::ifstream sockets("/proc/net/udp");
                for (std::string line; std::getline(sockets, line);)
                    if (line.find(local.str()) != std::string::npos && line.find(":00000000 00:") == std::string::npos)
                        return false;
                return true;
            });
    }
};

TEST_F(Picture, LostPacketsAreMarkedWhereTheyBelongAndFilledWithBlack)
{
    ReceiveStream stream(With, Settings);
    stream.Start();
    SendLeadIn(Sender, Frame, Group, 1000);

    const std::vector<Packet> packets = Sender.Packets(Frame, Group, 2000);
    Sender.Send(packets, [](size_t i) { return i == 100 || i == 101 || i == 500; });
    const std::vector<SlotBuffer> slot = TakeSlot(stream);

    ASSERT_EQ(1u, slot.size());
    // Five bytes on the network are four words of two bytes in the slot.
    const auto inSlot = [](uint32_t networkBytes) { return networkBytes / 5 * 8; };
    ASSERT_EQ(2u, slot[0].losses.size());
    EXPECT_EQ(inSlot(packets[100].slotOffset), slot[0].losses[0].Position_UL);
    EXPECT_EQ(inSlot(packets[100].payloadBytes + packets[101].payloadBytes), slot[0].losses[0].Size_UL);
    EXPECT_EQ(inSlot(packets[500].slotOffset), slot[0].losses[1].Position_UL);
    EXPECT_EQ(inSlot(packets[500].payloadBytes), slot[0].losses[1].Size_UL);
    const std::vector<uint16_t> words = slot[0].Words();
    const size_t hole = slot[0].losses[0].Position_UL / 2;
    EXPECT_EQ((std::vector<uint16_t>{512, 64, 512, 64}),
              std::vector<uint16_t>(words.begin() + long(hole), words.begin() + long(hole) + 4));
    EXPECT_EQ(Frame.samples[hole - 1], words[hole - 1]);
    EXPECT_TRUE(Await([&] { return stream.NetworkStatus().LostPacketsCount_ULL == 3; }));
}

TEST_F(Picture, PacketsOutOfOrderAndDoubledMakeTheSamePicture)
{
    ReceiveStream stream(With, Settings);
    stream.Start();
    SendLeadIn(Sender, Frame, Group, 1000);

    std::vector<Packet> packets = Sender.Packets(Frame, Group, 2000);
    for (size_t i = 0; i + 8 < packets.size(); i += 8)
    {
        std::swap(packets[i], packets[i + 5]);
    }
    for (const Packet& packet : packets)
    {
        Sender.Send(packet);
        if (packet.slotOffset % 7 == 0) Sender.Send(packet);
    }
    const std::vector<SlotBuffer> slot = TakeSlot(stream);

    ASSERT_EQ(1u, slot.size());
    EXPECT_TRUE(slot[0].Words() == Frame.samples);
    EXPECT_TRUE(slot[0].losses.empty());
    EXPECT_EQ(0u, stream.NetworkStatus().LostPacketsCount_ULL);
}

TEST_F(Picture, AnApplicationThatStopsReadingLosesSlotsAndTheRestIsRight)
{
    ReceiveStream stream(With, Settings);
    stream.Start();
    SendLeadIn(Sender, Frame, Group, 1000);
    constexpr uint32_t kFrames = 11;
    for (uint32_t i = 0; i < kFrames; ++i)
    {
        SendFrame(2000 + i * 1800);
        ASSERT_TRUE(Await(
            [&]
            {
                const ZEFA_STREAM_COMMON_STATUS status = stream.CommonStatus();
                return status.SlotsFilled_UL + status.SlotDropped_UL == i + 1;
            }));
    }

    uint32_t taken = 0;
    while (taken < 4)
    {
        const std::vector<SlotBuffer> slot = TakeSlot(stream);
        ASSERT_EQ(1u, slot.size());
        EXPECT_TRUE(slot[0].Words() == Frame.samples);
        EXPECT_EQ(2000 + taken * 1800, slot[0].timestamps.at(0).Value_UL); // the oldest stay, the newest are dropped
        ++taken;
    }
    EXPECT_EQ(kFrames - 4, stream.CommonStatus().SlotDropped_UL);
    EXPECT_EQ(taken, stream.CommonStatus().SlotCount_UL);

    SendFrame(900000);
    SendFrame(901800);
    std::vector<SlotBuffer> later = TakeSlot(stream);
    while (!later.empty() && later[0].timestamps.at(0).Value_UL != 900000)
        later = TakeSlot(stream);
    ASSERT_EQ(1u, later.size());
    EXPECT_TRUE(later[0].Words() == Frame.samples);
}

TEST_F(Picture, ASecondStartAlignsAgainAndReceives)
{
    ReceiveStream stream(With, Settings);
    for (uint32_t start = 0; start < 3; ++start)
    {
        stream.Start();
        SendLeadIn(Sender, Frame, Group, 1000 + start);
        SendFrame(50000 + start);
        const std::vector<SlotBuffer> slot = TakeSlot(stream);
        ASSERT_EQ(1u, slot.size()) << "start " << start;
        EXPECT_EQ(50000 + start, slot[0].timestamps.at(0).Value_UL);
        EXPECT_TRUE(slot[0].Words() == Frame.samples);
        stream.Stop();
    }
}

TEST_F(Picture, ALockThatTimesOutSaysSoAndTheNextOneGetsTheFrame)
{
    Settings.lockTimeoutMs = 50;
    ReceiveStream stream(With, Settings);
    stream.Start();
    ZEFA_SLOT none = nullptr;
    EXPECT_EQ(ZEFA_ERR_TIMEOUT, ZEFA_LockSlot(stream.Handle, &none));

    SendLeadIn(Sender, Frame, Group, 1000);
    SendFrame(2000);
    for (int i = 0; i < 1000 && stream.CommonStatus().SlotsFilled_UL == 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const std::vector<SlotBuffer> slot = TakeSlot(stream);

    ASSERT_EQ(1u, slot.size());
    EXPECT_TRUE(slot[0].Words() == Frame.samples);
    EXPECT_EQ(1u, stream.CommonStatus().SlotCount_UL) << "a lock that ran out of time does not count";
}

TEST_F(Picture, ADroppedUdpPortGivesNothingAndAnAllowedOneThePicture)
{
    const uint64_t interface = InterfaceNamed(With.Context, "lo");
    Settings.lockTimeoutMs = 300;
    ReceiveStream stream(With, Settings);
    ZEFA_OK(ZEFA_DPDK_DropUdpPort(With.Context, interface, Settings.port));
    stream.Start();
    SendLeadIn(Sender, Frame, Group, 1000);
    SendFrame(2000);
    ASSERT_TRUE(AwaitEmptySocket(Settings.port));
    EXPECT_TRUE(TakeSlot(stream).empty());

    ZEFA_OK(ZEFA_DPDK_AllowUdpPort(With.Context, interface, Settings.port));
    EXPECT_EQ(ZEFA_ERR_NOT_FOUND, ZEFA_DPDK_AllowUdpPort(With.Context, interface, Settings.port));
    SendLeadIn(Sender, Frame, Group, 3000);
    SendFrame(4000);
    std::vector<SlotBuffer> slot;
    ASSERT_TRUE(Await([&] { return !slot.empty() || !(slot = TakeSlot(stream)).empty(); }));
    EXPECT_TRUE(slot[0].Words() == Frame.samples);
    EXPECT_EQ(4000u, slot[0].timestamps.at(0).Value_UL);
}

constexpr uint32_t kGroupAddress = 0xEF64010A; // 239.100.1.10
constexpr uint32_t kGoodSource = INADDR_LOOPBACK + 1, kOtherSource = INADDR_LOOPBACK + 2;

struct FilterCase
{
    const char* name;
    uint32_t mode;
    std::vector<uint32_t> sources;
    bool goodArrives, otherArrives;
};

class MulticastFilter : public testing::TestWithParam<FilterCase>
{
};

TEST_P(MulticastFilter, OnlyTheSourcesThatItLetsThroughArrive)
{
    MxsProcess service;
    Session session(service.ServiceUrl());
    StreamSettings settings;
    settings.port = FreeUdpPort();
    settings.destination = kGroupAddress;
    settings.multicastMode = GetParam().mode;
    settings.sources = GetParam().sources;
    const PixelGroup& group = PixelGroupOf(0, 10);
    const Raster frame = MakeRaster(1280, 720, group, 3);
    for (const auto& [source, arrives] :
         {std::pair{kGoodSource, GetParam().goodArrives}, std::pair{kOtherSource, GetParam().otherArrives}})
    {
        settings.lockTimeoutMs = arrives ? 20000 : 500;
        ReceiveStream stream(session, settings);
        stream.Start();
        VideoSender sender({.destination = kGroupAddress, .port = settings.port, .source = source});
        SendLeadIn(sender, frame, group, 1000);
        sender.Send(sender.Packets(frame, group, 2000));
        EXPECT_EQ(arrives, !TakeSlot(stream).empty()) << "source 127.0.0." << (source & 255);
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, MulticastFilter,
                         testing::Values(FilterCase{"InclusionWithoutSources", 0, {}, true, true},
                                         FilterCase{"InclusionOfOne", 0, {kGoodSource}, true, false},
                                         FilterCase{"ExclusionWithoutSources", 1, {}, true, true},
                                         FilterCase{"ExclusionOfOne", 1, {kOtherSource}, true, false}),
                         [](const auto& instance) { return instance.param.name; });

} // namespace

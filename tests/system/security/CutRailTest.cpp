// A program that cuts the file of its ring short: its own stream ends, the service and everybody else go on.
#include "support/LostService.h"
#include "support/Rails.h"
#include "system/road/Road.h"

#include <filesystem>
#include <flowrail1.h>
#include <unistd.h>

using namespace test;

namespace
{

constexpr const char* kStopped = "has to be stopped: another program cut the file of its ring short.";

class CutRail : public testing::Test
{
protected:
    CutRail()
    {
        // This process has both rings mapped and must outlive the cut as well, to look at what becomes of the service.
        EXPECT_TRUE(CFlowRailFactory::SurviveCutRails());
    }

    static StreamSettings OnAFreePort()
    {
        StreamSettings settings;
        settings.port = FreeUdpPort();
        return settings;
    }

    enum class Stream
    {
        Started, // anew: waits for the end of a frame
        Runs
    };

    // A picture sent to the stream's port arrives in its slots.
    void ExpectPicture(ReceiveStream& stream, VideoSender& sender, Stream state)
    {
        const Raster raster = MakeRaster(1280, 720, Group, ++Pictures);
        if (state == Stream::Started) SendLeadIn(sender, raster, Group, 2 * Pictures);
        sender.Send(sender.Packets(raster, Group, 2 * Pictures + 1));
        const std::vector<SlotBuffer> slot = TakeSlot(stream);
        ASSERT_EQ(1u, slot.size());
        EXPECT_TRUE(slot[0].Words() == raster.samples);
    }

    // The stream is started. Cuts its ring and waits for what the service says.
    void CutAndAwait(VideoStream& stream, const std::string& rail, uint16_t port)
    {
        ASSERT_EQ(0, ::truncate(rail.c_str(), 0));
        const Raster raster = MakeRaster(1280, 720, Group, 77);
        VideoSender sender({.port = port}); // so that a receiver has something to write
        uint32_t timestamp = 1000;
        EXPECT_TRUE(Await(
            [&]
            {
                sender.Send(sender.Packets(raster, Group, ++timestamp));
                return Service.Log().find(kStopped) != std::string::npos;
            }))
            << Service.Log();
        EXPECT_TRUE(Service.Running()) << Service.Log();
        ZEFA_STREAM_NETWORK_STATUS network{};
        EXPECT_NE(ZEFA_NO_ERROR, ZEFA_GetStreamNetworkStatus(stream.Handle, &network));
        EXPECT_FALSE(std::filesystem::exists(rail));
    }

    const PixelGroup& Group = PixelGroupOf(0, 10);
    uint32_t Pictures = 0;
    MxsProcess Service;
};

TEST_F(CutRail, EndsTheReceivingStreamThatHasItAndNoOther)
{
    Session session(Service.ServiceUrl());
    const StreamSettings cutSettings = OnAFreePort(), otherSettings = OnAFreePort();
    ReceiveStream cut(session, cutSettings), other(session, otherSettings);
    cut.Start();
    const std::vector<std::string> rails = RailsOf(Service.ProcessId());
    ASSERT_EQ(1u, rails.size());
    other.Start();
    VideoSender toCut({.port = cutSettings.port}), toOther({.port = otherSettings.port});
    ExpectPicture(cut, toCut, Stream::Started);
    ExpectPicture(other, toOther, Stream::Started);

    CutAndAwait(cut, rails[0], cutSettings.port);
    ExpectPicture(other, toOther, Stream::Runs);

    cut.Stop(); // for the service it is stopped already
    cut.Start();
    ExpectPicture(cut, toCut, Stream::Started);
    EXPECT_EQ(96u, cut.NetworkStatus().PayloadType_UB);
    other.Stop();
    other.Start();
    ExpectPicture(other, toOther, Stream::Started);
}

TEST_F(CutRail, EndsTheSendingStreamThatHasItAndNoOther)
{
    Session session(Service.ServiceUrl());
    const StreamSettings otherSettings = OnAFreePort();
    ReceiveStream other(session, otherSettings);
    other.Start();
    const std::vector<std::string> before = RailsOf(Service.ProcessId());
    SendStream cut(session, OnAFreePort());
    cut.Start();
    std::vector<std::string> rails = RailsOf(Service.ProcessId());
    std::erase(rails, before.at(0));
    ASSERT_EQ(1u, rails.size());

    CutAndAwait(cut, rails[0], FreeUdpPort());
    VideoSender toOther({.port = otherSettings.port});
    ExpectPicture(other, toOther, Stream::Started);

    cut.Stop();
    cut.Start();
    cut.Stop();
    ZEFA_OK(ZEFA_CloseStream(cut.Handle));
    ZEFA_OK(ZEFA_OpenStream(cut.Handle));
}

TEST_F(CutRail, IsNoHindranceToTheEndOfTheService)
{
    Session session(Service.ServiceUrl());
    SendStream stream(session, OnAFreePort());
    stream.Start();
    const std::vector<std::string> rails = RailsOf(Service.ProcessId());
    ASSERT_EQ(1u, rails.size());
    ASSERT_EQ(0, ::truncate(rails[0].c_str(), 0));

    EXPECT_EQ(0, Service.Stop());
    EXPECT_FALSE(std::filesystem::exists(rails[0]));
    EXPECT_EQ(ZEFA_ERR_COMMUNICATION, ZEFA_StopStream(stream.Handle));
    stream.Abandon();
    DestroyLostContext(Service.Port(), session.Context);
}

} // namespace

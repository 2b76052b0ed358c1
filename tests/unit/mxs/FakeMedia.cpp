// The four functions of the media side and its stream, without sockets or rails.
#include "FakeMedia.h"

#include <atomic>
#include <new>
#include <stdexcept>

namespace test
{

FakeMedia& Fake()
{
    static FakeMedia fake;
    return fake;
}

namespace
{

class FakeStream : public mxs::media::MediaStream
{
public:
    ~FakeStream() override { Stop(); }

    mxs::media::Outcome Start(mxs::media::ConductorLoop&) override
    {
        if (Fake().onStart) Fake().onStart();
        if (Fake().throwNoMemory) throw std::bad_alloc();
        if (!Fake().throwError.empty()) throw std::runtime_error(Fake().throwError);
        if (Fake().startOutcome.Failed()) return Fake().startOutcome;
        Running = true;
        ++Fake().running;
        return {};
    }

    void Stop() override
    {
        if (Running) --Fake().running;
        Running = false;
    }

    bool IsRunning() const override { return Running; }
    bool IsDamaged() const override { return Running && std::atomic_ref(Fake().damaged).load(); }
    std::multimap<std::string, std::string> RailDescription() const override
    {
        return Running ? Fake().description : std::multimap<std::string, std::string>{};
    }
    mxs::media::NetworkCounters Counters() const override { return Fake().counters; }
    mxs::media::ProcessingTimes Times() const override { return Fake().times; }
    uint32_t SlotsDropped() const override { return Fake().slotsDropped; }
    bool BufferDelayed() const override { return Fake().bufferDelayed; }

private:
    bool Running = false;
};

} // namespace
} // namespace test

namespace mxs::media
{

Outcome CheckEssence(Direction, const EssenceConfig& essence)
{
    if (test::Fake().essenceOutcome.Failed()) return test::Fake().essenceOutcome;
    const auto* video = std::get_if<VideoConfig>(&essence);
    if (video && video->width == 0) return {4, "The width is 0."};
    return {};
}

Outcome CheckNetwork(Direction, const NetworkConfig& network)
{
    if (network.payloadType > 127) return {4, "The payload type is above 127."};
    return {};
}

// Video: 2 bytes a pixel, and a second buffer when interlaced.
SlotLayout LayoutOf(const EssenceConfig& essence)
{
    SlotLayout layout;
    const auto* video = std::get_if<VideoConfig>(&essence);
    if (!video) return layout;
    layout.lockSize = video->width * video->height * 2;
    const uint64_t buffers = video->interlaced ? 2 : 1;
    for (uint32_t number = 0; number < buffers; ++number)
        layout.buffers[number] = {number * layout.lockSize / buffers, layout.lockSize / buffers};
    return layout;
}

std::unique_ptr<MediaStream> MakeMediaStream(Direction, const CommonConfig& common, const NetworkConfig& network,
                                             const EssenceConfig& essence, const MediaSettings&, const PortDropRules&)
{
    test::Fake().lastCommon = common;
    test::Fake().lastNetwork = network;
    if (const auto* video = std::get_if<VideoConfig>(&essence)) test::Fake().lastVideo = *video;
    return std::make_unique<test::FakeStream>();
}

} // namespace mxs::media

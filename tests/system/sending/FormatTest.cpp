// Every format that an application can ask for, from a sender's slot over every depth of the network to a receiver's.
#include "Pictures.h"

#include <tuple>

using namespace test;

namespace
{

struct FormatCase
{
    const char* name;
    uint32_t sampling;
    int32_t standard;
    size_t pixels; // of a buffer
    uint32_t buffers;
    bool everyOrder; // of the bytes with every pair of depths; else each in turn, so that every format has both
};

constexpr FormatCase Interlaced(const char* name, uint32_t sampling, bool everyOrder)
{
    return {name, sampling, ZEFA_VIDEO_STANDARD_720X576_I_50, size_t{720} * 288, 2, everyOrder};
}

constexpr FormatCase Progressive(const char* name, uint32_t sampling)
{
    return {name, sampling, ZEFA_VIDEO_STANDARD_1280X720_P_60, size_t{1280} * 720, 1, true};
}

// What a network of fewer bits leaves of a sample: the nearest of its own numbers, halves up, and none above its
// highest. What it lacks comes back as 0.
uint16_t Travelled(uint16_t sample, uint32_t applicationBits, uint32_t networkBits)
{
    if (applicationBits <= networkBits) return sample;
    const uint32_t step = 1u << (applicationBits - networkBits);
    const uint32_t highest = (1u << networkBits) - 1;
    return uint16_t(std::min((sample + step / 2) / step, highest) * step);
}

class LoopFormat : public testing::TestWithParam<std::tuple<FormatCase, uint32_t>>
{
protected:
    // The samples of each buffer.
    std::vector<Samples> MakeFrame(uint32_t bits, uint32_t seed) const
    {
        std::vector<Samples> frame;
        for (uint32_t buffer = 0; buffer < Format.buffers; ++buffer)
            frame.push_back(MakeSamples(Format.pixels * (Is422(Format.sampling) ? 2 : 3), bits, seed + 1000 * buffer));
        return frame;
    }

    static Fields StoredAll(const std::vector<Samples>& frame, const StreamSettings& format)
    {
        Fields stored;
        for (const Samples& samples : frame)
            stored.push_back(Stored(samples, format));
        return stored;
    }

    void ExpectFramesArrive(const StreamSettings& format)
    {
        ReceiveStream receiver(With, format);
        SendStream sender(With, format);
        receiver.Start();
        sender.Start();
        const uint32_t application = Bits(format.applicationDepth), network = Bits(format.networkDepth);
        for (uint32_t frame = 1; frame <= 2; ++frame)
        {
            std::vector<Samples> pictures = MakeFrame(application, frame);
            std::vector<uint32_t> timestamps{3600 * frame, 3600 * frame + 1800};
            timestamps.resize(Format.buffers);
            const Fields sent = StoredAll(pictures, format);
            for (Samples& samples : pictures)
                for (uint16_t& sample : samples)
                    sample = Travelled(sample, application, network);

            sender.Put(sent, timestamps);
            const std::vector<SlotBuffer> slot = TakeSlot(receiver, Format.buffers);
            ASSERT_TRUE(Holds(slot, StoredAll(pictures, format)))
                << "network " << network << ", application " << application << ", padding " << format.padding
                << ", endianness " << format.endianness << ", frame " << frame << ": "
                << receiver.NetworkStatus().LostPacketsCount_ULL << " packets lost, by the sender "
                << sender.NetworkStatus().LostPacketsCount_ULL;
            for (uint32_t field = 0; field < Format.buffers; ++field)
                EXPECT_EQ(3600 * frame + 1800 * field, slot[field].timestamps.at(0).Value_UL);
        }
    }

    const FormatCase Format = std::get<0>(GetParam());
    const uint32_t NetworkDepth = std::get<1>(GetParam());
    MxsProcess Service{kSendsLate};
    Session With{Service.ServiceUrl()};
};

} // namespace

TEST_P(LoopFormat, EveryApplicationFormatArrivesBitByBitAsFarAsTheNetworkHasBits)
{
    for (uint32_t depth = 0; depth < 3; ++depth)
        for (uint32_t padding = 0; padding < 3; ++padding)
            for (uint32_t endianness = 0; endianness < 2; ++endianness)
            {
                if (!Format.everyOrder && endianness != (NetworkDepth + depth + padding) % 2) continue;
                ASSERT_NO_FATAL_FAILURE(ExpectFramesArrive({.standard = Format.standard,
                                                            .sampling = Format.sampling,
                                                            .networkDepth = NetworkDepth,
                                                            .applicationDepth = depth,
                                                            .padding = padding,
                                                            .endianness = endianness,
                                                            .lockTimeoutMs = 10000,
                                                            .port = FreeUdpPort()}));
            }
}

namespace
{

std::string NameOf(const testing::TestParamInfo<std::tuple<FormatCase, uint32_t>>& instance)
{
    const auto& [format, networkDepth] = instance.param;
    return format.name + std::to_string(Bits(networkDepth)) + "Bits";
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Interlaced, LoopFormat,
    testing::Combine(testing::Values(Interlaced("YCbCr422", ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422, true),
                                     Interlaced("YCbCr444", ZEFA_SDP_VIDEO_SAMPLING_YCBCR_444, true),
                                     Interlaced("ICtCp422", ZEFA_SDP_VIDEO_SAMPLING_ICTCP_422, false),
                                     Interlaced("ICtCp444", ZEFA_SDP_VIDEO_SAMPLING_ICTCP_444, false),
                                     Interlaced("RGB", ZEFA_SDP_VIDEO_SAMPLING_RGB, false),
                                     Interlaced("XYZ", ZEFA_SDP_VIDEO_SAMPLING_XYZ, false)),
                     testing::Range(0u, 3u)),
    NameOf);

INSTANTIATE_TEST_SUITE_P(Progressive, LoopFormat,
                         testing::Combine(testing::Values(Progressive("YCbCr422", ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422)),
                                          testing::Values(ZEFA_SDP_VIDEO_DEPTH_10)),
                         NameOf);

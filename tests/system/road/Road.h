// What the tests of the whole road share: an application's side of a stream of video, made by the exported functions.
#pragma once

#include "support/MxsProcess.h"
#include "support/VideoSender.h"

#include <algorithm>
#include <chrono>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>
#include <zefaline.h>

namespace test
{

#define ZEFA_OK(call) ASSERT_EQ(ZEFA_NO_ERROR, (call))

// For a service that sends: what is late because the machine had other work is sent all the same, and not given up.
inline const std::vector<std::string> kSendsLate{"--longest-hold", "60000"};

// Counters follow the slots by a moment, and the system follows a close. Once is enough: a service that looks at the
// machine has a descriptor more for a moment.
template <class Condition>
bool Await(Condition&& condition)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition())
    {
        if (std::chrono::steady_clock::now() >= limit) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

inline uint64_t InterfaceNamed(ZEFA_HANDLE context, const std::string& name)
{
    uint64_t ids[ZEFA_MAX_LIST_IDS];
    uint32_t count = 0;
    EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetNetworkInterfaceHandlesList(context, ids, &count));
    for (uint32_t i = 0; i < count; ++i)
    {
        ZEFA_NETWORK_INTERFACE_STATUS status{};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetNetworkInterfaceStatus(context, ids[i], &status));
        if (name == status.SystemName_C) return ids[i];
    }
    ADD_FAILURE() << "no interface " << name;
    return 0;
}

// A context with a running conductor on core 0.
class Session
{
public:
    explicit Session(const std::string& url)
    {
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_CreateMXSContext(url.c_str(), &Context));
        uint64_t core = 0;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetCPUCoreFromOSId(Context, 0, &core));
        EXPECT_NE(0u, core);
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_CreateConductor(Context, 0, &Conductor));
        ZEFA_CONDUCTOR_CONFIG config{core, 0};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_SetConductorConfig(Context, Conductor, &config));
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StartConductor(Context, Conductor));
    }

    ~Session()
    {
        if (!Context) return;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StopConductor(Context, Conductor));
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_DestroyConductor(Context, Conductor));
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_DestroyMXSContext(Context));
    }

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    ZEFA_HANDLE Context = nullptr;
    uint64_t Conductor = 0;
};

// 4:2:2, 10 bits, on 127.0.0.1, each sample in a little-endian word of 16 bits.
struct StreamSettings
{
    int32_t standard = ZEFA_VIDEO_STANDARD_1280X720_P_50;
    uint32_t sampling = ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422;
    uint32_t networkDepth = ZEFA_SDP_VIDEO_DEPTH_10;
    uint32_t applicationDepth = ZEFA_SDP_VIDEO_DEPTH_10;
    uint32_t padding = ZEFA_BIT_PADDING_16;
    uint32_t endianness = ZEFA_ENDIANNESS_LITTLE;
    uint32_t slots = 4;
    uint32_t lockTimeoutMs = 10000;
    uint32_t destination = INADDR_LOOPBACK;
    uint16_t port = 0;
    std::vector<uint16_t> morePorts = {}; // of redundant paths to the same address
    uint32_t multicastMode = ZEFA_MULTICAST_MODE_EXCLUSION;
    std::vector<uint32_t> sources = {};
};

class VideoStream
{
public:
    VideoStream(Session& session, ZEFA_STREAM_TYPE type, const StreamSettings& settings)
    {
        Make(session, type, settings);
    }

    ~VideoStream()
    {
        if (!Handle) return;
        if (Started)
        {
            EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StopStream(Handle));
        }
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_CloseStream(Handle));
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_DestroyStream(Handle));
    }

    VideoStream(const VideoStream&) = delete;
    VideoStream& operator=(const VideoStream&) = delete;

    void Start()
    {
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_StartStream(Handle));
        Started = true;
    }

    void Stop()
    {
        Started = false;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_StopStream(Handle));
    }

    // The service is gone: the object is all that there is to unmake.
    ZEFA_ERRORCODE Abandon()
    {
        Started = false;
        return ZEFA_DestroyStream(std::exchange(Handle, nullptr));
    }

    ZEFA_STREAM_COMMON_STATUS CommonStatus()
    {
        ZEFA_STREAM_COMMON_STATUS status{};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamCommonStatus(Handle, &status));
        return status;
    }

    ZEFA_STREAM_NETWORK_STATUS NetworkStatus()
    {
        ZEFA_STREAM_NETWORK_STATUS status{};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamNetworkStatus(Handle, &status));
        return status;
    }

    ZEFA_HANDLE Handle = nullptr;

private:
    void Make(Session& session, ZEFA_STREAM_TYPE type, const StreamSettings& settings)
    {
        ZEFA_OK(ZEFA_CreateStream(session.Context, type, ZEFA_ESSENCE_TYPE_ST2110_20, &Handle));
        ZEFA_STREAM_COMMON_CONFIG common{};
        common.ApplicativeBufferQueueDepth_UL = settings.slots;
        common.LockTimeoutMs_UL = settings.lockTimeoutMs;
        common.ConductorId_ULL = session.Conductor;
        ZEFA_OK(ZEFA_SetStreamCommonConfig(Handle, &common));

        auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
        network->PayloadType_UB = 96;
        std::vector<uint16_t> ports = settings.morePorts;
        ports.insert(ports.begin(), settings.port);
        network->NbConnections_UL = uint32_t(ports.size());
        for (size_t i = 0; i < ports.size(); ++i)
        {
            ZEFA_CONNECTION_CONFIG& path = network->Connections_X[i];
            path.DestinationIp_UL = settings.destination;
            path.DestinationPort_US = ports[i];
            path.NetworkInterfaceId_ULL = InterfaceNamed(session.Context, "lo");
            path.MulticastMode_E = settings.multicastMode;
            path.NbMulticastSources_UL = uint32_t(settings.sources.size());
            std::copy(settings.sources.begin(), settings.sources.end(), path.MulticastSources_UL);
        }
        ZEFA_OK(ZEFA_SetStreamNetworkConfig(Handle, network.get()));

        ZEFA_ESSENCE_CONFIG essence{};
        essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_20;
        ZEFA_ST2110_20_CONFIG& video = essence.Essence_X.ST2110_20_X;
        video.VideoStandard_E = settings.standard;
        video.NetworkBitDepth_E = settings.networkDepth;
        video.NetworkBitSampling_E = settings.sampling;
        video.Colorimetry_E = ZEFA_SDP_COLORIMETRY_BT709;
        video.AppBitDepth_E = settings.applicationDepth;
        video.AppBitSampling_E = settings.sampling;
        video.AppBitPadding_E = settings.padding;
        video.AppEndianness_E = settings.endianness;
        video.UseDefaultTrOffset_B = 1;
        ZEFA_OK(ZEFA_SetStreamEssenceConfig(Handle, &essence));
        ZEFA_OK(ZEFA_OpenStream(Handle));
    }

    bool Started = false;
};

class ReceiveStream : public VideoStream
{
public:
    ReceiveStream(Session& session, const StreamSettings& settings)
        : VideoStream(session, ZEFA_STREAM_TYPE_RX, settings)
    {
    }
};

class SendStream : public VideoStream
{
public:
    SendStream(Session& session, const StreamSettings& settings) : VideoStream(session, ZEFA_STREAM_TYPE_TX, settings)
    {
    }

    // Fills the next slot, a buffer for each field. Without timestamps the service takes the time of its clock.
    void Put(const std::vector<std::vector<uint8_t>>& buffers, const std::vector<uint32_t>& timestamps = {})
    {
        ZEFA_SLOT slot = nullptr;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_LockSlot(Handle, &slot));
        for (uint32_t i = 0; i < buffers.size(); ++i)
        {
            uint8_t* address = nullptr;
            uint32_t size = 0;
            ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Handle, slot, ZEFA_BUFFER_VIDEO_0 + i, &address, &size));
            ASSERT_EQ(size, buffers[i].size());
            std::memcpy(address, buffers[i].data(), size);
        }
        for (uint32_t i = 0; i < timestamps.size(); ++i)
        {
            const ZEFA_TIMESTAMP record{0, timestamps[i]};
            ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_SetSlotTimestamps(Handle, slot, ZEFA_BUFFER_VIDEO_0 + i, &record, 1));
        }
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Handle, slot));
    }
};

struct SlotBuffer
{
    std::vector<uint8_t> bytes;
    std::vector<ZEFA_TIMESTAMP> timestamps;
    std::vector<ZEFA_LOST_DATA> losses;

    std::vector<uint16_t> Words() const
    {
        std::vector<uint16_t> words(bytes.size() / 2);
        std::memcpy(words.data(), bytes.data(), words.size() * 2);
        return words;
    }
};

// Locks a slot, copies all that is known of it and unlocks it. Empty when the lock runs out of time.
inline std::vector<SlotBuffer> TakeSlot(ReceiveStream& stream, uint32_t buffers = 1)
{
    std::vector<SlotBuffer> taken;
    ZEFA_SLOT slot = nullptr;
    const ZEFA_ERRORCODE locked = ZEFA_LockSlot(stream.Handle, &slot);
    if (locked == ZEFA_ERR_TIMEOUT) return taken;
    EXPECT_EQ(ZEFA_NO_ERROR, locked);
    if (locked != ZEFA_NO_ERROR) return taken;
    for (uint32_t i = 0; i < buffers; ++i)
    {
        SlotBuffer buffer;
        const ZEFA_BUFFER_TYPE type = ZEFA_BUFFER_VIDEO_0 + i;
        uint8_t* address = nullptr;
        uint32_t size = 0;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(stream.Handle, slot, type, &address, &size));
        buffer.bytes.assign(address, address + size);
        buffer.timestamps.resize(16);
        uint32_t count = 16;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotTimestamps(stream.Handle, slot, type, buffer.timestamps.data(), &count));
        buffer.timestamps.resize(count);
        buffer.losses.resize(1024);
        count = 1024;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotLostDataInfo(stream.Handle, slot, type, buffer.losses.data(), &count));
        buffer.losses.resize(count);
        taken.push_back(std::move(buffer));
    }
    EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(stream.Handle, slot));
    return taken;
}

// Sends one empty-timestamp frame so that the receiver has seen where a frame ends and the next one counts from its
// first packet.
inline void SendLeadIn(VideoSender& sender, const Raster& raster, const PixelGroup& group, uint32_t timestamp)
{
    std::vector<Packet> packets = sender.Packets(raster, group, timestamp);
    sender.Send(packets.back());
}

} // namespace test

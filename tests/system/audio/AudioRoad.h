// What the tests of audio share: streams of both directions made by the exported functions, and packets by hand.
#pragma once

#include "support/Relay.h"
#include "system/road/Road.h"

#include <optional>

namespace test
{

struct AudioFormat
{
    uint32_t codec = ZEFA_SDP_AUDIO_CODEC_L24;
    uint32_t rate = ZEFA_SDP_AUDIO_RATE_48000;
    uint32_t packetTime = ZEFA_SDP_PACKET_TIME_1MS;
    uint32_t channels = 2;
    uint32_t packetsPerBuffer = 10;

    size_t FrameBytes() const { return (codec == ZEFA_SDP_AUDIO_CODEC_L16 ? 2 : 3) * size_t{channels}; }
    uint32_t PacketFrames() const
    {
        const uint32_t perMs = rate == ZEFA_SDP_AUDIO_RATE_48000 ? 48 : 96;
        return packetTime == ZEFA_SDP_PACKET_TIME_1MS ? perMs : perMs / 8;
    }
    uint32_t SlotFrames() const { return PacketFrames() * packetsPerBuffer; }
    size_t PacketBytes() const { return PacketFrames() * FrameBytes(); }
    size_t SlotBytes() const { return PacketBytes() * packetsPerBuffer; }
};

struct AudioSettings
{
    AudioFormat format = {};
    std::vector<Endpoint> paths = {};
    uint32_t slots = 8;
    uint32_t lockTimeoutMs = 5000;
    uint32_t payloadType = 97;
};

class AudioStream
{
public:
    AudioStream(Session& session, ZEFA_STREAM_TYPE type, const AudioSettings& settings)
    {
        Make(session, type, settings);
    }

    ~AudioStream()
    {
        if (!Handle) return;
        if (Started)
        {
            EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_StopStream(Handle));
        }
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_CloseStream(Handle));
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_DestroyStream(Handle));
    }

    AudioStream(const AudioStream&) = delete;
    AudioStream& operator=(const AudioStream&) = delete;

    void Start()
    {
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_StartStream(Handle));
        Started = true;
    }

    // Receive: all that is known of the next slot; nothing when the lock runs out of time.
    std::optional<SlotBuffer> Take()
    {
        ZEFA_SLOT slot = nullptr;
        const ZEFA_ERRORCODE locked = ZEFA_LockSlot(Handle, &slot);
        EXPECT_TRUE(locked == ZEFA_NO_ERROR || locked == ZEFA_ERR_TIMEOUT) << locked;
        if (locked != ZEFA_NO_ERROR) return {};
        SlotBuffer buffer;
        uint8_t* address = nullptr;
        uint32_t size = 0, count = 16;
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Handle, slot, ZEFA_BUFFER_AUDIO_0, &address, &size));
        buffer.bytes.assign(address, address + size);
        buffer.timestamps.resize(count);
        EXPECT_EQ(ZEFA_NO_ERROR,
                  ZEFA_GetSlotTimestamps(Handle, slot, ZEFA_BUFFER_AUDIO_0, buffer.timestamps.data(), &count));
        buffer.timestamps.resize(count);
        buffer.losses.resize(count = 1024);
        EXPECT_EQ(ZEFA_NO_ERROR,
                  ZEFA_GetSlotLostDataInfo(Handle, slot, ZEFA_BUFFER_AUDIO_0, buffer.losses.data(), &count));
        buffer.losses.resize(count);
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Handle, slot));
        return buffer;
    }

    // Transmit: fills the next slot; without a timestamp the service takes the time of the clock.
    void Put(const uint8_t* bytes, std::optional<uint32_t> timestamp)
    {
        ZEFA_SLOT slot = nullptr;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_LockSlot(Handle, &slot));
        uint8_t* address = nullptr;
        uint32_t size = 0;
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_GetSlotBuffer(Handle, slot, ZEFA_BUFFER_AUDIO_0, &address, &size));
        std::memcpy(address, bytes, size);
        if (timestamp)
        {
            const ZEFA_TIMESTAMP record{0, *timestamp};
            ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_SetSlotTimestamps(Handle, slot, ZEFA_BUFFER_AUDIO_0, &record, 1));
        }
        ASSERT_EQ(ZEFA_NO_ERROR, ZEFA_UnlockSlot(Handle, slot));
    }

    ZEFA_STREAM_NETWORK_STATUS NetworkStatus()
    {
        ZEFA_STREAM_NETWORK_STATUS status{};
        EXPECT_EQ(ZEFA_NO_ERROR, ZEFA_GetStreamNetworkStatus(Handle, &status));
        return status;
    }

    ZEFA_HANDLE Handle = nullptr;

private:
    void Make(Session& session, ZEFA_STREAM_TYPE type, const AudioSettings& settings)
    {
        ZEFA_OK(ZEFA_CreateStream(session.Context, type, ZEFA_ESSENCE_TYPE_ST2110_30, &Handle));
        ZEFA_STREAM_COMMON_CONFIG common{};
        common.ApplicativeBufferQueueDepth_UL = settings.slots;
        common.LockTimeoutMs_UL = settings.lockTimeoutMs;
        common.ConductorId_ULL = session.Conductor;
        ZEFA_OK(ZEFA_SetStreamCommonConfig(Handle, &common));

        auto network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
        network->PayloadType_UB = settings.payloadType;
        network->NbConnections_UL = uint32_t(settings.paths.size());
        for (size_t i = 0; i < settings.paths.size(); ++i)
        {
            ZEFA_CONNECTION_CONFIG& path = network->Connections_X[i];
            path.DestinationIp_UL = settings.paths[i].address;
            path.DestinationPort_US = settings.paths[i].port;
            path.NetworkInterfaceId_ULL = InterfaceNamed(session.Context, "lo");
            path.MulticastMode_E = ZEFA_MULTICAST_MODE_EXCLUSION;
        }
        ZEFA_OK(ZEFA_SetStreamNetworkConfig(Handle, network.get()));

        ZEFA_ESSENCE_CONFIG essence{};
        essence.EssenceType_E = ZEFA_ESSENCE_TYPE_ST2110_30;
        ZEFA_ST2110_30_CONFIG& audio = essence.Essence_X.ST2110_30_X;
        audio.Encoding_E = settings.format.codec;
        audio.SamplingRate_E = settings.format.rate;
        audio.ChannelNumber_UL = settings.format.channels;
        audio.PacketTime_E = settings.format.packetTime;
        audio.NbPacketsPerBuffer_UL = settings.format.packetsPerBuffer;
        ZEFA_OK(ZEFA_SetStreamEssenceConfig(Handle, &essence));
        ZEFA_OK(ZEFA_OpenStream(Handle));
    }

    bool Started = false;
};

// Samples that differ from place to place and are never silent.
inline Bytes Noise(size_t count, uint32_t seed)
{
    Bytes bytes(count);
    uint32_t state = seed * 2654435761u + 1;
    for (uint8_t& byte : bytes)
    {
        state = state * 1664525u + 1013904223u;
        byte = uint8_t(state >> 24 | 1);
    }
    return bytes;
}

// Packets of audio made by hand, without a service.
inline Bytes AudioPacket(uint16_t sequence, uint32_t timestamp, const uint8_t* samples, size_t bytes,
                         uint8_t payloadType = 97)
{
    Bytes packet{0x80, payloadType};
    for (const uint32_t byte : {sequence >> 8, sequence & 0xFF})
        packet.push_back(uint8_t(byte));
    for (const int shift : {24, 16, 8, 0})
        packet.push_back(uint8_t(timestamp >> shift));
    packet.insert(packet.end(), {0x0A, 0x0B, 0x0C, 0x0D});
    packet.insert(packet.end(), samples, samples + bytes);
    return packet;
}

} // namespace test

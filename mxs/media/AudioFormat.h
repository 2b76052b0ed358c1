// Numbers that follow from a configuration of audio. A frame is one sample of each channel.
#pragma once

#include "MediaStream.h"

#include <cstdint>

namespace mxs::media
{

// Packets in a second for each packet time that a configuration can name: 333 us stands for a third of a millisecond.
struct PacketRate
{
    uint32_t packetTimeUs;
    uint32_t perSecond;
};

inline constexpr PacketRate kPacketRates[] = {{125, 8000}, {250, 4000}, {333, 3000}, {1000, 1000}, {4000, 250}};

// What a datagram of 1460 bytes holds behind its UDP and RTP headers.
constexpr uint32_t kMostSampleBytes = 1440;

// 0 for a packet time that is not in the list.
constexpr uint32_t PacketsPerSecond(uint32_t packetTimeUs)
{
    for (const PacketRate& rate : kPacketRates)
        if (rate.packetTimeUs == packetTimeUs) return rate.perSecond;
    return 0;
}

// 0 unless a packet holds a whole number of frames.
constexpr uint32_t FramesPerPacket(const AudioConfig& audio)
{
    const uint32_t packets = PacketsPerSecond(audio.packetTimeUs);
    return packets != 0 && audio.samplingRateHz % packets == 0 ? audio.samplingRateHz / packets : 0;
}

constexpr uint64_t BytesPerFrame(const AudioConfig& audio)
{
    return uint64_t{audio.encodingBytes} * audio.channels;
}

constexpr uint64_t FramesPerSlot(const AudioConfig& audio)
{
    return uint64_t{FramesPerPacket(audio)} * audio.packetsPerBuffer;
}

} // namespace mxs::media

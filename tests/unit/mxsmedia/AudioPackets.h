// Audio packets made by hand.
#pragma once

#include "Packets.h"

namespace mxs::media::test
{

inline Bytes MakeAudioPacket(const PacketHead& head, const Bytes& samples)
{
    Bytes packet;
    packet.push_back(0x80);
    packet.push_back(static_cast<uint8_t>((head.marker ? 0x80 : 0) | head.payloadType));
    Put16(packet, head.sequence);
    Put32(packet, head.timestamp);
    Put32(packet, head.ssrc);
    packet.insert(packet.end(), samples.begin(), samples.end());
    return packet;
}

inline Bytes Part(const Bytes& bytes, size_t begin, size_t end)
{
    return Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(begin), bytes.begin() + static_cast<std::ptrdiff_t>(end));
}

struct AudioCut
{
    size_t frameBytes = 4;
    size_t packetFrames = 6;
    uint32_t firstSequence = 0;
    uint32_t firstTimestamp = 0;
};

// Samples as a sender cuts them; the last packet may be shorter.
inline std::vector<Bytes> CutAudio(const Bytes& samples, const AudioCut& cut, PacketHead head = {})
{
    std::vector<Bytes> packets;
    const size_t packetBytes = cut.packetFrames * cut.frameBytes;
    for (size_t at = 0; at < samples.size(); at += packetBytes)
    {
        head.sequence = static_cast<uint16_t>(cut.firstSequence + packets.size());
        head.timestamp = cut.firstTimestamp + static_cast<uint32_t>(at / cut.frameBytes);
        packets.push_back(MakeAudioPacket(head, Part(samples, at, std::min(at + packetBytes, samples.size()))));
    }
    return packets;
}

// L16, two channels, 125 us at 48 kHz, four packets to the slot: 4 bytes a frame, 24 a packet, 96 (24 frames) a slot.
inline AudioConfig SmallAudio()
{
    return {.encodingBytes = 2, .samplingRateHz = 48000, .packetTimeUs = 125, .channels = 2, .packetsPerBuffer = 4};
}

} // namespace mxs::media::test

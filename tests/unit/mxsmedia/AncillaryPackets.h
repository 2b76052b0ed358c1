// RTP packets with ancillary data and playlists, put together bit by bit and byte by byte.
#pragma once

#include "Packets.h"

#include "mxs/media/MediaStream.h"

#include <initializer_list>
#include <string>

namespace mxs::media::test
{

using Words = std::vector<uint16_t>;

// Words as they travel: DID, SDID, data count with parity; the checksum is the last.
const Words kCaptions{0x161, 0x101, 0x203, 0x1A7, 0x266, 0x11F, 0x191}; // three user words
const Words kTimecode{0x260, 0x260, 0x101, 0x104, 0x2C5};               // one
const Words kNoData{0x260, 0x260, 0x200, 0x2C0};

struct Anc
{
    uint16_t line = 9;
    uint16_t offset = 0;
    Words words = kTimecode;
    bool colour = false;
    int stream = -1; // none
};

inline void PutBits(std::string& bits, uint32_t value, int count)
{
    for (int bit = count - 1; bit >= 0; --bit)
        bits += value >> bit & 1 ? '1' : '0';
}

inline Bytes BytesOfBits(std::string bits)
{
    while (bits.size() % 32 != 0)
        bits += '0';
    Bytes bytes;
    for (size_t at = 0; at < bits.size(); at += 8)
        bytes.push_back(static_cast<uint8_t>(std::stoi(bits.substr(at, 8), nullptr, 2)));
    return bytes;
}

inline Bytes BytesOf(const Anc& anc)
{
    std::string bits;
    PutBits(bits, anc.colour, 1);
    PutBits(bits, anc.line, 11);
    PutBits(bits, anc.offset, 12);
    PutBits(bits, anc.stream >= 0, 1);
    PutBits(bits, anc.stream >= 0 ? static_cast<uint32_t>(anc.stream) : 0, 7);
    for (const uint16_t word : anc.words)
        PutBits(bits, word, 10);
    return BytesOfBits(bits);
}

struct AncHead
{
    uint32_t sequence = 0; // upper half goes into the payload
    uint32_t timestamp = 0;
    bool marker = false;
    uint8_t field = 0; // the bits F
    uint32_t ssrc = 0x11223344;
};

inline Bytes AncDatagram(const AncHead& head, const std::vector<Anc>& packets = {})
{
    Bytes data;
    for (const Anc& anc : packets)
    {
        const Bytes bytes = BytesOf(anc);
        data.insert(data.end(), bytes.begin(), bytes.end());
    }
    Bytes datagram{0x80, static_cast<uint8_t>((head.marker ? 0x80 : 0) | 100)};
    Put16(datagram, head.sequence & 0xFFFF);
    Put32(datagram, head.timestamp);
    Put32(datagram, head.ssrc);
    Put16(datagram, head.sequence >> 16);
    Put16(datagram, static_cast<uint32_t>(data.size()));
    datagram.push_back(static_cast<uint8_t>(packets.size()));
    datagram.push_back(static_cast<uint8_t>(head.field << 6));
    Put16(datagram, 0);
    datagram.insert(datagram.end(), data.begin(), data.end());
    return datagram;
}

inline void PutLe16(Bytes& to, uint32_t value)
{
    to.push_back(static_cast<uint8_t>(value));
    to.push_back(static_cast<uint8_t>(value >> 8));
}

// One section of a playlist.
struct Section
{
    uint16_t line = 9;
    bool horizontal = false;
    std::vector<Words> packets = {kTimecode};
};

inline Bytes PlaylistOf(const std::vector<Section>& sections)
{
    Bytes bytes(8);
    for (const Section& section : sections)
    {
        if (bytes.size() % 4 != 0) PutLe16(bytes, 0xFFFF);
        Bytes payload;
        for (const Words& words : section.packets)
        {
            for (const uint16_t flag : Words{0, 0x3FF, 0x3FF})
                PutLe16(payload, flag);
            for (const uint16_t word : words)
                PutLe16(payload, word);
        }
        PutLe16(bytes, 0x8000u | (section.horizontal ? 0x4000u : 0u) | section.line);
        PutLe16(bytes, static_cast<uint32_t>(payload.size()));
        bytes.insert(bytes.end(), payload.begin(), payload.end());
    }
    bytes.insert(bytes.end(), 4, 0xFF);
    for (size_t i = 0; i < 4; ++i)
        bytes[i] = static_cast<uint8_t>(bytes.size() >> 8 * i);
    return bytes;
}

inline AncillaryConfig Progressive1080()
{
    return {.activeWidth = 1920, .rawWidth = 2200, .activeHeight = 1080, .rawHeight = 1125, .framerate = 50};
}

inline AncillaryConfig Interlaced1080()
{
    return {.activeWidth = 1920,
            .rawWidth = 2200,
            .activeHeight = 1080,
            .rawHeight = 1125,
            .framerate = 60,
            .interlaced = true,
            .fractional = true};
}

inline AncillaryConfig Interlaced576()
{
    return {.activeWidth = 720,
            .rawWidth = 864,
            .activeHeight = 576,
            .rawHeight = 625,
            .framerate = 50,
            .interlaced = true};
}

} // namespace mxs::media::test

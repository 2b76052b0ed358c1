// A sender of ST 2110-20 for tests: packs samples into pixel groups and sends them as RTP from 127.0.0.1. It shares
// no code with the service, so that a mistake in one is seen by the other.
#pragma once

#include "support/FreePort.h"

#include <arpa/inet.h>
#include <cstdint>
#include <cstring>
#include <functional>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace test
{

struct PixelGroup // ST 2110-20, general packing mode
{
    uint32_t sampling; // as exported: 0 YCbCr 4:2:2, 1 YCbCr 4:4:4, 4 RGB
    uint32_t depth;    // bits
    uint32_t bytes;
    uint32_t pixels;
};

constexpr PixelGroup kPixelGroups[] = {
    {0, 8, 4, 2},  {0, 10, 5, 2}, {0, 12, 6, 2},  {1, 8, 3, 1},  {1, 10, 15, 4},
    {1, 12, 9, 2}, {4, 8, 3, 1},  {4, 10, 15, 4}, {4, 12, 9, 2},
};

inline const PixelGroup& PixelGroupOf(uint32_t sampling, uint32_t depth)
{
    for (const PixelGroup& group : kPixelGroups)
        if (group.sampling == sampling && group.depth == depth) return group;
    throw std::invalid_argument("no such pixel group");
}

// Samples of one progressive picture or one field, in the order of the wire: Cb Y Cr Y, Cb Y Cr or R G B.
struct Raster
{
    uint32_t width, lines, samplesPerPixelPair; // 4 in 4:2:2, 6 otherwise
    std::vector<uint16_t> samples;

    uint32_t SamplesPerLine() const { return width / 2 * samplesPerPixelPair; }
};

// Every sample differs from its neighbours, and `seed` from picture to picture.
inline Raster MakeRaster(uint32_t width, uint32_t lines, const PixelGroup& group, uint32_t seed)
{
    Raster raster{width, lines, group.sampling == 0 ? 4u : 6u, {}};
    raster.samples.resize(size_t(raster.SamplesPerLine()) * lines);
    uint32_t state = seed * 2654435761u + 1;
    for (uint16_t& sample : raster.samples)
    {
        state = state * 1664525u + 1013904223u;
        sample = uint16_t(state >> 16 & ((1u << group.depth) - 1));
    }
    return raster;
}

// The samples of a line, each in `depth` bits, first sample in the high bits.
inline std::vector<uint8_t> PackLine(const Raster& raster, uint32_t line, uint32_t depth)
{
    std::vector<uint8_t> bytes;
    uint32_t bits = 0, count = 0;
    const uint16_t* sample = raster.samples.data() + size_t(line) * raster.SamplesPerLine();
    for (uint32_t i = 0; i < raster.SamplesPerLine(); ++i)
    {
        bits = bits << depth | sample[i];
        for (count += depth; count >= 8; count -= 8)
            bytes.push_back(uint8_t(bits >> (count - 8)));
    }
    return bytes;
}

struct Packet
{
    std::vector<uint8_t> bytes; // from the RTP header on
    uint32_t slotOffset;        // where its payload belongs in the packed field
    uint32_t payloadBytes;
};

class VideoSender
{
public:
    struct Settings
    {
        uint32_t destination = INADDR_LOOPBACK; // host order
        uint16_t port = 0;
        uint32_t source = INADDR_LOOPBACK; // 127.0.0.x: what the receiver sees as the sender
        uint8_t payloadType = 96;
        uint32_t ssrc = 0x5EED0001;
        uint32_t firstSequence = 0; // the high half goes into the extended sequence number
        bool extendSequence = true; // false leaves the high half at 0, as some senders do
    };

    explicit VideoSender(const Settings& settings) : With(settings), Sequence(settings.firstSequence)
    {
        Socket = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        if (Socket < 0) throw std::runtime_error("socket");
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_addr.s_addr = htonl(With.source);
        in_addr interface {
            htonl(INADDR_LOOPBACK)
        }; // nothing may leave the machine
        int room = 8 << 20;
        ::setsockopt(Socket, SOL_SOCKET, SO_SNDBUF, &room, sizeof room);
        if (::bind(Socket, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0 ||
            ::setsockopt(Socket, IPPROTO_IP, IP_MULTICAST_IF, &interface, sizeof interface) != 0)
            throw std::runtime_error(std::string("sender socket: ") + std::strerror(errno));
    }

    ~VideoSender() { ::close(Socket); }
    VideoSender(const VideoSender&) = delete;
    VideoSender& operator=(const VideoSender&) = delete;

    // The packets of one field or picture; the last one bears the marker. Sequence numbers go on from call to call.
    std::vector<Packet> Packets(const Raster& raster, const PixelGroup& group, uint32_t timestamp,
                                bool secondField = false)
    {
        const uint32_t lineBytes = raster.width / group.pixels * group.bytes;
        const uint32_t chunk = 1200 / group.bytes * group.bytes;
        std::vector<Packet> packets;
        for (uint32_t line = 0; line < raster.lines; ++line)
        {
            const std::vector<uint8_t> packed = PackLine(raster, line, group.depth);
            for (uint32_t at = 0; at < lineBytes; at += chunk)
            {
                const uint32_t length = std::min(chunk, lineBytes - at);
                const bool last = line + 1 == raster.lines && at + length == lineBytes;
                const uint32_t pixel = at / group.bytes * group.pixels;
                Packet packet;
                packet.slotOffset = line * lineBytes + at;
                packet.payloadBytes = length;
                packet.bytes = Header(last, timestamp);
                Append16(packet.bytes, length);
                Append16(packet.bytes, line | (secondField ? 0x8000u : 0u));
                Append16(packet.bytes, pixel);
                packet.bytes.insert(packet.bytes.end(), packed.begin() + at, packed.begin() + at + length);
                packets.push_back(std::move(packet));
            }
        }
        return packets;
    }

    void Send(const Packet& packet)
    {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_addr.s_addr = htonl(With.destination);
        to.sin_port = htons(With.port);
        const auto sent = ::sendto(Socket, packet.bytes.data(), packet.bytes.size(), 0,
                                   reinterpret_cast<const sockaddr*>(&to), sizeof to);
        // A port that nobody has opened yet answers with an error to the datagram before this one.
        if (sent < 0 && errno != ECONNREFUSED) throw std::runtime_error(std::string("send: ") + std::strerror(errno));
    }

    void Send(const std::vector<Packet>& packets, const std::function<bool(size_t)>& leaveOut = nullptr)
    {
        for (size_t i = 0; i < packets.size(); ++i)
            if (!leaveOut || !leaveOut(i)) Send(packets[i]);
    }

private:
    std::vector<uint8_t> Header(bool marker, uint32_t timestamp)
    {
        std::vector<uint8_t> bytes;
        bytes.push_back(0x80);
        bytes.push_back(uint8_t(With.payloadType | (marker ? 0x80 : 0)));
        Append16(bytes, Sequence & 0xFFFF);
        Append16(bytes, timestamp >> 16);
        Append16(bytes, timestamp & 0xFFFF);
        Append16(bytes, With.ssrc >> 16);
        Append16(bytes, With.ssrc & 0xFFFF);
        Append16(bytes, With.extendSequence ? Sequence >> 16 : 0);
        ++Sequence;
        return bytes;
    }

    static void Append16(std::vector<uint8_t>& bytes, uint32_t value)
    {
        bytes.push_back(uint8_t(value >> 8));
        bytes.push_back(uint8_t(value));
    }

    Settings With;
    uint32_t Sequence;
    int Socket;
};

} // namespace test

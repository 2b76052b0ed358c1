// Reads the header of an RTP packet and the line headers of a raw video payload. Nothing outside the datagram is read,
// whatever its bytes say.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace mxs::media
{

struct RtpPacket
{
    uint8_t payloadType = 0;
    bool marker = false;
    uint16_t sequence = 0;
    uint32_t timestamp = 0;
    uint32_t ssrc = 0;
    std::span<const uint8_t> payload; // behind CSRC entries and extension, without padding
};

// Nothing when the datagram is no RTP packet of version 2 or is cut short.
std::optional<RtpPacket> ReadRtpPacket(std::span<const uint8_t> datagram);

// One line header with the samples that belong to it.
struct LineSegment
{
    bool secondField = false;
    uint16_t line = 0;   // of the field
    uint16_t offset = 0; // in pixels
    std::span<const uint8_t> samples;
};

struct VideoPayload
{
    // More headers than a sender has use for: a packet with more is refused.
    static constexpr size_t kMostSegments = 16;

    uint16_t extendedSequence = 0; // the upper half of the sequence number
    size_t count = 0;
    std::array<LineSegment, kMostSegments> segments;
};

// False when a header is cut short, there are too many, or the lengths exceed the payload. Raster and pixel groups are
// not looked at.
bool ReadVideoPayload(std::span<const uint8_t> payload, VideoPayload& out);

// The upper half of the sequence number alone; 0 when the payload is too short for it.
uint16_t ReadExtendedSequence(std::span<const uint8_t> payload);

} // namespace mxs::media

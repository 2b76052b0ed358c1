// What two kinds of ancillary packets (SMPTE ST 291-1) say: time code (ST 12-2) and closed captions (CEA-708 in the
// caption distribution packets of ST 334-2). Here are their bytes; the words of a packet are these bytes with parity.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

struct AncIdentity
{
    uint8_t did, sdid;
    bool operator==(const AncIdentity&) const = default;
};

constexpr AncIdentity kTimeCode{0x60, 0x60}, kCaptions{0x61, 0x01};

using Bytes = std::vector<uint8_t>;

// Ten bits: the value, even parity in bit 8, its inverse in bit 9.
uint16_t WithParity(uint8_t value);

// The last word of a packet: nine bits of the sum of the words from the identifier on, and the inverse of the highest.
uint16_t Checksum(AncIdentity identity, uint8_t dataCount, const uint16_t* words);

struct FrameRate
{
    uint32_t frames; // a second, before any 1000/1001
    bool fractional;
};

struct TimeCode
{
    uint32_t hours, minutes, seconds, frames;
    bool second; // of a pair: above 30 frames a second two frames share their number, as two fields do
    bool operator==(const TimeCode&) const = default;
};

// Counts every frame and drops no number, so that at fractional rates it is slower than the clock on the wall.
TimeCode TimeCodeOf(uint64_t frame, const FrameRate& rate);

std::string ToText(const TimeCode& timeCode); // hh:mm:ss:ff, with a dot in front of the frames of a second one

// The flag of the second frame has its place by the family of the rate.
Bytes EncodeTimeCode(const TimeCode& timeCode, const FrameRate& rate);
std::optional<TimeCode> DecodeTimeCode(const Bytes& bytes, const FrameRate& rate);

// Makes one caption distribution packet for each frame. A text takes as many of them as it needs.
class CaptionEncoder
{
public:
    explicit CaptionEncoder(const FrameRate& rate); // throws for rates that such packets do not know

    // A line of up to 32 characters of ASCII that takes the place of what was shown before.
    void Show(const std::string& text);

    Bytes NextPacket();

private:
    uint8_t RateCode;
    uint8_t Triplets; // of caption data in each packet
    uint8_t PacketNumber = 0;
    uint16_t Sequence = 0;
    std::deque<std::array<uint8_t, 3>> Waiting;
};

// Gathers the text of the first caption service.
class CaptionDecoder
{
public:
    // A text that this packet completed, or nothing. Throws a sentence for a packet that is damaged.
    std::optional<std::string> Read(const Bytes& packet);

private:
    void ReadTriplet(const uint8_t* triplet);
    void ReadService(const uint8_t* block, size_t size);

    Bytes Channel;    // what came of the caption channel packet that is under way
    std::string Line; // since the window was made, emptied or completed
    std::optional<std::string> Complete;
};

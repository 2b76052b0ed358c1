// Time code and captions as bytes, and back.
#include "Ancillary.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace
{

// cdp_frame_rate; the packets of a second together carry 600 triplets.
struct CaptionRate
{
    uint32_t frames;
    bool fractional;
    uint8_t code;
};

constexpr CaptionRate kCaptionRates[] = {{24, true, 1},  {24, false, 2}, {25, false, 3}, {30, true, 4},
                                         {30, false, 5}, {50, false, 6}, {60, true, 7},  {60, false, 8}};

constexpr uint8_t kCcData = 0x72, kFooter = 0x74;    // sections of a caption distribution packet
constexpr uint8_t kPacketData = 2, kPacketStart = 3; // kinds of triplets; 0 and 1 are line 21 of analogue television
constexpr uint8_t kEndOfText = 0x03, kFormFeed = 0x0C, kDefineWindow0 = 0x98, kDeleteWindows = 0x8C;

constexpr size_t kMostText = size_t{15} * 42; // rows and columns of the largest window

uint8_t Sum(const Bytes& bytes)
{
    uint8_t sum = 0;
    for (const uint8_t byte : bytes)
        sum = uint8_t(sum + byte);
    return sum;
}

// Of the eight digits of a time code, from the frames on, the one whose highest bit marks the second frame of a pair.
size_t FlagDigit(const FrameRate& rate)
{
    return rate.frames % 25 == 0 ? 7 : 3;
}

// Bytes that a code of the caption service takes together with its arguments.
size_t LengthOf(uint8_t code)
{
    constexpr uint8_t kArguments[] = {1, 1, 1, 1, 1, 1, 0, 0, 2, 3, 2, 0, 0, 0, 0, 4}; // 0x88 to 0x97
    if (code >= 0x10 && code <= 0x17) return 2;
    if (code >= 0x18 && code <= 0x1F) return 3;
    if (code >= 0x88 && code <= 0x97) return 1u + kArguments[code - 0x88];
    if (code >= 0x98 && code <= 0x9F) return 7;
    return 1;
}

} // namespace

uint16_t WithParity(uint8_t value)
{
    return uint16_t(value | (std::popcount(value) % 2 ? 0x100 : 0x200));
}

uint16_t Checksum(AncIdentity identity, uint8_t dataCount, const uint16_t* words)
{
    uint32_t sum = WithParity(identity.did) + WithParity(identity.sdid) + WithParity(dataCount);
    for (uint32_t i = 0; i < dataCount; ++i)
        sum += words[i];
    sum &= 0x1FF;
    return uint16_t(sum | (sum & 0x100 ? 0 : 0x200));
}

TimeCode TimeCodeOf(uint64_t frame, const FrameRate& rate)
{
    const bool pairs = rate.frames > 30;
    const uint64_t seconds = frame / rate.frames;
    const uint32_t inSecond = uint32_t(frame % rate.frames);
    return {uint32_t(seconds / 3600 % 24), uint32_t(seconds / 60 % 60), uint32_t(seconds % 60),
            pairs ? inSecond / 2 : inSecond, pairs && inSecond % 2 == 1};
}

std::string ToText(const TimeCode& timeCode)
{
    char text[48];
    std::snprintf(text, sizeof text, "%02u:%02u:%02u%c%02u", timeCode.hours, timeCode.minutes, timeCode.seconds,
                  timeCode.second ? '.' : ':', timeCode.frames);
    return text;
}

// Sixteen bytes, each with four bits of the time code in its upper half: digits in turns with user bits, which are 0
// here. Bit 3 of the first eight bytes spells, lowest bit first, the kind of the time code: 1, for the one of fields.
Bytes EncodeTimeCode(const TimeCode& timeCode, const FrameRate& rate)
{
    Bytes bytes(16);
    const auto put = [&](size_t digit, uint32_t value) { bytes[digit * 2] |= uint8_t(value << 4); };
    put(0, timeCode.frames % 10);
    put(1, timeCode.frames / 10);
    put(2, timeCode.seconds % 10);
    put(3, timeCode.seconds / 10);
    put(4, timeCode.minutes % 10);
    put(5, timeCode.minutes / 10);
    put(6, timeCode.hours % 10);
    put(7, timeCode.hours / 10);
    if (timeCode.second) put(FlagDigit(rate), 8);
    bytes[0] |= 8;
    return bytes;
}

std::optional<TimeCode> DecodeTimeCode(const Bytes& bytes, const FrameRate& rate)
{
    if (bytes.size() != 16) return {};
    const auto digit = [&](size_t index, uint32_t mask) { return uint32_t(bytes[index * 2] >> 4) & mask; };
    const auto number = [&](size_t index, uint32_t tensMask)
    { return digit(index, 15) + 10 * digit(index + 1, tensMask); };
    return TimeCode{number(6, 3), number(4, 7), number(2, 7), number(0, 3), digit(FlagDigit(rate), 8) != 0};
}

CaptionEncoder::CaptionEncoder(const FrameRate& rate)
{
    const auto* const row =
        std::find_if(std::begin(kCaptionRates), std::end(kCaptionRates),
                     [&](const CaptionRate& r) { return r.frames == rate.frames && r.fractional == rate.fractional; });
    if (row == std::end(kCaptionRates))
        throw std::runtime_error("Caption packets know no rate of " + std::to_string(rate.frames) + " frames a second");
    RateCode = row->code;
    Triplets = uint8_t(600 / row->frames);
}

void CaptionEncoder::Show(const std::string& text)
{
    // A window of one line at the bottom, centred and visible, in the place of all windows before.
    Bytes service{kDeleteWindows, 0xFF, kDefineWindow0, 0x38, 0xDA, 50, 0x70, 31, 0x09};
    service.insert(service.end(), text.begin(), text.begin() + std::ptrdiff_t(std::min<size_t>(text.size(), 32)));
    service.push_back(kEndOfText);

    // Blocks of the first service, 31 bytes at most, in one packet of the caption channel, which has an even length.
    Bytes channel{0};
    for (size_t at = 0; at < service.size(); at += 31)
    {
        const size_t size = std::min<size_t>(31, service.size() - at);
        channel.push_back(uint8_t(1u << 5 | size));
        channel.insert(channel.end(), service.begin() + std::ptrdiff_t(at),
                       service.begin() + std::ptrdiff_t(at + size));
    }
    if (channel.size() % 2) channel.push_back(0);
    channel[0] = uint8_t(PacketNumber++ % 4 << 6 | channel.size() / 2);

    for (size_t i = 0; i < channel.size(); i += 2)
        Waiting.push_back({uint8_t(0xFC | (i == 0 ? kPacketStart : kPacketData)), channel[i], channel[i + 1]});
}

// header | 0x72, count, triplets | footer. The last byte makes the sum of all bytes 0.
Bytes CaptionEncoder::NextPacket()
{
    const uint8_t high = uint8_t(Sequence >> 8), low = uint8_t(Sequence & 255);
    ++Sequence;
    const uint8_t flags = 0x43; // caption data, of a service that is active
    const uint8_t rate = uint8_t(RateCode << 4 | 0xF), count = uint8_t(0xE0 | Triplets);
    // In the first two triplets line 21 has nothing to say.
    Bytes packet{0x96, 0x69, 0, rate, flags, high, low, kCcData, count, 0xF8, 0x80, 0x80, 0xF9, 0x80, 0x80};
    for (uint32_t i = 2; i < Triplets; ++i)
    {
        std::array<uint8_t, 3> triplet{0xF8 | kPacketData, 0, 0}; // not valid: a filler
        if (!Waiting.empty())
        {
            triplet = Waiting.front();
            Waiting.pop_front();
        }
        packet.insert(packet.end(), triplet.begin(), triplet.end());
    }
    packet.insert(packet.end(), {kFooter, high, low, 0});
    packet[2] = uint8_t(packet.size());
    packet.back() = uint8_t(-Sum(packet));
    return packet;
}

std::optional<std::string> CaptionDecoder::Read(const Bytes& packet)
{
    if (packet.size() < 11 || packet[0] != 0x96 || packet[1] != 0x69)
        throw std::runtime_error("this is no caption distribution packet");
    if (packet[2] != packet.size()) throw std::runtime_error("the caption distribution packet has a wrong length");
    if (Sum(packet) != 0) throw std::runtime_error("the caption distribution packet has a wrong checksum");
    Complete.reset();
    const bool timeCodeFirst = packet[7] == 0x71; // five bytes
    const size_t section = timeCodeFirst ? 12 : 7;
    if (section + 2 > packet.size() || packet[section] != kCcData) return {};
    const size_t end = std::min(section + 2 + size_t{packet[section + 1] & 31u} * 3, packet.size());
    for (size_t at = section + 2; at + 3 <= end; at += 3)
        ReadTriplet(packet.data() + at);
    return Complete;
}

void CaptionDecoder::ReadTriplet(const uint8_t* triplet)
{
    const bool valid = triplet[0] & 4;
    const uint8_t kind = triplet[0] & 3;
    if (!valid || kind < kPacketData) return;
    if (kind == kPacketStart) Channel.clear();
    if (kind == kPacketData && Channel.empty()) return; // its start was missed
    Channel.insert(Channel.end(), {triplet[1], triplet[2]});
    const size_t code = Channel[0] & 63, size = code == 0 ? 128 : code * 2;
    if (Channel.size() < size) return;

    for (size_t at = 1; at < Channel.size();)
    {
        const uint8_t number = Channel[at] >> 5;
        const size_t block = std::min<size_t>(Channel[at] & 31, Channel.size() - at - 1);
        if (number == 0) break; // padding
        if (number == 1) ReadService(Channel.data() + at + 1, block);
        at += 1 + block;
    }
    Channel.clear();
}

void CaptionDecoder::ReadService(const uint8_t* block, size_t size)
{
    for (size_t at = 0; at < size; at += LengthOf(block[at]))
    {
        const uint8_t code = block[at];
        if (code >= 0x20 && code < 0x7F && Line.size() < kMostText) Line += char(code);
        if (code == kFormFeed || (code >= kDefineWindow0 && code < kDefineWindow0 + 8)) Line.clear();
        if (code == kEndOfText && !Line.empty()) Complete = std::exchange(Line, "");
    }
}

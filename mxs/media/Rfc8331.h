// Reads and writes the payload of RTP packets with ancillary data (RFC 8331). Pure: bytes in, words out and back.
// Nothing outside the payload is read, whatever its bytes say.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace mxs::media
{

//  0                   1                   2                   3
//  extended sequence number (16) | length in bytes of what follows the eight bytes (16)
//  ancillary packets (8) | F (2) | 0 (22)
// and for each ancillary packet
//  C (1) | line (11) | horizontal offset (12) | S (1) | stream number (7)
//  DID (10) | SDID (10) | data count (10) | user words (10 each) | checksum (10) | zero bits up to the next 32
constexpr size_t kAncillaryPayloadHeader = 8;
constexpr size_t kMostAncillaryPackets = 255; // in one RTP packet

// Line numbers that are none.
constexpr uint16_t kLineUnspecified = 0x7FF;
constexpr uint16_t kLineBeforePicture = 0x7FE; // between the switching point and the picture
constexpr uint16_t kLineTooLarge = 0x7FD;
constexpr uint16_t kLastLineNumber = 0x7FC;

// Horizontal offsets that are none.
constexpr uint16_t kOffsetUnspecified = 0xFFF;
constexpr uint16_t kOffsetHorizontal = 0xFFE; // somewhere in the horizontal blanking
constexpr uint16_t kOffsetVertical = 0xFFD;   // somewhere between start and end of active video
constexpr uint16_t kOffsetTooLarge = 0xFFC;

enum class FieldSignal : uint8_t
{
    None = 0, // progressive, or not said
    Invalid = 1,
    First = 2,
    Second = 3
};

// Where an ancillary packet stood in the raster.
struct AncillaryHeader
{
    bool colour = false; // of the data channel of colour difference
    uint16_t line = 0;
    uint16_t horizontalOffset = 0;
    bool streamGiven = false; // the stream number counts
    uint8_t streamNumber = 0;

    bool operator==(const AncillaryHeader&) const = default;
};

// The words of an ancillary packet in their order: DID, SDID, data count, user words, checksum; ten bits each.
constexpr size_t kAncillaryFixedWords = 4; // all but the user words
constexpr size_t kMostAncillaryWords = kAncillaryFixedWords + 255;

struct AncillaryPacket
{
    AncillaryHeader header;
    size_t wordCount = 0;
    std::array<uint16_t, kMostAncillaryWords> words;

    std::span<const uint16_t> Words() const { return {words.data(), wordCount}; }
};

// The words that `dataCount` announces: its low eight bits count, the others are parity.
constexpr size_t AncillaryWordCount(uint16_t dataCount)
{
    return kAncillaryFixedWords + (dataCount & 0xFFu);
}

// Bytes of an ancillary packet of so many words in a payload.
constexpr size_t AncillaryBytes(size_t wordCount)
{
    return 4 + (wordCount * 10 + 31) / 32 * 4;
}

struct AncillaryPayload
{
    uint16_t extendedSequence = 0; // the upper half of the sequence number
    FieldSignal field = FieldSignal::None;
    size_t count = 0;
    std::span<const uint8_t> packets;
};

// False when the payload is cut short, its packets do not fit its length, or the field signal is invalid.
bool ReadAncillaryPayload(std::span<const uint8_t> payload, AncillaryPayload& out);

// Walks over the packets of a payload that ReadAncillaryPayload accepted.
class AncillaryPayloadReader
{
public:
    explicit AncillaryPayloadReader(const AncillaryPayload& payload) : Rest(payload.packets), Left(payload.count) {}

    bool Next(AncillaryPacket& out); // false behind the last

private:
    std::span<const uint8_t> Rest;
    size_t Left;
};

class AncillaryPayloadWriter
{
public:
    // `room` has at least kAncillaryPayloadHeader bytes.
    explicit AncillaryPayloadWriter(std::span<uint8_t> room) : Room(room) {}

    // False, and nothing written, when there is no room for it. `words` are as in AncillaryPacket.
    bool Add(const AncillaryHeader& header, std::span<const uint16_t> words);

    // Returns the bytes of the whole payload. Without a packet it is one that only keeps the stream alive.
    size_t Finish(uint16_t extendedSequence, FieldSignal field);

private:
    const std::span<uint8_t> Room;
    size_t Used = kAncillaryPayloadHeader;
    size_t Count = 0;
};

// Bit 8 is the even parity of the bits below, bit 9 its inverse.
bool AncillaryParityHolds(uint16_t word);

// The checksum of all words before it: nine bits of their sum, and in bit 9 the inverse of bit 8.
uint16_t AncillaryChecksum(std::span<const uint16_t> words);

} // namespace mxs::media

// Packets made by hand, and a sink that keeps slots in memory.
#pragma once

#include "mxs/media/MediaStream.h"
#include "mxs/media/VideoAssembler.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

namespace mxs::media::test
{

using Bytes = std::vector<uint8_t>;

struct Segment
{
    bool secondField = false;
    uint16_t line = 0;
    uint16_t offset = 0;
    Bytes samples;
};

struct PacketHead
{
    uint32_t sequence = 0; // upper half goes into the payload
    uint32_t timestamp = 0;
    bool marker = false;
    uint8_t payloadType = 96;
    uint32_t ssrc = 0x11223344;
};

inline void Put16(Bytes& to, uint32_t value)
{
    to.push_back(static_cast<uint8_t>(value >> 8));
    to.push_back(static_cast<uint8_t>(value));
}

inline void Put32(Bytes& to, uint32_t value)
{
    Put16(to, value >> 16);
    Put16(to, value);
}

inline Bytes MakePacket(const PacketHead& head, const std::vector<Segment>& segments)
{
    Bytes packet;
    packet.push_back(0x80);
    packet.push_back(static_cast<uint8_t>((head.marker ? 0x80 : 0) | head.payloadType));
    Put16(packet, head.sequence);
    Put32(packet, head.timestamp);
    Put32(packet, head.ssrc);
    Put16(packet, head.sequence >> 16);
    for (size_t i = 0; i < segments.size(); ++i)
    {
        Put16(packet, static_cast<uint32_t>(segments[i].samples.size()));
        Put16(packet, segments[i].line | (segments[i].secondField ? 0x8000u : 0u));
        Put16(packet, segments[i].offset | (i + 1 < segments.size() ? 0x8000u : 0u));
    }
    for (const Segment& segment : segments)
        packet.insert(packet.end(), segment.samples.begin(), segment.samples.end());
    return packet;
}

// `count` bytes that differ from place to place and from seed to seed.
inline Bytes Pattern(size_t count, uint32_t seed)
{
    Bytes bytes(count);
    uint32_t state = seed * 2654435761u + 1;
    for (uint8_t& byte : bytes)
    {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

// A field as a sender cuts it: one packet for each line.
struct FieldCut
{
    uint32_t firstSequence = 0;
    uint32_t timestamp = 0;
    bool secondField = false;
    bool marker = true;
};

inline std::vector<Bytes> CutField(const Bytes& field, size_t lineBytes, const FieldCut& cut, PacketHead head = {})
{
    std::vector<Bytes> packets;
    const size_t lines = field.size() / lineBytes;
    for (size_t line = 0; line < lines; ++line)
    {
        const auto begin = field.begin() + static_cast<std::ptrdiff_t>(line * lineBytes);
        head.sequence = cut.firstSequence + static_cast<uint32_t>(line);
        head.timestamp = cut.timestamp;
        head.marker = cut.marker && line + 1 == lines;
        packets.push_back(MakePacket(head, {{cut.secondField, static_cast<uint16_t>(line), 0,
                                             Bytes(begin, begin + static_cast<std::ptrdiff_t>(lineBytes))}}));
    }
    return packets;
}

struct Record
{
    uint32_t type;
    uint32_t position;
    uint32_t value;

    bool operator==(const Record&) const = default;
};

struct KeptSlot
{
    Bytes bytes;
    std::vector<Record> records;

    std::vector<Record> OfType(uint32_t type) const
    {
        std::vector<Record> found;
        std::copy_if(records.begin(), records.end(), std::back_inserter(found),
                     [&](const Record& record) { return record.type == type; });
        return found;
    }
};

// Slots in memory, with guard bytes on both sides.
class MemorySink : public SlotSink
{
public:
    static constexpr size_t kGuard = 64;
    static constexpr uint8_t kGuardByte = 0xA5;
    static constexpr uint8_t kOldByte = 0xEE; // what an earlier turn of the ring left

    explicit MemorySink(size_t slotBytes) : SlotBytes(slotBytes) {}

    uint8_t* OpenSlot(void*& slot) override
    {
        if (Held.size() >= Room) return nullptr;
        auto made = std::make_unique<KeptSlot>();
        made->bytes.assign(SlotBytes + 2 * kGuard, kGuardByte);
        std::fill_n(made->bytes.begin() + kGuard, SlotBytes, kOldByte);
        slot = made.get();
        Held.push_back(std::move(made));
        return static_cast<KeptSlot*>(slot)->bytes.data() + kGuard;
    }
    void AddRecord(void* slot, uint32_t type, uint32_t position, uint32_t value) override
    {
        static_cast<KeptSlot*>(slot)->records.push_back({type, position, value});
    }
    void CommitSlot(void* slot) override
    {
        const auto found = std::find_if(Held.begin(), Held.end(), [&](const auto& held) { return held.get() == slot; });
        KeptSlot kept = std::move(**found);
        Held.erase(found);
        GuardsBroken = GuardsBroken || !GuardsHold(kept.bytes);
        kept.bytes.assign(kept.bytes.begin() + kGuard, kept.bytes.end() - kGuard);
        Committed.push_back(std::move(kept));
    }

    size_t Room = 2; // slots that can be open at once
    std::vector<KeptSlot> Committed;
    bool GuardsBroken = false;

private:
    bool GuardsHold(const Bytes& bytes) const
    {
        const auto whole = [](auto begin, auto end)
        { return std::all_of(begin, end, [](uint8_t byte) { return byte == kGuardByte; }); };
        return whole(bytes.begin(), bytes.begin() + kGuard) && whole(bytes.end() - kGuard, bytes.end());
    }

    const size_t SlotBytes;
    std::vector<std::unique_ptr<KeptSlot>> Held;
};

// 4:2:2, 10 bits, packed on both sides.
inline VideoConfig SmallVideo(uint32_t width = 8, uint32_t height = 4, bool interlaced = false)
{
    VideoConfig video;
    video.width = width;
    video.height = height;
    video.interlaced = interlaced;
    video.framerate = interlaced ? 50 : 25;
    video.network = {.sampling = 1, .depth = 1};
    video.application = video.network;
    return video;
}

} // namespace mxs::media::test

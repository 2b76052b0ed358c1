// Arbitrary datagrams into the assembler of ancillary data, and arbitrary playlists into the packetizer. What the
// assembler writes the packetizer reads without a complaint, and what the packetizer sends is what the reader of
// payloads takes.
//
// The input: one byte whose lowest bits pick the format and whose highest bit the way. To the assembler: datagrams,
// each behind two bytes of its length and one byte of which the lowest bit is the path and the rest the time that
// passes before it, in units of 1 ms. To the packetizer: one byte with the number of a buffer, then the buffer's first
// bytes.
#include "mxs/media/AncillaryAssembler.h"
#include "mxs/media/AncillaryPacketizer.h"
#include "mxs/media/RtpPacket.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <memory>
#include <span>
#include <vector>

using namespace mxs::media;

namespace
{

constexpr uint8_t kPayloadType = 100;
constexpr uint64_t kTimeUnitNs = 1'000'000;
constexpr size_t kMostDatagram = 1452;

void Require(bool holds)
{
    if (!holds) std::abort();
}

AncillaryConfig PickFormat(uint8_t choice)
{
    constexpr std::array<AncillaryConfig, 4> kFormats{{
        {.activeWidth = 1920, .rawWidth = 2200, .activeHeight = 1080, .rawHeight = 1125, .framerate = 50},
        {.activeWidth = 1920,
         .rawWidth = 2200,
         .activeHeight = 1080,
         .rawHeight = 1125,
         .framerate = 60,
         .interlaced = true,
         .fractional = true},
        {.activeWidth = 720,
         .rawWidth = 864,
         .activeHeight = 576,
         .rawHeight = 625,
         .framerate = 50,
         .interlaced = true},
        {.activeWidth = 4, .rawWidth = 5, .activeHeight = 1, .rawHeight = 3, .framerate = 1000, .interlaced = true},
    }};
    return kFormats[choice % kFormats.size()];
}

// Every datagram of a slot, each with what it says of itself; returns the ancillary packets in them.
size_t SendAll(AncillaryPacketizer& packetizer, std::span<const uint8_t> slot)
{
    const size_t count = packetizer.Begin(slot, {});
    Require(count > 0);
    size_t packets = 0;
    for (size_t sent = 0; sent < count;)
    {
        std::vector<uint8_t> room(4 * kMostDatagram);
        const Burst burst = packetizer.Write(sent, count, room);
        Require(burst.count > 0 && burst.totalBytes <= room.size() && burst.datagramBytes <= kMostDatagram);
        for (size_t at = 0; at < burst.totalBytes; at += burst.datagramBytes, ++sent)
        {
            const auto bytes = std::span(room).subspan(at, std::min(burst.datagramBytes, burst.totalBytes - at));
            const auto rtp = ReadRtpPacket(bytes);
            AncillaryPayload payload;
            Require(rtp && ReadAncillaryPayload(rtp->payload, payload));
            packets += payload.count;
        }
    }
    return packets;
}

// Each slot is an allocation of its own and exactly as long as a slot: the sanitizer sees what leaves it. They are used
// over and over, like a ring's, since four megabytes cost more than a run.
using SlotMemory = std::unique_ptr<uint8_t[]>;

std::vector<SlotMemory>& IdleSlots()
{
    static std::vector<SlotMemory> slots;
    return slots;
}

SlotMemory TakeSlot(size_t bytes)
{
    if (IdleSlots().empty()) return std::make_unique<uint8_t[]>(bytes);
    SlotMemory slot = std::move(IdleSlots().back());
    IdleSlots().pop_back();
    return slot;
}

class CheckingSink : public SlotSink
{
public:
    explicit CheckingSink(const AncillaryConfig& config)
        : Layout(LayoutOf(config)), Packets(config, {.payloadType = kPayloadType})
    {
    }

    uint8_t* OpenSlot(void*& slot) override
    {
        if (++Asked % 7 == 0) return nullptr; // a ring that is full now and then
        Slots.push_back(TakeSlot(Layout.lockSize));
        slot = Slots.back().get();
        return Slots.back().get();
    }
    void AddRecord(void* slot, uint32_t type, uint32_t position, uint32_t value) override
    {
        Find(slot);
        Require(type >= kRecordTimestamp && type <= kRecordLost);
        Require(position < Layout.lockSize);
        if (type == kRecordLost) Require(value >= 12 && value <= Layout.lockSize - position);
    }
    void CommitSlot(void* slot) override
    {
        SendAll(Packets, {Find(slot)->get(), Layout.lockSize});
        Require(Packets.Refused() == 0);
        IdleSlots().push_back(std::move(*Find(slot)));
        Slots.remove(nullptr);
    }
    bool Empty() const { return Slots.empty(); }

private:
    using Slot = std::unique_ptr<uint8_t[]>;

    std::list<Slot>::iterator Find(void* slot)
    {
        const auto found =
            std::find_if(Slots.begin(), Slots.end(), [&](const Slot& each) { return each.get() == slot; });
        Require(found != Slots.end());
        return found;
    }

    const SlotLayout Layout;
    AncillaryPacketizer Packets;
    std::list<SlotMemory> Slots;
    uint32_t Asked = 0;
};

void Receive(const AncillaryConfig& config, std::span<const uint8_t> rest)
{
    CheckingSink sink(config);
    AncillaryAssembler assembler(config, {.payloadType = kPayloadType, .paths = 2}, sink);
    uint64_t nowNs = 1'000'000'000;
    while (rest.size() >= 3)
    {
        const size_t length = std::min<size_t>(size_t{rest[0]} << 8 | rest[1], rest.size() - 3);
        nowNs += (rest[2] >> 1) * kTimeUnitNs;
        const std::vector<uint8_t> datagram(rest.begin() + 3, rest.begin() + 3 + static_cast<std::ptrdiff_t>(length));
        assembler.Tick(nowNs);
        assembler.Push(datagram, rest[2] & 1, nowNs);
        rest = rest.subspan(3 + length);
    }
    Require(assembler.Tick(nowNs + 10'000'000'000) == UINT64_MAX);
    Require(sink.Empty());
}

void Send(const AncillaryConfig& config, uint8_t number, std::span<const uint8_t> content)
{
    const SlotLayout layout = LayoutOf(config);
    SlotMemory slot = TakeSlot(layout.lockSize);
    for (const auto& [other, place] : layout.buffers)
        std::fill_n(slot.get() + place.offset, 12, uint8_t{0}); // no playlist
    const BufferPlace& place = layout.buffers.at(number % 16);
    std::copy_n(content.begin(), std::min<size_t>(content.size(), place.size), slot.get() + place.offset);
    AncillaryPacketizer packetizer(config, {.payloadType = kPayloadType});
    SendAll(packetizer, {slot.get(), layout.lockSize});
    IdleSlots().push_back(std::move(slot));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2) return 0;
    const AncillaryConfig config = PickFormat(data[0]);
    Require(!CheckEssence(Direction::Receive, config).Failed());
    if (data[0] & 0x80)
        Send(config, data[1], {data + 2, size - 2});
    else
        Receive(config, {data + 1, size - 1});
    return 0;
}

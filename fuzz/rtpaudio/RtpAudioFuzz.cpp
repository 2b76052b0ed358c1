// Arbitrary datagrams into the assembler of audio, with slots whose borders are watched.
//
// The input: one byte that picks the format, one for the depth of the ring, then datagrams, each behind two bytes of
// its length and one byte of which the lowest bit is the path and the rest the time that passes before it, in units of
// 1 ms.
#include "mxs/media/AudioAssembler.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <span>
#include <vector>

using namespace mxs::media;

namespace
{

constexpr uint8_t kPayloadType = 97;
constexpr uint64_t kTimeUnitNs = 1'000'000;

void Require(bool holds)
{
    if (!holds) std::abort();
}

// Each slot is an allocation of its own and exactly as long as a slot: the sanitizer sees what leaves it.
class CheckingSink : public SlotSink
{
public:
    CheckingSink(uint32_t slotBytes, uint32_t frameBytes) : SlotBytes(slotBytes), FrameBytes(frameBytes) {}

    uint8_t* OpenSlot(void*& slot) override
    {
        if (++Asked % 7 == 0) return nullptr; // a ring that is full now and then
        Slots.push_back({std::vector<uint8_t>(SlotBytes), 0, false});
        slot = &Slots.back();
        return Slots.back().bytes.data();
    }
    void AddRecord(void* slot, uint32_t type, uint32_t position, uint32_t value) override
    {
        Slot& kept = *Find(slot);
        Require(!kept.ended);
        if (type == kRecordTimestamp) Require(position == 0);
        if (type == kRecordEnd) Require(position == SlotBytes - 1);
        kept.ended = type == kRecordEnd;
        if (type != kRecordLost) return;
        Require(position % FrameBytes == 0 && value % FrameBytes == 0);
        Require(position >= kept.lossEnd && value > 0 && value <= SlotBytes - position);
        kept.lossEnd = position + value;
    }
    void CommitSlot(void* slot) override
    {
        const auto kept = Find(slot);
        Require(kept->ended);
        Slots.erase(kept);
    }
    size_t OpenCount() const { return Slots.size(); }

private:
    struct Slot
    {
        std::vector<uint8_t> bytes;
        uint32_t lossEnd;
        bool ended;
    };

    std::list<Slot>::iterator Find(void* slot)
    {
        const auto found = std::find_if(Slots.begin(), Slots.end(), [&](const Slot& each) { return &each == slot; });
        Require(found != Slots.end());
        return found;
    }

    const uint32_t SlotBytes, FrameBytes;
    std::list<Slot> Slots;
    uint32_t Asked = 0;
};

AudioConfig PickFormat(uint8_t choice)
{
    constexpr std::array<uint32_t, 4> kPacketTimes{125, 1000, 333, 250};
    constexpr std::array<uint32_t, 4> kPackets{1, 4, 50, 7};
    return {.encodingBytes = 2 + uint32_t{choice} % 2,
            .samplingRateHz = choice & 2 ? 96000u : 48000u,
            .packetTimeUs = kPacketTimes[choice >> 2 & 3],
            .channels = choice & 16 ? 1u : 3u,
            .packetsPerBuffer = kPackets[choice >> 5 & 3]};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2) return 0;
    const AudioConfig audio = PickFormat(data[0]);
    if (CheckEssence(Direction::Receive, audio).Failed()) std::abort();
    CheckingSink sink(LayoutOf(audio).lockSize, audio.encodingBytes * audio.channels);
    AudioAssembler assembler(
        audio, {.payloadType = kPayloadType, .mostLossRecords = 4, .paths = 2, .queueDepth = 1 + uint32_t{data[1]}},
        sink);

    uint64_t nowNs = 1'000'000'000;
    std::span<const uint8_t> rest(data + 2, size - 2);
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
    Require(sink.OpenCount() == 0);
    return 0;
}

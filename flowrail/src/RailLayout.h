// What lies where in the file of a rail, who writes it, and which bytes of the file tell the living from the dead.
//
//   0 geometry | 64 producer | 128 sleeping consumers | 192 sleeping producer | 256 consumer states
//   320 consumer positions, a line each | 4096 tables of records, one a slot and one more | data
//
// The data area is mapped twice in a row, so that every region is contiguous. It is the capacity rounded up to whole
// pages; the capacity alone limits what may be outstanding, so the rounding is never seen from outside.
#ifndef FLOWRAIL_RAILLAYOUT_H
#define FLOWRAIL_RAILLAYOUT_H

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Quillmont::FlowRail
{
constexpr uint32_t kRailMagic = 0x4C524C46; // "FLRL" in the file
constexpr uint32_t kRailLayoutVersion = 1;
constexpr uint32_t kMaxConsumers = 16;
constexpr uint32_t kMaxSlotCount = 65536;
constexpr uint64_t kCapacityLimit = uint64_t{1} << 32; // the capacity is below it: sizes have 32 bits
constexpr uint64_t kPositionLimit = uint64_t{1} << 62; // centuries of traffic; beyond it lies a damaged header
constexpr uint64_t kJoining = UINT64_MAX;              // a consumer that is about to choose its position
constexpr uint64_t kHugePageBytes = uint64_t{2} << 20;

// Locks of the open file description on single bytes: who holds one is alive.
constexpr int64_t kCreatorLock = 0;
constexpr int64_t kProducerLock = 1;
constexpr int64_t kFirstConsumerLock = 2;

enum class RailRole : uint32_t
{
    Producer = 1,
    Consumer = 2
};

// Low two bits of RailHeader::ProducerState; the bits above count the producers that have attached.
constexpr uint32_t kProducerNone = 0, kProducerAlive = 1, kProducerGone = 2, kProducerKindMask = 3;
// Low bit of a consumer's state; the bits above count the consumers that have used the place.
constexpr uint32_t kConsumerActive = 1;

// Written by the creator before the file has a name, constant from then on. Both sides compute it from slot size,
// slot count and role, so that a damaged header differs from what it should be.
struct RailGeometry
{
    uint32_t Magic, LayoutVersion, SlotBytes, SlotCount;
    uint32_t RecordsPerSlot;
    RailRole CreatorRole;
    uint64_t TableBytes; // from the records of one slot to those of the next
    uint64_t DataOffset, RingBytes, FileBytes;

    bool operator==(const RailGeometry&) const = default;
    uint32_t Capacity() const { return SlotBytes * SlotCount; }
};
static_assert(sizeof(RailGeometry) == 56);

// 16 bytes of head and the records. Type is 0 where a record has been taken back.
struct RailRecord
{
    std::atomic<uint32_t> Type, Position, Value; // Position counts from the start of the slot in the ring
};
struct RailTable
{
    std::atomic<uint64_t> SlotTag; // number of the slot since the rail was made, plus 1: whose records these are
    std::atomic<uint32_t> Count;   // producer stores (release) behind the record, consumers load (acquire)
    std::atomic<uint32_t> EndUsed; // the record kept for the end of the slot is taken

    RailRecord* Records() { return reinterpret_cast<RailRecord*>(this + 1); }
};
static_assert(sizeof(RailRecord) == 12 && sizeof(RailTable) == 16);

// Positions count bytes since the rail was made and never wrap; their place in the ring is position % RingBytes.
struct alignas(64) RailPosition
{
    std::atomic<uint64_t> Bytes; // the consumer stores (release), the producer loads (acquire)
};

struct RailHeader // several processes see these bytes: the asserts fail the build when one moves
{
    RailGeometry Geometry;
    // Stored by the producer, loaded by consumers, sequentially consistent: the store stands before the producer's
    // look at the sleepers and at the states of the consumers, and their own stores before their look at it.
    alignas(64) std::atomic<uint64_t> CommittedBytes;
    std::atomic<uint32_t> ProducerState;
    // Futex words, one for each direction: a bit for each sleeper, all taken back by whoever wakes them.
    alignas(64) std::atomic<uint32_t> ConsumersAsleep;
    alignas(64) std::atomic<uint32_t> ProducerAsleep;
    alignas(64) std::atomic<uint32_t> ConsumerStates[kMaxConsumers]; // the consumer, and the producer that drops it
    RailPosition Released[kMaxConsumers];
};
static_assert(std::atomic<uint64_t>::is_always_lock_free, "a hidden lock would live in one process only");
static_assert(std::atomic<uint32_t>::is_always_lock_free, "a hidden lock would live in one process only");
static_assert(offsetof(RailHeader, CommittedBytes) == 64 && offsetof(RailHeader, ConsumersAsleep) == 128);
static_assert(offsetof(RailHeader, ProducerAsleep) == 192 && offsetof(RailHeader, ConsumerStates) == 256);
static_assert(offsetof(RailHeader, Released) == 320 && sizeof(RailHeader) == 320 + 64 * kMaxConsumers);

constexpr uint64_t kTablesOffset = 4096;
static_assert(sizeof(RailHeader) <= kTablesOffset);

constexpr uint64_t RoundUp(uint64_t value, uint64_t unit)
{
    return (value + unit - 1) / unit * unit;
}

// One record for 2 KiB of slot: more than every second packet of a picture may be lost. At least 256, since the
// audio and ancillary slots are small and their readers reserve 100.
constexpr uint32_t RecordsPerSlot(uint32_t slotBytes)
{
    return std::clamp<uint32_t>(slotBytes / 2048 + 1, 256, 16384);
}

// The slot size and count must have been checked: none 0, product below the limit.
inline RailGeometry MakeGeometry(uint32_t slotBytes, uint32_t slotCount, RailRole creatorRole, uint64_t pageBytes)
{
    const uint64_t capacity = uint64_t{slotBytes} * slotCount;
    // Big rings are laid out for huge pages; the mirror then starts on one too.
    const uint64_t unit = capacity >= 16 * kHugePageBytes ? std::max(kHugePageBytes, pageBytes) : pageBytes;
    RailGeometry geometry{};
    geometry.Magic = kRailMagic;
    geometry.LayoutVersion = kRailLayoutVersion;
    geometry.SlotBytes = slotBytes;
    geometry.SlotCount = slotCount;
    geometry.RecordsPerSlot = RecordsPerSlot(slotBytes);
    geometry.CreatorRole = creatorRole;
    geometry.TableBytes = RoundUp(sizeof(RailTable) + uint64_t{geometry.RecordsPerSlot} * sizeof(RailRecord), 64);
    // A region that starts in the middle of a slot reaches into one slot more than there are.
    geometry.DataOffset = RoundUp(kTablesOffset + (uint64_t{slotCount} + 1) * geometry.TableBytes, unit);
    geometry.RingBytes = RoundUp(capacity, unit);
    geometry.FileBytes = geometry.DataOffset + geometry.RingBytes;
    return geometry;
}
} // namespace Quillmont::FlowRail

#endif

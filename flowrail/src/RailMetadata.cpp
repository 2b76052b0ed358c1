// The records of slots, in tables that are found by the number of the slot.
#include "RailMetadata.h"

namespace Quillmont::FlowRail
{
void ClearRecords(const RailFile& file, uint64_t begin, uint32_t size)
{
    const RailGeometry& geometry = file.Geometry();
    const uint64_t end = begin + size;
    for (uint64_t slot = begin / geometry.SlotBytes; slot * geometry.SlotBytes < end; ++slot)
    {
        RailTable& table = file.Table(slot);
        const uint64_t slotBegin = slot * geometry.SlotBytes;
        if (table.SlotTag.load(std::memory_order_relaxed) != slot + 1 || begin <= slotBegin)
        {
            table.Count.store(0, std::memory_order_relaxed);
            table.EndUsed.store(0, std::memory_order_relaxed);
            table.SlotTag.store(slot + 1, std::memory_order_release); // consumers see it with the commit
            continue;
        }
        // The slot's first part belongs to somebody else, who may be reading. What a producer that died had added to
        // the rest is made void where it stands; what stands last gives its room back.
        const uint32_t count = std::min(table.Count.load(std::memory_order_relaxed), geometry.RecordsPerSlot);
        uint32_t kept = 0; // up to the last one that is not void
        for (uint32_t index = 0; index < count; ++index)
        {
            RailRecord& record = table.Records()[index];
            const uint64_t position = slotBegin + record.Position.load(std::memory_order_relaxed);
            if (position < begin || position >= end)
            {
                kept = index + 1;
                continue;
            }
            if (record.Type.load(std::memory_order_relaxed) == FLOW_RAIL_METADATA_END)
                table.EndUsed.store(0, std::memory_order_relaxed);
            record.Type.store(0, std::memory_order_relaxed);
        }
        table.Count.store(kept, std::memory_order_relaxed);
    }
}

bool AddRecord(const RailFile& file, const RailRegion& region, const FLOW_RAIL_METADATA& record)
{
    const RailGeometry& geometry = file.Geometry();
    const uint64_t position = region.Begin + record.Position;
    RailTable& table = file.Table(position / geometry.SlotBytes);
    const uint32_t index = table.Count.load(std::memory_order_relaxed);
    const bool endUsed = table.EndUsed.load(std::memory_order_relaxed) != 0;
    const bool takesKeptOne = record.Type == FLOW_RAIL_METADATA_END && !endUsed;
    const uint32_t room = takesKeptOne || endUsed ? geometry.RecordsPerSlot : geometry.RecordsPerSlot - 1;
    if (index >= room) return false;

    RailRecord& target = table.Records()[index];
    target.Position.store(static_cast<uint32_t>(position % geometry.SlotBytes), std::memory_order_relaxed);
    target.Value.store(record.Value, std::memory_order_relaxed);
    target.Type.store(record.Type, std::memory_order_relaxed);
    if (takesKeptOne) table.EndUsed.store(1, std::memory_order_relaxed);
    table.Count.store(index + 1, std::memory_order_release);
    return true;
}
} // namespace Quillmont::FlowRail

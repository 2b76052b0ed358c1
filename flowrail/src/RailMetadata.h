// The records of slots, in tables that are found by the number of the slot.
#ifndef FLOWRAIL_RAILMETADATA_H
#define FLOWRAIL_RAILMETADATA_H

#include "RailFile.h"
#include "RailRegions.h"
#include "flowrail1.h"

namespace Quillmont::FlowRail
{
// Producer: takes back what the region had. The region need not start or end with a slot.
void ClearRecords(const RailFile& file, uint64_t begin, uint32_t size);

// Producer: false when the table of the slot is full. The position is inside the region.
bool AddRecord(const RailFile& file, const RailRegion& region, const FLOW_RAIL_METADATA& record);

// Calls `take` with each record of the type, its position counted from the start of the region, until it gives false.
template <class Take>
void ForEachRecord(const RailFile& file, const RailRegion& region, uint32_t type, Take take)
{
    const RailGeometry& geometry = file.Geometry();
    const uint64_t end = region.Begin + region.Size;
    for (uint64_t slot = region.Begin / geometry.SlotBytes; slot * geometry.SlotBytes < end; ++slot)
    {
        RailTable& table = file.Table(slot);
        if (table.SlotTag.load(std::memory_order_acquire) != slot + 1) continue;
        // Each word is loaded once. Another process may write anything here: what does not fit is passed over.
        const uint32_t count = std::min(table.Count.load(std::memory_order_acquire), geometry.RecordsPerSlot);
        for (uint32_t index = 0; index < count; ++index)
        {
            const RailRecord& source = table.Records()[index];
            const uint32_t foundType = source.Type.load(std::memory_order_relaxed);
            if (foundType != type) continue;
            const uint32_t inSlot = source.Position.load(std::memory_order_relaxed);
            const uint64_t position = slot * geometry.SlotBytes + inSlot;
            if (inSlot >= geometry.SlotBytes || position < region.Begin || position >= end) continue;
            const uint32_t value = source.Value.load(std::memory_order_relaxed);
            if (!take(FLOW_RAIL_METADATA{type, static_cast<uint32_t>(position - region.Begin), value})) return;
        }
    }
}
} // namespace Quillmont::FlowRail

#endif

// The file of a rail: made, found, mapped, and asked who is alive. Unmaps, unlocks and (the creator's) unlinks itself.
#ifndef FLOWRAIL_RAILFILE_H
#define FLOWRAIL_RAILFILE_H

#include "RailDescription.h"
#include "RailGuard.h"
#include "RailLayout.h"

#include <memory>
#include <string>

namespace Quillmont::FlowRail
{
class RailFile
{
public:
    // Both give a FLOW_RAIL_... result and set `file` on success alone.
    static uint32_t Create(const RailDescription& description, std::unique_ptr<RailFile>& file);
    static uint32_t Open(const RailDescription& description, std::unique_ptr<RailFile>& file);

    // Unlinks the rails whose name starts with the prefix and whose creator is gone.
    static uint32_t RemoveAbandoned(const std::string& namePrefix);

    ~RailFile();
    RailFile(const RailFile&) = delete;
    RailFile& operator=(const RailFile&) = delete;

    RailHeader& Header() const { return *reinterpret_cast<RailHeader*>(Base); }
    const RailGeometry& Geometry() const { return Checked; } // the copy that was checked, not the shared bytes
    bool IsCreator() const { return Creator; }
    uint8_t* At(uint64_t position) const { return Base + Checked.DataOffset + position % Checked.RingBytes; }
    RailTable& Table(uint64_t slotNumber) const
    {
        const uint64_t index = slotNumber % (uint64_t{Checked.SlotCount} + 1);
        return *reinterpret_cast<RailTable*>(Base + kTablesOffset + index * Checked.TableBytes);
    }

    // Whether somebody has taken pages from the file, or did so before. Asks the system.
    bool IsCut() const;

    // One byte's lock. It is this object's alone, and gone with it, however the process ends.
    bool TryLock(int64_t byte) const;
    void Unlock(int64_t byte) const;
    bool IsHeldElsewhere(int64_t byte) const; // never true for a lock that this object holds itself

private:
    RailFile(int descriptor, const RailGeometry& geometry, bool creator);
    bool Map();
    bool Prefault() const;
    void UnlinkOwnName() const;

    const int Descriptor; // owned
    const RailGeometry Checked;
    const bool Creator;
    std::string Path; // the creator's, once the file has it
    uint8_t* Reserved = nullptr;
    size_t ReservedBytes = 0;
    uint8_t* Base = nullptr; // header, tables, data, data again
    RailGuard Guard;         // of all of that
};
} // namespace Quillmont::FlowRail

#endif

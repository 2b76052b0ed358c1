// The ancillary packets of one frame, as words in a pool, in the order that a slot or the network wants.
#pragma once

#include "AncillaryRaster.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace mxs::media
{

class AncillaryList
{
public:
    struct Entry
    {
        AncillaryPlace place;
        uint16_t wordCount;
        uint32_t firstWord; // in the pool
        uint64_t order;     // among the packets of one place: no two are the same
    };

    // Takes its memory from the heap here and never again.
    AncillaryList();

    void Clear();
    bool Add(const AncillaryPlace& place, uint64_t order, std::span<const uint16_t> words); // false: no room

    void SortForSlot();    // by buffer, line, area (horizontal first), order
    void SortForNetwork(); // by line, area, buffer, order

    std::span<const Entry> Entries() const { return List; }
    std::span<const uint16_t> WordsOf(const Entry& entry) const
    {
        return std::span(Pool).subspan(entry.firstWord, entry.wordCount);
    }

private:
    std::vector<Entry> List;
    std::vector<uint16_t> Pool;
};

} // namespace mxs::media

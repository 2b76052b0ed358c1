// Which pool elements belong to which locked slot. An ordered map that allocates only when it is told of new pool
// elements: the media thread moves ready nodes between the map and a stock of spare ones.
#pragma once

#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#include "flowrail1.h"

namespace Quillmont::Trellis::Zefa
{
template <class TConverted>
class TSlotCache
{
public:
    struct Entry // into the two pools, which keep their elements in place
    {
        std::vector<TConverted>* Converted = nullptr;
        std::vector<FLOW_RAIL_METADATA>* Records = nullptr;
        size_t Element = 0; // index of both
    };

    // Tells of one more pool element. The only operation that allocates.
    void AddElement()
    {
        Map single;
        single.try_emplace(nullptr);
        Spare.reserve(Taken.size() + 1); // so that Remove can always give a node back
        Taken.push_back(false);          // the last that may fail: no element is without a node
        Spare.push_back(single.extract(single.begin()));
    }

    void Reserve(size_t elements)
    {
        Taken.reserve(elements);
        Spare.reserve(elements);
    }

    bool IsFull() const { return Slots.size() >= Taken.size(); }

    Entry* Find(void* slot)
    {
        const auto found = Slots.find(slot);
        return found == Slots.end() ? nullptr : &found->second;
    }

    // The lowest element that belongs to no slot. Not to be called on a full cache.
    size_t LowestFreeElement() const
    {
        size_t element = 0;
        while (Taken[element])
            ++element;
        return element;
    }

    // Enters a slot that is not in the cache. Not to be called on a full cache.
    Entry* Enter(void* slot, const Entry& entry)
    {
        typename Map::node_type node = std::move(Spare.back());
        Spare.pop_back();
        node.key() = slot;
        node.mapped() = entry;
        Taken[entry.Element] = true;
        return &Slots.insert(std::move(node)).position->second;
    }

    // Frees the elements of a slot, if it has any.
    void Remove(void* slot)
    {
        typename Map::node_type node = Slots.extract(slot);
        if (!node) return;
        Taken[node.mapped().Element] = false;
        Spare.push_back(std::move(node));
    }

private:
    using Map = std::map<void*, Entry>;

    Map Slots;
    std::vector<typename Map::node_type> Spare; // one node for each element that belongs to no slot
    std::vector<bool> Taken;                    // by element
};
} // namespace Quillmont::Trellis::Zefa

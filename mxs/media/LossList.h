// The holes of a slot, as runs of pixel groups, made few enough for the slot's records.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace mxs::media
{

class LossList
{
public:
    struct Loss
    {
        uint64_t begin;
        uint64_t end;

        bool operator==(const Loss&) const = default;
    };

    // At most `most` losses come out of it (2 where a border keeps two apart). Nothing allocates after construction.
    explicit LossList(uint32_t most);

    // A new list; no loss crosses `border`.
    void Clear(uint64_t border);

    // In order, each behind the one before it.
    void Add(uint64_t begin, uint64_t end);

    // The losses, the nearest ones merged as long as there are too many.
    std::span<const Loss> Result();

private:
    void Append(uint64_t begin, uint64_t end);
    void Reduce(size_t target);

    const size_t Most;
    const size_t Held; // losses that are held before a first merge
    uint64_t Border = 0;
    std::vector<Loss> List;
    std::vector<uint64_t> Gaps;
    std::vector<uint64_t> Sorted;
};

} // namespace mxs::media

// Which pixel groups of a slot have arrived: a bit for each.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

namespace mxs::media
{

class CoverageMap
{
public:
    explicit CoverageMap(uint64_t total = 0);

    void Clear();
    uint64_t Total() const { return Count; }
    bool IsWhole() const { return Covered == Count; }
    uint64_t CoveredCount() const { return Covered; }

    // Marks groups; `begin + count` is within the total. Returns how many of them are new.
    uint64_t Mark(uint64_t begin, uint64_t count);

    // Calls `hole(begin, end)` for each run of groups that are missing, in order.
    template <class Function>
    void ForEachHole(Function&& hole) const
    {
        uint64_t begin = Count; // of the hole that is open, Count: none
        for (uint64_t word = 0; word < Words.size(); ++word)
        {
            const uint64_t bits = Words[word];
            if (bits == UINT64_MAX && begin == Count) continue;
            if (bits == 0 && begin != Count) continue;
            for (uint64_t at = word * 64; at < word * 64 + 64 && at < Count;)
            {
                const uint64_t rest = bits >> (at % 64);
                const bool covered = rest & 1;
                const auto run = static_cast<uint64_t>(covered ? std::countr_one(rest) : std::countr_zero(rest));
                if (covered && begin != Count)
                {
                    hole(begin, at);
                    begin = Count;
                }
                else if (!covered && begin == Count)
                    begin = at;
                at += std::min<uint64_t>(run, 64 - at % 64);
            }
        }
        if (begin != Count) hole(begin, Count);
    }

private:
    uint64_t Count;
    uint64_t Covered = 0;
    std::vector<uint64_t> Words;
};

} // namespace mxs::media

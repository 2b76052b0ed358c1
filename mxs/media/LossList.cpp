// Merging of holes.
#include "LossList.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr size_t kLeast = 2;
constexpr uint64_t kNeverMerged = UINT64_MAX;

} // namespace

LossList::LossList(uint32_t most) : Most(std::max<size_t>(most, kLeast)), Held(2 * Most)
{
    List.reserve(Held);
    Gaps.reserve(Held);
    Sorted.reserve(Held);
}

void LossList::Clear(uint64_t border)
{
    Border = border;
    List.clear();
}

void LossList::Add(uint64_t begin, uint64_t end)
{
    if (begin < Border && end > Border)
    {
        Append(begin, Border);
        Append(Border, end);
    }
    else
        Append(begin, end);
}

void LossList::Append(uint64_t begin, uint64_t end)
{
    if (List.size() == Held) Reduce(Most);
    List.push_back({begin, end});
}

std::span<const LossList::Loss> LossList::Result()
{
    if (List.size() > Most) Reduce(Most);
    return List;
}

void LossList::Reduce(size_t target)
{
    Gaps.clear();
    for (size_t i = 0; i + 1 < List.size(); ++i)
    {
        const bool acrossBorder = List[i].begin < Border && List[i + 1].begin >= Border;
        Gaps.push_back(acrossBorder ? kNeverMerged : List[i + 1].begin - List[i].end);
    }
    size_t merges = List.size() - target;
    Sorted = Gaps;
    const auto last = Sorted.begin() + static_cast<std::ptrdiff_t>(merges) - 1;
    std::nth_element(Sorted.begin(), last, Sorted.end());
    const uint64_t widest = *last; // all narrower gaps go, and of these as many as are needed
    size_t narrower =
        static_cast<size_t>(std::count_if(Gaps.begin(), Gaps.end(), [&](uint64_t gap) { return gap < widest; }));
    size_t ofWidest = widest == kNeverMerged ? 0 : merges - narrower;

    size_t kept = 0;
    for (size_t i = 1; i < List.size(); ++i)
    {
        const uint64_t gap = Gaps[i - 1];
        bool merge = gap < widest;
        if (gap == widest && ofWidest > 0)
        {
            merge = true;
            --ofWidest;
        }
        if (merge)
            List[kept].end = List[i].end;
        else
            List[++kept] = List[i];
    }
    List.resize(kept + 1);
}

} // namespace mxs::media

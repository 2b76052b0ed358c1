// Pool and order of a frame's ancillary packets.
#include "AncillaryList.h"

#include <algorithm>
#include <tuple>

namespace mxs::media
{

namespace
{

// As many words as all buffers of a slot can hold. Memory that no frame has needed is reserved and never touched.
constexpr size_t kMostWords = size_t{2} << 20;
constexpr size_t kMostEntries = size_t{1} << 16;

} // namespace

AncillaryList::AncillaryList()
{
    List.reserve(kMostEntries);
    Pool.reserve(kMostWords);
}

void AncillaryList::Clear()
{
    List.clear();
    Pool.clear();
}

bool AncillaryList::Add(const AncillaryPlace& place, uint64_t order, std::span<const uint16_t> words)
{
    if (List.size() == kMostEntries || kMostWords - Pool.size() < words.size()) return false;
    List.push_back({place, static_cast<uint16_t>(words.size()), static_cast<uint32_t>(Pool.size()), order});
    Pool.insert(Pool.end(), words.begin(), words.end());
    return true;
}

void AncillaryList::SortForSlot()
{
    const auto key = [](const Entry& entry)
    { return std::tuple(entry.place.buffer, entry.place.line, !entry.place.horizontal, entry.order); };
    std::sort(List.begin(), List.end(), [&](const Entry& a, const Entry& b) { return key(a) < key(b); });
}

void AncillaryList::SortForNetwork()
{
    const auto key = [](const Entry& entry)
    { return std::tuple(entry.place.line, !entry.place.horizontal, entry.place.buffer, entry.order); };
    std::sort(List.begin(), List.end(), [&](const Entry& a, const Entry& b) { return key(a) < key(b); });
}

} // namespace mxs::media

// Bits of arrived pixel groups.
#include "CoverageMap.h"

#include <algorithm>

namespace mxs::media
{

CoverageMap::CoverageMap(uint64_t total) : Count(total), Words((total + 63) / 64) {}

void CoverageMap::Clear()
{
    std::fill(Words.begin(), Words.end(), 0);
    Covered = 0;
}

uint64_t CoverageMap::Mark(uint64_t begin, uint64_t count)
{
    uint64_t fresh = 0;
    const uint64_t end = begin + count;
    for (uint64_t at = begin; at < end;)
    {
        const uint64_t inWord = at % 64;
        const uint64_t take = std::min<uint64_t>(64 - inWord, end - at);
        const uint64_t mask = (take == 64 ? UINT64_MAX : (1ULL << take) - 1) << inWord;
        uint64_t& word = Words[at / 64];
        // Counting bits is a call of its own on older processors, and all of a packet are mostly new.
        fresh += (word & mask) == 0 ? take : static_cast<uint64_t>(std::popcount(mask & ~word));
        word |= mask;
        at += take;
    }
    Covered += fresh;
    return fresh;
}

} // namespace mxs::media

// One count for each path, in the order that the packets of all paths have.
#include "PathLosses.h"

#include "Assembler.h"

#include <algorithm>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNever = UINT64_MAX;
constexpr uint64_t kWindow = 32768; // indexes behind the highest of a path whose arrival is remembered

} // namespace

PathLosses::PathLosses(size_t paths) : Paths(paths)
{
    for (Path& path : Paths)
        path.seen.resize(kWindow / 64);
}

void PathLosses::Path::JudgeBelow(uint64_t end)
{
    if (end <= judged) return;
    lost += end - judged;
    if (end - judged >= kWindow)
        std::fill(seen.begin(), seen.end(), 0);
    else
        for (uint64_t index = judged; index < end; ++index)
            seen[index / 64 % seen.size()] &= ~(1ULL << (index % 64));
    judged = end;
}

bool PathLosses::Path::TestAndSet(uint64_t index)
{
    uint64_t& word = seen[index / 64 % seen.size()];
    const uint64_t bit = 1ULL << (index % 64);
    const bool before = word & bit;
    word |= bit;
    return before;
}

void PathLosses::BeginAnew(uint64_t index, uint64_t nowNs)
{
    Counting = true;
    BeganNs = MarkNs = nowNs;
    FirstIndex = HighestIndex = MarkIndex = index;
    for (Path& path : Paths)
    {
        path.heard = false;
        path.start = path.judged = index;
        path.lostBefore = path.lost;
        std::fill(path.seen.begin(), path.seen.end(), 0);
    }
}

void PathLosses::Count(size_t path, const SequenceTracker::Verdict& verdict, uint64_t nowNs)
{
    const uint64_t index = verdict.index;
    if (verdict.arrival == SequenceTracker::Arrival::Restart) BeginAnew(index, nowNs);
    HighestIndex = std::max(HighestIndex, index);
    LatestNs = nowNs;

    Path& own = Paths[path];
    // Paths are not joined at the same moment: one that begins a little later has lost nothing by it.
    if (!own.heard && nowNs < BeganNs + kSilenceNs)
    {
        own.start = own.judged = std::max(index, FirstIndex);
        own.lost = own.lostBefore;
    }
    own.heard = true;
    if (index < own.start || index + kWindow < own.judged) return;
    own.JudgeBelow(index + 1);
    if (!own.TestAndSet(index)) --own.lost;
}

uint64_t PathLosses::Judge(uint64_t nowNs)
{
    if (!Counting || !IsAnyBehind()) return kNever;
    const bool silent = nowNs >= LatestNs + kReorderNs;
    if (silent || nowNs >= MarkNs + kReorderNs)
    {
        for (Path& path : Paths)
            path.JudgeBelow((silent ? HighestIndex : MarkIndex) + 1);
        MarkIndex = HighestIndex;
        MarkNs = nowNs;
    }
    return IsAnyBehind() ? LatestNs + kReorderNs : kNever;
}

bool PathLosses::IsAnyBehind() const
{
    return std::any_of(Paths.begin(), Paths.end(), [this](const Path& path) { return path.judged <= HighestIndex; });
}

void PathLosses::Forget()
{
    Counting = false;
}

} // namespace mxs::media

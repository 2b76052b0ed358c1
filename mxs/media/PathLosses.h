// What each of several paths has not brought of the packets that all of them together have told of.
#pragma once

#include "SequenceTracker.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace mxs::media
{

class PathLosses
{
public:
    explicit PathLosses(size_t paths);

    // A packet came on a path; `verdict` says where it stands among those of all paths.
    void Count(size_t path, const SequenceTracker::Verdict& verdict, uint64_t nowNs);

    // A path that brings nothing lacks what others brought some time ago. Returns the time of the next look,
    // UINT64_MAX when no path is behind.
    uint64_t Judge(uint64_t nowNs);

    void Forget(); // what has not been judged is no loss; the next packet is a Restart

    uint64_t Lost(size_t path) const { return Paths[path].lost; } // never falls below 0, whatever comes twice

private:
    struct Path
    {
        bool heard = false;         // since the latest restart
        uint64_t start = 0;         // index with which its count begins
        uint64_t judged = 0;        // all below have come or are lost; none from here on has come
        uint64_t lost = 0;          // since the stream's start
        uint64_t lostBefore = 0;    // of these, before the latest restart
        std::vector<uint64_t> seen; // a bit for each of the latest indexes

        void JudgeBelow(uint64_t end);
        bool TestAndSet(uint64_t index);
    };

    void BeginAnew(uint64_t index, uint64_t nowNs);
    bool IsAnyBehind() const;

    std::vector<Path> Paths;
    bool Counting = false;
    uint64_t BeganNs = 0;
    uint64_t FirstIndex = 0;
    uint64_t HighestIndex = 0; // of all paths
    uint64_t LatestNs = 0;     // when the latest packet came
    uint64_t MarkIndex = 0;    // the highest at an earlier time:
    uint64_t MarkNs = 0;
};

} // namespace mxs::media

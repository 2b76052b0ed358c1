// A media side without packets, in place of the real one: it notes what it is asked and answers what a test wants.
#pragma once

#include "mxs/media/MediaStream.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace test
{

struct FakeMedia
{
    mxs::media::Outcome startOutcome;   // of every Start
    mxs::media::Outcome essenceOutcome; // of every CheckEssence, unless it succeeds
    bool throwNoMemory = false;         // Start throws std::bad_alloc
    std::string throwError;             // unless empty, Start throws std::runtime_error with it
    std::function<void()> onStart;      // called by each Start
    mxs::media::NetworkCounters counters;
    mxs::media::ProcessingTimes times;
    uint32_t slotsDropped = 0;
    bool bufferDelayed = false;
    bool damaged = false; // every running stream; asked for at any time, so through std::atomic_ref
    std::multimap<std::string, std::string> description{{"Name", "/fake"}, {"SlotCount", "4"}};

    mxs::media::NetworkConfig lastNetwork; // of the last stream made
    mxs::media::CommonConfig lastCommon;
    mxs::media::VideoConfig lastVideo;
    int running = 0; // streams between Start and Stop
};

// The one of this test program. Tests reset it; the service's threads use it while a test waits for their answer.
FakeMedia& Fake();

} // namespace test

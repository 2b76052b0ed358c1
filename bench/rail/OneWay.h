// One way from process to process, the receiver asleep: the rail, and beside it GStreamer's shmsink and shmsrc and a
// bare futex.
#ifndef BENCH_RAIL_ONEWAY_H
#define BENCH_RAIL_ONEWAY_H

#include <cstdint>
#include <ctime>

namespace railbench
{
inline int64_t NowNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

// A road that is set up once and then gives the time of single hand-overs, in nanoseconds.
class OneWayRoad
{
public:
    virtual ~OneWayRoad() = default;
    virtual int64_t Measure() = 0;
};

OneWayRoad* NewFutexRoad(uint32_t, unsigned receiverCpu); // carries nothing but the time
OneWayRoad* NewRailRoad(uint32_t slotBytes, unsigned receiverCpu);

bool HasGStreamer(); // this build, and its elements are installed
OneWayRoad* NewGStreamerRoad(uint32_t bufferBytes, unsigned receiverCpu);
} // namespace railbench

#endif

// How busy the service is with requests.
#pragma once

#include "mxs/Records.h"

#include <chrono>
#include <cstdint>
#include <mutex>

namespace mxs
{

class ProcessingMeter
{
public:
    ProcessingMeter();

    void Note(std::chrono::nanoseconds waited, std::chrono::nanoseconds processed); // one request; any thread
    void Sample();                                                                  // once a second
    ProcessingStatus Read() const; // threadCount is the caller's to add

private:
    struct Extremes
    {
        uint64_t minimum = UINT64_MAX;
        uint64_t maximum = 0;

        void Note(uint64_t value);
        uint32_t Least() const;
        uint32_t Most() const;
    };
    struct Second
    {
        Extremes wait;
        Extremes processing;
        uint32_t jobs = 0;
    };

    mutable std::mutex Mutex; // guards what follows
    ProcessingStatus Totals;
    Second Running;
    Second Last;
    double LoadPercent = 0;
    double LastCpuSeconds = 0;
    std::chrono::steady_clock::time_point LastSample;
};

} // namespace mxs

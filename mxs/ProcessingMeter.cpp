// Totals since the start, and figures of the last full second.
#include "mxs/ProcessingMeter.h"

#include <algorithm>
#include <cmath>
#include <sys/resource.h>
#include <thread>

namespace mxs
{

namespace
{

double CpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& time)
    { return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6; };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

uint32_t Saturated(uint64_t value)
{
    return static_cast<uint32_t>(std::min<uint64_t>(value, UINT32_MAX));
}

} // namespace

void ProcessingMeter::Extremes::Note(uint64_t value)
{
    minimum = std::min(minimum, value);
    maximum = std::max(maximum, value);
}

uint32_t ProcessingMeter::Extremes::Least() const
{
    return minimum == UINT64_MAX ? 0 : Saturated(minimum);
}

uint32_t ProcessingMeter::Extremes::Most() const
{
    return Saturated(maximum);
}

ProcessingMeter::ProcessingMeter() : LastCpuSeconds(CpuSeconds()), LastSample(std::chrono::steady_clock::now()) {}

void ProcessingMeter::Note(std::chrono::nanoseconds waited, std::chrono::nanoseconds processed)
{
    const auto waitNs = static_cast<uint64_t>(waited.count());
    const auto processNs = static_cast<uint64_t>(processed.count());
    const std::lock_guard lock(Mutex);
    ++Totals.jobCount;
    Totals.waitTime += waitNs;
    Totals.processingTime += processNs;
    ++Running.jobs;
    Running.wait.Note(waitNs);
    Running.processing.Note(processNs);
}

void ProcessingMeter::Sample()
{
    const double cpuSeconds = CpuSeconds();
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(Mutex);
    const double seconds = std::chrono::duration<double>(now - LastSample).count();
    if (seconds <= 0) return;
    const double cores = std::max(1u, std::thread::hardware_concurrency());
    LoadPercent = std::clamp(100.0 * (cpuSeconds - LastCpuSeconds) / (seconds * cores), 0.0, 100.0);
    LastCpuSeconds = cpuSeconds;
    LastSample = now;
    Last = Running;
    Last.jobs = static_cast<uint32_t>(std::lround(static_cast<double>(Running.jobs) / seconds));
    Running = {};
}

ProcessingStatus ProcessingMeter::Read() const
{
    const std::lock_guard lock(Mutex);
    ProcessingStatus status = Totals;
    status.globalLoad = LoadPercent;
    status.minimumWaitTime = Last.wait.Least();
    status.maximumWaitTime = Last.wait.Most();
    status.minimumProcessingTime = Last.processing.Least();
    status.maximumProcessingTime = Last.processing.Most();
    status.jobRate = Last.jobs;
    return status;
}

} // namespace mxs

// The thread of a conductor: pinned to its core, running all its streams in one loop, asleep when there is nothing
// to do.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

namespace mxs::media
{

// A member of the loop. Called on the conductor's thread only.
class ConductorTask
{
public:
    virtual ~ConductorTask() = default;

    // Descriptor whose readability wakes the task, or -1 for a task that runs by time alone. A task with several
    // sockets offers an epoll descriptor of its own.
    virtual int WakeDescriptor() const = 0;

    // Does what is due now (nanoseconds of CLOCK_MONOTONIC) and returns when it wants to run next at the latest
    // (UINT64_MAX: only when woken). Must not block.
    virtual uint64_t Run(uint64_t nowNs) = 0;

    // Bytes moved since the last call, for the conductor's throughput.
    virtual uint64_t TakeBytesMoved() = 0;
    virtual uint64_t TakePacketsMoved() = 0;
};

class ConductorLoop
{
public:
    ConductorLoop();
    ~ConductorLoop(); // stops
    ConductorLoop(const ConductorLoop&) = delete;
    ConductorLoop& operator=(const ConductorLoop&) = delete;

    // Starts the thread pinned to the operating system's core number; false when the system refuses the thread.
    bool Start(uint32_t osCore);
    void Stop(); // joins; tasks stay registered and run again after the next Start
    bool IsRunning() const;

    // Both return when the loop's thread no longer runs (Remove) or already knows (Add) the task. Any thread but the
    // loop's own. A loop that is not running keeps the tasks until it starts. Add is false when the system refuses to
    // watch the task's descriptor: the loop does not know the task then.
    bool Add(ConductorTask& task);
    void Remove(ConductorTask& task);

    double LoadPercent() const; // of the last full second
    uint64_t ThroughputBitsPerSecond() const;
    uint64_t TotalPackets() const;

private:
    struct State;
    std::unique_ptr<State> Inner;
};

} // namespace mxs::media

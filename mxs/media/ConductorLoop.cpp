// The conductor's thread: one epoll loop over all tasks, commands from other threads through an event descriptor.
#include "ConductorLoop.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <csignal>
#include <future>
#include <list>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include <pthread.h>
#include <sched.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

namespace mxs::media
{

namespace
{

constexpr uint64_t kNever = UINT64_MAX;
constexpr uint64_t kNsPerSecond = 1'000'000'000;
constexpr uint64_t kNsPerMs = 1'000'000;
constexpr size_t kEventsAtOnce = 64;

uint64_t MonotonicNs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * kNsPerSecond + static_cast<uint64_t>(now.tv_nsec);
}

bool PinThisThread(uint32_t osCore)
{
    // A set of the size that the number asks for: the fixed one ends at core 1023.
    cpu_set_t* cores = CPU_ALLOC(osCore + 1);
    if (!cores) return false;
    const size_t bytes = CPU_ALLOC_SIZE(osCore + 1);
    CPU_ZERO_S(bytes, cores);
    CPU_SET_S(osCore, bytes, cores);
    const bool pinned = pthread_setaffinity_np(pthread_self(), bytes, cores) == 0;
    CPU_FREE(cores);
    return pinned;
}

// Highest core number that is asked of the system; a larger one is refused without a look.
constexpr uint32_t kHighestCore = 65535;

struct Entry
{
    ConductorTask* task = nullptr;
    int descriptor = -1;
    uint64_t dueNs = 0; // 0: as soon as possible
    bool woken = false;
};

// Lies with the caller, who waits until it is done. Nothing is allocated for it on the loop's thread, where nobody
// could be told of a failure.
struct Command
{
    ConductorTask* task = nullptr;
    std::list<Entry> added = {}; // empty: the task goes
    bool done = false;
    Command* next = nullptr;
};

} // namespace

struct ConductorLoop::State
{
    int epollDescriptor = -1;
    int wakeDescriptor = -1;

    std::mutex control; // held by Start and Stop: one of them at a time
    std::thread thread;

    std::mutex guard; // all up to the blank line
    std::condition_variable commandsDone;
    Command* pending = nullptr; // the oldest
    uint64_t issued = 0;        // commands ever queued
    uint64_t finished = 0;      // and carried out
    bool running = false;
    bool stopRequested = false;

    // Owned by the loop's thread while it runs, by the holder of `guard` while it does not.
    std::list<Entry> entries;

    // Written by the loop's thread, read by anybody.
    std::atomic<bool> stopNow{false};
    std::atomic<bool> commandsWaiting{false};
    std::atomic<double> load{0};
    std::atomic<uint64_t> throughput{0};
    std::atomic<uint64_t> packets{0};

    // The second that is being measured; loop's thread only.
    uint64_t windowStartNs = 0;
    uint64_t windowBusyNs = 0;
    uint64_t windowBytes = 0;

    bool hasFineWait = true; // the kernel knows epoll_pwait2; loop's thread only

    State()
    {
        epollDescriptor = epoll_create1(EPOLL_CLOEXEC);
        wakeDescriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.ptr = nullptr; // no entry: the loop's own wake-up
        if (IsUsable()) epoll_ctl(epollDescriptor, EPOLL_CTL_ADD, wakeDescriptor, &event);
    }
    ~State()
    {
        if (wakeDescriptor >= 0) close(wakeDescriptor);
        if (epollDescriptor >= 0) close(epollDescriptor);
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    bool IsUsable() const { return epollDescriptor >= 0 && wakeDescriptor >= 0; }

    void Wake() const
    {
        const uint64_t one = 1;
        // A full counter is a wake-up that is already on its way.
        [[maybe_unused]] const ssize_t written = write(wakeDescriptor, &one, sizeof one);
    }

    bool Apply(Command& command) noexcept
    {
        const auto found = std::find_if(entries.begin(), entries.end(),
                                        [&](const Entry& entry) { return entry.task == command.task; });
        if (!command.added.empty())
        {
            if (found != entries.end()) return true;
            Entry& entry = command.added.front(); // keeps its address
            if (entry.descriptor >= 0)
            {
                epoll_event event{};
                event.events = EPOLLIN;
                event.data.ptr = &entry;
                if (epoll_ctl(epollDescriptor, EPOLL_CTL_ADD, entry.descriptor, &event) != 0) return false;
            }
            entries.splice(entries.end(), command.added);
            return true;
        }
        if (found == entries.end()) return true;
        if (found->descriptor >= 0) epoll_ctl(epollDescriptor, EPOLL_CTL_DEL, found->descriptor, nullptr);
        entries.erase(found);
        return true;
    }

    void ApplyPending() noexcept // with `guard` held
    {
        for (; pending; pending = pending->next)
            pending->done = Apply(*pending);
        finished = issued;
        commandsWaiting.store(false);
        commandsDone.notify_all();
    }

    bool Order(Command& command)
    {
        std::unique_lock lock(guard);
        if (!running) return Apply(command);
        Command** last = &pending;
        while (*last)
            last = &(*last)->next;
        *last = &command;
        const uint64_t ticket = ++issued;
        commandsWaiting.store(true); // the loop looks behind `guard` itself
        Wake();
        commandsDone.wait(lock, [&] { return finished >= ticket; });
        return command.done;
    }

    // Runs what is woken or due; returns the time of the next deadline.
    uint64_t RunTasks()
    {
        const uint64_t startNs = MonotonicNs();
        uint64_t nowNs = startNs;
        uint64_t next = kNever;
        for (Entry& entry : entries)
        {
            if (entry.woken || entry.dueNs <= nowNs)
            {
                entry.woken = false;
                entry.dueNs = entry.task->Run(nowNs);
                windowBytes += entry.task->TakeBytesMoved();
                packets.fetch_add(entry.task->TakePacketsMoved(), std::memory_order_relaxed);
                nowNs = MonotonicNs(); // the next task does not pay for this one
            }
            next = std::min(next, entry.dueNs);
        }
        windowBusyNs += nowNs - startNs;
        return next;
    }

    // Publishes the second that has ended; returns when the next one ends, or kNever once silence is published.
    uint64_t Measure(uint64_t nowNs)
    {
        const uint64_t elapsed = nowNs - windowStartNs;
        if (elapsed >= kNsPerSecond)
        {
            const double share = static_cast<double>(windowBusyNs) / static_cast<double>(elapsed);
            load.store(std::min(100.0, 100.0 * share), std::memory_order_relaxed);
            const double bitsPerSecond = 8.0 * static_cast<double>(windowBytes) * 1e9 / static_cast<double>(elapsed);
            throughput.store(static_cast<uint64_t>(bitsPerSecond), std::memory_order_relaxed);
            windowStartNs = nowNs;
            windowBusyNs = 0;
            windowBytes = 0;
        }
        const bool quiet = windowBusyNs == 0 && load.load(std::memory_order_relaxed) == 0;
        return quiet ? kNever : windowStartNs + kNsPerSecond;
    }

    void Sleep(uint64_t untilNs)
    {
        std::array<epoll_event, kEventsAtOnce> events;
        const uint64_t nowNs = MonotonicNs();
        const uint64_t waitNs = untilNs <= nowNs ? 0 : untilNs - nowNs;
        timespec timeout{};
        timeout.tv_sec = static_cast<time_t>(waitNs / kNsPerSecond);
        timeout.tv_nsec = static_cast<long>(waitNs % kNsPerSecond);
        const timespec* limit = untilNs == kNever ? nullptr : &timeout;
        int count = -1;
        if (hasFineWait)
        {
            count = epoll_pwait2(epollDescriptor, events.data(), static_cast<int>(events.size()), limit, nullptr);
            hasFineWait = count >= 0 || errno == EINTR; // filters of system calls refuse it with errors of their own
        }
        if (!hasFineWait)
        {
            const uint64_t waitMs = std::min<uint64_t>((waitNs + kNsPerMs - 1) / kNsPerMs, INT_MAX);
            count = epoll_wait(epollDescriptor, events.data(), static_cast<int>(events.size()),
                               limit ? static_cast<int>(waitMs) : -1);
        }
        for (int i = 0; i < count; ++i)
        {
            if (auto* entry = static_cast<Entry*>(events[static_cast<size_t>(i)].data.ptr))
                entry->woken = true;
            else
            {
                uint64_t drained = 0;
                [[maybe_unused]] const ssize_t got = read(wakeDescriptor, &drained, sizeof drained);
            }
        }
    }

    void Loop()
    {
        windowStartNs = MonotonicNs();
        windowBusyNs = 0;
        windowBytes = 0;
        for (Entry& entry : entries)
            entry.dueNs = 0;
        while (true)
        {
            if (commandsWaiting.load() || stopNow.load())
            {
                std::lock_guard lock(guard);
                ApplyPending();
                if (stopRequested)
                {
                    running = false;
                    break;
                }
            }
            const uint64_t nextTaskNs = RunTasks();
            const uint64_t nextMeasureNs = Measure(MonotonicNs());
            Sleep(std::min(nextTaskNs, nextMeasureNs));
            if (nextMeasureNs == kNever) windowStartNs = MonotonicNs(); // the silence belongs to no second
        }
        load.store(0, std::memory_order_relaxed);
        throughput.store(0, std::memory_order_relaxed);
    }
};

ConductorLoop::ConductorLoop() : Inner(std::make_unique<State>()) {}

ConductorLoop::~ConductorLoop()
{
    Stop();
}

bool ConductorLoop::Start(uint32_t osCore)
{
    std::lock_guard control(Inner->control);
    if (Inner->thread.joinable()) return false;
    if (!Inner->IsUsable() || osCore > kHighestCore) return false;

    std::promise<bool> pinned; // moves into the thread, which alone touches it then
    std::future<bool> outcome = pinned.get_future();
    bool created = true;
    {
        std::lock_guard lock(Inner->guard);
        Inner->stopRequested = false;
        Inner->stopNow.store(false);
        Inner->running = true;
    }
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    for (const int fault : {SIGBUS, SIGSEGV, SIGFPE, SIGILL})
        sigdelset(&all, fault); // the thread's own doing: blocked, they would end the process past their handlers
    pthread_sigmask(SIG_SETMASK, &all, &before); // signals belong to the service's main thread
    try
    {
        Inner->thread = std::thread(
            [state = Inner.get(), osCore, pinned = std::move(pinned)]() mutable
            {
                prctl(PR_SET_TIMERSLACK, 1000UL); // senders are woken for every burst
                pthread_setname_np(pthread_self(), ("conductor-" + std::to_string(osCore)).substr(0, 15).c_str());
                const bool ok = PinThisThread(osCore);
                pinned.set_value(ok);
                if (ok) state->Loop();
            });
    }
    catch (const std::system_error&)
    {
        created = false;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);

    if (created && outcome.get()) return true;
    if (Inner->thread.joinable()) Inner->thread.join();
    std::lock_guard lock(Inner->guard);
    Inner->ApplyPending(); // of callers that came while it seemed to run
    Inner->running = false;
    return false;
}

void ConductorLoop::Stop()
{
    std::lock_guard control(Inner->control);
    if (!Inner->thread.joinable()) return;
    {
        std::lock_guard lock(Inner->guard);
        Inner->stopRequested = true;
        Inner->stopNow.store(true);
    }
    Inner->Wake();
    Inner->thread.join();
}

bool ConductorLoop::IsRunning() const
{
    std::lock_guard lock(Inner->guard);
    return Inner->running;
}

bool ConductorLoop::Add(ConductorTask& task)
{
    Command command{.task = &task};
    command.added.push_back({.task = &task, .descriptor = task.WakeDescriptor()});
    return Inner->Order(command);
}

void ConductorLoop::Remove(ConductorTask& task)
{
    Command command{.task = &task};
    Inner->Order(command);
}

double ConductorLoop::LoadPercent() const
{
    return Inner->load.load(std::memory_order_relaxed);
}

uint64_t ConductorLoop::ThroughputBitsPerSecond() const
{
    return Inner->throughput.load(std::memory_order_relaxed);
}

uint64_t ConductorLoop::TotalPackets() const
{
    return Inner->packets.load(std::memory_order_relaxed);
}

} // namespace mxs::media

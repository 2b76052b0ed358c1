// The table of rails and the handler that reads it: atomics alone, since a handler may neither lock nor allocate.
#include "RailGuard.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Quillmont::FlowRail
{
namespace
{
// Process-wide like the handler itself. Zeros at load: a process that never installs it never touches a page of this.
struct Entry
{
    std::atomic<bool> Taken;
    std::atomic<bool> Faulted;
    std::atomic<uintptr_t> Begin; // stored last (release) and emptied first; 0: nothing to be found here
    std::atomic<size_t> Bytes;
};
constinit std::array<Entry, 4096> Entries{};
constinit std::atomic<bool> Installed{false};
constinit struct sigaction Previous = {};

Entry* FindRail(uintptr_t address)
{
    for (Entry& entry : Entries)
    {
        const uintptr_t begin = entry.Begin.load(std::memory_order_acquire);
        const size_t bytes = entry.Bytes.load(std::memory_order_relaxed);
        if (begin != 0 && address >= begin && address - begin < bytes &&
            entry.Begin.load(std::memory_order_acquire) == begin)
            return &entry;
    }
    return nullptr;
}

// All of the rail at once: it is of no use any more, and one fault is enough. Of two threads that fault together the
// second clears what the first has written there, which nobody reads.
bool GiveEmptyMemory(Entry& entry)
{
    entry.Faulted.store(true, std::memory_order_release);
    // The system call itself: what sanitizers put around the function is not for handlers.
    const long result =
        syscall(SYS_mmap, entry.Begin.load(std::memory_order_relaxed), entry.Bytes.load(std::memory_order_relaxed),
                PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE, -1, 0);
    return result != -1;
}

// What would have happened without this handler.
void PassOn(int signal, siginfo_t* info, void* context)
{
    if (Previous.sa_flags & SA_SIGINFO) return Previous.sa_sigaction(signal, info, context);
    const bool wasSent = info->si_code <= 0;
    if (Previous.sa_handler == SIG_IGN && wasSent) return;
    if (Previous.sa_handler != SIG_DFL && Previous.sa_handler != SIG_IGN) return Previous.sa_handler(signal);
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    sigaction(signal, &standard, nullptr);
    if (wasSent) raise(signal); // a fault comes again by itself
}

void OnBusError(int signal, siginfo_t* info, void* context)
{
    const int callersErrno = errno;
    Entry* const rail = info->si_code == BUS_ADRERR ? FindRail(reinterpret_cast<uintptr_t>(info->si_addr)) : nullptr;
    if (!rail || !GiveEmptyMemory(*rail)) PassOn(signal, info, context);
    errno = callersErrno;
}
} // namespace

bool RailGuard::Install()
{
    if (Installed.exchange(true)) return true;
    struct sigaction action = {};
    action.sa_sigaction = OnBusError;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&action.sa_mask);
    if (sigaction(SIGBUS, &action, &Previous) == 0) return true;
    Installed.store(false);
    return false;
}

bool RailGuard::Watch(uint8_t* begin, size_t bytes)
{
    if (!Installed.load()) return true;
    for (size_t place = 0; place < Entries.size(); ++place)
    {
        Entry& entry = Entries[place];
        if (entry.Taken.load(std::memory_order_relaxed) || entry.Taken.exchange(true, std::memory_order_acquire))
            continue;
        entry.Faulted.store(false, std::memory_order_relaxed);
        entry.Bytes.store(bytes, std::memory_order_relaxed);
        entry.Begin.store(reinterpret_cast<uintptr_t>(begin), std::memory_order_release);
        Place = place;
        return true;
    }
    errno = ENOMEM;
    return false;
}

void RailGuard::Forget()
{
    if (Place == kNone) return;
    Entry& entry = Entries[Place];
    entry.Begin.store(0, std::memory_order_release);
    entry.Taken.store(false, std::memory_order_release);
    Place = kNone;
}

bool RailGuard::HasFaulted() const
{
    return Place != kNone && Entries[Place].Faulted.load(std::memory_order_acquire);
}
} // namespace Quillmont::FlowRail

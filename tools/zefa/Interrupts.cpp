// Signals, and waits that hear them.
#include "Interrupts.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace zefa
{
namespace
{
constexpr int kStandsStillMs = 200; // how late an end may be seen

volatile std::sig_atomic_t interrupted = 0;
int interruption = -1; // readable once there was one: a signal just before a wait ends it, too

void Interrupt(int)
{
    const int before = errno;
    interrupted = 1;
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(interruption, &one, sizeof one);
    errno = before;
}
} // namespace

void CatchSignals()
{
    interruption = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    struct sigaction action = {}, before = {};
    action.sa_handler = &Interrupt;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGHUP, nullptr, &before);
    if (before.sa_handler != SIG_IGN) ::sigaction(SIGHUP, &action, nullptr); // nohup asks to go on
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &action, nullptr);
}

bool Interrupted()
{
    return interrupted != 0;
}

bool NotInterrupted()
{
    return interrupted == 0;
}

bool Pause(double seconds)
{
    using namespace std::chrono;
    const auto end = steady_clock::now() + duration_cast<steady_clock::duration>(duration<double>(seconds));
    pollfd wait{interruption, POLLIN, 0};
    for (auto left = end - steady_clock::now(); NotInterrupted() && left.count() > 0; left = end - steady_clock::now())
        ::poll(&wait, 1, static_cast<int>(ceil<milliseconds>(left).count()));
    return NotInterrupted();
}

bool AwaitReady(int descriptor, short events, const GoOn& goOn)
{
    pollfd wait{descriptor, events, 0};
    // After an interrupt, too, what is not quite ready has its time: a last line is not lost.
    while (true)
    {
        const int ready = ::poll(&wait, 1, kStandsStillMs);
        if (ready > 0 || (ready < 0 && errno != EINTR)) return true; // what is wrong with it, the next call tells
        if (ready == 0 && !goOn()) return false;
    }
}

} // namespace zefa

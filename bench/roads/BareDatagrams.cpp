// Threads of their own, so that nothing else is in the processor time of theirs.
#include "BareDatagrams.h"

#include "../support/Pinned.h"
#include "Roads.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <future>
#include <netinet/udp.h>
#include <stdexcept>
#include <sys/prctl.h>

namespace bench
{

namespace
{

double ThreadSeconds()
{
    return static_cast<double>(NsOf(CLOCK_THREAD_CPUTIME_ID)) / 1e9;
}

// Processor seconds of some work, on a core and with timers as exact as conductors have them.
std::future<double> OnCore(unsigned core, const std::function<void()>& work)
{
    return std::async(std::launch::async,
                      [core, work]
                      {
                          const Pinned pinned(core);
                          prctl(PR_SET_TIMERSLACK, 1000UL);
                          const double begun = ThreadSeconds();
                          work();
                          return ThreadSeconds() - begun;
                      });
}

// Frames of a second, as many as are sent.
size_t FramesOf(double frameSeconds)
{
    return static_cast<size_t>(std::lround(1 / frameSeconds));
}

// `sent` is called behind each burst.
void SendPaced(BareSender& sender, const Frames& frames, double frameSeconds, const std::function<void()>& sent)
{
    const auto frameNs = static_cast<uint64_t>(1e9 * frameSeconds);
    Pace pace(frames, frameNs);
    const uint64_t beginNs = NsOf(CLOCK_MONOTONIC);
    for (size_t frame = 0; frame < FramesOf(frameSeconds); ++frame)
    {
        pace.BeginFrame(beginNs + frame * frameNs);
        for (size_t count = 0; count < frames.datagrams; sent())
        {
            pace.AwaitBurst();
            count += sender.SendBurst();
        }
    }
}

} // namespace

double BareDatagramSeconds(size_t bytes, size_t burst)
{
    constexpr double kLongEnough = 0.3;
    const LoopbackSocket receiver, sender;
    sender.Connect(receiver.Bind());
    receiver.Demand(UDP_GRO, 1);
    if (burst > 1) sender.Demand(UDP_SEGMENT, static_cast<int>(bytes));
    const std::vector<char> sent(bytes * burst);
    std::vector<char> room(65536);
    const double begun = ThreadSeconds();
    size_t count = 0;
    while (ThreadSeconds() - begun < kLongEnough)
        for (int i = 0; i < 100; ++i, count += burst)
        {
            if (send(sender.Handle, sent.data(), sent.size(), 0) < 0) throw std::runtime_error("no sending");
            while (recv(receiver.Handle, room.data(), room.size(), MSG_DONTWAIT) > 0)
                continue;
        }
    return (ThreadSeconds() - begun) / static_cast<double>(count);
}

double BareLoopSeconds(const Frames& frames, double frameSeconds)
{
    BareReceiver receiver(frames);
    BareSender sender(frames, receiver.Port());
    size_t received = 0;
    const double seconds = OnCore(ConductorCores()[0],
                                  [&]
                                  {
                                      SendPaced(sender, frames, frameSeconds,
                                                [&]
                                                {
                                                    while (const size_t count = receiver.Receive(false))
                                                        received += count;
                                                });
                                  })
                               .get();
    return seconds / static_cast<double>(std::max<size_t>(received, 1));
}

double BareEndsSeconds(const Frames& frames, double frameSeconds)
{
    BareReceiver receiver(frames);
    BareSender sender(frames, receiver.Port());
    std::future<double> sending = OnCore(ConductorCores()[1], [&] { SendPaced(sender, frames, frameSeconds, [] {}); });
    const double received = BareReceiverSeconds(receiver, frames, frameSeconds);
    return received + sending.get() / static_cast<double>(FramesOf(frameSeconds) * frames.datagrams);
}

double BareReceiverSeconds(BareReceiver& receiver, const Frames& frames, double frameSeconds)
{
    const size_t due = FramesOf(frameSeconds) * frames.datagrams;
    size_t received = 0;
    const double seconds = OnCore(ConductorCores()[0],
                                  [&]
                                  {
                                      size_t count = 1;
                                      for (; count > 0 && received < due; received += count)
                                          count = receiver.Receive(true);
                                  })
                               .get();
    return seconds / static_cast<double>(std::max<size_t>(received, 1));
}

} // namespace bench

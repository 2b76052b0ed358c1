// Blocking sockets: who does not wait says so in each call.
#include "BareStream.h"

#include <algorithm>
#include <cstring>
#include <netinet/udp.h>
#include <time.h>

namespace bench
{

uint64_t NsOf(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<uint64_t>(now.tv_nsec);
}

void SleepUntil(uint64_t monotonicNs)
{
    const timespec until{static_cast<time_t>(monotonicNs / 1'000'000'000),
                         static_cast<long>(monotonicNs % 1'000'000'000)};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

// ---- receiving ----

BareReceiver::BareReceiver(const Frames& frames)
    : BoundPort(Socket.Bind()), Kind(frames), Places(frames.inMemory * frames.datagrams * frames.PayloadBytes()),
      Got(65536)
{
    Socket.Set(SOL_SOCKET, SO_RCVBUFFORCE, 16 << 20); // where it is permitted
    Socket.Demand(UDP_GRO, 1);
    const timeval patience{10, 0};
    setsockopt(Socket.Handle, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

size_t BareReceiver::Receive(bool waits)
{
    iovec piece{Got.data(), Got.size()};
    msghdr message{};
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    const ssize_t bytes = recvmsg(Socket.Handle, &message, waits ? 0 : MSG_DONTWAIT);
    const size_t payloadBytes = Kind.PayloadBytes(), headBytes = Kind.datagramBytes - payloadBytes;
    const size_t count = bytes > 0 ? static_cast<size_t>(bytes) / Kind.datagramBytes : 0;
    for (size_t i = 0; i < count; ++i)
    {
        std::memcpy(Places.data() + NextPlace * payloadBytes, Got.data() + i * Kind.datagramBytes + headBytes,
                    payloadBytes);
        NextPlace = (NextPlace + 1) % (Kind.inMemory * Kind.datagrams);
    }
    return count;
}

// ---- sending ----

BareSender::BareSender(const Frames& frames, uint16_t port)
    : Kind(frames), Samples(frames.inMemory * frames.datagrams * frames.PayloadBytes(), 1),
      Burst(frames.burst * frames.datagramBytes)
{
    Socket.Connect(port);
    Socket.Demand(UDP_SEGMENT, static_cast<int>(frames.datagramBytes));
}

size_t BareSender::SendBurst()
{
    const size_t payloadBytes = Kind.PayloadBytes(), headBytes = Kind.datagramBytes - payloadBytes;
    const size_t count = std::min(Kind.burst, Kind.datagrams - NextDatagram % Kind.datagrams);
    for (size_t i = 0; i < count; ++i)
        std::memcpy(Burst.data() + i * Kind.datagramBytes + headBytes,
                    Samples.data() + (NextDatagram + i) * payloadBytes, payloadBytes);
    if (send(Socket.Handle, Burst.data(), count * Kind.datagramBytes, 0) < 0) throw std::runtime_error("no sending");
    NextDatagram = (NextDatagram + count) % (Kind.inMemory * Kind.datagrams);
    return count;
}

Pace::Pace(const Frames& frames, uint64_t frameNs) : BurstNs(frameNs * 1080 / 1125 * frames.burst / frames.datagrams) {}

void Pace::AwaitBurst()
{
    DueNs += BurstNs;
    SleepUntil(std::max(DueNs, NsOf(CLOCK_MONOTONIC)));
}

} // namespace bench

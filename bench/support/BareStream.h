// The least that a sender and a receiver of video do: bursts that the kernel cuts into datagrams and puts together
// again (UDP_SEGMENT, UDP_GRO), and one copy of each payload at either end.
#pragma once

#include "LoopbackSocket.h"

#include <cstddef>
#include <cstdint>
#include <time.h>
#include <vector>

namespace bench
{

struct Frames
{
    size_t datagrams = 0; // of a frame
    size_t datagramBytes = 1220;
    size_t burst = 44;   // datagrams that are sent at once
    size_t inMemory = 8; // by turns, as rings have slots, or all of it would stay in the cache

    size_t PayloadBytes() const { return datagramBytes - 20; }
};

class BareReceiver
{
public:
    explicit BareReceiver(const Frames& frames);

    uint16_t Port() const { return BoundPort; }

    // Copies what the kernel has put together to its places, and gives the number of datagrams: 0 when none is there,
    // or with `waits` when none came in ten seconds.
    size_t Receive(bool waits);

private:
    const LoopbackSocket Socket;
    const uint16_t BoundPort;
    const Frames Kind;
    std::vector<uint8_t> Places, Got;
    size_t NextPlace = 0;
};

class BareSender
{
public:
    BareSender(const Frames& frames, uint16_t port);

    size_t SendBurst(); // the next of the frame; gives the number of its datagrams

private:
    const LoopbackSocket Socket;
    const Frames Kind;
    std::vector<uint8_t> Samples, Burst;
    size_t NextDatagram = 0;
};

// Sleeps before each burst of a frame, as many as the active part of the frame's time has room for.
class Pace
{
public:
    Pace(const Frames& frames, uint64_t frameNs);

    void BeginFrame(uint64_t nowNs) { DueNs = nowNs; }
    void AwaitBurst(); // at once when it is late, with a call of the system

private:
    const uint64_t BurstNs;
    uint64_t DueNs = 0;
};

uint64_t NsOf(clockid_t clock);
void SleepUntil(uint64_t monotonicNs);

} // namespace bench

// Streams through services that are processes of their own, and the application at both ends of them. It lends slots
// and copies nothing: what did not come is known by the timestamps of what came.
#pragma once

#include "Pauses.h"
#include "support/MxsProcess.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <thread>
#include <vector>
#include <zefaline.h>

namespace bench
{

// The machine's last core and its first one.
std::array<unsigned, 2> ConductorCores();

// Throws a sentence with the code when a call has failed.
void Require(ZEFA_ERRORCODE code, const char* call);

struct Format
{
    ZEFA_ESSENCE_CONFIG essence{};
    double slotSeconds = 0;      // from one slot to the next
    double bitsPerSecond = 0;    // of samples; 0 where they do not matter
    uint32_t slots = 8;          // of the ring at each end
    double slotTicks = 0;        // of the RTP clock, from one slot to the next
    size_t datagramBytes = 0;    // as the service cuts it
    size_t burst = 1;            // datagrams that it sends at once
    double datagrams = 0;        // a second
    ZEFA_BUFFER_TYPE buffer = 0; // whose timestamp is looked at
};

Format Video(ZEFA_VIDEO_STANDARD standard);                       // 4:2:2, 10 bits, in slots as on the network
Format Audio(uint32_t channels, ZEFA_SDP_PACKET_TIME packetTime); // L24, 48 kHz, slots of 20 ms
Format Ancillary(ZEFA_SDI_VIDEO_STANDARD standard);               // a packet of 32 words in each frame

// A service, a context of it and two running conductors, one on each of their cores.
class Client
{
public:
    explicit Client(const std::vector<std::string>& options = {});
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    double CpuSeconds() const;     // of the service, user and system, since its start
    double AnonymousBytes() const; // of the service alone
    double RingBytes() const;      // of all its rings, as they lie in memory

    test::MxsProcess Service;
    ZEFA_HANDLE Context = nullptr;
    uint64_t Loopback = 0; // the interface
    std::array<uint64_t, 2> Conductors{};
};

// An end of a stream; opened, and not started.
class Stream
{
public:
    Stream(Client& client, ZEFA_STREAM_TYPE type, const Format& format, size_t conductor, uint16_t port);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    void Start();
    void Stop();
    ZEFA_STREAM_NETWORK_STATUS Status() const;

    // Both wait for a slot, a second at most, and are false when there is none.
    bool Put();
    bool Take(uint32_t& timestamp);

    // The longest from a lock of Put's to the call of the next, in which nobody but the application is waited for.
    double TakeLongestFillMs() { return Filling.TakeMs(); }

private:
    void Configure(const Client& client, const Format& format, size_t conductor, uint16_t port);
    void AddPacket(ZEFA_SLOT slot); // of ancillary data

    const ZEFA_BUFFER_TYPE Buffer;
    ZEFA_HANDLE Handle = nullptr;
    bool Started = false;
    LongestStretch Filling;
};

struct Counts
{
    uint64_t lost = 0;      // packets that did not arrive, or that the sender gave up
    uint64_t dropped = 0;   // slots for which the receiving application had left no room
    uint64_t underruns = 0; // periods in which no slot was sent
    uint64_t gaps = 0;      // slots that did not come, by the timestamps of those that came
    uint64_t taken = 0;     // slots

    Counts operator-(const Counts& earlier) const;
};

// A stream that is sent and received, both ends started.
class Pair
{
public:
    struct Place
    {
        Client& client;
        size_t conductor = 0;
    };
    Pair(const Place& receiver, const Place& sender, const Format& format);

    Counts Count() const;
    double TakeLongestFillMs() { return Sender.TakeLongestFillMs(); }

    // Of the application's two threads.
    void Put();
    void Take();

private:
    const double SlotTicks;
    const uint16_t Port;
    Stream Receiver, Sender;
    std::optional<uint32_t> LatestTimestamp; // of the thread that takes
    std::atomic<uint64_t> Taken{0}, Gaps{0};
};

// For each core a thread that fills slots and one that takes them, each turning over its share of the pairs, as long as
// the object lives.
class Application
{
public:
    explicit Application(std::span<const std::unique_ptr<Pair>> pairs);

private:
    std::vector<std::jthread> Threads;
};

// What came of some seconds, all pairs together.
struct Outcome
{
    uint64_t lost = 0;    // packets
    uint64_t dropped = 0; // slots for which the receiving application had left no room
    uint64_t missing = 0; // slots that were due and did not come: the most that one of the next three tells of a pair
    uint64_t gaps = 0;
    uint64_t underruns = 0;
    uint64_t stalled = 0;           // slots behind what was due, where they are more than rings can have held back
    uint64_t taken = 0;             // slots that came
    uint64_t due = 0;               // slots
    double pauseMs = 0;             // the longest that the machine let a thread wait, on the conductors' cores
    double stolenMs = 0;            // what a machine below this one took from its processors
    double fillMs = 0;              // the longest that the application took from one lock to the next
    std::vector<double> cpuSeconds; // of each service
    double cpuPercent = 0;          // of all services, of one core
    double processorMs = 0;         // what the machine's processors had to give

    bool IsWhole() const { return lost + missing == 0; }
};

Outcome Measure(std::span<const std::unique_ptr<Pair>> pairs, std::span<const Client* const> services, double seconds,
                const Format& format);

} // namespace bench

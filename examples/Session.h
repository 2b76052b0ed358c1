// What every program here has around its own idea: options, a description, a session with the service, a stream, the
// loop over its slots, and a way out that leaves nothing behind.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <utility>
#include <variant>
#include <vector>
#include <zefaline.h>

// Throws a sentence: `what`, and the text of the code.
void Check(ZEFA_ERRORCODE code, const std::string& what);

// What has been made so far and how to unmake it. Steps run in the reverse order, each whatever the others say.
class Undo
{
public:
    Undo() = default;
    Undo(const Undo&) = delete;
    Undo& operator=(const Undo&) = delete;
    ~Undo();

    void Add(const char* what, std::function<ZEFA_ERRORCODE()> step) { Steps.emplace_back(what, std::move(step)); }

private:
    std::vector<std::pair<const char*, std::function<ZEFA_ERRORCODE()>>> Steps;
};

struct Options
{
    std::vector<std::string> descriptions; // files, in the order of the command line
    std::string service = "http://localhost:7420/";
    std::string interface; // name or IPv4 address; empty: the one that carries the destination address
    uint64_t core = 0;     // number of the operating system
    int standard = -1;     // number of a video standard; -1: what the description says
    uint64_t slots = 0;    // 0: until --seconds are over or Ctrl-C
    double seconds = 0;    // from the first slot on; 0: until Ctrl-C
};

struct Range
{
    double least = 0, most = 0;
};

// An option of one program: its name, what stands behind it in the usage (null for a switch), where it goes, and for
// numbers with a fraction what they may be.
struct OwnOption
{
    const char* name;
    const char* value;
    std::variant<bool*, std::string*, uint32_t*, double*> target;
    Range range{};
};

// `files` names the descriptions that must be given, as in "IN.sdp OUT.sdp". Throws the usage when they are not.
Options ParseOptions(int argc, char** argv, const std::string& files, std::initializer_list<OwnOption> own = {});

// Runs a program: Ctrl-C, SIGTERM and a lost terminal end its loops, and what it throws is printed. The result is the
// exit code.
int RunExample(const char* name, const std::function<void()>& run);

// A description as the structures of a stream's configuration, with the interface and the buffers still to choose.
struct Description
{
    ZEFA_STREAM_NETWORK_CONFIG network{};
    ZEFA_ESSENCE_CONFIG essence{};
    ZEFA_SDP_INFO info{};
};

// A description that is of one of these essences, with the video standard of the options, if they have one.
Description ReadDescription(const std::string& file, const Options& options,
                            std::initializer_list<ZEFA_ESSENCE_TYPE> wanted);

// A context of the service and, in it, a running conductor on the core of the options.
class Session
{
public:
    explicit Session(const Options& options);

    ZEFA_HANDLE Context = nullptr;
    uint64_t Conductor = 0;

private:
    Undo Steps;
};

// A started stream on the session's conductor.
class Stream
{
public:
    Stream(const Session& session, ZEFA_STREAM_TYPE type, Description description, const Options& options);

    const ZEFA_STREAM_TYPE Type;
    ZEFA_HANDLE Handle = nullptr;

private:
    Undo Steps;
};

// The next slot. Null after Ctrl-C or at `end`; throws when there is none for ten seconds.
ZEFA_SLOT LockSlot(const Stream& stream,
                   std::chrono::steady_clock::time_point end = std::chrono::steady_clock::time_point::max());

void UnlockSlot(const Stream& stream, ZEFA_SLOT slot);

// Locks slot after slot, calls `work` with it and its number from 0, and unlocks it, as long as the options say. When
// `work` throws, the slot stays locked: a half-filled one is never sent. Returns the number of slots.
uint64_t ForEachSlot(const Stream& stream, const Options& options,
                     const std::function<void(ZEFA_SLOT slot, uint64_t number)>& work);

struct Buffer
{
    uint8_t* bytes;
    uint32_t size;
};

// Good until the slot is unlocked.
Buffer BufferOf(const Stream& stream, ZEFA_SLOT slot, ZEFA_BUFFER_TYPE type);

// The RTP timestamps of a buffer of a received slot. There is one at the first byte at least, else this throws.
std::vector<ZEFA_TIMESTAMP> TimestampsOf(const Stream& stream, ZEFA_SLOT slot, ZEFA_BUFFER_TYPE type);

// A line about the stream on standard output: slots, packets, losses. What is in the ring of a transmit stream is sent
// before, since stopping a stream drops it; the underruns are those that came before the last slot.
void Report(const Stream& stream, uint64_t slots);

// The exported functions that talk to the service, each with what must stand before it and what undoes it.
#pragma once

#include "system/anc/AncRoad.h"

#include <functional>
#include <future>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace test
{

// An application with something of everything, and the one whose conductor it shares.
class World
{
public:
    explicit World(const std::string& url, ZEFA_ESSENCE_TYPE essence = ZEFA_ESSENCE_TYPE_ST2110_30);
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    ZEFA_HANDLE Context() const { return Own.Context; }
    ZEFA_HANDLE Stream() const { return Receiving; }

    uint64_t Core = 0, Interface = 0;
    uint64_t Conductor = 0;       // of this context, with a core; stopped
    uint64_t SharedConductor = 0; // of another context
    uint64_t Made = 0;            // a conductor that a call has made, or is to destroy
    ZEFA_HANDLE MadeStream = nullptr;
    const std::string Url;
    const ZEFA_ESSENCE_TYPE EssenceType; // of the stream
    ZEFA_HANDLE MadeContext = nullptr;
    ZEFA_STREAM_COMMON_CONFIG Common{};
    std::unique_ptr<ZEFA_STREAM_NETWORK_CONFIG> Network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG Essence{};

private:
    ZEFA_HANDLE Other = nullptr;
    std::future<void> EndOfOther; // waited for last: each context waits up to a second for its watchdog
    Session Own;
    std::variant<std::monostate, VideoStream, AudioStream, AncStream> Receiver; // configured and closed
    ZEFA_HANDLE Receiving = nullptr;                                            // its handle
};

struct ControlCall
{
    using Step = void (*)(World& world);

    const char* name;
    ZEFA_ERRORCODE expected; // when nothing is in its way
    // What the call has read is appended to `told`, as far as it does not change by itself.
    ZEFA_ERRORCODE (*make)(World& world, std::string& told);
    Step enter = nullptr;   // once, before all
    Step prepare = nullptr; // before each
    Step undo = nullptr;    // after each, whether it has succeeded or not
    Step leave = nullptr;   // once, after all
    // Its last exchange may fail without the call failing.
    bool lastMayFail = false;
    // What it makes at the service stays there when the answer is lost, until the context ends.
    bool leavesWhatIsLost = false;
    // What it makes here, too, for good: nobody can reach it.
    bool losesAnObject = false;
    // The pools of a stream grow with each start.
    bool keepsMore = false;
    // The reader of a list gives an empty one when there is no memory for it.
    bool readsLists = false;
    // It sends, reads or makes something else for each essence.
    bool ofTheEssence = false;

    bool ChangesSomething() const { return enter || prepare || undo || leave; }
};

// All but the two that make and end a context.
std::span<const ControlCall> ControlCalls();

// Those two.
std::span<const ControlCall> ContextCalls();

struct EssenceName
{
    ZEFA_ESSENCE_TYPE type;
    const char* name;
};
inline constexpr EssenceName kEssences[] = {{ZEFA_ESSENCE_TYPE_ST2110_30, "audio"},
                                            {ZEFA_ESSENCE_TYPE_ST2110_40, "ancillary data"},
                                            {ZEFA_ESSENCE_TYPE_ST2110_20, "video"}};

// All beside a stream of the first essence, and beside one of another those in which that makes a difference.
std::vector<ControlCall> CallsBesideAStreamOf(const EssenceName& essence);

std::string NameOf(const ControlCall& call, const EssenceName& essence);

// One that sends something fails on a connection that has ended while nobody used it, and there may be several of
// those.
inline constexpr int kAttempts = 4;

// A call that has to succeed: within the attempts, or when what a lost connection has asked of the service, which may
// refuse others meanwhile, has been done.
void Settle(const std::function<ZEFA_ERRORCODE()>& call);

} // namespace test

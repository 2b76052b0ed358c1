// One stream after another on one port, and all that threads may call on it at once.
#pragma once

#include "Tally.h"

#include <memory>
#include <mutex>
#include <random>
#include <shared_mutex>
#include <string>
#include <vector>

namespace test
{

class Session;

// All that a stream is configured with, but for its port and its conductor.
struct Configuration
{
    const char* name = "";
    ZEFA_STREAM_COMMON_CONFIG common{};
    std::unique_ptr<ZEFA_STREAM_NETWORK_CONFIG> network = std::make_unique<ZEFA_STREAM_NETWORK_CONFIG>();
    ZEFA_ESSENCE_CONFIG essence{};

    // What the slots of such a stream hold.
    ZEFA_BUFFER_TYPE firstBuffer = 0;
    uint32_t buffers = 1;       // that are written and read
    uint32_t partsOfBuffer = 1; // each with a stamp of its own
    uint32_t ticksOfSlot = 0;   // of its media clock

    // As the service gives them back. Pictures of 720 x 480 fields, two channels of audio in slots of 10 ms, ancillary
    // data of 1080 lines.
    static Configuration Video(Session& session);
    static Configuration Audio(Session& session);
    static Configuration Ancillary(Session& session);
};

// Every function may be called by any thread at any time: locks of its own keep to what the headers ask for. Nobody
// waits for them: a call that may not be made now is left out.
class StreamPlace
{
public:
    StreamPlace(const Configuration& configuration, ZEFA_STREAM_TYPE type, uint32_t number, uint16_t port);

    // Nobody else is there yet, or any more.
    void Make(Tally& tally, ZEFA_HANDLE context, uint64_t conductor);
    void End(Tally& tally); // has to succeed from any state

    void Remake(Tally& tally, ZEFA_HANDLE context, uint64_t conductor);
    void Start(Tally& tally);
    void Stop(Tally& tally);
    void Open(Tally& tally);
    void Close(Tally& tally);
    void SetCommon(Tally& tally, uint64_t conductor);
    void SetNetwork(Tally& tally);
    void SetEssence(Tally& tally);
    void GetCommon(Tally& tally);
    void GetNetwork(Tally& tally);
    void GetEssence(Tally& tally);
    void GetCommonStatus(Tally& tally);
    void GetNetworkStatus(Tally& tally);
    // Locks a few slots, writes or reads them, and gives most of them back.
    void Work(Tally& tally, std::mt19937& random);
    // Gives a slot back that somebody has left, also while another thread waits for a lock.
    void GiveBack(Tally& tally);

    uint64_t WholeSlots(); // received so far, and right
    bool IsReceiver() const { return Type == ZEFA_STREAM_TYPE_RX; }
    const Configuration& Settings() const { return Configured; }

private:
    struct LockedSlot
    {
        ZEFA_SLOT slot;
        uint64_t number; // of a transmit stream
    };

    template <class Call>
    void BesideOthers(Call&& call);
    bool IsAncillary() const { return Configured.essence.EssenceType_E == ZEFA_ESSENCE_TYPE_ST2110_40; }

    ZEFA_ERRORCODE PutCommon(Tally& tally, uint64_t conductor);
    ZEFA_ERRORCODE PutNetwork(Tally& tally);
    ZEFA_ERRORCODE PutEssence(Tally& tally);

    void Finish(Tally& tally, const LockedSlot& locked);
    void Fill(Tally& tally, const LockedSlot& locked);
    void FillAncillary(Tally& tally, const LockedSlot& locked);
    void Examine(Tally& tally, const LockedSlot& locked);
    bool FindLosses(Tally& tally, const LockedSlot& locked, bool& lost);
    void ExamineBuffers(Tally& tally, const LockedSlot& locked, bool lost);
    void ExamineAncillary(Tally& tally, const LockedSlot& locked);
    bool Follows(const struct Stamp& stamp);
    std::string Name() const;

    const Configuration& Configured;
    const ZEFA_STREAM_TYPE Type;
    const uint32_t Number; // of the pair: what one sends the other receives
    const uint16_t Port;

    // Held by one alone while the stream is started, or destroyed and made anew; shared by all other calls.
    std::shared_mutex Life;
    ZEFA_HANDLE Stream = nullptr;

    std::mutex Media; // of the one that locks slots, and counts them
    uint64_t Sent = 0, Whole = 0;
    uint64_t NextPart = 0; // no part of a smaller number comes any more

    std::mutex Handling;          // of the one that asks about slots and unlocks them
    std::vector<LockedSlot> Left; // locked still, for whoever handles slots next

    // The bytes and packets of slots go with a stop: shared by those that touch them, held by one alone for a stop.
    std::shared_mutex Memory;
};

} // namespace test

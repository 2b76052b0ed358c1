// Stands in for the ring library: defines the same symbols, so a test program that names it before the library runs on
// it. Every result can be scripted, also those that the real ring never gives, and every call is noted.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "flowrail1.h"

// The script and state of all fake rails of the process. Not thread-safe beyond what its user guards: the stream model
// makes all calls on one rail under one mutex.
class FakeFlowRail
{
public:
    // The operations that return a result, in the order of the interface.
    enum Operation
    {
        OPEN,
        CLOSE,
        ADD_CONSUMER,
        REMOVE_CONSUMER,
        LOCK_PRODUCER,
        UNLOCK_PRODUCER,
        LOCK_CONSUMER,
        UNLOCK_CONSUMER,
        GET_CONSUMER_ALIGNMENT,
        GET_SLOT_ADDRESS,
        GET_METADATA,
        ADD_METADATA,
        GET_METADATA_COUNT,
        OPERATION_COUNT
    };

    struct Slot
    {
        std::vector<uint8_t> Bytes;
        std::vector<FLOW_RAIL_METADATA> Records; // what GetMetadata and GetMetadataCount look at
    };

    static FakeFlowRail& Instance();

    // Back to the begin: destroys every rail that is still there, and forgets the script.
    void Reset(size_t slotCount, size_t slotBytes);

    // The next results of an operation; when they are used up it returns what Always says.
    void Next(Operation operation, std::deque<uint32_t> results) { Scripted[operation] = std::move(results); }
    void Always(Operation operation, uint32_t result) { Standing[operation] = result; }

    size_t LivingRails() const { return Rails.size(); }
    // "slot 3" for a slot of this fake, "no slot" for any other address.
    std::string NameOf(const void* slot) const;

    // ---- script ----
    bool CreateGivesNull = false;
    uint64_t ConsumerToken = 77;            // what AddConsumer hands out
    uint32_t AlignmentBytes = 0;            // what GetConsumerAlignment tells
    uint32_t FillBytes = 0, SpaceBytes = 0; // what the status queries tell
    bool GivesRecordsOfAnyType = false;     // GetMetadata forgets to look at the type
    int32_t RetrievedTooFew = 0;            // GetMetadata says so many less than it was asked for
    bool WipesAtClose = false;              // a Close overwrites all slots, as if their memory were gone
    std::function<void()> WhileLocking;     // runs in both locks, as their wait would
    bool Journals = true;                   // notes each call in the CallJournal; off where nothing may be allocated
    std::deque<Slot> Slots;                 // handed out in turn by both locks

private:
    friend class FakeRail;
    friend class CFlowRailFactory;

    uint32_t Result(Operation operation);
    void Note(const std::string& call) const;
    Slot* TakeSlot();
    Slot* FindSlot(const void* slot);

    std::array<std::deque<uint32_t>, OPERATION_COUNT> Scripted;
    std::array<uint32_t, OPERATION_COUNT> Standing{};
    std::set<CFlowRail*> Rails;
    size_t NextSlot = 0;
};

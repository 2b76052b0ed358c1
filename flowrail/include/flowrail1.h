#ifndef FLOWRAIL1_H
#define FLOWRAIL1_H

/**
 * @file flowrail1.h
 * A flow rail: a ring of shared memory between one producer and up to sixteen consumers on one machine.
 *
 * Payload is lent, never copied: a lock gives an address inside the ring, an unlock hands the bytes on. The ring is
 * `SlotCount` slots of `SlotBytes` bytes; a lock may take any number of bytes from 1 to the whole capacity and is
 * always contiguous in memory. Beside its bytes a slot carries metadata records.
 *
 * Results: every operation but the two status queries returns one of the FLOW_RAIL_... numbers below.
 *
 * Threads: the producer operations of a rail belong to one thread at a time, and so do the operations of one
 * consumer; the producer and each consumer may run on threads of their own, also on one object. `Create`, `Open` and
 * `Close` must not run beside any other call on the object.
 *
 * Processes: the locks that tell the living from the dead belong to the descriptor of the rail's file. A child made
 * by fork without exec keeps that descriptor, so a rail stays "alive" until the child has ended or executed too.
 */

#include <cstdint>
#include <map>
#include <string>

#if defined(__GNUC__)
#define FLOWRAIL_API __attribute__((visibility("default")))
#else
#define FLOWRAIL_API
#endif

/** @name Results */
/** @{ */
static const uint32_t FLOW_RAIL_OK = 0;            /**< Done. */
static const uint32_t FLOW_RAIL_BAD_LOCK = 5;      /**< A bad argument of LockProducer, LockConsumer or
                                                       GetConsumerAlignment. */
static const uint32_t FLOW_RAIL_BAD_STATE = 8;     /**< Not open, damaged, of another version, or the other side is
                                                       gone and the ring is drained. */
static const uint32_t FLOW_RAIL_NO_MEMORY = 10;    /**< No memory, no free consumer place, no free record. */
static const uint32_t FLOW_RAIL_TIMEOUT = 11;      /**< The wait ran out. */
static const uint32_t FLOW_RAIL_BAD_ARGUMENT = 12; /**< A bad argument of any other operation. Out of
                                                       GetConsumerAlignment: nothing is committed yet. */
/** @} */

/** @name Metadata types in use; any other number may be used as well, but 0 */
/** @{ */
static const uint32_t FLOW_RAIL_METADATA_TIMESTAMP = 1;
static const uint32_t FLOW_RAIL_METADATA_END = 2; /**< End of slot: one record of each slot is kept for it. */
static const uint32_t FLOW_RAIL_METADATA_LOST = 3;
/** @} */

/** Kinds of rail. */
enum FlowRailType : uint32_t
{
    FLOW_RAIL_TYPE_UNKNOWN = 0,
    FLOW_RAIL_TYPE_FILE_MAP = 1 /**< A file in /dev/shm, mapped by all sides. The only kind that there is. */
};

/**
 * What names a rail. `Description` has four keys, each of them once, over the characters [A-Za-z0-9._/-]:
 * - "Name": 1 to 200 characters, one leading "/" and no other; not "." or "..";
 * - "SlotBytes" and "SlotCount": decimal, at least 1; their product is the capacity and is below 4 GiB, and
 *   SlotCount is at most 65536;
 * - "Role": "producer" or "consumer", the role of the creator.
 *
 * Create accepts a fifth, "Group": name or number of the group that may open the rail. It is taken out again.
 * Who may open a rail can also cut its file short, which ends every process that has it mapped and has not called
 * CFlowRailFactory::SurviveCutRails: give the group only to programs that are trusted as the creator is.
 */
struct FLOW_RAIL_DESCRIPTOR
{
    uint32_t Type; /**< A FlowRailType. */
    std::multimap<std::string, std::string> Description;
};

/** One metadata record. */
struct FLOW_RAIL_METADATA
{
    uint32_t Type;     /**< Not 0. */
    uint32_t Position; /**< Byte position, counted from the start of the locked slot. */
    uint32_t Value;
};

/** What GetStatus tells. */
struct FLOW_RAIL_STATUS
{
    uint64_t CommittedBytes; /**< Bytes committed since the rail was made. */
    uint64_t ReleasedBytes;  /**< Of these, released by the slowest consumer; all of them while there is none. */
    uint32_t CapacityBytes;  /**< SlotBytes x SlotCount. */
    uint32_t RecordsPerSlot; /**< Room for metadata of one slot, the record kept for type 2 included. */
    uint32_t Consumers;      /**< Living consumers, 0 to 16. */
    uint32_t ProducerState;  /**< 0 none has come yet, 1 alive, 2 gone. */
    uint32_t CreatorAlive;   /**< 0 or 1. */
};

/**
 * One end of a rail. Made by CFlowRailFactory::CreateInstance, destroyed with delete; the destructor closes.
 * The order of the virtual operations is part of the binary interface.
 */
class FLOWRAIL_API CFlowRail
{
public:
    /** Version of this library, to be compared with the service's. */
    static uint64_t GetVersion();

    /**
     * Where the rail writes its few error lines: nowhere until this has been called.
     * @param parameters the keys "Filter" (priority words such as "Error Warning"), "Debug" (where to write:
     *        "StdOutputLog", "DebugApiLog") and "Event" (accepted; nothing is written to it). Replaces what was set.
     * @return false when an output asks for "SysLog", which does not exist here; the outputs found before it stay.
     */
    static bool SetLoggingParameters(const std::multimap<std::string, std::string>& parameters);

    virtual ~CFlowRail() = default;

    /**
     * Makes a rail and opens it in the role that the description names. All memory is reserved and touched here.
     * The rail's file is removed when this object closes.
     * @param descriptor in: Type 1 and the keys, "Name" and "Role" may be missing: the name is then a random one,
     *        the role "producer". Out: complete, ready to be handed to Open of another process.
     * @return 0; 8 this object is open already; 10 no memory left for it; 12 null, a bad description, a name that a
     *         living rail has, or an unknown group. On failure nothing stays behind and the descriptor is untouched.
     */
    virtual uint32_t Create(FLOW_RAIL_DESCRIPTOR* descriptor) = 0;

    /**
     * Attaches to the rail that the description names.
     * @return 0; 8 open already, no such rail, its creator is gone, another version, a damaged header, or a slot
     *         size, count or role other than the description's; 10 no memory; 12 null or a bad description.
     */
    virtual uint32_t Open(const FLOW_RAIL_DESCRIPTOR* descriptor) = 0;

    /**
     * Detaches, with slots locked or not: their addresses are dead. A rail that is not open is left as it is.
     * @return 0
     */
    virtual uint32_t Close() = 0;

    /**
     * Adds a reader, which starts at the end of what is committed, be it in the middle of a slot.
     * @param consumer out: the token that the other operations take by address.
     * @return 0; 8 not open; 10 all 16 places are taken; 12 null.
     */
    virtual uint32_t AddConsumer(uint64_t* consumer) = 0;

    /**
     * Removes a reader, with slots locked or not, and with the creator gone or not. Sets the token to 0.
     * @return 0; 8 not open; 12 null or no such consumer.
     */
    virtual uint32_t RemoveConsumer(uint64_t* consumer) = 0;

    /**
     * @param reserved 0
     * @return bytes that are committed and that this consumer has not locked yet; 0 for a bad token.
     */
    virtual uint32_t GetConsumerFill(uint64_t* consumer, uint32_t reserved) = 0;

    /**
     * @param reserved 0
     * @return bytes that LockProducer could lock now without a wait. 0 on a rail made by its consumer while there
     *         is no consumer.
     */
    virtual uint32_t GetProducerSpace(uint32_t reserved) = 0;

    /**
     * Locks the next `size` bytes for writing, and clears their metadata. The producer waits for the slowest living
     * consumer. A rail made by its producer runs free while it has no consumer.
     * @param size 1 to the capacity.
     * @param timeoutMs limit of the wait in milliseconds, kept to a tick of the system; 0 never waits and makes no
     *        system call but, at most every 20 ms, the look for dead consumers.
     * @param slot out: the slot; null after a failure.
     * @return 0; 5 bad argument; 8 not open, this side is not the producer, or (on a rail made by its consumer)
     *         there is no consumer; 10 too many slots locked; 11 the wait ran out.
     */
    virtual uint32_t LockProducer(uint32_t size, uint32_t timeoutMs, void** slot) = 0;

    /**
     * Commits a slot. Slots may be committed in any order and become visible in the order of their locks.
     * @return 0; 8 not open; 12 not a slot that the producer holds.
     */
    virtual uint32_t UnlockProducer(void* slot) = 0;

    /**
     * Waits until `size` bytes can be read and locks them. Several slots may be locked at once.
     * @return 0; 5 bad argument; 8 not open, damaged, or the producer is gone and will never fill `size` bytes;
     *         10 too many slots locked; 11 the wait ran out.
     */
    virtual uint32_t LockConsumer(uint64_t* consumer, uint32_t size, uint32_t timeoutMs, void** slot) = 0;

    /**
     * Releases a slot. Slots may be released in any order and are given back in the order of their locks.
     * @return 0; 8 not open; 12 not a slot that this consumer holds.
     */
    virtual uint32_t UnlockConsumer(uint64_t* consumer, void* slot) = 0;

    /**
     * Tells how far the consumer stands from the next slot boundary. Never waits.
     * @param size out: bytes to the boundary, SlotBytes when it stands on one.
     * @return 0; 5 bad argument; 8 not open, damaged, or the producer is gone; 12 nothing is committed behind the
     *         consumer's position yet.
     */
    virtual uint32_t GetConsumerAlignment(uint64_t* consumer, uint32_t* size) = 0;

    /**
     * @param address out: the first byte of a locked slot, valid until its unlock.
     * @return 0; 8 not open; 12 bad argument.
     */
    virtual uint32_t GetSlotAddress(void* slot, uint8_t** address) = 0;

    /**
     * Copies the records of one type, in the order in which they were added.
     * @param records room for `count` records. @param retrieved out: the records copied.
     * @return 0, also when there were more than `count`; 8 not open; 12 bad argument.
     */
    virtual uint32_t GetMetadata(void* slot, uint32_t type, FLOW_RAIL_METADATA* records, uint32_t count,
                                 uint32_t* retrieved) = 0;

    /**
     * Adds a record to a slot that the producer holds.
     * @param type not 0. @param position below the slot's size.
     * @return 0; 8 not open; 10 the slot's records are used up (the first end record always has its place);
     *         12 bad argument.
     */
    virtual uint32_t AddMetadata(void* slot, uint32_t type, uint32_t position, uint32_t value) = 0;

    /**
     * The state of the rail, for a service that reports it. Asks the system who lives: not for the media loop.
     * May be called beside any operation but Create, Open and Close.
     * @return 0; 8 not open, or somebody has cut the rail's file short; 12 null.
     */
    virtual uint32_t GetStatus(FLOW_RAIL_STATUS* status) = 0;

    /**
     * Counts the records of one type.
     * @return 0; 8 not open; 12 bad argument.
     */
    virtual uint32_t GetMetadataCount(void* slot, uint32_t type, uint32_t* count) = 0;
};

/** Makes rails. */
class FLOWRAIL_API CFlowRailFactory
{
public:
    /** @return a new object, the caller's to delete; null for any other type than FLOW_RAIL_TYPE_FILE_MAP. */
    static CFlowRail* CreateInstance(FlowRailType type);

    /**
     * Removes rails that a killed process of this user left behind: those whose name starts with `namePrefix` and
     * whose creator is gone, even if cut to nothing. No other file is touched, no process that maps one is disturbed.
     * @return how many were removed.
     */
    static uint32_t RemoveAbandoned(const std::string& namePrefix);

    /**
     * For a service that has rails with many programs: lets this process go on when one of them cuts a rail's file
     * short. Sets a handler of SIGBUS, which puts empty memory in the place of that rail; GetStatus gives 8 from then
     * on, the other operations find an empty rail, and all that is left to do with it is Close. Every other SIGBUS has
     * the effect that it had before. Holds for rails that are made or opened afterwards, and in threads that do not
     * block the signal. Nothing in this library calls it: an application's signals are its own.
     * @return false when the system refuses.
     */
    static bool SurviveCutRails();
};

#endif

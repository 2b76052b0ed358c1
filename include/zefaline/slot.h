/**
 * @file slot.h
 * Slots, the units of media: lock one, reach its buffers and metadata, give it back.
 */
#ifndef ZEFALINE_SLOT_H
#define ZEFALINE_SLOT_H

#include "base.h"

/** Name of a buffer in a slot. */
typedef uint32_t ZEFA_BUFFER_TYPE;
#define ZEFA_BUFFER_VIDEO_0 UINT32_C(0x1000000)   /**< The picture, or the first field of an interlaced one. */
#define ZEFA_BUFFER_VIDEO_1 UINT32_C(0x1000001)   /**< The second field. */
#define ZEFA_BUFFER_AUDIO_0 UINT32_C(0x2000000)   /**< The audio of the slot. */
#define ZEFA_BUFFER_AUDIO_1 UINT32_C(0x2000001)   /**< A second audio buffer, where the service makes one. */
#define ZEFA_BUFFER_ANC_0 UINT32_C(0x3000000)     /**< Playlist 0 of ancillary packets. */
#define ZEFA_BUFFER_ANC_1 UINT32_C(0x3000001)     /**< Playlist 1. */
#define ZEFA_BUFFER_ANC_2 UINT32_C(0x3000002)     /**< Playlist 2. */
#define ZEFA_BUFFER_ANC_3 UINT32_C(0x3000003)     /**< Playlist 3. */
#define ZEFA_BUFFER_ANC_4 UINT32_C(0x3000004)     /**< Playlist 4. */
#define ZEFA_BUFFER_ANC_5 UINT32_C(0x3000005)     /**< Playlist 5. */
#define ZEFA_BUFFER_ANC_6 UINT32_C(0x3000006)     /**< Playlist 6. */
#define ZEFA_BUFFER_ANC_7 UINT32_C(0x3000007)     /**< Playlist 7. */
#define ZEFA_BUFFER_ANC_8 UINT32_C(0x3000008)     /**< Playlist 8. */
#define ZEFA_BUFFER_ANC_9 UINT32_C(0x3000009)     /**< Playlist 9. */
#define ZEFA_BUFFER_ANC_10 UINT32_C(0x300000A)    /**< Playlist 10. */
#define ZEFA_BUFFER_ANC_11 UINT32_C(0x300000B)    /**< Playlist 11. */
#define ZEFA_BUFFER_ANC_12 UINT32_C(0x300000C)    /**< Playlist 12. */
#define ZEFA_BUFFER_ANC_13 UINT32_C(0x300000D)    /**< Playlist 13. */
#define ZEFA_BUFFER_ANC_14 UINT32_C(0x300000E)    /**< Playlist 14. */
#define ZEFA_BUFFER_ANC_15 UINT32_C(0x300000F)    /**< Playlist 15. */
#define ZEFA_BUFFER_ANC_OTHER UINT32_C(0x3000010) /**< A playlist that the service numbers above 15. */

/** An RTP timestamp at a place in a buffer. */
typedef struct ZEFA_TIMESTAMP
{
    uint32_t Position_UL; /**< Byte position from the start of the buffer. */
    uint32_t Value_UL;    /**< RTP timestamp (RFC 3550): 90 kHz for video and ancillary data, sample rate for audio. */
} ZEFA_TIMESTAMP;

/** A place in a received buffer whose packets are missing. */
typedef struct ZEFA_LOST_DATA
{
    uint32_t Position_UL; /**< Byte position from the start of the buffer. */
    uint32_t Size_UL;     /**< Extent of the loss, as the service gives it; it may reach past the buffer's end. */
} ZEFA_LOST_DATA;

/**
 * Waits for a slot and locks it: the oldest received one, or a free one to fill.
 *
 * Blocks up to LockTimeoutMs_UL of the common configuration, and as long as another thread reads the common status or,
 * on a stream of ancillary data, stops the stream. One media thread locks; others of the same stream wait behind it.
 * Several slots may be locked at once, as many as the ring has; of a stream of ancillary data at most 1024. The first
 * lock after a start on a receive stream may skip the rest of a slot that is already running, spins instead of
 * sleeping, and may take three times the limit. Makes no system call when a slot is ready, and allocates nothing.
 *
 * @param Stream Stream handle.
 * @param[out] pSlot Receives the slot; not null.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_TIMEOUT No slot came in time.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream is not started, or its ring is gone.
 * @retval ZEFA_ERR_OPERATION_FAILED The ring refused. Or, on a stream of ancillary data, there is no store for the
 *        packets of another slot: the slot is locked all the same, *pSlot names it, and it has to be unlocked.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_LockSlot(ZEFA_HANDLE Stream, ZEFA_SLOT* pSlot);

/**
 * Gives a slot back: a received one to the service, a filled one to be sent. Its buffers must not be touched
 * afterwards.
 *
 * Any thread may call, also another one than that which locked the slot. Makes no exchange; waits while another thread
 * locks a slot of the stream, reads its common status or, on a stream of ancillary data, stops it. Must not run beside
 * a metadata call on the same stream. On failure the slot stays locked.
 *
 * @param Stream Stream handle.
 * @param Slot A slot that is locked.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_BAD_ARGUMENT The ring does not know the slot.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream is not started, or its ring is gone.
 * @retval ZEFA_ERR_OPERATION_FAILED The ring refused.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_UnlockSlot(ZEFA_HANDLE Stream, ZEFA_SLOT Slot);

/**
 * Tells address and size of a buffer of a locked slot. The bytes lie in the ring itself; nothing is copied.
 *
 * Any thread; waits while another thread locks a slot of the stream or reads its common status.
 *
 * @param Stream Stream handle.
 * @param Slot A slot that is locked.
 * @param BufferType_E Name of the buffer; those of the stream's essence are there.
 * @param[out] ppBuffer_UB Receives the address, good until the slot is unlocked or the stream is stopped.
 * @param[out] pSize_UL Receives the size in bytes. A buffer that would reach beyond the slot ends with the slot.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INVALID_POINTER A pointer or the slot is null.
 * @retval ZEFA_ERR_NOT_FOUND Slots of this stream have no such buffer.
 * @retval ZEFA_ERR_BAD_ARGUMENT The ring does not know the slot.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream is not started, or its ring is gone.
 * @retval ZEFA_ERR_OPERATION_FAILED The ring refused.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetSlotBuffer(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                           uint8_t** ppBuffer_UB, uint32_t* pSize_UL);

/**
 * Reads the timestamps that lie in a buffer of a locked slot.
 *
 * One thread at a time, which waits while another one locks a slot of the stream or reads its common status; must not
 * run beside ZEFA_UnlockSlot on the same stream. The records of a slot are fetched once and kept until it is unlocked;
 * up to 100 allocate nothing.
 *
 * @param Stream Stream handle.
 * @param Slot A slot that is locked.
 * @param BufferType_E Name of the buffer.
 * @param[out] pTimestamps_X Array for the timestamps, in the order in which the service wrote them.
 * @param[in,out] pNbTimestamps_UL Room of the array, at least 1 (0 protects nothing); receives the entries
 *        written. When the slot has more than the room, a warning is logged and the first ones are written.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INVALID_POINTER A pointer or the slot is null, on a started stream.
 * @retval ZEFA_ERR_NOT_FOUND Slots of this stream have no such buffer.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream is not started, or its ring is gone.
 * @retval ZEFA_ERR_OPERATION_FAILED The ring does not know the slot, more slots have asked than the ring has, or the
 *        ring gave records that do not fit. The same call again succeeds with what there is, which may be nothing.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetSlotTimestamps(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                               ZEFA_TIMESTAMP* pTimestamps_X, uint32_t* pNbTimestamps_UL);

/**
 * Adds timestamps to a locked slot of a transmit stream.
 *
 * One thread at a time, which waits while another one locks a slot of the stream or reads its common status; must not
 * run beside ZEFA_UnlockSlot on the same stream. Entries added before a failure stay in the slot.
 *
 * @param Stream Stream handle.
 * @param Slot A slot that is locked.
 * @param BufferType_E Name of the buffer.
 * @param[in] pTimestamps_X The timestamps; positions are below the size of the buffer. May be null when there are
 *        none.
 * @param NbTimestamps_UL Their number.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INVALID_POINTER The slot is null, on a started stream.
 * @retval ZEFA_ERR_NOT_FOUND Slots of this stream have no such buffer.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream is not started.
 * @retval ZEFA_ERR_OPERATION_FAILED The stream receives, a position lies outside the buffer, the slot takes no more
 *        records, the ring does not know the slot, or the ring is gone.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SetSlotTimestamps(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                               const ZEFA_TIMESTAMP* pTimestamps_X, uint32_t NbTimestamps_UL);

/**
 * Reads where packets are missing in a buffer of a locked slot. A loss that starts in an earlier buffer is not
 * told here.
 *
 * One thread at a time, which waits while another one locks a slot of the stream or reads its common status; must not
 * run beside ZEFA_UnlockSlot on the same stream. The records of a slot are fetched once and kept until it is unlocked;
 * up to 100 allocate nothing.
 *
 * @param Stream Stream handle.
 * @param Slot A slot that is locked.
 * @param BufferType_E Name of the buffer.
 * @param[out] pLostData_X Array for the losses, in the order in which the service wrote them.
 * @param[in,out] pNbLostData_UL Room of the array, at least 1 (0 protects nothing); receives the entries written.
 *        When the slot has more than the room, a warning is logged and the first ones are written.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INVALID_POINTER A pointer or the slot is null, on a started stream.
 * @retval ZEFA_ERR_NOT_FOUND Slots of this stream have no such buffer.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream is not started, or its ring is gone.
 * @retval ZEFA_ERR_OPERATION_FAILED The ring does not know the slot, more slots have asked than the ring has, or the
 *        ring gave records that do not fit. The same call again succeeds with what there is, which may be nothing.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetSlotLostDataInfo(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                                 ZEFA_LOST_DATA* pLostData_X, uint32_t* pNbLostData_UL);

#endif /* ZEFALINE_SLOT_H */

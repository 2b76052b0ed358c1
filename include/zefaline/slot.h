/**
 * @file slot.h
 * Slots, the units of media: lock one, reach its buffers and metadata, give it back.
 */
#ifndef ZEFALINE_SLOT_H
#define ZEFALINE_SLOT_H

#include "base.h"

#ifdef __cplusplus
extern "C"
{
#endif

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
        uint32_t Value_UL; /**< RTP timestamp (RFC 3550): 90 kHz for video and ancillary data, sample rate for audio. */
    } ZEFA_TIMESTAMP;

    /** A place in a received buffer whose packets are missing. */
    typedef struct ZEFA_LOST_DATA
    {
        uint32_t Position_UL; /**< Byte position from the start of the buffer. */
        uint32_t Size_UL;     /**< Extent of the loss, as the service gives it; it may reach past the buffer's end. */
    } ZEFA_LOST_DATA;

    /** Waits for a slot and locks it. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_LockSlot(ZEFA_HANDLE Stream, ZEFA_SLOT* pSlot);

    /** Gives a slot back: to the service's free ones on receive, to be sent on transmit. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_UnlockSlot(ZEFA_HANDLE Stream, ZEFA_SLOT Slot);

    /** Tells address and size of a buffer of a locked slot. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetSlotBuffer(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                               uint8_t** ppBuffer_UB, uint32_t* pSize_UL);

    /** Reads the timestamps that lie in a buffer of a locked slot. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetSlotTimestamps(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                                   ZEFA_TIMESTAMP* pTimestamps_X, uint32_t* pNbTimestamps_UL);

    /** Adds timestamps to a locked slot of a transmit stream. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_SetSlotTimestamps(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                                   const ZEFA_TIMESTAMP* pTimestamps_X, uint32_t NbTimestamps_UL);

    /** Reads where packets are missing in a buffer of a locked slot. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetSlotLostDataInfo(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, ZEFA_BUFFER_TYPE BufferType_E,
                                                     ZEFA_LOST_DATA* pLostData_X, uint32_t* pNbLostData_UL);

#ifdef __cplusplus
}
#endif

#endif /* ZEFALINE_SLOT_H */

/**
 * @file anc.h
 * The ancillary data packets (SMPTE ST 291-1) of a locked slot of an SMPTE ST 2110-40 stream.
 */
#ifndef ZEFALINE_ANC_H
#define ZEFALINE_ANC_H

#include "base.h"
#include "slot.h"

#define ZEFA_ANC_PACKET_INDEX_ALL INT32_C(-1) /**< Insert: behind the last packet. Remove: all packets of the area. */

/** One ancillary data packet. Reached by pointer only: the library owns it until the slot is unlocked. */
typedef struct ZEFA_ANC_PACKET
{
    uint8_t DID_UB;          /**< Data identifier, without parity. */
    uint8_t SDID_UB;         /**< Secondary data identifier, or data block number. */
    uint8_t DataCount_UB;    /**< Number of user data words. */
    uint16_t* UserWords_pUS; /**< User words, 10 bits with parity, each in 16; room for one more, the checksum. */
    uint32_t InHANC_B;       /**< Non-zero: horizontal area of the line. 32 bits. */
    uint8_t External_B;      /**< Non-zero: not from the library's pools. Leave as it is. */
    struct ZEFA_ANC_PACKET* Previous; /**< Packet before this one in its area of the line. Not for applications. */
    struct ZEFA_ANC_PACKET* Next;     /**< Packet behind this one. Not for applications. */
} ZEFA_ANC_PACKET;

/** @name Packets of a slot
 *  The five functions are for the thread that holds the slot, from ZEFA_LockSlot to ZEFA_UnlockSlot. They write no
 *  trace. They wait for a ZEFA_StopStream of another thread, which ends all packets: do not touch one after it, also
 *  when it failed. The first of them on a slot of a receive stream asks for the slot's buffers as ZEFA_GetSlotBuffer
 *  does, and so waits for a ZEFA_LockSlot or a ZEFA_GetStreamCommonStatus of another thread, too.
 *
 *  On a receive stream the first of them on a slot reads the playlists of all sixteen buffers; packets then point into
 *  the slot. The call that finds a damaged playlist fails with ZEFA_ERR_OPERATION_FAILED, and with
 *  ZEFA_ERR_BAD_ARGUMENT when a line holds more than its signal has room for; the log tells where. Packets before the
 *  damage are there, and the next call goes on with the next playlist. ZEFA_ERR_FATAL says that there was no memory.
 *
 *  On a transmit stream ZEFA_UnlockSlot writes the playlists of all buffers. What does not fit a buffer is left out,
 *  and the log tells it. A signal of fewer than 1280 active samples in a line has the odd buffers alone: the even ones
 *  are left as they are, on both sides, and packets put there are never sent.
 *
 *  The video standard is that of the last ZEFA_SetStreamEssenceConfig on this handle; set it before ZEFA_StartStream.
 *  On a receive stream without one ZEFA_SlotAncGetNbPackets, ZEFA_SlotAncGetPacket and ZEFA_SlotAncRemovePacket may
 *  raise std::out_of_range, "invalid map<K, T> key". After another one was set while the stream runs, the reading call
 *  fails with ZEFA_ERR_INVALID_HANDLE at a line that the standard at the start does not have.
 *  @{ */

/**
 * Takes a new packet for a slot of a transmit stream. It is on no line until ZEFA_SlotAncInsertPacket puts it there.
 * Fill DID_UB, SDID_UB, InHANC_B and the user words; DataCount_UB may be lowered.
 *
 * @param Stream Handle of an ancillary data stream.
 * @param Slot Slot that is locked.
 * @param DataCount_UB User data words, 0 to 255. With 0 the packet has no words: UserWords_pUS is null.
 * @param[out] ppPacket_X Receives the packet, which the library owns until the slot is unlocked; null when there is no
 *             memory. Not written after any other failure.
 * @retval ZEFA_NO_ERROR The packet is there.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null, or no stream of ancillary data; the log tells it.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream receives, or there is no memory.
 * @retval ZEFA_ERR_INVALID_POINTER ppPacket_X is null.
 * @retval ZEFA_ERR_OPERATION_FAILED More slots are in use than the ring has, or the stream is not started.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncAllocatePacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint8_t DataCount_UB,
                                                   ZEFA_ANC_PACKET** ppPacket_X);

/**
 * Counts the packets of a line, of its horizontal and its vertical area.
 *
 * @param Stream Handle of an ancillary data stream.
 * @param Slot Slot that is locked.
 * @param LineNumber_UL Line of the signal, from 1.
 * @param BufferType_E ZEFA_BUFFER_ANC_0 to ZEFA_BUFFER_ANC_15.
 * @param[out] pNbPackets_UL Receives their number. Not written after a failure.
 * @retval ZEFA_NO_ERROR Counted.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null, or no stream of ancillary data; the log tells it.
 * @retval ZEFA_ERR_BAD_ARGUMENT The line is 0 or above the lines of the signal, or the type is no playlist's.
 * @retval ZEFA_ERR_OPERATION_FAILED pNbPackets_UL is null, a playlist is damaged, more slots are in use than the
 *         ring has, or the stream is not started.
 * @retval ZEFA_ERR_FATAL There was no memory to read the playlists.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncGetNbPackets(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                 ZEFA_BUFFER_TYPE BufferType_E, uint32_t* pNbPackets_UL);

/**
 * Reaches a packet of a line.
 *
 * @param Stream Handle of an ancillary data stream.
 * @param Slot Slot that is locked.
 * @param LineNumber_UL Line of the signal, from 1.
 * @param BufferType_E ZEFA_BUFFER_ANC_0 to ZEFA_BUFFER_ANC_15.
 * @param PacketIndex_L Index from 0: first the packets of the horizontal area, then those of the vertical one.
 * @param[out] ppPacket_X Receives the packet, which the library owns until the slot is unlocked; null when there is
 *             none at the index.
 * @retval ZEFA_NO_ERROR The packet is there.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null, or no stream of ancillary data; the log tells it.
 * @retval ZEFA_ERR_BAD_ARGUMENT The line is 0 or above the lines of the signal, or the type is no playlist's.
 * @retval ZEFA_ERR_OPERATION_FAILED The line has no packet at the index, ppPacket_X is null, a playlist is damaged,
 *         more slots are in use than the ring has, or the stream is not started.
 * @retval ZEFA_ERR_FATAL There was no memory to read the playlists.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncGetPacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                              ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                              ZEFA_ANC_PACKET** ppPacket_X);

/**
 * Puts a packet on a line of a slot of a transmit stream, in the area that its InHANC_B names. A packet is put on one
 * line, once. Below 1280 active samples in a line it is sent from an odd buffer alone.
 *
 * @param Stream Handle of an ancillary data stream.
 * @param Slot Slot that is locked.
 * @param LineNumber_UL Line of the signal, from 1.
 * @param BufferType_E ZEFA_BUFFER_ANC_0 to ZEFA_BUFFER_ANC_15.
 * @param PacketIndex_L Index from 0 in its area, up to the number of packets there, or ZEFA_ANC_PACKET_INDEX_ALL for
 *        the end.
 * @param pPacket_X A packet of ZEFA_SlotAncAllocatePacket on the same slot.
 * @retval ZEFA_NO_ERROR The packet is on the line.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null, or no stream of ancillary data; the log tells it.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream receives.
 * @retval ZEFA_ERR_INVALID_POINTER pPacket_X is null.
 * @retval ZEFA_ERR_BAD_ARGUMENT The line is 0 or above the lines of the signal, the type is no playlist's, or the
 *         index is negative or above the number of packets; the log tells the latter.
 * @retval ZEFA_ERR_OPERATION_FAILED The area has less room than DataCount_UB + 7 words, more slots are in use than the
 *         ring has, or the stream is not started; the log tells it.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncInsertPacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                 ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                                 ZEFA_ANC_PACKET* pPacket_X);

/**
 * Takes a packet, or all packets of an area, off a line. The memory comes back at ZEFA_UnlockSlot. After all packets of
 * a vertical area were taken, a line that carries picture takes none any more.
 *
 * @param Stream Handle of an ancillary data stream.
 * @param Slot Slot that is locked.
 * @param LineNumber_UL Line of the signal, from 1.
 * @param BufferType_E ZEFA_BUFFER_ANC_0 to ZEFA_BUFFER_ANC_15.
 * @param PacketIndex_L Index from 0 in its area, or ZEFA_ANC_PACKET_INDEX_ALL for all of them.
 * @param InHANC_B Non-zero: the horizontal area.
 * @retval ZEFA_NO_ERROR Taken off, or with ZEFA_ANC_PACKET_INDEX_ALL nothing was there.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null, or no stream of ancillary data; the log tells it.
 * @retval ZEFA_ERR_BAD_ARGUMENT The line is 0 or above the lines of the signal, the type is no playlist's, or the
 *         area has no packet at the index.
 * @retval ZEFA_ERR_OPERATION_FAILED A playlist is damaged, more slots are in use than the ring has, or the stream
 *         is not started.
 * @retval ZEFA_ERR_FATAL There was no memory to read the playlists.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncRemovePacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                 ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                                 uint8_t InHANC_B);

/** @} */

#endif /* ZEFALINE_ANC_H */

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

/**
 * Takes a new packet for a slot of a transmit stream. Not carried out in this version.
 *
 * @param Stream Stream handle.
 * @param Slot Slot that is locked.
 * @param DataCount_UB User data words, 0 to 255.
 * @param[out] ppPacket_X Receives the packet, which the library owns.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncAllocatePacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint8_t DataCount_UB,
                                                   ZEFA_ANC_PACKET** ppPacket_X);

/**
 * Counts the packets of a line. Not carried out in this version.
 *
 * @param Stream Stream handle.
 * @param Slot Slot that is locked.
 * @param LineNumber_UL Line of the signal, from 1.
 * @param BufferType_E ZEFA_BUFFER_ANC_0 to ZEFA_BUFFER_ANC_15.
 * @param[out] pNbPackets_UL Receives their number.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncGetNbPackets(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                 ZEFA_BUFFER_TYPE BufferType_E, uint32_t* pNbPackets_UL);

/**
 * Reaches a packet of a line. Not carried out in this version.
 *
 * @param Stream Stream handle.
 * @param Slot Slot that is locked.
 * @param LineNumber_UL Line of the signal, from 1.
 * @param BufferType_E ZEFA_BUFFER_ANC_0 to ZEFA_BUFFER_ANC_15.
 * @param PacketIndex_L Index from 0: first the packets of the horizontal area, then those of the vertical one.
 * @param[out] ppPacket_X Receives the packet, which the library owns.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncGetPacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                              ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                              ZEFA_ANC_PACKET** ppPacket_X);

/**
 * Puts a packet on a line of a slot of a transmit stream. Not carried out in this version.
 *
 * @param Stream Stream handle.
 * @param Slot Slot that is locked.
 * @param LineNumber_UL Line of the signal, from 1.
 * @param BufferType_E ZEFA_BUFFER_ANC_0 to ZEFA_BUFFER_ANC_15.
 * @param PacketIndex_L Index from 0 in its area, or ZEFA_ANC_PACKET_INDEX_ALL for the end.
 * @param pPacket_X A packet of ZEFA_SlotAncAllocatePacket.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncInsertPacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                 ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                                 ZEFA_ANC_PACKET* pPacket_X);

/**
 * Takes a packet, or all packets of an area, off a line. Not carried out in this version.
 *
 * @param Stream Stream handle.
 * @param Slot Slot that is locked.
 * @param LineNumber_UL Line of the signal, from 1.
 * @param BufferType_E ZEFA_BUFFER_ANC_0 to ZEFA_BUFFER_ANC_15.
 * @param PacketIndex_L Index from 0 in its area, or ZEFA_ANC_PACKET_INDEX_ALL for all of them.
 * @param InHANC_B Non-zero: the horizontal area.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncRemovePacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                 ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                                 uint8_t InHANC_B);

#endif /* ZEFALINE_ANC_H */

/**
 * @file anc.h
 * The ancillary data packets (SMPTE ST 291-1) of a locked slot of an SMPTE ST 2110-40 stream.
 */
#ifndef ZEFALINE_ANC_H
#define ZEFALINE_ANC_H

#include "base.h"
#include "slot.h"

#ifdef __cplusplus
extern "C"
{
#endif

/** Index of ZEFA_SlotAncInsertPacket: behind the last packet. Of ZEFA_SlotAncRemovePacket: all packets of the area. */
#define ZEFA_ANC_PACKET_INDEX_ALL INT32_C(-1)

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

    /** Takes a new packet for a slot of a transmit stream. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncAllocatePacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint8_t DataCount_UB,
                                                       ZEFA_ANC_PACKET** ppPacket_X);

    /** Counts the packets of a line. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncGetNbPackets(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                     ZEFA_BUFFER_TYPE BufferType_E, uint32_t* pNbPackets_UL);

    /** Reaches a packet of a line. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncGetPacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                  ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                                  ZEFA_ANC_PACKET** ppPacket_X);

    /** Puts a packet on a line of a slot of a transmit stream. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncInsertPacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                     ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                                     ZEFA_ANC_PACKET* pPacket_X);

    /** Takes a packet, or all packets of an area, off a line. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_SlotAncRemovePacket(ZEFA_HANDLE Stream, ZEFA_SLOT Slot, uint32_t LineNumber_UL,
                                                     ZEFA_BUFFER_TYPE BufferType_E, int32_t PacketIndex_L,
                                                     uint8_t InHANC_B);

#ifdef __cplusplus
}
#endif

#endif /* ZEFALINE_ANC_H */

/**
 * @file stream.h
 * Streams: their configuration, their life and their status.
 */
#ifndef ZEFALINE_STREAM_H
#define ZEFALINE_STREAM_H

#include "base.h"
#include "video_standards.h"

/** Direction of a stream. */
typedef int32_t ZEFA_STREAM_TYPE;
#define ZEFA_STREAM_TYPE_RX INT32_C(0) /**< Receives from the network. */
#define ZEFA_STREAM_TYPE_TX INT32_C(1) /**< Sends to the network. */

/** Essence of a stream. */
typedef int32_t ZEFA_ESSENCE_TYPE;
#define ZEFA_ESSENCE_TYPE_ST2110_20 INT32_C(0) /**< Uncompressed video, SMPTE ST 2110-20. */
#define ZEFA_ESSENCE_TYPE_ST2110_30 INT32_C(1) /**< PCM audio, SMPTE ST 2110-30. */
#define ZEFA_ESSENCE_TYPE_ST2110_40 INT32_C(2) /**< Ancillary data, SMPTE ST 2110-40. */

/** Which sources a multicast connection takes. */
typedef uint32_t ZEFA_MULTICAST_MODE;
#define ZEFA_MULTICAST_MODE_INCLUSION UINT32_C(0) /**< Only the sources of the list; an empty list takes all. */
#define ZEFA_MULTICAST_MODE_EXCLUSION UINT32_C(1) /**< All but the sources of the list; an empty list takes all. */
/** Only when reading: a value without a constant. An unknown word reads as exclusion. */
#define ZEFA_MULTICAST_MODE_UNKNOWN UINT32_C(2)

/** Bits of a sample, on the network and in the application's buffers (SMPTE ST 2110-20 "depth"). */
typedef uint32_t ZEFA_SDP_VIDEO_DEPTH;
#define ZEFA_SDP_VIDEO_DEPTH_8 UINT32_C(0)  /**< 8 bits. */
#define ZEFA_SDP_VIDEO_DEPTH_10 UINT32_C(1) /**< 10 bits. */
#define ZEFA_SDP_VIDEO_DEPTH_12 UINT32_C(2) /**< 12 bits. */
/** Only when reading: a value without a constant. Not an unknown word, see ZEFA_GetStreamEssenceConfig. */
#define ZEFA_SDP_VIDEO_DEPTH_UNKNOWN UINT32_C(3)

/** Sampling structure (SMPTE ST 2110-20 "sampling"). */
typedef uint32_t ZEFA_SDP_VIDEO_SAMPLING;
#define ZEFA_SDP_VIDEO_SAMPLING_YCBCR_422 UINT32_C(0) /**< "YCbCr-4:2:2" */
#define ZEFA_SDP_VIDEO_SAMPLING_YCBCR_444 UINT32_C(1) /**< "YCbCr-4:4:4" */
#define ZEFA_SDP_VIDEO_SAMPLING_ICTCP_422 UINT32_C(2) /**< "ICtCp-4:2:2" */
#define ZEFA_SDP_VIDEO_SAMPLING_ICTCP_444 UINT32_C(3) /**< "ICtCp-4:4:4" */
#define ZEFA_SDP_VIDEO_SAMPLING_RGB UINT32_C(4)       /**< "RGB" */
#define ZEFA_SDP_VIDEO_SAMPLING_XYZ UINT32_C(5)       /**< "XYZ" */
#define ZEFA_SDP_VIDEO_SAMPLING_UNKNOWN UINT32_C(6)   /**< From ZEFA_GetStreamEssenceConfig alone: something else. */

/** Packing of pixel groups into packets (SMPTE ST 2110-20 "PM"). */
typedef uint32_t ZEFA_SDP_PACKING;
#define ZEFA_SDP_PACKING_GENERAL UINT32_C(0) /**< "2110GPM"; what is always sent. */
/** Only when reading: a value without a constant. Not an unknown word, see ZEFA_GetStreamEssenceConfig. */
#define ZEFA_SDP_PACKING_UNKNOWN UINT32_C(1)

/** Colour space of the picture (SMPTE ST 2110-20 "colorimetry"). */
typedef uint32_t ZEFA_SDP_COLORIMETRY;
#define ZEFA_SDP_COLORIMETRY_BT601 UINT32_C(0)       /**< "BT601" */
#define ZEFA_SDP_COLORIMETRY_BT709 UINT32_C(1)       /**< "BT709" */
#define ZEFA_SDP_COLORIMETRY_BT2020 UINT32_C(2)      /**< "BT2020" */
#define ZEFA_SDP_COLORIMETRY_BT2100 UINT32_C(3)      /**< "BT2100" */
#define ZEFA_SDP_COLORIMETRY_ST2065_1 UINT32_C(4)    /**< "ST2065-1" */
#define ZEFA_SDP_COLORIMETRY_ST2065_3 UINT32_C(5)    /**< "ST2065-3" */
#define ZEFA_SDP_COLORIMETRY_UNSPECIFIED UINT32_C(6) /**< "UNSPECIFIED" */
#define ZEFA_SDP_COLORIMETRY_XYZ UINT32_C(7)         /**< "XYZ" */
/** Only when reading: a value without a constant. Not an unknown word, see ZEFA_GetStreamEssenceConfig. */
#define ZEFA_SDP_COLORIMETRY_UNKNOWN UINT32_C(8)

/** Transfer characteristic (SMPTE ST 2110-20 "TCS"). A description carries it; the service does not. */
typedef uint32_t ZEFA_SDP_TCS;
#define ZEFA_SDP_TCS_SDR UINT32_C(0)          /**< "SDR" */
#define ZEFA_SDP_TCS_PQ UINT32_C(1)           /**< "PQ" */
#define ZEFA_SDP_TCS_HLG UINT32_C(2)          /**< "HLG" */
#define ZEFA_SDP_TCS_LINEAR UINT32_C(3)       /**< Linear; a description that this library reads spells it "LINAR". */
#define ZEFA_SDP_TCS_BT2100LINPQ UINT32_C(4)  /**< "BT2100LINPQ" */
#define ZEFA_SDP_TCS_BT2100LINHLG UINT32_C(5) /**< "BT2100LINHLG" */
#define ZEFA_SDP_TCS_ST2065_1 UINT32_C(6)     /**< "ST2065-1" */
#define ZEFA_SDP_TCS_ST428_1 UINT32_C(7)      /**< "ST428-1" */
#define ZEFA_SDP_TCS_DENSITY UINT32_C(8)      /**< "DENSITY" */
#define ZEFA_SDP_TCS_UNSPECIFIED UINT32_C(9)  /**< "UNSPECIFIED" */

/** How samples lie in the application's buffers. */
typedef uint32_t ZEFA_BIT_PADDING;
#define ZEFA_BIT_PADDING_NONE UINT32_C(0) /**< Packed: sample behind sample. */
#define ZEFA_BIT_PADDING_16 UINT32_C(1)   /**< Each sample in a word of 16 bits. */
#define ZEFA_BIT_PADDING_32 UINT32_C(2)   /**< Each sample in a word of 32 bits. */
/** Only when reading: a value without a constant. Not an unknown word, see ZEFA_GetStreamEssenceConfig. */
#define ZEFA_BIT_PADDING_UNKNOWN UINT32_C(3)

/** Order of the bytes in the application's buffers. */
typedef uint32_t ZEFA_ENDIANNESS;
#define ZEFA_ENDIANNESS_BIG UINT32_C(0)    /**< High byte first, as on the network. */
#define ZEFA_ENDIANNESS_LITTLE UINT32_C(1) /**< Low byte first. */
/** Only when reading: a value without a constant. Not an unknown word, see ZEFA_GetStreamEssenceConfig. */
#define ZEFA_ENDIANNESS_UNKNOWN UINT32_C(2)

/** Coding of audio samples (SMPTE ST 2110-30, AES67). */
typedef uint32_t ZEFA_SDP_AUDIO_CODEC;
#define ZEFA_SDP_AUDIO_CODEC_L16 UINT32_C(0)     /**< 16 bits linear. */
#define ZEFA_SDP_AUDIO_CODEC_L24 UINT32_C(1)     /**< 24 bits linear. */
#define ZEFA_SDP_AUDIO_CODEC_UNKNOWN UINT32_C(2) /**< From ZEFA_GetStreamEssenceConfig alone: something else. */

/** Audio samples per second and channel. */
typedef uint32_t ZEFA_SDP_AUDIO_RATE;
#define ZEFA_SDP_AUDIO_RATE_48000 UINT32_C(0) /**< 48 kHz. */
#define ZEFA_SDP_AUDIO_RATE_96000 UINT32_C(1) /**< 96 kHz. */
/** From ZEFA_GetStreamEssenceConfig alone: something else, 44.1 kHz among it. */
#define ZEFA_SDP_AUDIO_RATE_UNKNOWN UINT32_C(2)

/** Audio time in one packet (SDP "ptime"). */
typedef uint32_t ZEFA_SDP_PACKET_TIME;
#define ZEFA_SDP_PACKET_TIME_1MS UINT32_C(0)     /**< 1 ms. */
#define ZEFA_SDP_PACKET_TIME_125US UINT32_C(1)   /**< 125 microseconds. */
#define ZEFA_SDP_PACKET_TIME_UNKNOWN UINT32_C(2) /**< From ZEFA_GetStreamEssenceConfig alone: something else. */

/** Memory, processing and waiting of a stream. */
typedef struct ZEFA_STREAM_COMMON_CONFIG
{
    uint32_t ApplicativeBufferQueueDepth_UL;   /**< Slots of the ring between service and application. */
    uint32_t LockTimeoutMs_UL;                 /**< Time limit of ZEFA_LockSlot in ms; 100 until it is set. */
    uint64_t CpuCores_ULL[ZEFA_MAX_CPU_CORES]; /**< Identifiers of CPU cores for the stream. */
    uint64_t NbCpuCores_ULL;                   /**< Entries in use above; more than 128 counts as 128. */
    uint64_t ConductorId_ULL;                  /**< Conductor that runs the stream. */
} ZEFA_STREAM_COMMON_CONFIG;

/** One network path of a stream. IPv4 addresses are in host byte order. */
typedef struct ZEFA_CONNECTION_CONFIG
{
    uint16_t DestinationPort_US;                              /**< UDP port. */
    uint32_t SourceIp_UL;                                     /**< Address that sends. */
    uint32_t DestinationIp_UL;                                /**< Unicast or multicast address that receives. */
    ZEFA_MULTICAST_MODE MulticastMode_E;                      /**< What the list of sources means. */
    uint32_t MulticastSources_UL[ZEFA_MAX_MULTICAST_SOURCES]; /**< Sources (IGMPv3, RFC 3376). */
    uint32_t NbMulticastSources_UL;                           /**< Entries in use above; more than 128 counts as 128. */
    uint64_t NetworkInterfaceId_ULL;                          /**< Identifier of the interface. */
} ZEFA_CONNECTION_CONFIG;

/** RTP and the network paths of a stream. */
typedef struct ZEFA_STREAM_NETWORK_CONFIG
{
    uint32_t SocketBufferSize_UL; /**< Bytes of the socket's buffer; 0 leaves it to the service. */
    uint32_t SSRC_UL;             /**< RTP synchronisation source (RFC 3550). */
    uint32_t PayloadType_UB;      /**< RTP payload type; the low 8 bits of this 32-bit field count. */
    ZEFA_CONNECTION_CONFIG Connections_X[ZEFA_MAX_CONNECTIONS]; /**< Paths; several carry the same packets. */
    uint32_t NbConnections_UL; /**< Entries in use above; more than 128 counts as 128. */
} ZEFA_STREAM_NETWORK_CONFIG;

/** Video: raster, network format and the format of the application's buffers. */
typedef struct ZEFA_ST2110_20_CONFIG
{
    ZEFA_VIDEO_STANDARD VideoStandard_E;    /**< Raster and rate; ZEFA_VIDEO_STANDARD_UNKNOWN when there is none. */
    ZEFA_SDP_VIDEO_DEPTH NetworkBitDepth_E; /**< Bits of a sample on the network. */
    ZEFA_SDP_VIDEO_SAMPLING NetworkBitSampling_E; /**< Sampling on the network. */
    ZEFA_SDP_PACKING PackingMode_E;               /**< ZEFA_SetStreamEssenceConfig ignores it. */
    ZEFA_SDP_COLORIMETRY Colorimetry_E;           /**< Colour space. Setting turns BT709 and unknown into BT709. */
    ZEFA_SDP_VIDEO_DEPTH AppBitDepth_E;           /**< Bits of a sample in the buffers. */
    ZEFA_SDP_VIDEO_SAMPLING AppBitSampling_E;     /**< Sampling in the buffers; must equal that of the network. */
    ZEFA_BIT_PADDING AppBitPadding_E;             /**< How samples lie in the buffers. */
    ZEFA_ENDIANNESS AppEndianness_E;              /**< Byte order in the buffers. */
    uint32_t UseDefaultTrOffset_B;                /**< Non-zero: the default offset of SMPTE ST 2110-21. 32 bits. */
    uint32_t TrOffset_UL;                         /**< Offset in microseconds ("TROFF") when it is not the default. */
    ZEFA_SDP_TCS Tcs_E;                           /**< Transfer characteristic; for descriptions only. */
} ZEFA_ST2110_20_CONFIG;

/** Audio: coding and packets. */
typedef struct ZEFA_ST2110_30_CONFIG
{
    ZEFA_SDP_AUDIO_CODEC Encoding_E;    /**< Coding of a sample. */
    ZEFA_SDP_AUDIO_RATE SamplingRate_E; /**< Samples per second. */
    uint32_t ChannelNumber_UL;          /**< Channels, from 1. */
    ZEFA_SDP_PACKET_TIME PacketTime_E;  /**< Audio time in one packet. */
    uint32_t NbPacketsPerBuffer_UL;     /**< Packets that make one slot. */
} ZEFA_ST2110_30_CONFIG;

/** Ancillary data: the signal that the packets belong to. */
typedef struct ZEFA_ST2110_40_CONFIG
{
    ZEFA_SDI_VIDEO_STANDARD VideoStandard_E; /**< 0 to 44; 45 when unknown. */
} ZEFA_ST2110_40_CONFIG;

/** Configuration of a stream's essence: the type, then the member of that type. */
typedef struct ZEFA_ESSENCE_CONFIG
{
    ZEFA_ESSENCE_TYPE EssenceType_E; /**< Which member of the union counts. */
    union
    {
        ZEFA_ST2110_20_CONFIG ST2110_20_X; /**< With ZEFA_ESSENCE_TYPE_ST2110_20. */
        ZEFA_ST2110_30_CONFIG ST2110_30_X; /**< With ZEFA_ESSENCE_TYPE_ST2110_30. */
        ZEFA_ST2110_40_CONFIG ST2110_40_X; /**< With ZEFA_ESSENCE_TYPE_ST2110_40. */
    } Essence_X;                           /**< By EssenceType_E. */
} ZEFA_ESSENCE_CONFIG;

/** Slots of a started stream. docs/sending.md defines each counter. */
typedef struct ZEFA_STREAM_COMMON_STATUS
{
    /** Receive: slots that wait for the application. Transmit: slots that are locked, waiting, or being sent. */
    uint32_t SlotsFilled_UL;
    uint32_t SlotCount_UL;   /**< Slots that were locked since the stream was created; not the size of the ring. */
    uint32_t SlotDropped_UL; /**< Receive: slots, since the start, for which the ring had no room. Transmit: 0. */
} ZEFA_STREAM_COMMON_STATUS;

/** Packets of a stream since its latest start; readable until the next. docs/sending.md defines each counter. */
typedef struct ZEFA_STREAM_NETWORK_STATUS
{
    uint32_t ReceivedSSRC_UL; /**< RTP source that is followed, 0 before its first packet; or of the packets sent. */
    uint8_t PayloadType_UB;   /**< The configured RTP payload type; three zero bytes follow. */
    uint64_t TotalTransferredPacketCount_ULL; /**< Datagrams received, or sent, on all connections. */
    /** Receive: packets of these that went into slots. Transmit: packets that left on one connection at least. */
    uint64_t TotalProcessedPacketCount_ULL;
    /** Transmit: periods of a slot in which there was none to send, from the first slot on. Receive: 0. */
    uint64_t UnderrunCount_ULL;
    uint64_t DropCount_ULL; /**< Receive: slots, not packets, for which the ring had no room. Transmit: 0. */
    /** Receive: packets that no connection brought, by sequence number. Transmit: that none took, or given up. */
    uint64_t LostPacketsCount_ULL;
} ZEFA_STREAM_NETWORK_STATUS;

/**
 * Creates a stream at the service. What follows is to configure it, open it and start it.
 *
 * Any thread; one exchange. A failure of the exchange leaves memory allocated out of reach.
 *
 * @param Context Context handle. The context must outlive the stream.
 * @param StreamType_E ZEFA_STREAM_TYPE_RX or ZEFA_STREAM_TYPE_TX. A negative value counts as transmit.
 * @param EssenceType_E One of the ZEFA_ESSENCE_TYPE_ constants. A negative value asks the service for no essence,
 *        which it refuses.
 * @param[out] pStream Receives the handle; not null. The application owns it and gives it to ZEFA_DestroyStream.
 *        Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_BAD_ARGUMENT A type is above the last constant of its kind.
 * @retval ZEFA_ERR_INCORRECT_STATE The service refused, or could not be reached.
 * @retval ZEFA_ERR_COMMUNICATION The command channel of the context is not up.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_CreateStream(ZEFA_HANDLE Context, ZEFA_STREAM_TYPE StreamType_E,
                                          ZEFA_ESSENCE_TYPE EssenceType_E, ZEFA_HANDLE* pStream);

/**
 * Destroys a stream: first its resource at the service, then the object. Stop and close it before.
 *
 * The handle is dead afterwards, whatever is returned. Must not overlap another call on the stream. A stream that
 * was not stopped leaves its rail attached until the process ends.
 *
 * @param Stream Stream handle.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The service refused, or could not be reached.
 * @retval ZEFA_ERR_COMMUNICATION The command channel of the context is not up.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_DestroyStream(ZEFA_HANDLE Stream);

/**
 * Opens a configured stream: the service takes sockets and memory for it.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Stream Stream handle.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream or the service is not in a state for it, lacks a resource, or the
 *        command channel is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_OpenStream(ZEFA_HANDLE Stream);

/**
 * Closes a stopped stream: the service gives back what opening took.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Stream Stream handle.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of the context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_CloseStream(ZEFA_HANDLE Stream);

/**
 * Starts an opened stream and joins its ring. Slots may be locked once it has returned.
 *
 * Any thread may call, but nothing else on this stream may run beside it: no other start, no stop, no slot call, no
 * ZEFA_GetStreamCommonStatus. Blocks for four exchanges.
 *
 * Nothing is undone after a failure: ZEFA_StopStream is the way back. When the service starts the stream and does not
 * tell where its ring is, the call succeeds, unless the common configuration could not be read either, and the first
 * lock gives ZEFA_ERR_INCORRECT_STATE. When it tells that and not the common configuration, the call succeeds, and
 * metadata calls and locks of ancillary data fail. A start of a stream that is started already joins its ring anew:
 * slots that are locked, and their addresses, are dead.
 *
 * @param Stream Stream handle.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_BAD_ARGUMENT The service does not take the configuration.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream or the service is not in a state for it, lacks a resource, or the
 *        command channel is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused, or the ring could not be made, opened or joined.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_StartStream(ZEFA_HANDLE Stream);

/**
 * Stops a stream and leaves its ring.
 *
 * One exchange, and as long as a ZEFA_LockSlot of another thread still waits. The ring is left even when the
 * service refuses. Slots that are locked, and the addresses of their buffers, are dead afterwards.
 *
 * @param Stream Stream handle.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel is not up, or the ring is damaged.
 * @retval ZEFA_ERR_BAD_ARGUMENT The ring does not know this consumer.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused, or the ring could not be left: a later stop tries again.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_StopStream(ZEFA_HANDLE Stream);

/**
 * Reads the common configuration. LockTimeoutMs_UL is the library's own value.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Stream Stream handle.
 * @param[out] pConfig_X Structure to fill, not null.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of the context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetStreamCommonConfig(ZEFA_HANDLE Stream, ZEFA_STREAM_COMMON_CONFIG* pConfig_X);

/**
 * Sets the common configuration. The memory of the stream follows the NUMA node of the conductor's core.
 *
 * Any thread; three exchanges: the conductor, its core, the stream.
 *
 * @param Stream Stream handle.
 * @param[in] pConfig_X The configuration, not null. LockTimeoutMs_UL holds from the success of this call on.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_OPERATION_FAILED The conductor or its core could not be read, for whatever reason, a service that
 *        cannot be reached among them, and the stream is untouched; or the service refused the configuration with one
 *        of its own small results.
 * @retval ZEFA_ERR_NOT_FOUND The conductor left the context during the call; one that was not in it before could not be
 *        read.
 * @retval ZEFA_ERR_BAD_ARGUMENT The service does not take a value.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream is open, or the service answered the configuration as not initialized.
 * @retval ZEFA_ERR_COMMUNICATION The configuration itself could not be sent, was answered against the protocol, or the
 *        session is no longer accepted.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SetStreamCommonConfig(ZEFA_HANDLE Stream, const ZEFA_STREAM_COMMON_CONFIG* pConfig_X);

/**
 * Reads the network configuration. Entries behind NbConnections_UL get the mode of exclusion and no sources; the
 * rest of them is untouched.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Stream Stream handle.
 * @param[out] pConfig_X Structure to fill, not null.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of the context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetStreamNetworkConfig(ZEFA_HANDLE Stream, ZEFA_STREAM_NETWORK_CONFIG* pConfig_X);

/**
 * Sets the network configuration. Audio goes out with DSCP 34 (RFC 2474), all else with 0.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Stream Stream handle.
 * @param[in] pConfig_X The configuration, not null. Counts above their arrays are cut to them.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of the context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SetStreamNetworkConfig(ZEFA_HANDLE Stream, const ZEFA_STREAM_NETWORK_CONFIG* pConfig_X);

/**
 * Reads the essence configuration. Values of the service that have no constant here, such as 16 bits or 44.1 kHz, come
 * as ..._UNKNOWN, and a raster of no standard as ZEFA_VIDEO_STANDARD_UNKNOWN. A word that this library does not know
 * counts as the first one of its kind: 8 bits, BT601, no padding, big endian, general packing; of sampling, audio
 * coding, rate and packet time that is none with a constant, so they come as ..._UNKNOWN.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Stream Stream handle.
 * @param[out] pConfig_X Structure to fill, not null. On failure it holds defaults.
 * @retval ZEFA_NO_ERROR Done; or the stream has an essence outside the constants, which is logged.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of the context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetStreamEssenceConfig(ZEFA_HANDLE Stream, ZEFA_ESSENCE_CONFIG* pConfig_X);

/**
 * Sets the essence configuration. Values without a meaning fall back to a default (such as 48 kHz for an unknown
 * rate) instead of failing.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Stream Stream handle.
 * @param[in] pConfig_X The configuration, not null. The member of EssenceType_E is read.
 * @retval ZEFA_NO_ERROR Done; or EssenceType_E is outside the constants: this is logged and nothing is sent.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_BAD_ARGUMENT The service does not take a value.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of the context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION EssenceType_E is not the stream's, or the service could not be reached, answered
 *        against the protocol, or no longer accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SetStreamEssenceConfig(ZEFA_HANDLE Stream, const ZEFA_ESSENCE_CONFIG* pConfig_X);

/**
 * Reads how full the ring of a started stream is.
 *
 * SlotsFilled_UL of a transmit stream is the slots of the ring less the slots that are free. Any thread; holds the
 * ring during one exchange, so a slow service delays a ZEFA_LockSlot beside it.
 *
 * @param Stream Stream handle.
 * @param[out] pStatus_X Structure to fill, not null. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The stream is not started, or the service is not in a state for it.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetStreamCommonStatus(ZEFA_HANDLE Stream, ZEFA_STREAM_COMMON_STATUS* pStatus_X);

/**
 * Reads the packet counters.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Stream Stream handle.
 * @param[out] pStatus_X Structure to fill, not null.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Stream is null or no stream handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of the context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetStreamNetworkStatus(ZEFA_HANDLE Stream, ZEFA_STREAM_NETWORK_STATUS* pStatus_X);

#endif /* ZEFALINE_STREAM_H */

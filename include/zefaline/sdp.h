/**
 * @file sdp.h
 * Session descriptions (SDP, RFC 4566) of SMPTE ST 2110 streams, read into and written from stream configuration.
 */
#ifndef ZEFALINE_SDP_H
#define ZEFALINE_SDP_H

#include "base.h"
#include "stream.h"

/** How media time follows the reference clock (RFC 7273 "mediaclk"). */
typedef uint32_t ZEFA_SDP_MEDIA_CLOCK;
#define ZEFA_SDP_MEDIA_CLOCK_DIRECT UINT32_C(0)  /**< "direct=0" */
#define ZEFA_SDP_MEDIA_CLOCK_SENDER UINT32_C(1)  /**< "sender" */
#define ZEFA_SDP_MEDIA_CLOCK_NOT_SET UINT32_C(2) /**< The description has none; cannot be written. */

/** What an RTP timestamp says (SMPTE ST 2110-10 "TSMODE"). */
typedef uint32_t ZEFA_SDP_TS_MODE;
#define ZEFA_SDP_TS_MODE_SAMP UINT32_C(0)    /**< "SAMP": when the media was sampled. */
#define ZEFA_SDP_TS_MODE_NEW UINT32_C(1)     /**< "NEW": made anew by the sender. */
#define ZEFA_SDP_TS_MODE_PRES UINT32_C(2)    /**< "PRES": kept from the source. */
#define ZEFA_SDP_TS_MODE_NOT_SET UINT32_C(3) /**< The description has none. */

/** Kind of reference clock (RFC 7273 "ts-refclk"). */
typedef uint32_t ZEFA_SDP_REFCLOCK;
#define ZEFA_SDP_REFCLOCK_PTP UINT32_C(0)           /**< PTP with a grandmaster: identity and domain. */
#define ZEFA_SDP_REFCLOCK_PTP_TRACEABLE UINT32_C(1) /**< PTP, traceable. */
#define ZEFA_SDP_REFCLOCK_LOCALMAC UINT32_C(2)      /**< The sender's own clock, named by its MAC address. */

/** What a description says and the configuration of a stream has no place for. */
typedef struct ZEFA_SDP_INFO
{
    char SessionName[ZEFA_NAME_CHARS];        /**< "s=", NUL-terminated, cut to 49 characters. */
    char SessionDescription[ZEFA_NAME_CHARS]; /**< "i=", NUL-terminated, cut to 49 characters. */
    ZEFA_SDP_MEDIA_CLOCK MediaClock_E;        /**< Media clock. */
    ZEFA_SDP_TS_MODE TsMode_E;                /**< Meaning of the timestamps. */
    uint8_t TsDelayPresent_B;                 /**< Non-zero: the next field counts. */
    uint32_t TsDelay_UL;                      /**< "TSDELAY" in microseconds. */
    char ChannelOrder[ZEFA_NAME_CHARS];       /**< Audio "channel-order", NUL-terminated, cut to 49 characters. */
    ZEFA_SDP_REFCLOCK RefClock_E;             /**< Kind of reference clock. */
    uint8_t RefClockId_UB[8];  /**< Identity, or MAC in the first 6 bytes; last group of the text first. */
    uint8_t RefClockDomain_UB; /**< PTP domain. */
} ZEFA_SDP_INFO;

/**
 * Reads a session description (SDP, RFC 4566, with SMPTE ST 2110-10, -20, -30 or -40) into the configuration of
 * one stream.
 *
 * Needs no context and no service. Any number of threads may call at once.
 *
 * Success means that the text was read, not that everything in it has a place in the structures: what a
 * description says and the exported enumerations cannot say is left out in silence and ends the copying of the
 * essence. Its order is, for video, depth, sampling, packing, colorimetry, transfer characteristics, then the standard
 * with its offset; for audio coding, packet time, rate, then the channels with their order. What comes later in this
 * order stays as it was, and so does an address that is missing or not IPv4, which the log tells. So initialise the
 * structures before the call, and VideoStandard_E to ZEFA_VIDEO_STANDARD_UNKNOWN.
 * A description that gives the frame rate of interlaced video finds no standard: the standards go by the field
 * rate.
 *
 * A media is an "m=" line of audio or of video in ST 2110-20 or -40; any other one is told to the log and skipped. Read
 * are: number of connections (the media, up to ZEFA_MAX_CONNECTIONS), destination address and port of each, the address
 * of the "o=" line as SourceIp_UL of each, and from the first media its payload type (0 when it names several, with a
 * warning), essence and clocks. Not read, and for the application to set: interface, multicast mode and sources, SSRC,
 * size of the socket buffer, the format of the application's buffers, packets per buffer, and of ancillary data
 * everything but EssenceType_E.
 *
 * C++ exceptions leave this function for descriptions whose numbers or tree cannot be used: std::invalid_argument
 * and std::out_of_range ("invalid stoi argument" and their like) from the conversion of numbers, nlohmann::json
 * exceptions (derived from std::exception) from the access to parts that are missing, and from the quoting of a media
 * whose text is not UTF-8: a media is quoted, with a log or without, when something mandatory is missing, or an "fmtp"
 * or "rtpmap" is there more than once. Catch std::exception around the call; a program in C must check the description
 * by other means. The structures are untouched then.
 *
 * @param[in] pSdp_C The description, NUL-terminated, not null, of any length; lines may end in CR LF or LF.
 * @param pReserved Not read.
 * @param[out] pNetworkConfig_X Network configuration to fill in part.
 * @param[out] pEssenceConfig_X Essence configuration to fill in part.
 * @param[out] pInfo_X Further items to fill in part.
 * @retval ZEFA_NO_ERROR The description was read.
 * @retval ZEFA_ERR_INVALID_POINTER One of the three structures is null.
 * @retval ZEFA_ERR_OPERATION_FAILED The description lacks something mandatory, has a value that is not supported,
 *        or has no media; the log says what, or has the number 2 alone: of a media clock, a "TSMODE" and a frame rate
 *        of ancillary data that are not supported.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_ReadSDP(const char* pSdp_C, const void* pReserved,
                                     ZEFA_STREAM_NETWORK_CONFIG* pNetworkConfig_X,
                                     ZEFA_ESSENCE_CONFIG* pEssenceConfig_X, ZEFA_SDP_INFO* pInfo_X);

/**
 * Writes stream configuration as a session description (SDP, RFC 4566, with SMPTE ST 2110-10, -20, -30 or -40), the
 * way back from ZEFA_ReadSDP.
 *
 * Needs no context and no service. Any number of threads may call at once.
 *
 * Written are: an "m=" line for each of NbConnections_UL, up to ZEFA_MAX_CONNECTIONS, with DestinationPort_US,
 * DestinationIp_UL and PayloadType_UB; with two paths or more "a=mid" from 0 on and a group "DUP"; SourceIp_UL of the
 * first path as the address of the "o=" line; the essence with its network format; names and clocks of the info. The
 * identifier of the session is the system time in seconds, its version differs with each call. Always written are
 * "TP=2110TPW" for video and "raw/90000" for video and for ancillary data. Not written: a time to live, sources,
 * packing other than 2110GPM, the format of the application's buffers, the raster of ancillary data. A number of
 * paths of 0, or an EssenceType_E outside the constants, gives the lines of the session alone. Interlaced video is
 * written with its field rate, as the standards count.
 *
 * Texts are written as they stand, up to their NUL or 50 characters: neither line ends nor bytes that are not UTF-8 are
 * refused. A Tcs_E outside the constants counts as SDR, and an ancillary standard outside the constants gives a frame
 * rate of 0. Of exceptions only std::bad_alloc leaves this function.
 *
 * A description that was read cannot always be written: one without "mediaclk" reads as
 * ZEFA_SDP_MEDIA_CLOCK_NOT_SET, one without "ts-refclk" leaves RefClock_E as it was.
 *
 * @param[in] pNetworkConfig_X Network configuration; not null, which is not checked.
 * @param[in] pEssenceConfig_X Essence configuration; not null, which is not checked.
 * @param[in] pInfo_X Further items; not null, which is not checked.
 * @param[out] pSdp_C Buffer for the text, which is ended by a NUL; lines end in CR LF. 1000 bytes have room for any
 *        description of one path, and each further path takes less than 500.
 * @param[in,out] pSize_UL In: size of the buffer in bytes. Out, with success alone: length of the text without its NUL.
 *        Offer one byte more than the text has: a buffer of just its length is taken, with success, and the NUL stands
 *        in the place of the last character.
 * @retval ZEFA_NO_ERROR The description was written.
 * @retval ZEFA_ERR_INVALID_POINTER The buffer or the size is null.
 * @retval ZEFA_ERR_NOT_FOUND MediaClock_E, TsMode_E or RefClock_E is outside the constants, and there is an "m=" line
 *        to write; nothing is logged.
 * @retval ZEFA_ERR_OPERATION_FAILED There is an "m=" line to write, and MediaClock_E is ZEFA_SDP_MEDIA_CLOCK_NOT_SET,
 *        or a value of the essence is outside the constants or "unknown" among them; the log has a line with the number
 *        2. Also when there is no memory for the work.
 * @retval ZEFA_ERR_BUFFER_TOO_SMALL The text is longer than the buffer. Size and buffer stay as they were: the length
 *        that is needed is not told, and nothing is logged.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_WriteSDP(const ZEFA_STREAM_NETWORK_CONFIG* pNetworkConfig_X,
                                      const ZEFA_ESSENCE_CONFIG* pEssenceConfig_X, const ZEFA_SDP_INFO* pInfo_X,
                                      char* pSdp_C, uint32_t* pSize_UL);

#endif /* ZEFALINE_SDP_H */

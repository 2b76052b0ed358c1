/**
 * @file sdp.h
 * Session descriptions (SDP, RFC 4566) of SMPTE ST 2110 streams, read into and written from stream configuration.
 */
#ifndef ZEFALINE_SDP_H
#define ZEFALINE_SDP_H

#include "base.h"
#include "stream.h"

#ifdef __cplusplus
extern "C"
{
#endif

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

    /** Reads a session description into stream configuration. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_ReadSDP(const char* pSdp_C, const void* pReserved,
                                         ZEFA_STREAM_NETWORK_CONFIG* pNetworkConfig_X,
                                         ZEFA_ESSENCE_CONFIG* pEssenceConfig_X, ZEFA_SDP_INFO* pInfo_X);

    /** Writes stream configuration as a session description. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_WriteSDP(const ZEFA_STREAM_NETWORK_CONFIG* pNetworkConfig_X,
                                          const ZEFA_ESSENCE_CONFIG* pEssenceConfig_X, const ZEFA_SDP_INFO* pInfo_X,
                                          char* pSdp_C, uint32_t* pSize_UL);

#ifdef __cplusplus
}
#endif

#endif /* ZEFALINE_SDP_H */

/**
 * @file ptp.h
 * Configuration and data sets of the service's PTP daemon (IEEE 1588, SMPTE ST 2059-2).
 */
#ifndef ZEFALINE_PTP_H
#define ZEFALINE_PTP_H

#include "base.h"

/** Profile that ZEFA_CreatePTPDSFromProfile knows. */
typedef int32_t ZEFA_PTP_PROFILE;
#define ZEFA_PTP_PROFILE_0 INT32_C(0) /**< Domain 127, priorities 128, 8 delay requests a second. */
#define ZEFA_PTP_PROFILE_1 INT32_C(1) /**< Domain 0, priorities 255, 1 delay request a second. */

/** How the path delay is measured. */
typedef uint32_t ZEFA_PTP_DELAY_MECHANISM;
#define ZEFA_PTP_DELAY_MECHANISM_E2E UINT32_C(0)     /**< End to end. */
#define ZEFA_PTP_DELAY_MECHANISM_P2P UINT32_C(1)     /**< Peer to peer. */
#define ZEFA_PTP_DELAY_MECHANISM_UNKNOWN UINT32_C(2) /**< Only when reading: something else. */

/** Where packets get their time stamps. */
typedef uint32_t ZEFA_PTP_TIME_STAMPING;
#define ZEFA_PTP_TIME_STAMPING_SOFTWARE UINT32_C(0) /**< In the operating system. */
#define ZEFA_PTP_TIME_STAMPING_HARDWARE UINT32_C(1) /**< In the network card. */
#define ZEFA_PTP_TIME_STAMPING_UNKNOWN UINT32_C(2)  /**< Only when reading: something else. */

/** State of the PTP port. */
typedef uint32_t ZEFA_PTP_PORT_STATE;
#define ZEFA_PTP_PORT_STATE_INITIALIZING UINT32_C(0) /**< Starting up. */
#define ZEFA_PTP_PORT_STATE_FAULTY UINT32_C(1)       /**< Out of order. */
#define ZEFA_PTP_PORT_STATE_DISABLED UINT32_C(2)     /**< Switched off. */
#define ZEFA_PTP_PORT_STATE_LISTENING UINT32_C(3)    /**< Waiting for a master. */
#define ZEFA_PTP_PORT_STATE_PRE_MASTER UINT32_C(4)   /**< About to be master. */
#define ZEFA_PTP_PORT_STATE_MASTER UINT32_C(5)       /**< Serves the time. */
#define ZEFA_PTP_PORT_STATE_PASSIVE UINT32_C(6)      /**< Neither serves nor follows. */
#define ZEFA_PTP_PORT_STATE_UNCALIBRATED UINT32_C(7) /**< Found a master, not yet in step. */
#define ZEFA_PTP_PORT_STATE_SLAVE UINT32_C(8)        /**< Follows a master. */
#define ZEFA_PTP_PORT_STATE_UNKNOWN UINT32_C(9)      /**< Anything else. */
/** The application's part of the default data set. */
typedef struct ZEFA_PTP_DEFAULT_DS
{
    uint8_t ClockAccuracy_UB;            /**< Code of IEEE 1588; 254 is unknown. */
    uint16_t OffsetScaledLogVariance_US; /**< Stability of the clock, as IEEE 1588 scales it. */
    uint8_t DomainNumber_UB;             /**< PTP domain. */
    uint8_t Priority1_UB;                /**< First priority of the best-master choice; lower wins. */
    uint8_t Priority2_UB;                /**< Second priority. */
} ZEFA_PTP_DEFAULT_DS;

/** The application's part of the port data set. Intervals are base-2 logarithms of seconds. */
typedef struct ZEFA_PTP_PORT_DS
{
    int8_t LogMinDelayReqInterval_B;           /**< Between delay requests; -3 is 8 a second. */
    uint8_t AnnounceReceiptTimeout_UB;         /**< Announce intervals without a message until the master is lost. */
    ZEFA_PTP_DELAY_MECHANISM DelayMechanism_E; /**< How the path delay is measured. */
    int8_t LogMinPdelayReqInterval_B;          /**< Between peer delay requests. */
} ZEFA_PTP_PORT_DS;

/** Configuration of the PTP daemon. */
typedef struct ZEFA_PTP_CONFIG
{
    uint32_t Size_UL;                      /**< 48 after reading; not read when setting. */
    uint64_t NetworkInterfaceId_ULL;       /**< Interface that the daemon is to use; 0 after reading. */
    uint8_t HybridMode_B;                  /**< Non-zero: delay requests go unicast. */
    ZEFA_PTP_DEFAULT_DS DefaultDS;         /**< Default data set. */
    ZEFA_PTP_PORT_DS PortDS;               /**< Port data set. */
    ZEFA_PTP_TIME_STAMPING TimeStamping_E; /**< Where packets get their time stamps. */
} ZEFA_PTP_CONFIG;

#pragma pack(push, 1)
/** Name of a PTP port: ten bytes without alignment. */
typedef struct ZEFA_PTP_PORT_IDENTITY
{
    uint8_t ClockIdentity_UB[8]; /**< Identity of the clock, EUI-64; last octet of the text first. */
    uint16_t PortNumber_US;      /**< Port of that clock, from 1. */
} ZEFA_PTP_PORT_IDENTITY;
#pragma pack(pop)

/** The daemon's view of itself, its port, its parent and its grandmaster. */
typedef struct ZEFA_PTP_STATUS
{
    uint64_t Reserved_ULL;                             /**< Always 0. */
    uint64_t CurrentSystemTime_ULL;                    /**< Time of the service's clock in ns. */
    uint16_t OffsetScaledLogVariance_US;               /**< Of this clock. */
    uint8_t ClockIdentity_UB[8];                       /**< Of this clock, EUI-64; last octet of the text first. */
    double PeerMeanPathDelay_D;                        /**< ns; 0 with end-to-end delay. */
    int8_t LogAnnounceInterval_B;                      /**< Base-2 logarithm of seconds. */
    ZEFA_PTP_PORT_IDENTITY PortIdentity;               /**< This port; stands directly behind the byte before. */
    ZEFA_PTP_PORT_STATE PortState_E;                   /**< State of this port. */
    uint16_t StepsRemoved_US;                          /**< Clocks between this one and the grandmaster. */
    double OffsetFromMaster_D;                         /**< ns. */
    double MeanPathDelay_D;                            /**< ns. */
    ZEFA_PTP_PORT_IDENTITY ParentPortIdentity;         /**< Port of the master. */
    uint8_t ParentStats_B;                             /**< Non-zero: the two observed values are measured. */
    uint16_t ObservedParentOffsetScaledLogVariance_US; /**< As measured by this clock. */
    int32_t ObservedParentClockPhaseChangeRate_L;      /**< As measured by this clock. */
    uint8_t GrandmasterIdentity_UB[8];                 /**< Of the grandmaster; last octet of the text first. */
    uint8_t GrandmasterClockClass_UB;                  /**< Class of the grandmaster. */
    uint8_t GrandmasterClockAccuracy_UB;               /**< Accuracy code of the grandmaster. */
    uint16_t GrandmasterOffsetScaledLogVariance_US;    /**< Stability of the grandmaster. */
    uint8_t GrandmasterPriority1_UB;                   /**< First priority of the grandmaster. */
    uint8_t GrandmasterPriority2_UB;                   /**< Second priority of the grandmaster. */
} ZEFA_PTP_STATUS;

/**
 * Fills the data sets with the values of a profile: those that all profiles share, then those of the profile. Fields
 * are written at once; nothing else is touched.
 *
 * Any thread may call, without a context; nothing is asked of the service.
 *
 * | Field                       | Profile 0 | Profile 1 |
 * |-----------------------------|-----------|-----------|
 * | ClockAccuracy_UB            | 254       | 254       |
 * | OffsetScaledLogVariance_US  | 1000      | 1000      |
 * | DomainNumber_UB             | 127       | 0         |
 * | Priority1_UB                | 128       | 255       |
 * | Priority2_UB                | 128       | 255       |
 * | LogMinDelayReqInterval_B    | -3        | 0         |
 * | AnnounceReceiptTimeout_UB   | 3         | 3         |
 * | DelayMechanism_E            | E2E       | E2E       |
 * | LogMinPdelayReqInterval_B   | -3        | -3        |
 *
 * @param Profile_L One of the ZEFA_PTP_PROFILE_ constants.
 * @param[out] pDefaultDS_X Default data set.
 * @param[out] pPortDS_X Port data set.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_POINTER A pointer is null; the other structure is untouched.
 * @retval ZEFA_ERR_BAD_ARGUMENT There is no such profile. What all profiles share is written all the same.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_CreatePTPDSFromProfile(ZEFA_PTP_PROFILE Profile_L, ZEFA_PTP_DEFAULT_DS* pDefaultDS_X,
                                                    ZEFA_PTP_PORT_DS* pPortDS_X);

/**
 * Reads the configuration of the PTP daemon. The interface is not told: the service knows it by its name, and
 * NetworkInterfaceId_ULL is 0.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param[out] pConfig_X Structure to fill, with 48 in Size_UL. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INVALID_POINTER pConfig_X is null.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of this context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *         accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetPTPConfig(ZEFA_HANDLE Context, ZEFA_PTP_CONFIG* pConfig_X);

/**
 * Configures the PTP daemon as a slave-only, two-step, PTP version 2 clock on one interface, and starts it. There is
 * one daemon for all contexts: the last configuration holds, until the service ends.
 *
 * The data sets are best taken from ZEFA_CreatePTPDSFromProfile. A delay mechanism other than P2P is sent as E2E, a
 * time stamping other than hardware as software, and a non-zero HybridMode_B as true. Interface names are cut to 255
 * bytes.
 *
 * Any thread may call; two exchanges with the service, the first for the name of the interface. They have no time
 * limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param[in] pConfig_X The configuration, not null. Size_UL is not read.
 * @retval ZEFA_NO_ERROR Done; how the daemon fares is told by ZEFA_GetPTPStatus.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of this context is not up, or the service says that the
 *         daemon cannot be configured now.
 * @retval ZEFA_ERR_BAD_ARGUMENT The service knows no such interface, or refused the configuration, with one of its
 *         own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *         accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SetPTPConfig(ZEFA_HANDLE Context, const ZEFA_PTP_CONFIG* pConfig_X);

/**
 * Reads the data sets of the PTP daemon. They are those of its last look at itself; a service without a running
 * daemon answers with the state "disabled".
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param[out] pStatus_X Structure to fill. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INVALID_POINTER pStatus_X is null.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of this context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *         accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetPTPStatus(ZEFA_HANDLE Context, ZEFA_PTP_STATUS* pStatus_X);

#endif /* ZEFALINE_PTP_H */

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
    uint8_t ClockIdentity_UB[8]; /**< Identity of the clock, EUI-64. */
    uint16_t PortNumber_US;      /**< Port of that clock, from 1. */
} ZEFA_PTP_PORT_IDENTITY;
#pragma pack(pop)

/** The daemon's view of itself, its port, its parent and its grandmaster. */
typedef struct ZEFA_PTP_STATUS
{
    uint64_t Reserved_ULL;                             /**< Always 0. */
    uint64_t CurrentSystemTime_ULL;                    /**< Time of the system clock in ns. */
    uint16_t OffsetScaledLogVariance_US;               /**< Of this clock. */
    uint8_t ClockIdentity_UB[8];                       /**< Of this clock. */
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
    uint8_t GrandmasterIdentity_UB[8];                 /**< Identity of the grandmaster. */
    uint8_t GrandmasterClockClass_UB;                  /**< Class of the grandmaster. */
    uint8_t GrandmasterClockAccuracy_UB;               /**< Accuracy code of the grandmaster. */
    uint16_t GrandmasterOffsetScaledLogVariance_US;    /**< Stability of the grandmaster. */
    uint8_t GrandmasterPriority1_UB;                   /**< First priority of the grandmaster. */
    uint8_t GrandmasterPriority2_UB;                   /**< Second priority of the grandmaster. */
} ZEFA_PTP_STATUS;

/**
 * Fills the data sets with the values of a profile. Not carried out in this version.
 *
 * @param Profile_L One of the ZEFA_PTP_PROFILE_ constants.
 * @param[out] pDefaultDS_X Default data set.
 * @param[out] pPortDS_X Port data set.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_CreatePTPDSFromProfile(ZEFA_PTP_PROFILE Profile_L, ZEFA_PTP_DEFAULT_DS* pDefaultDS_X,
                                                    ZEFA_PTP_PORT_DS* pPortDS_X);

/**
 * Reads the configuration of the PTP daemon. Not carried out in this version.
 *
 * @param Context Context handle.
 * @param[out] pConfig_X Structure to fill.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetPTPConfig(ZEFA_HANDLE Context, ZEFA_PTP_CONFIG* pConfig_X);

/**
 * Configures the PTP daemon as a slave-only, two-step, PTP version 2 clock. Not carried out in this version.
 *
 * @param Context Context handle.
 * @param[in] pConfig_X The configuration.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SetPTPConfig(ZEFA_HANDLE Context, const ZEFA_PTP_CONFIG* pConfig_X);

/**
 * Reads the data sets of the PTP daemon. Not carried out in this version.
 *
 * @param Context Context handle.
 * @param[out] pStatus_X Structure to fill.
 * @retval ZEFA_ERR_NOT_IMPLEMENTED Always, in this version. No argument is looked at.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetPTPStatus(ZEFA_HANDLE Context, ZEFA_PTP_STATUS* pStatus_X);

#endif /* ZEFALINE_PTP_H */

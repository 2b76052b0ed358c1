/**
 * @file resources.h
 * CPU cores and network interfaces of the service, and the UDP ports that an interface lets through or drops.
 */
#ifndef ZEFALINE_RESOURCES_H
#define ZEFALINE_RESOURCES_H

#include "base.h"

/** Whether a conductor can be bound to a CPU core. */
typedef uint32_t ZEFA_CONDUCTOR_AVAILABILITY;
#define ZEFA_CONDUCTOR_AVAILABILITY_AVAILABLE UINT32_C(0)     /**< A conductor may run here. */
#define ZEFA_CONDUCTOR_AVAILABILITY_NOT_AVAILABLE UINT32_C(1) /**< The service gives this core to nobody. */
#define ZEFA_CONDUCTOR_AVAILABILITY_ALREADY_USED UINT32_C(2)  /**< A conductor is bound to it already. */
/** A value without a constant here. A word that this library does not know reads as 0 instead. */
#define ZEFA_CONDUCTOR_AVAILABILITY_UNKNOWN UINT32_C(3)

/** Duplex mode of a link. */
typedef uint32_t ZEFA_DUPLEX_TYPE;
#define ZEFA_DUPLEX_TYPE_HALF UINT32_C(0)    /**< One direction at a time. */
#define ZEFA_DUPLEX_TYPE_FULL UINT32_C(1)    /**< Both directions at once. */
#define ZEFA_DUPLEX_TYPE_UNKNOWN UINT32_C(2) /**< The interface does not tell. */
/** A value without a constant here. A word that this library does not know reads as 0 instead. */
#define ZEFA_DUPLEX_TYPE_INVALID UINT32_C(3)

/** A CPU core as the service sees it. */
typedef struct ZEFA_CPU_CORE_STATUS
{
    uint32_t CoreId_UL;   /**< Number of the core on the operating system; not the identifier. */
    uint32_t NumaNode_UL; /**< NUMA node; 4294967295 when unknown. */
    uint32_t MaxSpeed_UL; /**< Highest clock in MHz; 0 when unknown. */
    uint8_t CoreUsage_UB; /**< Percent of the core in use, 0 to 100. */
    uint32_t GroupId_UL;  /**< Group as the service counts; with mxsd the processor package. */
    ZEFA_CONDUCTOR_AVAILABILITY ConductorAvailability_E; /**< Whether a conductor can be bound to it. */
} ZEFA_CPU_CORE_STATUS;

/** IPv4 address of an interface, as the service sends it. */
typedef struct ZEFA_NETWORK_INTERFACE_CONFIG
{
    uint32_t IP_UL;         /**< IPv4 address, passed through; host order with the service mxsd. */
    uint32_t SubnetMask_UL; /**< Subnet mask in the same order. */
} ZEFA_NETWORK_INTERFACE_CONFIG;

/** A network interface as the service sees it. */
typedef struct ZEFA_NETWORK_INTERFACE_STATUS
{
    uint32_t NumaNode_UL;                  /**< NUMA node of the device; 4294967295 when unknown. */
    uint64_t Mac_ULL;                      /**< MAC address in the low 48 bits. */
    uint32_t InterfaceIndex_UL;            /**< Index on the operating system. */
    char SystemName_C[ZEFA_NAME_CHARS];    /**< Name on the operating system, NUL-terminated, cut to 49 characters. */
    uint8_t LinkStatus_B;                  /**< Non-zero: the link is up. */
    uint32_t LinkSpeed_UL;                 /**< Mbit/s; 0 when unknown. */
    ZEFA_DUPLEX_TYPE DuplexType_E;         /**< Duplex mode. */
    uint32_t MTU_UL;                       /**< Largest IP packet in bytes. */
    char DriverVersion_C[ZEFA_NAME_CHARS]; /**< Version of the driver, NUL-terminated, cut to 49 characters. */
    uint64_t UploadThroughput_ULL;         /**< Bits per second sent. */
    uint64_t DownloadThroughput_ULL;       /**< Bits per second received. */
} ZEFA_NETWORK_INTERFACE_STATUS;

/**
 * Lists the identifiers of the CPU cores that the service knows.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param[out] pCpuCoreIds_ULL Array for the identifiers, ZEFA_MAX_LIST_IDS entries at least. Untouched on failure.
 * @param[in,out] pNbCpuCores_UL Receives their number, 0 to 128. Its value at entry is printed when there are
 *        more. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INVALID_POINTER A pointer is null.
 * @retval ZEFA_ERR_OPERATION_FAILED There are more than ZEFA_MAX_LIST_IDS.
 * @retval ZEFA_ERR_INCORRECT_STATE The service refused, or could not be reached.
 * @retval ZEFA_ERR_COMMUNICATION The command channel of this context is not up.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetCPUCoresHandlesList(ZEFA_HANDLE Context, uint64_t* pCpuCoreIds_ULL,
                                                    uint32_t* pNbCpuCores_UL);

/**
 * Finds the identifier of the core with a number of the operating system.
 *
 * The service has no such query, so each core is asked for its status: one exchange for the list and one for each
 * core until the find. Any thread.
 *
 * @param Context Context handle.
 * @param OsId_ULL Number of the core on the operating system, as in ZEFA_CPU_CORE_STATUS::CoreId_UL.
 * @param[out] pCpuCoreId_ULL Receives the identifier. Untouched when no core has the number: preset it to 0 to
 *        tell.
 * @retval ZEFA_NO_ERROR Found; or no core has the number and every core answered.
 * @retval ZEFA_ERR_INVALID_POINTER pCpuCoreId_ULL is null, whatever the handle.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_OPERATION_FAILED Not found, and the last core that gave no status was refused; or the list was.
 * @retval ZEFA_ERR_COMMUNICATION Not found, and the last core that gave no status failed in the exchange; or the
 *        list did.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetCPUCoreFromOSId(ZEFA_HANDLE Context, uint64_t OsId_ULL, uint64_t* pCpuCoreId_ULL);

/**
 * Reads the status of a CPU core.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param CpuCoreId_ULL Identifier of the core.
 * @param[out] pStatus_X Structure to fill, not null. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetCpuCoreStatus(ZEFA_HANDLE Context, uint64_t CpuCoreId_ULL,
                                              ZEFA_CPU_CORE_STATUS* pStatus_X);

/**
 * Lists the identifiers of the network interfaces that the service knows.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param[out] pNetworkInterfaceIds_ULL Array for the identifiers, ZEFA_MAX_LIST_IDS entries at least. Untouched on
 *        failure.
 * @param[out] pNbNetworkInterfaces_UL Receives their number, 0 to 128. Its value at entry plays no part. Untouched
 *        on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INVALID_POINTER A pointer is null.
 * @retval ZEFA_ERR_OPERATION_FAILED There are more than ZEFA_MAX_LIST_IDS.
 * @retval ZEFA_ERR_INCORRECT_STATE The service refused, or could not be reached.
 * @retval ZEFA_ERR_COMMUNICATION The command channel of this context is not up.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceHandlesList(ZEFA_HANDLE Context, uint64_t* pNetworkInterfaceIds_ULL,
                                                            uint32_t* pNbNetworkInterfaces_UL);

/**
 * Reads the IPv4 address of an interface.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param NetworkInterfaceId_ULL Identifier of the interface.
 * @param[out] pConfig_X Structure to fill. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INVALID_POINTER pConfig_X is null.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of this context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceConfig(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL,
                                                       ZEFA_NETWORK_INTERFACE_CONFIG* pConfig_X);

/**
 * Reads the status of an interface. Names of more than 49 characters are cut; from 51 on a warning is logged.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param NetworkInterfaceId_ULL Identifier of the interface.
 * @param[out] pStatus_X Structure to fill. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INVALID_POINTER pStatus_X is null.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceStatus(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL,
                                                       ZEFA_NETWORK_INTERFACE_STATUS* pStatus_X);

/**
 * Lets a UDP port through again: removes the drop rule of the port on the interface's packet driver.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param NetworkInterfaceId_ULL Identifier of the interface.
 * @param Port_US UDP port in host byte order.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_NOT_FOUND The port has no drop rule.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_DPDK_AllowUdpPort(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL, uint16_t Port_US);

/**
 * Makes the interface's packet driver drop what arrives for a UDP port.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param NetworkInterfaceId_ULL Identifier of the interface.
 * @param Port_US UDP port in host byte order.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_DPDK_DropUdpPort(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL, uint16_t Port_US);

#endif /* ZEFALINE_RESOURCES_H */

/**
 * @file resources.h
 * CPU cores and network interfaces of the service, and the UDP ports that an interface lets through or drops.
 */
#ifndef ZEFALINE_RESOURCES_H
#define ZEFALINE_RESOURCES_H

#include "base.h"

#ifdef __cplusplus
extern "C"
{
#endif

    /** Whether a conductor can be bound to a CPU core. */
    typedef uint32_t ZEFA_CONDUCTOR_AVAILABILITY;
#define ZEFA_CONDUCTOR_AVAILABILITY_AVAILABLE UINT32_C(0)     /**< A conductor may run here. */
#define ZEFA_CONDUCTOR_AVAILABILITY_NOT_AVAILABLE UINT32_C(1) /**< The service gives this core to nobody. */
#define ZEFA_CONDUCTOR_AVAILABILITY_ALREADY_USED UINT32_C(2)  /**< A conductor is bound to it already. */
#define ZEFA_CONDUCTOR_AVAILABILITY_UNKNOWN UINT32_C(3)       /**< The service said something else. */

    /** Duplex mode of a link. */
    typedef uint32_t ZEFA_DUPLEX_TYPE;
#define ZEFA_DUPLEX_TYPE_HALF UINT32_C(0)    /**< One direction at a time. */
#define ZEFA_DUPLEX_TYPE_FULL UINT32_C(1)    /**< Both directions at once. */
#define ZEFA_DUPLEX_TYPE_UNKNOWN UINT32_C(2) /**< The interface does not tell. */
#define ZEFA_DUPLEX_TYPE_INVALID UINT32_C(3) /**< The service said something else. */

    /** A CPU core as the service sees it. */
    typedef struct ZEFA_CPU_CORE_STATUS
    {
        uint32_t CoreId_UL;   /**< Number of the core on the operating system; not the identifier. */
        uint32_t NumaNode_UL; /**< NUMA node; 4294967295 when unknown. */
        uint32_t MaxSpeed_UL; /**< Highest clock in MHz; 0 when unknown. */
        uint8_t CoreUsage_UB; /**< Percent of the core in use, 0 to 100. */
        uint32_t GroupId_UL;  /**< Processor group of the operating system; 0 where there are none. */
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
        uint32_t NumaNode_UL;               /**< NUMA node of the device; 4294967295 when unknown. */
        uint64_t Mac_ULL;                   /**< MAC address in the low 48 bits. */
        uint32_t InterfaceIndex_UL;         /**< Index on the operating system. */
        char SystemName_C[ZEFA_NAME_CHARS]; /**< Name on the operating system, NUL-terminated, cut to 49 characters. */
        uint8_t LinkStatus_B;               /**< Non-zero: the link is up. */
        uint32_t LinkSpeed_UL;              /**< Mbit/s; 0 when unknown. */
        ZEFA_DUPLEX_TYPE DuplexType_E;      /**< Duplex mode. */
        uint32_t MTU_UL;                    /**< Largest IP packet in bytes. */
        char DriverVersion_C[ZEFA_NAME_CHARS]; /**< Version of the driver, NUL-terminated, cut to 49 characters. */
        uint64_t UploadThroughput_ULL;         /**< Bits per second sent. */
        uint64_t DownloadThroughput_ULL;       /**< Bits per second received. */
    } ZEFA_NETWORK_INTERFACE_STATUS;

    /** Lists the identifiers of the CPU cores. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetCPUCoresHandlesList(ZEFA_HANDLE Context, uint64_t* pCpuCoreIds_ULL,
                                                        uint32_t* pNbCpuCores_UL);

    /** Finds the identifier of the core with a number of the operating system. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetCPUCoreFromOSId(ZEFA_HANDLE Context, uint64_t OsId_ULL, uint64_t* pCpuCoreId_ULL);

    /** Reads the status of a CPU core. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetCpuCoreStatus(ZEFA_HANDLE Context, uint64_t CpuCoreId_ULL,
                                                  ZEFA_CPU_CORE_STATUS* pStatus_X);

    /** Lists the identifiers of the network interfaces. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceHandlesList(ZEFA_HANDLE Context, uint64_t* pNetworkInterfaceIds_ULL,
                                                                uint32_t* pNbNetworkInterfaces_UL);

    /** Reads the address of an interface. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceConfig(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL,
                                                           ZEFA_NETWORK_INTERFACE_CONFIG* pConfig_X);

    /** Reads the status of an interface. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetNetworkInterfaceStatus(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL,
                                                           ZEFA_NETWORK_INTERFACE_STATUS* pStatus_X);

    /** Removes the drop rule of a UDP port. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_DPDK_AllowUdpPort(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL,
                                                   uint16_t Port_US);

    /** Makes a drop rule for a UDP port. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_DPDK_DropUdpPort(ZEFA_HANDLE Context, uint64_t NetworkInterfaceId_ULL,
                                                  uint16_t Port_US);

#ifdef __cplusplus
}
#endif

#endif /* ZEFALINE_RESOURCES_H */

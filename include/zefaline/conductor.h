/**
 * @file conductor.h
 * Conductors, the service's schedulers: each runs its streams in one loop on one CPU core.
 */
#ifndef ZEFALINE_CONDUCTOR_H
#define ZEFALINE_CONDUCTOR_H

#include "base.h"

#ifdef __cplusplus
extern "C"
{
#endif

    /** What a conductor runs on. */
    typedef struct ZEFA_CONDUCTOR_CONFIG
    {
        uint64_t CpuCoreId_ULL; /**< Identifier of the CPU core, from ZEFA_GetCPUCoresHandlesList or ..FromOSId. */
        uint64_t Reserved_ULL;  /**< Room that must be there. Never read; reading the configuration may write it. */
    } ZEFA_CONDUCTOR_CONFIG;

    /** How busy a conductor is. */
    typedef struct ZEFA_CONDUCTOR_STATUS
    {
        uint64_t Throughput_ULL; /**< Bits per second over all its streams. */
        double Load_D;           /**< Percent of its core, 0 to 100. */
    } ZEFA_CONDUCTOR_STATUS;

    /** Creates a conductor in the context. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_CreateConductor(ZEFA_HANDLE Context, uint8_t Shared_B, uint64_t* pConductorId_ULL);

    /** Destroys a conductor of the context, or detaches a shared one. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_DestroyConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL);

    /** Attaches a conductor that another context shares. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_AddSharedConductorToContext(ZEFA_HANDLE Context, uint64_t ConductorId_ULL);

    /** Lists the conductors that contexts share. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetSharedConductorList(ZEFA_HANDLE Context, uint64_t* pConductorIds_ULL,
                                                        uint32_t* pNbConductors_UL);

    /** Reads the configuration of a conductor. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetConductorConfig(ZEFA_HANDLE Context, uint64_t ConductorId_ULL,
                                                    ZEFA_CONDUCTOR_CONFIG* pConfig_X);

    /** Binds a stopped conductor to a CPU core. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_SetConductorConfig(ZEFA_HANDLE Context, uint64_t ConductorId_ULL,
                                                    const ZEFA_CONDUCTOR_CONFIG* pConfig_X);

    /** Reads the load of a conductor. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetConductorStatus(ZEFA_HANDLE Context, uint64_t ConductorId_ULL,
                                                    ZEFA_CONDUCTOR_STATUS* pStatus_X);

    /** Starts the conductor's loop. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_StartConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL);

    /** Stops the conductor's loop. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_StopConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL);

#ifdef __cplusplus
}
#endif

#endif /* ZEFALINE_CONDUCTOR_H */

/**
 * @file conductor.h
 * Conductors, the service's schedulers: each runs its streams in one loop on one CPU core.
 */
#ifndef ZEFALINE_CONDUCTOR_H
#define ZEFALINE_CONDUCTOR_H

#include "base.h"

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

/**
 * Creates a conductor in the context. It belongs to the context and ends with it at the latest; one that is shared ends
 * with the last context that has it.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param Shared_B Non-zero: other contexts may list it and attach it.
 * @param[out] pConductorId_ULL Receives the identifier, which is never 0. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INVALID_POINTER pConductorId_ULL is null.
 * @retval ZEFA_ERR_INCORRECT_STATE The service refused, or could not be reached.
 * @retval ZEFA_ERR_COMMUNICATION The command channel of this context is not up.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_CreateConductor(ZEFA_HANDLE Context, uint8_t Shared_B, uint64_t* pConductorId_ULL);

/**
 * Gives a conductor of the context up, created or attached: it ends when no other context has it.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param ConductorId_ULL Identifier of the conductor.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The service refused, or could not be reached.
 * @retval ZEFA_ERR_COMMUNICATION The command channel of this context is not up.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_DestroyConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL);

/**
 * Attaches a conductor that another context shares, so that streams of this context may run on it.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param ConductorId_ULL Identifier from ZEFA_GetSharedConductorList; not 0.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_BAD_ARGUMENT ConductorId_ULL is 0. Nothing is sent.
 * @retval ZEFA_ERR_NOT_FOUND There is no such conductor.
 * @retval ZEFA_ERR_INCORRECT_STATE It exists and is not shared.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_AddSharedConductorToContext(ZEFA_HANDLE Context, uint64_t ConductorId_ULL);

/**
 * Lists the conductors that contexts share.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param[out] pConductorIds_ULL Array for the identifiers, ZEFA_MAX_LIST_IDS entries at least. Untouched on
 *        failure.
 * @param[out] pNbConductors_UL Receives their number, 0 to 128. Its value at entry plays no part. Untouched on
 *        failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INVALID_POINTER A pointer is null.
 * @retval ZEFA_ERR_OPERATION_FAILED There are more than ZEFA_MAX_LIST_IDS.
 * @retval ZEFA_ERR_INCORRECT_STATE The service refused, or could not be reached.
 * @retval ZEFA_ERR_COMMUNICATION The command channel of this context is not up.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetSharedConductorList(ZEFA_HANDLE Context, uint64_t* pConductorIds_ULL,
                                                    uint32_t* pNbConductors_UL);

/**
 * Reads the configuration of a conductor.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param ConductorId_ULL Identifier of the conductor.
 * @param[out] pConfig_X Structure to fill, not null. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The command channel of this context is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The conductor is not in this context, or the service could not be reached, answered
 *        against the protocol, or no longer accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetConductorConfig(ZEFA_HANDLE Context, uint64_t ConductorId_ULL,
                                                ZEFA_CONDUCTOR_CONFIG* pConfig_X);

/**
 * Binds a stopped conductor to a CPU core.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param ConductorId_ULL Identifier of the conductor.
 * @param[in] pConfig_X The configuration, not null. CpuCoreId_ULL alone is read.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_BAD_ARGUMENT The service does not take the core.
 * @retval ZEFA_ERR_NOT_FOUND There is no such conductor.
 * @retval ZEFA_ERR_INCORRECT_STATE The conductor runs, or is not in this context (see
 *        ZEFA_AddSharedConductorToContext), or the command channel is not up.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_SetConductorConfig(ZEFA_HANDLE Context, uint64_t ConductorId_ULL,
                                                const ZEFA_CONDUCTOR_CONFIG* pConfig_X);

/**
 * Reads throughput and load of a conductor.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param ConductorId_ULL Identifier of the conductor.
 * @param[out] pStatus_X Structure to fill; null asks only whether the conductor answers. Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The conductor is not in this context, or the service could not be reached, answered
 *        against the protocol, or no longer accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetConductorStatus(ZEFA_HANDLE Context, uint64_t ConductorId_ULL,
                                                ZEFA_CONDUCTOR_STATUS* pStatus_X);

/**
 * Starts the conductor's loop. It needs a CPU core, see ZEFA_SetConductorConfig.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param ConductorId_ULL Identifier of the conductor.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_INCORRECT_STATE The service says that it is offline, or the command channel is not up.
 * @retval ZEFA_ERR_BAD_ARGUMENT The service refused with another of its own small results: the conductor has no CPU
 *        core yet, or there is no thread for it.
 * @retval ZEFA_ERR_COMMUNICATION The conductor is not in this context, or the service could not be reached, answered
 *        against the protocol, or no longer accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_StartConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL);

/**
 * Stops the conductor's loop. Its streams stand still until it is started again.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param ConductorId_ULL Identifier of the conductor.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_NOT_FOUND There is no such conductor.
 * @retval ZEFA_ERR_INCORRECT_STATE It is not in this context (see ZEFA_AddSharedConductorToContext).
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_StopConductor(ZEFA_HANDLE Context, uint64_t ConductorId_ULL);

#endif /* ZEFALINE_CONDUCTOR_H */

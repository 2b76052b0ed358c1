/**
 * @file base.h
 * Export macro, handles, result codes and limits that all families of zefaline1 share.
 */
#ifndef ZEFALINE_BASE_H
#define ZEFALINE_BASE_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__) || defined(__clang__)
#define ZEFA_VISIBLE __attribute__((visibility("default")))
#else
#define ZEFA_VISIBLE
#endif

#ifdef __cplusplus
#define ZEFA_API extern "C" ZEFA_VISIBLE
#else
#define ZEFA_API extern ZEFA_VISIBLE
#endif

/**
 * Handle of a context or of a stream: the address of an object inside the library. It is given out by
 * ZEFA_CreateMXSContext and ZEFA_CreateStream, belongs to the application and is good in every thread until it is
 * destroyed. A null handle and a handle of the other kind are told apart from a good one; an address that never was a
 * handle, or one that was destroyed, may fault.
 */
typedef void* ZEFA_HANDLE;

/** A locked slot: an opaque value, good from ZEFA_LockSlot to ZEFA_UnlockSlot of the same stream. */
typedef void* ZEFA_SLOT;

/** Result of every exported function: one of the ZEFA_ERR_ constants, or ZEFA_NO_ERROR. */
typedef uint32_t ZEFA_ERRORCODE;

/** @name Result codes
 *  The text of each is given by ZEFA_ErrorToString.
 *  @{ */
#define ZEFA_NO_ERROR UINT32_C(0)              /**< Done. */
#define ZEFA_ERR_FATAL UINT32_C(1)             /**< Library and service do not fit together; anc.h: no memory. */
#define ZEFA_ERR_OPERATION_FAILED UINT32_C(2)  /**< The service, the rail or a reader refused; the log may say why. */
#define ZEFA_ERR_INVALID_HANDLE UINT32_C(3)    /**< The handle is null, or of another kind; see anc.h, too. */
#define ZEFA_ERR_INVALID_POINTER UINT32_C(4)   /**< A pointer that must not be null is null. */
#define ZEFA_ERR_INVALID_PROPERTY UINT32_C(5)  /**< Reserved; no function returns it today. */
#define ZEFA_ERR_BAD_ARGUMENT UINT32_C(6)      /**< A value is out of its range, or the service does not take it. */
#define ZEFA_ERR_NOT_IMPLEMENTED UINT32_C(7)   /**< Reserved; no function returns it today. */
#define ZEFA_ERR_NOT_FOUND UINT32_C(8)         /**< The thing named does not exist. */
#define ZEFA_ERR_INCORRECT_STATE UINT32_C(9)   /**< Not now: the object is in a state that does not allow it. */
#define ZEFA_ERR_BUFFER_TOO_SMALL UINT32_C(10) /**< The caller's buffer has less room than the text needs. */
#define ZEFA_ERR_TIMEOUT UINT32_C(11)          /**< The time limit ran out; no slot is locked. */
#define ZEFA_ERR_COMMUNICATION UINT32_C(12) /**< The service could not be reached, or answered against the protocol. */
/** @} */

/** @name Limits of the interface
 *  @{ */
#define ZEFA_MAX_LIST_IDS 128          /**< Room for identifiers that each list function needs in its array. */
#define ZEFA_MAX_CPU_CORES 128         /**< Entries of ZEFA_STREAM_COMMON_CONFIG::CpuCores_ULL. */
#define ZEFA_MAX_CONNECTIONS 128       /**< Entries of ZEFA_STREAM_NETWORK_CONFIG::Connections_X. */
#define ZEFA_MAX_MULTICAST_SOURCES 128 /**< Entries of ZEFA_CONNECTION_CONFIG::MulticastSources_UL. */
#define ZEFA_NAME_CHARS 50             /**< Characters of a name in a structure, its NUL included. */
#define ZEFA_ERROR_TEXT_CHARS 20       /**< Characters of the longest text of ZEFA_ErrorToString, its NUL included. */
/** @} */

#endif /* ZEFALINE_BASE_H */

/**
 * @file context.h
 * The context, one authenticated session with the local service, and the texts of the result codes.
 */
#ifndef ZEFALINE_CONTEXT_H
#define ZEFALINE_CONTEXT_H

#include "base.h"

/** Versions of the two libraries in this process: each four parts of 16 bits, major, minor, patch, build. */
typedef struct ZEFA_LIBRARIES_STATUS
{
    uint64_t ZefalineVersion; /**< This library: 0x0001000300000000 is 1.3.0.0. */
    uint64_t FlowRailVersion; /**< The flow rail library that this process loaded. */
} ZEFA_LIBRARIES_STATUS;

/**
 * Opens a session with the service of this machine.
 *
 * Brings the HTTP client up, starts the watchdog thread of the context, which tells the service once a second that
 * the application is alive, authenticates, and compares the version of the flow rail library with the service's.
 * Blocks for two exchanges. Any thread; several contexts may live at once.
 *
 * A failure cleans up nothing: until the authentication has succeeded the context stays allocated out of reach
 * (with its watchdog thread, once the transport is up), so do not retry in a tight loop. From then on the handle
 * is stored, also when the call fails afterwards, and has to be destroyed: preset it to null and look at it. Where the
 * system has no thread for the watchdog, std::system_error leaves this function.
 *
 * @param[in] pUrl_C URL of the service, NUL-terminated, not null: "http://localhost", a port, and a slash at the
 *        end, such as "http://localhost:7420/". "api/x-mxs/" is put behind it as it stands. An unusable rest
 *        leaves as an exception of the HTTP library.
 * @param[out] pContext Receives the handle; not null. The application owns it and gives it to
 *        ZEFA_DestroyMXSContext.
 * @retval ZEFA_NO_ERROR The session is open.
 * @retval ZEFA_ERR_BAD_ARGUMENT The URL does not start with "http://localhost", or holds it a second time. No
 *        handle.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, or refused the session.
 * @retval ZEFA_ERR_FATAL The service has another version of the flow rail. The handle is stored and good for
 *        everything but the media itself.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_CreateMXSContext(const char* pUrl_C, ZEFA_HANDLE* pContext);

/**
 * Ends the session at the service, stops the watchdog thread and frees the context.
 *
 * All streams of the context must have been destroyed before. Must not overlap any other call on this context:
 * nothing guards it. Blocks for one exchange and up to a second and an exchange more, until the watchdog thread
 * has ended.
 *
 * @param Context Context handle. On any failure it stays good, and another attempt may succeed.
 * @retval ZEFA_NO_ERROR The context is gone and the handle dead.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_DestroyMXSContext(ZEFA_HANDLE Context);

/**
 * Reads the version of the service.
 *
 * Any thread may call; one exchange with the service, which has no time limit but that of the HTTP library.
 *
 * @param Context Context handle.
 * @param[out] pVersion_ULL Receives four 16-bit parts from high to low: major, minor, patch, build; not null.
 *        Untouched on failure.
 * @retval ZEFA_NO_ERROR Done.
 * @retval ZEFA_ERR_INVALID_HANDLE Context is null or no context handle.
 * @retval ZEFA_ERR_OPERATION_FAILED The service refused with one of its own small results.
 * @retval ZEFA_ERR_COMMUNICATION The service could not be reached, answered against the protocol, or no longer
 *        accepts the session.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetMXSStatus(ZEFA_HANDLE Context, uint64_t* pVersion_ULL);

/**
 * Tells the versions of the libraries in this process. Needs no context; any thread; does not block.
 *
 * @param[out] pStatus_X Structure to fill.
 * @retval ZEFA_ERR_OPERATION_FAILED The structure is filled. This is the code of success here, which applications
 *        know.
 * @retval ZEFA_ERR_INVALID_POINTER pStatus_X is null.
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_GetLibrariesStatus(ZEFA_LIBRARIES_STATUS* pStatus_X);

/**
 * Writes the text of a result code, such as "Communication error". Any thread; does not block.
 *
 * @param ErrorCode A result code.
 * @param[out] pText_C Room for ZEFA_ERROR_TEXT_CHARS characters, not null; receives the text with its NUL.
 * @retval ZEFA_NO_ERROR The text is that of the code.
 * @retval ZEFA_ERR_NOT_FOUND There is no such code; the text is "Invalid error code".
 */
ZEFA_API ZEFA_ERRORCODE ZEFA_ErrorToString(ZEFA_ERRORCODE ErrorCode, char* pText_C);

#endif /* ZEFALINE_CONTEXT_H */

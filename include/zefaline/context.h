/**
 * @file context.h
 * The context, one authenticated session with the local service, and the texts of the result codes.
 */
#ifndef ZEFALINE_CONTEXT_H
#define ZEFALINE_CONTEXT_H

#include "base.h"

#ifdef __cplusplus
extern "C"
{
#endif

    /** Versions of the two libraries in this process, each four 16-bit parts from high to low: major, minor, patch, build. */
    typedef struct ZEFA_LIBRARIES_STATUS
    {
        uint64_t ZefalineVersion; /**< This library: 0x0001000300000000 is 1.3.0.0. */
        uint64_t FlowRailVersion; /**< The flow rail library that this process loaded. */
    } ZEFA_LIBRARIES_STATUS;

    /** Opens a session with the service at a URL such as "http://localhost:7420/". */
    ZEFA_API ZEFA_ERRORCODE ZEFA_CreateMXSContext(const char* pUrl_C, ZEFA_HANDLE* pContext);

    /** Ends the session at the service and frees the context. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_DestroyMXSContext(ZEFA_HANDLE Context);

    /** Reads the version of the service. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetMXSStatus(ZEFA_HANDLE Context, uint64_t* pVersion_ULL);

    /** Tells the versions of the libraries. Fills the structure and returns ZEFA_ERR_OPERATION_FAILED. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_GetLibrariesStatus(ZEFA_LIBRARIES_STATUS* pStatus_X);

    /** Writes the text of a result code. */
    ZEFA_API ZEFA_ERRORCODE ZEFA_ErrorToString(ZEFA_ERRORCODE ErrorCode, char* pText_C);

#ifdef __cplusplus
}
#endif

#endif /* ZEFALINE_CONTEXT_H */

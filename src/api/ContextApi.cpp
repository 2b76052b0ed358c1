// Exported functions: the context and the texts of the result codes.
#include "zefaline/context.h"

#include "api/CMxsContext.h"
#include "api/CallFrame.h"
#include "commandpipe/restclient/IContextManagerClient.h"
#include "commandpipe/restclient/IRestClient.h"
#include "flowrail1.h"
#include "logger/CFunctionTracer.h"

#include <array>
#include <cstring>

using namespace Quillmont::Trellis::Zefa;
using namespace Quillmont::Trellis::CommandPipe::RestServer;

namespace
{
constexpr uint64_t kZefalineVersion = 0x0001000300000000; // 1.3.0.0, four parts of 16 bits

// The prefix must stand at the start and nowhere else.
bool IsUrlOfTheLocalService(const std::string& url)
{
    return url.rfind("http://localhost") == 0;
}
} // namespace

static ZEFA_ERRORCODE TranslateCreateMXSContext(RESULT_CODE result)
{
    return CommonRule(result);
}

// A failure cleans up nothing. Up to the authentication it leaves an object that nobody can reach; after it the
// application holds the handle and can destroy the context.
ZEFA_ERRORCODE ZEFA_CreateMXSContext(const char* pUrl_C, ZEFA_HANDLE* pContext)
{
    CFunctionTracer tracer("ZEFA_CreateMXSContext");
    auto* context = new CMxsContext; // released by ZEFA_DestroyMXSContext
    if (!IsUrlOfTheLocalService(pUrl_C))
        return Fail(ZEFA_ERR_BAD_ARGUMENT, "The URL should start with http://localhost.");
    if (const ZEFA_ERRORCODE error = context->Initialize(pUrl_C); error != ZEFA_NO_ERROR) return error;

    CONTEXT_IDENTITY identity{};
    RESULT_CODE result = context->GetRestClient()->GetContextManagerClient()->Authenticate(&identity);
    if (result != RESULT_NO_ERROR) return TranslateCreateMXSContext(result);
    *pContext = ToHandle(context);

    MXS_STATUS status{};
    result = context->GetRestClient()->GetStatus(&status);
    if (result != RESULT_NO_ERROR) return TranslateCreateMXSContext(result);
    if (status.FlowRailVersion != CFlowRail::GetVersion())
        return Fail(ZEFA_ERR_FATAL, "FlowRail used by ZEFA ( version " + std::to_string(CFlowRail::GetVersion()) +
                                        ") is not the same as the used by MXS (version : " +
                                        std::to_string(status.FlowRailVersion) + ").");
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateDestroyMXSContext(RESULT_CODE result)
{
    return CommonRule(result);
}

ZEFA_ERRORCODE ZEFA_DestroyMXSContext(ZEFA_HANDLE Context)
{
    CFunctionTracer tracer("ZEFA_DestroyMXSContext");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) // the one text of its kind without a line end
        return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS handle is invalid.");

    const RESULT_CODE result = context->GetRestClient()->GetContextManagerClient()->DeleteCurrentContext();
    if (result != RESULT_NO_ERROR) // the context lives on, and the handle is good for another attempt
        return TranslateDestroyMXSContext(result);
    delete context;
    return ZEFA_NO_ERROR;
}

static ZEFA_ERRORCODE TranslateGetMXSStatus(RESULT_CODE result)
{
    return CommonRule(result);
}

ZEFA_ERRORCODE ZEFA_GetMXSStatus(ZEFA_HANDLE Context, uint64_t* pVersion_ULL)
{
    CFunctionTracer tracer("ZEFA_GetMXSStatus");
    CMxsContext* context = HandleCast<CMxsContext>(Context);
    if (!context) return Fail(ZEFA_ERR_INVALID_HANDLE, "The MXS handle is invalid.\r\n");

    MXS_STATUS status{};
    const RESULT_CODE result = context->GetRestClient()->GetStatus(&status);
    if (result == RESULT_NO_ERROR) *pVersion_ULL = status.MxsVersion;
    return TranslateGetMXSStatus(result);
}

ZEFA_ERRORCODE ZEFA_GetLibrariesStatus(ZEFA_LIBRARIES_STATUS* pStatus_X)
{
    CFunctionTracer tracer("ZEFA_GetLibrariesStatus");
    if (!pStatus_X) return ZEFA_ERR_INVALID_POINTER;
    pStatus_X->ZefalineVersion = kZefalineVersion;
    pStatus_X->FlowRailVersion = CFlowRail::GetVersion();
    // Filled, and still 2: applications read the structure and know this code. ContextApiTest pins it.
    return ZEFA_ERR_OPERATION_FAILED;
}

ZEFA_ERRORCODE ZEFA_ErrorToString(ZEFA_ERRORCODE ErrorCode, char* pText_C)
{
    static constexpr std::array<const char*, 13> kTexts{
        "No error",         "Fatal error",  "Operation failed",   "Invalid handle", "Invalid pointer",
        "Invalid property", "Bad argument", "Not implemented",    "Not found",      "Incorrect state",
        "Buffer too small", "Timeout",      "Communication error"};
    const bool known = ErrorCode < kTexts.size();
    // The caller's array has no length here; the header says how long the longest text is.
    // NOLINTNEXTLINE(clang-analyzer-security.insecureAPI.strcpy)
    std::strcpy(pText_C, known ? kTexts[ErrorCode] : "Invalid error code");
    return known ? ZEFA_NO_ERROR : ZEFA_ERR_NOT_FOUND;
}

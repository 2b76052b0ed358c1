#include "commandpipe/restserver/ResultCode.h"

#include <array>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
constexpr std::array kResultTexts{
    "No Error",
    "Operation Failed",
    "Not Implemented",
    "Incorrect Configuration",
    "Invalid Argument",
    "Not Found",
    "Invalid Operation",
    "Invalid Token format or content",
    "Bad URI Format",
    "Unknown Error",
    "Bad API Key",
    "Context is not allowed with this API Key",
    "Resource access is not allowed in this context",
    "Component it not yet initialized", // the spelling is known to log filters
    "JWT authentication (Authorization header) is needed to access this resource",
    "Method in not allowed for this resource",
    "Context associated with the given JWT has been removed",
    "Given essence type doesn't match the stream essence type",
};
static_assert(kResultTexts.size() == RESULT_ESSENCE_MISMATCH - RESULT_NO_ERROR + 1);

constexpr std::array kCoreResultTexts{
    "No Error",
    "Operation Failed",
    "Not Implemented",
    "Fatal Error",
    "Incorrect Configuration",
    "Invalid Argument",
    "Installation Failed",
    "Uninstallation Failed",
    "Not Found",
    "Invalid Operation",
    "Resource Unavailable",
    "Resource Busy",
    "Timeout",
    "Resource Opened",
    "Resource Started",
    "Already Registered",
    "Insufficient Data",
    "Operation Not Permitted",
    "Not Initialised",
    "Offline Property",
    "Invalid Token",
    "Invalid Data",
    "Unknown Error", // 22 was never given out
    "Distant Host Unreachable",
};
static_assert(kCoreResultTexts.size() == CORE_RESULT_HOST_UNREACHABLE + 1);
} // namespace

std::string ResultText(RESULT_CODE result)
{
    const uint32_t index = result - RESULT_NO_ERROR; // wraps far above the table for values below it
    if (index < kResultTexts.size()) return kResultTexts[index];
    return "Unknown Error (code = " + std::to_string(static_cast<int32_t>(result)) + " )";
}

std::string CoreResultText(CORE_RESULT result)
{
    return result < kCoreResultTexts.size() ? kCoreResultTexts[result] : "Unknown Error";
}
} // namespace Quillmont::Trellis::CommandPipe::RestServer

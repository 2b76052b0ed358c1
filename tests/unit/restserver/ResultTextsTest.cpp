// The texts of both families of results.
#include "commandpipe/restserver/ResultCode.h"

#include <gtest/gtest.h>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
namespace
{
struct TextCase
{
    uint32_t result;
    const char* text;
};

TEST(ResultText, NamesEveryCode)
{
    const TextCase cases[] = {
        {RESULT_NO_ERROR, "No Error"},
        {RESULT_OPERATION_FAILED, "Operation Failed"},
        {RESULT_NOT_IMPLEMENTED, "Not Implemented"},
        {RESULT_INCORRECT_CONFIGURATION, "Incorrect Configuration"},
        {RESULT_INVALID_ARGUMENT, "Invalid Argument"},
        {RESULT_NOT_FOUND, "Not Found"},
        {RESULT_INVALID_OPERATION, "Invalid Operation"},
        {RESULT_INVALID_TOKEN, "Invalid Token format or content"},
        {RESULT_BAD_URI_FORMAT, "Bad URI Format"},
        {RESULT_UNKNOWN, "Unknown Error"},
        {RESULT_BAD_API_KEY, "Bad API Key"},
        {RESULT_CONTEXT_NOT_ALLOWED, "Context is not allowed with this API Key"},
        {RESULT_ACCESS_NOT_ALLOWED, "Resource access is not allowed in this context"},
        {RESULT_NOT_INITIALIZED, "Component it not yet initialized"},
        {RESULT_AUTHENTICATION_NEEDED, "JWT authentication (Authorization header) is needed to access this resource"},
        {RESULT_METHOD_NOT_ALLOWED, "Method in not allowed for this resource"},
        {RESULT_CONTEXT_REMOVED, "Context associated with the given JWT has been removed"},
        {RESULT_ESSENCE_MISMATCH, "Given essence type doesn't match the stream essence type"},
    };
    uint32_t next = 5000;
    for (const TextCase& row : cases)
    {
        EXPECT_EQ(row.result, next++);
        EXPECT_EQ(ResultText(row.result), row.text);
    }
}

TEST(ResultText, PrintsAnyOtherValueAsASignedNumber)
{
    EXPECT_EQ(ResultText(5018), "Unknown Error (code = 5018 )");
    EXPECT_EQ(ResultText(4999), "Unknown Error (code = 4999 )");
    EXPECT_EQ(ResultText(0), "Unknown Error (code = 0 )");
    EXPECT_EQ(ResultText(0xFFFFFFFF), "Unknown Error (code = -1 )");
    EXPECT_EQ(ResultText(0x80000000), "Unknown Error (code = -2147483648 )");
}

TEST(CoreResultText, NamesEveryCodeAndNoOther)
{
    const TextCase cases[] = {
        {0, "No Error"},
        {1, "Operation Failed"},
        {2, "Not Implemented"},
        {3, "Fatal Error"},
        {4, "Incorrect Configuration"},
        {5, "Invalid Argument"},
        {6, "Installation Failed"},
        {7, "Uninstallation Failed"},
        {8, "Not Found"},
        {9, "Invalid Operation"},
        {10, "Resource Unavailable"},
        {11, "Resource Busy"},
        {12, "Timeout"},
        {13, "Resource Opened"},
        {14, "Resource Started"},
        {15, "Already Registered"},
        {16, "Insufficient Data"},
        {17, "Operation Not Permitted"},
        {18, "Not Initialised"},
        {19, "Offline Property"},
        {20, "Invalid Token"},
        {21, "Invalid Data"},
        {22, "Unknown Error"},
        {23, "Distant Host Unreachable"},
        {24, "Unknown Error"},
        {5000, "Unknown Error"},
        {0xFFFFFFFF, "Unknown Error"},
    };
    for (const TextCase& row : cases)
        EXPECT_EQ(CoreResultText(row.result), row.text) << row.result;
}
} // namespace
} // namespace Quillmont::Trellis::CommandPipe::RestServer

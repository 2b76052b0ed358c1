// The two families of results that the command pipe knows, and their texts: those of the protocol (5000 and above),
// which the serializer and all resource clients return, and the small ones of the service's own code.
#pragma once

#include <cstdint>
#include <string>

namespace Quillmont::Trellis::CommandPipe::RestServer
{
using RESULT_CODE = uint32_t;

inline constexpr RESULT_CODE RESULT_NO_ERROR = 5000;
inline constexpr RESULT_CODE RESULT_OPERATION_FAILED = 5001;
inline constexpr RESULT_CODE RESULT_NOT_IMPLEMENTED = 5002;
inline constexpr RESULT_CODE RESULT_INCORRECT_CONFIGURATION = 5003;
inline constexpr RESULT_CODE RESULT_INVALID_ARGUMENT = 5004;
inline constexpr RESULT_CODE RESULT_NOT_FOUND = 5005;
inline constexpr RESULT_CODE RESULT_INVALID_OPERATION = 5006;
inline constexpr RESULT_CODE RESULT_INVALID_TOKEN = 5007;
inline constexpr RESULT_CODE RESULT_BAD_URI_FORMAT = 5008;
inline constexpr RESULT_CODE RESULT_UNKNOWN = 5009; // what a ServerError holds before its body has been read
inline constexpr RESULT_CODE RESULT_BAD_API_KEY = 5010;
inline constexpr RESULT_CODE RESULT_CONTEXT_NOT_ALLOWED = 5011;
inline constexpr RESULT_CODE RESULT_ACCESS_NOT_ALLOWED = 5012;
inline constexpr RESULT_CODE RESULT_NOT_INITIALIZED = 5013;
inline constexpr RESULT_CODE RESULT_AUTHENTICATION_NEEDED = 5014;
inline constexpr RESULT_CODE RESULT_METHOD_NOT_ALLOWED = 5015;
inline constexpr RESULT_CODE RESULT_CONTEXT_REMOVED = 5016;
inline constexpr RESULT_CODE RESULT_ESSENCE_MISMATCH = 5017;

using CORE_RESULT = uint32_t;

inline constexpr CORE_RESULT CORE_RESULT_NO_ERROR = 0;
inline constexpr CORE_RESULT CORE_RESULT_OPERATION_FAILED = 1;
inline constexpr CORE_RESULT CORE_RESULT_NOT_IMPLEMENTED = 2;
inline constexpr CORE_RESULT CORE_RESULT_FATAL_ERROR = 3;
inline constexpr CORE_RESULT CORE_RESULT_INCORRECT_CONFIGURATION = 4;
inline constexpr CORE_RESULT CORE_RESULT_INVALID_ARGUMENT = 5;
inline constexpr CORE_RESULT CORE_RESULT_INSTALLATION_FAILED = 6;
inline constexpr CORE_RESULT CORE_RESULT_UNINSTALLATION_FAILED = 7;
inline constexpr CORE_RESULT CORE_RESULT_NOT_FOUND = 8;
inline constexpr CORE_RESULT CORE_RESULT_INVALID_OPERATION = 9;
inline constexpr CORE_RESULT CORE_RESULT_RESOURCE_UNAVAILABLE = 10;
inline constexpr CORE_RESULT CORE_RESULT_RESOURCE_BUSY = 11;
inline constexpr CORE_RESULT CORE_RESULT_TIMEOUT = 12;
inline constexpr CORE_RESULT CORE_RESULT_RESOURCE_OPENED = 13;
inline constexpr CORE_RESULT CORE_RESULT_RESOURCE_STARTED = 14;
inline constexpr CORE_RESULT CORE_RESULT_ALREADY_REGISTERED = 15;
inline constexpr CORE_RESULT CORE_RESULT_INSUFFICIENT_DATA = 16;
inline constexpr CORE_RESULT CORE_RESULT_NOT_PERMITTED = 17;
inline constexpr CORE_RESULT CORE_RESULT_NOT_INITIALIZED = 18;
inline constexpr CORE_RESULT CORE_RESULT_OFFLINE_PROPERTY = 19;
inline constexpr CORE_RESULT CORE_RESULT_INVALID_TOKEN = 20;
inline constexpr CORE_RESULT CORE_RESULT_INVALID_DATA = 21;
inline constexpr CORE_RESULT CORE_RESULT_HOST_UNREACHABLE = 23;

// The text of a protocol result. A value without a text of its own is printed as a number, which a value with its
// highest bit set shows as negative: "Unknown Error (code = 5018 )".
std::string ResultText(RESULT_CODE result);

// The text of a small result; "Unknown Error" for a value that has none.
std::string CoreResultText(CORE_RESULT result);
} // namespace Quillmont::Trellis::CommandPipe::RestServer

// One outgoing exchange, on the stack of the client that makes it.
#pragma once

#include <cpprest/details/basic_types.h>
#include <cpprest/json.h>

namespace Quillmont::Trellis::CommandPipe::RestClient
{

struct RestRequest
{
    utility::string_t Path;           // relative to the base URL, begins with "v1.0/"
    web::json::value* Body = nullptr; // null: no body. Not owned: the client frees it behind the exchange
    utility::string_t Method;
    utility::string_t Token; // goes into "Authorization" as it is, empty where there is none
};

// Each path starts with the version of the interface.
utility::string_t PathStart();

} // namespace Quillmont::Trellis::CommandPipe::RestClient

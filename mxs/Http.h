// An HTTP exchange as the service's resources see it.
#pragma once

#include "mxs/Refusal.h"

#include <functional>
#include <string>

namespace mxs
{

struct HttpRequest
{
    std::string method;
    std::string target; // path and query
    std::string host;   // one of the permitted ones
    std::string authorization;
    std::string body;
};

struct HttpAnswer
{
    unsigned status = 200;
    std::string body = "{}"; // JSON
    std::string location;    // headers that are sent when they hold something
    std::string authorization;
    std::string allow;
};

// Called by several threads at once; must not throw.
using HttpHandler = std::function<HttpAnswer(const HttpRequest&)>;

HttpAnswer ErrorAnswer(const Refusal& refusal); // its error record and status

} // namespace mxs

// The HTTP listener on the two loopback addresses.
#pragma once

#include "mxs/Http.h"
#include "mxs/Log.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace mxs
{

struct HttpLimits
{
    unsigned threads = 16; // the start of a stream holds one for as long as its ring takes
    size_t connections = 1024;
    uint32_t headerBytes = 16 * 1024;
    uint64_t bodyBytes = uint64_t{1024} * 1024; // more than the longest document that the limits of lists permit
    std::chrono::seconds idle{180};             // an idle connection stays open so long
    std::chrono::seconds body{30};              // a header that has begun, a body, or an answer, must have gone by then
};

class HttpServer
{
public:
    HttpServer(const HttpLimits& limits, HttpHandler handler, const Log& log);
    ~HttpServer(); // stops
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    // Listens on 127.0.0.1 and ::1 (on the former alone where there is no IPv6); port 0 takes a free one. Throws
    // std::system_error when it cannot.
    void Start(uint16_t port);
    void Stop(); // closes all connections and returns when no handler runs; for good
    uint16_t Port() const;

private:
    struct State;
    std::unique_ptr<State> Inner;
};

// Whether a Host header, or the authority of a request target, names this machine's loopback.
bool IsPermittedHost(std::string_view host);

// Whether a request with so many Host headers is for this machine. The absolute form of a target, which names a host of
// its own, becomes a path either way.
bool IsPermitted(HttpRequest& request, size_t hostHeaders);

} // namespace mxs

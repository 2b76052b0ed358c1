// The object behind a context handle: one authenticated session with the service.
#pragma once

#include "core/CHandle.h"
#include "zefaline/base.h"

#include <string>

namespace Quillmont::Trellis::CommandPipe::RestClient
{
class IRestClient;
}

namespace Quillmont::Trellis::Zefa
{
// All that a context is lies behind one pointer: the REST client owns the six resource clients and the session, and the
// context manager client among them owns the watchdog thread.
class CMxsContext : public CHandle
{
public:
    static constexpr uint32_t kTypeTag = kContextTypeTag;

    CMxsContext();
    ~CMxsContext() override; // stops the watchdog and releases all clients; streams of the context must be gone
    uint32_t GetType() const override;

    // Brings the transport up. The base of every path is the URL, which has to end in a slash, with "api/x-mxs/".
    // The exception of the HTTP library for an unusable URL passes through.
    ZEFA_ERRORCODE Initialize(const std::string& url);

    CommandPipe::RestClient::IRestClient* GetRestClient() const { return RestClient; }

private:
    CommandPipe::RestClient::IRestClient* RestClient = nullptr; // owned; made and released by its factory
};
} // namespace Quillmont::Trellis::Zefa

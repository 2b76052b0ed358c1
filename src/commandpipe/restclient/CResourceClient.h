// What every resource client holds: whether it may be used, and the transport that owns it.
#pragma once

#include "commandpipe/restserver/ResultCode.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class CRestClient;
class IRestClient;

class CResourceClient
{
protected:
    CResourceClient() = default;
    ~CResourceClient() = default;
    CResourceClient(const CResourceClient&) = delete;
    CResourceClient& operator=(const CResourceClient&) = delete;

    // 5004 for null, which changes nothing; otherwise 5000, and the client is initialized.
    RestServer::RESULT_CODE Attach(IRestClient* restClient);

    bool Initialized = false;
    CRestClient* Client = nullptr; // not owned: it owns this object. Stays in place after Shutdown
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

// The session with the service, and the watchdog: the library's one thread, which ticks the context once a second so
// that the service keeps it alive.
#pragma once

#include <atomic>
#include <memory>
#include <thread>

#include "commandpipe/restclient/IContextManagerClient.h"

namespace Quillmont::Trellis::CommandPipe::RestClient
{

class CRestClient;

//   constructed --Initialize--> running (the thread lives) --Shutdown--> stopped, and from there running again
class CContextManagerClient : public IContextManagerClient
{
public:
    CContextManagerClient();
    ~CContextManagerClient() override;
    CContextManagerClient(const CContextManagerClient&) = delete;
    CContextManagerClient& operator=(const CContextManagerClient&) = delete;

    RestServer::RESULT_CODE Authenticate(RestServer::CONTEXT_IDENTITY* identity) override;
    RestServer::RESULT_CODE GetCurrentContextStatus(RestServer::CONTEXT_LAST_ACCESS* status) override;
    RestServer::RESULT_CODE GetCurrentContext(uint64_t* contextId) override;
    RestServer::RESULT_CODE TickCurrentContext() override;
    RestServer::RESULT_CODE DeleteCurrentContext() override;
    RestServer::RESULT_CODE GetList(std::vector<uint64_t>* contextIds) override;
    RestServer::RESULT_CODE Initialize(IRestClient* restClient) override;
    RestServer::RESULT_CODE Shutdown() override;
    RestServer::RESULT_CODE GetWatchdogConfig(RestServer::CONTEXT_TTL* watchdog) override;

private:
    void Run(); // the thread's body

    // Atomic, both flags: the watchdog's thread reads them while the application's writes.
    std::atomic<bool> Initialized = false;
    CRestClient* RestClient = nullptr; // not owned: it owns this object
    std::unique_ptr<std::thread> Thread;
    std::atomic<bool> StopRequested = true;
};

} // namespace Quillmont::Trellis::CommandPipe::RestClient

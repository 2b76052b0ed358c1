// The service's resources over HTTP: the table of routes and what each does.
#pragma once

#include "mxs/ConductorStore.h"
#include "mxs/ContextStore.h"
#include "mxs/CoreInventory.h"
#include "mxs/Documents.h"
#include "mxs/ErrorVault.h"
#include "mxs/Http.h"
#include "mxs/InterfaceInventory.h"
#include "mxs/Log.h"
#include "mxs/PortDropStore.h"
#include "mxs/ProcessingMeter.h"
#include "mxs/PtpDocuments.h"
#include "mxs/StreamStore.h"
#include "mxs/ptp/PtpDaemon.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace mxs
{

enum class ErrorStyle
{
    Body,    // the answer holds the error
    Redirect // a 303 points to it
};

// Everything that requests work on; it outlives the Api.
struct ApiServices
{
    ContextStore& contexts;
    ConductorStore& conductors;
    CoreInventory& cores;
    InterfaceInventory& interfaces;
    PortDropStore& drops;
    StreamStore& streams;
    ptp::PtpDaemon& ptp;
    const ptp::ServiceClock& clock;
    ErrorVault& errors;
    ProcessingMeter& meter;
    std::function<bool(const std::shared_ptr<Context>&)> removeContext; // with all that it owns; false: gone already
    std::function<uint32_t()> countThreads;
    ErrorStyle errorStyle = ErrorStyle::Body;
    const Log& log;
};

class Api
{
public:
    explicit Api(ApiServices services) : S(std::move(services)) {}

    // Any thread. Every failure below is caught here and becomes an answer.
    HttpAnswer Handle(const HttpRequest& request);

    enum class Access
    {
        Open,  // no token
        Token, // a living context
        Sole   // a living context, which the handler removes: it must not hold the guard
    };

    struct Call
    {
        const HttpRequest& request;
        std::vector<std::string_view> parameters; // what stood for {..} in the path
        std::shared_ptr<Context> context;         // null when the route is open

        uint64_t Id(size_t place) const; // refuses with 5008 what is no identifier
        uint64_t Owner() const { return context->Id; }
        Json Document() const { return ParseDocument(request.body); }
        template <class Record>
        Record Read(Record record = {}) const
        {
            FromDocument(Document(), record);
            return record;
        }
    };

    struct Route
    {
        std::string_view method;
        std::string_view path; // behind the version; {..} matches one segment
        Access access;
        HttpAnswer (Api::*handler)(const Call&);
    };

    static std::span<const Route> Routes();

private:
    HttpAnswer Dispatch(const HttpRequest& request);
    HttpAnswer Fail(const HttpRequest& request, const Refusal& refusal);

    HttpAnswer GetServiceStatus(const Call& call);
    HttpAnswer GetError(const Call& call);

    HttpAnswer Authenticate(const Call& call);
    HttpAnswer Tick(const Call& call);
    HttpAnswer GetWatchdog(const Call& call);
    HttpAnswer ListContexts(const Call& call);
    HttpAnswer GetContext(const Call& call);
    HttpAnswer DeleteContext(const Call& call);

    HttpAnswer ListSharedConductors(const Call& call);
    HttpAnswer ListConductors(const Call& call);
    HttpAnswer CreateConductor(const Call& call);
    HttpAnswer DeleteConductor(const Call& call);
    HttpAnswer GetConductorConfig(const Call& call);
    HttpAnswer SetConductorConfig(const Call& call);
    HttpAnswer GetConductorState(const Call& call);
    HttpAnswer SetConductorState(const Call& call);
    HttpAnswer GetConductorStatus(const Call& call);

    HttpAnswer ListCores(const Call& call);
    HttpAnswer GetCoreStatus(const Call& call);

    HttpAnswer ListInterfaces(const Call& call);
    HttpAnswer GetInterfaceConfig(const Call& call);
    HttpAnswer SetInterfaceConfig(const Call& call);
    HttpAnswer GetInterfaceStatus(const Call& call);
    HttpAnswer ListPortDrops(const Call& call);
    HttpAnswer AddPortDrop(const Call& call);
    HttpAnswer RemovePortDrop(const Call& call);
    HttpAnswer GetPortDrop(const Call& call);

    HttpAnswer ListSharedStreams(const Call& call);
    HttpAnswer ListStreams(const Call& call);
    HttpAnswer CreateStream(const Call& call);
    HttpAnswer DeleteStream(const Call& call);
    HttpAnswer GetStreamCommonConfig(const Call& call);
    HttpAnswer SetStreamCommonConfig(const Call& call);
    HttpAnswer GetStreamEssenceConfig(const Call& call);
    HttpAnswer SetStreamEssenceConfig(const Call& call);
    HttpAnswer GetStreamNetworkConfig(const Call& call);
    HttpAnswer SetStreamNetworkConfig(const Call& call);
    HttpAnswer GetStreamCommonStatus(const Call& call);
    HttpAnswer GetStreamEssenceStatus(const Call& call);
    HttpAnswer GetStreamNetworkStatus(const Call& call);
    HttpAnswer GetStreamState(const Call& call);
    HttpAnswer SetStreamState(const Call& call);

    HttpAnswer GetPtpConfig(const Call& call);
    HttpAnswer SetPtpConfig(const Call& call);
    HttpAnswer GetPtpStatus(const Call& call);

    std::shared_ptr<Conductor> ConductorOf(const Call& call) const;
    std::shared_ptr<Stream> StreamOf(const Call& call) const;
    uint64_t InterfaceOf(const Call& call) const; // an interface that is there, else 8
    uint16_t PortOf(const Call& call) const;

    ApiServices S;
};

} // namespace mxs

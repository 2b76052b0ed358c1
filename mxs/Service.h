// The whole service in one object: what main starts, and tests too.
#pragma once

#include "mxs/Api.h"
#include "mxs/HttpServer.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

namespace mxs
{

struct ServiceSettings
{
    uint16_t port = 7420;
    ErrorStyle errorStyle = ErrorStyle::Body;
    std::chrono::milliseconds contextTtl{300000};
    media::MediaSettings media; // its memory limit holds for all rings together
    HttpLimits http;
    ptp::PtpSettings ptp; // without folders of programs there is no daemon
    size_t contexts = 256;
    size_t conductors = kMaxListed;
    size_t streams = 1024;
    size_t keptErrors = 1024;
    std::chrono::milliseconds errorLife{60000};
};

class Service
{
public:
    Service(ServiceSettings settings, const Log& log);
    ~Service(); // stops
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    void Start(); // throws std::system_error when the port cannot be had
    void Stop();  // ends all contexts with their streams
    uint16_t Port() const { return Http.Port(); }

private:
    StreamServices ForStreams();
    ApiServices ForApi();
    ptp::PtpSettings ForPtp();
    bool RemoveContext(const std::shared_ptr<Context>& context);
    void KeepHouse(const std::stop_token& stop); // expired contexts, damaged rings, samples

    const ServiceSettings Settings;
    const Log& Out;
    CoreInventory Cores;
    InterfaceInventory Interfaces;
    PortDropStore Drops;
    MemoryBudget Memory;
    ProcessingMeter Meter;
    ContextStore Contexts;
    ConductorStore Conductors;
    ptp::ServiceClock Clock;
    ptp::PtpDaemon Ptp;
    StreamStore Streams; // its streams use conductors: it goes before them
    ErrorVault Errors;
    Api Resources;
    HttpServer Http;
    std::jthread Housekeeper;
};

} // namespace mxs

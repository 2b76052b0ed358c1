// The documents of the PTP daemon.
#pragma once

#include "mxs/Documents.h"
#include "mxs/ptp/ServiceClock.h"

namespace mxs
{

// What the daemon tells, beside the service's own time.
struct PtpReport
{
    ptp::Status status;
    ptp::ServiceClock::State clock;
    uint64_t taiNs = 0; // of the service's clock
};

Json ToDocument(const ptp::Config& record);
Json ToDocument(const PtpReport& record); // always with every key: clients take no other

void FromDocument(const Json& document, ptp::Config& record);

} // namespace mxs

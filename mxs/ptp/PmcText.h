// Reads what pmc, the management client of linuxptp, prints of ptp4l's data sets.
#pragma once

#include "mxs/ptp/PtpRecords.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace mxs::ptp
{

struct PmcReport
{
    Status status;
    int64_t masterOffsetNs = 0; // as status.current.offsetFromMaster, without its fraction
    int64_t ingressTimeNs = 0;  // when the offset was measured, on the clock that ptp4l reads; 0: not yet
};

// One request for each data set that a report is made of.
const std::vector<std::string>& PmcRequests();

// True when ptp4l has answered at all: it runs, whatever its answers mean.
bool HasAnswer(std::string_view text);

// Nothing unless every value of every data set is there and makes sense.
std::optional<PmcReport> ParsePmc(std::string_view text);

} // namespace mxs::ptp

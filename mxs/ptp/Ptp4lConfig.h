// A configuration as the file that ptp4l reads, and what ptp4l says as lines of the service's log.
#pragma once

#include "mxs/ptp/PtpRecords.h"

#include <optional>
#include <string>
#include <string_view>

namespace mxs::ptp
{

// Why ptp4l could not run with a configuration, as a sentence that names the key; nothing when it can. Whether the
// interface exists is not looked at.
std::optional<std::string> WhyRefused(const Config& config);

struct Ptp4lFile
{
    std::string managementSocket;
    std::string readOnlySocket; // of version 4 on; empty: left out
    bool disciplineClock = false;
};

// The configuration has to be one that is not refused.
std::string Ptp4lText(const Config& config, const Ptp4lFile& file);

// What a line of ptp4l tells a user, without the program's own time; nothing for lines that tell nothing new. Without
// the right to set the clock ptp4l complains of it at each sync, and works.
std::optional<std::string> TellingPart(std::string_view line, bool disciplineClock);

// The major version, of what "ptp4l -v" prints; 0 when it cannot be read.
int MajorVersion(std::string_view text);

// What is known without a daemon: the state "disabled", and of the data sets what the configuration says.
Status StatusWithoutDaemon(const Config& config);

} // namespace mxs::ptp

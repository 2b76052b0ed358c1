// Any text in the place of pmc's, and the service's clock behind it; and as a line of ptp4l's, for the log. The input
// is one text after another, each ended by a NUL: the looks of one slave.
#include "mxs/ptp/PmcText.h"
#include "mxs/ptp/Ptp4lConfig.h"
#include "mxs/ptp/ServiceClock.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

using namespace mxs::ptp;

static void Require(bool holds)
{
    if (!holds) std::abort();
}

// Another data set behind the text changes nothing of what it says.
static bool StaysTheSame(const PmcReport& report, std::string_view text)
{
    const std::optional<PmcReport> longer =
        ParsePmc(std::string(text) + "\n\tx-1 seq 6 RESPONSE MANAGEMENT CLOCK_ACCURACY \n\t\tclockAccuracy 0x01\n");
    return longer && longer->status == report.status && longer->masterOffsetNs == report.masterOffsetNs &&
           longer->ingressTimeNs == report.ingressTimeNs;
}

static void ReadLine(std::string_view text)
{
    static_cast<void>(MajorVersion(text));
    const std::optional<std::string> always = TellingPart(text, true), mostly = TellingPart(text, false);
    if (always) Require(!always->empty() && always->back() != '\n');
    if (mostly) Require(mostly == always);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ServiceClock clock;
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    while (!rest.empty())
    {
        const std::string_view text = rest.substr(0, rest.find('\0'));
        rest.remove_prefix(std::min(text.size() + 1, rest.size()));
        ReadLine(text);
        const std::optional<PmcReport> report = ParsePmc(text);
        if (report) Require(HasAnswer(text));
        if (!report) continue;
        Require(std::isfinite(report->status.current.offsetFromMaster));
        Require(std::isfinite(report->status.current.meanPathDelay));
        Require(std::isfinite(report->status.port.peerMeanPathDelay));
        Require(StaysTheSame(*report, text));
        clock.Take({report->ingressTimeNs, report->masterOffsetNs, report->status.time});
        static_cast<void>(clock.TaiNs());
    }
    return 0;
}

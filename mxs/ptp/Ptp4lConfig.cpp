// The tables between a configuration and ptp4l's options.
#include "mxs/ptp/Ptp4lConfig.h"

#include <algorithm>
#include <charconv>
#include <net/if.h>

namespace mxs::ptp
{

namespace
{

struct Limit
{
    const char* key;
    int (*value)(const Config& config);
    int least, most;
};

// What ptp4l takes; intervals beyond these are no use to anybody.
constexpr int kShortestInterval = -7, kLongestInterval = 10;
constexpr Limit kLimits[] = {
    {"DefaultDS.twoStepFlag", [](const Config& c) -> int { return c.own.twoStepFlag; }, 1, 1},
    {"DefaultDS.slaveOnly", [](const Config& c) -> int { return c.own.slaveOnly; }, 1, 1},
    {"DefaultDS.domainNumber", [](const Config& c) -> int { return c.own.domainNumber; }, 0, 127},
    {"PortDS.versionNumber", [](const Config& c) -> int { return c.port.versionNumber; }, 2, 2},
    {"PortDS.announceReceiptTimeout", [](const Config& c) -> int { return c.port.announceReceiptTimeout; }, 2, 255},
    {"PortDS.logMinDelayReqInterval", [](const Config& c) -> int { return c.port.logMinDelayReqInterval; },
     kShortestInterval, kLongestInterval},
    {"PortDS.logAnnounceInterval", [](const Config& c) -> int { return c.port.logAnnounceInterval; }, kShortestInterval,
     kLongestInterval},
    {"PortDS.logSyncInterval", [](const Config& c) -> int { return c.port.logSyncInterval; }, kShortestInterval,
     kLongestInterval},
    {"PortDS.logMinPdelayReqInterval", [](const Config& c) -> int { return c.port.logMinPdelayReqInterval; },
     kShortestInterval, kLongestInterval},
};

// The name becomes a section of a file: nothing in it may end the section or begin another line.
bool IsInterfaceName(std::string_view name)
{
    if (name.empty() || name.size() >= IFNAMSIZ || name == "global") return false;
    return std::all_of(name.begin(), name.end(),
                       [](char letter)
                       { return letter > ' ' && letter < 127 && letter != '[' && letter != ']' && letter != '/'; });
}

// Lines that come from a clock that may not be set.
constexpr std::string_view kClockComplaints[] = {
    "failed to adjust the clock", "failed to set the clock status", "failed to set clock status and maximum error",
    "failed to set TAI offset",   "failed to step clock",
};

} // namespace

std::optional<std::string> WhyRefused(const Config& config)
{
    if (!IsInterfaceName(config.interfaceName)) return "The key \"InterfaceName\" is no name of an interface.";
    for (const Limit& limit : kLimits)
    {
        const int value = limit.value(config);
        if (value >= limit.least && value <= limit.most) continue;
        const std::string key = "The key \"" + std::string(limit.key) + "\" ";
        if (limit.least == limit.most)
            return key + "has a value that this service does not have; it is a two-step slave of PTP version 2.";
        return key + "is not from " + std::to_string(limit.least) + " to " + std::to_string(limit.most) + ".";
    }
    return std::nullopt;
}

std::string Ptp4lText(const Config& config, const Ptp4lFile& file)
{
    std::string text = "[global]\n";
    const auto add = [&text](const char* option, const std::string& value) { text += option + (" " + value) + "\n"; };
    const auto addNumber = [&add](const char* option, int value) { add(option, std::to_string(value)); };
    const bool endToEnd = config.port.delayMechanism == DelayMechanism::EndToEnd;

    addNumber("slaveOnly", 1);
    addNumber("clockClass", config.own.clockClass);
    addNumber("clockAccuracy", config.own.clockAccuracy);
    addNumber("offsetScaledLogVariance", config.own.offsetScaledLogVariance);
    addNumber("domainNumber", config.own.domainNumber);
    addNumber("priority1", config.own.priority1);
    addNumber("priority2", config.own.priority2);
    addNumber("logMinDelayReqInterval", config.port.logMinDelayReqInterval);
    addNumber("logAnnounceInterval", config.port.logAnnounceInterval);
    addNumber("announceReceiptTimeout", config.port.announceReceiptTimeout);
    addNumber("logSyncInterval", config.port.logSyncInterval);
    addNumber("logMinPdelayReqInterval", config.port.logMinPdelayReqInterval);
    add("delay_mechanism", endToEnd ? "E2E" : "P2P");
    if (endToEnd && config.hybridMode) addNumber("hybrid_e2e", 1);
    add("network_transport", "UDPv4");
    add("time_stamping", config.timeStamping == TimeStamping::Hardware ? "hardware" : "software");
    addNumber("tx_timestamp_timeout", 100); // ms; the usual 1 makes faults of a busy machine
    addNumber("fault_reset_interval", 0);   // a second

    if (!file.disciplineClock)
    {
        // Nothing that ptp4l wants of the clock will be done, and a servo that is quick to call itself locked makes
        // the port a slave all the same: what counts is the offset that it measures.
        add("clock_servo", "pi");
        add("pi_proportional_const", "0.7");
        add("pi_integral_const", "0.3");
        addNumber("step_threshold", 0);
        addNumber("first_step_threshold", 0);
        addNumber("sanity_freq_limit", 0);
        addNumber("kernel_leap", 0);
    }
    addNumber("utc_offset", 37);

    addNumber("use_syslog", 0);
    addNumber("verbose", 1);
    addNumber("logging_level", 5); // changes of state and worse
    add("uds_address", file.managementSocket);
    if (!file.readOnlySocket.empty()) add("uds_ro_address", file.readOnlySocket);
    return text + "[" + config.interfaceName + "]\n";
}

std::optional<std::string> TellingPart(std::string_view line, bool disciplineClock)
{
    // "ptp4l[1941.652]: port 1: INITIALIZING to LISTENING on INIT_COMPLETE"
    if (line.starts_with("ptp4l["))
        if (const size_t end = line.find("]: "); end != std::string_view::npos) line.remove_prefix(end + 3);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r' || line.back() == ' '))
        line.remove_suffix(1);
    if (line.empty() || line.starts_with("port 0")) return std::nullopt; // that is the management socket
    const auto isComplaint = [line](std::string_view complaint) { return line.starts_with(complaint); };
    if (!disciplineClock && std::any_of(std::begin(kClockComplaints), std::end(kClockComplaints), isComplaint))
        return std::nullopt;
    return std::string(line);
}

int MajorVersion(std::string_view text)
{
    int major = 0;
    std::from_chars(text.data(), text.data() + text.size(), major);
    return major;
}

Status StatusWithoutDaemon(const Config& config)
{
    Status status;
    status.own.clockClass = config.own.clockClass;
    status.own.clockAccuracy = config.own.clockAccuracy;
    status.own.offsetScaledLogVariance = config.own.offsetScaledLogVariance;
    status.own.domainNumber = config.own.domainNumber;
    status.own.priority1 = config.own.priority1;
    status.own.priority2 = config.own.priority2;
    status.port.logMinDelayReqInterval = config.port.logMinDelayReqInterval;
    status.port.logAnnounceInterval = config.port.logAnnounceInterval;
    status.port.announceReceiptTimeout = config.port.announceReceiptTimeout;
    status.port.logSyncInterval = config.port.logSyncInterval;
    status.port.delayMechanism = config.port.delayMechanism;
    status.port.logMinPdelayReqInterval = config.port.logMinPdelayReqInterval;
    return status;
}

} // namespace mxs::ptp

// A row for each value that pmc prints: its data set, its name, and where it goes.
#include "mxs/ptp/PmcText.h"

#include <bitset>
#include <charconv>
#include <cmath>
#include <type_traits>

namespace mxs::ptp
{

namespace
{

// Decimal, or hexadecimal behind "0x"; the whole text, and within the range of the type.
template <class Number>
bool Take(std::string_view text, Number& number)
{
    int base = 10;
    if (text.starts_with("0x"))
    {
        base = 16;
        text.remove_prefix(2);
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    return error == std::errc() && end == text.data() + text.size();
}

bool Take(std::string_view text, double& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
}

bool Take(std::string_view text, bool& flag)
{
    flag = text == "1";
    return text == "1" || text == "0";
}

// "a235a3.fffe.09f875"
bool Take(std::string_view text, ClockIdentity& identity)
{
    std::string digits;
    for (const char letter : text)
        if (letter != '.') digits += letter;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), identity.number, 16);
    return digits.size() == 16 && error == std::errc() && end == digits.data() + digits.size();
}

// "a235a3.fffe.09f875-1"
bool Take(std::string_view text, PortIdentity& identity)
{
    const size_t dash = text.find('-');
    return dash != std::string_view::npos && Take(text.substr(0, dash), identity.clock) &&
           Take(text.substr(dash + 1), identity.port);
}

bool Take(std::string_view text, DelayMechanism& mechanism)
{
    uint32_t number = 0;
    if (!Take(text, number) || number < 1 || number > 2) return false;
    mechanism = static_cast<DelayMechanism>(number);
    return true;
}

struct StateName
{
    std::string_view name;
    PortState state;
};

constexpr StateName kStates[] = {
    {"INITIALIZING", PortState::Initializing},
    {"FAULTY", PortState::Faulty},
    {"DISABLED", PortState::Disabled},
    {"LISTENING", PortState::Listening},
    {"PRE_MASTER", PortState::PreMaster},
    {"MASTER", PortState::Master},
    {"GRAND_MASTER", PortState::Master}, // a name of later versions
    {"PASSIVE", PortState::Passive},
    {"UNCALIBRATED", PortState::Uncalibrated},
    {"SLAVE", PortState::Slave},
};

bool Take(std::string_view text, PortState& state)
{
    state = PortState::Unknown;
    for (const StateName& row : kStates)
        if (row.name == text) state = row.state;
    return true;
}

struct Row
{
    std::string_view dataSet, name;
    bool (*take)(std::string_view text, PmcReport& report);
};

template <auto DataSet, auto Member>
bool Into(std::string_view text, PmcReport& report)
{
    return Take(text, report.status.*DataSet.*Member);
}

template <auto Member>
bool IntoReport(std::string_view text, PmcReport& report)
{
    return Take(text, report.*Member);
}

template <auto Member>
bool IntoQuality(std::string_view text, PmcReport& report)
{
    return Take(text, report.status.parent.quality.*Member);
}

constexpr std::string_view kDefault = "DEFAULT_DATA_SET", kCurrent = "CURRENT_DATA_SET", kParent = "PARENT_DATA_SET",
                           kTime = "TIME_PROPERTIES_DATA_SET", kPort = "PORT_DATA_SET", kTimeStatus = "TIME_STATUS_NP";

constexpr Row kRows[] = {
    {kDefault, "twoStepFlag", &Into<&Status::own, &DefaultStatus::twoStepFlag>},
    {kDefault, "slaveOnly", &Into<&Status::own, &DefaultStatus::slaveOnly>},
    {kDefault, "numberPorts", &Into<&Status::own, &DefaultStatus::numberPorts>},
    {kDefault, "priority1", &Into<&Status::own, &DefaultStatus::priority1>},
    {kDefault, "clockClass", &Into<&Status::own, &DefaultStatus::clockClass>},
    {kDefault, "clockAccuracy", &Into<&Status::own, &DefaultStatus::clockAccuracy>},
    {kDefault, "offsetScaledLogVariance", &Into<&Status::own, &DefaultStatus::offsetScaledLogVariance>},
    {kDefault, "priority2", &Into<&Status::own, &DefaultStatus::priority2>},
    {kDefault, "clockIdentity", &Into<&Status::own, &DefaultStatus::clock>},
    {kDefault, "domainNumber", &Into<&Status::own, &DefaultStatus::domainNumber>},
    {kCurrent, "stepsRemoved", &Into<&Status::current, &CurrentStatus::stepsRemoved>},
    {kCurrent, "offsetFromMaster", &Into<&Status::current, &CurrentStatus::offsetFromMaster>},
    {kCurrent, "meanPathDelay", &Into<&Status::current, &CurrentStatus::meanPathDelay>},
    {kParent, "parentPortIdentity", &Into<&Status::parent, &ParentStatus::port>},
    {kParent, "parentStats", &Into<&Status::parent, &ParentStatus::stats>},
    {kParent, "observedParentOffsetScaledLogVariance",
     &Into<&Status::parent, &ParentStatus::observedOffsetScaledLogVariance>},
    {kParent, "observedParentClockPhaseChangeRate",
     &Into<&Status::parent, &ParentStatus::observedClockPhaseChangeRate>},
    {kParent, "grandmasterPriority1", &Into<&Status::parent, &ParentStatus::grandmasterPriority1>},
    {kParent, "gm.ClockClass", &IntoQuality<&GrandmasterQuality::clockClass>},
    {kParent, "gm.ClockAccuracy", &IntoQuality<&GrandmasterQuality::clockAccuracy>},
    {kParent, "gm.OffsetScaledLogVariance", &IntoQuality<&GrandmasterQuality::offsetScaledLogVariance>},
    {kParent, "grandmasterPriority2", &Into<&Status::parent, &ParentStatus::grandmasterPriority2>},
    {kParent, "grandmasterIdentity", &Into<&Status::parent, &ParentStatus::grandmaster>},
    {kTime, "currentUtcOffset", &Into<&Status::time, &TimeProperties::currentUtcOffset>},
    {kTime, "leap61", &Into<&Status::time, &TimeProperties::leap61>},
    {kTime, "leap59", &Into<&Status::time, &TimeProperties::leap59>},
    {kTime, "currentUtcOffsetValid", &Into<&Status::time, &TimeProperties::currentUtcOffsetValid>},
    {kTime, "ptpTimescale", &Into<&Status::time, &TimeProperties::ptpTimescale>},
    {kTime, "timeTraceable", &Into<&Status::time, &TimeProperties::timeTraceable>},
    {kTime, "frequencyTraceable", &Into<&Status::time, &TimeProperties::frequencyTraceable>},
    {kTime, "timeSource", &Into<&Status::time, &TimeProperties::timeSource>},
    {kPort, "portIdentity", &Into<&Status::port, &PortStatus::identity>},
    {kPort, "portState", &Into<&Status::port, &PortStatus::state>},
    {kPort, "logMinDelayReqInterval", &Into<&Status::port, &PortStatus::logMinDelayReqInterval>},
    {kPort, "peerMeanPathDelay", &Into<&Status::port, &PortStatus::peerMeanPathDelay>},
    {kPort, "logAnnounceInterval", &Into<&Status::port, &PortStatus::logAnnounceInterval>},
    {kPort, "announceReceiptTimeout", &Into<&Status::port, &PortStatus::announceReceiptTimeout>},
    {kPort, "logSyncInterval", &Into<&Status::port, &PortStatus::logSyncInterval>},
    {kPort, "delayMechanism", &Into<&Status::port, &PortStatus::delayMechanism>},
    {kPort, "logMinPdelayReqInterval", &Into<&Status::port, &PortStatus::logMinPdelayReqInterval>},
    {kPort, "versionNumber", &Into<&Status::port, &PortStatus::versionNumber>},
    {kTimeStatus, "master_offset", &IntoReport<&PmcReport::masterOffsetNs>},
    {kTimeStatus, "ingress_time", &IntoReport<&PmcReport::ingressTimeNs>},
};

std::string_view CutWord(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\r"), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(" \t\r"));
    text.remove_prefix(word.size());
    return word;
}

// "a235a3.fffe.09f875-1 seq 4 RESPONSE MANAGEMENT PORT_DATA_SET": the last word; none for any other line.
std::string_view DataSetOf(std::string_view line)
{
    constexpr std::string_view kMark = "RESPONSE MANAGEMENT ";
    const size_t mark = line.find(kMark);
    if (mark == std::string_view::npos) return {};
    line.remove_prefix(mark + kMark.size());
    return CutWord(line);
}

} // namespace

const std::vector<std::string>& PmcRequests()
{
    static const std::vector<std::string> requests = []
    {
        std::vector<std::string> all;
        for (const std::string_view dataSet : {kDefault, kCurrent, kParent, kTime, kPort, kTimeStatus})
            all.push_back("GET " + std::string(dataSet));
        return all;
    }();
    return requests;
}

bool HasAnswer(std::string_view text)
{
    return !DataSetOf(text).empty();
}

std::optional<PmcReport> ParsePmc(std::string_view text)
{
    PmcReport report;
    std::bitset<std::size(kRows)> taken;
    std::string_view dataSet;
    while (!text.empty())
    {
        std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (const std::string_view begun = DataSetOf(line); !begun.empty())
        {
            dataSet = begun;
            continue;
        }
        const std::string_view name = CutWord(line), value = CutWord(line);
        for (size_t place = 0; place < std::size(kRows); ++place)
        {
            const Row& row = kRows[place];
            if (row.dataSet != dataSet || row.name != name) continue;
            if (!row.take(value, report)) return std::nullopt;
            taken.set(place);
        }
    }
    return taken.all() ? std::optional(report) : std::nullopt;
}

} // namespace mxs::ptp

// zefa ptp: the PTP daemon's configuration and data sets, and its configuration from a profile.
#include "Commands.h"
#include "Failure.h"
#include "Report.h"
#include "Session.h"
#include "Words.h"

namespace zefa
{
namespace
{
Json WordOrUnknown(Words words, uint32_t value)
{
    const char* const word = WordOf(words, value);
    return word ? word : "unknown";
}

Json PortDocument(const ZEFA_PTP_PORT_IDENTITY& port)
{
    return IdentityText(port.ClockIdentity_UB, sizeof port.ClockIdentity_UB) + "." + std::to_string(port.PortNumber_US);
}

Json ConfigDocument(const ZEFA_PTP_CONFIG& config)
{
    return {{"domain", config.DefaultDS.DomainNumber_UB},
            {"priority1", config.DefaultDS.Priority1_UB},
            {"priority2", config.DefaultDS.Priority2_UB},
            {"clockAccuracy", config.DefaultDS.ClockAccuracy_UB},
            {"offsetScaledLogVariance", config.DefaultDS.OffsetScaledLogVariance_US},
            {"delayMechanism", WordOrUnknown(kDelayMechanisms, config.PortDS.DelayMechanism_E)},
            {"logMinDelayReqInterval", config.PortDS.LogMinDelayReqInterval_B},
            {"logMinPdelayReqInterval", config.PortDS.LogMinPdelayReqInterval_B},
            {"announceReceiptTimeout", config.PortDS.AnnounceReceiptTimeout_UB},
            {"hybridMode", config.HybridMode_B != 0},
            {"timeStamping", WordOrUnknown(kTimeStampings, config.TimeStamping_E)}};
}

Json StatusDocument(const ZEFA_PTP_STATUS& status)
{
    return {{"portState", WordOrUnknown(kPortStates, status.PortState_E)},
            {"systemTimeNs", status.CurrentSystemTime_ULL},
            {"clockIdentity", IdentityText(status.ClockIdentity_UB, sizeof status.ClockIdentity_UB)},
            {"port", PortDocument(status.PortIdentity)},
            {"logAnnounceInterval", status.LogAnnounceInterval_B},
            {"stepsRemoved", status.StepsRemoved_US},
            {"offsetFromMasterNs", status.OffsetFromMaster_D},
            {"meanPathDelayNs", status.MeanPathDelay_D},
            {"peerMeanPathDelayNs", status.PeerMeanPathDelay_D},
            {"parentPort", PortDocument(status.ParentPortIdentity)},
            {"grandmasterIdentity", IdentityText(status.GrandmasterIdentity_UB, sizeof status.GrandmasterIdentity_UB)},
            {"grandmasterClockClass", status.GrandmasterClockClass_UB},
            {"grandmasterClockAccuracy", status.GrandmasterClockAccuracy_UB},
            {"grandmasterPriority1", status.GrandmasterPriority1_UB},
            {"grandmasterPriority2", status.GrandmasterPriority2_UB}};
}

const std::vector<Column> kConfigColumns{
    {"domain", "Domain"},
    {"priority1", "Priority 1"},
    {"priority2", "Priority 2"},
    {"clockAccuracy", "Clock accuracy"},
    {"offsetScaledLogVariance", "Offset variance"},
    {"delayMechanism", "Delay mechanism"},
    {"logMinDelayReqInterval", "Delay requests", &LogSecondsText},
    {"logMinPdelayReqInterval", "Peer delay requests", &LogSecondsText},
    {"announceReceiptTimeout", "Announce timeout"},
    {"hybridMode", "Hybrid mode"},
    {"timeStamping", "Time stamping"},
};

const std::vector<Column> kStatusColumns{
    {"portState", "Port state"},
    {"offsetFromMasterNs", "Offset from master", &NanosecondsText},
    {"meanPathDelayNs", "Mean path delay", &NanosecondsText},
    {"peerMeanPathDelayNs", "Peer mean path delay", &NanosecondsText},
    {"stepsRemoved", "Steps removed"},
    {"clockIdentity", "Clock"},
    {"port", "Port"},
    {"logAnnounceInterval", "Announce messages", &LogSecondsText},
    {"parentPort", "Parent port"},
    {"grandmasterIdentity", "Grandmaster"},
    {"grandmasterClockClass", "Grandmaster class"},
    {"grandmasterClockAccuracy", "Grandmaster accuracy"},
    {"grandmasterPriority1", "Grandmaster priority 1"},
    {"grandmasterPriority2", "Grandmaster priority 2"},
    {"systemTimeNs", "Time of the service", &NanosecondsText},
};

// The options that say something about the configuration besides --profile and --interface.
constexpr const char* kRefinements[] = {"--domain", "--delay", "--hybrid", "--hardware"};

bool WantsConfiguration(const Arguments& arguments)
{
    const bool profile = arguments.Has("--profile"), interface = arguments.Has("--interface");
    if (profile != interface) throw Failure(kUsage, "--profile and --interface belong together.");
    for (const char* refinement : kRefinements)
        if (!profile && arguments.Has(refinement))
            throw Failure(kUsage, std::string(refinement) + " wants --profile and --interface.");
    return profile;
}

ZEFA_PTP_CONFIG ConfigurationOf(const Arguments& arguments, const Session& session)
{
    ZEFA_PTP_CONFIG config{};
    const auto profile = static_cast<ZEFA_PTP_PROFILE>(arguments.Number("--profile", 0, 1, 0));
    Check(ZEFA_CreatePTPDSFromProfile(profile, &config.DefaultDS, &config.PortDS), "The profile could not be taken");
    config.NetworkInterfaceId_ULL = session.InterfaceNamed(arguments.Text("--interface", "")).Id;
    config.HybridMode_B = arguments.Has("--hybrid");
    config.TimeStamping_E =
        arguments.Has("--hardware") ? ZEFA_PTP_TIME_STAMPING_HARDWARE : ZEFA_PTP_TIME_STAMPING_SOFTWARE;
    if (const auto domain = arguments.FindNumber("--domain", 0, 127))
        config.DefaultDS.DomainNumber_UB = static_cast<uint8_t>(*domain);
    if (const auto mechanism = arguments.Find("--delay"))
        config.PortDS.DelayMechanism_E = ValueOf(kDelayMechanisms, *mechanism, "--delay");
    return config;
}
} // namespace

int RunPtp(const Arguments& arguments)
{
    const bool configure = WantsConfiguration(arguments);
    const Presenter presenter(arguments);
    const Session session(arguments);
    if (configure)
    {
        const ZEFA_PTP_CONFIG config = ConfigurationOf(arguments, session);
        Check(ZEFA_SetPTPConfig(session.Context(), &config), "The PTP daemon could not be configured");
    }
    presenter.Show(
        [&]
        {
            ZEFA_PTP_CONFIG config{};
            ZEFA_PTP_STATUS status{};
            Check(ZEFA_GetPTPConfig(session.Context(), &config), "The PTP configuration could not be read");
            Check(ZEFA_GetPTPStatus(session.Context(), &status), "The PTP status could not be read");
            Report report;
            report.document = {{"config", ConfigDocument(config)}, {"status", StatusDocument(status)}};
            report.views = {{"Status", "/status", kStatusColumns}, {"Configuration", "/config", kConfigColumns}};
            return report;
        });
    return kGood;
}

} // namespace zefa

// zefa status, cores, interfaces, conductors: what the service has.
#include "Commands.h"
#include "Failure.h"
#include "Report.h"
#include "Session.h"
#include "Words.h"

#include <bit>

namespace zefa
{
namespace
{
constexpr uint32_t kUnknownNumaNode = 4294967295;

Json OrNull(bool known, Json value)
{
    return known ? std::move(value) : Json();
}

Json WordOrNull(Words words, uint32_t value)
{
    const char* const word = WordOf(words, value);
    return word ? Json(word) : Json();
}

Json CoreDocument(const Core& core)
{
    const ZEFA_CPU_CORE_STATUS& status = core.Status;
    return {{"core", status.CoreId_UL},
            {"id", IdText(core.Id)},
            {"numaNode", OrNull(status.NumaNode_UL != kUnknownNumaNode, status.NumaNode_UL)},
            {"maxSpeedMhz", OrNull(status.MaxSpeed_UL != 0, status.MaxSpeed_UL)},
            {"usagePercent", status.CoreUsage_UB},
            {"group", status.GroupId_UL},
            {"conductor", WordOrNull(kAvailabilities, status.ConductorAvailability_E)}};
}

Json InterfaceDocument(const Interface& each)
{
    const ZEFA_NETWORK_INTERFACE_STATUS& status = each.Status;
    const bool addressed = each.Config.IP_UL != 0;
    return {{"name", status.SystemName_C},
            {"id", IdText(each.Id)},
            {"index", status.InterfaceIndex_UL},
            {"address", OrNull(addressed, AddressText(each.Config.IP_UL) + "/" +
                                              std::to_string(std::popcount(each.Config.SubnetMask_UL)))},
            {"mac", MacText(status.Mac_ULL)},
            {"linkUp", status.LinkStatus_B != 0},
            {"linkSpeedMbit", OrNull(status.LinkSpeed_UL != 0, status.LinkSpeed_UL)},
            {"duplex", WordOrNull(kDuplexes, status.DuplexType_E)},
            {"mtu", status.MTU_UL},
            {"driver", OrNull(status.DriverVersion_C[0] != '\0', status.DriverVersion_C)},
            {"numaNode", OrNull(status.NumaNode_UL != kUnknownNumaNode, status.NumaNode_UL)},
            {"sendBitsPerSecond", status.UploadThroughput_ULL},
            {"receiveBitsPerSecond", status.DownloadThroughput_ULL}};
}

// A shared conductor is read while it is attached; it goes on when it is let go.
Json ConductorDocument(const Session& session, uint64_t id, const std::vector<Core>& cores)
{
    Json document{{"id", IdText(id)}, {"core", nullptr}, {"loadPercent", nullptr}, {"bitsPerSecond", nullptr}};
    Undo undo;
    const ZEFA_ERRORCODE attached = ZEFA_AddSharedConductorToContext(session.Context(), id);
    if (attached == ZEFA_ERR_NOT_FOUND) return document; // gone since the list
    Check(attached, "A shared conductor could not be read");
    undo.Add("ZEFA_DestroyConductor", [&] { return ZEFA_DestroyConductor(session.Context(), id); });
    ZEFA_CONDUCTOR_CONFIG config{};
    ZEFA_CONDUCTOR_STATUS status{};
    Check(ZEFA_GetConductorConfig(session.Context(), id, &config),
          "The configuration of a conductor could not be read");
    Check(ZEFA_GetConductorStatus(session.Context(), id, &status), "The status of a conductor could not be read");
    for (const Core& core : cores)
        if (core.Id == config.CpuCoreId_ULL) document["core"] = core.Status.CoreId_UL;
    document["loadPercent"] = status.Load_D;
    document["bitsPerSecond"] = status.Throughput_ULL;
    return document;
}
} // namespace

int RunStatus(const Arguments& arguments)
{
    const Presenter presenter(arguments);
    const Session session(arguments);
    presenter.Show(
        [&]
        {
            uint64_t service = 0;
            ZEFA_LIBRARIES_STATUS libraries{};
            Check(ZEFA_GetMXSStatus(session.Context(), &service), "The status of the service could not be read");
            ZEFA_GetLibrariesStatus(&libraries); // its result is a failure by design; the structure is filled
            Report report;
            report.document = {{"service", session.Url()},
                               {"serviceVersion", VersionText(service)},
                               {"libraryVersion", VersionText(libraries.ZefalineVersion)},
                               {"railVersion", VersionText(libraries.FlowRailVersion)},
                               {"railFits", session.RailFits()},
                               {"cores", session.Cores().size()},
                               {"interfaces", session.Interfaces().size()},
                               {"sharedConductors", session.SharedConductors().size()}};
            report.views = {{"",
                             "",
                             {{"service", "Service"},
                              {"serviceVersion", "Version of the service"},
                              {"libraryVersion", "Version of the library"},
                              {"railVersion", "Version of the flow rail"},
                              {"railFits", "Same flow rail in the service"},
                              {"cores", "Cores"},
                              {"interfaces", "Interfaces"},
                              {"sharedConductors", "Shared conductors"}}}};
            return report;
        });
    return kGood;
}

int RunCores(const Arguments& arguments)
{
    const Presenter presenter(arguments);
    const Session session(arguments);
    presenter.Show(
        [&]
        {
            Report report;
            Json& cores = report.document["cores"] = Json::array();
            for (const Core& core : session.Cores())
                cores.push_back(CoreDocument(core));
            report.views = {{"",
                             "/cores",
                             {{"core", "Core", &PlainText, Align::Right},
                              {"usagePercent", "Used", &PercentText, Align::Right},
                              {"maxSpeedMhz", "Speed", &MegahertzText, Align::Right},
                              {"numaNode", "NUMA", &PlainText, Align::Right},
                              {"group", "Group", &PlainText, Align::Right},
                              {"conductor", "Conductor"},
                              {"id", "Identifier"}}}};
            return report;
        });
    return kGood;
}

int RunInterfaces(const Arguments& arguments)
{
    const Presenter presenter(arguments);
    const Session session(arguments);
    presenter.Show(
        [&]
        {
            Report report;
            Json& interfaces = report.document["interfaces"] = Json::array();
            for (const Interface& each : session.Interfaces())
                interfaces.push_back(InterfaceDocument(each));
            report.views = {{"",
                             "/interfaces",
                             {{"name", "Name"},
                              {"address", "Address"},
                              {"linkUp", "Up"},
                              {"linkSpeedMbit", "Speed", &MegabitsText, Align::Right},
                              {"duplex", "Duplex"},
                              {"mtu", "MTU", &PlainText, Align::Right},
                              {"sendBitsPerSecond", "Sends", &BitRateText, Align::Right},
                              {"receiveBitsPerSecond", "Receives", &BitRateText, Align::Right},
                              {"mac", "MAC"},
                              {"driver", "Driver"},
                              {"numaNode", "NUMA", &PlainText, Align::Right}}}};
            return report;
        });
    return kGood;
}

int RunConductors(const Arguments& arguments)
{
    const Presenter presenter(arguments);
    const Session session(arguments);
    presenter.Show(
        [&]
        {
            Report report;
            const std::vector<Core> cores = session.Cores();
            Json& conductors = report.document["conductors"] = Json::array();
            for (const uint64_t id : session.SharedConductors())
                conductors.push_back(ConductorDocument(session, id, cores));
            report.views = {{"",
                             "/conductors",
                             {{"id", "Identifier"},
                              {"core", "Core", &PlainText, Align::Right},
                              {"loadPercent", "Load", &PercentText, Align::Right},
                              {"bitsPerSecond", "Throughput", &BitRateText, Align::Right}},
                             "No conductor is shared."}};
            return report;
        });
    return kGood;
}

} // namespace zefa

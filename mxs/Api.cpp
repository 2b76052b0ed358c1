// From a path to its handler, and from a refusal to its answer.
#include "mxs/Api.h"

#include "mxs/ptp/Ptp4lConfig.h"

#include <flowrail1.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <new>
#include <shared_mutex>
#include <system_error>

namespace mxs
{

namespace
{

constexpr std::string_view kBase = "/api/x-mxs/";
constexpr std::string_view kVersion = "v1.0/";
constexpr uint64_t kMxsVersion = 0x0001000300000000; // 1.3.0.0: four numbers of 16 bits
constexpr size_t kMostSegments = 10;

// Segments of a path without its empty ones; too long a path gives none.
std::vector<std::string_view> Segments(std::string_view path)
{
    std::vector<std::string_view> segments;
    while (!path.empty())
    {
        const size_t end = std::min(path.find('/'), path.size());
        if (end > 0) segments.push_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
        if (segments.size() > kMostSegments) return {};
    }
    return segments;
}

bool Matches(const std::vector<std::string_view>& pattern, const std::vector<std::string_view>& path,
             std::vector<std::string_view>& parameters)
{
    parameters.clear();
    if (pattern.size() != path.size()) return false;
    for (size_t place = 0; place < pattern.size(); ++place)
    {
        if (pattern[place].starts_with('{'))
            parameters.push_back(path[place]);
        else if (pattern[place] != path[place])
            return false;
    }
    return true;
}

template <class Record>
HttpAnswer Ok(const Record& record)
{
    HttpAnswer answer;
    answer.body = ToDocument(record).dump(-1, ' ', false, Json::error_handler_t::replace);
    return answer;
}

HttpAnswer Done()
{
    return {};
}

// Relative and without a leading slash: clients take the fifth part between slashes.
HttpAnswer Created(std::string_view collection, uint64_t id)
{
    HttpAnswer answer;
    answer.status = 201;
    answer.location = std::string(kVersion) + std::string(collection) + IdText(id);
    return answer;
}

} // namespace

// clang-format off
std::span<const Api::Route> Api::Routes()
{
    using enum Access;
    static constexpr Route kRoutes[] = {
        {"GET",    "MXS/",                                   Token, &Api::GetServiceStatus},
        {"GET",    "MXS/Error/{name}",                       Open,  &Api::GetError},

        {"POST",   "MXS/ContextManager/Auth/",               Open,  &Api::Authenticate},
        {"POST",   "MXS/ContextManager/Tick/",               Token, &Api::Tick},
        {"GET",    "MXS/ContextManager/Watchdog/",           Token, &Api::GetWatchdog},
        {"GET",    "MXS/ContextManager/Context/",            Token, &Api::ListContexts},
        {"GET",    "MXS/ContextManager/Context/{id}",        Token, &Api::GetContext},
        {"DELETE", "MXS/ContextManager/Context/{id}",        Sole,  &Api::DeleteContext},

        {"GET",    "MXS/Conductor/Shared/",                  Token, &Api::ListSharedConductors},
        {"GET",    "MXS/Conductor/Mines/",                   Token, &Api::ListConductors},
        {"POST",   "MXS/Conductor/Mines/",                   Token, &Api::CreateConductor},
        {"DELETE", "MXS/Conductor/Mines/{id}",               Token, &Api::DeleteConductor},
        {"GET",    "MXS/Conductor/Mines/{id}/Config",        Token, &Api::GetConductorConfig},
        {"PUT",    "MXS/Conductor/Mines/{id}/Config",        Token, &Api::SetConductorConfig},
        {"GET",    "MXS/Conductor/Mines/{id}/State",         Token, &Api::GetConductorState},
        {"PUT",    "MXS/Conductor/Mines/{id}/State",         Token, &Api::SetConductorState},
        {"GET",    "MXS/Conductor/Mines/{id}/Status",        Token, &Api::GetConductorStatus},

        {"GET",    "MXS/CpuCore/",                           Token, &Api::ListCores},
        {"GET",    "MXS/CpuCore/{id}/Status",                Token, &Api::GetCoreStatus},

        {"GET",    "MXS/NetIf/",                             Token, &Api::ListInterfaces},
        {"GET",    "MXS/NetIf/{id}/Config",                  Token, &Api::GetInterfaceConfig},
        {"PUT",    "MXS/NetIf/{id}/Config",                  Token, &Api::SetInterfaceConfig},
        {"GET",    "MXS/NetIf/{id}/Status",                  Token, &Api::GetInterfaceStatus},
        {"GET",    "MXS/NetIf/{id}/UdpPortDrop/",            Token, &Api::ListPortDrops},
        {"PUT",    "MXS/NetIf/{id}/UdpPortDrop/{port}",      Token, &Api::AddPortDrop},
        {"DELETE", "MXS/NetIf/{id}/UdpPortDrop/{port}",      Token, &Api::RemovePortDrop},
        {"GET",    "MXS/NetIf/{id}/UdpPortDrop/{port}",      Token, &Api::GetPortDrop},

        {"GET",    "MXS/Stream/Shared/",                     Token, &Api::ListSharedStreams},
        {"GET",    "MXS/Stream/Mines/",                      Token, &Api::ListStreams},
        {"POST",   "MXS/Stream/Mines/",                      Token, &Api::CreateStream},
        {"DELETE", "MXS/Stream/Mines/{id}",                  Token, &Api::DeleteStream},
        {"GET",    "MXS/Stream/Mines/{id}/Config/Common",    Token, &Api::GetStreamCommonConfig},
        {"PUT",    "MXS/Stream/Mines/{id}/Config/Common",    Token, &Api::SetStreamCommonConfig},
        {"GET",    "MXS/Stream/Mines/{id}/Config/Essence",   Token, &Api::GetStreamEssenceConfig},
        {"PUT",    "MXS/Stream/Mines/{id}/Config/Essence",   Token, &Api::SetStreamEssenceConfig},
        {"GET",    "MXS/Stream/Mines/{id}/Config/Network",   Token, &Api::GetStreamNetworkConfig},
        {"PUT",    "MXS/Stream/Mines/{id}/Config/Network",   Token, &Api::SetStreamNetworkConfig},
        {"GET",    "MXS/Stream/Mines/{id}/Status/Common",    Token, &Api::GetStreamCommonStatus},
        {"GET",    "MXS/Stream/Mines/{id}/Status/Essence",   Token, &Api::GetStreamEssenceStatus},
        {"GET",    "MXS/Stream/Mines/{id}/Status/Network",   Token, &Api::GetStreamNetworkStatus},
        {"GET",    "MXS/Stream/Mines/{id}/State",            Token, &Api::GetStreamState},
        {"PUT",    "MXS/Stream/Mines/{id}/State",            Token, &Api::SetStreamState},

        {"GET",    "MXS/PtpApi/Config",                      Token, &Api::GetPtpConfig},
        {"PUT",    "MXS/PtpApi/Config",                      Token, &Api::SetPtpConfig},
        {"GET",    "MXS/PtpApi/Status",                      Token, &Api::GetPtpStatus},
    };
    return kRoutes;
}
// clang-format on

HttpAnswer Api::Handle(const HttpRequest& request)
{
    try
    {
        HttpAnswer answer = Dispatch(request);
        S.log.Debug(request.method + " " + request.target + " " + std::to_string(answer.status));
        return answer;
    }
    catch (const Refusal& refusal)
    {
        return Fail(request, refusal);
    }
    catch (const std::bad_alloc&)
    {
        return Fail(request, {kUnavailable, "The service has no memory for this request."});
    }
    catch (const std::exception& error)
    {
        S.log.Error(request.method + " " + request.target + " failed: " + error.what());
        return Fail(request, {kOperationFailed, "The service failed: " + std::string(error.what())});
    }
}

HttpAnswer Api::Dispatch(const HttpRequest& request)
{
    static const auto kPatterns = []
    {
        std::vector<std::vector<std::string_view>> patterns;
        for (const Route& route : Routes())
            patterns.push_back(Segments(route.path));
        return patterns;
    }();

    const auto arrival = std::chrono::steady_clock::now();
    const std::string_view path = std::string_view(request.target).substr(0, request.target.find('?'));
    if (!path.starts_with(kBase) || !path.substr(kBase.size()).starts_with(kVersion))
        throw Refusal(kBadPath, "There is nothing at this path; resources stand below /api/x-mxs/v1.0/.");
    const std::vector<std::string_view> segments = Segments(path.substr(kBase.size() + kVersion.size()));

    Call call{request, {}, nullptr};
    const Route* chosen = nullptr;
    std::string allowed;
    for (size_t place = 0; place < kPatterns.size() && !chosen; ++place)
    {
        const Route& route = Routes()[place];
        if (!Matches(kPatterns[place], segments, call.parameters)) continue;
        allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
        if (route.method == request.method) chosen = &route;
    }
    if (!chosen && allowed.empty()) throw Refusal(kBadPath, "There is no resource at this path.");
    if (!chosen)
    {
        HttpAnswer answer = Fail(request, {kBadMethod, "This resource takes " + allowed + " only."});
        answer.allow = allowed;
        return answer;
    }

    std::shared_lock<std::shared_mutex> guard;
    if (chosen->access != Access::Open) call.context = S.contexts.FindByToken(request.authorization);
    if (chosen->access == Access::Token)
    {
        guard = std::shared_lock(call.context->Guard);
        if (call.context->Removed) throw Refusal(kContextRemoved, "The context of this token has been removed.");
    }
    const auto start = std::chrono::steady_clock::now();
    struct Meter // counts a request that is refused as well
    {
        ProcessingMeter& meter;
        std::chrono::steady_clock::time_point arrival, start;
        ~Meter() { meter.Note(start - arrival, std::chrono::steady_clock::now() - start); }
    } meter{S.meter, arrival, start};
    return (this->*chosen->handler)(call);
}

HttpAnswer Api::Fail(const HttpRequest& request, const Refusal& refusal)
{
    S.log.Info(request.method + " " + request.target + " is refused with " + std::to_string(refusal.Code) + ": " +
               refusal.Message);
    HttpAnswer answer = ErrorAnswer(refusal);
    const std::string errors = std::string(kBase) + std::string(kVersion) + "MXS/Error/";
    if (S.errorStyle == ErrorStyle::Redirect && !request.target.starts_with(errors))
    {
        // Absolute, unlike a creation's: clients cut off as many characters as their base URL has.
        answer.status = 303;
        answer.location = "http://" + request.host + errors + S.errors.Keep({refusal.Message, refusal.Code});
    }
    return answer;
}

uint64_t Api::Call::Id(size_t place) const
{
    const std::optional<uint64_t> id = ParseId(parameters.at(place));
    if (!id) throw Refusal(kBadPath, "The path needs an identifier of 16 hexadecimal digits here.");
    return *id;
}

HttpAnswer Api::GetServiceStatus(const Call&)
{
    ServiceStatus status{kMxsVersion, CFlowRail::GetVersion(), true, S.meter.Read()};
    status.processing.threadCount = S.countThreads();
    return Ok(status);
}

HttpAnswer Api::GetError(const Call& call)
{
    const std::optional<ServerError> error = S.errors.Find(call.parameters.at(0));
    if (!error) throw Refusal(kBadPath, "There is no such error, or no longer.");
    return Ok(*error);
}

HttpAnswer Api::Authenticate(const Call& call)
{
    const ContextIdentity identity = call.Read<ContextIdentity>();
    HttpAnswer answer;
    if (identity.contextId == 0)
    {
        const std::shared_ptr<Context> context = S.contexts.Create();
        S.log.Info("Context " + IdText(context->Id) + " is created.");
        answer = Created("MXS/ContextManager/Context/", context->Id);
        answer.authorization = SecretText(context->Token); // bare, and sent back as it is
        return answer;
    }
    // A context is taken up again by whoever holds its token, and by nobody else.
    const std::optional<Secret> token = ParseSecret(call.request.authorization);
    const std::shared_ptr<Context> context = token ? S.contexts.FindByToken(call.request.authorization) : nullptr;
    if (!context || context->Id != identity.contextId)
        throw Refusal(kForeignContext, "The context " + IdText(identity.contextId) + " is not the caller's.");
    S.contexts.Tick(*context);
    answer.authorization = SecretText(context->Token);
    return answer;
}

HttpAnswer Api::Tick(const Call& call)
{
    S.contexts.Tick(*call.context);
    return Done();
}

HttpAnswer Api::GetWatchdog(const Call&)
{
    const auto seconds = std::chrono::ceil<std::chrono::seconds>(S.contexts.TimeToLive());
    return Ok(ContextTtl{static_cast<uint64_t>(seconds.count())});
}

HttpAnswer Api::ListContexts(const Call& call)
{
    return Ok(IdList{{call.Owner()}}); // its own alone
}

HttpAnswer Api::GetContext(const Call& call)
{
    if (call.Id(0) != call.Owner()) throw Refusal(kForeignResource, "This is not the context of the token.");
    return Ok(ContextLastAccess{call.context->LastAccessNs});
}

HttpAnswer Api::DeleteContext(const Call& call)
{
    if (call.Id(0) != call.Owner()) throw Refusal(kForeignResource, "This is not the context of the token.");
    if (!S.removeContext(call.context)) throw Refusal(kContextRemoved, "The context of this token has been removed.");
    return Done();
}

HttpAnswer Api::GetPtpConfig(const Call&)
{
    return Ok(S.ptp.GetConfig());
}

HttpAnswer Api::SetPtpConfig(const Call& call)
{
    const ptp::Config config = call.Read<ptp::Config>();
    if (const std::optional<std::string> why = ptp::WhyRefused(config)) throw Refusal(kIncorrectConfiguration, *why);
    if (!S.interfaces.HasName(config.interfaceName))
        throw Refusal(kUnknownResource, "There is no interface " + config.interfaceName + ".");
    try
    {
        S.ptp.SetConfig(config);
    }
    catch (const std::system_error&)
    {
        throw Refusal(kUnavailable, "The system gives no thread for the PTP daemon.");
    }
    return Done();
}

HttpAnswer Api::GetPtpStatus(const Call&)
{
    return Ok(PtpReport{S.ptp.GetStatus(), S.clock.Read(), S.clock.TaiNs()});
}

std::shared_ptr<Conductor> Api::ConductorOf(const Call& call) const
{
    return S.conductors.Find(call.Id(0), call.Owner());
}

HttpAnswer Api::ListSharedConductors(const Call&)
{
    return Ok(IdList{S.conductors.Shared()});
}

HttpAnswer Api::ListConductors(const Call& call)
{
    return Ok(IdList{S.conductors.Mines(call.Owner())});
}

HttpAnswer Api::CreateConductor(const Call& call)
{
    bool attached = false;
    const auto conductor = S.conductors.Create(call.Read<ConductorCreate>(), call.Owner(), attached);
    HttpAnswer answer = Created("MXS/Conductor/Mines/", conductor->Id);
    if (attached) answer.status = 200; // nothing new: it works under Mines already
    return answer;
}

HttpAnswer Api::DeleteConductor(const Call& call)
{
    S.conductors.Delete(call.Id(0), call.Owner());
    return Done();
}

HttpAnswer Api::GetConductorConfig(const Call& call)
{
    return Ok(ConductorOf(call)->GetConfig());
}

HttpAnswer Api::SetConductorConfig(const Call& call)
{
    const auto conductor = ConductorOf(call);
    conductor->SetConfig(call.Read<ConductorConfig>());
    return Done();
}

HttpAnswer Api::GetConductorState(const Call& call)
{
    return Ok(ConductorOf(call)->GetState());
}

HttpAnswer Api::SetConductorState(const Call& call)
{
    const auto conductor = ConductorOf(call);
    const auto state = call.Read<ConductorState>();
    const bool before = conductor->GetState().started;
    conductor->SetState(state, call.Owner());
    if (before != state.started)
        S.log.Info("Conductor " + IdText(conductor->Id) + (state.started ? " is started." : " is stopped."));
    return Done();
}

HttpAnswer Api::GetConductorStatus(const Call& call)
{
    return Ok(ConductorOf(call)->GetStatus());
}

HttpAnswer Api::ListCores(const Call&)
{
    return Ok(IdList{S.cores.List()});
}

HttpAnswer Api::GetCoreStatus(const Call& call)
{
    std::optional<CpuCoreStatus> status = S.cores.Status(call.Id(0));
    if (!status) throw Refusal(kUnknownResource, "There is no core " + IdText(call.Id(0)) + ".");
    if (status->availability == CoreAvailability::Available && S.conductors.UsesCore(call.Id(0)))
        status->availability = CoreAvailability::AlreadyUsed;
    return Ok(*status);
}

uint64_t Api::InterfaceOf(const Call& call) const
{
    const uint64_t id = call.Id(0);
    if (!S.interfaces.NameOf(id)) throw Refusal(kUnknownResource, "There is no interface " + IdText(id) + ".");
    return id;
}

uint16_t Api::PortOf(const Call& call) const
{
    const uint64_t port = call.Id(1); // ports travel in the form of identifiers
    if (port > UINT16_MAX) throw Refusal(kIncorrectConfiguration, "The path names no UDP port; they end at 65535.");
    return static_cast<uint16_t>(port);
}

HttpAnswer Api::ListInterfaces(const Call&)
{
    return Ok(IdList{S.interfaces.List()});
}

HttpAnswer Api::GetInterfaceConfig(const Call& call)
{
    return Ok(S.interfaces.Config(InterfaceOf(call)).value_or(InterfaceConfig{}));
}

HttpAnswer Api::SetInterfaceConfig(const Call& call)
{
    InterfaceOf(call);
    (void)call.Read<InterfaceConfig>();
    throw Refusal(kNotPermitted, "The addresses of interfaces belong to the operating system.");
}

HttpAnswer Api::GetInterfaceStatus(const Call& call)
{
    const std::optional<InterfaceStatus> status = S.interfaces.Status(call.Id(0));
    if (!status) throw Refusal(kUnknownResource, "There is no interface " + IdText(call.Id(0)) + ".");
    return Ok(*status);
}

HttpAnswer Api::ListPortDrops(const Call& call)
{
    return Ok(IdList{S.drops.Ports(InterfaceOf(call))});
}

HttpAnswer Api::AddPortDrop(const Call& call)
{
    const uint64_t interfaceId = InterfaceOf(call);
    const uint16_t port = PortOf(call);
    HttpAnswer answer;
    if (!S.drops.Add(interfaceId, port)) return answer;
    S.log.Info("UDP port " + std::to_string(port) + " of interface " + IdText(interfaceId) + " is dropped.");
    answer.status = 201;
    return answer;
}

HttpAnswer Api::RemovePortDrop(const Call& call)
{
    const uint64_t interfaceId = InterfaceOf(call);
    const uint16_t port = PortOf(call);
    if (!S.drops.Remove(interfaceId, port))
        throw Refusal(kUnknownPortDrop, "The UDP port " + std::to_string(port) + " is not dropped.");
    S.log.Info("UDP port " + std::to_string(port) + " of interface " + IdText(interfaceId) + " is allowed.");
    return Done();
}

HttpAnswer Api::GetPortDrop(const Call& call)
{
    const uint64_t interfaceId = InterfaceOf(call);
    const uint16_t port = PortOf(call);
    if (!S.drops.IsDropped(interfaceId, port))
        throw Refusal(kUnknownPortDrop, "The UDP port " + std::to_string(port) + " is not dropped.");
    return Done();
}

std::shared_ptr<Stream> Api::StreamOf(const Call& call) const
{
    return S.streams.Find(call.Id(0), call.Owner());
}

HttpAnswer Api::ListSharedStreams(const Call&)
{
    return Ok(IdList{S.streams.Shared()});
}

HttpAnswer Api::ListStreams(const Call& call)
{
    return Ok(IdList{S.streams.Mines(call.Owner())});
}

HttpAnswer Api::CreateStream(const Call& call)
{
    return Created("MXS/Stream/Mines/", S.streams.Create(call.Read<StreamCreate>(), call.Owner())->Id);
}

HttpAnswer Api::DeleteStream(const Call& call)
{
    S.streams.Delete(call.Id(0), call.Owner());
    return Done();
}

HttpAnswer Api::GetStreamCommonConfig(const Call& call)
{
    return Ok(StreamOf(call)->GetCommonConfig());
}

HttpAnswer Api::SetStreamCommonConfig(const Call& call)
{
    const auto stream = StreamOf(call);
    stream->SetCommonConfig(call.Read<media::CommonConfig>());
    return Done();
}

HttpAnswer Api::GetStreamEssenceConfig(const Call& call)
{
    return Ok(StreamOf(call)->GetEssenceConfig());
}

HttpAnswer Api::SetStreamEssenceConfig(const Call& call)
{
    const auto stream = StreamOf(call);
    stream->SetEssenceConfig(call.Read(DefaultEssence(EssenceTypeOf(stream->GetEssenceConfig()))));
    return Done();
}

HttpAnswer Api::GetStreamNetworkConfig(const Call& call)
{
    return Ok(StreamOf(call)->GetNetworkConfig());
}

HttpAnswer Api::SetStreamNetworkConfig(const Call& call)
{
    const auto stream = StreamOf(call);
    stream->SetNetworkConfig(call.Read<media::NetworkConfig>());
    return Done();
}

HttpAnswer Api::GetStreamCommonStatus(const Call& call)
{
    return Ok(StreamOf(call)->GetCommonStatus());
}

HttpAnswer Api::GetStreamEssenceStatus(const Call& call)
{
    return Ok(StreamOf(call)->GetEssenceStatus());
}

HttpAnswer Api::GetStreamNetworkStatus(const Call& call)
{
    return Ok(StreamOf(call)->GetNetworkStatus());
}

HttpAnswer Api::GetStreamState(const Call& call)
{
    return Ok(StreamOf(call)->GetState());
}

HttpAnswer Api::SetStreamState(const Call& call)
{
    const auto stream = StreamOf(call);
    stream->SetState(call.Read<StreamState>());
    return Done();
}

} // namespace mxs

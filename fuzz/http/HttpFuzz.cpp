// Requests to the service, one after another, by two applications that have a context each. The control side is the
// service's own; in the place of its media stand a loop and streams that move nothing.
//
// The input: one byte of bits (1: failures are redirected, 2: no stream can be started, 4: there is no memory for one,
// 8: the rings of those that are started are cut at once), then requests, each ended by a NUL. The first line of a
// request is "method target authorization host", the rest is its body. As authorization "A" stands for the token of the
// first context, "B" for that of the second, and so on; the target "!" for where the last redirect pointed. Without a
// host the request is to localhost.
#include "mxs/Api.h"
#include "mxs/HttpServer.h"
#include "mxs/MemoryBudget.h"
#include "mxs/ptp/Ptp4lConfig.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace mxs;

namespace
{

void Require(bool holds)
{
    if (!holds) std::abort();
}

struct MediaSide
{
    bool refuses = false;
    bool hasNoMemory = false;
    bool isDamaged = false;
    int running = 0;
};
MediaSide Media; // of the input at hand

class IdleStream final : public media::MediaStream
{
public:
    explicit IdleStream(const media::CommonConfig& common) : Common(common) {}
    ~IdleStream() override { Stop(); }

    media::Outcome Start(media::ConductorLoop& conductor) override
    {
        Require(conductor.IsRunning() && !Running);
        if (Media.hasNoMemory) throw std::bad_alloc();
        if (Media.refuses) return {kUnavailable, "There is no socket."};
        Running = true;
        ++Media.running;
        return {};
    }
    void Stop() override { Media.running -= std::exchange(Running, false); }
    bool IsRunning() const override { return Running; }
    bool IsDamaged() const override { return Running && Media.isDamaged; }
    std::multimap<std::string, std::string> RailDescription() const override
    {
        if (!Running) return {};
        return {{"Name", "/idle"}, {"SlotCount", std::to_string(Common.queueDepth)}};
    }
    media::NetworkCounters Counters() const override { return {.transferredPackets = 7, .paths = {{4, 0}, {3, 1}}}; }
    media::ProcessingTimes Times() const override { return {1, 3, 2}; }
    uint32_t SlotsDropped() const override { return 5; }
    bool BufferDelayed() const override { return Running; }

private:
    const media::CommonConfig Common;
    bool Running = false;
};

} // namespace

namespace mxs::media
{

std::unique_ptr<MediaStream> MakeMediaStream(Direction, const CommonConfig& common, const NetworkConfig&,
                                             const EssenceConfig&, const MediaSettings&, const PortDropRules&)
{
    return std::make_unique<IdleStream>(common);
}

struct ConductorLoop::State
{
    bool running = false;
};

ConductorLoop::ConductorLoop() : Inner(std::make_unique<State>()) {}
ConductorLoop::~ConductorLoop() = default;
bool ConductorLoop::Start(uint32_t)
{
    return Inner->running = true;
}
void ConductorLoop::Stop()
{
    Inner->running = false;
}
bool ConductorLoop::IsRunning() const
{
    return Inner->running;
}
double ConductorLoop::LoadPercent() const
{
    return 12.5;
}
uint64_t ConductorLoop::ThroughputBitsPerSecond() const
{
    return 1000000000;
}
uint64_t ConductorLoop::TotalPackets() const
{
    return 7;
}

} // namespace mxs::media

namespace
{

constexpr uint64_t kMemoryBytes = 64 << 20;
constexpr size_t kMostContexts = 4, kMostConductors = 4, kMostStreams = 5, kKeptErrors = 3;

const Log& CheckedLog() // a line that a terminal can be shown
{
    static const Log log(LogLevel::Debug,
                         [](LogLevel, std::string_view line) {
                             Require(std::none_of(line.begin(), line.end(), [](char c) { return c >= 0 && c < ' '; }));
                         });
    return log;
}

struct Inventories // of the machine, which no request changes
{
    CoreInventory cores;
    InterfaceInventory interfaces;
};

Inventories& Machine()
{
    static Inventories machine;
    return machine;
}

// What the service puts together, in its order.
class Rig
{
public:
    explicit Rig(ErrorStyle style)
        : Contexts(std::chrono::minutes(5), kMostContexts, CheckedLog()),
          Conductors(Machine().cores, kMostConductors, CheckedLog()), Ptp({}, Clock),
          Streams({Conductors, Machine().cores, Machine().interfaces, Drops, Memory, {}, CheckedLog()}, kMostStreams),
          Errors(kKeptErrors, std::chrono::minutes(1)),
          Resources({.contexts = Contexts,
                     .conductors = Conductors,
                     .cores = Machine().cores,
                     .interfaces = Machine().interfaces,
                     .drops = Drops,
                     .streams = Streams,
                     .ptp = Ptp,
                     .clock = Clock,
                     .errors = Errors,
                     .meter = Meter,
                     .removeContext = [this](const std::shared_ptr<Context>& context) { return Remove(context); },
                     .countThreads = [] { return 1U; },
                     .errorStyle = style,
                     .log = CheckedLog()})
    {
        // The first context has a conductor that runs and a stream of each essence, the second a shared conductor.
        const uint64_t own = AddContext(), other = AddContext();
        bool attached = false;
        const auto conductor = Conductors.Create({}, own, attached);
        for (const uint64_t core : Machine().cores.List())
            if (!conductor->GetConfig().cpuCoreId && Machine().cores.MayRunOn(core)) conductor->SetConfig({core});
        conductor->SetState({.started = true}, own);
        Conductors.Create({.shared = true}, other, attached);
        for (const uint32_t essence : {1U, 2U, 3U})
            Streams.Create({.direction = essence == 2 ? media::Direction::Send : media::Direction::Receive,
                            .essence = essence,
                            .shared = essence == 1},
                           own);
    }

    void TakeToken(const std::string& token)
    {
        if (std::find(Tokens.begin(), Tokens.end(), token) == Tokens.end()) Tokens.push_back(token);
    }

    // What is left when all contexts have gone.
    void End()
    {
        for (const std::shared_ptr<Context>& context : Contexts.All())
            Require(Remove(context));
        Require(Conductors.All().empty() && Streams.Shared().empty());
        Require(Media.running == 0);
        Require(Memory.Take(kMemoryBytes));
    }

    MemoryBudget Memory{kMemoryBytes};
    PortDropStore Drops;
    ProcessingMeter Meter;
    ContextStore Contexts;
    ConductorStore Conductors;
    ptp::ServiceClock Clock;
    ptp::PtpDaemon Ptp; // has no programs
    StreamStore Streams;
    ErrorVault Errors;
    Api Resources;
    std::vector<std::string> Tokens;
    std::string LastRedirect;

private:
    uint64_t AddContext()
    {
        const std::shared_ptr<Context> context = Contexts.Create();
        TakeToken(SecretText(context->Token));
        return context->Id;
    }
    bool Remove(const std::shared_ptr<Context>& context)
    {
        if (!Contexts.Remove(context)) return false;
        Streams.DeleteAll(context->Id);
        Conductors.DetachAll(context->Id);
        return true;
    }
};

std::string_view TakeUntil(std::string_view& rest, char end)
{
    const std::string_view piece = rest.substr(0, rest.find(end));
    rest.remove_prefix(std::min(piece.size() + 1, rest.size()));
    return piece;
}

HttpRequest ReadRequest(std::string_view text, const Rig& rig)
{
    std::string_view line = TakeUntil(text, '\n');
    HttpRequest request;
    request.body = text;
    request.method = TakeUntil(line, ' ');
    request.target = TakeUntil(line, ' ');
    request.authorization = TakeUntil(line, ' ');
    request.host = line.empty() ? "localhost" : line;
    if (request.target == "!") request.target = rig.LastRedirect;
    const size_t context =
        request.authorization.size() == 1 ? static_cast<uint8_t>(request.authorization[0]) - 'A' : 99;
    if (context < rig.Tokens.size()) request.authorization = rig.Tokens[context];
    return request;
}

void CheckError(const HttpAnswer& answer, const Json& document)
{
    const uint32_t code = document.at("ErrCode").get<uint32_t>();
    const auto& message = document.at("ErrMsg").get_ref<const std::string&>();
    Require(!message.starts_with("The service failed: ")); // something was thrown that nobody expects
    Require(answer.status == 303 || answer.status == StatusOf(code));
    Require((code == kBadMethod) == !answer.allow.empty());
}

void CheckAnswer(const HttpRequest& request, const HttpAnswer& answer)
{
    const Json document = Json::parse(answer.body); // takes no text that is not UTF-8
    Require(document.is_object());
    const bool isPost = request.method == "POST";
    if (answer.status == 201 && isPost) Require(answer.location.starts_with("v1.0/MXS/"));
    if (answer.status == 201 && !isPost) Require(answer.location.empty());
    if (answer.status != 200 && answer.status != 201) CheckError(answer, document);
    if (answer.status == 303)
        Require(answer.location.starts_with("http://" + request.host + "/api/x-mxs/v1.0/MXS/Error/"));
}

// A configuration that was taken is given back, and is taken again as it was given.
void CheckTaken(Rig& rig, HttpRequest request)
{
    HttpRequest get = request;
    get.method = "GET";
    get.body.clear();
    const HttpAnswer given = rig.Resources.Handle(get);
    Require(given.status == 200);
    request.body = given.body;
    Require(rig.Resources.Handle(request).status == 200);
    Require(rig.Resources.Handle(get).body == given.body);
}

// What would be written for ptp4l: its global options, and the interface, whose name adds no line and no section.
void CheckPtpFile(const ptp::Config& config)
{
    const std::string text = ptp::Ptp4lText(config, {"/socket", "/read-only", true});
    Require(text.starts_with("[global]\n") && text.ends_with("\n[" + config.interfaceName + "]\n"));
    Require(std::count(text.begin(), text.end(), '[') == 2);
    Require(std::all_of(text.begin(), text.end(), [](char c) { return c == '\n' || (c >= ' ' && c < 127); }));
    Require(config.interfaceName.find_first_of(" \n/") == std::string::npos);
}

void Exchange(Rig& rig, HttpRequest request)
{
    if (!IsPermitted(request, 1)) return;
    const HttpAnswer answer = rig.Resources.Handle(request);
    CheckAnswer(request, answer);
    if (answer.status == 303) rig.LastRedirect = answer.location.substr(std::string("http://" + request.host).size());
    if (!answer.authorization.empty()) rig.TakeToken(answer.authorization);
    if (answer.status == 200 && request.method == "PUT" && request.target.find("/Config") != std::string::npos)
    {
        CheckTaken(rig, request);
        if (request.target.find("/PtpApi/") != std::string::npos) CheckPtpFile(rig.Ptp.GetConfig());
    }
    rig.Streams.StopDamaged(); // as the service does now and then
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0) return 0;
    Media = {.refuses = (data[0] & 2) != 0, .hasNoMemory = (data[0] & 4) != 0, .isDamaged = (data[0] & 8) != 0};
    Rig rig(data[0] & 1 ? ErrorStyle::Redirect : ErrorStyle::Body);
    std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    while (!rest.empty())
        Exchange(rig, ReadRequest(TakeUntil(rest, '\0'), rig));
    rig.End();
    return 0;
}

// The states of a stream and what each step asks of conductor, memory and media.
#include "mxs/Stream.h"

#include "mxs/Documents.h"
#include "mxs/Refusal.h"

#include <algorithm>
#include <utility>

namespace mxs
{

namespace
{

void Require(const media::Outcome& outcome)
{
    if (outcome.Failed()) throw Refusal(outcome.code, outcome.message);
}

// Of a stream with several paths, what each of them carried.
std::string TextOf(const std::vector<media::PathStatus>& paths)
{
    std::string text;
    if (paths.size() < 2) return text;
    for (size_t path = 0; path < paths.size(); ++path)
        text += (path == 0 ? "; path 1: " : ", path " + std::to_string(path + 1) + ": ") +
                std::to_string(paths[path].transferred) + " packets and " + std::to_string(paths[path].lost) + " lost";
    return text;
}

} // namespace

Stream::Stream(uint64_t id, uint64_t contextId, const StreamCreate& create, const StreamServices& services)
    : Id(id), ContextId(contextId), Shared(create.shared), Direction(create.direction), Services(services),
      Essence(DefaultEssence(create.essence))
{
    Common.numaNode = kUnknownNumaNode;
    if (!media::CheckEssence(Direction, Essence).Failed()) Layout = media::LayoutOf(Essence);
}

Stream::~Stream()
{
    End();
}

void Stream::End()
{
    const std::lock_guard change(Changing);
    const std::lock_guard lock(Mutex);
    Ended = true;
    if (Now == State::Started) Stop();
    if (Now == State::Opened) Close();
}

media::CommonConfig Stream::GetCommonConfig() const
{
    const std::lock_guard lock(Mutex);
    return Common;
}

media::NetworkConfig Stream::GetNetworkConfig() const
{
    const std::lock_guard lock(Mutex);
    return Network;
}

media::EssenceConfig Stream::GetEssenceConfig() const
{
    const std::lock_guard lock(Mutex);
    return Essence;
}

void Stream::SetCommonConfig(const media::CommonConfig& config)
{
    const std::lock_guard lock(Mutex);
    RequireClosed();
    if (config.queueDepth == 0)
        throw Refusal(kIncorrectConfiguration,
                      "The key \"ApplicativeBufferQueueDepth\" is 0; a ring has a slot at least.");
    if (config.queueDepth > media::kMostQueueDepth)
        throw Refusal(kIncorrectConfiguration, "The key \"ApplicativeBufferQueueDepth\" is " +
                                                   std::to_string(config.queueDepth) + "; a ring has " +
                                                   std::to_string(media::kMostQueueDepth) + " slots at most.");
    for (const uint64_t core : config.cpuCores)
        if (!Services.cores.SystemNumber(core))
            throw Refusal(kIncorrectConfiguration, "The key \"CpuCores\" names no core: " + IdText(core) + ".");
    if (!Services.conductors.FindOrNull(config.conductorId, ContextId))
        throw Refusal(kForeignResource, "The key \"ConductorID\" names no conductor of this context: " +
                                            IdText(config.conductorId) + ".");
    Common = config;
}

void Stream::SetNetworkConfig(media::NetworkConfig config)
{
    const std::lock_guard lock(Mutex);
    RequireClosed();
    ResolveInterfaces(config);
    Require(media::CheckNetwork(Direction, config));
    Network = std::move(config);
}

void Stream::SetEssenceConfig(const media::EssenceConfig& config)
{
    const std::lock_guard lock(Mutex);
    RequireClosed();
    Require(media::CheckEssence(Direction, config));
    Layout = media::LayoutOf(config);
    Essence = config;
}

StreamState Stream::GetState() const
{
    const std::lock_guard lock(Mutex);
    return {.started = Now == State::Started, .opened = Now != State::Closed};
}

void Stream::SetState(const StreamState& target)
{
    if (target.started && !target.opened)
        throw Refusal(kIncorrectConfiguration, "A stream that is started is opened: \"Opened\" cannot be false.");
    const State wanted = target.started ? State::Started : target.opened ? State::Opened : State::Closed;

    // Who waited here would keep a thread of the service from others for as long as a ring takes to be made.
    const std::unique_lock change(Changing, std::try_to_lock);
    if (!change) throw Refusal(kBusy, "The state of the stream is being changed by another request.");
    const std::lock_guard lock(Mutex);
    if (Ended) throw Refusal(kUnknownResource, "The stream has been deleted by another request.");
    if (wanted == Now) return;
    if (wanted == State::Opened) return Now == State::Closed ? Open() : Stop();
    if (Now != State::Opened)
        throw Refusal(kWrongState, Now == State::Closed
                                       ? "The stream is closed; it must be opened before it is started."
                                       : "The stream is started; it must be stopped before it is closed.");
    wanted == State::Started ? Start() : Close();
}

void Stream::StopIfDamaged()
{
    const std::unique_lock lock(Mutex, std::try_to_lock); // a start that is under way holds it for long
    if (!lock || Now != State::Started || !Media->IsDamaged()) return;
    Services.log.Error(Name() + " has to be stopped: another program cut the file of its ring short.");
    Stop();
    RingWasCut = true;
}

StreamCommonStatus Stream::GetCommonStatus() const
{
    const std::lock_guard lock(Mutex);
    RequireWholeRing();
    StreamCommonStatus status;
    if (!Media) return status;
    status.rail.description = Media->RailDescription();
    status.times = Media->Times();
    status.bufferDelayed = Media->BufferDelayed();
    return status;
}

EssenceStatus Stream::GetEssenceStatus() const
{
    const std::lock_guard lock(Mutex);
    return {EssenceTypeOf(Essence), Layout, Media ? Media->SlotsDropped() : 0};
}

media::NetworkCounters Stream::GetNetworkStatus() const
{
    const std::lock_guard lock(Mutex);
    RequireWholeRing();
    return Media ? Media->Counters() : media::NetworkCounters{};
}

std::string Stream::Name() const
{
    return "Stream " + IdText(Id);
}

void Stream::RequireClosed() const
{
    if (Now != State::Closed)
        throw Refusal(kOfflineProperty, "The stream is not closed; its configuration cannot be changed.");
}

void Stream::RequireWholeRing() const
{
    if (RingWasCut)
        throw Refusal(kOperationFailed,
                      "The stream was stopped because another program cut the file of its ring short; start it again.");
}

void Stream::ResolveInterfaces(media::NetworkConfig& config) const
{
    for (media::ConnectionConfig& connection : config.connections)
    {
        const std::optional<std::string> name = Services.interfaces.NameOf(connection.networkInterfaceId);
        if (!name)
            throw Refusal(kIncorrectConfiguration, "The key \"NetworkInterfaceID\" names no interface: " +
                                                       IdText(connection.networkInterfaceId) + ".");
        const std::vector<InterfaceConfig> addresses = Services.interfaces.Addresses(connection.networkInterfaceId);
        connection.interfaceName = *name;
        connection.interfaceAddress = addresses.empty() ? 0 : addresses.front().ip;
        // On receive the address is no filter, and any will do.
        const auto isSource = [&](const InterfaceConfig& address) { return address.ip == connection.sourceIp; };
        if (Direction == media::Direction::Send && connection.sourceIp != 0 &&
            std::none_of(addresses.begin(), addresses.end(), isSource))
            throw Refusal(kIncorrectConfiguration,
                          "The key \"SourceIp\" is no address of the interface " + *name + ".");
    }
}

void Stream::Open()
{
    if (Common.conductorId != 0)
    {
        OpenedOn = Services.conductors.OpenOn(Common.conductorId, ContextId);
        if (!OpenedOn)
            throw Refusal(kIncorrectConfiguration,
                          "The conductor " + IdText(Common.conductorId) + " of the stream is gone.");
    }
    Now = State::Opened;
    Services.log.Info(Name() + " is opened.");
}

void Stream::Start()
{
    if (!OpenedOn) throw Refusal(kIncorrectConfiguration, "The stream has no common configuration yet.");
    if (Network.connections.empty()) throw Refusal(kIncorrectConfiguration, "The stream has no connection yet.");
    ResolveInterfaces(Network); // their addresses may have changed
    Require(media::CheckNetwork(Direction, Network));
    Require(media::CheckEssence(Direction, Essence));

    const uint64_t ringBytes = media::RingBytes(Layout.lockSize, Common.queueDepth);
    if (!Services.memory.Take(ringBytes))
        throw Refusal(kUnavailable, "A ring of " + std::to_string(ringBytes) +
                                        " bytes would pass the service's limit of " +
                                        std::to_string(Services.memory.LimitBytes()) + " bytes.");
    media::ConductorLoop* const loop = OpenedOn->BeginRunning(ContextId);
    media::Outcome outcome{kWrongState, "The conductor " + IdText(OpenedOn->Id) + " of the stream is not started."};
    if (loop) try
        {
            Media = media::MakeMediaStream(Direction, Common, Network, Essence, Services.settings, Services.drops);
            outcome = Media->Start(*loop);
        }
        catch (const std::bad_alloc&)
        {
            outcome = {kUnavailable, "There is no memory for the stream."};
        }
        catch (const std::exception& error)
        {
            outcome = {kUnavailable, std::string("The stream could not be started: ") + error.what() + "."};
        }
    if (outcome.Failed())
    {
        if (loop)
        {
            Media.reset();
            OpenedOn->EndRunning(ContextId);
        }
        Services.memory.GiveBack(ringBytes);
        Services.log.Error(Name() + " could not be started: " + outcome.message);
        throw Refusal(outcome.code, outcome.message);
    }
    RingBytes = ringBytes;
    RingWasCut = false;
    Now = State::Started;
    Services.log.Info(Name() + " is started with a ring of " + std::to_string(Common.queueDepth) + " slots of " +
                      std::to_string(Layout.lockSize) + " bytes.");
}

void Stream::Stop()
{
    Media->Stop();
    OpenedOn->EndRunning(ContextId);
    Services.memory.GiveBack(std::exchange(RingBytes, 0));
    Now = State::Opened;
    const media::NetworkCounters counters = Media->Counters();
    Services.log.Info(Name() + " is stopped: " + std::to_string(counters.transferredPackets) + " packets, " +
                      std::to_string(counters.lostPackets) + " lost, " + std::to_string(counters.drops) +
                      " slots dropped, " + std::to_string(counters.underruns) + " underruns" + TextOf(counters.paths) +
                      ".");
}

void Stream::Close()
{
    if (OpenedOn) OpenedOn->NoteOpened(ContextId, -1);
    OpenedOn.reset();
    RingWasCut = false;
    Now = State::Closed;
    Services.log.Info(Name() + " is closed.");
}

} // namespace mxs

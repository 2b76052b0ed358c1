// Puts the stores together and keeps house.
#include "mxs/Service.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace mxs
{

using namespace std::chrono_literals;

Service::Service(ServiceSettings settings, const Log& log)
    : Settings(std::move(settings)), Out(log), Memory(Settings.media.memoryLimitBytes),
      Contexts(Settings.contextTtl, Settings.contexts, log), Conductors(Cores, Settings.conductors, log),
      Ptp(ForPtp(), Clock), Streams(ForStreams(), Settings.streams), Errors(Settings.keptErrors, Settings.errorLife),
      Resources(ForApi()),
      Http(
          Settings.http, [this](const HttpRequest& request) { return Resources.Handle(request); }, log)
{
}

Service::~Service()
{
    Stop();
}

StreamServices Service::ForStreams()
{
    media::MediaSettings settings = Settings.media;
    if (!settings.log) settings.log = [this](const std::string& line) { Out.Warning(line); };
    if (!settings.clock) settings.clock = &Clock;
    return {Conductors, Cores, Interfaces, Drops, Memory, std::move(settings), Out};
}

ptp::PtpSettings Service::ForPtp()
{
    ptp::PtpSettings settings = Settings.ptp;
    if (!settings.log) settings.log = [this](const std::string& line) { Out.Info(line); };
    return settings;
}

ApiServices Service::ForApi()
{
    return {.contexts = Contexts,
            .conductors = Conductors,
            .cores = Cores,
            .interfaces = Interfaces,
            .drops = Drops,
            .streams = Streams,
            .ptp = Ptp,
            .clock = Clock,
            .errors = Errors,
            .meter = Meter,
            .removeContext = [this](const std::shared_ptr<Context>& context) { return RemoveContext(context); },
            .countThreads =
                [this]
            {
                uint32_t threads = Settings.http.threads;
                for (const std::shared_ptr<Conductor>& conductor : Conductors.All())
                    threads += conductor->GetState().started ? 1 : 0;
                return threads;
            },
            .errorStyle = Settings.errorStyle,
            .log = Out};
}

void Service::Start()
{
    Http.Start(Settings.port);
    Housekeeper = std::jthread([this](const std::stop_token& stop) { KeepHouse(stop); });
}

void Service::Stop()
{
    Housekeeper.request_stop();
    if (Housekeeper.joinable()) Housekeeper.join();
    Http.Stop();
    for (const std::shared_ptr<Context>& context : Contexts.All())
        RemoveContext(context);
    Ptp.Stop();
}

bool Service::RemoveContext(const std::shared_ptr<Context>& context)
{
    if (!Contexts.Remove(context)) return false;
    Streams.DeleteAll(context->Id);
    Conductors.DetachAll(context->Id);
    return true;
}

void Service::KeepHouse(const std::stop_token& stop)
{
    const auto period = std::clamp<std::chrono::milliseconds>(Settings.contextTtl / 4, 10ms, 1000ms);
    constexpr std::chrono::seconds kSamplePeriod{1};
    auto nextSample = std::chrono::steady_clock::now() + kSamplePeriod;
    std::mutex mutex;
    std::condition_variable_any wake;
    std::unique_lock lock(mutex); // cppcheck-suppress localMutex ; guards nothing: to wait for the stop takes a lock
    while (!stop.stop_requested())
    {
        wake.wait_for(lock, stop, period, [] { return false; });
        if (stop.stop_requested()) return;
        try
        {
            // One after another: while one is removed, which may take as long as a start, others may be ticked.
            while (const std::shared_ptr<Context> context = Contexts.FirstExpired())
            {
                Out.Warning("Context " + IdText(context->Id) + " was not ticked for its time to live.");
                RemoveContext(context);
            }
            Streams.StopDamaged();
            if (std::chrono::steady_clock::now() < nextSample) continue;
            nextSample = std::chrono::steady_clock::now() + kSamplePeriod;
            Cores.Sample();
            Interfaces.Sample();
            Meter.Sample();
        }
        catch (const std::exception& error) // out of memory: the next round may have more
        {
            Out.Error(std::string("Housekeeping failed: ") + error.what() + ".");
        }
    }
}

} // namespace mxs

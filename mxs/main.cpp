// mxsd: the service in the foreground, until SIGINT or SIGTERM.
#include "mxs/Rights.h"
#include "mxs/Service.h"
#include "mxs/ptp/ChildProcess.h"
#include "mxs/ptp/StateFolder.h"

#include <flowrail1.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <grp.h>
#include <iostream>
#include <mutex>
#include <optional>
#include <sched.h>
#include <string>
#include <string_view>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace
{

using namespace mxs;

constexpr const char* kUsage = R"(Usage: mxsd [options]

Serves ST 2110 streams to applications on this machine, over HTTP on 127.0.0.1 and ::1.
Runs in the foreground, logs to standard error, and writes its base URL to standard output.

  --port N               TCP port, 0 for a free one (default 7420)
  --error-style STYLE    body: failures answer with their record (default);
                         redirect: failures answer with a 303 that points to it
  --context-ttl SECONDS  a context that is not ticked for so long is removed (default 300)
  --multicast-ttl N      time to live of multicast packets where a stream asks for 0 (default 16)
  --rail-group GROUP     group whose members may open streams' memory besides this user
  --memory-limit BYTES   shared memory of all streams together; suffix K, M or G (default 8G)
  --longest-hold MS      longest standstill within a slot after which its rest is still sent (default 100; the slot's
                         period where that is longer)
  --discipline-clock     let the PTP daemon set and slew this machine's clock; otherwise it never does
  --log-level LEVEL      error, warning, info (default) or debug
  --remove-abandoned     remove the memory that killed services left behind, and end; every start does so too
  --help                 this text
)";

struct Options
{
    ServiceSettings service;
    LogLevel logLevel = LogLevel::Info;
    bool help = false;
    bool removeAbandoned = false;
};

// A decimal number from `least` to `most`.
std::optional<uint64_t> Number(std::string_view text, uint64_t least, uint64_t most)
{
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < least || number > most)
        return std::nullopt;
    return number;
}

std::optional<uint64_t> Bytes(std::string_view text)
{
    uint64_t unit = 1;
    for (const auto& [suffix, factor] :
         {std::pair{'K', 1ull << 10}, std::pair{'M', 1ull << 20}, std::pair{'G', 1ull << 30}})
        if (text.ends_with(suffix)) unit = factor;
    if (unit != 1) text.remove_suffix(1);
    const std::optional<uint64_t> number = Number(text, 1, UINT64_MAX / unit);
    return number ? std::optional(*number * unit) : std::nullopt;
}

std::optional<size_t> OneOf(std::string_view text, std::initializer_list<std::string_view> words)
{
    const auto* const found = std::find(words.begin(), words.end(), text);
    return found == words.end() ? std::nullopt : std::optional(static_cast<size_t>(found - words.begin()));
}

struct OptionRow
{
    std::string_view name;
    bool (*take)(std::string_view value, Options& options); // false: the value does not fit
};

template <class Value, class Target>
bool Assign(const std::optional<Value>& value, Target& target)
{
    if (value) target = static_cast<Target>(*value);
    return value.has_value();
}

constexpr OptionRow kOptions[] = {
    {"--port", [](std::string_view v, Options& o) { return Assign(Number(v, 0, 65535), o.service.port); }},
    {"--error-style",
     [](std::string_view v, Options& o) {
         return Assign(OneOf(v, {"body", "redirect"}), o.service.errorStyle);
     }},
    {"--context-ttl",
     [](std::string_view v, Options& o)
     {
         uint64_t seconds = 0;
         if (!Assign(Number(v, 1, 1000000000), seconds)) return false;
         o.service.contextTtl = std::chrono::seconds(seconds);
         return true;
     }},
    {"--multicast-ttl",
     [](std::string_view v, Options& o) { return Assign(Number(v, 1, 255), o.service.media.defaultMulticastTtl); }},
    {"--rail-group",
     [](std::string_view v, Options& o)
     {
         o.service.media.railGroup = v;
         return !v.empty() && (Number(v, 0, UINT32_MAX) || getgrnam(o.service.media.railGroup.c_str()));
     }},
    {"--memory-limit",
     [](std::string_view v, Options& o) { return Assign(Bytes(v), o.service.media.memoryLimitBytes); }},
    {"--longest-hold",
     [](std::string_view v, Options& o)
     {
         uint64_t milliseconds = 0;
         if (!Assign(Number(v, 1, 3600000), milliseconds)) return false;
         o.service.media.longestHoldNs = milliseconds * 1'000'000;
         return true;
     }},
    {"--log-level",
     [](std::string_view v, Options& o) {
         return Assign(OneOf(v, {"error", "warning", "info", "debug"}), o.logLevel);
     }},
};

// Options from "--name value" and "--name=value"; a sentence on standard error and nothing when they make no sense.
std::optional<Options> ReadOptions(int count, char** texts)
{
    Options options;
    for (int place = 1; place < count; ++place)
    {
        std::string_view name = texts[place];
        if (name == "--help" || name == "-h")
        {
            options.help = true;
            return options;
        }
        if (name == "--remove-abandoned")
        {
            options.removeAbandoned = true;
            continue;
        }
        if (name == "--discipline-clock")
        {
            options.service.ptp.disciplineClock = true;
            continue;
        }
        std::optional<std::string_view> value;
        if (const size_t equals = name.find('='); equals != std::string_view::npos)
        {
            value = name.substr(equals + 1);
            name = name.substr(0, equals);
        }
        const auto* const row = std::find_if(std::begin(kOptions), std::end(kOptions),
                                             [&](const OptionRow& entry) { return entry.name == name; });
        if (row == std::end(kOptions))
        {
            std::cerr << "mxsd: there is no option " << name << "; mxsd --help lists them.\n";
            return std::nullopt;
        }
        if (!value && place + 1 < count) value = texts[++place];
        if (!value || !row->take(*value, options))
        {
            std::cerr << "mxsd: " << (value ? "bad value \"" + std::string(*value) + "\" of" : "no value for")
                      << " option " << name << "; mxsd --help tells what it takes.\n";
            return std::nullopt;
        }
    }
    return options;
}

// Connections, sockets and rails each take a descriptor; the usual 1024 would be the tightest of the limits.
void RaiseDescriptorLimit(const Log& log)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) log.Warning("The limit of open files could not be raised.");
}

void RemoveAbandoned(const Log& log)
{
    if (const uint32_t removed = CFlowRailFactory::RemoveAbandoned(media::kRailNamePrefix); removed > 0)
        log.Warning("Removed " + std::to_string(removed) + " rails that a service which died had left behind.");
    ptp::StateFolder::RemoveAbandoned(ptp::StateFolder::DefaultParent());
}

// Ends the process when stopping takes longer than it may: a stream's start that is under way first fills its ring,
// seconds for some gigabytes. The program runs anew to remove that ring: its lock goes with the old image.
class StopDeadline
{
public:
    explicit StopDeadline(const Log& log)
        : Thread(
              [this, &log](const std::stop_token& stopped)
              {
                  std::unique_lock lock(Mutex);
                  Wake.wait_for(lock, stopped, kLongestStop, [] { return false; });
                  if (stopped.stop_requested()) return;
                  log.Warning("Stopping takes too long; what is under way is cut off.");
                  execl("/proc/self/exe", "mxsd", "--remove-abandoned", nullptr);
                  _exit(1);
              })
    {
    }

private:
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    // Everything is slower, and leaks are reported only at an end that is not cut off.
    static constexpr std::chrono::milliseconds kLongestStop{10'000};
#else
    static constexpr std::chrono::milliseconds kLongestStop{600};
#endif

    std::mutex Mutex;
    std::condition_variable_any Wake;
    std::jthread Thread;
};

} // namespace

int main(int count, char** texts)
{
    const std::optional<Options> options = ReadOptions(count, texts);
    if (!options) return 2;
    if (options->help)
    {
        std::cout << kUsage;
        return 0;
    }

    // Blocked before any thread starts, so that this one alone takes them.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    for (const int stopper : {SIGINT, SIGTERM}) // shells start background programs with SIGINT ignored
        std::signal(stopper, SIG_DFL);

    const Log log(options->logLevel);
    if (!DropRights({.setClock = options->service.ptp.disciplineClock,
                     .giveGroups = !options->service.media.railGroup.empty()}))
        log.Warning("The system did not let the service give up all rights that it does not need.");
    RaiseDescriptorLimit(log);
    if (!CFlowRailFactory::SurviveCutRails())
        log.Warning("A program that cuts the file of its ring short will end the service.");
    RemoveAbandoned(log);
    if (options->removeAbandoned) return 0;

    ServiceSettings settings = options->service;
    settings.ptp.programFolders = ptp::DefaultProgramFolders();
    settings.ptp.stateFolder = ptp::StateFolder::DefaultParent();
    Service service(settings, log);
    try
    {
        service.Start();
    }
    catch (const std::exception& error)
    {
        log.Error("Cannot listen on port " + std::to_string(options->service.port) + ": " + error.what() + ".");
        return 1;
    }
    const std::string url = "http://localhost:" + std::to_string(service.Port()) + "/";
    log.Info("Serving at " + url + ".");
    std::cout << url << std::endl;

    int signal = 0;
    sigwait(&signals, &signal);
    const StopDeadline deadline(log);
    log.Info(std::string("Stopping on ") + (signal == SIGINT ? "SIGINT." : "SIGTERM."));
    service.Stop();
    log.Info("Stopped.");
    return 0;
}

// One thread owns ptp4l from its start to its end: the system kills a child with the thread that made it.
#include "mxs/ptp/PtpDaemon.h"

#include "mxs/ptp/ChildProcess.h"
#include "mxs/ptp/PmcText.h"
#include "mxs/ptp/Ptp4lConfig.h"
#include "mxs/ptp/StateFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <new>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace mxs::ptp
{

namespace
{

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto kFirstLooks = 200ms;  // between looks until the first answer
constexpr auto kProgramTime = 500ms; // of pmc, which needs a tenth
constexpr auto kGrace = 200ms;       // of ptp4l, to end by itself
constexpr auto kBreather = 200ms;    // where memory has run out
constexpr int kLeastLooks = 5;       // in vain, before ptp4l is silent: a busy machine may leave this thread no time
constexpr const char* kConfigFile = "ptp4l.conf";

int MakeWakeFd()
{
    const int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (fd < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
    return fd;
}

} // namespace

PtpDaemon::PtpDaemon(PtpSettings settings, ServiceClock& clock)
    : Settings(std::move(settings)), Clock(clock), WakeFd(MakeWakeFd()), Seen(StatusWithoutDaemon(Wanted))
{
}

PtpDaemon::~PtpDaemon()
{
    Stop();
    close(WakeFd);
}

void PtpDaemon::Stop()
{
    std::jthread thread;
    {
        const std::lock_guard lock(Mutex);
        thread = std::move(Thread);
    }
    if (!thread.joinable()) return;
    thread.request_stop();
    Wake();
    thread.join();
}

void PtpDaemon::SetConfig(const Config& config)
{
    const std::lock_guard lock(Mutex);
    if (Thread.joinable() && config == Wanted) return;
    // First: where the system gives no thread, nothing has changed. It waits for the lock.
    if (!Thread.joinable()) Thread = std::jthread([this](const std::stop_token& stop) { Run(stop); });
    Wanted = config;
    IsNew = true;
    Seen = StatusWithoutDaemon(config);
    Wake();
}

Config PtpDaemon::GetConfig() const
{
    const std::lock_guard lock(Mutex);
    return Wanted;
}

Status PtpDaemon::GetStatus() const
{
    const std::lock_guard lock(Mutex);
    return Seen;
}

void PtpDaemon::Wake() const
{
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t ignored = write(WakeFd, &one, sizeof one); // full: it will wake anyway
}

void PtpDaemon::Run(const std::stop_token& stop)
{
    while (!stop.stop_requested())
    {
        try
        {
            Attend();
        }
        catch (const std::bad_alloc&) // nothing is told: a line needs memory as well
        {
            std::this_thread::sleep_for(kBreather);
        }
        Wait(Ptp4l ? NextLook : NextStart);
    }
    End("");
}

void PtpDaemon::Attend()
{
    const auto now = steady_clock::now();
    if (TakeConfig() || (!Ptp4l && now >= NextStart)) Begin();
    if (!Ptp4l) return;
    if (const std::optional<std::string> output = Ptp4l->ReadOutput())
        PassOn(*output);
    else // its end, unless it has closed its outputs, which it does not
        Ptp4l->Stop(kGrace);
    if (const std::optional<std::string> how = Ptp4l->Ended())
        End("ptp4l has ended " + *how);
    else if (now >= NextLook)
        Look();
}

bool PtpDaemon::TakeConfig()
{
    const std::lock_guard lock(Mutex);
    if (!std::exchange(IsNew, false)) return false;
    Current = Wanted;
    LastProblem.clear();
    return true;
}

void PtpDaemon::Begin()
{
    if (Ptp4l) End("");
    NextStart = steady_clock::now() + Settings.retryPeriod;
    const std::optional<std::string> ptp4l = FindProgram(Settings.programFolders, "ptp4l");
    const std::optional<std::string> pmc = FindProgram(Settings.programFolders, "pmc");
    if (!ptp4l || !pmc)
        return TellOnce("PTP: there is no ptp4l or no pmc on this machine (package linuxptp); the port is disabled.");
    Pmc = *pmc;
    try
    {
        Folder = std::make_unique<StateFolder>(Settings.stateFolder);
        const bool hasReadOnlySocket = MajorVersion(RunProgram(*ptp4l, {"-v"}, kProgramTime)) >= 4;
        const Ptp4lFile file{Folder->Path() + "/ptp4l",
                             hasReadOnlySocket ? Folder->Path() + "/ptp4l-read-only" : std::string(),
                             Settings.disciplineClock};
        Folder->Write(kConfigFile, Ptp4lText(Current, file));
        Ptp4l =
            std::make_unique<ChildProcess>(*ptp4l, std::vector<std::string>{"-f", Folder->Path() + "/" + kConfigFile},
                                           Settings.disciplineClock ? ClockRight::Keep : ClockRight::Drop);
    }
    catch (const std::exception& error)
    {
        Folder.reset();
        return TellOnce(std::string("PTP: ptp4l cannot be started: ") + error.what() + "; the port is disabled.");
    }
    UnfinishedLine.clear();
    NextLook = steady_clock::now();
    CountSilenceFrom(NextLook);
    if (LastProblem.empty())
        Tell("PTP: ptp4l runs on " + Current.interfaceName + ", domain " + std::to_string(Current.own.domainNumber) +
             ".");
}

void PtpDaemon::Look()
{
    std::vector<std::string> arguments{"-u",
                                       "-b",
                                       "0",
                                       "-d",
                                       std::to_string(Current.own.domainNumber),
                                       "-s",
                                       Folder->Path() + "/ptp4l",
                                       "-i",
                                       Folder->Path() + "/pmc"};
    arguments.insert(arguments.end(), PmcRequests().begin(), PmcRequests().end());
    std::optional<PmcReport> report;
    bool pmcHasRun = true;
    try
    {
        const std::string text = RunProgram(Pmc, arguments, kProgramTime);
        report = ParsePmc(text);
        HasAnswered = HasAnswered || HasAnswer(text);
    }
    catch (const std::exception& error)
    {
        pmcHasRun = false;
        TellOnce(std::string("PTP: pmc cannot be started: ") + error.what() + "; without it the port is disabled.");
    }
    const auto now = steady_clock::now();
    if (!report)
    {
        NextLook = now + std::min<steady_clock::duration>(kFirstLooks, Settings.pollPeriod);
        if (++LooksInVain < kLeastLooks || now < Deadline) return;
        if (!HasAnswered) return End(pmcHasRun ? "ptp4l does not answer" : "");
        // Another start would not change what it says.
        CountSilenceFrom(now);
        Clock.Hold();
        TellOnce("PTP: ptp4l runs, and what pmc says of it is not understood; the status is no longer up to date.");
        return;
    }
    NextLook = now + Settings.pollPeriod;
    CountSilenceFrom(now);
    LastProblem.clear();

    // With time stamps of the network card the offset is that of the card's clock, which tells nothing of the
    // system's: the service's clock is the system's then.
    const bool measuresSystem = Current.timeStamping == TimeStamping::Software && report->ingressTimeNs != 0;
    if (report->status.port.state != PortState::Slave)
        Clock.Hold();
    else if (measuresSystem)
        Clock.Take({report->ingressTimeNs, report->masterOffsetNs, report->status.time});
    const std::lock_guard lock(Mutex);
    if (!IsNew) Seen = report->status;
}

void PtpDaemon::CountSilenceFrom(steady_clock::time_point now)
{
    Deadline = now + Settings.longestSilence;
    LooksInVain = 0;
    HasAnswered = false;
}

// Without a reason where the service or its user wants it so, or it has been told; no memory is needed then.
void PtpDaemon::End(const std::string& why)
{
    if (Ptp4l)
    {
        Ptp4l->Stop(kGrace);
        if (!why.empty())
            if (const std::optional<std::string> output = Ptp4l->ReadOutput()) PassOn(*output);
    }
    Ptp4l.reset();
    Folder.reset();
    Clock.Release();
    NextStart = steady_clock::now() + Settings.retryPeriod;
    {
        const std::lock_guard lock(Mutex);
        if (!IsNew) Seen = StatusWithoutDaemon(Current);
    }
    if (!why.empty()) TellOnce("PTP: " + why + "; the port is disabled until it runs again.");
}

void PtpDaemon::Wait(steady_clock::time_point until)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - steady_clock::now());
    pollfd events[] = {{WakeFd, POLLIN, 0}, {Ptp4l ? Ptp4l->Output() : -1, POLLIN, 0}};
    poll(events, std::size(events), static_cast<int>(std::clamp<int64_t>(left.count(), 0, 60000)));
    uint64_t count = 0;
    [[maybe_unused]] const ssize_t ignored = read(WakeFd, &count, sizeof count);
}

// Whole lines to the log, each once as long as it is repeated.
void PtpDaemon::PassOn(const std::string& output)
{
    if (!LastProblem.empty()) return; // a further attempt: it fails for the reason that was told
    constexpr size_t kLongestLine = 1000;
    UnfinishedLine += output;
    for (size_t end = UnfinishedLine.find('\n'); end != std::string::npos; end = UnfinishedLine.find('\n'))
    {
        const std::optional<std::string> line =
            TellingPart(std::string_view(UnfinishedLine).substr(0, end), Settings.disciplineClock);
        UnfinishedLine.erase(0, end + 1);
        if (line && std::exchange(LastLine, *line) != *line) Tell("PTP: " + *line);
    }
    if (UnfinishedLine.size() > kLongestLine) UnfinishedLine.clear();
}

void PtpDaemon::Tell(const std::string& line) const
{
    if (Settings.log) Settings.log(line);
}

// Attempts go on; their failures are told when they change.
void PtpDaemon::TellOnce(const std::string& line)
{
    if (std::exchange(LastProblem, line) != line) Tell(line);
}

} // namespace mxs::ptp

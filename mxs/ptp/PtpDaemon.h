// The service's PTP daemon: ptp4l on one interface, and its data sets as pmc reads them about once a second.
#pragma once

#include "mxs/ptp/PtpRecords.h"
#include "mxs/ptp/ServiceClock.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace mxs::ptp
{

class ChildProcess;
class StateFolder;

struct PtpSettings
{
    std::vector<std::string> programFolders; // where ptp4l and pmc are looked for; none: there is no daemon
    std::string stateFolder = "/tmp";        // a private folder is made in it
    bool disciplineClock = false;            // ptp4l may set and slew the machine's clock
    std::chrono::milliseconds pollPeriod{1000};
    std::chrono::milliseconds retryPeriod{10000};   // after ptp4l could not be started, or has ended
    std::chrono::milliseconds longestSilence{5000}; // of a ptp4l that runs, and some looks, before it is started anew
    std::function<void(const std::string&)> log;    // any thread; may be empty
};

class PtpDaemon
{
public:
    PtpDaemon(PtpSettings settings, ServiceClock& clock); // starts nothing
    ~PtpDaemon();                                         // ends ptp4l
    PtpDaemon(const PtpDaemon&) = delete;
    PtpDaemon& operator=(const PtpDaemon&) = delete;

    // Any thread; the configuration is not one that WhyRefused names. ptp4l is started, or started anew, soon after:
    // how it fares is in Status. The configuration that holds already changes nothing. Throws std::system_error when
    // there is no thread for it; nothing has changed then.
    void SetConfig(const Config& config);
    void Stop(); // ends ptp4l; the configuration stays readable

    Config GetConfig() const;
    Status GetStatus() const; // of the last look; never waits for one

private:
    void Run(const std::stop_token& stop);
    void Attend();
    bool TakeConfig(); // true: there is a new one
    void Begin();
    void Look();
    void CountSilenceFrom(std::chrono::steady_clock::time_point now);
    void End(const std::string& why);
    void Wait(std::chrono::steady_clock::time_point until);
    void PassOn(const std::string& output);
    void Tell(const std::string& line) const;
    void TellOnce(const std::string& line);
    void Wake() const;

    const PtpSettings Settings;
    ServiceClock& Clock;
    const int WakeFd;

    mutable std::mutex Mutex; // guards the next three
    Config Wanted;
    bool IsNew = false;
    Status Seen;

    // The thread's own.
    Config Current;
    std::unique_ptr<StateFolder> Folder;
    std::unique_ptr<ChildProcess> Ptp4l; // killed when the thread ends, so no other thread starts it
    std::string Pmc;                     // path of the program
    std::string UnfinishedLine, LastLine, LastProblem;
    std::chrono::steady_clock::time_point NextStart{}, NextLook{}, Deadline{};
    // Since the latest report or deadline:
    int LooksInVain = 0;
    bool HasAnswered = false; // ptp4l, with something that makes no report

    std::jthread Thread; // last: it uses all the others
};

} // namespace mxs::ptp

// A program that the service runs: it ends with the service in any case, and inherits nothing but what it needs.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace mxs::ptp
{

enum class ClockRight
{
    Keep,
    Drop // the program can neither set nor slew the machine's clock, whoever runs it
};

class ChildProcess
{
public:
    // Starts the program at a path. It is killed by the system when this thread ends, with whatever process; the system
    // forgets that for a program that gains capabilities by its file, which it can with ClockRight::Keep alone. Throws
    // std::system_error when it cannot be started.
    ChildProcess(const std::string& path, const std::vector<std::string>& arguments, ClockRight clockRight);
    ~ChildProcess(); // Stop
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t Id() const { return Pid; }
    int Output() const { return OutputFd; } // what it prints, on either of its outputs; does not block

    // What has been printed since the last call; nothing at its end.
    std::optional<std::string> ReadOutput();

    // In words, once it has ended: "with status 1", "by signal 9".
    std::optional<std::string> Ended();

    void Stop(std::chrono::milliseconds grace); // asks, then kills

private:
    bool Reap(int options);

    pid_t Pid = -1; // -1: it has ended
    int Status = 0;
    int OutputFd = -1;
};

// Runs a program to its end and gives what it printed, or what it had printed when the time ran out.
std::string RunProgram(const std::string& path, const std::vector<std::string>& arguments,
                       std::chrono::milliseconds timeout);

// The first of the folders that holds an executable of the name; the path to it.
std::optional<std::string> FindProgram(const std::vector<std::string>& folders, const std::string& name);

// The folders of PATH, and those of the administrator.
std::vector<std::string> DefaultProgramFolders();

} // namespace mxs::ptp

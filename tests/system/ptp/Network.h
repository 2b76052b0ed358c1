// A network of two machines that is there for this process alone: this process and what it starts stand at one end of a
// cable, a grandmaster at the other. Nothing has a name outside, so nothing is left behind and nothing can clash.
#pragma once

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test
{

inline constexpr const char* kOwnEnd = "ptpown";
inline constexpr const char* kFarEnd = "ptpfar";

// Success of a command of the shell's language.
inline bool Shell(const std::string& command)
{
    return std::system(("PATH=$PATH:/usr/sbin; { " + command + "; } >/dev/null 2>&1").c_str()) == 0;
}

inline void WriteText(const std::string& path, const std::string& text)
{
    std::ofstream(path) << text;
}

// Why there is no network; empty when this process has one of its own now. Before any thread.
inline std::string LeaveTheMachinesNetwork()
{
    for (const char* program : {"ip", "nsenter", "setpriv", "ptp4l", "pmc"})
        if (!Shell(std::string("command -v ") + program))
            return std::string("there is no ") + program + " (packages iproute2, util-linux, linuxptp)";
    const std::string user = std::to_string(getuid()), group = std::to_string(getgid());
    if (unshare(CLONE_NEWNET) != 0) // a user of a namespace of its own may make networks
    {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
            return std::string("no right to make a network namespace: ") + std::strerror(errno);
        WriteText("/proc/self/setgroups", "deny");
        WriteText("/proc/self/uid_map", "0 " + user + " 1");
        WriteText("/proc/self/gid_map", "0 " + group + " 1");
    }
    return Shell("ip link set lo up") ? "" : "the loopback of a network namespace cannot be set up";
}

// The machine at the far end: a network of its own, and the cable to it for as long as the object lives.
class FarMachine
{
public:
    FarMachine()
    {
        std::array<int, 2> sockets{};
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0) return;
        Keeper = fork();
        if (Keeper == 0) // holds the network until this process closes its end
        {
            close(sockets[0]);
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            char answer = unshare(CLONE_NEWNET) == 0 ? 'y' : 'n';
            (void)!write(sockets[1], &answer, 1);
            (void)!read(sockets[1], &answer, 1);
            _exit(0);
        }
        close(sockets[1]);
        Control = sockets[0];
        char answer = 'n';
        if (read(Control, &answer, 1) != 1 || answer != 'y') return;
        // The identities of the clocks follow from the addresses.
        Ready = Shell(std::string("ip link add ") + kOwnEnd + " address 02:00:5e:10:00:01 type veth peer name " +
                      kFarEnd + " address 02:00:5e:10:00:02 netns " + std::to_string(Keeper)) &&
                Shell(std::string("ip address add 10.99.0.1/24 dev ") + kOwnEnd) &&
                Shell(std::string("ip link set ") + kOwnEnd + " up") &&
                Shell(Inside(std::string("ip address add 10.99.0.2/24 dev ") + kFarEnd)) &&
                Shell(Inside(std::string("ip link set ") + kFarEnd + " up"));
    }

    ~FarMachine()
    {
        Shell(std::string("ip link delete ") + kOwnEnd);
        close(Control);
        waitpid(Keeper, nullptr, 0);
    }

    FarMachine(const FarMachine&) = delete;
    FarMachine& operator=(const FarMachine&) = delete;

    bool IsReady() const { return Ready; }
    std::string Inside(const std::string& command) const
    {
        return "nsenter --net=/proc/" + std::to_string(Keeper) + "/ns/net " + command;
    }

private:
    pid_t Keeper = -1;
    int Control = -1;
    bool Ready = false;
};

// ptp4l as a grandmaster at the far end. It tells this machine's time, as UTC, and has no right to set it.
class Grandmaster
{
public:
    Grandmaster(const FarMachine& machine, int domain, const std::string& delayMechanism = "E2E") : Domain(domain)
    {
        char name[] = "/tmp/ptp-test-XXXXXX";
        Folder = mkdtemp(name);
        WriteText(Folder + "/gm.conf", "[global]\ndomainNumber " + std::to_string(domain) + "\ndelay_mechanism " +
                                           delayMechanism +
                                           "\npriority1 64\npriority2 65\nclockClass 6\nclockAccuracy 0x21\n"
                                           "time_stamping software\nfree_running 1\nlogAnnounceInterval -2\n"
                                           "logSyncInterval -3\nlogMinDelayReqInterval -3\ntx_timestamp_timeout 100\n"
                                           "use_syslog 0\nuds_address " +
                                           Folder + "/gm\n[" + kFarEnd + "]\n");
        const std::string command =
            "PATH=$PATH:/usr/sbin; exec setpriv --bounding-set=-sys_time --inh-caps=-sys_time " +
            machine.Inside("ptp4l -f " + Folder + "/gm.conf");
        Pid = fork();
        if (Pid == 0)
        {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
    }

    ~Grandmaster()
    {
        kill(Pid, SIGKILL);
        waitpid(Pid, nullptr, 0);
        Shell("rm -rf " + Folder);
    }

    Grandmaster(const Grandmaster&) = delete;
    Grandmaster& operator=(const Grandmaster&) = delete;

    // The same time is announced as TAI from now on, 37 s ahead of a UTC that nobody here has.
    bool CallItsTimeTai() const
    {
        return Shell("pmc -u -b 0 -d " + std::to_string(Domain) + " -s " + Folder + "/gm -i " + Folder +
                     "/pmc 'SET GRANDMASTER_SETTINGS_NP clockClass 6 clockAccuracy 0x21 offsetScaledLogVariance 0x4e5d "
                     "currentUtcOffset 37 leap61 0 leap59 0 currentUtcOffsetValid 1 ptpTimescale 1 timeTraceable 1 "
                     "frequencyTraceable 1 timeSource 0x20'");
    }

private:
    const int Domain;
    pid_t Pid = -1;
    std::string Folder;
};

} // namespace test

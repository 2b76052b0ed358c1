// The service as a process of its own: started on a free port, stopped or killed with the object.
#pragma once

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace test
{

class MxsProcess
{
public:
    explicit MxsProcess(std::vector<std::string> arguments = {}, const std::string& port = "0")
    {
        char name[] = "/tmp/mxsd-test-XXXXXX";
        const int log = ::mkstemp(name);
        if (log < 0) throw std::runtime_error("no file for the service's log");
        LogName = name;
        const char* const confined = std::getenv("MXSD_PROGRAM"); // starts the service within bounds of a test's
        const std::string program = confined ? confined : MXSD_PATH;
        arguments.insert(arguments.begin(), {program, "--port", port});
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        Pid = ::fork();
        if (Pid == 0)
        {
            ::prctl(PR_SET_PDEATHSIG, SIGTERM); // a test that is killed takes its service with it
            ::dup2(log, STDOUT_FILENO);
            ::dup2(log, STDERR_FILENO);
            ::execv(program.c_str(), argv.data());
            ::_exit(127);
        }
        ::close(log);
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (Url.empty())
        {
            if (!Running() || std::chrono::steady_clock::now() > end)
                throw std::runtime_error("the service did not start: " + Log());
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            const std::string text = Log(), prefix = "http://localhost:";
            const size_t at = text.find(prefix);
            if (at == std::string::npos) continue;
            const size_t slash = text.find('/', at + prefix.size());
            if (slash != std::string::npos) Url = text.substr(at, slash + 1 - at);
        }
    }

    ~MxsProcess()
    {
        if (Running()) Stop();
        ::unlink(LogName.c_str());
    }

    MxsProcess(const MxsProcess&) = delete;
    MxsProcess& operator=(const MxsProcess&) = delete;

    const std::string& ServiceUrl() const { return Url; }
    std::string Port() const { return Url.substr(17, Url.size() - 18); }
    pid_t ProcessId() const { return Pid; }

    std::string Log() const
    {
        std::ifstream file(LogName);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    bool Running() { return Pid > 0 && !Reap(WNOHANG); }

    // Exit status, or minus the signal that ended it; of one that has ended already, too.
    int Stop(int signal = SIGTERM)
    {
        if (Running()) ::kill(Pid, signal);
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!Reap(WNOHANG))
        {
            if (std::chrono::steady_clock::now() > end)
            {
                ::kill(Pid, SIGKILL);
                Reap(0);
                throw std::runtime_error("the service did not stop: " + Log());
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return Status;
    }

private:
    bool Reap(int options)
    {
        if (Pid <= 0) return true;
        int status = 0;
        if (::waitpid(Pid, &status, options) != Pid) return false;
        Pid = -1;
        Status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        return true;
    }

    pid_t Pid = -1;
    int Status = 0;
    std::string LogName, Url;
};

} // namespace test

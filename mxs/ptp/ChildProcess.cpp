// Between vfork and exec: the child shares this process's memory, and this thread waits for it. No page is copied, so
// threads that send and receive media notice nothing.
#include "mxs/ptp/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <sstream>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace mxs::ptp
{

namespace
{

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kGrace = 200ms;

struct Plan
{
    const char* path;
    char* const* arguments;
    int input, output;
    int failure; // takes the reason when there is no program; closed by the exec otherwise
    pid_t parent;
    ClockRight clockRight;
};

// The right goes from every set of this thread, and from what a program file could give back: by the bounding set, or,
// where that may not be changed, by the promise that no exec gains anything.
bool DropClockRight()
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets{};
    if (syscall(SYS_capget, &header, sets.data()) != 0) return false;
    const bool bounded = prctl(PR_CAPBSET_DROP, CAP_SYS_TIME, 0, 0, 0) == 0;
    __user_cap_data_struct& set = sets[CAP_TO_INDEX(CAP_SYS_TIME)];
    set.effective &= ~CAP_TO_MASK(CAP_SYS_TIME);
    set.permitted &= ~CAP_TO_MASK(CAP_SYS_TIME);
    set.inheritable &= ~CAP_TO_MASK(CAP_SYS_TIME);
    if (syscall(SYS_capset, &header, sets.data()) != 0) return false;
    return bounded || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
}

[[noreturn]] void BecomeProgram(const Plan& plan)
{
    const bool ready = prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) == 0 && getppid() == plan.parent &&
                       (plan.clockRight == ClockRight::Keep || DropClockRight()) &&
                       dup2(plan.input, STDIN_FILENO) >= 0 && dup2(plan.output, STDOUT_FILENO) >= 0 &&
                       dup2(plan.output, STDERR_FILENO) >= 0;
    if (ready)
    {
        // What libraries open does not always close itself: a connection that a program inherits would not end before
        // the program. A kernel before 5.11 does not know the call.
        close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
        // The service blocks and ignores signals that a program expects to end it.
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        std::signal(SIGPIPE, SIG_DFL);
        execv(plan.path, plan.arguments);
    }
    const int reason = errno == 0 ? ESRCH : errno;
    [[maybe_unused]] const ssize_t ignored = write(plan.failure, &reason, sizeof reason);
    _exit(127);
}

[[gnu::noinline]] pid_t Launch(const Plan& plan)
{
    const pid_t child = vfork();         // NOLINT(clang-analyzer-security.insecureAPI.vfork): see the head of this file
    if (child == 0) BecomeProgram(plan); // NOLINT(clang-analyzer-unix.Vfork): the same
    return child;
}

// Where the service itself has no standard input or output, new descriptors take their numbers, and would be in the way
// of those that the program is given.
int AboveStandard(int descriptor)
{
    if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int reason = errno;
    close(descriptor);
    errno = reason;
    return moved;
}

struct Pipe
{
    Pipe()
    {
        if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
        for (int& end : ends)
            end = AboveStandard(end);
    }
    ~Pipe()
    {
        for (const int end : ends)
            if (end >= 0) close(end);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    std::array<int, 2> ends{-1, -1};
};

} // namespace

ChildProcess::ChildProcess(const std::string& path, const std::vector<std::string>& arguments, ClockRight clockRight)
{
    std::vector<std::string> words{path};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    Pipe output, failure;
    fcntl(output.ends[0], F_SETFL, O_NONBLOCK);
    const int nothing = AboveStandard(open("/dev/null", O_RDONLY | O_CLOEXEC));
    errno = 0;
    const Plan plan{path.c_str(), argv.data(), nothing, output.ends[1], failure.ends[1], getpid(), clockRight};
    Pid = Launch(plan);
    int error = Pid < 0 ? errno : 0;
    if (nothing >= 0) close(nothing);
    close(std::exchange(failure.ends[1], -1));
    if (Pid > 0 && read(failure.ends[0], &error, sizeof error) > 0) waitpid(Pid, nullptr, 0);
    if (error != 0) throw std::system_error(error, std::generic_category(), path);
    OutputFd = std::exchange(output.ends[0], -1);
}

ChildProcess::~ChildProcess()
{
    Stop(kGrace);
    close(OutputFd);
}

std::optional<std::string> ChildProcess::ReadOutput()
{
    std::string text;
    std::array<char, 4096> piece;
    for (;;)
    {
        const ssize_t count = read(OutputFd, piece.data(), piece.size());
        if (count > 0)
            text.append(piece.data(), static_cast<size_t>(count));
        else if (count < 0 && errno == EINTR)
            continue;
        else if (count == 0 && text.empty())
            return std::nullopt;
        else
            return text;
    }
}

bool ChildProcess::Reap(int options)
{
    if (Pid < 0) return true;
    const pid_t ended = waitpid(Pid, &Status, options);
    if (ended == 0 || (ended < 0 && errno == EINTR)) return false;
    Pid = -1;
    return true;
}

std::optional<std::string> ChildProcess::Ended()
{
    if (!Reap(WNOHANG)) return std::nullopt;
    return WIFSIGNALED(Status) ? "by signal " + std::to_string(WTERMSIG(Status))
                               : "with status " + std::to_string(WEXITSTATUS(Status));
}

void ChildProcess::Stop(std::chrono::milliseconds grace)
{
    if (Reap(WNOHANG)) return;
    kill(Pid, SIGTERM);
    const auto end = std::chrono::steady_clock::now() + grace;
    while (!Reap(WNOHANG) && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(2ms);
    if (Pid > 0) kill(Pid, SIGKILL);
    while (!Reap(0))
    {
    }
}

std::string RunProgram(const std::string& path, const std::vector<std::string>& arguments,
                       std::chrono::milliseconds timeout)
{
    ChildProcess program(path, arguments, ClockRight::Drop);
    const auto end = std::chrono::steady_clock::now() + timeout;
    std::string text;
    while (const std::optional<std::string> piece = program.ReadOutput())
    {
        text += *piece;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0) break;
        pollfd readable{program.Output(), POLLIN, 0};
        poll(&readable, 1, static_cast<int>(left.count()));
    }
    return text;
}

std::optional<std::string> FindProgram(const std::vector<std::string>& folders, const std::string& name)
{
    for (const std::string& folder : folders)
        if (const std::string path = folder + "/" + name; access(path.c_str(), X_OK) == 0) return path;
    return std::nullopt;
}

std::vector<std::string> DefaultProgramFolders()
{
    std::vector<std::string> folders;
    const char* const path = std::getenv("PATH");
    std::istringstream words(path ? path : "");
    for (std::string folder; std::getline(words, folder, ':');)
        if (folder.starts_with('/')) folders.push_back(folder);
    folders.insert(folders.end(), {"/usr/sbin", "/usr/local/sbin", "/sbin"});
    return folders;
}

} // namespace mxs::ptp

// A program of examples/ as a process of its own, and descriptions for it in a folder that goes with the test.
#pragma once

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test
{

class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "examples-test-XXXXXX").string();
        if (!::mkdtemp(name.data())) throw std::runtime_error("no folder for the test");
        Path = name;
    }

    ~TemporaryFolder() { std::filesystem::remove_all(Path); }

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path Path;
};

inline std::string TextOf(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// A description of examples/descriptions with other words in some places. Each word to replace must be there.
inline std::string Describe(const TemporaryFolder& folder, const std::string& name,
                            const std::vector<std::pair<std::string, std::string>>& replacements)
{
    std::string text = TextOf(std::filesystem::path(EXAMPLES_SOURCE) / "descriptions" / name);
    std::string file = (folder.Path / name).string();
    for (const auto& [from, to] : replacements)
    {
        const size_t at = text.find(from);
        if (at == std::string::npos) throw std::runtime_error(name + " has no " + from);
        text.replace(at, from.size(), to);
    }
    std::ofstream(file, std::ios::binary) << text;
    return file;
}

// Until the file has not grown for two seconds: a service commits what it still has after one.
inline void AwaitQuiet(const std::filesystem::path& file)
{
    auto since = std::chrono::steady_clock::now();
    for (uintmax_t size = 0; std::chrono::steady_clock::now() < since + std::chrono::seconds(2);)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        const uintmax_t now = std::filesystem::file_size(file);
        if (now != size) since = std::chrono::steady_clock::now();
        size = now;
    }
}

// What a program says of a stream at its end.
struct Counts
{
    uint64_t slots = 0, packets = 0, lostPackets = 0;
    uint64_t underruns = 0;    // of a stream that sends
    uint64_t droppedSlots = 0; // of one that receives
};

// Of each of its streams.
inline std::vector<Counts> CountsIn(const std::string& output)
{
    const std::regex line(R"((\d+) slots, (\d+) packets, (\d+) lost packets, (\d+) (underruns|dropped slots)\n)");
    std::vector<Counts> streams;
    for (std::sregex_iterator found(output.begin(), output.end(), line), end; found != end; ++found)
    {
        const auto number = [&](size_t group) { return std::stoull((*found)[group]); };
        const bool sends = (*found)[5] == "underruns";
        streams.push_back({number(1), number(2), number(3), sends ? number(4) : 0, sends ? 0 : number(4)});
    }
    return streams;
}

class Program
{
public:
    // Its standard output goes to the file of Output(), too, unless there is another descriptor for it.
    Program(const std::string& name, std::vector<std::string> arguments, const TemporaryFolder& folder,
            int standardOutput = -1)
        : OutputFile(folder.Path / (name + "-" + std::to_string(++Started) + ".out"))
    {
        arguments.insert(arguments.begin(), std::string(EXAMPLES_BIN) + "/" + name);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        const int out = ::open(OutputFile.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600);
        Pid = ::fork();
        if (Pid == 0)
        {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that is killed takes its programs with it
            ::dup2(standardOutput >= 0 ? standardOutput : out, STDOUT_FILENO);
            ::dup2(out, STDERR_FILENO);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        ::close(out);
    }

    ~Program()
    {
        if (Pid <= 0) return;
        ::kill(Pid, SIGKILL);
        ::waitpid(Pid, nullptr, 0);
    }

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    // Output and errors so far.
    std::string Output() const { return TextOf(OutputFile); }

    bool SaysWithin(const std::string& words, std::chrono::seconds limit) const
    {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (Output().find(words) == std::string::npos)
        {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return true;
    }

    // What it said of its stream, when it has one, or of the second of two.
    Counts Counted(size_t stream = 0) const { return CountsIn(Output()).at(stream); }

    void AwaitQuietOutput() const { AwaitQuiet(OutputFile); }

    void Interrupt(int signal = SIGINT) { ::kill(Pid, signal); }

    // No file of its may grow beyond this, as on a disk that is full. Only where SIGXFSZ is ignored.
    void LimitFiles(uint64_t bytes)
    {
        const rlimit limit{bytes, bytes};
        if (::prlimit(Pid, RLIMIT_FSIZE, &limit, nullptr) != 0) throw std::runtime_error("no limit for files");
    }

    // Holds it up, as a machine does that has other work.
    void Hold(std::chrono::milliseconds duration)
    {
        ::kill(Pid, SIGSTOP);
        std::this_thread::sleep_for(duration);
        ::kill(Pid, SIGCONT);
    }

    // Exit status, or minus the signal that ended it; -1000 when it had to be killed after `limit`.
    int Wait(std::chrono::seconds limit = std::chrono::seconds(60))
    {
        const auto end = std::chrono::steady_clock::now() + limit;
        int status = 0;
        while (::waitpid(Pid, &status, WNOHANG) == 0)
        {
            if (std::chrono::steady_clock::now() > end) return -1000; // the destructor kills it
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        Pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    static inline int Started = 0;
    std::filesystem::path OutputFile;
    pid_t Pid = -1;
};

} // namespace test

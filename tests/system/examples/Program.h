// A program of examples/ as a process of its own, and descriptions for it in a folder that goes with the test.
#pragma once

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
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

class Program
{
public:
    Program(const std::string& name, std::vector<std::string> arguments, const TemporaryFolder& folder)
        : OutputFile(folder.Path / (name + "-" + std::to_string(++Started) + ".out"))
    {
        arguments.insert(arguments.begin(), std::string(EXAMPLES_BIN) + "/" + name);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        const int out = ::open(OutputFile.c_str(), O_CREAT | O_WRONLY | O_TRUNC, 0600);
        Pid = ::fork();
        if (Pid == 0)
        {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL); // a test that is killed takes its programs with it
            ::dup2(out, STDOUT_FILENO);
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

    void Interrupt(int signal = SIGINT) { ::kill(Pid, signal); }

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

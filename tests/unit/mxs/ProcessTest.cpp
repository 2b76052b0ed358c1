// The program itself: options, the URL that it prints, its end.
#include "HttpClient.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test
{
namespace
{

// mxsd with its two outputs in pipes.
class Program
{
public:
    explicit Program(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), MXSD_PATH);
        std::vector<char*> texts;
        for (std::string& argument : arguments)
            texts.push_back(argument.data());
        texts.push_back(nullptr);
        std::array<int, 2> out{}, error{};
        if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(error.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        Pid = fork();
        if (Pid == 0)
        {
            dup2(out[1], STDOUT_FILENO);
            dup2(error[1], STDERR_FILENO);
            execv(MXSD_PATH, texts.data());
            _exit(127);
        }
        close(out[1]);
        close(error[1]);
        Out = out[0];
        Error = error[0];
    }
    ~Program()
    {
        if (Pid > 0)
        {
            kill(Pid, SIGKILL);
            waitpid(Pid, nullptr, 0);
        }
        close(Out);
        close(Error);
    }

    std::string Line() // of standard output
    {
        std::string line;
        char letter;
        while (read(Out, &letter, 1) == 1 && letter != '\n')
            line += letter;
        return line;
    }
    std::string Rest(int descriptor)
    {
        std::string text;
        char buffer[4096];
        for (ssize_t got; (got = read(descriptor, buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<size_t>(got));
        return text;
    }
    std::string RestOfOut() { return Rest(Out); }
    std::string RestOfError() { return Rest(Error); }
    void Signal(int signal) { kill(Pid, signal); }
    int ExitStatus()
    {
        int status = 0;
        waitpid(std::exchange(Pid, -1), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

private:
    pid_t Pid = -1;
    int Out = -1;
    int Error = -1;
};

uint16_t PortOf(const std::string& url)
{
    EXPECT_EQ("http://localhost:", url.substr(0, 17));
    EXPECT_EQ('/', url.back());
    return static_cast<uint16_t>(std::stoi(url.substr(17)));
}

TEST(Program, PrintsItsUrlServesAndStopsOnEitherSignal)
{
    for (const int signal : {SIGINT, SIGTERM})
    {
        Program program({"--port", "0"});
        const uint16_t port = PortOf(program.Line());
        HttpClient idle(port), client(port);
        EXPECT_EQ(404u, client.Exchange("GET", "/", {}).status);

        program.Signal(signal);

        EXPECT_EQ(0, program.ExitStatus());
        EXPECT_NE(std::string::npos, program.RestOfError().find("Stopped."));
    }
}

TEST(Program, HelpTellsEveryOption)
{
    Program program({"--help"});
    const std::string text = program.RestOfOut();
    EXPECT_EQ(0, program.ExitStatus());
    for (const char* option : {"--port", "--error-style", "--context-ttl", "--multicast-ttl", "--rail-group",
                               "--log-level", "--memory-limit"})
        EXPECT_NE(std::string::npos, text.find(option)) << option;
}

struct OptionCase
{
    std::vector<std::string> arguments;
    const char* said;
};

TEST(Program, ABadOptionEndsItWithASentence)
{
    const OptionCase cases[] = {
        {{"--verbose"}, "no option --verbose"},
        {{"--port"}, "no value for option --port"},
        {{"--port", "65536"}, "\"65536\""},
        {{"--port=x"}, "\"x\""},
        {{"--port", ""}, "\"\""},
        {{"--error-style", "loud"}, "\"loud\""},
        {{"--context-ttl", "0"}, "\"0\""},
        {{"--multicast-ttl", "256"}, "\"256\""},
        {{"--memory-limit", "12T"}, "\"12T\""},
        {{"--memory-limit", "99999999999999G"}, "--memory-limit"},
        {{"--log-level=chatty"}, "\"chatty\""},
        {{"--rail-group="}, "--rail-group"},
        {{"--rail-group", "nobody-has-this-group"}, "nobody-has-this-group"},
    };
    for (const OptionCase& one : cases)
    {
        Program program(one.arguments);
        const std::string text = program.RestOfError();
        EXPECT_EQ(2, program.ExitStatus()) << text;
        EXPECT_NE(std::string::npos, text.find(one.said)) << text;
    }
}

TEST(Program, OptionsReachTheService)
{
    Program program({"--port=0", "--error-style=redirect", "--context-ttl", "9", "--multicast-ttl", "3",
                     "--memory-limit", "64M", "--log-level", "debug"});
    HttpClient client(PortOf(program.Line()));
    EXPECT_EQ(303u, client.Exchange("GET", "/", {}).status);
    const Reply session = client.Exchange("POST", "/api/x-mxs/v1.0/MXS/ContextManager/Auth/", {},
                                          R"({"AppID":"0000000000000000","ContextID":"0000000000000000"})");
    const Reply ttl = client.Exchange("GET", "/api/x-mxs/v1.0/MXS/ContextManager/Watchdog/",
                                      {{"Authorization", session.authorization}});
    EXPECT_EQ(9u, ttl.Json()["TTL"]);
    program.Signal(SIGTERM);
    EXPECT_EQ(0, program.ExitStatus());
    EXPECT_NE(std::string::npos, program.RestOfError().find("debug: "));
}

TEST(Program, RemovingWhatWasAbandonedEndsIt)
{
    Program program({"--remove-abandoned"});
    EXPECT_EQ(0, program.ExitStatus());
    EXPECT_EQ("", program.RestOfOut()); // it has not served
}

TEST(Program, APortThatIsTakenEndsItWithASentence)
{
    Program first({"--port", "0"});
    const uint16_t port = PortOf(first.Line());
    Program second({"--port", std::to_string(port)});
    EXPECT_EQ(1, second.ExitStatus());
    EXPECT_NE(std::string::npos, second.RestOfError().find("Cannot listen on port " + std::to_string(port)));
}

} // namespace
} // namespace test

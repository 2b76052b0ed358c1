// The program itself: options, the URL that it prints, its end.
#include "ServiceFixture.h"
#include "support/RemoveFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <netinet/in.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test
{
namespace
{

namespace fs = std::filesystem;

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

TEST(Program, APortThatAnotherHasOnOneOfTheTwoAddressesEndsItWithASentence)
{
    for (const bool six : {false, true})
    {
        sockaddr_in6 address{};
        socklen_t size = sizeof address;
        auto& four = reinterpret_cast<sockaddr_in&>(address);
        if (six)
            address.sin6_family = AF_INET6, address.sin6_addr = in6addr_loopback;
        else
            four.sin_family = AF_INET, four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int other = socket(six ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        auto* const place = reinterpret_cast<sockaddr*>(&address);
        if (bind(other, place, size) == 0 && listen(other, 1) == 0 && getsockname(other, place, &size) == 0)
        {
            const std::string port = std::to_string(ntohs(six ? address.sin6_port : four.sin_port));
            Program program({"--port", port});
            const std::string text = program.RestOfError();
            EXPECT_EQ(1, program.ExitStatus()) << text;
            EXPECT_NE(std::string::npos, text.find("Cannot listen on port " + port + ": ")) << text;
        }
        else
            EXPECT_TRUE(six) << "there is no loopback"; // and without IPv6 no other program there
        close(other);
    }
}

TEST(Program, HelpTellsEveryOption)
{
    Program program({"--help"});
    const std::string text = program.RestOfOut();
    EXPECT_EQ(0, program.ExitStatus());
    for (const char* option : {"--port", "--error-style", "--context-ttl", "--multicast-ttl", "--rail-group",
                               "--log-level", "--memory-limit", "--longest-hold", "--discipline-clock"})
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
        {{"--longest-hold", "0"}, "\"0\""},
        {{"--longest-hold", "3600001"}, "\"3600001\""},
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

// Scripts in the place of ptp4l and pmc: whatever rights they get, they leave the clock alone.
class ProgramWithScripts : public testing::Test
{
protected:
    ProgramWithScripts()
    {
        std::string name = (fs::temp_directory_path() / "mxsd-scripts-XXXXXX").string();
        if (!mkdtemp(name.data())) throw std::runtime_error("no folder for the test");
        Folder = name;
        Script("ptp4l", "[ \"$1\" = -v ] && { echo 3.1.1; exit; }\ncp \"$2\" new && mv new conf\nexec sleep 1000\n");
        Script("pmc", "");
        setenv("PATH", (name + ":" + OldPath).c_str(), 1);
    }
    ~ProgramWithScripts() override
    {
        setenv("PATH", OldPath.c_str(), 1);
        EXPECT_TRUE(RemoveFolder(Folder));
    }

    void Script(const char* name, const std::string& text)
    {
        std::ofstream(Folder / name) << "#!/bin/sh\ncd " << Folder.string() << "\n" << text;
        fs::permissions(Folder / name, fs::perms::owner_all);
        if (access((Folder / name).c_str(), X_OK) != 0) throw std::runtime_error("scripts do not run here");
    }

    // The file that ptp4l is given by a service with these options.
    std::string FileOf(std::vector<std::string> options)
    {
        fs::remove(Folder / "conf");
        options.insert(options.begin(), {"--port", "0"});
        Program program(options);
        Session session(PortOf(program.Line()));
        json config = session.GetJson("MXS/PtpApi/Config");
        config["InterfaceName"] = "lo";
        EXPECT_EQ(200u, session.Send("PUT", "MXS/PtpApi/Config", config).status);
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!fs::exists(Folder / "conf") && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        program.Signal(SIGTERM);
        EXPECT_EQ(0, program.ExitStatus());
        std::ifstream file(Folder / "conf");
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    const std::string OldPath = std::getenv("PATH") ? std::getenv("PATH") : "/usr/bin:/bin";
    fs::path Folder;
};

TEST_F(ProgramWithScripts, TheDaemonDisciplinesTheClockOnlyWhenItIsTold)
{
    const std::string without = FileOf({}), with = FileOf({"--discipline-clock"});

    EXPECT_TRUE(without.ends_with("\n[lo]\n")) << without;
    EXPECT_NE(std::string::npos, without.find("\nclock_servo pi\n")) << "a servo that works on nothing";
    EXPECT_TRUE(with.ends_with("\n[lo]\n")) << with;
    EXPECT_EQ(std::string::npos, with.find("clock_servo")) << "its own servo";
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

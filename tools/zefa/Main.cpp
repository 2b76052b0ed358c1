// zefa: the command line tool. Finds the command, runs it, and turns what it ends with into an exit code.
#include "Commands.h"
#include "Failure.h"
#include "Help.h"
#include "LoggedCall.h"
#include "Report.h"

#include <algorithm>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using namespace zefa;

const Command* FindCommand(const std::vector<std::string>& words)
{
    for (const Command& command : Commands())
    {
        const std::string name = command.name;
        const size_t count = name.find(' ') == std::string::npos ? 1 : 2;
        if (words.size() >= count && name == (count == 1 ? words[0] : words[0] + " " + words[1])) return &command;
    }
    return nullptr;
}

int RunGeneral(const std::vector<std::string>& words)
{
    const std::string& word = words[0];
    if (word == "--help")
        Print(HelpText());
    else if (word == "--version")
        Print(std::string("zefa ") + ZEFA_TOOL_VERSION + "\n");
    else if (word == "--man")
        Print(ManPage(ZEFA_TOOL_VERSION));
    else if (word == "--completion" && words.size() == 2 && words[1] == "bash")
        Print(BashCompletion());
    else if (word == "--completion")
        throw Failure(kUsage, "--completion wants the name of a shell: bash.");
    else
        throw Failure(kUsage, "There is no command \"" + word + "\".");
    return kGood;
}

int RunWords(const std::vector<std::string>& words)
{
    if (words.empty()) throw Failure(kUsage, "A command is missing.");
    const Command* const command = FindCommand(words);
    if (!command && words[0] == "sdp") throw Failure(kUsage, "sdp wants one of check, show, write and diff.");
    if (!command) return RunGeneral(words);
    const std::ptrdiff_t count = std::string(command->name).find(' ') == std::string::npos ? 1 : 2;
    const std::vector<std::string> rest(words.begin() + count, words.end());
    if (std::find(rest.begin(), rest.end(), "--help") != rest.end())
    {
        Print(HelpText(*command));
        return kGood;
    }
    return command->run(ParseArguments(rest, command->options, command->operands));
}

// Where a standard stream is closed its descriptor would be the next file's. Reading finds an end there, writing fails.
void OccupyStandardDescriptors()
{
    int last = -1;
    do
        last = ::open("/dev/null", O_RDONLY);
    while (last >= 0 && last <= STDERR_FILENO);
    ::close(last);
}

// A session that could not be opened leaves its watchdog running: nothing may be destroyed under it.
[[noreturn]] void End(const char* sentence, ExitCode code)
{
    std::fprintf(stderr, "zefa: %s\n", Harmless(sentence).c_str());
    if (code == kUsage) std::fprintf(stderr, "Try: zefa --help, or zefa COMMAND --help\n");
    std::fflush(nullptr);
    ::_exit(code);
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words(argv + 1, argv + argc);
    try
    {
        if (!words.empty() && words[0] == kLoggedCallWord) return RunLoggedCall({words.begin() + 1, words.end()});
        OccupyStandardDescriptors();
        // What the library logs on the standard output must not stand between tables or JSON.
        UseOutput(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
        CatchSignals();
        return RunWords(words);
    }
    catch (const Failure& failure)
    {
        End(failure.what(), failure.Code);
    }
    catch (const std::exception& failure)
    {
        End(failure.what(), kRefused);
    }
}

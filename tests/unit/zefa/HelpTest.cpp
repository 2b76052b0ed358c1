// Help, man page and completion know every command and every option of the table.
#include "tools/zefa/Help.h"
#include "tools/zefa/Failure.h"

#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>

namespace
{

using namespace zefa;

bool Holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

std::string Escaped(const std::string& text)
{
    return std::regex_replace(text, std::regex("-"), "\\-");
}

TEST(Commands, NamesAndOptionsAreThereOnce)
{
    std::set<std::string> names;
    for (const Command& command : Commands())
    {
        EXPECT_TRUE(names.insert(command.name).second) << command.name;
        EXPECT_TRUE(command.run) << command.name;
        std::set<std::string> options;
        for (const Option& option : command.options)
        {
            EXPECT_TRUE(options.insert(option.name).second) << command.name << " " << option.name;
            EXPECT_EQ(0u, std::string(option.name).find("--")) << option.name;
            EXPECT_TRUE(option.argument || !option.choices) << option.name << " has no value to choose";
        }
    }
    EXPECT_EQ(11u, names.size());
}

TEST(Help, OfACommandTellsItsOptionsAndTheExitCodes)
{
    for (const Command& command : Commands())
    {
        const std::string help = HelpText(command);
        EXPECT_EQ(0u, help.find("Usage: zefa " + std::string(command.name))) << help;
        for (const Option& option : command.options)
            EXPECT_TRUE(Holds(help, std::string("  ") + option.name)) << command.name << " " << option.name;
        for (const ExitCodeText& code : kExitCodes)
            EXPECT_TRUE(Holds(help, "\n  " + std::to_string(code.code) + " ")) << command.name;
    }
}

TEST(Help, LinesAreNotLongerThanATerminal)
{
    std::string all = HelpText();
    for (const Command& command : Commands())
        all += HelpText(command);
    std::istringstream lines(all);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80u) << line;
}

TEST(ManPage, HasTheSectionsOfAManPageAndAllCommandsAndOptions)
{
    const std::string page = ManPage("1.2.3");

    for (const char* section : {".TH ZEFA 1 ", ".SH NAME\nzefa \\- ", ".SH SYNOPSIS\n", ".SH DESCRIPTION\n",
                                ".SH OPTIONS\n", ".SH COMMANDS\n", ".SH EXIT STATUS\n", ".SH FILES\n"})
        EXPECT_TRUE(Holds(page, section)) << section;
    EXPECT_TRUE(Holds(page, "zefaline1 1.2.3"));
    for (const Command& command : Commands())
    {
        EXPECT_TRUE(Holds(page, ".SS \"zefa " + std::string(command.name))) << command.name;
        for (const Option& option : command.options)
            EXPECT_TRUE(Holds(page, ".TP\n\\fB" + Escaped(option.name) + "\\fR")) << option.name;
    }
}

TEST(ManPage, LinesThatBeginWithADotAreKnownRequests)
{
    const std::set<std::string> requests{".TH", ".SH", ".SS", ".TP", ".PP", ".B", ".I"};
    std::istringstream lines(ManPage("1.2.3"));
    for (std::string line; std::getline(lines, line);)
    {
        EXPECT_FALSE(line.empty()) << "an empty line prints as one";
        EXPECT_NE('\'', line[0]) << line;
        if (line[0] == '.')
        {
            EXPECT_TRUE(requests.contains(line.substr(0, line.find(' ')))) << line;
        }
    }
}

TEST(BashCompletion, OffersAllCommandsOptionsAndChoices)
{
    const std::string completion = BashCompletion();

    EXPECT_TRUE(Holds(completion, "'status cores interfaces conductors ptp receive send sdp --help"));
    EXPECT_TRUE(Holds(completion, "'check show write diff'"));
    for (const Command& command : Commands())
        for (const Option& option : command.options)
        {
            EXPECT_TRUE(Holds(completion, std::string(option.name) + " ")) << option.name;
            const std::string choices = option.choices ? option.choices : "@file";
            EXPECT_TRUE(choices == "@file" || Holds(completion, "'" + choices + "'")) << option.name;
        }
}

} // namespace

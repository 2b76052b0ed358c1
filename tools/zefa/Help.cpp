// Help texts, man page and completion.
#include "Help.h"

#include "Failure.h"

#include <map>
#include <set>
#include <sstream>

namespace zefa
{
namespace
{
constexpr size_t kWidth = 80;

constexpr const char* kPurpose = "look at the media service of this machine, move streams, read and write descriptions";

// Words of `text`, filled into lines of kWidth that all begin behind `indent` blanks.
std::string Filled(const std::string& text, size_t indent)
{
    std::string filled, line;
    std::istringstream words(text);
    const auto flush = [&]
    {
        if (!line.empty()) filled += std::string(indent, ' ') + line + "\n";
        line.clear();
    };
    for (std::string word; words >> word;)
    {
        if (!line.empty() && indent + line.size() + 1 + word.size() > kWidth) flush();
        line += (line.empty() ? "" : " ") + word;
    }
    flush();
    return filled;
}

std::vector<std::string> Paragraphs(const std::string& text)
{
    std::vector<std::string> paragraphs;
    size_t begin = 0;
    for (size_t end = 0; end != std::string::npos; begin = end + 2)
    {
        end = text.find("\n\n", begin);
        paragraphs.push_back(text.substr(begin, end - begin));
    }
    return paragraphs;
}

std::string Spelled(const Option& option)
{
    return option.argument ? std::string(option.name) + " " + option.argument : option.name;
}

// Two columns: what is told, and what it means.
std::string Listed(const std::string& term, const std::string& meaning)
{
    constexpr size_t kMeaning = 26;
    const std::string filled = Filled(meaning, kMeaning);
    std::string head = "  " + term;
    if (head.size() + 2 > kMeaning) return head + "\n" + filled;
    head.resize(kMeaning, ' ');
    return head + filled.substr(kMeaning);
}

std::string ExitCodesText()
{
    std::string text = "Exit codes\n";
    for (const ExitCodeText& each : kExitCodes)
        text += Listed(std::to_string(each.code), each.meaning);
    return text;
}

// Text as troff prints it: no backslash or hyphen is a command or turned into another character.
std::string Troff(const std::string& text)
{
    std::string escaped;
    for (const char each : text)
    {
        if (each == '\\')
            escaped += "\\e";
        else if (each == '-')
            escaped += "\\-";
        else
            escaped += each;
    }
    return !escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'') ? "\\&" + escaped : escaped;
}

std::string ManOption(const Option& option)
{
    std::string text = ".TP\n\\fB" + Troff(option.name) + "\\fR";
    if (option.argument) text += " \\fI" + Troff(option.argument) + "\\fR";
    return text + "\n" + Troff(option.help) + "\n";
}

std::string ManCommand(const Command& command)
{
    std::string text = ".SS \"zefa " + std::string(command.name);
    for (const Operand& operand : command.operands)
        text += std::string(" ") + operand.name;
    text += "\"\n";
    const char* between = "";
    for (const std::string& paragraph : Paragraphs(command.text))
    {
        text += between + Troff(paragraph) + "\n";
        between = ".PP\n";
    }
    for (const Option& option : command.options)
        text += ManOption(option);
    return text;
}

std::string First(const std::string& name)
{
    return name.substr(0, name.find(' '));
}

std::string Second(const std::string& name)
{
    const size_t blank = name.find(' ');
    return blank == std::string::npos ? "" : name.substr(blank + 1);
}

// The commands' first words, in the order of the table.
std::string FirstWords()
{
    std::set<std::string> seen;
    std::string words;
    for (const Command& command : Commands())
        if (const std::string first = First(command.name); seen.insert(first).second)
            words += (words.empty() ? "" : " ") + first;
    return words;
}

std::string OptionWords(const std::vector<Option>& options)
{
    std::string words;
    for (const Option& option : options)
        words += std::string(option.name) + " ";
    return words + "--help";
}

// Patterns and actions of a bash `case` for the values of a command's options.
std::string ValueCases(const std::vector<Option>& options)
{
    std::string cases;
    for (const Option& option : options)
    {
        if (!option.argument) continue;
        const std::string choices = option.choices ? option.choices : "";
        cases += "        " + std::string(option.name) + ") ";
        // With an empty answer bash offers files.
        if (!choices.empty() && choices != "@file")
            cases += "COMPREPLY=($(compgen -W '" + choices + "' -- \"$word\")); ";
        cases += "return ;;\n";
    }
    return cases;
}

bool TakesFiles(const Command& command)
{
    for (const Operand& operand : command.operands)
        if (operand.choices && std::string(operand.choices) == "@file") return true;
    return false;
}
} // namespace

std::string Synopsis(const Command& command)
{
    std::string text = std::string("zefa ") + command.name;
    for (const Operand& operand : command.operands)
        text += std::string(" ") + operand.name;
    return text + " [options]";
}

std::string HelpText()
{
    std::string text = "Usage: zefa COMMAND [options]\n\n" + Filled(std::string("zefa: ") + kPurpose, 0) + "\n";
    for (const Command& command : Commands())
        text += Listed(command.name, command.summary);
    text += "\n";
    for (const Option& option : GeneralOptions())
        text += Listed(Spelled(option), option.help);
    return text + "\n" + ExitCodesText();
}

std::string HelpText(const Command& command)
{
    std::string text = "Usage: " + Synopsis(command) + "\n";
    for (const std::string& paragraph : Paragraphs(command.text))
        text += "\n" + Filled(paragraph, 0);
    text += "\n";
    for (const Option& option : command.options)
        text += Listed(Spelled(option), option.help);
    return text + "\n" + ExitCodesText();
}

std::string ManPage(const std::string& version)
{
    std::string text = ".TH ZEFA 1 \"\" \"zefaline1 " + version + "\" \"User Commands\"\n" + ".SH NAME\nzefa \\- " +
                       Troff(kPurpose) + "\n" + ".SH SYNOPSIS\n.B zefa\n.I COMMAND\n[options]\n";
    text += ".SH DESCRIPTION\nEach command prints tables for people, or JSON for programs with " + Troff("--json") +
            ". What the library logs on the standard output goes to the standard error stream.\n";
    text += ".SH OPTIONS\n";
    for (const Option& option : GeneralOptions())
        text += ManOption(option);
    text += ".SH COMMANDS\n";
    for (const Command& command : Commands())
        text += ManCommand(command);
    text += ".SH EXIT STATUS\n";
    for (const ExitCodeText& each : kExitCodes)
        text += ".TP\n.B " + std::to_string(each.code) + "\n" + Troff(each.meaning) + "\n";
    text += ".SH FILES\n.TP\n.I /etc/quillmont/zefaline.conf\nThe library's log settings of this machine. Where this "
            "file is there, it decides what the reader and the writer say, also to the sdp commands.\n";
    return text;
}

std::string BashCompletion()
{
    std::map<std::string, std::string> seconds;
    for (const Command& command : Commands())
        if (const std::string second = Second(command.name); !second.empty())
        {
            std::string& words = seconds[First(command.name)];
            words += (words.empty() ? "" : " ") + second;
        }

    std::string text = "# bash completion for zefa\n"
                       "_zefa()\n"
                       "{\n"
                       "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]}\n"
                       "    local command=${COMP_WORDS[1]}\n"
                       "    COMPREPLY=()\n"
                       "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
                       "        COMPREPLY=($(compgen -W '" +
                       FirstWords() + " " + OptionWords(GeneralOptions()) +
                       "' -- \"$word\"))\n        return\n    fi\n";
    text += "    case $command in\n";
    for (const Option& option : GeneralOptions())
        if (option.choices)
            text += "    " + std::string(option.name) + ") COMPREPLY=($(compgen -W '" + option.choices +
                    "' -- \"$word\")); return ;;\n";
    for (const auto& [first, words] : seconds)
        text += "    " + first +
                ")\n        if [ \"$COMP_CWORD\" -eq 2 ]; then\n            COMPREPLY=($(compgen -W '" + words +
                "' -- \"$word\"))\n            return\n        fi\n        command=\"$command ${COMP_WORDS[2]}\" ;;\n";
    text += "    esac\n    case $command in\n";
    for (const Command& command : Commands())
    {
        text += "    '" + std::string(command.name) + "')\n        case $before in\n" + ValueCases(command.options) +
                "        esac\n        case $word in\n        -*) COMPREPLY=($(compgen -W '" +
                OptionWords(command.options) + "' -- \"$word\")) ;;\n";
        if (!TakesFiles(command))
            text += "        *) COMPREPLY=($(compgen -W '" + OptionWords(command.options) + "' -- \"$word\")) ;;\n";
        text += "        esac ;;\n";
    }
    return text + "    esac\n}\ncomplete -o default -F _zefa zefa\n";
}

} // namespace zefa

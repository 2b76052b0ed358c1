// The words of a command line, taken apart by the tables of Commands.h.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zefa
{

// One option of a command. Help, man page and completion are made of these rows.
struct Option
{
    const char* name;     // with its hyphens
    const char* argument; // name of its value; null for a switch
    const char* help;
    const char* choices = nullptr; // for the completion: words with blanks between, "@file", or null
    bool repeats = false;          // may be given several times
};

struct Operand
{
    const char* name;
    const char* choices = nullptr;
};

class Arguments
{
public:
    bool Has(const std::string& option) const { return Values.contains(option); }
    std::optional<std::string> Find(const std::string& option) const; // the last one counts
    std::string Text(const std::string& option, const std::string& otherwise) const;
    std::vector<std::string> All(const std::string& option) const;
    // A Failure of kUsage for what is no decimal number from `least` to `most`.
    std::optional<uint64_t> FindNumber(const std::string& option, uint64_t least, uint64_t most) const;
    uint64_t Number(const std::string& option, uint64_t least, uint64_t most, uint64_t otherwise) const;

    std::vector<std::string> Operands;
    std::map<std::string, std::vector<std::string>> Values; // by the option's name; a switch has one empty value
};

// Takes `words` apart. "--name=value" and "--name value" are the same; "--" ends the options; a lone "-" is an operand.
// A Failure of kUsage tells what does not fit.
Arguments ParseArguments(const std::vector<std::string>& words, const std::vector<Option>& options,
                         const std::vector<Operand>& operands);

// The number that the whole of `text` is, in decimal digits.
std::optional<uint64_t> DecimalNumber(const std::string& text);

} // namespace zefa

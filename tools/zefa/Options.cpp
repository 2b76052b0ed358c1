// Taking a command line apart.
#include "Options.h"

#include "Failure.h"

#include <algorithm>
#include <charconv>

namespace zefa
{
namespace
{
const Option& OptionNamed(const std::vector<Option>& options, const std::string& name)
{
    const auto found =
        std::find_if(options.begin(), options.end(), [&](const Option& option) { return name == option.name; });
    if (found == options.end()) throw Failure(kUsage, "There is no option " + name + " here.");
    return *found;
}
} // namespace

std::optional<uint64_t> DecimalNumber(const std::string& text)
{
    uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc() || stop != end) return std::nullopt;
    return number;
}

std::optional<std::string> Arguments::Find(const std::string& option) const
{
    const auto found = Values.find(option);
    if (found == Values.end()) return std::nullopt;
    return found->second.back();
}

std::string Arguments::Text(const std::string& option, const std::string& otherwise) const
{
    return Find(option).value_or(otherwise);
}

std::vector<std::string> Arguments::All(const std::string& option) const
{
    const auto found = Values.find(option);
    return found == Values.end() ? std::vector<std::string>{} : found->second;
}

std::optional<uint64_t> Arguments::FindNumber(const std::string& option, uint64_t least, uint64_t most) const
{
    const std::optional<std::string> text = Find(option);
    if (!text) return std::nullopt;
    const std::optional<uint64_t> number = DecimalNumber(*text);
    if (!number || *number < least || *number > most)
        throw Failure(kUsage, option + " wants a number from " + std::to_string(least) + " to " + std::to_string(most) +
                                  ", not \"" + *text + "\".");
    return number;
}

uint64_t Arguments::Number(const std::string& option, uint64_t least, uint64_t most, uint64_t otherwise) const
{
    return FindNumber(option, least, most).value_or(otherwise);
}

Arguments ParseArguments(const std::vector<std::string>& words, const std::vector<Option>& options,
                         const std::vector<Operand>& operands)
{
    Arguments arguments;
    bool optionsEnded = false;
    for (size_t i = 0; i < words.size(); ++i)
    {
        const std::string& word = words[i];
        if (optionsEnded || !word.starts_with('-') || word == "-")
        {
            arguments.Operands.push_back(word);
            continue;
        }
        if (word == "--")
        {
            optionsEnded = true;
            continue;
        }
        const size_t equals = word.find('=');
        const Option& option = OptionNamed(options, word.substr(0, equals));
        std::string value;
        if (!option.argument && equals != std::string::npos)
            throw Failure(kUsage, std::string(option.name) + " takes no value.");
        if (option.argument && equals != std::string::npos)
            value = word.substr(equals + 1);
        else if (option.argument)
        {
            if (i + 1 == words.size()) throw Failure(kUsage, word + " wants a value: " + option.argument + ".");
            value = words[++i];
        }
        auto& values = arguments.Values[option.name];
        if (option.argument && !values.empty() && !option.repeats)
            throw Failure(kUsage, std::string(option.name) + " is given twice.");
        values.push_back(value);
    }
    if (arguments.Operands.size() < operands.size())
        throw Failure(kUsage, std::string(operands[arguments.Operands.size()].name) + " is missing.");
    if (arguments.Operands.size() > operands.size())
        throw Failure(kUsage, "\"" + arguments.Operands[operands.size()] + "\" is one word too many.");
    return arguments;
}

} // namespace zefa

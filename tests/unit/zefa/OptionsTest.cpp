// Command lines taken apart.
#include "tools/zefa/Options.h"
#include "tools/zefa/Failure.h"

#include <gtest/gtest.h>

namespace
{

using namespace zefa;

const std::vector<Option> kOptions{{"--json", nullptr, ""}, {"--count", "N", ""}, {"--path", "P", "", nullptr, true}};
const std::vector<Operand> kOperands{{"FILE"}};

Arguments Parse(const std::vector<std::string>& words)
{
    return ParseArguments(words, kOptions, kOperands);
}

std::string RefusalOf(const std::vector<std::string>& words)
{
    try
    {
        Parse(words);
    }
    catch (const Failure& failure)
    {
        return failure.Code == kUsage ? failure.what() : "another code";
    }
    return "taken";
}

TEST(ParseArguments, ValuesStandBehindTheirOptionOrBehindAnEqualsSign)
{
    const Arguments arguments = Parse({"--count", "5", "a.sdp", "--path=x=y", "--path", "z", "--json"});

    EXPECT_EQ("5", arguments.Text("--count", ""));
    EXPECT_EQ((std::vector<std::string>{"x=y", "z"}), arguments.All("--path"));
    EXPECT_TRUE(arguments.Has("--json"));
    EXPECT_EQ((std::vector<std::string>{"a.sdp"}), arguments.Operands);
}

TEST(ParseArguments, TwoHyphensEndTheOptionsAndOneIsAnOperand)
{
    EXPECT_EQ((std::vector<std::string>{"--json"}), Parse({"--", "--json"}).Operands);
    EXPECT_EQ((std::vector<std::string>{"-"}), Parse({"-"}).Operands);
}

struct RefusalCase
{
    const char* name;
    std::vector<std::string> words;
    const char* sentence;
};

class ParseArgumentsRefuses : public testing::TestWithParam<RefusalCase>
{
};

TEST_P(ParseArgumentsRefuses, WithASentence)
{
    EXPECT_EQ(GetParam().sentence, RefusalOf(GetParam().words));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ParseArgumentsRefuses,
    testing::Values(RefusalCase{"UnknownOption", {"a", "--color"}, "There is no option --color here."},
                    RefusalCase{"MissingValue", {"a", "--count"}, "--count wants a value: N."},
                    RefusalCase{"ValueOfASwitch", {"a", "--json=1"}, "--json takes no value."},
                    RefusalCase{"SecondValue", {"a", "--count", "1", "--count", "2"}, "--count is given twice."},
                    RefusalCase{"MissingOperand", {"--json"}, "FILE is missing."},
                    RefusalCase{"OperandToSpare", {"a", "b"}, "\"b\" is one word too many."}),
    [](const auto& instance) { return instance.param.name; });

TEST(Arguments, NumbersAreDecimalAndWithinTheirRange)
{
    const auto number = [](const char* text)
    {
        Arguments arguments;
        arguments.Values["--count"] = {text};
        return arguments.Number("--count", 1, 20, 7);
    };

    EXPECT_EQ(20u, number("20"));
    EXPECT_EQ(7u, Arguments().Number("--count", 1, 20, 7));
    for (const char* wrong : {"", "0", "21", "-1", " 5", "5x", "0x5", "99999999999999999999"})
        EXPECT_THROW(number(wrong), Failure) << wrong;
}

} // namespace

// The exported header: the same in every language, complete, and with a manual for each thing that it declares.
#include "HeaderSizes.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

namespace fs = std::filesystem;

namespace
{
std::string Content(const fs::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<fs::path> Headers()
{
    std::vector<fs::path> headers;
    for (const auto& entry : fs::directory_iterator(fs::path(INCLUDE_FOLDER) / "zefaline"))
        headers.push_back(entry.path());
    std::sort(headers.begin(), headers.end());
    return headers;
}

struct Declaration
{
    std::string name;
    std::string manual;    // the comment right above
    std::string arguments; // the text between the parentheses
};

std::vector<Declaration> Declarations()
{
    const std::regex function(R"(ZEFA_API ZEFA_ERRORCODE (ZEFA_\w+)\(([^)]*)\);)");
    std::vector<Declaration> declarations;
    for (const fs::path& header : Headers())
    {
        const std::string text = Content(header);
        for (std::sregex_iterator match(text.begin(), text.end(), function), end; match != end; ++match)
        {
            const std::string before = text.substr(0, static_cast<size_t>(match->position()));
            const size_t start = before.rfind("/**");
            const bool rightAbove = start != std::string::npos && before.ends_with("*/\n");
            declarations.push_back({(*match)[1], rightAbove ? before.substr(start) : "", (*match)[2]});
        }
    }
    return declarations;
}

std::vector<std::string> ArgumentNames(const std::string& arguments)
{
    std::vector<std::string> names;
    const std::regex name(R"((\w+)\s*(,|$))");
    for (std::sregex_iterator match(arguments.begin(), arguments.end(), name), end; match != end; ++match)
        names.push_back((*match)[1]);
    return names;
}
} // namespace

TEST(Header, HasTheSameLayoutInCAndCxx)
{
    const size_t sizesHere[] = {HEADER_SIZES};

    ASSERT_EQ(std::size(sizesHere), size_t{HEADER_SIZE_COUNT});
    EXPECT_TRUE(std::equal(std::begin(sizesHere), std::end(sizesHere), SizesInC99));
    EXPECT_TRUE(std::equal(std::begin(sizesHere), std::end(sizesHere), SizesInCxx11));
}

TEST(Header, ConstantsServeInSwitchesAndConditionsOfBothLanguages)
{
    for (auto* use : {&UseConstantsInC99, &UseConstantsInCxx11})
    {
        EXPECT_EQ(use(ZEFA_NO_ERROR, 15), 1);
        EXPECT_EQ(use(ZEFA_NO_ERROR, 16), 2);
        EXPECT_EQ(use(ZEFA_ERR_TIMEOUT, 0), 45);
    }
}

TEST(Header, DeclaresFiftyFiveFunctionsEachOnce)
{
    std::set<std::string> names;
    for (const Declaration& each : Declarations())
        EXPECT_TRUE(names.insert(each.name).second) << each.name << " is declared twice";

    EXPECT_EQ(names.size(), 55U);
}

TEST(Header, VersionScriptNamesExactlyTheDeclaredFunctions)
{
    std::set<std::string> declared;
    for (const Declaration& each : Declarations())
        declared.insert(each.name);
    std::set<std::string> exported;
    const std::string map = Content(EXPORTS_MAP);
    const std::regex name(R"((ZEFA_\w+);)");
    for (std::sregex_iterator match(map.begin(), map.end(), name), end; match != end; ++match)
        exported.insert((*match)[1]);

    EXPECT_EQ(exported, declared);
}

TEST(Header, EveryFunctionHasAManualThatTellsItsArgumentsAndSuccess)
{
    for (const Declaration& each : Declarations())
    {
        EXPECT_NE(each.manual.find("@retval ZEFA_"), std::string::npos) << each.name << " tells no result code";
        for (const std::string& argument : ArgumentNames(each.arguments))
            EXPECT_TRUE(std::regex_search(each.manual, std::regex(R"(@param(\[\w+(,\w+)?\])? )" + argument + R"(\b)")))
                << each.name << " does not tell " << argument;
    }
}

TEST(Header, EveryFunctionThatTakesAHandleTellsTheCodeOfABadOne)
{
    for (const Declaration& each : Declarations())
    {
        const bool later = each.manual.find("@retval ZEFA_ERR_NOT_IMPLEMENTED") != std::string::npos;
        const bool takesHandle = each.arguments.starts_with("ZEFA_HANDLE ") && !later;
        const bool tells = each.manual.find("@retval ZEFA_ERR_INVALID_HANDLE") != std::string::npos;
        EXPECT_EQ(tells, takesHandle) << each.name;
    }
}

TEST(Header, EveryFieldHasAComment)
{
    const std::regex field(R"(^    [A-Za-z][\w ]*[ *]\w+(_\w+)?(\[\w+\])?;\s*(.*)$)");
    size_t fields = 0;
    for (const fs::path& header : Headers())
    {
        std::istringstream lines(Content(header));
        std::string before, line;
        for (; std::getline(lines, line); before = line)
        {
            std::smatch match;
            if (!std::regex_match(line, match, field)) continue;
            ++fields;
            const bool behind = match[3].str().starts_with("/**<");
            const bool inFront = before.starts_with("    /** ") && before.ends_with(" */");
            EXPECT_TRUE(behind || inFront) << header.filename() << ": " << line;
        }
    }
    EXPECT_GT(fields, 100U);
}

TEST(Header, EveryConstantHasAComment)
{
    size_t constants = 0;
    for (const fs::path& header : Headers())
    {
        std::istringstream lines(Content(header));
        std::string before;
        for (std::string line; std::getline(lines, line); before = line)
            if (std::regex_search(line, std::regex(R"(^#define ZEFA_\w+ +(U?INT32_C|\d))")))
            {
                ++constants;
                const bool behind = line.find("/**<") != std::string::npos;
                const bool above = before.size() > 2 && before.substr(before.size() - 2) == "*/" &&
                                   before.find("#define") == std::string::npos;
                EXPECT_TRUE(behind || above) << header.filename() << ": " << line;
            }
    }
    EXPECT_GT(constants, 150U);
}

TEST(Header, NumbersOfTheVideoStandardsRunFromZeroToFortyFive)
{
    const std::string text = Content(fs::path(INCLUDE_FOLDER) / "zefaline" / "video_standards.h");
    const std::regex constant(R"(#define (ZEFA_VIDEO_STANDARD_\w+)\s+INT32_C\((\d+)\))");
    std::set<std::string> names;
    std::set<int> numbers;
    for (std::sregex_iterator match(text.begin(), text.end(), constant), end; match != end; ++match)
    {
        names.insert((*match)[1]);
        numbers.insert(std::stoi((*match)[2]));
    }

    EXPECT_EQ(names.size(), 46U);
    EXPECT_EQ(numbers.size(), 46U);
    EXPECT_EQ(*numbers.begin(), 0);
    EXPECT_EQ(*numbers.rbegin(), 45);
    EXPECT_EQ(ZEFA_VIDEO_STANDARD_1920X1080_I_59_94, 7);
    EXPECT_EQ(ZEFA_VIDEO_STANDARD_720X576_I_50, 2);
    EXPECT_EQ(ZEFA_VIDEO_STANDARD_4096X2160_P_60, 44);
}

// The names that the library gives to the dynamic linker.
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
#include <string>

namespace
{
std::set<std::string> DeclaredFunctions()
{
    std::set<std::string> names;
    const std::regex function(R"(ZEFA_API ZEFA_ERRORCODE (ZEFA_\w+)\()");
    for (const auto& header : std::filesystem::directory_iterator(HEADERS))
    {
        std::ifstream file(header.path());
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        for (std::sregex_iterator match(text.begin(), text.end(), function), end; match != end; ++match)
            names.insert((*match)[1]);
    }
    return names;
}

// All defined dynamic symbols, functions and data alike.
std::set<std::string> ExportedSymbols()
{
    FILE* nm = popen(NM " -D --defined-only '" LIBRARY "'", "r");
    std::string printed;
    for (int c = 0; (c = fgetc(nm)) != EOF;)
        printed += static_cast<char>(c);
    EXPECT_EQ(pclose(nm), 0);
    std::set<std::string> names;
    std::istringstream lines(printed);
    std::string address, type, name;
    while (lines >> address >> type >> name)
        names.insert(name);
    return names;
}
} // namespace

TEST(Exports, AreTheDeclaredFunctionsAndNothingElse)
{
    const std::set<std::string> exported = ExportedSymbols();

    EXPECT_EQ(exported, DeclaredFunctions());
    EXPECT_EQ(exported.size(), 55U);
}

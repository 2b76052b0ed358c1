// The expressions of the grammar against the standard library's engine, whose captures are the ones to have. The first
// byte chooses the expression, and whether the line gets the prefix that the expression begins with.
#include "sdp/SdpRuleTable.h"

#include <cstdint>
#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

using namespace quill::sdp_module;

static constexpr size_t kLongestLine = 120; // that engine recurses, and takes its time on repeats of groups

struct Contenders
{
    const SdpExpression* chosen;
    std::regex standard;
};

static const std::vector<Contenders>& AllExpressions()
{
    static const std::vector<Contenders> all = []
    {
        std::vector<Contenders> made;
        for (const auto& [letter, rules] : SdpRuleTable())
            for (const SdpRule& rule : rules)
                made.push_back({&rule.reg, std::regex(rule.reg.Text())});
        return made;
    }();
    return all;
}

static void Require(bool condition)
{
    if (!condition) std::abort();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0 || size > kLongestLine) return 0;
    const auto& expressions = AllExpressions();
    const Contenders& contenders = expressions[data[0] / 2 % expressions.size()];
    std::string line(data[0] % 2 ? contenders.chosen->Prefix() : "");
    line.append(reinterpret_cast<const char*>(data) + 1, size - 1);

    std::smatch expected;
    const bool expectedFound = std::regex_search(line, expected, contenders.standard);
    SdpMatch match(line.size());
    Require(contenders.chosen->Find(line, match) == expectedFound);
    for (size_t i = 0; expectedFound && i < expected.size(); ++i)
        Require(match.Capture(i) == expected[i].str());
    return 0;
}

// How long a comparison of secrets and a search for one take, told in instructions and not in time: a child is led
// through them step by step.
#include "mxs/ContextStore.h"
#include "mxs/Identifiers.h"

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using Turn = std::function<bool()>; // false: its result is wrong
using Comparison = bool (*)(const mxs::Secret& left, const mxs::Secret& right);

constexpr int kBegins = SIGUSR1, kEnds = SIGUSR2; // around each turn

// In the child.
[[noreturn]] void Take(const std::vector<Turn>& turns)
{
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    for (const Turn& turn : turns)
    {
        ::raise(kBegins);
        const bool right = turn();
        ::raise(kEnds);
        if (!right) ::_exit(1);
    }
    ::_exit(0);
}

// The different numbers of them that the turns take, without the first turn, which loads what it needs.
std::set<int> InstructionsOf(const std::vector<Turn>& turns)
{
    const pid_t child = ::fork();
    if (child == 0) Take(turns);
    std::vector<int> steps;
    int status = 0;
    while (::waitpid(child, &status, 0) == child && WIFSTOPPED(status))
    {
        const int signal = WSTOPSIG(status);
        if (signal == kBegins) steps.push_back(0);
        if (signal == SIGTRAP && !steps.empty()) ++steps.back();
        // Between the two signals one instruction at a time; neither is delivered.
        ::ptrace(signal == kEnds ? PTRACE_CONT : PTRACE_SINGLESTEP, child, nullptr, nullptr);
    }
    EXPECT_TRUE(WIFEXITED(status)) << "a child cannot be traced here";
    EXPECT_EQ(0, WEXITSTATUS(status)) << "a result is wrong";
    EXPECT_EQ(turns.size(), steps.size());
    if (!steps.empty()) steps.erase(steps.begin());
    return {steps.begin(), steps.end()};
}

mxs::Secret WithAnotherByte(mxs::Secret secret, size_t place)
{
    secret[place] ^= 0x81;
    return secret;
}

// A secret with itself, twice, and with those that differ from it in one byte.
std::vector<Turn> Comparisons(Comparison areSame)
{
    const mxs::Secret secret{0x5A, 0xC3};
    std::vector<Turn> turns;
    const auto add = [&](const mxs::Secret& other, bool same)
    { turns.emplace_back([=] { return areSame(secret, other) == same; }); };
    add(secret, true);
    add(secret, true);
    for (const size_t place : {0, 7, 16, 31})
        add(WithAnotherByte(secret, place), false);
    return turns;
}

[[gnu::noinline]] bool LeavesEarly(const mxs::Secret& left, const mxs::Secret& right)
{
    for (size_t place = 0; place < left.size(); ++place)
        if (left[place] != right[place]) return false;
    return true;
}

TEST(SameSecret, TakesAsManyInstructionsWhereverTheSecretsDiffer)
{
    EXPECT_EQ(1u, InstructionsOf(Comparisons(mxs::SameSecret)).size());
    EXPECT_EQ(5u, InstructionsOf(Comparisons(LeavesEarly)).size()); // what would be seen
}

TEST(FindToken, TakesAsManyInstructionsWhereverTheContextStandsAndTheTokensDiffer)
{
    const mxs::Log log(mxs::LogLevel::Error);
    mxs::ContextStore contexts(std::chrono::seconds(300), 8, log);
    const mxs::Secret first = contexts.Create()->Token, second = contexts.Create()->Token;
    contexts.Create();
    const mxs::Secret last = contexts.Create()->Token;

    std::vector<Turn> found, missed;
    for (const mxs::Secret& token : {first, first, second, last})
        found.emplace_back([&contexts, token] { return contexts.Find(token) != nullptr; });
    for (const mxs::Secret& token : {first, first, last})
        for (const size_t place : {size_t{0}, token.size() - 1})
            missed.emplace_back([&contexts, other = WithAnotherByte(token, place)]
                                { return contexts.Find(other) == nullptr; });

    EXPECT_EQ(1u, InstructionsOf(found).size());
    EXPECT_EQ(1u, InstructionsOf(missed).size());
}

} // namespace

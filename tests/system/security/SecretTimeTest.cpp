// How long a comparison of secrets takes, told in instructions and not in time: a child is led through it step by step.
#include "mxs/Identifiers.h"

#include <csignal>
#include <gtest/gtest.h>
#include <set>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

using Comparison = bool (*)(const mxs::Secret& left, const mxs::Secret& right);

constexpr int kBegins = SIGUSR1, kEnds = SIGUSR2; // around each comparison
constexpr size_t kPlaces[] = {0, 7, 16, 31};      // of the byte that differs
constexpr size_t kEqual = 2;                      // comparisons with itself; the first one loads what it needs

// In the child: a secret with itself, and with those that differ from it in one byte.
[[noreturn]] void Compare(Comparison areSame)
{
    const mxs::Secret secret{0x5A, 0xC3};
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    for (size_t turn = 0; turn < kEqual + std::size(kPlaces); ++turn)
    {
        mxs::Secret other = secret;
        if (turn >= kEqual) other[kPlaces[turn - kEqual]] ^= 0x81;
        ::raise(kBegins);
        const bool same = areSame(secret, other);
        ::raise(kEnds);
        if (same != (turn < kEqual)) ::_exit(1);
    }
    ::_exit(0);
}

// Of each comparison of the child but the first.
std::vector<int> InstructionsOf(Comparison areSame)
{
    const pid_t child = ::fork();
    if (child == 0) Compare(areSame);
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
    EXPECT_EQ(0, WEXITSTATUS(status)) << "the comparison is wrong";
    EXPECT_EQ(kEqual + std::size(kPlaces), steps.size());
    if (!steps.empty()) steps.erase(steps.begin());
    return steps;
}

[[gnu::noinline]] bool LeavesEarly(const mxs::Secret& left, const mxs::Secret& right)
{
    for (size_t place = 0; place < left.size(); ++place)
        if (left[place] != right[place]) return false;
    return true;
}

size_t DifferentOnes(const std::vector<int>& counts)
{
    return std::set<int>(counts.begin(), counts.end()).size();
}

TEST(SameSecret, TakesAsManyInstructionsWhereverTheSecretsDiffer)
{
    EXPECT_EQ(1u, DifferentOnes(InstructionsOf(mxs::SameSecret)));
    EXPECT_EQ(5u, DifferentOnes(InstructionsOf(LeavesEarly))); // what would be seen
}

} // namespace

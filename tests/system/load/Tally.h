// Results of calls, counted by function and held against what each function may answer.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>
#include <zefaline.h>

namespace test
{

// Of one thread; those of several are added.
class Tally
{
public:
    // Gives the result back. One that the function may not answer fails the test.
    ZEFA_ERRORCODE Note(std::string_view function, ZEFA_ERRORCODE result);

    Tally& operator+=(const Tally& other);

    std::vector<std::string> NeverCalled() const;
    uint64_t Calls() const;
    void Print() const; // a line for each function

private:
    static constexpr size_t kFunctions = 55, kCodes = ZEFA_ERR_COMMUNICATION + 1;

    std::array<std::array<uint64_t, kCodes>, kFunctions> Counts{};
};

// Makes a call and notes its result.
#define NOTED(tally, function, ...) (tally).Note(#function, function(__VA_ARGS__))

} // namespace test

// Files, pipes and terminals by their descriptors, so that what stands still does not hold up an end.
#pragma once

#include "Interrupts.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace zefa
{

// Closes itself, unless it is a standard stream.
class Descriptor
{
public:
    explicit Descriptor(int number) : Number(number) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept : Number(std::exchange(other.Number, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;

    int Number;
};

class InputFile
{
public:
    // "-" is the standard input. Does not wait: Read does, also for the first writer of a pipe.
    explicit InputFile(const std::string& name);

    // How many bytes came; 0 at the end. Nothing when `goOn` ended the wait.
    std::optional<size_t> Read(std::span<uint8_t> buffer, const GoOn& goOn);
    void BeginAgain();

    const std::string Name;
    bool NeverWaits() const { return IsPlain; }

private:
    Descriptor File;
    bool IsPlain = false;
};

// Opens a file that is emptied, a pipe when it has a reader. The number is -1 when `goOn` ended the wait for one.
Descriptor OpenOutput(const std::string& name, const GoOn& goOn);

// Writes all; false when `goOn` ended a wait before that.
bool WriteAll(int descriptor, const std::string& name, std::string_view bytes, const GoOn& goOn);

// A file as it is; "-" is the standard input.
std::string ReadFile(const std::string& name);
void WriteFile(const std::string& name, const std::string& bytes);

} // namespace zefa

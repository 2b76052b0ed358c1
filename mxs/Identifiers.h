// Identifiers and secrets: their numbers, their texts and how they are made.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mxs
{

// The kind stands in the top byte, so that an identifier of one kind never names a resource of another.
enum class IdKind : uint64_t
{
    Context = 0x11,
    Conductor = 0x12,
    Stream = 0x13,
    CpuCore = 0x14,
    NetworkInterface = 0x15
};

constexpr uint64_t MakeId(IdKind kind, uint64_t number)
{
    return static_cast<uint64_t>(kind) << 56 | number;
}

// Numbers 1, 2, 3 ... of one kind, never the same twice while the service runs. Any thread.
class IdSource
{
public:
    explicit IdSource(IdKind kind) : Kind(kind) {}
    uint64_t Next() { return MakeId(Kind, ++Last); }

private:
    IdKind Kind;
    std::atomic<uint64_t> Last = 0;
};

std::string IdText(uint64_t id);                         // 16 lowercase hexadecimal digits
std::optional<uint64_t> ParseId(std::string_view text);  // exactly 16 hexadecimal digits
std::string_view LastPathSegment(std::string_view text); // "a/b/c" and "a/b/c/": "c"

using Secret = std::array<uint8_t, 32>; // 256 bits from the system's random source

Secret MakeSecret();
std::string SecretText(const Secret& secret); // 64 lowercase hexadecimal digits
std::optional<Secret> ParseSecret(std::string_view text);
bool SameSecret(const Secret& left, const Secret& right); // takes the same time wherever they differ

} // namespace mxs

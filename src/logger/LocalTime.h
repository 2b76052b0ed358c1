// The time that stands at the start of a log line.
#pragma once

#include <array>
#include <ctime>
#include <string>

namespace Quillmont::Logger
{
// The local time of now, as "13-11-2026 17:14:45".
inline std::string LocalTimeText()
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    std::array<char, 64> text{};
    return std::string(text.data(), std::strftime(text.data(), text.size(), "%d-%m-%Y %H:%M:%S", &local));
}
} // namespace Quillmont::Logger

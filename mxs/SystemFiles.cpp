// Files of the kernel hold one short text each; some fail on read, which counts as not there.
#include "mxs/SystemFiles.h"

#include "mxs/Refusal.h"

#include <cerrno>
#include <charconv>
#include <fstream>
#include <sstream>
#include <string_view>
#include <system_error>

namespace mxs
{

namespace
{

std::optional<uint32_t> ParseNumber(std::string_view text)
{
    uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

} // namespace

void RefuseUntold(int error)
{
    throw Refusal(kUnavailable, "The system does not answer: " + std::generic_category().message(error) + ".");
}

bool IsUntold(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

std::optional<std::string> ReadSystemText(const std::string& path)
{
    errno = 0;
    std::ifstream file(path);
    if (!file && IsUntold(errno)) RefuseUntold(errno);
    std::string line;
    if (!file || !std::getline(file, line)) return std::nullopt;
    return line;
}

std::optional<int64_t> ReadSystemNumber(const std::string& path)
{
    const std::optional<std::string> text = ReadSystemText(path);
    if (!text) return std::nullopt;
    int64_t number = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc() || end == text->data()) return std::nullopt;
    return number;
}

std::vector<uint32_t> ParseCpuList(const std::string& text)
{
    constexpr uint32_t kMostCores = 8192; // beyond what the kernel can be built for
    std::vector<uint32_t> cores;
    std::istringstream list(text);
    std::string range;
    while (std::getline(list, range, ','))
    {
        const size_t dash = range.find('-');
        const auto first = ParseNumber(std::string_view(range).substr(0, dash));
        const auto last = dash == std::string::npos ? first : ParseNumber(std::string_view(range).substr(dash + 1));
        if (!first || !last) continue;
        for (uint32_t core = *first; core <= *last && core < kMostCores; ++core)
            cores.push_back(core);
    }
    return cores;
}

} // namespace mxs

// Spelling of values.
#include "Words.h"

#include "Failure.h"
#include "Options.h"

#include <algorithm>
#include <arpa/inet.h>
#include <charconv>
#include <cstdio>

namespace zefa
{
namespace
{
std::string HexPairs(const uint8_t* bytes, size_t count, char between)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string text;
    for (size_t i = count; i-- > 0;)
    {
        text += {kDigits[bytes[i] >> 4], kDigits[bytes[i] & 15]};
        if (i > 0) text += between;
    }
    return text;
}

std::string RateText(uint32_t rate, bool fractional)
{
    char text[32];
    std::snprintf(text, sizeof text, fractional ? "%.2f" : "%.0f", fractional ? rate * 1000.0 / 1001.0 : rate);
    return text;
}
} // namespace

const char* WordOf(Words words, uint32_t value)
{
    const auto found = std::find_if(words.begin(), words.end(), [=](const Word& word) { return word.value == value; });
    return found == words.end() ? nullptr : found->text;
}

uint32_t ValueOf(Words words, const std::string& text, const std::string& option)
{
    std::string all;
    for (const Word& word : words)
    {
        if (text == word.text) return word.value;
        all += std::string(all.empty() ? "" : ", ") + word.text;
    }
    throw Failure(kUsage, option + " does not know \"" + text + "\"; there are: " + all + ".");
}

std::string AddressText(uint32_t address)
{
    const in_addr network{htonl(address)};
    char text[INET_ADDRSTRLEN] = "";
    ::inet_ntop(AF_INET, &network, text, sizeof text);
    return text;
}

std::optional<uint32_t> AddressOf(const std::string& text)
{
    in_addr network{};
    if (::inet_pton(AF_INET, text.c_str(), &network) != 1) return std::nullopt;
    return ntohl(network.s_addr);
}

std::string MacText(uint64_t mac)
{
    uint8_t bytes[6];
    for (size_t i = 0; i < sizeof bytes; ++i)
        bytes[i] = static_cast<uint8_t>(mac >> (8 * i));
    std::string text = HexPairs(bytes, sizeof bytes, ':');
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char each) { return each >= 'A' && each <= 'F' ? static_cast<char>(each - 'A' + 'a') : each; });
    return text;
}

std::string IdText(uint64_t id)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(id));
    return text;
}

std::string VersionText(uint64_t version)
{
    std::string text;
    for (int shift = 48; shift >= 0; shift -= 16)
        text += (text.empty() ? "" : ".") + std::to_string(version >> shift & 0xFFFF);
    return text;
}

std::string IdentityText(const uint8_t* bytes, size_t count)
{
    return HexPairs(bytes, count, '-');
}

std::optional<std::vector<uint8_t>> IdentityOf(const std::string& text, size_t count)
{
    if (text.size() != count * 3 - 1) return std::nullopt;
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; ++i)
    {
        const char* const pair = text.data() + i * 3;
        const auto [stop, error] = std::from_chars(pair, pair + 2, bytes[count - 1 - i], 16);
        if (error != std::errc() || stop != pair + 2 || (i + 1 < count && pair[2] != '-')) return std::nullopt;
    }
    return bytes;
}

std::optional<Raster> RasterOf(ZEFA_VIDEO_STANDARD standard)
{
    Raster raster;
    if (ZEFA_ST2110_20_GetVideoStandardInfo(standard, &raster.Width, &raster.Height, &raster.Rate, &raster.Interlaced,
                                            &raster.Fractional) != ZEFA_NO_ERROR)
        return std::nullopt;
    return raster;
}

std::string StandardName(ZEFA_VIDEO_STANDARD standard)
{
    const std::optional<Raster> raster = RasterOf(standard);
    if (!raster) return "";
    return std::to_string(raster->Width) + "x" + std::to_string(raster->Height) + (raster->Interlaced ? "i" : "p") +
           RateText(raster->Rate, raster->Fractional);
}

ZEFA_VIDEO_STANDARD StandardOf(const std::string& text, const std::string& option)
{
    std::string all;
    for (ZEFA_VIDEO_STANDARD standard = 0; standard < ZEFA_VIDEO_STANDARD_UNKNOWN; ++standard)
    {
        const std::string name = StandardName(standard);
        if (text == name || text == std::to_string(standard)) return standard;
        all += (all.empty() ? "" : ", ") + name;
    }
    throw Failure(kUsage, option + " does not know \"" + text + "\"; there are: " + all + ".");
}

std::optional<ZEFA_VIDEO_STANDARD> FindStandard(const Raster& raster)
{
    for (ZEFA_VIDEO_STANDARD standard = 0; standard < ZEFA_VIDEO_STANDARD_UNKNOWN; ++standard)
    {
        const std::optional<Raster> each = RasterOf(standard);
        if (each && each->Width == raster.Width && each->Height == raster.Height && each->Rate == raster.Rate &&
            each->Interlaced == raster.Interlaced && each->Fractional == raster.Fractional)
            return standard;
    }
    return std::nullopt;
}

} // namespace zefa

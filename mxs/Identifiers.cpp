// Texts of identifiers and secrets.
#include "mxs/Identifiers.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <sys/random.h>
#include <system_error>

namespace mxs
{

namespace
{

int HexDigit(char letter)
{
    if (letter >= '0' && letter <= '9') return letter - '0';
    if (letter >= 'a' && letter <= 'f') return letter - 'a' + 10;
    if (letter >= 'A' && letter <= 'F') return letter - 'A' + 10;
    return -1;
}

} // namespace

std::string IdText(uint64_t id)
{
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(id));
    return text;
}

std::optional<uint64_t> ParseId(std::string_view text)
{
    if (text.size() != 16) return std::nullopt;
    uint64_t id = 0;
    for (const char letter : text)
    {
        const int digit = HexDigit(letter);
        if (digit < 0) return std::nullopt;
        id = id << 4 | static_cast<uint64_t>(digit);
    }
    return id;
}

std::string_view LastPathSegment(std::string_view text)
{
    if (text.ends_with('/')) text.remove_suffix(1);
    const size_t slash = text.rfind('/');
    return slash == std::string_view::npos ? text : text.substr(slash + 1);
}

Secret MakeSecret()
{
    Secret secret;
    size_t filled = 0;
    while (filled < secret.size())
    {
        const ssize_t got = getrandom(secret.data() + filled, secret.size() - filled, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) throw std::system_error(errno, std::generic_category(), "no random bytes");
        filled += static_cast<size_t>(got);
    }
    return secret;
}

std::string SecretText(const Secret& secret)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * secret.size());
    for (const uint8_t byte : secret)
    {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

std::optional<Secret> ParseSecret(std::string_view text)
{
    Secret secret;
    if (text.size() != 2 * secret.size()) return std::nullopt;
    for (size_t place = 0; place < secret.size(); ++place)
    {
        const int high = HexDigit(text[2 * place]);
        const int low = HexDigit(text[2 * place + 1]);
        if (high < 0 || low < 0) return std::nullopt;
        secret[place] = static_cast<uint8_t>(high << 4 | low);
    }
    return secret;
}

bool SameSecret(const Secret& left, const Secret& right)
{
    uint8_t difference = 0;
    for (size_t place = 0; place < left.size(); ++place)
        difference = static_cast<uint8_t>(difference | (left[place] ^ right[place]));
    const volatile uint8_t all = difference; // keeps the compiler from leaving the loop early
    return all == 0;
}

} // namespace mxs

// The conversions of NumberText.h, on the C library's, which tell a missing number from one that is out of range.
#include "platform/NumberText.h"

#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <limits>
#include <locale.h>

namespace Quillmont::Platform
{
namespace
{
[[noreturn]] void ThrowInvalid(const char* function)
{
    throw std::invalid_argument(std::string("invalid ") + function + " argument");
}

[[noreturn]] void ThrowOutOfRange(const char* function)
{
    throw std::out_of_range(std::string(function) + " argument out of range");
}

template <class Convert>
auto Parse(const char* function, const std::string& text, Convert convert)
{
    const int errorBefore = errno;
    errno = 0;
    char* end = nullptr;
    const auto value = convert(text.c_str(), &end);
    const int error = errno;
    errno = errorBefore;
    if (end == text.c_str()) ThrowInvalid(function);
    if (error == ERANGE) ThrowOutOfRange(function);
    return value;
}

locale_t PlainLocale()
{
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return plain;
}
} // namespace

int32_t ToInt32(const std::string& text, int base)
{
    const long long value =
        Parse("stoi", text, [base](const char* begin, char** end) { return std::strtoll(begin, end, base); });
    if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max())
        ThrowOutOfRange("stoi");
    return static_cast<int32_t>(value);
}

uint64_t ToUInt64(const std::string& text)
{
    return Parse("stoull", text, [](const char* begin, char** end) { return std::strtoull(begin, end, 10); });
}

double ToDouble(const std::string& text)
{
    return Parse("stod", text, [](const char* begin, char** end) { return strtod_l(begin, end, PlainLocale()); });
}
} // namespace Quillmont::Platform

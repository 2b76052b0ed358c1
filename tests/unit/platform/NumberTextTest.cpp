// Conversions and the texts of their exceptions.
#include "platform/NumberText.h"

#include <clocale>
#include <functional>
#include <gtest/gtest.h>
#include <map>

using namespace Quillmont::Platform;

namespace
{
template <class Exception>
std::string TextOf(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (const Exception& exception)
    {
        return exception.what();
    }
    return "nothing was thrown";
}

using Invalid = std::invalid_argument;
using OutOfRange = std::out_of_range;
} // namespace

TEST(ToInt32, ReadsTheNumberAtTheStart)
{
    EXPECT_EQ(ToInt32("42"), 42);
    EXPECT_EQ(ToInt32(" \t-7 and more"), -7);
    EXPECT_EQ(ToInt32("+5"), 5);
    EXPECT_EQ(ToInt32("12a"), 12);
    EXPECT_EQ(ToInt32("0x10"), 0);
    EXPECT_EQ(ToInt32("2147483647"), INT32_MAX);
    EXPECT_EQ(ToInt32("-2147483648"), INT32_MIN);
}

TEST(ToInt32, ThrowsItsOwnTexts)
{
    for (const char* text : {"", " ", "abc", "-", "+ 1"})
        EXPECT_EQ(TextOf<Invalid>([=] { ToInt32(text); }), "invalid stoi argument") << text;
    for (const char* text : {"2147483648", "-2147483649", "99999999999999999999999"})
        EXPECT_EQ(TextOf<OutOfRange>([=] { ToInt32(text); }), "stoi argument out of range") << text;
}

TEST(ToInt32, ReadsHexadecimalWhereItIsTold)
{
    EXPECT_EQ(ToInt32("ff", 16), 255);
    EXPECT_EQ(ToInt32("0x7Fz", 16), 127);
    EXPECT_EQ(TextOf<Invalid>([] { ToInt32("g0", 16); }), "invalid stoi argument");
    EXPECT_EQ(TextOf<OutOfRange>([] { ToInt32("80000000", 16); }), "stoi argument out of range");
}

TEST(ToUInt64, ReadsTheNumberAtTheStart)
{
    EXPECT_EQ(ToUInt64("18446744073709551615"), UINT64_MAX);
    EXPECT_EQ(ToUInt64(" 7x"), 7U);
    EXPECT_EQ(ToUInt64("-1"), UINT64_MAX);
}

TEST(ToUInt64, ThrowsItsOwnTexts)
{
    EXPECT_EQ(TextOf<Invalid>([] { ToUInt64("\"FileMap\""); }), "invalid stoull argument");
    EXPECT_EQ(TextOf<OutOfRange>([] { ToUInt64("18446744073709551616"); }), "stoull argument out of range");
}

TEST(ToDouble, ReadsTheNumberAtTheStart)
{
    EXPECT_DOUBLE_EQ(ToDouble("0.125"), 0.125);
    EXPECT_DOUBLE_EQ(ToDouble(" -1e3 Hz"), -1000.0);
}

TEST(ToDouble, ThrowsItsOwnTexts)
{
    EXPECT_EQ(TextOf<Invalid>([] { ToDouble("x"); }), "invalid stod argument");
    EXPECT_EQ(TextOf<OutOfRange>([] { ToDouble("1e999"); }), "stod argument out of range");
}

TEST(ToDouble, DoesNotFollowTheLocaleOfTheApplication)
{
    const std::string before = std::setlocale(LC_NUMERIC, nullptr);
    bool changed = false;
    for (const char* name : {"de_DE.UTF-8", "de_DE", "fr_FR.UTF-8"})
        changed = changed || std::setlocale(LC_NUMERIC, name);
    if (!changed) std::printf("No locale with a decimal comma is installed: only the plain one was tried.\n");

    EXPECT_DOUBLE_EQ(ToDouble("0.125"), 0.125);

    std::setlocale(LC_NUMERIC, before.c_str());
}

TEST(Conversions, LeaveErrnoAsItWas)
{
    errno = EEXIST;
    EXPECT_EQ(ToInt32("1"), 1);
    EXPECT_THROW(ToUInt64("99999999999999999999"), OutOfRange);
    EXPECT_EQ(errno, EEXIST);
}

TEST(At, GivesTheValueOrThrowsItsOwnText)
{
    const std::map<int, std::string> map{{1, "one"}};

    EXPECT_EQ(At(map, 1), "one");
    EXPECT_EQ(TextOf<OutOfRange>([&] { At(map, 2); }), "invalid map<K, T> key");
}

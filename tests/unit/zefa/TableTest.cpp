// Text tables: widths, sides, harmless cells.
#include "tools/zefa/Table.h"

#include <gtest/gtest.h>

namespace
{

using namespace zefa;

TEST(Table, ColumnsAreAsWideAsTheirWidestCellAndLinesEndWithoutBlanks)
{
    Table table({{"Core", Align::Right}, {"Name", Align::Left}, {"Note", Align::Left}});
    table.Add({"0", "first", "yes"});
    table.Add({"10000", "b", ""});

    EXPECT_EQ(" Core  Name   Note\n"
              "    0  first  yes\n"
              "10000  b\n",
              table.Text());
}

TEST(Table, EmptyTitlesMakeNoTitleLine)
{
    Table table({{"", Align::Left}, {"", Align::Left}});
    table.Add({"Cores", "2"});
    table.Add({"Interfaces", "4"});

    EXPECT_EQ("Cores       2\nInterfaces  4\n", table.Text());
}

TEST(Table, MissingCellsAreEmptyAndThoseToSpareAreDropped)
{
    Table table({{"A", Align::Left}, {"B", Align::Left}});
    table.Add({"1"});
    table.Add({"1", "2", "3"});

    EXPECT_EQ("A  B\n1\n1  2\n", table.Text());
}

TEST(Table, CharactersOfSeveralBytesCountOnce)
{
    Table table({{"A", Align::Left}, {"B", Align::Left}});
    table.Add({"K\xC3\xB6ln", "1"});
    table.Add({"Bonn", "2"});

    EXPECT_EQ("A     B\nK\xC3\xB6ln  1\nBonn  2\n", table.Text());
}

TEST(Table, ControlCharactersReachTheTerminalAsText)
{
    Table table({{"Name", Align::Left}});
    table.Add({"a\x1b[2J\n\x7f"});

    EXPECT_EQ("Name\na\\x1B[2J\\x0A\\x7F\n", table.Text());
}

TEST(Harmless, ControlCharactersAboveAsciiAreTextAndOtherCharactersStay)
{
    EXPECT_EQ("\\xC2\\x9B2J\\xC2\\x80", Harmless("\xC2\x9B"
                                                 "2J\xC2\x80"));
    EXPECT_EQ("\xC2\xA0\xC3\x9B\xE2\x80\x9C\xF0\x9F\x98\x80", Harmless("\xC2\xA0\xC3\x9B\xE2\x80\x9C\xF0\x9F\x98\x80"));
}

TEST(Harmless, BytesOutsideOfUtf8AreNoControlCharactersEither)
{
    EXPECT_EQ("\\x9B2J", Harmless("\x9B"
                                  "2J"));
    EXPECT_EQ("a\xE9"
              "b",
              Harmless("a\xE9"
                       "b"));
    EXPECT_EQ("\xC0\\x9B", Harmless("\xC0\x9B")) << "in two bytes";
    EXPECT_EQ("\xE0\\x82\\x9B", Harmless("\xE0\x82\x9B")) << "in three bytes, which is no UTF-8";
    EXPECT_EQ("\xF0\\x80\\x82\\x9B", Harmless("\xF0\x80\x82\x9B"));
    EXPECT_EQ("\xE2\\x80", Harmless("\xE2\x80")) << "cut short";
}

} // namespace

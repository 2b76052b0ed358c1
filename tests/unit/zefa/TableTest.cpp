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

} // namespace

// Text tables for people: columns as wide as their widest cell.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zefa
{

enum class Align
{
    Left,
    Right
};

struct TableColumn
{
    std::string title;
    Align align = Align::Left;
};

// The text with control characters as \xNN, so that what a file or a service says cannot steer the terminal.
std::string Harmless(std::string_view text);

// Characters of UTF-8 text; a byte that belongs to none counts as one.
size_t CharactersOf(const std::string& text);

class Table
{
public:
    explicit Table(std::vector<TableColumn> columns) : Columns(std::move(columns)) {}

    // Missing cells are empty, those to spare are dropped.
    void Add(std::vector<std::string> cells);

    // Title line and rows, each ended by a line feed; no blanks at the end of a line. Titles that are all empty make
    // no line.
    std::string Text() const;

private:
    std::vector<TableColumn> Columns;
    std::vector<std::vector<std::string>> Rows;
};

} // namespace zefa

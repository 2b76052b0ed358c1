// The layout of a table.
#include "Table.h"

#include <algorithm>

namespace zefa
{
namespace
{
constexpr const char* kGap = "  ";

std::string Line(const std::vector<TableColumn>& columns, const std::vector<size_t>& widths,
                 const std::vector<std::string>& cells)
{
    std::string line;
    for (size_t i = 0; i < columns.size(); ++i)
    {
        const std::string fill(widths[i] - CharactersOf(cells[i]), ' ');
        line += i == 0 ? "" : kGap;
        line += columns[i].align == Align::Right ? fill + cells[i] : cells[i] + fill;
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}
} // namespace

std::string Harmless(const std::string& text)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string harmless;
    for (const char each : text)
    {
        const auto byte = static_cast<unsigned char>(each);
        if (byte >= 0x20 && byte != 0x7F)
            harmless += each;
        else
            harmless += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return harmless;
}

size_t CharactersOf(const std::string& text)
{
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char each) { return (static_cast<unsigned char>(each) & 0xC0) != 0x80; }));
}

void Table::Add(std::vector<std::string> cells)
{
    cells.resize(Columns.size());
    for (std::string& cell : cells)
        cell = Harmless(cell);
    Rows.push_back(std::move(cells));
}

std::string Table::Text() const
{
    std::vector<size_t> widths;
    std::vector<std::string> titles;
    for (const TableColumn& column : Columns)
    {
        widths.push_back(CharactersOf(column.title));
        titles.push_back(column.title);
    }
    for (const auto& row : Rows)
        for (size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], CharactersOf(row[i]));

    const bool titled = std::any_of(titles.begin(), titles.end(), [](const auto& title) { return !title.empty(); });
    std::string text = titled ? Line(Columns, widths, titles) : "";
    for (const auto& row : Rows)
        text += Line(Columns, widths, row);
    return text;
}

} // namespace zefa

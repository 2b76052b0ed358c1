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

unsigned char Byte(char each)
{
    return static_cast<unsigned char>(each);
}

// Of the UTF-8 character at the beginning; 1 where there is none.
size_t CharacterBytes(std::string_view text)
{
    const unsigned char lead = Byte(text[0]);
    const size_t bytes = lead < 0xC2 || lead > 0xF4 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (bytes > text.size()) return 1;
    for (size_t i = 1; i < bytes; ++i)
        if ((Byte(text[i]) & 0xC0) != 0x80) return 1;
    const bool isTooLongAForm = (lead == 0xE0 && Byte(text[1]) < 0xA0) || (lead == 0xF0 && Byte(text[1]) < 0x90);
    return isTooLongAForm ? 1 : bytes;
}

// Also U+0080 to U+009F, as UTF-8 and as the single bytes that some terminals take for them.
bool IsControl(std::string_view character)
{
    const unsigned char first = Byte(character[0]);
    if (character.size() == 2) return first == 0xC2 && Byte(character[1]) < 0xA0;
    return character.size() == 1 && (first < 0x20 || (first >= 0x7F && first < 0xA0));
}
} // namespace

std::string Harmless(std::string_view text)
{
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string harmless;
    while (!text.empty())
    {
        const std::string_view character = text.substr(0, CharacterBytes(text));
        text.remove_prefix(character.size());
        if (!IsControl(character))
            harmless += character;
        else
            for (const char each : character)
                harmless += {'\\', 'x', kDigits[Byte(each) >> 4], kDigits[Byte(each) & 15]};
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

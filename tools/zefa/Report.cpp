// Reports on the screen, as JSON, and again and again.
#include "Report.h"

#include "Failure.h"
#include "Files.h"

#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace zefa
{
namespace
{
int outputDescriptor = STDOUT_FILENO;

std::string Formatted(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

// A number with its unit, or "-" for what is no number.
std::string WithUnit(const Json& value, const char* format)
{
    return value.is_number() ? Formatted(format, value.get<double>()) : "-";
}

std::string RowsText(const View& view, const Json& rows)
{
    std::vector<TableColumn> columns;
    for (const Column& column : view.columns)
        columns.push_back({column.title, column.align});
    Table table(columns);
    for (const Json& row : rows)
    {
        std::vector<std::string> cells;
        for (const Column& column : view.columns)
            cells.push_back(column.text(row.value(column.key, Json())));
        table.Add(std::move(cells));
    }
    return rows.empty() ? view.whenEmpty + "\n" : table.Text();
}

std::string PropertiesText(const View& view, const Json& object)
{
    Table table({{"", Align::Left}, {"", Align::Left}});
    for (const Column& column : view.columns)
        if (object.contains(column.key)) table.Add({column.title, column.text(object[column.key])});
    return table.Text();
}
} // namespace

std::string PlainText(const Json& value)
{
    if (value.is_null()) return "-";
    if (value.is_string()) return value.get<std::string>();
    if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
    return JsonText(value, false);
}

std::string BitRateText(const Json& value)
{
    if (!value.is_number()) return "-";
    const double rate = value.get<double>();
    if (rate >= 1e9) return Formatted("%.2f Gbit/s", rate / 1e9);
    if (rate >= 1e6) return Formatted("%.2f Mbit/s", rate / 1e6);
    if (rate >= 1e3) return Formatted("%.2f kbit/s", rate / 1e3);
    return Formatted("%.0f bit/s", rate);
}

std::string MegabitsText(const Json& value)
{
    return WithUnit(value, "%.0f Mbit/s");
}

std::string MegahertzText(const Json& value)
{
    return WithUnit(value, "%.0f MHz");
}

std::string PercentText(const Json& value)
{
    return WithUnit(value, "%.3g %%");
}

std::string NanosecondsText(const Json& value)
{
    return WithUnit(value, "%.0f ns");
}

std::string LogSecondsText(const Json& value)
{
    if (!value.is_number()) return "-";
    const double logarithm = value.get<double>();
    return logarithm < 0 ? Formatted("%.0f a second", std::exp2(-logarithm))
                         : Formatted("one in %.0f s", std::exp2(logarithm));
}

std::string TextOf(const Report& report)
{
    std::string text;
    for (const View& view : report.views)
    {
        const Json& shown = report.document.at(Json::json_pointer(view.pointer));
        text += text.empty() ? "" : "\n";
        text += view.title.empty() ? "" : view.title + "\n";
        text += shown.is_array() ? RowsText(view, shown) : PropertiesText(view, shown);
    }
    if (!report.note.empty()) text += (text.empty() ? "" : "\n") + report.note + "\n";
    return text;
}

std::string JsonText(const Json& document, bool indented)
{
    return document.dump(indented ? 2 : -1, ' ', false, Json::error_handler_t::replace);
}

void UseOutput(int descriptor)
{
    outputDescriptor = descriptor;
}

bool OutputIsTerminal()
{
    return ::isatty(outputDescriptor) == 1;
}

void Print(std::string_view text, const GoOn& goOn)
{
    WriteAll(outputDescriptor, "The standard output", text, goOn);
}

Presenter::Presenter(const Arguments& arguments)
    : AsJson(arguments.Has("--json")), Watch(arguments.Has("--watch")),
      Interval(static_cast<double>(arguments.Number("--interval", 1, 3'600'000, 1000)) / 1000),
      Count(arguments.Number("--count", 1, UINT64_MAX, Watch ? UINT64_MAX : 1))
{
    for (const char* const option : {"--interval", "--count"})
        if (!Watch && arguments.Has(option)) throw Failure(kUsage, std::string(option) + " wants --watch.");
}

void Presenter::Show(const std::function<Report()>& make) const
{
    const bool redrawn = Watch && !AsJson && OutputIsTerminal();
    for (uint64_t round = 0; round < Count; ++round)
    {
        const Report report = make();
        const char* const before = redrawn ? "\x1b[H\x1b[J" : round > 0 && !AsJson ? "\n" : "";
        Print(before + (AsJson ? JsonText(report.document, !Watch) + "\n" : TextOf(report)));
        if (!Watch || round + 1 == Count || !Pause(Interval)) return;
    }
}

} // namespace zefa

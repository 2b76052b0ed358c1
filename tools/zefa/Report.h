// What a command tells: one JSON document, for programs as it is, for people through tables that look into it.
#pragma once

#include "Interrupts.h"
#include "Options.h"
#include "Table.h"

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace zefa
{

using Json = nlohmann::ordered_json;

// Texts of values in tables. Null is "-" in all of them.
std::string PlainText(const Json& value); // texts as they are, yes and no, numbers
std::string BitRateText(const Json& value);
std::string MegabitsText(const Json& value);
std::string MegahertzText(const Json& value);
std::string PercentText(const Json& value);
std::string NanosecondsText(const Json& value);
std::string LogSecondsText(const Json& value); // base-2 logarithm of seconds

struct Column
{
    const char* key;
    const char* title;
    std::string (*text)(const Json&) = &PlainText;
    Align align = Align::Left;
};

struct View
{
    std::string title;   // a line of its own above the table; may be empty
    std::string pointer; // JSON pointer into the document: an array makes rows, an object a list of its keys
    std::vector<Column> columns;
    std::string whenEmpty = "none"; // stands in place of a table without rows
};

struct Report
{
    Json document;
    std::vector<View> views;
    std::string note; // a sentence below the tables
};

std::string TextOf(const Report& report);

// One JSON text on one line, or indented; bytes that are not UTF-8 are replaced.
std::string JsonText(const Json& document, bool indented);

// Writes to what was the standard output when the program started, until it stands still and `goOn` ends the wait. A
// Failure of kFile when it takes no more.
void Print(std::string_view text, const GoOn& goOn = &NotInterrupted);
void UseOutput(int descriptor);
bool OutputIsTerminal();

// Prints reports: once, or with --watch again and again, as --json, --interval and --count say.
class Presenter
{
public:
    explicit Presenter(const Arguments& arguments); // a Failure of kUsage for what the options cannot say
    void Show(const std::function<Report()>& make) const;

private:
    const bool AsJson, Watch;
    const double Interval; // seconds
    const uint64_t Count;
};

} // namespace zefa

// zefa sdp check, show, diff: reading of descriptions.
#include "Commands.h"
#include "Complaints.h"
#include "Description.h"
#include "Failure.h"
#include "Files.h"
#include "LoggedCall.h"
#include "Reading.h"

#include <cstdio>
#include <map>

namespace zefa
{
namespace
{
constexpr const char* kMachineNote =
    "The log settings of this machine (/etc/quillmont/zefaline.conf) rule: what the reader says may be missing here.";

// Left: the field's name; then its value in each of the descriptions.
Json Differences(const Json& a, const Json& b)
{
    std::map<std::string, Json> second;
    for (const Json& row : b)
        second[row["name"]] = row["value"];
    Json rows = Json::array();
    for (const Json& row : a)
    {
        const std::string name = row["name"];
        const auto found = second.find(name);
        const Json other = found == second.end() ? Json() : found->second;
        if (other != row["value"]) rows.push_back({{"name", name}, {"a", row["value"]}, {"b", other}});
        if (found != second.end()) second.erase(found);
    }
    for (const auto& [name, value] : second)
        rows.push_back({{"name", name}, {"a", nullptr}, {"b", value}});
    return rows;
}
} // namespace

Reading ReadFully(const std::string& text)
{
    Reading reading{ReadDescription(text), {}, {}};
    const SdpScan scan(text);
    reading.Complaints = ComplaintsOf(reading.Result.Log, "reader", scan);
    if (!reading.Result.Exception.empty())
        reading.Complaints.push_back(
            {Kind::Error, "reader", "", {}, "the reading ended with an exception: " + reading.Result.Exception});
    else if (!reading.Result.Succeeded() && reading.Complaints.empty())
        reading.Complaints.push_back({Kind::Error, "reader", "", {}, "refused: " + ErrorText(reading.Result.Code)});
    reading.Hints = HintsFor(scan);
    return reading;
}

Reading ReadOrFail(const std::string& text, const std::string& file)
{
    Reading reading = ReadFully(text);
    for (const Complaint& complaint : reading.Complaints)
        std::fputs(TextOf(complaint, file).c_str(), stderr);
    if (reading.Result.Succeeded()) return reading;
    for (const Complaint& hint : reading.Hints)
        std::fputs(TextOf(hint, file).c_str(), stderr);
    throw Failure(kComplaints, file + " was refused by the reader.");
}

int RunSdpCheck(const Arguments& arguments)
{
    const std::string& file = arguments.Operands[0];
    const Reading reading = ReadFully(ReadFile(file));
    const bool bad = !reading.Result.Succeeded() || !reading.Complaints.empty() ||
                     (arguments.Has("--strict") && !reading.Hints.empty());
    if (arguments.Has("--json"))
    {
        Json document{{"file", file},
                      {"accepted", reading.Result.Succeeded()},
                      {"logOfThisMachine", MachineSettingsRule()},
                      {"complaints", Json::array()}};
        for (const auto* list : {&reading.Complaints, &reading.Hints})
            for (const Complaint& complaint : *list)
                document["complaints"].push_back(DocumentOf(complaint));
        Print(JsonText(document, true) + "\n");
        return bad ? kComplaints : kGood;
    }
    std::string text;
    for (const auto* list : {&reading.Complaints, &reading.Hints})
        for (const Complaint& complaint : *list)
            text += TextOf(complaint, file);
    text += Harmless(file) + (reading.Result.Succeeded() ? ": accepted" : ": refused") +
            "; complaints of the reader: " + std::to_string(reading.Complaints.size()) +
            ", hints: " + std::to_string(reading.Hints.size()) + "\n";
    if (MachineSettingsRule()) text += std::string(kMachineNote) + "\n";
    Print(text);
    return bad ? kComplaints : kGood;
}

int RunSdpShow(const Arguments& arguments)
{
    const std::string& file = arguments.Operands[0];
    const Reading reading = ReadOrFail(ReadFile(file), file);
    Report report;
    report.document = DocumentOf(reading.Result.Fields);
    if (arguments.Has("--json"))
    {
        Print(JsonText(report.document, true) + "\n");
        return kGood;
    }
    report.document = FieldRows(report.document);
    report.views = {{"", "", {{"name", "Field"}, {"value", "Value"}}}};
    Print(TextOf(report));
    return kGood;
}

int RunSdpDiff(const Arguments& arguments)
{
    const std::string &a = arguments.Operands[0], &b = arguments.Operands[1];
    const Json first = DocumentOf(ReadOrFail(ReadFile(a), a).Result.Fields);
    const Json second = DocumentOf(ReadOrFail(ReadFile(b), b).Result.Fields);
    Report report;
    report.document = Differences(FieldRows(first), FieldRows(second));
    report.views = {{"", "", {{"name", "Field"}, {"a", "A"}, {"b", "B"}}, "No field differs."}};
    Print(arguments.Has("--json") ? JsonText(report.document, true) + "\n" : TextOf(report));
    return report.document.empty() ? kGood : kComplaints;
}

} // namespace zefa

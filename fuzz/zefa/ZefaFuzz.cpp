// Any text as a description, and any sentences as what the reader said of it: what the command line tool makes of them.
// Each place lies within the text, and a description that is cut to one media has that media's lines where they were.
//
// The input: the description up to a byte 30, then sentences, one a line; those that begin with '!' are warnings.
#include "tools/zefa/Complaints.h"
#include "tools/zefa/SdpScan.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace zefa;

namespace
{

void Require(bool holds)
{
    if (!holds) std::abort();
}

void CheckPlaces(const std::vector<Complaint>& complaints, const std::vector<std::string_view>& lines)
{
    for (const Complaint& complaint : complaints)
    {
        const Place& where = complaint.Where;
        Require(where.Line <= lines.size());
        if (where.Line != 0) Require(where.Column >= 1 && where.Column <= lines[where.Line - 1].size() + 1);
        Require(TextOf(complaint, "file").ends_with("\n"));
        Require(DocumentOf(complaint).size() == 6);
    }
}

bool SameLines(const SdpSection& left, const SdpSection& right)
{
    return std::equal(left.Lines.begin(), left.Lines.end(), right.Lines.begin(), right.Lines.end(),
                      [](const SdpLine& one, const SdpLine& other) {
                          return one.Number == other.Number && one.Letter == other.Letter &&
                                 one.Content == other.Content;
                      });
}

void CheckCuts(const SdpScan& scan)
{
    constexpr size_t kMost = 8; // each is a copy of the text
    for (size_t media = 0; media < std::min(scan.Medias.size(), kMost); ++media)
    {
        const std::vector<size_t> paths = scan.PathsWith(media);
        const SdpScan cut(scan.Cut(media));
        Require(std::is_sorted(paths.begin(), paths.end()) && std::count(paths.begin(), paths.end(), media) == 1);
        Require(SameLines(cut.Session, scan.Session) && cut.Medias.size() == paths.size());
        for (size_t place = 0; place < paths.size(); ++place)
            Require(SameLines(cut.Medias[place], scan.Medias[paths[place]]));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string text(input.substr(0, input.find('\x1E')));
    const std::vector<std::string_view> lines = SplitBy(text, '\n');
    const SdpScan scan(text);
    CheckPlaces(HintsFor(scan), lines);
    if (text.find("\r\r") == text.npos) CheckCuts(scan); // of two ends of a line the scan takes one away

    std::vector<LogLine> log;
    for (const std::string_view line : SplitBy(input.substr(std::min(text.size() + 1, size)), '\n'))
        log.push_back({line.starts_with('!') ? "Warning" : "Error", std::string(line)});
    CheckPlaces(ComplaintsOf(log, "reader", scan), lines);
    return 0;
}

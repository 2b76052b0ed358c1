// One compiled regular expression of the grammar, and the captures of its last search.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct pcre2_real_code_8;
struct pcre2_real_match_data_8;
struct pcre2_real_match_context_8;

namespace quill::sdp_module
{

/// Working memory of searches and the captures of the last one that found something. One thread uses it at a time; it
/// serves any number of searches one after the other. The captures are views into the subject of the search.
class SdpMatch
{
public:
    /// `longestSubject` bounds the work of a single search, see SdpExpression::Find.
    explicit SdpMatch(size_t longestSubject);
    ~SdpMatch();
    SdpMatch(const SdpMatch&) = delete;
    SdpMatch& operator=(const SdpMatch&) = delete;

    /// Capture 1, 2, ...; empty if it took no part in the match or if there is no such capture.
    std::string_view Capture(size_t number) const;

private:
    friend class SdpExpression;

    pcre2_real_match_data_8* Data;       // owned
    pcre2_real_match_context_8* Context; // owned, carries the limits
    std::string_view Subject;
    size_t Found = 0; // captures set by the last match, the whole match included
};

/// A regular expression in ECMAScript grammar. PCRE2 runs it: the engine of the standard library recurses once for each
/// character and ends the process on a long line. Newline "any of CR and LF" and a dollar sign that means the end alone
/// give that engine's captures on every byte value.
class SdpExpression
{
public:
    /// Throws std::invalid_argument if the text is no regular expression.
    explicit SdpExpression(std::string text);

    const std::string& Text() const noexcept { return Source; }
    size_t CaptureCount() const noexcept { return Captures; }

    /// The characters that every subject must begin with to match; empty where the text does not tell.
    const std::string& Prefix() const noexcept { return LiteralPrefix; }

    /// Searches for the first place in the subject that matches, and keeps its captures in `match`. A search that runs
    /// into the limit of work counts as nothing found; work is linear in the subject for every expression of the
    /// grammar, so that the limit only guards against a mistake in a future one. Throws std::bad_alloc.
    bool Find(std::string_view subject, SdpMatch& match) const
    {
        return subject.starts_with(LiteralPrefix) && Search(subject, match);
    }

private:
    bool Search(std::string_view subject, SdpMatch& match) const;

    std::string Source;
    std::string LiteralPrefix;
    std::shared_ptr<pcre2_real_code_8> Code; // shared by the copies that the building of a table makes
    size_t Captures = 0;
};

} // namespace quill::sdp_module

// Compilation and search of the grammar's regular expressions with PCRE2.
#include "sdp/SdpExpression.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <cctype>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace quill::sdp_module
{
namespace
{
constexpr uint32_t kCaptureSlots = 16; // the widest row has 13, and the whole match takes one
constexpr size_t kLeastSteps = 1'000'000;
constexpr size_t kStepsForEachCharacter = 64;
constexpr uint32_t kHeapLimitKiB = 1024 * 1024;
constexpr size_t kFirstJitStackBytes = size_t{256} * 1024;
constexpr size_t kLargestJitStackBytes = size_t{16} * 1024 * 1024; // reserved for one search, used as far as it needs

struct CompileContext
{
    pcre2_compile_context* const Context = pcre2_compile_context_create(nullptr);

    CompileContext()
    {
        if (!Context) throw std::bad_alloc();
        pcre2_set_newline(Context, PCRE2_NEWLINE_ANYCRLF);
    }
    ~CompileContext() { pcre2_compile_context_free(Context); }
    CompileContext(const CompileContext&) = delete;
    CompileContext& operator=(const CompileContext&) = delete;
};

bool IsLiteral(char character)
{
    return std::isalnum(static_cast<unsigned char>(character)) || character == '-' || character == ':' ||
           character == ' ';
}

// Reads the literal characters behind the anchor. An alternative anywhere but inside a later group, or a quantifier
// behind the last character, would make them optional.
std::string ReadLiteralPrefix(const std::string& expression)
{
    if (!expression.starts_with('^')) return {};
    size_t begin = 1;
    const bool oneGroup = expression.size() > 2 && expression[1] == '(' && expression.back() == ')' &&
                          std::all_of(expression.begin() + 2, expression.end() - 1, IsLiteral);
    if (oneGroup) return expression.substr(2, expression.size() - 3);

    size_t end = begin;
    while (end < expression.size() && IsLiteral(expression[end]))
        ++end;
    if (end < expression.size() && std::string_view("?*+{").find(expression[end]) != std::string_view::npos)
        end = std::max(begin, end - 1);

    int depth = 0;
    for (size_t i = end; i < expression.size(); ++i)
    {
        if (expression[i] == '\\')
            ++i;
        else if (expression[i] == '(')
            ++depth;
        else if (expression[i] == ')')
            --depth;
        else if (expression[i] == '|' && depth == 0)
            return {};
    }
    return expression.substr(begin, end - begin);
}
} // namespace

SdpMatch::SdpMatch(size_t longestSubject)
    : Data(pcre2_match_data_create(kCaptureSlots, nullptr)), Context(pcre2_match_context_create(nullptr))
{
    if (!Data || !Context)
    {
        pcre2_match_data_free(Data);
        pcre2_match_context_free(Context);
        throw std::bad_alloc();
    }
    constexpr size_t kMostSteps = std::numeric_limits<uint32_t>::max();
    const size_t steps = longestSubject > (kMostSteps - kLeastSteps) / kStepsForEachCharacter
                             ? kMostSteps
                             : kLeastSteps + longestSubject * kStepsForEachCharacter;
    pcre2_set_match_limit(Context, static_cast<uint32_t>(steps));
    pcre2_set_depth_limit(Context, static_cast<uint32_t>(steps));
    pcre2_set_heap_limit(Context, kHeapLimitKiB);
}

SdpMatch::~SdpMatch()
{
    pcre2_match_data_free(Data);
    pcre2_match_context_free(Context);
}

std::string_view SdpMatch::Capture(size_t number) const
{
    if (number >= Found) return {};
    const PCRE2_SIZE* const bounds = pcre2_get_ovector_pointer(Data);
    if (bounds[2 * number] == PCRE2_UNSET) return {};
    return Subject.substr(bounds[2 * number], bounds[2 * number + 1] - bounds[2 * number]);
}

SdpExpression::SdpExpression(std::string text) : Source(std::move(text)), LiteralPrefix(ReadLiteralPrefix(Source))
{
    const CompileContext context;
    int error = 0;
    PCRE2_SIZE offset = 0;
    Code.reset(pcre2_compile(reinterpret_cast<PCRE2_SPTR>(Source.data()), Source.size(), PCRE2_DOLLAR_ENDONLY, &error,
                             &offset, context.Context),
               pcre2_code_free);
    if (!Code) throw std::invalid_argument("not a regular expression: " + Source);

    uint32_t captures = 0;
    pcre2_pattern_info(Code.get(), PCRE2_INFO_CAPTURECOUNT, &captures);
    if (captures >= kCaptureSlots) throw std::invalid_argument("too many captures: " + Source);
    Captures = captures;
    pcre2_jit_compile(Code.get(), PCRE2_JIT_COMPLETE); // where the system forbids it, searches interpret the code
}

bool SdpExpression::Search(std::string_view subject, SdpMatch& match) const
{
    const auto* const characters = reinterpret_cast<PCRE2_SPTR>(subject.empty() ? "" : subject.data());
    const auto run = [&](uint32_t options)
    { return pcre2_match(Code.get(), characters, subject.size(), 0, options, match.Data, match.Context); };
    int result = run(0);
    if (result == PCRE2_ERROR_JIT_STACKLIMIT) // very many repeats of a group
    {
        const std::unique_ptr<pcre2_jit_stack, decltype(&pcre2_jit_stack_free)> stack(
            pcre2_jit_stack_create(kFirstJitStackBytes, kLargestJitStackBytes, nullptr), pcre2_jit_stack_free);
        pcre2_jit_stack_assign(match.Context, nullptr, stack.get());
        result = run(0);
        pcre2_jit_stack_assign(match.Context, nullptr, nullptr);
        // Slower and hungrier, but bound only by the heap limit.
        if (result == PCRE2_ERROR_JIT_STACKLIMIT) result = run(PCRE2_NO_JIT);
    }
    if (result == PCRE2_ERROR_NOMEMORY) throw std::bad_alloc();

    match.Subject = subject;
    match.Found = result > 0 ? static_cast<size_t>(result) : 0;
    return result > 0;
}

} // namespace quill::sdp_module

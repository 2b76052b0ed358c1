// Texts of the printf kind.
#include "anc/CTextSink.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace Quillmont::anc
{
void CTextSink::Tell(const char* format, ...) const
{
    if (!Wanted()) return;
    std::array<char, 256> text;
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    Function(text.data());
}
} // namespace Quillmont::anc

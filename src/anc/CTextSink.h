// Where the texts of this folder go: a function of the owner, and a flag that says whether anybody would read them. To
// put the texts of a packet together costs many times what it costs to read or write the packet.
#pragma once

#include <functional>
#include <string>
#include <utility>

namespace Quillmont::anc
{
using TextFunction = std::function<void(const std::string&)>;

class CTextSink
{
public:
    CTextSink(TextFunction function, bool listening) : Function(std::move(function)), Listening(listening) {}

    void SetListening(bool listening) { Listening = listening; }

    // Whether a text is worth being built. Raises std::bad_function_call when no function was supplied, listened to or
    // not.
    bool Wanted() const
    {
        if (!Function) throw std::bad_function_call();
        return Listening;
    }

    // Builds the text and hands it over, if it is wanted. Texts are cut at 255 characters.
    [[gnu::format(printf, 2, 3)]] void Tell(const char* format, ...) const;

private:
    TextFunction Function;
    bool Listening;
};
} // namespace Quillmont::anc

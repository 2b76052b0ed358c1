// Files of media: what received slots are written to and sent slots are filled from.
#pragma once

#include "Description.h"

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <memory>
#include <span>
#include <string>
#include <zefaline.h>

namespace zefa
{

class MediaOutput
{
public:
    // "-" is what was the standard output when the program started.
    explicit MediaOutput(const std::string& name);
    void Write(const uint8_t* bytes, size_t count);
    void Write(const std::string& text);
    void Finish(); // a Failure of kFile when something did not reach the file

private:
    std::string Name;
    std::ofstream File;
    bool ToOutput = false;
};

class MediaInput
{
public:
    MediaInput(const std::string& name, bool loop);
    // False when nothing is left. With `loop` the file begins again instead.
    bool HasMore();
    // Fills the buffer; what the file does not fill is zero. With `loop` a file goes on with its beginning.
    void Fill(std::span<uint8_t> buffer);

private:
    void BeginAgain();

    std::string Name;
    std::ifstream File;
    std::istream* Stream = nullptr;
    bool Loop = false;
};

// The ancillary packets of a slot as lines of text.
std::string AncText(ZEFA_HANDLE stream, ZEFA_SLOT slot, uint64_t slotNumber, uint32_t lines);

} // namespace zefa

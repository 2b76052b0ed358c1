// Files of media: what received slots are written to and sent slots are filled from.
#pragma once

#include "Files.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>
#include <zefaline.h>

namespace zefa
{

// Both wait for a file that stands still until `goOn` ends the wait.
class MediaOutput
{
public:
    // "-" is what was the standard output when the program started.
    MediaOutput(const std::string& name, const GoOn& goOn);
    void Write(const uint8_t* bytes, size_t count, const GoOn& goOn);
    void Write(std::string_view bytes, const GoOn& goOn);

private:
    const std::string Name;
    Descriptor File;
    const bool ToOutput;
};

class MediaInput
{
public:
    MediaInput(const std::string& name, bool loop);
    // False when nothing is left or the wait was ended. With `loop` the file begins again instead.
    bool HasMore(const GoOn& goOn);
    // Fills the buffer; what the file does not fill is zero. With `loop` a file goes on with its beginning. False when
    // the wait was ended before the buffer was full.
    bool Fill(std::span<uint8_t> buffer, const GoOn& goOn);

private:
    std::optional<size_t> Next(std::span<uint8_t> buffer, const GoOn& goOn);

    InputFile File;
    const bool Loop;
    bool Begun = false;
    std::vector<uint8_t> Room = std::vector<uint8_t>(1 << 16);
    std::span<const uint8_t> Ahead; // in Room: read, and not given yet
};

// One ancillary packet as a line of text: "slot playlist line H|V did sdid words", the last three hexadecimal.
struct AncLine
{
    uint64_t Slot = 0;
    uint32_t Playlist = 0, Line = 0;
    bool Horizontal = false;
    uint8_t Did = 0, Sdid = 0;
    std::vector<uint16_t> Words;
};

std::string TextOf(const AncLine& packet);

// All packets of a text; slots go up. A Failure of kFile names the line that is none.
std::vector<AncLine> AncLinesOf(const std::string& text, const std::string& name);

// The ancillary packets of a received slot as lines of text; `lines` are those of a frame.
std::string AncText(ZEFA_HANDLE stream, ZEFA_SLOT slot, uint64_t slotNumber, uint32_t lines);

// Ancillary packets to send: the slot of the first one is the first slot, and slots that no line names are empty.
class AncInput
{
public:
    AncInput(const std::string& name, bool loop);
    bool HasMore() const { return Next < Packets.size(); }
    // Puts the packets of one slot into it.
    void Fill(ZEFA_HANDLE stream, ZEFA_SLOT slot);

private:
    std::vector<AncLine> Packets;
    size_t Next = 0;
    uint64_t Slot = 0;
    const bool Loop;
};

} // namespace zefa

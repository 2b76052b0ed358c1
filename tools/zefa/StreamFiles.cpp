// Media in files.
#include "StreamFiles.h"

#include "Failure.h"
#include "Report.h"
#include "Session.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>

namespace zefa
{
namespace
{
std::string PacketText(const ZEFA_ANC_PACKET& packet)
{
    char text[32];
    std::snprintf(text, sizeof text, "%c %02x %02x", packet.InHANC_B ? 'H' : 'V', packet.DID_UB, packet.SDID_UB);
    std::string line = text;
    for (uint32_t i = 0; i < packet.DataCount_UB; ++i)
    {
        std::snprintf(text, sizeof text, " %03x", packet.UserWords_pUS[i] & 0x3FF);
        line += text;
    }
    return line;
}
} // namespace

MediaOutput::MediaOutput(const std::string& name) : Name(name), ToOutput(name == "-")
{
    if (ToOutput) return;
    File.open(name, std::ios::binary | std::ios::trunc);
    if (!File) throw Failure(kFile, name + " could not be opened: " + std::strerror(errno) + ".");
}

void MediaOutput::Write(const uint8_t* bytes, size_t count)
{
    if (ToOutput) return Print({reinterpret_cast<const char*>(bytes), count});
    if (!File.write(reinterpret_cast<const char*>(bytes), static_cast<std::streamsize>(count)))
        throw Failure(kFile, Name + " takes no more: " + std::strerror(errno) + ".");
}

void MediaOutput::Write(const std::string& text)
{
    Write(reinterpret_cast<const uint8_t*>(text.data()), text.size());
}

void MediaOutput::Finish()
{
    if (!ToOutput && !File.flush()) throw Failure(kFile, Name + " takes no more: " + std::strerror(errno) + ".");
}

MediaInput::MediaInput(const std::string& name, bool loop) : Name(name), Loop(loop)
{
    if (name == "-" && loop) throw Failure(kUsage, "--loop wants a file: the standard input cannot begin again.");
    if (name != "-")
    {
        File.open(name, std::ios::binary);
        if (!File) throw Failure(kFile, name + " could not be opened: " + std::strerror(errno) + ".");
    }
    Stream = name == "-" ? static_cast<std::istream*>(&std::cin) : &File;
    if (Stream->peek() == std::istream::traits_type::eof()) throw Failure(kFile, name + " holds nothing to send.");
}

void MediaInput::BeginAgain()
{
    File.clear();
    File.seekg(0);
    if (!File) throw Failure(kFile, Name + " cannot be read from its beginning again.");
}

bool MediaInput::HasMore()
{
    if (Stream->peek() != std::istream::traits_type::eof()) return true;
    if (Loop) BeginAgain();
    return Loop;
}

void MediaInput::Fill(std::span<uint8_t> buffer)
{
    size_t done = 0;
    while (done < buffer.size())
    {
        Stream->read(reinterpret_cast<char*>(buffer.data() + done), static_cast<std::streamsize>(buffer.size() - done));
        done += static_cast<size_t>(Stream->gcount());
        if (done < buffer.size() && !HasMore()) break;
    }
    std::fill(buffer.begin() + static_cast<std::ptrdiff_t>(done), buffer.end(), uint8_t{0});
}

std::string AncText(ZEFA_HANDLE stream, ZEFA_SLOT slot, uint64_t slotNumber, uint32_t lines)
{
    std::string text;
    for (ZEFA_BUFFER_TYPE buffer = ZEFA_BUFFER_ANC_0; buffer <= ZEFA_BUFFER_ANC_15; ++buffer)
        for (uint32_t line = 1; line <= lines; ++line)
        {
            uint32_t count = 0;
            const ZEFA_ERRORCODE counted = ZEFA_SlotAncGetNbPackets(stream, slot, line, buffer, &count);
            if (counted == ZEFA_ERR_NOT_FOUND) break; // slots of this stream have no such buffer
            Check(counted, "The ancillary packets could not be counted");
            for (uint32_t i = 0; i < count; ++i)
            {
                ZEFA_ANC_PACKET* packet = nullptr;
                Check(ZEFA_SlotAncGetPacket(stream, slot, line, buffer, static_cast<int32_t>(i), &packet),
                      "An ancillary packet could not be reached");
                text += std::to_string(slotNumber) + " " + std::to_string(line) + " " + PacketText(*packet) + "\n";
            }
        }
    return text;
}

} // namespace zefa

// Media in files.
#include "StreamFiles.h"

#include "Failure.h"
#include "Report.h"
#include "Session.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>

namespace zefa
{
namespace
{
std::optional<uint32_t> Hexadecimal(const std::string& text, uint32_t most)
{
    uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, 16);
    if (text.empty() || error != std::errc() || stop != end || number > most) return std::nullopt;
    return number;
}

std::optional<AncLine> AncLineOf(const std::string& text)
{
    constexpr size_t kLeast = 6, kMostWords = 255;
    std::istringstream stream(text);
    const std::vector<std::string> words(std::istream_iterator<std::string>(stream), {});
    if (words.size() < kLeast || words.size() > kLeast + kMostWords || (words[3] != "H" && words[3] != "V"))
        return std::nullopt;
    const auto slot = DecimalNumber(words[0]), playlist = DecimalNumber(words[1]), line = DecimalNumber(words[2]);
    const auto did = Hexadecimal(words[4], 0xFF), sdid = Hexadecimal(words[5], 0xFF);
    if (!slot || !playlist || *playlist > 15 || !line || *line > UINT16_MAX || !did || !sdid) return std::nullopt;
    AncLine packet{*slot,
                   static_cast<uint32_t>(*playlist),
                   static_cast<uint32_t>(*line),
                   words[3] == "H",
                   static_cast<uint8_t>(*did),
                   static_cast<uint8_t>(*sdid),
                   {}};
    for (size_t i = kLeast; i < words.size(); ++i)
    {
        const auto word = Hexadecimal(words[i], 0x3FF);
        if (!word) return std::nullopt;
        packet.Words.push_back(static_cast<uint16_t>(*word));
    }
    return packet;
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

std::string TextOf(const AncLine& packet)
{
    char text[32];
    std::snprintf(text, sizeof text, "%c %02x %02x", packet.Horizontal ? 'H' : 'V', packet.Did, packet.Sdid);
    std::string line = std::to_string(packet.Slot) + " " + std::to_string(packet.Playlist) + " " +
                       std::to_string(packet.Line) + " " + text;
    for (const uint16_t word : packet.Words)
    {
        std::snprintf(text, sizeof text, " %03x", word);
        line += text;
    }
    return line + "\n";
}

std::vector<AncLine> AncLinesOf(const std::string& text, const std::string& name)
{
    std::vector<AncLine> packets;
    std::istringstream lines(text);
    size_t number = 0;
    for (std::string line; std::getline(lines, line);)
    {
        ++number;
        const std::optional<AncLine> packet = AncLineOf(line);
        if (!packet || (!packets.empty() && packet->Slot < packets.back().Slot))
            throw Failure(kFile, name + ":" + std::to_string(number) +
                                     ": this is no packet; a line is \"slot playlist line H|V did sdid words\", and "
                                     "slots go up.");
        packets.push_back(*packet);
    }
    if (packets.empty()) throw Failure(kFile, name + " holds nothing to send.");
    return packets;
}

std::string AncText(ZEFA_HANDLE stream, ZEFA_SLOT slot, uint64_t slotNumber, uint32_t lines)
{
    std::string text;
    for (uint32_t playlist = 0; playlist < 16; ++playlist)
        for (uint32_t line = 1; line <= lines; ++line)
        {
            const ZEFA_BUFFER_TYPE buffer = ZEFA_BUFFER_ANC_0 + playlist;
            uint32_t count = 0;
            const ZEFA_ERRORCODE counted = ZEFA_SlotAncGetNbPackets(stream, slot, line, buffer, &count);
            if (counted == ZEFA_ERR_NOT_FOUND) break; // slots of this stream have no such buffer
            Check(counted, "The ancillary packets could not be counted");
            for (uint32_t i = 0; i < count; ++i)
            {
                ZEFA_ANC_PACKET* packet = nullptr;
                Check(ZEFA_SlotAncGetPacket(stream, slot, line, buffer, static_cast<int32_t>(i), &packet),
                      "An ancillary packet could not be reached");
                const uint16_t* const words = packet->UserWords_pUS;
                text += TextOf({slotNumber, playlist, line, packet->InHANC_B != 0, packet->DID_UB, packet->SDID_UB,
                                std::vector<uint16_t>(words, words + packet->DataCount_UB)});
            }
        }
    return text;
}

AncInput::AncInput(const std::string& name, bool loop) : Packets(AncLinesOf(ReadFile(name), name)), Loop(loop)
{
    Slot = Packets.front().Slot;
}

void AncInput::Fill(ZEFA_HANDLE stream, ZEFA_SLOT slot)
{
    for (; Next < Packets.size() && Packets[Next].Slot == Slot; ++Next)
    {
        const AncLine& from = Packets[Next];
        ZEFA_ANC_PACKET* packet = nullptr;
        Check(ZEFA_SlotAncAllocatePacket(stream, slot, static_cast<uint8_t>(from.Words.size()), &packet),
              "There is no ancillary packet");
        packet->DID_UB = from.Did;
        packet->SDID_UB = from.Sdid;
        packet->InHANC_B = from.Horizontal;
        std::copy(from.Words.begin(), from.Words.end(), packet->UserWords_pUS);
        Check(ZEFA_SlotAncInsertPacket(stream, slot, from.Line, ZEFA_BUFFER_ANC_0 + from.Playlist,
                                       ZEFA_ANC_PACKET_INDEX_ALL, packet),
              "The packet could not be put on line " + std::to_string(from.Line));
    }
    ++Slot;
    if (Next < Packets.size() || !Loop) return;
    Next = 0;
    Slot = Packets.front().Slot;
}

} // namespace zefa
